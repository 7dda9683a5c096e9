// The delta manifest: a compact JSON file that names a patch pack, and an Ed25519 signature over a text that the reader
// rebuilds from the manifest's fields.

import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { basename } from 'node:path';
import { toBytes } from './byte_writer.mjs';
import { readPackMetadata } from './pack_file.mjs';
import { developmentTrustFile, publicPinsOf, signDetached } from './trust.mjs';

export const MANIFEST_SCHEMA = 'corvenda.semantic-delta-manifest.v1';
export const MANIFEST_KEY_ID = 'corvenda-intl-manifest-ed25519-v1';

const ESCAPES = { '\\': '\\\\', '"': '\\"', '\n': '\\n', '\r': '\\r', '\t': '\\t' };

function quoteJsonString(text) {
  return `"${String(text).replace(/[\\"\n\r\t]/g, (character) => ESCAPES[character])}"`;
}

/** The raw text of "modules": a string as it stands, an array as compact JSON. */
function modulesText(modules) {
  return typeof modules === 'string' ? modules : JSON.stringify(modules);
}

/**
 * The text that a manifest's signature covers: every field but "signatureEncoding" and "signature", keys in byte order, no
 * blank anywhere, "modules" as the raw text of the file, numbers in plain decimal.
 *
 * @param {object} fields `baseRuleSetId`, `keyId`, `pack`, `packSha256`, `publicKeyDerBase64`, `publicKeySha256`,
 *   `ruleSetId` and `schema` (strings), `packBytes` and `version` (numbers), `modules` (an array, or its raw text)
 * @returns {string} to be signed as UTF-8
 */
export function manifestText(fields) {
  const quoted = (key) => `"${key}":${quoteJsonString(fields[key])}`;
  const members = [
    quoted('baseRuleSetId'),
    quoted('keyId'),
    `"modules":${modulesText(fields.modules)}`,
    quoted('pack'),
    `"packBytes":${fields.packBytes}`,
    quoted('packSha256'),
    quoted('publicKeyDerBase64'),
    quoted('publicKeySha256'),
    quoted('ruleSetId'),
    quoted('schema'),
    `"version":${fields.version}`,
  ];
  return `{${members.join(',')}}`;
}

/**
 * Builds and signs a manifest. The pack is taken from `packPath`, or from `packBytes` with the name in `pack`.
 *
 * @param {object} manifest
 * @param {string} [manifest.packPath] the pack file; its base name is what the manifest names
 * @param {Uint8Array} [manifest.packBytes] the content of the pack file, instead
 * @param {string} [manifest.pack] the pack's file name without a directory; that of `packPath` by default
 * @param {string} [manifest.baseRuleSetId] by default, like `ruleSetId`, what the pack's metadata say in clear
 * @param {string} [manifest.ruleSetId]
 * @param {readonly unknown[] | string} [manifest.modules] a flat array, or its raw text; empty by default
 * @param {import('./trust.mjs').Trust} [manifest.trust] the trust file whose pins and key are used; the development file
 *   by default
 * @param {import('./trust.mjs').SigningKey} [manifest.signingKey] a key instead; the pins are derived from it
 * @param {object} [manifest.fields] fields (see `manifestText`) that replace the computed ones before the signing, for
 *   manifests that a reader must refuse further on than at the signature
 * @returns {string} the text of the manifest file
 * @throws {TypeError} if the pack or its name is missing
 * @throws {RangeError} if `modules` is no flat array (readers take its text up to the first "]"), or holds a key of the
 *   manifest that stands after it
 * @throws {Error} if the pack cannot be read, or is none although an id has to be read from it
 */
export function buildManifest({
  packPath,
  packBytes = packPath === undefined ? undefined : readFileSync(packPath),
  pack = packPath === undefined ? undefined : basename(packPath),
  baseRuleSetId,
  ruleSetId,
  modules = [],
  trust = developmentTrustFile,
  signingKey,
  fields,
}) {
  if (packBytes === undefined || pack === undefined) throw new TypeError('packPath, or packBytes and pack, are missing');
  const bytes = toBytes(packBytes, 'packBytes');
  const rawModules = modulesText(modules);
  if (rawModules[0] !== '[' || rawModules.indexOf(']') !== rawModules.length - 1) {
    throw new RangeError('modules must be an array without a "]" inside');
  }
  // Readers take a key at its first occurrence in the file, and these stand after the modules.
  const hidden = ['publicKeySha256', 'publicKeyDerBase64', 'signatureEncoding', 'signature']
    .find((key) => rawModules.includes(`"${key}":`));
  if (hidden) throw new RangeError(`modules hide the manifest's own "${hidden}" from readers`);
  const inPack = baseRuleSetId === undefined || ruleSetId === undefined ? readPackMetadata(bytes) : {};
  const pins = signingKey ? publicPinsOf(signingKey) : trust.manifest;
  const signed = {
    schema: MANIFEST_SCHEMA,
    version: 1,
    pack,
    packSha256: createHash('sha256').update(bytes).digest('hex'),
    packBytes: bytes.length,
    keyId: MANIFEST_KEY_ID,
    baseRuleSetId: baseRuleSetId ?? inPack.baseRuleSetId,
    ruleSetId: ruleSetId ?? inPack.ruleSetId,
    modules: rawModules,
    publicKeySha256: pins.publicKeySha256,
    publicKeyDerBase64: pins.publicKeyDerBase64,
    ...fields,
  };
  const signature = Buffer.from(signDetached(manifestText(signed), { trust, signingKey })).toString('base64');
  const members = Object.entries({ ...signed, signatureEncoding: 'base64', signature }).map(
    ([key, value]) => `"${key}":${key === 'modules' ? modulesText(value) : JSON.stringify(value)}`,
  );
  return `{${members.join(',')}}`;
}
