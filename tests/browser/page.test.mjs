// The page around the grids, against a relay made of test data: what it says, how it recovers, and its dialogs.

import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { waitForStatus } from './support/browser.mjs';
import {
    CLOSED,
    TREE,
    browser,
    key,
    open,
    page,
    relay,
    useGrids,
    waitForRows,
} from './support/grid_fixture.mjs';

useGrids();

const RESULTS = [
    {
        name: 'r000hs',
        source: 'before.txt',
        taken: '2026-11-20T14:03:11Z',
        samples: 1234,
        metrics: [{ id: 'time', name: 'CPU Time', unit: 'microseconds', total: 1_500_000, isPrimary: true }],
        skipped: { count: 3, reasons: [{ text: 'line without a weight', count: 2, firstLines: [4, 9] }] },
    },
    { name: 'after.txt', metrics: [{ id: 'hits', name: 'Hits', unit: 'count', total: 12_000 }] },
];

describe('the head of the page', () => {
    const head = (page) => page.locator('#profile');

    it('names profile, time, samples, totals and what was left out', async () => {
        await open({ bottomUp: TREE });
        assert.equal(await head(page).isVisible(), false);
        relay.summary = { results: RESULTS.slice(0, 1) };
        relay.setLibrary(true);
        await head(page).getByText('1,234 samples').waitFor();
        assert.match(
            await head(page).textContent(),
            /before\.txt.*taken 2026-11-20 \d\d:03.*CPU Time 1\.500 s/,
        );
        assert.equal(await page.title(), 'before.txt – panedeck');
        await head(page).getByRole('button', { name: '3 left out' }).click();
        await page.getByRole('dialog').getByText('2 × line without a weight (lines 4, 9)').waitFor();
        await key('Escape');
        relay.summary = { results: RESULTS };
        relay.setLibrary(true);
        await head(page).getByText('Hits 12,000').waitFor();
        assert.equal(await page.title(), 'before.txt vs after.txt – panedeck');
        assert.deepEqual(await head(page).locator('.role').allTextContents(), ['First', 'Second']);
        assert.deepEqual(browser.faults, []);
    });

    it('shows the keys', async () => {
        await open({ bottomUp: TREE });
        await key('?');
        await page.getByRole('dialog', { name: 'Keys' }).getByText('open the hottest path').waitFor();
        await key('Escape');
        await page.getByRole('dialog').waitFor({ state: 'detached' });
    });
});

describe('the connection', () => {
    beforeEach(() => open({ bottomUp: TREE }));

    it('comes back by itself when the relay is killed, and the grid is read anew', async () => {
        await waitForRows(CLOSED);
        await relay.stop();
        await waitForStatus(page, 'reconnecting');
        await waitForRows(CLOSED);
        relay.gridview.trees = { bottomUp: [TREE[2]] };
        await relay.start();
        await waitForStatus(page, 'Connected');
        await waitForRows([CLOSED[2]]);
    });

    it('tells when there is no library, and reads the grid when it comes', async () => {
        relay.setLibrary(false);
        await waitForStatus(page, 'No profile is being served');
        relay.gridview.trees = { bottomUp: [TREE[2]] };
        relay.setLibrary(true);
        await waitForRows([CLOSED[2]]);
        assert.equal(await page.getByRole('alert').count(), 0);
    });
});

describe('the options dialog', () => {
    const field = () => page.locator('#option-resultNameTemplate');
    const dialog = () => page.getByRole('dialog', { name: 'Options' });

    beforeEach(async () => {
        await open({ bottomUp: TREE });
        await page.locator('#options').focus();
        await key('Enter');
        await page.locator('fieldset:enabled').waitFor();
    });

    it('stores what was changed, and gives the focus back', async () => {
        assert.equal(await field().inputValue(), 'r@@@{at}');
        await field().fill('<r> & @@');
        await key('Enter');
        await dialog().waitFor({ state: 'detached' });
        assert.deepEqual(
            relay.requests('options:set').map((frame) => frame.replace(/<id>\d+/, '<id>N')),
            [
                '<msg><request><id>N</id><type>options:set</type>' +
                    '<resultNameTemplate><_>&lt;r&gt; &amp; @@</_></resultNameTemplate></request></msg>',
            ],
        );
        assert.equal(await page.evaluate(() => document.activeElement.id), 'options');
    });

    it('says what the host did not accept and what failed, and stays open', async () => {
        await field().fill('no/such');
        await page.getByRole('button', { name: 'Save' }).click();
        await dialog().getByText('This is no name for a folder.').waitFor();
        assert.equal(await field().inputValue(), 'no/such');
        relay.failures = { 'options:set': 'IsNot.Valid.Argument: set' };
        await key('Enter');
        await dialog().getByText('The options could not be stored. "set" is not a valid argument.').waitFor();
        await key('Escape');
        await dialog().waitFor({ state: 'detached' });
        assert.equal(relay.options.resultNameTemplate, 'r@@@{at}');
    });
});
