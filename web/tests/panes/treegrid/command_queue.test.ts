import { afterEach, beforeEach, describe, expect, it, vi } from 'vitest';
import { type Command, CommandQueue } from '../../../src/panes/treegrid/command_queue.js';
import { MoveCommand } from '../../../src/panes/treegrid/move_command.js';

describe('the commands of a grid', () => {
    beforeEach(() => void vi.useFakeTimers());
    afterEach(() => void vi.useRealTimers());
    const settle = () => vi.advanceTimersByTimeAsync(0);

    /** Commands that write down when they begin, and end when a test says so. */
    function recorder() {
        const begun: string[] = [];
        const ends = new Map<string, () => void>();
        const signals = new Map<string, AbortSignal>();
        const command = (name: string): Command => ({
            run: (signal) => {
                begun.push(name);
                signals.set(name, signal);
                return new Promise((resolve) => ends.set(name, resolve));
            },
        });
        return { begun, ends, signals, command, queue: new CommandQueue() };
    }

    it('end with the queue, and new ones begin at once', async () => {
        const { begun, ends, signals, command, queue } = recorder();
        queue.add(command('a'));
        queue.add(command('b'));
        queue.clear();
        expect(signals.get('a')!.aborted).toBe(true);
        queue.add(command('c'));
        queue.add(command('d'));
        await settle();
        ends.get('a')!();
        await settle();
        expect(begun).toEqual(['a', 'c']);
        ends.get('c')!();
        await settle();
        expect(begun).toEqual(['a', 'c', 'd']);
    });

    it('become one while they wait, if they are moves of one kind', async () => {
        const { ends, command, queue } = recorder();
        const targets: number[] = [];
        const down = (mode: 'select' | 'extend') =>
            new MoveCommand({ what: 'move', by: 'row', amount: 1, mode }, async (moves) => {
                targets.push(moves.target(targets.at(-1) ?? 0, 100, 10));
            });
        queue.add(command('first'));
        for (const mode of ['select', 'select', 'select', 'extend', 'extend', 'select'] as const)
            queue.add(down(mode));
        ends.get('first')!();
        await settle();
        expect(targets).toEqual([3, 5, 6]);
    });
});
