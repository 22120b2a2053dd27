import { afterEach, beforeEach, describe, expect, it, vi } from 'vitest';
import { RECONNECT_PACE } from '../../src/wire/reconnecting_socket.js';
import { Bag, ReconnectingSocket, RequestClient, s32, text } from '../../src/wire/index.js';
import { FakeRelay } from './fake_relay.js';

let relay: FakeRelay;
let client: RequestClient;

beforeEach(() => {
    vi.useFakeTimers();
    relay = new FakeRelay();
    client = new RequestClient(new ReconnectingSocket(() => relay.newSocket()));
});
afterEach(() => {
    client.stop();
    vi.useRealTimers();
});

function connect(): void {
    client.start();
    relay.accept();
    relay.event('relay:libraryConnected');
}

describe('a request', () => {
    it('goes out with an id of its own and its parameters, kinds kept', async () => {
        connect();
        const params = new Bag().put('limit', text('7')).putOwn('row', s32(3));
        const answer = client.request('grid:get', params);
        expect(relay.sent).toEqual([
            '<msg><request><id>1</id><type>grid:get</type><limit>7</limit><row><_ type="s32_t">3</_></row></request></msg>',
        ]);
        relay.frame('{"response":{"requestId":"1","serializeAsJson":null,"type":"grid:get","":{"a":5}}}');
        expect((await answer).number('a')).toBe(5);
    });

    it('is answered by id, whatever the order and the form', async () => {
        connect();
        const answers = [client.request('a:x'), client.request('b:x'), client.request('c:x')];
        relay.frame('{"response":{"requestId":"3","serializeAsJson":null,"type":"c:x","":null}}');
        relay.frame(
            '<msg><response><requestId>1</requestId><type>a:x</type><_><v type="s32_t">9</v></_></response></msg>',
        );
        relay.frame('<msg><response><requestId>2</requestId><type>b:x</type></response></msg>');
        const [first, second, third] = await Promise.all(answers);
        expect(first!.value('v')).toEqual(s32(9));
        expect([second!.isEmpty, third!.isEmpty]).toEqual([true, true]);
    });

    it('may not use the names of the envelope', async () => {
        connect();
        await expect(client.request('a:x', new Bag().put('id', text('5')))).rejects.toThrow(RangeError);
    });

    it.each([
        [
            'error',
            '{"response":{"requestId":"1","serializeAsJson":null,"type":"error","":{"text":"IsNot.Valid.Argument: bad"}}}',
            { name: 'RequestFailed', message: 'IsNot.Valid.Argument: bad' },
        ],
        [
            'an error in XML',
            '<msg><response><requestId>1</requestId><type>error</type><_><text><_>bad</_></text></_></response></msg>',
            { name: 'RequestFailed', message: 'bad' },
        ],
        [
            'canceled',
            '{"response":{"requestId":"1","serializeAsJson":null,"type":"canceled"}}',
            { name: 'RequestCanceled', by: 'host' },
        ],
    ])('answered with %s is rejected', async (_, frame, reason) => {
        connect();
        const answer = client.request('a:x');
        relay.frame(frame);
        await expect(answer).rejects.toMatchObject(reason);
    });

    it('is lost with the connection, and without one not even sent', async () => {
        const early = client.request('a:x');
        await expect(early).rejects.toMatchObject({ name: 'ConnectionLost', requestType: 'a:x' });
        connect();
        const pending = client.request('b:x');
        relay.drop();
        await expect(pending).rejects.toMatchObject({ name: 'ConnectionLost', requestType: 'b:x' });
        expect(relay.sent).toHaveLength(1);
    });
});

describe('cancelling', () => {
    it('tells the host and rejects at once; a late answer changes nothing', async () => {
        connect();
        const controller = new AbortController();
        const answer = client.request('a:x', new Bag(), controller);
        controller.abort();
        await expect(answer).rejects.toMatchObject({ name: 'RequestCanceled', by: 'page' });
        expect(relay.sent[1]).toBe(
            '<msg><event><name>cancelRequest</name><requestId>1</requestId></event></msg>',
        );
        relay.frame('{"response":{"requestId":"1","serializeAsJson":null,"type":"canceled"}}');
        controller.abort();
        expect(relay.sent).toHaveLength(2);
    });

    it('before sending sends nothing, after the answer neither', async () => {
        connect();
        const aborted = AbortSignal.abort();
        await expect(client.request('a:x', new Bag(), { signal: aborted })).rejects.toMatchObject({
            by: 'page',
        });
        const controller = new AbortController();
        const answered = client.request('b:x', new Bag(), controller);
        relay.frame('<msg><response><requestId>1</requestId><type>b:x</type></response></msg>');
        await answered;
        controller.abort();
        expect(relay.sent).toHaveLength(1);
    });
});

describe('the connection', () => {
    it('tells its state from start to loss and back, at a fixed pace', async () => {
        const states: string[] = [];
        client.onState((state) => states.push(state));
        connect();
        relay.event('relay:libraryLost');
        relay.drop();
        for (const attempt of [2, 3, 4]) {
            await vi.advanceTimersByTimeAsync(RECONNECT_PACE - 1);
            expect(relay.attempts).toBe(attempt - 1);
            await vi.advanceTimersByTimeAsync(1);
            expect(relay.attempts).toBe(attempt);
            if (attempt < 4) relay.drop();
        }
        relay.accept();
        relay.event('relay:libraryConnected');
        expect(states).toEqual(['connected', 'noLibrary', 'reconnecting', 'connecting', 'connected']);
    });

    it('serves requests after a reconnect, with ids that were not used before', async () => {
        connect();
        client.request('a:x').catch(() => undefined);
        relay.drop();
        await vi.advanceTimersByTimeAsync(RECONNECT_PACE);
        relay.accept();
        const answer = client.request('a:x');
        relay.frame('<msg><response><requestId>2</requestId><type>a:x</type></response></msg>');
        await expect(answer).resolves.toBeInstanceOf(Bag);
    });

    it('stays closed after stop', async () => {
        connect();
        const pending = client.request('a:x');
        client.stop();
        await expect(pending).rejects.toMatchObject({ name: 'ConnectionLost' });
        await vi.advanceTimersByTimeAsync(10 * RECONNECT_PACE);
        expect(relay.attempts).toBe(1);
    });
});

describe('events', () => {
    it('reach their subscribers with the payload until these leave', () => {
        connect();
        const payloads: (string | undefined)[] = [];
        const leave = client.onEvent('KnobChangedEvent', (payload) => payloads.push(payload.text('knob')));
        relay.frame('<msg><event><name>KnobChangedEvent</name><_><knob>k</knob></_></event></msg>');
        relay.frame('<msg><event><name>OtherEvent</name></event></msg>');
        leave();
        relay.frame('<msg><event><name>KnobChangedEvent</name></event></msg>');
        expect(payloads).toEqual(['k']);
    });

    it('are no danger to each other: one listener that throws stops nobody', () => {
        connect();
        const complaint = vi.spyOn(console, 'error').mockImplementation(() => undefined);
        const heard = vi.fn();
        client.onEvent('E', () => {
            throw new Error('listener');
        });
        client.onEvent('E', heard);
        relay.event('E');
        expect([heard.mock.calls.length, complaint.mock.calls.length]).toEqual([1, 1]);
        complaint.mockRestore();
    });
});

describe('a frame that no request can be told of', () => {
    it.each([
        ['no text of a known form', 'garbage', /could not be read/],
        ['broken JSON', '{"response":', /could not be read/],
        ['an empty message', '<msg></msg>', /could not be read/],
        [
            'a failure without an id',
            '{"response":{"type":"error","":{"text":"No meaningful data in the message"}}}',
            /No meaningful/,
        ],
    ])('is reported and survived: %s', async (_, frame, problem) => {
        connect();
        const problems: string[] = [];
        client.onProblem((text) => problems.push(text));
        relay.frame(frame);
        expect(problems).toEqual([expect.stringMatching(problem)]);
        const answer = client.request('a:x');
        relay.frame('<msg><response><requestId>1</requestId><type>a:x</type></response></msg>');
        await expect(answer).resolves.toBeInstanceOf(Bag);
    });
});
