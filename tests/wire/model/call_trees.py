"""The rows of a profile, worked out from its folded text in the slow and obvious way."""

ASCII_LOWER = {code: code + 32 for code in range(ord("A"), ord("Z") + 1)}

FLAT, CALLS, CALLERS = "/Function", "/CallStack", "/ParentCallStack"
# Who calls the function in focus, and whom it calls.
FOCUS_CALLERS, FOCUS_CALLS = "/Function/ParentCallStack", "/Function/CallStack"
QUERY_TYPES = {CALLS: "topDown", CALLERS: "bottomUp", FLAT: "flatProfile",
               FOCUS_CALLERS: "selectionParentTree", FOCUS_CALLS: "selectionChildTree"}


def folded_text(samples) -> str:
    """A profile as text: one line for each (stack, weight)."""
    return "".join(";".join(stack) + f" {weight}\n" for stack, weight in samples)


def fold_case(text: str) -> str:
    """What letters of one byte become; others stay."""
    return text.translate(ASCII_LOWER)


class Node:
    """A row of a tree: its own name, and for each result what was spent in it and below it."""

    def __init__(self, name: str, parent: "Node | None", results: int):
        self.name = name
        self.parent = parent
        self.children: dict[str, Node] = {}
        self.total = [0] * results
        self.self = [0] * results

    @property
    def path(self) -> tuple[str, ...]:
        return (*self.parent.path, self.name) if self.parent else ()

    def child(self, name: str) -> "Node":
        return self.children.setdefault(name, Node(name, self, len(self.total)))


def make_tree(grouping: str, results, focus: str = "") -> Node:
    """The tree over the samples of each result; the root stands for no row."""
    root = Node("", None, len(results))
    for number, samples in enumerate(results):
        for stack, weight in samples:
            for node, is_own in rows_of_stack(root, grouping, stack, focus).items():
                node.total[number] += weight
                node.self[number] += weight if is_own else 0
    return root


def rows_of_stack(root: Node, grouping: str, stack, focus: str) -> dict[Node, bool]:
    """The rows that a sample counts for, each once, and whether it was taken in the row itself."""
    if grouping == FLAT:
        return {root.child(name): name == stack[-1] for name in stack}
    found: dict[Node, bool] = {}
    starts = [0] if grouping == CALLS else [len(stack) - 1]
    if grouping in (FOCUS_CALLERS, FOCUS_CALLS):
        starts = [start for start, name in enumerate(stack) if name == focus]
    for start in starts:
        upward = grouping in (CALLERS, FOCUS_CALLERS)
        frames = stack[start::-1] if upward else stack[start:]
        node = root
        for depth, name in enumerate(frames, 1):
            node = node.child(name)
            found[node] = found.get(node, False) or (start == len(stack) - 1 if upward else depth == len(frames))
    return found


def samples_of(samples, grouping: str, paths, focus: str):
    """The samples that count for one of these rows."""
    chosen = set(paths)
    return [(stack, weight) for stack, weight in samples
            if any(node.path in chosen for node in rows_of_stack(Node("", None, 1), grouping, stack, focus))]


def may_fold(grouping: str, node: Node) -> bool:
    """Rows of a call tree may be folded."""
    return grouping != FLAT and (grouping in (CALLS, CALLERS) or node.parent.parent is not None)


def column_captions(grouping: str, results: int) -> list[str]:
    """All columns in the order of their cells."""
    captions = ["Function" if grouping == FLAT else "Call Stack" if grouping in (CALLS, CALLERS) else "Function / Call Stack"]
    for kind in ("Self",) if grouping == CALLERS else ("Total", "Self"):
        captions.append(f"weight:{kind}")
        if results == 2:
            captions += [f"weight:{kind}:{which}" for which in ("First", "Second", "Difference")]
    return captions


def column_flag(caption: str) -> int:
    """What a data column's flags are, by its caption."""
    parts = {"Total": 0x20, "Self": 0x10, "First": 0x100, "Second": 0x200, "Difference": 0x400}
    return 0x4 + sum(parts[part] for part in caption.split(":")[1:])


def top_columns(grouping: str, results: int) -> list[int]:
    """The columns that show unless a pane opens them."""
    captions = column_captions(grouping, results)
    return [index for index, caption in enumerate(captions) if caption.count(":") < 2]


def numbers(grouping: str, totals, selves) -> list[int]:
    """The data cells of a row."""
    cells = []
    for values in (selves,) if grouping == CALLERS else (totals, selves):
        if len(values) == 1:
            cells += values
        else:
            difference = values[0] - values[1]
            cells += [difference, *values, difference]
    return cells
