import { type GridAnswer } from './grid_answer.js';
import { type GridParts } from './grid_parts.js';
import { type Move, MoveCommand } from './move_command.js';
import { rangeSteps, type SelectionStep } from './selection_steps.js';

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
        if (control && !shift) return this.select('toggle', row);
        const mode = shift ? (control ? 'add' : 'extend') : 'select';
        this.#parts.queue.add({ run: (signal) => this.goTo(row, mode, signal) });
    }

    /** Makes a row the current one and selects as the mode says. */
    async goTo(row: number, mode: Move['mode'], signal: AbortSignal): Promise<void> {
        const { state, view } = this.#parts;
        const steps = this.#stepsTo(row, mode);
        if (mode === 'select') state.setAnchor(row);
        if (mode === 'extend' || mode === 'add') state.setRangeEnd(row);
        state.currentRow = row;
        view.reveal(row);
        view.drawRows();
        await this.#run(steps, signal);
    }

    /** Without a row it is about the current one, as the commands before will have left it. */
    select(type: 'toggle' | 'all' | 'clear', pressed?: number): void {
        const { queue, state } = this.#parts;
        queue.add({
            run: async (signal) => {
                const row = type === 'clear' ? -1 : (pressed ?? state.currentRow);
                if (type === 'toggle' && row < 0) return;
                if (type !== 'all') state.currentRow = row;
                state.setAnchor(state.currentRow);
                await this.#run([{ type, row }], signal);
            },
        });
    }

    #stepsTo(row: number, mode: Move['mode']): SelectionStep[] {
        if (mode === 'select') return [{ type: 'setSingle', row }];
        if (mode === 'keep') return [{ type: 'none', row }];
        return rangeSteps(this.#parts.state.selection, row, mode === 'add');
    }

    /** Of several steps only the last answer is shown. */
    async #run(steps: readonly SelectionStep[], signal: AbortSignal): Promise<void> {
        const { requests, state, guard, take } = this.#parts;
        const idOf = (row: number) => state.rows.get(row)?.id ?? '0';
        const addressed = steps.map((step) => ({ step, id: idOf(step.row) }));
        await guard('The selection could not be changed', signal, async () => {
            let answer: GridAnswer | undefined;
            for (const { step, id } of addressed) answer = await requests.select(step, id, signal);
            if (answer) take(answer);
        });
    }
}
