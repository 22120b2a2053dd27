import { describe, expect, it } from 'vitest';
import { commandOf, type KeyPress, moveTarget } from '../../../src/panes/treegrid/key_commands.js';
import { rangeSteps, type SelectionPlace, singleSteps } from '../../../src/panes/treegrid/selection_steps.js';

/** A key as "Control+Shift+a". */
function press(text: string): KeyPress {
    const parts = text === '+' ? ['+'] : text.split(/\+(?=.)/);
    const has = (name: string) => parts.slice(0, -1).includes(name);
    return {
        key: parts.at(-1)!.replace('Space', ' '),
        ...{ ctrlKey: has('Control'), shiftKey: has('Shift'), altKey: has('Alt'), metaKey: has('Meta') },
    };
}

describe('the keys', () => {
    it.each<[string, object | undefined]>([
        ['Shift++', { what: 'open' }],
        ['Control++', { what: 'openSelected' }],
        ['Meta+A', { what: 'selectAll' }],
        ['Control+Shift+A', { what: 'clearSelection' }],
        ['Alt+ArrowDown', undefined],
        ['constructor', undefined],
    ])('%s', (text, command) => {
        expect(commandOf(press(text))).toEqual(command);
    });

    it.each<[string, number, number, 'row' | 'page' | 'end', number, number]>([
        ['down', 3, 100, 'row', 1, 4],
        ['down at the end', 99, 100, 'row', 1, 99],
        ['up at the top', 0, 100, 'row', -1, 0],
        ['a page keeps one row in sight', 3, 100, 'page', 1, 12],
        ['a page up', 3, 100, 'page', -1, 0],
        ['to the end', 3, 100, 'end', 1, 99],
        ['in from nowhere, downwards', -1, 100, 'row', 1, 0],
        ['in from nowhere, upwards', -1, 100, 'page', -1, 99],
        ['nowhere to go', -1, 0, 'row', 1, -1],
        ['nowhere to go to the end', -1, 0, 'end', -1, -1],
    ])('%s', (_, current, rowCount, by, amount, target) => {
        expect(moveTarget(current, rowCount, 10, { by, amount })).toBe(target);
    });
});

describe('a range of rows', () => {
    /** What the host makes of the steps, by its own rules. */
    function selectionAfter(before: number[], current: number, steps: ReturnType<typeof rangeSteps>) {
        let selected = new Set(before);
        for (const { type, row } of steps) {
            if (type === 'setSingle') {
                if (selected.size === 1 && selected.has(row)) continue;
                selected = new Set([row]);
            }
            if (type === 'addRange')
                for (let at = Math.min(row, current); at <= Math.max(row, current); ++at) selected.add(at);
            current = row;
        }
        return { selected: [...selected].sort((one, other) => one - other), current };
    }

    it.each<[string, number[], SelectionPlace, number, boolean, number[]]>([
        ['grows down', [2, 3], { anchor: 2, current: 3, rangeEnd: 3 }, 5, false, [2, 3, 4, 5]],
        ['grows up', [3, 4], { anchor: 4, current: 3, rangeEnd: 3 }, 1, false, [1, 2, 3, 4]],
        ['shrinks', [2, 3, 4], { anchor: 2, current: 4, rangeEnd: 4 }, 3, false, [2, 3]],
        ['turns round', [4, 5], { anchor: 4, current: 5, rangeEnd: 5 }, 3, false, [3, 4]],
        ['begins', [4], { anchor: 4, current: 4, rangeEnd: 4 }, 6, false, [4, 5, 6]],
        [
            'begins after the current row moved alone',
            [4],
            { anchor: 4, current: 8, rangeEnd: 4 },
            6,
            false,
            [4, 5, 6],
        ],
        ['begins where nothing was', [], { anchor: -1, current: -1, rangeEnd: -1 }, 6, false, [6]],
        [
            'begins at the current row if rows moved since',
            [5],
            { anchor: -1, current: 5, rangeEnd: -1 },
            6,
            false,
            [5, 6],
        ],
        ['leaves others out', [0, 4], { anchor: 4, current: 4, rangeEnd: 4 }, 5, false, [4, 5]],
        ['is added to others', [0, 4], { anchor: 4, current: 4, rangeEnd: 4 }, 5, true, [0, 4, 5]],
    ])('%s', (_, before, place, target, add, after) => {
        const result = selectionAfter(before, place.current, rangeSteps(place, target, add));
        expect(result).toEqual({ selected: after, current: target });
    });

    it.each<[string, number[], number, boolean, number]>([
        ['another row', [3], 3, false, 1],
        ['one of many', [3, 5], 3, true, 2],
        ['the one selected row, which is not the current one', [5], 3, true, 2],
        ['the one selected row, which is the current one', [5], 5, true, 1],
    ])('a row alone: %s', (_, before, current, isSelected, stepCount) => {
        const steps = singleSteps(5, current, isSelected);
        expect(selectionAfter(before, current, steps)).toEqual({ selected: [5], current: 5 });
        expect(steps).toHaveLength(stepCount);
    });

    it('takes one request to grow', () => {
        expect(rangeSteps({ anchor: 2, current: 3, rangeEnd: 3 }, 4, false)).toHaveLength(1);
    });
});
