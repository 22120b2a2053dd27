/** Names of the value kinds, as the attribute `type` of the XML form writes them; text is the one without it. */
export type NumberKind = 's8_t' | 'u8_t' | 's16_t' | 'u16_t' | 's32_t' | 'u32_t';
export type BigKind = 's64_t' | 'u64_t';
export type RealKind = 'float' | 'double';

/**
 * A tagged value. The kind is part of it: handlers look at kinds and do not guess, so a number that went in
 * as `s32_t` must come out as `s32_t`, and "4" is not 4.
 */
export type Value =
    | { readonly kind: 'bool'; readonly value: boolean }
    | { readonly kind: NumberKind; readonly value: number }
    | { readonly kind: BigKind; readonly value: bigint }
    | { readonly kind: RealKind; readonly value: number }
    | { readonly kind: 'text' | 'wtext'; readonly value: string }
    | { readonly kind: 'binary'; readonly value: Uint8Array }
    | { readonly kind: 'null'; readonly value: null };

export type Kind = Value['kind'];

/** Smallest and largest value of each integer kind. */
export const INTEGER_RANGES: Readonly<Record<NumberKind | BigKind, readonly [bigint, bigint]>> = {
    s8_t: [-0x80n, 0x7fn],
    u8_t: [0n, 0xffn],
    s16_t: [-0x8000n, 0x7fffn],
    u16_t: [0n, 0xffffn],
    s32_t: [-0x8000_0000n, 0x7fff_ffffn],
    u32_t: [0n, 0xffff_ffffn],
    s64_t: [-0x8000_0000_0000_0000n, 0x7fff_ffff_ffff_ffffn],
    u64_t: [0n, 0xffff_ffff_ffff_ffffn],
};

export function isIntegerKind(kind: string): kind is NumberKind | BigKind {
    return Object.hasOwn(INTEGER_RANGES, kind);
}

export const NULL: Value = { kind: 'null', value: null };

export function text(value: string): Value {
    return { kind: 'text', value };
}

export function bool(value: boolean): Value {
    return { kind: 'bool', value };
}

export function double(value: number): Value {
    return { kind: 'double', value };
}

/** @throws RangeError if the number is no 32-bit signed integer. */
export function s32(value: number): Value {
    return integer('s32_t', value);
}

/** @throws RangeError if the number is no 32-bit unsigned integer. */
export function u32(value: number): Value {
    return integer('u32_t', value);
}

/** @throws RangeError if the number does not fit 64 bits, signed. */
export function s64(value: bigint): Value {
    return integer('s64_t', value);
}

/** @throws RangeError if the number does not fit 64 bits, unsigned. */
export function u64(value: bigint): Value {
    return integer('u64_t', value);
}

/** An integer value of any integer kind. @throws RangeError if it is no integer or does not fit. */
export function integer(kind: NumberKind | BigKind, value: number | bigint): Value {
    const exact = BigInt(value); // RangeError for a fraction
    const [least, greatest] = INTEGER_RANGES[kind];
    if (exact < least || exact > greatest) throw new RangeError(`${value} does not fit ${kind}`);
    if (kind === 's64_t' || kind === 'u64_t') return { kind, value: exact };
    return { kind, value: Number(exact) };
}
