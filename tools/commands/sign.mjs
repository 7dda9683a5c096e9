// klrx sign: a signed manifest for a patch pack.

import { createPrivateKey } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { basename } from 'node:path';
import { attempt, DONE, misuse, no, readArguments, refuseSameFile } from '../lib/command_line.mjs';
import { readText, reasonOf, writeWhole } from '../lib/files.mjs';
import { buildManifest } from '../lib/manifest.mjs';
import { readPackMetadata } from '../lib/pack_file.mjs';
import { developmentTrustFile, signingKeyOf } from '../lib/trust.mjs';

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

export async function sign(args, io) {
  const { values, positionals } = readArguments(args, {
    pack: { type: 'string' },
    key: { type: 'string' },
    development: { type: 'boolean', default: false },
    out: { type: 'string' },
    modules: { type: 'string', default: '[]' },
  });
  const { pack: packPath, out } = values;
  if (positionals.length > 0) throw misuse(`sign takes no ${positionals[0]}; the pack is given with --pack`);
  if (packPath === undefined) throw misuse('sign needs --pack PACK');
  if (out === undefined) throw misuse('sign needs --out MANIFEST');
  const modules = readModules(values.modules);
  refuseSameFile(out, [packPath, ...(values.key === undefined ? [] : [values.key])]);
  const signingKey = readSigningKey(values);

  const packBytes = attempt(packPath, () => {
    try {
      return readFileSync(packPath);
    } catch (error) {
      throw new Error(`cannot be read: ${reasonOf(error)}`, { cause: error });
    }
  });
  checkSignable(packPath, attempt(packPath, () => readPackMetadata(packBytes)));
  const text = buildManifest({ packBytes, pack: basename(packPath), modules, signingKey });
  if (Buffer.byteLength(text) > MAX_MANIFEST_BYTES) throw no(`${out}: a manifest has at most ${MAX_MANIFEST_BYTES} bytes`);
  attempt(out, () => writeWhole(out, text));
  if (values.development) io.err('klrx: warning: signed with the development key, which is public\n');
  io.out(`${out}: signed manifest for ${packPath}\n`);
  return DONE;
}
