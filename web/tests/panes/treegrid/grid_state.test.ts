import { describe, expect, it } from 'vitest';
import { readGridAnswer } from '../../../src/panes/treegrid/grid_answer.js';
import { GridState } from '../../../src/panes/treegrid/grid_state.js';
import { bagOf } from './answers.js';

/** Rows by their levels, at the place where they stand, ids by place. */
function answer(view: object, levels: number[], rest: object = {}) {
    const startRow = (view as { startRow?: number }).startRow ?? 0;
    const rows = levels.map((level, at) => ({ level, id: String(startRow + at) }));
    return readGridAnswer(bagOf({ view: { startRow, rowCount: 10, ...view }, rows, ...rest }));
}

describe('the state of a grid', () => {
    it('lays windows side by side, but trusts none of them after an answer for the whole grid', () => {
        const state = new GridState();
        state.take(answer({ startRow: 0 }, [0, 1]));
        state.takeWindow(answer({ startRow: 5 }, [0]));
        expect([0, 1, 2, 5].map((index) => state.rows.get(index)?.id)).toEqual(['0', '1', undefined, '5']);
        state.take(answer({ startRow: 4 }, [0]));
        expect([0, 4, 5].map((index) => state.rows.get(index)?.id)).toEqual([undefined, '4', undefined]);
    });

    it('drops the rows of old when their number changed unasked', () => {
        const state = new GridState();
        state.take(answer({ startRow: 0 }, [0, 0]));
        state.takeWindow(answer({ startRow: 5, rowCount: 11 }, [0]));
        expect(state.rows.get(0)).toBeUndefined();
    });

    it('follows the current row where rows came or went unasked', () => {
        const state = new GridState();
        state.take(answer({ startRow: 2, currentRow: 4 }, [0, 0, 0]));
        const moved = { view: { startRow: 5, rowCount: 12 }, rows: [{ id: '3' }, { id: '4' }] };
        state.takeWindow(readGridAnswer(bagOf(moved)));
        expect(state.currentRow).toBe(6);
        state.takeWindow(answer({ startRow: 0, rowCount: 13 }, [0]));
        expect(state.currentRow).toBe(6);
    });

    it('finds a row again that was seen, as long as that is possible', () => {
        const state = new GridState();
        state.take(answer({ startRow: 2 }, [0, 0]));
        const [known, unknown] = [state.seen(3), state.seen(7)];
        expect([known, unknown].map((seen) => state.whereIs(seen))).toEqual([3, 7]);
        state.take(answer({ startRow: 5 }, [0]));
        expect([known, unknown].map((seen) => state.whereIs(seen))).toEqual([3, 7]);
        const moved = { view: { startRow: 4, rowCount: 10, forceUpdate: 1 }, rows: [{ id: '2' }, { id: '3' }] };
        state.take(readGridAnswer(bagOf(moved)));
        expect([known, unknown].map((seen) => state.whereIs(seen))).toEqual([5, -1]);
        state.take(answer({ forceUpdate: 1 }, [0]));
        expect(state.whereIs(known)).toBe(-1);
    });

    it('keeps the current row until an answer speaks of it, and none behind the end', () => {
        const state = new GridState();
        state.take(answer({ currentRow: 7 }, [0]));
        state.take(answer({}, [0]));
        expect(state.currentRow).toBe(7);
        state.take(answer({ rowCount: 3 }, [0]));
        expect(state.currentRow).toBe(-1);
    });

    it('forgets where a range began when rows moved, not when more are selected', () => {
        const state = new GridState();
        state.setAnchor(2);
        state.setRangeEnd(4);
        state.currentRow = 4;
        state.take(answer({}, [0]));
        expect(state.selection).toEqual({ anchor: 2, current: 4, rangeEnd: 4 });
        state.take(answer({ forceUpdate: 1, currentRow: 5 }, [0]));
        expect(state.selection).toEqual({ anchor: -1, current: 5, rangeEnd: -1 });
        state.setRangeEnd(7);
        expect(state.selection).toEqual({ anchor: 5, current: 5, rangeEnd: 7 });
    });

    it('knows the row above that is higher, as far as rows are at hand', () => {
        const state = new GridState();
        state.take(answer({ startRow: 2 }, [0, 1, 2, 2, 1]));
        const higher = [0, 1, 2, 2, 1].map((level, at) => state.higherOrUnknown(at + 2, level));
        expect(higher).toEqual([-1, 2, 3, 3, 2]);
        state.take(answer({ startRow: 4 }, [2, 2]));
        expect([state.higherOrUnknown(5, 2), state.higherOrUnknown(0, 2)]).toEqual([3, -1]);
    });

    it('loses hits and footer with the answer that has none', () => {
        const state = new GridState();
        const search = {
            searchKey: 'x',
            foundItemCount: 1,
            cells: [{ rowIndex: 1, columnIndex: 0, entries: [{}] }],
        };
        state.take(answer({}, [0], { search, footerRow: { rowCount: 1, cells: {} } }));
        state.hit = 1;
        expect([state.hitsAt(1, 0).length, state.hitsAt(1, 1).length, state.footer?.rowCount]).toEqual([
            1, 0, 1,
        ]);
        state.take(answer({ forceUpdate: 1 }, [0]));
        expect([state.hitsAt(1, 0).length, state.hit, state.footer]).toEqual([0, 0, undefined]);
    });

    it('names its sorting by what lasts', () => {
        const state = new GridState();
        const columns = [{ caption: 'Function' }, { query: '/Metrics/Time', queryFlag: 20 }];
        const sorting = { column: 1, descending: false };
        expect(state.namedSorting).toBeUndefined();
        state.take(answer({ sorting }, [0], { columns }));
        expect(state.namedSorting).toEqual({ query: '/Metrics/Time', queryFlag: 20, isDescending: false });
        state.take(answer({ sorting: { column: 0 } }, [0]));
        expect(state.namedSorting).toBeUndefined();
    });
});
