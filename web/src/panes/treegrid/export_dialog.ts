import { type OpenDialog, openDialog } from '../../page/dialog.js';
import { make, makeButton } from '../../page/dom.js';
import { failureSentence, isNotServed } from '../../page/failure_text.js';
import { RequestCanceled, RequestFailed } from '../../wire/index.js';
import { type GridRequests, type ResolvedPath } from './grid_requests.js';

type ExportRequests = Pick<GridRequests, 'exportDownload' | 'resolvePath' | 'exportToCsv'>;

export interface ExportSettings {
    /** What the downloaded file is to be called. */
    readonly fileName: string;
    /** What a person has to know of what the file holds; empty if nothing. */
    readonly remark: string;
    /** Tells what was done, once the dialog is closed. */
    readonly done: (text: string) => void;
}

/** Offers the rows of a grid as a CSV file: as a download of the browser, or written where the profile is served. */
export function openExportDialog(requests: ExportRequests, settings: ExportSettings): void {
    new ExportDialog(requests, settings);
}

class ExportDialog {
    readonly #requests: ExportRequests;
    readonly #settings: ExportSettings;
    readonly #path = make('input', { id: 'export-path', type: 'text', required: true, autocomplete: 'off' });
    readonly #write = make('button', { type: 'submit', class: 'button' }, 'Write');
    readonly #download = makeButton('Download', () => void this.#downloadFile(), 'button main');
    readonly #question = make('div', { class: 'question', role: 'alert', hidden: true });
    readonly #failure = make('p', { class: 'failure', role: 'alert' });
    readonly #dialog: OpenDialog;

    constructor(requests: ExportRequests, settings: ExportSettings) {
        this.#requests = requests;
        this.#settings = settings;
        const about = `All rows that are open now, with the columns that show. ${settings.remark}`;
        this.#dialog = openDialog(
            'Export to CSV',
            make('p', { class: 'hint' }, about),
            make('div', { class: 'buttons start' }, this.#download),
            this.#makeForm(),
            this.#question,
            this.#failure,
            make(
                'div',
                { class: 'buttons' },
                makeButton('Close', () => this.#dialog.close()),
            ),
        );
        this.#download.focus();
    }

    #makeForm(): HTMLElement {
        const label = make(
            'label',
            { for: 'export-path' },
            'Or write a file on the machine that serves the profile',
        );
        const line = make('div', { class: 'line' }, this.#path, this.#write);
        const form = make('form', {}, make('div', { class: 'field' }, label, line));
        form.addEventListener('submit', (event) => {
            event.preventDefault();
            void this.#writeFile(this.#path.value);
        });
        this.#path.addEventListener('input', () => (this.#question.hidden = true));
        return form;
    }

    #downloadFile(): Promise<void> {
        return this.#run('The file could not be made', async (signal) => {
            const url = await this.#requests.exportDownload(this.#settings.fileName, signal);
            make('a', { href: url, download: '' }).click();
            this.#close(`${this.#settings.fileName} is being downloaded.`);
        });
    }

    /** Asks first if that would replace a file. */
    #writeFile(path: string): Promise<void> {
        return this.#run('The file could not be written', async (signal) => {
            const resolved = await this.#resolve(path, signal);
            if (resolved.exists) this.#ask(resolved.path);
            else await this.#writeTo(resolved.path, signal);
        });
    }

    async #writeTo(path: string, signal: AbortSignal): Promise<void> {
        await this.#requests.exportToCsv(path, signal).catch((failure: unknown) => {
            // All that the host says of a file that it cannot open.
            const isClosed = failure instanceof RequestFailed && failure.message === 'IsNot.Valid.Object';
            throw isClosed ? new Error(`${path} cannot be opened for writing.`) : failure;
        });
        this.#close(`The rows were written to ${path}.`);
    }

    /** A host that cannot tell whether a file exists may hold one. */
    async #resolve(path: string, signal: AbortSignal): Promise<ResolvedPath> {
        try {
            return await this.#requests.resolvePath(path, signal);
        } catch (failure) {
            if (!isNotServed(failure)) throw failure;
            return { path, exists: true };
        }
    }

    #ask(path: string): void {
        const replace = makeButton(
            'Replace',
            () => void this.#run('The file could not be written', (signal) => this.#writeTo(path, signal)),
        );
        const keep = makeButton('Keep', () => {
            this.#question.hidden = true;
            this.#path.focus();
        });
        this.#question.replaceChildren(
            make('p', {}, `Replace the file ${path}?`),
            make('div', { class: 'buttons' }, keep, replace),
        );
        this.#question.hidden = false;
        keep.focus();
    }

    #close(text: string): void {
        this.#dialog.close();
        this.#settings.done(text);
    }

    /** Closing the dialog cancels what runs. */
    async #run(whatFailed: string, step: (signal: AbortSignal) => Promise<void>): Promise<void> {
        this.#setBusy(true);
        try {
            await step(this.#dialog.closed);
        } catch (failure) {
            if (failure instanceof RequestCanceled && failure.by === 'page') return;
            const reason = isNotServed(failure) ? 'This host offers no downloads.' : failureSentence(failure);
            this.#failure.textContent = `${whatFailed}. ${reason}`;
        } finally {
            this.#setBusy(false);
        }
    }

    #setBusy(isBusy: boolean): void {
        if (isBusy) this.#failure.textContent = '';
        if (isBusy) this.#question.hidden = true;
        for (const button of [this.#download, this.#write]) button.disabled = isBusy;
    }
}
