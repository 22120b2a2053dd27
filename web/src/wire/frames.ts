import { Bag } from './bag.js';
import { jsonToBag } from './json_reader.js';
import { text } from './value.js';
import { xmlToBag } from './xml_reader.js';
import { bagToXml } from './xml_writer.js';

/** What a frame from the relay says. */
export type Incoming =
    | {
          readonly what: 'response';
          readonly requestId: string | undefined;
          readonly type: string | undefined;
          readonly payload: Bag;
      }
    | { readonly what: 'event'; readonly name: string; readonly payload: Bag };

/** The frame of a request. The parameters stand beside `id` and `type`, so they may use neither name. */
export function requestFrame(id: string, type: string, params: Bag): string {
    const request = new Bag().put('id', text(id)).put('type', text(type));
    for (const { name, entry } of params.values) {
        if (request.value(name)) throw new RangeError(`"${name}" is no name for a parameter of ${type}`);
        request.put(name, entry);
    }
    for (const { name, entry } of params.children) request.addChild(name, entry);
    return bagToXml(request, 'msg.request');
}

/** The frame that asks the host to stop working on a request. */
export function cancelFrame(id: string): string {
    const event = new Bag().put('name', text('cancelRequest')).put('requestId', text(id));
    return bagToXml(event, 'msg.event');
}

/**
 * Reads a frame. The first byte tells the form: most answers are JSON, a few domains and all events are XML.
 * @throws Error if it is neither, or says neither `response` nor `event`.
 */
export function readFrame(frame: string): Incoming {
    const message = frame.startsWith('{') ? jsonToBag(frame) : xmlToBag(frame, 'msg');
    const response = message.child('response');
    if (response) {
        return {
            what: 'response',
            requestId: response.text('requestId'),
            type: response.text('type'),
            payload: payloadOf(response),
        };
    }
    const event = message.child('event');
    const name = event?.text('name');
    if (!event || name === undefined) throw new Error('A frame with neither a response nor a named event');
    return { what: 'event', name, payload: payloadOf(event) };
}

/** The payload stands under the empty name: as a child, or as a bare value if it is nothing but an own value. */
function payloadOf(envelope: Bag): Bag {
    const child = envelope.child('');
    if (child) return child;
    const bare = envelope.own;
    return bare && bare.kind !== 'null' ? new Bag().put('', bare) : new Bag();
}
