import { openDialog } from '../../page/dialog.js';
import { make, makeButton } from '../../page/dom.js';
import { failureSentence } from '../../page/failure_text.js';
import { Bag, RequestCanceled, type RequestClient, text } from '../../wire/index.js';

/** The one option that something here goes by: the host keeps more of them, for other products. */
const KEY = 'resultNameTemplate';

/**
 * Opens the options: reads them, lets the person change them, stores what was changed. A failure is told in the
 * dialog, which stays open.
 */
export function openOptionsDialog(client: RequestClient): void {
    void new OptionsDialog(client).load();
}

class OptionsDialog {
    readonly #client: RequestClient;
    readonly #input = make('input', {
        id: `option-${KEY}`,
        type: 'text',
        autocomplete: 'off',
        spellcheck: 'false',
        'aria-describedby': 'option-hint',
    });
    readonly #fields = make('fieldset', { class: 'fields', disabled: true }, this.#makeField());
    readonly #failure = make('p', { class: 'failure', role: 'alert' });
    readonly #dialog = openDialog('Options', this.#makeForm());
    #stored: string | undefined;

    constructor(client: RequestClient) {
        this.#client = client;
    }

    async load(): Promise<void> {
        await this.#run('The options could not be read', async () => {
            this.#stored = await this.#read();
            this.#input.value = this.#stored;
        });
        this.#input.focus();
    }

    #makeField(): HTMLElement {
        return make(
            'div',
            { class: 'field' },
            make('label', { for: `option-${KEY}` }, 'Name of new results'),
            this.#input,
            make(
                'p',
                { id: 'option-hint', class: 'hint' },
                'What panedeck import calls the result that it makes. Each @ is a digit of its number, {at} the kind of analysis.',
            ),
        );
    }

    #makeForm(): HTMLElement {
        const save = make('button', { type: 'submit', class: 'button main' }, 'Save');
        const cancel = makeButton('Cancel', () => this.#dialog.close());
        const buttons = make('div', { class: 'buttons' }, cancel, save);
        const form = make('form', {}, this.#fields, this.#failure, buttons);
        form.addEventListener('submit', (event) => {
            event.preventDefault();
            void this.#save();
        });
        return form;
    }

    async #read(): Promise<string> {
        const answer = await this.#client.request('options:get', new Bag(), { signal: this.#dialog.closed });
        const value = answer.text(KEY);
        if (value === undefined) throw new Error(`The answer does not say "${KEY}".`);
        return value;
    }

    async #save(): Promise<void> {
        const wanted = this.#input.value;
        if (this.#stored === undefined || wanted === this.#stored) return this.#dialog.close();
        await this.#run('The options could not be stored', async () => {
            const change = new Bag().putOwn(KEY, text(wanted));
            await this.#client.request('options:set', change, { signal: this.#dialog.closed });
            // The host drops what it does not accept without a word, so look at what came of it.
            this.#stored = await this.#read();
            if (this.#stored !== wanted) throw new Error('This is no name for a folder.');
            this.#dialog.close();
        });
    }

    /** Runs one step with the field locked and shows its failure. */
    async #run(whatFailed: string, step: () => Promise<void>): Promise<void> {
        const focused = document.activeElement;
        this.#fields.disabled = true;
        this.#failure.textContent = '';
        try {
            await step();
        } catch (failure) {
            if (failure instanceof RequestCanceled && failure.by === 'page') return;
            this.#failure.textContent = `${whatFailed}. ${failureSentence(failure)}`;
        }
        this.#fields.disabled = this.#stored === undefined;
        // A control that is locked loses the focus.
        if (focused instanceof HTMLElement) focused.focus();
    }
}
