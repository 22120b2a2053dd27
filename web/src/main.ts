import './page/page.css';
import { openOptionsDialog } from './dialogs/options/options_dialog.js';
import { byId } from './page/dom.js';
import { listenForKeysKey, openKeysDialog } from './page/keys_dialog.js';
import { pageId } from './page/page_id.js';
import { PageMemory } from './page/page_memory.js';
import { Profile } from './page/profile.js';
import { ProfileHead } from './page/profile_head.js';
import { addProfileTabs, CHOSEN_TAB } from './page/profile_tabs.js';
import { takeToken, webSocketUrl } from './page/relay_address.js';
import { StatusLine } from './page/status_line.js';
import { Tabs } from './page/tabs.js';
import { ReconnectingSocket, RequestClient } from './wire/index.js';

const url = webSocketUrl(location, takeToken(location, sessionStorage));
const client = new RequestClient(new ReconnectingSocket(() => new WebSocket(url)));
client.onProblem((text) => console.warn(text));

const id = await pageId(sessionStorage, navigator.locks);
const memory = new PageMemory(sessionStorage);
addEventListener('pagehide', () => memory.flush());

new StatusLine(byId('status'), client);
const profile = new Profile(client, memory);
new ProfileHead(byId('profile'), profile);
const tabs = new Tabs(byId('tabs'), byId('panes'), (label) => memory.keep(CHOSEN_TAB, label));
addProfileTabs(tabs, { client, id, memory, profile });
byId('options').addEventListener('click', () => openOptionsDialog(client));
byId('keys').addEventListener('click', () => openKeysDialog());
listenForKeysKey();

client.start();
