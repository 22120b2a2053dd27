// The tree grids side by side in their tabs: what one shows of the other, and what lasts.

import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { gridNode } from './support/fake_gridview.mjs';
import {
    CLOSED,
    OPENED,
    TREE,
    browser,
    grid,
    key,
    lastFrame,
    many,
    onPage,
    open,
    page,
    relay,
    row,
    scrollTo,
    tab,
    until,
    useGrids,
    waitForRows,
} from './support/grid_fixture.mjs';
import { GridPage } from './support/grid_page.mjs';

useGrids();

describe('a grid about an object', () => {
    const callersOf = (name) => [gridNode(`calls ${name}`, [1, 0, 1, 0])];
    const choose = async (at) => {
        await row(at).click();
        await page.locator(`.tg-pane:not([hidden]) [data-row="${at}"][aria-selected=true]`).waitFor();
    };
    const title = () => page.locator('.tg-pane:not([hidden]) h2').textContent();
    const refreshes = () => relay.requests('gridview:refresh').length;

    beforeEach(async () => {
        await open({ flatProfile: many(3), selectionParentTree: callersOf }, 'Functions');
        await choose(0);
    });

    /** Opens the callers, whose answer waits for what is given back. */
    async function openSlowly() {
        let release;
        relay.gridview.holds = { refresh: new Promise((resolve) => (release = resolve)) };
        const before = refreshes();
        await tab('Callers').click();
        await until(() => refreshes() > before);
        relay.gridview.holds = {};
        return release;
    }

    it('shows the rows of the last object, even if it was chosen while others were being read', async () => {
        const release = await openSlowly();
        await tab('Functions').click();
        await choose(1);
        release();
        await tab('Callers').click();
        await waitForRows(['  calls f1']);
        assert.equal(await title(), 'Callers: f1');
    });

    it('reads anew what changed while it was being read out of sight', async () => {
        const release = await openSlowly();
        await tab('Functions').click();
        relay.event('FilterChangedEvent');
        await until(() => refreshes() === 3);
        relay.gridview.trees.selectionParentTree = [gridNode('filtered', [1, 0, 1, 0])];
        release();
        await tab('Callers').click();
        await waitForRows(['  filtered']);
        assert.equal(refreshes(), 4);
    });

    it('follows where a person goes, not what other grids read', async () => {
        relay.gridview.trees = { ...relay.gridview.trees, bottomUp: TREE, flatProfile: many(500) };
        relay.event('DataChangedEvent');
        await row(10).waitFor();
        await choose(1);
        await onPage.choose('Bottom-up');
        await choose(0);
        await tab('Functions').click();
        await scrollTo(300 * 24);
        await row(310).locator('.tg-text').first().waitFor();
        await tab('Callers').click();
        await waitForRows(['  calls multiply']);
        await tab('Functions').click();
        await grid().focus();
        await key('End');
        await page.locator('[data-row="499"][aria-selected=true] .tg-text').first().waitFor();
        await tab('Callers').click();
        await waitForRows(['  calls f499']);
    });

    it('is about the current row of another grid when the page was just opened', async () => {
        await page.reload();
        await onPage.choose('Functions');
        await tab('Callers').click();
        await waitForRows(['  calls f0']);
        // A host that says what it serves has the same objects under the same numbers.
        relay.summary = { results: [{ name: 'r000hs', samples: 3 }] };
        for (const expected of ['Select a function', 'calls f0']) {
            await page.reload();
            await page.locator('.tg-pane:not([hidden])').getByText(expected).waitFor();
        }
    });

    it('never shows the rows of one object under the name of another', async () => {
        await tab('Callers').click();
        await waitForRows(['  calls f0']);
        await tab('Functions').click();
        await choose(1);
        relay.failures = { 'gridview:refresh': 'no' };
        await tab('Callers').click();
        await page.getByRole('alert').getByText('The grid could not be read. No.').waitFor();
        assert.equal(await title(), 'Callers: f1');
        assert.equal(await grid().count(), 0);
        relay.failures = {};
        await page.getByRole('alert').filter({ visible: true }).getByRole('button').click();
        await waitForRows(['  calls f1']);
    });
});

describe('the stack mode', () => {
    const chains = (isPressed) =>
        page.locator(`.tg-pane:not([hidden]) .button[aria-pressed=${isPressed}]`, { hasText: 'Chains' });
    const told = () =>
        relay
            .requests('gridview:changeStackMode')
            .map((frame) => /<stackMode><_>(\w+)</.exec(frame)[1])
            .join(' ');

    beforeEach(async () => {
        await open({ bottomUp: TREE });
        assert.equal(told(), '');
        await chains(false).click();
        await until(() => told() === 'chain');
    });

    it('outlives a reload of the page and a restart of the library', async () => {
        await page.reload();
        await onPage.choose('Bottom-up');
        await chains(true).waitFor();
        await until(() => told() === 'chain chain');
        relay.gridview.forget();
        relay.setLibrary(false);
        relay.setLibrary(true);
        await until(() => told() === 'chain chain chain');
        await chains(true).click();
        await chains(false).waitFor();
        await until(() => told() === 'chain chain chain tree');
        assert.ok(!lastFrame('refresh').includes('stackMode'));
    });

    it('is told again if a change of data came in between, and taken back if it failed', async () => {
        relay.gridview.holds = { changeStackMode: new Promise(() => {}) };
        await chains(true).click();
        await until(() => told() === 'chain tree');
        relay.gridview.holds = {};
        relay.event('DataChangedEvent');
        await until(() => told() === 'chain tree tree');
        await chains(false).waitFor();
        relay.failures = { 'gridview:changeStackMode': 'no' };
        await chains(false).click();
        await page.getByRole('alert').getByText('The stack mode could not be changed. No.').waitFor();
        await chains(false).waitFor();
    });
});

describe('two pages', () => {
    const idOf = (some) => some.evaluate(() => sessionStorage.getItem('panedeck.page'));

    it('share no grid, although one began with the store of the other', async () => {
        await open({ bottomUp: TREE });
        const id = await idOf(page);
        const [other] = await Promise.all([
            page.waitForEvent('popup'),
            page.evaluate(() => void window.open(location.href)),
        ]);
        await other.waitForFunction((taken) => sessionStorage.getItem('panedeck.page') !== taken, id);
        const onOther = new GridPage(other);
        await onOther.choose('Bottom-up');
        await other.locator('[data-row="0"] .tg-toggle').click();
        await onOther.waitForRows(OPENED);
        await other.reload();
        await onOther.choose('Bottom-up');
        await onOther.waitForRows(OPENED);
        await other.close();
        await page.reload();
        await onPage.choose('Bottom-up');
        await waitForRows(CLOSED);
        assert.equal(await idOf(page), id);
    });
});

describe('the tabs', () => {
    it('look again at rows that are being opened for somebody else, also after a while out of sight', async () => {
        await open({ bottomUp: TREE, flatProfile: many(3) });
        relay.gridview.openedElsewhere = 'multiply';
        relay.event('DataChangedEvent');
        await waitForRows(['w multiply', ...CLOSED.slice(1)]);
        await onPage.choose('Functions');
        await tab('Bottom-up').click();
        relay.gridview.openedElsewhere = undefined;
        await waitForRows(CLOSED);
    });

    it('come back after a reload as they were, also from a library that was started anew', async () => {
        await open({ bottomUp: TREE, topDown: many(9) });
        await row(0).locator('.tg-toggle').click();
        await waitForRows(OPENED);
        await row(1).locator('.tg-toggle').click();
        await row(2).filter({ hasText: 'main' }).waitFor();
        await row(2).click();
        await row(4).click({ modifiers: ['Control'] });
        const rows = [
            ...['- multiply', '  - solve', '      main*', '    main'],
            ...['+ read<char>(FILE*, "x") 漢😀*', ...CLOSED.slice(2)],
        ];
        await waitForRows(rows);
        for (const forget of [() => undefined, () => relay.gridview.forget()]) {
            forget();
            await page.reload();
            await waitForRows(rows);
            assert.equal(await tab('Bottom-up').getAttribute('aria-selected'), 'true');
        }
        await onPage.choose('Top-down');
        await page.reload();
        await waitForRows(Array.from({ length: 9 }, (_, at) => `  f${at}`));
        assert.deepEqual(browser.faults, []);
    });

    it('hold a grid for each view, and callers and callees of the function that was chosen', async () => {
        const trees = { bottomUp: TREE, topDown: [gridNode('main', [5, 5, 0, 0])], flatProfile: many(3) };
        await open(trees, 'Functions');
        await waitForRows(['  f0', '  f1', '  f2']);
        assert.equal(
            await page.getByRole('button', { name: 'Expand', exact: true }).filter({ visible: true }).count(),
            0,
        );
        await tab('Callers').click();
        await page.getByText('Select a function in one of the other grids').waitFor();
        await tab('Functions').click();
        await row(1).click();
        await page.locator('[data-row="1"][aria-selected=true]').waitFor();
        await tab('Callees').click();
        await page
            .getByRole('alert')
            .getByText('Could not execute this operation "selectionChildTree".')
            .waitFor();
        assert.match(
            lastFrame('refresh'),
            /<focusObjectInfo><objectid>f1<\/objectid><grouping>\/Function<\/grouping><\/focusObjectInfo>/,
        );
        relay.gridview.trees = { ...trees, selectionParentTree: [TREE[0]] };
        await tab('Callers').click();
        await waitForRows([CLOSED[0]]);
        await tab('Top-down').focus();
        await key('End');
        await key('ArrowRight');
        assert.equal(await tab('Bottom-up').getAttribute('aria-selected'), 'true');
    });
});
