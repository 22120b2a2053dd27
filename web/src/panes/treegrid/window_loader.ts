import { type GridAnswer } from './grid_answer.js';
import { contains, neededAround, type RowCache, type RowRange, windowAround } from './row_cache.js';

export interface WindowSource {
    /** The rows that show. */
    readonly shown: RowRange;
    /** How many rows fit the view. */
    readonly capacity: number;
    readonly rowCount: number;
    readonly rows: RowCache;
    ask(window: RowRange, signal: AbortSignal): Promise<GridAnswer>;
    take(answer: GridAnswer): void;
    /** An asking that was not cancelled by the page went wrong. */
    failed(failure: unknown): void;
}

/** An asking for rows that is on its way. */
interface Asking {
    readonly window: RowRange;
    readonly abort: AbortController;
}

/** Rows that are being opened by nobody here are looked at again after this long, then ever more rarely. */
const FIRST_LOOK = 1000;
const LAST_LOOK = 30_000;

/**
 * Keeps the rows at hand that show, and a margin around them. Asks for a new window before the margin is used up;
 * an asking whose rows are not wanted any more is cancelled, on the host too.
 */
export class WindowLoader {
    readonly #source: WindowSource;
    #asking: Asking | null = null;
    /** A window whose rows the host has not ready yet: it is asked for again by the timer only. */
    #awaited: RowRange | null = null;
    #timer: ReturnType<typeof setTimeout> | undefined;
    #nextLook = FIRST_LOOK;

    constructor(source: WindowSource) {
        this.#source = source;
    }

    /** The window that goes with what shows now. */
    get window(): RowRange {
        return windowAround(this.#source.shown, this.#source.capacity);
    }

    /** Sees to it that the rows are there which show. */
    update(): void {
        const { shown, capacity, rows, rowCount } = this.#source;
        if (shown.count === 0) return;
        if (rows.covers(neededAround(shown, capacity, rowCount))) return;
        const askedFor = this.#asking?.window ?? this.#awaited;
        if (askedFor && contains(askedFor, shown)) return;
        this.reload();
    }

    /** Asks for the rows that show even if they are at hand. */
    reload(): void {
        this.cancel();
        const asking = { window: this.window, abort: new AbortController() };
        this.#asking = asking;
        this.#source.ask(asking.window, asking.abort.signal).then(
            (answer) => this.#take(asking, answer),
            (failure: unknown) => this.#fail(asking, failure),
        );
    }

    /** Forgets what is asked for: its answer would be older than what is known. */
    cancel(): void {
        clearTimeout(this.#timer);
        this.#asking?.abort.abort();
        this.#asking = null;
        this.#awaited = null;
    }

    /** The host has the rows not ready and names the milliseconds after which to ask. */
    askAfter(milliseconds: number): void {
        clearTimeout(this.#timer);
        this.#awaited = this.window;
        this.#timer = setTimeout(() => this.reload(), milliseconds);
    }

    /** Looks again later at rows that are being opened. */
    lookAgain(): void {
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => {
            this.#nextLook = Math.min(this.#nextLook * 2, LAST_LOOK);
            this.reload();
        }, this.#nextLook);
    }

    /** Nothing is being opened any more. */
    rest(): void {
        this.#nextLook = FIRST_LOOK;
    }

    #take(asking: Asking, answer: GridAnswer): void {
        if (this.#asking !== asking) return;
        this.#asking = null;
        this.#source.take(answer);
        if (answer.waitTime !== undefined) this.askAfter(answer.waitTime);
        // Without this test an answer with too few rows would be asked for over and over.
        else if (!contains(asking.window, this.#source.shown)) this.update();
    }

    #fail(asking: Asking, failure: unknown): void {
        if (this.#asking !== asking) return;
        this.#asking = null;
        this.#source.failed(failure);
    }
}
