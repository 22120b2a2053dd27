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
import { type ColumnFormat, formatLabel, type GridColumn } from './grid_columns.js';

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

/** Cuts a text at its hits, which are in order and count code points. */
export function cutAtHits(
    text: string,
    hits: readonly { readonly start: number; readonly end: number; readonly number: number }[],
): TextPiece[] {
    const characters = [...text];
    const pieces: TextPiece[] = [];
    let done = 0;
    const push = (end: number, hit: number) => {
        if (end > done) pieces.push({ text: characters.slice(done, end).join(''), hit });
        done = Math.max(done, Math.min(end, characters.length));
    };
    for (const hit of hits) {
        push(Math.min(hit.start, characters.length), 0);
        push(Math.min(hit.end, characters.length), hit.number);
    }
    push(characters.length, 0);
    return pieces;
}
