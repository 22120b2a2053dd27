import { describe, expect, it } from 'vitest';
import { barShapes, cssColor } from '../../../src/panes/treegrid/bar_shapes.js';
import { cellText, cutAtHits, formatChoices, shownNumber } from '../../../src/panes/treegrid/cell_text.js';
import { ColumnTree } from '../../../src/panes/treegrid/column_tree.js';
import { shownCell } from '../../../src/panes/treegrid/comparison.js';
import { type GridCell } from '../../../src/panes/treegrid/grid_answer.js';
import { type ColumnNode, readColumns } from '../../../src/panes/treegrid/grid_columns.js';
import { type Plain } from '../../../src/wire/index.js';
import { cell, column } from './answers.js';

describe('the text of a cell', () => {
    const at = (format: string, given: Partial<GridCell>, rest: { [key: string]: Plain } = {}) =>
        cellText(column({ isData: true, format, timeUnit: 1e-6, ...rest }), cell(given), 0);

    it.each<[string, string, Partial<GridCell>, string]>([
        ['a time in the unit that suits it', 'time', { value: 1500 }, '1.500 ms'],
        ['a long time', 'time', { value: 2_000_000 }, '2.000 s'],
        ['less than nothing', 'time', { value: -250_000 }, '-250.000 ms'],
        ['no time', 'time', { value: 0 }, '0 s'],
        ['bytes', 'bytes', { value: 1536 }, '1.5 KiB'],
        ['a count of 64 bits', 'count', { value: 9007199254740993n }, '9,007,199,254,740,993'],
        ['a plain number', 'number', { value: 1234567 }, '1234567'],
        ['an address', 'hexadecimal', { value: 18446744073709551615n }, '0xffffffffffffffff'],
        [
            'percent of the default base',
            'percent',
            { value: 5, percentBase: 40, customPercentBase: 10 },
            '12.5%',
        ],
        [
            'percent of the other base',
            'percent_by',
            { value: 5, percentBase: 40, customPercentBase: 10 },
            '50.0%',
        ],
        ['percent of nothing', 'percent', { value: 5, percentBase: 0 }, '0.0%'],
        ['percent without a base', 'percent', { value: 5 }, ''],
        ['percent between two, as the library rounds', 'percent', { value: 1, percentBase: 16 }, '6.2%'],
        ['a text as it is', 'time', { value: 'a<b' }, 'a<b'],
        ['a format that nobody knows', 'moons', { value: 5 }, '5'],
        ['nothing', 'time', {}, ''],
    ])('%s', (_, format, given, expected) => {
        expect(at(format, given)).toBe(expected);
    });

    it('names what is unknown, by level in the grouping column, where the last level goes on', () => {
        const levels = [
            { aliasForUnknown: '[no function]', format: 'text' },
            { aliasForUnknown: '[no caller]', format: 'hexadecimal' },
        ];
        const grouping = column({ isGrouping: true, levels });
        expect([0, 1, 7].map((level) => cellText(grouping, cell({}), level))).toEqual([
            '[no function]',
            '[no caller]',
            '[no caller]',
        ]);
        expect([0, 7].map((level) => cellText(grouping, cell({ value: 255 }), level))).toEqual(['255', '0xff']);
        expect(at('time', {}, { aliasForUnknown: '-' })).toBe('-');
    });

    it('offers percent wherever a cell has a base, and what the library offers first', () => {
        const ids = (given: { [key: string]: Plain }, cells: GridCell[]) =>
            formatChoices(column(given), cells).map(({ id }) => id);
        const data = { isData: true, availableFormats: [{ id: 'time' }, { id: 'percent', displayName: '%' }] };
        expect(ids({ isData: true }, [cell({}), cell({ percentBase: 5 })])).toEqual(['percent']);
        expect(ids(data, [cell({ percentBase: 5, customPercentBase: 0 })])).toEqual([
            'time',
            'percent',
            'percent_by',
        ]);
        expect(ids({ isData: true }, [cell({})])).toEqual([]);
        expect(ids({ isData: true, format: 'bytes' }, [cell({ percentBase: 5 })])).toEqual([
            'bytes',
            'percent',
        ]);
        expect(ids({ isInfo: true }, [cell({ percentBase: 5 })])).toEqual([]);
    });
});

describe('a difference', () => {
    const kinds = [0x14, 0x114, 0x214, 0x414];
    const columns = readColumns(
        kinds.map((queryFlag) => ({ query: 'm', queryFlag, isData: true, format: 'count' })),
    );
    const node = (at: number, children: ColumnNode[] = []) => ({
        ...{ column: at, isCollapsed: true, isHidden: false },
        children,
    });
    const tree = new ColumnTree(columns, [node(0, [node(1), node(2), node(3)])]);
    const cells = [0, 10, 30, -20].map((value, at) => cell({ value, percentBase: at === 2 ? 200 : 100 }));

    it.each<[number, boolean, string[]]>([
        [3, false, ['−', '20', '−20.0%']],
        [3, true, ['+', '20', '+10.0%']],
        [1, true, ['', '10', '10.0%']],
        [0, true, ['', '0', '']],
    ])(
        'says how much more the first has, whichever is the first: column %d, turned %s',
        (at, isSwapped, shown) => {
            const turned = tree.withSwapped(isSwapped);
            const given = shownCell(turned, columns[at]!, cells);
            const { sign, text, percent } = shownNumber(columns[at]!, given, turned.isDifference(columns[at]!));
            expect([sign, text, percent]).toEqual(shown);
            expect(turned.withCollapsed(0, false).shown.map(({ index }) => index)).toEqual(
                isSwapped ? [2, 1, 3] : [1, 2, 3],
            );
        },
    );

    it('of next to nothing has no sign', () => {
        const percent = { ...columns[3]!, format: 'percent' };
        const shown = shownNumber(percent, cell({ value: -1, percentBase: 100_000 }), true);
        expect(shown).toMatchObject({ sign: '', text: '0.0%', percent: '' });
    });
});

describe('hits in a text', () => {
    const hit = (start: number, end: number, number: number) => ({ start, end, number });

    it.each<[string, string, ReturnType<typeof hit>[], [string, number][]]>([
        [
            'counted in characters',
            '漢😀x',
            [hit(1, 2, 1)],
            [
                ['漢', 0],
                ['😀', 1],
                ['x', 0],
            ],
        ],
        [
            'beyond the text',
            'ab',
            [hit(1, 9, 1), hit(12, 14, 2)],
            [
                ['a', 0],
                ['b', 1],
            ],
        ],
        [
            'overlapping, which they never should',
            'abc',
            [hit(0, 2, 1), hit(1, 3, 2)],
            [
                ['ab', 1],
                ['c', 2],
            ],
        ],
    ])('%s', (_, text, hits, pieces) => {
        expect(cutAtHits(text, hits).map((piece) => [piece.text, piece.hit])).toEqual(pieces);
    });
});

describe('the bar of a cell', () => {
    const shapes = (given: { [key: string]: Plain }, some: Partial<GridCell>) =>
        barShapes(column({ isData: true, barMax: 200, barType: 'default', ...given }), cell(some)).map(
            ({ start, length }) => [start, length],
        );

    it.each<[string, { [key: string]: Plain }, Partial<GridCell>, number[][]]>([
        ['is as long as its share of the greatest', {}, { value: 50 }, [[0, 0.25]]],
        ['is full at the most', {}, { value: 999 }, [[0, 1]]],
        ['is not there for nothing', {}, { value: 0 }, []],
        ['is not there for a text', {}, { value: 'x' }, []],
        ['is not there without a greatest', { barMax: null }, { value: 5 }, []],
        ['is not there for what is not data', { isData: false }, { value: 5 }, []],
        ['goes right of the middle for more', { barType: 'diff' }, { value: 100 }, [[0.5, 0.25]]],
        ['goes left of it for less', { barType: 'diff', barMax: -200 }, { value: -200 }, [[0, 0.5]]],
    ])('%s', (_, given, some, expected) => {
        expect(shapes(given, some)).toEqual(expected);
    });

    it('is stacked of segments in their colours', () => {
        const barSegments = {
            s0: { caption: 'A', color: 0x010203ff },
            s1: { caption: 'B', color: 0xff },
            s2: {},
        };
        const stacked = column({ isData: true, barMax: 100, barType: 'stacked', barSegments });
        const segments = [
            { id: 's0', value: 20 },
            { id: 's1', value: null },
            { id: 's2', value: 500n },
        ];
        expect(barShapes(stacked, cell({ value: 100, segments }))).toEqual([
            { start: 0, length: 0.2, color: '#010203ff', caption: 'A' },
            { start: 0.2, length: 0.8, color: '#d47334ff', caption: 's2' },
        ]);
    });

    it('has a colour of eight digits', () => {
        expect([0xd47334ff, 0xff, 0].map(cssColor)).toEqual(['#d47334ff', '#000000ff', '#00000000']);
    });
});
