// LZ4 blocks. The encoder is a dependency of the packer alone and is loaded at the first use, so that packs without
// compression need nothing but Node. It has no decoder for a block whose length is not known.

import { createRequire } from 'node:module';

const require = createRequire(import.meta.url);
const MAX_INPUT = 0x7e000000; // the largest input that the block format's reference encoder takes

/**
 * Compresses bytes into one LZ4 block without any frame or length: what packs of the compression "lz4-block-v1" hold.
 * @param {Uint8Array} bytes at most 2113929216 bytes
 * @returns {Uint8Array} a Buffer
 * @throws {RangeError} for more bytes
 * @throws {Error} when the encoder cannot be loaded
 */
export function compressLz4Block(bytes) {
  if (bytes.length > MAX_INPUT) throw new RangeError(`${bytes.length} bytes are too many for one LZ4 block`);
  let encoder;
  try {
    encoder = require('lz4-napi');
  } catch (cause) {
    throw new Error('compression needs the package lz4-napi, which cannot be loaded: npm install lz4-napi', { cause });
  }
  // The encoder begins with the uncompressed length, in four bytes that are not part of the block.
  return encoder.compressSync(Buffer.from(bytes.buffer, bytes.byteOffset, bytes.byteLength)).subarray(4);
}

/**
 * The bytes that one LZ4 block stands for.
 * @param {Uint8Array} block
 * @returns {Uint8Array} a Buffer
 * @throws {Error} if it is none
 */
export function decodeLz4Block(block) {
  const input = Buffer.from(block.buffer, block.byteOffset, block.byteLength);
  let at = 0;
  let length = 0;
  let output = Buffer.alloc(input.length * 4);
  const reserve = (size) => {
    if (length + size <= output.length) return;
    const larger = Buffer.alloc(Math.max(length + size, output.length * 2));
    output.copy(larger, 0, 0, length);
    output = larger;
  };
  const extended = (size) => {
    if (size < 15) return size;
    let sum = size;
    for (let byte = 255; byte === 255; sum += byte) {
      if (at >= input.length) throw new Error('the LZ4 block ends too early');
      byte = input[at++];
    }
    return sum;
  };
  while (at < input.length) {
    const token = input[at++];
    const literals = extended(token >> 4);
    if (at + literals > input.length) throw new Error('the LZ4 block ends too early');
    reserve(literals);
    length += input.copy(output, length, at, at + literals);
    at += literals;
    if (at === input.length) break;
    if (at + 2 > input.length) throw new Error('the LZ4 block ends too early');
    const offset = input.readUInt16LE(at);
    at += 2;
    if (offset === 0 || offset > length) throw new Error('the LZ4 block looks back before its beginning');
    const match = extended(token & 15) + 4;
    reserve(match);
    for (let i = 0; i < match; i += 1, length += 1) output[length] = output[length - offset]; // it may overlap itself
  }
  return output.subarray(0, length);
}
