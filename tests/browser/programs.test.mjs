// The page and the real programs together: the whole road from a file to what a person sees, and back after accidents.
// Needs PANEDECK_BIN, the folder of the built programs; if it is set and they do not work, that is a failure.

import assert from 'node:assert/strict';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, it } from 'node:test';
import { startBrowser, waitForStatus } from './support/browser.mjs';
import { GridPage } from './support/grid_page.mjs';
import { BIN, parseTextTable, Program, requirePrograms, Session, WEB } from './support/programs.mjs';

const PROFILE = `main;multiply 70
main;multiply;dot 1025
main;<b>print</b> & "more" 5
main;walk;step;walk 12
`;

/** Name, total and self, worked out by hand from the stacks above. */
const EXPECTED = [
    ['main', '1112', '0'],
    ['multiply', '1095', '70'],
    ['dot', '1025', '1025'],
    ['step', '12', '0'],
    ['walk', '12', '12'],
    ['<b>print</b> & "more"', '5', '5'],
];

describe('the real programs', { skip: BIN ? false : 'PANEDECK_BIN is not set' }, () => {
    let folder;
    let profile;
    let browser;
    let page;

    before(async () => {
        requirePrograms();
        folder = await mkdtemp(join(tmpdir(), 'panedeck-programs-'));
        profile = join(folder, 'profile.folded');
        await writeFile(profile, PROFILE);
        browser = await startBrowser();
        page = browser.page;
    });
    after(async () => {
        await browser?.close();
        if (folder) await rm(folder, { recursive: true, force: true });
    });

    /** Name, total and self of the functions, from the raw values of their cells. */
    const shownRows = async () => {
        await new GridPage(page).choose('Functions');
        await page.locator('.tg-pane:not([hidden]) [data-row="5"][data-id]').waitFor();
        const rows = page.locator('.tg-pane:not([hidden]) [data-row][data-id]');
        return rows.evaluateAll((all) =>
            all
                .sort((one, other) => one.dataset.row - other.dataset.row)
                .map((row) => [...row.querySelectorAll('.tg-cell')].map((cell) => cell.dataset.value)),
        );
    };

    it('show the functions of a profile, as panedeck check prints them', async () => {
        const open = new Program(
            'panedeck',
            ['--user-dir', folder, 'open', '--no-browser', '--web', WEB, profile],
            folder,
        );
        try {
            const [url] = await open.waitForLine(/^http:\/\/\S+$/);
            await page.goto(url);
            await waitForStatus(page, 'Connected');
            const shown = await shownRows();
            const checked = new Program(
                'panedeck',
                ['--user-dir', folder, 'check', '--web', WEB, profile],
                folder,
            );
            const printed = parseTextTable(await checked.output());
            assert.deepEqual(shown, printed.rows);
            assert.deepEqual(shown, EXPECTED);
            assert.deepEqual(browser.faults, []);
        } finally {
            await open.kill();
        }
    });

    describe('kept in a session', () => {
        let session;

        before(async () => {
            session = new Session([profile], folder);
            await session.startRelay();
            session.startHost();
            await page.goto(session.url);
            await waitForStatus(page, 'Connected');
        });
        after(() => session?.stop());

        it('come back after the host was killed', async () => {
            await session.killHost();
            await waitForStatus(page, 'No profile is being served');
            session.startHost();
            await waitForStatus(page, 'Connected');
            assert.deepEqual(await shownRows(), EXPECTED);
        });

        it('come back after the relay was killed', async () => {
            await session.killRelay();
            await waitForStatus(page, 'reconnecting');
            await session.startRelay();
            await waitForStatus(page, 'Connected');
            assert.deepEqual(await shownRows(), EXPECTED);
        });

        it('keep the options over a reload and over a new host', async () => {
            const field = page.locator('#option-resultNameTemplate');
            const openDialog = async () => {
                await page.locator('#options').click();
                await page.locator('fieldset:enabled').waitFor();
            };
            await openDialog();
            const wanted = 'r@@ <{at}> & "ä"';
            await field.fill(wanted);
            await page.getByRole('button', { name: 'Save' }).click();
            await page.getByRole('dialog').waitFor({ state: 'detached' });
            await page.reload();
            await session.killHost();
            await waitForStatus(page, 'No profile is being served');
            session.startHost();
            await waitForStatus(page, 'Connected');
            await openDialog();
            assert.equal(await field.inputValue(), wanted);
        });
    });
});
