import { type MenuEntry, SEPARATOR } from '../../page/menu.js';
import { formatChoices } from './cell_text.js';
import { fullName } from './column_names.js';
import { type ColumnTree } from './column_tree.js';
import { type GridCell, type GridSorting } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';

type Entries = (MenuEntry | typeof SEPARATOR)[];

export interface ColumnMenuActions {
    sort(column: GridColumn, isDescending: boolean): void;
    changeTree(tree: ColumnTree): void;
    resize(column: GridColumn, by: number): void;
    fit(column: GridColumn): void;
}

const WIDTH_STEP = 40;

/** What can be done with one column. `cells` are some of its cells: they tell which percent formats make sense. */
export function columnMenu(
    tree: ColumnTree,
    column: GridColumn,
    sorting: GridSorting,
    cells: readonly GridCell[],
    actions: ColumnMenuActions,
): Entries {
    const { index } = column;
    const isSorted = (isDescending: boolean) =>
        sorting.column === index && sorting.isDescending === isDescending;
    const entries: Entries = [false, true].map((isDescending) => ({
        label: isDescending ? 'Sort descending' : 'Sort ascending',
        kind: 'radio',
        isChecked: isSorted(isDescending),
        action: () => actions.sort(column, isDescending),
    }));
    const formats = formatChoices(column, cells);
    if (formats.length > 1) entries.push(SEPARATOR);
    if (formats.length > 1)
        for (const { id, label } of formats)
            entries.push({
                label,
                kind: 'radio',
                isChecked: column.format === id,
                action: () => actions.changeTree(tree.withFormat(index, id)),
            });
    entries.push(SEPARATOR, ...structureEntries(tree, column, actions));
    entries.push(
        { label: 'Fit to content', action: () => actions.fit(column) },
        { label: 'Wider', action: () => actions.resize(column, WIDTH_STEP) },
        { label: 'Narrower', action: () => actions.resize(column, -WIDTH_STEP) },
    );
    // A grid without the column that names its rows would be of no use.
    if (!column.isGrouping)
        entries.push({ label: 'Hide column', action: () => actions.changeTree(tree.withHidden(index, true)) });
    return entries;
}

function structureEntries(tree: ColumnTree, column: GridColumn, actions: ColumnMenuActions): MenuEntry[] {
    const entries: MenuEntry[] = [];
    if (tree.find(column.index)?.children.length)
        entries.push({
            label: `Expand ${fullName(tree, column)}`,
            action: () => actions.changeTree(tree.withCollapsed(column.index, false)),
        });
    const parent = tree.all.find(({ node }) => node.children.some((child) => child.column === column.index));
    if (parent)
        entries.push({
            label: `Collapse ${fullName(tree, tree.columns[parent.node.column]!)}`,
            action: () => actions.changeTree(tree.withCollapsed(parent.node.column, true)),
        });
    return entries;
}

/** All columns, to show and to hide. */
export function columnsMenu(tree: ColumnTree, actions: ColumnMenuActions): MenuEntry[] {
    return tree.all
        .filter(({ node }) => !tree.columns[node.column]!.isGrouping)
        .map(({ node, depth }) => ({
            label: fullName(tree, tree.columns[node.column]!),
            kind: 'check',
            depth,
            isChecked: !node.isHidden,
            action: () => actions.changeTree(tree.withHidden(node.column, !node.isHidden)),
        }));
}
