// What the tree grids show and what they ask for, and how rows are opened and closed.

import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import {
    CLOSED,
    OPENED,
    TREE,
    browser,
    chooseTool,
    currentRow,
    grid,
    head,
    key,
    lastFrame,
    many,
    open,
    page,
    relay,
    row,
    scrollTo,
    until,
    useGrids,
    waitForRows,
} from './support/grid_fixture.mjs';
import { gridNode } from './support/fake_gridview.mjs';

useGrids();

describe('a tree grid', () => {
    it('shows names, numbers and bars, under a policy that allows only the page itself', async () => {
        await open({ bottomUp: TREE });
        await waitForRows(CLOSED);
        const cells = row(0).locator('.tg-cell .tg-text');
        assert.deepEqual(await cells.allTextContents(), ['multiply', '2.000 s', '1.400 s', '−700.000 ms']);
        const bars = await row(0)
            .locator('.tg-bar')
            .evaluateAll((all) => all.map(({ style }) => [style.left, style.width]));
        assert.deepEqual(bars, [
            ['0%', '75%'],
            ['75%', '25%'],
            ['0%', '100%'],
            ['0%', '50%'],
        ]);
        assert.equal(
            await row(1)
                .locator('[data-column=c5] .tg-bar')
                .evaluate(({ style }) => style.left),
            '50%',
        );
        assert.equal(await row(0).locator('[data-column=c1]').getAttribute('data-value'), '2000000');
        assert.equal(await row(0).locator('[data-column=c4] .tg-percent').textContent(), '81.8%');
        const places = await row(2).locator('.tg-place > *').allTextContents();
        assert.deepEqual(places, ['libwalk.so', '/src/walk.c:42']);
        assert.match(await row(0).locator('[data-column=c4]').getAttribute('title'), /Too much self time/);
        assert.match(await row(2).locator('[data-column=c5]').getAttribute('title'), /Too few samples/);
        assert.deepEqual(browser.faults, []);
    });

    it('names the grouping in refresh and scroll, and gives no focus', async () => {
        await open({ bottomUp: many(500) });
        const window =
            '<grouping><_>/Function/ParentCallStack</_></grouping><expandLevels><_ type="s32_t">0</_></expandLevels>';
        const ids = '<gridid><_>PAGE-bottomUp</_></gridid><paneId><_>PAGE-bottomUp</_></paneId>';
        const queries = ['/Metrics', '/Info/Module', '/Info/SourceFile', '/Info/SourceLine'];
        const columns = queries.map((query) => `<column><_>${query}</_></column>`).join('');
        assert.equal(
            lastFrame('refresh'),
            '<msg><request><id>N</id><type>gridview:refresh</type><queryType>bottomUp</queryType>' +
                `${ids}<row><_ type="s32_t">0</_></row><count><_ type="s32_t">80</_></count>${window}` +
                `<columns>${columns}</columns></request></msg>`,
        );
        await scrollTo(200 * 24);
        await row(210).locator('.tg-text').first().waitFor();
        const scroll = lastFrame('scroll');
        assert.ok(scroll.includes(window), scroll);
        assert.ok(!scroll.includes('focus'), scroll);
    });

    it('tells assistive technology what it is', async () => {
        await open({ bottomUp: TREE });
        assert.equal(await grid().getAttribute('aria-rowcount'), '6');
        assert.equal(await grid().getAttribute('aria-colcount'), '4');
        assert.equal(await grid().getAttribute('aria-multiselectable'), 'true');
        await row(0).locator('.tg-toggle').click();
        await waitForRows(OPENED);
        const attributes = (at) =>
            row(at).evaluate((element) =>
                ['role', 'aria-level', 'aria-expanded', 'aria-selected', 'aria-rowindex'].map((name) =>
                    element.getAttribute(name),
                ),
            );
        assert.deepEqual(await attributes(0), ['row', '1', 'true', 'false', '3']);
        assert.deepEqual(await attributes(1), ['row', '2', 'false', 'false', '4']);
        assert.deepEqual(await attributes(2), ['row', '2', null, 'false', '5']);
        assert.equal(await head('Self').getAttribute('aria-sort'), 'none');
        assert.equal(
            await grid().locator('[data-column=c1][aria-sort]').getAttribute('aria-sort'),
            'descending',
        );
    });

    it('tells a failure of the library, and tries again', async () => {
        await open({ bottomUp: TREE });
        relay.failures = { 'gridview:refresh': 'FailedTo.Create.The.Query: /Metrics' };
        relay.event('DataChangedEvent');
        const alert = page
            .getByRole('alert')
            .filter({ hasText: 'The grid could not be read. Could not create the query "/Metrics".' });
        await alert.waitFor();
        relay.failures = {};
        await alert.getByRole('button').click();
        await alert.waitFor({ state: 'hidden' });
    });

    it('reads anew after a change of data, and keeps what was open', async () => {
        await open({ bottomUp: TREE });
        await row(0).locator('.tg-toggle').click();
        await waitForRows(OPENED);
        relay.gridview.trees = { bottomUp: [TREE[0]] };
        relay.event('FilterChangedEvent');
        await waitForRows(OPENED.slice(0, 3));
    });

    it('does not read anew because a selection became a filter', async () => {
        await open({ bottomUp: TREE });
        await row(0).click();
        relay.event('FilterChangedEvent', '<_><filterName>selection-pane</filterName></_>');
        await row(1).click();
        await waitForRows([CLOSED[0], `${CLOSED[1]}*`, ...CLOSED.slice(2)]);
        assert.equal(relay.requests('gridview:refresh').length, 1);
    });
});

describe('a large grid', () => {
    it('has only the rows in the page that show, and asks for a window with a margin', async () => {
        await open({ bottomUp: many(100_000) });
        assert.ok((await page.locator('[data-row]').count()) < 60);
        await scrollTo(50_000 * 24);
        await row(50_005).locator('.tg-text').first().waitFor();
        assert.equal(await row(50_005).locator('.tg-text').first().textContent(), 'f50005');
        const [, start, count] = /<row><_ type="s32_t">(\d+)<.*<count><_ type="s32_t">(\d+)</.exec(
            lastFrame('scroll'),
        );
        assert.ok(start < 50_000 && Number(start) + Number(count) > 50_030 && count < 150, `${start} ${count}`);
        assert.ok((await page.locator('[data-row]').count()) < 60);
    });

    it('cancels what it no longer needs', async () => {
        await open({ bottomUp: many(10_000) });
        let release;
        relay.gridview.holds = { scroll: new Promise((resolve) => (release = resolve)) };
        await scrollTo(2_000 * 24);
        await row(2_000).waitFor();
        await scrollTo(7_000 * 24);
        await row(7_000).waitFor();
        await page.waitForFunction(() => document.querySelectorAll('[data-row].loading').length > 0);
        release();
        await row(7_000).locator('.tg-text').first().waitFor();
        assert.ok(relay.frames.some((frame) => frame.includes('<name>cancelRequest</name>')));
    });

    it('reaches every one of a million rows, by wheel one by one', async () => {
        await open({ bottomUp: many(1_000_000) });
        await grid().focus();
        await key('End');
        await row(999_999).locator('.tg-text').first().waitFor();
        assert.equal(await currentRow(), 999_999);
        const place = () => row(999_990).evaluate((element) => element.getBoundingClientRect().top);
        const before = await place();
        await grid().hover();
        await page.mouse.wheel(0, -24);
        await page.waitForFunction(
            ([top]) => document.querySelector('[data-row="999990"]').getBoundingClientRect().top !== top,
            [before],
        );
        assert.ok(Math.abs((await place()) - before - 24) < 1);
        await key('Home');
        await row(0).locator('.tg-text').first().waitFor();
        assert.equal(await currentRow(), 0);
    });
});

describe('opening and closing', () => {
    beforeEach(() => open({ bottomUp: TREE }));

    it('works by mouse, on the switch and by a double click', async () => {
        await row(0).locator('.tg-toggle').click();
        await waitForRows(OPENED);
        await row(1).locator('.tg-toggle').click();
        await row(2).filter({ hasText: 'main' }).waitFor();
        await row(0).locator('[data-column=c4]').dblclick();
        await waitForRows([`${CLOSED[0]}*`, ...CLOSED.slice(1)]);
        assert.deepEqual(relay.requests('gridview:collapse').length, 1);
    });

    it('works by keyboard: right and left, plus and minus, star', async () => {
        await grid().focus();
        await key('ArrowDown');
        await key('ArrowRight');
        await waitForRows(['- multiply*', ...OPENED.slice(1)]);
        await key('ArrowRight');
        await key('+');
        await waitForRows(['- multiply', '  - solve*', '      main', '    main', ...OPENED.slice(3)]);
        await key('-');
        await key('ArrowLeft');
        await waitForRows(['- multiply*', ...OPENED.slice(1)]);
        await key('ArrowLeft');
        await waitForRows(['+ multiply*', ...CLOSED.slice(1)]);
        await key('*');
        await waitForRows([
            '- multiply*',
            '  - solve',
            '      main',
            '    main',
            '- read<char>(FILE*, "x") 漢😀',
            '    main',
            ...OPENED.slice(4),
        ]);
        await key('/');
        await waitForRows(['+ multiply*', ...CLOSED.slice(1)]);
    });

    it('shows that a row is being opened, lets other work through, and can be stopped', async () => {
        let release;
        relay.gridview.holds = { expand: new Promise((resolve) => (release = resolve)) };
        await row(0).locator('.tg-toggle').click();
        await page.locator('.tg-toggle.waiting').waitFor();
        assert.equal(await row(0).getAttribute('aria-busy'), 'true');
        await row(2).click();
        await page.locator('[data-row="2"][aria-selected=true]').waitFor();
        await waitForRows(['w multiply', CLOSED[1], '  walk*', CLOSED[3]]);
        await row(0).locator('.tg-toggle').click();
        await waitForRows([CLOSED[0], CLOSED[1], '  walk*', CLOSED[3]]);
        assert.ok(relay.frames.some((frame) => frame.includes('<name>cancelRequest</name>')));
        release();
    });

    it('leaves a current row alone that is not at hand', async () => {
        await open({ bottomUp: many(10_000) });
        await row(0).click();
        await page.locator('[data-row="0"][aria-selected=true]').waitFor();
        await scrollTo(5_000 * 24);
        await row(5_000).locator('.tg-text').first().waitFor();
        await key('Control+a');
        await page.locator('.tg-foot').getByText('Selected: 10,000 rows').waitFor();
        await key('Enter');
        await key('Control+ArrowDown');
        await page.locator('[data-row="1"].current').waitFor();
        assert.equal(relay.requests('gridview:collapse').length, 0);
    });

    it('shows a row that could not be opened as it is', async () => {
        relay.failures = { 'gridview:expand': 'no' };
        await row(0).locator('.tg-toggle').click();
        await page.getByRole('alert').getByText('The row could not be opened. No.').waitFor();
        await waitForRows(CLOSED);
    });

    for (const [how, press] of [
        ['by key', () => key('*')],
        ['by mouse', () => chooseTool('Expand', 'Expand all')],
    ])
        it(`lets other work through while all rows are being opened, and stops that: ${how}`, async () => {
            relay.gridview.holds = { expandRowsRecursively: new Promise(() => {}) };
            await row(1).click();
            await press();
            const busy = page.getByRole('status').filter({ hasText: 'Opening rows… Esc stops' });
            await busy.waitFor();
            assert.equal(await grid().getAttribute('aria-busy'), 'true');
            await row(2).locator('[data-column=c4]').dispatchEvent('click');
            await page.locator('[data-row="2"][aria-selected=true]').waitFor();
            await page.getByRole('button', { name: 'Chains' }).focus();
            await key('Escape');
            await busy.waitFor({ state: 'hidden' });
            // What was opened by then is there, and the current row is where its row went.
            await row(5).filter({ hasText: 'walk' }).waitFor();
            assert.equal(await currentRow(), 5);
            assert.equal(await grid().getAttribute('aria-busy'), null);
            assert.ok(relay.frames.some((frame) => frame.includes('<name>cancelRequest</name>')));
        });

    for (const [what, operation, press] of [
        ['Sorting', 'sort', () => head('Change').locator('.tg-sort').click()],
        ['Looking for chains', 'changeStackMode', () => page.getByRole('button', { name: 'Chains' }).click()],
    ])
        it(`can be stopped: ${what}`, async () => {
            await row(1).click();
            await page.locator('[data-row="1"][aria-selected=true]').waitFor();
            relay.gridview.holds = { [operation]: new Promise(() => {}) };
            await press();
            await page.getByRole('status').filter({ hasText: what }).waitFor();
            relay.gridview.holds = {};
            await grid().focus();
            await key('Escape');
            await until(() => relay.requests('gridview:refresh').length === 2);
            await page.locator('.tg-scroller:not([aria-busy])').filter({ visible: true }).waitFor();
            assert.ok(relay.frames.some((frame) => frame.includes('<name>cancelRequest</name>')));
            assert.ok(!lastFrame('selection').includes('clear'));
            await waitForRows(CLOSED);
            const chains = page.getByRole('button', { name: 'Chains' });
            assert.equal(await chains.getAttribute('aria-pressed'), 'false');
        });

    it('follows the hottest path until it splits, and from there on demand', async () => {
        const time = (name, amount, children) => gridNode(name, [amount, 0, amount, 0], children);
        const split = [time('x', 39, [time('leaf', 39)]), time('y', 38)];
        const path = time('big', 90, [time('only', 80, split)]);
        await open({
            bottomUp: [time('root', 100, [time('small', 10, [time('z', 10)]), path]), time('other', 1)],
        });
        await row(0).click();
        await key('h');
        const rest = ['  + small', '  other'];
        await waitForRows(['- root', '  - big', '    - only*', '      + x', '        y', ...rest]);
        assert.equal(relay.requests('gridview:expand').length, 3);
        await key('h');
        await waitForRows([
            ...['- root', '  - big', '    - only', '      - x', '          leaf*', '        y'],
            ...rest,
        ]);
        assert.equal(relay.requests('gridview:expand').length, 4);
    });

    it('takes the tools for many rows', async () => {
        await chooseTool('Expand', 'Expand all');
        await row(7).waitFor();
        assert.equal(await page.locator('.tg-count').textContent(), '8 rows');
        await chooseTool('Expand', 'Collapse all');
        await waitForRows(CLOSED);
        await row(1).click();
        await chooseTool('Expand', 'Expand selected');
        await waitForRows([CLOSED[0], '- read<char>(FILE*, "x") 漢😀*', '    main', ...CLOSED.slice(2)]);
        await page.getByRole('button', { name: 'Chains' }).click();
        await page.locator('button[aria-pressed=true]').waitFor();
        assert.match(lastFrame('changeStackMode'), /<stackMode><_>chain<\/_>/);
    });
});
