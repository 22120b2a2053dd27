import './dialog.css';
import { make } from './dom.js';

export interface OpenDialog {
    readonly element: HTMLDialogElement;
    /** Aborted as soon as the dialog is closed. */
    readonly closed: AbortSignal;
    close(): void;
}

let dialogCount = 0;

/** Opens a dialog with a title above its content. Esc closes it, and the focus returns to where it was. */
export function openDialog(title: string, ...content: readonly HTMLElement[]): OpenDialog {
    const id = `dialog-${++dialogCount}`;
    const closed = new AbortController();
    const body = make('div', { class: 'dialog-body' }, make('h2', { id }, title), ...content);
    const element = make('dialog', { class: 'dialog', 'aria-labelledby': id }, body);
    element.addEventListener('close', () => {
        closed.abort();
        element.remove();
    });
    document.body.append(element);
    element.showModal();
    return { element, closed: closed.signal, close: () => element.close() };
}
