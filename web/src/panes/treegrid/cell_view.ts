import { make } from '../../page/dom.js';
import { barShapes } from './bar_shapes.js';
import { cellText, cutAtHits, numeric } from './cell_text.js';
import { type GridCell, type GridRow, NO_CELL } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';
import { type Hit } from './search_result.js';

export interface CellPlace {
    readonly column: GridColumn;
    /** From 1, among the columns that show. */
    readonly columnNumber: number;
}

const TOGGLES: Readonly<Record<GridRow['state'], string>> = { '+': '▸', '-': '▾', ' ': '', w: '' };

/** Draws one cell; the grouping cell carries the row's level and the switch that opens it. */
export function drawCell(
    { column, columnNumber }: CellPlace,
    row: GridRow,
    hits: readonly Hit[],
    currentHit: number,
): HTMLElement {
    const cell = row.cells[column.index] ?? NO_CELL;
    const text = cellText(column, cell, row.level);
    const element = makeCell(column, columnNumber, cell, text);
    if (column.isGrouping) {
        element.style.setProperty('--level', String(row.level));
        element.append(drawToggle(row));
    }
    for (const bar of drawBars(column, cell)) element.append(bar);
    element.append(drawText(text, hits, currentHit));
    return element;
}

/** A cell of the footer: the sums of the selection, and how many rows they are of. */
export function drawFootCell(
    { column, columnNumber }: CellPlace,
    cell: GridCell,
    caption: string,
): HTMLElement {
    const text = column.isGrouping ? caption : cellText(column, cell, 0);
    const element = makeCell(column, columnNumber, cell, text);
    element.append(make('span', { class: 'tg-text' }, text));
    return element;
}

function makeCell(column: GridColumn, columnNumber: number, cell: GridCell, text: string): HTMLElement {
    const issues = column.issues.filter((_, bit) => Math.floor(cell.issueMask / 2 ** bit) % 2 === 1);
    const doubt = cell.isReliable ? [] : [column.confidenceText || 'This value is not reliable.'];
    const remarks = [...issues, ...doubt];
    const isNumber = !column.isGrouping && (column.isData || numeric(cell.value) !== undefined);
    const classes = ['tg-cell'];
    if (isNumber) classes.push('number');
    if (issues.length > 0) classes.push('issue');
    if (!cell.isReliable) classes.push('unreliable');
    const element = make('div', {
        class: classes.join(' '),
        role: column.isGrouping ? 'rowheader' : 'gridcell',
        'aria-colindex': columnNumber,
        'data-column': `c${column.index}`,
        'data-value': cell.value === null ? undefined : String(cell.value),
        // A column may be narrower than what it shows.
        title: [text, ...remarks].join('\n'),
    });
    if (remarks.length > 0) element.append(make('span', { class: 'unseen' }, `${remarks.join('; ')}: `));
    return element;
}

function drawToggle({ state }: GridRow): HTMLElement {
    const classes = state === 'w' ? 'tg-toggle waiting' : 'tg-toggle';
    return make('span', { class: classes, 'data-state': state, 'aria-hidden': 'true' }, TOGGLES[state]);
}

function drawBars(column: GridColumn, cell: GridCell): HTMLElement[] {
    const shapes = barShapes(column, cell);
    if (shapes.length === 0) return [];
    const track = make('span', { class: 'tg-bars', 'data-bar': column.barType, 'aria-hidden': 'true' });
    for (const { start, length, color, caption } of shapes) {
        const bar = make('span', { class: 'tg-bar', title: caption || undefined });
        bar.style.left = percent(start);
        bar.style.width = percent(length);
        bar.style.backgroundColor = color;
        track.append(bar);
    }
    return [track];
}

function percent(share: number): string {
    return `${(share * 100).toFixed(3)}%`;
}

function drawText(text: string, hits: readonly Hit[], currentHit: number): HTMLElement {
    const element = make('span', { class: 'tg-text' });
    for (const piece of cutAtHits(text, hits)) {
        if (piece.hit === 0) element.append(piece.text);
        else
            element.append(
                make('mark', { class: piece.hit === currentHit ? 'current' : undefined }, piece.text),
            );
    }
    return element;
}
