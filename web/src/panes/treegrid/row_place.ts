import { type ColumnTree } from './column_tree.js';
import { type GridRow } from './grid_answer.js';

/** Where the function of a row is at home, as far as it is known. */
export interface RowPlace {
    readonly module: string;
    /** With the line where the function begins. */
    readonly file: string;
}

/** The columns that tell it: asked for with every grid, and hidden. */
export const PLACE_QUERIES = ['/Info/Module', '/Info/SourceFile', '/Info/SourceLine'] as const;

const UNKNOWN = '[unknown]';

export function placeOf(tree: ColumnTree, row: GridRow): RowPlace {
    const [module, path, line] = PLACE_QUERIES.map((query) => {
        const at = tree.columns.findIndex((column) => column.query === query);
        const value = row.cells[at]?.value ?? null;
        return value === null || value === UNKNOWN ? '' : String(value);
    }) as [string, string, string];
    return { module, file: path !== '' && line !== '' ? `${path}:${line}` : path };
}

/** How many characters at the end of a path are the file's own name, and what follows it. */
export function fileNameLength(path: string): number {
    return [...(/[^/\\]*[/\\]?$/.exec(path)?.[0] ?? '')].length;
}
