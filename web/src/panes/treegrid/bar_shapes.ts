import { numeric } from './cell_text.js';
import { type GridCell } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';

/** A rectangle of a bar: where it begins and how long it is, both as shares of the cell's width. */
export interface BarShape {
    readonly start: number;
    readonly length: number;
    readonly color: string;
    readonly caption: string;
}

/** The rectangles that a cell draws, none if its value has no bar. */
export function barShapes(column: GridColumn, cell: GridCell): BarShape[] {
    const full = Math.abs(column.barMax);
    if (!column.isData || !(full > 0) || !Number.isFinite(full)) return [];
    if (column.barType === 'stacked' && cell.segments.length > 0) return stackedShapes(column, cell, full);
    const share = clamp(amountOf(cell.value) / full);
    if (share === 0) return [];
    const color = cssColor(column.color);
    // Less than nothing goes to the left of the middle, more to the right.
    if (column.barType === 'diff')
        return [{ start: 0.5 + Math.min(share, 0) / 2, length: Math.abs(share) / 2, color, caption: '' }];
    return [{ start: 0, length: Math.abs(share), color, caption: '' }];
}

function stackedShapes(column: GridColumn, cell: GridCell, full: number): BarShape[] {
    const shapes: BarShape[] = [];
    let start = 0;
    for (const segment of cell.segments) {
        const length = Math.min(Math.max(0, amountOf(segment.value) / full), 1 - start);
        const known = column.segments.find(({ id }) => id === segment.id);
        if (length > 0)
            shapes.push({
                start,
                length,
                color: cssColor(known?.color ?? column.color),
                caption: known?.caption ?? '',
            });
        start += length;
    }
    return shapes;
}

function amountOf(value: GridCell['value']): number {
    const amount = Number(numeric(value) ?? 0);
    return Number.isFinite(amount) ? amount : 0;
}

function clamp(share: number): number {
    return Math.min(1, Math.max(-1, share));
}

/** A colour packed as 0xRRGGBBAA. */
export function cssColor(packed: number): string {
    return `#${(packed >>> 0).toString(16).padStart(8, '0')}`;
}
