const PAGE_KEY = 'panedeck.page';

/** A page that is being left gives its name free within this time, so that it comes back under it. Milliseconds. */
const PATIENCE = 500;

/**
 * Names this page among all that the host serves at the time, the same after a reload: grids that are told apart by it
 * keep what the person opened and sorted. A tab that is duplicated gets the store of the other one along, but not its
 * name: that belongs to the page that holds the lock of it.
 * @param locks undefined where the browser has none; names are then not guarded.
 */
export async function pageId(
    store: Pick<Storage, 'getItem' | 'setItem'>,
    locks: Pick<LockManager, 'request'> | undefined,
): Promise<string> {
    const known = store.getItem(PAGE_KEY);
    if (known && (await hold(locks, known))) return known;
    const made = Array.from(crypto.getRandomValues(new Uint32Array(2)), (part) => part.toString(36)).join('');
    store.setItem(PAGE_KEY, made);
    await hold(locks, made);
    return made;
}

/** Takes a name for as long as the page lives; false if another page has it. */
function hold(locks: Pick<LockManager, 'request'> | undefined, id: string): Promise<boolean> {
    if (!locks) return Promise.resolve(true);
    return new Promise((resolve) => {
        const keep = () => {
            resolve(true);
            return new Promise<never>(() => undefined);
        };
        const isTaken = (failure: unknown) =>
            failure instanceof DOMException && failure.name === 'TimeoutError';
        // A browser that refuses locks altogether guards no names.
        locks
            .request(`${PAGE_KEY}.${id}`, { signal: AbortSignal.timeout(PATIENCE) }, keep)
            .catch((failure: unknown) => resolve(!isTaken(failure)));
    });
}
