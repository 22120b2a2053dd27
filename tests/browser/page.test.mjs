// The page alone, against a relay made of test data: what it shows, how it recovers, and what it sends.

import assert from 'node:assert/strict';
import { after, before, beforeEach, describe, it } from 'node:test';
import { readTable, startBrowser, waitForStatus } from './support/browser.mjs';
import { DEFAULT_OPTIONS, FakeRelay } from './support/fake_relay.mjs';

const ROWS = [
    ['main', 2_500_000, 1_000],
    ['multiply<double>(Matrix const&, "x")', 2_400_123, 2_400_000],
    ['<script>alert(1)</script> 漢😀', 99_000, 99_000],
];

let relay;
let browser;
let page;

before(async () => {
    relay = new FakeRelay();
    await relay.start();
    browser = await startBrowser();
    page = browser.page;
});
after(async () => {
    await browser?.close();
    await relay?.stop();
});

/** Opens the page afresh with these rows. */
async function open(rows) {
    relay.rows = rows;
    relay.hasLibrary = true;
    relay.failures = {};
    relay.frames = [];
    relay.options = { ...DEFAULT_OPTIONS };
    browser.faults.length = 0;
    await page.goto(relay.url);
    await waitForStatus(page, 'Connected');
}

describe('the table', () => {
    it('shows each function with its weights, under a policy that allows only the page itself', async () => {
        await open(ROWS);
        const table = await readTable(page);
        assert.deepEqual(table.columns, ['Function', 'Time (total)', 'Time (self)']);
        assert.deepEqual(
            table.rows.map((row) => row.texts),
            [
                [ROWS[0][0], '2.500 s', '0.001 s'],
                [ROWS[1][0], '2.400 s', '2.400 s'],
                [ROWS[2][0], '0.099 s', '0.099 s'],
            ],
        );
        assert.deepEqual(table.rows[1].values, [ROWS[1][0], '2400123', '2400000']);
        assert.equal(await page.locator('.summary').textContent(), '3 functions');
        assert.deepEqual(browser.faults, []);
    });

    it('tells assistive technology what it is, and is reached by keyboard', async () => {
        await open(ROWS);
        await readTable(page);
        assert.equal(await page.getByRole('rowheader').count(), ROWS.length);
        assert.equal(
            await page.getByRole('columnheader', { name: 'Time (total)' }).getAttribute('aria-sort'),
            'descending',
        );
        assert.equal(
            await page.getByRole('columnheader', { name: 'Time (self)' }).getAttribute('aria-sort'),
            null,
        );
        await page.locator('#options').focus();
        await page.keyboard.press('Tab');
        assert.equal(await page.evaluate(() => document.activeElement.getAttribute('role')), 'region');
        const align = await page
            .locator('tbody td')
            .first()
            .evaluate((cell) => getComputedStyle(cell).textAlign);
        assert.equal(align, 'right');
    });

    it('says that rows are left out, and shows more on demand', async () => {
        await open(Array.from({ length: 1200 }, (_, at) => [`f${at}`, 5000 - at, 1]));
        assert.equal((await readTable(page)).rows.length, 1000);
        const notice = page.getByRole('note');
        assert.match(await notice.textContent(), /Only the first 1,000 functions are shown/);
        await notice.getByRole('button').click();
        await page.getByText('f1199').waitFor();
        assert.equal(await page.getByRole('note').count(), 0);
    });

    it('says that there is nothing', async () => {
        await open([]);
        await page.getByText('The profile holds nothing to show here.').waitFor();
        assert.equal(await page.locator('.summary').textContent(), '0 functions');
    });

    it('reports a failure in full, and tries again', async () => {
        await open(ROWS);
        await readTable(page);
        relay.failures = { 'grid:get': 'FailedTo.Create.The.Query: /Metrics' };
        relay.event('FilterChangedEvent');
        const alert = page.getByRole('alert').filter({ hasText: 'FailedTo.Create.The.Query: /Metrics' });
        await alert.waitFor();
        relay.failures = {};
        await alert.getByRole('button').click();
        await alert.waitFor({ state: 'hidden' });
    });

    for (const event of ['DataChangedEvent', 'FilterChangedEvent']) {
        it(`is read anew after ${event}`, async () => {
            await open(ROWS);
            await readTable(page);
            relay.rows = [['changed', 1, 1]];
            relay.event(event);
            await page.getByText('changed').waitFor();
        });
    }

    it('has a light and a dark look', async () => {
        await open(ROWS);
        const grounds = [];
        for (const colorScheme of ['light', 'dark']) {
            await page.emulateMedia({ colorScheme });
            grounds.push(await page.evaluate(() => getComputedStyle(document.body).backgroundColor));
        }
        assert.notEqual(grounds[0], grounds[1]);
    });
});

describe('the connection', () => {
    it('comes back by itself when the relay is killed, and the table is read anew', async () => {
        await open(ROWS);
        await readTable(page);
        await relay.stop();
        await waitForStatus(page, 'reconnecting');
        assert.equal((await readTable(page)).rows.length, ROWS.length, 'the old rows stay');
        relay.rows = [['after the restart', 1, 1]];
        await relay.start();
        await waitForStatus(page, 'Connected');
        await page.getByText('after the restart').waitFor();
    });

    it('tells when there is no library, and reads the table when it comes', async () => {
        await open(ROWS);
        relay.setLibrary(false);
        await waitForStatus(page, 'No profile is being served');
        relay.rows = [['from the new library', 1, 1]];
        relay.setLibrary(true);
        await page.getByText('from the new library').waitFor();
        assert.equal(await page.getByRole('alert').count(), 0);
    });
});

describe('the options dialog', () => {
    const field = (key) => page.locator(`#option-${key}`);
    const dialog = () => page.getByRole('dialog', { name: 'Options' });

    async function openDialog() {
        await page.locator('#options').focus();
        await page.keyboard.press('Enter');
        await page.locator('fieldset:enabled').waitFor();
    }

    beforeEach(() => open(ROWS));

    it('shows all eight options and stores the changed ones in their kinds', async () => {
        await openDialog();
        assert.equal(await page.locator('.field').count(), 8);
        assert.equal(await field('sourceViewTabSize').inputValue(), '4');
        await field('applicationOutputDestination').selectOption('productOutput');
        await field('shouldCacheSourceFiles').check();
        await field('adbPath').fill('/opt/<tools> & "adb"');
        await field('sourceViewTabSize').fill('8');
        await page.keyboard.press('Enter');
        await dialog().waitFor({ state: 'detached' });
        assert.deepEqual(
            relay.requests('options:set').map((frame) => frame.replace(/<id>\d+/, '<id>N')),
            [
                '<msg><request><id>N</id><type>options:set</type>' +
                    '<applicationOutputDestination><_>productOutput</_></applicationOutputDestination>' +
                    '<adbPath><_>/opt/&lt;tools&gt; &amp; "adb"</_></adbPath>' +
                    '<sourceViewTabSize><_ type="s32_t">8</_></sourceViewTabSize>' +
                    '<shouldCacheSourceFiles><_ type="bool">true</_></shouldCacheSourceFiles></request></msg>',
            ],
        );
    });

    it('keeps the focus inside, closes on Esc without storing, and gives the focus back', async () => {
        await openDialog();
        assert.equal(
            await page.evaluate(() => document.activeElement.id),
            'option-applicationOutputDestination',
        );
        for (let step = 0; step < 24; ++step) {
            await page.keyboard.press('Tab');
            const outside = await page.evaluate(
                () => document.activeElement !== document.body && !document.activeElement.closest('dialog'),
            );
            assert.equal(outside, false);
        }
        await page.keyboard.press('Escape');
        await dialog().waitFor({ state: 'detached' });
        assert.equal(await page.evaluate(() => document.activeElement.id), 'options');
        assert.deepEqual(relay.requests('options:set'), []);
    });

    it('says which option the host did not accept', async () => {
        await openDialog();
        await field('resultNameTemplate').fill('no/such');
        await page.getByRole('button', { name: 'Save' }).click();
        await dialog().getByText('not accepted: Template of result names').waitFor();
        assert.equal(await field('resultNameTemplate').inputValue(), 'no/such');
    });

    it('reports failures and stays open', async () => {
        relay.failures = { 'options:set': 'IsNot.Valid.Argument: set' };
        await openDialog();
        await field('sourceViewTabSize').fill('2');
        await page.keyboard.press('Enter');
        await dialog().getByText('The options could not be stored: IsNot.Valid.Argument: set').waitFor();
        assert.equal(await page.evaluate(() => document.activeElement.id), 'option-sourceViewTabSize');
        relay.failures = { 'options:get': 'gone' };
        await page.keyboard.press('Escape');
        await dialog().waitFor({ state: 'detached' });
        await page.locator('#options').click();
        await dialog().getByText('The options could not be read: gone').waitFor();
    });

    it('keeps a stored value that it does not know', async () => {
        relay.options.cpuAssemblySyntax = 'unknown';
        await openDialog();
        assert.equal(await field('cpuAssemblySyntax').inputValue(), 'unknown');
    });
});
