import { numeric } from './cell_text.js';
import { type ColumnTree } from './column_tree.js';
import { type GridCell, type GridSorting, NO_CELL } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';

// The host compares the first result with the second. Where a person wants it the other way round, what it says of
// differences is turned here: their sign, their base of percent, and the direction in which they are sorted.

/** The cell of a column as it is to be shown. */
export function shownCell(tree: ColumnTree, column: GridColumn, cells: readonly GridCell[]): GridCell {
    const cell = cells[column.index] ?? NO_CELL;
    if (!tree.isSwapped || !tree.isDifference(column)) return cell;
    const second = tree.ofResult(column, 'second');
    const base = (second && cells[second.index]) ?? cell;
    return {
        ...cell,
        value: negated(cell.value),
        percentBase: base.percentBase,
        customPercentBase: base.customPercentBase,
    };
}

/** A sorting as it looks to a person, or what is to be asked for so that it looks like that. */
export function turnedSorting(tree: ColumnTree, sorting: GridSorting): GridSorting {
    const column = tree.columns[sorting.column];
    const isTurned = tree.isSwapped && column !== undefined && tree.isDifference(column);
    return isTurned ? { ...sorting, isDescending: !sorting.isDescending } : sorting;
}

function negated(value: GridCell['value']): GridCell['value'] {
    const number = numeric(value);
    // Nothing less nothing is nothing, not less than nothing.
    return number === undefined || Number(number) === 0 ? value : -number;
}
