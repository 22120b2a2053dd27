import { TablePane } from '../panes/table/table_pane.js';
import { type FocusObject } from '../panes/treegrid/grid_requests.js';
import { TreeGridPane, type TreeGridSettings } from '../panes/treegrid/tree_grid_pane.js';
import { type RequestClient } from '../wire/index.js';
import { type Tabs } from './tabs.js';

/** What tells one tree grid of the page from another. */
interface GridTab extends Omit<
    TreeGridSettings,
    'query' | 'gridId' | 'onFocus' | 'onRestored' | 'title' | 'store'
> {
    readonly label: string;
    readonly queryType: string;
    readonly grouping: string;
}

const CHOOSE_FUNCTION = 'Select a function in one of the other grids to see this.';

const GRID_TABS: readonly GridTab[] = [
    {
        label: 'Bottom-up',
        queryType: 'bottomUp',
        grouping: '/Function/ParentCallStack',
        isTree: true,
        hasStackModes: true,
        focusGroupings: ['/Function', '/ParentCallStack'],
    },
    {
        label: 'Top-down',
        queryType: 'topDown',
        grouping: '/CallStack',
        isTree: true,
        hasStackModes: true,
        focusGroupings: ['/CallStack'],
    },
    {
        label: 'Functions',
        queryType: 'flatProfile',
        grouping: '/Function',
        isTree: false,
        hasStackModes: false,
        focusGroupings: ['/Function'],
    },
    {
        label: 'Callers',
        queryType: 'selectionParentTree',
        grouping: '/Function/ParentCallStack',
        isTree: true,
        hasStackModes: true,
        focusGroupings: [],
        needsFocus: CHOOSE_FUNCTION,
    },
    {
        label: 'Callees',
        queryType: 'selectionChildTree',
        grouping: '/Function/CallStack',
        isTree: true,
        hasStackModes: true,
        focusGroupings: [],
        needsFocus: CHOOSE_FUNCTION,
    },
];

/** The name of this page among all that the host serves, and what its grids keep over a reload. */
export interface PageMemory {
    readonly id: string;
    readonly store: Pick<Storage, 'getItem' | 'setItem'>;
}

/** Puts the panes of a profile into tabs. */
export function addProfileTabs(tabs: Tabs, client: RequestClient, page: PageMemory): void {
    const focused = new FocusedObject();
    tabs.add('Table', () => new TablePane(client, { title: 'Functions', rowName: ['function', 'functions'] }));
    for (const tab of GRID_TABS) tabs.add(tab.label, () => openGrid(client, page, tab, focused));
}

function openGrid(client: RequestClient, page: PageMemory, tab: GridTab, focused: FocusedObject): TreeGridPane {
    const { label, queryType, grouping } = tab;
    const pane = new TreeGridPane(client, {
        ...tab,
        title: label,
        gridId: `${page.id}-${queryType}`,
        store: page.store,
        query: { queryType, grouping, expandLevels: 0 },
        onFocus: (focus) => focused.set(focus),
        onRestored: (focus) => focused.offer(focus),
    });
    if (tab.needsFocus) focused.follow((focus) => pane.setFocus(focus));
    return pane;
}

/** The object that a person last went to in any grid; grids about it follow. */
class FocusedObject {
    #current: FocusObject | undefined;
    readonly #followers: ((focus: FocusObject) => void)[] = [];

    set(focus: FocusObject): void {
        this.#current = focus;
        for (const follow of this.#followers) follow(focus);
    }

    /** Takes an object that nobody chose on this page, as long as there is no other. */
    offer(focus: FocusObject): void {
        if (!this.#current) this.set(focus);
    }

    follow(follower: (focus: FocusObject) => void): void {
        this.#followers.push(follower);
        if (this.#current) follower(this.#current);
    }
}
