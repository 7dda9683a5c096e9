// Compressed packs: blocks of an independent encoder, and malformed ones, met through the whole load. The digest of the
// payload is compared behind the decoder, so a payload that gets past it was decoded to the last byte.
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { createRequire } from 'node:module';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { indexDocument, writePack } from './support/packs.mjs';
import { buildPayload } from '../tools/index.mjs';

const { compressSync } = createRequire(import.meta.url)('lz4-napi');

const compression = 'lz4-block-v1';
/** The encoder puts four bytes of length in front of its block. */
const blockOf = (bytes) => compressSync(bytes).subarray(4);
const inspect = (recipe) => addon.inspectRulePack(writePack({ ...recipe, metadata: { compression } }));

/** Bytes that don't compress: a hash chain, the same in every run. */
function noise(size) {
  const bytes = Buffer.alloc(size);
  let block = createHash('sha256').update('noise').digest();
  for (let at = 0; at < size; at += block.length) {
    block.copy(bytes, at);
    block = createHash('sha256').update(block).digest();
  }
  return bytes;
}

const MB = 1 << 20;
const words = ['火锅', 'street food', '旅行日记', 'hotpot', '\n', '上海', 'Paris ', '0'];
const text = Buffer.from(Array.from(noise(3 * MB), (byte, i) => words[(byte ^ (i >> 12)) & 7]).join('')).subarray(0, 16 * MB);

test('blocks of an independent encoder', () => {
  const table = [
    ['tiny', Buffer.from('a')],
    ['runs of one byte, longer than any extension byte', Buffer.alloc(70_000, 'x')],
    ['offsets up to 65535', Buffer.concat([noise(65_500), noise(65_500)])],
    ['incompressible', noise(MB)],
    ['16 MB of words', text],
    ['16 MB of zeros', Buffer.alloc(16 * MB)],
    ['16 MB, incompressible', noise(16 * MB)],
  ];
  for (const [name, data] of table) {
    const payload = buildPayload([{ type: 1, encoding: 1, name: 'words', data }, indexDocument()]);
    assert.deepEqual(inspect({ payload, stored: blockOf(payload) }).documentCounts, { 'scene-lexicon': 1, 'semantic-index': 1 }, name);
  }
});

test('payloads that are none, decoded all the same', () => {
  // Past the decoder and the digest: what is missed is the payload's magic.
  const table = [
    ['empty, as the encoder writes it', Buffer.alloc(0)],
    ['one byte', Buffer.from('S')],
    ['twelve bytes, literals alone', Buffer.from('abcdabcdabcd')],
    ['a run', Buffer.alloc(1000, 'ab')],
  ];
  for (const [name, payload] of table) {
    const recipe = { payload, stored: blockOf(payload) };
    assert.throws(() => inspect(recipe), { name: 'Error', message: 'semantic rule-pack payload magic is invalid' }, name);
  }
});

test('malformed blocks', () => {
  const payload = buildPayload([{ type: 1, encoding: 1, name: 'words', data: Buffer.alloc(5000, 'word ') }, indexDocument()]);
  const block = blockOf(payload);
  const table = [
    ['literal bounds are invalid', 'the last literal is missing', block.subarray(0, -1)],
    // "SRP1" read as a token: five literals, an offset of 2; the second sequence begins with the type of the document.
    ['match offset is invalid', 'a payload that was not compressed', payload],
    ['match offset is truncated', 'half an offset', Buffer.from([0x10, 0x61, 1])],
    ['match offset is invalid', 'an offset of 0', Buffer.from([0x10, 0x61, 0, 0])],
    ['match offset is invalid', 'an offset before the beginning', Buffer.from([0x10, 0x61, 2, 0])],
    ['match length is truncated', 'no length byte', Buffer.from([0x1f, 0x61, 1, 0])],
  ];
  for (const [fault, name, stored] of table) {
    assert.throws(() => inspect({ payload, stored }), { name: 'Error', message: `semantic LZ4 ${fault}` }, name);
  }
  const other = blockOf(Buffer.concat([payload, Buffer.from('!')]));
  assert.throws(() => inspect({ payload, stored: other }), { message: 'semantic rule-pack payload digest is invalid' });
  assert.equal(inspect({ payload, stored: block }).documentCount, 2);
});
