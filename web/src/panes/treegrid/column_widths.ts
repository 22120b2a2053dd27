import { type ColumnTree, keyOf } from './column_tree.js';
import { type GridColumn } from './grid_columns.js';

/** All in pixels. */
const LEAST = 48;
/** Beyond this a column grows only if a person wants it. */
const GREATEST_BY_ITSELF = 260;
/** The column of names takes what the others leave, but at least a part of the view. */
const LEAST_NAME_SHARE = 0.4;
const LEAST_NAME = 200;
const GREATEST_LEAST_NAME = 380;
const GREATEST_NAME_SHARE = 0.8;
/** Texts of as many characters are not quite equally wide. */
const SLACK = 4;
/** Before anything was measured. */
const UNKNOWN = 110;
/** Few columns have room for bars that can be compared. */
const FEW_COLUMNS = 4;
const ROOMY = 160;

/**
 * How wide columns are: as wide as their heads and the rows seen so far, unless a person gave them a width. Columns
 * grow by themselves and never shrink, so that nothing jumps. By what lasts of a column: its index may be another one's
 * after a refresh.
 */
export class ColumnWidths {
    readonly #given: Map<string, number>;
    readonly #measured = new Map<string, number>();
    /** Characters of the longest text that was measured, and the columns that it was for. */
    readonly #longest = new Map<string, number>();
    #seen: ColumnTree | undefined;

    constructor(given: ReadonlyMap<string, number>) {
        this.#given = new Map(given);
    }

    /** What a person gave. */
    get given(): ReadonlyMap<string, number> {
        return this.#given;
    }

    give(column: GridColumn, width: number): void {
        this.#given.set(keyOf(column), Math.max(LEAST, Math.round(width)));
    }

    of(column: GridColumn, viewWidth: number): number {
        const given = this.#given.get(keyOf(column));
        if (given !== undefined) return given;
        if (column.isGrouping) return leastNameWidth(viewWidth);
        return this.#measured.get(keyOf(column)) ?? UNKNOWN;
    }

    #trackOf(column: GridColumn, viewWidth: number, columnCount: number): string {
        const width = this.of(column, viewWidth);
        if (this.#given.has(keyOf(column))) return `${width}px`;
        if (column.isGrouping) return `minmax(${width}px, 1fr)`;
        return columnCount <= FEW_COLUMNS ? `minmax(${width}px, ${ROOMY}px)` : `${width}px`;
    }

    /** The tracks of the grid, how wide it is at the least, and how wide the names are then. */
    layOut(tree: ColumnTree, viewWidth: number): { tracks: string; least: number; names: number } {
        const { shown } = tree;
        const tracks = shown.map((column) => this.#trackOf(column, viewWidth, shown.length)).join(' ');
        const least = shown.reduce((sum, column) => sum + this.of(column, viewWidth), 0);
        const names = shown[0]?.isGrouping ? this.of(shown[0], viewWidth) : 0;
        return { tracks, least, names };
    }

    /** Takes over what shows now if that is wider than all before; false if it is not. */
    grow(grid: HTMLElement, tree: ColumnTree): boolean {
        if (grid.clientWidth === 0 || !this.#isWorthMeasuring(grid, tree)) return false;
        return measuring(grid, () => {
            const grown = tree.shown.filter(
                (column) => !column.isGrouping && this.#growTo(column, natural(grid, column)),
            );
            return this.#growBelowHeads(grid, tree) || grown.length > 0;
        });
    }

    /** Measuring costs a layout of all that shows; texts that are no longer than those before are no wider either. */
    #isWorthMeasuring(grid: HTMLElement, tree: ColumnTree): boolean {
        let isWorth = tree !== this.#seen;
        this.#seen = tree;
        for (const column of tree.shown) {
            if (column.isGrouping) continue;
            const longest = longestText(grid, column);
            if (longest <= (this.#longest.get(keyOf(column)) ?? 0)) continue;
            this.#longest.set(keyOf(column), longest);
            isWorth = true;
        }
        return isWorth;
    }

    /** Gives a column the width of what shows now; names that fit into what the others leave take all of that. */
    fit(grid: HTMLElement, tree: ColumnTree, column: GridColumn): void {
        const width = measuring(grid, () => natural(grid, column));
        this.#given.delete(keyOf(column));
        if (!column.isGrouping) return void this.#measured.set(keyOf(column), Math.max(LEAST, width));
        const others = tree.shown.filter((other) => other !== column);
        const rest = others.reduce((left, other) => left - this.of(other, grid.clientWidth), grid.clientWidth);
        if (width > rest) this.give(column, Math.min(width, grid.clientWidth * GREATEST_NAME_SHARE));
    }

    /** A head above several columns has room for its text. */
    #growBelowHeads(grid: HTMLElement, tree: ColumnTree): boolean {
        let hasGrown = false;
        for (const head of grid.querySelectorAll<HTMLElement>('.tg-headcell.group')) {
            const start = Number(head.dataset['start']);
            const columns = tree.shown.slice(start, start + Number(head.dataset['span']));
            const width = columns.reduce((sum, column) => sum + this.of(column, grid.clientWidth), 0);
            const missing = (head.offsetWidth - width) / columns.length;
            for (const column of columns) {
                const wanted = this.of(column, grid.clientWidth) + Math.ceil(Math.max(0, missing));
                if (missing > 0 && this.#growTo(column, wanted)) hasGrown = true;
            }
        }
        return hasGrown;
    }

    #growTo(column: GridColumn, width: number): boolean {
        const wanted = Math.min(Math.max(LEAST, width), GREATEST_BY_ITSELF);
        if (wanted <= (this.#measured.get(keyOf(column)) ?? 0)) return false;
        this.#measured.set(keyOf(column), wanted);
        return true;
    }
}

function leastNameWidth(viewWidth: number): number {
    return Math.round(Math.min(Math.max(LEAST_NAME, viewWidth * LEAST_NAME_SHARE), GREATEST_LEAST_NAME));
}

function longestText(grid: HTMLElement, column: GridColumn): number {
    const cells = grid.querySelectorAll(`.tg-cell[data-column="c${column.index}"]`);
    return [...cells].reduce((most, cell) => Math.max(most, cell.textContent.length), 0);
}

/** Has all cells as wide as their content while something is measured. */
function measuring<Result>(grid: HTMLElement, measure: () => Result): Result {
    grid.classList.add('measuring');
    try {
        return measure();
    } finally {
        grid.classList.remove('measuring');
    }
}

function natural(grid: HTMLElement, column: GridColumn): number {
    const cells = grid.querySelectorAll<HTMLElement>(
        `.tg-cell[data-column="c${column.index}"], .tg-headcell:not(.group)[data-column="c${column.index}"]`,
    );
    return [...cells].reduce((most, cell) => Math.max(most, cell.offsetWidth + SLACK), 0);
}
