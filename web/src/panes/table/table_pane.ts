import './table.css';
import { withThousands } from '../../format/number_format.js';
import { make, makeButton } from '../../page/dom.js';
import {
    Bag,
    RequestCanceled,
    type RequestClient,
    RequestFailed,
    requestWhenReady,
    text,
} from '../../wire/index.js';
import { onDataChange } from '../data_events.js';
import { readTable, type Table } from './table_model.js';
import { drawTable } from './table_view.js';

export interface TablePaneSettings {
    readonly title: string;
    /** What a row is called: one of them, several of them. */
    readonly rowName: readonly [one: string, many: string];
}

/** Rows asked for at first, and how many times more with each "show more". */
const FIRST_LIMIT = 1000;
const MORE_FACTOR = 10;

/** Milliseconds until a request that the host cancelled is sent again. */
const RETRY_PAUSE = 200;

let paneCount = 0;

/**
 * A plain table of a flat profile: one request, all rows up to a limit. It refreshes by itself whenever the library
 * comes back or the data change, and keeps showing the old rows until new ones are there.
 */
export class TablePane {
    readonly element: HTMLElement;
    readonly #client: RequestClient;
    readonly #settings: TablePaneSettings;
    readonly #summary = make('p', { class: 'summary', role: 'status' });
    readonly #notice = make('div', { class: 'notice', hidden: true });
    readonly #content: HTMLElement;
    readonly #unsubscribe: () => void;
    #limit = FIRST_LIMIT;
    #running: AbortController | null = null;
    #retry: ReturnType<typeof setTimeout> | undefined;

    constructor(client: RequestClient, settings: TablePaneSettings) {
        this.#client = client;
        this.#settings = settings;
        const titleId = `pane-title-${++paneCount}`;
        // Focusable, so that the rows scroll by keyboard too.
        this.#content = make('div', {
            class: 'scroller',
            tabindex: 0,
            role: 'region',
            'aria-labelledby': titleId,
        });
        const head = make(
            'div',
            { class: 'pane-head' },
            make('h2', { id: titleId }, settings.title),
            this.#summary,
        );
        this.element = make(
            'section',
            { class: 'pane', 'aria-labelledby': titleId },
            head,
            this.#notice,
            this.#content,
        );
        this.#content.append(make('p', { class: 'empty' }, 'Waiting for data…'));
        this.#unsubscribe = onDataChange(client, () => void this.refresh());
    }

    /** Ends subscriptions and running work; the pane stays as it is. */
    dispose(): void {
        this.#unsubscribe();
        this.#abandon();
    }

    /** Asks for the table anew; a request that is still running is cancelled. */
    async refresh(): Promise<void> {
        this.#abandon();
        const running = new AbortController();
        this.#running = running;
        this.#content.setAttribute('aria-busy', 'true');
        try {
            const answer = await requestWhenReady(this.#client, 'grid:get', flatProfile(this.#limit), running);
            this.#show(readTable(answer));
        } catch (failure) {
            if (this.#running === running) this.#takeFailure(failure);
        }
        if (this.#running === running) this.#content.removeAttribute('aria-busy');
    }

    #abandon(): void {
        clearTimeout(this.#retry);
        this.#running?.abort();
        this.#running = null;
    }

    #takeFailure(failure: unknown): void {
        if (failure instanceof RequestCanceled) {
            this.#retry = setTimeout(() => void this.refresh(), RETRY_PAUSE);
            return;
        }
        // Without a connection the status line speaks, and the pane refreshes as soon as there is one again.
        if (this.#client.state !== 'connected') return;
        const reason = failure instanceof RequestFailed ? failure.message : String(failure);
        this.#setNotice(
            'failure',
            `The table could not be read: ${reason}`,
            'Try again',
            () => void this.refresh(),
        );
    }

    #show(table: Table | null): void {
        this.#clearNotice();
        const count = table?.rows.length ?? 0;
        this.#summary.textContent = this.#countText(count);
        if (!table) {
            this.#content.replaceChildren(
                make('p', { class: 'empty' }, 'The profile holds nothing to show here.'),
            );
            return;
        }
        this.#content.replaceChildren(drawTable(table, this.#settings.title));
        if (!table.isComplete) this.#showCutNotice(count);
    }

    #showCutNotice(count: number): void {
        const reason = `Only the first ${this.#countText(count)} are shown; the profile holds more.`;
        this.#setNotice('cut', reason, `Show up to ${withThousands(this.#limit * MORE_FACTOR)}`, () => {
            this.#limit *= MORE_FACTOR;
            void this.refresh();
        });
    }

    #countText(count: number): string {
        return `${withThousands(count)} ${this.#settings.rowName[count === 1 ? 0 : 1]}`;
    }

    #setNotice(kind: 'failure' | 'cut', reason: string, actionLabel: string, action: () => void): void {
        this.#notice.dataset['kind'] = kind;
        this.#notice.setAttribute('role', kind === 'failure' ? 'alert' : 'note');
        this.#notice.replaceChildren(make('p', {}, reason), makeButton(actionLabel, action));
        this.#notice.hidden = false;
    }

    #clearNotice(): void {
        this.#notice.hidden = true;
        this.#notice.replaceChildren();
    }
}

function flatProfile(limit: number): Bag {
    const request = new Bag().put('queryType', text('flatProfile')).put('limit', text(String(limit)));
    request.putOwn('grouping', text('RootGrouping'));
    request.addChild('columns').putOwn('column', text('/Metrics'));
    return request;
}
