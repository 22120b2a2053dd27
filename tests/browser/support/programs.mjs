// Starts the real programs and reads what they print.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { accessSync, constants, mkdirSync } from 'node:fs';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';
import { PATIENCE } from './browser.mjs';

export const BIN = process.env.PANEDECK_BIN;
export const WEB = fileURLToPath(new URL('../../../web/dist/', import.meta.url));

/** Fails with the name of the first program that is not there. */
export function requirePrograms() {
    for (const name of ['panedeck', 'panedeck-guiserver', 'panedeck-host']) {
        const path = join(BIN, name);
        try {
            accessSync(path, constants.X_OK);
        } catch {
            assert.fail(`PANEDECK_BIN: there is no program ${path}`);
        }
    }
}

/** A running program of PANEDECK_BIN. */
export class Program {
    #name;
    #child;
    #output = '';
    #errors = '';
    #lines = [];
    #waiting = new Set();
    #ended;

    /** @param userDirectory stands in for the user's home, so that a test touches nobody's settings. */
    constructor(name, programArguments, userDirectory) {
        this.#name = name;
        const env = { ...process.env, HOME: userDirectory, XDG_CONFIG_HOME: join(userDirectory, '.config') };
        this.#child = spawn(join(BIN, name), programArguments, { env, stdio: ['ignore', 'pipe', 'pipe'] });
        this.#child.stderr.on('data', (data) => (this.#errors += data));
        createInterface(this.#child.stdout).on('line', (line) => this.#takeLine(line));
        this.#ended = new Promise((resolve) => {
            this.#child.once('error', (error) => resolve(String(error)));
            this.#child.once('close', (code, signal) => resolve(code ?? signal));
        });
        void this.#ended.then((result) => this.#fail(result));
    }

    #takeLine(line) {
        this.#output += `${line}\n`;
        this.#lines.push(line);
        for (const check of [...this.#waiting]) check.line(line);
    }

    #fail(result) {
        for (const check of [...this.#waiting]) check.ended(result);
    }

    /** The match of the first line, past or coming, that fits the pattern. */
    waitForLine(pattern) {
        return new Promise((resolve, reject) => {
            const settle = (act, result) => {
                clearTimeout(timer);
                this.#waiting.delete(check);
                act(result);
            };
            const complain = (why) =>
                settle(
                    reject,
                    new Error(`${this.#name} ${why}, and printed no line like ${pattern}\n${this.#report()}`),
                );
            const check = {
                line: (line) => pattern.test(line) && settle(resolve, pattern.exec(line)),
                ended: (result) => complain(`ended with ${result}`),
            };
            const timer = setTimeout(() => complain(`went on for ${PATIENCE} ms`), PATIENCE);
            this.#waiting.add(check);
            for (const line of this.#lines) check.line(line);
            void this.#ended.then((result) => this.#waiting.has(check) && check.ended(result));
        });
    }

    /** Waits for the program's own end with exit code 0, and gives what it printed. */
    async output() {
        const timer = setTimeout(() => this.#child.kill('SIGKILL'), 2 * PATIENCE);
        const result = await this.#ended;
        clearTimeout(timer);
        assert.equal(result, 0, `${this.#name} ended with ${result}\n${this.#report()}`);
        return this.#output;
    }

    async kill(signal = 'SIGTERM') {
        this.#child.kill(signal);
        return this.#ended;
    }

    #report() {
        return `--- standard output\n${this.#output}--- standard error\n${this.#errors}`;
    }
}

/** A relay and a host, each of which can be killed and started again in its place. */
export class Session {
    static #TOKEN = 'browser-test-token';
    #userDirectory;
    #results;
    #exports;
    #http = '127.0.0.1:0';
    #library = '127.0.0.1:0';
    #relay;
    #host;
    url;

    /** @param results one, or two to compare. */
    constructor(results, userDirectory) {
        this.#results = results;
        this.#userDirectory = userDirectory;
        this.#exports = join(userDirectory, 'exports');
        mkdirSync(this.#exports, { recursive: true, mode: 0o700 });
    }

    /** Starts on the ports of the last time, if there was one. */
    async startRelay() {
        const given = [
            '--http',
            this.#http,
            '--library',
            this.#library,
            '--web',
            WEB,
            '--token',
            Session.#TOKEN,
            '--export-dir',
            this.#exports,
        ];
        this.#relay = new Program('panedeck-guiserver', given, this.#userDirectory);
        [, this.#library] = await this.#relay.waitForLine(/^library (\S+)$/);
        [this.url, this.#http] = await this.#relay.waitForLine(/^http:\/\/([^/]+)\/\S*$/);
    }

    startHost() {
        const given = [
            '--server',
            this.#library,
            '--token',
            Session.#TOKEN,
            '--user-dir',
            this.#userDirectory,
            '--export-dir',
            this.#exports,
            ...this.#results,
        ];
        this.#host = new Program('panedeck-host', given, this.#userDirectory);
    }

    killRelay() {
        return this.#relay.kill('SIGKILL');
    }

    killHost() {
        return this.#host.kill('SIGKILL');
    }

    async stop() {
        await this.#host?.kill();
        await this.#relay?.kill();
    }
}

/** The rows of a table as `panedeck check` prints it, cut into cells at the columns that the line of dashes marks. */
export function parseTextTable(text) {
    const [head, dashes, ...lines] = text.trimEnd().split('\n');
    assert.match(dashes ?? '', /^-+(  -+)+$/, `no table in what panedeck check printed:\n${text}`);
    const widths = dashes.split('  ').map((dash) => dash.length);
    const cut = (line) => {
        const characters = [...line];
        return widths.map((width) =>
            characters
                .splice(0, width + 2)
                .join('')
                .trim(),
        );
    };
    return { columns: cut(head), rows: lines.filter((line) => !line.startsWith('… ')).map(cut) };
}
