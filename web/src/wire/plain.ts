import { type Bag } from './bag.js';
import { type Value } from './value.js';

/** A bag as ordinary data. Objects have no prototype, so that no key can hide a method. */
export type Plain = null | boolean | number | bigint | string | Uint8Array | Plain[] | { [key: string]: Plain };

/**
 * The ordinary view of a bag, as the library itself writes bags to JSON: a bag with `arrayOf` is the array of its
 * children of that name; one that holds just an own value is that value; an empty one is null; `{"value": digits,
 * "type": "bigInt"}` is a bigint. Of several children of one name the first counts. Does not recurse.
 */
export function toPlain(bag: Bag): Plain {
    let result: Plain = null;
    const pending: Step[] = [{ bag, place: (plain) => (result = plain) }];
    for (let step = pending.pop(); step; step = pending.pop()) step.place(shapeOf(step.bag, pending));
    return result;
}

/** A bag whose view is yet to be made, and where it goes. */
interface Step {
    readonly bag: Bag;
    readonly place: (plain: Plain) => void;
}

function shapeOf(bag: Bag, pending: Step[]): Plain {
    const arrayOf = bag.value('arrayOf');
    if (arrayOf) return arrayShape(bag, arrayOf, pending);
    if (bag.isEmpty) return null;
    if (bag.children.length > 0) return objectShape(bag, pending);
    if (bag.values.length === 1 && bag.own) return bag.own.value;
    return bigIntIn(bag) ?? objectShape(bag, pending);
}

function arrayShape(bag: Bag, arrayOf: Value, pending: Step[]): Plain[] {
    const elements = arrayOf.kind === 'text' ? bag.childrenNamed(arrayOf.value) : [];
    const array: Plain[] = new Array<Plain>(elements.length).fill(null);
    elements.forEach((child, at) => pending.push({ bag: child, place: (plain) => (array[at] = plain) }));
    return array;
}

function objectShape(bag: Bag, pending: Step[]): Plain {
    const object = Object.create(null) as { [key: string]: Plain };
    for (const { name, entry } of bag.values) object[name] = entry.value;
    for (const { name, entry } of bag.children) {
        if (name in object) continue;
        object[name] = null;
        pending.push({ bag: entry, place: (plain) => (object[name] = plain) });
    }
    return object;
}

function bigIntIn(bag: Bag): bigint | undefined {
    const digits = bag.value('value')?.value;
    const marked = bag.values.length === 2 && bag.value('type')?.value === 'bigInt';
    return marked && typeof digits === 'string' && /^-?[0-9]{1,20}$/.test(digits) ? BigInt(digits) : undefined;
}
