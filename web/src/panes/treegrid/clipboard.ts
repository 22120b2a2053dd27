import { make } from '../../page/dom.js';

/**
 * Puts a text on the clipboard. Where the page may not use the clipboard by itself, through a selected text field.
 * @throws Error if neither way works.
 */
export async function copyText(text: string): Promise<void> {
    try {
        await navigator.clipboard.writeText(text);
    } catch {
        copyThroughField(text);
    }
}

function copyThroughField(text: string): void {
    const focused = document.activeElement;
    const field = make('textarea', { class: 'unseen', 'aria-hidden': 'true' });
    field.value = text;
    document.body.append(field);
    field.select();
    const isCopied = document.execCommand('copy');
    field.remove();
    if (focused instanceof HTMLElement) focused.focus();
    if (!isCopied) throw new Error('The browser does not let this page use the clipboard');
}
