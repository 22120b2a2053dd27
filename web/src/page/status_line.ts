import { type ConnectionState, type RequestClient } from '../wire/index.js';

const TEXTS: Readonly<Record<ConnectionState, string>> = {
    connecting: 'Connecting…',
    connected: 'Connected',
    noLibrary: 'No profile is being served; waiting for it to come back…',
    reconnecting: 'Connection lost; reconnecting…',
};

/** After this long without a connection the line says what a person can do. */
const HINT_AFTER_MILLISECONDS = 10_000;
const HINT = 'Not connected. If panedeck was started anew, open the address that it printed.';

/** Says in one line of text how far the connection reaches; screen readers hear the changes. */
export class StatusLine {
    readonly #element: HTMLElement;
    #hint: ReturnType<typeof setTimeout> | undefined;

    constructor(element: HTMLElement, client: RequestClient) {
        this.#element = element;
        client.onState((state) => this.#show(state));
        this.#show(client.state);
    }

    #show(state: ConnectionState): void {
        clearTimeout(this.#hint);
        this.#element.dataset['state'] = state;
        this.#element.textContent = TEXTS[state];
        if (state !== 'reconnecting') return;
        this.#hint = setTimeout(() => (this.#element.textContent = HINT), HINT_AFTER_MILLISECONDS);
    }
}
