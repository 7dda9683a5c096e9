// Whether a lexicon has the shape that lexicon.schema.json describes. The schema is what editors complete from, so there is
// no second description of the shape; what the validator finds is told at the place in the text.

import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';
import { nearestOf } from './text.mjs';

const schemaFile = new URL('../lexicon.schema.json', import.meta.url);

/** @type {import('ajv').ValidateFunction | undefined} */
let compiled;

/** The validator, made at the first use: packs are also read by commands that need none. */
function validator() {
  if (compiled) return compiled;
  const { default: Ajv } = /** @type {typeof import('ajv')} */ (createRequire(import.meta.url)('ajv'));
  const ajv = new Ajv({ allErrors: true, verbose: true, allowUnionTypes: true, strictTypes: false });
  ajv.addVocabulary(['patternErrorMessage', 'errorMessage']); // editors show them
  ajv.addKeyword({
    keyword: 'maxBytes', // texts are stored with a length of two bytes
    type: 'string',
    validate: (limit, text) => Buffer.byteLength(text) <= limit,
  });
  compiled = ajv.compile(JSON.parse(readFileSync(schemaFile, 'utf8')));
  return compiled;
}

function describe({ type }) {
  return type === 'array' || type === 'object' ? `an ${type}` : type === 'null' ? 'null' : `a ${type}`;
}

function typeMessage(node, wanted) {
  if (node.type === 'number' && !Number.isFinite(node.value)) return 'the number is too large';
  const name = Array.isArray(wanted) ? wanted[0] : wanted;
  return `${describe(node)} stands where ${describe({ type: name })} should be`;
}

function unknownProperty(name, { properties }) {
  const known = Object.keys(properties).filter((each) => !each.startsWith('$'));
  const near = nearestOf(name, known);
  return `unknown property ${JSON.stringify(name)}${near ? `; is "${near}" meant?` : ''} (allowed: ${known.join(', ')})`;
}

/** What a keyword of the schema says when it fails. */
const MESSAGES = {
  type: ({ schema }, node, name) => `${name === '' ? '' : `${JSON.stringify(name)}: `}${typeMessage(node, schema)}`,
  required: ({ params }) => `the property "${params.missingProperty}" is missing`,
  additionalProperties: ({ params, parentSchema }) => unknownProperty(params.additionalProperty, parentSchema),
  minLength: () => 'the string is empty',
  maxBytes: ({ schema }) => `the string is longer than ${schema} bytes`,
  pattern: ({ parentSchema }) => parentSchema.patternErrorMessage,
  const: ({ parentSchema }) => parentSchema.errorMessage,
};

/** The nodes from the root to the value that a JSON pointer (RFC 6901) names. */
function nodesAlong(root, pointer) {
  const nodes = [root];
  for (const part of pointer.split('/').slice(1)) {
    const name = part.replaceAll('~1', '/').replaceAll('~0', '~');
    const { type, children } = nodes[nodes.length - 1];
    nodes.push(type === 'array' ? children[name] : children.find(({ children: [key] }) => key.value === name).children[1]);
  }
  return nodes;
}

/**
 * Holds a parsed lexicon against the schema.
 * @param {import('./json.mjs').JsonNode} root
 * @param {unknown} value what `root` stands for
 * @returns {{ path: import('./json.mjs').JsonNode[], offset: number, message: string }[]} `path`: the nodes from the root to
 *   the one with the fault
 */
export function shapeFaults(root, value) {
  const validate = validator();
  validate(value);
  return (validate.errors ?? []).map((error) => {
    const path = nodesAlong(root, error.instancePath);
    const node = path[path.length - 1];
    const { additionalProperty } = error.params;
    const place = additionalProperty === undefined ? node : node.children.find(({ children: [key] }) => key.value === additionalProperty);
    const name = /\/([^/]*[^/\d][^/]*)$/.exec(error.instancePath)?.[1] ?? ''; // not the number of an element
    return { path, offset: place.offset, message: MESSAGES[error.keyword](error, node, name) };
  });
}
