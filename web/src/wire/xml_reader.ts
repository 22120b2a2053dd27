import { Bag } from './bag.js';
import {
    type BigKind,
    INTEGER_RANGES,
    integer,
    isIntegerKind,
    type Kind,
    NULL,
    type NumberKind,
    text,
    type Value,
} from './value.js';
import { scanXml, XmlError, type XmlSink } from './xml_scanner.js';

/** What the attribute `type` may say of a value; any other word is an ordinary attribute. */
const KINDS: ReadonlySet<string> = new Set<Kind>([
    'bool',
    ...(Object.keys(INTEGER_RANGES) as (NumberKind | BigKind)[]),
    'float',
    'double',
    'wtext',
    'binary',
    'null',
]);

/** An element that is being read. It becomes a bag as soon as something shows that it is one. */
interface OpenElement {
    readonly name: string;
    readonly kind: Kind;
    bag: Bag | null;
    characters: string;
}

/**
 * Reads the XML form of a bag. `path` names the elements that must stand around the content, the first one being
 * the document's root; the root is always a bag.
 *
 * An element is a bag if it has child elements, or `type="bag"`, or any attribute besides `type` (naming a kind) and
 * `name` (on `_`); else it is a value. Other attributes are text values of the bag; text directly inside a bag's
 * element, white space at its ends removed, is its own value.
 * @throws XmlError
 */
export function xmlToBag(source: string, path: string): Bag {
    const [root, ...inner] = path.split('.') as [string, ...string[]];
    const builder = new BagBuilder();
    scanXml(source, builder);
    if (builder.rootName !== root)
        throw new XmlError(`The root element is "${builder.rootName}", not "${root}"`, 1);
    let bag = builder.root;
    for (const name of inner) {
        const next = bag.child(name);
        if (!next) throw new XmlError(`There is no element "${name}"`, 1);
        bag = next;
    }
    return bag;
}

class BagBuilder implements XmlSink {
    readonly #open: OpenElement[] = [];
    root = new Bag();
    rootName = '';

    startElement(tag: string, attributes: readonly (readonly [string, string])[]): void {
        const parent = this.#open.at(-1);
        if (parent) parent.bag ??= new Bag();
        const element = describe(tag, attributes);
        if (!parent) element.bag ??= new Bag();
        this.#open.push(element);
    }

    characters(characters: string): void {
        const element = this.#open.at(-1);
        if (element) element.characters += characters;
    }

    endElement(): void {
        const element = this.#open.pop()!;
        const parent = this.#open.at(-1)?.bag;
        if (element.bag) {
            takeOwnText(element.bag, element);
            if (parent) parent.addChild(element.name, element.bag);
            else [this.rootName, this.root] = [element.name, element.bag];
        } else {
            parent?.put(element.name, readValue(element));
        }
    }
}

function describe(tag: string, attributes: readonly (readonly [string, string])[]): OpenElement {
    let name = tag === '_' ? '' : tag;
    let kind: Kind = 'text';
    let bag: Bag | null = null;
    for (const [attribute, content] of attributes) {
        if (attribute === 'xmlns' || attribute.startsWith('xmlns:')) continue;
        if (attribute === 'name' && tag === '_') name = content;
        else if (attribute === 'type' && content === 'bag') bag ??= new Bag();
        else if (attribute === 'type' && KINDS.has(content)) kind = content as Kind;
        else (bag ??= new Bag()).put(attribute, text(content));
    }
    return { name, kind, bag, characters: '' };
}

/** `type` may name the kind of a bag's own value, if something else makes the element a bag. */
function takeOwnText(bag: Bag, element: OpenElement): void {
    const characters = element.characters.replace(/^[ \t\n\r]+|[ \t\n\r]+$/g, '');
    if (characters !== '') bag.put('', readValue({ ...element, characters }));
}

function readValue({ name, kind, characters }: OpenElement): Value {
    const value = parseValue(kind, characters);
    if (!value) throw new Error(`The value of "${name}" is no ${kind}`);
    return value;
}

/** Null if the text does not fit the kind. */
function parseValue(kind: Kind, characters: string): Value | null {
    if (kind === 'text' || kind === 'wtext') return { kind, value: characters };
    if (kind === 'null') return characters === '' ? NULL : null;
    if (kind === 'bool') return parseBool(characters);
    if (kind === 'binary') return parseBinary(characters);
    if (isIntegerKind(kind)) return parseInteger(kind, characters);
    return parseReal(kind, characters);
}

function parseBool(characters: string): Value | null {
    if (characters !== 'true' && characters !== 'false') return null;
    return { kind: 'bool', value: characters === 'true' };
}

function parseInteger(kind: NumberKind | BigKind, characters: string): Value | null {
    // The length bounds the work on hostile input: no integer kind needs more digits.
    if (!/^-?[0-9]{1,40}$/.test(characters)) return null;
    const exact = BigInt(characters);
    const [least, greatest] = INTEGER_RANGES[kind];
    return exact < least || exact > greatest ? null : integer(kind, exact);
}

function parseReal(kind: 'float' | 'double', characters: string): Value | null {
    const special = /^(-?)(nan|inf|infinity)$/i.exec(characters);
    if (special)
        return { kind, value: special[2]!.toLowerCase() === 'nan' ? NaN : special[1] ? -Infinity : Infinity };
    if (!/^-?([0-9]+\.?[0-9]*|\.[0-9]+)(e[+-]?[0-9]+)?$/i.test(characters)) return null;
    const value = kind === 'float' ? Math.fround(Number(characters)) : Number(characters);
    return Number.isFinite(value) ? { kind, value } : null;
}

function parseBinary(characters: string): Value | null {
    try {
        return {
            kind: 'binary',
            value: Uint8Array.from(atob(characters), (character) => character.charCodeAt(0)),
        };
    } catch {
        return null;
    }
}
