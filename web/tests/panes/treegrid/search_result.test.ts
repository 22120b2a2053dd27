import { describe, expect, it } from 'vitest';
import { readSearch, type SearchResult, stepHit } from '../../../src/panes/treegrid/search_result.js';

const cell = (rowIndex: number, ...numbers: number[]) => ({
    rowIndex,
    columnIndex: 0,
    entries: numbers.map((foundItemNumber) => ({ startPosition: 0, endPosition: 1, foundItemNumber })),
});
const result = (cells: object[], around: object = {}): SearchResult =>
    readSearch({ searchKey: 'x', foundItemCount: 9, cells, ...around } as never);

describe('the way from hit to hit', () => {
    const window = result([cell(10, 3, 4), cell(12, 5)], {
        previous: { cell: cell(2, 1, 2) },
        next: { cell: cell(90, 6, 7) },
    });
    const all = result([cell(10, 1, 2), cell(12, 3)]);
    const wrapped = result([], { previous: { cell: cell(90, 8, 9) }, next: { cell: cell(2, 1, 2) } });

    it.each<[string, SearchResult, number, 1 | -1, number, number | undefined]>([
        ['begins at the first row that shows', window, 0, 1, 11, 5],
        ['begins in front of it, backwards', window, 0, -1, 11, 4],
        ['goes on within a cell', window, 3, 1, 0, 4],
        ['goes on to the next cell', window, 4, 1, 0, 5],
        ['goes on behind the window', window, 5, 1, 0, 6],
        ['goes back within the window', window, 5, -1, 0, 4],
        ['goes back in front of the window, to the last hit of the cell', window, 3, -1, 0, 2],
        ['goes round the end when all hits are in the window', all, 3, 1, 0, 1],
        ['goes round the beginning too', all, 1, -1, 0, 3],
        ['begins round the end when nothing follows', all, 0, 1, 50, 1],
        ['follows the host round the end', wrapped, 9, 1, 0, 1],
        ['follows the host round the beginning', wrapped, 1, -1, 0, 9],
        ['leads nowhere without hits', result([]), 0, 1, 0, undefined],
    ])('%s', (_, search, current, direction, firstRow, expected) => {
        expect(stepHit(search, current, direction, firstRow)?.hit.number).toBe(expected);
    });

    it('reads the empty answer of an empty key', () => {
        expect(readSearch(null)).toEqual({
            key: '',
            count: 0,
            previous: undefined,
            cells: [],
            next: undefined,
        });
    });
});
