import { type Plain } from '../../wire/index.js';
import { listOf, numberOr, objectOf, textOr } from '../../format/plain_fields.js';

/** A place where the key stands, in code points of the cell's text. */
export interface Hit {
    readonly start: number;
    readonly end: number;
    /** Its running number over the whole grid, from 1. */
    readonly number: number;
}

export interface HitCell {
    readonly row: number;
    readonly column: number;
    readonly hits: readonly Hit[];
}

/** What a search found, as seen from the window of the answer. */
export interface SearchResult {
    readonly key: string;
    readonly count: number;
    /** The nearest cell with hits before the window, or round the end. */
    readonly previous: HitCell | undefined;
    readonly cells: readonly HitCell[];
    readonly next: HitCell | undefined;
}

/** A hit and the row and column of its cell. */
export interface HitPlace {
    readonly row: number;
    readonly column: number;
    readonly hit: Hit;
}

export function readSearch(plain: Plain): SearchResult {
    const search = objectOf(plain);
    return {
        key: textOr(search['searchKey'], ''),
        count: numberOr(search['foundItemCount'], 0),
        previous: readSingle(search['previous']),
        cells: listOf(search['cells']).map(readCell),
        next: readSingle(search['next']),
    };
}

function readSingle(plain: Plain | undefined): HitCell | undefined {
    return plain === undefined || plain === null ? undefined : readCell(objectOf(plain)['cell'] ?? null);
}

function readCell(plain: Plain): HitCell {
    const cell = objectOf(plain);
    return {
        row: numberOr(cell['rowIndex'], -1),
        column: numberOr(cell['columnIndex'], -1),
        hits: listOf(cell['entries']).map((entry) => {
            const hit = objectOf(entry);
            return {
                start: numberOr(hit['startPosition'], 0),
                end: numberOr(hit['endPosition'], 0),
                number: numberOr(hit['foundItemNumber'], 0),
            };
        }),
    };
}

/**
 * The hit to go to from hit number `current` (0: none yet). Hits in the window are known one by one; beyond it just
 * the nearest cell on each side. `firstRow` is where a search without a current hit begins.
 */
export function stepHit(
    result: SearchResult,
    current: number,
    direction: 1 | -1,
    firstRow: number,
): HitPlace | undefined {
    const inWindow = placesOf(result.cells);
    const outside = placesOf([direction === 1 ? result.next : result.previous].filter((cell) => !!cell));
    const ordered = direction === 1 ? inWindow : inWindow.reverse();
    const isAhead = ({ row, hit }: HitPlace) =>
        current === 0
            ? direction === 1
                ? row >= firstRow
                : row < firstRow
            : (hit.number - current) * direction > 0;
    return ordered.find(isAhead) ?? outside.at(direction === 1 ? 0 : -1) ?? ordered[0];
}

/** Whether that hit is in the window of the last answer, and so are those around it, or the nearest beyond. */
export function isAtHand(result: SearchResult, hit: number): boolean {
    return result.cells.some(({ hits }) => hits.some(({ number }) => number === hit));
}

function placesOf(cells: readonly HitCell[]): HitPlace[] {
    return cells.flatMap(({ row, column, hits }) => hits.map((hit) => ({ row, column, hit })));
}
