import { type GridParts } from './grid_parts.js';
import { type RowAddress } from './grid_requests.js';
import { longest, type RowMarks, type RowPath, type RowPaths } from './row_paths.js';
import { type SelectionStep } from './selection_steps.js';

/** Rows that are opened one by one at the most; whatever is above them opens with them. */
const MOST_OPENED = 40;

/** The place alone counts: nothing moves rows while they are looked for. */
const BY_PLACE = '0';

/** Opens, selects and goes to rows that a page had so before, found by what they show. */
export class ViewRestore {
    readonly #parts: GridParts;

    constructor(parts: GridParts) {
        this.#parts = parts;
    }

    /** Rows that are not there any more are left out. What the host kept by itself costs no request. */
    async run(marks: RowMarks, paths: RowPaths, signal: AbortSignal): Promise<void> {
        const closed = longest(marks.open).filter((path) => !paths.isOpen(path));
        for (const path of closed.slice(-MOST_OPENED)) {
            const found = await this.#find(path, signal);
            if (found) this.#parts.take(await this.#parts.requests.expand(found, signal));
        }
        if (closed.length > 0 || marks.selected.length > 0) await this.#select(marks, signal);
    }

    /** Looking for a row selects it alone. */
    async #select({ selected, current }: RowMarks, signal: AbortSignal): Promise<void> {
        const goal = current && (await this.#find(current, signal));
        const found: RowAddress[] = [];
        for (const path of selected) {
            const place = await this.#find(path, signal);
            if (place) found.push(place);
        }
        const last = found.pop();
        if (!last) await this.#step({ type: 'clear', row: -1 }, signal);
        for (const { row } of found) await this.#step({ type: 'toggle', row }, signal);
        const { state } = this.#parts;
        if (goal && state.currentRow !== goal.row) await this.#step({ type: 'none', row: goal.row }, signal);
    }

    async #step(step: SelectionStep, signal: AbortSignal): Promise<void> {
        const { requests, state, take } = this.#parts;
        state.currentRow = step.row;
        take(await requests.select(step, BY_PLACE, signal));
    }

    /** The row that a path leads to, with all rows above it open. */
    async #find(path: RowPath, signal: AbortSignal): Promise<RowAddress | undefined> {
        const { requests, state, take } = this.#parts;
        take(await requests.position(path, signal));
        const row = state.current;
        const name = row?.cells[state.groupingColumn?.index ?? -1]?.value;
        const isThere = row !== undefined && row.level === path.length - 1 && name === path.at(-1);
        return isThere ? { row: state.currentRow, id: row.id } : undefined;
    }
}
