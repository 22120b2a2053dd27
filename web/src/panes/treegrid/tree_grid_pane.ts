import './treegrid.css';
import { withThousands } from '../../format/number_format.js';
import { failureSentence } from '../../page/failure_text.js';
import { type PageMemory } from '../../page/page_memory.js';
import { RequestCanceled, type RequestClient } from '../../wire/index.js';
import { onDataChange } from '../data_events.js';
import { ColumnTree } from './column_tree.js';
import { CommandQueue } from './command_queue.js';
import { openExportDialog } from './export_dialog.js';
import { type GridAnswer } from './grid_answer.js';
import { firstSorting, GridColumnsControl } from './grid_columns_control.js';
import { GridCommands } from './grid_commands.js';
import { copySelectedRows } from './grid_copy.js';
import { type FocusListener, GridFocus } from './grid_focus.js';
import { type GridParts } from './grid_parts.js';
import { type FocusObject, type GridQuery, GridRequests } from './grid_requests.js';
import { GridSearch } from './grid_search.js';
import { GridSelection } from './grid_selection.js';
import { GridState } from './grid_state.js';
import { GridView } from './grid_view.js';
import { HottestPath } from './hottest_path.js';
import { type KeyCommand } from './key_commands.js';
import { KeptView } from './kept_view.js';
import { PaneFrame } from './pane_frame.js';
import { RowOpening } from './row_opening.js';
import { RowMemory } from './row_memory.js';
import { StackModeWish } from './stack_mode_wish.js';
import { StoppableWork } from './stoppable_work.js';
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
    readonly memory: PageMemory;
    /** The name of what the host serves, for files. */
    readonly profileName: () => string;
    /** The grid turned out to compare two results. */
    readonly onComparison: () => void;
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
    readonly #hottest: HottestPath;
    readonly #commands: GridCommands;
    readonly #columns: GridColumnsControl;
    readonly #kept: KeptView;
    readonly #rowMemory: RowMemory;
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
        this.#kept = new KeptView(settings.memory, settings.query.queryType);
        const look = this.#kept.load();
        this.#stackMode = new StackModeWish(look.stackMode, (stackMode) => this.#kept.keep({ stackMode }));
        this.#view = this.#makeView(look.widths);
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
        this.#hottest = new HottestPath(parts, this.#selection);
        this.#rowMemory = new RowMemory(parts, this.#kept);
        this.#commands = new GridCommands(parts, this.#stackMode);
        this.#columns = new GridColumnsControl(parts, this.#commands, this.#search, look.columns, (columns) =>
            this.#kept.keep({ columns }),
        );
        this.#frame.showMessage(settings.needsFocus ?? 'Waiting for data…');
        this.#unsubscribe = [
            onDataChange(client, () => this.#refreshSoon()),
            client.onEvent('relay:libraryConnected', () => this.#meetHost()),
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
            this.#showSwapped();
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
        const isOther = this.#focus !== undefined;
        this.#focus = focus;
        ++this.#wanted;
        this.#frame.showTitle(`${this.#settings.title}: ${focus.name}`);
        if (isOther) this.#rowMemory.forget();
        this.#dropRows();
        if (this.#isActive) this.refresh();
    }

    /** Shows a comparison the other way round, or as it was opened. */
    setSwapped(isSwapped: boolean): void {
        this.#columns.setSwapped(isSwapped);
        if (this.#isActive) this.#showSwapped();
    }

    #showSwapped(): void {
        this.#view.draw();
        this.#columns.sortAsBefore();
    }

    /** The rows at hand are about something else than the title says. */
    #dropRows(): void {
        this.#state.dropRows();
        this.#view.draw();
        this.#frame.showCount('');
        this.#frame.showMessage('Waiting for data…');
    }

    /** From now on it may be another host, which knows nothing of what was done here. */
    #meetHost(): void {
        this.#stackMode.forgetTold();
        this.#rowMemory.meetHost();
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
            const focus = this.#focus;
            const wanted = this.#wanted;
            const answer = await this.#readGrid(signal);
            // By now the title says something else; the pane reads that as soon as it is seen.
            if (focus !== this.#focus) return;
            this.#shown = wanted;
            this.#showGrid(answer);
        });
        if (signal.aborted) return;
        this.#isReading = false;
        this.#showBusy(this.#slowWork);
    }

    async #readGrid(signal: AbortSignal): Promise<GridAnswer> {
        const wishes = { focus: this.#focus, sorting: this.#state.namedSorting ?? this.#kept.load().sorting };
        const answer = await this.#requests.refresh(this.#loader.window, wishes, signal);
        const { columns, hierarchy, sorting } = answer;
        if (wishes.sorting || !columns || !hierarchy || !sorting) return answer;
        // By itself the host goes by its first column, which may be a fact that does not even show.
        const first = answer.rowCount === 0 ? undefined : firstSorting(new ColumnTree(columns, hierarchy));
        if (!first || first.index === sorting.column) return answer;
        return { ...(await this.#requests.sort(first.index, true, signal)), columns, hierarchy };
    }

    #showGrid(answer: GridAnswer): void {
        this.#frame.clearFailure();
        this.#frame.showMessage(answer.hasGrid ? null : 'The profile holds nothing to show here.');
        this.#take(answer);
        this.#columns.meetWishes();
        if (this.#state.tree.columns.some(({ kind }) => kind !== undefined)) this.#settings.onComparison();
        if (this.#stackMode.isUntold) this.#commands.changeStackMode(this.#stackMode.mode);
        // Whoever comes to the page by keyboard is at the rows.
        if (document.activeElement === document.body) this.#view.focus();
        this.#rowMemory.rowsWereRead();
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

    // ------------------------------------------------------------------------------------------------------- the parts

    #makeView(widths: ReadonlyMap<string, number>): GridView {
        return new GridView(this.#settings.title, this.#state, widths, {
            shownChanged: () => this.#shownChanged(),
            rowPressed: (row, keys) => this.#selection.press(row, keys),
            togglePressed: (row) => this.#opening.toggle(row),
            command: (command) => this.#obey(command),
            sortBy: (column) => this.#columns.sortBy(column),
            openColumnMenu: (column, anchor) => this.#columns.openMenu(column, anchor),
            setCollapsed: (column, isCollapsed) => this.#columns.setCollapsed(column, isCollapsed),
            widthsChanged: (given) => this.#kept.keep({ widths: given }),
        });
    }

    #makeFrame(): PaneFrame {
        const content = [this.#search.element, this.#view.element];
        const { title, needsFocus } = this.#settings;
        const options = { ...this.#settings, isTitled: needsFocus !== undefined };
        return new PaneFrame(title, options, content, {
            openHottest: () => this.#hottest.open(),
            openAll: () => this.#commands.bulk('expandRowsRecursively'),
            openSelected: () => this.#commands.bulk('expandSelectedRows'),
            closeAll: () => this.#commands.bulk('collapseAllRows'),
            setStackMode: (mode) => this.#commands.changeStackMode(mode),
            openColumnsMenu: (anchor) => this.#columns.openColumnsMenu(anchor),
            openSearch: () => this.#search.open(),
            copy: () => this.#copy(),
            exportCsv: () => this.#openExport(),
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
            frame: this.#frame,
            queue: this.#queue,
            loader: this.#loader,
            work: this.#work,
            take: (answer) => this.#take(answer),
            wentToCurrent: () => this.#focusTold.wentToCurrent(),
            readAnew: (signal) => this.#refresh(signal),
            guard: (whatFailed, signal, step) => this.#guard(whatFailed, signal, step),
        };
    }

    // ---------------------------------------------------------------------------------------------------------- answers

    #shownChanged(): void {
        if (!this.#isActive || this.#state.rowCount === 0) return;
        this.#loader.update();
        this.#rowMemory.keepPlace();
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
        this.#rowMemory.keepRows();
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
                return this.#commands.bulk('expandRowsRecursively');
            case 'closeAll':
                return this.#commands.bulk('collapseAllRows');
            case 'openSelected':
                return this.#commands.bulk('expandSelectedRows');
            case 'openHottest':
                return this.#settings.isTree ? this.#hottest.open() : undefined;
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

    #copy(): void {
        this.#queue.add({
            run: (signal) =>
                this.#guard('The rows could not be copied', signal, async () =>
                    this.#frame.say(await copySelectedRows(this.#requests, this.#state, signal)),
                ),
        });
    }

    #openExport(): void {
        const { title, profileName } = this.#settings;
        const name = [profileName(), title.toLowerCase()].filter((part) => part !== '').join(' ');
        openExportDialog(this.#requests, {
            fileName: `${name}.csv`,
            remark: this.#state.tree.isSwapped ? SWAPPED_EXPORT : '',
            done: (text) => this.#frame.say(text),
        });
    }

    // -------------------------------------------------------------------------------------------------------- failures

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
        this.#frame.showFailure(`${whatFailed}. ${failureSentence(failure)}`, 'Try again', () => {
            this.#frame.clearFailure();
            this.refresh();
        });
    }
}

const SWAPPED_EXPORT = 'The file has first and second as they were opened, not as the page shows them now.';
