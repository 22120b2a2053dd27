import { Bag } from './bag.js';
import { bool, double, integer, NULL, text, type Value } from './value.js';

/** JSON that is refused, with the offset at which the fault was met. */
export class JsonError extends Error {
    override readonly name = 'JsonError';

    constructor(
        message: string,
        readonly offset: number,
    ) {
        super(`${message} (at offset ${offset})`);
    }
}

const NUMBER = /-?(?:0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?/y;
const WORD = /true|false|null/y;
const BLANKS = /[ \t\n\r]*/y;

/**
 * Reads one JSON value into a bag by the library's own rules: the outermost object or array fills the bag; an array is
 * a bag with the value `arrayOf` and a child for each element; a scalar element is a child with an own value; a
 * scalar at the top is the bag's own value. Numbers get the narrowest kind of u32_t, s32_t, u64_t, s64_t
 * that holds them, any with a fraction or an exponent is a double. A `bigInt` object stays a bag: `toPlain` knows it.
 *
 * Why not JSON.parse: it drops repeated keys, which is how children of one name arrive, moves keys that look like
 * numbers to the front, and rounds what is beyond 2^53. This one does not recurse, either.
 * @throws JsonError
 */
export function jsonToBag(source: string): Bag {
    return new Reader(source).read();
}

/** A container that is being read, the bracket that closes it, and whether nothing was read in it yet. */
interface OpenContainer {
    readonly bag: Bag;
    readonly close: '}' | ']';
    first: boolean;
}

class Reader {
    readonly #source: string;
    readonly #root = new Bag();
    readonly #open: OpenContainer[] = [];
    #at = 0;
    #key = '';

    constructor(source: string) {
        this.#source = source;
    }

    read(): Bag {
        this.#skipBlanks();
        this.#readValue();
        while (this.#open.length > 0) this.#readMember();
        this.#skipBlanks();
        if (this.#at < this.#source.length) this.#fail('Something stands behind the root value');
        return this.#root;
    }

    /** One member or element of the innermost container, or its end. */
    #readMember(): void {
        const container = this.#open.at(-1)!;
        this.#skipBlanks();
        if (this.#source[this.#at] === container.close) {
            this.#at += 1;
            this.#open.pop();
            return;
        }
        if (!container.first) this.#expect(',');
        container.first = false;
        this.#skipBlanks();
        if (container.close === '}') this.#readKey();
        this.#readValue();
    }

    #readKey(): void {
        this.#key = this.#readString();
        this.#skipBlanks();
        this.#expect(':');
        this.#skipBlanks();
    }

    #readValue(): void {
        const character = this.#source[this.#at];
        if (character === '{') this.#openContainer('}');
        else if (character === '[') this.#openContainer(']');
        else this.#storeScalar(this.#readScalar());
    }

    #openContainer(close: '}' | ']'): void {
        this.#at += 1;
        const parent = this.#open.at(-1)?.bag;
        const bag = parent ? parent.addChild(this.#targetName(parent)) : this.#root;
        if (close === ']') bag.put('arrayOf', text('item'));
        this.#open.push({ bag, close, first: true });
    }

    #storeScalar(value: Value): void {
        const parent = this.#open.at(-1)?.bag;
        if (!parent) this.#root.put('', value);
        else if (parent.value('arrayOf')) parent.putOwn(this.#targetName(parent), value);
        else parent.put(this.#key, value);
    }

    /** The name under which the next entry goes into `parent`. A member `arrayOf` turns an object into an array. */
    #targetName(parent: Bag): string {
        const arrayOf = parent.value('arrayOf');
        if (!arrayOf) return this.#key;
        return arrayOf.kind === 'text' ? arrayOf.value : 'item';
    }

    #readScalar(): Value {
        const character = this.#source[this.#at];
        if (character === undefined) this.#fail('The document ends too early');
        if (character === '"') return text(this.#readString());
        const word = this.#match(WORD)?.[0];
        if (word !== undefined) return word === 'null' ? NULL : bool(word === 'true');
        const number = this.#match(NUMBER);
        if (!number) this.#fail('No JSON value');
        const whole = number[1] === undefined && number[2] === undefined;
        return whole ? wholeNumber(number[0]) : double(Number(number[0]));
    }

    #readString(): string {
        if (this.#source[this.#at] !== '"') this.#fail('No JSON string');
        const end = this.#endOfString();
        const quoted = this.#source.slice(this.#at, end);
        const plain = !quoted.includes('\\') && !/[\u0000-\u001f]/.test(quoted);
        const characters = plain ? quoted.slice(1, -1) : this.#unescape(quoted);
        this.#at = end;
        return characters;
    }

    /** The offset behind the quote that ends the string at this place: the first one not behind an odd run of `\`. */
    #endOfString(): number {
        for (let quote = this.#at; ;) {
            quote = this.#source.indexOf('"', quote + 1);
            if (quote < 0) this.#fail('A string does not end');
            let run = quote;
            while (this.#source[run - 1] === '\\') run -= 1;
            if ((quote - run) % 2 === 0) return quote + 1;
        }
    }

    #unescape(quoted: string): string {
        try {
            return JSON.parse(quoted) as string;
        } catch {
            return this.#fail('No JSON string');
        }
    }

    #expect(character: string): void {
        if (this.#source[this.#at] !== character) this.#fail(`Expected "${character}"`);
        this.#at += 1;
    }

    #skipBlanks(): void {
        this.#match(BLANKS);
    }

    #match(pattern: RegExp): RegExpExecArray | null {
        pattern.lastIndex = this.#at;
        const found = pattern.exec(this.#source);
        if (found) this.#at = pattern.lastIndex;
        return found;
    }

    #fail(message: string): never {
        throw new JsonError(message, this.#at);
    }
}

function wholeNumber(digits: string): Value {
    if (digits.length > 20) return double(Number(digits));
    const exact = BigInt(digits);
    const negative = digits.startsWith('-');
    if (!negative && exact <= 0xffff_ffffn) return integer('u32_t', exact);
    if (negative && exact >= -0x8000_0000n) return integer('s32_t', exact);
    if (!negative && exact <= 0xffff_ffff_ffff_ffffn) return integer('u64_t', exact);
    if (negative && exact >= -0x8000_0000_0000_0000n) return integer('s64_t', exact);
    return double(Number(digits));
}
