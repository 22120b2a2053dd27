// A relay and a library in one, for tests of the page alone: serves web/dist as the real relay does, and answers
// `gridview:*`, `options:*`, `profile:*` and `export:*` from plain data that a test may change at any time.

import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { createRequire } from 'node:module';
import { extname, join, normalize } from 'node:path';
import { fileURLToPath } from 'node:url';
import { FakeGridView } from './fake_gridview.mjs';

const require = createRequire(new URL('../../../web/package.json', import.meta.url));
const { WebSocketServer } = require('ws');

const WEB = fileURLToPath(new URL('../../../web/dist/', import.meta.url));
const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.svg': 'image/svg+xml' };
// Stricter than a relay has to be: shows that the page needs nothing but its own origin.
const POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'";
const TOKEN = 'test-token';

export const DEFAULT_OPTIONS = { resultNameTemplate: 'r@@@{at}', sourceViewTabSize: 4 };

const ENTITIES = { '&lt;': '<', '&gt;': '>', '&amp;': '&' };
const unescape = (text) => text.replace(/&\w+;/g, (found) => ENTITIES[found]);

export class FakeRelay {
    gridview = new FakeGridView();
    options = { ...DEFAULT_OPTIONS };
    /** What `profile:summary` gives; a library without it does not know that domain. */
    summary;
    /** Full paths of files that are there already. */
    existing = [];
    /** Request type -> failure text, for requests that shall fail. */
    failures = {};
    hasLibrary = true;
    /** All frames that pages sent. */
    frames = [];
    #server = createServer((request, response) => this.#serve(request, response));
    #sockets = new WebSocketServer({ noServer: true });
    #port = 0;
    /** Requests of `gridview` that are not answered yet, by id, to cancel them. */
    #running = new Map();

    /** Starts on the port that it had before, if it had one. */
    async start() {
        this.#server.on('upgrade', (request, socket, head) => this.#upgrade(request, socket, head));
        await new Promise((resolve, reject) => {
            this.#server.once('error', reject);
            this.#server.listen(this.#port, '127.0.0.1', resolve);
        });
        this.#port = this.#server.address().port;
    }

    async stop() {
        for (const socket of this.#sockets.clients) socket.terminate();
        this.#server.closeAllConnections();
        await new Promise((resolve) => this.#server.close(resolve));
        this.#server = createServer((request, response) => this.#serve(request, response));
    }

    get url() {
        return `http://127.0.0.1:${this.#port}/?token=${TOKEN}`;
    }

    /** Ends all WebSockets at once, as if the relay had been killed. */
    dropConnections() {
        for (const socket of this.#sockets.clients) socket.terminate();
    }

    setLibrary(present) {
        this.hasLibrary = present;
        this.event(present ? 'relay:libraryConnected' : 'relay:libraryLost');
    }

    event(name, payload = '') {
        for (const socket of this.#sockets.clients)
            socket.send(`<msg><event><name>${name}</name>${payload}</event></msg>`);
    }

    /** The frames of requests of that type. */
    requests(type) {
        return this.frames.filter((frame) => frame.includes(`<type>${type}</type>`));
    }

    async #serve(request, response) {
        const path = new URL(request.url, 'http://relay').pathname;
        if (path.startsWith('/download/')) return this.#serveDownload(path, response);
        try {
            const file = normalize(join(WEB, path === '/' ? 'index.html' : path));
            const body = await readFile(file);
            response.writeHead(200, {
                'Content-Type': TYPES[extname(file)],
                'Content-Security-Policy': POLICY,
            });
            response.end(body);
        } catch {
            response.writeHead(404).end();
        }
    }

    #serveDownload(path, response) {
        response.writeHead(200, { 'Content-Type': 'text/csv', 'Content-Disposition': 'attachment' });
        response.end(`rows for ${decodeURIComponent(path)}`);
    }

    #upgrade(request, socket, head) {
        const url = new URL(request.url, 'http://relay');
        if (url.pathname !== '/ws' || url.searchParams.get('token') !== TOKEN) return socket.destroy();
        this.#sockets.handleUpgrade(request, socket, head, (client) => {
            client.on('message', (data) => this.#take(client, data.toString()));
            client.send(
                `<msg><event><name>relay:library${this.hasLibrary ? 'Connected' : 'Lost'}</name></event></msg>`,
            );
        });
    }

    #take(client, frame) {
        this.frames.push(frame);
        const [, id, type] = /^<msg><request><id>(\d+)<\/id><type>([^<]*)<\/type>/.exec(frame) ?? [];
        if (id === undefined) return this.#takeEvent(frame);
        const failure = this.hasLibrary ? this.failures[type] : 'The library is not connected';
        if (failure) client.send(jsonFrame(id, { type: 'error', '': { text: failure } }));
        else if (type.startsWith('gridview:')) void this.#answerGridView(client, id, type, frame);
        else client.send(this.#answer(id, type, frame));
    }

    #takeEvent(frame) {
        const [, id] = /<name>cancelRequest<\/name><requestId>(\d+)</.exec(frame) ?? [];
        this.#running.get(id)?.abort();
    }

    async #answerGridView(client, id, type, frame) {
        const canceled = new AbortController();
        this.#running.set(id, canceled);
        const answer = this.gridview.answer(type.slice('gridview:'.length), frame, canceled.signal).then(
            (payload) => (payload === undefined ? { type: 'canceled' } : { type, '': payload }),
            (failure) => ({ type: 'error', '': { text: failure.message } }),
        );
        client.send(jsonFrame(id, await answer));
        this.#running.delete(id);
    }

    #answer(id, type, frame) {
        const json = (content) => jsonFrame(id, content);
        if (type === 'options:get') return json({ type, '': this.options });
        if (type === 'options:set') {
            this.#setOptions(frame);
            return json({ type, '': null });
        }
        const own = (key) => unescape(new RegExp(`<${key}><_>([^<]*)<`).exec(frame)[1]);
        if (type === 'profile:summary' && this.summary) return json({ type, '': this.summary });
        if (type === 'export:download')
            return json({ type, '': { url: `download/x1/${encodeURIComponent(own('fileName'))}` } });
        if (type === 'export:resolve') {
            const path = own('filePath').replace(/^~/, '/home/me');
            return json({ type, '': { path, exists: this.existing.includes(path) } });
        }
        return json({ type: 'error', '': { text: `IsNot.Valid.Parameter: ${type}` } });
    }

    /** Stores what comes in the kind of the option; drops a template with a separator without a word, as the host does. */
    #setOptions(frame) {
        const element = /<(\w+)><_(?: type="(\w+)")?>([^<]*)<\/_><\/\1>/g;
        for (const [, key, kind = 'text', text] of frame.matchAll(element)) {
            const wanted = { boolean: 'bool', number: 's32_t', string: 'text' }[typeof this.options[key]];
            if (kind !== wanted || (key === 'resultNameTemplate' && text.includes('/'))) continue;
            this.options[key] = kind === 'text' ? unescape(text) : JSON.parse(text);
        }
    }
}

function jsonFrame(id, content) {
    return JSON.stringify({ response: { requestId: id, serializeAsJson: null, ...content } });
}
