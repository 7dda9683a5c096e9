// LZ4 block compression. The encoder is a dependency of the packer alone and is loaded at the first use, so that packs
// without compression need nothing but Node.

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
