import { type GridRow } from './grid_answer.js';

/** Rows from `start` on, `count` of them. */
export interface RowRange {
    readonly start: number;
    readonly count: number;
}

/** Rows kept at most; of more, those that are far from what was put in last are dropped. */
const MOST_ROWS = 2000;

/** The rows that are at hand, by their index among the visible rows of the grid. */
export class RowCache {
    readonly #rows = new Map<number, GridRow>();

    get(index: number): GridRow | undefined {
        return this.#rows.get(index);
    }

    /** Where the row of that id stands now, most likely at `hint`; -1 if it is not at hand. */
    find(id: string, hint: number): number {
        if (this.#rows.get(hint)?.id === id) return hint;
        for (const [index, row] of this.#rows) if (row.id === id) return index;
        return -1;
    }

    /** All rows at hand with their indexes, from the top down. */
    inOrder(): (readonly [index: number, row: GridRow])[] {
        return [...this.#rows].sort(([one], [other]) => one - other);
    }

    clear(): void {
        this.#rows.clear();
    }

    put(start: number, rows: readonly GridRow[]): void {
        rows.forEach((row, at) => this.#rows.set(start + at, row));
        if (this.#rows.size <= MOST_ROWS) return;
        const reach = Math.max(MOST_ROWS / 2, rows.length);
        for (const index of this.#rows.keys()) {
            if (index < start - reach || index >= start + rows.length + reach) this.#rows.delete(index);
        }
    }

    /** Changes one row that is at hand. */
    update(index: number, change: Partial<GridRow>): void {
        const row = this.#rows.get(index);
        if (row) this.#rows.set(index, { ...row, ...change });
    }

    covers({ start, count }: RowRange): boolean {
        for (let index = start; index < start + count; ++index) {
            if (!this.#rows.has(index)) return false;
        }
        return true;
    }

    /** Whether a row in the range passes the test. */
    some({ start, count }: RowRange, test: (row: GridRow) => boolean): boolean {
        for (let index = start; index < start + count; ++index) {
            const row = this.#rows.get(index);
            if (row && test(row)) return true;
        }
        return false;
    }
}

/** Rows asked for on each side of what shows, at the least. */
const LEAST_MARGIN = 20;

/**
 * The window to ask for: as many rows as fit the view, and as many again on each side. It may reach behind the last
 * row: whatever rows come into being there then come with the answer that makes them.
 */
export function windowAround({ start }: RowRange, capacity: number): RowRange {
    const margin = Math.max(LEAST_MARGIN, capacity);
    const first = Math.max(0, start - margin);
    return { start: first, count: start - first + capacity + margin };
}

/** What shows and a part of the margin, as far as there are rows: while it is at hand nothing has to be asked for. */
export function neededAround(shown: RowRange, capacity: number, rowCount: number): RowRange {
    const margin = Math.floor(Math.max(LEAST_MARGIN, capacity) / 2);
    const start = Math.max(0, shown.start - margin);
    return { start, count: Math.min(rowCount, shown.start + shown.count + margin) - start };
}

export function contains(outer: RowRange, inner: RowRange): boolean {
    return outer.start <= inner.start && outer.start + outer.count >= inner.start + inner.count;
}
