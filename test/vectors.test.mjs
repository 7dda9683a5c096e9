// The vectors in vectors/, for whoever writes another reader or writer, held against this one: each is refused at its layer
// and nowhere else, by every function that reads it and by the tool.
import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';

import { expectedIds, makeVectors, vectorFolder } from '../scripts/make-vectors.mjs';
import { run } from '../tools/commands/run.mjs';
import { buildManifest } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { thrownBy } from './support/outcome.mjs';
import { root, writeFile } from './support/packs.mjs';

const read = (name) => readFileSync(join(vectorFolder, name));
const names = readdirSync(vectorFolder).filter((name) => name !== 'README.md').sort();
const vectors = names.filter((name) => name.endsWith('.json')).map((name) => JSON.parse(read(name)));

test('the folder holds what the script makes', () => {
  const made = makeVectors();
  assert.deepEqual(names, [...made.keys()].sort());
  assert.deepEqual(names.filter((name) => !made.get(name).equals(read(name))), []);
});

async function inspectWithTool(packPath) {
  const said = [];
  const write = (text) => said.push(text);
  const status = await run(['inspect', packPath, '--root', root], { out: write, err: write, loadAddon: async () => addon });
  return { status, said: said.join('') };
}

test('each vector says where it is refused, how, under which key and why', () => {
  const keys = (file) => ['file', ...(file.endsWith('.manifest') ? ['pack'] : []), 'keyId', 'layer', 'message', 'comment'];
  for (const vector of vectors) {
    assert.deepEqual(Object.keys(vector), keys(vector.file), vector.file);
    assert.ok(vector.keyId && vector.layer && vector.comment, vector.file);
    assert.equal(vector.message === null, vector.layer === 'none', vector.file);
  }
});

/** What a manifest that vouches for a pack makes of it: more must hold, and one failure that has no words gets some. */
function vouched({ layer, message }) {
  if (layer === 'file') return 'semantic rule-pack file size is invalid';
  return layer === 'delta' || message === '' ? 'semantic delta pack metadata does not match manifest' : message;
}

test('each vector meets the verdict beside it', async () => {
  const seen = new Set();
  const verdictOf = (message) => (message === null ? 'no error' : `Error: ${message}`);
  for (const vector of vectors) {
    const { file, layer, message, pack } = vector;
    const path = writeFile(read(file), file);
    const options = { packPath: path, allowedRoot: root };
    const verdict = verdictOf(message);
    // What a pack is to its own reader; whether it is the expected patch is the delta's question alone.
    const sound = pack ? 'Error: semantic rule-pack extension is invalid' : layer === 'delta' ? 'no error' : verdict;
    assert.equal(thrownBy(() => addon.inspectRulePack(options)), sound, file);
    assert.equal(thrownBy(() => addon.inspectSemanticDelta({ ...options, ...expectedIds })), sound === 'no error' ? verdict : sound, file);
    const { status, said } = await inspectWithTool(path);
    assert.equal(status, sound === 'no error' ? 0 : 1, file);
    const words = sound.replace('Error: ', '') || 'its index document has a wrong name or encoding';
    assert.ok(said.includes(sound === 'no error' ? `${path}: sound` : words), `${file}: ${said}`);

    const packPath = pack ? writeFile(read(pack), pack) : path;
    const manifestPath = pack ? path : writeFile(buildManifest({ packPath, ...expectedIds }), `${file}.manifest`);
    const verified = verdictOf(pack ? message : vouched(vector));
    assert.equal(thrownBy(() => addon.verifySemanticDeltaManifest({ ...options, manifestPath, packPath, ...expectedIds })), verified, file);
    seen.add(layer);
  }
  assert.equal([...seen].sort().join(' '),
    'compression delta digest file header index manifest metadata none pack payload seal shard signature trust');
});
