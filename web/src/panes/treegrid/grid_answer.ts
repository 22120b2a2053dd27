import { type Bag, type Plain, toPlain } from '../../wire/index.js';
import { type ColumnNode, type GridColumn, readColumns, readHierarchy } from './grid_columns.js';
import { boolOr, listOf, numberOr, objectOf, textOr } from '../../format/plain_fields.js';
import { readSearch, type SearchResult } from './search_result.js';

/** "+" closed, "-" open, " " without children, "w" is being opened. */
export type RowState = '+' | '-' | ' ' | 'w';

/** One value of a stacked bar. */
export interface SegmentValue {
    readonly id: string;
    readonly value: Plain;
}

export interface GridCell {
    readonly value: Plain;
    /** What is 100% for the format "percent". */
    readonly percentBase: Plain;
    /** What is 100% for the format "percent_by". */
    readonly customPercentBase: Plain;
    /** A bit for each of the column's issues. */
    readonly issueMask: number;
    readonly isReliable: boolean;
    readonly segments: readonly SegmentValue[];
}

export interface GridRow {
    readonly level: number;
    readonly state: RowState;
    /** Names the row as long as its tree lives, in decimal digits. */
    readonly id: string;
    readonly isSelected: boolean;
    /** Names what the row stands for, for other questions about it. */
    readonly objectId: Plain;
    readonly isHighlighted: boolean;
    /** By the index of the column, hidden and collapsed ones included. */
    readonly cells: readonly GridCell[];
}

export interface GridSorting {
    readonly column: number;
    readonly isDescending: boolean;
}

/** The row that was opened and how many rows came into sight. */
export interface ExpandedRow {
    readonly row: number;
    readonly rowCount: number;
}

export interface GridAnswer {
    /** False for the empty answer of a grid without columns. */
    readonly hasGrid: boolean;
    readonly startRow: number;
    readonly rowCount: number;
    /** Undefined if the answer does not speak of it; -1 if there is none. */
    readonly currentRow: number | undefined;
    readonly scrollToCurrent: boolean;
    /** Milliseconds after which to ask again; the answer then has no rows. */
    readonly waitTime: number | undefined;
    readonly forceUpdate: boolean;
    readonly expanded: ExpandedRow | undefined;
    readonly sorting: GridSorting | undefined;
    readonly rows: readonly GridRow[];
    readonly columns: readonly GridColumn[] | undefined;
    readonly hierarchy: readonly ColumnNode[] | undefined;
    readonly footer: GridFooter | undefined;
    readonly search: SearchResult | undefined;
}

/** The sums of the selected rows. */
export interface GridFooter {
    readonly rowCount: number;
    readonly cells: readonly GridCell[];
}

/** Stands for a cell that an answer left out. */
export const NO_CELL: GridCell = {
    value: null,
    percentBase: null,
    customPercentBase: null,
    issueMask: 0,
    isReliable: true,
    segments: [],
};

export function readGridAnswer(bag: Bag): GridAnswer {
    const answer = objectOf(toPlain(bag));
    const view = objectOf(answer['view']);
    const columns = answer['columns'] === undefined ? undefined : readColumns(listOf(answer['columns']));
    return {
        hasGrid: answer['view'] !== undefined,
        startRow: numberOr(view['startRow'], 0),
        rowCount: numberOr(view['rowCount'], 0),
        currentRow: numberOr(view['currentRow'], undefined),
        scrollToCurrent: boolOr(view['scrollToCurrent'], false),
        waitTime: numberOr(view['waitTime'], undefined),
        forceUpdate: boolOr(view['forceUpdate'], false),
        expanded: readExpanded(view['expanded']),
        sorting: readSorting(view['sorting']),
        rows: listOf(answer['rows']).map(readRow),
        columns,
        hierarchy: columns && readHierarchy(answer['columnHierarchy'], columns),
        footer: readFooter(answer['footerRow']),
        search: answer['search'] === undefined ? undefined : readSearch(answer['search']),
    };
}

function readExpanded(plain: Plain | undefined): ExpandedRow | undefined {
    if (plain === undefined) return undefined;
    const expanded = objectOf(plain);
    return { row: numberOr(expanded['row'], -1), rowCount: numberOr(expanded['rowCount'], 0) };
}

function readSorting(plain: Plain | undefined): GridSorting | undefined {
    if (plain === undefined) return undefined;
    const sorting = objectOf(plain);
    return { column: numberOr(sorting['column'], -1), isDescending: boolOr(sorting['descending'], true) };
}

function readRow(plain: Plain): GridRow {
    const row = objectOf(plain);
    return {
        level: numberOr(row['level'], 0),
        state: readState(textOr(row['state'], ' ')),
        id: textOr(row['id'], '0'),
        isSelected: boolOr(row['selected'], false),
        objectId: row['objectid'] ?? null,
        isHighlighted: boolOr(row['isHighlighted'], false),
        cells: readCells(row['cells']),
    };
}

function readState(text: string): RowState {
    return text === '+' || text === '-' || text === 'w' ? text : ' ';
}

function readFooter(plain: Plain | undefined): GridFooter | undefined {
    if (plain === undefined) return undefined;
    const footer = objectOf(plain);
    return { rowCount: numberOr(footer['rowCount'], 0), cells: readCells(footer['cells']) };
}

/** Cells are named "c0", "c1", … by the index of their column. */
function readCells(plain: Plain | undefined): GridCell[] {
    const cells: GridCell[] = [];
    for (const [name, cell] of Object.entries(objectOf(plain))) {
        const index = /^c([0-9]{1,6})$/.exec(name)?.[1];
        if (index !== undefined) cells[Number(index)] = readCell(cell);
    }
    return Array.from(cells, (cell) => cell ?? NO_CELL);
}

function readCell(plain: Plain): GridCell {
    const cell = objectOf(plain);
    return {
        value: cell['value'] ?? null,
        percentBase: cell['percentageBaseDefault'] ?? null,
        customPercentBase: cell['percentageBaseCustomMetric'] ?? null,
        issueMask: numberOr(cell['issueMask'], 0),
        isReliable: boolOr(cell['isReliable'], true),
        segments: listOf(cell['barSegments']).map(readSegment),
    };
}

function readSegment(plain: Plain): SegmentValue {
    const segment = objectOf(plain);
    return { id: textOr(segment['id'], ''), value: segment['value'] ?? null };
}
