import { describe, expect, it } from 'vitest';
import { Bag, bool, double, NULL, s32, text, u64, type Value } from '../../src/wire/index.js';
import { xmlToBag } from '../../src/wire/xml_reader.js';
import { bagToXml } from '../../src/wire/xml_writer.js';
import { dump, randomBag, randomNumbers } from './bags.js';

const value = (content: Value, name = 'a') => new Bag().put(name, content);
const child = (name: string, content = new Bag()) => {
    const parent = new Bag();
    parent.addChild(name, content);
    return parent;
};

describe('a bag written as XML', () => {
    it.each<[string, Bag, string]>([
        ['an empty root', new Bag(), '<r></r>'],
        ['text', value(text('x')), '<r><a>x</a></r>'],
        ['text with blanks', value(text(' x ')), '<r><a> x </a></r>'],
        ['a boolean', value(bool(true)), '<r><a type="bool">true</a></r>'],
        ['an integer', value(s32(-4)), '<r><a type="s32_t">-4</a></r>'],
        [
            'the largest integer',
            value(u64(18446744073709551615n)),
            '<r><a type="u64_t">18446744073709551615</a></r>',
        ],
        ['a double', value(double(0.1)), '<r><a type="double">0.1</a></r>'],
        ['a float', value({ kind: 'float', value: Math.fround(0.1) }), '<r><a type="float">0.1</a></r>'],
        ['binary', value({ kind: 'binary', value: Uint8Array.of(0, 255) }), '<r><a type="binary">AP8=</a></r>'],
        ['null', value(NULL), '<r><a type="null"/></r>'],
        ['wide text', value({ kind: 'wtext', value: 'ü' }), '<r><a type="wtext">ü</a></r>'],
        ['an empty child', child('c'), '<r><c type="bag"/></r>'],
        ['an own value', new Bag().putOwn('gridid', text('g1')), '<r><gridid><_>g1</_></gridid></r>'],
        ['a child with the empty name', child('', value(text('x'))), '<r><_><a>x</a></_></r>'],
        ['a name that is no tag', value(text('x'), 'two words'), '<r><_ name="two words">x</_></r>'],
        ['the name "_"', value(s32(1), '_'), '<r><_ name="_" type="s32_t">1</_></r>'],
        [
            'an attribute with everything',
            value(text(''), '<"&\t\n\r>'),
            '<r><_ name="&lt;&quot;&amp;&#9;&#10;&#13;&gt;"></_></r>',
        ],
        ['text with everything', value(text('</msg>&\t\n\r')), '<r><a>&lt;/msg&gt;&amp;\t\n&#13;</a></r>'],
        [
            'what XML cannot carry',
            value(text('\u000b\u0000\ud800x\uffff')),
            '<r><a>\ufffd\ufffd\ufffdx\ufffd</a></r>',
        ],
        ['a name like the root', child('r', value(text('x'))), '<r><_ name="r"><a>x</a></_></r>'],
        ['values before children', child('c').put('a', text('x')), '<r><a>x</a><c type="bag"/></r>'],
    ])('%s', (_, bag, xml) => {
        expect(bagToXml(bag, 'r')).toBe(xml);
    });

    it('stands inside the elements of its path', () => {
        expect(bagToXml(value(text('x')), 'msg.event')).toBe('<msg><event><a>x</a></event></msg>');
        expect(bagToXml(new Bag(), 'msg.event')).toBe('<msg><event type="bag"/></msg>');
    });

    it.each(Array.from({ length: 300 }, (_, seed) => seed))(
        'reads back the same, kinds included (seed %i)',
        (seed) => {
            const bag = randomBag(randomNumbers(seed));
            expect(dump(xmlToBag(bagToXml(bag, 'msg.request'), 'msg'))).toEqual(dump(child('request', bag)));
        },
    );

    it('is written and read at any depth that is allowed', () => {
        const root = new Bag();
        let innermost = root;
        for (let depth = 0; depth < 510; ++depth) innermost = innermost.addChild('d');
        innermost.put('a', text('x'));
        expect(bagToXml(xmlToBag(bagToXml(root, 'r'), 'r'), 'r')).toBe(bagToXml(root, 'r'));
        innermost.addChild('d').put('a', text('x'));
        expect(() => xmlToBag(bagToXml(root, 'r'), 'r')).toThrow('Nested deeper than 512');
    });
});

describe('XML read as a bag', () => {
    const tab = new Bag().put('id', text('bottomUp'));
    tab.addChild('pane').put('id', text('grid1'));

    it.each<[string, string, Bag]>([
        ['attributes as text values', '<r><tab id="bottomUp"><pane id="grid1"/></tab></r>', child('tab', tab)],
        [
            'an own text of a bag, trimmed',
            '<r><gridid type="bag"> g1\n</gridid></r>',
            new Bag().putOwn('gridid', text('g1')),
        ],
        ['blank text in a bag as nothing', '<r>\n  <c type="bag">\n</c>\n</r>', child('c')],
        [
            'a type that names no kind as an attribute',
            '<r><q id="1" type="grid:get"/></r>',
            child('q', new Bag().put('id', text('1')).put('type', text('grid:get'))),
        ],
        [
            '`name` on an ordinary element as an attribute',
            '<r><a name="n"/></r>',
            child('a', value(text('n'), 'name')),
        ],
        ['CDATA as text', '<r><a><![CDATA[<&]]>]]&gt;</a></r>', value(text('<&]]>'))],
        ['character references', "<r><a b='&#x41;&#66;&apos;'/></r>", child('a', value(text("AB'"), 'b'))],
        [
            'no comments, instructions, namespaces',
            '<?xml version="1.0"?><!-- c --><r xmlns="u" xmlns:x="v"><?p i?><a>x<!-- - -->y</a></r>',
            value(text('xy')),
        ],
        ['line ends as LF', '<r><a>x\r\ny\rz</a></r>', value(text('x\ny\nz'))],
        ['a repeated value once, the last', '<r><a>x</a><a>y</a></r>', value(text('y'))],
        ['attributes of the root', '<r v="1"> x </r>', new Bag().put('v', text('1')).put('', text('x'))],
        [
            'a kind for the own text of a bag',
            '<r><a x="" type="s32_t"> 4 </a></r>',
            child('a', new Bag().put('x', text('')).put('', s32(4))),
        ],
        ['special numbers', '<r><a type="double">-INF</a></r>', value(double(-Infinity))],
    ])('%s', (_, xml, bag) => {
        expect(dump(xmlToBag(xml, 'r'))).toEqual(dump(bag));
    });

    it.each<[string, string, string]>([
        ['nothing', '', 'empty'],
        ['another root', '<s/>', 'root element is "s"'],
        ['two roots', '<r/><r/>', 'More than one root'],
        ['text behind the root', '<r/>x', 'outside'],
        ['an element without end', '<r><a>', 'does not end'],
        ['crossed ends', '<r><a><b></a></b></r>', 'end tag'],
        ['a document type', '<!DOCTYPE r [<!ENTITY e "x">]><r/>', 'document type'],
        ['an entity of its own', '<r>&e;</r>', 'not allowed'],
        ['a long entity', '<r>&nbsp;</r>', 'not allowed'],
        ['a bare ampersand', '<r>a & b</r>', 'not allowed'],
        ['a reference to no character', '<r>&#11;</r>', 'not allowed'],
        ['a reference to a half character', '<r>&#xd800;</r>', 'not allowed'],
        ['a control character', '<r>\u000b</r>', 'does not allow'],
        ['an attribute twice', '<r a="1" a="2"/>', 'twice'],
        ['an attribute without quotes', '<r a=1/>', 'malformed'],
        ['"--" in a comment', '<r><!-- a -- b --></r>', 'comment'],
        ['an open comment', '<r><!-- ', 'does not end'],
        ['a declaration in the middle', '<r><?xml version="1.0"?></r>', 'declaration'],
        ['a number beyond its kind', '<r><a type="u8_t">256</a></r>', 'no u8_t'],
        ['a negative unsigned number', '<r><a type="u64_t">-1</a></r>', 'no u64_t'],
        ['a number that is none', '<r><a type="s32_t"> 1</a></r>', 'no s32_t'],
        ['a double beyond all', '<r><a type="double">1e999</a></r>', 'no double'],
        ['another boolean', '<r><a type="bool">yes</a></r>', 'no bool'],
        ['broken base64', '<r><a type="binary">A</a></r>', 'no binary'],
        ['100,000 levels', '<r>' + '<a>'.repeat(100_000), 'Nested deeper'],
    ])('refuses %s', (_, xml, reason) => {
        expect(() => xmlToBag(xml, 'r')).toThrow(reason);
    });

    it('names the line of a fault', () => {
        expect(() => xmlToBag('<r>\n<a>\n</b></r>', 'r')).toThrow('(line 3)');
    });

    it('takes texts of megabytes', () => {
        const long = 'xxxxxxxxx&'.repeat(300_000);
        const bag = value(text(long)).put(long, text(''));
        expect(xmlToBag(bagToXml(bag, 'r'), 'r').text('a')).toBe(long);
    });
});
