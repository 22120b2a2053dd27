/** The element of that id. @throws Error if the page has none. */
export function byId(id: string): HTMLElement {
    const found = document.getElementById(id);
    if (!found) throw new Error(`The page has no element "${id}"`);
    return found;
}

type Attributes = Readonly<Record<string, string | number | boolean | undefined>>;

/**
 * Makes an element. An attribute that is `true` is set without a value, one that is `false` or undefined is left out.
 * Texts become text nodes, so data never turns into markup.
 */
export function make<Tag extends keyof HTMLElementTagNameMap>(
    tag: Tag,
    attributes: Attributes = {},
    ...content: readonly (Node | string)[]
): HTMLElementTagNameMap[Tag] {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (value !== undefined && value !== false)
            element.setAttribute(name, value === true ? '' : String(value));
    }
    element.append(...content);
    return element;
}

/** A button that does not submit. */
export function makeButton(label: string, action: () => void, className = 'button'): HTMLButtonElement {
    const button = make('button', { type: 'button', class: className }, label);
    button.addEventListener('click', action);
    return button;
}
