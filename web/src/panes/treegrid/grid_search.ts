import { type GridRequests } from './grid_requests.js';
import { type GridState } from './grid_state.js';
import { type GridView } from './grid_view.js';
import { SearchBar } from './search_bar.js';
import { type HitPlace, type SearchResult, stepHit } from './search_result.js';

/** A search on its way, and the further steps that wait for its hits. */
interface RunningSearch {
    readonly key: string;
    readonly abort: AbortController;
    readonly steps: (1 | -1)[];
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
    }

    /** The hits are those of other rows or columns. */
    forgetHits(): void {
        this.#state.search = undefined;
        this.#state.hit = 0;
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
        if (this.#running?.key === key) return void this.#running.steps.push(direction);
        // The rows or the columns changed since: the hits are gone, and a new search goes to the first one.
        if (this.#state.search?.key !== key) return void this.#search(key);
        this.#stepFrom(this.#state.search, [direction]);
    }

    /** Whether the hits of that key are at hand or on their way. */
    #isKnown(key: string): boolean {
        return (this.#running ?? this.#state.search)?.key === key;
    }

    /** Takes several steps at once: only where they lead to is worth a request. */
    #stepFrom(search: SearchResult, directions: readonly (1 | -1)[]): void {
        const firstRow = this.#view.shown.start;
        let place: HitPlace | undefined;
        for (const direction of directions)
            place = stepHit(search, place?.hit.number ?? this.#state.hit, direction, firstRow) ?? place;
        if (place) this.#goTo(place);
    }

    #goTo({ row, hit }: HitPlace): void {
        this.#state.hit = hit.number;
        const { start, count } = this.#view.shown;
        if (row <= start || row >= start + count - 1) this.#view.center(row);
        this.#host.goTo(row);
        this.#showHits();
        this.#host.shownChanged();
    }

    async #search(key: string): Promise<void> {
        this.stop();
        const running: RunningSearch = { key, abort: new AbortController(), steps: [] };
        const { signal } = running.abort;
        this.#running = running;
        await this.#host.guard(signal, async () => {
            const result = await this.#requests.search(key, signal).finally(() => this.#end(running));
            this.#state.search = key === '' ? undefined : result;
            this.#state.hit = 0;
            this.#showHits();
            if (result.count === 0) return;
            this.#stepFrom(result, [1, ...running.steps]);
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
