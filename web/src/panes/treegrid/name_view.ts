import { make } from '../../page/dom.js';
import { type ColumnTree } from './column_tree.js';
import { drawCutText } from './cut_text.js';
import { type GridRow } from './grid_answer.js';
import { fileNameLength, placeOf, type RowPlace } from './row_place.js';
import { type Hit } from './search_result.js';

const TOGGLES: Readonly<Record<GridRow['state'], string>> = { '+': '▸', '-': '▾', ' ': '', w: '' };

/** Characters at the end of a name that stay in sight; a shorter name is cut at its end only. */
const NAME_TAIL = 16;
const LONGEST_TAIL = 26;
const SHORT_NAME = 32;

/** From this level on a number says how deep a row is: steps to the right are too small to count. */
const FIRST_MARKED_LEVEL = 6;

/** Levels, and how many pixels each of them goes further to the right. */
const STEPS: readonly (readonly [levels: number, step: number])[] = [
    [7, 16],
    [10, 6],
    [20, 2],
    [Infinity, 0],
];

/** How far to the right the name of a row begins, in pixels. */
export function indentOf(level: number): number {
    let indent = 0;
    let rest = level;
    for (const [levels, step] of STEPS) {
        indent += Math.min(rest, levels) * step;
        rest = Math.max(0, rest - levels);
    }
    return indent;
}

/** Draws the cell that names a row: how deep it is, its switch, the name, and where its function is at home. */
export function drawName(
    cell: HTMLElement,
    tree: ColumnTree,
    row: GridRow,
    text: string,
    hits: readonly Hit[],
    currentHit: number,
): void {
    const { level, state } = row;
    cell.style.setProperty('--indent', `${indentOf(level)}px`);
    const waiting = state === 'w' ? ' waiting' : '';
    cell.append(
        make(
            'span',
            { class: `tg-toggle${waiting}`, 'data-state': state, 'aria-hidden': 'true' },
            TOGGLES[state],
        ),
    );
    if (level >= FIRST_MARKED_LEVEL)
        cell.append(make('span', { class: 'tg-level', 'aria-hidden': 'true' }, String(level)));
    const name = drawCutText(text, tailOf(text), hits, currentHit);
    name.classList.add('tg-text', 'tg-name');
    cell.append(name);
    const place = placeOf(tree, row);
    cell.title = [text, place.module, place.file, cell.title].filter((line) => line !== '').join('\n');
    if (place.module !== '' || place.file !== '') cell.append(drawPlace(place));
}

/** Characters to keep at the end of a name: the function without its scope if that is short, else just some. */
function tailOf(name: string): number {
    if (name.length <= SHORT_NAME) return 0;
    const parameters = name.indexOf('(');
    const path = parameters > 0 ? name.slice(0, parameters) : name;
    const scope = Math.max(path.lastIndexOf('::') + 2, path.lastIndexOf('.') + 1, path.lastIndexOf('/') + 1);
    const own = [...name.slice(scope)].length;
    return own >= NAME_TAIL / 2 && own <= LONGEST_TAIL ? own : NAME_TAIL;
}

function drawPlace({ module, file }: RowPlace): HTMLElement {
    const paths = [module, file].filter((path) => path !== '');
    const parts = paths.map((path) => drawCutText(path, fileNameLength(path)));
    return make('span', { class: 'tg-place' }, ...parts);
}
