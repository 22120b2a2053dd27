import {
    byteUnitFor,
    fixedText,
    hexadecimalText,
    inUnit,
    numberText,
    timeUnitFor,
    withThousands,
} from '../../format/number_format.js';
import { type Plain } from '../../wire/index.js';
import { type GridCell } from './grid_answer.js';
import { type ColumnFormat, formatLabel, type GridColumn, PERCENT_FORMATS } from './grid_columns.js';

/**
 * The text of a cell, character by character as the library itself writes it for its search and its exports: hits
 * stand where the search says, and what is copied is what was seen. `level` is the row's.
 */
export function cellText(column: GridColumn, cell: GridCell, level: number): string {
    if (cell.value === null) return aliasOf(column, level);
    const number = numeric(cell.value);
    if (number === undefined) return plainText(cell.value);
    return numberCellText(column, formatAt(column, level), number, cell);
}

function numberCellText(column: GridColumn, format: string, number: number | bigint, cell: GridCell): string {
    const amount = Number(number);
    switch (format) {
        case 'time': {
            const seconds = amount * column.timeUnit;
            return inUnit(seconds, timeUnitFor(Math.abs(seconds)));
        }
        case 'bytes':
            return inUnit(amount, byteUnitFor(Math.abs(amount)));
        case 'count':
            return withThousands(number);
        case 'number':
            return numberText(number);
        case 'hexadecimal':
            return hexadecimalText(number);
        case 'percent':
            return percentText(amount, numeric(cell.percentBase));
        case 'percent_by':
            return percentText(amount, numeric(cell.customPercentBase));
        default:
            return String(number);
    }
}

/** A number as it is drawn: its sign and its share stand beside the text. */
export interface ShownNumber {
    readonly sign: '' | '+' | '−';
    readonly text: string;
    /** How much of the whole it is, empty where the number itself says that or nothing is known. */
    readonly percent: string;
    /** Characters of the library's text in front of `text`. */
    readonly hidden: number;
}

/** @param isDifference more than nothing has a sign, too. */
export function shownNumber(column: GridColumn, cell: GridCell, isDifference: boolean): ShownNumber {
    const whole = cellText(column, cell, 0);
    const hidden = whole.startsWith('-') ? 1 : 0;
    const text = whole.slice(hidden);
    const amount = Number(numeric(cell.value) ?? 0);
    const sign = amount === 0 || isNoPercent(text) ? '' : hidden ? '−' : isDifference ? '+' : '';
    return { sign, text, percent: shareText(column, cell, amount, sign), hidden };
}

function shareText(column: GridColumn, cell: GridCell, amount: number, sign: string): string {
    const base = numeric(cell.percentBase);
    if (!column.isData || PERCENT_FORMATS.includes(column.format) || amount === 0 || !base) return '';
    const text = percentText(Math.abs(amount), base);
    return isNoPercent(text) ? text : sign + text;
}

function isNoPercent(text: string): boolean {
    return /^0(\.0*)?%$/.test(text);
}

/** Without a base there is nothing to say; of nothing everything is 0%. */
export function percentText(part: number, whole: number | bigint | undefined): string {
    if (whole === undefined) return '';
    const base = Number(whole);
    return `${fixedText(base === 0 ? 0 : (part / base) * 100, 1)}%`;
}

/** A level beyond the last means the last: it is the one that recurs. */
function levelOf(column: GridColumn, level: number) {
    return column.levels[Math.min(level, column.levels.length - 1)];
}

function formatAt(column: GridColumn, level: number): string {
    return column.isGrouping ? (levelOf(column, level)?.format ?? 'text') : column.format;
}

function aliasOf(column: GridColumn, level: number): string {
    return column.isGrouping ? (levelOf(column, level)?.aliasForUnknown ?? '') : column.aliasForUnknown;
}

/** The number in a value, undefined for every other kind. */
export function numeric(value: Plain): number | bigint | undefined {
    return typeof value === 'number' || typeof value === 'bigint' ? value : undefined;
}

function plainText(value: Plain): string {
    if (value instanceof Uint8Array) return `${value.length} bytes`;
    return typeof value === 'object' ? '' : String(value);
}

/**
 * The formats to choose from. The library offers percent for differences only, but every cell carries what is 100%
 * for it; so percent is added for each data column whose cells have a base. The format that a column came with at first
 * is always among them.
 */
export function formatChoices(column: GridColumn, cells: readonly GridCell[]): ColumnFormat[] {
    const choices = [...column.availableFormats];
    const offer = (id: string, hasBase: boolean) => {
        if (hasBase && !choices.some((known) => known.id === id)) choices.push({ id, label: formatLabel(id) });
    };
    if (column.isData) {
        const { ownFormat } = column;
        if (ownFormat !== '' && !choices.some(({ id }) => id === ownFormat))
            choices.unshift({ id: ownFormat, label: formatLabel(ownFormat) });
        offer(
            'percent',
            cells.some((cell) => cell.percentBase !== null),
        );
        offer(
            'percent_by',
            cells.some((cell) => cell.customPercentBase !== null),
        );
    }
    return choices;
}

/** A piece of a text, and the number of the hit that it is; 0 for what lies between hits. */
export interface TextPiece {
    readonly text: string;
    readonly hit: number;
}

/** Cuts what lies between two places of a text at its hits, which are in order; all count code points. */
export function cutAtHits(
    text: string,
    hits: readonly { readonly start: number; readonly end: number; readonly number: number }[],
    from = 0,
    to = Infinity,
): TextPiece[] {
    const characters = [...text];
    const last = Math.min(to, characters.length);
    const pieces: TextPiece[] = [];
    let done = from;
    const push = (end: number, hit: number) => {
        const upTo = Math.min(end, last);
        if (upTo > done) pieces.push({ text: characters.slice(done, upTo).join(''), hit });
        done = Math.max(done, upTo);
    };
    for (const hit of hits) {
        push(hit.start, 0);
        push(hit.end, hit.number);
    }
    push(last, 0);
    return pieces;
}
