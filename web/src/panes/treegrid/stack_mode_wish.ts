import { type StackMode } from './grid_requests.js';

/**
 * The stack mode that a person wants a grid in, and what the host was told of it. The host keeps the mode with the grid:
 * over a reload of the page, but not over its own end.
 */
export class StackModeWish {
    readonly #keep: (mode: StackMode) => void;
    #wanted: StackMode | undefined;
    #told: StackMode | undefined;

    /** @param kept what a person chose before, if anything; `keep` is called with every choice from now on. */
    constructor(kept: StackMode | undefined, keep: (mode: StackMode) => void) {
        this.#wanted = kept;
        this.#keep = keep;
    }

    get mode(): StackMode {
        return this.#wanted ?? 'tree';
    }

    /** Whether the host may be in another mode. A grid whose mode nobody ever chose is in the right one. */
    get isUntold(): boolean {
        return this.#wanted !== undefined && this.#told !== this.#wanted;
    }

    set(mode: StackMode): void {
        this.#wanted = mode;
        this.#keep(mode);
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
