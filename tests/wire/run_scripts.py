#!/usr/bin/env python3
"""Runs conversation scripts against the real host, in every setting, then random ones and large ones. See README.md beside this file."""

import argparse
import difflib
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import large_answers
import random_grids
import render_docs
from conversation.runner import SETTINGS, Outcome, Setting, run_script
from conversation.script_file import Script

HERE = Path(__file__).resolve().parent


def main() -> int:
    options = read_options()
    scripts = [Script(path) for path in sorted(options.scripts or (HERE / "scripts").glob("*.script"))]
    settings = [setting for setting in SETTINGS if options.setting in (None, setting.name)]
    if options.accept:
        settings = settings[:1]
    runs = [(script, setting) for script in scripts for setting in settings if applies(script, setting)]
    if not runs:
        print("no scripts found", file=sys.stderr)
        return 1
    with ThreadPoolExecutor(options.jobs) as pool:
        outcomes = pool.map(lambda run: run_script(*run, options.programs, options.config), runs)
        failed = sum(not report(*run, outcome, options.accept) for run, outcome in zip(runs, outcomes))
        checks = len(runs)
        if not options.scripts and not options.accept:
            random_checks, random_failures = random_grids.check_profiles(pool, options.programs, options.config)
            checks += 2 + random_checks
            failed += random_failures + (not page_is_current()) + (not memory_is_bounded(options))
    print(f"{checks - failed} passed, {failed} failed")
    return 1 if failed else 0


def page_is_current() -> bool:
    """Whether docs/protocol.md shows the requests and answers that the scripts have."""
    problem = render_docs.problem_of_page()
    if problem:
        print(f"FAILED {problem}")
    return problem is None


def memory_is_bounded(options: argparse.Namespace) -> bool:
    """Whether the host takes no more memory for an answer of very many rows than it may."""
    problem = large_answers.problem_of_memory(options.programs, options.config)
    if problem:
        print(f"FAILED large_answers.py {problem}")
    return problem is None


def read_options() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("scripts", nargs="*", type=Path, help="scripts to run; all by default")
    parser.add_argument("--programs", "--bin", type=Path, required=True, help="folder of panedeck-host and panedeck")
    parser.add_argument("--config", type=Path, default=HERE.parents[1] / "config", help="folder of the configuration")
    parser.add_argument("--setting", choices=[setting.name for setting in SETTINGS], help="run in one setting only")
    parser.add_argument("--accept", action="store_true", help="write the actual answers into the scripts")
    parser.add_argument("--jobs", type=int, default=2, help="how many scripts run at the same time")
    return parser.parse_args()


def applies(script: Script, setting: Setting) -> bool:
    """A script may say in which settings it makes sense."""
    if setting.single_rows and not any(step.words[0].startswith("gridview:") for step in script.of("request")):
        return False
    named = [word for step in script.of("settings") for word in step.words]
    return not named or setting.name in named


def report(script: Script, setting: Setting, outcome: Outcome, accepts: bool) -> bool:
    """Prints what went wrong; true if nothing did."""
    actual_path = script.path.with_suffix(f".{setting.name}.actual")
    expected = "\n".join(script.lines) + "\n"
    actual = script.with_blocks(outcome.blocks)
    if outcome.error is None and (actual == expected or accepts):
        if accepts and actual != expected:
            script.path.write_text(actual, encoding="utf-8")
            print(f"accepted {script.path.name}")
        actual_path.unlink(missing_ok=True)
        return True
    print(f"FAILED {script.path.name} ({setting.name})")
    if outcome.error:
        print(outcome.error)
    if actual != expected:
        actual_path.write_text(actual, encoding="utf-8")
        lines = difflib.unified_diff(expected.splitlines(), actual.splitlines(), "expected", "actual", lineterm="", n=2)
        print("\n".join(lines))
        print(f"the actual answers are in {actual_path.name}; --accept takes them over")
    return False


if __name__ == "__main__":
    sys.exit(main())
