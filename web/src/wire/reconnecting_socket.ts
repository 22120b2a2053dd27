/** The part of a browser's WebSocket that is used here. */
export interface SocketLike {
    onopen: ((event: Event) => void) | null;
    onmessage: ((event: MessageEvent) => void) | null;
    onclose: ((event: CloseEvent) => void) | null;
    send(text: string): void;
    close(): void;
}

/** Who hears of the connection. `up` and `down` alternate, `up` first. */
export interface SocketListener {
    up(): void;
    down(): void;
    frame(text: string): void;
    /** An attempt to connect failed; `attempts` counts them since the connection was last up. */
    attemptFailed?(attempts: number): void;
}

/** Milliseconds between the end of a connection, or a failed attempt, and the next attempt. */
export const RECONNECT_PACE = 500;

/**
 * A WebSocket that comes back by itself: after each loss it tries again at a fixed pace, for ever. Frames are sent on a
 * living connection or not at all; nothing is kept for the next one.
 */
export class ReconnectingSocket {
    readonly #open: () => SocketLike;
    #listener: SocketListener | null = null;
    #socket: SocketLike | null = null;
    #isUp = false;
    #attempts = 0;
    #timer: ReturnType<typeof setTimeout> | undefined;

    /** @param open makes a new socket for each attempt, for instance `() => new WebSocket(url)`. */
    constructor(open: () => SocketLike) {
        this.#open = open;
    }

    start(listener: SocketListener): void {
        this.#listener = listener;
        this.#connect();
    }

    /** Ends the connection for good, without a further call of the listener. */
    stop(): void {
        clearTimeout(this.#timer);
        this.#listener = null;
        this.#isUp = false;
        this.#drop();
    }

    /** False if there is no living connection: the frame is then lost. */
    send(frame: string): boolean {
        if (!this.#isUp || !this.#socket) return false;
        this.#socket.send(frame);
        return true;
    }

    #connect(): void {
        const socket = this.#open();
        this.#socket = socket;
        socket.onopen = () => this.#opened();
        socket.onmessage = (event) => {
            if (typeof event.data === 'string') this.#listener?.frame(event.data);
        };
        socket.onclose = () => this.#closed();
    }

    #opened(): void {
        this.#isUp = true;
        this.#attempts = 0;
        this.#listener?.up();
    }

    #closed(): void {
        const wasUp = this.#isUp;
        this.#isUp = false;
        this.#drop();
        this.#timer = setTimeout(() => this.#connect(), RECONNECT_PACE);
        if (wasUp) this.#listener?.down();
        else this.#listener?.attemptFailed?.(++this.#attempts);
    }

    #drop(): void {
        const socket = this.#socket;
        this.#socket = null;
        if (!socket) return;
        socket.onopen = socket.onmessage = socket.onclose = null;
        socket.close();
    }
}
