import { Bag, type RequestClient } from '../wire/index.js';
import { isNotServed } from './failure_text.js';
import { type PageMemory } from './page_memory.js';
import { readSummary, type ResultSummary } from './profile_summary.js';

const SWAPPED = 'swapped';
const IDENTITY = 'profile';

/** What the host serves: its results, and in a comparison which of them a person wants to be the first. */
export class Profile {
    readonly #client: RequestClient;
    readonly #memory: PageMemory;
    readonly #readListeners: ((isSame: boolean) => void)[] = [];
    readonly #swapListeners: ((isSwapped: boolean) => void)[] = [];
    #results: readonly ResultSummary[] = [];
    #isSwapped: boolean;
    #isComparison = false;

    constructor(client: RequestClient, memory: PageMemory) {
        this.#client = client;
        this.#memory = memory;
        this.#isSwapped = memory.load(SWAPPED) === true;
        client.onEvent('relay:libraryConnected', () => void this.#read());
    }

    /** Whether two results are shown beside each other. */
    get isComparison(): boolean {
        return this.#isComparison || this.#results.length > 1;
    }

    /** A grid has columns for two results: even a host that tells nothing of them compares them. */
    setComparison(): void {
        if (this.isComparison) return;
        this.#isComparison = true;
        for (const listener of this.#swapListeners) listener(this.#isSwapped);
    }

    /** The results that are open, in the order in which they are shown; none if the host does not tell. */
    get results(): readonly ResultSummary[] {
        return this.#isSwapped ? [...this.#results].reverse() : this.#results;
    }

    /** The files that it was made of; empty if that is not known. */
    get name(): string {
        return this.results.map(({ title }) => title).join(' vs ');
    }

    /** Tells when it was read, and whether it is the profile that the memory of the page is about. */
    onRead(listener: (isSame: boolean) => void): void {
        this.#readListeners.push(listener);
    }

    /** Tells now and whenever it changes whether a comparison is shown the other way round. */
    follow(listener: (isSwapped: boolean) => void): void {
        this.#swapListeners.push(listener);
        listener(this.#isSwapped);
    }

    swap(): void {
        this.#isSwapped = !this.#isSwapped;
        this.#memory.keep(SWAPPED, this.#isSwapped);
        for (const listener of this.#swapListeners) listener(this.#isSwapped);
    }

    async #read(): Promise<void> {
        try {
            this.#take(readSummary(await this.#client.request('profile:summary', new Bag())));
        } catch (failure) {
            // The page does without; a connection that is lost brings the event again.
            if (!isNotServed(failure)) console.warn(`The summary could not be read: ${String(failure)}`);
        }
    }

    #take(results: readonly ResultSummary[]): void {
        const identity = results.map((result) => result.identity).join('\n');
        const known = this.#memory.load(IDENTITY);
        const isSame = known === identity;
        this.#memory.keep(IDENTITY, identity);
        this.#results = results;
        // Which of two results comes first was chosen for those two.
        if (!isSame && known !== null && this.#isSwapped) this.swap();
        for (const listener of this.#readListeners) listener(isSame);
    }
}
