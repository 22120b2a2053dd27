#!/usr/bin/env python3
"""The host's memory around answers of very many rows, as multiples of what is sent."""

import argparse
import sys
import tempfile
import time
from pathlib import Path
from random import Random

from conversation.frames import request_frame
from conversation.peer import Peer
from conversation.programs import Host
from random_grids import host_arguments

LIMIT_OF_FRAMES = 100 << 20
MOST_AT_PEAK = 5.0
MOST_KEPT = 0.5
# Rows that fit into no frame: what is made of them until that is known, and the tree that gives them.
MOST_REFUSED = 3.5
STACKS, DEPTH = 36_000, 20


def problem_of_memory(programs: Path, config: Path) -> str | None:
    """What was too much, if something was."""
    with tempfile.TemporaryDirectory(prefix="panedeck-wire-") as name:
        folder = Path(name)
        profile = folder / "profile.folded"
        profile.write_text(many_stacks(), encoding="utf-8")
        peer = Peer()
        host = Host(programs, [*host_arguments(peer, config, folder), str(profile)], folder / "host.log")
        try:
            peer.accept()
            ask(peer, 1)  # what all answers share is made with the first one
            size, peak, kept = memory_of(host, peer, 170_000)
            if size < 20e6 or peak > MOST_AT_PEAK * size or kept > MOST_KEPT * size:
                return f"a frame of {size} bytes takes {peak} bytes, and {kept} stay"
            size, peak, kept = memory_of(host, peer, STACKS * DEPTH)
            if size > 1000 or peak > MOST_REFUSED * LIMIT_OF_FRAMES or kept > MOST_KEPT * LIMIT_OF_FRAMES:
                return f"rows that no frame holds take {peak} bytes, and {kept} stay, for {size} bytes"
        finally:
            host.kill()
            peer.close()
    return None


def many_stacks() -> str:
    random = Random(1)
    frames = [f"library::module::function_number_{number}" for number in range(20_000)]
    return "".join(f"{';'.join(random.choices(frames, k=DEPTH))} {random.randrange(1, 100_000)}\n" for _ in range(STACKS))


def ask(peer: Peer, rows: int) -> int:
    """The length of the answer."""
    peer.send(request_frame("1", "grid:get", b"<queryType>topDown</queryType><grouping><_>/CallStack</_></grouping>"
                            b"<columns><column><_>/Metrics</_></column></columns><limit>%d</limit>" % rows))
    return len(peer.receive_text())


def memory_of(host: Host, peer: Peer, rows: int) -> tuple[int, int, int]:
    """The length of an answer, and how much more memory the host had at its peak and has after it."""
    host.forget_peak_memory()
    before = host.memory("VmRSS")
    size = ask(peer, rows)
    time.sleep(0.3)  # the frame goes when its last byte has gone
    return size, host.memory("VmHWM") - before, host.memory("VmRSS") - before


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--programs", "--bin", type=Path, required=True, help="folder of panedeck-host")
    parser.add_argument("--config", type=Path, default=Path(__file__).resolve().parents[2] / "config")
    options = parser.parse_args()
    problem = problem_of_memory(options.programs, options.config)
    print(problem or "1 passed, 0 failed")
    return 1 if problem else 0


if __name__ == "__main__":
    sys.exit(main())
