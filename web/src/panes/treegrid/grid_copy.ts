import { withThousands } from '../../format/number_format.js';
import { copyText } from './clipboard.js';
import { type GridRequests } from './grid_requests.js';
import { type GridState } from './grid_state.js';

/** Puts the selected rows on the clipboard, if there are any; gives what is to be said of it. */
export async function copySelectedRows(
    requests: GridRequests,
    state: GridState,
    signal: AbortSignal,
): Promise<string> {
    const selectedCount = state.footer?.rowCount ?? 0;
    if (selectedCount === 0) return 'Nothing is selected, so nothing was copied.';
    const text = await requests.copyRows(signal);
    await copyText(text);
    // Above the rows stands a line of captions.
    const copiedCount = text.trimEnd().split('\n').length - 1;
    return copiedText(copiedCount, selectedCount, state.tree.isSwapped);
}

function copiedText(copiedCount: number, selectedCount: number, isSwapped: boolean): string {
    const order = isSwapped ? ' First and second are as they were opened.' : '';
    const selected = selectedCount === 1 ? '1 row' : `${withThousands(selectedCount)} rows`;
    if (copiedCount >= selectedCount) return `Copied ${selected}.${order}`;
    const copied = withThousands(Math.max(0, copiedCount));
    return `Copied only ${copied} of ${selected}: the clipboard takes no more at once. Export writes all.${order}`;
}
