/** What a key asks of the grid. `extend` selects on the way, `keep` leaves the selection alone. */
export type KeyCommand =
    | { readonly what: 'move'; readonly by: MoveUnit; readonly amount: number; readonly mode: MoveMode }
    | { readonly what: 'open' | 'close' | 'openAll' | 'closeAll' | 'openSelected' | 'openHottest' }
    | { readonly what: 'toggleSelected' | 'selectAll' | 'clearSelection' }
    | { readonly what: 'copy' | 'search' | 'nextHit' | 'previousHit' | 'activate' }
    | { readonly what: 'scrollSideways'; readonly amount: number };

/** Rows, pages, or all the way to an end. */
export type MoveUnit = 'row' | 'page' | 'end';
/** Selects the row alone; selects all up to it; adds all up to it; moves only. */
export type MoveMode = 'select' | 'extend' | 'add' | 'keep';

/** The parts of a keyboard event that count. */
export interface KeyPress {
    readonly key: string;
    readonly ctrlKey: boolean;
    readonly shiftKey: boolean;
    readonly altKey: boolean;
    readonly metaKey: boolean;
}

const MOVES: Readonly<Record<string, readonly [by: MoveUnit, amount: number]>> = {
    ArrowDown: ['row', 1],
    ArrowUp: ['row', -1],
    PageDown: ['page', 1],
    PageUp: ['page', -1],
    End: ['end', 1],
    Home: ['end', -1],
};

/** Keys by what they write, whatever modifier it takes to write it: a plus may need Shift. */
const TYPED: Readonly<Record<string, KeyCommand>> = {
    '+': { what: 'open' },
    '-': { what: 'close' },
    '*': { what: 'openAll' },
    '/': { what: 'closeAll' },
    h: { what: 'openHottest' },
    H: { what: 'openHottest' },
};

const PLAIN: Readonly<Record<string, KeyCommand>> = {
    ArrowRight: { what: 'open' },
    ArrowLeft: { what: 'close' },
    Enter: { what: 'activate' },
    ' ': { what: 'toggleSelected' },
    Escape: { what: 'clearSelection' },
    F3: { what: 'nextHit' },
};

const WITH_CONTROL: Readonly<Record<string, KeyCommand>> = {
    a: { what: 'selectAll' },
    c: { what: 'copy' },
    f: { what: 'search' },
    ' ': { what: 'toggleSelected' },
    ArrowRight: { what: 'scrollSideways', amount: 1 },
    ArrowLeft: { what: 'scrollSideways', amount: -1 },
    '+': { what: 'openSelected' },
};

/** The command of a key, undefined for keys that are none of the grid's. The command key of a Mac counts as Ctrl. */
export function commandOf(press: KeyPress): KeyCommand | undefined {
    if (press.altKey) return undefined;
    const hasControl = press.ctrlKey || press.metaKey;
    const move = own(MOVES, press.key);
    if (move) return { what: 'move', by: move[0], amount: move[1], mode: modeOf(hasControl, press.shiftKey) };
    if (hasControl) {
        if (press.shiftKey && press.key.toLowerCase() === 'a') return { what: 'clearSelection' };
        return own(WITH_CONTROL, press.key.toLowerCase()) ?? own(WITH_CONTROL, press.key);
    }
    if (press.shiftKey && press.key === 'F3') return { what: 'previousHit' };
    return own(TYPED, press.key) ?? (press.shiftKey ? undefined : own(PLAIN, press.key));
}

function own<Entry>(table: Readonly<Record<string, Entry>>, key: string): Entry | undefined {
    return Object.hasOwn(table, key) ? table[key] : undefined;
}

function modeOf(hasControl: boolean, hasShift: boolean): MoveMode {
    if (hasShift) return hasControl ? 'add' : 'extend';
    return hasControl ? 'keep' : 'select';
}

/** The row that a move leads to. Without a current row any move enters at an end. */
export function moveTarget(
    current: number,
    rowCount: number,
    pageRows: number,
    move: { readonly by: MoveUnit; readonly amount: number },
): number {
    const last = rowCount - 1;
    if (move.by === 'end') return move.amount < 0 ? Math.min(0, last) : last;
    if (current < 0) return move.amount < 0 ? last : Math.min(0, last);
    const step = move.by === 'page' ? Math.max(1, pageRows - 1) : 1;
    return Math.min(Math.max(0, current + move.amount * step), last);
}
