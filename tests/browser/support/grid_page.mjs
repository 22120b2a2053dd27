// What tests do with the tree grid that a page shows.

import assert from 'node:assert/strict';
import { PATIENCE } from './browser.mjs';

export class GridPage {
    #page;

    constructor(page) {
        this.#page = page;
    }

    /** The grid that is in sight. */
    get element() {
        return this.#page.getByRole('treegrid').filter({ visible: true });
    }

    tab(name) {
        return this.#page.getByRole('tab', { name });
    }

    /** The row of that index, if it is drawn. */
    row(at) {
        return this.#page.locator(`.tg-pane:not([hidden]) [data-row="${at}"]`);
    }

    /** Chooses a tab and waits for rows. */
    async choose(name) {
        await this.tab(name).click();
        await this.#page.locator('.tg-pane:not([hidden]) [data-row][data-id]').first().waitFor();
    }

    /** The rows in sight, indented by level: state, name, and a star if it is selected. */
    rows() {
        return this.#page.locator('.tg-pane:not([hidden])').evaluate((pane) =>
            [...pane.querySelectorAll('[data-row][data-id]')]
                .sort((one, other) => one.dataset.row - other.dataset.row)
                .map((row) => {
                    const state = row.querySelector('.tg-toggle').dataset.state;
                    const mark = row.getAttribute('aria-selected') === 'true' ? '*' : '';
                    const name = row.querySelector('[role=rowheader] .tg-text').textContent;
                    return `${'  '.repeat(row.getAttribute('aria-level') - 1)}${state} ${name}${mark}`;
                }),
        );
    }

    /** Waits until the rows in sight are these. */
    async waitForRows(expected) {
        const deadline = Date.now() + PATIENCE;
        let rows;
        do rows = await this.rows();
        while (JSON.stringify(rows) !== JSON.stringify(expected) && Date.now() < deadline);
        assert.deepEqual(rows, expected);
    }
}
