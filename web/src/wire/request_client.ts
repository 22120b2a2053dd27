import { Bag } from './bag.js';
import { ConnectionLost, RequestCanceled, RequestFailed } from './errors.js';
import { cancelFrame, type Incoming, readFrame, requestFrame } from './frames.js';
import { ListenerSet } from './listener_set.js';
import { type ReconnectingSocket } from './reconnecting_socket.js';

/**
 * How far the road to the library reaches. `connecting`: not yet known; `noLibrary`: the relay is there, the library
 * is not; `connected`: all the way; `reconnecting`: the relay was lost, or could not be reached at all.
 */
export type ConnectionState = 'connecting' | 'connected' | 'noLibrary' | 'reconnecting';

export interface RequestOptions {
    /** Aborting it cancels the request, on the host too. */
    readonly signal?: AbortSignal | undefined;
}

interface Pending {
    readonly type: string;
    readonly resolve: (answer: Bag) => void;
    readonly reject: (reason: Error) => void;
}

/**
 * What a pane speaks through: requests as promises, events by subscription, the state of the connection. Answers may
 * come in any order. Each promise is settled exactly once: by its answer, with `RequestFailed`, `RequestCanceled` or
 * `ConnectionLost`; a request without a connection is not kept for later.
 */
export class RequestClient {
    readonly #socket: ReconnectingSocket;
    readonly #pending = new Map<string, Pending>();
    readonly #events = new Map<string, ListenerSet<[payload: Bag]>>();
    readonly #stateListeners = new ListenerSet<[state: ConnectionState]>();
    readonly #problemListeners = new ListenerSet<[text: string]>();
    #lastId = 0;
    #state: ConnectionState = 'connecting';

    constructor(socket: ReconnectingSocket) {
        this.#socket = socket;
    }

    /** Connects, and from then on keeps connecting. Subscribe first, so that nothing is missed. */
    start(): void {
        this.#socket.start({
            up: () => this.#setState('connecting'),
            down: () => this.#lost(),
            attemptFailed: () => this.#setState('reconnecting'),
            frame: (text) => this.#take(text),
        });
    }

    /** Closes the connection for good; what is pending is rejected with `ConnectionLost`. */
    stop(): void {
        this.#socket.stop();
        this.#rejectAll();
    }

    get state(): ConnectionState {
        return this.#state;
    }

    /** Calls `listener` on every change of the state; the result ends the subscription. */
    onState(listener: (state: ConnectionState) => void): () => void {
        return this.#stateListeners.add(listener);
    }

    /** Calls `listener` with the payload of each event of that name; the result ends the subscription. */
    onEvent(name: string, listener: (payload: Bag) => void): () => void {
        const known = this.#events.get(name) ?? new ListenerSet();
        this.#events.set(name, known);
        return known.add(listener);
    }

    /** Calls `listener` with what no request can be told: frames that cannot be read, failures without a request. */
    onProblem(listener: (text: string) => void): () => void {
        return this.#problemListeners.add(listener);
    }

    /** Sends a request and gives the answer's payload, an empty bag if there is none. */
    request(type: string, params: Bag = new Bag(), { signal }: RequestOptions = {}): Promise<Bag> {
        return new Promise((resolve, reject) => {
            if (signal?.aborted) return reject(new RequestCanceled(type, 'page'));
            const id = String(++this.#lastId);
            if (!this.#socket.send(requestFrame(id, type, params))) return reject(new ConnectionLost(type));
            const cancel = () => this.#cancel(id);
            const settled = () => signal?.removeEventListener('abort', cancel);
            signal?.addEventListener('abort', cancel, { once: true });
            this.#pending.set(id, {
                type,
                resolve: (answer) => (settled(), resolve(answer)),
                reject: (reason) => (settled(), reject(reason)),
            });
        });
    }

    #cancel(id: string): void {
        const pending = this.#withdraw(id);
        if (!pending) return;
        this.#socket.send(cancelFrame(id));
        pending.reject(new RequestCanceled(pending.type, 'page'));
    }

    #take(frame: string): void {
        let incoming: Incoming;
        try {
            incoming = readFrame(frame);
        } catch (failure) {
            this.#problemListeners.call(`A frame could not be read: ${String(failure)}`);
            return;
        }
        if (incoming.what === 'event') this.#takeEvent(incoming.name, incoming.payload);
        else this.#takeResponse(incoming);
    }

    #takeEvent(name: string, payload: Bag): void {
        if (name === 'relay:libraryConnected') this.#setState('connected');
        if (name === 'relay:libraryLost') this.#setState('noLibrary');
        this.#events.get(name)?.call(payload);
    }

    #takeResponse({ requestId, type, payload }: Incoming & { what: 'response' }): void {
        if (requestId === undefined) {
            this.#problemListeners.call(payload.text('text') ?? 'A response without a request');
            return;
        }
        // None for a request that this page cancelled: the host's last word on it is of no interest any more.
        const pending = this.#withdraw(requestId);
        if (!pending) return;
        if (type === 'error') pending.reject(new RequestFailed(pending.type, payload.text('text') ?? ''));
        else if (type === 'canceled') pending.reject(new RequestCanceled(pending.type, 'host'));
        else pending.resolve(payload);
    }

    #lost(): void {
        this.#setState('reconnecting');
        this.#rejectAll();
    }

    #rejectAll(): void {
        for (const id of [...this.#pending.keys()]) {
            const pending = this.#withdraw(id);
            pending?.reject(new ConnectionLost(pending.type));
        }
    }

    #withdraw(id: string): Pending | undefined {
        const pending = this.#pending.get(id);
        this.#pending.delete(id);
        return pending;
    }

    #setState(state: ConnectionState): void {
        if (state === this.#state) return;
        this.#state = state;
        this.#stateListeners.call(state);
    }
}
