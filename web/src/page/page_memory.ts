/** What is kept: anything that JSON can hold. Read it as input from outside: another version may have written it. */
export type Kept = null | boolean | number | string | readonly Kept[] | { readonly [key: string]: Kept };

type TextStore = Pick<Storage, 'getItem' | 'setItem'>;

const KEY = 'panedeck.view';

/** Milliseconds for which changes gather before they are stored. */
const PAUSE = 400;

/**
 * What a person made of the page: the tab, and for each grid widths, columns, what is open and what is selected.
 * Everything that outlives a reload of the page goes through here, so that it can one day be kept somewhere else.
 */
export class PageMemory {
    readonly #store: TextStore;
    readonly #entries: Map<string, Kept>;
    #timer: ReturnType<typeof setTimeout> | undefined;

    constructor(store: TextStore) {
        this.#store = store;
        this.#entries = readEntries(store.getItem(KEY));
    }

    /** Null if nothing is kept under that name. */
    load(name: string): Kept {
        return this.#entries.get(name) ?? null;
    }

    /** Keeps something under a name, in place of what was kept there. */
    keep(name: string, entry: Kept): void {
        this.#entries.set(name, entry);
        this.#timer ??= setTimeout(() => this.flush(), PAUSE);
    }

    /** Stores what was kept since the last time; the page is about to go. */
    flush(): void {
        clearTimeout(this.#timer);
        this.#timer = undefined;
        try {
            this.#store.setItem(KEY, JSON.stringify(Object.fromEntries(this.#entries)));
        } catch (failure) {
            // A store that is full or refused costs what a reload would bring back, nothing else.
            console.warn(`The state of the page could not be kept: ${String(failure)}`);
        }
    }
}

function readEntries(text: string | null): Map<string, Kept> {
    try {
        const entries: unknown = JSON.parse(text ?? '{}');
        return new Map(Object.entries(objectIn(entries as Kept)));
    } catch {
        return new Map();
    }
}

/** The object, or an empty one in place of anything else. */
export function objectIn(kept: Kept | undefined): { readonly [key: string]: Kept } {
    const isObject = typeof kept === 'object' && kept !== null && !Array.isArray(kept);
    return isObject ? (kept as { readonly [key: string]: Kept }) : {};
}

/** The list, or an empty one in place of anything else. */
export function listIn(kept: Kept | undefined): readonly Kept[] {
    return Array.isArray(kept) ? (kept as readonly Kept[]) : [];
}
