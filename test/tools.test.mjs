// The builders of tools/index.mjs against literal bytes: every other test takes its packs from them.
import assert from 'node:assert/strict';
import { createDecipheriv, createHash, createPublicKey, generateKeyPairSync, randomBytes, verify } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import test from 'node:test';
import * as tools from '../tools/index.mjs';

const trust = JSON.parse(readFileSync(new URL('../trust/development.json', import.meta.url), 'utf8'));
const sha256 = (bytes) => createHash('sha256').update(bytes).digest('hex');
/** Compares with hexadecimal digits and 'text' in quotes. */
const assertBytes = (actual, ...parts) =>
  assert.equal(actual.toString('hex'),
    parts.join(' ').replace(/'([^']*)'| /g, (_, text = '') => Buffer.from(text).toString('hex')));

test('text: the term fold, and numbers as printf gives them by %f', () => {
  // 127 is above 32 and stays, and there is no fold beyond ASCII.
  assert.equal(tools.compactTerm(' Ab\tC\n\x00\x1f!\x7f街 É Ａ\u3000K\u0130\u00a0'),
    'abc!\x7f街ÉＡ\u3000k\u0130\u00a0');
  for (const [value, expected] of [
    [1 / 128, '0.007812'], [3 / 128, '0.023438'], [-5 / 128, '-0.039062'], // exact ties: to even, where toFixed goes up
    [3, '3.000000'], [0.1, '0.100000'], [-0, '-0.000000'], [-1e-9, '-0.000000'], [0.9999995, '1.000000'],
    [5e-324, '0.000000'],
    [1e21, '1000000000000000000000.000000'], [Math.fround(3.4e38), '339999995214436424907732413799364296704.000000'],
    [Infinity, 'inf'], [-Infinity, '-inf'], [NaN, 'nan'],
  ]) assert.equal(tools.formatFixed(value), expected);
});

test('index, shard and payload: literal bytes, missing sections, deliberate faults', () => {
  const empty = (type) => `${type} 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00`;
  const facets = [{ term: 'ab', fields: ['x', ''] }, { term: Buffer.from([0xe7]) }];
  const sections = [{ type: 'facet', rows: facets }, { type: 2, sectionFormat: 9 }];
  assertBytes(tools.buildBinaryIndex({ sections, sourceDocumentCount: 0x01020304 }),
    // 11 + 5 bytes of rows
    "'SIX1' 03 00 05 00 04 03 02 01 00 00 00 00 05 00 01 00 02 00 00 00 10 00 00 00 00 00 00 00",
    "02 00 'ab' 02 00 01 00 'x' 00 00 01 00 e7 00 00 02 00 09",
    empty('').slice(6), empty('01'), empty('03'), empty('04'));
  const faulty = [{ type: 1, termCount: 7, bodyLength: 0xffffffff }, { type: 1, rows: [] }];
  const counts = { version: 4, sectionCount: 6, sourceDocumentCount: 0 };
  assertBytes(tools.buildBinaryIndex({ sections: faulty, addMissing: false, ...counts }),
    "'SIX1' 04 00 06 00 00 00 00 00 00 00 00 00 01 00 01 00 07 00 00 00 ff ff ff ff 00 00 00 00", empty('01'));
  // The buffer grows several times.
  const rows = Array.from({ length: 5000 }, (_, i) => ({ term: String(1000 + i), fields: ['中'] }));
  const large = tools.buildBinaryIndex({ sections: [{ type: 1, rows }] });
  assertBytes(large.subarray(32 + 4999 * 13, 32 + 5000 * 13), "04 00 '5999' 01 00 03 00 '中'");
  assert.equal(large.length, 96 + 5000 * 13);

  const places = [
    { alias: '东京', records: [{ code: 'JP-13', weight: 0.5, label: '东京', countryLabel: '日本' }] },
    { alias: 'a', recordCount: 3,
      records: [{ code: '', englishFlag: 2, weight: -1.5 }, { code: 'X', englishFlag: 1, weight: 1e39 }] },
  ];
  assertBytes(tools.buildLocationShard(places), "'LDB1' 01 00 00 00 02 00 00 00",
    "06 00 '东京' 01 00 05 00 'JP-13' 00 00 00 00 3f 06 00 '东京' 06 00 '日本'",
    "01 00 'a' 03 00 00 00 02 00 00 c0 bf 00 00 00 00 01 00 'X' 01 00 00 80 7f 00 00 00 00");
  assertBytes(tools.buildLocationShard([], { version: 2, aliasCount: 0xffffffff }), "'LDB1' 02 00 00 00 ff ff ff ff");

  const fault = { type: 8, name: 'n', data: Buffer.from([0]), sha256: Buffer.alloc(32, 7), dataLength: 0x01020304,
    nameLength: 5 };
  const documents = [{ type: 'location-shard', encoding: 1, name: 'location-cn', data: 'abc' }, fault];
  assertBytes(tools.buildPayload(documents, { payloadVersion: 2, documentCount: 513 }),
    "'SRP1' 02 00 01 02 06 01 0b 00 03 00 00 00",
    // SHA-256 of "abc", from FIPS 180
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad 'location-cn' 'abc'",
    '08 02 05 00 04 03 02 01', '07'.repeat(32), "'n' 00");
  assert.equal(tools.DOCUMENT_TYPES.join(' '),
    'scene-lexicon human-language star-manifest star-shard location-meta location-shard ' +
    'bundled-patch semantic-index semantic-facet-lexicon');
});

test('packs: both keys, exact bytes, a nonce of its own, metadata in a fixed order, compression', () => {
  const { block, values } = trust.packKeys['test-v1'];
  const [first, second] = trust.packKeys['release-v1'].tables.map((table) => BigInt(`0x${table}`));
  const keys = { 'test-v1': block + values.join(''), 'release-v1': (first ^ second).toString(16).padStart(64, '0') };
  // Opens a pack by the offsets of the format, with Node's own cipher and the keys joined here.
  const open = (pack, keyId = 'test-v1') => {
    const middle = 24 + pack.readUInt16LE(6);
    const end = middle + pack.readUInt32LE(20);
    const decipher = createDecipheriv('aes-256-gcm', Buffer.from(keys[keyId], 'hex'), pack.subarray(8, 20));
    decipher.setAAD(pack.subarray(24, middle)).setAuthTag(pack.subarray(end));
    return [pack.toString('utf8', 24, middle),
      Buffer.concat([decipher.update(pack.subarray(middle, end)), decipher.final()])];
  };
  for (const [keyId, metadata, payload] of [['test-v1', ' '.repeat(65535), randomBytes(100_000)],
    ['release-v1', '', Buffer.alloc(0)]]) {
    assert.deepEqual(open(tools.sealPack({ metadata, payload, keyId }), keyId), [metadata, payload]);
  }
  const seal = (more) => tools.sealPack({ metadata: 'm', payload: 'p', keyId: 'test-v1', ...more });
  assertBytes(seal({ nonce: Buffer.alloc(12, 7) }).subarray(0, 25), "'KLRX' 01 00 01 00", '07'.repeat(12),
    "01 00 00 00 'm'");
  assert.notDeepEqual(seal().subarray(8, 20), seal().subarray(8, 20));

  const documents = [{ type: 1, name: 'n', data: 'words '.repeat(1000) }];
  const payload = tools.buildPayload(documents);
  const start = (ids, digest = sha256(payload)) =>
    `{"schema":"corvenda.semantic-rule-pack.v1",${ids},"payloadSha256":"${digest}"`;
  const base = start('"kind":"base","keyId":"test-v1","ruleSetId":"r","baseRuleSetId":"r"');
  const patch = start('"kind":"patch","keyId":"test-v1","ruleSetId":"r","baseRuleSetId":"b"');
  const other = start('"kind":"base","keyId":"release-v1","ruleSetId":"r","baseRuleSetId":"r"', 'x');
  for (const [options, expected] of [
    [{ documents: undefined, payload }, `${base},"version":1}`],
    [{ kind: 'patch', baseRuleSetId: 'b' }, `${patch},"version":1}`],
    [{ metadata: { extra: true, payloadSha256: 'x', version: undefined, keyId: 'release-v1' } },
      `${other},"extra":true}`],
    [{ compression: 'lz4-block-v1', metadata: { version: '1' } },
      `${base},"version":"1","compression":"lz4-block-v1"}`],
  ]) {
    const pack = tools.buildPack({ ruleSetId: 'r', documents, ...options });
    const [metadata, stored] = open(pack);
    assert.equal(metadata, expected);
    assert.deepEqual(tools.readPackMetadata(pack), JSON.parse(expected));
    assertBytes(stored, (options.compression ? tools.compressLz4Block(payload) : payload).toString('hex'));
    for (const bytes of ['', 'KLRY'.padEnd(60), pack.subarray(1), pack.subarray(0, -1)]) {
      assert.throws(() => tools.readPackMetadata(Buffer.from(bytes)), { message: 'the file is not a rule pack' });
    }
  }
  // One bare block: the decoder wants the length in front. A view must not drag its whole memory along.
  for (const input of [payload, randomBytes(70_000), Buffer.alloc(9),
    new Uint8Array(Buffer.from('xxbyyy')).subarray(2, 3)]) {
    const block = Buffer.concat([new Uint8Array(Uint32Array.of(input.length).buffer), tools.compressLz4Block(input)]);
    assert.deepEqual(createRequire(import.meta.url)('lz4-napi').uncompressSync(block), Buffer.from(input));
  }
  assert.ok(tools.compressLz4Block(payload).length < 200, 'repeated words shrink');
});

test('what the formats cannot hold is refused', () => {
  const long = 'x'.repeat(65536);
  const index = (...rows) => tools.buildBinaryIndex({ sections: [{ type: 1, rows }] });
  const seal = (more) => tools.sealPack({ metadata: 'm', payload: 'p', keyId: 'test-v1', ...more });
  const ofBytes = (what, value, size) => `${what} is ${value}; its ${size} bytes hold 0 to ${2 ** (8 * size) - 1}`;
  for (const [make, message, name = 'RangeError'] of [
    [() => index({ term: long }), ofBytes('the length of a term', 65536, 2)],
    [() => index({ term: 'a', fields: [`${long.slice(2)}中`] }), ofBytes('the length of a field', 65537, 2)],
    [() => index({ term: 'a', fields: Array(65536).fill('') }), ofBytes('the field count of a term', 65536, 2)],
    [() => tools.buildBinaryIndex({ sections: [{ type: 'x' }] }),
      'section "x" is none of scene, human, celebrity, location, facet'],
    [() => tools.buildBinaryIndex({ sourceDocumentCount: 2 ** 32 }), ofBytes('source document count', 2 ** 32, 4)],
    [() => tools.buildLocationShard([{ alias: long, records: [] }]), ofBytes('the length of an alias', 65536, 2)],
    [() => tools.buildLocationShard([{ alias: 'a', records: [{ code: 'c', englishFlag: 256 }] }]),
      ofBytes('English flag', 256, 1)],
    [() => tools.buildPayload([{ type: 1, name: long, data: 'd' }]),
      ofBytes('the length of a document name', 65536, 2)],
    [() => seal({ metadata: long }), ofBytes('the length of the metadata', 65536, 2)],
    [() => seal({ metadata: 5 }), 'metadata must be a string or bytes', 'TypeError'],
    [() => seal({ nonce: Buffer.alloc(11) }), 'the nonce is 11 bytes long, not 12'],
    [() => seal({ keyId: 'toString' }), 'key id "toString" is not in the trust file'],
    [() => tools.buildPack({ ruleSetId: 'r', documents: [], compression: 'zip' }), 'compression zip is unknown'],
    [() => tools.buildPack({ documents: [] }), 'ruleSetId is missing', 'TypeError'],
    [() => tools.buildPack({ kind: 'patch', ruleSetId: 'r' }), 'baseRuleSetId is missing, and the pack is a patch',
      'TypeError'],
    [() => tools.buildManifest({ packBytes: seal(), pack: 'p', modules: [['a'], 'b'] }),
      'modules must be an array without a "]" inside'],
    [() => tools.buildManifest({ packBytes: 'p', pack: 'p', modules: '["signature":1]' }),
      `modules hide the manifest's own "signature" from readers`],
    [() => tools.buildManifest({ packBytes: seal() }), 'packPath, or packBytes and pack, are missing', 'TypeError'],
    [() => tools.readPackMetadata(seal()), 'the metadata of the pack are no JSON', 'Error'],
  ]) assert.throws(make, { name, message });
});

test('manifest: keys in place, signed over the rebuilt text with the pins of its key', () => {
  const fields = { schema: 's', version: 1, pack: 'a"\\\n\r\tb', packSha256: 'ff', packBytes: 50, keyId: 'k',
    baseRuleSetId: 'b', ruleSetId: 'r', modules: ['x', 1], publicKeySha256: 'h', publicKeyDerBase64: 'd' };
  assert.equal(tools.manifestText(fields),
    '{"baseRuleSetId":"b","keyId":"k","modules":["x",1],"pack":"a\\"\\\\\\n\\r\\tb",' +
    '"packBytes":50,"packSha256":"ff","publicKeyDerBase64":"d","publicKeySha256":"h","ruleSetId":"r","schema":"s",' +
    '"version":1}');
  const packBytes = tools.buildPack({ kind: 'patch', ruleSetId: 'to', baseRuleSetId: 'from', documents: [] });
  const own = generateKeyPairSync('ed25519');
  for (const [options, changed] of [
    [{}, {}],
    [{ modules: '[ ]', ruleSetId: 'other', baseRuleSetId: 'than' },
      { modules: '[ ]', ruleSetId: 'other', baseRuleSetId: 'than' }],
    [{ modules: ['scene', 'facet'], fields: { packBytes: 1, schema: 'x' } },
      { modules: '["scene","facet"]', packBytes: 1, schema: 'x' }],
    [{ signingKey: own.privateKey },
      { publicKeyDerBase64: own.publicKey.export({ format: 'der', type: 'spki' }).toString('base64') }],
  ]) {
    const text = tools.buildManifest({ packBytes, pack: 'd.klrx', ...options });
    const signed = {
      schema: 'corvenda.semantic-delta-manifest.v1', version: 1, pack: 'd.klrx', packSha256: sha256(packBytes),
      packBytes: packBytes.length, keyId: 'corvenda-intl-manifest-ed25519-v1', baseRuleSetId: 'from', ruleSetId: 'to',
      modules: '[]', publicKeySha256: '', publicKeyDerBase64: tools.developmentTrust.publicKeyDerBase64, ...changed,
    };
    const der = Buffer.from(signed.publicKeyDerBase64, 'base64');
    signed.publicKeySha256 = sha256(der);
    const { signature } = JSON.parse(text);
    const members = Object.entries(signed).map(([key, value]) =>
      `"${key}":${key === 'modules' ? value : JSON.stringify(value)}`);
    assert.equal(text, `{${members},"signatureEncoding":"base64","signature":"${signature}"}`);
    const publicKey = createPublicKey({ key: der, format: 'der', type: 'spki' });
    assert.ok(verify(null, Buffer.from(tools.manifestText(signed)), publicKey, Buffer.from(signature, 'base64')));
  }
});
