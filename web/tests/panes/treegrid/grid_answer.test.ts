import { describe, expect, it } from 'vitest';
import { readGridAnswer } from '../../../src/panes/treegrid/grid_answer.js';
import { Bag } from '../../../src/wire/index.js';
import { bagOf } from './answers.js';

describe('an answer of a grid', () => {
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
