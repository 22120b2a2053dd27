import { make } from './dom.js';

/** What a tab shows: an element, and what it has to be told. */
export interface TabPane {
    readonly element: HTMLElement;
    activate?(): void;
    deactivate?(): void;
}

interface Tab {
    readonly button: HTMLButtonElement;
    readonly open: () => TabPane;
    pane: TabPane | null;
}

/**
 * Tabs of which one shows its pane. A pane is made when its tab is first chosen. By keyboard the tabs are one stop;
 * the arrows, Home and End choose among them.
 */
export class Tabs {
    readonly #list: HTMLElement;
    readonly #content: HTMLElement;
    readonly #tabs: Tab[] = [];
    readonly #chosenOne: (label: string) => void;
    #chosen: Tab | null = null;

    /** @param chosen is told the label of the tab whenever another one is chosen. */
    constructor(list: HTMLElement, content: HTMLElement, chosen: (label: string) => void) {
        this.#list = list;
        this.#content = content;
        this.#chosenOne = chosen;
        list.setAttribute('role', 'tablist');
        list.addEventListener('keydown', (event) => this.#takeKey(event));
    }

    /** Adds a tab; none is chosen by that. */
    add(label: string, open: () => TabPane): void {
        const button = make('button', { type: 'button', class: 'tab', role: 'tab', tabindex: -1 }, label);
        button.setAttribute('aria-selected', 'false');
        const tab: Tab = { button, open, pane: null };
        button.addEventListener('click', () => this.#choose(tab));
        this.#tabs.push(tab);
        this.#list.append(button);
    }

    /** Chooses the tab of that label, or the first one if there is none. */
    choose(label: string): void {
        const tab = this.#tabs.find(({ button }) => button.textContent === label) ?? this.#tabs[0];
        if (tab) this.#choose(tab);
    }

    #choose(tab: Tab): void {
        if (tab === this.#chosen) return;
        const before = this.#chosen;
        this.#chosen = tab;
        if (before) this.#show(before, false);
        if (!tab.pane) {
            tab.pane = tab.open();
            this.#content.append(tab.pane.element);
        }
        this.#show(tab, true);
        this.#chosenOne(tab.button.textContent);
    }

    #show({ button, pane }: Tab, chosen: boolean): void {
        button.setAttribute('aria-selected', String(chosen));
        button.tabIndex = chosen ? 0 : -1;
        if (!pane) return;
        pane.element.hidden = !chosen;
        if (chosen) pane.activate?.();
        else pane.deactivate?.();
    }

    #takeKey(event: KeyboardEvent): void {
        const last = this.#tabs.length - 1;
        const at = this.#tabs.findIndex((tab) => tab === this.#chosen);
        const targets: Readonly<Record<string, number>> = {
            ArrowRight: at === last ? 0 : at + 1,
            ArrowLeft: at === 0 ? last : at - 1,
            Home: 0,
            End: last,
        };
        if (!Object.hasOwn(targets, event.key)) return;
        event.preventDefault();
        const tab = this.#tabs[targets[event.key]!]!;
        this.#choose(tab);
        tab.button.focus();
    }
}
