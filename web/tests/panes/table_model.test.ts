import { describe, expect, it } from 'vitest';
import { readTable } from '../../src/panes/table/table_model.js';
import { Bag } from '../../src/wire/index.js';
import { xmlToBag } from '../../src/wire/xml_reader.js';

const column = (id: string, name: string, more = '') =>
    `<column><id>${id}</id><fullName>${name}</fullName>${more}</column>`;
const list = (of: string, ...elements: string[]) => `<arrayOf>${of}</arrayOf>${elements.join('')}`;
const row = (...cells: string[]) => `<row><level type="s32_t">0</level><cells>${cells.join('')}</cells></row>`;
const cell = (id: string, value: number) => `<${id}><value type="s64_t">${value}</value></${id}>`;

function read(columns: string, rows: string, complete = 'true') {
    const full = `<fullContent><_ type="bool">${complete}</_></fullContent>`;
    return readTable(xmlToBag(`<r><columns>${columns}</columns><rows>${rows}</rows>${full}</r>`, 'r'));
}

describe('a table answer', () => {
    it('gives columns and rows, a cell without a value as undefined', () => {
        const table = read(
            list(
                'column',
                column('c0', 'Function'),
                column('c1', 'Total', '<format>time</format><timeUnit type="double">1e-6</timeUnit>'),
            ),
            list(
                'row',
                row('<c0><value>main</value></c0>', cell('c1', 7)),
                row('<c0 type="bag"/>', '<c1 type="bag"/>'),
            ),
        );
        expect(table?.leaves.map((leaf) => [leaf.name, leaf.hints])).toEqual([
            ['Function', { format: undefined, timeUnit: undefined }],
            ['Total', { format: 'time', timeUnit: 1e-6 }],
        ]);
        expect(table?.rows.map((entry) => entry.values.map((value) => value?.value))).toEqual([
            ['main', 7n],
            [undefined, undefined],
        ]);
        expect(table?.isComplete).toBe(true);
    });

    it('spans groups over their innermost columns, in preorder', () => {
        const values = `<columns>${list('column', column('c2', 'A'), column('c3', 'B'), column('c4', 'B-A'))}</columns>`;
        const table = read(
            list('column', column('c0', 'F'), column('c1', 'Total', values), column('c5', 'S')),
            list('row', row(cell('c3', 1), cell('c5', 2))),
            'false',
        );
        expect(table?.columns.map(({ id, depth, span, isLeaf }) => [id, depth, span, isLeaf])).toEqual([
            ['c0', 0, 1, true],
            ['c1', 0, 3, false],
            ['c2', 1, 1, true],
            ['c3', 1, 1, true],
            ['c4', 1, 1, true],
            ['c5', 0, 1, true],
        ]);
        expect(table?.rows[0]?.values.map((value) => value?.value)).toEqual([
            undefined,
            undefined,
            1n,
            undefined,
            2n,
        ]);
        expect(table?.isComplete).toBe(false);
    });

    it('is null if the query has no rows, and refused if it is something else', () => {
        expect(readTable(new Bag())).toBeNull();
        expect(() => readTable(xmlToBag('<r><rows type="bag"/></r>', 'r'))).toThrow('no table');
        expect(() => read(list('column', '<column type="bag"/>'), list('row'))).toThrow('no id');
    });
});
