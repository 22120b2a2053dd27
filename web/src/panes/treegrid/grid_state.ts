import { ColumnTree } from './column_tree.js';
import { turnedSorting } from './comparison.js';
import { type GridAnswer, type GridFooter, type GridRow, type GridSorting } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';
import { type NamedSorting, type RowAddress } from './grid_requests.js';
import { RowCache } from './row_cache.js';
import { type HitCell, type SearchResult } from './search_result.js';
import { anchorOf, type SelectionPlace } from './selection_steps.js';

/** Stands for the id of a row that is not at hand: its place alone counts. */
const UNKNOWN_ID = '0';

/** A row as a person saw it: until a command has its turn, others may move it. */
export interface SeenRow extends RowAddress {
    readonly layout: number;
}

/** What a pane knows of its grid: the answers so far, laid over each other. */
export class GridState {
    readonly rows = new RowCache();
    tree = new ColumnTree([], []);
    rowCount = 0;
    currentRow = -1;
    sorting: GridSorting = { column: -1, isDescending: true };
    footer: GridFooter | undefined;
    search: SearchResult | undefined;
    /** The number of the hit that a person is at; 0 if at none. */
    hit = 0;
    /** Counts how often rows moved: indexes of an earlier count may mean other rows. */
    #layout = 0;
    #anchor = -1;
    #rangeEnd = -1;

    get selection(): SelectionPlace {
        return { anchor: this.#anchor, current: this.currentRow, rangeEnd: this.#rangeEnd };
    }

    /** A row was selected alone, or taken in or out: ranges begin there. */
    setAnchor(row: number): void {
        this.#anchor = row;
        this.#rangeEnd = row;
    }

    /** A range was selected up to that row; called while the current row is still the one before. */
    setRangeEnd(row: number): void {
        this.#anchor = anchorOf({ anchor: this.#anchor, current: this.currentRow }, row);
        this.#rangeEnd = row;
    }

    get groupingColumn(): GridColumn | undefined {
        return this.tree.columns.find(({ isGrouping }) => isGrouping);
    }

    /** The sorting as it looks to a person. */
    get shownSorting(): GridSorting {
        return turnedSorting(this.tree, this.sorting);
    }

    /** The sorting by the name of its column; undefined if it has none. */
    get namedSorting(): NamedSorting | undefined {
        const column = this.tree.columns[this.sorting.column];
        if (!column || column.query === '' || column.queryFlag < 0) return undefined;
        return { query: column.query, queryFlag: column.queryFlag, isDescending: this.sorting.isDescending };
    }

    /** An answer that speaks of all rows: what is known of others is out of date. */
    take(answer: GridAnswer): void {
        this.rows.clear();
        if (answer.forceUpdate) this.#forgetRange();
        this.takeWindow(answer);
        if (!answer.search) this.hit = 0;
    }

    /** An answer that shows more of the same rows. */
    takeWindow(answer: GridAnswer): void {
        if (answer.columns && answer.hierarchy)
            this.tree = new ColumnTree(answer.columns, answer.hierarchy, this.tree.isSwapped).withOwnFormatsOf(
                this.tree,
            );
        const isMoved = answer.rowCount !== this.rowCount;
        const current = this.current;
        if (isMoved) this.rows.clear();
        if (isMoved || answer.forceUpdate) ++this.#layout;
        this.rowCount = answer.rowCount;
        if (answer.currentRow !== undefined) this.currentRow = answer.currentRow;
        if (answer.sorting) this.sorting = answer.sorting;
        this.footer = answer.footer;
        this.search = answer.search;
        this.rows.put(answer.startRow, answer.rows);
        // Rows came or went unasked, as when an expansion is stopped half way: the current row moved with them.
        if (isMoved && answer.currentRow === undefined && current) {
            const found = this.rows.find(current.id, this.currentRow);
            if (found >= 0) this.currentRow = found;
        }
        if (this.currentRow >= this.rowCount) this.currentRow = -1;
    }

    /** A row as it stands now, to find it again later. */
    seen(row: number): SeenRow {
        return { row, id: this.rows.get(row)?.id ?? UNKNOWN_ID, layout: this.#layout };
    }

    /** Where a row stands that was seen before; -1 if that is not known any more. */
    whereIs({ row, id, layout }: SeenRow): number {
        const found = id === UNKNOWN_ID ? -1 : this.rows.find(id, row);
        return found < 0 && layout === this.#layout ? row : found;
    }

    /** Whether rows moved since that one was seen. */
    hasMovedSince({ layout }: SeenRow): boolean {
        return layout !== this.#layout;
    }

    /** Forgets the rows; what a person made of the columns stays. */
    dropRows(): void {
        this.rows.clear();
        this.rowCount = 0;
        this.currentRow = -1;
        this.footer = undefined;
        this.search = undefined;
        this.hit = 0;
        ++this.#layout;
        this.#forgetRange();
    }

    /** The next row above that is of a lower level than the given one, or not at hand; -1 if there is neither. */
    higherOrUnknown(index: number, level: number): number {
        for (let above = index - 1; level > 0 && above >= 0; --above) {
            const row = this.rows.get(above);
            if (!row || row.level < level) return above;
        }
        return -1;
    }

    get current(): GridRow | undefined {
        return this.rows.get(this.currentRow);
    }

    hitsAt(row: number, column: number): HitCell['hits'] {
        const found = this.search?.cells.find((cell) => cell.row === row && cell.column === column);
        return found?.hits ?? [];
    }

    /** Rows moved: their indexes mean other rows now. */
    #forgetRange(): void {
        this.#anchor = -1;
        this.#rangeEnd = -1;
    }
}
