import { cellText } from './cell_text.js';
import { type FocusObject } from './grid_requests.js';
import { type GridState } from './grid_state.js';

export interface FocusListener {
    /** The grouping that the object ids of each level's rows belong to; the last goes for deeper levels too. */
    readonly focusGroupings: readonly string[];
    /** The row that a person went to. */
    readonly onFocus?: (focus: FocusObject) => void;
    /** The current row is one that nobody went to since the page was opened, or that was told before. */
    readonly onRestored?: (focus: FocusObject) => void;
}

/** Tells what the current row is about, while the grid is in sight. */
export class GridFocus {
    readonly #state: GridState;
    readonly #listener: FocusListener;
    #isInSight = false;
    /** A person went to the current row, and that was not told yet. */
    #isNew = false;

    constructor(state: GridState, listener: FocusListener) {
        this.#state = state;
        this.#listener = listener;
    }

    setInSight(isInSight: boolean): void {
        this.#isInSight = isInSight;
        this.#isNew = false;
    }

    /** A person went to the row that is the current one now. */
    wentToCurrent(): void {
        this.#isNew = this.#isInSight && this.#state.currentRow >= 0;
        this.tell();
    }

    /** A row that a person went to far away is told of as soon as it is at hand. */
    tell(): void {
        const focus = this.#isInSight ? this.#focusOfCurrent() : undefined;
        if (!focus) return;
        if (this.#isNew) this.#listener.onFocus?.(focus);
        else this.#listener.onRestored?.(focus);
        this.#isNew = false;
    }

    #focusOfCurrent(): FocusObject | undefined {
        const row = this.#state.current;
        const column = this.#state.groupingColumn;
        const { focusGroupings } = this.#listener;
        if (!row || !column || row.objectId === null || focusGroupings.length === 0) return undefined;
        const grouping = focusGroupings[Math.min(row.level, focusGroupings.length - 1)]!;
        const cell = row.cells[column.index];
        return { objectId: row.objectId, grouping, name: cell ? cellText(column, cell, row.level) : '' };
    }
}
