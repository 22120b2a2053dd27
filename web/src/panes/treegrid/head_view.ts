import { make, makeButton } from '../../page/dom.js';
import { type HeadGroup } from './column_tree.js';
import { type GridColumn } from './grid_columns.js';
import { type GridState } from './grid_state.js';

export interface HeadListener {
    sortBy(column: GridColumn): void;
    openColumnMenu(column: GridColumn, anchor: HTMLElement): void;
    setCollapsed(column: number, isCollapsed: boolean): void;
    /** A column is to be so many pixels wide. */
    resize(column: GridColumn, width: number): void;
    leaveHead(): void;
}

const KEY_STEP = 16;

/**
 * The heads of the columns: a row for each depth of open column groups, and the row of the columns that show. By
 * keyboard it is one stop: the arrows lead from head to head, Enter sorts, Alt+Down opens the column's menu,
 * Shift with an arrow changes the width.
 */
export class HeadView {
    readonly element = make('div', { class: 'tg-head', role: 'rowgroup' });
    readonly #listener: HeadListener;
    #buttons: HTMLButtonElement[] = [];
    #stop = 0;

    constructor(listener: HeadListener) {
        this.#listener = listener;
    }

    draw(state: GridState): void {
        const hadFocus = this.element.contains(document.activeElement);
        this.#buttons = [];
        const groups = state.tree.groups.map((row, at) => this.#drawGroupRow(state, row, at + 1));
        const heads = make('div', { class: 'tg-row', role: 'row', 'aria-rowindex': groups.length + 1 });
        state.tree.shown.forEach((column, at) => heads.append(this.#drawHead(state, column, at)));
        this.element.replaceChildren(...groups, heads);
        this.#setStop(Math.min(this.#stop, this.#buttons.length - 1), hadFocus);
    }

    /** How many pixels wide a column shows; undefined for one that does not. */
    widthOf(column: GridColumn): number | undefined {
        const selector = `.tg-headcell:not(.group)[data-column="c${column.index}"]`;
        return this.element.querySelector<HTMLElement>(selector)?.offsetWidth;
    }

    #drawGroupRow(state: GridState, groups: readonly HeadGroup[], rowNumber: number): HTMLElement {
        const row = make('div', { class: 'tg-row', role: 'row', 'aria-rowindex': rowNumber });
        for (const { node, start, span } of groups) {
            const column = state.tree.columns[node.column]!;
            const cell = make('div', {
                class: 'tg-headcell group',
                role: 'columnheader',
                'aria-colindex': start + 1,
                'aria-colspan': span,
                'data-column': `c${column.index}`,
            });
            cell.style.gridColumn = `${start + 1} / span ${span}`;
            cell.append(this.#drawSwitch(column, false), make('span', { class: 'tg-caption' }, column.caption));
            row.append(cell);
        }
        return row;
    }

    #drawHead(state: GridState, column: GridColumn, at: number): HTMLElement {
        const { sorting, tree } = state;
        const isSorted = sorting.column === column.index;
        const direction = sorting.isDescending ? 'descending' : 'ascending';
        const cell = make('div', {
            class: column.isData ? 'tg-headcell number' : 'tg-headcell',
            role: 'columnheader',
            'aria-colindex': at + 1,
            'aria-sort': isSorted ? direction : 'none',
            'data-column': `c${column.index}`,
            title: column.description || undefined,
        });
        if (tree.find(column.index)?.children.length) cell.append(this.#drawSwitch(column, true));
        cell.append(
            this.#drawSortButton(column, at),
            this.#drawMenuButton(column),
            this.#drawGrip(column, cell),
        );
        return cell;
    }

    #drawSortButton(column: GridColumn, at: number): HTMLElement {
        const button = makeButton(column.caption, () => this.#listener.sortBy(column), 'tg-sort');
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

    #drawMenuButton(column: GridColumn): HTMLElement {
        const at = this.#buttons.length - 1;
        const button = makeButton(
            '⋮',
            () => this.#listener.openColumnMenu(column, this.#buttons[at]!),
            'tg-menu',
        );
        button.tabIndex = -1;
        button.setAttribute('aria-label', `Menu of ${column.caption}`);
        return button;
    }

    #drawSwitch(column: GridColumn, isCollapsed: boolean): HTMLElement {
        const act = () => this.#listener.setCollapsed(column.index, !isCollapsed);
        const button = makeButton(isCollapsed ? '▸' : '▾', act, 'tg-switch');
        button.tabIndex = -1;
        button.setAttribute('aria-label', `${isCollapsed ? 'Expand' : 'Collapse'} ${column.caption}`);
        return button;
    }

    #drawGrip(column: GridColumn, cell: HTMLElement): HTMLElement {
        const grip = make('span', { class: 'tg-grip', 'aria-hidden': 'true' });
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
