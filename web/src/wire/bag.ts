import { type Value } from './value.js';

/** From this many entries on, names are looked up in an index instead of by a scan. */
const INDEX_FROM = 16;

/** A named entry of a bag. */
export interface Named<T> {
    readonly name: string;
    readonly entry: T;
}

/**
 * A tree of named values and named child bags: what every request, answer and event is.
 *
 * Values and children are two ordered sequences. A value's name is unique; child names may repeat; "" is a legal
 * name. The value under "" is the bag's own value: the form in which most scalars of a request travel, as a child
 * bag with an own value.
 */
export class Bag {
    #values: Named<Value>[] = [];
    #children: Named<Bag>[] = [];
    #valueIndex: Map<string, number> | null = null;
    #childIndex: Map<string, number> | null = null;

    /** True if there is neither a value nor a child. */
    get isEmpty(): boolean {
        return this.#values.length === 0 && this.#children.length === 0;
    }

    /** All values in bag order. */
    get values(): readonly Named<Value>[] {
        return this.#values;
    }

    /** All children in bag order. */
    get children(): readonly Named<Bag>[] {
        return this.#children;
    }

    /** Replaces the value of that name in place, else appends it. Gives this bag, to go on building. */
    put(name: string, value: Value): this {
        const at = this.#positionOfValue(name);
        if (at >= 0) {
            this.#values[at] = { name, entry: value };
            return this;
        }
        this.#valueIndex?.set(name, this.#values.length);
        this.#values.push({ name, entry: value });
        return this;
    }

    /** Appends a further child, even if one of that name exists, and gives the child. */
    addChild(name: string, child: Bag = new Bag()): Bag {
        if (this.#childIndex && !this.#childIndex.has(name)) this.#childIndex.set(name, this.#children.length);
        this.#children.push({ name, entry: child });
        return child;
    }

    /** Appends a child with `value` as its own value. Gives this bag, to go on building. */
    putOwn(childName: string, value: Value): this {
        this.addChild(childName).put('', value);
        return this;
    }

    /** The value of that name. */
    value(name: string): Value | undefined {
        const at = this.#positionOfValue(name);
        return at >= 0 ? this.#values[at]!.entry : undefined;
    }

    /** The first child of that name. */
    child(name: string): Bag | undefined {
        const at = this.#positionOfChild(name);
        return at >= 0 ? this.#children[at]!.entry : undefined;
    }

    /** All children of that name, in bag order. */
    childrenNamed(name: string): Bag[] {
        return this.#children.filter((child) => child.name === name).map((child) => child.entry);
    }

    /** The bag's own value. */
    get own(): Value | undefined {
        return this.value('');
    }

    /**
     * The scalar of that name in either form: the named value, or else the own value of the child of that name. An
     * answer in JSON cannot tell the two apart, an answer in XML can, and readers should not have to care.
     */
    scalar(name: string): Value | undefined {
        return this.value(name) ?? this.child(name)?.own;
    }

    /** The scalar of that name if it is text. */
    text(name: string): string | undefined {
        const value = this.scalar(name)?.value;
        return typeof value === 'string' ? value : undefined;
    }

    /** The scalar of that name as a number; a 64-bit integer is rounded. */
    number(name: string): number | undefined {
        const value = this.scalar(name)?.value;
        if (typeof value === 'bigint') return Number(value);
        return typeof value === 'number' ? value : undefined;
    }

    /** The scalar of that name as a boolean; numbers are true unless zero. */
    bool(name: string): boolean | undefined {
        const value = this.scalar(name)?.value;
        if (typeof value === 'bigint' || typeof value === 'number') return Number(value) !== 0;
        return typeof value === 'boolean' ? value : undefined;
    }

    #positionOfValue(name: string): number {
        if (this.#values.length < INDEX_FROM) return scan(this.#values, name);
        this.#valueIndex ??= firstPositions(this.#values);
        return this.#valueIndex.get(name) ?? -1;
    }

    #positionOfChild(name: string): number {
        if (this.#children.length < INDEX_FROM) return scan(this.#children, name);
        this.#childIndex ??= firstPositions(this.#children);
        return this.#childIndex.get(name) ?? -1;
    }
}

function scan(entries: readonly Named<unknown>[], name: string): number {
    for (let at = 0; at < entries.length; ++at) {
        if (entries[at]!.name === name) return at;
    }
    return -1;
}

function firstPositions(entries: readonly Named<unknown>[]): Map<string, number> {
    const positions = new Map<string, number>();
    entries.forEach((entry, at) => {
        if (!positions.has(entry.name)) positions.set(entry.name, at);
    });
    return positions;
}
