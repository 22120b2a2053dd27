import './treegrid.css';
import { withThousands } from '../../format/number_format.js';
import { showMenu } from '../../page/menu.js';
import { RequestCanceled, type RequestClient, RequestFailed } from '../../wire/index.js';
import { onDataChange } from '../data_events.js';
import { copyText } from './clipboard.js';
import { columnMenu, type ColumnMenuActions, columnsMenu } from './column_menus.js';
import { type ColumnTree } from './column_tree.js';
import { CommandQueue } from './command_queue.js';
import { openCsvDialog } from './csv_dialog.js';
import { type GridAnswer, type GridCell } from './grid_answer.js';
import { type GridColumn } from './grid_columns.js';
import { type FocusListener, GridFocus } from './grid_focus.js';
import { type GridParts } from './grid_parts.js';
import { type FocusObject, type GridQuery, GridRequests, type StackMode } from './grid_requests.js';
import { GridSearch } from './grid_search.js';
import { GridSelection } from './grid_selection.js';
import { GridState } from './grid_state.js';
import { GridView } from './grid_view.js';
import { type KeyCommand } from './key_commands.js';
import { PaneFrame } from './pane_frame.js';
import { RowOpening } from './row_opening.js';
import { StackModeWish } from './stack_mode_wish.js';
import { PATIENCE, StoppableWork } from './stoppable_work.js';
import { WindowLoader } from './window_loader.js';

export interface TreeGridSettings extends FocusListener {
    readonly title: string;
    /** Unique among all grids that the host serves. */
    readonly gridId: string;
    readonly query: GridQuery;
    /** Rows open and close. */
    readonly isTree: boolean;
    readonly hasStackModes: boolean;
    /** The grid is about an object that is chosen elsewhere, and says this until there is one. */
    readonly needsFocus?: string;
    /** Keeps what outlives a reload of the page. */
    readonly store: Pick<Storage, 'getItem' | 'setItem'>;
}

/** Before the view was ever seen its height is unknown: about what fits a screen. */
const LEAST_CAPACITY = 40;

/** A tree grid of the domain `gridview`: the host holds the rows and their state, this pane shows a window of them. */
export class TreeGridPane {
    readonly element: HTMLElement;
    readonly #settings: TreeGridSettings;
    readonly #client: RequestClient;
    readonly #requests: GridRequests;
    readonly #state = new GridState();
    readonly #queue = new CommandQueue();
    readonly #loader: WindowLoader;
    readonly #frame: PaneFrame;
    readonly #view: GridView;
    readonly #search: GridSearch;
    readonly #stackMode: StackModeWish;
    readonly #focusTold: GridFocus;
    readonly #work = new StoppableWork((text) => this.#showBusy(text));
    readonly #unsubscribe: (() => void)[];
    readonly #selection: GridSelection;
    readonly #opening: RowOpening;
    readonly #columnActions: ColumnMenuActions = {
        sort: (column, isDescending) => this.#sort(column, isDescending),
        changeTree: (tree) => this.#changeTree(tree),
        resize: (column, by) => this.#view.resizeBy(column, by),
    };
    #focus: FocusObject | undefined;
    #isActive = false;
    /** Counts what made the data out of date; what is shown is that of some count. */
    #wanted = 1;
    #shown = 0;
    #isReading = false;
    #slowWork: string | null = null;
    #refreshTimer: ReturnType<typeof setTimeout> | undefined;

    constructor(client: RequestClient, settings: TreeGridSettings) {
        this.#settings = settings;
        this.#client = client;
        this.#requests = new GridRequests(client, settings.gridId, settings.query);
        this.#focusTold = new GridFocus(this.#state, settings);
        this.#stackMode = new StackModeWish(settings.store, settings.gridId);
        this.#view = new GridView(settings.title, this.#state, {
            shownChanged: () => this.#shownChanged(),
            rowPressed: (row, keys) => this.#selection.press(row, keys),
            togglePressed: (row) => this.#opening.toggle(row),
            command: (command) => this.#obey(command),
            sortBy: (column) => this.#sortBy(column),
            openColumnMenu: (column, anchor) => this.#openColumnMenu(column, anchor),
            setCollapsed: (column, isCollapsed) =>
                this.#changeTree(this.#state.tree.withCollapsed(column, isCollapsed)),
        });
        this.#search = new GridSearch(this.#requests, this.#state, this.#view, {
            goTo: (row) => this.#selection.goToSeen(row, 'keep'),
            shownChanged: () => this.#shownChanged(),
            guard: (signal, step) => this.#guard('The search failed', signal, step),
        });
        this.#frame = this.#makeFrame();
        this.#frame.showStackMode(this.#stackMode.mode);
        this.element = this.#frame.element;
        this.element.addEventListener('keydown', (event) => this.#takeKey(event));
        this.#loader = this.#makeLoader();
        const parts = this.#makeParts();
        this.#selection = new GridSelection(parts);
        this.#opening = new RowOpening(parts, this.#selection);
        this.#frame.showMessage(settings.needsFocus ?? 'Waiting for data…');
        this.#unsubscribe = [
            onDataChange(client, () => this.#refreshSoon()),
            client.onEvent('relay:libraryConnected', () => this.#stackMode.forgetTold()),
            // Whoever changes the data waits for the panes to be quiet.
            client.onEvent('WaitForOtherPanesStopDataRequests', () => this.#loader.cancel()),
            client.onEvent('CancelDataChangeEvent', () => this.#isActive && this.#loader.update()),
        ];
    }

    /** Ends subscriptions and running work; the pane stays as it is. */
    dispose(): void {
        for (const unsubscribe of this.#unsubscribe) unsubscribe();
        this.#stop();
        this.#view.dispose();
    }

    /** The pane is seen from now on: it reads what changed while it was not. */
    activate(): void {
        this.#isActive = true;
        this.#focusTold.setInSight(true);
        if (this.#shown !== this.#wanted) this.refresh();
        else {
            this.#view.draw();
            this.#watchWaitingRows();
        }
    }

    /** The pane is not seen any more and asks for nothing. */
    deactivate(): void {
        this.#isActive = false;
        this.#focusTold.setInSight(false);
        this.#loader.cancel();
    }

    /** What the grid is about, if it is one that needs such an object. */
    setFocus(focus: FocusObject): void {
        if (focus.objectId === this.#focus?.objectId && focus.grouping === this.#focus.grouping) return;
        this.#focus = focus;
        ++this.#wanted;
        this.#frame.showTitle(`${this.#settings.title}: ${focus.name}`);
        this.#dropRows();
        if (this.#isActive) this.refresh();
    }

    /** The rows at hand are about something else than the title says. */
    #dropRows(): void {
        this.#state.dropRows();
        this.#view.draw();
        this.#frame.showCount('');
        this.#frame.showMessage('Waiting for data…');
    }

    /** Reads the grid anew. What was open stays open, and what was sorted sorted: the host sees to that. */
    refresh(): void {
        clearTimeout(this.#refreshTimer);
        if (this.#settings.needsFocus && !this.#focus) return;
        if (this.#client.state !== 'connected') return;
        this.#stop();
        this.#queue.add({ run: (signal) => this.#refresh(signal) });
    }

    async #refresh(signal: AbortSignal): Promise<void> {
        this.#isReading = true;
        this.#showBusy(this.#slowWork);
        await this.#guard('The grid could not be read', signal, async () => {
            const wishes = {
                focus: this.#focus,
                sorting: this.#state.namedSorting,
            };
            const wanted = this.#wanted;
            const answer = await this.#requests.refresh(this.#loader.window, wishes, signal);
            // By now the title says something else; the pane reads that as soon as it is seen.
            if (wishes.focus !== this.#focus) return;
            this.#shown = wanted;
            this.#frame.clearFailure();
            this.#frame.showMessage(answer.hasGrid ? null : 'The profile holds nothing to show here.');
            const { tree } = this.#state;
            this.#take(answer);
            // A host that was started anew knows nothing of the columns that a person hid.
            const kept = this.#state.tree.withWishesOf(tree);
            if (kept !== this.#state.tree) this.#changeTree(kept);
            if (this.#stackMode.isUntold) this.#changeStackMode(this.#stackMode.mode);
        });
        if (signal.aborted) return;
        this.#isReading = false;
        this.#showBusy(this.#slowWork);
    }

    #showBusy(slowWork: string | null): void {
        this.#slowWork = slowWork;
        this.#frame.showBusy(slowWork);
        if (this.#isReading || slowWork !== null) this.#view.element.setAttribute('aria-busy', 'true');
        else this.#view.element.removeAttribute('aria-busy');
    }

    #refreshSoon(): void {
        ++this.#wanted;
        clearTimeout(this.#refreshTimer);
        // One change is told by several events.
        if (this.#isActive) this.#refreshTimer = setTimeout(() => this.refresh());
    }

    #stop(): void {
        this.#queue.clear();
        this.#loader.cancel();
        this.#search.stop();
        this.#opening.stop();
    }

    #makeFrame(): PaneFrame {
        const content = [this.#search.element, this.#view.element];
        return new PaneFrame(this.#settings.title, this.#settings, content, {
            openAll: () => this.#bulk('expandRowsRecursively'),
            openSelected: () => this.#bulk('expandSelectedRows'),
            closeAll: () => this.#bulk('collapseAllRows'),
            setStackMode: (mode) => this.#changeStackMode(mode),
            openColumnsMenu: (anchor) =>
                showMenu(anchor, 'Columns', columnsMenu(this.#state.tree, this.#columnActions)),
            openSearch: () => this.#search.open(),
            copy: () => this.#copy(),
            exportCsv: () => openCsvDialog((path, signal) => this.#requests.exportToCsv(path, signal)),
        });
    }

    #makeLoader(): WindowLoader {
        const pane = this;
        return new WindowLoader({
            get shown() {
                return pane.#view.shown;
            },
            get capacity() {
                return Math.max(pane.#view.scale.capacity, LEAST_CAPACITY);
            },
            get rowCount() {
                return pane.#state.rowCount;
            },
            rows: this.#state.rows,
            ask: (window, signal) => this.#requests.scroll(window, signal),
            take: (answer) => {
                this.#state.takeWindow(answer);
                this.#afterAnswer(answer);
            },
            failed: (failure) => this.#showFailure('The rows could not be read', failure),
        });
    }

    #makeParts(): GridParts {
        return {
            requests: this.#requests,
            state: this.#state,
            view: this.#view,
            queue: this.#queue,
            loader: this.#loader,
            work: this.#work,
            take: (answer) => this.#take(answer),
            wentToCurrent: () => this.#focusTold.wentToCurrent(),
            guard: (whatFailed, signal, step) => this.#guard(whatFailed, signal, step),
        };
    }

    #shownChanged(): void {
        if (this.#isActive && this.#state.rowCount > 0) this.#loader.update();
    }

    /** Takes an answer that speaks of the whole grid: what is still being asked for is older. */
    #take(answer: GridAnswer): void {
        this.#loader.cancel();
        this.#state.take(answer);
        this.#afterAnswer(answer);
        if (answer.waitTime !== undefined) this.#loader.askAfter(answer.waitTime);
        else this.#shownChanged();
    }

    #afterAnswer(answer: GridAnswer): void {
        this.#opening.markRows();
        const state = this.#state;
        if (answer.scrollToCurrent && state.currentRow >= 0) this.#view.center(state.currentRow);
        this.#view.draw();
        this.#frame.showCount(state.rowCount === 1 ? '1 row' : `${withThousands(state.rowCount)} rows`);
        this.#search.takeHits();
        if (answer.expanded) this.#frame.announce(`${withThousands(answer.expanded.rowCount)} rows opened`);
        this.#focusTold.tell();
        this.#watchWaitingRows();
    }

    /** Rows that the host is opening for a request of someone else: nobody tells when they are ready. */
    #watchWaitingRows(): void {
        const isWaiting = this.#state.rows.some(this.#view.shown, ({ state }) => state === 'w');
        if (!isWaiting) this.#loader.rest();
        else if (!this.#opening.isRunning) this.#loader.lookAgain();
    }

    // ------------------------------------------------------------------------------------------------ keys and mouse

    #obey(command: KeyCommand): void {
        switch (command.what) {
            case 'move':
                return this.#selection.move(command);
            case 'open':
                return this.#opening.openOrEnter();
            case 'close':
                return this.#opening.closeOrLeave();
            case 'openAll':
                return this.#bulk('expandRowsRecursively');
            case 'closeAll':
                return this.#bulk('collapseAllRows');
            case 'openSelected':
                return this.#bulk('expandSelectedRows');
            case 'activate':
                return this.#opening.toggleCurrent();
            case 'toggleSelected':
                return this.#selection.select('toggle');
            case 'selectAll':
                return this.#selection.select('all');
            case 'clearSelection':
                return this.#escape();
            case 'copy':
                return this.#copy();
            case 'search':
                return this.#search.open();
            case 'nextHit':
                return this.#search.step(1);
            case 'previousHit':
                return this.#search.step(-1);
            case 'scrollSideways':
                return this.#view.scrollSideways(command.amount);
        }
    }

    /** Keys that nothing inside the pane took: work can be stopped from its tools, too. */
    #takeKey(event: KeyboardEvent): void {
        if (event.key === 'Escape' && !event.defaultPrevented && this.#stopWork()) event.preventDefault();
    }

    /** Stops what a person may stop; false if nothing of the kind runs. */
    #stopWork(): boolean {
        const wasOpening = this.#opening.stop();
        return this.#work.stop() || wasOpening;
    }

    #escape(): void {
        if (this.#stopWork()) return;
        if (this.#search.isOpen) this.#search.close();
        else this.#selection.select('clear');
    }

    // ---------------------------------------------------------------------------------------------------- the whole grid

    #bulk(operation: 'expandSelectedRows' | 'collapseAllRows' | 'expandRowsRecursively'): void {
        const words = {
            failed: 'The rows could not be opened or closed',
            running: operation === 'collapseAllRows' ? 'Closing rows' : 'Opening rows',
        };
        this.#longCommand(words, PATIENCE, async (signal) => {
            this.#take(await this.#requests.bulk(operation, signal));
            this.#frame.announce(`${withThousands(this.#state.rowCount)} rows`);
        });
    }

    /** The mode counts from now on: should the command be dropped for a refresh, the refresh has it told again. */
    #changeStackMode(mode: StackMode): void {
        this.#setStackMode(() => this.#stackMode.set(mode));
        const words = {
            failed: 'The stack mode could not be changed',
            running: mode === 'chain' ? 'Looking for chains' : 'Unfolding chains',
        };
        this.#longCommand(words, undefined, async (stop, signal) => {
            try {
                const answer = await this.#requests.changeStackMode(mode, stop);
                this.#stackMode.setTold(mode);
                this.#take(answer);
            } catch (failure) {
                if (!signal.aborted) this.#setStackMode(() => this.#stackMode.takeBack());
                throw failure;
            }
        });
    }

    #setStackMode(set: () => void): void {
        set();
        this.#frame.showStackMode(this.#stackMode.mode);
    }

    // --------------------------------------------------------------------------------------------------------- columns

    #sortBy(column: GridColumn): void {
        const { sorting } = this.#state;
        const isSame = sorting.column === column.index;
        this.#sort(column, isSame ? !sorting.isDescending : column.isDescendingByDefault);
    }

    #sort(column: GridColumn, isDescending: boolean): void {
        const words = { failed: 'The grid could not be sorted', running: 'Sorting' };
        this.#longCommand(words, undefined, async (signal) => {
            this.#take(await this.#requests.sort(column.index, isDescending, signal));
            const order = isDescending ? 'descending' : 'ascending';
            this.#frame.announce(`Sorted by ${column.caption}, ${order}`);
        });
    }

    /** The page shows the change at once; the host has to know it for search, export and what comes after a refresh. */
    #changeTree(tree: ColumnTree): void {
        this.#state.tree = tree;
        this.#search.forgetHits();
        this.#view.draw();
        this.#command('The columns could not be changed', async (signal) => {
            await this.#requests.columnState(tree, signal);
            // Answers from before that may have brought the old hits back.
            this.#search.forgetHits();
            this.#view.drawRows();
        });
    }

    #openColumnMenu(column: GridColumn, anchor: HTMLElement): void {
        const { start, count } = this.#view.shown;
        const cells = Array.from(
            { length: count },
            (_, at) => this.#state.rows.get(start + at)?.cells[column.index],
        );
        const known = cells.filter((cell): cell is GridCell => cell !== undefined);
        const { tree, sorting } = this.#state;
        showMenu(anchor, column.caption, columnMenu(tree, column, sorting, known, this.#columnActions));
    }

    #copy(): void {
        this.#command('The rows could not be copied', async (signal) => {
            await copyText(await this.#requests.copyRows(signal));
            this.#frame.announce('Copied');
        });
    }

    // -------------------------------------------------------------------------------------------------------- failures

    #command(whatFailed: string, run: (signal: AbortSignal) => Promise<void>): void {
        this.#queue.add({ run: (signal) => this.#guard(whatFailed, signal, () => run(signal)) });
    }

    /** A command that a person may stop: what it left half done is then read anew. */
    #longCommand(
        words: { readonly failed: string; readonly running: string },
        holdsUpFor: number | undefined,
        run: (stop: AbortSignal, signal: AbortSignal) => Promise<void>,
    ): void {
        const stoppable = (signal: AbortSignal) =>
            this.#work.run(`${words.running}… Esc stops`, signal, (stop) =>
                this.#guard(words.failed, signal, () => run(stop, signal)),
            );
        this.#queue.add({
            holdsUpFor,
            run: async (signal) => {
                if (await stoppable(signal)) await this.#refresh(signal);
            },
        });
    }

    /** Runs one step; what goes wrong is told above the grid, unless the page itself did not want it any more. */
    async #guard(whatFailed: string, signal: AbortSignal, step: () => Promise<void>): Promise<void> {
        try {
            await step();
        } catch (failure) {
            if (!signal.aborted) this.#showFailure(whatFailed, failure);
        }
    }

    #showFailure(whatFailed: string, failure: unknown): void {
        if (failure instanceof RequestCanceled && failure.by === 'page') return;
        // Without a connection the status line speaks, and the pane refreshes as soon as there is one again.
        if (this.#client.state !== 'connected') return;
        const reason =
            failure instanceof RequestFailed || failure instanceof Error ? failure.message : String(failure);
        this.#frame.showFailure(`${whatFailed}: ${reason}`, 'Try again', () => {
            this.#frame.clearFailure();
            this.refresh();
        });
    }
}
