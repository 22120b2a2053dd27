import { type Bag, type RequestClient } from '../wire/index.js';

/** After these events what a pane shows may be out of date. */
const CHANGE_EVENTS = ['relay:libraryConnected', 'DataChangedEvent', 'FilterChangedEvent'];

/** What the filters are called that follow the selection in a pane: what other panes show does not depend on them. */
const SELECTION_FILTER = /^selection(-|$)/;

/** Calls `listener` whenever a pane has to read its data anew; the result ends the subscription. */
export function onDataChange(client: RequestClient, listener: () => void): () => void {
    const take = (payload: Bag) => {
        if (!SELECTION_FILTER.test(payload.text('filterName') ?? '')) listener();
    };
    const subscriptions = CHANGE_EVENTS.map((event) => client.onEvent(event, take));
    return () => subscriptions.forEach((unsubscribe) => unsubscribe());
}
