import { type GridRequests } from './grid_requests.js';
import { type GridState, type SeenRow } from './grid_state.js';

/** Rows asked for at once on the way up. */
const REACH = 500;

/** Looks for the row that holds another, through rows that are not at hand, too. */
export class ParentSearch {
    readonly #requests: GridRequests;
    readonly #state: GridState;
    #hasAsked = false;

    constructor(requests: GridRequests, state: GridState) {
        this.#requests = requests;
        this.#state = state;
    }

    /** Whether the host was asked for other rows than show: it goes on to answer with those. */
    get hasAsked(): boolean {
        return this.#hasAsked;
    }

    /** The row that holds the one at `index`; -1 if none does, or if rows moved on the way. */
    async parentOf(index: number, signal: AbortSignal): Promise<number> {
        const start = this.#state.seen(index);
        if (!(await this.#load(index, start, signal))) return -1;
        const level = this.#state.rows.get(index)?.level ?? 0;
        for (let place = index; ;) {
            place = this.#state.higherOrUnknown(place, level);
            if (place < 0 || this.#state.rows.get(place)) return place;
            if (!(await this.#load(place, start, signal))) return -1;
            ++place;
        }
    }

    /** Has a row at hand, and those before it; false if that is of no use any more. */
    async #load(row: number, start: SeenRow, signal: AbortSignal): Promise<boolean> {
        if (row < 0 || this.#state.rows.get(row)) return row >= 0;
        const first = Math.max(0, row + 1 - REACH);
        this.#hasAsked = true;
        const answer = await this.#requests.scroll({ start: first, count: row + 1 - first }, signal);
        if (this.#state.hasMovedSince(start)) return false;
        this.#state.takeWindow(answer);
        return !this.#state.hasMovedSince(start) && this.#state.rows.get(row) !== undefined;
    }
}
