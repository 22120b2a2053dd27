import { type CommandQueue } from './command_queue.js';
import { type GridAnswer } from './grid_answer.js';
import { type GridRequests } from './grid_requests.js';
import { type GridState } from './grid_state.js';
import { type GridView } from './grid_view.js';
import { type PaneFrame } from './pane_frame.js';
import { type StoppableWork } from './stoppable_work.js';
import { type WindowLoader } from './window_loader.js';

/** What the parts of a pane share. */
export interface GridParts {
    readonly requests: GridRequests;
    readonly state: GridState;
    readonly view: GridView;
    readonly frame: PaneFrame;
    readonly queue: CommandQueue;
    readonly loader: WindowLoader;
    readonly work: StoppableWork;
    /** Takes an answer that speaks of the whole grid. */
    take(answer: GridAnswer): void;
    /** A person went to the row that is the current one now. */
    wentToCurrent(): void;
    /** Reads the grid anew, as a part of the command that runs. */
    readAnew(signal: AbortSignal): Promise<void>;
    /** Runs a step and tells what goes wrong. */
    guard(whatFailed: string, signal: AbortSignal, step: () => Promise<void>): Promise<void>;
}
