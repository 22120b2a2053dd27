import { Bag, bool, s32, text } from '../../wire/index.js';
import { canHaveFormat, type ColumnNode, type GridColumn, type ValueKind } from './grid_columns.js';

/** What a person made of a column. */
export interface ColumnWish {
    readonly isHidden: boolean;
    readonly isCollapsed: boolean;
    readonly format: string;
}

/** By what lasts of a column, see `keyOf`. */
export type ColumnWishes = ReadonlyMap<string, ColumnWish>;

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

    /** @param isSwapped the second result stands first, and differences say how much more it has than the other. */
    constructor(
        readonly columns: readonly GridColumn[],
        readonly roots: readonly ColumnNode[],
        readonly isSwapped = false,
    ) {
        const shown: GridColumn[] = [];
        const groups: HeadGroup[][] = [];
        layOut(isSwapped ? swapResults(roots, columns) : roots, columns, shown, groups, 0);
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
        return new ColumnTree(columns, this.roots, this.isSwapped);
    }

    withSwapped(isSwapped: boolean): ColumnTree {
        return isSwapped === this.isSwapped ? this : new ColumnTree(this.columns, this.roots, isSwapped);
    }

    /** Whether the numbers of a column say how much more one result has than the other; a collapsed one stands for that. */
    isDifference(column: GridColumn): boolean {
        return column.kind === 'difference' || this.childOfKind(column, 'difference') !== undefined;
    }

    /** The column of one result that goes with a column of a comparison. */
    ofResult(column: GridColumn, kind: ValueKind): GridColumn | undefined {
        return this.childOfKind(column, kind) ?? this.#siblings(column).find((other) => other.kind === kind);
    }

    childOfKind(column: GridColumn, kind: ValueKind): GridColumn | undefined {
        return this.#columnsOf(this.find(column.index)?.children).find((child) => child.kind === kind);
    }

    #siblings(column: GridColumn): GridColumn[] {
        const parent = this.all.find(({ node }) =>
            node.children.some((child) => child.column === column.index),
        );
        return this.#columnsOf(parent?.node.children);
    }

    #columnsOf(nodes: readonly ColumnNode[] = []): GridColumn[] {
        return nodes.map((node) => this.columns[node.column]!);
    }

    /** What can be wished of each column as it is now. */
    get wishes(): ColumnWishes {
        return new Map(
            this.all.map(({ node }) => {
                const { isHidden, isCollapsed } = node;
                const column = this.columns[node.column]!;
                return [keyOf(column), { isHidden, isCollapsed, format: column.format }];
            }),
        );
    }

    /**
     * This tree with what a person wished of its columns; one that nobody wished anything of looks as it should at first.
     * The tree itself if that changes nothing.
     */
    withWishes(wishes: ColumnWishes): ColumnTree {
        let tree: ColumnTree = this;
        for (const { node } of this.all) {
            const column = this.columns[node.column]!;
            const wish = wishes.get(keyOf(column)) ?? this.#firstLook(node, column);
            if (wish.isHidden !== node.isHidden) tree = tree.withHidden(node.column, wish.isHidden);
            if (wish.isCollapsed !== node.isCollapsed) tree = tree.withCollapsed(node.column, wish.isCollapsed);
            if (wish.format !== column.format && canHaveFormat(column, wish.format))
                tree = tree.withFormat(node.column, wish.format);
        }
        return tree;
    }

    /**
     * Facts about a row show behind its name instead of in columns. A comparison shows both results of the first metric,
     * and differences in the unit of what they are between.
     */
    #firstLook(node: ColumnNode, column: GridColumn): ColumnWish {
        const isCompared = this.childOfKind(column, 'difference') !== undefined;
        const firstMetric = this.columns.find(({ isData }) => isData)?.query;
        return {
            isHidden: node.isHidden || column.isInfo,
            isCollapsed: node.isCollapsed && !(isCompared && column.query === firstMetric),
            format: (column.kind === 'difference' && this.ofResult(column, 'first')?.format) || column.format,
        };
    }

    /** This tree, in which the columns know the formats that they had in an earlier one at first. */
    withOwnFormatsOf(earlier: ColumnTree): ColumnTree {
        const own = new Map(earlier.columns.map((column) => [keyOf(column), column.ownFormat]));
        const columns = this.columns.map((column) => ({
            ...column,
            ownFormat: own.get(keyOf(column)) ?? column.ownFormat,
        }));
        return new ColumnTree(columns, this.roots, this.isSwapped);
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
        return new ColumnTree(this.columns, changeIn(this.roots), this.isSwapped);
    }
}

/** What tells a column from all others of a grid, in this answer and in the next. */
export function keyOf(column: GridColumn | undefined): string {
    return column ? `${column.query} ${column.queryFlag} ${column.caption}` : '';
}

/** The results of a comparison in the other order. */
function swapResults(nodes: readonly ColumnNode[], columns: readonly GridColumn[]): ColumnNode[] {
    const kindOf = (node: ColumnNode) => columns[node.column]?.kind;
    const first = nodes.findIndex((node) => kindOf(node) === 'first');
    const second = nodes.findIndex((node) => kindOf(node) === 'second');
    const swapped = nodes.map((node) => ({ ...node, children: swapResults(node.children, columns) }));
    if (first >= 0 && second >= 0) [swapped[first], swapped[second]] = [swapped[second]!, swapped[first]!];
    return swapped;
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
