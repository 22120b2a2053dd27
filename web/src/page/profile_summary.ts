import { listOf, numberOr, objectOf, textOr } from '../format/plain_fields.js';
import { byteUnitFor, inUnit, timeUnitFor, withThousands } from '../format/number_format.js';
import { type Bag, type Plain, toPlain } from '../wire/index.js';

/** A result that the host has open. */
export interface ResultSummary {
    /** What a person knows it by: the file that it was made of without its folder, or the result's own name. */
    readonly title: string;
    /** The whole path of the file, and the result's own name. */
    readonly origin: string;
    readonly taken: Date | undefined;
    readonly samples: number | undefined;
    readonly totals: readonly MetricTotal[];
    readonly skipped: SkippedInput | undefined;
    /** Tells the result from others. */
    readonly identity: string;
}

export interface MetricTotal {
    readonly name: string;
    /** As a cell of the metric would have it. */
    readonly text: string;
}

/** What the import of a file could not use. */
export interface SkippedInput {
    readonly count: number;
    readonly reasons: readonly SkipReason[];
}

export interface SkipReason {
    readonly text: string;
    readonly count: number;
    /** Numbers of the first lines that it goes for, from 1. */
    readonly lines: readonly number[];
}

/** Seconds that one unit of a time is. */
const SECONDS: Readonly<Record<string, number>> = { nanoseconds: 1e-9, microseconds: 1e-6 };

/** Reads an answer of `profile:summary`. */
export function readSummary(answer: Bag): ResultSummary[] {
    const results = listOf(objectOf(toPlain(answer))['results']).map(readResult);
    const areAlike = results.length > 1 && results.every(({ title }) => title === results[0]!.title);
    return areAlike ? results.map((result) => ({ ...result, title: result.origin.split('\n')[0]! })) : results;
}

function readResult(plain: Plain): ResultSummary {
    const result = objectOf(plain);
    const name = textOr(result['name'], '');
    const source = textOr(result['source'], '');
    const title = source.slice(source.lastIndexOf('/') + 1) || name;
    const taken = new Date(textOr(result['taken'], ''));
    const samples = numberOr(result['samples'], undefined);
    const totals = listOf(result['metrics']).map(readTotal);
    return {
        title,
        origin: [source, name].filter((part) => part !== '').join('\n'),
        taken: Number.isNaN(taken.getTime()) ? undefined : taken,
        samples,
        totals,
        skipped: readSkipped(result['skipped']),
        identity: JSON.stringify([source, name, taken.getTime(), samples, totals]),
    };
}

function readTotal(plain: Plain): MetricTotal {
    const metric = objectOf(plain);
    const name = textOr(metric['name'], '') || textOr(metric['id'], '');
    return { name, text: totalText(textOr(metric['unit'], ''), metric['total']) };
}

function totalText(unit: string, total: Plain | undefined): string {
    if (typeof total !== 'number' && typeof total !== 'bigint') return '';
    const seconds = SECONDS[unit];
    const amount = Number(total);
    if (seconds !== undefined) return inUnit(amount * seconds, timeUnitFor(amount * seconds));
    return unit === 'bytes' ? inUnit(amount, byteUnitFor(amount)) : withThousands(total);
}

function readSkipped(plain: Plain | undefined): SkippedInput | undefined {
    const skipped = objectOf(plain);
    const count = numberOr(skipped['count'], 0);
    const reasons = listOf(skipped['reasons']).map((each) => {
        const reason = objectOf(each);
        const lines = listOf(reason['firstLines']).map((line) => numberOr(line, 0));
        return { text: textOr(reason['text'], ''), count: numberOr(reason['count'], 0), lines };
    });
    return count > 0 ? { count, reasons } : undefined;
}
