import { withThousands } from '../../format/number_format.js';
import { type StackMode } from './grid_requests.js';
import { type GridParts } from './grid_parts.js';
import { type StackModeWish } from './stack_mode_wish.js';
import { PATIENCE } from './stoppable_work.js';

interface WorkWords {
    readonly failed: string;
    readonly running: string;
}

/** What goes for all rows at once: opening and closing, folding chains, sorting. All of it can be stopped. */
export class GridCommands {
    readonly #parts: GridParts;
    readonly #stackMode: StackModeWish;

    constructor(parts: GridParts, stackMode: StackModeWish) {
        this.#parts = parts;
        this.#stackMode = stackMode;
    }

    bulk(operation: 'expandSelectedRows' | 'collapseAllRows' | 'expandRowsRecursively'): void {
        const { requests, state, frame, take } = this.#parts;
        const words = {
            failed: 'The rows could not be opened or closed',
            running: operation === 'collapseAllRows' ? 'Closing rows' : 'Opening rows',
        };
        this.#run(words, PATIENCE, async (signal) => {
            take(await requests.bulk(operation, signal));
            frame.announce(`${withThousands(state.rowCount)} rows`);
        });
    }

    /** The mode counts from now on: should the command be dropped for a refresh, the refresh has it told again. */
    changeStackMode(mode: StackMode): void {
        const { requests, take } = this.#parts;
        this.#setStackMode(() => this.#stackMode.set(mode));
        const words = {
            failed: 'The stack mode could not be changed',
            running: mode === 'chain' ? 'Looking for chains' : 'Unfolding chains',
        };
        this.#run(words, undefined, async (stop, signal) => {
            try {
                const answer = await requests.changeStackMode(mode, stop);
                this.#stackMode.setTold(mode);
                take(answer);
            } catch (failure) {
                if (!signal.aborted) this.#setStackMode(() => this.#stackMode.takeBack());
                throw failure;
            }
        });
    }

    #setStackMode(set: () => void): void {
        set();
        this.#parts.frame.showStackMode(this.#stackMode.mode);
    }

    /** @param isDescending as the host has it; `told`: what screen readers hear. */
    sort(column: number, isDescending: boolean, told: string): void {
        const { requests, frame, take } = this.#parts;
        const words = { failed: 'The grid could not be sorted', running: 'Sorting' };
        this.#run(words, undefined, async (signal) => {
            take(await requests.sort(column, isDescending, signal));
            frame.announce(told);
        });
    }

    /** A command that a person may stop: what it left half done is then read anew. */
    #run(
        words: WorkWords,
        holdsUpFor: number | undefined,
        run: (stop: AbortSignal, signal: AbortSignal) => Promise<void>,
    ): void {
        const { queue, work, guard, readAnew } = this.#parts;
        const stoppable = (signal: AbortSignal) =>
            work.run(`${words.running}… Esc stops`, signal, (stop) =>
                guard(words.failed, signal, () => run(stop, signal)),
            );
        queue.add({
            holdsUpFor,
            run: async (signal) => {
                if (await stoppable(signal)) await readAnew(signal);
            },
        });
    }
}
