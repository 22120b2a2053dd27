import { describe, expect, it } from 'vitest';
import { columnFormat, type FormatHints } from '../../src/format/column_format.js';
import { bool, double, NULL, s64, text, type Value } from '../../src/wire/index.js';

describe('a column of values as text', () => {
    it.each<[string, FormatHints, Value[], string[]]>([
        [
            'counts',
            { format: 'count' },
            [s64(1234567n), s64(-1000n), s64(999n)],
            ['1,234,567', '-1,000', '999'],
        ],
        ['64 bits without loss', {}, [s64(9007199254740993n)], ['9,007,199,254,740,993']],
        [
            'fractions, and powers of ten where digits say nothing',
            {},
            [double(1234.5678), double(1e21), double(-1.5e-7), double(NaN)],
            ['1,234.568', '1e+21', '-1.5e-07', 'NaN'],
        ],
        [
            'plain numbers',
            { format: 'number' },
            [double(1234.5), s64(1234567n), double(2)],
            ['1234.5', '1234567', '2'],
        ],
        [
            'time in the unit of the greatest',
            { format: 'time', timeUnit: 1e-6 },
            [s64(1500000n), s64(250n)],
            ['1.500 s', '0.000 s'],
        ],
        [
            'short times',
            { format: 'time', timeUnit: 1e-9 },
            [s64(1500000n), s64(250n)],
            ['1.500 ms', '0.000 ms'],
        ],
        ['the shortest times', { format: 'time', timeUnit: 1e-9 }, [s64(999n)], ['999 ns']],
        ['long times', { format: 'time' }, [double(12345.6)], ['12,345.600 s']],
        ['no time at all', { format: 'time' }, [s64(0n)], ['0 s']],
        ['bytes', { format: 'bytes' }, [s64(1536n), s64(12n)], ['1.5 KiB', '0.0 KiB']],
        ['few bytes', { format: 'bytes' }, [s64(12n)], ['12 B']],
        ['hexadecimal', { format: 'hexadecimal' }, [s64(255n), s64(-16n)], ['0xff', '0xfffffffffffffff0']],
        ['percent', { format: 'percent' }, [double(12.345)], ['12.3%']],
        [
            'texts as they are, null as nothing',
            { format: 'count' },
            [text('a<b'), NULL, bool(true)],
            ['a<b', '', 'true'],
        ],
    ])('%s', (_, hints, values, texts) => {
        const format = columnFormat(hints, values);
        expect(values.map(format)).toEqual(texts);
    });
});
