// The tree grids of the page on the real programs. Needs PANEDECK_BIN, the folder of the built programs.

import assert from 'node:assert/strict';
import { mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, it } from 'node:test';
import { startBrowser, waitForStatus } from './support/browser.mjs';
import { BIN, requirePrograms, Session } from './support/programs.mjs';
import { GridPage } from './support/grid_page.mjs';

const PROFILE = `main;multiply 70
main;multiply;dot 1025
main;<b>print</b> & "more" 5
main;walk;step;walk 12
`;

describe('the tree grids on the real programs', { skip: BIN ? false : 'PANEDECK_BIN is not set' }, () => {
    let folder;
    let browser;
    let session;
    let page;
    let grid;

    before(async () => {
        requirePrograms();
        folder = await mkdtemp(join(tmpdir(), 'panedeck-treegrid-'));
        const profile = join(folder, 'profile.folded');
        await writeFile(profile, PROFILE);
        browser = await startBrowser();
        page = browser.page;
        grid = new GridPage(page);
        session = new Session([profile], folder);
        await session.startRelay();
        session.startHost();
        await page.goto(session.url);
        await waitForStatus(page, 'Connected');
    });
    after(async () => {
        await browser?.close();
        await session?.stop();
        if (folder) await rm(folder, { recursive: true, force: true });
    });

    const numbers = () =>
        page
            .locator('.tg-pane:not([hidden]) [data-row]')
            .evaluateAll((rows) =>
                rows
                    .sort((one, other) => one.dataset.row - other.dataset.row)
                    .map((row) =>
                        [...row.querySelectorAll('[role=gridcell]')].map((cell) => Number(cell.dataset.value)),
                    ),
            );

    it('show the functions by their own weight, and who called them', async () => {
        await grid.choose('Bottom-up');
        await grid.waitForRows(['+ dot', '+ multiply', '+ walk', '+ <b>print</b> & "more"']);
        await grid.element.focus();
        for (const name of ['ArrowDown', 'ArrowRight', 'ArrowRight', '+']) await page.keyboard.press(name);
        const below = ['+ multiply', '+ walk', '+ <b>print</b> & "more"'];
        await grid.waitForRows(['- dot', '  - multiply*', '    + main', ...below]);
        // Whether anything called it is found out when somebody asks.
        for (const name of ['ArrowDown', 'ArrowRight']) await page.keyboard.press(name);
        await grid.waitForRows(['- dot', '  - multiply', '      main*', ...below]);
        assert.deepEqual(await numbers(), [[1025], [1025], [1025], [70], [12], [5]]);
    });

    it('show whole stacks from the top', async () => {
        await grid.choose('Top-down');
        await grid.waitForRows(['+ main']);
        await grid.element.focus();
        await page.keyboard.press('*');
        await grid.waitForRows([
            '- main',
            '  - multiply',
            '      dot',
            '  - walk',
            '    - step',
            '        walk',
            '    <b>print</b> & "more"',
        ]);
        assert.deepEqual(await numbers(), [
            [1112, 0],
            [1095, 70],
            [1025, 1025],
            [12, 0],
            [12, 0],
            [12, 12],
            [5, 5],
        ]);
    });

    it('select, sum up, copy and export', async () => {
        await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
        await grid.choose('Functions');
        await grid.row(2).click();
        await grid.row(4).click({ modifiers: ['Shift'] });
        await page.locator('.tg-pane:not([hidden]) .tg-foot').getByText('Selected: 3 rows').waitFor();
        await page.keyboard.press('Control+c');
        await page.getByRole('status').filter({ hasText: 'Copied' }).waitFor({ state: 'attached' });
        const copied = await page.evaluate(() => navigator.clipboard.readText());
        for (const name of ['dot', 'step', 'walk']) assert.ok(copied.includes(name), copied);
        assert.ok(!copied.includes('multiply'), copied);
        const openExport = () =>
            page.getByRole('button', { name: 'Export…' }).filter({ visible: true }).click();
        await openExport();
        const [download] = await Promise.all([page.waitForEvent('download'), page.keyboard.press('Enter')]);
        assert.match(download.suggestedFilename(), /functions\.csv$/);
        const downloaded = await readFile(await download.path(), 'utf8');
        for (const name of ['main', 'multiply', '1112']) assert.ok(downloaded.includes(name), downloaded);
        const path = join(folder, 'exported.csv');
        for (const question of [undefined, `Replace the file ${path}?`]) {
            await openExport();
            await page.getByRole('dialog').getByRole('textbox').fill(path);
            await page.getByRole('dialog').getByRole('textbox').press('Enter');
            if (question) await page.getByText(question).waitFor();
            if (question) await page.getByRole('button', { name: 'Replace' }).click();
            await page.getByRole('dialog').waitFor({ state: 'detached' });
            assert.equal(await readFile(path, 'utf8'), downloaded);
        }
    });

    it('search, sort and fold chains', async () => {
        await grid.choose('Top-down');
        await grid.element.focus();
        await page.keyboard.press('Control+f');
        await page.keyboard.type('WALK');
        await page.locator('.tg-search output').filter({ hasText: '1 of 2' }).waitFor();
        assert.deepEqual(await page.locator('mark').allTextContents(), ['walk', 'walk']);
        await page.keyboard.press('Escape');
        await page.locator('.tg-pane:not([hidden]) [data-column=c0] .tg-sort').click();
        await grid.waitForRows([
            '- main',
            '    <b>print</b> & "more"',
            '  - multiply',
            '      dot',
            '  - walk',
            '    - step',
            '        walk',
        ]);
        await page.getByRole('button', { name: 'Chains' }).filter({ visible: true }).click();
        await page.getByText('↘ walk → step').waitFor();
    });

    it('keep chains folded over a reload of the page and a restart of the library', async () => {
        const folded = page.getByText('↘ walk → step').filter({ visible: true });
        const isPressed = page.locator('.tg-pane:not([hidden]) [aria-pressed=true]', { hasText: 'Chains' });
        await page.reload();
        await grid.choose('Top-down');
        await folded.waitFor();
        await isPressed.waitFor();
        await session.killHost();
        await page.locator('#status').filter({ hasNotText: 'Connected' }).waitFor();
        session.startHost();
        await waitForStatus(page, 'Connected');
        await folded.waitFor();
        await isPressed.click();
        await isPressed.waitFor({ state: 'detached' });
        await folded.waitFor({ state: 'detached' });
    });

    it('compare two results, and show that the other way round', async () => {
        const second = join(folder, 'second.folded');
        await writeFile(second, 'main;multiply 100\nmain;walk 30\n');
        const compared = new Session([join(folder, 'profile.folded'), second], folder);
        await compared.startRelay();
        compared.startHost();
        try {
            await page.goto(compared.url);
            await grid.choose('Bottom-up');
            const heads = await grid.element.locator('.tg-caption').allTextContents();
            assert.deepEqual(heads.slice(0, 2), ['weight', 'Self']);
            assert.deepEqual(heads.slice(-3), ['First', 'Second', 'First − Second']);
            const texts = () =>
                grid.element
                    .locator('[data-row]')
                    .evaluateAll((rows) =>
                        rows
                            .sort((one, other) => one.dataset.row - other.dataset.row)
                            .map((row) =>
                                [...row.querySelectorAll('.tg-text')].map((cell) => cell.textContent).join(' '),
                            ),
                    );
            const print = '<b>print</b> & "more"';
            assert.deepEqual(await texts(), [
                ...['dot 1,025 0 +1,025', `${print} 5 0 +5`],
                ...['walk 12 30 −18', 'multiply 70 100 −30'],
            ]);
            await page.getByRole('button', { name: 'Swap' }).click();
            await grid.waitForRows(['+ multiply', '+ walk', `+ ${print}`, '+ dot']);
            assert.deepEqual(await texts(), [
                ...['multiply 100 70 +30', 'walk 30 12 +18'],
                ...[`${print} 0 5 −5`, 'dot 0 1,025 −1,025'],
            ]);
            assert.deepEqual(await grid.element.locator('.more, .less').count(), 4);
        } finally {
            await compared.stop();
            await page.goto(session.url);
        }
    });

    it('show callers and callees of a function', async () => {
        await grid.choose('Functions');
        await grid.row(1).click();
        await page.locator('.tg-pane:not([hidden]) [data-row="1"][aria-selected=true]').waitFor();
        await grid.choose('Callers');
        await grid.waitForRows(['+ multiply']);
        await grid.element.focus();
        await page.keyboard.press('*');
        await grid.waitForRows(['- multiply', '    main']);
        await grid.choose('Callees');
        await grid.waitForRows(['+ multiply']);
        await grid.element.focus();
        await page.keyboard.press('*');
        await grid.waitForRows(['- multiply', '    dot']);
        assert.deepEqual(browser.faults, []);
    });
});
