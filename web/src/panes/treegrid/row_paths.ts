import { type Plain } from '../../wire/index.js';
import { type GridRow } from './grid_answer.js';
import { type GridState } from './grid_state.js';

/** What rows show, from the top of the tree down to a row: names the row from one tree to the next. */
export type RowPath = readonly (string | number | boolean | null)[];

/** What is kept of the rows of a grid, all by their paths. */
export interface RowMarks {
    readonly open: readonly RowPath[];
    readonly selected: readonly RowPath[];
    readonly current: RowPath | undefined;
}

/** Beyond these limits rows are not kept: paths and their levels, and rows whose paths are known. */
const MOST_OPEN = 300;
const MOST_SELECTED = 50;
const DEEPEST = 200;
const MOST_KNOWN = 20_000;

/**
 * Which rows are open, selected and current, by their paths, gathered from the rows that pass by: what was not seen
 * since stays as it was seen last.
 */
export class RowPaths {
    readonly #open = new Map<string, RowPath>();
    readonly #known = new Map<string, RowPath>();
    #selected: readonly RowPath[] = [];
    #current: RowPath | undefined;

    get marks(): RowMarks {
        const open = [...this.#open.values()].slice(-MOST_OPEN);
        return { open, selected: this.#selected, current: this.#current };
    }

    /** Rows have other ids from now on. */
    forgetIds(): void {
        this.#known.clear();
    }

    isOpen(path: RowPath): boolean {
        return this.#open.has(keyOf(path));
    }

    /** Forgets what was open: another tree is here. */
    clear(): void {
        this.#open.clear();
        this.#known.clear();
        this.#selected = [];
        this.#current = undefined;
    }

    /** Looks at the rows that are at hand. */
    observe(state: GridState): void {
        const column = state.groupingColumn?.index;
        if (column === undefined) return;
        if (this.#known.size > MOST_KNOWN) this.#known.clear();
        const selected: RowPath[] = [];
        let above: RowPath = [];
        let last = -2;
        for (const [index, row] of state.rows.inOrder()) {
            if (index !== last + 1) above = [];
            last = index;
            const path = this.#pathOf(row, row.cells[column]?.value ?? null, above);
            above = path ?? [];
            if (!path) continue;
            this.#take(row, path);
            if (row.isSelected) selected.push(path);
        }
        const selectedCount = state.footer?.rowCount ?? 0;
        // A selection is kept as a whole or not at all.
        this.#selected = selected.length === selectedCount && selectedCount <= MOST_SELECTED ? selected : [];
        this.#current = state.current && this.#known.get(state.current.id);
    }

    /** Undefined if the rows that hold it are not known, or are too many. */
    #pathOf(row: GridRow, name: Plain, above: RowPath): RowPath | undefined {
        if (typeof name === 'bigint' || (typeof name === 'object' && name !== null)) return undefined;
        const isBelow = above.length >= row.level && row.level < DEEPEST;
        return isBelow ? [...above.slice(0, row.level), name] : this.#known.get(row.id);
    }

    #take(row: GridRow, path: RowPath): void {
        this.#known.set(row.id, path);
        const key = keyOf(path);
        if (row.state === '-') this.#open.set(key, path);
        if (row.state !== '+' || !this.#open.delete(key)) return;
        const below = key.slice(0, -1) + ',';
        for (const other of this.#open.keys()) if (other.startsWith(below)) this.#open.delete(other);
    }
}

/** Of several paths those that lead to no other: whoever opens them opens all. */
export function longest(paths: readonly RowPath[]): RowPath[] {
    const inner = new Set(paths.map((path) => keyOf(path.slice(0, -1))));
    return paths.filter((path) => !inner.has(keyOf(path)));
}

function keyOf(path: RowPath): string {
    return JSON.stringify(path);
}
