"""A `gridview` answer as lines of text: the window of rows that a pane would draw."""

import re

from .frames import Frame, FrameError, Members


class RowIds:
    """Row ids are numbers that mean nothing outside one run: scripts call them #1, #2, … in order of appearance.
    Names of temporary filters and of exports are as random; scripts show them all as tempFilter# and RANDOM."""

    SHOWN = re.compile(r'("id": )"(\d{4,})"')
    FILTER = re.compile(r"tempFilter[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")
    EXPORT = re.compile(r"\b[0-9a-f]{48}\b")
    ASKED = re.compile(rb"(<rowId><_[^>]*>)#(\d+)")

    def __init__(self):
        self._ids: list[str] = []

    def hide(self, shown: str) -> str:
        """An answer as it stands in a script."""
        shown = self.SHOWN.sub(lambda match: f'{match[1]}"#{self._number(match[2])}"', shown)
        return self.EXPORT.sub("RANDOM", self.FILTER.sub("tempFilter#", shown))

    def reveal(self, parameters: bytes) -> bytes:
        """A request's parameters as they go to the host."""
        return self.ASKED.sub(lambda match: match[1] + self._ids[int(match[2]) - 1].encode(), parameters)

    def _number(self, row_id: str) -> int:
        if row_id not in self._ids:
            self._ids.append(row_id)
        return self._ids.index(row_id) + 1


def window_of(frame: Frame) -> str:
    """First where the window lies, then a line for each of its rows: indented by level, with the state and the cells;
    selected rows end in " *"."""
    payload = frame.content.first("response").first("") if frame.form == "json" else None
    if not isinstance(payload, Members) or not isinstance(payload.first("view"), Members):
        raise FrameError("no window of a grid:\n" + frame.shown)
    view = payload.first("view")
    rows = payload.first("rows") or []
    first = int(view.first("startRow"))
    head = f"rows {first} to {first + len(rows) - 1} of {view.first('rowCount')}"
    if view.first("currentRow") is not None:
        head += f", current {view.first('currentRow')}"
    return "\n".join([head] + [_row_line(row) for row in rows])


def _row_line(row: Members) -> str:
    cells = [_text(cell.first("value")) for name, cell in row.first("cells") if name[1:].isdigit()]
    state = row.first("state").replace(" ", ".")
    mark = " *" if row.first("selected") else ""
    return "  " * int(row.first("level")) + state + " " + " | ".join(cells) + mark


def _text(value) -> str:
    return "-" if value is None else str(value)
