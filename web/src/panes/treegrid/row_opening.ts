import { type GridParts } from './grid_parts.js';
import { type GridSelection } from './grid_selection.js';
import { type SeenRow } from './grid_state.js';
import { ParentSearch } from './parent_search.js';
import { PATIENCE } from './stoppable_work.js';

/** Opens and closes single rows. */
export class RowOpening {
    readonly #parts: GridParts;
    readonly #selection: GridSelection;
    /** Rows that are being opened, by id, and what cancels it. */
    readonly #opening = new Map<string, AbortController>();

    constructor(parts: GridParts, selection: GridSelection) {
        this.#parts = parts;
        this.#selection = selection;
    }

    get isRunning(): boolean {
        return this.#opening.size > 0;
    }

    /** Cancels all that runs; false if nothing does. */
    stop(): boolean {
        const { isRunning } = this;
        for (const opening of this.#opening.values()) opening.abort();
        return isRunning;
    }

    /** Shows of the rows in sight which are being opened: answers to something else do not tell. */
    markRows(): void {
        if (!this.isRunning) return;
        const { state, view } = this.#parts;
        const { start, count } = view.shown;
        for (let row = start; row < start + count; ++row) {
            if (this.#opening.has(state.rows.get(row)?.id ?? '')) state.rows.update(row, { state: 'w' });
        }
    }

    /** Opens the current row; an open one is entered. */
    openOrEnter(): void {
        const { queue, state } = this.#parts;
        queue.add({
            holdsUpFor: PATIENCE,
            run: async (signal) => {
                const { current, currentRow } = state;
                if (current?.state === '-') await this.#selection.goTo(currentRow + 1, 'select', signal);
                else if (current?.state === '+') await this.#setOpen(state.seen(currentRow), true, signal);
            },
        });
    }

    /** Closes the current row; from any other the way leads to the row that holds it. */
    closeOrLeave(): void {
        const { queue, state } = this.#parts;
        queue.add({
            run: async (signal) => {
                const { current, currentRow } = state;
                if (current?.state === '-') return this.#setOpen(state.seen(currentRow), false, signal);
                await this.#leave(currentRow, signal);
            },
        });
    }

    /** Goes to the row that holds this one, which may be far above. */
    async #leave(row: number, signal: AbortSignal): Promise<void> {
        const { requests, state, work, loader, guard } = this.#parts;
        const search = new ParentSearch(requests, state);
        let parent = -1;
        await work.run('Looking for the row that holds this one… Esc stops', signal, (stop) =>
            guard('The row above could not be found', signal, async () => {
                parent = await search.parentOf(row, stop);
            }),
        );
        if (parent >= 0) await this.#selection.goTo(parent, 'select', signal);
        if (search.hasAsked && !signal.aborted) loader.reload();
    }

    toggle(index: number): void {
        const { queue, state } = this.#parts;
        const row = state.rows.get(index);
        if (!row) return;
        const opening = this.#opening.get(row.id);
        if (opening) return opening.abort();
        if (row.state !== '+' && row.state !== '-') return;
        const seen = state.seen(index);
        queue.add({
            holdsUpFor: PATIENCE,
            run: (signal) => this.#setOpen(seen, row.state === '+', signal),
        });
    }

    /** Opens or closes the current row, as the commands before will have left it; one that is being opened stays closed. */
    toggleCurrent(): void {
        const { queue, state } = this.#parts;
        queue.add({
            holdsUpFor: PATIENCE,
            run: async (signal) => {
                const { current, currentRow } = state;
                const opening = current && this.#opening.get(current.id);
                if (opening) opening.abort();
                else if (current) await this.#setOpen(state.seen(currentRow), current.state === '+', signal);
            },
        });
    }

    async #setOpen(seen: SeenRow, open: boolean, signal: AbortSignal): Promise<void> {
        const { state, view, loader, requests, guard, take } = this.#parts;
        const address = { row: state.whereIs(seen), id: seen.id };
        const known = state.rows.get(address.row);
        const isAtHand = known?.id === seen.id;
        if (address.row < 0 || this.#opening.has(seen.id)) return;
        if (isAtHand && known.state !== (open ? '+' : '-')) return;
        const stop = new AbortController();
        const forward = () => stop.abort();
        let isDone = false;
        signal.addEventListener('abort', forward, { once: true });
        this.#opening.set(seen.id, stop);
        if (open && isAtHand) state.rows.update(address.row, { state: 'w' });
        view.drawRows();
        await guard(`The row could not be ${open ? 'opened' : 'closed'}`, signal, async () => {
            const ask = open ? requests.expand(address, stop.signal) : requests.collapse(address, stop.signal);
            const answer = await ask.finally(() => this.#opening.delete(seen.id));
            isDone = true;
            take(answer);
        });
        signal.removeEventListener('abort', forward);
        // The host knows what became of the row.
        if (!isDone && !signal.aborted) loader.reload();
    }
}
