import { describe, expect, it } from 'vitest';
import { readGridAnswer } from '../../../src/panes/treegrid/grid_answer.js';
import { type GridRequests } from '../../../src/panes/treegrid/grid_requests.js';
import { GridState } from '../../../src/panes/treegrid/grid_state.js';
import { ParentSearch } from '../../../src/panes/treegrid/parent_search.js';
import { type RowRange } from '../../../src/panes/treegrid/row_cache.js';
import { bagOf } from './answers.js';

describe('the way to the row that holds another', () => {
    /** Row 1 holds 4000 rows, of which row 3 holds 10; only the last rows are at hand. */
    const ROW_COUNT = 4002;
    const levelOf = (row: number) => (row < 2 ? 0 : row > 3 && row < 14 ? 2 : 1);

    function answerOf({ start, count }: RowRange, view: object = {}) {
        const rows = Array.from({ length: count }, (_, at) => ({
            level: levelOf(start + at),
            id: `${start + at + 1}`,
        }));
        return readGridAnswer(bagOf({ view: { startRow: start, rowCount: ROW_COUNT, ...view }, rows }));
    }

    function setUp(change: (asked: RowRange[]) => object = () => ({})) {
        const state = new GridState();
        state.take(answerOf({ start: 3950, count: 52 }));
        const asked: RowRange[] = [];
        const scroll = (window: RowRange) => {
            asked.push(window);
            return Promise.resolve(answerOf(window, change(asked)));
        };
        return { asked, search: new ParentSearch({ scroll } as unknown as GridRequests, state) };
    }
    const { signal } = new AbortController();

    it.each([
        [4001, 1, 8],
        [10, 3, 1],
        [2, 1, 1],
        [1, -1, 1],
    ])('leads from %d to %d', async (index, parent, requestCount) => {
        const { asked, search } = setUp();
        expect(await search.parentOf(index, signal)).toBe(parent);
        expect(asked).toHaveLength(requestCount);
        expect(Math.max(...asked.map(({ count }) => count))).toBeLessThanOrEqual(500);
        expect(search.hasAsked).toBe(true);
    });

    it('ends where rows move on the way, and at the first one if there is no current row', async () => {
        const moving = setUp((asked) => (asked.length === 2 ? { rowCount: ROW_COUNT + 5 } : {}));
        expect(await moving.search.parentOf(4001, signal)).toBe(-1);
        expect(moving.asked).toHaveLength(2);
        const none = setUp();
        expect(await none.search.parentOf(-1, signal)).toBe(-1);
        expect(none.asked).toEqual([]);
    });
});
