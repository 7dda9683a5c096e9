// What is left in memory of keys and decrypted packs: nothing but the rows that are in the cache.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createCipheriv } from 'node:crypto';
import { createRequire } from 'node:module';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { buildLocationShard, buildManifest, buildPayload, compressLz4Block } from '../tools/index.mjs';
import { packKey } from '../tools/lib/trust.mjs';
import './support/addon.mjs';
import { indexDocument, packBytes, root, writeFile } from './support/packs.mjs';
import { noElf } from './support/platform.mjs';

const binary = Object.keys(createRequire(import.meta.url).cache).find((path) => path.endsWith('.node'));
const script = fileURLToPath(new URL('support/find_secrets.cjs', import.meta.url));
const skip = noElf || (process.env.CORVENDA_TEST_EMULATED && 'an emulator has memory of its own');

/** Text without any repetition, the same in every run. */
const stream = createCipheriv('aes-128-ctr', Buffer.alloc(16), Buffer.alloc(16));
const drawText = (length) => stream.update(Buffer.alloc(length)).toString('base64').slice(0, length);

/** A payload with all kinds of rows, their texts longer than the pieces that are looked for, and with documents without rows. */
function drawDocuments(unread = 8000) {
  const texts = (count) => Array.from({ length: count }, () => drawText(40));
  const rows = (fields) => Array.from({ length: 40 }, () => [drawText(40), ...fields()]);
  const sections = {
    scene: rows(() => [...texts(2), '1', 'category', 'zh', ...texts(5), '1']),
    human: rows(() => texts(2)),
    celebrity: rows(() => [...texts(2), 'actor', ...texts(4)]),
    location: rows(() => [drawText(40), 'location', '1', drawText(40), 'zh', drawText(40)]),
    facet: rows(() => [...texts(2), '1', 'zh']),
  };
  const place = () => ({ alias: drawText(40), records: [{ code: drawText(40), weight: 1, label: drawText(40), countryLabel: drawText(40) }] });
  const shard = buildLocationShard(Array.from({ length: 20 }, place));
  return [
    { type: 1, name: 'first', data: drawText(unread) },
    indexDocument(sections),
    { type: 6, encoding: 2, name: 'location-world', data: shard },
    { type: 2, name: 'last', data: drawText(8000) },
  ];
}

const secrets = [];
const hide = (name, bytes) => secrets.push({ name, masked: Buffer.from(bytes.map((byte) => byte ^ 0x5a)).toString('base64') });
const payloads = {};

/** Writes a pack, whose payload from now on is a secret. */
function secretPack(name, { change, ...recipe } = {}, unread) {
  const documents = drawDocuments(unread);
  change?.(documents);
  const payload = buildPayload(documents);
  payloads[name] = { payload, documents };
  hide(name, payload.subarray(0, 1 << 16));
  hide(`${name}, end`, payload.subarray(1 << 16).subarray(-1 << 16));
  const bytes = packBytes({ payload, ...recipe, ...(recipe.metadata?.compression && { stored: compressLz4Block(payload) }) });
  return writeFile(recipe.broken ? recipe.broken(bytes) : bytes, `${name}.klrx`);
}

const lz4 = { compression: 'lz4-block-v1' };
const wrongDigest = { payloadSha256: '0'.repeat(64) };
const cutLast = (name) => (documents) => {
  const document = documents.find((each) => each.name === name);
  document.data = document.data.subarray(0, -1);
};

const refused = {
  'wrong-tag': { broken: (bytes) => bytes.with(bytes.length - 1, bytes.at(-1) ^ 1) },
  'wrong-digest': { metadata: wrongDigest },
  'wrong-digest-lz4': { metadata: { ...lz4, ...wrongDigest } },
  'wrong-digest-of-the-last': { change: (documents) => (documents.at(-1).sha256 = Buffer.from(drawText(32))) },
  'broken-index': { change: cutLast('semantic-binary-index-v1') },
  'broken-shard': { change: cutLast('location-world') },
  'broken-archive': { change: (documents) => (documents.at(-1).dataLength = 9000) },
  'release-key': { metadata: { keyId: 'release-v1', ...wrongDigest } },
  'large': { metadata: wrongDigest },
};

test('no key and no piece of a payload outlives its use', { skip }, (t) => {
  for (const id of ['test-v1', 'release-v1']) {
    hide(id, packKey(id));
    hide(`${id}, words swapped`, packKey(id).swap32());
  }
  const inspect = (packPath) => ['inspectRulePack', { packPath, allowedRoot: root }];
  const calls = Object.entries(refused).map(([name, recipe]) => inspect(secretPack(name, recipe, name === 'large' ? 5 << 20 : 8000)));

  // Two packs are used in both slots, and then replaced by two others.
  const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
  const patch = { kind: 'patch', ...ids };
  const pairs = [['base', 'patch'], ['kept base', 'kept patch']].map(([base, overlay]) =>
    [secretPack(base, { metadata: { ...lz4 } }), secretPack(overlay, { metadata: patch })]);
  for (const [packPath, overlayPackPath] of pairs) {
    const base = { packPath, allowedRoot: root };
    const title = { raw: 'nothing of it', normalizedEnglish: 'nothing' };
    const both = { ...base, overlayPackPath, overlayAllowedRoot: root };
    const manifestPath = writeFile(buildManifest({ packPath: overlayPackPath, modules: ['scene'] }));
    calls.push(
      ['warmSemanticRulePack', both], inspect(packPath),
      ['verifySemanticDeltaManifest', { manifestPath, packPath: overlayPackPath, allowedRoot: root, ...ids }],
      ['resolveSceneIntentBatch', { ...both, cases: [title] }], ['resolveCelebrityBadgeBatch', { ...both, cases: [title] }],
      ['resolveSceneIntent', { ...base, ...title }], ['extractSemanticFacets', { ...base, ...title }],
      ['lookupBinaryIndex', { ...base, section: 'scene', term: title.raw, mode: 'contains' }],
    );
  }
  // Pieces of what no call ever sees, which the search must find.
  hide('control', Buffer.from(drawText(1 << 16)));
  const planted = [['control', 0, 32], ['control', 5005, 32], ['control', 40_001, 33]];
  const input = JSON.stringify({ binary, calls, secrets, planted });
  const found = JSON.parse(execFileSync(process.execPath, [script], { input, encoding: 'utf8', maxBuffer: 1 << 26 }));

  const kept = ['kept base', 'kept patch'];
  for (const name of kept) {
    const { payload, documents } = payloads[name];
    const pieces = found.filter((piece) => piece.name === name);
    assert.equal(new Set(pieces.map(({ at, address }) => address - at)).size, 1, `${name} lies in one place`);
    const rows = documents.slice(1, 3).map(({ data }) => [payload.indexOf(data), data.length]);
    for (const [at, size] of rows) {
      assert.ok(pieces.some((piece) => piece.at <= at && piece.at + piece.size >= at + size), `${name}: the rows are found`);
    }
    for (const { data } of [documents[0], documents[3]]) {
      const at = payload.indexOf(data);
      assert.deepEqual(pieces.filter((piece) => piece.at < at + data.length - 32 && piece.at + piece.size > at + 32), [], name);
    }
  }
  const others = found.filter(({ name }) => !kept.includes(name)).map(({ name, at, size }) => [name, at, size]);
  assert.deepEqual(others, planted);
  t.diagnostic(`${secrets.length} secrets, ${(secrets.reduce((sum, { masked }) => sum + masked.length * 0.75, 0) / 1e6).toFixed(1)} MB`);
});
