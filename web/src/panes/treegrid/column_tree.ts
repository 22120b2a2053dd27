import { Bag, bool, s32, text } from '../../wire/index.js';
import { canHaveFormat, type ColumnNode, type GridColumn } from './grid_columns.js';

/** A column that is open: it heads the columns below it instead of showing itself. */
export interface HeadGroup {
    readonly node: ColumnNode;
    /** The first shown column that it heads, and how many. */
    readonly start: number;
    readonly span: number;
}

/**
 * The columns of a grid as a tree, and which of them show: a hidden one shows nothing of its tree; one that has
 * children and is not collapsed shows them in its place. Immutable: each change gives a new tree.
 */
export class ColumnTree {
    /** The columns that show, from left to right. */
    readonly shown: readonly GridColumn[];
    /** The rows of group heads above them, the outermost first. */
    readonly groups: readonly (readonly HeadGroup[])[];

    constructor(
        readonly columns: readonly GridColumn[],
        readonly roots: readonly ColumnNode[],
    ) {
        const shown: GridColumn[] = [];
        const groups: HeadGroup[][] = [];
        layOut(roots, columns, shown, groups, 0);
        this.shown = shown;
        this.groups = groups;
    }

    find(column: number): ColumnNode | undefined {
        return preorder(this.roots).find(({ node }) => node.column === column)?.node;
    }

    /** All columns in preorder with their depth. */
    get all(): readonly { readonly node: ColumnNode; readonly depth: number }[] {
        return preorder(this.roots);
    }

    withHidden(column: number, isHidden: boolean): ColumnTree {
        return this.#with(column, (node) => ({ ...node, isHidden }));
    }

    withCollapsed(column: number, isCollapsed: boolean): ColumnTree {
        return this.#with(column, (node) => ({ ...node, isCollapsed }));
    }

    /** The column in that format, and with it the columns below if it shares its format with them. */
    withFormat(column: number, format: string): ColumnTree {
        const changed = new Set([column]);
        const node = this.find(column);
        if (node && this.columns[column]?.sharesFormatWithChildren) {
            for (const child of node.children) changed.add(child.column);
        }
        const columns = this.columns.map((known) => (changed.has(known.index) ? { ...known, format } : known));
        return new ColumnTree(columns, this.roots);
    }

    /**
     * This tree with what a person had made of the columns of an earlier one: hidden, collapsed, format. Columns are the
     * same if their query is. The tree itself if that changes nothing.
     */
    withWishesOf(earlier: ColumnTree): ColumnTree {
        const known = new Map(earlier.all.map(({ node }) => [keyOf(earlier.columns[node.column]), node]));
        let tree: ColumnTree = this;
        for (const { node } of this.all) {
            const wish = known.get(keyOf(this.columns[node.column]));
            if (!wish) continue;
            if (wish.isHidden !== node.isHidden) tree = tree.withHidden(node.column, wish.isHidden);
            if (wish.isCollapsed !== node.isCollapsed) tree = tree.withCollapsed(node.column, wish.isCollapsed);
            const column = this.columns[node.column];
            const format = earlier.columns[wish.column]?.format;
            if (column && format !== undefined && format !== column.format && canHaveFormat(column, format))
                tree = tree.withFormat(node.column, format);
        }
        return tree;
    }

    /** This tree, in which the columns know the formats that they had in an earlier one at first. */
    withOwnFormatsOf(earlier: ColumnTree): ColumnTree {
        const own = new Map(earlier.columns.map((column) => [keyOf(column), column.ownFormat]));
        const columns = this.columns.map((column) => ({
            ...column,
            ownFormat: own.get(keyOf(column)) ?? column.ownFormat,
        }));
        return new ColumnTree(columns, this.roots);
    }

    /** The tree as `columnState` wants to have it: children stand as child bags under a bag `column`. */
    toBag(): Bag {
        return this.#fillNode(new Bag().put('dataIndex', s32(-1)), this.roots);
    }

    #fillNode(bag: Bag, children: readonly ColumnNode[]): Bag {
        if (children.length === 0) return bag;
        const list = bag.addChild('column');
        for (const child of children)
            this.#fillNode(list.addChild('column', this.#nodeBag(child)), child.children);
        return bag;
    }

    #nodeBag(node: ColumnNode): Bag {
        const bag = new Bag()
            .put('dataIndex', s32(node.column))
            .put('isCollapsed', bool(node.isCollapsed))
            .put('isHidden', bool(node.isHidden));
        const column = this.columns[node.column];
        return column?.isData ? bag.put('format', text(column.format)) : bag;
    }

    #with(column: number, change: (node: ColumnNode) => ColumnNode): ColumnTree {
        const changeIn = (nodes: readonly ColumnNode[]): ColumnNode[] =>
            nodes.map((node) => {
                const children = changeIn(node.children);
                return node.column === column ? { ...change(node), children } : { ...node, children };
            });
        return new ColumnTree(this.columns, changeIn(this.roots));
    }
}

/** What tells a column from all others of a grid, in this answer and in the next. */
export function keyOf(column: GridColumn | undefined): string {
    return column ? `${column.query} ${column.queryFlag} ${column.caption}` : '';
}

function layOut(
    nodes: readonly ColumnNode[],
    columns: readonly GridColumn[],
    shown: GridColumn[],
    groups: HeadGroup[][],
    depth: number,
): void {
    for (const node of nodes.filter(({ isHidden }) => !isHidden)) {
        if (node.children.length === 0 || node.isCollapsed) {
            shown.push(columns[node.column]!);
            continue;
        }
        const start = shown.length;
        const row = (groups[depth] ??= []);
        layOut(node.children, columns, shown, groups, depth + 1);
        if (shown.length > start) row.push({ node, start, span: shown.length - start });
    }
}

function preorder(
    nodes: readonly ColumnNode[],
    depth = 0,
): { readonly node: ColumnNode; readonly depth: number }[] {
    return nodes.flatMap((node) => [{ node, depth }, ...preorder(node.children, depth + 1)]);
}
