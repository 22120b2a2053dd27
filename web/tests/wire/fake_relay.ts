import { type SocketLike } from '../../src/wire/reconnecting_socket.js';

/** The far end of a page's WebSocket, in memory: counts attempts, keeps what was sent, says what a test tells it to. */
export class FakeRelay {
    readonly sent: string[] = [];
    attempts = 0;
    #socket: SocketLike | null = null;

    newSocket(): SocketLike {
        this.attempts += 1;
        this.#socket = {
            onopen: null,
            onmessage: null,
            onclose: null,
            send: (text) => this.sent.push(text),
            close: () => undefined,
        };
        return this.#socket;
    }

    accept(): void {
        this.#socket?.onopen?.({} as Event);
    }

    /** Ends the connection, or refuses the attempt that is under way. */
    drop(): void {
        this.#socket?.onclose?.({} as CloseEvent);
    }

    frame(text: string): void {
        this.#socket?.onmessage?.({ data: text } as MessageEvent);
    }

    event(name: string): void {
        this.frame(`<msg><event><name>${name}</name></event></msg>`);
    }
}
