import { make } from '../../page/dom.js';
import { drawCell } from './cell_view.js';
import { type GridCell, type GridRow } from './grid_answer.js';
import { type GridState } from './grid_state.js';
import { type RowRange } from './row_cache.js';
import { type ScrollScale } from './scroll_scale.js';

/** Rows drawn beyond those that show, on each side. */
const OVERSCAN = 4;

/** What an element was drawn from: as long as it is the same, the element stays. */
interface DrawnRow {
    readonly element: HTMLElement;
    readonly row: GridRow | undefined;
    readonly look: unknown;
}

/** The rows that show, and few more: everything else is not in the page. */
export class RowsView {
    readonly element = make('div', { class: 'tg-body', role: 'rowgroup' });
    readonly #idPrefix: string;
    #drawn = new Map<number, DrawnRow>();

    constructor(idPrefix: string) {
        this.#idPrefix = idPrefix;
    }

    /** The id of a row's element. */
    idOf(index: number): string {
        return `${this.#idPrefix}-row-${index}`;
    }

    /** The element of a row, if it is drawn. */
    elementOf(index: number): HTMLElement | undefined {
        return this.#drawn.get(index)?.element;
    }

    draw(state: GridState, scale: ScrollScale, headRows: number): void {
        this.element.style.height = `${scale.barHeight}px`;
        const range = widened(scale.shown, state.rowCount);
        const drawn = new Map<number, DrawnRow>();
        for (let index = range.start; index < range.start + range.count; ++index)
            drawn.set(index, this.#drawRow(state, index, headRows));
        for (const [index, old] of this.#drawn) {
            if (drawn.get(index)?.element !== old.element) old.element.remove();
        }
        this.#drawn = drawn;
        for (const [index, { element }] of drawn) {
            element.style.transform = `translateY(${scale.positionOf(index)}px)`;
            element.classList.toggle('current', index === state.currentRow);
            if (!element.isConnected) this.element.append(element);
        }
    }

    #drawRow(state: GridState, index: number, headRows: number): DrawnRow {
        const row = state.rows.get(index);
        const old = this.#drawn.get(index);
        // Any of these changes the cells: columns and formats, hits, and which hit is the current one.
        const look = [state.tree, state.search, state.hit, headRows];
        if (old && looksSame(old.row, row) && isSame(old.look, look)) return old;
        const element = row ? drawFullRow(state, row, index) : make('div', { class: 'tg-row loading' }, '…');
        element.id = this.idOf(index);
        element.dataset['row'] = String(index);
        element.setAttribute('role', 'row');
        element.setAttribute('aria-rowindex', String(index + headRows + 1));
        return { element, row, look };
    }
}

/** Whether two answers say the same of a row, as far as it is drawn: most rows do not change from one to the next. */
function looksSame(one: GridRow | undefined, other: GridRow | undefined): boolean {
    if (one === other || !one || !other) return one === other;
    return (
        one.id === other.id &&
        one.level === other.level &&
        one.state === other.state &&
        one.isSelected === other.isSelected &&
        one.isHighlighted === other.isHighlighted &&
        one.cells.every((cell, at) => isSameCell(cell, other.cells[at]))
    );
}

function isSameCell(one: GridCell, other: GridCell | undefined): boolean {
    return (
        other !== undefined &&
        one.value === other.value &&
        one.percentBase === other.percentBase &&
        one.customPercentBase === other.customPercentBase &&
        one.issueMask === other.issueMask &&
        one.isReliable === other.isReliable &&
        one.segments.length === other.segments.length &&
        one.segments.every(({ value }, at) => value === other.segments[at]!.value)
    );
}

function isSame(one: unknown, other: readonly unknown[]): boolean {
    return Array.isArray(one) && other.every((part, at) => part === one[at]);
}

function widened({ start, count }: RowRange, rowCount: number): RowRange {
    const first = Math.max(0, start - OVERSCAN);
    return { start: first, count: Math.min(rowCount, start + count + OVERSCAN) - first };
}

function drawFullRow(state: GridState, row: GridRow, index: number): HTMLElement {
    const isParent = row.state === '+' || row.state === '-' || row.state === 'w';
    const element = make('div', {
        class: row.isHighlighted ? 'tg-row highlighted' : 'tg-row',
        'aria-level': row.level + 1,
        'aria-expanded': isParent ? String(row.state === '-') : undefined,
        'aria-busy': row.state === 'w' ? 'true' : undefined,
        'aria-selected': String(row.isSelected),
        'data-id': row.id,
    });
    state.tree.shown.forEach((column, at) => {
        const place = { tree: state.tree, column, columnNumber: at + 1 };
        element.append(drawCell(place, row, state.hitsAt(index, column.index), state.hit));
    });
    return element;
}
