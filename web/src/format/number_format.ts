// The texts are those of the library's own formatter, so that a number in a pane reads as it does in an exported file.

/** A unit of display: what it is called, how many base units one of it holds, and the digits behind the point. */
export interface Unit {
    readonly name: string;
    readonly size: number;
    readonly digits: number;
}

/** Greatest first; the last one takes all that is smaller. */
const TIME_UNITS: readonly Unit[] = [
    { name: 's', size: 1, digits: 3 },
    { name: 'ms', size: 1e-3, digits: 3 },
    { name: 'µs', size: 1e-6, digits: 3 },
    { name: 'ns', size: 1e-9, digits: 0 },
];
const BYTE_UNITS: readonly Unit[] = [
    { name: 'TiB', size: 2 ** 40, digits: 1 },
    { name: 'GiB', size: 2 ** 30, digits: 1 },
    { name: 'MiB', size: 2 ** 20, digits: 1 },
    { name: 'KiB', size: 2 ** 10, digits: 1 },
    { name: 'B', size: 1, digits: 0 },
];

/** The unit that suits the greatest value of a column: one unit for all of them keeps them comparable. */
export function timeUnitFor(greatestSeconds: number): Unit {
    // No time at all reads best as plain "0 s".
    return greatestSeconds === 0 ? { name: 's', size: 1, digits: 0 } : unitFor(TIME_UNITS, greatestSeconds);
}

export function byteUnitFor(greatestBytes: number): Unit {
    return unitFor(BYTE_UNITS, greatestBytes);
}

function unitFor(units: readonly Unit[], greatest: number): Unit {
    return units.find((unit) => greatest >= unit.size) ?? units.at(-1)!;
}

/** `amount` base units in `unit`: "1,234.500 ms". */
export function inUnit(amount: number, unit: Unit): string {
    if (!Number.isFinite(amount)) return String(amount);
    return `${groupThousands(fixedText(amount / unit.size, unit.digits))} ${unit.name}`;
}

/** A number with its thousands apart and at most three digits behind the point: "1,234,567.5". */
export function withThousands(value: number | bigint): string {
    return isPlain(value) ? groupThousands(numberText(value)) : numberText(value);
}

/** A number with at most three digits behind the point; very large and very small ones in powers of ten. */
export function numberText(value: number | bigint): string {
    if (typeof value === 'bigint' || (Number.isInteger(value) && isPlain(value))) return String(value);
    if (!isPlain(value)) return powerOfTen(value);
    return withoutTrailingZeros(fixedText(value, 3));
}

export function hexadecimalText(value: number | bigint): string {
    if (typeof value === 'number' && !Number.isInteger(value)) return numberText(value);
    return `0x${BigInt.asUintN(64, BigInt(value)).toString(16)}`;
}

/** So many digits behind the point; of two that are equally near the even one, as the library rounds. */
export function fixedText(value: number, digits: number): string {
    const rounded = value.toFixed(digits);
    const exact = value.toFixed(digits + 30);
    const isTie = /^50{29}$/.test(exact.slice(-30));
    return isTie && /[13579]$/.test(rounded) ? exact.slice(0, -30).replace(/\.$/, '') : rounded;
}

/** Where three digits behind the point say something of the value and the digits before it are not noise. */
function isPlain(value: number | bigint): boolean {
    if (typeof value === 'bigint' || value === 0) return true;
    return Math.abs(value) >= 1e-3 && Math.abs(value) < 1e15;
}

function powerOfTen(value: number): string {
    if (!Number.isFinite(value)) return String(value);
    const [mantissa, exponent] = value.toExponential(5).split('e') as [string, string];
    return `${withoutTrailingZeros(mantissa)}e${exponent.replace(/^([+-])(\d)$/, '$10$2')}`;
}

function withoutTrailingZeros(text: string): string {
    return text.replace(/\.?0+$/, '');
}

function groupThousands(digits: string): string {
    const [whole, fraction] = digits.split('.') as [string, string?];
    const grouped = whole.replace(/(?<=[0-9])(?=(?:[0-9]{3})+$)/g, ',');
    return fraction === undefined ? grouped : `${grouped}.${fraction}`;
}
