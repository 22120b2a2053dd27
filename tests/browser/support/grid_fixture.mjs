// What the tests of the tree grid against a relay made of test data share: the relay, the page, and the trees.

import assert from 'node:assert/strict';
import { after, before } from 'node:test';
import { PATIENCE, startBrowser, waitForStatus } from './browser.mjs';
import { gridNode } from './fake_gridview.mjs';
import { DEFAULT_OPTIONS, FakeRelay } from './fake_relay.mjs';
import { GridPage } from './grid_page.mjs';

export const TREE = [
    gridNode(
        'multiply',
        [1_500_000, 500_000, 1_400_000, -700_000],
        [
            gridNode(
                'solve',
                [1_000_000, 400_000, 1_000_000, 10],
                [gridNode('main', [900_000, 400_000, 900_000, 0])],
            ),
            gridNode('main', [500_000, 100_000, 400_000, 0]),
        ],
    ),
    gridNode(
        'read<char>(FILE*, "x") 漢😀',
        [250_000, 0, 250_000, 350_000],
        [gridNode('main', [250_000, 0, 250_000, 0])],
    ),
    gridNode('walk', [0, 62_500, 62_500, 1], [], ['libwalk.so', '/src/walk.c', 42]),
    gridNode(null, [10, 0, 10, 0]),
];

/** Many flat rows in the order in which they are sorted. */
export const many = (count) =>
    Array.from({ length: count }, (_, at) => gridNode(`f${at}`, [count - at, 0, count - at, 0]));

export let relay;
export let browser;
export let page;
export let onPage;

/** Has a relay and a browser for the tests of a file. */
export function useGrids() {
    before(async () => {
        relay = new FakeRelay();
        await relay.start();
        browser = await startBrowser();
        page = browser.page;
        onPage = new GridPage(page);
    });
    after(async () => {
        await browser?.close();
        await relay?.stop();
    });
}

export const grid = () => onPage.element;
export const tab = (name) => onPage.tab(name);
export const row = (at) => onPage.row(at);
export const waitForRows = (expected) => onPage.waitForRows(expected);
export const head = (name) => grid().getByRole('columnheader', { name });
export const key = (name) => page.keyboard.press(name);

/** Opens the page afresh and one of its grids. */
export async function open(trees, tabName = 'Bottom-up') {
    relay.gridview.reset(trees);
    relay.failures = {};
    relay.options = { ...DEFAULT_OPTIONS };
    relay.summary = undefined;
    browser.faults.length = 0;
    // The page keeps its state when it goes: this comes after that.
    await page.evaluate(() => location.host && addEventListener('pagehide', () => sessionStorage.clear()));
    relay.frames = [];
    await page.goto(relay.url);
    await waitForStatus(page, 'Connected');
    if (tabName !== 'Bottom-up') {
        await until(() => relay.requests('gridview:refresh').length > 0);
        relay.frames = [];
    }
    await onPage.choose(tabName);
}

/** Waits until the test holds, at most as long as anything is waited for. */
export async function until(test) {
    const deadline = Date.now() + PATIENCE;
    // Lets the relay of this very process go on in between.
    while (!test() && Date.now() < deadline) await new Promise(setImmediate);
    assert.ok(test(), `never came true: ${test}`);
}

export const CLOSED = ['+ multiply', '+ read<char>(FILE*, "x") 漢😀', '  walk', '  [unknown]'];

export const OPENED = [
    '- multiply',
    '  + solve',
    '    main',
    '+ read<char>(FILE*, "x") 漢😀',
    '  walk',
    '  [unknown]',
];
/** The last frame of an operation, without what tells one page from another. */
export const lastFrame = (operation) =>
    relay
        .requests(`gridview:${operation}`)
        .at(-1)
        ?.replace(/<id>\d+/, '<id>N')
        .replace(/<(gridid|paneId)><_>\w+-/g, '<$1><_>PAGE-');
export const currentRow = () =>
    grid().evaluate((element) => {
        const id = element.getAttribute('aria-activedescendant');
        return id === null ? -1 : Number(document.getElementById(id).dataset.row);
    });
/** Chooses an entry of the menu that a tool opens. */
export async function chooseTool(tool, entry) {
    await page.getByRole('button', { name: tool, exact: true }).filter({ visible: true }).click();
    await page.getByRole('menu').getByRole('menuitem', { name: entry }).click();
}
export const scrollTo = (top) => grid().evaluate((element, to) => (element.scrollTop = to), top);
