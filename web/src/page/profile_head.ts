import { withThousands } from '../format/number_format.js';
import { openDialog } from './dialog.js';
import { make, makeButton } from './dom.js';
import { type Profile } from './profile.js';
import { type ResultSummary, type SkipReason, type SkippedInput } from './profile_summary.js';

const ROLES = ['First', 'Second'];

/** Says above all panes what they are about: each result with its time, samples and totals. */
export class ProfileHead {
    readonly #element: HTMLElement;
    readonly #profile: Profile;

    constructor(element: HTMLElement, profile: Profile) {
        this.#element = element;
        this.#profile = profile;
        profile.onRead(() => this.#draw());
        profile.follow(() => this.#draw());
    }

    #draw(): void {
        const { results, name, isComparison } = this.#profile;
        this.#element.hidden = results.length === 0 && !isComparison;
        this.#element.replaceChildren(
            ...results.map((result, at) => drawResult(result, isComparison ? ROLES[at] : undefined)),
        );
        if (isComparison && results.length === 0) this.#element.append('Two results, compared');
        if (isComparison) this.#element.append(this.#drawSwap());
        document.title = name === '' ? 'panedeck' : `${name} – panedeck`;
    }

    #drawSwap(): HTMLElement {
        const swap = makeButton('⇄ Swap', () => {
            this.#profile.swap();
            this.#element.querySelector<HTMLElement>('.swap')?.focus();
        });
        swap.classList.add('swap');
        swap.title = 'Show the comparison the other way round';
        return swap;
    }
}

function drawResult(result: ResultSummary, role: string | undefined): HTMLElement {
    const element = make('p', { class: 'result' });
    if (role) element.append(make('span', { class: 'role' }, role));
    element.append(make('strong', { title: result.origin }, result.title));
    for (const fact of factsOf(result)) element.append(make('span', { class: 'fact' }, fact));
    if (result.skipped) element.append(drawSkipped(result.title, result.skipped));
    return element;
}

function factsOf({ taken, samples, totals }: ResultSummary): string[] {
    const facts = totals.map(({ name, text }) => `${name} ${text}`);
    if (samples !== undefined) facts.unshift(samples === 1 ? '1 sample' : `${withThousands(samples)} samples`);
    if (taken) facts.unshift(`taken ${localTime(taken)}`);
    return facts;
}

/** Where the person is, to the minute. */
function localTime(time: Date): string {
    const two = (part: number) => String(part).padStart(2, '0');
    const date = [time.getFullYear(), two(time.getMonth() + 1), two(time.getDate())].join('-');
    return `${date} ${two(time.getHours())}:${two(time.getMinutes())}`;
}

function drawSkipped(title: string, skipped: SkippedInput): HTMLElement {
    const text = `${withThousands(skipped.count)} left out`;
    const button = makeButton(text, () => openSkipped(title, skipped), 'link');
    button.title = 'What the import could not use';
    button.setAttribute('aria-haspopup', 'dialog');
    return button;
}

function openSkipped(title: string, { reasons }: SkippedInput): void {
    const list = make(
        'ul',
        { class: 'reasons' },
        ...reasons.map((reason) => make('li', {}, reasonText(reason))),
    );
    const close = makeButton('Close', () => dialog.close());
    const hint = make('p', { class: 'hint' }, `The import of ${title} could not use everything in the file.`);
    const dialog = openDialog('Left out by the import', hint, list, make('div', { class: 'buttons' }, close));
    close.focus();
}

function reasonText({ text, count, lines }: SkipReason): string {
    const where = lines.length === 1 ? `line ${lines[0]}` : `lines ${lines.join(', ')}`;
    const isCut = count > lines.length;
    const places = lines.length === 0 ? '' : ` (${isCut ? 'first ' : ''}${where})`;
    return `${withThousands(count)} × ${text}${places}`;
}
