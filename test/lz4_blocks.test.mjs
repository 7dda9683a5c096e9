// The LZ4 block decoder, met through the whole load. The digest of the payload is compared after decoding, so a block
// that gets past both was decoded to the last byte.
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { createRequire } from 'node:module';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { thrownBy } from './support/outcome.mjs';
import { indexDocument, sha256Hex, writePack } from './support/packs.mjs';
import { buildPayload } from '../tools/index.mjs';

const { compressSync } = createRequire(import.meta.url)('lz4-napi');
/** The encoder puts four bytes of length in front of its block. */
const blockOf = (bytes) => compressSync(bytes).subarray(4);
const metadata = { compression: 'lz4-block-v1' };
const inspect = (payload, stored) => addon.inspectRulePack(writePack({ payload, stored, metadata }));

const [LITERALS, OFFSET, TRUNCATED, LENGTH] = ['literal bounds are invalid', 'match offset is invalid',
  'match offset is truncated', 'match length is truncated'].map((fault) => `Error: semantic LZ4 ${fault}`);
/** Past the decoder and the digest: all that these payloads lack is their magic. */
const DECODED = 'Error: semantic rule-pack payload magic is invalid';
const DIGEST = 'Error: semantic rule-pack payload digest is invalid';

const bytes = (text) => Buffer.from(text, 'latin1');
/** What follows the token of a length: extension bytes up to the first below 255. */
const extension = (length) =>
  (length < 15 ? '' : '\xff'.repeat((length - 15) / 255) + String.fromCharCode((length - 15) % 255));
const token = (literals, match) => String.fromCharCode(Math.min(literals, 15) << 4 | Math.min(match, 15));
const sequence = (text, offset, length) => token(text.length, length - 4) + extension(text.length) + text
  + String.fromCharCode(offset & 255, offset >> 8) + extension(length - 4);

test('blocks by hand', () => {
  const [fourteen, long] = ['abcdefghijklmn', `z${'y'.repeat(299)}`];
  const table = [
    ['one empty sequence', '\0', ''],
    ['14 literals, the most without extension', `\xe0${fourteen}`, fourteen],
    ['15 literals take an extension byte of 0', `\xf0\0${fourteen}o`, `${fourteen}o`],
    ['270 literals: 15 + 255 + 0', `\xf0\xff\0${'x'.repeat(270)}`, 'x'.repeat(270)],
    ['a match, then nothing: wider than the format', '\x14a\x01\0', 'aaaaaaaaa'],
    ['an offset of two bytes', sequence(long, 300, 4), `${long}zyyy`],
    ['19 bytes of match take an extension byte of 0', '\x1fa\x01\0\0', 'a'.repeat(20)],
    ['offset 0', '\x10a\0\0', OFFSET],
    ['a match with nothing made yet', '\0\x01\0', OFFSET],
    ['one too far, judged before the length', '\x1fa\x02\0', OFFSET],
    ['no byte after a match extension of 255', '\x1fa\x01\0\xff', LENGTH],
  ];
  for (const [why, block, expected] of table) {
    const fails = expected.startsWith('Error');
    assert.equal(thrownBy(() => inspect(bytes(fails ? '' : expected), bytes(block))), fails ? expected : DECODED, why);
  }
  assert.equal(thrownBy(() => inspect(bytes('a'), bytes('\x20ab'))), DIGEST);
});

test('a block cut off anywhere', () => {
  const block = `${sequence('0123456789abcdef', 16, 6)}${sequence('wxyz', 5, 277)}\x20pq`;
  // What each length from 1 on is: whole (.), or cut in its Literals, its Offset or the length of its Match.
  const outcomes = { '.': DIGEST, L: LITERALS, O: TRUNCATED, M: LENGTH };
  assert.deepEqual(Array.from(block, (_, i) => thrownBy(() => inspect(bytes(''), bytes(block.slice(0, i + 1))))),
    Array.from('LLLLLLLLLLLLLLLLL.O.LLLL.OMM.LL.', (outcome) => outcomes[outcome]));
});

test('blocks of an independent encoder', () => {
  const MB = 1 << 20;
  /** Bytes that don't compress, the same in every run. */
  const noise = createHash('shake256', { outputLength: 16 * MB }).update('noise').digest();
  const [four, start] = [['火锅', 'street food', '旅行日记', '0'], noise.subarray(0, 65_500)];
  const words = Buffer.from(Array.from(noise.subarray(0, 2 * MB), (byte) => four[byte & 3]).join(''));
  const twice = Buffer.concat([start, start]); // the farthest offsets
  for (const data of [bytes('a'), Buffer.alloc(70_000, 'x'), twice, words, Buffer.alloc(16 * MB), noise]) {
    const payload = buildPayload([{ type: 1, encoding: 1, name: 'words', data }, indexDocument()]);
    assert.equal(inspect(payload, blockOf(payload)).payloadSha256, sha256Hex(payload));
  }
  for (const payload of ['', 'S', 'abcdabcdabcd', 'ab'.repeat(500)].map(bytes)) {
    assert.equal(thrownBy(() => inspect(payload, blockOf(payload))), DECODED);
  }
});
