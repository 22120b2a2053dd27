/** Listeners of one kind, called in the order in which they came. */
export class ListenerSet<Arguments extends unknown[]> {
    readonly #listeners = new Set<{ readonly call: (...given: Arguments) => void }>();

    /** The result takes the listener out again; the same function may be added twice. */
    add(call: (...given: Arguments) => void): () => void {
        const entry = { call };
        this.#listeners.add(entry);
        return () => void this.#listeners.delete(entry);
    }

    /** Calls all. One that throws keeps none of the others from being called; its error goes to the console. */
    call(...given: Arguments): void {
        for (const listener of [...this.#listeners]) {
            try {
                listener.call(...given);
            } catch (failure) {
                console.error(failure);
            }
        }
    }
}
