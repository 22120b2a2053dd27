/** Work that takes longer than this is spoken of, and does not hold up other work that can go on beside it. */
export const PATIENCE = 150;

/** Work on the grid that may take long: it is spoken of after a while, and a person can stop it. */
export class StoppableWork {
    readonly #stops = new Set<AbortController>();
    readonly #slow = new Map<AbortController, string>();
    readonly #tell: (text: string | null) => void;

    /** @param tell shows what goes on; null if nothing does that takes long. */
    constructor(tell: (text: string | null) => void) {
        this.#tell = tell;
    }

    /** Runs a step that either the signal or a person stops; true if it was the person. */
    async run(
        text: string,
        signal: AbortSignal,
        step: (signal: AbortSignal) => Promise<void>,
    ): Promise<boolean> {
        const stop = new AbortController();
        const forward = () => stop.abort();
        signal.addEventListener('abort', forward, { once: true });
        this.#stops.add(stop);
        const timer = setTimeout(() => this.#setSlow(stop, text), PATIENCE);
        try {
            await step(stop.signal);
        } finally {
            clearTimeout(timer);
            signal.removeEventListener('abort', forward);
            this.#stops.delete(stop);
            this.#setSlow(stop, null);
        }
        return stop.signal.aborted && !signal.aborted;
    }

    /** Stops all that runs; false if nothing does. */
    stop(): boolean {
        const isRunning = this.#stops.size > 0;
        for (const stop of this.#stops) stop.abort();
        return isRunning;
    }

    #setSlow(work: AbortController, text: string | null): void {
        if (text !== null) this.#slow.set(work, text);
        else if (!this.#slow.delete(work)) return;
        this.#tell([...this.#slow.values()].at(-1) ?? null);
    }
}
