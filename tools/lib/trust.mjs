// The trust file: the pieces of the two pack keys, the two pins of the manifest key and, in the development file only, the
// private key that belongs to those pins.

import { createHash, createPrivateKey, createPublicKey, sign } from 'node:crypto';
import { readFileSync } from 'node:fs';

/**
 * A parsed trust file.
 * @typedef {object} Trust
 * @property {string} [name]
 * @property {{ 'test-v1': { block: string, values: [string, string] }, 'release-v1': { tables: [string, string] } }} packKeys
 *   hexadecimal: "test-v1" is a block of 16 bytes and two values of 8, joined; "release-v1" two tables of 32 bytes, XORed
 * @property {{ publicKeySha256: string, publicKeyDerBase64: string, signingKeyPkcs8Base64?: string }} manifest
 */

/** @typedef {'test-v1' | 'release-v1'} KeyId */

/**
 * An Ed25519 private key: a KeyObject of node:crypto.
 * @typedef {{ readonly type: string, readonly asymmetricKeyType?: string | undefined }} SigningKey
 */

/** The trust file that comes with the sources. @type {Trust} */
export const developmentTrustFile = JSON.parse(
  readFileSync(new URL('../../trust/development.json', import.meta.url), 'utf8'),
);

/** The pins that a development build of the addon holds: hexadecimal SHA-256 of the DER form, and that form in base64. */
export const developmentTrust = Object.freeze({
  publicKeySha256: developmentTrustFile.manifest.publicKeySha256,
  publicKeyDerBase64: developmentTrustFile.manifest.publicKeyDerBase64,
});

/**
 * The AES-256 key of a key id.
 * @param {KeyId} keyId
 * @param {Trust} [trust]
 * @returns {Uint8Array} 32 bytes, for the caller to wipe
 * @throws {RangeError} for an unknown id, or a trust file whose pieces have other sizes
 */
export function packKey(keyId, trust = developmentTrustFile) {
  const test = trust.packKeys?.['test-v1'];
  const release = trust.packKeys?.['release-v1'];
  let key;
  if (keyId === 'test-v1' && test) {
    key = Buffer.from(test.block + test.values.join(''), 'hex');
  } else if (keyId === 'release-v1' && release) {
    const [first, second] = release.tables.map((table) => Buffer.from(table, 'hex'));
    key = Buffer.from(first.map((byte, index) => byte ^ second[index]));
  } else {
    throw new RangeError(`key id ${JSON.stringify(keyId)} is not in the trust file`);
  }
  if (key.length !== 32) throw new RangeError(`key ${keyId} of the trust file is ${key.length} bytes long, not 32`);
  return key;
}

/**
 * The private key of a trust file.
 * @param {Trust} [trust]
 * @returns {SigningKey}
 * @throws {RangeError} if the file holds none, as a release's does not
 */
export function signingKeyOf(trust = developmentTrustFile) {
  const der = trust.manifest?.signingKeyPkcs8Base64;
  if (!der) throw new RangeError('the trust file holds no signing key');
  return createPrivateKey({ key: Buffer.from(der, 'base64'), format: 'der', type: 'pkcs8' });
}

/**
 * The two pins that belong to a private key.
 * @param {SigningKey} signingKey
 * @returns {{ publicKeySha256: string, publicKeyDerBase64: string }}
 * @throws {RangeError} if the key is not an Ed25519 key
 */
export function publicPinsOf(signingKey) {
  if (signingKey.asymmetricKeyType !== 'ed25519') {
    throw new RangeError(`the signing key is ${signingKey.asymmetricKeyType ?? 'no key pair'}, not ed25519`);
  }
  const key = /** @type {import('node:crypto').KeyObject} */ (signingKey);
  const der = createPublicKey(key).export({ format: 'der', type: 'spki' });
  return {
    publicKeySha256: createHash('sha256').update(der).digest('hex'),
    publicKeyDerBase64: der.toString('base64'),
  };
}

/**
 * A detached Ed25519 signature.
 * @param {string | Uint8Array} message text is signed as UTF-8
 * @param {object} [options]
 * @param {Trust} [options.trust] the trust file whose key signs; the development file's by default
 * @param {SigningKey} [options.signingKey] a key to use instead
 * @returns {Uint8Array} 64 bytes, a Buffer
 */
export function signDetached(message, { trust, signingKey = signingKeyOf(trust) } = {}) {
  return sign(null, Buffer.from(message), /** @type {import('node:crypto').KeyObject} */ (signingKey));
}
