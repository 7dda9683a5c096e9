// inspectSemanticDelta and verifySemanticDeltaManifest: the expected pack, the pinned key, the signed text, and the order
// in which they are asked.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { generateKeyPairSync } from 'node:crypto';
import { mkdirSync, readFileSync } from 'node:fs';
import { basename, join } from 'node:path';
import { test } from 'node:test';

import { buildManifest, developmentTrust, manifestText, signDetached } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { assertRequiredOptions, assertSame, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { indexDocument, packBytes, root, sha256Hex, writeFile, writePack } from './support/packs.mjs';

const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
const sections = { scene: [['a', 'x'], ['b', 'y']], facet: [['c', 'd', 'k', '1', 'zh']] };
const patch = (changed) => ({ sections, metadata: { kind: 'patch', ...ids, ...changed } });
const wordless = (metadata) => ({ documents: [{ ...indexDocument(), name: 'other' }], metadata });
const { packPath } = writePack(patch(), 'patch.klrx');
const good = { packPath, allowedRoot: root, ...ids };
const bytes = readFileSync(packPath);

// A signature with both letters of the alphabet that others write as "-" and "_".
let goodManifest = '{"signature":""}';
for (let i = 0; !/\+.*\/|\/.*\+/.test(JSON.parse(goodManifest).signature); ++i) goodManifest = buildManifest({ packPath, modules: [i] });
const { modules, signature } = JSON.parse(goodManifest);
const [OK, CONTRACT, IDENTITY] = ['no error', 'delta manifest contract is invalid', 'delta manifest trust or identity check failed'];
const [DIGEST, METADATA] = ['delta manifest pack digest or size mismatch', 'delta pack metadata does not match manifest'];
const SIGNATURE = 'delta manifest Ed25519 signature verification failed';
let serial = 0;
const writeManifest = (text) => writeFile(text, `manifest-${++serial}.json`);
const verify = (text, changed) => thrownBy(() =>
  addon.verifySemanticDeltaManifest({ ...good, manifestPath: writeManifest(text), ...changed })).replace(/^Error: semantic /, '');

/** The text with the raw value of a key replaced, the signature as it was. */
function altered(key, raw, text = goodManifest) {
  const changed = text.replace(new RegExp(`"${key}":("[^"]*"|\\[[^\\]]*\\]|\\d+)`), () => `"${key}":${raw}`);
  assert.notEqual(changed, text, key);
  return changed;
}

test('results, property by property', () => {
  const { payloadSha256, documentCounts, binaryIndex } = addon.inspectRulePack({ packPath, allowedRoot: root });
  assertSame(addon.inspectSemanticDelta(good), { ok: true, contract: 'native-semantic-delta-v1', kind: 'patch', ...ids, payloadSha256,
    documentCount: 1, packBytes: bytes.length, documentCounts, binaryIndex });
  assert.equal(binaryIndex.sectionCounts.scene, 2);
  assertSame(addon.verifySemanticDeltaManifest({ ...good, manifestPath: writeManifest(goodManifest) }), { ok: true,
    contract: 'native-semantic-delta-manifest-v1', ...ids, packSha256: sha256Hex(bytes), signatureVerified: true });
});

test('inspectSemanticDelta: failures in order', () => {
  assertRequiredOptions('inspectSemanticDelta', ['packPath', 'allowedRoot', 'baseRuleSetId', 'ruleSetId'], good);
  const equal = 'RangeError: semantic delta base and target rule-set ids must differ';
  const rows = [
    ['equal ids come before any file', { packPath: 'nowhere', baseRuleSetId: 'x', ruleSetId: 'x' }, equal],
    ['ids are compared as UTF-8, where lone surrogates are one character', { baseRuleSetId: '\ud800', ruleSetId: '\udfff' }, equal],
    ['the load', { packPath: `${root}/none.klrx` }, 'Error: semantic rule-pack file stat is invalid'],
    ['the kind, however the ids read', { ...writePack(), ruleSetId: 'x' }, 'Error: semantic delta pack kind is not patch'],
    ['the base id', { baseRuleSetId: 'Rules-1', ruleSetId: 'x' }, 'Error: semantic delta base rule-set id does not match'],
    ['the id', { ruleSetId: 'Rules-2' }, 'Error: semantic delta rule-set id does not match'],
    ['a pack without words for its fault', writePack(wordless()), 'Error: '],
  ];
  for (const [name, more, expected] of rows) assert.equal(thrownBy(() => addon.inspectSemanticDelta({ ...good, ...more })), expected, name);
});

test('each field altered, signed again and not', () => {
  const digest = sha256Hex(bytes);
  const otherKey = generateKeyPairSync('ed25519').publicKey.export({ format: 'der', type: 'spki' });
  const own = generateKeyPairSync('ed25519').privateKey;
  // What each of the fields comes to with its new value.
  const rows = [
    [CONTRACT, { schema: 'corvenda.semantic-delta-manifest.v2', version: 2, keyId: 'corvenda-intl-manifest-ed25519-v2' }],
    [CONTRACT, { packBytes: 4294967296 }],
    [IDENTITY, { pack: 'Patch.klrx', packSha256: digest.slice(1), baseRuleSetId: 'rules-0', ruleSetId: 'Rules-2' }],
    [IDENTITY, { pack: packPath, publicKeySha256: sha256Hex(otherKey), publicKeyDerBase64: otherKey.toString('base64') }],
    [DIGEST, { packSha256: '0'.repeat(64), packBytes: bytes.length + 1 }],
    [DIGEST, { packSha256: digest.toUpperCase() }],
    [OK, { modules: ['scene'] }, SIGNATURE],
  ];
  for (const [signed, fields, unsigned = signed] of rows) {
    for (const [key, value] of Object.entries(fields)) {
      assert.equal(verify(buildManifest({ packPath, fields: { [key]: value } })), signed, `${key} signed`);
      assert.equal(verify(altered(key, JSON.stringify(value))), unsigned, key);
    }
  }
  const keys = Object.keys(JSON.parse(goodManifest));
  assert.equal(keys.length, 13);
  for (const key of keys) {
    assert.equal(verify(goodManifest.replace(`"${key}":`, `"x${key}":`)), CONTRACT, `without ${key}`);
    assert.equal(verify(goodManifest.replace(`"${key}":`, `"${key}": `)), CONTRACT, `a blank before ${key}`);
  }
  assert.equal(verify(buildManifest({ packPath, signingKey: own })), IDENTITY, 'signed with a key of one\'s own');
  assert.equal(verify(buildManifest({ packPath, signingKey: own, fields: developmentTrust })), SIGNATURE, 'that claims the pinned one');
});

test('what the signature covers is the text rebuilt from the fields', () => {
  const raw = Buffer.from(signature, 'base64');
  const flipped = Buffer.from(raw).fill(raw[40] ^ 1, 40, 41);
  const cut = signDetached(manifestText({ ...JSON.parse(goodManifest), modules: '[["a"]' })).toString('base64');
  const signedAs = (text) => altered('signature', JSON.stringify(text));
  const rows = [
    ['leading zeros are signed without', altered('packBytes', `000${bytes.length}`), OK],
    ['a fraction ends the number', altered('packBytes', `${bytes.length}.9e5`), OK],
    ['a sign', altered('packBytes', `+${bytes.length}`), CONTRACT],
    ['another order of keys, an extra one', `{"extra":["x"],"signature":"${signature}",${goodManifest.slice(1)}`, OK],
    ['no braces, bytes that are no text', Buffer.from(`${goodManifest.slice(1, -1)}\0\xff`, 'latin1'), OK],
    ['the first of two keys counts', goodManifest.replace('{', '{"packBytes":1,'), DIGEST],
    ['also as the good one', goodManifest.replace('}', ',"packBytes":1,"modules":[-1]}'), OK],
    ['also as no array', goodManifest.replace('{', '{"modules":"x",'), CONTRACT],
    ['another encoding', altered('signatureEncoding', '"hex"'), CONTRACT],
    ['an escape', altered('pack', '"patch\\u002eklrx"'), CONTRACT],
    ['a blank inside the brackets is signed, so is any byte', buildManifest({ packPath, modules: '[ "\\"\n\x01]' }), OK],
    ['a blank that was not signed', altered('modules', `[ ${modules}]`), SIGNATURE],
    ['a nested array is cut at its first bracket', altered('signature', `"${cut}"`, altered('modules', '[["a"],"b"]')), OK],
    ['modules without an end', `${goodManifest.replace(/"modules":[^,]*,/, '').slice(0, -1)},"modules":[}`, CONTRACT],
    ['one bit', signedAs(flipped.toString('base64')), SIGNATURE],
    ['63 bytes', signedAs(raw.subarray(1).toString('base64')), SIGNATURE],
    ['65 bytes', signedAs(Buffer.concat([raw, Buffer.alloc(1)]).toString('base64')), SIGNATURE],
    ['no signature', signedAs(''), SIGNATURE],
    ['no padding', signedAs(signature.slice(0, -2)), SIGNATURE],
    ['blanks', signedAs(`    ${signature}`), SIGNATURE],
    ['"-" for "+"', signedAs(signature.replaceAll('+', '-')), SIGNATURE],
    ['"_" for "/"', signedAs(signature.replaceAll('/', '_')), SIGNATURE],
    ['spare bits are dropped', signedAs(signature.replace(/.==$/, (end) => `${String.fromCharCode(end.charCodeAt(0) + 1)}==`)), OK],
    ['what follows the first "=" is not looked at, nor how much', signedAs(`${signature.slice(0, -1)}!????`), OK],
  ];
  for (const [name, text, expected] of rows) assert.equal(verify(text), expected, name);
});

test('options, paths and files, in order', () => {
  const manifestPath = writeManifest(goodManifest);
  assertRequiredOptions('verifySemanticDeltaManifest', ['manifestPath', ...Object.keys(good)], { ...good, manifestPath });
  const inner = { manifestPath: writeFile(goodManifest, 'inner/manifest.json'), allowedRoot: join(root, 'inner') };
  const [nowhere, long] = ['nowhere', 'x'.repeat(4097)];
  const rows = [
    ['a long manifest path', '', { manifestPath: long, packPath: 'x' }, 'rule-pack path is invalid'],
    ['a long pack path comes before the manifest', '', { manifestPath: nowhere, packPath: long }, 'rule-pack path is invalid'],
    ['a long root too', '', { manifestPath: nowhere, allowedRoot: long }, 'rule-pack path is invalid'],
    ['outside the root', '', { manifestPath: '/etc/passwd', packPath: 'x' }, 'delta manifest is outside the approved root'],
    ['no manifest', '', { manifestPath: join(root, 'none') }, 'delta manifest is not a regular file'],
    ['an empty manifest', '', {}, 'delta manifest size is invalid'],
    ['a manifest of one byte', ' ', {}, CONTRACT],
    ['a manifest of 131072 bytes', goodManifest.padEnd(131072), {}, OK],
    ['a manifest of 131073 bytes', goodManifest.padEnd(131073), {}, 'delta manifest size is invalid'],
    ['one that has a size and is not read', '', { manifestPath: '/sys/kernel/uevent_seqnum', allowedRoot: '/sys' }, 'delta manifest cannot be read'],
    ['equal ids', buildManifest({ packPath, ruleSetId: 'rules-1' }), { ruleSetId: 'rules-1' }, IDENTITY],
    ['a pack outside the root is hashed first', '', inner, 'rule-pack path is outside the approved root'],
    ['a wrong pack outside the root', '', { ...inner, packPath: writeFile('x'.repeat(40), 'other/patch.klrx') }, DIGEST],
  ];
  for (const [name, text, changed, expected] of rows) assert.equal(verify(text, changed), expected, name);

  // A process without a file descriptor left can't open files, which holds for the superuser too.
  const script = writeFile(`
    import { openSync } from 'node:fs';
    import { addon } from ${JSON.stringify(new URL('support/addon.mjs', import.meta.url).href)};
    try { for (;;) openSync('/dev/null'); } catch {}
    try { addon.verifySemanticDeltaManifest(${JSON.stringify({ ...good, manifestPath })}); }
    catch (error) { process.exitCode = error.message === 'semantic delta manifest cannot be opened' ? 7 : 1; }`, 'script.mjs');
  assert.equal(spawnSync('sh', ['-c', 'ulimit -n 64 && exec "$0" "$1"', process.execPath, script]).status, 7);
});

test('the pack behind a good signature', () => {
  mkdirSync(join(root, 'directory.klrx'));
  const rows = [
    ['a base pack', packBytes(patch({ kind: 'base' })), METADATA],
    ['another base id', packBytes(patch({ baseRuleSetId: 'x' })), METADATA],
    ['another id', packBytes(patch({ ruleSetId: 'x' })), METADATA],
    ['a load that fails without words', packBytes(wordless(patch().metadata)), METADATA],
    ['no pack', Buffer.alloc(40), 'rule-pack magic is invalid'],
    ['39 bytes', Buffer.alloc(39), 'rule-pack file size is invalid'],
    ['another extension', bytes, 'rule-pack extension is invalid', writeFile(bytes, 'patch.zip')],
    ['a directory', Buffer.alloc(40), 'rule-pack file is not a regular file', join(root, 'directory.klrx')],
    ['no file', Buffer.alloc(40), 'rule-pack file is not a regular file', join(root, 'none.klrx')],
  ];
  for (const [name, content, expected, path = writeFile(content)] of rows) {
    assert.equal(verify(buildManifest({ packBytes: content, pack: basename(path), ...ids }), { packPath: path }), expected, name);
  }
});

test('a refused pack stays in its slot', () => {
  const options = { packPath: writeStamped(patch({ ruleSetId: 'x' })), allowedRoot: root };
  const inspect = () => thrownBy(() => addon.inspectRulePack(options));
  assert.match(thrownBy(() => addon.inspectSemanticDelta({ ...good, ...options })), /does not match/);
  const text = buildManifest({ packPath: options.packPath, ...ids });
  assert.equal(verify(text, options), METADATA);
  spoil(options.packPath);
  assert.equal(inspect(), OK, 'a delta in the base slot');
  const pair = { basePackPath: writePack().packPath, overlayPackPath: options.packPath, allowedRoot: root };
  const { matches } = addon.lookupBinaryIndexOverlay({ ...pair, section: 'scene', term: 'a' });
  assert.deepEqual([matches.length, inspect()], [1, 'Error: semantic rule-pack magic is invalid'], 'a manifest\'s in the overlay slot');
});
