import { withThousands } from '../../format/number_format.js';
import { make } from '../../page/dom.js';
import { drawFootCell } from './cell_view.js';
import { ColumnWidths } from './column_widths.js';
import { type GridColumn } from './grid_columns.js';
import { type GridState } from './grid_state.js';
import { type HeadListener, HeadView } from './head_view.js';
import { commandOf, type KeyCommand } from './key_commands.js';
import { type RowRange } from './row_cache.js';
import { RowsView } from './rows_view.js';
import { ScrollScale } from './scroll_scale.js';

export interface GridViewListener extends Omit<HeadListener, 'leaveHead' | 'resize' | 'fit'> {
    /** Other rows show than before, or more of them. */
    shownChanged(): void;
    rowPressed(row: number, keys: { readonly control: boolean; readonly shift: boolean }): void;
    /** The switch of a row, or a double click. */
    togglePressed(row: number): void;
    command(command: KeyCommand): void;
    /** A person gave columns other widths. */
    widthsChanged(widths: ReadonlyMap<string, number>): void;
}

/** Pixels; the same in the style sheet. */
const ROW_HEIGHT = 24;
const SIDEWAYS_STEP = 60;

let viewCount = 0;

/**
 * A grid of rows of one height, of which only those are in the page that show. It has the focus as a whole and tells
 * assistive technology which row is current.
 */
export class GridView {
    readonly element: HTMLElement;
    readonly scale = new ScrollScale(ROW_HEIGHT);
    readonly #listener: GridViewListener;
    readonly #head: HeadView;
    readonly #rows = new RowsView(`grid-${++viewCount}`);
    readonly #foot = make('div', { class: 'tg-foot', role: 'rowgroup', hidden: true });
    readonly #widths: ColumnWidths;
    readonly #observer: ResizeObserver;
    #state: GridState;
    #frame = 0;

    /** @param widths what a person gave columns before. */
    constructor(
        title: string,
        state: GridState,
        widths: ReadonlyMap<string, number>,
        listener: GridViewListener,
    ) {
        this.#listener = listener;
        this.#state = state;
        this.#widths = new ColumnWidths(widths);
        this.#head = new HeadView({
            sortBy: (column) => listener.sortBy(column),
            openColumnMenu: (column, anchor) => listener.openColumnMenu(column, anchor),
            setCollapsed: (column, isCollapsed) => listener.setCollapsed(column, isCollapsed),
            resize: (column, width) => this.resize(column, width),
            fit: (column) => this.fit(column),
            leaveHead: () => this.focus(),
        });
        this.element = make('div', {
            class: 'tg-scroller',
            role: 'treegrid',
            tabindex: 0,
            'aria-label': title,
            'aria-multiselectable': 'true',
        });
        this.element.append(this.#head.element, this.#rows.element, this.#foot);
        this.#observer = new ResizeObserver(() => {
            this.#setWidths();
            this.#later();
        });
        this.#observer.observe(this.element);
        this.#listen();
    }

    dispose(): void {
        this.#observer.disconnect();
        cancelAnimationFrame(this.#frame);
    }

    focus(): void {
        this.element.focus({ preventScroll: true });
    }

    get shown(): RowRange {
        return this.scale.shown;
    }

    /** Draws everything anew as the state says. */
    draw(): void {
        this.#setWidths();
        this.#head.draw(this.#state);
        this.#drawFoot();
        this.drawRows();
        if (this.#widths.grow(this.element, this.#state.tree)) this.#setWidths();
    }

    /** Draws the rows where the scroll bar and the state say. */
    drawRows(): void {
        const state = this.#state;
        this.#measure();
        this.#rows.draw(state, this.scale, this.#headRows);
        if (this.element.scrollTop !== this.scale.barTop) this.element.scrollTop = this.scale.barTop;
        this.#describe();
    }

    /** Moves by as little as shows the row. */
    reveal(row: number): void {
        this.#measure();
        this.scale.reveal(row);
    }

    center(row: number): void {
        this.#measure();
        this.scale.center(row);
    }

    /** Moves to so many pixels of rows. */
    scrollTo(top: number): void {
        this.#measure();
        this.scale.setTop(top);
        this.drawRows();
    }

    resize(column: GridColumn, width: number): void {
        this.#widths.give(column, width);
        this.#widthsChanged();
    }

    /** Makes a column wider than it shows, or narrower. */
    resizeBy(column: GridColumn, amount: number): void {
        const shown = this.#head.widthOf(column) ?? this.#widths.of(column, this.element.clientWidth);
        this.resize(column, shown + amount);
    }

    /** Makes a column as wide as what it shows. */
    fit(column: GridColumn): void {
        this.#widths.fit(this.element, this.#state.tree, column);
        this.#widthsChanged();
    }

    #widthsChanged(): void {
        this.#setWidths();
        this.#listener.widthsChanged(this.#widths.given);
    }

    /** Brings the current hit into sight sideways too. */
    revealHit(): void {
        const mark = this.element.querySelector('mark.current');
        if (!mark) return;
        const place = mark.getBoundingClientRect();
        const own = this.element.getBoundingClientRect();
        if (place.left < own.left || place.right > own.right)
            this.element.scrollLeft += place.left - own.left - own.width / 3;
    }

    scrollSideways(amount: number): void {
        this.element.scrollLeft += amount * SIDEWAYS_STEP;
    }

    get #headRows(): number {
        return this.#head.rowCount;
    }

    #measure(): void {
        const { clientHeight } = this.element;
        this.scale.setViewHeight(clientHeight - this.#head.element.offsetHeight - this.#foot.offsetHeight);
        this.scale.setRowCount(this.#state.rowCount);
    }

    #setWidths(): void {
        const { tracks, least, names } = this.#widths.layOut(this.#state.tree, this.element.clientWidth);
        this.element.style.setProperty('--tg-columns', tracks);
        this.element.style.setProperty('--tg-names', `${names}px`);
        this.element.style.setProperty('--tg-width', `${least}px`);
    }

    #drawFoot(): void {
        const { footer, tree } = this.#state;
        this.#foot.hidden = !footer;
        if (!footer) return;
        const caption =
            footer.rowCount === 1 ? 'Selected: 1 row' : `Selected: ${withThousands(footer.rowCount)} rows`;
        const row = make('div', { class: 'tg-row', role: 'row', 'aria-rowindex': this.#rowIndexOfFoot() });
        tree.shown.forEach((column, at) => {
            row.append(drawFootCell({ tree, column, columnNumber: at + 1 }, footer.cells, caption));
        });
        this.#foot.replaceChildren(row);
    }

    #rowIndexOfFoot(): number {
        return this.#state.rowCount + this.#headRows + 1;
    }

    #describe(): void {
        const { currentRow, rowCount, tree, footer } = this.#state;
        this.element.setAttribute('aria-rowcount', String(rowCount + this.#headRows + (footer ? 1 : 0)));
        this.element.setAttribute('aria-colcount', String(tree.shown.length));
        if (this.#rows.elementOf(currentRow))
            this.element.setAttribute('aria-activedescendant', this.#rows.idOf(currentRow));
        else this.element.removeAttribute('aria-activedescendant');
    }

    #listen(): void {
        this.element.addEventListener('scroll', () => {
            if (this.scale.takeBarTop(this.element.scrollTop)) this.#later();
        });
        this.element.addEventListener('wheel', (event) => this.#takeWheel(event), { passive: false });
        this.element.addEventListener('keydown', (event) => this.#takeKey(event));
        this.element.addEventListener('mousedown', (event) => this.#takeMouseDown(event));
        this.element.addEventListener('click', (event) => this.#takeClick(event));
        this.element.addEventListener('dblclick', (event) => {
            const row = rowOf(event);
            if (row !== undefined && !isOnToggle(event)) this.#listener.togglePressed(row);
        });
    }

    /** Where the bar is only a scale, a turn of the wheel would skip rows; so the wheel moves the rows, not the bar. */
    #takeWheel(event: WheelEvent): void {
        if (!this.scale.isScaled || event.ctrlKey || event.deltaY === 0) return;
        event.preventDefault();
        const unit = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? ROW_HEIGHT : 1;
        this.scale.setTop(this.scale.top + event.deltaY * unit);
        this.#later();
    }

    /** Keys of the heads are not the grid's, and text that is marked is the browser's to copy. */
    #takeKey(event: KeyboardEvent): void {
        if (event.target !== this.element) return;
        const command = commandOf(event);
        if (!command || (command.what === 'copy' && this.#hasMarkedText())) return;
        event.preventDefault();
        this.#listener.command(command);
    }

    /** Text is marked by dragging only: a double click opens rows, and Shift selects them. */
    #takeMouseDown(event: MouseEvent): void {
        if (rowOf(event) === undefined || (event.detail < 2 && !event.shiftKey)) return;
        event.preventDefault();
        getSelection()?.removeAllRanges();
    }

    #hasMarkedText(): boolean {
        const marked = getSelection();
        return !!marked && !marked.isCollapsed && this.element.contains(marked.anchorNode);
    }

    #takeClick(event: MouseEvent): void {
        const row = rowOf(event);
        // The end of marking a text is a click, too.
        if (row === undefined || this.#hasMarkedText()) return;
        this.focus();
        if (isOnToggle(event)) return this.#listener.togglePressed(row);
        this.#listener.rowPressed(row, { control: event.ctrlKey || event.metaKey, shift: event.shiftKey });
    }

    /** Once per frame is often enough. */
    #later(): void {
        cancelAnimationFrame(this.#frame);
        this.#frame = requestAnimationFrame(() => {
            this.drawRows();
            this.#listener.shownChanged();
        });
    }
}

function rowOf(event: Event): number | undefined {
    const element = (event.target as Element).closest<HTMLElement>('[data-row]');
    return element ? Number(element.dataset['row']) : undefined;
}

function isOnToggle(event: Event): boolean {
    const toggle = (event.target as Element).closest<HTMLElement>('.tg-toggle');
    return toggle !== null && toggle.dataset['state'] !== ' ';
}
