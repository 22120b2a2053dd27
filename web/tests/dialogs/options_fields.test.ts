import { describe, expect, it } from 'vitest';
import { readOptions, writeChanges } from '../../src/dialogs/options/options_fields.js';
import { Bag } from '../../src/wire/index.js';
import { jsonToBag } from '../../src/wire/json_reader.js';
import { bagToXml } from '../../src/wire/xml_writer.js';

const ANSWER =
    '{"applicationOutputDestination":"separateConsole","shouldRemoveRawCollectorData":false,' +
    '"shouldDisplayVerboseCollectionLogMessages":false,"adbPath":"","resultNameTemplate":"r@@@{at}",' +
    '"sourceViewTabSize":4,"cpuAssemblySyntax":"default","shouldCacheSourceFiles":false}';

describe('the options', () => {
    it('are stored in the kinds that the host reads, and only if changed', () => {
        const stored = readOptions(jsonToBag(ANSWER));
        const wanted = new Map(stored)
            .set('sourceViewTabSize', 8)
            .set('shouldCacheSourceFiles', true)
            .set('adbPath', '/opt/adb');
        const request = new Bag();
        expect(writeChanges(stored, wanted, request)).toEqual([
            'adbPath',
            'sourceViewTabSize',
            'shouldCacheSourceFiles',
        ]);
        expect(bagToXml(request, 'r')).toBe(
            '<r><adbPath><_>/opt/adb</_></adbPath><sourceViewTabSize><_ type="s32_t">8</_></sourceViewTabSize>' +
                '<shouldCacheSourceFiles><_ type="bool">true</_></shouldCacheSourceFiles></r>',
        );
        expect(writeChanges(stored, stored, request)).toEqual([]);
    });

    it.each(['adbPath', 'sourceViewTabSize', 'shouldCacheSourceFiles'])(
        'are refused if %s is missing or of another kind',
        (key) => {
            const answer = JSON.parse(ANSWER) as Record<string, unknown>;
            answer[key] = [];
            expect(() => readOptions(jsonToBag(JSON.stringify(answer)))).toThrow(key);
        },
    );
});
