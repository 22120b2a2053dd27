import { make } from '../../page/dom.js';
import { cutAtHits } from './cell_text.js';
import { type Hit } from './search_result.js';

/** A stretch of a text in code points. */
interface Stretch {
    readonly from: number;
    readonly to: number;
    /** Gives way to an ellipsis where the text is too long. */
    readonly isCut: boolean;
}

/**
 * Draws a text that is cut in its middle where it does not fit: its last `tail` characters stay, and so does the hit
 * that a person is at. The whole text is in the page, to be marked and copied. Needs a font of one width.
 */
export function drawCutText(
    text: string,
    tail: number,
    hits: readonly Hit[] = [],
    currentHit = 0,
): HTMLElement {
    const element = make('span', { class: 'cut' });
    const stretches = stretchesOf([...text].length, tail, hits, currentHit);
    const lengthOf = (isWanted: boolean) =>
        stretches.reduce((sum, { from, to, isCut }) => sum + (isCut === isWanted ? to - from : 0), 0);
    const [cut, kept] = [lengthOf(true), lengthOf(false)];
    for (const { from, to, isCut } of stretches) {
        const part = make('span', { class: isCut ? 'cut-part' : undefined });
        const share = (to - from) / cut;
        if (isCut) part.style.maxWidth = widthOrNothing(`(100% - ${kept}ch) * ${share}`, to - from);
        drawPieces(part, text, hits, currentHit, from, to);
        element.append(part);
    }
    return element;
}

/** A width in which an ellipsis and a few letters have room, or the whole text; else none at all. */
function widthOrNothing(width: string, length: number): string {
    const least = Math.min(4, length) - 0.5;
    return `min(${width}, max(0px, (${width} - ${least}ch) * 10000))`;
}

/** Draws the hits of a text as marks. */
export function drawHits(element: HTMLElement, text: string, hits: readonly Hit[], currentHit: number): void {
    if (hits.length === 0) element.append(text);
    else drawPieces(element, text, hits, currentHit, 0, Infinity);
}

function stretchesOf(length: number, tail: number, hits: readonly Hit[], currentHit: number): Stretch[] {
    const end = Math.max(0, length - tail);
    const hit = hits.find(({ number }) => number === currentHit) ?? hits[0];
    const bounds = hit && hit.end <= end ? [0, hit.start, hit.end, end, length] : [0, end, length];
    const stretches = bounds.slice(1).map((to, at) => ({ from: bounds[at]!, to, isCut: at % 2 === 0 }));
    return stretches.filter(({ from, to }) => to > from);
}

function drawPieces(
    element: HTMLElement,
    text: string,
    hits: readonly Hit[],
    currentHit: number,
    from: number,
    to: number,
): void {
    for (const piece of cutAtHits(text, hits, from, to)) {
        const isCurrent = piece.hit === currentHit;
        if (piece.hit === 0) element.append(piece.text);
        else element.append(make('mark', { class: isCurrent ? 'current' : undefined }, piece.text));
    }
}
