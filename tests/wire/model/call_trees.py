"""The rows of a profile, worked out from its folded text in the slow and obvious way."""

ASCII_LOWER = {code: code + 32 for code in range(ord("A"), ord("Z") + 1)}

CAPTIONS = {"/CallStack": "Call Stack", "/ParentCallStack": "Call Stack", "/Function": "Function"}
QUERY_TYPES = {"/CallStack": "topDown", "/ParentCallStack": "bottomUp", "/Function": "flatProfile"}


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


def make_tree(grouping: str, results) -> Node:
    """The tree over the samples of each result; the root stands for no row."""
    root = Node("", None, len(results))
    for number, samples in enumerate(results):
        for stack, weight in samples:
            for node in rows_of_stack(root, grouping, stack):
                node.total[number] += weight
                if grouping == "/ParentCallStack" or node.name == stack[-1] and is_leaf(node, grouping, stack):
                    node.self[number] += weight
    return root


def rows_of_stack(root: Node, grouping: str, stack) -> list[Node]:
    """The rows that a sample counts for; a recursive function counts once."""
    if grouping == "/Function":
        return [root.child(name) for name in dict.fromkeys(stack)]
    rows = []
    for name in reversed(stack) if grouping == "/ParentCallStack" else stack:
        rows.append((rows[-1] if rows else root).child(name))
    return rows


def samples_of(samples, grouping: str, paths):
    """The samples that count for one of these rows."""
    chosen = set(paths)
    return [(stack, weight) for stack, weight in samples
            if any(node.path in chosen for node in rows_of_stack(Node("", None, 1), grouping, stack))]


def is_leaf(node: Node, grouping: str, stack) -> bool:
    return grouping == "/Function" or len(node.path) == len(stack)


def column_captions(grouping: str, results: int) -> list[str]:
    """All columns in the order of their cells."""
    captions = [CAPTIONS[grouping]]
    for kind in ("Self",) if grouping == "/ParentCallStack" else ("Total", "Self"):
        captions.append(f"weight:{kind}")
        if results == 2:
            captions += [f"weight:{kind}:{which}" for which in ("First", "Second", "Difference")]
    return captions


def top_columns(grouping: str, results: int) -> list[int]:
    """The columns that show unless a pane opens them."""
    captions = column_captions(grouping, results)
    return [index for index, caption in enumerate(captions) if caption.count(":") < 2]


def numbers(grouping: str, totals, selves) -> list[int]:
    """The data cells of a row."""
    cells = []
    for values in (selves,) if grouping == "/ParentCallStack" else (totals, selves):
        if len(values) == 1:
            cells += values
        else:
            difference = values[0] - values[1]
            cells += [difference, *values, difference]
    return cells
