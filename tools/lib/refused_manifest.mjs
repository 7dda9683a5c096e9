// Which check a manifest failed. The native module says what kind of check it was, in words that stay as they are; here the
// same fields are looked at once more, to name the one and what it should have been.

import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { basename } from 'node:path';
import { MANIFEST_KEY_ID, MANIFEST_SCHEMA } from './manifest.mjs';
import { readPackMetadata } from './pack_file.mjs';

/**
 * What was asked.
 * @typedef {object} Question
 * @property {any} manifest as parsed
 * @property {string} packPath
 * @property {string} baseRuleSetId expected
 * @property {string} ruleSetId expected
 */

const contractChecks = {
  schema: ({ manifest }) => manifest?.schema !== MANIFEST_SCHEMA && `its schema is ${manifest?.schema}, not ${MANIFEST_SCHEMA}`,
  version: ({ manifest }) => manifest.version !== 1 && `its version is ${manifest.version}, not 1`,
  'key-id': ({ manifest }) => manifest.keyId !== MANIFEST_KEY_ID && `its key id is ${manifest.keyId}, not ${MANIFEST_KEY_ID}`,
  encoding: ({ manifest }) =>
    manifest.signatureEncoding !== 'base64' && `its signature encoding is ${manifest.signatureEncoding}, not base64`,
  form: () => 'a field is missing, has another type, or is not written compactly, without blanks and escapes',
};

const identityChecks = {
  base: ({ manifest, baseRuleSetId }) =>
    manifest.baseRuleSetId !== baseRuleSetId && `it is for the base ${manifest.baseRuleSetId}, not ${baseRuleSetId}`,
  'rule-set': ({ manifest, ruleSetId }) =>
    manifest.ruleSetId !== ruleSetId && `it leads to the rule set ${manifest.ruleSetId}, not ${ruleSetId}`,
  'same-rule-set': ({ manifest }) =>
    manifest.baseRuleSetId === manifest.ruleSetId && `it leads from ${manifest.ruleSetId} to itself`,
  name: ({ manifest, packPath }) =>
    manifest.pack !== basename(packPath) && `it was signed for a file named ${manifest.pack}, not ${basename(packPath)}`,
  digest: ({ manifest }) => manifest.packSha256?.length !== 64 && 'its digest is not 64 digits long',
  // What is left: the pins are in the native module.
  key: ({ manifest }) => `it was signed with the key ${String(manifest.publicKeySha256).slice(0, 16)}, and this build of the native module trusts another (docs/trust.md)`,
};

const fileChecks = {
  size: ({ manifest, packPath }) => {
    const { length } = readFileSync(packPath);
    return manifest.packBytes !== length && `the pack has ${length} bytes, and ${manifest.packBytes} were signed`;
  },
  digest: ({ manifest, packPath }) => {
    const digest = createHash('sha256').update(readFileSync(packPath)).digest('hex');
    return `the pack has the digest ${digest.slice(0, 16)}…, and ${String(manifest.packSha256).slice(0, 16)}… was signed`;
  },
};

const metadataChecks = {
  kind: (_, { kind }) => kind !== 'patch' && `the pack is a ${kind} pack, not a patch`,
  'pack-rule-set': (_, { baseRuleSetId, ruleSetId }) => `the pack itself leads from ${baseRuleSetId} to ${ruleSetId}`,
};

const CHECKS = [
  ['contract is invalid', contractChecks],
  ['trust or identity check failed', identityChecks],
  ['digest or size mismatch', fileChecks],
  ['Ed25519 signature verification failed',
    { signature: () => 'the signature is not one of this text under this key: a signed field was changed' }],
  ['metadata does not match manifest', metadataChecks],
];

/**
 * @param {string} message of the native module
 * @param {Question} question
 * @returns {{ hint?: string, report?: { check: string } }} nothing if the refusal is about the files themselves
 */
export function explainRefusal(message, question) {
  const [, checks] = CHECKS.find(([end]) => message.endsWith(String(end))) ?? [];
  if (!checks) return {};
  const metadata = checks === metadataChecks ? readPackMetadata(readFileSync(question.packPath)) : {};
  for (const [check, test] of Object.entries(checks)) {
    const hint = test(question, metadata);
    if (hint) return { hint, report: { check } };
  }
  return {};
}
