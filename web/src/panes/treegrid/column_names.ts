import { type ColumnTree } from './column_tree.js';
import { type GridColumn, type ValueKind } from './grid_columns.js';

const KIND_NAMES: Readonly<Record<ValueKind, string>> = {
    first: 'First',
    second: 'Second',
    difference: 'First − Second',
};

/** What the metric of a column is called: its caption without the parts that say which of its numbers these are. */
export function metricName(column: GridColumn): string {
    const partCount = Number(column.isSelf || column.isTotal) + Number(column.kind !== undefined);
    const parts = column.caption.split(':');
    return parts.length > partCount ? parts.slice(0, parts.length - partCount).join(':') : column.caption;
}

/** What stands in the head of a column, under the name of its metric. */
export function headName(tree: ColumnTree, column: GridColumn): string {
    const { kind } = column;
    if (kind) return KIND_NAMES[tree.isSwapped ? swapped(kind) : kind];
    const name = column.isSelf ? 'Self' : column.isTotal ? 'Total' : column.caption;
    const isOpen = tree.find(column.index)?.isCollapsed === false;
    return !isOpen && tree.isDifference(column) ? `${name}: ${KIND_NAMES.difference}` : name;
}

/** The name of a column where nothing around it says what it belongs to. */
export function fullName(tree: ColumnTree, column: GridColumn): string {
    const isOfMetric = column.isSelf || column.isTotal;
    if (!isOfMetric) return column.kind ? headName(tree, column) : column.caption;
    const part = column.isSelf ? 'Self' : 'Total';
    const parts = [metricName(column), part, ...(column.kind ? [headName(tree, column)] : [])];
    return parts.join(': ');
}

function swapped(kind: ValueKind): ValueKind {
    return kind === 'first' ? 'second' : kind === 'second' ? 'first' : kind;
}
