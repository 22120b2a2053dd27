import { describe, expect, it } from 'vitest';
import { pageId } from '../../src/page/page_id.js';

describe('the name of a page', () => {
    /** The store of a tab; a duplicated one begins with what the other has. */
    function storeWith(content: Iterable<[string, string]> = []) {
        const kept = new Map(content);
        const setItem = (key: string, value: string) => void kept.set(key, value);
        return { kept, store: { getItem: (key: string) => kept.get(key) ?? null, setItem } };
    }

    /** Locks that are given to whoever asks first, as the browser does, until `end` ends all pages. */
    function locksOf() {
        const held = new Set<string>();
        const request = (name: string, _options: LockOptions, grant: () => Promise<unknown>) => {
            if (held.has(name)) return Promise.reject(new DOMException('', 'TimeoutError'));
            held.add(name);
            return grant();
        };
        return { locks: { request } as unknown as LockManager, end: () => held.clear() };
    }

    it('lasts over a reload, and is no other page’s', async () => {
        const { locks, end } = locksOf();
        const own = storeWith();
        const id = await pageId(own.store, locks);
        const copy = storeWith(own.kept);
        const other = await pageId(copy.store, locks);
        expect(other).not.toBe(id);
        end();
        expect(await pageId(own.store, locks)).toBe(id);
        expect(await pageId(copy.store, locks)).toBe(other);
    });

    it.each<[string, LockManager | undefined]>([
        ['has no locks', undefined],
        [
            'refuses them',
            { request: () => Promise.reject(new DOMException('', 'SecurityError')) } as unknown as LockManager,
        ],
    ])('lasts even if the browser %s', async (_, locks) => {
        const { store } = storeWith();
        const id = await pageId(store, locks);
        expect(id).not.toBe('');
        expect(await pageId(store, locks)).toBe(id);
    });
});
