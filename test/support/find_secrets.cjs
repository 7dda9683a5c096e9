// Makes calls, then looks in this process's own memory for pieces of secrets, and prints them as JSON:
// [{ name, at, size, address }, …], `at` and `size` of the piece in its secret. Pieces have at least 32 bytes.
// Input, as JSON: { binary, calls: [[function, options], …], secrets: [{ name, masked }, …], planted: [[name, at, size], …] }.
// A secret comes with each byte changed and is never put together here, lest it is found; but planted pieces are.
const { readFileSync } = require('node:fs');
const { forEachChunk } = require('./read_memory.cjs');

const MASK = 0x5a;
const BLOCK = 16; // A piece of 32 bytes has a whole one of the blocks into which its secret is cut.
const LEAST = 32;

const { binary, calls, secrets, planted } = JSON.parse(readFileSync(0, 'utf8'));
const addon = require(binary);

/** The blocks of all secrets by a hash of their first eight bytes, and a quick "surely none". */
const blocks = new Map();
const maybe = new Uint8Array(1 << 24);
const hashOf = (first, second) => (Math.imul(first, 0x9e3779b1) ^ Math.imul(second, 0x85ebca6b)) >>> 0;
for (const { name, masked } of secrets) {
  const bytes = Buffer.from(masked, 'base64');
  for (let at = 0; at + BLOCK <= bytes.length; at += BLOCK) {
    const [first, second] = [0, 4].map((offset) => bytes.readInt32LE(at + offset) ^ (MASK * 0x01010101));
    const hash = hashOf(first, second);
    blocks.set(hash, [...(blocks.get(hash) ?? []), { name, bytes, at }]);
    maybe[hash >>> 8] = 1;
  }
}

/** How many bytes are those of the secret, from these places on in one direction. */
function sameBytes(chunk, place, bytes, at, step) {
  let count = 0;
  while (bytes[at] !== undefined && chunk[place] === (bytes[at] ^ MASK)) {
    count += 1;
    place += step;
    at += step;
  }
  return count;
}

async function main() {
  for (const [name, options] of calls) {
    try {
      await addon[name](options);
    } catch { /* what is refused must leave nothing in memory either */ }
  }
  const kept = Buffer.alloc(1 << 12);
  for (const [i, [name, at, size]] of planted.entries()) {
    const masked = Buffer.from(secrets.find((secret) => secret.name === name).masked, 'base64');
    for (let byte = 0; byte < size; ++byte) kept[i * 101 + byte] = masked[at + byte] ^ MASK;
  }

  const found = [];
  forEachChunk((chunk, address) => {
    let [first, second] = [0, 0]; // the eight bytes from `place` on
    let end = 0; // of the last piece
    for (let place = -7; place + 7 < chunk.length; ++place) {
      first = (first >>> 8) | (second << 24);
      second = (second >>> 8) | (chunk[place + 7] << 24);
      const hash = hashOf(first, second);
      if (maybe[hash >>> 8] === 0 || place < end) continue;
      for (const { name, bytes, at } of blocks.get(hash) ?? []) {
        const before = sameBytes(chunk, place - 1, bytes, at - 1, -1);
        const size = before + sameBytes(chunk, place, bytes, at, 1);
        if (size < LEAST) continue;
        end = place - before + size;
        found.push({ name, at: at - before, size, address: address + place - before });
      }
    }
  });
  process.stdout.write(JSON.stringify(found), () => kept);
}

main();
