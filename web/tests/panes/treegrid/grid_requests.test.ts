import { afterEach, beforeEach, describe, expect, it, vi } from 'vitest';
import { GridRequests } from '../../../src/panes/treegrid/grid_requests.js';
import { Bag, RequestCanceled, type RequestClient, RequestFailed } from '../../../src/wire/index.js';
import { bagToXml } from '../../../src/wire/xml_writer.js';

const QUERY = { queryType: 'topDown', grouping: '/CallStack', expandLevels: 2 };

describe('the requests of a grid', () => {
    beforeEach(() => void vi.useFakeTimers());
    afterEach(() => void vi.useRealTimers());

    /** Requests whose answers are these, one after the other, and what was sent. */
    function requestsWith(...answers: (Bag | Error)[]) {
        const sent: string[] = [];
        const request = (type: string, params: Bag) => {
            sent.push(bagToXml(params, type.replace(':', '.')));
            const answer = answers.shift() ?? new Bag();
            return answer instanceof Error ? Promise.reject(answer) : Promise.resolve(answer);
        };
        return { sent, requests: new GridRequests({ request } as unknown as RequestClient, 'g', QUERY) };
    }
    const { signal } = new AbortController();

    it('ask again when the host cancelled in favour of something else', async () => {
        const canceled = () => new RequestCanceled('gridview:scroll', 'host');
        const { sent, requests } = requestsWith(canceled(), canceled(), new Bag());
        const answer = requests.scroll({ start: 5, count: 7 }, signal);
        await vi.advanceTimersByTimeAsync(10_000);
        expect((await answer).hasGrid).toBe(false);
        expect(sent).toHaveLength(3);
        expect(new Set(sent).size).toBe(1);
    });

    it.each<[string, Error]>([
        ['failed', new RequestFailed('gridview:sort', 'no')],
        ['was cancelled by the page', new RequestCanceled('gridview:sort', 'page')],
    ])('end when one %s', async (_, failure) => {
        const { sent, requests } = requestsWith(failure);
        await expect(requests.sort(1, true, signal)).rejects.toBe(failure);
        expect(sent).toHaveLength(1);
    });

    it('give up on a host that cancels for ever', async () => {
        const { requests } = requestsWith(
            ...Array.from({ length: 99 }, () => new RequestCanceled('x', 'host')),
        );
        const answer = requests.bulk('collapseAllRows', signal).catch((failure: unknown) => failure);
        await vi.advanceTimersByTimeAsync(60_000);
        expect(await answer).toBeInstanceOf(RequestCanceled);
    });

    it('leave out a fact about rows that the host does not have', async () => {
        const failure = new RequestFailed('gridview:refresh', 'FailedTo.Create.The.Query: /Info/SourceLine');
        const { sent, requests } = requestsWith(failure);
        await requests.refresh({ start: 0, count: 1 }, {}, signal);
        expect(sent.map((frame) => frame.includes('/Info/SourceLine'))).toEqual([true, false]);
        expect(sent[1]).toContain('/Info/SourceFile');
    });

    const own = (name: string, value: string) => `<${name}><_>${value}</_></${name}>`;
    const int = (name: string, value: number) => `<${name}><_ type="s32_t">${value}</_></${name}>`;
    const ids = own('gridid', 'g') + own('paneId', 'g');

    it.each<[string, (requests: GridRequests) => Promise<unknown>, string]>([
        [
            'a window names the grouping and the levels',
            (requests) => requests.scroll({ start: 5, count: 7 }, signal),
            `<scroll>${ids}${int('row', 5)}${int('count', 7)}${own('grouping', '/CallStack')}${int('expandLevels', 2)}</scroll>`,
        ],
        [
            'a row is addressed by place and id',
            (requests) => requests.expand({ row: 3, id: '18446744073709551615' }, signal),
            `<expand>${ids}${int('row', 3)}${own('rowId', '18446744073709551615')}</expand>`,
        ],
        [
            'a selection',
            (requests) => requests.select({ type: 'toggle', row: 4 }, '9', signal),
            `<selection>${ids}${int('row', 4)}${own('rowId', '9')}${own('selectionType', 'toggle')}</selection>`,
        ],
        [
            'a search for anything',
            (requests) => requests.search('<a & b>', signal),
            `<search>${ids}${own('searchKey', '&lt;a &amp; b&gt;')}</search>`,
        ],
    ])('%s', async (_, ask, expected) => {
        const { sent, requests } = requestsWith();
        await ask(requests);
        expect(sent).toEqual([`<gridview>${expected}</gridview>`]);
    });

    it('a refresh brings focus and sorting along, ids in a kind that holds them', async () => {
        const { sent, requests } = requestsWith();
        const focus = { objectId: 18446744073709551615n, grouping: '/Function', name: 'f' };
        const sorting = { query: '/Metrics/Time', queryFlag: 20, isDescending: false };
        await requests.refresh({ start: 0, count: 1 }, { focus, sorting }, signal);
        expect(sent[0]).toContain(
            '<focusObjectInfo><objectid type="u64_t">18446744073709551615</objectid><grouping>/Function</grouping></focusObjectInfo>',
        );
        expect(sent[0]).toContain(
            '<persistedSorting><query>/Metrics/Time</query><queryFlag type="s32_t">20</queryFlag><descending type="bool">false</descending></persistedSorting>',
        );
        expect(sent[0]).not.toContain('stackMode');
    });
});
