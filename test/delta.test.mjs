// inspectSemanticDelta and verifySemanticDeltaManifest: the expected pack, the pinned key, the signed text, and the order
// in which they are asked.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { basename, join } from 'node:path';
import { generateKeyPairSync } from 'node:crypto';
import { test } from 'node:test';

import { buildManifest, developmentTrust, manifestText, signDetached } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { assertRequiredOptions, assertSame, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { indexDocument, packBytes, root, sha256Hex, writeFile, writePack } from './support/packs.mjs';

const PATCH = { kind: 'patch', baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
const sections = { scene: [['a', 'x'], ['b', 'y']], facet: [['c', 'd', 'k', '1', 'zh']] };
const patchRecipe = { sections, metadata: PATCH };
const { packPath } = writePack(patchRecipe, 'patch.klrx');

test('inspectSemanticDelta: a result, property by property', () => {
  const delta = addon.inspectSemanticDelta({ packPath, allowedRoot: root, ...ids });
  const { payloadSha256, documentCount, packBytes: size, documentCounts, binaryIndex } = addon.inspectRulePack({ packPath, allowedRoot: root });
  assertSame(delta, { ok: true, contract: 'native-semantic-delta-v1', kind: 'patch', ...ids, payloadSha256, documentCount,
    packBytes: size, documentCounts, binaryIndex });
  assert.deepEqual([size, documentCount, binaryIndex.sectionCounts.scene], [readFileSync(packPath).length, 1, 2]);
});

test('inspectSemanticDelta: failures in order', () => {
  const good = { packPath, allowedRoot: root, ...ids };
  assertRequiredOptions('inspectSemanticDelta', ['packPath', 'allowedRoot', 'baseRuleSetId', 'ruleSetId'], good);
  const basePack = writePack().packPath;
  const equal = 'RangeError: semantic delta base and target rule-set ids must differ';
  const rows = [
    ['equal ids come before any file', { packPath: 'nowhere', baseRuleSetId: 'x', ruleSetId: 'x' }, equal],
    ['ids are compared as UTF-8, where lone surrogates are one character', { baseRuleSetId: '\ud800', ruleSetId: '\udfff' }, equal],
    ['the load', { packPath: `${root}/none.klrx` }, 'Error: semantic rule-pack file stat is invalid'],
    ['the kind, however the ids read', { packPath: basePack, baseRuleSetId: 'rules-1', ruleSetId: 'x' }, 'Error: semantic delta pack kind is not patch'],
    ['the base id', { baseRuleSetId: 'Rules-1', ruleSetId: 'x' }, 'Error: semantic delta base rule-set id does not match'],
    ['the id', { ruleSetId: 'Rules-2' }, 'Error: semantic delta rule-set id does not match'],
    ['a pack without words for its fault', { packPath: writePack({ documents: [{ ...indexDocument(), name: 'other' }] }).packPath }, 'Error: '],
    ['all good', {}, 'no error'],
  ];
  for (const [name, changed, expected] of rows) assert.equal(thrownBy(() => addon.inspectSemanticDelta({ ...good, ...changed })), expected, name);
});

test('inspectSemanticDelta: a refused delta stays in the base slot', () => {
  const rows = [[{}, 'kind is not patch'], [{ metadata: { ...PATCH, baseRuleSetId: 'x' } }, 'base rule-set id'], [{ metadata: { ...PATCH, ruleSetId: 'x' } }, 'rule-set id']];
  for (const [recipe, words] of rows) {
    const options = { packPath: writeStamped(recipe), allowedRoot: root };
    assert.throws(() => addon.inspectSemanticDelta({ ...options, ...ids }), new RegExp(words));
    spoil(options.packPath);
    assert.equal(addon.inspectRulePack(options).ok, true, words);
    addon.inspectRulePack({ packPath, allowedRoot: root });
    assert.throws(() => addon.inspectRulePack(options), /magic is invalid/, 'another pack has taken the slot');
  }
});

// --- Manifests ------------------------------------------------------------------------------------------------------

const LIMIT = 131072;
const CONTRACT = 'Error: semantic delta manifest contract is invalid';
const IDENTITY = 'Error: semantic delta manifest trust or identity check failed';
const DIGEST = 'Error: semantic delta manifest pack digest or size mismatch';
const SIGNATURE = 'Error: semantic delta manifest Ed25519 signature verification failed';
const METADATA = 'Error: semantic delta pack metadata does not match manifest';
const OK = 'no error';

const goodManifest = buildManifest({ packPath });
const goodOptions = { packPath, allowedRoot: root, ...ids };
let serial = 0;
const writeManifest = (text) => writeFile(text, `manifest-${++serial}.json`);
const verify = (text, changed = {}) =>
  thrownBy(() => addon.verifySemanticDeltaManifest({ ...goodOptions, manifestPath: writeManifest(text), ...changed }));

/** The text with the raw value of a key replaced, the signature as it was. */
function altered(key, raw, text = goodManifest) {
  const changed = text.replace(new RegExp(`"${key}":("[^"]*"|\\[[^\\]]*\\]|\\d+)`), () => `"${key}":${raw}`);
  assert.notEqual(changed, text, key);
  return changed;
}

test('a good manifest, property by property', () => {
  const result = addon.verifySemanticDeltaManifest({ ...goodOptions, manifestPath: writeManifest(goodManifest) });
  assertSame(result, { ok: true, contract: 'native-semantic-delta-manifest-v1', ...ids,
    packSha256: sha256Hex(readFileSync(packPath)), signatureVerified: true });
});

test('each field altered, signed again and not', () => {
  const bytes = readFileSync(packPath);
  const digest = sha256Hex(bytes);
  const otherKey = generateKeyPairSync('ed25519').publicKey.export({ format: 'der', type: 'spki' });
  // Field, new value, what it comes to signed again, and with the old signature.
  const rows = [
    ['schema', 'corvenda.semantic-delta-manifest.v2', CONTRACT, CONTRACT],
    ['version', 2, CONTRACT, CONTRACT],
    ['pack', 'Patch.klrx', IDENTITY, IDENTITY],
    ['pack', packPath, IDENTITY, IDENTITY],
    ['pack', '', IDENTITY, IDENTITY],
    ['packSha256', '0'.repeat(64), DIGEST, DIGEST],
    ['packSha256', digest.toUpperCase(), DIGEST, DIGEST],
    ['packSha256', digest.slice(1), IDENTITY, IDENTITY],
    ['packBytes', bytes.length + 1, DIGEST, DIGEST],
    ['packBytes', 4294967296, CONTRACT, CONTRACT],
    ['keyId', 'corvenda-intl-manifest-ed25519-v2', CONTRACT, CONTRACT],
    ['baseRuleSetId', 'rules-0', IDENTITY, IDENTITY],
    ['ruleSetId', 'rules-3', IDENTITY, IDENTITY],
    ['modules', ['scene'], OK, SIGNATURE],
    ['publicKeySha256', sha256Hex(otherKey), IDENTITY, IDENTITY],
    ['publicKeyDerBase64', otherKey.toString('base64'), IDENTITY, IDENTITY],
  ];
  for (const [key, value, signed, unsigned] of rows) {
    assert.equal(verify(buildManifest({ packPath, fields: { [key]: value } })), signed, `${key} signed`);
    assert.equal(verify(altered(key, JSON.stringify(value))), unsigned, key);
  }
  for (const key of ['schema', 'version', 'pack', 'packSha256', 'packBytes', 'keyId', 'baseRuleSetId', 'ruleSetId', 'modules', 'publicKeySha256',
    'publicKeyDerBase64', 'signatureEncoding', 'signature']) {
    assert.equal(verify(goodManifest.replace(`"${key}":`, `"x${key}":`)), CONTRACT, `without ${key}`);
    assert.equal(verify(goodManifest.replace(`"${key}":`, `"${key}": `)), CONTRACT, `a blank before ${key}`);
  }
  const own = generateKeyPairSync('ed25519').privateKey;
  assert.equal(verify(buildManifest({ packPath, signingKey: own })), IDENTITY, 'signed with a key of one\'s own');
  assert.equal(verify(buildManifest({ packPath, signingKey: own, fields: developmentTrust })), SIGNATURE, 'that claims the pinned one');
});

test('what the signature covers is the text rebuilt from the fields', () => {
  const size = String(readFileSync(packPath).length);
  const signature = JSON.parse(goodManifest).signature;
  const resigned = (modules, file) => altered('signature', `"${signDetached(manifestText({ ...JSON.parse(goodManifest), modules })).toString('base64')}"`, file);
  const rows = [
    ['leading zeros are signed without', altered('packBytes', `000${size}`), OK],
    ['a fraction ends the number', altered('packBytes', `${size}.9e5`), OK],
    ['a sign', altered('packBytes', `+${size}`), CONTRACT],
    ['another order of keys', `{"signature":"${signature}",${goodManifest.slice(1)}`, OK],
    ['an extra key', goodManifest.replace('{', '{"extra":["x"],'), OK],
    ['no braces at all', goodManifest.slice(1, -1), OK],
    ['bytes that are no text', Buffer.concat([Buffer.from(goodManifest), Buffer.from([0, 255])]), OK],
    ['the first of two keys counts', goodManifest.replace('{', '{"packBytes":1,'), DIGEST],
    ['the first of two keys counts, also as the good one', goodManifest.replace('}', ',"packBytes":1}'), OK],
    ['another encoding', altered('signatureEncoding', '"hex"'), CONTRACT],
    ['an escape', altered('pack', '"patch\\u002eklrx"'), CONTRACT],
    ['pretty printed', JSON.stringify(JSON.parse(goodManifest), undefined, 1), CONTRACT],
    ['a blank inside the brackets is signed', buildManifest({ packPath, modules: '[ ]' }), OK],
    ['a blank that was not signed', altered('modules', '[ ]'), SIGNATURE],
    ['a nested array is cut at its first bracket', resigned('[["a"]', altered('modules', '[["a"],"b"]')), OK],
    ['modules that are no array', altered('modules', '"x"'), CONTRACT],
    ['modules without an end', `${goodManifest.replace(/"modules":\[\],/, '').slice(0, -1)},"modules":[}`, CONTRACT],
    ['nothing', '{}', CONTRACT],
  ];
  for (const [name, text, expected] of rows) assert.equal(verify(text), expected, name);
});

test('signatures', () => {
  const { signature } = JSON.parse(goodManifest);
  const bytes = Buffer.from(signature, 'base64');
  const flipped = Buffer.from(bytes);
  flipped[40] ^= 1;
  const rows = [
    ['one bit', flipped.toString('base64'), SIGNATURE],
    ['63 bytes', bytes.subarray(1).toString('base64'), SIGNATURE],
    ['65 bytes', Buffer.concat([bytes, Buffer.alloc(1)]).toString('base64'), SIGNATURE],
    ['empty', '', SIGNATURE],
    ['no padding', signature.slice(0, -2), SIGNATURE],
    ['a byte outside the alphabet', `-${signature.slice(1)}`, SIGNATURE],
    ['spare bits are dropped', signature.replace(/.==$/, (end) => `${String.fromCharCode(end.charCodeAt(0) + 1)}==`), OK],
    ['what follows the first "=" is not looked at', signature.replace(/=$/, '!'), OK],
    ['nor is how much', `${signature}????`, OK],
  ];
  for (const [name, value, expected] of rows) assert.equal(verify(altered('signature', `"${value}"`)), expected, name);
});

test('options, paths and files, in order', () => {
  const manifestPath = writeManifest(goodManifest);
  assertRequiredOptions('verifySemanticDeltaManifest', ['manifestPath', 'packPath', 'allowedRoot', 'baseRuleSetId', 'ruleSetId'], { ...goodOptions, manifestPath });
  mkdirSync(join(root, 'inner'));
  mkdirSync(join(root, 'directory.klrx'));
  const inner = writeFile(goodManifest, 'inner/manifest.json');
  const file = (size) => writeManifest(Buffer.alloc(size, 32));
  const long = 'x'.repeat(4097);
  const invalid = 'Error: semantic rule-pack path is invalid';
  const manifestSize = 'Error: semantic delta manifest size is invalid';
  const rows = [
    ['a long manifest path', { manifestPath: long, packPath: 'x' }, invalid],
    ['a long pack path comes before the manifest is looked at', { manifestPath: 'nowhere', packPath: long }, invalid],
    ['a long root too', { manifestPath: 'nowhere', allowedRoot: long }, invalid],
    ['a component that no file system takes', { manifestPath: `/${'x'.repeat(300)}` }, 'Error: semantic rule-pack path cannot be canonicalized'],
    ['the manifest outside the root', { manifestPath: '/etc/passwd', packPath: '/etc/passwd' }, 'Error: semantic delta manifest is outside the approved root'],
    ['no manifest', { manifestPath: join(root, 'none') }, 'Error: semantic delta manifest is not a regular file'],
    ['a directory', { manifestPath: join(root, 'inner') }, 'Error: semantic delta manifest is not a regular file'],
    ['an empty manifest', { manifestPath: file(0) }, manifestSize],
    ['a manifest of one byte', { manifestPath: file(1) }, CONTRACT],
    ['a manifest of 131072 bytes', { manifestPath: writeManifest(goodManifest.padEnd(LIMIT)) }, OK],
    ['a manifest of 131073 bytes', { manifestPath: writeManifest(goodManifest.padEnd(LIMIT + 1)) }, manifestSize],
    ['another base id', { baseRuleSetId: 'rules-0' }, IDENTITY],
    ['another id', { ruleSetId: 'Rules-2' }, IDENTITY],
    ['equal ids', { manifestPath: writeManifest(buildManifest({ packPath, ruleSetId: 'rules-1' })), ruleSetId: 'rules-1' }, IDENTITY],
    ['a pack outside the root is hashed first', { manifestPath: inner, allowedRoot: join(root, 'inner') }, 'Error: semantic rule-pack path is outside the approved root'],
    ['a wrong pack outside the root', { manifestPath: inner, allowedRoot: join(root, 'inner'), packPath: writeFile('x'.repeat(40), 'other/patch.klrx') }, DIGEST],
  ];
  for (const [name, changed, expected] of rows) {
    assert.equal(thrownBy(() => addon.verifySemanticDeltaManifest({ ...goodOptions, manifestPath, ...changed })), expected, name);
  }
});

test('the pack behind a good signature', () => {
  const corrupt = packBytes(patchRecipe);
  corrupt[corrupt.length - 1] ^= 1;
  const rows = [
    ['a base pack', packBytes({ metadata: { ...PATCH, kind: 'base' } }), METADATA],
    ['another base id', packBytes({ metadata: { ...PATCH, baseRuleSetId: 'x' } }), METADATA],
    ['another id', packBytes({ metadata: { ...PATCH, ruleSetId: 'x' } }), METADATA],
    ['a load that fails without words', packBytes({ documents: [{ ...indexDocument(), name: 'other' }], metadata: PATCH }), METADATA],
    ['no pack', Buffer.alloc(40), 'Error: semantic rule-pack magic is invalid'],
    ['a broken seal', corrupt, 'Error: semantic rule-pack authentication or decryption failed'],
    ['39 bytes', Buffer.alloc(39), 'Error: semantic rule-pack file size is invalid'],
    ['a good one', packBytes(patchRecipe), OK],
  ];
  for (const [name, bytes, expected] of rows) {
    const path = writeFile(bytes);
    const text = buildManifest({ packBytes: bytes, pack: basename(path), ...ids });
    assert.equal(verify(text, { packPath: path }), expected, name);
  }
  const named = (pack) => buildManifest({ packBytes: Buffer.alloc(40), pack, ...ids });
  const notRegular = 'Error: semantic rule-pack file is not a regular file';
  assert.equal(verify(named('directory.klrx'), { packPath: join(root, 'directory.klrx') }), notRegular);
  assert.equal(verify(named('none.klrx'), { packPath: join(root, 'none.klrx') }), notRegular);
  const other = writeFile(packBytes(patchRecipe), 'patch.zip');
  assert.equal(verify(buildManifest({ packPath: other }), { packPath: other }), 'Error: semantic rule-pack extension is invalid');
});

test('the pack goes to the overlay slot, also if it is refused', () => {
  const base = writePack({ sections }).packPath;
  const lookup = (overlayPackPath) => addon.lookupBinaryIndexOverlay({ basePackPath: base, overlayPackPath, allowedRoot: root, section: 'scene', term: 'a' });
  for (const [recipe, expected] of [[patchRecipe, OK], [{ sections, metadata: { ...PATCH, ruleSetId: 'x' } }, METADATA]]) {
    const path = writeStamped(recipe);
    assert.equal(verify(buildManifest({ packPath: path, ...ids }), { packPath: path }), expected);
    spoil(path);
    assert.equal(lookup(path).matches.length, 1);
    assert.throws(() => addon.inspectRulePack({ packPath: path, allowedRoot: root }), /magic is invalid/);
  }
});

// Files that have a size and refuse to be read: those of the kernel. And files that can't be opened at all: those of a
// process that has no file descriptor left, which bothers the superuser too.
test('files that cannot be read or opened', { skip: process.platform !== 'linux' }, () => {
  const unread = '/sys/kernel/uevent_seqnum';
  const cannotBeRead = (words) => `Error: semantic ${words} cannot be read`;
  assert.equal(thrownBy(() => addon.verifySemanticDeltaManifest({ ...goodOptions, manifestPath: unread, allowedRoot: '/sys' })), cannotBeRead('delta manifest'));
  assert.equal(verify(buildManifest({ packBytes: Buffer.alloc(4096), pack: basename(unread), ...ids }), { packPath: unread }), cannotBeRead('rule-pack file'));

  const script = `
    import { openSync } from 'node:fs';
    import { addon } from ${JSON.stringify(new URL('support/addon.mjs', import.meta.url).href)};
    try { for (;;) openSync('/dev/null'); } catch {}
    try { addon.verifySemanticDeltaManifest(${JSON.stringify({ ...goodOptions, manifestPath: writeManifest(goodManifest) })}); }
    catch (error) { process.exitCode = error.message === 'semantic delta manifest cannot be opened' ? 7 : 1; }`;
  const path = join(root, 'no-descriptors.mjs');
  writeFileSync(path, script);
  assert.equal(spawnSync('sh', ['-c', 'ulimit -n 64 && exec "$0" "$1"', process.execPath, path]).status, 7);
});
