import './grid_cells.css';
import { make } from '../../page/dom.js';
import { barShapes } from './bar_shapes.js';
import { cellText, numeric, shownNumber } from './cell_text.js';
import { type ColumnTree } from './column_tree.js';
import { shownCell } from './comparison.js';
import { drawHits } from './cut_text.js';
import { type GridCell, type GridRow, NO_CELL } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';
import { drawName } from './name_view.js';
import { type Hit } from './search_result.js';

export interface CellPlace {
    readonly tree: ColumnTree;
    readonly column: GridColumn;
    /** From 1, among the columns that show. */
    readonly columnNumber: number;
}

/** Draws one cell; the grouping cell carries the row's level and the switch that opens it. */
export function drawCell(
    place: CellPlace,
    row: GridRow,
    hits: readonly Hit[],
    currentHit: number,
): HTMLElement {
    const { tree, column } = place;
    const own = row.cells[column.index] ?? NO_CELL;
    const cell = shownCell(tree, column, row.cells);
    const text = cellText(column, own, row.level);
    if (column.isGrouping) {
        const element = makeCell(place, cell);
        drawName(element, tree, row, text, hits, currentHit);
        return element;
    }
    if (numeric(cell.value) !== undefined) return drawNumber(place, cell, hits, currentHit);
    const element = makeCell(place, cell, text);
    const shown = make('span', { class: 'tg-text' });
    drawHits(shown, text, hits, currentHit);
    element.append(shown);
    return element;
}

/** A cell of the footer: the sums of the selection, and how many rows they are of. */
export function drawFootCell(place: CellPlace, cells: readonly GridCell[], caption: string): HTMLElement {
    const cell = shownCell(place.tree, place.column, cells);
    if (numeric(cell.value) !== undefined && !place.column.isGrouping) return drawNumber(place, cell, [], 0);
    const text = place.column.isGrouping ? caption : '';
    const element = makeCell(place, cell, text);
    element.append(make('span', { class: 'tg-text' }, text));
    return element;
}

function drawNumber(place: CellPlace, cell: GridCell, hits: readonly Hit[], currentHit: number): HTMLElement {
    const { tree, column } = place;
    const isDifference = tree.isDifference(column);
    const { sign, text, percent, hidden } = shownNumber(column, cell, isDifference);
    const element = makeCell(place, cell, `${sign}${text}${percent && ` (${percent})`}`);
    if (Number(cell.value) === 0) element.classList.add('zero');
    if (isDifference && sign !== '') element.classList.add(sign === '+' ? 'more' : 'less');
    for (const bar of drawBars(column, cell, isDifference)) element.append(bar);
    const shown = make('span', { class: 'tg-text' }, sign);
    // The library counts the places of its hits with the sign in front.
    const moved = hits.map((hit) => ({ ...hit, start: hit.start - hidden, end: hit.end - hidden }));
    drawHits(shown, text, moved, currentHit);
    element.append(shown);
    if (percent !== '') element.append(make('span', { class: 'tg-percent' }, percent));
    return element;
}

function makeCell({ column, columnNumber }: CellPlace, cell: GridCell, text = ''): HTMLElement {
    const issues = column.issues.filter((_, bit) => Math.floor(cell.issueMask / 2 ** bit) % 2 === 1);
    const doubt = cell.isReliable ? [] : [column.confidenceText || 'This value is not reliable.'];
    const remarks = [...issues, ...doubt];
    const classes = ['tg-cell'];
    if (column.isGrouping) classes.push('name');
    else if (column.isData || numeric(cell.value) !== undefined) classes.push('number');
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

function drawBars(column: GridColumn, cell: GridCell, isDifference: boolean): HTMLElement[] {
    const type = isDifference ? 'diff' : column.barType;
    const shapes = barShapes({ ...column, barType: type }, cell);
    if (shapes.length === 0) return [];
    const track = make('span', { class: 'tg-bars', 'data-bar': type, 'aria-hidden': 'true' });
    for (const { start, length, color, caption } of shapes) {
        const bar = make('span', { class: 'tg-bar', title: caption || undefined });
        bar.style.left = percent(start);
        bar.style.width = percent(length);
        if (type !== 'diff') bar.style.backgroundColor = color;
        track.append(bar);
    }
    return [track];
}

function percent(share: number): string {
    return `${(share * 100).toFixed(3)}%`;
}
