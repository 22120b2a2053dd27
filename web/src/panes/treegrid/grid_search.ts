import { type GridRequests } from './grid_requests.js';
import { type GridState } from './grid_state.js';
import { type GridView } from './grid_view.js';
import { SearchBar } from './search_bar.js';
import { type HitPlace, isAtHand, type SearchResult, stepHit } from './search_result.js';

interface RunningSearch {
    readonly key: string;
    readonly abort: AbortController;
}

export interface GridSearchHost {
    /** Makes a row the current one and leaves the selection alone. */
    goTo(row: number): void;
    shownChanged(): void;
    /** Runs a step and tells what goes wrong. */
    guard(signal: AbortSignal, step: () => Promise<void>): Promise<void>;
}

/**
 * The search in a grid: the host finds the hits and tells those of the window with each answer, as long as the rows
 * stay; this goes from one to the next, and searches anew when they are gone.
 */
export class GridSearch {
    readonly #requests: GridRequests;
    readonly #state: GridState;
    readonly #view: GridView;
    readonly #host: GridSearchHost;
    readonly #bar: SearchBar;
    #running: RunningSearch | undefined;
    /** Steps that cannot be taken yet: the hits around the current one are not at hand. */
    #waiting: (1 | -1)[] = [];
    #place: HitPlace | undefined;

    constructor(requests: GridRequests, state: GridState, view: GridView, host: GridSearchHost) {
        this.#requests = requests;
        this.#state = state;
        this.#view = view;
        this.#host = host;
        this.#bar = new SearchBar({
            keyChanged: (key) => {
                if (!this.#isKnown(key)) void this.#search(key);
            },
            step: (direction) => this.step(direction),
            closed: () => {
                view.focus();
                void this.#search('');
            },
        });
    }

    /** The box to search in. */
    get element(): HTMLElement {
        return this.#bar.element;
    }

    get isOpen(): boolean {
        return this.#bar.isOpen;
    }

    open(): void {
        this.#bar.open();
    }

    /** Closes the box; hits are not marked any more. */
    close(): void {
        this.#bar.close();
    }

    /** Cancels a search that runs. */
    stop(): void {
        this.#running?.abort.abort();
        this.#running = undefined;
        this.#waiting = [];
    }

    /** The hits are those of other rows or columns. */
    forgetHits(): void {
        this.#state.search = undefined;
        this.#state.hit = 0;
        this.#waiting = [];
        this.showCount();
    }

    /** An answer has come, and hits with it. */
    takeHits(): void {
        const areGone = !this.#state.search && !this.#running;
        if (areGone) this.#waiting = [];
        else if (!this.#running) this.#goOn();
        this.showCount();
    }

    /** Says how many hits there are, as the last answer has it. */
    showCount(): void {
        this.#bar.showCount(this.#state.search?.count, this.#state.hit);
    }

    /** Goes to the next hit or the one before. */
    step(direction: 1 | -1): void {
        const { key } = this.#bar;
        this.#bar.settle();
        if (key === '') return this.#bar.open();
        // The rows or the columns changed since: the hits are gone, and a new search goes to the first one.
        if (!this.#isKnown(key)) return void this.#search(key);
        this.#waiting.push(direction);
        if (!this.#running) this.#goOn();
    }

    /** Whether the hits of that key are at hand or on their way. */
    #isKnown(key: string): boolean {
        return (this.#running ?? this.#state.search)?.key === key;
    }

    /** Takes the steps that wait, as far as the hits at hand tell. Only where they lead to is worth a request. */
    #goOn(): void {
        const { search } = this.#state;
        if (!search || this.#isOnItsWay(search)) return;
        const firstRow = this.#view.shown.start;
        let place: HitPlace | undefined;
        for (let step = this.#waiting.shift(); step !== undefined; step = this.#waiting.shift()) {
            place = stepHit(search, place?.hit.number ?? this.#state.hit, step, firstRow) ?? place;
            if (place && !isAtHand(search, place.hit.number)) break;
        }
        if (place) this.#goTo(place);
    }

    /** Whether the rows around the current hit are in sight but not at hand yet: which hit is the next is not known. */
    #isOnItsWay(search: SearchResult): boolean {
        const { start, count } = this.#view.shown;
        const at = this.#place;
        if (!at || at.hit.number !== this.#state.hit || isAtHand(search, at.hit.number)) return false;
        return at.row >= start && at.row < start + count;
    }

    #goTo(place: HitPlace): void {
        const { row, hit } = place;
        this.#place = place;
        this.#state.hit = hit.number;
        const { start, count } = this.#view.shown;
        if (row <= start || row >= start + count - 1) this.#view.center(row);
        this.#host.goTo(row);
        this.#showHits();
        this.#host.shownChanged();
    }

    async #search(key: string): Promise<void> {
        this.stop();
        const running: RunningSearch = { key, abort: new AbortController() };
        const { signal } = running.abort;
        this.#running = running;
        await this.#host.guard(signal, async () => {
            const result = await this.#requests.search(key, signal).finally(() => this.#end(running));
            this.#state.search = key === '' ? undefined : result;
            this.#state.hit = 0;
            this.#showHits();
            if (result.count === 0) return;
            this.#waiting.unshift(1);
            this.#goOn();
        });
    }

    #end(running: RunningSearch): void {
        if (this.#running === running) this.#running = undefined;
    }

    #showHits(): void {
        this.#view.drawRows();
        this.#view.revealHit();
        this.showCount();
    }
}
