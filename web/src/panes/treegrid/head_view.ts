import './grid_head.css';
import { make, makeButton } from '../../page/dom.js';
import { fullName, headName } from './column_names.js';
import { type ColumnTree } from './column_tree.js';
import { type GridColumn } from './grid_columns.js';
import { type GridState } from './grid_state.js';
import { percentRemarks, type SpanningHead, spanningHeads } from './head_rows.js';

export interface HeadListener {
    sortBy(column: GridColumn): void;
    openColumnMenu(column: GridColumn, anchor: HTMLElement): void;
    setCollapsed(column: number, isCollapsed: boolean): void;
    /** A column is to be so many pixels wide. */
    resize(column: GridColumn, width: number): void;
    /** A column is to be as wide as what it shows. */
    fit(column: GridColumn): void;
    leaveHead(): void;
}

const KEY_STEP = 16;

/**
 * The heads of the columns: the metrics, a row for each depth of open columns, and the columns that show. By
 * keyboard it is one stop: the arrows lead from head to head, Enter sorts, Alt+Down opens the column's menu,
 * Shift with an arrow changes the width.
 */
export class HeadView {
    readonly element = make('div', { class: 'tg-head', role: 'rowgroup' });
    readonly #listener: HeadListener;
    #buttons: HTMLButtonElement[] = [];
    #rowCount = 1;
    #stop = 0;

    constructor(listener: HeadListener) {
        this.#listener = listener;
    }

    draw(state: GridState): void {
        const hadFocus = this.element.contains(document.activeElement);
        this.#buttons = [];
        const above = spanningHeads(state.tree);
        const rows = above.map((row, at) => this.#drawSpanningRow(state.tree, row, at + 1));
        const heads = make('div', { class: 'tg-row', role: 'row', 'aria-rowindex': rows.length + 1 });
        state.tree.shown.forEach((column, at) => heads.append(this.#drawHead(state, column, at)));
        this.element.replaceChildren(...rows, heads);
        this.#rowCount = rows.length + 1;
        this.#setStop(Math.min(this.#stop, this.#buttons.length - 1), hadFocus);
    }

    get rowCount(): number {
        return this.#rowCount;
    }

    /** How many pixels wide a column shows; undefined for one that does not. */
    widthOf(column: GridColumn): number | undefined {
        const selector = `.tg-headcell:not(.group)[data-column="c${column.index}"]`;
        return this.element.querySelector<HTMLElement>(selector)?.offsetWidth;
    }

    #drawSpanningRow(tree: ColumnTree, heads: readonly SpanningHead[], rowNumber: number): HTMLElement {
        const row = make('div', { class: 'tg-row', role: 'row', 'aria-rowindex': rowNumber });
        const remark = percentRemarks(tree)[rowNumber - 1] ?? '';
        if (tree.shown[0]?.isGrouping)
            row.append(
                make('div', { class: 'tg-headcell name blank', role: 'presentation', title: remark }, remark),
            );
        for (const { caption, start, span, column } of heads) {
            const cell = make('div', {
                class: 'tg-headcell group',
                role: 'columnheader',
                'aria-colindex': start + 1,
                'aria-colspan': span,
                'data-column': column && `c${column.index}`,
                'data-start': start,
                'data-span': span,
                title: caption,
            });
            cell.style.gridColumn = `${start + 1} / span ${span}`;
            if (column) cell.append(this.#drawSwitch(tree, column, false));
            cell.append(make('span', { class: 'tg-caption' }, caption));
            row.append(cell);
        }
        return row;
    }

    #drawHead(state: GridState, column: GridColumn, at: number): HTMLElement {
        const { shownSorting: sorting, tree } = state;
        const isSorted = sorting.column === column.index;
        const direction = sorting.isDescending ? 'descending' : 'ascending';
        const cell = make('div', {
            class: `tg-headcell ${column.isGrouping ? 'name' : column.isData ? 'number' : ''}`,
            role: 'columnheader',
            'aria-colindex': at + 1,
            'aria-sort': isSorted ? direction : 'none',
            'data-column': `c${column.index}`,
            title: [fullName(tree, column), column.description].filter((line) => line !== '').join('\n'),
        });
        cell.style.gridColumn = String(at + 1);
        if (tree.find(column.index)?.children.length) cell.append(this.#drawSwitch(tree, column, true));
        cell.append(
            this.#drawSortButton(tree, column, at),
            this.#drawMenuButton(tree, column),
            this.#drawGrip(column, cell),
        );
        return cell;
    }

    #drawSortButton(tree: ColumnTree, column: GridColumn, at: number): HTMLElement {
        const button = makeButton('', () => this.#listener.sortBy(column), 'tg-sort');
        const caption = make('span', { class: 'tg-caption' }, headName(tree, column));
        button.append(caption, make('span', { class: 'tg-arrow', 'aria-hidden': 'true' }));
        button.tabIndex = -1;
        button.addEventListener('keydown', (event) => this.#takeKey(event, column, at));
        button.addEventListener('focus', () => this.#setStop(at, false));
        button.addEventListener('contextmenu', (event) => {
            event.preventDefault();
            this.#listener.openColumnMenu(column, button);
        });
        this.#buttons.push(button);
        return button;
    }

    #drawMenuButton(tree: ColumnTree, column: GridColumn): HTMLElement {
        const at = this.#buttons.length - 1;
        const button = makeButton(
            '⋮',
            () => this.#listener.openColumnMenu(column, this.#buttons[at]!),
            'tg-menu',
        );
        button.tabIndex = -1;
        button.setAttribute('aria-label', `Menu of ${fullName(tree, column)}`);
        return button;
    }

    #drawSwitch(tree: ColumnTree, column: GridColumn, isCollapsed: boolean): HTMLElement {
        const act = () => this.#listener.setCollapsed(column.index, !isCollapsed);
        const button = makeButton(isCollapsed ? '▸' : '▾', act, 'tg-switch');
        button.tabIndex = -1;
        button.setAttribute('aria-label', `${isCollapsed ? 'Expand' : 'Collapse'} ${fullName(tree, column)}`);
        return button;
    }

    #drawGrip(column: GridColumn, cell: HTMLElement): HTMLElement {
        const grip = make('span', {
            class: 'tg-grip',
            'aria-hidden': 'true',
            title: 'Drag, or double-click to fit',
        });
        grip.addEventListener('dblclick', () => this.#listener.fit(column));
        grip.addEventListener('pointerdown', (event) => {
            event.preventDefault();
            grip.setPointerCapture(event.pointerId);
            const offset = cell.offsetWidth - event.clientX;
            grip.onpointermove = (move) => this.#resize(column, offset + move.clientX);
            grip.onlostpointercapture = () => (grip.onpointermove = null);
        });
        return grip;
    }

    #resize(column: GridColumn, width: number): void {
        this.#listener.resize(column, width);
    }

    #takeKey(event: KeyboardEvent, column: GridColumn, at: number): void {
        const step = event.key === 'ArrowRight' ? 1 : event.key === 'ArrowLeft' ? -1 : 0;
        const button = this.#buttons[at]!;
        const wantsMenu = event.key === 'ContextMenu' || (event.altKey && event.key === 'ArrowDown');
        if (step !== 0 && event.shiftKey) {
            const width = button.closest<HTMLElement>('.tg-headcell')!.offsetWidth;
            this.#resize(column, width + step * KEY_STEP);
        } else if (step !== 0) this.#setStop(at + step, true);
        else if (wantsMenu) this.#listener.openColumnMenu(column, button);
        else if (event.key === 'ArrowDown') this.#listener.leaveHead();
        else return;
        event.preventDefault();
    }

    /** Makes one head the one that the Tab key reaches. */
    #setStop(at: number, focus: boolean): void {
        const button = this.#buttons[at];
        if (!button) return;
        for (const other of this.#buttons) other.tabIndex = other === button ? 0 : -1;
        this.#stop = at;
        if (focus) button.focus();
    }
}
