"""One grid of the real host, asked random things; each answer is compared with the oracle."""

import json
from pathlib import Path
from random import Random
from xml.sax.saxutils import escape

from conversation.frames import read_frame, request_frame
from conversation.grid_table import table_of
from conversation.peer import Peer

from . import call_trees
from .grid_oracle import GridOracle, Row
from .random_profile import NAMES, filtered

ALL_ROWS = 1 << 30
COLUMNS = "<columns><column><_>/Metrics</_></column></columns>"
SELECTIONS = ("none", "setSingle", "addRange", "all", "toggle", "clear")
WEIGHTS = {"scroll": 3, "expand": 6, "collapse": 4, "expandRowsRecursively": 1, "collapseAllRows": 1,
           "expandSelectedRows": 1, "sort": 3, "selection": 6, "search": 3, "columnState": 1, "copyRowsToClipboard": 1,
           "exportToCsv": 1, "position": 2, "filters": 2, "changeStackMode": 2, "refresh": 2, "nonsense": 1}


class Mismatch(Exception):
    """The grid does not show what the oracle says."""


class Connection:
    """Asks the host one thing after the other."""

    def __init__(self, peer: Peer):
        self._peer = peer
        self._last_id = 0

    def ask(self, operation: str, parameters: str):
        """The payload of the answer, or the text of the failure."""
        answer = json.loads(self._response("gridview:" + operation, parameters))["response"]
        return answer[""]["text"] if answer["type"] == "error" else answer[""]

    def flat_profile(self, filter_name: str) -> list[str]:
        """The functions under a named filter, a line for each."""
        parameters = f"<filter><reference>{filter_name}</reference></filter><queryType>flatProfile</queryType>" + COLUMNS
        return table_of(read_frame(self._response("grid:get", parameters))).split("\n")[1:]

    def _response(self, request_type: str, parameters: str) -> str:
        self._last_id += 1
        self._peer.send(request_frame(str(self._last_id), request_type, parameters.encode()))
        while True:
            text = self._peer.receive_text()
            if text.startswith(('{"response"', "<msg><response>")):
                return text


def random_operations(random: Random, count: int) -> list[tuple]:
    """What to ask: an operation and some numbers, whose meaning depends on what the grid shows by then."""
    names = random.choices(list(WEIGHTS), list(WEIGHTS.values()), k=count)
    return [("refresh", *(random.getrandbits(30) for _ in range(12)))] + [
        (name, *(random.getrandbits(30) for _ in range(12))) for name in names]


class GridConversation:
    """`results` are the samples of each result that the host has open."""

    def __init__(self, connection: Connection, results, grid_id: str, folder: Path):
        self._connection = connection
        self._results = results
        self._folder = folder
        self._grid_id = grid_id
        self._oracle: GridOracle | None = None
        self._object_ids: dict = {}
        self.log: list[str] = []

    def run(self, operations) -> None:
        """Asks all; raises Mismatch at the first wrong answer."""
        for name, *numbers in operations:
            self._numbers = numbers
            if name == "refresh" or self._oracle:
                getattr(self, "_" + name)()

    # --- Asking ---

    def _pick(self, below: int) -> int:
        """A number that depends on the operation's next number only."""
        self._numbers.append(self._numbers.pop(0))
        return self._numbers[-1] % below

    def _ask(self, operation: str, parameters: str = "", **own_values):
        own_values = {"gridid": self._grid_id, "paneId": "p-" + self._grid_id, **own_values}
        text = "".join(own_value(*item) for item in own_values.items()) + parameters
        self.log.append(operation + " " + text)
        return self._connection.ask(operation, text)

    def _scroll_to(self, start: int, count: int):
        return self._ask("scroll", grouping=self._oracle.grouping, row=start, count=count,
                         expandLevels=self._oracle.expand_levels)

    def _random_row(self) -> tuple[int, dict]:
        """A row to address, by index, by id, or by an id with a stale index; -1 for one that cannot be found."""
        rows = self._oracle.rows()
        if not rows:
            return -1, {"row": self._pick(3) - 1}
        index, how = self._pick(len(rows)), self._pick(6)
        if how < 3:
            return index, {"row": index}
        hint = index if how == 3 else self._pick(len(rows) + 2) - 1
        start, end = self._oracle.window()
        found = index if hint == index or start <= index < end else -1
        return found, {"row": hint, "rowId": str(rows[index].id)}

    # --- Comparing ---

    def _expect(self, actual, expected, what: str) -> None:
        if actual != expected:
            raise Mismatch(f"{what} is\n{shown(actual)}\nand not\n{shown(expected)}")

    def _check(self, operation: str, answer, **more) -> None:
        """The answer of an operation that the oracle has done too; `more` are further keys of its view."""
        if not isinstance(answer, dict) or "view" not in answer:
            raise Mismatch(f"no window but {answer}")
        oracle = self._oracle
        everything = self._look()
        if oracle.maybe_current and not oracle.settle_current(answer["view"]["currentRow"]):
            raise Mismatch(f"row {answer['view']['currentRow']} is the current one")
        rows = [self._row(index, row) for index, row in enumerate(everything)]
        if operation in ("sort", "changeStackMode") or more.get("scrollToCurrent"):
            oracle.center()
        start, end = oracle.window()
        self._expect(answer["view"], self._view(operation, start, len(rows)) | more, "the view")
        self._expect(answer["rows"], rows[start:end], "the window")
        self._expect(answer.get("search"), oracle.found() if oracle.hits else None, "what was found")
        footer = answer.get("footerRow")
        self._expect(footer and [cell["value"] for cell in footer["cells"].values()], oracle.footer_cells(), "the footer")
        self._expect(footer and footer["rowCount"], footer and len(oracle.selected), "the footer's number of rows")
        if oracle.count > 0:
            self._expect(self._scroll_to(start, oracle.count)["rows"], rows[start:end], "the window once more")
        else:
            oracle.start, oracle.count = 0, ALL_ROWS

    def _look(self) -> list[dict]:
        """All rows, in an order that the oracle now knows."""
        rows = self._scroll_to(0, ALL_ROWS)["rows"]
        self._adopt(self._oracle.root, nested(rows))
        return rows

    def _view(self, operation: str, start: int, count: int) -> dict:
        oracle = self._oracle
        view = {"startRow": start, "rowCount": count, "multiselection": len(oracle.selected) > 1}
        if operation not in ("scroll", "selection", "position"):
            view["currentRow"] = oracle.current_index()
        if operation in ("sort", "changeStackMode"):
            view["scrollToCurrent"] = True
        if operation not in ("scroll", "selection"):
            view["forceUpdate"] = 1
        if operation in ("sort", "refresh", "position"):
            view["sorting"] = {"column": oracle.sort_column, "descending": oracle.descending}
        return view

    def _adopt(self, parent: Row, shown_rows) -> None:
        problem = self._oracle.adopt(parent, [name for name, _ in shown_rows])
        if problem:
            raise Mismatch(problem)
        for row, (name, below) in zip(parent.children, shown_rows):
            if row.expanded:
                self._adopt(row, below)
            elif below:
                raise Mismatch(f"{name} is not open but shows rows below it")

    def _row(self, index: int, actual: dict) -> dict:
        """Compares a row and gives it back; its ids must be those of before."""
        oracle, row = self._oracle, self._oracle.rows()[index]
        self._expect([cell["value"] for cell in actual["cells"].values()], oracle.cells(row), f"row {index}")
        told = {key: actual[key] for key in ("level", "state", "selected")}
        expected = {"level": oracle.level(row), "state": oracle.state(row), "selected": row in oracle.selected}
        self._expect(told, expected, f"row {index}")
        row.id = getattr(row, "id", actual["id"])
        self._expect(actual["id"], row.id, f"the id of row {index}")
        node = row.nodes[0]
        known = self._object_ids.setdefault((oracle.grouping, node.path), actual["objectid"])
        if len(self._results) == 2:  # objects of two results have nothing in common but what they show
            known = node.name
        self._expect(actual["objectid"], known, f"the object of row {index}")
        return actual

    # --- Operations ---

    def _refresh(self) -> None:
        groupings = list(call_trees.QUERY_TYPES)
        grouping = groupings[self._pick(len(groupings))]
        if self._oracle is None:
            self._oracle = GridOracle(grouping)
        elif self._pick(3):
            grouping = self._oracle.grouping
        self._focus = NAMES[self._pick(4)] if grouping in (call_trees.FOCUS_CALLERS, call_trees.FOCUS_CALLS) else ""
        results, condition = self._random_filter()
        tree = call_trees.make_tree(grouping, results, self._focus)
        start, count = self._pick(6) - 1, (0, 1, 3, 5, 100)[self._pick(5)]
        mode, levels = ("", "", "tree", "chain")[self._pick(4)], (0, 0, 0, 1, 2)[self._pick(5)]
        flag, descending = (0x24, 0x14, 0x124, 0x414, 0x7, -1)[self._pick(6)], self._pick(2) == 1
        query = f"<queryType>{call_trees.QUERY_TYPES[grouping]}</queryType>" + COLUMNS + condition
        query += bag("focusObjectInfo", objectid=self._focus, grouping="/Function") if self._focus else ""
        query += bag("persistedSorting", query="/Metrics/weight", queryFlag=flag, descending=descending)
        answer = self._ask("refresh", query, grouping=grouping, row=start, count=count, stackMode=mode, expandLevels=levels)
        self._oracle.refresh(grouping, tree, start, count, mode, levels, (flag, descending))
        if not isinstance(answer, dict):
            raise Mismatch(f"no window but {answer}")
        self._expect([column["caption"] for column in answer["columns"]], self._oracle.columns, "the columns")
        self._check("refresh", answer)

    def _random_filter(self):
        """The samples of each result that are left, and the filter that leaves them."""
        if self._pick(3):
            return self._results, ""
        name, anywhere = NAMES[self._pick(len(NAMES))], self._pick(2) == 1
        item = own_value("grouping", "/CallStack" if anywhere else "/Function") + own_value("row", name)
        condition = f"<filter><valueType>value</valueType><item>{item}</item></filter>"
        return [filtered(samples, name, anywhere) for samples in self._results], condition

    def _scroll(self) -> None:
        start, count = self._pick(len(self._oracle.rows()) + 4) - 2, self._pick(6)
        answer = self._scroll_to(start, count)
        if start < 0 or count <= 0:
            return self._expect(answer, "IsNot.Valid.Argument: Invalid grid view parameters specified.", "the failure")
        self._oracle.start, self._oracle.count = start, count
        self._check("scroll", answer)

    def _expand(self) -> None:
        index, address = self._random_row()
        answer = self._ask("expand", **address)
        if index < 0:
            self._oracle.search_key = None
            return self._check("expand", answer)
        row = self._oracle.rows()[index]
        gained = self._oracle.open(row)
        self._check("expand", answer, expanded={"row": index, "id": str(row.id), "rowCount": gained})

    def _collapse(self) -> None:
        index, address = self._random_row()
        answer = self._ask("collapse", **address)
        if index < 0:
            self._oracle.search_key = None
        else:
            self._oracle.close(self._oracle.rows()[index])
        self._check("collapse", answer)

    def _expandRowsRecursively(self) -> None:
        answer = self._ask("expandRowsRecursively")
        self._oracle.open_all(0)
        self._check("expandRowsRecursively", answer)

    def _expandSelectedRows(self) -> None:
        answer = self._ask("expandSelectedRows")
        self._oracle.open_selected()
        self._check("expandSelectedRows", answer)

    def _collapseAllRows(self) -> None:
        answer = self._ask("collapseAllRows")
        self._oracle.close_all()
        self._check("collapseAllRows", answer)

    def _sort(self) -> None:
        column, descending = self._pick(len(self._oracle.columns)), self._pick(2) == 1
        answer = self._ask("sort", bag("sorting", column=column, descending=descending))
        self._oracle.sort(column, descending)
        self._check("sort", answer)

    def _selection(self) -> None:
        kind = SELECTIONS[self._pick(len(SELECTIONS))]
        # A range from nowhere takes an empty row in; panes never ask for one.
        if kind == "addRange" and not self._oracle.current:
            return
        index, address = self._random_row()
        answer = self._ask("selection", selectionType=kind, **address)
        if index < 0 and kind not in ("all", "clear"):
            return self._expect(answer, "IsNot: Invalid grid view parameters specified.", "the failure")
        self._oracle.select(kind, index)
        self._check("selection", answer)

    def _search(self) -> None:
        name = NAMES[self._pick(len(NAMES))]
        key = (name[self._pick(3) :], name[:1].swapcase(), "1", "", " → ", "a", "00")[self._pick(7)]
        answer = self._ask("search", searchKey=key)
        self._oracle.search(key)
        self._expect(answer, {"search": self._oracle.found()}, "what was found")

    def _columnState(self) -> None:
        tops = call_trees.top_columns(self._oracle.grouping, len(self._results))
        hidden = {column for column in tops[1:] if self._pick(2)}
        nodes = "".join(bag("n", dataIndex=column, isHidden=column in hidden) for column in tops)
        self._expect(self._ask("columnState", f"<columnHierarchy><column>{nodes}</column></columnHierarchy>"), None, "it")
        self._oracle.visible_columns = [column for column in tops if column not in hidden]
        self._oracle.search("")

    def _copyRowsToClipboard(self) -> None:
        answer = self._ask("copyRowsToClipboard")
        self._expect(answer, {"copiedRows": self._oracle.clipboard()}, "the copy")

    def _exportToCsv(self) -> None:
        path = self._folder / (self._grid_id + ".csv")
        self._expect(self._ask("exportToCsv", filePath=str(path)), None, "the answer")
        self._expect(path.read_text(encoding="utf-8"), self._oracle.csv(), "the file")

    def _position(self) -> None:
        oracle = self._oracle
        by_object, column = self._pick(2) and len(self._results) == 1, self._pick(6)
        path, told = self._path_by_object() if by_object else self._path_by_name()
        own = {}
        if column < len(oracle.columns):
            own["focusColumnName"] = oracle.columns[column]
        references = "".join(bag("focusRowReference", type=kind, value=value) for kind, value in told)
        if references:
            references = f"<focusRowReferences>{references}</focusRowReferences>"
        answer = self._ask("position", references, **own)
        more = {"scrollToCurrent": True} if told else {}
        if own:
            oracle.sort(column, True)
            more["focusColumnIndex"] = column
        found = oracle.find(path, bool(by_object))
        self._look()  # which row is the first one
        if told:
            oracle.go_to(found)
            more["currentRow"] = oracle.current_index()
        self._check("position", answer, **more)

    def _path_by_object(self):
        """The way to a visible row, by object ids."""
        rows = self._oracle.rows()
        if not rows:
            return [], []
        row = rows[self._pick(len(rows))]
        way = [*reversed(list(row.ancestors())), row]
        ids = [self._object_ids[self._oracle.grouping, step.nodes[0].path] for step in way]
        return [step.nodes[0] for step in way], [("objectid", number) for number in ids]

    def _path_by_name(self):
        """The way to any row, visible or not; some lead nowhere."""
        names, node = [], self._oracle.tree
        for _ in range(1 + self._pick(5)):
            if not node.children:
                break
            names.append(list(node.children)[self._pick(len(node.children))])
            node = node.children[names[-1]]
        if self._pick(8) == 0:
            names.append("nobody")
        return names, [("name", name) for name in names]

    def _filters(self) -> None:
        """What other panes see through this grid's selection, and through a dive into one of its rows."""
        oracle = self._oracle
        self._compare_filtered("selection-p-" + self._grid_id, oracle.selected, "what is selected")
        index, address = self._random_row()
        answer = self._ask("viewSource", **address)
        if index < 0:
            return self._expect(answer, "IsNot.Valid.Argument", "the failure")
        level = "/Function" if oracle.level(oracle.rows()[index]) == 0 else "/" + oracle.grouping.split("/")[-1]
        expected = level if oracle.grouping.count("/") == 2 else oracle.grouping
        self._expect(answer["DiveGroupingIdKey"], expected, "the grouping of the dive")
        self._compare_filtered(answer["DataFilterKey"], {oracle.rows()[index]}, "the data of the dive")

    def _compare_filtered(self, name: str, rows: set[Row], what: str) -> None:
        """The filter lets the samples of these rows through, or all if there is no row."""
        results = self._results
        if rows:
            paths = [row.nodes[0].path for row in rows]
            results = [call_trees.samples_of(samples, self._oracle.grouping, paths, self._focus) for samples in results]
        expected = []
        for node in call_trees.make_tree(call_trees.FLAT, results).children.values():
            numbers = call_trees.numbers(call_trees.FLAT, node.total, node.self)
            shown_numbers = numbers if len(results) == 1 else [*numbers[1:4], *numbers[5:]]
            expected.append(" | ".join([node.name, *map(str, shown_numbers)]))
        self._expect(sorted(self._connection.flat_profile(name)), sorted(expected), what)

    def _changeStackMode(self) -> None:
        mode = ("tree", "chain", "chain", "bogus")[self._pick(4)]
        answer = self._ask("changeStackMode", stackMode=mode)
        self._oracle.change_mode("chain" if mode == "chain" else "tree")
        self._check("changeStackMode", answer)

    def _nonsense(self) -> None:
        operation, parameters, failure = (
            ("sort", bag("sorting", column=99),
             "IsNot.Valid.Argument: Invalid sorting condition specified."),
            ("selection", own_value("selectionType", "most"), "FailedTo.Process.This.Operation: The selection type is unknown."),
            ("select", "", "FailedTo.Process.This.Operation: select"),
            ("viewSource", own_value("row", -1), "IsNot.Valid.Argument"),
        )[self._pick(4)]
        self._expect(self._ask(operation, parameters), failure, "the failure")


def own_value(name: str, value) -> str:
    """A child with an own value."""
    return f"<{name}>{plain_value('_', value)}</{name}>"


def bag(name: str, **values) -> str:
    """A child with named values."""
    return f"<{name}>" + "".join(plain_value(*item) for item in values.items()) + f"</{name}>"


def plain_value(name: str, value) -> str:
    """A truth value, a number or a text."""
    kind = {bool: ' type="bool"', int: ' type="s32_t"'}.get(type(value), "")
    text = str(value).lower() if isinstance(value, bool) else str(value)
    return f"<{name}{kind}>{escape(text)}</{name}>"


def nested(rows) -> list:
    """Rows in preorder as a tree of (what the grouping column shows, the rows below)."""
    top: list = []
    path = [top]
    for row in rows:
        below: list = []
        del path[row["level"] + 1 :]
        path[-1].append((row["cells"]["c0"]["value"], below))
        path.append(below)
    return top


def shown(value) -> str:
    return json.dumps(value, ensure_ascii=False) if not isinstance(value, str) else value
