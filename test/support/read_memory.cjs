// This process's own memory, where it can be read as a file.
const { openSync, readFileSync, readSync } = require('node:fs');

const OVERLAP = 64; // bytes by which a chunk repeats the one before: no shorter text is cut in two

/** Shows all memory that can be written, in chunks: `visit(bytes, address)`. The bytes hold only until it returns. */
exports.forEachChunk = (visit) => {
  const memory = openSync('/proc/self/mem');
  const chunk = Buffer.alloc(1 << 22);
  for (const line of readFileSync('/proc/self/maps', 'utf8').split('\n')) {
    const [begin, end] = (/^(\w+)-(\w+) rw/.exec(line) ?? []).slice(1).map((hex) => parseInt(hex, 16));
    // A region of a gigabyte is a sanitizer's shadow or a reservation of the JavaScript engine, not the heap.
    if (begin === undefined || end - begin >= 1 << 30) continue;
    for (let start = begin; start < end; start += chunk.length - OVERLAP) {
      const part = chunk.subarray(0, Math.min(chunk.length, end - start));
      try {
        readSync(memory, part, 0, part.length, start);
      } catch { /* guard pages and device memory can't be read */ }
      visit(part, start);
      part.fill(0); // no copies for the next search to find
    }
  }
};
