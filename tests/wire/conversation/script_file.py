"""Reads and rewrites conversation scripts.

A script is a list of steps. A step is a line that begins at the left margin, a keyword and its words; the lines
below it that are indented by four blanks are its block. Lines that begin with "#" are comments, blank lines separate.
tests/wire/README.md lists the keywords.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

INDENT = "    "
REPEAT = re.compile(r"%repeat\((\d+),(.*?)\)%", re.DOTALL)
BYTE = re.compile(r"%byte\(([0-9a-f]{2})\)%")


class ScriptError(Exception):
    """The script itself is wrong."""


@dataclass
class Step:
    """One step: its keyword and words, its block, and the line (from 0) where it stands."""

    keyword: str
    words: list[str]
    line: int
    block: list[str] = field(default_factory=list)
    end: int = 0  # the line behind the block

    @property
    def text(self) -> str:
        """The block as one text."""
        return "\n".join(self.block)

    @property
    def expanded(self) -> bytes:
        """The block as bytes, with each %repeat(COUNT,TEXT)% and %byte(HEX)% written out."""
        text = REPEAT.sub(lambda match: int(match[1]) * match[2], self.text)
        # How Python spells a byte that is no UTF-8.
        text = BYTE.sub(lambda match: chr(0xDC00 + int(match[1], 16)) if match[1] >= "80" else chr(int(match[1], 16)), text)
        return text.encode("utf-8", "surrogateescape")


class Script:
    """A script file with its steps."""

    def __init__(self, path: Path):
        self.path = path
        self.lines = path.read_text(encoding="utf-8").splitlines()
        self.steps = self._parse()

    def _parse(self) -> list[Step]:
        steps: list[Step] = []
        for number, line in enumerate(self.lines):
            if line.startswith(INDENT):
                self._add_to_block(steps, number, line)
            elif line.strip() and not line.startswith("#"):
                keyword, *words = line.split()
                steps.append(Step(keyword, words, number, end=number + 1))
        return steps

    def _add_to_block(self, steps: list[Step], number: int, line: str) -> None:
        if not steps:
            raise ScriptError(f"{self.path}:{number + 1}: a block without a step")
        step = steps[-1]
        # Blank lines inside a block belong to it.
        step.block += [""] * (number - step.end) + [line[len(INDENT) :]]
        step.end = number + 1

    def of(self, keyword: str) -> list[Step]:
        """All steps of that keyword."""
        return [step for step in self.steps if step.keyword == keyword]

    def with_blocks(self, blocks: dict[int, str]) -> str:
        """The script's text with the blocks of some steps (by their line) replaced."""
        lines = list(self.lines)
        for step in reversed(self.steps):
            if step.line in blocks:
                lines[step.line + 1 : step.end] = [
                    (INDENT + line).rstrip() if not line else INDENT + line
                    for line in blocks[step.line].split("\n")
                ]
        return "\n".join(lines) + "\n"
