/** The host answered `error`: the message is its failure text. */
export class RequestFailed extends Error {
    override readonly name = 'RequestFailed';

    constructor(
        readonly requestType: string,
        failureText: string,
    ) {
        super(failureText);
    }
}

/**
 * The request will not be answered because it was cancelled: by this page, or by the host in favour of another
 * request. In the second case a pane that still wants the data asks again.
 */
export class RequestCanceled extends Error {
    override readonly name = 'RequestCanceled';

    constructor(
        readonly requestType: string,
        readonly by: 'page' | 'host',
    ) {
        super(`${requestType} was cancelled`);
    }
}

/** There is no connection to the relay, or it broke before the answer came. */
export class ConnectionLost extends Error {
    override readonly name = 'ConnectionLost';

    constructor(readonly requestType: string) {
        super(`${requestType} got no answer: there is no connection`);
    }
}
