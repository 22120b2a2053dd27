import { ConnectionLost, RequestFailed } from '../wire/index.js';

/** Kinds of failures name what happened in words with points between them, and the message follows. */
const KIND = /^(FailedTo|IsNot)((?:\.\w+)*)(?:: ?|$)/;

/** What went wrong, as a sentence for a person; empty if there is nothing to say. */
export function failureSentence(failure: unknown): string {
    if (failure instanceof ConnectionLost) return 'There is no connection to the profile.';
    const text = failure instanceof Error ? failure.message : String(failure);
    const kind = KIND.exec(text);
    if (!kind) return sentence(text);
    const message = text.slice(kind[0].length).trim();
    // More than a word is a message that says it all.
    if (/\s/.test(message)) return sentence(message);
    const words = kind[2]!.split('.').slice(1).join(' ').toLowerCase();
    return kind[1] === 'FailedTo' ? failedSentence(words, message) : invalidSentence(words, message);
}

function failedSentence(words: string, message: string): string {
    const what = words === '' ? 'It did not work' : `Could not ${words}`;
    return message === '' ? `${what}.` : `${what} "${message}".`;
}

function invalidSentence(words: string, message: string): string {
    const what = words.replace(/^valid /, '');
    const subject = message === '' ? 'Something' : `"${message}"`;
    return what === '' ? `${subject} is not valid.` : `${subject} is not a valid ${what}.`;
}

function sentence(text: string): string {
    if (text === '') return '';
    const start = /^[a-z]+\b(?!["'(./:])/.test(text) ? text.charAt(0).toUpperCase() + text.slice(1) : text;
    return /[.!?…]$/.test(start) ? start : `${start}.`;
}

/** Whether the host has nobody who serves requests of that kind at all. */
export function isNotServed(failure: unknown): boolean {
    return (
        failure instanceof RequestFailed && failure.message === `IsNot.Valid.Parameter: ${failure.requestType}`
    );
}
