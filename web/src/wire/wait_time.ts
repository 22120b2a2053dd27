import { type Bag } from './bag.js';
import { RequestCanceled } from './errors.js';
import { type RequestClient, type RequestOptions } from './request_client.js';

/** Milliseconds that lie between two askings at the least, whatever the answer says. */
const SHORTEST_WAIT = 50;

/**
 * A request whose answer may say `waitTime` instead of what was asked for: the rows are not ready yet, ask again in so
 * many milliseconds. Asks until the answer comes; aborting the signal ends the waiting too.
 */
export async function requestWhenReady(
    client: RequestClient,
    type: string,
    params: Bag,
    { signal }: RequestOptions = {},
): Promise<Bag> {
    for (;;) {
        const answer = await client.request(type, params, { signal });
        const milliseconds = answer.number('waitTime');
        if (milliseconds === undefined) return answer;
        await pause(Math.max(milliseconds, SHORTEST_WAIT), type, signal);
    }
}

function pause(milliseconds: number, type: string, signal: AbortSignal | undefined): Promise<void> {
    return new Promise((resolve, reject) => {
        const abort = () => {
            clearTimeout(timer);
            reject(new RequestCanceled(type, 'page'));
        };
        const timer = setTimeout(() => {
            signal?.removeEventListener('abort', abort);
            resolve();
        }, milliseconds);
        signal?.addEventListener('abort', abort, { once: true });
    });
}
