import { type Plain } from '../../wire/index.js';
import { boolOr, listOf, numberOr, objectOf, textOr } from '../../format/plain_fields.js';

/** A format that a column can show its numbers in. */
export interface ColumnFormat {
    readonly id: string;
    readonly label: string;
}

/** A part of the stacked bars of a column. */
export interface BarSegment {
    readonly id: string;
    readonly caption: string;
    readonly color: number;
}

export type BarType = 'default' | 'stacked' | 'diff' | 'unknown';

/** The first result's number, the second's, or how much the first has more than the second. */
export type ValueKind = 'first' | 'second' | 'difference';

export interface ColumnLevel {
    readonly aliasForUnknown: string;
    readonly format: string;
}

/** A column of the grid. Its index is its place in the answer's list, which is the preorder of the column tree. */
export interface GridColumn {
    readonly index: number;
    readonly caption: string;
    readonly description: string;
    readonly isGrouping: boolean;
    /** Holds numbers of a metric. */
    readonly isData: boolean;
    /** Holds a fact about the row's object. */
    readonly isInfo: boolean;
    readonly isSelf: boolean;
    readonly isTotal: boolean;
    /** In a comparison, what its numbers are of; undefined for a column of no single result. */
    readonly kind: ValueKind | undefined;
    readonly isCollapsible: boolean;
    readonly isDescendingByDefault: boolean;
    /** A format chosen for the column goes for the columns below it, too. */
    readonly sharesFormatWithChildren: boolean;
    readonly aliasForUnknown: string;
    /** What the rows of each level are, in the grouping column. */
    readonly levels: readonly ColumnLevel[];
    /** The format that is in use. */
    readonly format: string;
    /** The format that it came with at first: the way back from others. */
    readonly ownFormat: string;
    readonly availableFormats: readonly ColumnFormat[];
    /** How many seconds one unit of a time is. */
    readonly timeUnit: number;
    /** The length of a full bar: the same for all columns of one unit, so that they compare. */
    readonly barMax: number;
    readonly barType: BarType;
    /** Packed as 0xRRGGBBAA. */
    readonly color: number;
    readonly segments: readonly BarSegment[];
    /** Texts of the issues, by the bit of a cell's mask. */
    readonly issues: readonly string[];
    readonly confidenceText: string;
    /** Names the column from one result to the next. */
    readonly query: string;
    readonly queryFlag: number;
}

/** A column in the tree of columns, and how it shows. */
export interface ColumnNode {
    readonly column: number;
    readonly isCollapsed: boolean;
    readonly isHidden: boolean;
    readonly children: readonly ColumnNode[];
}

const DEFAULT_COLOR = 0xd47334ff;

export function readColumns(list: readonly Plain[]): GridColumn[] {
    return list.map((plain, index) => readColumn(objectOf(plain), index));
}

function readColumn(column: { readonly [key: string]: Plain }, index: number): GridColumn {
    return {
        index,
        caption: textOr(column['caption'], ''),
        description: textOr(column['description'], ''),
        isGrouping: boolOr(column['isGrouping'], false),
        isData: boolOr(column['isData'], false),
        isInfo: boolOr(column['isInfo'], false),
        isSelf: boolOr(column['isSelf'], false),
        isTotal: boolOr(column['isTotal'], false),
        kind: readKind(numberOr(column['queryFlag'], -1)),
        isCollapsible: boolOr(column['isCollapsible'], false),
        isDescendingByDefault: boolOr(column['descendingByDefault'], false),
        sharesFormatWithChildren: boolOr(column['syncChildColumnsFormat'], false),
        aliasForUnknown: textOr(column['aliasForUnknown'], ''),
        levels: listOf(column['levels']).map(readLevel),
        format: textOr(column['format'], ''),
        ownFormat: textOr(column['format'], ''),
        availableFormats: listOf(column['availableFormats']).map(readFormat),
        timeUnit: numberOr(column['timeUnit'], 1),
        barMax: numberOr(column['maxPerUnitOfMeasure'], 0) || numberOr(column['barMax'], 0),
        barType: readBarType(textOr(column['barType'], 'unknown')),
        color: numberOr(column['color'], DEFAULT_COLOR),
        segments: readSegments(column['barSegments']),
        issues: listOf(column['issues']).map((issue) => textOr(objectOf(issue)['issueText'], '')),
        confidenceText: textOr(column['confidenceText'], ''),
        query: textOr(column['query'], ''),
        queryFlag: numberOr(column['queryFlag'], -1),
    };
}

const KIND_FLAGS: readonly (readonly [flag: number, kind: ValueKind])[] = [
    [0x100, 'first'],
    [0x200, 'second'],
    [0x400, 'difference'],
];

function readKind(queryFlag: number): ValueKind | undefined {
    return queryFlag < 0 ? undefined : KIND_FLAGS.find(([flag]) => queryFlag & flag)?.[1];
}

function readLevel(plain: Plain): ColumnLevel {
    const level = objectOf(plain);
    return { aliasForUnknown: textOr(level['aliasForUnknown'], ''), format: textOr(level['format'], 'text') };
}

function readFormat(plain: Plain): ColumnFormat {
    const format = objectOf(plain);
    const id = textOr(format['id'], '');
    return { id, label: textOr(format['displayName'], formatLabel(id)) };
}

/** The host offers these for differences only, but takes them for every column of numbers. */
export const PERCENT_FORMATS: readonly string[] = ['percent', 'percent_by'];

export function canHaveFormat(column: GridColumn, format: string): boolean {
    if (format === column.ownFormat || (column.isData && PERCENT_FORMATS.includes(format))) return true;
    return column.availableFormats.some(({ id }) => id === format);
}

/** What a format is called where the host gives it no name. */
export function formatLabel(id: string): string {
    if (id === 'percent_by') return 'Percent of the base metric';
    return id.charAt(0).toUpperCase() + id.slice(1);
}

function readBarType(text: string): BarType {
    return text === 'default' || text === 'stacked' || text === 'diff' ? text : 'unknown';
}

function readSegments(plain: Plain | undefined): BarSegment[] {
    return Object.entries(objectOf(plain)).map(([id, entry]) => {
        const segment = objectOf(entry);
        const color = numberOr(segment['color'], DEFAULT_COLOR);
        return { id, caption: textOr(segment['caption'], id), color };
    });
}

/** The top of the column tree; without a usable hierarchy all columns stand side by side. */
export function readHierarchy(plain: Plain | undefined, columns: readonly GridColumn[]): ColumnNode[] {
    const nodes = readNodes(plain, columns.length);
    if (nodes.length > 0) return nodes;
    return columns.map(({ index }) => ({ column: index, isCollapsed: false, isHidden: false, children: [] }));
}

/** A tree of columns is as deep as a person can read, so this may recurse: deeper levels than these are cut. */
const DEEPEST_HEAD = 32;

function readNodes(plain: Plain | undefined, columnCount: number, depth = 0): ColumnNode[] {
    if (depth === DEEPEST_HEAD) return [];
    const nodes = listOf(objectOf(plain)['columns']).map((entry) => {
        const node = objectOf(entry);
        return {
            column: numberOr(node['dataIndex'], -1),
            isCollapsed: boolOr(node['isCollapsed'], false),
            isHidden: boolOr(node['isHidden'], false),
            children: readNodes(entry, columnCount, depth + 1),
        };
    });
    return nodes.filter(({ column }) => column >= 0 && column < columnCount);
}
