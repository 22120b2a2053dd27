import { openDialog } from './dialog.js';
import { make, makeButton } from './dom.js';

type Entry = readonly [keys: string, what: string];

const GROUPS: readonly (readonly [title: string, entries: readonly Entry[]])[] = [
    [
        'Rows',
        [
            ['↑ ↓, Page Up, Page Down, Home, End', 'go to another row and select it'],
            ['Shift with these', 'select all rows on the way'],
            ['Ctrl with these', 'go there, the selection stays'],
            ['Space', 'take the row into the selection, or out of it'],
            ['Ctrl+A, Esc', 'select all rows, none'],
        ],
    ],
    [
        'Opening',
        [
            ['→ or +, ← or -', 'open, close; ← also goes to the row above'],
            ['Enter', 'open or close'],
            ['H', 'open the hottest path below the row; again to go on where it splits'],
            ['*, /', 'open everything, close everything'],
            ['Ctrl++', 'open the selected rows'],
            ['Esc', 'stop what takes long'],
        ],
    ],
    [
        'Search and copy',
        [
            ['Ctrl+F, F3, Shift+F3', 'search the open rows, next hit, previous hit'],
            ['Ctrl+C', 'copy the selected rows, or the text that is marked'],
        ],
    ],
    [
        'Columns',
        [
            ['Tab', 'go to the heads of the columns, then ← →'],
            ['Enter', 'sort; again for the other order'],
            ['Alt+↓', 'the menu of the column'],
            ['Shift+← Shift+→', 'narrower, wider'],
            ['Ctrl+← Ctrl+→', 'scroll sideways'],
        ],
    ],
];

/** Shows the keys. */
export function openKeysDialog(): void {
    const groups = GROUPS.map(([title, entries]) =>
        make('div', { class: 'keys' }, make('h3', {}, title), make('dl', {}, ...entries.flatMap(drawEntry))),
    );
    const close = makeButton('Close', () => dialog.close());
    const content = make('div', { class: 'key-groups' }, ...groups);
    const dialog = openDialog('Keys', content, make('div', { class: 'buttons' }, close));
    dialog.element.classList.add('wide');
    close.focus({ preventScroll: true });
}

function drawEntry([keys, what]: Entry): HTMLElement[] {
    return [make('dt', {}, keys), make('dd', {}, what)];
}

/** Opens it on "?" from anywhere but a field to write in, and but another dialog. */
export function listenForKeysKey(): void {
    document.addEventListener('keydown', (event) => {
        const target = event.target instanceof Element ? event.target : document.body;
        const isTaken = event.defaultPrevented || event.ctrlKey || event.altKey || event.metaKey;
        if (event.key !== '?' || isTaken || target.closest('input, textarea, select, dialog, .menu')) return;
        event.preventDefault();
        openKeysDialog();
    });
}
