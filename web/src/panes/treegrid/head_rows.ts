import { headName, metricName } from './column_names.js';
import { type ColumnTree } from './column_tree.js';
import { type GridColumn } from './grid_columns.js';

/** A head above others. */
export interface SpanningHead {
    readonly caption: string;
    /** The first shown column that it heads, and how many. */
    readonly start: number;
    readonly span: number;
    /** The column that is open here; undefined for the name of a metric. */
    readonly column: GridColumn | undefined;
}

/** The rows of heads above those of the columns, the outermost first: the metrics, then columns that are open. */
export function spanningHeads(tree: ColumnTree): SpanningHead[][] {
    const opened = tree.groups.map((row) =>
        row.map(({ node, start, span }) => {
            const column = tree.columns[node.column]!;
            return { caption: headName(tree, column), start, span, column };
        }),
    );
    const metrics = metricHeads(tree);
    return metrics.length > 0 ? [metrics, ...opened] : opened;
}

/** The name of each metric above the columns that show numbers of it. */
function metricHeads(tree: ColumnTree): SpanningHead[] {
    const heads: SpanningHead[] = [];
    tree.shown.forEach((column, at) => {
        if (!column.isSelf && !column.isTotal) return;
        const last = heads.at(-1);
        const goesOn = last && last.start + last.span === at && tree.shown[at - 1]?.query === column.query;
        if (goesOn) heads[heads.length - 1] = { ...last, span: last.span + 1 };
        else heads.push({ caption: metricName(column), start: at, span: 1, column: undefined });
    });
    return heads;
}

/** What 100% is in the cells that show: a line for each of the rows of heads above the columns. */
export function percentRemarks(tree: ColumnTree): string[] {
    const data = tree.columns.filter(({ isData }) => isData);
    if (!data.some(({ kind }) => kind === 'difference')) return data.length > 0 ? ['% of the total'] : [];
    return ['% of each one’s own total', 'differences: % of First’s total'];
}
