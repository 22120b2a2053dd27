#!/usr/bin/env python3
"""Random requests to tree grids of the real host, compared with a slow and obvious model of them (model/).

A profile is a check: one host, several grids, each asked a sequence of operations. On a mismatch the sequence is
shortened as far as it goes on failing, and printed with the seed that repeats it."""

import argparse
import sys
import tempfile
from concurrent.futures import Executor, ThreadPoolExecutor
from pathlib import Path
from random import Random

from conversation.peer import Peer
from conversation.programs import Host
from model.call_trees import folded_text
from model.grid_conversation import Connection, GridConversation, Mismatch, random_operations
from model.random_profile import random_samples
from model.real_profile import real_samples

DEFAULT_SEED = 20240229
PROFILES = 36
GRIDS = 8
REAL_GRIDS = 2
OPERATIONS = 40


def check_profiles(pool: Executor, programs: Path, config: Path, seeds=range(DEFAULT_SEED, DEFAULT_SEED + PROFILES)):
    """Prints what went wrong; how many profiles were checked, and how many failed."""
    checks = [lambda seed=seed: check_random_profile(seed, programs, config) for seed in seeds]
    checks += [lambda real=real: check_real_profile(*real, programs, config) for real in real_samples().items()]
    problems = list(filter(None, pool.map(lambda check: check(), checks)))
    for problem in problems:
        print(f"FAILED random_grids.py {problem}")
    return len(checks), len(problems)


def check_random_profile(seed: int, programs: Path, config: Path) -> str | None:
    """Asks the grids of one profile, of two compared ones every third time; what went wrong, if something did."""
    random = Random(seed)
    results = [random_samples(random) for _ in range(2 if seed % 3 == 0 else 1)]
    problem = check_grids(random, results, GRIDS, programs, config)
    return problem and f"--seed {seed}\n{problem}"


def check_real_profile(name: str, samples, programs: Path, config: Path) -> str | None:
    """The same of a real profile, which is larger: fewer grids."""
    problem = check_grids(Random(DEFAULT_SEED), [samples], REAL_GRIDS, programs, config)
    return problem and f"{name}\n{problem}"


def check_grids(random: Random, results, grids: int, programs: Path, config: Path) -> str | None:
    with tempfile.TemporaryDirectory(prefix="panedeck-wire-") as name:
        folder = Path(name)
        peer = Peer()
        host = Host(programs, [*host_arguments(peer, config, folder), *profiles(results, folder)], folder / "host.log")
        try:
            peer.accept()
            replay = Replay(Connection(peer), results, folder)
            for _ in range(grids):
                problem = replay.check(random_operations(random, OPERATIONS))
                if problem:
                    return problem
            host.stop()
        except Exception as error:  # the host is gone, or answers what cannot be read
            return f"{type(error).__name__}: {error}\n{host.log_text()}"
        finally:
            host.kill()
            peer.close()
    return None


def host_arguments(peer: Peer, config: Path, folder: Path) -> list[str]:
    return ["--server", peer.address, "--role", "wire tests", "--user-dir", str(folder / "user"), "--config-dir", str(config)]


def profiles(results, folder: Path) -> list[str]:
    paths = []
    for number, samples in enumerate(results):
        path = folder / f"profile{number}.folded"
        path.write_text(folded_text(samples), encoding="utf-8")
        paths.append(str(path))
    return paths


class Replay:
    """Asks one grid after the other the same or other things."""

    def __init__(self, connection: Connection, results, folder: Path):
        self._connection = connection
        self._results = results
        self._folder = folder
        self._grids = 0

    def check(self, operations) -> str | None:
        if self._run(operations) is None:
            return None
        operations = self._shortened(operations)
        problem, log = self._run(operations)
        texts = "\n".join(folded_text(samples) for samples in self._results)
        return f"profile:\n{texts}\nrequests:\n" + "\n".join(log) + f"\n{problem}"

    def _run(self, operations) -> tuple[str, list[str]] | None:
        self._grids += 1
        grid = GridConversation(self._connection, self._results, f"g{self._grids}", self._folder)
        try:
            grid.run(operations)
        except Mismatch as mismatch:
            return str(mismatch), grid.log
        return None

    def _shortened(self, operations) -> list[tuple]:
        """Leaves out ever smaller pieces, as long as what remains goes on failing."""
        piece = len(operations) // 2
        while piece > 0:
            start = 0
            while start < len(operations):
                fewer = operations[:start] + operations[start + piece :]
                if self._run(fewer):
                    operations = fewer
                else:
                    start += piece
            piece //= 2
        return operations


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--programs", "--bin", type=Path, required=True, help="folder of panedeck-host")
    parser.add_argument("--config", type=Path, default=Path(__file__).resolve().parents[2] / "config")
    parser.add_argument("--seed", type=int, default=DEFAULT_SEED, help="the seed of the first profile; others follow")
    parser.add_argument("--profiles", type=int, default=1, help="how many profiles")
    options = parser.parse_args()
    seeds = range(options.seed, options.seed + options.profiles)
    with ThreadPoolExecutor(2) as pool:
        checks, failed = check_profiles(pool, options.programs, options.config, seeds)
    print(f"{checks - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
