import './options.css';
import { make, makeButton } from '../../page/dom.js';
import { Bag, RequestCanceled, type RequestClient } from '../../wire/index.js';
import { differing, OPTION_FIELDS, type OptionValues, readOptions, writeChanges } from './options_fields.js';
import { OptionsForm } from './options_form.js';

/**
 * Opens the options dialog: reads the options, lets the person change them, stores what was changed. It closes on
 * Esc, and the focus then returns to where it was. A failure is told in the dialog, which stays open.
 */
export function openOptionsDialog(client: RequestClient): void {
    const dialog = new OptionsDialog(client);
    void dialog.open();
}

class OptionsDialog {
    readonly #client: RequestClient;
    readonly #closed = new AbortController();
    readonly #form = new OptionsForm();
    readonly #failure = make('p', { class: 'failure', role: 'alert' });
    readonly #save = make('button', { type: 'submit', class: 'button main', disabled: true }, 'Save');
    readonly #dialog = this.#makeDialog();
    #stored: OptionValues = new Map();

    constructor(client: RequestClient) {
        this.#client = client;
    }

    async open(): Promise<void> {
        document.body.append(this.#dialog);
        this.#dialog.showModal();
        await this.#run('The options could not be read', async () => {
            this.#stored = await this.#load();
            this.#form.show(this.#stored);
        });
        this.#form.focus();
    }

    #makeDialog(): HTMLDialogElement {
        const cancel = makeButton('Cancel', () => this.#dialog.close());
        const buttons = make('div', { class: 'buttons' }, cancel, this.#save);
        const form = make(
            'form',
            {},
            make('h2', { id: 'options-title' }, 'Options'),
            this.#form.element,
            this.#failure,
            buttons,
        );
        form.addEventListener('submit', (event) => {
            event.preventDefault();
            void this.#store();
        });
        const dialog = make('dialog', { class: 'dialog', 'aria-labelledby': 'options-title' }, form);
        dialog.addEventListener('close', () => {
            this.#closed.abort();
            dialog.remove();
        });
        return dialog;
    }

    async #load(): Promise<OptionValues> {
        return readOptions(await this.#client.request('options:get', new Bag(), this.#closed));
    }

    async #store(): Promise<void> {
        const wanted = this.#form.read();
        const changes = new Bag();
        const changed = writeChanges(this.#stored, wanted, changes);
        if (changed.length === 0) return this.#dialog.close();
        await this.#run('The options could not be stored', async () => {
            await this.#client.request('options:set', changes, this.#closed);
            // The host drops what it does not accept without a word, so look at what came of it.
            this.#stored = await this.#load();
            const refused = differing(this.#stored, wanted).filter((key) => changed.includes(key));
            if (refused.length > 0) throw new Error(`not accepted: ${refused.map(labelOf).join(', ')}`);
            this.#dialog.close();
        });
    }

    /** Runs one step with the form locked and shows its failure; the form is usable again if it holds options. */
    async #run(whatFailed: string, step: () => Promise<void>): Promise<void> {
        const focused = document.activeElement;
        this.#setUsable(false);
        this.#failure.textContent = '';
        try {
            await step();
        } catch (failure) {
            if (failure instanceof RequestCanceled && failure.by === 'page') return;
            const reason = failure instanceof Error ? failure.message : String(failure);
            this.#failure.textContent = `${whatFailed}: ${reason}`;
        }
        this.#setUsable(this.#stored.size > 0);
        // A control that is locked loses the focus.
        if (focused instanceof HTMLElement) focused.focus();
    }

    #setUsable(usable: boolean): void {
        this.#form.enabled = usable;
        this.#save.disabled = !usable;
    }
}

function labelOf(key: string): string {
    return OPTION_FIELDS.find((field) => field.key === key)?.label ?? key;
}
