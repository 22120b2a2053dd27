import { columnFormat, numeric } from '../../format/column_format.js';
import { make } from '../../page/dom.js';
import { type Value } from '../../wire/index.js';
import { type Table, type TableColumn } from './table_model.js';

/** One innermost column and what its cells share. */
interface LeafColumn {
    readonly column: TableColumn;
    readonly isNumeric: boolean;
    readonly text: (value: Value | undefined) => string;
}

/**
 * Draws a table. The first column heads its row; numbers stand right-aligned; cells keep their raw value in
 * `data-value`.
 */
export function drawTable(table: Table, caption: string): HTMLTableElement {
    const leaves = table.leaves.map((column, at) => describe(table, column, at));
    return make(
        'table',
        { class: 'grid' },
        make('caption', { class: 'unseen' }, caption),
        drawHead(table, leaves),
        drawBody(table, leaves),
    );
}

function describe(table: Table, column: TableColumn, at: number): LeafColumn {
    const values = table.rows.map((row) => row.values[at]);
    const known = values.filter((value) => value !== undefined && value.kind !== 'null');
    const isNumeric = known.length > 0 && known.every((value) => numeric(value) !== undefined);
    const format = columnFormat(column.hints, values);
    return { column, isNumeric, text: (value) => format(value) || column.aliasForUnknown };
}

function drawHead(table: Table, leaves: readonly LeafColumn[]): HTMLTableSectionElement {
    const depth = table.columns.reduce((most, column) => Math.max(most, column.depth), 0);
    const rows = Array.from({ length: depth + 1 }, () => make('tr'));
    const byColumn = new Map(leaves.map((leaf) => [leaf.column, leaf]));
    const sorted = sortedColumn(table, leaves);
    for (const column of table.columns) {
        const leaf = byColumn.get(column);
        const cell = leaf ? leafHead(leaf, depth + 1 - column.depth, column === sorted) : groupHead(column);
        if (column.description) cell.title = column.description;
        rows[column.depth]!.append(cell);
    }
    return make('thead', {}, ...rows);
}

function leafHead({ column, isNumeric }: LeafColumn, rowspan: number, isSorted: boolean): HTMLTableCellElement {
    const attributes = {
        scope: 'col',
        rowspan: rowspan > 1 ? rowspan : undefined,
        class: isNumeric ? 'number' : undefined,
        'aria-sort': isSorted ? 'descending' : undefined,
        'data-column': column.id,
    };
    return make('th', attributes, column.name);
}

function groupHead(column: TableColumn): HTMLTableCellElement {
    return make('th', { scope: 'colgroup', colspan: column.span, class: 'group' }, column.name);
}

/** The first column of numbers if its rows fall, which is the order that the host gives by itself. */
function sortedColumn(table: Table, leaves: readonly LeafColumn[]): TableColumn | undefined {
    const at = leaves.findIndex((leaf) => leaf.isNumeric && !leaf.column.isGrouping);
    const numbers = table.rows
        .filter((row) => row.level === 0)
        .map((row) => numeric(row.values[at]) ?? -Infinity);
    const falls = numbers.every((number, row) => row === 0 || number <= numbers[row - 1]!);
    return falls ? leaves[at]?.column : undefined;
}

function drawBody(table: Table, leaves: readonly LeafColumn[]): HTMLTableSectionElement {
    const body = make('tbody');
    for (const row of table.rows) {
        const cells = row.values.map((value, at) => drawCell(leaves[at]!, value, at === 0));
        if (row.level > 0) cells[0]?.style.setProperty('--level', String(row.level));
        body.append(make('tr', {}, ...cells));
    }
    return body;
}

function drawCell(leaf: LeafColumn, value: Value | undefined, isRowHead: boolean): HTMLTableCellElement {
    const text = leaf.text(value);
    const attributes = {
        scope: isRowHead ? 'row' : undefined,
        class: leaf.isNumeric ? 'number' : undefined,
        // Names can be longer than any column; the title shows them whole.
        title: leaf.isNumeric ? undefined : text,
        'data-value': value === undefined || value.kind === 'null' ? undefined : String(value.value),
    };
    return make(isRowHead ? 'th' : 'td', attributes, text);
}
