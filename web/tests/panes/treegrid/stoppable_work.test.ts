import { afterEach, beforeEach, describe, expect, it, vi } from 'vitest';
import { StoppableWork } from '../../../src/panes/treegrid/stoppable_work.js';

describe('work that can be stopped', () => {
    beforeEach(() => void vi.useFakeTimers());
    afterEach(() => void vi.useRealTimers());

    /** Work that ends when a test says so, or when it is stopped, and what was said of it. */
    function setUp() {
        const told: (string | null)[] = [];
        const work = new StoppableWork((text) => told.push(text));
        const outer = new AbortController();
        const run = (text: string) => {
            let end: (failure?: Error) => void = () => undefined;
            const isStopped = work.run(
                text,
                outer.signal,
                (signal) =>
                    new Promise((resolve, reject) => {
                        end = (failure) => (failure ? reject(failure) : resolve());
                        signal.addEventListener('abort', () => resolve());
                    }),
            );
            return { isStopped, end: (failure?: Error) => end(failure) };
        };
        return { told, work, outer, run };
    }

    it('is spoken of if it takes long, the latest if there are several', async () => {
        const { told, run } = setUp();
        const quick = run('quick');
        await vi.advanceTimersByTimeAsync(100);
        quick.end();
        expect(await quick.isStopped).toBe(false);
        const [sorting, opening] = [run('sorting'), run('opening')];
        await vi.advanceTimersByTimeAsync(200);
        expect(told).toEqual(['sorting', 'opening']);
        opening.end();
        await opening.isStopped;
        sorting.end(new Error('no'));
        await expect(sorting.isStopped).rejects.toThrow('no');
        expect(told.slice(2)).toEqual(['sorting', null]);
    });

    it('says whether a person stopped it', async () => {
        const { work, outer, run } = setUp();
        expect(work.stop()).toBe(false);
        const first = run('first');
        expect(work.stop()).toBe(true);
        expect(await first.isStopped).toBe(true);
        const second = run('second');
        outer.abort();
        expect(await second.isStopped).toBe(false);
        expect(work.stop()).toBe(false);
    });
});
