import { showMenu } from '../../page/menu.js';
import { fullName } from './column_names.js';
import { columnMenu, type ColumnMenuActions, columnsMenu } from './column_menus.js';
import { type ColumnTree, type ColumnWishes } from './column_tree.js';
import { turnedSorting } from './comparison.js';
import { type GridCell, type GridSorting } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';
import { type GridCommands } from './grid_commands.js';
import { type GridParts } from './grid_parts.js';
import { type GridSearch } from './grid_search.js';

/** What a person makes of the columns of a grid: their order of rows, formats, and which of them show. */
export class GridColumnsControl {
    readonly #parts: GridParts;
    readonly #commands: GridCommands;
    readonly #search: GridSearch;
    readonly #keep: (wishes: ColumnWishes) => void;
    #wishes: ColumnWishes;
    /** How the rows are to be sorted since a comparison was turned round. */
    #wantedSorting: GridSorting | undefined;
    readonly #actions: ColumnMenuActions = {
        sort: (column, isDescending) => this.#sort(column, isDescending),
        changeTree: (tree) => this.changeTree(tree),
        resize: (column, by) => this.#parts.view.resizeBy(column, by),
        fit: (column) => this.#parts.view.fit(column),
    };

    /** @param wishes what a person made of the columns before; `keep` is called with what comes of it. */
    constructor(
        parts: GridParts,
        commands: GridCommands,
        search: GridSearch,
        wishes: ColumnWishes,
        keep: (wishes: ColumnWishes) => void,
    ) {
        this.#parts = parts;
        this.#commands = commands;
        this.#search = search;
        this.#wishes = wishes;
        this.#keep = keep;
    }

    /** The host's columns are here: has them look as a person left them. A host that was started anew does not know that. */
    meetWishes(): void {
        const { state } = this.#parts;
        const tree = state.tree.withWishes(this.#wishes);
        if (tree !== state.tree) this.#apply(tree);
    }

    /** The page shows the change at once; the host has to know it for search, export and what comes after a refresh. */
    changeTree(tree: ColumnTree): void {
        this.#wishes = tree.wishes;
        this.#keep(this.#wishes);
        this.#apply(tree);
    }

    #apply(tree: ColumnTree): void {
        const { state, view, requests, queue, guard } = this.#parts;
        state.tree = tree;
        this.#search.forgetHits();
        view.draw();
        const tell = async (signal: AbortSignal) => {
            await requests.columnState(tree, signal);
            // Answers from before that may have brought the old hits back.
            this.#search.forgetHits();
            view.drawRows();
        };
        queue.add({
            run: (signal) => guard('The columns could not be changed', signal, () => tell(signal)),
        });
    }

    setCollapsed(column: number, isCollapsed: boolean): void {
        this.changeTree(this.#parts.state.tree.withCollapsed(column, isCollapsed));
    }

    sortBy(column: GridColumn): void {
        const { shownSorting } = this.#parts.state;
        const isSame = shownSorting.column === column.index;
        this.#sort(column, isSame ? !shownSorting.isDescending : column.isDescendingByDefault);
    }

    /** @param isDescending as it looks to a person. */
    #sort(column: GridColumn, isDescending: boolean): void {
        const { tree } = this.#parts.state;
        const sorting = turnedSorting(tree, { column: column.index, isDescending });
        const order = isDescending ? 'descending' : 'ascending';
        const told = `Sorted by ${fullName(tree, column)}, ${order}`;
        this.#commands.sort(column.index, sorting.isDescending, told);
    }

    /** Turns a comparison round. What was on top is to be so by its own sign then, too: `sortAsBefore` sees to that. */
    setSwapped(isSwapped: boolean): void {
        const { state } = this.#parts;
        const wanted = this.#wantedSorting ?? state.shownSorting;
        state.tree = state.tree.withSwapped(isSwapped);
        this.#wantedSorting = wanted.isDescending === state.shownSorting.isDescending ? undefined : wanted;
    }

    sortAsBefore(): void {
        const wanted = this.#wantedSorting;
        const column = wanted && this.#parts.state.tree.columns[wanted.column];
        this.#wantedSorting = undefined;
        if (column) this.#sort(column, wanted.isDescending);
    }

    openMenu(column: GridColumn, anchor: HTMLElement): void {
        const { view, state } = this.#parts;
        const { start, count } = view.shown;
        const rows = Array.from({ length: count }, (_, at) => state.rows.get(start + at));
        const cells = rows.map((row) => row?.cells[column.index]);
        const known = cells.filter((cell): cell is GridCell => cell !== undefined);
        const { tree, shownSorting } = state;
        const entries = columnMenu(tree, column, shownSorting, known, this.#actions);
        showMenu(anchor, fullName(tree, column), entries);
    }

    openColumnsMenu(anchor: HTMLElement): void {
        showMenu(anchor, 'Columns', columnsMenu(this.#parts.state.tree, this.#actions));
    }
}

/** What a grid is to be sorted by that nobody sorted yet: what its first metric has most of. */
export function firstSorting(tree: ColumnTree): GridColumn | undefined {
    const first = tree.columns.find(({ isData }) => isData);
    return first && (tree.childOfKind(first, 'difference') ?? first);
}
