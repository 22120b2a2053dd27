import { type RowRange } from './row_cache.js';

/** Browsers cut elements that are much higher than this. */
const GREATEST_HEIGHT = 8_000_000;

/** A scroll bar rounds its position; a step back to where it was set must not count as a move. */
const ROUNDING = 1;

/**
 * Where rows of one height stand on a scroll bar that may be too short for all of them. Up to the greatest height a
 * browser can take, a pixel of the bar is a pixel of the rows; beyond, the bar is a scale and the exact place is kept
 * here, so that wheel and keys still move by single rows.
 */
export class ScrollScale {
    #rowCount = 0;
    #viewHeight = 0;
    #top = 0;
    #barTop = 0;

    constructor(readonly rowHeight: number) {}

    setRowCount(count: number): void {
        this.#rowCount = count;
        this.setTop(this.#top);
    }

    /** How many pixels of rows show. */
    setViewHeight(height: number): void {
        this.#viewHeight = Math.max(0, height);
        this.setTop(this.#top);
    }

    /** How high all rows are. */
    get fullHeight(): number {
        return this.#rowCount * this.rowHeight;
    }

    /** How high the element behind the scroll bar is to be. */
    get barHeight(): number {
        return Math.min(this.fullHeight, GREATEST_HEIGHT);
    }

    get isScaled(): boolean {
        return this.fullHeight > GREATEST_HEIGHT;
    }

    /** Pixels of rows above the first that shows. */
    get top(): number {
        return this.#top;
    }

    /** Where the scroll bar belongs. */
    get barTop(): number {
        return this.#barTop;
    }

    /** Moves to so many pixels of rows. */
    setTop(top: number): void {
        this.#top = Math.min(Math.max(0, top), this.#range(this.fullHeight));
        this.#barTop = this.#top * this.#share();
    }

    /** Takes over where a person moved the scroll bar; false if it stands where it was set. */
    takeBarTop(barTop: number): boolean {
        if (Math.abs(barTop - this.#barTop) < ROUNDING) return false;
        this.#barTop = barTop;
        const share = this.#share();
        this.#top = Math.min(share === 0 ? 0 : barTop / share, this.#range(this.fullHeight));
        return true;
    }

    /** The rows that show, also those that show in part. */
    get shown(): RowRange {
        const start = Math.floor(this.#top / this.rowHeight);
        const end = Math.min(this.#rowCount, Math.ceil((this.#top + this.#viewHeight) / this.rowHeight));
        return { start: Math.min(start, this.#rowCount), count: Math.max(0, end - start) };
    }

    /** How many rows show at the most, in part or in whole. */
    get capacity(): number {
        return Math.ceil(this.#viewHeight / this.rowHeight) + 1;
    }

    /** How many rows show in whole. */
    get pageRows(): number {
        return Math.max(1, Math.floor(this.#viewHeight / this.rowHeight));
    }

    /** Where a row stands in the element behind the scroll bar. */
    positionOf(row: number): number {
        const place = row * this.rowHeight;
        return this.isScaled ? place - this.#top + this.#barTop : place;
    }

    /** Whether a row shows in whole. */
    holds(row: number): boolean {
        const place = row * this.rowHeight;
        return place >= this.#top && place + this.rowHeight <= this.#top + this.#viewHeight;
    }

    /** Moves by as little as shows the row in whole; false if it does already. */
    reveal(row: number): boolean {
        const before = this.#top;
        const place = row * this.rowHeight;
        if (place < this.#top) this.setTop(place);
        else if (place + this.rowHeight > this.#top + this.#viewHeight)
            this.setTop(place + this.rowHeight - this.#viewHeight);
        return this.#top !== before;
    }

    /** Moves so that the row stands in the middle. */
    center(row: number): void {
        this.setTop(row * this.rowHeight - (this.#viewHeight - this.rowHeight) / 2);
    }

    #range(height: number): number {
        return Math.max(0, height - this.#viewHeight);
    }

    #share(): number {
        const range = this.#range(this.fullHeight);
        return range === 0 ? 0 : this.#range(this.barHeight) / range;
    }
}
