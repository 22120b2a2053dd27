import { type GridParts } from './grid_parts.js';
import { type KeptView } from './kept_view.js';
import { RowPaths } from './row_paths.js';
import { ViewRestore } from './view_restore.js';

/** Keeps which rows of a grid are open, selected and current, and where it is scrolled to; has that found again. */
export class RowMemory {
    readonly #parts: GridParts;
    readonly #kept: KeptView;
    readonly #paths = new RowPaths();
    readonly #restore: ViewRestore;
    #isToRestore = true;

    constructor(parts: GridParts, kept: KeptView) {
        this.#parts = parts;
        this.#kept = kept;
        this.#restore = new ViewRestore(parts);
    }

    /** From now on the rows may be those of another host, which knows nothing of what was done here. */
    meetHost(): void {
        this.#isToRestore = true;
    }

    /** The grid is about another object: what was open and selected was so for the one before. */
    forget(): void {
        this.#paths.clear();
        this.#isToRestore = false;
    }

    /** The rows were read anew: finds what was kept as soon as the commands before are done, if that is due. */
    rowsWereRead(): void {
        this.#paths.forgetIds();
        this.#paths.observe(this.#parts.state);
        if (this.#isToRestore) this.#parts.queue.add({ run: (signal) => this.#find(signal) });
    }

    async #find(signal: AbortSignal): Promise<void> {
        const { guard, view, loader } = this.#parts;
        await guard('The rows that were open before could not be found', signal, async () => {
            const { rows, top } = this.#kept.load();
            await this.#restore.run(rows, this.#paths, signal);
            this.#isToRestore = false;
            view.scrollTo(top);
            loader.update();
        });
    }

    /** Keeps what the rows at hand tell. */
    keepRows(): void {
        const { state } = this.#parts;
        this.#paths.observe(state);
        if (this.#isToRestore) return;
        this.#kept.keep({ rows: this.#paths.marks, sorting: state.namedSorting });
    }

    keepPlace(): void {
        if (!this.#isToRestore) this.#kept.keep({ top: this.#parts.view.scale.top });
    }
}
