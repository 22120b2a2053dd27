import { describe, expect, it } from 'vitest';
import { Bag, toPlain, type Plain } from '../../src/wire/index.js';
import { jsonToBag } from '../../src/wire/json_reader.js';
import { dump, randomNumbers } from './bags.js';

describe('JSON read as a bag', () => {
    const item = (kind: string, value: unknown) => ['item', { values: [['', kind, value]], children: [] }];

    it.each<[string, string, unknown[], unknown[]]>([
        ['an empty object', '{}', [], []],
        ['an empty array', '[]', [['arrayOf', 'text', 'item']], []],
        [
            'scalars in an array',
            '[1,"a"]',
            [['arrayOf', 'text', 'item']],
            [item('u32_t', 1), item('text', 'a')],
        ],
        ['a scalar at the top', ' null ', [['', 'null', null]], []],
        [
            'numbers of 32 bits',
            '{"a":0,"b":4294967295,"c":-2147483648,"d":-0}',
            [
                ['a', 'u32_t', 0],
                ['b', 'u32_t', 4294967295],
                ['c', 's32_t', -2147483648],
                ['d', 's32_t', 0],
            ],
            [],
        ],
        [
            'numbers of 64 bits',
            '{"a":4294967296,"b":-2147483649,"c":18446744073709551615}',
            [
                ['a', 'u64_t', 4294967296n],
                ['b', 's64_t', -2147483649n],
                ['c', 'u64_t', 18446744073709551615n],
            ],
            [],
        ],
        [
            'other numbers',
            '{"a":1.0,"b":1e2,"c":18446744073709551616,"d":-1e-3}',
            [
                ['a', 'double', 1],
                ['b', 'double', 100],
                ['c', 'double', 18446744073709551616],
                ['d', 'double', -0.001],
            ],
            [],
        ],
        [
            'a repeated scalar once',
            '{"a":1,"b":2,"a":"x"}',
            [
                ['a', 'text', 'x'],
                ['b', 'u32_t', 2],
            ],
            [],
        ],
        [
            'a repeated object twice',
            '{"a":{},"a":{}}',
            [],
            [
                ['a', { values: [], children: [] }],
                ['a', { values: [], children: [] }],
            ],
        ],
        [
            'a member arrayOf as the turn to an array',
            '{"x":1,"arrayOf":"row","y":2}',
            [
                ['x', 'u32_t', 1],
                ['arrayOf', 'text', 'row'],
            ],
            [['row', { values: [['', 'u32_t', 2]], children: [] }]],
        ],
        ['escapes', '{"\\u00e9\\n":"\\\\\\"\\ud83d\\ude00"}', [['é\n', 'text', '\\"😀']], []],
    ])('%s', (_, json, values, children) => {
        expect(dump(jsonToBag(json))).toEqual({ values, children });
    });

    it.each([
        '',
        '{',
        '[1,]',
        '{"a":1,}',
        '{"a"}',
        '{a:1}',
        '[1 2]',
        '1 2',
        '"a',
        '"\n"',
        '"\\x"',
        '01',
        '+1',
        '1.',
        'nul',
        '[}',
        "{'a':1}",
    ])('refuses %j', (json) => {
        expect(() => jsonToBag(json)).toThrow(/at offset \d+/);
    });

    it('takes 100,000 brackets without recursion', () => {
        const depth = 100_000;
        let plain = toPlain(jsonToBag('['.repeat(depth) + ']'.repeat(depth)));
        let found = 0;
        for (; Array.isArray(plain); plain = plain[0] ?? null) found += 1;
        expect(found).toBe(depth);
        expect(() => jsonToBag('['.repeat(depth))).toThrow();
    });
});

describe('the plain view', () => {
    it.each<[string, Plain]>([
        ['{"response":{"":{"sourceViewTabSize":4}}}', { response: { '': { sourceViewTabSize: 4 } } }],
        ['{"a":{"value":"9007199254740991","type":"bigInt"}}', { a: 9007199254740991n }],
        ['{"value":"x","type":"bigInt"}', { value: 'x', type: 'bigInt' }],
        ['{"a":null,"b":[]}', { a: null, b: [] }],
        ['{"a":{"x":1},"a":{"x":2}}', { a: { x: 1 } }],
        [
            '{"__proto__":{"polluted":true},"toString":1}',
            JSON.parse('{"__proto__":{"polluted":true},"toString":1}') as Plain,
        ],
    ])('of %s', (json, plain) => {
        expect(toPlain(jsonToBag(json))).toEqual(plain);
        expect(({} as Record<string, unknown>)['polluted']).toBeUndefined();
    });

    it('of an array under an element name, and of an empty bag', () => {
        const rows = new Bag().put('arrayOf', { kind: 'text', value: 'row' });
        rows.putOwn('row', { kind: 's32_t', value: 1 }).putOwn('other', { kind: 's32_t', value: 2 });
        rows.addChild('row');
        expect(toPlain(rows)).toEqual([1, null]);
    });

    it.each(Array.from({ length: 200 }, (_, seed) => seed))('agrees with JSON.parse (seed %i)', (seed) => {
        const data = randomJson(randomNumbers(seed));
        expect(toPlain(jsonToBag(JSON.stringify(data, null, seed % 3)))).toEqual(data);
    });
});

/** Data without what the library's JSON cannot say: empty objects are null there, and 64-bit numbers big. */
function randomJson(random: () => number, depth = 0): unknown {
    const pick = Math.floor(random() * (depth > 3 ? 5 : 8));
    if (pick === 0) return null;
    if (pick === 1) return random() < 0.5;
    if (pick === 2) return Math.floor((random() - 0.5) * 2 ** 31);
    if (pick === 3) return random() * 1e300;
    if (pick === 4)
        return String.fromCodePoint(...Array.from({ length: 5 }, () => Math.floor(random() * 0xd7ff)));
    const content = Array.from({ length: 1 + Math.floor(random() * 4) }, () => randomJson(random, depth + 1));
    return pick === 5 ? content : Object.fromEntries(content.map((value, at) => [`k${at}`, value]));
}
