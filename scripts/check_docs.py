#!/usr/bin/env python3
"""Every path and every symbol of ours that the documents name in `code` must exist.

A path is a word with a slash that begins with a folder or file of this tree. A symbol is a word that looks
like one of our types or functions: `RequestDispatcher`, `variant_bag_t`, `saveTableTreeToVBag()`.
"""
import os
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SYMBOL = re.compile(r"^(?:\w+::)*([A-Z][a-z]+[A-Z]\w+|I[A-Z]\w+|[a-z]\w*_t|[a-z][a-zA-Z0-9_]*(?=\(\)))(?:\(\))?$")
# Made by the build or by a user, not kept in the tree.
MADE_FOLDERS = {".git", "build", "dist", "node_modules", "__pycache__"}
MADE = re.compile(r"^(build|web/dist|web/node_modules)(/|$)")


def documents():
    yield from sorted(ROOT.glob("*.md"))
    yield from sorted((ROOT / "docs").rglob("*.md"))


def words(text):
    # Fenced blocks show commands and messages; the single words in backticks are claims.
    text = re.sub(r"^```.*?^```", "", text, flags=re.M | re.S)
    for number, line in enumerate(text.splitlines(), 1):
        for word in re.findall(r"`([^`]+)`", line):
            yield number, word
        for word in re.findall(r"\]\(([^)#]+)(?:#[^)]*)?\)", line):
            yield number, word


def kept_files():
    """The names of the tree's files, relative to it. An archive of the sources has no history to ask."""
    for folder, subfolders, names in os.walk(ROOT):
        subfolders[:] = [name for name in subfolders if name not in MADE_FOLDERS]
        for name in names:
            yield (pathlib.Path(folder) / name).relative_to(ROOT).as_posix()


def main():
    files = list(kept_files())
    tops = {name.split("/")[0] for name in files}
    code = "\n".join((ROOT / name).read_text(encoding="utf-8", errors="replace") for name in files
                     if name.endswith((".h", ".cpp", ".ts", ".py", ".cmake")) and (ROOT / name).is_file())
    known = set(re.findall(r"\w+", code))
    faults = []
    for document in documents():
        for _, word in words(document.read_text(encoding="utf-8")):
            place = document.relative_to(ROOT)
            candidate = word.split(" ")[0].removeprefix("./").rstrip("/")
            if "://" in word or MADE.match(candidate) or any(mark in candidate for mark in "*<>{}$@…"):
                continue
            inside = (document.parent / word).exists() and "/" in word
            if candidate.split("/")[0] in tops and ("/" in word or "." in word):
                if not (ROOT / candidate).exists() and not inside:
                    faults.append(f"{place}: no such path: {word}")
            elif word.startswith("../") and not (document.parent / word).exists():
                faults.append(f"{place}: no such path: {word}")
            elif match := SYMBOL.match(word):
                if match.group(1) not in known:
                    faults.append(f"{place}: no such symbol: {word}")
    for fault in faults:
        print(fault)
    print(f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
