// Packs and manifests in which one byte is changed, missing or added. No such pack is accepted, and of a manifest only
// what no signature covers may change; what was loaded before stays. In full every byte takes every value, and more
// vectors take part.
import assert from 'node:assert/strict';
import { closeSync, ftruncateSync, openSync, readdirSync, readFileSync, writeSync } from 'node:fs';
import { basename, join } from 'node:path';
import { test } from 'node:test';

import { expectedIds, vectorFolder } from '../scripts/make-vectors.mjs';
import { buildLocationShard, buildManifest } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { indexDocument, packBytes, root, spoil, writeFile, writeStamped } from './support/packs.mjs';
import { isWindows } from './support/platform.mjs';
import { isWhole } from './support/share.mjs';

const read = (name) => readFileSync(join(vectorFolder, name));

const everyValue = Array.from({ length: 256 }, (_, value) => value);
// On Windows each access to a file costs many times as much.
const bits = isWindows ? [1, 128] : [1, 2, 4, 8, 16, 32, 64, 128];
const eachBit = (byte) => (isWhole ? everyValue : bits.map((bit) => byte ^ bit));
/** What could be taken for the end of a string, an escape, a number, the letter of another key. */
const signs = Array.from(isWindows ? '\0k' : '\0"\\0k', (sign) => sign.charCodeAt(0));
const eachSign = () => (isWhole ? everyValue : signs);

/**
 * Changes a file in place: each byte to other values, its end to each earlier place, one byte more at its end. `check` is
 * told where, and the value of the byte that now stands there, or that the file ends there.
 */
function changeEach(path, bytes, valuesOf, check) {
  const file = openSync(path, 'r+');
  const put = (at, value) => writeSync(file, Uint8Array.of(value), 0, 1, at);
  for (let at = 0; at < bytes.length; ++at) {
    for (const value of valuesOf(bytes[at])) {
      if (value === bytes[at]) continue;
      put(at, value);
      check({ at, value });
    }
    put(at, bytes[at]);
  }
  for (const value of everyValue) {
    put(bytes.length, value);
    check({ at: bytes.length, value });
  }
  for (let at = bytes.length - 1; at >= 0; --at) {
    ftruncateSync(file, at);
    check({ at, ends: true });
  }
  closeSync(file);
}

/** Loads a patch that from then on only a slot holds, since its file has other bytes. Gives what fails if it doesn't. */
function hold(ask) {
  const metadata = { kind: 'patch', baseRuleSetId: expectedIds.ruleSetId };
  const path = writeStamped({ sections: { scene: [['held', 'x']] }, metadata });
  const before = ask(path);
  spoil(path);
  return () => assert.deepEqual(ask(path), before, 'a failure leaves what the slot holds');
}

function outcomeOf(call) {
  try { return { result: call() }; } catch ({ message }) {
    return { message: message.replace(/^semantic (rule-pack|delta manifest) /, '') };
  }
}

// --- Packs ----------------------------------------------------------------------------------------------------------

const shard = (encoding, ...places) => ({ type: 6, encoding, name: 'location-x', data: buildLocationShard(places) });
const paris = { alias: '巴黎', records: [{ code: 'FR', weight: 2, label: '巴黎', countryLabel: '法国' }] };
const packs = {
  'rows in three sections': packBytes({ sections: { scene: [['a', 'b']], human: [['c']], facet: [['d', '', 'e']] } }),
  'shards before and after an index': packBytes({ documents: [shard(2, paris), indexDocument(), shard(1), shard(2)] }),
  'metadata of more than 255 bytes': packBytes({ metadata: { made: 'x'.repeat(50) } }),
  'the smallest payload': packBytes({ documents: [{ type: 1, encoding: 1, name: 'a', data: 'b' }] }),
};
for (const name of readdirSync(vectorFolder).filter((each) => each.endsWith('.klrx'))) {
  const sound = JSON.parse(read(name.replace('.klrx', '.json'))).layer === 'none';
  if (sound && (isWhole ? /accepted|compression|metadata/ : /compressed/).test(name)) packs[name] = read(name);
}

const SEAL = 'authentication or decryption failed';
const METADATA = ['metadata is invalid', 'compression is unsupported', SEAL];

/** What may be said of a changed pack: what a reader meets first at that byte. */
function packMessages(bytes, { at, value, ends }) {
  if (ends && at < 40) return ['file stat is invalid'];
  if (ends || at === bytes.length) return ['length fields are invalid'];
  if (at < 4) return ['magic is invalid'];
  const noMetadata = (at === 6 || at === 7) && value === 0 && bytes[13 - at] === 0;
  if (at < 6 || noMetadata) return ['fixed header is invalid'];
  if (at < 8 || (at >= 20 && at < 24)) return ['length fields are invalid'];
  return at >= 24 && at < 24 + bytes.readUInt16LE(6) ? METADATA : [SEAL];
}

test('no pack is accepted with another byte', (t) => {
  let changes = 0;
  const stays = hold((packPath) => addon.inspectRulePack({ packPath, allowedRoot: root }));
  const seen = new Set();
  for (const [name, bytes] of Object.entries(packs)) {
    const options = { packPath: writeFile(bytes), allowedRoot: root };
    changeEach(options.packPath, bytes, eachBit, (change) => {
      const { message } = outcomeOf(() => addon.inspectRulePack(options));
      assert.ok(packMessages(bytes, change).includes(message), `${name}, ${JSON.stringify(change)}: ${message}`);
      seen.add(message);
      changes += 1;
    });
    stays();
  }
  t.diagnostic(`${changes} changes to ${Object.keys(packs).length} packs`);
  assert.equal(seen.size, 7, [...seen].join());
});

// --- Manifests ------------------------------------------------------------------------------------------------------

const PACK = 'a_patch_is_accepted.klrx';
const packPath = writeFile(read(PACK), PACK);

/** A stretch of a manifest, and which values its bytes may take: `free(value, at)`. */
const stretch = (text, free) => ({ bytes: Buffer.from(text), free });
/** What the signature covers, and the signs by which a reader finds it. */
const covered = (text) => ({ ...stretch(text, () => false), needed: true });
const free = (text) => stretch(text, () => true);
const isDigit = (value) => value >= 48 && value <= 57;
/** Free, but not for one more digit of the number before it. */
const afterNumber = (text) => stretch(text, (value, at) => at > 0 || !isDigit(value));

const built = buildManifest({ packPath, modules: ['scene'] });
const texts = Object.fromEntries(Array.from(built.matchAll(/"(\w+)":("[^"]*"|\[[^\]]*\]|\d+)/g), ([text, key]) => [key, text]));
/** All fields but these, each with what follows it. */
const fieldsBut = (keys, after = ',') => Object.entries(texts).filter(([key]) => !keys.includes(key))
  .map(([key, text]) => [covered(text), ['version', 'packBytes'].includes(key) ? afterNumber(after) : free(after)]);

// Of the last digit of 64 bytes the lower four bits mean nothing, and what follows the first "=" is not looked at.
const ALPHABET = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
const highBits = (digit) => Math.floor(ALPHABET.indexOf(digit) / 16);
const lastDigit = texts.signature.at(-4);
const inString = (value) => value >= 32 && value !== 34 && value !== 92;
const openSignature = [
  covered(texts.signature.slice(0, -4)),
  stretch(lastDigit, (value) => highBits(String.fromCharCode(value)) === highBits(lastDigit)),
  covered('='), stretch('=', inString),
];
const signature = [openSignature, covered('"')];

/** Manifests that say the same. The last stretch tells what may follow the last byte. */
const manifests = {
  'as it is built': [free('{'), fieldsBut(['signature']), signature, free('}')],
  'blanks, keys that nobody knows, a second version': [
    free('\ufeff { "note":"é", '), signature, free(' ,\n'), fieldsBut(['signature'], ' ,\n"x":[0],'), free('"version":2\t}\n'),
  ],
  'a fraction, which is not read': [
    covered(texts.packBytes), afterNumber('.5'), fieldsBut(['packBytes', 'signature']), signature, free(''),
  ],
  'leading zeros, a number at the end': [
    covered(texts.packBytes.replace(':', ':00')), afterNumber(','), fieldsBut(['packBytes', 'version', 'signature']), signature,
    free(','), covered(texts.version.replace(':', ':0')), afterNumber(''),
  ],
  'the key of another pack but for a letter': [
    free('{"pac'), stretch('K', (value) => value !== 'k'.charCodeAt(0)), free('":"x",'), fieldsBut(['signature']), signature, free('}'),
  ],
  // As far as the next quotation mark the length is a multiple of four again.
  'a signature that could end later': [
    free('{'), openSignature, stretch('"', inString), free(',  '), fieldsBut(['signature']), free('}'),
  ],
};

/** Whether a changed manifest must be accepted. */
function rulesOf(stretches) {
  const rules = stretches.flatMap((each) => Array.from(each.bytes, (_, at) => (value) => each.free(value, at)));
  const last = stretches.at(-1);
  rules.push((value) => last.free(value, last.bytes.length));
  const dispensable = stretches.slice(stretches.findLastIndex((each) => each.needed) + 1);
  const end = rules.length - 1 - Buffer.concat(dispensable.map((each) => each.bytes)).length;
  return ({ at, value, ends }) => (ends ? at >= end : rules[at](value));
}

test('of a manifest only what no signature covers can be changed', (t) => {
  const changes = { refused: 0, accepted: 0 };
  const heldRows = (overlayPackPath) => addon.lookupBinaryIndexOverlay(
    { basePackPath: packPath, overlayPackPath, allowedRoot: root, section: 'scene', term: 'held' }).matches;
  const seen = new Set();
  for (const [name, pieces] of Object.entries(manifests)) {
    const stretches = pieces.flat(Infinity);
    const bytes = Buffer.concat(stretches.map((each) => each.bytes));
    const isSound = rulesOf(stretches);
    const manifestPath = writeFile(bytes);
    const options = { manifestPath, packPath, allowedRoot: root, ...expectedIds };
    const good = outcomeOf(() => addon.verifySemanticDeltaManifest(options));
    assert.equal(good.message, undefined, name);
    const stays = hold(heldRows);
    // First all that must be refused: each of the others puts its patch into the slot.
    for (const sound of [false, true]) {
      writeFile(bytes, basename(manifestPath));
      changeEach(manifestPath, bytes, name === 'as it is built' ? eachBit : eachSign, (change) => {
        if (isSound(change) !== sound) return;
        const { result, message } = outcomeOf(() => addon.verifySemanticDeltaManifest(options));
        assert.equal(message === undefined, sound, `${name}, ${JSON.stringify(change)}: ${message}`);
        assert.deepEqual(result, sound ? good.result : undefined);
        seen.add(message);
        changes[sound ? 'accepted' : 'refused'] += 1;
      });
      if (!sound) stays();
    }
  }
  t.diagnostic(`changes to ${Object.keys(manifests).length} manifests: ${changes.refused} refused, ${changes.accepted} accepted`);
  assert.deepEqual([...seen].sort(), ['Ed25519 signature verification failed', 'contract is invalid', 'pack digest or size mismatch',
    'size is invalid', 'trust or identity check failed', undefined]);
});
