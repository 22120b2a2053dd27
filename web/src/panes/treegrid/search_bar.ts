import { withThousands } from '../../format/number_format.js';
import { make, makeButton } from '../../page/dom.js';

export interface SearchBarListener {
    /** The key was changed; "" if there is none any more. */
    keyChanged(key: string): void;
    step(direction: 1 | -1): void;
    closed(): void;
}

/** Milliseconds without a further letter until the search begins. */
const TYPING_PAUSE = 200;

/** The box to search in: Enter goes to the next hit, Shift+Enter to the one before, Esc closes. */
export class SearchBar {
    readonly element: HTMLElement;
    readonly #listener: SearchBarListener;
    readonly #input = make('input', {
        type: 'search',
        'aria-label': 'Search the open rows',
        placeholder: 'Search the open rows',
        autocomplete: 'off',
    });
    readonly #count = make('output', { 'aria-live': 'polite' });
    #timer: ReturnType<typeof setTimeout> | undefined;

    constructor(listener: SearchBarListener) {
        this.#listener = listener;
        this.element = make(
            'div',
            { class: 'tg-search', role: 'search', hidden: true },
            this.#input,
            makeButton('Previous', () => listener.step(-1)),
            makeButton('Next', () => listener.step(1)),
            this.#count,
            makeButton('Close', () => this.close()),
        );
        this.#input.addEventListener('input', () => this.#takeTyping());
        this.element.addEventListener('keydown', (event) => this.#takeKey(event));
    }

    get isOpen(): boolean {
        return !this.element.hidden;
    }

    get key(): string {
        return this.#input.value;
    }

    open(): void {
        this.element.hidden = false;
        this.#input.focus();
        this.#input.select();
    }

    close(): void {
        if (!this.isOpen) return;
        clearTimeout(this.#timer);
        this.element.hidden = true;
        this.#input.value = '';
        this.#count.textContent = '';
        this.#listener.closed();
    }

    /** Takes the key as it is: no search begins because of the typing so far. */
    settle(): void {
        clearTimeout(this.#timer);
    }

    /** Says how many hits there are and at which of them one is. Undefined: the hits are not known any more. */
    showCount(count: number | undefined, current: number): void {
        this.#count.textContent =
            this.key === '' || count === undefined ? '' : `${countText(count, current)} in open rows`;
    }

    #takeTyping(): void {
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => this.#listener.keyChanged(this.key), TYPING_PAUSE);
    }

    #takeKey(event: KeyboardEvent): void {
        if (event.key === 'Escape') this.close();
        else if (event.target === this.#input && event.key === 'Enter')
            this.#listener.step(event.shiftKey ? -1 : 1);
        else if (event.key === 'F3') this.#listener.step(event.shiftKey ? -1 : 1);
        else return;
        event.preventDefault();
    }
}

function countText(count: number, current: number): string {
    if (count === 0) return 'No hits';
    if (current > 0) return `${withThousands(current)} of ${withThousands(count)}`;
    return count === 1 ? '1 hit' : `${withThousands(count)} hits`;
}
