import { make, makeButton } from '../../page/dom.js';

/**
 * Asks for the path of a CSV file and has it written. A failure is told in the dialog, which stays open; Esc closes it
 * and cancels what runs.
 */
export function openCsvDialog(write: (path: string, signal: AbortSignal) => Promise<void>): void {
    const closed = new AbortController();
    const input = make('input', { id: 'csv-path', type: 'text', required: true, autocomplete: 'off' });
    const failure = make('p', { class: 'failure', role: 'alert' });
    const submit = make('button', { type: 'submit', class: 'button main' }, 'Export');
    const field = make(
        'div',
        { class: 'field' },
        make('label', { for: 'csv-path' }, 'File to write, on the machine that serves the profile'),
        input,
    );
    const cancel = makeButton('Cancel', () => dialog.close());
    const title = make('h2', { id: 'csv-title' }, 'Export to CSV');
    const form = make('form', {}, title, field, failure, make('div', { class: 'buttons' }, cancel, submit));
    const dialog = make('dialog', { class: 'dialog', 'aria-labelledby': 'csv-title' }, form);
    dialog.addEventListener('close', () => {
        closed.abort();
        dialog.remove();
    });
    form.addEventListener('submit', (event) => {
        event.preventDefault();
        failure.textContent = '';
        submit.disabled = true;
        write(input.value, closed.signal)
            .then(() => dialog.close())
            .catch((reason: unknown) => {
                const text = reason instanceof Error ? reason.message : String(reason);
                failure.textContent = `The file could not be written: ${text}`;
            })
            .finally(() => (submit.disabled = false));
    });
    document.body.append(dialog);
    dialog.showModal();
}
