// The trust file at configure time: a release with a piece or a pin of another size must not be built.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import test from 'node:test';
import { root, writeFile } from './support/packs.mjs';
import { noCMake } from './support/platform.mjs';

const project = join(import.meta.dirname, '..');
const development = readFileSync(join(project, 'trust/development.json'), 'utf8');
const { LD_PRELOAD, ...env } = process.env; // CMake runs without a sanitizer's runtime

/** What CMake says of a trust file, in one line; "" for a good one. */
function refusal(change) {
  const trust = JSON.parse(development);
  change(trust);
  const definition = `-DCORVENDA_TRUST_FILE=${writeFile(JSON.stringify(trust), 'trust.json')}`;
  try {
    execFileSync('cmake', [definition, '-P', join(project, 'cmake/trust_table.cmake')], { cwd: root, env, stdio: 'pipe' });
    return '';
  } catch ({ stderr }) {
    return /trust\.json: ([^]*?)\n(?:\n|Call Stack)/.exec(stderr)?.[1].replace(/\s+/g, ' ') ?? String(stderr);
  }
}

test('every piece and pin has its length and its digits', { skip: noCMake }, () => {
  const derRefusal = 'manifest publicKeyDerBase64: an Ed25519 public key expected, ' +
    '60 characters of base64 that begin with MCowBQYDK2VwAyEA';
  const shaRefusal = 'manifest publicKeySha256: 64 lower-case hexadecimal digits expected';
  for (const [change, expected] of [
    [() => {}, ''],
    [({ packKeys }) => { packKeys['test-v1'].block += '00'; }, 'packKeys test-v1 block: 32 lower-case hexadecimal digits expected'],
    [({ packKeys }) => { packKeys['test-v1'].values[1] = '00'; },
      'packKeys test-v1 values 1: 16 lower-case hexadecimal digits expected'],
    [({ packKeys }) => { packKeys['release-v1'].tables[0] = 'G'.repeat(64); },
      'packKeys release-v1 tables 0: 64 lower-case hexadecimal digits expected'],
    [({ manifest }) => { manifest.publicKeySha256 = manifest.publicKeySha256.slice(1); }, shaRefusal],
    [({ manifest }) => { manifest.publicKeySha256 = manifest.publicKeySha256.toUpperCase(); }, shaRefusal],
    [({ manifest }) => { manifest.publicKeyDerBase64 = manifest.publicKeyDerBase64.slice(4); }, derRefusal],
    [({ manifest }) => { manifest.publicKeyDerBase64 = `x${manifest.publicKeyDerBase64.slice(1)}`; }, derRefusal],
  ]) assert.equal(refusal(change), expected);
});
