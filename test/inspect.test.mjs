// The way into a pack, layer by layer: path, file, header, metadata, seal, digest, payload, index. vectors/ holds a
// pack for each fault; here stand limits, what several layers could refuse, and what no file can show by itself.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { chmodSync, mkdirSync, symlinkSync, truncateSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join, parse, relative } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { buildBinaryIndex, buildMetadata, buildPack, buildPayload } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { indexDocument, metadataFields, packBytes, root, sha256Hex, writeFile } from './support/packs.mjs';
import { isWindows, noCase, noLinks, noPipes, noUsers } from './support/platform.mjs';

const binary = Object.keys(createRequire(import.meta.url).cache).find((path) => path.endsWith('.node'));
const inspect = (packPath, allowedRoot = root) => addon.inspectRulePack({ packPath, allowedRoot });
const verdict = (...paths) => thrownBy(() => inspect(...paths));

/** Files by what comes after the prefix in the message that refuses them; under "ok", those that load. */
function refuse(prefix, files) {
  for (const [end, list] of Object.entries(files)) {
    for (const [i, bytes] of list.entries()) {
      const expected = end === 'ok' ? 'no error' : `Error: ${prefix}${end}`;
      assert.equal(verdict(writeFile(bytes)), expected, `${end}, number ${i}`);
    }
  }
}

const document = (type, changed = {}) => ({ type, encoding: 1, name: `doc-${type}`, data: 'x', ...changed });
const good = buildPayload([indexDocument({ scene: [['a', 'x']] }), document(1)]);
const goodPack = packBytes({ payload: good });
/** The good pack with these bytes in place of its own. */
const patched = (at, ...bytes) => Buffer.from(goodPack).fill(Buffer.from(bytes), at, at + bytes.length);

test('the summary: properties, order, values', () => {
  const types = 'scene-lexicon human-language star-manifest star-shard location-meta location-shard bundled-patch ' +
    'semantic-index semantic-facet-lexicon';
  const rows = [{ term: 'b' }, { term: 'c' }];
  const data = buildBinaryIndex({ sections: [{ type: 'human', rows }], sourceDocumentCount: 7 });
  const many = Array.from({ length: 511 }, (_, i) =>
    (i % 9 === 7 ? indexDocument({ scene: [['a', 'x']] }) : document((i % 9) + 1)));
  const table = [
    [[document(3)], { 'star-manifest': 1 },
      { version: 0, sectionCount: 0, sourceDocumentCount: 0, bytes: 0, sectionCounts: {} }],
    // The most documents that there may be, nine kinds in turn; what is told is told of the last index.
    [[...many, { ...indexDocument(), data }],
      Object.fromEntries(types.split(' ').sort().map((type) => [type, type === 'semantic-facet-lexicon' ? 56 : 57])),
      { version: 3, sectionCount: 5, sourceDocumentCount: 7, bytes: data.length,
        sectionCounts: { celebrity: 0, facet: 0, human: 2, location: 0, scene: 0 } }],
  ];
  const ids = { ruleSetId: 'R-2.b_', baseRuleSetId: 'r'.repeat(96) };
  for (const keyId of ['test-v1', 'release-v1']) {
    for (const [documents, documentCounts, binaryIndex] of table) {
      const bytes = packBytes({ documents, metadata: { keyId, kind: 'patch', ...ids } });
      assertSame(inspect(writeFile(bytes)), {
        ok: true, schema: 'corvenda.semantic-rule-pack.v1', kind: 'patch', ...ids,
        payloadSha256: sha256Hex(buildPayload(documents)), documentCount: documents.length, packBytes: bytes.length,
        documentCounts, binaryIndex,
      });
    }
  }
});

const packAt = (name) => writeFile(goodPack, name);
const packs = join(root, 'packs');
const inside = packAt('packs/a.klrx');
const upper = packAt('UPPER/a.klrx');
const OUTSIDE = 'path is outside the approved root';
const UNCANONICAL = 'path cannot be canonicalized';

/** Rows of a name, a path and a root, by the end of the message that refuses them; under "ok", those that load. */
function assertPaths(expected) {
  for (const [end, rows] of Object.entries(expected)) {
    const message = end === 'ok' ? 'no error' : `Error: semantic rule-pack ${end}`;
    for (const [what, ...paths] of rows) assert.equal(verdict(...paths), message, what);
  }
}

test('paths: confinement, extension, kind and size of the file', () => {
  const sized = (size, path = writeFile('KLRY')) => (truncateSync(path, size), path);
  const old = packAt('packs-old/a.klrx');
  mkdirSync(join(root, 'd.klrx'));
  assertPaths({
    [OUTSIDE]: [
      ['dots that lead out', `${packs}/../packs-old/a.klrx`, packs],
      ['a root whose name the path continues', old, packs], ['the file itself as root', inside, inside],
      ['a root that is longer', inside, `${packs}/a.klrx/b`],
      ['the root of the file system has nothing inside', inside, parse(root).root],
      ['a file outside ASCII', packAt('packs/火.klrx'), packs],
      ['a root outside ASCII', packAt('é/a.klrx'), join(root, 'é')], ['a blank for both', ' ', ' '],
    ],
    // Too long for a name: Windows takes it for one that nothing has.
    [isWindows ? OUTSIDE : UNCANONICAL]: [['4096 bytes', 'a'.repeat(4096)]],
    'path is invalid': [
      ['1366 characters of three bytes', '火'.repeat(1366)], ['a root of 4097 bytes', inside, 'a'.repeat(4097)],
      ['4097 bytes: the path comes first', 'a'.repeat(4097), 'a'.repeat(4096)],
      ['a NUL', `${inside}\0`, packs], ['a NUL in the root', inside, `${packs}\0`],
      ['a NUL before the extension', `${packs}/no/../../plain.bin\0.klrx`],
    ],
    'extension is invalid': [
      ['upper case', packAt('b.KLRX')], ['the extension alone', packAt('.klrx')],
      ['no such file', join(root, 'a.txt')],
    ],
    'file stat is invalid': [
      ['relative, of which nothing exists', 'nowhere-at-all/a.klrx', 'nowhere-at-all'],
      ['a directory', join(root, 'd.klrx')], ['39 bytes', sized(39)], ['128 MB and one', sized(134217729)],
    ],
    'magic is invalid': [['40 bytes', sized(40)], ['128 MB', sized(134217728)]],
    ok: [
      ['below the root', inside, packs], ['dots resolved', `${packs}/../packs/./a.klrx`, packs],
      ['a separator after a root that exists is resolved away', inside, `${packs}/`],
      ['without regard to case', upper, join(root, 'upper')],
      ['a backslash directly after the root', packAt('packs\\a.klrx'), packs],
      ['what is missing', `${packs}/no/../a.klrx`, packs],
      ['relative', relative(process.cwd(), inside), relative(process.cwd(), packs)],
    ],
  });
});

test('paths: a separator after a root that does not exist stays', { skip: noCase }, () => {
  assertPaths({ [OUTSIDE]: [['the case makes it another name', upper, join(root, 'upper/')]] });
});

test('paths: links', { skip: noLinks }, () => {
  const link = (name, target) => (symlinkSync(target, join(root, name)), join(root, name));
  const old = packAt('packs-old/a.klrx');
  link('packs/away', dirname(old));
  assertPaths({
    [OUTSIDE]: [
      ['one that leads out', link('packs/out.klrx', old), packs],
      // Leaving out what is missing, and the ".." after it, brings a link to light.
      ...['no/../away', 'no/no/../../away', 'no/../away/../away'].map((way) => [way, `${packs}/${way}/a.klrx`, packs]),
    ],
    [UNCANONICAL]: [['one to itself', join(link('loop', join(root, 'loop')), 'a.klrx')]],
    'extension is invalid': [['of the canonical path, not of the link', link('named.klrx', packAt('plain.bin'))]],
    'file stat is invalid': [['a dangling one', link('dangling.klrx', join(root, 'gone'))]],
    ok: [
      ['one that leads in', link('in.klrx', inside), packs], ['as the root', inside, link('link', packs)],
      ['as the root, after what is missing', inside, `${root}/no/../link`],
    ],
  });
});

test('paths: a pipe', { skip: noPipes }, () => {
  execFileSync('mkfifo', [join(root, 'fifo.klrx')]);
  assertPaths({ 'file stat is invalid': [['nobody waits for it', join(root, 'fifo.klrx')]] });
});

// The superuser may read everything, so a child that has become nobody asks.
test('paths: a file that may not be read', { skip: noUsers }, () => {
  const packPath = packAt('secret.klrx');
  chmodSync(root, 0o755);
  chmodSync(packPath, 0);
  const script = `const { inspectRulePack } = require(${JSON.stringify(binary)});
    process.getuid() || process.setuid(65534);
    try { inspectRulePack(${JSON.stringify({ packPath, allowedRoot: root })}); } catch ({ message }) {
      console.log(message);
    }`;
  const said = execFileSync(process.execPath, ['-e', script], { encoding: 'utf8' });
  assert.equal(said, 'semantic rule-pack file cannot be opened\n');
});

test('header and metadata', () => {
  const metadata = (changed) => packBytes({ payload: good, metadata: changed });
  const goodText = buildMetadata(metadataFields(good));
  const text = (from, to) => packBytes({ payload: good, metadataText: goodText.replace(from, to) });
  const [length] = goodPack.subarray(20);
  const zip = metadata({ compression: 'zip' });
  refuse('semantic rule-pack ', {
    // The last has no ciphertext either.
    'fixed header is invalid': [patched(4, 0, 0), patched(4, 1, 1), patched(6, ...Array(18).fill(0))],
    'length fields are invalid': [patched(6, 255, 255), patched(20, length + 1), patched(20, length - 1)],
    'metadata is invalid': [
      ...['schema', 'kind', 'keyId', 'ruleSetId', 'baseRuleSetId', 'payloadSha256', 'version'].flatMap((key) =>
        [metadata({ [key]: undefined }), text(`"${key}":`, `"${key}": `)]),
      ...['', 'a'.repeat(97), 'é'].flatMap((id) => [metadata({ ruleSetId: id }), metadata({ baseRuleSetId: id })]),
      ...[{ kind: 'overlay' }, { version: 0 }, { payloadSha256: 'a'.repeat(65) }, { compression: 'zip', version: 2 }]
        .map(metadata),
      text('{', '{"version":"1",'), // and a good one after it
    ],
    ok: [
      text('{', '{"note":"\\"kind\\":","kind":"base",'), text(/[{}]/g, ' '),
      text(/$/, ' '.repeat(65535 - goodText.length)),
      ...['""', '1', ' "zip"', '"z\\u0069p"'].map((value) => text('{', `{"compression":${value},`)),
    ],
    // Before the seal, which is broken in the second.
    'compression is unsupported': [metadata({ compression: 'LZ4-block-v1' }), zip.with(zip.length - 1, zip.at(-1) ^ 1)],
  });
});

test('decrypted bytes do not stay in memory', () => {
  // What the cache keeps must be found, else the search proves nothing.
  const text = (name) => `${name}-7d0f1c53-of-the-payload`;
  const list = (name, changed) => [
    indexDocument({ scene: [[text('kept'), 'x']] }),
    document(1, { data: Array.from({ length: 200 }, (_, i) => `${text(name)} ${i}`).join(), ...changed }),
  ];
  const packs = [
    packBytes({ documents: list('load') }),
    buildPack({ ruleSetId: 'r', documents: list('lz4_'), compression: 'lz4-block-v1' }),
    packBytes({ documents: list('hash'), metadata: { payloadSha256: '0'.repeat(64) } }),
    packBytes({ documents: list('fail', { sha256: Buffer.alloc(32) }) }),
    // A wrong tag, which shows after the last byte was decrypted.
    Buffer.concat([packBytes({ documents: list('seal') }).subarray(0, -16), Buffer.alloc(16)]),
  ];
  const names = ['load', 'lz4_', 'hash', 'fail', 'seal', 'kept'];
  const texts = names.map((name) => [name.charCodeAt(0), text(name).slice(1)]);
  const input = JSON.stringify({ binary, root, paths: packs.map((bytes) => writeFile(bytes)), texts });
  const script = fileURLToPath(new URL('support/own_memory.cjs', import.meta.url));
  const said = execFileSync(process.execPath, [script], { input, encoding: 'utf8' });
  assert.equal(said, 'gone gone gone gone gone found\n');
});

test('payload', () => {
  const payload = (list, options) => packBytes({ payload: buildPayload(list, options) });
  const one = (changed, options) => payload([document(1, changed)], options);
  const index = (changed) => payload([{ ...indexDocument(), ...changed }]);
  const sha256 = Buffer.alloc(32);
  refuse('semantic rule-pack ', {
    'payload magic is invalid': [packBytes({ payload: Buffer.from('SRP1\x01\0\x01') })],
    'payload header is invalid': [one({}, { documentCount: 513 })],
    'document descriptor is invalid': [one({ type: 0 }), one({ encoding: 0 }), one({ name: '' })],
    'document bounds are invalid': [one({ name: 'a b', dataLength: 2 }), one({ dataLength: 0xffffffff })],
    'document name is invalid': [one({ name: 'a/b', sha256 })],
    'document digest is invalid': [index({ sha256 })],
    ok: [one({ name: 'n'.repeat(128) })],
  });
  // A large payload is parsed while its digest is made, which still has the first word.
  const large = document(2, { data: Buffer.alloc(5 << 20) });
  const wrong = { payloadSha256: sha256Hex('') };
  refuse('semantic rule-pack ', {
    ok: [payload([large])],
    'document name is invalid': [payload([large, document(1, { name: 'a/b' })])],
    'payload digest is invalid':
      [document(1), document(1, { name: 'a/b' }), document(8)]
        .map((last) => packBytes({ documents: [large, last], metadata: wrong })),
  });
  refuse('', { '': [payload([large, document(8)])] });
  // Without any message: an index by type that is none by encoding or name, also with a wrong digest or wrong content.
  refuse('', {
    '': [index({ encoding: 1, sha256 }), index({ name: 'semantic-binary-index-v2', data: 'SIX2' })],
    'semantic binary index magic is invalid': [index({ data: 'SIX2', sha256 })],
  });
});

test('binary index', () => {
  const raw = (data) => packBytes({ documents: [{ ...indexDocument(), data }] });
  const index = (options) => raw(buildBinaryIndex(options));
  const sections = (...list) => index({ sections: list, addMissing: false });
  const rows = [{ term: 'ab', fields: ['x'] }];
  const scene = (changed) => index({ sections: [{ type: 'scene', rows, ...changed }] });
  const body = (...bytes) => {
    const made = buildBinaryIndex();
    made.writeUInt32LE(1, 20);
    made.writeUInt32LE(bytes.length, 24);
    return raw(Buffer.concat([made.subarray(0, 32), Buffer.from(bytes), made.subarray(32)]));
  };
  refuse('semantic binary index ', {
    'magic is invalid': [raw(buildBinaryIndex().subarray(0, 15)), raw(Buffer.from('SIX2'.padEnd(16, '\0')))],
    'header is invalid': [index({ version: 2 }), index({ sectionCount: 4 }), index({ sectionCount: 6 })],
    'section header is truncated': [raw(buildBinaryIndex().subarray(0, -1))],
    'section header is invalid': [scene({ bodyLength: 0xffffffff }), sections({ type: 6, sectionFormat: 2 })],
    'section type is invalid': [sections({ type: 0 }), sections({ type: 6 }),
      sections({ type: 1 }, { type: 1, rows: [{ term: '' }] })],
    'term is invalid': [scene({ termCount: 0xffffffff }), body(0, 0, 0, 0), body(1), body(3, 0, 97, 98)],
    'field header is invalid': [body(1, 0, 97), body(1, 0, 97, 0)],
    'field is invalid': [body(1, 0, 97, 1, 0, 0), body(1, 0, 97, 1, 0, 2, 0, 98), body(1, 0, 97, 0xff, 0xff, 0, 0)],
    'section has trailing bytes': [body(1, 0, 97, 0, 0, 0), scene({ termCount: 0 })],
    ok: [body(1, 0, 97, 0, 0), body(1, 0, 97, 1, 0, 0, 0)],
  });
});
