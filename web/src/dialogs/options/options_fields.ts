import { type Bag, bool, s32, text, type Value } from '../../wire/index.js';

/** How an option is edited and in which kind it travels. */
export type OptionField =
    | { readonly key: string; readonly label: string; readonly control: 'check' }
    | { readonly key: string; readonly label: string; readonly control: 'text'; readonly hint?: string }
    | {
          readonly key: string;
          readonly label: string;
          readonly control: 'number';
          readonly least: number;
          readonly greatest: number;
      }
    | {
          readonly key: string;
          readonly label: string;
          readonly control: 'choice';
          readonly choices: readonly Choice[];
      };

export interface Choice {
    readonly value: string;
    readonly label: string;
}

/** What a person set an option to. */
export type OptionValue = string | number | boolean;
export type OptionValues = ReadonlyMap<string, OptionValue>;

/** All options, in the order in which the dialog shows them. */
export const OPTION_FIELDS: readonly OptionField[] = [
    {
        key: 'applicationOutputDestination',
        label: 'Output of the profiled application goes to',
        control: 'choice',
        choices: [
            { value: 'separateConsole', label: 'A console of its own' },
            { value: 'productOutput', label: 'The profiler’s output' },
            { value: 'visualStudioOutput', label: 'The development environment’s output' },
        ],
    },
    { key: 'shouldRemoveRawCollectorData', label: 'Remove raw collector data', control: 'check' },
    {
        key: 'shouldDisplayVerboseCollectionLogMessages',
        label: 'Show verbose collection messages',
        control: 'check',
    },
    { key: 'adbPath', label: 'Path of adb', control: 'text' },
    {
        key: 'resultNameTemplate',
        label: 'Template of result names',
        control: 'text',
        hint: 'Each @ is a digit of the result’s number, {at} the kind of analysis.',
    },
    {
        key: 'sourceViewTabSize',
        label: 'Tab size in the source view',
        control: 'number',
        least: 1,
        greatest: 64,
    },
    {
        key: 'cpuAssemblySyntax',
        label: 'Assembly syntax',
        control: 'choice',
        choices: [
            { value: 'default', label: 'Default' },
            { value: 'GAS', label: 'GAS' },
            { value: 'MASM', label: 'MASM' },
        ],
    },
    { key: 'shouldCacheSourceFiles', label: 'Keep copies of source files', control: 'check' },
];

/** The options in an answer of `options:get`. @throws Error naming an option that is missing or of another kind. */
export function readOptions(answer: Bag): OptionValues {
    return new Map(OPTION_FIELDS.map((field) => [field.key, readOption(field, answer)]));
}

function readOption({ key, control }: OptionField, answer: Bag): OptionValue {
    const read = {
        check: () => answer.bool(key),
        number: () => answer.number(key),
        text: () => answer.text(key),
        choice: () => answer.text(key),
    };
    const value = read[control]();
    if (value === undefined) throw new Error(`The answer does not say "${key}"`);
    return value;
}

/** Adds to the bag of an `options:set` what differs from `before`; gives the keys that do. */
export function writeChanges(before: OptionValues, after: OptionValues, request: Bag): string[] {
    const changed = differing(before, after);
    for (const key of changed) request.putOwn(key, optionValue(after.get(key)!));
    return changed;
}

/** The keys whose values differ. */
export function differing(one: OptionValues, other: OptionValues): string[] {
    return OPTION_FIELDS.map((field) => field.key).filter((key) => one.get(key) !== other.get(key));
}

function optionValue(value: OptionValue): Value {
    if (typeof value === 'boolean') return bool(value);
    return typeof value === 'number' ? s32(value) : text(value);
}
