import { type GridCell, type GridRow, NO_CELL } from '../../../src/panes/treegrid/grid_answer.js';
import { type GridColumn, readColumns } from '../../../src/panes/treegrid/grid_columns.js';
import { jsonToBag } from '../../../src/wire/json_reader.js';
import { type Bag, type Plain } from '../../../src/wire/index.js';

/** The bag of an answer that is given as ordinary data. */
export function bagOf(answer: unknown): Bag {
    return jsonToBag(JSON.stringify(answer));
}

export function column(given: { readonly [key: string]: Plain }): GridColumn {
    return readColumns([given])[0]!;
}

export function cell(given: Partial<GridCell>): GridCell {
    return { ...NO_CELL, ...given };
}

export function row(given: Partial<GridRow> = {}): GridRow {
    const leaf = { level: 0, state: ' ', id: '1', isSelected: false } as const;
    return { ...leaf, objectId: null, isHighlighted: false, cells: [], ...given };
}
