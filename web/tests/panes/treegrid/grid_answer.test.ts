import { describe, expect, it } from 'vitest';
import { readGridAnswer } from '../../../src/panes/treegrid/grid_answer.js';
import { Bag } from '../../../src/wire/index.js';
import { bagOf } from './answers.js';

const CELL = {
    value: 7,
    percentageBaseDefault: 70,
    percentageBaseCustomMetric: null,
    issueMask: 5,
    isReliable: false,
};

describe('an answer of a grid', () => {
    it('gives view, rows, footer and search', () => {
        const segments = [{ id: 's0', value: 3 }];
        const rows = [
            {
                level: 2,
                state: 'w',
                id: '140737488355328',
                selected: true,
                objectid: 4,
                cells: { c0: CELL, c2: CELL },
            },
            {
                level: 0,
                state: '?',
                id: '9',
                selected: false,
                cells: { c0: { ...CELL, barSegments: segments } },
            },
        ];
        const view = { startRow: 10, rowCount: 12, currentRow: 11, forceUpdate: 1, waitTime: 1000 };
        const expanded = { row: 3, id: '5', rowCount: 4 };
        const answer = readGridAnswer(
            bagOf({
                view: { ...view, scrollToCurrent: true, expanded, sorting: { column: 2, descending: false } },
                footerRow: { rowCount: 2, cells: { c0: CELL } },
                rows,
                search: { searchKey: 'x', foundItemCount: 1, cells: [] },
            }),
        );
        expect(answer).toMatchObject({
            hasGrid: true,
            ...{ startRow: 10, rowCount: 12, currentRow: 11, waitTime: 1000, forceUpdate: true },
            ...{ scrollToCurrent: true, expanded: { row: 3, rowCount: 4 } },
            sorting: { column: 2, isDescending: false },
            footer: { rowCount: 2 },
            search: { key: 'x', count: 1 },
            columns: undefined,
        });
        expect(answer.rows[0]).toMatchObject({ level: 2, state: 'w', id: '140737488355328', isSelected: true });
        expect(answer.rows[0]!.cells.map(({ value }) => value)).toEqual([7, null, 7]);
        expect(answer.rows[0]!.cells[0]).toMatchObject({ percentBase: 70, issueMask: 5, isReliable: false });
        expect(answer.rows[1]).toMatchObject({ state: ' ' });
        expect(answer.rows[1]!.cells[0]!.segments).toEqual([{ id: 's0', value: 3 }]);
    });

    it.each<[string, Bag]>([
        ['nothing', new Bag()],
        ['scalars in place of bags', bagOf({ view: 1, rows: 'x', columns: true, footerRow: null })],
        [
            'bags in place of scalars',
            bagOf({ view: { startRow: {} }, rows: [{ level: [], cells: { c0: 1, x: {} } }] }),
        ],
    ])('stays usable when it holds %s', (_, bag) => {
        const answer = readGridAnswer(bag);
        expect(answer.startRow).toBe(0);
        expect(answer.rowCount).toBe(0);
        expect(answer.currentRow).toBeUndefined();
    });

    it('says that there is no grid', () => {
        expect(readGridAnswer(new Bag()).hasGrid).toBe(false);
    });

    it('holds the objects of rows to the last digit', () => {
        const objectid = { value: '18446744073709551615', type: 'bigInt' };
        expect(readGridAnswer(bagOf({ rows: [{ objectid }] })).rows[0]!.objectId).toBe(18446744073709551615n);
    });
});
