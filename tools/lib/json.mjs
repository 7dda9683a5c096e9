// JSON (RFC 8259) with comments, and with the position of every value. `JSON.parse` gives values without positions, and
// whoever edits a lexicon needs to know where a wrong one is.

import { getNodeValue, parseTree, printParseErrorCode } from 'jsonc-parser';

/**
 * A value with its place.
 * @typedef {import('jsonc-parser').Node} JsonNode
 */

/** An error at a place of the text. */
export class JsonSyntaxError extends Error {
  /**
   * @param {string} message
   * @param {number} offset in UTF-16 units
   */
  constructor(message, offset) {
    super(message);
    this.offset = offset;
  }
}

// What should have stood at an error's place.
const WANTED = {
  ValueExpected: 'a value',
  PropertyNameExpected: 'a property name in double quotes',
  ColonExpected: '":"',
  CommaExpected: '","',
  CloseBraceExpected: '"}"',
  CloseBracketExpected: '"]"',
  EndOfFileExpected: 'the end of the text',
};

// What is wrong with the token at an error's place.
const WRONG = {
  UnexpectedEndOfComment: 'the comment that begins here does not end',
  UnexpectedEndOfString: 'the string that begins here does not end in its line',
  InvalidCharacter: 'the string that begins here holds a control character',
  InvalidEscapeCharacter: 'the string that begins here holds an escape that does not exist',
  InvalidUnicode: 'the string that begins here holds an escape \\u without four hexadecimal digits',
};

/**
 * @param {string} text
 * @param {import('jsonc-parser').ParseError} error
 */
function describe(text, { error, offset, length }) {
  const code = printParseErrorCode(error);
  if (Object.hasOwn(WRONG, code)) return WRONG[code];
  const token = JSON.stringify(text.slice(offset, offset + length));
  if (!Object.hasOwn(WANTED, code)) return `${token} is no JSON value`;
  return length === 0 ? `the text ends where ${WANTED[code]} should be` : `${token} stands where ${WANTED[code]} should be`;
}

/**
 * Parses a JSON text, which may have comments.
 * @param {string} text without a byte order mark
 * @returns {JsonNode}
 * @throws {JsonSyntaxError} at the first place that is no JSON
 */
export function parseJson(text) {
  /** @type {import('jsonc-parser').ParseError[]} */
  const errors = [];
  /** @type {JsonNode | undefined} */
  let tree;
  try {
    tree = parseTree(text, errors);
  } catch (error) {
    if (!(error instanceof RangeError)) throw error; // the parser is recursive: this one says that the stack is full
    throw new JsonSyntaxError('values are nested too deep', 0);
  }
  if (errors.length > 0 || !tree) throw new JsonSyntaxError(describe(text, errors[0]), errors[0].offset);
  return tree;
}

/** The value that a node stands for. Of properties of one name the last counts. @param {JsonNode} node */
export const valueOf = (node) => getNodeValue(node);

/**
 * Properties whose name stands in their object already.
 * @param {JsonNode} node
 * @returns {{ name: string, offset: number, first: JsonNode }[]} `first`: the value of the first one
 */
export function repeatedProperties({ type, children = [] }) {
  const seen = new Map();
  return children.flatMap((child) => {
    if (type !== 'object') return repeatedProperties(child);
    const [{ value: name }, value] = /** @type {JsonNode[]} */ (child.children);
    const inside = repeatedProperties(value);
    if (seen.has(name)) return [{ name, offset: child.offset, first: seen.get(name) }, ...inside];
    seen.set(name, value);
    return inside;
  });
}
