import { type GridAnswer } from './grid_answer.js';
import { type GridParts } from './grid_parts.js';
import { type SeenRow } from './grid_state.js';
import { type Move, MoveCommand } from './move_command.js';
import { rangeSteps, singleSteps, type SelectionStep } from './selection_steps.js';

/** The way of the current row, and what is selected on it. */
export class GridSelection {
    readonly #parts: GridParts;

    constructor(parts: GridParts) {
        this.#parts = parts;
    }

    move(move: Move): void {
        const { queue, state, view } = this.#parts;
        queue.add(
            new MoveCommand(move, async (moves, signal) => {
                const target = moves.target(state.currentRow, state.rowCount, view.scale.pageRows);
                if (target >= 0) await this.goTo(target, moves.mode, signal);
            }),
        );
    }

    press(row: number, { control, shift }: { readonly control: boolean; readonly shift: boolean }): void {
        if (control && !shift) return this.select('toggle', this.#parts.state.seen(row));
        this.goToSeen(row, shift ? (control ? 'add' : 'extend') : 'select');
    }

    /** Goes to a row that a person sees there now, wherever it is when this has its turn. */
    goToSeen(row: number, mode: Move['mode']): void {
        const { queue, state } = this.#parts;
        const seen = state.seen(row);
        queue.add({
            run: async (signal) => {
                const place = state.whereIs(seen);
                if (place >= 0) await this.goTo(place, mode, signal, seen.id);
            },
        });
    }

    /** Makes a row the current one and selects as the mode says. */
    async goTo(row: number, mode: Move['mode'], signal: AbortSignal, id?: string): Promise<void> {
        const { state, view } = this.#parts;
        const target = { ...state.seen(row), ...(id !== undefined && { id }) };
        const steps = this.#stepsTo(row, mode);
        if (mode === 'select') state.setAnchor(row);
        if (mode === 'extend' || mode === 'add') state.setRangeEnd(row);
        state.currentRow = row;
        view.reveal(row);
        view.drawRows();
        await this.#run(steps, target, signal);
    }

    /** Without a row it is about the current one, as the commands before will have left it. */
    select(type: 'toggle' | 'all' | 'clear', pressed?: SeenRow): void {
        const { queue, state } = this.#parts;
        queue.add({
            run: async (signal) => {
                if (type === 'clear') state.currentRow = -1;
                const target = pressed ?? state.seen(state.currentRow);
                const row = state.whereIs(target);
                if (type === 'toggle' && row < 0) return;
                state.currentRow = row;
                state.setAnchor(row);
                await this.#run([{ type, row }], { ...state.seen(row), id: target.id }, signal);
            },
        });
    }

    #stepsTo(row: number, mode: Move['mode']): SelectionStep[] {
        const { state } = this.#parts;
        if (mode === 'select')
            return singleSteps(row, state.currentRow, state.rows.get(row)?.isSelected ?? true);
        if (mode === 'keep') return [{ type: 'none', row }];
        return rangeSteps(state.selection, row, mode === 'add');
    }

    /** Of several steps only the last answer is shown. `target` is the row that becomes the current one. */
    async #run(steps: readonly SelectionStep[], target: SeenRow, signal: AbortSignal): Promise<void> {
        const { requests, state, view, guard, take, wentToCurrent } = this.#parts;
        const idOf = (row: number) => (row === target.row ? target.id : state.seen(row).id);
        const addressed = steps.map((step) => ({ step, id: idOf(step.row) }));
        await guard('The selection could not be changed', signal, async () => {
            let answer: GridAnswer | undefined;
            for (const { step, id } of addressed) answer = await requests.select(step, id, signal);
            const wasInSight = view.scale.holds(target.row);
            if (answer) take(answer);
            this.#returnTo(target);
            // The footer that comes with the first selected row takes its place from the rows.
            if (wasInSight) this.#keepInSight(state.currentRow);
            if (steps.at(-1)?.type !== 'all') wentToCurrent();
        });
    }

    #keepInSight(row: number): void {
        const { view } = this.#parts;
        if (row < 0) return;
        view.reveal(row);
        view.drawRows();
    }

    /** An answer to something else may have come in between that speaks of the current row as it was before. */
    #returnTo(target: SeenRow): void {
        const { state, view } = this.#parts;
        const place = state.whereIs(target);
        const isLost = place < 0 && target.row >= 0;
        if (isLost || place === state.currentRow) return;
        state.currentRow = place;
        view.drawRows();
    }
}
