const PAGE_KEY = 'panedeck.page';

/**
 * Names this page among all that the host serves at the time, the same after a reload: grids that are told apart by it
 * keep what the person opened and sorted.
 */
export function pageId(store: Pick<Storage, 'getItem' | 'setItem'>): string {
    const known = store.getItem(PAGE_KEY);
    if (known) return known;
    const made = Array.from(crypto.getRandomValues(new Uint32Array(2)), (part) => part.toString(36)).join('');
    store.setItem(PAGE_KEY, made);
    return made;
}
