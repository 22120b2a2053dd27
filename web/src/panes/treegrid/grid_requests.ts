import {
    Bag,
    bool,
    double,
    type Plain,
    RequestCanceled,
    type RequestClient,
    RequestFailed,
    s32,
    text,
    u64,
    type Value,
} from '../../wire/index.js';
import { type ColumnTree } from './column_tree.js';
import { type GridAnswer, readGridAnswer } from './grid_answer.js';
import { type RowRange } from './row_cache.js';
import { PLACE_QUERIES } from './row_place.js';
import { type RowPath } from './row_paths.js';
import { readSearch, type SearchResult } from './search_result.js';
import { type SelectionStep } from './selection_steps.js';

export type StackMode = 'tree' | 'chain';

/** An object of the profile that other trees are about: its id, and the grouping that the id belongs to. */
export interface FocusObject {
    readonly objectId: Plain;
    readonly grouping: string;
    readonly name: string;
}

/** What kind of tree a grid shows. */
export interface GridQuery {
    readonly queryType: string;
    readonly grouping: string;
    readonly expandLevels: number;
}

/** A sorting that outlives the columns' numbers. */
export interface NamedSorting {
    readonly query: string;
    readonly queryFlag: number;
    readonly isDescending: boolean;
}

/** What a refresh may bring along. */
export interface RefreshWishes {
    readonly focus?: FocusObject | undefined;
    /** For a host that does not know the grid yet; one that does keeps its own. */
    readonly sorting?: NamedSorting | undefined;
}

/** A row by its place, which is a hint, and its id, which counts. */
export interface RowAddress {
    readonly row: number;
    readonly id: string;
}

export interface ResolvedPath {
    /** From the root on. */
    readonly path: string;
    readonly exists: boolean;
}

/** Milliseconds until a request that the host cancelled is sent again, and how often that is done. */
const RETRY_PAUSE = 200;
const MOST_RETRIES = 25;

/** The requests of one grid: each as one function, in the words of the domain `gridview`. */
export class GridRequests {
    readonly #client: RequestClient;
    readonly #gridId: string;
    readonly #query: GridQuery;
    /** Facts about the rows, as far as the host has them. */
    #facts: readonly string[] = PLACE_QUERIES;

    /** @param gridId names the grid among all grids of all pages that the host serves. */
    constructor(client: RequestClient, gridId: string, query: GridQuery) {
        this.#client = client;
        this.#gridId = gridId;
        this.#query = query;
    }

    /** Says nothing of the stack mode: the host would note a new one without changing its rows. */
    async refresh(window: RowRange, wishes: RefreshWishes, signal: AbortSignal): Promise<GridAnswer> {
        for (;;) {
            try {
                return readGridAnswer(await this.#ask('refresh', this.#refreshBag(window, wishes), signal));
            } catch (failure) {
                // A grid without a fact about its rows is better than none.
                const facts = this.#facts.filter((query) => !isAbout(failure, query));
                if (facts.length === this.#facts.length) throw failure;
                this.#facts = facts;
            }
        }
    }

    #refreshBag(window: RowRange, { focus, sorting }: RefreshWishes): Bag {
        const request = this.#withWindow(this.#bag(), window).put('queryType', text(this.#query.queryType));
        const columns = request.addChild('columns');
        for (const query of ['/Metrics', ...this.#facts]) columns.putOwn('column', text(query));
        if (focus)
            request
                .addChild('focusObjectInfo')
                .put('objectid', valueOf(focus.objectId))
                .put('grouping', text(focus.grouping));
        if (sorting)
            request
                .addChild('persistedSorting')
                .put('query', text(sorting.query))
                .put('queryFlag', s32(sorting.queryFlag))
                .put('descending', bool(sorting.isDescending));
        return request;
    }

    async scroll(window: RowRange, signal: AbortSignal): Promise<GridAnswer> {
        return readGridAnswer(await this.#ask('scroll', this.#withWindow(this.#bag(), window), signal));
    }

    async expand(address: RowAddress, signal: AbortSignal): Promise<GridAnswer> {
        return readGridAnswer(await this.#ask('expand', this.#withRow(address), signal));
    }

    async collapse(address: RowAddress, signal: AbortSignal): Promise<GridAnswer> {
        return readGridAnswer(await this.#ask('collapse', this.#withRow(address), signal));
    }

    /** One of the requests that go for many rows. */
    async bulk(
        operation: 'expandSelectedRows' | 'collapseAllRows' | 'expandRowsRecursively',
        signal: AbortSignal,
    ): Promise<GridAnswer> {
        return readGridAnswer(await this.#ask(operation, this.#bag(), signal));
    }

    async sort(column: number, isDescending: boolean, signal: AbortSignal): Promise<GridAnswer> {
        const request = this.#bag();
        request.addChild('sorting').put('column', s32(column)).put('descending', bool(isDescending));
        return readGridAnswer(await this.#ask('sort', request, signal));
    }

    async changeStackMode(mode: StackMode, signal: AbortSignal): Promise<GridAnswer> {
        const request = this.#bag().putOwn('stackMode', text(mode));
        return readGridAnswer(await this.#ask('changeStackMode', request, signal));
    }

    async select(step: SelectionStep, id: string, signal: AbortSignal): Promise<GridAnswer> {
        const request = this.#withRow({ row: step.row, id }).putOwn('selectionType', text(step.type));
        return readGridAnswer(await this.#ask('selection', request, signal));
    }

    /** Opens the rows that hold a row, by what they show, and goes there; without such a row somewhere else. */
    async position(path: RowPath, signal: AbortSignal): Promise<GridAnswer> {
        const request = this.#bag();
        const references = request.addChild('focusRowReferences');
        for (const value of path)
            references
                .addChild('focusRowReference')
                .put('type', text(this.#query.grouping))
                .put('value', valueOf(value));
        return readGridAnswer(await this.#ask('position', request, signal));
    }

    async columnState(tree: ColumnTree, signal: AbortSignal): Promise<void> {
        const request = this.#bag();
        request.addChild('columnHierarchy', tree.toBag());
        await this.#ask('columnState', request, signal);
    }

    async search(key: string, signal: AbortSignal): Promise<SearchResult> {
        const answer = await this.#ask('search', this.#bag().putOwn('searchKey', text(key)), signal);
        return readGridAnswer(answer).search ?? readSearch(null);
    }

    /** The selected rows as text, a line each, below a line of captions. */
    async copyRows(signal: AbortSignal): Promise<string> {
        return (await this.#ask('copyRowsToClipboard', this.#bag(), signal)).text('copiedRows') ?? '';
    }

    /** Writes all rows to a file of the machine that the host runs on, in place of what it held. */
    async exportToCsv(filePath: string, signal: AbortSignal): Promise<void> {
        await this.#ask('exportToCsv', this.#bag().putOwn('filePath', text(filePath)), signal);
    }

    /** Has all rows put into a file that the browser can fetch once; gives its address, relative to the page. */
    async exportDownload(fileName: string, signal: AbortSignal): Promise<string> {
        const request = this.#bag().putOwn('fileName', text(fileName));
        const url = (await this.#client.request('export:download', request, { signal })).text('url') ?? '';
        if (!/^download\/[\w.~%/-]+$/.test(url)) throw new Error('The answer names no file to download.');
        return url;
    }

    /** What a path means on the machine that the host runs on. */
    async resolvePath(filePath: string, signal: AbortSignal): Promise<ResolvedPath> {
        const request = new Bag().putOwn('filePath', text(filePath));
        const answer = await this.#client.request('export:resolve', request, { signal });
        return { path: answer.text('path') ?? filePath, exists: answer.bool('exists') ?? true };
    }

    /** Asks again as long as the host cancels in favour of some other request: nobody took this one's place. */
    async #ask(operation: string, request: Bag, signal: AbortSignal): Promise<Bag> {
        for (let retry = 0; ; ++retry) {
            try {
                return await this.#client.request(`gridview:${operation}`, request, { signal });
            } catch (failure) {
                const again =
                    failure instanceof RequestCanceled && failure.by === 'host' && retry < MOST_RETRIES;
                if (!again) throw failure;
            }
            await new Promise((resolve) => setTimeout(resolve, RETRY_PAUSE));
        }
    }

    #bag(): Bag {
        return new Bag().putOwn('gridid', text(this.#gridId)).putOwn('paneId', text(this.#gridId));
    }

    /** The host keeps all fields of a window as they come, so the grouping and the levels go with every one. */
    #withWindow(request: Bag, { start, count }: RowRange): Bag {
        return request
            .putOwn('row', s32(start))
            .putOwn('count', s32(count))
            .putOwn('grouping', text(this.#query.grouping))
            .putOwn('expandLevels', s32(this.#query.expandLevels));
    }

    #withRow({ row, id }: RowAddress): Bag {
        return this.#bag().putOwn('row', s32(row)).putOwn('rowId', text(id));
    }
}

function isAbout(failure: unknown, query: string): boolean {
    return failure instanceof RequestFailed && new RegExp(`${query}(?!\\w)`).test(failure.message);
}

/** Plain data as a value of the kind that holds it. */
function valueOf(plain: Plain): Value {
    if (typeof plain === 'bigint') return u64(BigInt.asUintN(64, plain));
    if (typeof plain === 'string') return text(plain);
    if (typeof plain === 'boolean') return bool(plain);
    if (typeof plain !== 'number') return { kind: 'null', value: null };
    return Number.isInteger(plain) ? u64OrS32(plain) : double(plain);
}

function u64OrS32(integer: number): Value {
    return Math.abs(integer) < 2 ** 31 ? s32(integer) : u64(BigInt(integer));
}
