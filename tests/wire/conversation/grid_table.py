"""A `grid` answer as lines of text: what a person would work out by hand."""

import xml.etree.ElementTree as ElementTree

from .frames import Frame, FrameError


def table_of(frame: Frame) -> str:
    """The rows of a grid answer, a line for each: cells joined by " | ", indented by level. Then a line that says
    whether rows were left out, if so."""
    payload = _payload(frame)
    if payload is None or len(payload) == 0:
        return "(no rows)"
    columns = _leaf_columns(payload.find("columns"))
    lines = [" | ".join(name for _, name in columns)]
    for row in payload.find("rows") or []:
        if row.tag == "row":
            lines.append("  " * int(row.findtext("level", "0")) + " | ".join(_cells(row, columns)))
    if payload.findtext("fullContent/_") != "true":
        lines.append("(more rows)")
    return "\n".join(lines)


def _payload(frame: Frame) -> ElementTree.Element | None:
    if frame.form != "xml" or not (frame.type or "").startswith("grid:") or frame.kind != "response":
        raise FrameError("not the answer to a grid request:\n" + frame.shown)
    return frame.content[0].find("_")


def _leaf_columns(columns: ElementTree.Element) -> list[tuple[str, str]]:
    found = []
    # A stack in place of recursion, in preorder: column hierarchies come from outside.
    waiting = [(column, "") for column in reversed(columns.findall("column"))]
    while waiting:
        column, above = waiting.pop()
        name = _heading(column, above)
        nested = column.findall("columns/column")
        waiting += [(child, name) for child in reversed(nested)]
        if not nested:
            found.append((column.findtext("id"), name))
    return found


def _cells(row: ElementTree.Element, columns: list[tuple[str, str]]) -> list[str]:
    return [row.findtext(f"cells/{identifier}/value", "-") for identifier, _ in columns]


def _heading(column: ElementTree.Element, above: str) -> str:
    """The column's name, behind its parent's if it does not say that itself."""
    name = column.findtext("fullName") or column.findtext("caption") or ""
    return name if name.startswith(above) else f"{above} / {name}"
