/** All that a pane needs of the wire: bags, requests, events. Frames stay inside. */
export { Bag, type Named } from './bag.js';
export { ConnectionLost, RequestCanceled, RequestFailed } from './errors.js';
export { type Plain, toPlain } from './plain.js';
export { ReconnectingSocket } from './reconnecting_socket.js';
export { type ConnectionState, RequestClient, type RequestOptions } from './request_client.js';
export * from './value.js';
