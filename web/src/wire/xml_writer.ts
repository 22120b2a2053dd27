import { type Bag } from './bag.js';
import { type Value } from './value.js';

const PLAIN_NAME = /^[A-Za-z_][A-Za-z0-9_.-]*$/;

/** What XML 1.0 cannot carry: control characters, halves of surrogate pairs and the two non-characters. */
const FORBIDDEN =
    /[\u0000-\u0008\u000b\u000c\u000e-\u001f\ufffe\uffff]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g;

/** An element that is still open: its end tag and the child that comes next. */
interface OpenElement {
    readonly bag: Bag;
    readonly endTag: string;
    next: number;
}

/**
 * Writes a bag in the canonical XML form, inside the nested elements that `path` names: `msg.event` gives
 * `<msg><event>…</event></msg>`. Values come first, then children, each in bag order. Cannot fail: characters
 * that XML cannot carry become U+FFFD. Does not recurse.
 */
export function bagToXml(bag: Bag, path: string): string {
    const names = path.split('.');
    const innermost = names.length > 1 && bag.isEmpty ? names.pop() : undefined;
    const writer = new Writer(names[0]!);
    for (const name of names) writer.parts.push(`<${name}>`);
    if (innermost !== undefined) writer.parts.push(`<${innermost} type="bag"/>`);
    writer.writeContent(bag);
    for (const name of names.reverse()) writer.parts.push(`</${name}>`);
    return writer.parts.join('');
}

class Writer {
    readonly parts: string[] = [];
    readonly #root: string;

    constructor(root: string) {
        this.#root = root;
    }

    writeContent(root: Bag): void {
        this.#writeValues(root);
        const open: OpenElement[] = [{ bag: root, endTag: '', next: 0 }];
        for (let top = open.at(-1); top; top = open.at(-1)) {
            const child = top.bag.children[top.next++];
            if (!child) {
                this.parts.push(top.endTag);
                open.pop();
            } else if (child.entry.isEmpty) {
                this.parts.push(`<${this.#startOf(child.name)} type="bag"/>`);
            } else {
                this.parts.push(`<${this.#startOf(child.name)}>`);
                this.#writeValues(child.entry);
                open.push({ bag: child.entry, endTag: `</${this.#tagOf(child.name)}>`, next: 0 });
            }
        }
    }

    #writeValues(bag: Bag): void {
        for (const { name, entry } of bag.values) this.parts.push(this.#valueElement(name, entry));
    }

    #valueElement(name: string, value: Value): string {
        if (value.kind === 'null') return `<${this.#startOf(name)} type="null"/>`;
        const type = value.kind === 'text' ? '' : ` type="${value.kind}"`;
        return `<${this.#startOf(name)}${type}>${escapeText(valueText(value))}</${this.#tagOf(name)}>`;
    }

    /** Tag and, for a name that no tag can carry, the attribute `name`. */
    #startOf(name: string): string {
        if (this.#isTag(name)) return name;
        return name === '' ? '_' : `_ name="${escapeAttribute(name)}"`;
    }

    #tagOf(name: string): string {
        return this.#isTag(name) ? name : '_';
    }

    /** An entry named like the root would end the frame early for whoever looks for the root's end tag. */
    #isTag(name: string): boolean {
        return name !== '_' && name !== this.#root && PLAIN_NAME.test(name);
    }
}

function valueText(value: Exclude<Value, { kind: 'null' }>): string {
    switch (value.kind) {
        case 'float':
        case 'double':
            return realText(value.value, value.kind === 'float');
        case 'binary':
            return base64(value.value);
        default:
            return String(value.value);
    }
}

function realText(value: number, single: boolean): string {
    if (Number.isNaN(value)) return 'nan';
    if (!Number.isFinite(value)) return value > 0 ? 'inf' : '-inf';
    if (Object.is(value, -0)) return '-0';
    return single ? shortestSingle(value) : String(value);
}

/** The shortest text that reads back to the same single-precision number. */
function shortestSingle(value: number): string {
    for (let digits = 1; digits <= 9; ++digits) {
        const shorter = Number(value.toPrecision(digits));
        if (Math.fround(shorter) === Math.fround(value)) return String(shorter);
    }
    return String(value);
}

function base64(bytes: Uint8Array): string {
    let characters = '';
    for (const byte of bytes) characters += String.fromCharCode(byte);
    return btoa(characters);
}

const TEXT_ESCAPES: Readonly<Record<string, string>> = {
    '&': '&amp;',
    '<': '&lt;',
    '>': '&gt;',
    '\r': '&#13;',
};
const ATTRIBUTE_ESCAPES: Readonly<Record<string, string>> = {
    ...TEXT_ESCAPES,
    '"': '&quot;',
    '\t': '&#9;',
    '\n': '&#10;',
};

function escapeText(characters: string): string {
    return characters.replace(FORBIDDEN, '\ufffd').replace(/[&<>\r]/g, (found) => TEXT_ESCAPES[found]!);
}

function escapeAttribute(characters: string): string {
    return characters
        .replace(FORBIDDEN, '\ufffd')
        .replace(/[&<>\r"\t\n]/g, (found) => ATTRIBUTE_ESCAPES[found]!);
}
