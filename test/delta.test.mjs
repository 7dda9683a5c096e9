// inspectSemanticDelta and verifySemanticDeltaManifest: the expected pack, the pinned key, the signed text, and the
// order in which they are asked. vectors/ holds a manifest for each fault.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { basename, join } from 'node:path';
import { test } from 'node:test';

import { buildManifest, manifestText, signDetached } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import {
  indexDocument, packBytes, root, sha256Hex, spoil, writeAt, writeFile, writePack, writeStamped,
} from './support/packs.mjs';
import { noFileLimit } from './support/platform.mjs';

const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
const sections = { scene: [['a', 'x'], ['b', 'y']], facet: [['c', 'd', 'k', '1', 'zh']] };
const patch = (changed) => ({ sections, metadata: { kind: 'patch', ...ids, ...changed } });
/** A pack whose load fails without a message. */
const wordless = (metadata) => ({ documents: [{ ...indexDocument(), name: 'other' }], metadata });
const { packPath } = writePack(patch(), 'patch.klrx');
const good = { packPath, allowedRoot: root, ...ids };
const bytes = readFileSync(packPath);

// A signature with both letters of the alphabet that others write as "-" and "_".
let goodManifest = '{"signature":""}';
for (let i = 0; !/\+.*\/|\/.*\+/.test(JSON.parse(goodManifest).signature); ++i) {
  goodManifest = buildManifest({ packPath, modules: [i] });
}
const { signature } = JSON.parse(goodManifest);
const [OK, CONTRACT] = ['no error', 'delta manifest contract is invalid'];
const IDENTITY = 'delta manifest trust or identity check failed';
const SIGNATURE = 'delta manifest Ed25519 signature verification failed';
const DIGEST = 'delta manifest pack digest or size mismatch';
const METADATA = 'delta pack metadata does not match manifest';
let serial = 0;
const writeManifest = (text) => writeFile(text, `manifest-${++serial}.json`);
const verify = (text, changed) => thrownBy(() => addon.verifySemanticDeltaManifest(
  { ...good, manifestPath: writeManifest(text), ...changed })).replace(/^Error: semantic /, '');

/** The text with the raw value of a key replaced, the signature as it was. */
function altered(key, raw, text = goodManifest) {
  const changed = text.replace(new RegExp(`"${key}":("[^"]*"|\\[[^\\]]*\\]|\\d+)`), () => `"${key}":${raw}`);
  assert.notEqual(changed, text, key);
  return changed;
}

test('results, property by property', () => {
  const { payloadSha256, documentCounts, binaryIndex } = addon.inspectRulePack(good);
  assertSame(addon.inspectSemanticDelta(good), { ok: true, contract: 'native-semantic-delta-v1', kind: 'patch', ...ids,
    payloadSha256, documentCount: 1, packBytes: bytes.length, documentCounts, binaryIndex });
  assertSame(addon.verifySemanticDeltaManifest({ ...good, manifestPath: writeManifest(goodManifest) }), { ok: true,
    contract: 'native-semantic-delta-manifest-v1', ...ids, packSha256: sha256Hex(bytes), signatureVerified: true });
});

test('inspectSemanticDelta: failures in order', () => {
  const equal = 'RangeError: semantic delta base and target rule-set ids must differ';
  for (const [name, changed, expected] of [
    ['equal ids come before any file', { packPath: 'nowhere', baseRuleSetId: 'x', ruleSetId: 'x' }, equal],
    ['ids are UTF-8, where lone surrogates are one character', { baseRuleSetId: '\ud800', ruleSetId: '\udfff' }, equal],
    ['the kind, whatever the ids', { ...writePack(), ruleSetId: 'x' }, 'Error: semantic delta pack kind is not patch'],
    ['the base', { baseRuleSetId: 'Rules-1', ruleSetId: 'x' }, 'Error: semantic delta base rule-set id does not match'],
    ['the id, to the letter', { ruleSetId: 'Rules-2' }, 'Error: semantic delta rule-set id does not match'],
  ]) assert.equal(thrownBy(() => addon.inspectSemanticDelta({ ...good, ...changed })), expected, name);
});

test('verifySemanticDeltaManifest: each field altered, signed again and not', () => {
  for (const [signed, fields, unsigned = signed] of [
    [CONTRACT, { schema: 'corvenda.semantic-delta-manifest.v2', version: 2, packBytes: 4294967296,
      keyId: 'corvenda-intl-manifest-ed25519-v2' }],
    [IDENTITY, { pack: 'Patch.klrx', packSha256: '0'.repeat(63), baseRuleSetId: 'rules-0', ruleSetId: 'Rules-2',
      publicKeySha256: '0'.repeat(64), publicKeyDerBase64: 'AAAA' }],
    [IDENTITY, { pack: packPath.replaceAll('\\', '/') }],
    [DIGEST, { packSha256: '0'.repeat(64), packBytes: bytes.length + 1 }],
    [DIGEST, { packSha256: sha256Hex(bytes).toUpperCase() }],
    [OK, { modules: ['scene'] }, SIGNATURE],
  ]) {
    for (const [key, value] of Object.entries(fields)) {
      assert.equal(verify(buildManifest({ packPath, fields: { [key]: value } })), signed, `${key} signed`);
      assert.equal(verify(altered(key, JSON.stringify(value))), unsigned, key);
    }
  }
  for (const key of Object.keys(JSON.parse(goodManifest))) {
    for (const other of [`"x${key}":`, `"${key}": `]) {
      assert.equal(verify(goodManifest.replace(`"${key}":`, other)), CONTRACT, other);
    }
  }
});

test('verifySemanticDeltaManifest: paths, files, fields, signature and pack, in order', () => {
  const long = 'x'.repeat(4097);
  const inner = { manifestPath: writeFile(goodManifest, 'inner/manifest.json'), allowedRoot: join(root, 'inner') };
  const raw = Buffer.from(signature, 'base64');
  const signedAs = (text, file) => altered('signature', `"${text.toString('base64')}"`, file);
  const nested = signDetached(manifestText({ ...JSON.parse(goodManifest), modules: '[["a"]' }));
  const spare = signature.replace(/.==$/, (end) => `${String.fromCharCode(end.charCodeAt(0) + 1)}==`);
  /** A manifest for other bytes, and the options that name them. */
  const of = (content, path = writeFile(content)) =>
    [buildManifest({ packBytes: content, pack: basename(path), ...ids }), { packPath: path }];
  for (const [name, expected, text, changed] of [
    ['a long manifest path', 'rule-pack path is invalid', '', { manifestPath: long, packPath: 'x' }],
    ['a long pack path, before the manifest', 'rule-pack path is invalid', '', { manifestPath: '/', packPath: long }],
    ['outside the root', 'delta manifest is outside the approved root', '', { manifestPath: '/etc', packPath: 'x' }],
    ['no manifest', 'delta manifest is not a regular file', '', { manifestPath: join(root, 'none') }],
    // Such a file says that it holds a page, and gives less.
    ...['/sys/kernel/uevent_seqnum'].filter(existsSync).map((manifestPath) =>
      ['an unreadable one', 'delta manifest cannot be read', '', { manifestPath, allowedRoot: '/sys' }]),
    ['an empty one', 'delta manifest size is invalid', ''],
    ['one of 131072 bytes', OK, goodManifest.padEnd(131072)],
    ['one of 131073 bytes', 'delta manifest size is invalid', goodManifest.padEnd(131073)],
    ['no braces, bytes that are no text', OK, Buffer.from(`${goodManifest.slice(1, -1)}\0\xff`, 'latin1')],
    ['an array without an end', CONTRACT, `${goodManifest.replace(/"modules":[^,]*,/, '').slice(0, -1)},"modules":[}`],
    ['equal ids', IDENTITY, buildManifest({ packPath, ruleSetId: 'rules-1' }), { ruleSetId: 'rules-1' }],
    // The signature covers the text rebuilt from the fields.
    ['a nested array is cut at its first bracket', OK, signedAs(nested, altered('modules', '[["a"],"b"]'))],
    ['63 bytes', SIGNATURE, signedAs(raw.subarray(1))],
    ['65 bytes', SIGNATURE, signedAs(Buffer.from([...raw, 0]))],
    ['no padding', SIGNATURE, signedAs(signature.slice(0, -2))],
    ['the other alphabet', SIGNATURE, signedAs(signature.replaceAll('+', '-').replaceAll('/', '_'))],
    ['spare bits are dropped', OK, signedAs(spare)],
    ['what follows the first "=" is not looked at, nor how much', OK, signedAs(`${signature.slice(0, -1)}!????`)],
    // The pack is hashed before anybody asks where it lies.
    ['a pack outside the root', 'rule-pack path is outside the approved root', '', inner],
    ['a wrong one outside it', DIGEST, '', { ...inner, packPath: writeFile('x'.repeat(40), 'other/patch.klrx') }],
    ['a directory', 'rule-pack file is not a regular file', ...of(Buffer.alloc(40), join(root, 'inner'))],
    ['39 bytes', 'rule-pack file size is invalid', ...of(Buffer.alloc(39))],
    ['another extension', 'rule-pack extension is invalid', ...of(bytes, writeFile(bytes, 'patch.zip'))],
    ['a load that fails without words', METADATA, ...of(packBytes(wordless(patch().metadata)))],
    ['a patch to another rule set', METADATA, ...of(packBytes(patch({ ruleSetId: 'x' })))],
  ]) assert.equal(verify(text, changed), expected, name);
});

// A process without a file descriptor left can't open files, which holds for the superuser too.
test('a manifest that cannot be opened', { skip: noFileLimit }, () => {
  const manifestPath = writeManifest(goodManifest);
  const script = writeFile(`
    import { openSync } from 'node:fs';
    import { addon } from ${JSON.stringify(new URL('support/addon.mjs', import.meta.url).href)};
    try { for (;;) openSync('/dev/null'); } catch {}
    try { addon.verifySemanticDeltaManifest(${JSON.stringify({ ...good, manifestPath })}); } catch ({ message }) {
      process.exitCode = message === 'semantic delta manifest cannot be opened' ? 7 : 1;
    }`, 'a.mjs');
  assert.equal(spawnSync('sh', ['-c', 'ulimit -n 64 && exec "$0" "$1"', process.execPath, script]).status, 7);
});

test('the rows in use are those that were signed', () => {
  const rows = (term) => ({ ...patch(), sections: { scene: [[term, 'x']] } });
  const path = writeStamped(rows('forged'));
  const lookup = { basePackPath: packPath, overlayPackPath: path, allowedRoot: root, section: 'scene' };
  const uses = (term) => addon.lookupBinaryIndexOverlay({ ...lookup, term }).matches.length === 1;
  assert.ok(uses('forged'));
  writeAt(path, packBytes(rows('signed')));
  assert.ok(uses('forged'), 'equal size and time');
  const manifest = buildManifest({ packPath: path });
  assert.equal(verify(manifest, { packPath: path }), OK);
  assert.ok(uses('signed') && !uses('forged'));
  spoil(path);
  assert.equal(verify(manifest, { packPath: path }), DIGEST);
  assert.ok(uses('signed'), 'a failure leaves them');
});
