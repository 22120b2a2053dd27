// The way through a tree grid with mouse and keyboard: what is selected, and the search.

import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { gridNode } from './support/fake_gridview.mjs';
import {
    CLOSED,
    OPENED,
    TREE,
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

useGrids();

describe('the selection', () => {
    const selected = async (count) => {
        await page.waitForFunction(
            (wanted) => document.querySelectorAll('[data-row][aria-selected=true]').length === wanted,
            count,
        );
        return page
            .locator('[data-row][aria-selected=true]')
            .evaluateAll((rows) => rows.map(({ dataset }) => Number(dataset.row)).sort());
    };

    it('follows the mouse: click, Ctrl, Shift', async () => {
        await open({ bottomUp: many(20) });
        await row(2).click();
        assert.deepEqual(await selected(1), [2]);
        await row(5).click({ modifiers: ['Shift'] });
        assert.deepEqual(await selected(4), [2, 3, 4, 5]);
        await row(3).click({ modifiers: ['Shift'] });
        assert.deepEqual(await selected(2), [2, 3]);
        await row(8).click({ modifiers: ['Control'] });
        assert.deepEqual(await selected(3), [2, 3, 8]);
        await row(9).click({ modifiers: ['Control', 'Shift'] });
        assert.deepEqual(await selected(4), [2, 3, 8, 9]);
        await row(3).click({ modifiers: ['Control'] });
        assert.deepEqual(await selected(3), [2, 8, 9]);
    });

    it('follows the keys', async () => {
        await open({ bottomUp: many(200) });
        await grid().focus();
        for (const name of ['ArrowDown', 'ArrowDown', 'Shift+ArrowDown', 'Shift+ArrowDown']) await key(name);
        assert.deepEqual(await selected(3), [1, 2, 3]);
        await key('Shift+ArrowUp');
        assert.deepEqual(await selected(2), [1, 2]);
        let release;
        relay.gridview.holds = { selection: new Promise((resolve) => (release = resolve)) };
        // The answers come late: the space is about the row that the arrows lead to, not the one they come from.
        for (const name of ['Control+ArrowDown', 'Control+ArrowDown', 'Control+ ']) await key(name);
        release();
        assert.deepEqual(await selected(3), [1, 2, 4]);
        await key('PageDown');
        await selected(1);
        assert.ok((await currentRow()) > 15);
        await key('Control+a');
        await page.locator('.tg-foot').getByText('Selected: 200 rows').waitFor();
        await key('Escape');
        await page.locator('.tg-foot').waitFor({ state: 'hidden' });
    });

    it('makes the one selected row the current one again', async () => {
        await open({ bottomUp: TREE });
        await row(0).click();
        await key('Control+ArrowDown');
        await until(() => relay.requests('gridview:selection').length === 2);
        await row(0).locator('[data-column=c4]').click();
        await head('Change').locator('.tg-sort').click();
        await waitForRows([...CLOSED.slice(1), `${CLOSED[0]}*`]);
        assert.equal(await currentRow(), 3);
    });

    it('finds the way from a far row to the one that holds it, and Esc ends that', async () => {
        await open({ bottomUp: [gridNode('all', [1, 0, 1, 0], many(3_000))] });
        await row(0).locator('.tg-toggle').click();
        await row(1).waitFor();
        await grid().focus();
        await key('End');
        await row(3_000).locator('.tg-text').first().waitFor();
        relay.gridview.holds = { scroll: new Promise(() => {}) };
        await key('ArrowLeft');
        const busy = page.getByRole('status').filter({ hasText: 'Looking for the row that holds this one' });
        await busy.waitFor();
        await key('Escape');
        await busy.waitFor({ state: 'hidden' });
        assert.equal(await currentRow(), 3_000);
        relay.gridview.holds = {};
        await key('ArrowLeft');
        await page.locator('[data-row="0"].current[aria-selected=true]').waitFor();
        assert.equal(await currentRow(), 0);
    });

    it('grows from the current row although rows moved since it was chosen', async () => {
        await open({ bottomUp: TREE });
        await row(0).click();
        await key('ArrowRight');
        await waitForRows(['- multiply*', ...OPENED.slice(1)]);
        for (const name of ['Shift+ArrowDown', 'Shift+ArrowDown']) await key(name);
        await waitForRows(['- multiply*', '  + solve*', '    main*', ...OPENED.slice(3)]);
    });

    it('is of the row that was pressed, although rows moved before its turn came', async () => {
        await open({ bottomUp: TREE });
        let release;
        relay.gridview.holds = { sort: new Promise((resolve) => (release = resolve)) };
        await head('Change').locator('.tg-sort').click();
        await row(0).locator('[data-column=c4]').click();
        release();
        await waitForRows([...CLOSED.slice(1), `${CLOSED[0]}*`]);
        assert.equal(await currentRow(), 3);
        await row(0).locator('.tg-toggle').click();
        await row(1).filter({ hasText: 'main' }).waitFor();
        // The second switch is pressed before the first row is open, and is lower afterwards.
        await grid().evaluate((element) => {
            const toggles = ['0', '4'].map((at) => element.querySelector(`[data-row="${at}"] .tg-toggle`));
            for (const toggle of toggles) toggle.click();
        });
        await waitForRows([...CLOSED.slice(1), '- multiply*', ...OPENED.slice(1, 3)]);
    });

    it('keeps the current row over the answer to an older expansion', async () => {
        await open({ bottomUp: TREE });
        const release = {};
        const hold = (name) => new Promise((resolve) => (release[name] = resolve));
        relay.gridview.holds = { expand: hold('expand'), selection: hold('selection') };
        await row(0).locator('.tg-toggle').click();
        await page.locator('.tg-toggle.waiting').waitFor();
        await row(2).locator('[data-column=c4]').click();
        await until(() => lastFrame('selection'));
        release.expand();
        await row(4).filter({ hasText: 'walk' }).waitFor();
        release.selection();
        await waitForRows([...OPENED.slice(0, 4), '  walk*', OPENED[5]]);
        assert.equal(await currentRow(), 4);
    });

    it('has its sums in the footer', async () => {
        await open({ bottomUp: TREE });
        await row(0).click();
        await row(2).click({ modifiers: ['Shift'] });
        const foot = page.locator('.tg-foot');
        await foot.getByText('Selected: 3 rows').waitFor();
        assert.deepEqual(await foot.locator('.tg-text').allTextContents(), [
            'Selected: 3 rows',
            '2.312 s',
            '1.712 s',
            '−349.999 ms',
        ]);
        assert.equal(await grid().getAttribute('aria-rowcount'), '7');
    });

    it('is not hidden behind the footer that it brings', async () => {
        await open({ bottomUp: many(100) });
        await grid().focus();
        await key('End');
        await page.locator('.tg-foot').waitFor();
        await page.waitForFunction(() => {
            const edge = (selector, side) => document.querySelector(selector)?.getBoundingClientRect()[side];
            // The place of the grid may be a fraction of a pixel.
            return edge('[data-row="99"]', 'bottom') < edge('.tg-foot', 'top') + 1;
        });
    });

    it('goes to the clipboard, if there is one, and says how much of it did', async () => {
        await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
        await open({ bottomUp: many(9) });
        const said = (text) => page.getByRole('status').filter({ hasText: text }).waitFor();
        const clipboard = () => page.evaluate(() => navigator.clipboard.readText());
        await page.evaluate(() => navigator.clipboard.writeText('mine'));
        await grid().focus();
        await key('Control+c');
        await said('Nothing is selected, so nothing was copied.');
        assert.equal(await clipboard(), 'mine');
        await row(0).click();
        await key('Shift+ArrowDown');
        await key('Control+c');
        await said('Copied 2 rows.');
        assert.equal(await clipboard(), 'Function\tSelf\nf0\t9\nf1\t8');
        await key('Control+a');
        await page.locator('.tg-foot').getByText('Selected: 9 rows').waitFor();
        await key('Control+c');
        await said('Copied only 5 of 9 rows');
    });

    it('leaves a part of a name to be marked and copied', async () => {
        await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
        await open({ bottomUp: [gridNode(`std::${'very_long::'.repeat(20)}end_of_name`, [1, 0, 1, 0])] });
        const name = await row(0).locator('.tg-name').boundingBox();
        const middle = name.y + name.height / 2;
        await page.mouse.move(name.x + name.width - 60, middle);
        await page.mouse.down();
        await page.mouse.move(name.x + name.width - 1, middle, { steps: 3 });
        await page.mouse.up();
        await key('Control+c');
        await page.waitForFunction(async () => (await navigator.clipboard.readText()).endsWith('_name'));
        assert.equal(relay.requests('gridview:selection').length, 0);
    });
});

describe('the export', () => {
    const dialog = () => page.getByRole('dialog', { name: 'Export to CSV' });
    const openDialog = () => page.getByRole('button', { name: 'Export…' }).click();

    it('is a download of the browser', async () => {
        await open({ bottomUp: TREE });
        await openDialog();
        const [download] = await Promise.all([page.waitForEvent('download'), key('Enter')]);
        assert.equal(download.suggestedFilename(), 'bottom-up.csv');
        await dialog().waitFor({ state: 'detached' });
        relay.failures = { 'export:download': 'IsNot.Valid.Parameter: export:download' };
        await openDialog();
        await key('Enter');
        await dialog().getByText('This host offers no downloads.').waitFor();
    });

    it('goes to a path on the host, and asks before it replaces a file', async () => {
        await open({ bottomUp: TREE });
        relay.existing = ['/home/me/<a> & "b".csv'];
        await openDialog();
        const path = dialog().getByRole('textbox');
        relay.failures = { 'export:resolve': 'IsNot.Valid.Argument: /home/me is a folder' };
        await path.fill('~');
        await path.press('Enter');
        await dialog().getByText('The file could not be written. /home/me is a folder.').waitFor();
        relay.failures = {};
        await path.fill('~/<a> & "b".csv');
        await path.press('Enter');
        await dialog().getByText('Replace the file /home/me/<a> & "b".csv?').waitFor();
        assert.deepEqual(relay.gridview.exports, []);
        await dialog().getByRole('button', { name: 'Replace' }).click();
        await page.getByRole('status').filter({ hasText: 'written to /home/me/<a> & "b".csv' }).waitFor();
        assert.deepEqual(relay.gridview.exports, ['/home/me/<a> & "b".csv']);
    });
});

describe('the search', () => {
    const marks = () => page.locator('mark').allTextContents();
    const count = () => page.locator('.tg-search output');

    it('marks hits, steps through them and round the ends', async () => {
        await open({ bottomUp: many(2_000) });
        await grid().focus();
        await key('Control+f');
        await page.keyboard.type('F199');
        await count().filter({ hasText: '1 of 11' }).waitFor();
        await page.locator('mark.current').waitFor();
        assert.equal(await row(199).locator('mark.current').textContent(), 'f199');
        await key('Enter');
        await count().filter({ hasText: '2 of 11' }).waitFor();
        await row(1990).locator('mark.current').waitFor();
        await key('Shift+Enter');
        await count().filter({ hasText: '1 of 11' }).waitFor();
        await row(199).locator('mark.current').waitFor();
        await key('Shift+Enter');
        await count().filter({ hasText: '11 of 11' }).waitFor();
        await row(1999).locator('mark.current').waitFor();
        await key('Escape');
        await page.waitForFunction(() => document.querySelectorAll('mark').length === 0);
        assert.equal(await page.evaluate(() => document.activeElement.getAttribute('role')), 'treegrid');
    });

    it('takes steps before the pause after typing is over', async () => {
        await open({ bottomUp: many(30) });
        await grid().focus();
        await key('Control+f');
        // All in one go: no pause lies between the letters and the keys.
        await page.getByRole('searchbox').evaluate(async (input) => {
            input.value = 'f1';
            input.dispatchEvent(new InputEvent('input', { bubbles: true }));
            const enter = () =>
                input.dispatchEvent(new KeyboardEvent('keydown', { key: 'Enter', bubbles: true }));
            enter();
            enter();
            // Timers of one length end in their order: behind this one the pause after typing is over.
            await new Promise((resolve) => setTimeout(resolve, 200));
        });
        await key('Enter');
        await count().filter({ hasText: '3 of 11' }).waitFor();
        assert.equal(relay.requests('gridview:search').length, 1);
    });

    it('counts steps while it runs, instead of beginning anew', async () => {
        await open({ bottomUp: many(30) });
        let release;
        relay.gridview.holds = { search: new Promise((resolve) => (release = resolve)) };
        await grid().focus();
        await key('Control+f');
        await page.keyboard.type('f1');
        await until(() => lastFrame('search')?.includes('<_>f1</_>'));
        const before = relay.requests('gridview:search').length;
        for (const name of ['F3', 'F3', 'Shift+F3', 'Enter']) await key(name);
        release();
        await count().filter({ hasText: '3 of 11' }).waitFor();
        assert.equal(relay.requests('gridview:search').length, before);
        await page.locator('[data-row="11"].current').waitFor();
        await until(() => lastFrame('selection'));
        assert.equal(relay.requests('gridview:selection').length, 1);
    });

    it('counts steps that are quicker than the rows they lead to', async () => {
        await open({ bottomUp: many(2_000) });
        await grid().focus();
        await key('Control+f');
        await page.keyboard.type('F199');
        await page.locator('mark.current').waitFor();
        let release;
        relay.gridview.holds = { scroll: new Promise((resolve) => (release = resolve)) };
        for (const name of ['Enter', 'Enter', 'F3', 'Shift+F3', 'Enter']) await key(name);
        await count().filter({ hasText: '2 of 11' }).waitFor();
        release();
        await count().filter({ hasText: '4 of 11' }).waitFor();
        await row(1992).locator('mark.current').waitFor();
    });

    it('has no hits of old after the columns changed, whatever answers come in between', async () => {
        await open({ bottomUp: many(2_000) });
        await grid().focus();
        await key('Control+f');
        await page.keyboard.type('f199');
        await row(199).locator('mark').waitFor();
        let release;
        relay.gridview.holds = { columnState: new Promise((resolve) => (release = resolve)) };
        await head('Self').locator('.tg-sort').click({ button: 'right' });
        await page.getByRole('menu').getByText('Hide column').click();
        await page.locator('mark').waitFor({ state: 'detached' });
        await scrollTo(1_980 * 24);
        await row(1_990).locator('mark').waitFor();
        release();
        await page.waitForFunction(() => document.querySelectorAll('mark').length === 0);
        assert.equal(await count().textContent(), '');
        await page.getByRole('button', { name: 'Next' }).click();
        await count().filter({ hasText: '2 of 11' }).waitFor();
    });

    it('goes to the row that was found, although rows moved meanwhile', async () => {
        await open({ bottomUp: TREE });
        let release;
        relay.gridview.holds = { sort: new Promise((resolve) => (release = resolve)) };
        await head('Change').locator('.tg-sort').click();
        await grid().focus();
        await key('Control+f');
        await page.keyboard.type('walk');
        await count().filter({ hasText: '1 of 1' }).waitFor();
        release();
        await waitForRows([...CLOSED.slice(1), CLOSED[0]]);
        await page.locator('[data-row="1"].current').waitFor();
        assert.match(lastFrame('selection'), /<row><_ type="s32_t">1</);
    });

    it('counts in characters, says that there is nothing, and searches anew after rows changed', async () => {
        await open({ bottomUp: TREE });
        await grid().focus();
        await key('Control+f');
        await page.keyboard.type('漢');
        await count().filter({ hasText: '1 of 1' }).waitFor();
        assert.deepEqual(await marks(), ['漢']);
        await page.getByRole('searchbox').fill('no such function');
        await count().filter({ hasText: 'No hits' }).waitFor();
        await page.getByRole('searchbox').fill('main');
        await until(() => lastFrame('search')?.includes('<_>main</_>'));
        await count().filter({ hasText: 'No hits' }).waitFor();
        await chooseTool('Expand', 'Expand all');
        await row(7).waitFor();
        await page.getByRole('button', { name: 'Next' }).click();
        await count().filter({ hasText: '1 of 3' }).waitFor();
        assert.deepEqual(await marks(), ['main', 'main', 'main']);
    });
});
