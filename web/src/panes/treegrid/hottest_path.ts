import { numeric } from './cell_text.js';
import { shownCell } from './comparison.js';
import { type GridRow } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';
import { type GridParts } from './grid_parts.js';
import { type GridSelection } from './grid_selection.js';

/** A row goes on in one of its children if that holds at least this part of it; else it splits there. */
const MAJORITY = 0.5;

/** Levels opened at once: whoever wants more asks again from where this ends. */
const MOST_LEVELS = 500;

/** Rows shown below the end of the path: where it splits. */
const ROWS_BELOW = 6;

/** Rows asked for at once where the children of a row are not at hand, and how many are looked at in all. */
const REACH = 100;
const MOST_CHILDREN = 2000;

/** A child of a row. */
interface Child {
    readonly index: number;
    readonly amount: number;
}

/** Opens the way from a row to where most of it comes from: one request for each level that is not open yet. */
export class HottestPath {
    readonly #parts: GridParts;
    readonly #selection: GridSelection;

    constructor(parts: GridParts, selection: GridSelection) {
        this.#parts = parts;
        this.#selection = selection;
    }

    /** Begins at the current row, or at the top, and ends where the way splits or there is nothing below. */
    open(): void {
        const { queue, work, guard } = this.#parts;
        queue.add({
            run: async (signal) => {
                await work.run('Opening the hottest path… Esc stops', signal, (stop) =>
                    guard('The hottest path could not be opened', signal, () => this.#follow(stop, signal)),
                );
            },
        });
    }

    async #follow(stop: AbortSignal, signal: AbortSignal): Promise<void> {
        const { state, view, loader } = this.#parts;
        const column = this.#column();
        if (!column || state.rowCount === 0) return;
        loader.cancel();
        let row = Math.max(0, state.currentRow);
        try {
            if (!(await this.#load(row, stop))) return;
            for (let level = 0; level < MOST_LEVELS && !stop.aborted; ++level) {
                const next = await this.#next(row, column, level === 0, stop);
                if (next === undefined) break;
                row = next;
            }
        } finally {
            if (!signal.aborted) {
                view.draw();
                view.reveal(Math.min(row + ROWS_BELOW, state.rowCount - 1));
                await this.#selection.goTo(row, 'select', signal);
                loader.reload();
            }
        }
    }

    /** The child that the way goes on in; `isFirst`: even if it holds little of its row. */
    async #next(
        row: number,
        column: GridColumn,
        isFirst: boolean,
        stop: AbortSignal,
    ): Promise<number | undefined> {
        const parent = await this.#opened(row, stop);
        if (!parent) return undefined;
        const children = await this.#children(row, parent, column, stop);
        const amount = this.#amount(parent, column);
        const sign = amount < 0 ? -1 : 1;
        const hottest = children.reduce<Child | undefined>(
            (best, child) => (best && sign * best.amount >= sign * child.amount ? best : child),
            undefined,
        );
        const goesOn = isFirst || children.length === 1 || (hottest && hottest.amount / amount >= MAJORITY);
        return goesOn ? hottest?.index : undefined;
    }

    /** The row, which is open by now; undefined if there is nothing below it. */
    async #opened(row: number, stop: AbortSignal): Promise<GridRow | undefined> {
        const { requests, state } = this.#parts;
        const before = state.rows.get(row);
        if (before?.state === '+') state.take(await requests.expand({ row, id: before.id }, stop));
        const after = (await this.#load(row, stop)) ? state.rows.get(row) : undefined;
        return after?.state === '-' ? after : undefined;
    }

    /** The children of an open row; where there are more than anybody looks at, the first of them. */
    async #children(row: number, parent: GridRow, column: GridColumn, stop: AbortSignal): Promise<Child[]> {
        const { state } = this.#parts;
        const { column: sorted, isDescending } = state.shownSorting;
        const isHottestFirst = sorted === column.index && isDescending === this.#amount(parent, column) >= 0;
        const children: Child[] = [];
        for (let index = row + 1; index < state.rowCount && index <= row + MOST_CHILDREN; ++index) {
            if (!(await this.#load(index, stop))) break;
            const child = state.rows.get(index)!;
            if (child.level <= parent.level) break;
            if (child.level > parent.level + 1) continue;
            children.push({ index, amount: this.#amount(child, column) });
            // Two are enough to know the hottest, and that it is not the only one.
            if (isHottestFirst && children.length === 2) break;
        }
        return children;
    }

    /** Has a row at hand, and some behind it; false if that is of no use any more. */
    async #load(row: number, stop: AbortSignal): Promise<boolean> {
        const { requests, state } = this.#parts;
        if (!state.rows.get(row))
            state.takeWindow(await requests.scroll({ start: Math.max(0, row - 2), count: REACH }, stop));
        return !stop.aborted && state.rows.get(row) !== undefined;
    }

    /** What rows are sorted by, if that is a number that a row has of all that is below it; else the first such one. */
    #column(): GridColumn | undefined {
        const { sorting, tree } = this.#parts.state;
        const data = tree.columns.filter(({ isData }) => isData);
        const hasTotals = data.some(({ isTotal }) => isTotal);
        const isOfAll = ({ isTotal }: GridColumn) => isTotal || !hasTotals;
        const sorted = data.find(({ index }) => index === sorting.column);
        if (!sorted) return data.find(isOfAll);
        if (isOfAll(sorted)) return sorted;
        // The self weight of a row says nothing of what is below it.
        return data.find(
            (column) => column.query === sorted.query && column.kind === sorted.kind && isOfAll(column),
        );
    }

    #amount(row: GridRow, column: GridColumn): number {
        return Number(numeric(shownCell(this.#parts.state.tree, column, row.cells).value) ?? 0);
    }
}
