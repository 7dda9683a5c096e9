// JSON (RFC 8259) that remembers where everything stood. `JSON.parse` gives values without places, and a lexicon editor
// needs the place of a wrong one.

/**
 * A value with its place.
 * @typedef {object} JsonNode
 * @property {'object' | 'array' | 'string' | 'number' | 'boolean' | 'null'} type
 * @property {number} offset of its first character, in UTF-16 units
 * @property {string | number | boolean | null} [value] of a scalar
 * @property {JsonNode[]} [items] of an array
 * @property {{ name: string, offset: number, node: JsonNode }[]} [members] of an object, in order, doubles included
 */

/** An error at a place of the text. */
export class JsonSyntaxError extends Error {
  constructor(message, offset) {
    super(message);
    this.offset = offset;
  }
}

// Deeper than any lexicon, and far from the depth at which a recursive parser runs out of stack.
const MAX_DEPTH = 200;

const BLANKS = /[ \t\n\r]*/y;
const NUMBER = /-?(?:0|[1-9][0-9]*)(?:\.[0-9]+)?(?:[eE][+-]?[0-9]+)?/y;
const WORD = /[A-Za-z0-9_$.+-]+/y;
const STRING_RUN = /[^"\\\u0000-\u001f]*/y;
const ESCAPES = { '"': '"', '\\': '\\', '/': '/', b: '\b', f: '\f', n: '\n', r: '\r', t: '\t' };
const LITERALS = { true: ['boolean', true], false: ['boolean', false], null: ['null', null] };

/**
 * Parses a JSON text.
 * @param {string} text without a byte order mark
 * @returns {JsonNode}
 * @throws {JsonSyntaxError} at the first place that is no JSON
 */
export function parseJson(text) {
  let offset = 0;

  function take(pattern) {
    pattern.lastIndex = offset;
    const match = pattern.exec(text);
    offset = match ? pattern.lastIndex : offset;
    return match?.[0];
  }
  function peek() {
    take(BLANKS);
    return text[offset];
  }
  function fail(message, at = offset) {
    throw new JsonSyntaxError(message, at);
  }
  function unexpected(wanted) {
    if (offset >= text.length) fail(`the text ends where ${wanted} should be`);
    fail(`${JSON.stringify(String.fromCodePoint(text.codePointAt(offset)))} stands where ${wanted} should be`);
  }

  function readEscape() {
    const start = offset - 1; // the backslash
    const letter = text[offset];
    offset += 1;
    if (letter === 'u') {
      const digits = text.slice(offset, offset + 4);
      if (!/^[0-9a-fA-F]{4}$/.test(digits)) fail('an escape \\u needs four hexadecimal digits', start);
      offset += 4;
      return String.fromCharCode(parseInt(digits, 16));
    }
    if (letter === undefined || !Object.hasOwn(ESCAPES, letter)) fail('an escape of this letter does not exist', start);
    return ESCAPES[letter];
  }

  function readString() {
    const start = offset;
    offset += 1;
    let value = '';
    for (;;) {
      value += take(STRING_RUN);
      const character = text[offset];
      if (character === undefined) fail('the string that begins here has no end', start);
      if (character < ' ') fail(character === '\n' || character === '\r' ? 'a string ends with its line' : 'a control character stands in a string');
      offset += 1;
      if (character === '"') return value;
      value += readEscape();
    }
  }

  function readArray(depth) {
    const items = [];
    offset += 1;
    if (peek() === ']') {
      offset += 1;
      return items;
    }
    for (;;) {
      items.push(readValue(depth));
      const next = peek();
      if (next !== ',' && next !== ']') unexpected('"," or "]"');
      const comma = offset;
      offset += 1;
      if (next === ']') return items;
      if (peek() === ']') fail('a comma stands before "]"', comma);
    }
  }

  function readObject(depth) {
    const members = [];
    offset += 1;
    if (peek() === '}') {
      offset += 1;
      return members;
    }
    for (;;) {
      if (peek() !== '"') unexpected('a property name in double quotes');
      const nameOffset = offset;
      const name = readString();
      if (peek() !== ':') unexpected('":"');
      offset += 1;
      members.push({ name, offset: nameOffset, node: readValue(depth) });
      const next = peek();
      if (next !== ',' && next !== '}') unexpected('"," or "}"');
      const comma = offset;
      offset += 1;
      if (next === '}') return members;
      if (peek() === '}') fail('a comma stands before "}"', comma);
    }
  }

  function readScalar(start) {
    const word = take(WORD);
    if (word === undefined) unexpected('a value');
    if (Object.hasOwn(LITERALS, word)) {
      const [type, value] = LITERALS[word];
      return { type, offset: start, value };
    }
    NUMBER.lastIndex = start;
    if (NUMBER.exec(text)?.[0] !== word) fail(`${word} is no JSON value`, start);
    return { type: 'number', offset: start, value: Number(word) };
  }

  function readValue(depth) {
    const first = peek();
    const start = offset;
    if (depth === MAX_DEPTH) fail(`values are nested more than ${MAX_DEPTH} deep`);
    if (first === '{') return { type: 'object', offset: start, members: readObject(depth + 1) };
    if (first === '[') return { type: 'array', offset: start, items: readArray(depth + 1) };
    if (first === '"') return { type: 'string', offset: start, value: readString() };
    return readScalar(start);
  }

  const value = readValue(0);
  if (peek() !== undefined) unexpected('the end of the text');
  return value;
}
