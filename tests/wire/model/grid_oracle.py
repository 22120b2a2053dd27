"""A slow, obvious model of one grid: what it must show after any sequence of requests.

Rows are worked out anew by recursion whenever they are asked for. Where rows are equal to the sort any order is
right: `adopt` takes over the order that was shown, once it has proved to be one of those that are right.
"""

from . import call_trees
from .call_trees import Node, fold_case

FIRST = "the first row, whichever it is"


class Row:
    """A row that can show: one node of the tree, or the nodes of a folded chain."""

    def __init__(self, nodes: list[Node], parent: "Row | None", folds: bool = False):
        self.nodes = nodes
        self.parent = parent
        self.folds = folds  # made while chains were shown, of a row with one row below it
        self.children: list[Row] | None = None  # None until it was opened once
        self.expanded = False
        self.closed_leaf = False  # a leaf that was closed shows as closed until it is shown anew

    def ancestors(self):
        row = self.parent
        while row.parent:
            yield row
            row = row.parent


class GridOracle:
    def __init__(self, grouping: str):
        self.grid_type = grouping
        self.grouping = ""
        self.mode = "tree"
        self.root = Row([], None)
        self.selected: set[Row] = set()
        self.current: Row | None = None
        self.maybe_current: list = []  # after a new tree: what `current` may be, until an answer tells
        self.sort_column, self.descending = -1, True
        self.start, self.count = -1, 0
        self.expand_levels = 0
        self.footer: set[Row] | None = None
        self.search_key: str | None = None
        self.hits: list[dict] = []
        self.columns: list[str] = []
        self.visible_columns: list[int] = []

    # --- What shows ---

    def rows(self) -> list[Row]:
        result: list[Row] = []
        self._collect(self.root, result)
        return result

    def _collect(self, parent: Row, result: list[Row]) -> None:
        for row in parent.children or []:
            result.append(row)
            if row.expanded:
                self._collect(row, result)

    def state(self, row: Row) -> str:
        if row.children == []:
            opened = "+" if row.closed_leaf else " "
        else:
            opened = "-" if row.expanded else "+"
        return " " if self.grid_type == call_trees.FLAT else opened

    @staticmethod
    def level(row: Row) -> int:
        return sum(1 for _ in row.ancestors())

    def text(self, row: Row) -> str:
        """What the grouping column shows."""
        if not row.folds:
            return row.nodes[0].name
        prefix, joint = ("↖ ", " ← ") if self.grid_type == call_trees.CALLERS else ("↘ ", " → ")
        return prefix + joint.join(node.name for node in row.nodes)

    def cells(self, row: Row) -> list:
        node = row.nodes[0]
        return [self.text(row), *call_trees.numbers(self.grouping, node.total, node.self)]

    def shown_cells(self, row: Row) -> list[str]:
        """The visible cells as a person reads them."""
        cells = self.cells(row)
        return [cells[i] if i == 0 else f"{cells[i]:,}" for i in self.visible_columns]

    def footer_cells(self) -> list | None:
        """The sums of the selected rows; what stands below another selected row is in that one already, but for the self
        of frames that frames call."""
        if not self.footer:
            return None
        nodes = {row.nodes[0] for row in self.footer}
        outer = [node for node in nodes if not any(other is not node and is_below(node, other) for other in nodes)]
        results = len(outer[0].total)
        totals = [sum(node.total[i] for node in outer) for i in range(results)]
        frames = [node for node in outer if self._is_callee(node)]
        own = set(outer) | {node for node in nodes if any(is_below(node, frame) for frame in frames)}
        selves = [sum(node.self[i] for node in own) for i in range(results)]
        return [None, *call_trees.numbers(self.grouping, totals, selves)]

    def _is_callee(self, node: Node) -> bool:
        """Whether the row is a frame on the way down a stack, and not one of the levels above."""
        return self.grouping.endswith("/CallStack") and len(node.path) >= self.grouping.count("/")

    def window(self) -> tuple[int, int]:
        """Fits the window to the rows: first row and the row behind the last."""
        count = len(self.rows())
        if self.start + self.count > count:
            self.start = count - self.count
        self.start = max(self.start, 0)
        return self.start, min(self.start + self.count, count)

    def center(self) -> None:
        current = self.current_index()
        if current >= 0:
            self.start = current - self.count // 2

    def current_index(self) -> int:
        return self.rows().index(self.current) if self.current else -1

    def settle_current(self, index: int) -> bool:
        """Takes over which of the possible rows is the current one; false if that one is none of them."""
        row = self.rows()[index] if index >= 0 else None
        possible, self.maybe_current = self.maybe_current, []
        self.current = row
        return row in possible or index == 0 and FIRST in possible

    def adopt(self, siblings: Row, names: list[str]) -> str | None:
        """Takes over the order of a row's children by what they show; what is wrong with it, if it is not theirs."""
        by_text = {self.text(row): row for row in siblings.children}
        if sorted(names) != sorted(by_text):
            return f"shows {names} in place of {sorted(by_text)}"
        siblings.children = [by_text[name] for name in names]
        if self.sort_column >= 0:
            keys = [self._sort_key(row) for row in siblings.children]
            if keys != sorted(keys, reverse=self.descending):
                return f"{names} are not sorted by column {self.sort_column}, {self.descending=}"
        return None

    def _sort_key(self, row: Row):
        cell = self.cells(row)[self.sort_column]
        return cell.casefold() if isinstance(cell, str) else cell

    # --- Trees ---

    def refresh(self, grouping: str, tree: Node, start: int, count: int, mode: str, levels: int, persisted) -> None:
        same = grouping == self.grouping
        saved = self._save_state() if same else None
        self.grouping = grouping
        self.tree = tree
        self.columns = call_trees.column_captions(grouping, len(tree.total))
        if not same:
            self.visible_columns = call_trees.top_columns(grouping, len(tree.total))
            self.sort_column, self.descending = self._first_sort(*persisted)
        self._show_tree()
        if saved:
            self._restore_state(*saved)
        self.start, self.count = start, count
        # The top rows were made in the mode of before; the new one holds for those that are made later.
        self.mode = mode or self.mode
        self.expand_levels = levels
        if levels > 0:
            self.open_all(levels)

    def _first_sort(self, flag: int, descending: bool) -> tuple[int, bool]:
        """The column that has this flag, or else the first data column, heaviest first."""
        flags = [call_trees.column_flag(caption) for caption in self.columns]
        return (flags.index(flag, 1), descending) if flag in flags[1:] else (1, True)

    def change_mode(self, mode: str) -> None:
        if mode == self.mode:
            return
        saved = self._save_state()
        self.mode = mode
        self._show_tree()
        if self.expand_levels:
            self.open_all(0)
        self._restore_state(*saved)

    def _show_tree(self) -> None:
        self.selected = set()
        self.current = self.footer = self.search_key = None
        self.root = Row([], None)
        self.root.expanded = True
        self.root.children = self._make_rows(self.tree, self.root)

    def _make_rows(self, parent: Node, above: Row) -> list[Row]:
        return [self._make_row(node, above) for node in parent.children.values()]

    def _make_row(self, node: Node, above: Row) -> Row:
        if self.mode != "chain" or len(node.children) != 1 or not call_trees.may_fold(self.grouping, node):
            return Row([node], above)
        chain = [node]
        while len(chain[-1].children) == 1:
            (below,) = chain[-1].children.values()
            if self._data(below) != self._data(node):
                break
            chain.append(below)
        return Row(chain, above, folds=True)

    def _data(self, node: Node) -> list[int]:
        return call_trees.numbers(self.grouping, node.total, node.self)

    def _save_state(self):
        open_nodes = {key_of(node) for row in self.rows() if self._is_open(row) for node in row.nodes}
        focus = key_of(self.current.nodes[0]) if self.current else None
        above = [row.nodes[0].path for row in self.rows()[: self.current_index()]] if self.current else []
        return open_nodes, focus, above

    @staticmethod
    def _is_open(row: Row) -> bool:
        return row.expanded and row.children != []

    def _restore_state(self, open_nodes, focus, above) -> None:
        """Where the current row is gone, the nearest one that stood above it and still shows is it."""
        found: list = []
        self._reopen(self.root, open_nodes, focus, found)
        shown = {row.nodes[0].path: row for row in self.rows()}
        self.maybe_current = found or [shown[path] for path in above if path in shown][-1:]

    def _reopen(self, parent: Row, open_nodes, focus, found: list) -> None:
        for row in parent.children:
            keys = [key_of(node) for node in row.nodes]
            reached = next((i for i, key in enumerate(keys) if key not in open_nodes), len(keys))
            if focus in keys[: reached + 1]:
                found.append(row if keys[0] == focus else FIRST)
            if reached > 0:
                self._open(row)
            if reached == len(keys):
                self._reopen(row, open_nodes, focus, found)

    # --- Opening and closing ---

    def _open(self, row: Row) -> None:
        if self._is_open(row):
            return
        if row.children is None:
            row.children = self._make_rows(row.nodes[-1], row)
        row.expanded = True
        self._show_anew(row)

    def _show_anew(self, row: Row) -> None:
        row.closed_leaf = False
        for child in row.children or []:
            self._show_anew(child)

    def open(self, row: Row) -> int:
        """Opens a row; how many rows that brings."""
        self.search_key = None
        before = len(self.rows())
        self._open(row)
        return len(self.rows()) - before

    def close(self, row: Row) -> None:
        self.search_key = None
        hidden = {below for below in self.rows() if row in below.ancestors()}
        row.expanded = False
        row.closed_leaf = row.children == []
        if self.current in hidden:
            self.current = row
        if self.selected & hidden:
            self.selected = self.selected - hidden | {row}
            self.footer = None

    def open_all(self, levels: int) -> None:
        self.search_key = None
        self._open_below(self.root, levels)

    def _open_below(self, parent: Row, levels: int) -> None:
        for row in parent.children:
            self._open(row)
            if levels != 1:
                self._open_below(row, max(levels - 1, 0))

    def open_selected(self) -> None:
        self.search_key = None
        for row in self.selected:
            self._open(row)

    def close_all(self) -> None:
        self.search_key = None
        shown = self.rows()
        if any(row.parent is not self.root for row in self.selected):
            self.footer = None
        self.selected = {top_of(row) for row in self.selected}
        self.current = top_of(self.current) if self.current else None
        for row in shown:
            row.expanded = False

    # --- The rest ---

    def sort(self, column: int, descending: bool) -> None:
        self.search_key = None
        self.sort_column, self.descending = column, descending

    def select(self, kind: str, index: int) -> None:
        shown = self.rows()
        row = shown[index] if kind not in ("all", "clear") else None
        if kind == "setSingle":
            if self.selected != {row}:
                self.selected, self.current = {row}, row
        elif kind == "addRange":
            first, last = sorted((self.current_index(), index))
            self.selected |= set(shown[first : last + 1])
        elif kind == "toggle":
            self.selected ^= {row}
        elif kind in ("all", "clear"):
            self.selected = set(shown) if kind == "all" else set()
        if kind in ("none", "addRange", "toggle"):
            self.current = row
        if kind == "clear":
            self.current = None
        self.footer = set(self.selected) or None

    def find(self, path: list, by_node: bool) -> Row | None:
        """The row that a path leads to, opening rows on the way. The path tells each visible row, by what it shows or
        by its node, or, where rows are folded, all their names."""
        if not path:
            return None
        found = self._find(path, lambda row: [row.nodes[0] if by_node else self.text(row)])
        if found is None and self.mode == "chain":
            found = self._find(path, lambda row: row.nodes if by_node else [node.name for node in row.nodes])
        return found

    def go_to(self, row: Row | None) -> None:
        """Selects a row, or the first one."""
        shown = self.rows()
        if not shown:
            return
        row = row or shown[0]
        if self.selected != {row}:
            self.selected, self.current = {row}, row
        self.footer = None

    def _find(self, path: list, names) -> Row | None:
        siblings = self.root
        while True:
            told = [(row, names(row)[: len(path)]) for row in siblings.children]
            row, consumed = next(((row, name) for row, name in told if path[: len(name)] == name), (None, []))
            path = path[len(consumed) :]
            if row is None or not path:
                return row
            self.open(row)
            siblings = row

    def search(self, key: str) -> None:
        self.search_key = key or None
        self.hits = []
        number = 0
        for index, row in enumerate(self.rows()):
            for column, text in zip(self.visible_columns, self.shown_cells(row)):
                entries = []
                at = fold_case(text).find(fold_case(key)) if key else -1
                while at >= 0:
                    number += 1
                    entries.append({"startPosition": at, "endPosition": at + len(key), "foundItemNumber": number})
                    at = fold_case(text).find(fold_case(key), at + len(key))
                if entries:
                    self.hits.append({"rowIndex": index, "columnIndex": column, "entries": entries})

    def found(self):
        """The bag `search` of an answer."""
        if not self.search_key:
            return None
        answer = {"searchKey": self.search_key, "foundItemCount": sum(len(hit["entries"]) for hit in self.hits)}
        start, end = self.start, self.start + self.count
        before = [hit for hit in self.hits if hit["rowIndex"] < start]
        after = [hit for hit in self.hits if hit["rowIndex"] >= end]
        if before or after:
            answer["previous"] = {"cell": (before or after)[-1]}
        if len(before) < len(self.hits):
            answer["cells"] = [hit for hit in self.hits if start <= hit["rowIndex"] < end]
        if after or before:
            answer["next"] = {"cell": (after or before)[0]}
        return answer

    def csv(self) -> str:
        def quoted(texts):
            return ",".join('"' + text.replace('"', '""') + '"' for text in texts) + "\n"

        lines = [quoted(self.columns[i] for i in self.visible_columns)]
        for row in self.rows():
            cells = [str(cell) for cell in self.cells(row)]
            if self.mode == "chain":
                cells[0] = cells[0].replace("↖ ", "", 1).replace(" ← ", " <- ")
                cells[0] = cells[0].replace("↘ ", "", 1).replace(" → ", " -> ")
            shown = [cells[i] for i in self.visible_columns]
            lines.append(quoted([" " * self.level(row) + shown[0], *shown[1:]]))
        return "".join(lines)

    def clipboard(self) -> str:
        rows = [row for row in self.rows() if row in self.selected]
        margin = min((self.level(row) for row in rows), default=0)
        lines = ["  " * (self.level(row) - margin) + "\t".join(self.shown_cells(row)) for row in rows]
        return "\t".join(self.columns[i] for i in self.visible_columns) + "\n" + "\n".join(lines)


def key_of(node: Node):
    """What a row is known by in another tree: its path; with two results only its level and name."""
    return (len(node.path), node.name) if len(node.total) == 2 else node.path


def is_below(node: Node, other: Node) -> bool:
    return node.path[: len(other.path)] == other.path


def top_of(row: Row) -> Row:
    return [row, *row.ancestors()][-1]
