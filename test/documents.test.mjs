// The documents, followed to the letter: files are saved, commands run, and examples print what stands below them.
import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, symlinkSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { englishReading } from '../lib/lexicon.mjs';
import { run } from '../tools/commands/run.mjs';
import { outputOf, stepsOf } from './support/documents.mjs';
import { root as folder } from './support/packs.mjs';
import { noLinks } from './support/platform.mjs';

const root = dirname(dirname(fileURLToPath(import.meta.url)));
const read = (path) => readFileSync(join(root, path), 'utf8');

for (const [document, examples] of [['README.md', 2], ['docs/api.md', 20]]) {
  test(`the examples of ${document}`, { skip: noLinks }, async () => {
    const place = join(folder, document);
    mkdirSync(join(place, 'node_modules'), { recursive: true });
    symlinkSync(root, join(place, 'node_modules/corvenda-semantic'), 'junction');
    process.chdir(place);
    let compared = 0;
    for (const { kind, file, text, output } of stepsOf(read(document))) {
      if (kind === 'json' && file) writeFileSync(file, text);
      for (const [, command] of kind === 'sh' ? text.matchAll(/^npx klrx (.*)$/gm) : []) {
        assert.equal(await run(command.split(' '), { out() {}, err() {}, terminal: false }), 0, command);
      }
      if (kind === 'js') {
        assert.equal(outputOf(place, text), output, text);
        compared += 1;
      }
    }
    process.chdir(root);
    assert.equal(compared, examples);
  });
}

test('the table of English readings', () => {
  for (const document of ['docs/api.md', 'lib/lexicon.d.cts']) {
    const rows = Array.from(read(document).matchAll(/`([^`]+)` → `([^`]+)`/g), ([, title, reading]) => [title, reading]);
    assert.equal(rows.length, 11, document);
    for (const [title, reading] of rows) assert.equal(englishReading(title), reading);
  }
});
