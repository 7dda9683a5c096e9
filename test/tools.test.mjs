// The builders of tools/index.mjs against literal bytes: every other test takes its packs from them.
import assert from 'node:assert/strict';
import { createDecipheriv, createHash, createPublicKey, generateKeyPairSync, randomBytes, verify } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import test from 'node:test';

import * as tools from '../tools/index.mjs';

const trust = JSON.parse(readFileSync(new URL('../trust/development.json', import.meta.url), 'utf8'));
const sha256 = (bytes) => createHash('sha256').update(bytes).digest();
/** Bytes from hexadecimal digits and 'text' in quotes: "02 00 'ab'". */
const bytesOf = (...parts) =>
  Buffer.concat(
    parts.join(' ').match(/'[^']*'|[0-9a-f]{2}/g).map((part) => (part[0] === "'" ? Buffer.from(part.slice(1, -1)) : Buffer.from(part, 'hex'))),
  );
const assertBytes = (actual, ...parts) => assert.equal(actual.toString('hex'), bytesOf(...parts).toString('hex'));
/** Decodes a bare block with the decoder of the package, which wants the length in front. */
function decompress(block, length) {
  const size = Buffer.alloc(4);
  size.writeUInt32LE(length);
  return createRequire(import.meta.url)('lz4-napi').uncompressSync(Buffer.concat([size, block]));
}
const emptySection = (type) => `${type} 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00`;

test('text: the term fold and numbers as by %f', () => {
  for (const [text, expected] of [
    ['  Ab\tC\n', 'abc'],
    ['Tokyo Tower', 'tokyotower'],
    ['\x00\x1f !\x7f', '!\x7f'], // 127 is above 32 and stays
    ['街头 美食 É Ａ', '街头美食ÉＡ'], // no fold beyond ASCII, and a wide blank (U+3000) would stay too
    ['a\u3000b\u00a0', 'a\u3000b\u00a0'],
    ['K\u0130', 'k\u0130'],
  ]) {
    assert.equal(tools.compactTerm(text), expected, JSON.stringify(text));
  }
  // Expected values from printf. The first three are exact ties in binary: to even, where toFixed goes up.
  for (const [value, expected] of [
    [1 / 128, '0.007812'],
    [3 / 128, '0.023438'],
    [-5 / 128, '-0.039062'],
    [3, '3.000000'],
    [0.1, '0.100000'],
    [-0, '-0.000000'],
    [-1e-9, '-0.000000'],
    [0.9999995, '1.000000'],
    [5e-324, '0.000000'],
    [1e21, '1000000000000000000000.000000'],
    [2 ** 70, '1180591620717411303424.000000'],
    [Math.fround(3.4e38), '339999995214436424907732413799364296704.000000'],
    [Infinity, 'inf'],
    [-Infinity, '-inf'],
    [NaN, 'nan'],
  ]) {
    assert.equal(tools.formatFixed(value), expected);
  }
  assert.equal(tools.formatFixed(Number.MAX_VALUE).length, 309 + 7);
});

test('binary index: literal bytes, missing sections, deliberate faults', () => {
  assertBytes(
    tools.buildBinaryIndex({
      sections: [
        { type: 'facet', rows: [{ term: 'ab', fields: ['x', ''] }, { term: Buffer.from([0xe7]) }] },
        { type: 2, rows: [{ term: '中', fields: ['é'] }] },
      ],
      sourceDocumentCount: 0x01020304,
    }),
    "'SIX1' 03 00 05 00 04 03 02 01 00 00 00 00",
    '05 00 01 00 02 00 00 00 10 00 00 00 00 00 00 00', // facet: two terms in 11 + 5 bytes
    "02 00 'ab' 02 00 01 00 'x' 00 00",
    '01 00 e7 00 00',
    '02 00 01 00 01 00 00 00 0b 00 00 00 00 00 00 00', // human: one term in 11 bytes
    '03 00 e4 b8 ad 01 00 02 00 c3 a9',
    emptySection('01'),
    emptySection('03'),
    emptySection('04'),
  );
  assertBytes(
    tools.buildBinaryIndex({
      sections: [
        { type: 1, termCount: 7, bodyLength: 0xffffffff, sectionFormat: 2 },
        { type: 1, rows: [] },
        { type: 9 },
      ],
      addMissing: false,
      version: 4,
      sectionCount: 6,
      sourceDocumentCount: 0,
    }),
    "'SIX1' 04 00 06 00 00 00 00 00 00 00 00 00",
    '01 00 02 00 07 00 00 00 ff ff ff ff 00 00 00 00',
    emptySection('01'),
    emptySection('09'),
  );
  assert.deepEqual(tools.SECTION_NAMES, ['scene', 'human', 'celebrity', 'location', 'facet']);
  // Many rows, so that the buffer has grown several times: 16 + 5 × 16 + 5000 × (2 + 4 + 2 + 2 + 3)
  const many = Array.from({ length: 5000 }, (_, i) => ({ term: String(1000 + i), fields: ['中'] }));
  const large = tools.buildBinaryIndex({ sections: [{ type: 1, rows: many }] });
  assert.equal(large.length, 96 + 5000 * 13);
  assertBytes(large.subarray(32 + 4999 * 13, 32 + 5000 * 13), "04 00 '5999' 01 00 03 00 '中'");
});

test('location shard: literal bytes, deliberate faults', () => {
  assertBytes(
    tools.buildLocationShard([
      { alias: '东京', records: [{ code: 'JP-13', weight: 0.5, label: '东京', countryLabel: '日本' }] },
      { alias: '', records: [] },
      { alias: 'a', recordCount: 3, records: [{ code: '', englishFlag: 2, weight: -1.5 }, { code: 'X', englishFlag: 1, weight: 1e39 }] },
    ]),
    "'LDB1' 01 00 00 00 03 00 00 00",
    "06 00 '东京' 01 00 05 00 'JP-13' 00 00 00 00 3f 06 00 '东京' 06 00 '日本'",
    '00 00 00 00',
    "01 00 'a' 03 00",
    '00 00 02 00 00 c0 bf 00 00 00 00',
    "01 00 'X' 01 00 00 80 7f 00 00 00 00",
  );
  assertBytes(tools.buildLocationShard(), "'LDB1' 01 00 00 00 00 00 00 00");
  assertBytes(tools.buildLocationShard([], { version: 2, aliasCount: 0xffffffff }), "'LDB1' 02 00 00 00 ff ff ff ff");
});

test('payload: literal bytes, deliberate faults', () => {
  assertBytes(
    tools.buildPayload([
      { type: 'location-shard', encoding: 1, name: 'location-cn', data: 'abc' },
      { type: 8, name: 'n', data: Buffer.from([0]), sha256: Buffer.alloc(32, 7), dataLength: 0x01020304, nameLength: 5 },
    ]),
    "'SRP1' 01 00 02 00",
    '06 01 0b 00 03 00 00 00',
    'ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad', // SHA-256 of "abc", from FIPS 180
    "'location-cn' 'abc'",
    '08 02 05 00 04 03 02 01',
    '07'.repeat(32),
    "'n' 00",
  );
  assertBytes(tools.buildPayload([], { payloadVersion: 2, documentCount: 513 }), "'SRP1' 02 00 01 02");
  const types = 'scene-lexicon human-language star-manifest star-shard location-meta location-shard bundled-patch semantic-index semantic-facet-lexicon';
  assert.deepEqual(tools.DOCUMENT_TYPES, types.split(' '));
});

test('metadata: compact text in a fixed order', () => {
  const fields = { ruleSetId: 'r', kind: 'patch', keyId: 'test-v1', payloadSha256: 'ab', baseRuleSetId: 'b' };
  const start = '{"schema":"corvenda.semantic-rule-pack.v1","kind":"patch","keyId":"test-v1","ruleSetId":"r","baseRuleSetId":"b","payloadSha256":"ab"';
  for (const [more, expected] of [
    [{}, `${start},"version":1}`],
    [{ compression: 'lz4-block-v1' }, `${start},"version":1,"compression":"lz4-block-v1"}`],
    [{ version: '1', extra: true }, `${start},"version":"1","extra":true}`],
    [{ version: undefined, schema: '' }, `${start.replace('corvenda.semantic-rule-pack.v1', '')}}`],
  ]) {
    assert.equal(tools.buildMetadata({ ...fields, ...more }), expected);
  }
});

/** Takes a pack apart by the offsets of the format and opens it with Node's own cipher and a key joined here. */
function openPack(pack, key) {
  const metadataLength = pack.readUInt16LE(6);
  const ciphertextEnd = 24 + metadataLength + pack.readUInt32LE(20);
  assert.equal(pack.length, ciphertextEnd + 16);
  assertBytes(pack.subarray(0, 6), "'KLRX' 01 00");
  const metadata = pack.subarray(24, 24 + metadataLength);
  const decipher = createDecipheriv('aes-256-gcm', key, pack.subarray(8, 20)).setAAD(metadata);
  decipher.setAuthTag(pack.subarray(ciphertextEnd));
  const payload = Buffer.concat([decipher.update(pack.subarray(24 + metadataLength, ciphertextEnd)), decipher.final()]);
  return { metadata: metadata.toString(), payload };
}

test('seal: both keys, exact bytes, a nonce of its own', () => {
  const { block, values } = trust.packKeys['test-v1'];
  const [first, second] = trust.packKeys['release-v1'].tables.map((table) => BigInt(`0x${table}`));
  const keys = {
    'test-v1': Buffer.from(block + values[0] + values[1], 'hex'),
    'release-v1': Buffer.from((first ^ second).toString(16).padStart(64, '0'), 'hex'),
  };
  for (const [keyId, key] of Object.entries(keys)) {
    for (const [metadata, payload] of [['{"keyId":"other"}', 'payload'], ['', ''], [Buffer.alloc(65535, 0x20), Buffer.alloc(100_000, 3)]]) {
      const pack = tools.sealPack({ metadata, payload, keyId });
      const opened = openPack(pack, key);
      assert.equal(opened.metadata, metadata.toString());
      assert.equal(opened.payload.compare(Buffer.from(payload)), 0);
      pack[pack.length - 1] ^= 1;
      assert.throws(() => openPack(pack, key), /authenticate/);
    }
  }
  const nonce = Buffer.from('000102030405060708090a0b', 'hex');
  const recipe = { metadata: 'm', payload: 'p', keyId: 'test-v1' };
  assertBytes(tools.sealPack({ ...recipe, nonce }).subarray(0, 25), "'KLRX' 01 00 01 00 000102030405060708090a0b 01 00 00 00 'm'");
  assert.notDeepEqual(tools.sealPack(recipe).subarray(8, 20), tools.sealPack(recipe).subarray(8, 20));
  // Test case 14 of the GCM submission: a key, a nonce and 16 bytes of zeros, no additional data.
  const zeros = { packKeys: { 'test-v1': { block: '00'.repeat(16), values: ['00'.repeat(8), '00'.repeat(8)] } } };
  assertBytes(
    tools.sealPack({ metadata: '', payload: Buffer.alloc(16), keyId: 'test-v1', nonce: Buffer.alloc(12), trust: zeros }).subarray(24),
    'cea7403d4d606b6e074ec5d3baf39d18 d0d1c8a799996bf0265b98b5d48ab919',
  );
});

test('whole packs: defaults, compression, replaced metadata', () => {
  const key = Buffer.from(trust.packKeys['test-v1'].block + trust.packKeys['test-v1'].values.join(''), 'hex');
  const documents = [{ type: 1, name: 'n', data: 'words '.repeat(1000) }];
  const payload = tools.buildPayload(documents);
  const digest = sha256(payload).toString('hex');
  const base = { schema: 'corvenda.semantic-rule-pack.v1', kind: 'base', keyId: 'test-v1', ruleSetId: 'r', baseRuleSetId: 'r', payloadSha256: digest, version: 1 };
  for (const [options, expected] of [
    [{}, base],
    [{ kind: 'patch', baseRuleSetId: 'b' }, { ...base, kind: 'patch', baseRuleSetId: 'b' }],
    [{ compression: 'lz4-block-v1' }, { ...base, compression: 'lz4-block-v1' }],
    [{ metadata: { keyId: 'release-v1', payloadSha256: 'x', version: undefined } }, { ...base, keyId: 'release-v1', payloadSha256: 'x', version: undefined }],
    [{ documents: undefined, payload }, base],
  ]) {
    const pack = tools.buildPack({ ruleSetId: 'r', documents, ...options });
    const opened = openPack(pack, key);
    assert.deepEqual(JSON.parse(opened.metadata), JSON.parse(JSON.stringify(expected)));
    assert.deepEqual(tools.readPackMetadata(pack), JSON.parse(opened.metadata));
    if (!options.compression) assert.deepEqual(opened.payload, payload);
    else {
      assert.ok(opened.payload.length < 200, 'repeated words shrink');
      assert.deepEqual(decompress(opened.payload, payload.length), payload);
    }
  }
  for (const [name, bytes] of [
    ['empty', ''],
    ['magic', 'KLRY'.padEnd(60)],
    ['cut', tools.buildPack({ ruleSetId: 'r', documents }).subarray(0, -1)],
  ]) {
    assert.throws(() => tools.readPackMetadata(Buffer.from(bytes)), /not a rule pack/, name);
  }
});

test('lz4: one bare block that decodes to the input', () => {
  // Too short for a match: there is one encoding only.
  assertBytes(tools.compressLz4Block(Buffer.alloc(0)), '00');
  assertBytes(tools.compressLz4Block(Buffer.from('a')), "10 'a'");
  for (const input of [Buffer.from('abc'.repeat(10)), randomBytes(70_000), Buffer.alloc(1_000_000, 'title ')]) {
    assert.deepEqual(decompress(tools.compressLz4Block(input), input.length), input);
  }
  const inside = new Uint8Array(Buffer.from('xxbyyy')).subarray(2, 3); // a view must not drag its whole memory along
  assertBytes(tools.compressLz4Block(inside), "10 'b'");
});

test('what the formats cannot hold is a RangeError', () => {
  const long = 'x'.repeat(65536);
  const index = (row) => () => tools.buildBinaryIndex({ sections: [{ type: 1, rows: [row] }] });
  const seal = (changed) => () => tools.sealPack({ metadata: 'm', payload: 'p', keyId: 'test-v1', ...changed });
  for (const [name, make, message] of [
    ['term', index({ term: long }), 'the length of a term is 65536; its 2 bytes hold 0 to 65535'],
    ['field', index({ term: 'a', fields: [`${long.slice(2)}中`] }), 'the length of a field is 65537; its 2 bytes hold 0 to 65535'],
    ['field count', index({ term: 'a', fields: Array(65536).fill('') }), 'the field count of a term is 65536; its 2 bytes hold 0 to 65535'],
    ['section name', () => tools.buildBinaryIndex({ sections: [{ type: 'places' }] }), 'section "places" is none of scene, human, celebrity, location, facet'],
    ['sources', () => tools.buildBinaryIndex({ sourceDocumentCount: 2 ** 32 }), 'source document count is 4294967296; its 4 bytes hold 0 to 4294967295'],
    ['alias', () => tools.buildLocationShard([{ alias: long, records: [] }]), 'the length of an alias is 65536; its 2 bytes hold 0 to 65535'],
    ['flag', () => tools.buildLocationShard([{ alias: 'a', records: [{ code: 'c', englishFlag: 256 }] }]), 'English flag is 256; its 1 bytes hold 0 to 255'],
    ['name', () => tools.buildPayload([{ type: 1, name: long, data: 'd' }]), 'the length of a document name is 65536; its 2 bytes hold 0 to 65535'],
    ['metadata', seal({ metadata: long }), 'the length of the metadata is 65536; its 2 bytes hold 0 to 65535'],
    ['nonce', seal({ nonce: Buffer.alloc(11) }), 'the nonce is 11 bytes long, not 12'],
    ['key id', seal({ keyId: 'toString' }), 'key id "toString" is not in the trust file'],
    ['compression', () => tools.buildPack({ ruleSetId: 'r', documents: [], compression: 'zip' }), 'compression zip is unknown'],
    ['modules', () => tools.buildManifest({ packBytes: Buffer.alloc(0), pack: 'p', modules: [['a'], 'b'] }), 'modules must be an array without a "]" inside'],
  ]) {
    assert.throws(make, { name: 'RangeError', message }, name);
  }
  assert.throws(() => tools.buildPack({ kind: 'patch', ruleSetId: 'r', documents: [] }), { name: 'TypeError' });
  assert.throws(() => tools.buildPack({ documents: [] }), { name: 'TypeError', message: 'ruleSetId is missing' });
});

test('signature: the vectors of RFC 8032, the pins, the signed text', () => {
  // Section 7.1, tests 1 and 2, the secret keys behind the fixed PKCS #8 prefix of RFC 8410.
  for (const [secret, message, signature] of [
    ['9d61b19deffd5a60ba844af492ec2cc44449c5697b326919703bac031cae7f60', '', 'e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e065224901555fb8821590a33bacc61e39701cf9b46bd25bf5f0595bbe24655141438e7a100b'],
    ['4ccd089b28ff96da9db6c346ec114e0f5b8a319f35aba624da8cf6ed4fb8a6fb', 'r', '92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00'],
  ]) {
    const signingKeyPkcs8Base64 = Buffer.from(`302e020100300506032b657004220420${secret}`, 'hex').toString('base64');
    assert.equal(tools.signDetached(message, { trust: { manifest: { signingKeyPkcs8Base64 } } }).toString('hex'), signature);
  }
  const der = Buffer.from(tools.developmentTrust.publicKeyDerBase64, 'base64');
  assertBytes(der.subarray(0, 12), '302a300506032b6570032100');
  assert.equal(der.length, 44);
  assert.equal(sha256(der).toString('hex'), tools.developmentTrust.publicKeySha256);

  const fields = {
    schema: 's', version: 1, pack: 'a"\\\n\r\tb', packSha256: 'ff', packBytes: 50, keyId: 'k', baseRuleSetId: 'b', ruleSetId: 'r', modules: '[ ]', publicKeySha256: 'h', publicKeyDerBase64: 'd',
  };
  const expected =
    '{"baseRuleSetId":"b","keyId":"k","modules":[ ],"pack":"a\\"\\\\\\n\\r\\tb","packBytes":50,"packSha256":"ff","publicKeyDerBase64":"d","publicKeySha256":"h","ruleSetId":"r","schema":"s","version":1}';
  assert.equal(tools.manifestText(fields), expected);
  assert.equal(tools.manifestText({ ...fields, modules: ['x', 1] }), expected.replace('[ ]', '["x",1]'));
});

test('manifest: keys in place, signed over the rebuilt text', () => {
  const packBytes = tools.buildPack({ kind: 'patch', ruleSetId: 'to', baseRuleSetId: 'from', documents: [] });
  const own = generateKeyPairSync('ed25519');
  for (const [options, changed] of [
    [{}, {}],
    [{ modules: '[ ]' }, { modules: '[ ]' }],
    [{ modules: ['scene', 'facet'] }, { modules: '["scene","facet"]' }],
    [{ ruleSetId: 'other', baseRuleSetId: 'than' }, { ruleSetId: 'other', baseRuleSetId: 'than' }],
    [{ fields: { packBytes: 1, schema: 'x' } }, { packBytes: 1, schema: 'x' }],
    [{ signingKey: own.privateKey }, { publicKeyDerBase64: own.publicKey.export({ format: 'der', type: 'spki' }).toString('base64') }],
  ]) {
    const text = tools.buildManifest({ packBytes, pack: 'd.klrx', ...options });
    const manifest = JSON.parse(text);
    const signed = {
      schema: 'corvenda.semantic-delta-manifest.v1', version: 1, pack: 'd.klrx', packSha256: sha256(packBytes).toString('hex'), packBytes: packBytes.length,
      keyId: 'corvenda-intl-manifest-ed25519-v1', baseRuleSetId: 'from', ruleSetId: 'to', modules: '[]', ...trustPins(), ...changed,
    };
    signed.publicKeySha256 = sha256(Buffer.from(signed.publicKeyDerBase64, 'base64')).toString('hex');
    const members = Object.entries(signed).map(([key, value]) => `"${key}":${key === 'modules' ? value : JSON.stringify(value)}`);
    assert.equal(text, `{${members.join(',')},"signatureEncoding":"base64","signature":"${manifest.signature}"}`);
    const publicKey = createPublicKey({ key: Buffer.from(manifest.publicKeyDerBase64, 'base64'), format: 'der', type: 'spki' });
    assert.ok(verify(null, Buffer.from(tools.manifestText(signed)), publicKey, Buffer.from(manifest.signature, 'base64')));
  }
  assert.throws(() => tools.buildManifest({ packBytes }), { name: 'TypeError' });
});

function trustPins() {
  const { publicKeySha256, publicKeyDerBase64 } = trust.manifest;
  return { publicKeySha256, publicKeyDerBase64 };
}
