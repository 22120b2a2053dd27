"""Windows of one row: what a grid shows at once it must also show row by row."""

import xml.etree.ElementTree as ElementTree
from collections.abc import Callable
from xml.sax.saxutils import escape

from .frames import Frame, Members, show_json

# What a scroll replaces; it has to say again what is to stay.
KEPT = ("grouping", "expandLevels", "focusColumnName")


class SingleRows:
    """Asks for each row of a window once more, alone, and then for the window again, so that the grid is as before.
    `ask` sends a request and gives its answer."""

    def __init__(self, ask: Callable[[str, bytes], Frame]):
        self._ask = ask
        self._windows: dict[str, dict[str, str]] = {}  # what the grid of each id was told

    @staticmethod
    def changes(request_type: str, parameters: bytes) -> tuple[str, dict[str, str]]:
        """The id of a request's grid, and what the request tells about the window."""
        try:
            request = ElementTree.fromstring(b"<request>" + parameters + b"</request>")
        except ElementTree.ParseError:
            return "", {}
        told = {"gridview:refresh": (*KEPT, "count"), "gridview:scroll": (*KEPT, "count"), "gridview:position": KEPT[2:]}
        return request.findtext("gridid/_", ""), {
            name: request.findtext(f"{name}/_", "") for name in told.get(request_type, ())}

    def check(self, frame: Frame, grid: str, changes: dict[str, str]) -> str | None:
        """What one row alone shows otherwise than the answer does, if something."""
        payload = frame.content.first("response").first("") if frame.form == "json" else None
        if not isinstance(payload, Members) or payload.first("view") is None:
            return None
        self._windows.setdefault(grid, {}).update(changes)
        start, rows = int(payload.first("view").first("startRow")), payload.first("rows")
        for row, expected in enumerate(rows or [], start):
            alone = self._scroll(grid, row, 1)
            if alone != [expected]:
                return f"row {row} alone is\n{show_json(alone)}\nand not\n{show_json([expected])}"
        again = self._scroll(grid, start, int(self._windows[grid]["count"])) if rows else rows
        return None if again == rows else f"the window once more is\n{show_json(again)}\nand not\n{show_json(rows)}"

    def _scroll(self, grid: str, row: int, count: int):
        own = {"gridid": grid, **{name: self._windows[grid][name] for name in KEPT}}
        numbers = {"row": row, "count": count, "expandLevels": int(own.pop("expandLevels") or 0)}
        texts = "".join(f"<{name}><_>{escape(value)}</_></{name}>" for name, value in own.items())
        texts += "".join(f'<{name}><_ type="s32_t">{value}</_></{name}>' for name, value in numbers.items())
        return self._ask("gridview:scroll", texts.encode()).content.first("response").first("").first("rows")
