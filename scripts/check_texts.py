#!/usr/bin/env python3
"""Holds the texts that people read: message catalogs and help.

Every catalog has the same ids, with the same places for arguments, in every language; every id that the sources name
has a text; every link of the help and of its index leads to a page, and every page is reached from the first one.
"""
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
MESSAGES = ROOT / "config" / "messages"
HELP = ROOT / "docs" / "help"
# An id in a text of the sources: "%" and a word, with further words behind dots.
MESSAGE_ID = re.compile(r"""["'`](%[a-zA-Z]\w+(?:\.\w+)+)["'`]""")
SOURCE_FOLDERS = {"src": "*.cpp", "host": "*.cpp", "platform": "*.cpp", "engine": "*.cpp", "web/src": "*.ts"}


def read_catalog(path):
    """The texts of a .po file by id, without its header."""
    lines = subprocess.run(["msgcat", "--no-wrap", path], capture_output=True, text=True, check=True).stdout
    texts, key = {}, None
    for keyword, quoted in re.findall(r'^(msgid|msgstr|(?=")) ?"(.*)"$', lines, re.M):
        if keyword == "msgid":
            key, texts[quoted] = quoted, ""
        elif keyword == "msgstr" or key in texts:
            texts[key] += quoted
    texts.pop("", None)
    return texts


def places(text):
    return sorted(re.findall(r"%\d+", text))


def catalog_faults():
    languages = sorted(path.name for path in MESSAGES.iterdir())
    names = {path.name for path in MESSAGES.rglob("*.po")}
    for name in sorted(names):
        catalogs = {language: read_catalog(MESSAGES / language / "LC_MESSAGES" / name) for language in languages}
        for key in sorted(set().union(*catalogs.values())):
            texts = {language: catalog.get(key, "") for language, catalog in catalogs.items()}
            yield from (f"{name}: {language} has no text for {key}" for language, text in texts.items() if not text)
            if len({tuple(places(text)) for text in texts.values()}) > 1:
                yield f"{name}: {key} has other places for arguments in another language"


def named_ids():
    for folder, pattern in SOURCE_FOLDERS.items():
        for path in sorted((ROOT / folder).rglob(pattern)):
            for key in MESSAGE_ID.findall(path.read_text(encoding="utf-8")):
                yield path.relative_to(ROOT), key


def id_faults():
    known = set().union(*map(read_catalog, MESSAGES.glob("en/LC_MESSAGES/*.po")))
    yield from (f"{path}: no catalog has {key}" for path, key in named_ids() if key not in known)


def links_of(path):
    return [link.partition("#")[0] for link in re.findall(r'<a href="([^"]+)"', path.read_text(encoding="utf-8"))]


def help_faults():
    pages = {path.name: links_of(path) for path in HELP.glob("*.html")}
    reached, waiting = set(), ["index.html"]
    while waiting:
        page = waiting.pop()
        if page not in reached:
            reached.add(page)
            waiting += pages.get(page, [])
    terms = {keyword.get("Term"): keyword.find("Jump").get("Url")
             for keyword in ElementTree.parse(HELP / "perfhe_f.HxK").getroot().iter("Keyword")}
    yield from (f"help: no page {page}" for page in sorted(reached - set(pages)))
    yield from (f"help: no way leads to {page}" for page in sorted(set(pages) - reached))
    yield from (f"help: {term} leads to no page: {url}" for term, url in terms.items() if url not in pages)


def main():
    faults = [*catalog_faults(), *id_faults(), *help_faults()]
    for fault in faults:
        print(fault)
    print(f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
