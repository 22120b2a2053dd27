import { make, makeButton } from '../../page/dom.js';
import { type MenuEntry, showMenu } from '../../page/menu.js';
import { type StackMode } from './grid_requests.js';

export interface ToolsListener {
    openHottest(): void;
    openAll(): void;
    openSelected(): void;
    closeAll(): void;
    setStackMode(mode: StackMode): void;
    openColumnsMenu(anchor: HTMLElement): void;
    openSearch(): void;
    copy(): void;
    exportCsv(): void;
}

/** Milliseconds for which something is said. */
const SAID_FOR = 8_000;

/** What surrounds a grid: title, row count, tools, notices, and what is said to screen readers only. */
export class PaneFrame {
    readonly element: HTMLElement;
    readonly #title: HTMLElement;
    readonly #count = make('p', { class: 'tg-count' });
    readonly #said = make('p', { class: 'tg-said', role: 'status', 'aria-live': 'polite' });
    readonly #busy = make('p', { class: 'tg-busy', role: 'status', hidden: true });
    readonly #notice = make('div', { class: 'notice', hidden: true });
    readonly #message = make('p', { class: 'empty', hidden: true });
    readonly #live = make('p', { class: 'unseen', role: 'status', 'aria-live': 'polite' });
    readonly #stackMode: HTMLButtonElement;
    readonly #content: readonly HTMLElement[];
    #saidTimer: ReturnType<typeof setTimeout> | undefined;

    constructor(
        title: string,
        options: { readonly isTree: boolean; readonly hasStackModes: boolean; readonly isTitled: boolean },
        content: readonly HTMLElement[],
        listener: ToolsListener,
    ) {
        this.#content = content;
        // The tab above says the title already.
        this.#title = make('h2', { class: options.isTitled ? undefined : 'unseen' }, title);
        this.#stackMode = makeButton('Chains', () => listener.setStackMode(this.#nextStackMode()));
        this.#stackMode.title = 'Show stretches of single calls as one row';
        this.showStackMode('tree');
        const hottest = makeButton('Hot path', () => listener.openHottest());
        hottest.title = 'Open the hottest path below the current row (H)';
        const rows = makeMenuButton('Expand', (anchor) => showMenu(anchor, 'Expand', rowEntries(listener)));
        const columns = makeMenuButton('Columns', (anchor) => listener.openColumnsMenu(anchor));
        const tools = make(
            'div',
            { class: 'tg-tools', role: 'toolbar', 'aria-label': `Tools of ${title}` },
            ...(options.isTree ? [hottest, rows] : []),
            ...(options.hasStackModes ? [this.#stackMode] : []),
            columns,
            makeButton('Search', () => listener.openSearch()),
            makeButton('Copy', () => listener.copy()),
            makeButton('Export…', () => listener.exportCsv()),
        );
        const texts = [this.#title, this.#count, this.#busy, this.#said];
        const head = make('div', { class: 'pane-head' }, ...texts, tools);
        this.element = make('section', { class: 'pane tg-pane', 'aria-label': title });
        this.element.append(head, this.#notice, ...content, this.#message, this.#live);
    }

    showTitle(text: string): void {
        this.#title.textContent = text;
    }

    showCount(text: string): void {
        this.#count.textContent = text;
    }

    /** Shows what goes on that takes long; null hides it. */
    showBusy(text: string | null): void {
        this.#busy.hidden = text === null;
        this.#busy.textContent = text;
    }

    showStackMode(mode: StackMode): void {
        this.#stackMode.setAttribute('aria-pressed', String(mode === 'chain'));
    }

    /** Shows a text in place of the grid; null shows the grid. */
    showMessage(text: string | null): void {
        this.#message.hidden = text === null;
        this.#message.textContent = text;
        for (const [at, part] of this.#content.entries()) {
            if (text !== null) part.hidden = true;
            else if (at === this.#content.length - 1) part.hidden = false;
        }
    }

    /** Tells of a failure above the grid until it is put away. */
    showFailure(text: string, actionLabel: string, action: () => void): void {
        this.#notice.dataset['kind'] = 'failure';
        this.#notice.setAttribute('role', 'alert');
        this.#notice.replaceChildren(make('p', {}, text), makeButton(actionLabel, action));
        this.#notice.hidden = false;
    }

    clearFailure(): void {
        this.#notice.hidden = true;
        this.#notice.replaceChildren();
    }

    /** Says something to everybody, for a while. */
    say(text: string): void {
        clearTimeout(this.#saidTimer);
        this.#said.textContent = text;
        this.#saidTimer = setTimeout(() => (this.#said.textContent = ''), SAID_FOR);
    }

    /** Says something to screen readers. */
    announce(text: string): void {
        this.#live.textContent = text;
    }

    #nextStackMode(): StackMode {
        return this.#stackMode.getAttribute('aria-pressed') === 'true' ? 'tree' : 'chain';
    }
}

function makeMenuButton(label: string, open: (anchor: HTMLElement) => void): HTMLButtonElement {
    const button: HTMLButtonElement = makeButton(`${label} ▾`, () => open(button));
    button.setAttribute('aria-haspopup', 'menu');
    button.setAttribute('aria-label', label);
    return button;
}

function rowEntries(listener: ToolsListener): MenuEntry[] {
    return [
        { label: 'Expand all', keys: '*', action: () => listener.openAll() },
        { label: 'Expand selected', keys: 'Ctrl++', action: () => listener.openSelected() },
        { label: 'Collapse all', keys: '/', action: () => listener.closeAll() },
    ];
}
