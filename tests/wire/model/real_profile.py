"""Real profiles in folded form, where they are at hand; nothing fails where they are not."""

import os
from pathlib import Path

FOLDER = Path(os.environ.get("PANEDECK_REAL_PROFILES", Path(__file__).parents[4] / "shared" / "profiles"))
FILES = ("made-zstd-threads.folded", "made-sqlite-gdb.folded", "made-sqlite-perf.folded",
         "flamegraph-perf-iperf-stacks-pidtid-01-collapsed-tid.txt")


def real_samples() -> dict[str, list[tuple[tuple[str, ...], int]]]:
    """The samples of each file, by its name. Files whose lines are nothing but stacks and whole weights."""
    paths = [FOLDER / "folded" / name for name in FILES]
    return {path.name: [sample_of(line) for line in path.read_text(encoding="utf-8").splitlines()]
            for path in paths if path.is_file()}


def sample_of(line: str) -> tuple[tuple[str, ...], int]:
    stack, weight = line.rsplit(" ", 1)
    return tuple(stack.split(";")), int(weight)
