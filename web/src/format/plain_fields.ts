import { type Plain } from '../wire/index.js';

// An answer is input from outside: a field that is missing or of another kind reads as the default that is given.

type PlainObject = { readonly [key: string]: Plain };

/** The object itself, or an empty one in place of anything else. */
export function objectOf(plain: Plain | undefined): PlainObject {
    const isObject =
        typeof plain === 'object' && plain !== null && !isList(plain) && !(plain instanceof Uint8Array);
    return isObject ? plain : {};
}

/** The list itself, or an empty one in place of anything else. */
export function listOf(plain: Plain | undefined): readonly Plain[] {
    return isList(plain) ? plain : [];
}

function isList(plain: Plain | undefined): plain is Plain[] {
    return Array.isArray(plain);
}

export function numberOr<Default>(plain: Plain | undefined, otherwise: Default): number | Default {
    if (typeof plain === 'bigint') return Number(plain);
    return typeof plain === 'number' ? plain : otherwise;
}

export function textOr<Default>(plain: Plain | undefined, otherwise: Default): string | Default {
    return typeof plain === 'string' ? plain : otherwise;
}

/** Numbers are true unless zero. */
export function boolOr(plain: Plain | undefined, otherwise: boolean): boolean {
    if (typeof plain === 'number' || typeof plain === 'bigint') return Number(plain) !== 0;
    return typeof plain === 'boolean' ? plain : otherwise;
}
