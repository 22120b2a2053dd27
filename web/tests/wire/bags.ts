import {
    Bag,
    bool,
    double,
    integer,
    NULL,
    s32,
    s64,
    text,
    u32,
    u64,
    type Value,
} from '../../src/wire/index.js';

/** A bag as nested arrays, kinds included, for comparison and for a readable difference. */
export function dump(bag: Bag): unknown {
    return {
        values: bag.values.map(({ name, entry }) => [name, entry.kind, entry.value]),
        children: bag.children.map(({ name, entry }) => [name, dump(entry)]),
    };
}

/** Numbers from 0 to below 1, the same for the same seed. */
export function randomNumbers(seed: number): () => number {
    let state = seed;
    return () => {
        state = (state + 0x6d2b79f5) | 0;
        let mixed = Math.imul(state ^ (state >>> 15), 1 | state);
        mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), 61 | mixed)) ^ mixed;
        return ((mixed ^ (mixed >>> 14)) >>> 0) / 4294967296;
    };
}

const PIECES = [
    'a',
    'Z9',
    ' ',
    '\t',
    '\n',
    '\r',
    '<',
    '>',
    '&',
    '"',
    "'",
    ']]>',
    '</msg>',
    'é',
    '漢',
    '😀',
    '\u0085',
    '\u2028',
    '&amp;',
    '_',
    '-',
    '.',
    ':',
];

/** A bag of random shape with every kind of value and awkward names and texts. */
export function randomBag(random: () => number): Bag {
    const root = new Bag();
    const bags = [root];
    for (let left = Math.floor(random() * 30); left > 0; --left) {
        const parent = bags[Math.floor(random() * bags.length)]!;
        if (random() < 0.4) bags.push(parent.addChild(randomText(random)));
        else parent.put(randomText(random), randomValue(random));
    }
    return root;
}

function randomText(random: () => number): string {
    return Array.from(
        { length: Math.floor(random() * 4) },
        () => PIECES[Math.floor(random() * PIECES.length)],
    ).join('');
}

function randomValue(random: () => number): Value {
    const bits = BigInt(Math.floor(random() * 2 ** 32)) << 32n;
    const makers: (() => Value)[] = [
        () => text(randomText(random)),
        () => ({ kind: 'wtext', value: randomText(random) }),
        () => bool(random() < 0.5),
        () => NULL,
        () => integer('s8_t', Math.floor(random() * 256) - 128),
        () => integer('u16_t', Math.floor(random() * 65536)),
        () => s32(Math.floor(random() * 2 ** 32) - 2 ** 31),
        () => u32(Math.floor(random() * 2 ** 32)),
        () => u64(bits | 1n),
        () => s64(BigInt.asIntN(64, bits | 1n)),
        () => double((random() - 0.5) * 10 ** Math.floor(random() * 600 - 300)),
        () => double([NaN, Infinity, -Infinity, -0, 5e-324][Math.floor(random() * 5)]!),
        () => ({ kind: 'float', value: Math.fround(random() * 1e10) }),
        () => ({
            kind: 'binary',
            value: Uint8Array.from({ length: Math.floor(random() * 5) }, () => random() * 256),
        }),
    ];
    return makers[Math.floor(random() * makers.length)]!();
}
