// The options --trust and --nonce of the commands that seal or open packs.

import { misuse, no, readJson } from './command_line.mjs';
import { developmentTrustFile, packKey } from './trust.mjs';

/** @satisfies {Record<string, import('./command_line.mjs').Option>} */
export const TRUST = Object.freeze({
  trust: { type: 'string', value: 'FILE', help: 'the trust file with the keys; the development keys by default' },
});

/** @satisfies {Record<string, import('./command_line.mjs').Option>} */
export const NONCE = Object.freeze({
  nonce: { type: 'string', value: 'HEX', help: '12 bytes, so that equal inputs give equal bytes; never use one for two packs' },
});

/**
 * @param {string | undefined} text
 * @returns {Buffer | undefined} undefined for a random one
 */
export function readNonce(text) {
  if (text !== undefined && !/^[0-9a-fA-F]{24}$/.test(text)) throw misuse('--nonce is not 24 hexadecimal digits');
  return text === undefined ? undefined : Buffer.from(text, 'hex');
}

/**
 * @param {string | undefined} path
 * @returns {import('./trust.mjs').Trust}
 */
export function readTrust(path) {
  if (path === undefined) return developmentTrustFile;
  const trust = readJson(path);
  if (!trust?.packKeys || !trust.manifest) throw no(`${path}: is no trust file`);
  return trust;
}

/**
 * Whether everybody can have a key of a trust file: it is one of the development file's, whatever the file is called.
 * @param {import('./trust.mjs').KeyId} keyId
 * @param {import('./trust.mjs').Trust} trust
 */
export function isPublicKey(keyId, trust) {
  const key = Buffer.from(packKey(keyId, trust));
  return [packKey('test-v1'), packKey('release-v1')].some((known) => key.equals(known));
}

/** Why a key that is public protects nothing. */
export const aboutPublicKey = (keyId) =>
  `${keyId} of the development trust file is public: anybody can read and replace the pack; --trust names another file`;
