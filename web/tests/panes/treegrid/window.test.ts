import { afterEach, beforeEach, describe, expect, it, vi } from 'vitest';
import { type GridAnswer, readGridAnswer } from '../../../src/panes/treegrid/grid_answer.js';
import { neededAround, RowCache, type RowRange, windowAround } from '../../../src/panes/treegrid/row_cache.js';
import { ScrollScale } from '../../../src/panes/treegrid/scroll_scale.js';
import { WindowLoader } from '../../../src/panes/treegrid/window_loader.js';
import { bagOf, row } from './answers.js';

const rows = (count: number) => Array.from({ length: count }, (_, at) => row({ id: String(at) }));

describe('the rows at hand', () => {
    it('are known by their index', () => {
        const cache = new RowCache();
        cache.put(10, rows(3));
        expect([9, 10, 12, 13].map((index) => cache.get(index)?.id)).toEqual([undefined, '0', '2', undefined]);
        expect(cache.covers({ start: 10, count: 3 })).toBe(true);
        expect(cache.covers({ start: 10, count: 4 })).toBe(false);
        cache.update(11, { state: 'w' });
        cache.update(99, { state: 'w' });
        expect(cache.some({ start: 0, count: 100 }, ({ state }) => state === 'w')).toBe(true);
        expect(cache.some({ start: 12, count: 100 }, ({ state }) => state === 'w')).toBe(false);
        cache.clear();
        expect(cache.get(10)).toBeUndefined();
    });

    it('stay few: what is far from the last window goes', () => {
        const cache = new RowCache();
        for (let start = 0; start < 100_000; start += 100) cache.put(start, rows(100));
        const kept = Array.from({ length: 100_000 }, (_, at) => at).filter((index) => cache.get(index));
        expect(kept.length).toBeLessThanOrEqual(2100);
        expect(kept.at(-1)).toBe(99_999);
        expect(cache.covers({ start: 99_000, count: 1000 })).toBe(true);
    });

    it.each<[string, RowRange, RowRange, RowRange]>([
        ['at the top', { start: 0, count: 30 }, { start: 0, count: 60 }, { start: 0, count: 45 }],
        ['in the middle', { start: 500, count: 30 }, { start: 470, count: 90 }, { start: 485, count: 60 }],
        ['at the end', { start: 970, count: 30 }, { start: 940, count: 90 }, { start: 955, count: 45 }],
        ['with few rows', { start: 0, count: 3 }, { start: 0, count: 60 }, { start: 0, count: 18 }],
    ])('are asked for with a margin, before it is used up: %s', (_, shown, window, needed) => {
        expect(windowAround(shown, 30)).toEqual(window);
        expect(neededAround(shown, 30, 1000)).toEqual(needed);
    });

    it('are never asked for where there are none', () => {
        expect(new RowCache().covers(neededAround({ start: 0, count: 0 }, 30, 0))).toBe(true);
    });
});

describe('the scroll bar', () => {
    function scaleOf(rowCount: number) {
        const scale = new ScrollScale(20);
        scale.setRowCount(rowCount);
        scale.setViewHeight(205);
        return scale;
    }

    it('is as long as all rows while a browser can take it', () => {
        const scale = scaleOf(1000);
        expect(scale.barHeight).toBe(20_000);
        expect(scale.takeBarTop(210)).toBe(true);
        expect(scale.shown).toEqual({ start: 10, count: 11 });
        expect(scale.positionOf(10)).toBe(200);
        expect(scale.pageRows).toBe(10);
    });

    it('is a scale beyond: every row is reached, and rows stand where they show', () => {
        const scale = scaleOf(10_000_000);
        expect(scale.barHeight).toBeLessThan(10_000_000);
        scale.takeBarTop(scale.barHeight - 205);
        expect(scale.shown.start + scale.shown.count).toBe(10_000_000);
        scale.setTop(0);
        for (const target of [1, 4_999_999, 9_999_999]) {
            scale.reveal(target);
            expect(scale.shown.start <= target && target < scale.shown.start + scale.shown.count).toBe(true);
            const inSight = scale.positionOf(target) - scale.barTop;
            expect(inSight).toBeGreaterThanOrEqual(0);
            expect(inSight).toBeLessThanOrEqual(185);
        }
    });

    it('moves by single rows although its own steps are longer', () => {
        const scale = scaleOf(10_000_000);
        scale.setTop(100_000_000);
        const before = scale.shown.start;
        for (let step = 0; step < 5; ++step) {
            scale.setTop(scale.top + 20);
            // The browser rounds what it was told, and says so in an event.
            expect(scale.takeBarTop(Math.round(scale.barTop))).toBe(false);
        }
        expect(scale.shown.start).toBe(before + 5);
    });

    it('reveals by as little as it takes, and centres', () => {
        const scale = scaleOf(1000);
        expect(scale.reveal(5)).toBe(false);
        expect([9, 10].map((row) => scale.holds(row))).toEqual([true, false]);
        expect(scale.reveal(10)).toBe(true);
        expect(scale.top).toBe(15);
        expect([0, 1, 10].map((row) => scale.holds(row))).toEqual([false, true, true]);
        scale.reveal(0);
        expect(scale.top).toBe(0);
        scale.center(100);
        expect(scale.top).toBe(2000 - 92.5);
    });

    it('stays inside when rows go', () => {
        const scale = scaleOf(1000);
        scale.setTop(1e9);
        scale.setRowCount(12);
        expect(scale.top).toBe(35);
        scale.setRowCount(0);
        expect(scale.shown).toEqual({ start: 0, count: 0 });
        expect(scale.takeBarTop(50)).toBe(true);
        expect(scale.top).toBe(0);
    });
});

describe('the loading of windows', () => {
    beforeEach(() => void vi.useFakeTimers());
    afterEach(() => void vi.useRealTimers());

    /** A source of a thousand rows whose answers a test gives one by one. */
    function source() {
        const asked: { window: RowRange; signal: AbortSignal; answer: (extra?: object) => Promise<void> }[] =
            [];
        const failures: unknown[] = [];
        const self = {
            shown: { start: 0, count: 30 },
            capacity: 30,
            rowCount: 1000,
            rows: new RowCache(),
            ask: (window: RowRange, signal: AbortSignal) =>
                new Promise<GridAnswer>((resolve) => {
                    const answer = (extra: object = {}) => {
                        const list = rows(window.count).map(({ id }) => ({ id }));
                        resolve(
                            readGridAnswer(bagOf({ view: { startRow: window.start, ...extra }, rows: list })),
                        );
                        return vi.advanceTimersByTimeAsync(0).then(() => undefined);
                    };
                    asked.push({ window, signal, answer });
                }),
            take: (answer: GridAnswer) => void (answer.waitTime ?? self.rows.put(answer.startRow, answer.rows)),
            failed: (failure: unknown) => void failures.push(failure),
        };
        return { self, asked, failures, loader: new WindowLoader(self) };
    }

    it('asks once, and not again while the margin lasts', async () => {
        const { self, asked, loader } = source();
        loader.update();
        loader.update();
        await asked[0]!.answer();
        self.shown = { start: 10, count: 30 };
        loader.update();
        expect(asked.map(({ window }) => window)).toEqual([{ start: 0, count: 60 }]);
        self.shown = { start: 20, count: 30 };
        loader.update();
        expect(asked).toHaveLength(2);
    });

    it('cancels what is not wanted any more, and keeps what is', async () => {
        const { self, asked, loader } = source();
        self.shown = { start: 100, count: 30 };
        loader.update();
        self.shown = { start: 110, count: 30 };
        loader.update();
        expect(asked).toHaveLength(1);
        self.shown = { start: 600, count: 30 };
        loader.update();
        expect(asked.map(({ signal }) => signal.aborted)).toEqual([true, false]);
        await asked[0]!.answer();
        expect(self.rows.get(100)).toBeUndefined();
        await asked[1]!.answer();
        expect(self.rows.get(600)).toBeDefined();
    });

    it('asks again after the time that the host names, not before unless other rows show', async () => {
        const { self, asked, loader } = source();
        loader.update();
        await asked[0]!.answer({ waitTime: 1000 });
        await vi.advanceTimersByTimeAsync(999);
        self.shown = { start: 5, count: 30 };
        loader.update();
        expect(asked).toHaveLength(1);
        await vi.advanceTimersByTimeAsync(1);
        expect(asked).toHaveLength(2);
        await asked[1]!.answer({ waitTime: 1000 });
        self.shown = { start: 500, count: 30 };
        loader.update();
        expect(asked).toHaveLength(3);
        await vi.advanceTimersByTimeAsync(1000);
        expect(asked).toHaveLength(3);
    });

    it('looks ever more rarely at rows that somebody opens', async () => {
        const { asked, loader } = source();
        for (const pause of [1000, 2000, 4000]) {
            // As many answers as may come meanwhile: only looking in vain makes the pause longer.
            for (let answers = 0; answers < 5; ++answers) loader.lookAgain();
            await vi.advanceTimersByTimeAsync(pause - 1);
            const before = asked.length;
            await vi.advanceTimersByTimeAsync(1);
            expect(asked).toHaveLength(before + 1);
        }
    });

    it('does not ask for ever for rows that do not come', async () => {
        const { self, asked, loader } = source();
        self.take = () => undefined;
        loader.update();
        await asked[0]!.answer();
        expect(asked).toHaveLength(1);
    });
});
