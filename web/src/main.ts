import './page/page.css';
import { openOptionsDialog } from './dialogs/options/options_dialog.js';
import { byId } from './page/dom.js';
import { pageId } from './page/page_id.js';
import { addProfileTabs } from './page/profile_tabs.js';
import { takeToken, webSocketUrl } from './page/relay_address.js';
import { StatusLine } from './page/status_line.js';
import { Tabs } from './page/tabs.js';
import { ReconnectingSocket, RequestClient } from './wire/index.js';

const url = webSocketUrl(location, takeToken(location, sessionStorage));
const client = new RequestClient(new ReconnectingSocket(() => new WebSocket(url)));
client.onProblem((text) => console.warn(text));

new StatusLine(byId('status'), client);
addProfileTabs(new Tabs(byId('tabs'), byId('panes')), client, {
    id: await pageId(sessionStorage, navigator.locks),
    store: sessionStorage,
});
byId('options').addEventListener('click', () => openOptionsDialog(client));

client.start();
