import './menu.css';
import { make } from './dom.js';

export interface MenuEntry {
    readonly label: string;
    readonly action: () => void;
    /** Of a choice: whether it is the chosen one. */
    readonly isChecked?: boolean;
    /** One of several choices that exclude each other, or one that stands for itself. */
    readonly kind?: 'radio' | 'check';
    /** The keys that do the same. */
    readonly keys?: string;
    /** How deep it stands below the entries before it. */
    readonly depth?: number;
}

/** Stands between groups of entries. */
export const SEPARATOR = 'separator';

const ROLES = { radio: 'menuitemradio', check: 'menuitemcheckbox' } as const;

let openMenu: Menu | null = null;

/**
 * Opens a menu below an element, which has the focus again as soon as the menu is closed: by a choice, by Esc or Tab,
 * or by a click elsewhere. One menu is open at a time.
 */
export function showMenu(
    anchor: HTMLElement,
    label: string,
    entries: readonly (MenuEntry | typeof SEPARATOR)[],
): void {
    openMenu?.close();
    openMenu = new Menu(anchor, label, entries);
}

class Menu {
    readonly #element: HTMLElement;
    readonly #items: HTMLElement[] = [];
    readonly #closed = new AbortController();
    readonly #anchor: HTMLElement;

    constructor(anchor: HTMLElement, label: string, entries: readonly (MenuEntry | typeof SEPARATOR)[]) {
        this.#anchor = anchor;
        this.#element = make('div', { class: 'menu', role: 'menu', 'aria-label': label });
        for (const entry of entries) this.#element.append(this.#draw(entry));
        document.body.append(this.#element);
        this.#place();
        this.#element.addEventListener('keydown', (event) => this.#takeKey(event));
        const { signal } = this.#closed;
        document.addEventListener('pointerdown', (event) => this.#takePointer(event), {
            signal,
            capture: true,
        });
        this.#items[0]?.focus();
    }

    close(): void {
        if (openMenu === this) openMenu = null;
        const hadFocus = this.#element.contains(document.activeElement);
        this.#closed.abort();
        this.#element.remove();
        if (hadFocus && this.#anchor.isConnected) this.#anchor.focus();
    }

    #draw(entry: MenuEntry | typeof SEPARATOR): HTMLElement {
        if (entry === SEPARATOR) return make('div', { class: 'menu-separator', role: 'separator' });
        const item = make(
            'div',
            {
                class: 'menu-item',
                role: entry.kind ? ROLES[entry.kind] : 'menuitem',
                tabindex: -1,
                'aria-checked': entry.kind && String(entry.isChecked ?? false),
            },
            entry.label,
        );
        if (entry.keys) item.append(make('span', { class: 'menu-keys', 'aria-hidden': 'true' }, entry.keys));
        item.style.setProperty('--depth', String(entry.depth ?? 0));
        item.addEventListener('click', () => {
            this.close();
            entry.action();
        });
        this.#items.push(item);
        return item;
    }

    /** Below the anchor, but inside the page. */
    #place(): void {
        const at = this.#anchor.getBoundingClientRect();
        const { offsetWidth, offsetHeight } = this.#element;
        const left = Math.max(4, Math.min(at.left, innerWidth - offsetWidth - 4));
        const top = Math.max(4, Math.min(at.bottom, innerHeight - offsetHeight - 4));
        this.#element.style.left = `${left}px`;
        this.#element.style.top = `${top}px`;
    }

    #takePointer(event: Event): void {
        if (!this.#element.contains(event.target as Node)) this.close();
    }

    #takeKey(event: KeyboardEvent): void {
        const at = this.#items.indexOf(document.activeElement as HTMLElement);
        const last = this.#items.length - 1;
        const moves: Readonly<Record<string, number>> = {
            ArrowDown: at === last ? 0 : at + 1,
            ArrowUp: at <= 0 ? last : at - 1,
            Home: 0,
            End: last,
        };
        event.stopPropagation();
        const target = Object.hasOwn(moves, event.key) ? this.#items[moves[event.key]!] : undefined;
        if (target) target.focus();
        else if (event.key === 'Enter' || event.key === ' ') this.#items[at]?.click();
        else if (event.key === 'Escape' || event.key === 'Tab') this.close();
        else return;
        event.preventDefault();
    }
}
