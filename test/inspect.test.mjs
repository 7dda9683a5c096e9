// The way into a pack, layer by layer: path, file, header, metadata, seal, digest, payload, index, cache. Every bad pack
// is the good recipe with one step changed and sealed again, so that only its own layer can refuse it.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { chmodSync, mkdirSync, symlinkSync, truncateSync, utimesSync } from 'node:fs';
import { createRequire } from 'node:module';
import { basename, dirname, join, relative } from 'node:path';
import { describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { buildBinaryIndex, buildMetadata, buildPack, buildPayload } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { indexDocument, metadataFields, packBytes, root, sceneRow, sha256Hex, writeAt, writeFile, writePack } from './support/packs.mjs';

const { inspectRulePack } = addon;
const binary = Object.keys(createRequire(import.meta.url).cache).find((path) => path.endsWith('.node'));

/** "ok", or the message under which the pack is refused; always a plain Error. */
function verdict(packPath, allowedRoot = root) {
  try {
    return inspectRulePack({ packPath, allowedRoot }).ok ? 'ok' : 'not ok';
  } catch (error) {
    assert.equal(error.constructor, Error, error.message);
    return error.message;
  }
}

/** Rows of [what, bytes of the file, expected]; "ok" or the message behind the common prefix. */
function refuse(prefix, rows) {
  for (const [what, bytes, expected] of rows) {
    assert.equal(verdict(writeFile(bytes)), expected === 'ok' ? 'ok' : `${prefix}${expected}`, what);
  }
}

const document = (type, changed = {}) => ({ type, encoding: 1, name: `doc-${type}`, data: 'x', ...changed });
const documents = [indexDocument({ scene: [sceneRow('火锅', 'food', 'category')] }), document(1)];
const good = buildPayload(documents);
const goodPack = () => packBytes({ payload: good });

test('the summary: properties, order, values', () => {
  const index = indexDocument({ facet: [['a'], ['b', 'x']], scene: [sceneRow('火锅', 'food', 'category')], human: [] });
  const list = [document(9), document(1), index, document(1, { name: 'semantic-index' }), document(6), document(2)];
  for (const keyId of ['test-v1', 'release-v1']) {
    const metadata = { keyId, kind: 'patch', ruleSetId: 'R-2.b_', baseRuleSetId: 'r'.repeat(96) };
    const bytes = packBytes({ documents: list, metadata });
    const result = inspectRulePack({ packPath: writeFile(bytes), allowedRoot: root });
    const expected = {
      ok: true, schema: 'corvenda.semantic-rule-pack.v1', kind: 'patch', ruleSetId: 'R-2.b_', baseRuleSetId: 'r'.repeat(96),
      payloadSha256: sha256Hex(buildPayload(list)), documentCount: 6, packBytes: bytes.length,
      documentCounts: { 'human-language': 1, 'location-shard': 1, 'scene-lexicon': 2, 'semantic-facet-lexicon': 1, 'semantic-index': 1 },
      binaryIndex: {
        version: 3, sectionCount: 5, sourceDocumentCount: 1, bytes: index.data.length,
        sectionCounts: { celebrity: 0, facet: 2, human: 0, location: 0, scene: 1 },
      },
    };
    assert.equal(JSON.stringify(result), JSON.stringify(expected), 'order included');
  }
});

test('packs without an index, with two, with 512 documents', () => {
  const none = inspectRulePack(writePack({ documents: [document(3)] }));
  assert.deepEqual(none.binaryIndex, { version: 0, sectionCount: 0, sourceDocumentCount: 0, bytes: 0, sectionCounts: {} });
  assert.deepEqual(none.documentCounts, { 'star-manifest': 1 });

  const second = { ...indexDocument(), data: buildBinaryIndex({ sections: [{ type: 'scene', rows: [{ term: 'b' }] }], sourceDocumentCount: 7 }) };
  const two = writePack({ documents: [indexDocument({ scene: [sceneRow('火锅', 'food', 'category'), sceneRow('面', 'food', 'category')] }), second] });
  const { binaryIndex, documentCounts } = inspectRulePack(two);
  assert.deepEqual(documentCounts, { 'semantic-index': 2 });
  assert.deepEqual([binaryIndex.sourceDocumentCount, binaryIndex.sectionCounts.scene, binaryIndex.bytes], [7, 1, second.data.length]);
  assert.equal(addon.resolveSceneIntent({ ...two, raw: '火锅' }).sceneKey, 'food', 'the rows of both are kept');

  const types = ['scene-lexicon', 'human-language', 'star-manifest', 'star-shard', 'location-meta', 'location-shard',
    'bundled-patch', 'semantic-index', 'semantic-facet-lexicon'];
  const many = Array.from({ length: 512 }, (_, i) => (i % 9 === 7 ? indexDocument() : document((i % 9) + 1)));
  const { documentCount, documentCounts: counts } = inspectRulePack(writePack({ documents: many }));
  assert.equal(documentCount, 512);
  assert.deepEqual(counts, Object.fromEntries(types.map((type, i) => [type, 56 + (i < 8 ? 1 : 0)])));
  assert.deepEqual(Object.keys(counts), [...types].sort());
});

describe('paths', () => {
  const bytes = goodPack();
  const at = (name) => writeFile(bytes, name);
  const OUTSIDE = 'semantic rule-pack path is outside the approved root';
  const EXTENSION = 'semantic rule-pack extension is invalid';
  const STAT = 'semantic rule-pack file stat is invalid';
  const CANONICAL = 'semantic rule-pack path cannot be canonicalized';
  const LENGTH = 'semantic rule-pack path is invalid';

  test('confinement', () => {
    const packs = join(root, 'packs');
    const inside = at('packs/a.klrx');
    const old = at('packs-old/a.klrx');
    const upper = at('UPPER/a.klrx');
    const accented = at('packs/é/a.klrx');
    const accentedFile = at('packs/火.klrx');
    const backslash = at('packs\\a.klrx');
    symlinkSync(old, join(packs, 'out.klrx'));
    symlinkSync(inside, join(root, 'in.klrx'));
    symlinkSync(packs, join(root, 'link'));
    symlinkSync(join(root, 'loop'), join(root, 'loop'));
    const rows = [
      ['below the root', inside, packs, 'ok'],
      ['a deeper root', inside, root, 'ok'],
      ['dots resolved', `${packs}/../packs/./a.klrx`, packs, 'ok'],
      ['dots that lead out', `${packs}/../packs-old/a.klrx`, packs, OUTSIDE],
      ['a root with a name that the path continues', old, packs, OUTSIDE],
      ['the file itself as root', inside, inside, OUTSIDE],
      ['a root that is longer', inside, `${packs}/a.klrx/b`, OUTSIDE],
      ['a separator behind a root that exists is resolved away', inside, `${packs}/`, 'ok'],
      ['a separator behind one that does not stays, and nothing is inside', upper, join(root, 'upper/'), OUTSIDE],
      ['the root of the file system has nothing inside', inside, '/', OUTSIDE],
      ['without regard to case', upper, join(root, 'upper'), 'ok'],
      ['a directory outside ASCII', accented, packs, OUTSIDE],
      ['a file outside ASCII', accentedFile, packs, OUTSIDE],
      ['a root outside ASCII', accented, dirname(accented), OUTSIDE],
      ['a backslash directly behind the root', backslash, packs, 'ok'],
      ['a link that leads out', join(packs, 'out.klrx'), packs, OUTSIDE],
      ['a link that leads in', join(root, 'in.klrx'), packs, 'ok'],
      ['a linked root', inside, join(root, 'link'), 'ok'],
      ['a link to itself', join(root, 'loop', 'a.klrx'), root, CANONICAL],
      ['a blank for both', ' ', ' ', OUTSIDE],
      ['4096 bytes', 'a'.repeat(4096), root, CANONICAL],
      ['4097 bytes', 'a'.repeat(4097), root, LENGTH],
      ['1366 characters of three bytes', '火'.repeat(1366), root, LENGTH],
      ['a root of 4096 bytes', inside, 'a'.repeat(4096), CANONICAL],
      ['a root of 4097 bytes', inside, 'a'.repeat(4097), LENGTH],
      ['the path comes first', 'a'.repeat(4097), 'a'.repeat(4096), LENGTH],
      ['relative, of which nothing exists', 'nowhere-at-all/a.klrx', 'nowhere-at-all', STAT],
      ['relative, existing', relative(process.cwd(), inside), relative(process.cwd(), packs), 'ok'],
    ];
    for (const [what, path, allowedRoot, expected] of rows) assert.equal(verdict(path, allowedRoot), expected, what);
  });

  test('extension and kind of file', () => {
    mkdirSync(join(root, 'd.klrx'));
    execFileSync('mkfifo', [join(root, 'fifo.klrx')]);
    symlinkSync(join(root, 'gone'), join(root, 'dangling.klrx'));
    symlinkSync(at('plain.bin'), join(root, 'named.klrx'));
    const rows = [
      ['a.KLRX', at('b.KLRX'), EXTENSION],
      ['a.klrx.bak', at('b.klrx.bak'), EXTENSION],
      ['no extension', at('klrx'), EXTENSION],
      ['the extension alone', at('.klrx'), EXTENSION],
      ['of the canonical path, not of the link', join(root, 'named.klrx'), EXTENSION],
      ['a wrong extension that does not exist', join(root, 'gone.txt'), EXTENSION],
      ['a missing file', join(root, 'gone.klrx'), STAT],
      ['below a file', join(at('c.klrx'), 'd.klrx'), STAT],
      ['a dangling link', join(root, 'dangling.klrx'), STAT],
      ['a directory', join(root, 'd.klrx'), STAT],
      ['a pipe', join(root, 'fifo.klrx'), STAT],
    ];
    for (const [what, path, expected] of rows) assert.equal(verdict(path), expected, what);
  });

  test('size limits of the file', () => {
    const file = writeFile('KLRY');
    for (const [size, expected] of [[39, STAT], [40, 'semantic rule-pack magic is invalid'], [134217728, 'semantic rule-pack magic is invalid'], [134217729, STAT]]) {
      truncateSync(file, size);
      assert.equal(verdict(file), expected, String(size));
    }
  });

  test('a file that may not be opened', () => {
    const file = at('closed.klrx');
    chmodSync(root, 0o755);
    chmodSync(file, 0);
    // The superuser may read everything, so a child that has become nobody asks.
    const script = `const { inspectRulePack } = require(${JSON.stringify(binary)});
      if (process.getuid() === 0) process.setuid(65534);
      try { inspectRulePack(${JSON.stringify({ packPath: file, allowedRoot: root })}) } catch (error) { console.log(error.message) }`;
    assert.equal(execFileSync(process.execPath, ['-e', script], { encoding: 'utf8' }).trim(), 'semantic rule-pack file cannot be opened');
  });
});

test('fixed header', () => {
  const length = goodPack().readUInt32LE(20);
  const metadataLength = goodPack().readUInt16LE(6);
  const patched = (patch) => {
    const bytes = goodPack();
    return patch(bytes) ?? bytes;
  };
  refuse('semantic rule-pack ', [
    ['unchanged', goodPack(), 'ok'],
    ['magic', patched((b) => void b.write('KLRx')), 'magic is invalid'],
    ['version 0', patched((b) => void b.writeUInt16LE(0, 4)), 'fixed header is invalid'],
    ['version 2', patched((b) => void b.writeUInt16LE(2, 4)), 'fixed header is invalid'],
    ['version 257', patched((b) => void b.writeUInt16LE(257, 4)), 'fixed header is invalid'],
    ['no metadata', patched((b) => void b.writeUInt16LE(0, 6)), 'fixed header is invalid'],
    ['no metadata comes before no ciphertext', patched((b) => void b.fill(0, 6)), 'fixed header is invalid'],
    ['no ciphertext', patched((b) => void b.writeUInt32LE(0, 20)), 'length fields are invalid'],
    ['no ciphertext, and the length fits', patched((b) => { b.writeUInt32LE(0, 20); return b.subarray(0, 24 + metadataLength + 16); }), 'length fields are invalid'],
    ['ciphertext one longer', patched((b) => void b.writeUInt32LE(length + 1, 20)), 'length fields are invalid'],
    ['ciphertext one shorter', patched((b) => void b.writeUInt32LE(length - 1, 20)), 'length fields are invalid'],
    ['a length that would wrap 32 bits', patched((b) => void b.writeUInt32LE(0xffffffff, 20)), 'length fields are invalid'],
    ['metadata beyond the file', patched((b) => void b.writeUInt16LE(0xffff, 6)), 'length fields are invalid'],
    ['a byte behind the tag', patched((b) => Buffer.concat([b, Buffer.alloc(1)])), 'length fields are invalid'],
    ['a byte missing', patched((b) => b.subarray(0, -1)), 'length fields are invalid'],
  ]);
});

test('metadata', () => {
  const fields = (changed) => packBytes({ payload: good, metadata: changed });
  const text = (change) => packBytes({ payload: good, metadataText: change(buildMetadata(metadataFields(good))) });
  const INVALID = 'metadata is invalid';
  const ids = ['ruleSetId', 'baseRuleSetId'];
  refuse('semantic rule-pack ', [
    ...['schema', 'kind', 'keyId', ...ids, 'payloadSha256', 'version'].flatMap((key) => [
      [`no ${key}`, fields({ [key]: undefined }), INVALID],
      [`a blank behind the colon of ${key}`, text((t) => t.replace(`"${key}":`, `"${key}": `)), INVALID],
      [`a blank before the colon of ${key}`, text((t) => t.replace(`"${key}":`, `"${key}" :`)), INVALID],
    ]),
    ...ids.flatMap((key) => [
      [`${key} empty`, fields({ [key]: '' }), INVALID],
      [`${key} of 96 bytes`, fields({ [key]: '-'.repeat(96) }), 'ok'],
      [`${key} of 97 bytes`, fields({ [key]: 'a'.repeat(97) }), INVALID],
      [`${key} of all bytes that are safe`, fields({ [key]: 'azAZ09-._' }), 'ok'],
      ...[' ', '/', ':', '@', '[', '`', '{', 'é', ','].map((byte) => [`${key} with ${byte}`, fields({ [key]: `a${byte}` }), INVALID]),
      [`${key} with an escape`, text((t) => t.replace(`"${key}":"rules`, `"${key}":"\\u0072ules`)), INVALID],
      [`${key} with a control byte`, text((t) => t.replace(`"${key}":"`, `"${key}":"\t`)), INVALID],
    ]),
    ['schema v2', fields({ schema: 'corvenda.semantic-rule-pack.v2' }), INVALID],
    ['kind of another case', fields({ kind: 'Base' }), INVALID],
    ['kind overlay', fields({ kind: 'overlay' }), INVALID],
    ['an unknown key', fields({ keyId: 'test-v2' }), INVALID],
    ['digest of 63 digits', fields({ payloadSha256: 'a'.repeat(63) }), INVALID],
    ['digest of 65 digits', fields({ payloadSha256: 'a'.repeat(65) }), INVALID],
    ['version 0', fields({ version: 0 }), INVALID],
    ['version 2', fields({ version: 2 }), INVALID],
    ['version in quotes', fields({ version: '1' }), INVALID],
    ['version -1', fields({ version: -1 }), INVALID],
    ['a version that wraps to 1 in 64 bits', text((t) => t.replace('"version":1', '"version":18446744073709551617')), INVALID],
    ['a version that wraps to 1 in 32 bits', text((t) => t.replace('"version":1', '"version":4294967297')), INVALID],
    ['version 1.5 reads as 1', fields({ version: 1.5 }), 'ok'],
    ['version 0001 reads as 1', text((t) => t.replace('"version":1', '"version":0001')), 'ok'],
    ['a first version in quotes, a good one behind', text((t) => `{"version":"1",${t.slice(1)}`), INVALID],
    ['the first match decides', text((t) => `{"version":2,${t.slice(1)}`), INVALID],
    ['a match inside another value', text((t) => `{"note":"\\"kind\\":","kind":"base",${t.slice(1)}`), 'ok'],
    ['the text ends inside a value', text((t) => t.replace('"version":1,', '').replace(/"}$/, '","version":1,"end":"')), 'ok'],
    ['no JSON at all, but every field', text((t) => t.replace(/[{}]/g, ' ')), 'ok'],
    ['nothing but a blank', text(() => ' '), INVALID],
    ['65535 bytes', text((t) => t.padEnd(65535)), 'ok'],
    ['compression absent', fields({}), 'ok'],
    ['compression empty', fields({ compression: '' }), 'ok'],
    ['compression with a blank is not seen', text((t) => t.replace('{', '{"compression": "zip",')), 'ok'],
    ['compression as a number is not seen', fields({ compression: 1 }), 'ok'],
    ['compression with an escape is not read', text((t) => t.replace('{', '{"compression":"z\\u0069p",')), 'ok'],
    ['compression zip', fields({ compression: 'zip' }), 'compression is unsupported'],
    ['compression of another case', fields({ compression: 'LZ4-block-v1' }), 'compression is unsupported'],
    ['invalid metadata come before the compression', fields({ compression: 'zip', version: 2 }), INVALID],
  ]);
});

test('seal and digest', () => {
  const SEAL = 'authentication or decryption failed';
  const flipped = (at) => {
    const bytes = goodPack();
    bytes[at < 0 ? bytes.length + at : at] ^= 1;
    return bytes;
  };
  const at = goodPack().indexOf('rules-1');
  refuse('semantic rule-pack ', [
    ['nonce', flipped(8), SEAL],
    ['metadata, still valid', flipped(at), SEAL],
    ['ciphertext', flipped(-17), SEAL],
    ['tag, first byte', flipped(-16), SEAL],
    ['tag, last byte', flipped(-1), SEAL],
    ['the key of another id', packBytes({ payload: good, keyId: 'release-v1' }), SEAL],
    ['an unsupported compression comes before the seal', (() => {
      const bytes = packBytes({ payload: good, metadata: { compression: 'zip' } });
      bytes[bytes.length - 1] ^= 1;
      return bytes;
    })(), 'compression is unsupported'],
    ['a digest of other bytes', packBytes({ payload: good, metadata: { payloadSha256: '0'.repeat(64) } }), 'payload digest is invalid'],
    ['a digest in upper case', packBytes({ payload: good, metadata: { payloadSha256: sha256Hex(good).toUpperCase() } }), 'payload digest is invalid'],
    ['a digest that is no hexadecimal', packBytes({ payload: good, metadata: { payloadSha256: 'z'.repeat(64) } }), 'payload digest is invalid'],
    ['a wrong digest comes before a wrong payload', packBytes({ payload: good, stored: 'SRP2' }), 'payload digest is invalid'],
  ]);
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
    packBytes({ payload: buildPayload(list('hash')), metadata: { payloadSha256: '0'.repeat(64) } }),
    packBytes({ documents: list('fail', { sha256: Buffer.alloc(32) }) }),
  ];
  const texts = ['load', 'lz4_', 'hash', 'fail', 'kept'].map((name) => [name.charCodeAt(0), text(name).slice(1)]);
  const input = JSON.stringify({ binary, root, paths: packs.map((bytes) => writeFile(bytes)), texts });
  const script = fileURLToPath(new URL('support/own_memory.cjs', import.meta.url));
  assert.equal(execFileSync(process.execPath, [script], { input, encoding: 'utf8' }).trim(), 'gone gone gone gone found');
});

test('payload', () => {
  const payload = (list, options) => packBytes({ payload: buildPayload(list, options) });
  const one = (changed) => payload([document(1, changed)]);
  const bad = Buffer.from('SIX2');
  const DESCRIPTOR = 'document descriptor is invalid';
  refuse('semantic rule-pack ', [
    ['7 bytes', packBytes({ payload: Buffer.from('SRP1\x01\0\x01') }), 'payload magic is invalid'],
    ['magic', packBytes({ payload: Buffer.from('SRP2\x01\0\x01\0') }), 'payload magic is invalid'],
    ['version 2', payload([document(1)], { payloadVersion: 2 }), 'payload header is invalid'],
    ['no documents', payload([]), 'payload header is invalid'],
    ['513 documents', payload([], { documentCount: 513 }), 'payload header is invalid'],
    ['one document too many', payload([document(1)], { documentCount: 2 }), 'document header is truncated'],
    ['a header of 39 bytes', packBytes({ payload: buildPayload([document(1)]).subarray(0, 47) }), 'document header is truncated'],
    ['type 0', payload([document(0)]), DESCRIPTOR],
    ['type 10', payload([document(10)]), DESCRIPTOR],
    ['encoding 0', one({ encoding: 0 }), DESCRIPTOR],
    ['encoding 3', one({ encoding: 3 }), DESCRIPTOR],
    ['no name', one({ name: '' }), DESCRIPTOR],
    ['a name of 128 bytes', one({ name: 'n'.repeat(128) }), 'ok'],
    ['a name of 129 bytes', one({ name: 'n'.repeat(129) }), DESCRIPTOR],
    ['no data', one({ data: '' }), DESCRIPTOR],
    ['data one longer', one({ dataLength: 2 }), 'document bounds are invalid'],
    ['a data length that wraps', one({ dataLength: 0xffffffff }), 'document bounds are invalid'],
    ['bounds come before the name', one({ name: 'a b', dataLength: 2 }), 'document bounds are invalid'],
    ['a name with a blank', one({ name: 'a b' }), 'document name is invalid'],
    ['a name outside ASCII', one({ name: 'é' }), 'document name is invalid'],
    ['the name comes before the digest', one({ name: 'a/b', sha256: Buffer.alloc(32) }), 'document name is invalid'],
    ['digest', one({ sha256: Buffer.alloc(32) }), 'document digest is invalid'],
    ['the digest of an index that is sound', payload([{ ...indexDocument(), sha256: Buffer.alloc(32) }]), 'document digest is invalid'],
    ['a byte behind the last document', packBytes({ payload: Buffer.concat([good, Buffer.alloc(1)]) }), 'payload has trailing bytes'],
    ['one document too few', payload([document(1), document(2)], { documentCount: 1 }), 'payload has trailing bytes'],
    ['a shard with encoding 1 is not parsed', payload([document(6)]), 'ok'],
  ]);
  // Without any message: an index by type that is none by encoding or name, also with a wrong digest or wrong content.
  refuse('', [
    ['encoding 1', payload([{ ...indexDocument(), encoding: 1 }]), ''],
    ['another name', payload([{ ...indexDocument(), name: 'semantic-binary-index-v2' }]), ''],
    ['before the digest', payload([{ ...indexDocument(), encoding: 1, sha256: Buffer.alloc(32) }]), ''],
    ['before the content', payload([{ ...indexDocument(), name: 'x', data: bad }]), ''],
    ['a malformed index comes before its digest', payload([{ ...indexDocument(), data: bad, sha256: Buffer.alloc(32) }]), 'semantic binary index magic is invalid'],
  ]);
});

test('binary index', () => {
  const index = (options) => packBytes({ documents: [{ ...indexDocument(), data: buildBinaryIndex(options) }] });
  const raw = (data) => packBytes({ documents: [{ ...indexDocument(), data }] });
  const scene = (changed) => index({ sections: [{ type: 'scene', rows: [{ term: 'ab', fields: ['x'] }], ...changed }] });
  const body = (...bytes) => {
    const made = buildBinaryIndex();
    const section = Buffer.concat([made.subarray(16, 32), Buffer.from(bytes)]);
    section.writeUInt32LE(1, 4);
    section.writeUInt32LE(bytes.length, 8);
    return raw(Buffer.concat([made.subarray(0, 16), section, made.subarray(32)]));
  };
  refuse('semantic binary index ', [
    ['15 bytes', raw(buildBinaryIndex().subarray(0, 15)), 'magic is invalid'],
    ['magic', raw(Buffer.from('SIX2'.padEnd(16, '\0'))), 'magic is invalid'],
    ['version 2', index({ version: 2 }), 'header is invalid'],
    ['four sections', index({ sectionCount: 4 }), 'header is invalid'],
    ['six sections declared', index({ sectionCount: 6 }), 'header is invalid'],
    ['no source documents', index({ sourceDocumentCount: 0 }), 'header is invalid'],
    ['no sections', index({ addMissing: false }), 'section header is truncated'],
    ['a section header of 15 bytes', raw(buildBinaryIndex().subarray(0, -1)), 'section header is truncated'],
    ['format 2', scene({ sectionFormat: 2 }), 'section header is invalid'],
    ['a body beyond the document', scene({ bodyLength: 1000 }), 'section header is invalid'],
    ['a body length that wraps', scene({ bodyLength: 0xffffffff }), 'section header is invalid'],
    ['the format comes before the type', index({ sections: [{ type: 6, sectionFormat: 0 }], addMissing: false }), 'section header is invalid'],
    ['type 0', index({ sections: [{ type: 0 }], addMissing: false }), 'section type is invalid'],
    ['type 6', index({ sections: [{ type: 6 }], addMissing: false }), 'section type is invalid'],
    ['a type twice, raised before its terms', index({ sections: [{ type: 1 }, { type: 1, rows: [{ term: '' }] }], addMissing: false }), 'section type is invalid'],
    ['one term too many', scene({ termCount: 2 }), 'term is invalid'],
    ['as many terms as 32 bits hold', scene({ termCount: 0xffffffff }), 'term is invalid'],
    ['an empty term', body(0, 0, 0, 0), 'term is invalid'],
    ['half a term length', body(1), 'term is invalid'],
    ['a term one byte longer than the body', body(3, 0, 97, 98), 'term is invalid'],
    ['no field count', body(1, 0, 97), 'field header is invalid'],
    ['half a field count', body(1, 0, 97, 0), 'field header is invalid'],
    ['no field where one is declared', body(1, 0, 97, 1, 0), 'field is invalid'],
    ['half a field length', body(1, 0, 97, 1, 0, 0), 'field is invalid'],
    ['a field one byte longer than the body', body(1, 0, 97, 1, 0, 2, 0, 98), 'field is invalid'],
    ['65535 fields declared', body(1, 0, 97, 0xff, 0xff, 0, 0), 'field is invalid'],
    ['no fields', body(1, 0, 97, 0, 0), 'ok'],
    ['an empty field', body(1, 0, 97, 1, 0, 0, 0), 'ok'],
    ['a byte behind the last term', body(1, 0, 97, 0, 0, 0), 'section has trailing bytes'],
    ['no terms, but a body', scene({ termCount: 0 }), 'section has trailing bytes'],
    ['a sixth section', index({ sections: ['scene', 'human', 'celebrity', 'location', 'facet', 'scene'].map((type) => ({ type })) }), 'has trailing bytes'],
    ['sections in reverse', index({ sections: [5, 4, 3, 2, 1].map((type) => ({ type })) }), 'ok'],
  ]);
});

describe('cache', () => {
  const bytes = (ruleSetId) => packBytes({ metadata: { ruleSetId }, payload: good });
  const a = writeFile(bytes('aaaa'));
  const b = writeFile(bytes('bbbb'));
  const id = (packPath, allowedRoot = root) => inspectRulePack({ packPath, allowedRoot }).ruleSetId;
  const MAGIC = 'semantic rule-pack magic is invalid';

  test('the same size and time: what was loaded is served, nothing is read', () => {
    writeAt(a, bytes('aaaa'));
    const before = inspectRulePack({ packPath: a, allowedRoot: root });
    writeAt(a, bytes('cccc'));
    assert.deepEqual(inspectRulePack({ packPath: a, allowedRoot: root }), before);
    writeAt(a, Buffer.alloc(bytes('aaaa').length));
    assert.equal(id(a), 'aaaa');
    assert.equal(id(join(dirname(a), '.', 'x', '..', basename(a)), dirname(root)), 'aaaa', 'the key is the canonical path');
    assert.equal(addon.resolveSceneIntent({ packPath: a, allowedRoot: root, raw: '火锅' }).sceneKey, 'food');
  });

  test('a failure leaves the slot as it was, under its old key', () => {
    assert.equal(verdict(writeFile(Buffer.alloc(64))), MAGIC, 'another file');
    assert.equal(verdict(join(root, 'gone.klrx')), 'semantic rule-pack file stat is invalid');
    assert.equal(id(a), 'aaaa');
    utimesSync(a, 1_000_000_001, 1_000_000_001);
    for (let i = 0; i < 2; ++i) assert.equal(verdict(a), MAGIC, 'a new time: read again, each time');
    utimesSync(a, 1_000_000_000, 1_000_000_000);
    assert.equal(id(a), 'aaaa', 'the old time is back');
    const tampered = bytes('dddd');
    tampered[tampered.length - 1] ^= 1;
    for (const fault of [tampered, packBytes({ payload: Buffer.concat([good, Buffer.alloc(1)]) })]) {
      assert.notEqual(verdict(writeFile(fault)), 'ok');
      assert.equal(id(a), 'aaaa');
    }
  });

  test('a new time or a new size is read; another file replaces the slot', () => {
    writeAt(a, bytes('eeee'), 1_000_000_002);
    assert.equal(id(a), 'eeee');
    writeAt(a, bytes('fffff'), 1_000_000_002);
    assert.equal(id(a), 'fffff');
    assert.equal(id(b), 'bbbb');
    writeAt(a, Buffer.alloc(bytes('fffff').length), 1_000_000_002);
    assert.equal(verdict(a), MAGIC);
    assert.equal(id(b), 'bbbb');
  });

  test('it outlives the environment that loaded the module', () => {
    writeAt(a, bytes('aaaa'));
    const worker = `const { inspectRulePack } = require(${JSON.stringify(binary)});
      const options = ${JSON.stringify({ packPath: a, allowedRoot: root })};
      const { parentPort } = require('node:worker_threads');
      parentPort.postMessage(inspectRulePack(options).ruleSetId);`;
    const script = `const { Worker } = require('node:worker_threads');
      const { utimesSync, writeFileSync } = require('node:fs');
      (async () => {
        for (let i = 0; i < 3; ++i) {
          console.log(await new Promise((done, failed) => new Worker(${JSON.stringify(worker)}, { eval: true }).on('message', (id) => { global.id = id; }).on('error', failed).on('exit', () => done(global.id))));
          writeFileSync(${JSON.stringify(a)}, Buffer.alloc(${bytes('aaaa').length}));
          utimesSync(${JSON.stringify(a)}, 1_000_000_000, 1_000_000_000);
        }
      })();`;
    assert.equal(execFileSync(process.execPath, ['-e', script], { encoding: 'utf8' }), 'aaaa\n'.repeat(3));
  });
});
