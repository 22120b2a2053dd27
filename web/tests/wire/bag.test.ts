import { describe, expect, it } from 'vitest';
import { Bag, double, integer, s32, text, u64 } from '../../src/wire/index.js';

describe('Bag', () => {
    it.each([3, 15, 16, 40])('finds the first entry of each name among %i', (count) => {
        const bag = new Bag();
        for (let at = 0; at < count; ++at) bag.put(`v${at}`, s32(at)).addChild(`c${at}`).put('', s32(at));
        bag.putOwn('c1', s32(-1));
        expect(bag.number('v2')).toBe(2);
        expect(bag.number('c1')).toBe(1);
        expect(bag.childrenNamed('c1')).toHaveLength(2);
        expect(bag.value('none')).toBeUndefined();
        bag.put('v2', text('x')).put('w', text('y'));
        expect(bag.values[2]).toEqual({ name: 'v2', entry: text('x') });
        expect(bag.text('w')).toBe('y');
        expect(bag.values).toHaveLength(count + 1);
    });

    it('reads a scalar in both forms, and only as what it is', () => {
        const bag = new Bag().put('a', u64(5n)).putOwn('b', text('x')).put('c', double(0));
        expect([bag.number('a'), bag.text('b'), bag.bool('c'), bag.bool('a')]).toEqual([5, 'x', false, true]);
        expect([bag.number('b'), bag.text('a'), bag.bool('b')]).toEqual([undefined, undefined, undefined]);
    });
});

describe('integer values', () => {
    it.each([
        ['s8_t', -129],
        ['u8_t', 256],
        ['u32_t', -1],
        ['s32_t', 0.5],
        ['u64_t', 2n ** 64n],
    ] as const)('refuse what does not fit %s: %s', (kind, value) => {
        expect(() => integer(kind, value)).toThrow(RangeError);
    });
});
