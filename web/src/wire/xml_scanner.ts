/** XML that is refused, with the line on which the fault was met. */
export class XmlError extends Error {
    override readonly name = 'XmlError';

    constructor(
        message: string,
        readonly line: number,
    ) {
        super(`${message} (line ${line})`);
    }
}

/** Elements nested deeper than this are refused. */
export const MAX_XML_DEPTH = 512;

/** What the scanner reports, in document order. A failure that a call throws as a plain `Error` gets its line. */
export interface XmlSink {
    startElement(tag: string, attributes: readonly (readonly [name: string, value: string])[]): void;
    /** Characters of the innermost open element, references resolved; several calls may carry one text. */
    characters(text: string): void;
    endElement(): void;
}

const NAME_START =
    ':A-Z_a-z\\u00c0-\\u00d6\\u00d8-\\u00f6\\u00f8-\\u02ff\\u0370-\\u037d\\u037f-\\u1fff\\u200c\\u200d\\u2070-\\u218f\\u2c00-\\u2fef\\u3001-\\ud7ff\\uf900-\\ufdcf\\ufdf0-\\ufffd\\u{10000}-\\u{effff}';
const NAME = `[${NAME_START}][${NAME_START}\\-.0-9\\u00b7\\u0300-\\u036f\\u203f\\u2040]*`;
const START_TAG = new RegExp(`<(${NAME})`, 'uy');
const ATTRIBUTE = new RegExp(`[ \\t\\n]+(${NAME})[ \\t\\n]*=[ \\t\\n]*(?:"([^"<]*)"|'([^'<]*)')`, 'uy');
const TAG_END = /[ \t\n]*(\/?)>/y;
const END_TAG = new RegExp(`</(${NAME})[ \\t\\n]*>`, 'uy');
const DECLARATION = /<\?xml[ \t\n][^<>]*?\?>/y;
const REFERENCE = /&(?:#x([0-9a-fA-F]{1,6});|#([0-9]{1,7});|([a-z]{2,4});)?/g;
const BLANK = /^[ \t\n]*$/;
const FORBIDDEN =
    /[\u0000-\u0008\u000b\u000c\u000e-\u001f\ufffe\uffff]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/;
const ENTITIES: Readonly<Record<string, string>> = { amp: '&', lt: '<', gt: '>', quot: '"', apos: "'" };

/**
 * Reads one XML document and reports it to `sink`. Strict: what is not well-formed is refused, and so are a document
 * type declaration, references to anything but characters and the five predefined entities, and elements nested
 * deeper than `MAX_XML_DEPTH`. Works in constant stack.
 * @throws XmlError
 */
export function scanXml(source: string, sink: XmlSink): void {
    new Scanner(source, sink).scan();
}

class Scanner {
    readonly #source: string;
    readonly #sink: XmlSink;
    readonly #open: string[] = [];
    #at = 0;
    #rootSeen = false;

    constructor(source: string, sink: XmlSink) {
        this.#source = source.replace(/^\ufeff/, '').replace(/\r\n?/g, '\n');
        this.#sink = sink;
    }

    scan(): void {
        const forbidden = this.#source.search(FORBIDDEN);
        if (forbidden >= 0) this.#fail('A character that XML does not allow', forbidden);
        this.#match(DECLARATION);
        while (this.#at < this.#source.length) this.#scanNext();
        const left = this.#open.at(-1);
        if (left !== undefined) this.#fail(`The element "${left}" does not end`);
        if (!this.#rootSeen) this.#fail('The document is empty');
    }

    #scanNext(): void {
        const source = this.#source;
        if (source[this.#at] !== '<') this.#scanText();
        else if (source.startsWith('</', this.#at)) this.#scanEndTag();
        else if (source.startsWith('<!--', this.#at)) this.#scanComment();
        else if (source.startsWith('<![CDATA[', this.#at)) this.#scanCdata();
        else if (source.startsWith('<!', this.#at)) this.#fail('A document type declaration is not allowed');
        else if (source.startsWith('<?', this.#at)) this.#scanInstruction();
        else this.#scanStartTag();
    }

    #scanText(): void {
        const end = this.#indexOf('<', this.#at);
        const raw = this.#source.slice(this.#at, end);
        if (this.#open.length === 0 && !BLANK.test(raw)) this.#fail('Text outside of the root element');
        if (raw.includes(']]>')) this.#fail('"]]>" in a text');
        if (this.#open.length > 0) this.#report(() => this.#sink.characters(this.#resolve(raw)));
        this.#at = end;
    }

    #scanStartTag(): void {
        const start = this.#at;
        const tag = this.#match(START_TAG)?.[1];
        if (tag === undefined) this.#fail('"<" without a name');
        if (this.#open.length === 0 && this.#rootSeen) this.#fail('More than one root element', start);
        if (this.#open.length >= MAX_XML_DEPTH) this.#fail(`Nested deeper than ${MAX_XML_DEPTH}`, start);
        const attributes = this.#scanAttributes();
        const end = this.#match(TAG_END);
        if (!end) this.#fail(`The start of the element "${tag}" is malformed`);
        this.#rootSeen = true;
        this.#report(() => this.#sink.startElement(tag, attributes));
        if (end[1] === '/') this.#report(() => this.#sink.endElement());
        else this.#open.push(tag);
    }

    #scanAttributes(): [string, string][] {
        const attributes: [string, string][] = [];
        for (let found = this.#match(ATTRIBUTE); found; found = this.#match(ATTRIBUTE)) {
            const name = found[1]!;
            if (attributes.some((attribute) => attribute[0] === name)) this.#fail(`Attribute "${name}" twice`);
            const raw = (found[2] ?? found[3] ?? '').replace(/[\t\n]/g, ' ');
            attributes.push([name, this.#resolve(raw)]);
        }
        return attributes;
    }

    #scanEndTag(): void {
        const tag = this.#match(END_TAG)?.[1];
        if (tag === undefined || tag !== this.#open.pop()) this.#fail('An end tag without its start tag');
        this.#report(() => this.#sink.endElement());
    }

    #scanComment(): void {
        const end = this.#endOf('--', this.#at + 4, 'comment');
        if (this.#source[end] !== '>') this.#fail('"--" in a comment');
        this.#at = end + 1;
    }

    #scanCdata(): void {
        if (this.#open.length === 0) this.#fail('Text outside of the root element');
        const start = this.#at + '<![CDATA['.length;
        const end = this.#endOf(']]>', start, 'CDATA section');
        this.#report(() => this.#sink.characters(this.#source.slice(start, end - 3)));
        this.#at = end;
    }

    #scanInstruction(): void {
        if (/^<\?xml[ \t\n?]/i.test(this.#source.slice(this.#at, this.#at + 6)))
            this.#fail('XML declaration not at the start');
        this.#at = this.#endOf('?>', this.#at + 2, 'processing instruction');
    }

    #resolve(raw: string): string {
        if (!raw.includes('&')) return raw;
        return raw.replace(REFERENCE, (whole, hexadecimal?: string, decimal?: string, entity?: string) => {
            if (entity !== undefined && Object.hasOwn(ENTITIES, entity)) return ENTITIES[entity]!;
            const code = hexadecimal !== undefined ? parseInt(hexadecimal, 16) : Number(decimal ?? NaN);
            return this.#character(code, whole);
        });
    }

    #character(code: number, reference: string): string {
        const surrogate = code >= 0xd800 && code <= 0xdfff;
        const valid = code <= 0x10ffff && !surrogate && !FORBIDDEN.test(String.fromCodePoint(code));
        if (!valid) this.#fail(`The reference "${reference}" is not allowed`);
        return String.fromCodePoint(code);
    }

    #match(pattern: RegExp): RegExpExecArray | null {
        pattern.lastIndex = this.#at;
        const found = pattern.exec(this.#source);
        if (found) this.#at = pattern.lastIndex;
        return found;
    }

    #indexOf(text: string, from: number): number {
        const found = this.#source.indexOf(text, from);
        return found < 0 ? this.#source.length : found;
    }

    #endOf(terminator: string, from: number, what: string): number {
        const found = this.#source.indexOf(terminator, from);
        if (found < 0) this.#fail(`A ${what} does not end`);
        return found + terminator.length;
    }

    #report(call: () => void): void {
        try {
            call();
        } catch (failure) {
            if (failure instanceof XmlError) throw failure;
            this.#fail(failure instanceof Error ? failure.message : String(failure));
        }
    }

    #fail(message: string, at = this.#at): never {
        throw new XmlError(message, this.#source.slice(0, at).split('\n').length);
    }
}
