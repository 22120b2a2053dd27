// The domain `gridview` in memory, good enough to test a pane against: rows that open and close, sort, are selected,
// searched and copied, from plain nodes that a test gives. Answers are the JSON that the library writes.

/** A request as its own values and named values, by name; children of children are not looked at but for these. */
function fieldsOf(frame) {
    const fields = {};
    for (const [, name, kind, text] of frame.matchAll(/<(\w+)><_(?: type="(\w+)")?>([^<]*)<\/_><\/\1>/g))
        fields[name] = kind ? JSON.parse(text) : unescape(text);
    for (const [, name, kind, text] of frame.matchAll(/<(\w+)(?: type="(\w+)")?>([^<]+)<\/\1>/g))
        fields[name] ??= kind ? JSON.parse(text) : unescape(text);
    fields.path = [...frame.matchAll(/<type>[^<]*<\/type><value>([^<]*)<\/value>/g)].map((found) =>
        unescape(found[1]),
    );
    return fields;
}

const ENTITIES = { '&lt;': '<', '&gt;': '>', '&amp;': '&', '&quot;': '"' };
const unescape = (text) => text.replace(/&\w+;/g, (found) => ENTITIES[found] ?? found);

const NOT_FOUND = 'FailedTo.Process.This.Operation: Grid model not found.';
const INVALID = 'IsNot: Invalid grid view parameters specified.';

const format = (id, displayName) => ({ id, displayName });
const FORMATS = [format('time', 'Time'), format('number', 'Number')];
const dataColumn = (caption, rest) => ({
    caption,
    descendingByDefault: true,
    syncChildColumnsFormat: false,
    aliasForUnknown: '',
    isCollapsible: true,
    format: 'time',
    timeUnit: 1e-6,
    isData: true,
    availableFormats: FORMATS,
    ...rest,
});

const COLUMNS = [
    {
        caption: 'Function',
        descendingByDefault: false,
        syncChildColumnsFormat: false,
        isGrouping: true,
        levels: [{ id: 0, aliasForUnknown: '[unknown]', format: 'text' }],
    },
    dataColumn('Time', {
        syncChildColumnsFormat: true,
        barType: 'stacked',
        barSegments: {
            s0: { caption: 'Thread A', color: 0x1f6688ff },
            s1: { caption: 'Thread B', color: 0xd47334ff },
        },
    }),
    dataColumn('Thread A', { barType: 'default', color: 0x1f6688ff }),
    dataColumn('Thread B', { barType: 'default', color: 0xd47334ff }),
    dataColumn('CPU Time:Self', {
        query: '/Metrics/time',
        queryFlag: 20,
        isSelf: true,
        barType: 'default',
        color: 0xd47334ff,
        issues: [{ issueText: 'Too much self time' }],
    }),
    dataColumn('Change', { barType: 'diff', color: 0xb3261eff, confidenceText: 'Too few samples' }),
    ...['Module', 'SourceFile', 'SourceLine'].map((name) => ({
        caption: name,
        query: `/Info/${name}`,
        queryFlag: 0,
        isInfo: true,
    })),
];
const PLACE_COLUMN = 6;

const node = (dataIndex, isCollapsed, children = []) => ({
    dataIndex,
    isCollapsed,
    isHidden: false,
    ...(children.length > 0 && { columns: children }),
});
const HIERARCHY = {
    columns: [
        node(0, false),
        node(1, true, [node(2, false), node(3, false)]),
        ...[4, 5, 6, 7, 8].map((column) => node(column, false)),
    ],
};

/**
 * A node of a tree: its name, the numbers of the columns "Thread A", "Thread B", "Self" and "Change" in microseconds,
 * the nodes below it, and module, file and line. A name of null is an unknown one.
 */
export function gridNode(name, [a, b, self, change], children = [], place = [null, null, null]) {
    return { name, values: [name, a + b, a, b, self, change, ...place], children };
}

let lastId = 0x1_0000_0000;

class Row {
    id = String((lastId += 16));
    isOpen = false;
    rows = null;

    constructor(node, parent) {
        this.node = node;
        this.parent = parent;
        this.level = parent ? parent.level + 1 : 0;
    }

    get children() {
        return (this.rows ??= this.node.children.map((child) => new Row(child, this)));
    }
}

/** One grid of one pane. */
class Grid {
    window = { row: 0, count: 1 };
    current = -1;
    sorting = { column: 1, descending: true };
    selected = new Set();
    hits = null;

    constructor(nodes, view) {
        this.view = view;
        this.take(nodes);
    }

    /** New data; what was open and current stays so by name. */
    take(nodes) {
        const open = new Set(this.visible?.filter((row) => row.isOpen).map(pathOf));
        const current = this.visible?.[this.current];
        this.top = nodes.map((each) => new Row(each, null));
        this.total = nodes.reduce((sum, each) => sum + each.values[4], 0);
        this.maxima = COLUMNS.map((_, at) =>
            nodes.reduce((most, { values }) => Math.max(most, Math.abs(values[at] || 0)), 0),
        );
        this.selected.clear();
        const reopen = (rows) => {
            for (const row of rows) {
                row.isOpen = open.has(pathOf(row));
                if (row.isOpen) reopen(row.children);
            }
        };
        if (open.size > 0) reopen(this.top);
        this.layOut();
        this.current = current ? this.visible.findIndex((row) => pathOf(row) === pathOf(current)) : -1;
    }

    /** Makes the list of visible rows anew; the current row moves with its row, or to the one that holds it. */
    layOut() {
        let current = this.visible?.[this.current];
        this.visible = [];
        const pending = this.sorted(this.top).reverse();
        for (let row = pending.pop(); row; row = pending.pop()) {
            this.visible.push(row);
            if (row.isOpen) pending.push(...this.sorted(row.children).reverse());
        }
        this.hits = null;
        for (; current; current = current.parent) {
            this.current = this.visible.indexOf(current);
            if (this.current >= 0) return;
        }
        this.current = -1;
    }

    sorted(rows) {
        const { column, descending } = this.sorting;
        const compare = (one, other) => (one > other ? 1 : one < other ? -1 : 0);
        const sign = descending ? -1 : 1;
        return [...rows].sort(
            (one, other) => sign * compare(one.node.values[column], other.node.values[column]),
        );
    }

    /** The row by its hint, else by its id within the window. */
    find(row, id) {
        if (id === '0' || this.visible[row]?.id === id) return row;
        const { row: start, count } = this.window;
        const at = this.visible.slice(start, start + count).findIndex((each) => each.id === id);
        return at < 0 ? -1 : start + at;
    }

    text(row, column) {
        const value = row.node.values[column];
        if (value === null) return '[unknown]';
        return column === 0 ? value : `${value}`;
    }

    search(key) {
        this.hits = { key, cells: [], count: 0 };
        if (key === '') return;
        const wanted = [...key.toLowerCase()].join('');
        this.visible.forEach((row, rowIndex) => {
            const text = this.text(row, 0).toLowerCase();
            const entries = [];
            for (let at = text.indexOf(wanted); at >= 0; at = text.indexOf(wanted, at + wanted.length)) {
                const startPosition = [...text.slice(0, at)].length;
                const endPosition = startPosition + [...wanted].length;
                entries.push({ startPosition, endPosition, foundItemNumber: ++this.hits.count });
            }
            if (entries.length > 0) this.hits.cells.push({ rowIndex, columnIndex: 0, entries });
        });
    }

    searchBag() {
        if (!this.hits?.key) return {};
        const { key, count, cells } = this.hits;
        const { row, count: rows } = this.window;
        const answer = { searchKey: key, foundItemCount: count };
        const before = cells.filter((cell) => cell.rowIndex < row);
        const behind = cells.filter((cell) => cell.rowIndex >= row + rows);
        const previous = before.at(-1) ?? behind.at(-1);
        const next = behind[0] ?? before[0];
        if (previous) answer.previous = { cell: previous };
        answer.cells = cells.slice(before.length, cells.length - behind.length);
        if (next) answer.next = { cell: next };
        return answer;
    }

    select(type, row) {
        const at = (index) => this.visible[index];
        if (type === 'all') this.selected = new Set(this.visible);
        else if (type === 'clear') {
            this.selected.clear();
            this.current = -1;
        } else if (type === 'setSingle') {
            if (this.selected.size === 1 && this.selected.has(at(row))) return;
            this.selected = new Set([at(row)]);
            this.current = row;
        } else {
            const [first, last] = [Math.min(row, this.current), Math.max(row, this.current)];
            if (type === 'addRange') for (let each = first; each <= last; ++each) this.selected.add(at(each));
            if (type === 'toggle' && !this.selected.delete(at(row))) this.selected.add(at(row));
            this.current = row;
        }
    }

    cells(values) {
        const cells = {};
        values.forEach((value, at) => {
            const isData = at > 0 && at < PLACE_COLUMN;
            cells[`c${at}`] = {
                value,
                percentageBaseDefault: isData ? this.total : null,
                percentageBaseCustomMetric: null,
                issueMask: at === 4 ? Number(value > 1_000_000) : null,
                isReliable: at !== 5 || Math.abs(value) !== 1,
                ...(at === 1 && {
                    barSegments: [
                        { id: 's0', value: values[2] },
                        { id: 's1', value: values[3] },
                    ],
                }),
            };
        });
        return cells;
    }

    row(row) {
        return {
            level: row.level,
            state:
                row.isWaiting || this.view.openedElsewhere === row.node.name
                    ? 'w'
                    : row.node.children.length === 0
                      ? ' '
                      : row.isOpen
                        ? '-'
                        : '+',
            id: row.id,
            selected: this.selected.has(row),
            isDivable: false,
            objectid: row.node.name,
            cells: this.cells(row.node.values),
        };
    }

    /** The answer to a request of that type, key by key as the library has it. */
    answer(type, expanded) {
        const { window, current } = this;
        const isView = type === 'scroll' || type === 'selection';
        const isPlaced = type === 'sort' || type === 'position';
        if (isPlaced && current >= 0) window.row = current - Math.floor(window.count / 2);
        const rowCount = this.visible.length;
        window.row = Math.max(0, Math.min(window.row, rowCount - window.count));
        const view = { startRow: window.row, rowCount };
        if (!isView) view.currentRow = current;
        if (isPlaced || type === 'changeStackMode') view.scrollToCurrent = true;
        if (expanded) view.expanded = expanded;
        if (!isView) view.forceUpdate = 1;
        if (type === 'sort' || type === 'refresh') view.sorting = this.sorting;
        view.multiselection = this.selected.size > 1;
        const rows = this.visible.slice(window.row, window.row + window.count).map((row) => this.row(row));
        const columns = this.view.columns.map((column, at) => ({
            id: `c${at}`,
            ...column,
            ...(column.isData && { barMax: this.maxima[at] }),
        }));
        return {
            ...(type === 'refresh' && { columns, columnHierarchy: HIERARCHY }),
            view,
            ...(this.selected.size > 0 && { footerRow: this.footer() }),
            rows,
            ...(this.hits?.cells.length > 0 && { search: this.searchBag() }),
        };
    }

    footer() {
        const sum = (at) => [...this.selected].reduce((all, row) => all + row.node.values[at], 0);
        return { rowCount: this.selected.size, cells: this.cells([null, ...[1, 2, 3, 4, 5].map(sum)]) };
    }

    /** Opens what holds the row of those names, and selects it; the first row if there is none. */
    goTo(names) {
        let rows = this.top;
        let found;
        for (const name of names) {
            if (found) found.isOpen = true;
            found = rows.find((row) => row.node.name === name);
            if (!found) break;
            rows = found.children;
        }
        this.layOut();
        this.select('setSingle', Math.max(0, this.visible.indexOf(found)));
        this.current = Math.max(0, this.visible.indexOf(found));
    }

    setOpen(row, open) {
        row.isOpen = open;
        this.layOut();
    }

    openAll(rows) {
        const pending = [...rows];
        for (let row = pending.pop(); row; row = pending.pop()) {
            row.isOpen = row.children.length > 0;
            pending.push(...row.children);
        }
        this.layOut();
    }
}

const pathOf = (row) => (row.parent ? `${pathOf(row.parent)}/${row.node.name}` : String(row.node.name));

export class FakeGridView {
    /** Query type -> top nodes, or what makes them of the id of the focus object; a type that is missing is one that the library does not offer. */
    trees = {};
    /** The name of rows that are being opened for somebody else. */
    openedElsewhere;
    /** What the columns of all grids are. */
    columns = COLUMNS;
    /** Operation -> promise; such requests are answered once it is settled. */
    holds = {};
    /** Paths and texts of `exportToCsv`. */
    exports = [];
    #grids = new Map();

    /** Forgets all grids, as a library does that is started anew. */
    forget() {
        this.#grids.clear();
    }

    reset(trees) {
        this.trees = trees;
        this.columns = COLUMNS;
        this.openedElsewhere = undefined;
        this.holds = {};
        this.exports = [];
        this.#grids.clear();
    }

    /**
     * The answer's payload, `undefined` if the request was cancelled first. @throws Error with the failure's text.
     * @param canceled an AbortSignal
     */
    async answer(operation, frame, canceled) {
        const request = fieldsOf(frame);
        if (operation === 'refresh') this.#refresh(request);
        const grid = this.#grids.get(request.gridid);
        if (!grid) throw new Error(NOT_FOUND);
        const row =
            request.row === undefined ? undefined : grid.visible[grid.find(request.row, request.rowId ?? '0')];
        const setWaiting = (isWaiting) => row && (row.isWaiting = isWaiting);
        setWaiting(operation === 'expand');
        const cancellation = new Promise((resolve) => canceled.addEventListener('abort', resolve));
        canceled.addEventListener('abort', () => {
            setWaiting(false);
            // As much as was opened by then stays open.
            if (operation === 'expandRowsRecursively') grid.openAll([grid.top[0]]);
        });
        if (this.holds[operation]) await Promise.race([this.holds[operation], cancellation]);
        if (canceled.aborted) return undefined;
        setWaiting(false);
        return this.#perform(operation, grid, request, row);
    }

    #refresh(request) {
        const tree = this.trees[request.queryType];
        const nodes = typeof tree === 'function' ? tree(request.objectid) : tree;
        if (!nodes) throw new Error(`FailedTo.Execute.This.Operation: ${request.queryType}`);
        const known = this.#grids.get(request.gridid);
        if (known) known.take(nodes);
        else this.#grids.set(request.gridid, new Grid(nodes, this));
    }

    #perform(operation, grid, request, row) {
        switch (operation) {
            case 'refresh':
            case 'scroll':
                if (!(request.row >= 0 && request.count > 0)) throw new Error(INVALID);
                grid.window = { row: request.row, count: request.count };
                return grid.answer(operation);
            case 'expand': {
                const before = grid.visible.length;
                if (!row) return grid.answer(operation);
                grid.setOpen(row, true);
                const place = { row: grid.visible.indexOf(row), id: row.id };
                return grid.answer(operation, { ...place, rowCount: grid.visible.length - before });
            }
            case 'collapse':
                if (row) grid.setOpen(row, false);
                return grid.answer(operation);
            case 'position':
                grid.goTo(request.path);
                return grid.answer(operation);
            case 'collapseAllRows':
                for (const each of grid.visible) each.isOpen = false;
                grid.layOut();
                return grid.answer(operation);
            case 'expandRowsRecursively':
                grid.openAll(grid.top);
                return grid.answer(operation);
            case 'expandSelectedRows':
                grid.openAll(grid.selected);
                return grid.answer(operation);
            case 'sort':
                if (!(request.column >= 0)) throw new Error('IsNot.Valid.Argument: column');
                grid.sorting = { column: request.column, descending: request.descending };
                grid.layOut();
                return grid.answer(operation);
            case 'changeStackMode':
                grid.layOut();
                return grid.answer(operation);
            case 'selection':
                if (!row && !['all', 'clear'].includes(request.selectionType)) throw new Error(INVALID);
                grid.select(request.selectionType, grid.visible.indexOf(row));
                return grid.answer(operation);
            case 'search':
                grid.search(request.searchKey ?? '');
                return { search: grid.searchBag() };
            case 'columnState':
                grid.hits = null;
                return null;
            case 'copyRowsToClipboard': {
                // The library stops after some size: here after a few rows.
                const rows = grid.visible.filter((each) => grid.selected.has(each)).slice(0, MOST_COPIED);
                return { copiedRows: ['Function\tSelf', ...rows.map(lineOf)].join('\n') };
            }
            case 'exportToCsv':
                if (!request.filePath.startsWith('/')) throw new Error('IsNot.Valid.Object');
                this.exports.push(request.filePath);
                return null;
            default:
                throw new Error(`FailedTo.Process.This.Operation: ${operation}`);
        }
    }
}

const MOST_COPIED = 5;
const lineOf = (row) => `${row.node.name}\t${row.node.values[4]}`;
