const TOKEN_KEY = 'panedeck.token';

/** The parts of a browser's storage that are used here. */
type TokenStore = Pick<Storage, 'getItem' | 'setItem'>;

/**
 * The token that lets this page talk to the relay: the one in the page's address, else the one that this tab had
 * before. Empty if there is none; the relay then refuses.
 */
export function takeToken(address: Pick<Location, 'search'>, store: TokenStore): string {
    const given = new URLSearchParams(address.search).get('token');
    if (given) store.setItem(TOKEN_KEY, given);
    return given ?? store.getItem(TOKEN_KEY) ?? '';
}

/** Where the relay that served this page takes WebSockets. */
export function webSocketUrl(address: Pick<Location, 'protocol' | 'host'>, token: string): string {
    const scheme = address.protocol === 'https:' ? 'wss' : 'ws';
    return `${scheme}://${address.host}/ws?token=${encodeURIComponent(token)}`;
}
