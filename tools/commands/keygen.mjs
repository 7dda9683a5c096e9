// klrx keygen: keys of one's own, for a release.

import { createHash, generateKeyPairSync, randomBytes } from 'node:crypto';
import { misuse } from '../lib/command_line.mjs';
import { realPathOf } from '../lib/files.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { columns } from '../lib/terminal.mjs';
import { packKey, publicPinsOf } from '../lib/trust.mjs';

const OWNER_ONLY = 0o600;
const hex = (size) => randomBytes(size).toString('hex');

/**
 * A trust file of fresh keys, and the private key that its pins belong to.
 * @param {string} name
 */
function freshTrust(name) {
  const { privateKey } = generateKeyPairSync('ed25519');
  /** @type {import('../lib/trust.mjs').Trust} */
  const trust = {
    name,
    packKeys: {
      'test-v1': { block: hex(16), values: [hex(8), hex(8)] },
      'release-v1': { tables: [hex(32), hex(32)] },
    },
    manifest: publicPinsOf(privateKey),
  };
  return { trust, pem: String(privateKey.export({ format: 'pem', type: 'pkcs8' })) };
}

/** By what two people compare a key without showing it: the keys are random, so their digest gives nothing away. */
function fingerprintOf(key) {
  try {
    return createHash('sha256').update(key).digest('hex').slice(0, 16);
  } finally {
    key.fill(0);
  }
}

/** @param {import('../lib/command_line.mjs').Call} call */
function run({ values, positionals }) {
  const { out, 'signing-key': keyPath, force, name } = values;
  if (positionals.length > 0) throw misuse(`keygen takes no ${positionals[0]}`);
  if (out === undefined) throw misuse('keygen needs --out TRUST.json');
  if (keyPath === undefined) throw misuse('keygen needs --signing-key KEY.pem');
  if (realPathOf(out) === realPathOf(keyPath)) throw misuse('the trust file and the signing key are two files');
  if (name === 'development') throw misuse('development is the name of the public trust file');
  for (const path of [out, keyPath]) checkOutput(path, { force });
  const { trust, pem } = freshTrust(name);
  writeOutput(keyPath, pem, { force, mode: OWNER_ONLY });
  writeOutput(out, `${JSON.stringify(trust, null, 2)}\n`, { force, mode: OWNER_ONLY });
  const fingerprints = {
    'test-v1': fingerprintOf(packKey('test-v1', trust)),
    'release-v1': fingerprintOf(packKey('release-v1', trust)),
    manifest: trust.manifest.publicKeySha256.slice(0, 16),
  };
  return {
    report: { trust: out, signingKey: keyPath, name, fingerprints },
    text: `${out}: trust file "${name}"\n${keyPath}: the private key that signs manifests; it stays where patches are signed\n`
      + `fingerprints (sha256):\n${columns(Object.entries(fingerprints).map(([key, text]) => [`  ${key}`, text]), ['left', 'left'])}`,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const keygen = {
  summary: 'make a trust file and a signing key for a release',
  usage: '--out TRUST.json --signing-key KEY.pem',
  about: 'Both files are secret and can be read by their owner alone. Only fingerprints are shown.',
  options: {
    out: { type: 'string', value: 'TRUST.json', help: 'the trust file: pieces of the pack keys, pins of the manifest key' },
    'signing-key': { type: 'string', value: 'KEY.pem', help: 'the private key that belongs to the pins' },
    name: { type: 'string', value: 'NAME', default: 'release', help: 'what the trust file is called; release by default' },
    ...FORCE,
  },
  examples: [['keys of your own', 'klrx keygen --out trust.json --signing-key key.pem']],
  run,
};
