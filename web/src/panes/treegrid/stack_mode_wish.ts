import { type StackMode } from './grid_requests.js';

/**
 * The stack mode that a person wants a grid in, kept while the page's tab lives, and what the host was told of it. The
 * host keeps the mode with the grid: over a reload of the page, but not over its own end.
 */
export class StackModeWish {
    readonly #store: Pick<Storage, 'getItem' | 'setItem'>;
    readonly #key: string;
    #told: StackMode | undefined;

    constructor(store: Pick<Storage, 'getItem' | 'setItem'>, gridId: string) {
        this.#store = store;
        this.#key = `panedeck.stackMode.${gridId}`;
    }

    get mode(): StackMode {
        return this.#store.getItem(this.#key) === 'chain' ? 'chain' : 'tree';
    }

    /** Whether the host may be in another mode. A grid whose mode nobody ever chose is in the right one. */
    get isUntold(): boolean {
        return this.#store.getItem(this.#key) !== null && this.#told !== this.mode;
    }

    set(mode: StackMode): void {
        this.#store.setItem(this.#key, mode);
    }

    /** The host is in that mode now. */
    setTold(mode: StackMode): void {
        this.#told = mode;
    }

    /** From now on it may be another host. */
    forgetTold(): void {
        this.#told = undefined;
    }

    /** The mode stays what it was; whether the host changed it all the same is not known. */
    takeBack(): void {
        this.set(this.#told ?? 'tree');
        this.#told = undefined;
    }
}
