// Loads packs, then looks for texts in this process's own memory: prints "found" or "gone" for each. Input, as JSON:
// { binary, root, paths, texts: [[code of the first character, the rest], …] }; in two pieces, lest it finds itself.
// CORVENDA_TEST_MEMORY_READER names a program that does the search where memory can't be read as a file.
const { execFileSync } = require('node:child_process');
const { readFileSync } = require('node:fs');
const { forEachChunk } = require('./read_memory.cjs');

const { binary, root, paths, texts } = JSON.parse(readFileSync(0, 'utf8'));
const { inspectRulePack } = require(binary);
for (const packPath of paths) {
  try {
    inspectRulePack({ packPath, allowedRoot: root });
  } catch { /* packs that are refused must leave nothing in memory either */ }
}

const reader = process.env.CORVENDA_TEST_MEMORY_READER;
if (reader) {
  const questions = texts.map(([first, rest]) => `${String.fromCharCode(first)}:${rest}`);
  process.stdout.write(execFileSync(reader, [process.pid, ...questions], { encoding: 'utf8' }).replace('\r', ''));
  process.exit();
}

const needles = texts.map(([first, rest]) => ({ first, rest: Buffer.from(`\0${rest}`).subarray(1), found: false }));
forEachChunk((chunk) => {
  for (const needle of needles) {
    for (let at = chunk.indexOf(needle.rest); at >= 0; at = chunk.indexOf(needle.rest, at + 1)) {
      if (chunk[at - 1] === needle.first) needle.found = true;
    }
  }
});
console.log(needles.map(({ found }) => (found ? 'found' : 'gone')).join(' '));
