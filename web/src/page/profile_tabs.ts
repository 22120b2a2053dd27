import { type FocusObject } from '../panes/treegrid/grid_requests.js';
import { TreeGridPane, type TreeGridSettings } from '../panes/treegrid/tree_grid_pane.js';
import { type Plain, type RequestClient } from '../wire/index.js';
import { type Kept, objectIn, type PageMemory } from './page_memory.js';
import { type Profile } from './profile.js';
import { type Tabs } from './tabs.js';

/** What tells one tree grid of the page from another. */
interface GridTab extends Omit<
    TreeGridSettings,
    'query' | 'gridId' | 'onFocus' | 'onRestored' | 'title' | 'memory' | 'profileName' | 'onComparison'
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

/** What the panes of a page share. */
export interface PageParts {
    readonly client: RequestClient;
    /** The name of this page among all that the host serves. */
    readonly id: string;
    readonly memory: PageMemory;
    readonly profile: Profile;
}

/** Puts the panes of a profile into tabs, and chooses the one that a person saw last. */
export function addProfileTabs(tabs: Tabs, page: PageParts): void {
    const { memory, profile } = page;
    const focused = new FocusedObject(memory);
    // The number of an object means something in its own profile only.
    profile.onRead((isSame) => isSame && focused.restore());
    for (const tab of GRID_TABS) tabs.add(tab.label, () => openGrid(page, tab, focused));
    tabs.choose(String(memory.load(CHOSEN_TAB)));
}

/** What the memory of the page calls the label of the tab, and the focused object. */
export const CHOSEN_TAB = 'tab';
const FOCUS = 'focus';

function openGrid(
    { client, id, memory, profile }: PageParts,
    tab: GridTab,
    focused: FocusedObject,
): TreeGridPane {
    const { label, queryType, grouping } = tab;
    const pane = new TreeGridPane(client, {
        ...tab,
        title: label,
        gridId: `${id}-${queryType}`,
        memory,
        profileName: () => profile.name,
        query: { queryType, grouping, expandLevels: 0 },
        onComparison: () => profile.setComparison(),
        onFocus: (focus) => focused.set(focus),
        onRestored: (focus) => focused.offer(focus),
    });
    if (tab.needsFocus) focused.follow((focus) => pane.setFocus(focus));
    profile.follow((isSwapped) => pane.setSwapped(isSwapped));
    return pane;
}

/** The object that a person last went to in any grid; grids about it follow. */
class FocusedObject {
    readonly #memory: PageMemory;
    readonly #followers: ((focus: FocusObject) => void)[] = [];
    #current: FocusObject | undefined;

    constructor(memory: PageMemory) {
        this.#memory = memory;
    }

    set(focus: FocusObject): void {
        this.#current = focus;
        const { objectId } = focus;
        if (isSmall(objectId)) this.#memory.keep(FOCUS, { ...focus, objectId });
        for (const follow of this.#followers) follow(focus);
    }

    /** Takes an object that nobody chose on this page, as long as there is no other. */
    offer(focus: FocusObject): void {
        if (!this.#current) this.set(focus);
    }

    /** Takes the object that a person went to before the page was loaded. */
    restore(): void {
        const { objectId, grouping, name } = objectIn(this.#memory.load(FOCUS));
        if (objectId !== undefined && isSmall(objectId) && typeof grouping === 'string')
            this.offer({ objectId, grouping, name: String(name) });
    }

    follow(follower: (focus: FocusObject) => void): void {
        this.#followers.push(follower);
        if (this.#current) follower(this.#current);
    }
}

function isSmall(plain: Plain | Kept): plain is string | number {
    return typeof plain === 'string' || typeof plain === 'number';
}
