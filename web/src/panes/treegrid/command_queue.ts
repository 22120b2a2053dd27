/** Work on the grid that has its turn after the work before it. */
export interface Command {
    /** Does the work; the signal says that it is not wanted any more. Failures are the command's own affair. */
    run(signal: AbortSignal): Promise<void>;
    /** Takes a later command into this one, which has not begun yet; false if the two cannot be one. */
    merge?(later: Command): boolean;
    /** Milliseconds for which the commands behind wait at the most; without it they wait for the end. */
    readonly holdsUpFor?: number | undefined;
}

/**
 * Commands one after the other, so that each sees what the one before it did. One that says how long it may hold up
 * the others runs on beside them after that time.
 */
export class CommandQueue {
    #waiting: Command[] = [];
    #all = new AbortController();
    #isBusy = false;

    add(command: Command): void {
        if (this.#waiting.at(-1)?.merge?.(command)) return;
        this.#waiting.push(command);
        if (!this.#isBusy) void this.#work(this.#all.signal);
    }

    /** Drops what waits and cancels what runs. */
    clear(): void {
        this.#waiting = [];
        this.#all.abort();
        this.#all = new AbortController();
        this.#isBusy = false;
    }

    async #work(signal: AbortSignal): Promise<void> {
        this.#isBusy = true;
        while (!signal.aborted) {
            const command = this.#waiting.shift();
            if (!command) break;
            await firstOf(command.run(signal), command.holdsUpFor);
        }
        if (!signal.aborted) this.#isBusy = false;
    }
}

async function firstOf(work: Promise<void>, milliseconds: number | undefined): Promise<void> {
    if (milliseconds === undefined) return work;
    let timer: ReturnType<typeof setTimeout> | undefined;
    const timeout = new Promise<void>((resolve) => (timer = setTimeout(resolve, milliseconds)));
    await Promise.race([work, timeout]);
    clearTimeout(timer);
}
