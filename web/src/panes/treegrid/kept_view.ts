import { type Kept, listIn, objectIn, type PageMemory } from '../../page/page_memory.js';
import { type ColumnWish, type ColumnWishes } from './column_tree.js';
import { type NamedSorting, type StackMode } from './grid_requests.js';
import { type RowMarks, type RowPath } from './row_paths.js';

/** What a person made of a grid, as far as it outlives a reload of the page. */
export interface GridLook {
    /** Pixels, by what lasts of a column; of those only that a person gave a width. */
    readonly widths: ReadonlyMap<string, number>;
    readonly columns: ColumnWishes;
    readonly stackMode: StackMode | undefined;
    readonly sorting: NamedSorting | undefined;
    readonly rows: RowMarks;
    /** Pixels of rows above the first that shows. */
    readonly top: number;
}

/** The look of one grid in the memory of the page. */
export class KeptView {
    readonly #memory: PageMemory;
    readonly #name: string;

    constructor(memory: PageMemory, name: string) {
        this.#memory = memory;
        this.#name = `grid ${name}`;
    }

    load(): GridLook {
        const kept = objectIn(this.#memory.load(this.#name));
        const mode = kept['stackMode'];
        const rows = objectIn(kept['rows']);
        return {
            widths: new Map(
                Object.entries(objectIn(kept['widths'])).map(([key, width]) => [key, numberIn(width)]),
            ),
            columns: new Map(
                Object.entries(objectIn(kept['columns'])).map(([key, wish]) => [key, wishIn(wish)]),
            ),
            stackMode: mode === 'chain' || mode === 'tree' ? mode : undefined,
            sorting: kept['sorting'] ? sortingIn(kept['sorting']) : undefined,
            rows: {
                open: listIn(rows['open']).map(pathIn),
                selected: listIn(rows['selected']).map(pathIn),
                current: rows['current'] ? pathIn(rows['current']) : undefined,
            },
            top: numberIn(kept['top']),
        };
    }

    /** Keeps some of it, and the rest as it was. */
    keep(look: Partial<GridLook>): void {
        const { widths, columns, rows, stackMode, sorting, top } = look;
        const kept: { [key: string]: Kept } = { ...objectIn(this.#memory.load(this.#name)) };
        if (widths) kept['widths'] = Object.fromEntries(widths);
        if (columns)
            kept['columns'] = Object.fromEntries([...columns].map(([key, wish]) => [key, { ...wish }]));
        if (rows) kept['rows'] = { ...rows, current: rows.current ?? null };
        if (sorting) kept['sorting'] = { ...sorting };
        if (stackMode) kept['stackMode'] = stackMode;
        if (top !== undefined) kept['top'] = top;
        this.#memory.keep(this.#name, kept);
    }
}

function wishIn(kept: Kept): ColumnWish {
    const { isHidden, isCollapsed, format } = objectIn(kept);
    return {
        isHidden: isHidden === true,
        isCollapsed: isCollapsed === true,
        format: typeof format === 'string' ? format : '',
    };
}

function sortingIn(kept: Kept): NamedSorting {
    const { query, queryFlag, isDescending } = objectIn(kept);
    return {
        query: typeof query === 'string' ? query : '',
        queryFlag: numberIn(queryFlag),
        isDescending: isDescending !== false,
    };
}

function pathIn(kept: Kept): RowPath {
    return listIn(kept).filter((part): part is RowPath[number] => typeof part !== 'object' || part === null);
}

function numberIn(kept: Kept | undefined): number {
    return typeof kept === 'number' ? kept : 0;
}
