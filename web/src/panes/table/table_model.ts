import { type FormatHints } from '../../format/column_format.js';
import { Bag, type Value } from '../../wire/index.js';

/** The `flags` of a column that holds what the rows are grouped by. */
const GROUPING_FLAGS = 1;

/** A column of a table answer. Columns that hold others are groups: only the innermost ones show values. */
export interface TableColumn {
    /** Names the column's cell in each row: "c0", "c1", … */
    readonly id: string;
    readonly name: string;
    readonly description: string;
    readonly hints: FormatHints;
    readonly isGrouping: boolean;
    /** Stands for an unknown value. */
    readonly aliasForUnknown: string;
    /** 0 for the outermost columns. */
    readonly depth: number;
    /** The column that holds this one, as an index into the preorder of all columns; -1 if none does. */
    readonly parent: number;
    /** How many innermost columns it spans; 1 for an innermost one. */
    span: number;
    isLeaf: boolean;
}

export interface TableRow {
    readonly level: number;
    /** One per innermost column, in their order; undefined for a cell without a value. */
    readonly values: readonly (Value | undefined)[];
}

/** A whole table, as one answer of the domain `grid` gives it. */
export interface Table {
    /** All columns in preorder. */
    readonly columns: readonly TableColumn[];
    /** The innermost columns, from left to right. */
    readonly leaves: readonly TableColumn[];
    readonly rows: readonly TableRow[];
    /** False if there are more rows than the request's limit let through. */
    readonly isComplete: boolean;
}

/** Reads an answer; null stands for the empty answer of a query without rows. @throws Error if it is no table. */
export function readTable(answer: Bag): Table | null {
    if (answer.isEmpty) return null;
    const columnList = answer.child('columns');
    const rowList = answer.child('rows');
    if (!columnList || !rowList) throw new Error('The answer holds no table: columns or rows are missing');
    const columns = readColumns(columnList);
    const leaves = columns.filter((column) => column.isLeaf);
    const rows = elementsOf(rowList).map((row) => readRow(row, leaves));
    return { columns, leaves, rows, isComplete: answer.bool('fullContent') ?? true };
}

function readColumns(list: Bag): TableColumn[] {
    const columns: TableColumn[] = [];
    const pending = elementsOf(list)
        .reverse()
        .map((bag) => ({ bag, depth: 0, parent: -1 }));
    for (let next = pending.pop(); next; next = pending.pop()) {
        const nested = next.bag.child('columns');
        const children = nested ? elementsOf(nested) : [];
        const parent = columns.push(readColumn(next.bag, next.depth, next.parent, children.length === 0)) - 1;
        for (const bag of children.reverse()) pending.push({ bag, depth: next.depth + 1, parent });
    }
    sumSpans(columns);
    return columns;
}

function readColumn(bag: Bag, depth: number, parent: number, isLeaf: boolean): TableColumn {
    const id = bag.text('id');
    if (id === undefined) throw new Error('A column of the answer has no id');
    return {
        id,
        name: bag.text('fullName') ?? bag.text('caption') ?? id,
        description: bag.text('description') ?? '',
        hints: { format: bag.text('format'), timeUnit: bag.number('timeUnit') },
        isGrouping: bag.number('flags') === GROUPING_FLAGS,
        aliasForUnknown: bag.text('aliasForUnknown') ?? '',
        depth,
        parent,
        span: isLeaf ? 1 : 0,
        isLeaf,
    };
}

/** A parent stands before its children, so one pass backwards is enough. */
function sumSpans(columns: readonly TableColumn[]): void {
    for (const column of [...columns].reverse()) {
        const parent = columns[column.parent];
        if (parent) parent.span += column.span;
    }
}

function readRow(row: Bag, leaves: readonly TableColumn[]): TableRow {
    const cells = row.child('cells') ?? new Bag();
    return {
        level: row.number('level') ?? 0,
        values: leaves.map((column) => cells.child(column.id)?.scalar('value')),
    };
}

/** The elements of a list: the children of the name that its `arrayOf` says. */
function elementsOf(list: Bag): Bag[] {
    return list.childrenNamed(list.text('arrayOf') ?? '');
}
