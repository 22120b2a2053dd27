// Starts Debian's Chromium under playwright-core, which is installed for the page's own folder.

import { mkdtemp, rm } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const require = createRequire(new URL('../../../web/package.json', import.meta.url));
const { chromium } = require('playwright-core');

const EXECUTABLE = process.env.PANEDECK_CHROMIUM ?? '/usr/bin/chromium';
const FLAGS = [
    '--headless',
    '--no-sandbox',
    '--disable-gpu',
    '--disable-quic',
    '--no-first-run',
    '--disable-background-networking',
    '--disable-component-update',
    '--disable-sync',
];

/** How long a test waits for something to show, in milliseconds. */
export const PATIENCE = 20_000;

/**
 * A page of a browser with an empty profile. `faults` collects what the page complains of: script errors, refused
 * resources and console errors; a test that expects none checks that it is empty.
 */
export async function startBrowser() {
    const profile = await mkdtemp(join(tmpdir(), 'panedeck-browser-'));
    const context = await chromium.launchPersistentContext(profile, {
        executablePath: EXECUTABLE,
        args: FLAGS,
    });
    context.setDefaultTimeout(PATIENCE);
    const page = context.pages()[0] ?? (await context.newPage());
    const faults = [];
    page.on('pageerror', (error) => faults.push(String(error)));
    page.on('console', (message) => {
        if (message.type() === 'error') faults.push(message.text());
    });
    const close = async () => {
        await context.close();
        await rm(profile, { recursive: true, force: true });
    };
    return { page, faults, close };
}

/** Waits until the status line says `text`. */
export async function waitForStatus(page, text) {
    await page.getByRole('status').filter({ hasText: text }).first().waitFor();
}
