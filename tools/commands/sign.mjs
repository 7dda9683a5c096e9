// klrx sign: a signed manifest for a patch pack.

import { createPrivateKey } from 'node:crypto';
import { basename } from 'node:path';
import { attempt, misuse, no } from '../lib/command_line.mjs';
import { readBytes, readText } from '../lib/files.mjs';
import { buildManifest } from '../lib/manifest.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { readPackMetadata } from '../lib/pack_file.mjs';
import { readTrust } from '../lib/seal_options.mjs';
import { developmentTrustFile, publicPinsOf, signingKeyOf } from '../lib/trust.mjs';

const MAX_MANIFEST_BYTES = 128 * 1024;

/** @param {{ key?: string, development: boolean }} options */
function readSigningKey({ key, development }) {
  if (development && key === undefined) return signingKeyOf(developmentTrustFile);
  if (development || key === undefined) throw misuse('sign needs either --key KEY.pem or --development');
  const signingKey = attempt(key, () => {
    const pem = readText(key);
    try {
      return createPrivateKey(pem);
    } catch {
      throw new Error('is no unencrypted private key in PEM form');
    }
  });
  if (signingKey.asymmetricKeyType !== 'ed25519') throw no(`${key}: is an ${signingKey.asymmetricKeyType} key, not an ed25519 key`);
  return signingKey;
}

function readModules(text) {
  let modules;
  try {
    modules = JSON.parse(text);
  } catch {
    throw misuse('--modules is no JSON');
  }
  if (!Array.isArray(modules) || modules.some((name) => typeof name !== 'string' || name.includes(']'))) {
    throw misuse('--modules is no array of strings without "]"');
  }
  return modules;
}

/**
 * What would make every verification fail is refused before it is signed.
 * @param {string} packPath
 * @param {Record<string, unknown>} metadata
 */
function checkSignable(packPath, { kind, baseRuleSetId, ruleSetId }) {
  if (kind !== 'patch') throw no(`${packPath}: is a ${kind} pack, and only a patch can be signed`);
  if (baseRuleSetId === ruleSetId) throw no(`${packPath}: leads from ${ruleSetId} to itself`);
  if (!/^[\x20-\x7e]+\.klrx$/.test(basename(packPath)) || /["\\]/.test(basename(packPath))) {
    throw no(`${packPath}: a pack of this name cannot be named in a manifest`);
  }
}

/** A key that the trust file does not pin signs what no build with that file takes. */
function checkPinned({ trust, key }, { publicKeySha256 }) {
  if (trust === undefined || readTrust(trust).manifest.publicKeySha256 === publicKeySha256) return;
  throw no(`${key ?? 'the development key'}: is not the key that ${trust} pins`);
}

/** @param {import('../lib/command_line.mjs').Call} call */
function run({ values, positionals, warn }) {
  const { pack: packPath, out } = values;
  if (positionals.length > 0) throw misuse(`sign takes no ${positionals[0]}; the pack is given with --pack`);
  if (packPath === undefined) throw misuse('sign needs --pack PACK');
  if (out === undefined) throw misuse('sign needs --out MANIFEST');
  const modules = readModules(values.modules);
  checkOutput(out, { inputs: [packPath, values.key].filter((path) => path !== undefined), force: values.force });
  const signingKey = readSigningKey(values);

  checkPinned(values, publicPinsOf(signingKey));
  const packBytes = attempt(packPath, () => readBytes(packPath));
  const metadata = attempt(packPath, () => readPackMetadata(packBytes));
  checkSignable(packPath, metadata);
  const text = buildManifest({ packBytes, pack: basename(packPath), modules, signingKey });
  if (Buffer.byteLength(text) > MAX_MANIFEST_BYTES) throw no(`${out}: a manifest has at most ${MAX_MANIFEST_BYTES} bytes`);
  writeOutput(out, text, values);
  if (values.development) warn('signed with the development key, which is public');
  const { baseRuleSetId, ruleSetId } = metadata;
  return {
    report: { manifest: out, pack: packPath, baseRuleSetId, ruleSetId, ...publicPinsOf(signingKey) },
    text: `${out}: signed manifest for ${packPath}, from ${baseRuleSetId} to ${ruleSetId}\n`,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const sign = {
  summary: 'sign a manifest for a patch pack',
  usage: '--pack PACK --out MANIFEST (--key KEY.pem | --development)',
  options: {
    pack: { type: 'string', value: 'PACK', help: 'the patch pack; its ids are read from its metadata' },
    out: { type: 'string', value: 'MANIFEST', help: 'the manifest to write' },
    ...FORCE,
    key: { type: 'string', value: 'KEY.pem', help: 'an Ed25519 private key in PEM form' },
    development: { type: 'boolean', help: 'sign with the development key, which only development builds trust' },
    trust: { type: 'string', value: 'FILE', help: 'refuse a key that this trust file does not pin' },
    modules: { type: 'string', value: 'JSON', default: '[]', help: 'an array of strings to be signed along' },
  },
  examples: [
    ['for a development build', 'klrx sign --pack patch.klrx --development --out patch.klrx.manifest.json'],
    ['for a release', 'klrx sign --pack patch.klrx --key key.pem --trust trust.json --out release.manifest.json'],
  ],
  run,
};
