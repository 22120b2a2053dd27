import { describe, expect, it } from 'vitest';
import { ColumnTree } from '../../../src/panes/treegrid/column_tree.js';
import { readColumns, readHierarchy } from '../../../src/panes/treegrid/grid_columns.js';
import { bagToXml } from '../../../src/wire/xml_writer.js';
import { type Plain } from '../../../src/wire/index.js';

const node = (dataIndex: number, flags: { [key: string]: Plain } = {}, columns: Plain[] = []) => ({
    dataIndex,
    isCollapsed: false,
    isHidden: false,
    ...flags,
    ...(columns.length > 0 && { columns }),
});

/** grouping | time (collapsed): (threads: a, b), c | self */
const COLUMNS = readColumns(
    ['name', 'time', 'threads', 'a', 'b', 'c', 'self'].map((caption, at) => ({
        caption,
        format: 'time',
        isData: at > 0,
        syncChildColumnsFormat: caption === 'threads',
    })),
);
const HIERARCHY = {
    columns: [
        node(0),
        node(1, { isCollapsed: true }, [node(2, {}, [node(3), node(4)]), node(5)]),
        node(6),
        node(99),
        node(-1),
    ],
};
const tree = new ColumnTree(COLUMNS, readHierarchy(HIERARCHY, COLUMNS));
const shown = (some: ColumnTree) => some.shown.map(({ caption }) => caption).join(' ');

describe('the tree of columns', () => {
    it.each<[string, ColumnTree, string]>([
        ['a collapsed column stands for its children', tree, 'name time self'],
        ['an open one gives way to them', tree.withCollapsed(1, false), 'name a b c self'],
        ['at each depth', tree.withCollapsed(1, false).withCollapsed(2, true), 'name threads c self'],
        [
            'a hidden one takes its whole tree along',
            tree.withCollapsed(1, false).withHidden(1, true),
            'name self',
        ],
        ['one child can be hidden', tree.withCollapsed(1, false).withHidden(3, true), 'name b c self'],
        ['and comes back', tree.withHidden(6, true).withHidden(6, false), 'name time self'],
        ['a column that does not exist changes nothing', tree.withHidden(77, true), 'name time self'],
    ])('%s', (_, some, expected) => {
        expect(shown(some)).toBe(expected);
    });

    it('says what heads what', () => {
        const groups = tree.withCollapsed(1, false).groups;
        expect(groups.map((row) => row.map(({ node, start, span }) => [node.column, start, span]))).toEqual([
            [[1, 1, 3]],
            [[2, 1, 2]],
        ]);
        expect(tree.withCollapsed(1, false).withHidden(1, true).groups.flat()).toEqual([]);
    });

    it('has all columns side by side without a usable hierarchy', () => {
        for (const plain of [undefined, null, {}, { columns: 5 }, { columns: [node(8)] }])
            expect(shown(new ColumnTree(COLUMNS, readHierarchy(plain, COLUMNS)))).toBe(
                'name time threads a b c self',
            );
    });

    it('reads a hierarchy that is nested without end', () => {
        let deep: Plain = node(3);
        for (let depth = 0; depth < 10_000; ++depth) deep = node(1, {}, [deep]);
        expect(readHierarchy({ columns: [deep] }, COLUMNS)).toHaveLength(1);
    });

    it('gives a format to a column, and to those below where they share it', () => {
        const formats = (some: ColumnTree) => some.columns.map(({ format }) => format).join(' ');
        expect(formats(tree.withFormat(1, 'number'))).toBe('time number time time time time time');
        expect(formats(tree.withFormat(2, 'percent'))).toBe('time time percent percent percent time time');
    });

    it.each<[string, number, string, string]>([
        ['percent for every column of numbers', 5, 'percent', 'percent'],
        ['percent of the base metric, too', 5, 'percent_by', 'percent_by'],
        ['what the column offers', 6, 'bytes', 'bytes'],
        ['nothing that it does not offer', 5, 'bytes', 'time'],
        ['no percent for names', 0, 'percent', 'time'],
    ])('takes over formats: %s', (_, column, format, expected) => {
        const bytes = { ...COLUMNS[6]!, availableFormats: [{ id: 'bytes', label: '' }] };
        const offering = new ColumnTree([...COLUMNS.slice(0, 6), bytes], tree.roots);
        const wished = offering.withWishes(tree.withFormat(column, format).wishes);
        expect(wished.columns[column]!.format).toBe(expected);
    });

    it('knows the formats that columns came with, whatever they have now', () => {
        const percent = COLUMNS.map((column) => ({ ...column, format: 'percent', ownFormat: 'percent' }));
        const later = new ColumnTree(percent, tree.roots).withOwnFormatsOf(tree.withFormat(6, 'percent'));
        expect([later.columns[6]!.format, later.columns[6]!.ownFormat]).toEqual(['percent', 'time']);
        expect(later.withWishes(tree.wishes).columns[6]!.format).toBe('time');
    });

    it('goes to the host as child bags under a bag "column"', () => {
        const small = new ColumnTree(COLUMNS.slice(0, 3), [
            { column: 0, isCollapsed: false, isHidden: false, children: [] },
            {
                ...{ column: 1, isCollapsed: true, isHidden: false },
                children: [{ column: 2, isCollapsed: false, isHidden: true, children: [] }],
            },
        ]);
        const flags = (collapsed: boolean, hidden: boolean) =>
            `<isCollapsed type="bool">${collapsed}</isCollapsed><isHidden type="bool">${hidden}</isHidden>`;
        const index = (at: number) => `<dataIndex type="s32_t">${at}</dataIndex>`;
        expect(bagToXml(small.toBag(), 'x')).toBe(
            `<x>${index(-1)}<column><column>${index(0)}${flags(false, false)}</column>` +
                `<column>${index(1)}${flags(true, false)}<format>time</format>` +
                `<column><column>${index(2)}${flags(false, true)}<format>time</format></column></column></column></column></x>`,
        );
    });
});
