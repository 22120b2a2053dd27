#!/usr/bin/env python3
"""Puts real requests and answers from the conversation scripts into docs/protocol.md.

In the page, everything between `<!-- example: NAME -->` and `<!-- end of example -->` comes from the script that has a
step `doc NAME`. The scripts are checked against the real host, so the page cannot go stale unnoticed.
"""

import argparse
import re
import sys
from pathlib import Path

from conversation.frames import request_frame, show_xml
from conversation.script_file import Script, Step
from xml.etree import ElementTree

HERE = Path(__file__).resolve().parent
PAGE = HERE.parents[1] / "docs" / "protocol.md"
EXAMPLE = re.compile(r"(<!-- example: (\S+) -->\n).*?(<!-- end of example -->)", re.DOTALL)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--check", action="store_true", help="only tell whether the page is as the scripts say")
    if not parser.parse_args().check and not misplaced_examples():
        PAGE.write_text(rendered_page(), encoding="utf-8")
    problem = problem_of_page()
    if problem:
        print(problem, file=sys.stderr)
    return 1 if problem else 0


def problem_of_page() -> str | None:
    """What is wrong with the page, in one line; None if it is as the scripts say."""
    if misplaced := misplaced_examples():
        return "examples without a script or a place in the page: " + ", ".join(misplaced)
    if rendered_page() != PAGE.read_text(encoding="utf-8"):
        return f"{PAGE.name} differs from the scripts; run tests/wire/{Path(__file__).name}"
    return None


def misplaced_examples() -> list[str]:
    wanted = {match[2] for match in EXAMPLE.finditer(PAGE.read_text(encoding="utf-8"))}
    return sorted(wanted ^ set(collect_examples()))


def rendered_page() -> str:
    examples = collect_examples()
    return EXAMPLE.sub(lambda match: match[1] + examples[match[2]] + match[3], PAGE.read_text(encoding="utf-8"))


def collect_examples() -> dict[str, str]:
    examples = {}
    for path in sorted((HERE / "scripts").glob("*.script")):
        examples.update(examples_of(Script(path)))
    return examples


def examples_of(script: Script) -> dict[str, str]:
    """The examples of a script by name: each `doc NAME` with the steps up to its answer."""
    found = {}
    name, asked, last_id = None, "", 0
    for step in script.steps:
        last_id += step.keyword == "request"
        if step.keyword == "doc":
            name, asked = step.words[0], ""
        elif name and step.keyword in ("request", "frame", "cancel"):
            asked += shown_request(step, last_id)
        elif name and step.keyword in ("answer", "failure", "event", "table", "window"):
            found[name] = f"```\n{asked}```\n\n```\n{step.text}\n```\n"
            name = None
    return found


def shown_request(step: Step, request_id: int) -> str:
    if step.keyword == "frame":
        return step.text + "\n"
    parameters = "".join(line.strip() for line in step.block).encode()
    frame = request_frame(str(request_id), step.words[0], parameters)
    return show_xml(ElementTree.fromstring(frame)) + "\n"


if __name__ == "__main__":
    sys.exit(main())
