"""Small random profiles: few names, so that recursion, chains and equal numbers are frequent."""

from random import Random

NAMES = ("main", "Alpha", "alpha2", "beta", "io wait", 'say "hi"', "Ünï", "äa", "读取", "x←y")


def random_samples(random: Random) -> list[tuple[tuple[str, ...], int]]:
    """Stacks and weights; stacks grow from each other, so that they share callers."""
    stacks: list[tuple[str, ...]] = [()]
    for _ in range(random.randint(2, 14)):
        base = random.choice(stacks)
        length = random.choice((1, 1, 2, 4))
        stacks.append((*base, *(random.choice(NAMES) for _ in range(length)))[:9])
    return [(stack, random.choice((1, 2, 3, 10, 700, 1500))) for stack in stacks[1:]]


def filtered(samples, name: str, anywhere: bool):
    """The samples with that function as their innermost frame, or anywhere."""
    return [(stack, weight) for stack, weight in samples if (name in stack if anywhere else name == stack[-1])]
