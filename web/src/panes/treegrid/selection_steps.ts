/** The words of the wire for how a selection changes. */
export type SelectionType = 'none' | 'setSingle' | 'addRange' | 'all' | 'toggle' | 'clear';

export interface SelectionStep {
    readonly type: SelectionType;
    readonly row: number;
}

/** What is known of the selection; -1 stands for none. */
export interface SelectionPlace {
    /** Where ranges begin. */
    readonly anchor: number;
    readonly current: number;
    /** Where the selected range that begins at the anchor ends. */
    readonly rangeEnd: number;
}

/**
 * The steps that select a row alone and make it the current one. `isSelected` says that it may be selected already:
 * "setSingle" of a row that is the whole selection does not move the current row, hence "none" behind it.
 */
export function singleSteps(target: number, current: number, isSelected: boolean): SelectionStep[] {
    const single: SelectionStep = { type: 'setSingle', row: target };
    return isSelected && target !== current ? [single, { type: 'none', row: target }] : [single];
}

/**
 * The steps that select everything from the anchor to `target`, and nothing else unless `add`. The host adds the rows
 * from its current row on: so the anchor is made the current row first, alone in the selection or not.
 */
export function rangeSteps(place: SelectionPlace, target: number, add: boolean): SelectionStep[] {
    const anchor = anchorOf(place, target);
    if (!add && grows(place, target)) return [{ type: 'addRange', row: target }];
    const first: SelectionStep[] = add ? [] : [{ type: 'setSingle', row: anchor }];
    return [...first, { type: 'none', row: anchor }, { type: 'addRange', row: target }];
}

/** Where a range to `target` begins: if nowhere was chosen, at the current row. */
export function anchorOf({ anchor, current }: Omit<SelectionPlace, 'rangeEnd'>, target: number): number {
    if (anchor >= 0) return anchor;
    return current >= 0 ? current : target;
}

/** Whether `target` lies beyond the current row as seen from the anchor: then one step is enough. */
function grows({ anchor, current, rangeEnd }: SelectionPlace, target: number): boolean {
    if (anchor < 0 || current !== rangeEnd || anchor === current) return false;
    return anchor < current ? target >= current : target <= current;
}
