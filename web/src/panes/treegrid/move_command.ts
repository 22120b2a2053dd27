import { type Command } from './command_queue.js';
import { type KeyCommand, type MoveMode, moveTarget } from './key_commands.js';

export type Move = KeyCommand & { readonly what: 'move' };

/** Moves of the current row. Those that come while others wait go with them: a held key sends no queue of requests. */
export class MoveCommand implements Command {
    readonly #mode: MoveMode;
    readonly #moves: Move[];
    readonly #act: (moves: MoveCommand, signal: AbortSignal) => Promise<void>;

    constructor(move: Move, act: (moves: MoveCommand, signal: AbortSignal) => Promise<void>) {
        this.#mode = move.mode;
        this.#moves = [move];
        this.#act = act;
    }

    get mode(): MoveMode {
        return this.#mode;
    }

    run(signal: AbortSignal): Promise<void> {
        return this.#act(this, signal);
    }

    merge(later: Command): boolean {
        if (!(later instanceof MoveCommand) || later.#mode !== this.#mode) return false;
        this.#moves.push(...later.#moves);
        return true;
    }

    /** Where all moves lead to from the current row. */
    target(current: number, rowCount: number, pageRows: number): number {
        return this.#moves.reduce((row, move) => moveTarget(row, rowCount, pageRows, move), current);
    }
}
