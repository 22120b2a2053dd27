#!/usr/bin/env python3
"""Holds the floors of the house: include direction, exported symbols, public headers that stand alone.

Prints each offending edge and exits 1 if there is any. An exception is one entry of EXCEPTIONS below
with its reason; their number is printed, and MOST_EXCEPTIONS only ever falls.
"""
import argparse
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Room: the folders it consists of, and the rooms that it may include besides itself.
ROOMS = {
    "platform": (["platform"], []),
    "library": (["include", "src"], ["platform"]),
    "engine": (["engine"], ["platform"]),
    "host": (["host"], ["platform", "library", "engine"]),
    "guiserver": (["guiserver"], ["platform"]),
    "cli": (["cli"], ["platform", "library", "engine"]),
}
# Of the library, others see the public headers only.
PUBLIC_FOLDERS = {"library": "include"}

LIBRARIES = {
    "libpanedeck_platform.so": ["bk2", "portkit2", "notifykit2", "logkit1", "settingshub2", "dataface1",
                                "slicerkit1", "slicerengine2", "lenskit1", "resultshelf2", "recbase1", "pathfind2", "usagestat1"],
    "libpanedeck.so": ["panedeck"],
    "libpanedeck_engine.so": ["panedeck::engine"],
}

# Headers that would force a heavy library on whoever includes a public header of ours.
HEAVY = re.compile(r"<(boost/(asio|beast|regex|locale|filesystem)|rapidjson/|tbb/|oneapi/|log4cplus/|expat\.h|libxml/|sqlite3|fmt/|zlib)")

EXCEPTIONS: dict[str, str] = {
    "include/dispatch/task_displacement_map.h: forces boost/regex": "its operations speak of compiled expressions",
}
MOST_EXCEPTIONS = 1

INCLUDE = re.compile(r'^\s*#\s*include\s+([<"])([^>"]+)[>"]', re.M)


def room_of(path: pathlib.Path):
    top = path.relative_to(ROOT).parts[0]
    return next((name for name, (folders, _) in ROOMS.items() if top in folders), None)


def sources():
    for folders, _ in ROOMS.values():
        for folder in folders:
            for path in sorted((ROOT / folder).rglob("*")):
                if path.suffix in (".h", ".cpp"):
                    yield path


def resolve(source: pathlib.Path, name: str):
    """The file of ours that an include names, or None."""
    own = ROOMS[room_of(source)][0]
    others = [folder for folders, _ in ROOMS.values() for folder in folders if folder not in own]
    roots = [source.parent] + [ROOT / folder for folder in [*own, *others]]
    return next(((root / name).resolve() for root in roots if (root / name).is_file()), None)


def include_faults():
    for source in sources():
        room = room_of(source)
        for bracket, name in INCLUDE.findall(source.read_text(encoding="utf-8")):
            target = resolve(source, name)
            edge = f"{source.relative_to(ROOT)} -> {name}"
            if bracket == "<":
                if target:
                    yield f"{edge}: a header of ours in angle brackets"
                continue
            if not target:
                yield f"{edge}: no such file in the tree"
                continue
            to = room_of(target)
            if to == room:
                continue
            if to not in ROOMS[room][1]:
                yield f"{edge}: {room} may not include {to}"
            elif to in PUBLIC_FOLDERS and target.relative_to(ROOT).parts[0] != PUBLIC_FOLDERS[to]:
                yield f"{edge}: only {PUBLIC_FOLDERS[to]}/ is public"


def public_headers():
    return sorted((ROOT / "include").rglob("*.h")) + sorted((ROOT / "platform").rglob("*.h"))


def stands_alone(header: pathlib.Path):
    text = header.read_text(encoding="utf-8")
    heavy = [name for bracket, name in INCLUDE.findall(text) if HEAVY.match(bracket + name)]
    if heavy and header.is_relative_to(ROOT / "include"):
        return f"{header.relative_to(ROOT)}: forces {heavy[0]} on its readers"
    result = subprocess.run(
        ["g++", "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-I", ROOT / "include", "-I", ROOT / "platform",
         "-x", "c++", "-include", header, os.devnull], capture_output=True, text=True)
    if result.returncode:
        return f"{header.relative_to(ROOT)} does not compile alone:\n{result.stderr[:800]}"
    return None


def header_faults():
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        yield from filter(None, pool.map(stands_alone, public_headers()))


def export_faults(build: pathlib.Path):
    for library, namespaces in LIBRARIES.items():
        listing = subprocess.run(["nm", "-D", "--defined-only", "-C", build / "lib" / library],
                                 capture_output=True, text=True, check=True).stdout
        own = re.compile(r"^(?:(?:vtable|typeinfo|typeinfo name|guard variable|VTT) for |(?:non-)?virtual thunk to )?"
                         r"(?:[\w:<>,&* ]+ )?(?:" + "|".join(namespaces) + r")::")
        for line in listing.splitlines():
            kind, name = line[17:18], line[19:]
            # Weak symbols are template code of the standard library and of Boost, which every user has anyway.
            if kind in "TDBR" and not own.match(name):
                yield f"{library} exports {name}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    arguments = parser.parse_args()
    faults = [*include_faults(), *header_faults(), *export_faults(arguments.build)]
    open_faults = [fault for fault in faults if not any(fault.startswith(known) for known in EXCEPTIONS)]
    for fault in open_faults:
        print(fault)
    print(f"{len(open_faults)} faults, {len(EXCEPTIONS)} exceptions")
    return 1 if open_faults or len(EXCEPTIONS) > MOST_EXCEPTIONS else 0


if __name__ == "__main__":
    sys.exit(main())
