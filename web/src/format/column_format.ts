import { type Value } from '../wire/index.js';
import {
    byteUnitFor,
    hexadecimalText,
    inUnit,
    numberText,
    timeUnitFor,
    withThousands,
} from './number_format.js';

/** What a column's bag tells of the look of its numbers. */
export interface FormatHints {
    /** "time", "count", "bytes", "number", "hexadecimal", "percent"; others, or none, go by the value. */
    readonly format?: string | undefined;
    /** For "time": how many seconds one unit of the column's numbers is; seconds themselves if it is not told. */
    readonly timeUnit?: number | undefined;
}

/** Turns the values of one column into text. */
export type CellFormat = (value: Value | undefined) => string;

/**
 * The format of a column, given all its values: a unit is chosen once, by the greatest of them, so that the numbers
 * below each other compare at a glance. Null and a missing value read as "".
 */
export function columnFormat(hints: FormatHints, values: readonly (Value | undefined)[]): CellFormat {
    const format = numberFormat(hints, values);
    return (value) => {
        const number = numeric(value);
        return number === undefined ? plainText(value) : format(number);
    };
}

function numberFormat({ format, timeUnit = 1 }: FormatHints, values: readonly (Value | undefined)[]) {
    if (format === 'time') {
        const unit = timeUnitFor(greatest(values) * timeUnit);
        return (number: number | bigint) => inUnit(Number(number) * timeUnit, unit);
    }
    if (format === 'bytes') {
        const unit = byteUnitFor(greatest(values));
        return (number: number | bigint) => inUnit(Number(number), unit);
    }
    if (format === 'percent') return (number: number | bigint) => `${Number(number).toFixed(1)}%`;
    if (format === 'hexadecimal') return hexadecimalText;
    return format === 'number' ? numberText : withThousands;
}

/** The number in a value, undefined for every other kind. */
export function numeric(value: Value | undefined): number | bigint | undefined {
    const content = value?.value;
    return typeof content === 'number' || typeof content === 'bigint' ? content : undefined;
}

function plainText(value: Value | undefined): string {
    if (value === undefined || value.kind === 'null') return '';
    return value.kind === 'binary' ? `${value.value.length} bytes` : String(value.value);
}

function greatest(values: readonly (Value | undefined)[]): number {
    return values.reduce((most, value) => Math.max(most, Math.abs(Number(numeric(value) ?? 0))), 0);
}
