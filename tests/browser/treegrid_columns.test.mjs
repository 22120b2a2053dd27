// The columns of a tree grid: sorting, widths, formats, and which of them show.

import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import {
    CLOSED,
    TREE,
    grid,
    head,
    key,
    lastFrame,
    open,
    page,
    relay,
    row,
    until,
    useGrids,
    waitForRows,
} from './support/grid_fixture.mjs';

useGrids();

describe('the columns', () => {
    beforeEach(() => open({ bottomUp: TREE }));
    const captions = () => grid().locator('.tg-head .tg-row').last().locator('.tg-caption').allTextContents();
    const choose = (label) => page.getByRole('menu').getByText(label, { exact: true }).click();

    it('sort by a click, and the other way by the next', async () => {
        await head('Change').locator('.tg-sort').click();
        await waitForRows([CLOSED[1], CLOSED[2], CLOSED[3], CLOSED[0]]);
        assert.equal(await head('Change').getAttribute('aria-sort'), 'descending');
        await head('Change').locator('.tg-sort').click();
        await waitForRows([CLOSED[0], CLOSED[3], CLOSED[2], CLOSED[1]]);
        assert.equal(await head('Change').getAttribute('aria-sort'), 'ascending');
        await head('Function').locator('.tg-sort').click();
        await page.waitForFunction(() => document.querySelector('[data-column=c0][aria-sort=ascending]'));
        assert.match(
            lastFrame('sort'),
            /<sorting><column type="s32_t">0<\/column><descending type="bool">false</,
        );
    });

    it('expand, collapse, hide and come back', async () => {
        await head('Time').getByRole('button', { name: 'Expand Time' }).click();
        assert.deepEqual(await captions(), ['Function', 'Thread A', 'Thread B', 'Self', 'Change']);
        assert.deepEqual(await row(0).locator('.tg-text').allTextContents(), [
            'multiply',
            '1.500 s',
            '500.000 ms',
            '1.400 s',
            '−700.000 ms',
        ]);
        await until(() => lastFrame('columnState'));
        assert.match(
            lastFrame('columnState'),
            /<columnHierarchy><dataIndex type="s32_t">-1<\/dataIndex><column><column><dataIndex type="s32_t">0<\/dataIndex>/,
        );
        await page.getByRole('button', { name: 'Collapse Time' }).click();
        assert.deepEqual(await captions(), ['Function', 'Time', 'Self', 'Change']);
        await head('Self').locator('.tg-sort').click({ button: 'right' });
        await choose('Hide column');
        assert.deepEqual(await captions(), ['Function', 'Time', 'Change']);
        // The relay of this test forgets columns, as a host does that was started anew.
        const told = () => relay.requests('gridview:columnState').length;
        const before = told();
        relay.event('DataChangedEvent');
        await until(() => told() > before);
        assert.deepEqual(await captions(), ['Function', 'Time', 'Change']);
        await page.getByRole('button', { name: 'Columns' }).click();
        await choose('CPU Time: Self');
        assert.deepEqual(await captions(), ['Function', 'Time', 'Self', 'Change']);
    });

    it('change their format, percent included', async () => {
        await head('Self').locator('.tg-sort').click({ button: 'right' });
        await choose('Percent');
        assert.equal(await row(0).locator('[data-column=c4] .tg-text').textContent(), '81.8%');
        await until(() => lastFrame('columnState'));
        assert.match(
            lastFrame('columnState'),
            /<dataIndex type="s32_t">4<\/dataIndex>.*<format>percent<\/format>/,
        );
        // The relay of this test forgets formats, as a host does that was started anew.
        const told = () => relay.requests('gridview:columnState').length;
        const before = told();
        relay.event('relay:libraryConnected');
        await until(() => told() > before);
        assert.equal(await row(0).locator('[data-column=c4] .tg-text').textContent(), '81.8%');
        await head('Self').locator('.tg-sort').click({ button: 'right' });
        await choose('Number');
        assert.equal(await row(0).locator('[data-column=c4] .tg-text').textContent(), '1400000');
    });

    it('lead back from percent where the library offers no format at all', async () => {
        relay.gridview.columns = relay.gridview.columns.map((column) => ({ ...column, availableFormats: [] }));
        relay.event('DataChangedEvent');
        await until(() => relay.requests('gridview:refresh').length === 2);
        await page.locator('.tg-scroller:not([aria-busy])').filter({ visible: true }).waitFor();
        for (const [label, text] of [
            ['Percent', '81.8%'],
            ['Time', '1.400 s'],
        ]) {
            await head('Self').locator('.tg-sort').click({ button: 'right' });
            await choose(label);
            assert.equal(await row(0).locator('[data-column=c4] .tg-text').textContent(), text);
        }
    });

    const width = (name) => head(name).evaluate((element) => element.offsetWidth);
    const dragEdge = async (name, by) => {
        const grip = await head(name).locator('.tg-grip').boundingBox();
        await page.mouse.move(grip.x + 3, grip.y + 10);
        await page.mouse.down();
        await page.mouse.move(grip.x + 3 + by, grip.y + 10);
        await page.mouse.up();
    };

    it('fit what they show at first and on a double click, and are never too narrow to be read', async () => {
        const isCut = () =>
            grid().evaluate((element) =>
                [...element.querySelectorAll('.tg-cell.number, .tg-head .tg-caption')].some(
                    (part) => part.scrollWidth > part.clientWidth,
                ),
            );
        assert.equal(await isCut(), false);
        const before = await width('Self');
        await dragEdge('Self', -500);
        assert.equal(await width('Self'), 48);
        assert.equal(await isCut(), true);
        await head('Self').locator('.tg-grip').dblclick();
        assert.equal(await width('Self'), before);
        assert.equal(await isCut(), false);
    });

    it('keep their widths when there are other columns, and over a reload', async () => {
        const before = await width('Self');
        await dragEdge('Self', 60);
        assert.equal(await width('Self'), before + 60);
        const [self, change] = relay.gridview.columns.slice(4, 6);
        relay.gridview.columns = relay.gridview.columns.map(
            (column, at) => ({ 4: change, 5: self })[at] ?? column,
        );
        relay.event('DataChangedEvent');
        await page.locator('.tg-headcell[data-column=c5]', { hasText: 'Self' }).waitFor();
        assert.equal(await width('Self'), before + 60);
        await page.reload();
        await row(0).waitFor();
        assert.equal(await width('Self'), before + 60);
    });

    it('are reached by keyboard', async () => {
        const before = await width('Self');
        await grid().focus();
        await key('Tab');
        for (const name of ['ArrowRight', 'ArrowRight', 'Shift+ArrowRight']) await key(name);
        assert.equal(await width('Self'), before + 16);
        await key('Alt+ArrowDown');
        await page.getByRole('menu', { name: 'CPU Time: Self' }).waitFor();
        await key('Enter');
        await page.waitForFunction(() => document.querySelector('[data-column=c4][aria-sort=ascending]'));
        assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Self');
        await key('ArrowDown');
        assert.equal(await page.evaluate(() => document.activeElement.getAttribute('role')), 'treegrid');
    });
});
