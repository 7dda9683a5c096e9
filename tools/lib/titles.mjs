// Titles from a file or from standard input, read as a stream, so that there may be any number of them.
//
//   tsv     columns by the names in the first line if its first cell is "raw", else raw, en, id
//   jsonl   an object a line: raw, en (or normalizedEnglish), id
//   plain   a title a line
//
// A title without an English reading gets the one that an open lexicon would give it.

import { createReadStream } from 'node:fs';
import englishReading from '../../lib/english_reading.cjs';
import { no, Refusal } from './command_line.mjs';
import { reasonOf } from './files.mjs';

export const FORMATS = Object.freeze(['tsv', 'jsonl', 'plain']);

/**
 * One line of the input: a title, or what is wrong with the line.
 * @typedef {object} TitleLine
 * @property {number} line from 1
 * @property {unknown} [id] what the caller knows the title by
 * @property {{ raw: string, normalizedEnglish: string }} [title]
 * @property {string} [error]
 */

/** A first piece that is no text, which answers nobody wants: it is binary, or in another encoding. */
function checkText(bytes, text) {
  const lines = text.split('\n');
  const broken = lines.filter((line) => line.includes('\ufffd')).length;
  if (bytes.includes(0) || broken > lines.length / 2) throw no('is not UTF-8 text');
}

/** The lines of a stream, as many at once as come. Only the line feed ends one: a title may hold other separators. */
async function* linesOf(stream) {
  const decoder = new TextDecoder();
  let rest = '';
  let first = true;
  for await (const chunk of stream) {
    const text = decoder.decode(chunk, { stream: true });
    if (first) checkText(chunk, text);
    first = false;
    const lines = (rest + text).split('\n');
    rest = lines.pop() ?? '';
    yield lines.map((line) => line.replace(/\r$/, ''));
  }
  rest += decoder.decode();
  if (rest !== '') yield [rest.replace(/\r$/, '')];
}

const formatOf = (line) => (line.startsWith('{') ? 'jsonl' : line.includes('\t') || line === 'raw' ? 'tsv' : 'plain');

/**
 * @param {{ raw?: unknown, en?: unknown, normalizedEnglish?: unknown, id?: unknown }} value
 * @returns {{ id?: unknown, title?: { raw: string, normalizedEnglish: string }, error?: string }}
 */
function titleOf({ raw, en, normalizedEnglish = en, id }) {
  if (typeof raw !== 'string' || raw === '') return { id, error: 'the title is missing' };
  if (normalizedEnglish !== undefined && typeof normalizedEnglish !== 'string') return { id, error: 'the English reading is no text' };
  return { id, title: { raw, normalizedEnglish: normalizedEnglish ?? englishReading(raw) } };
}

function readJsonLine(line) {
  let value;
  try {
    value = JSON.parse(line);
  } catch {
    return { error: 'the line is no JSON' };
  }
  return value === null || typeof value !== 'object' || Array.isArray(value) ? { error: 'the line is no JSON object' } : titleOf(value);
}

/**
 * How the titles of a file stand in it.
 * @typedef {object} Layout
 * @property {string} format one of `FORMATS`
 * @property {string[]} names of the columns of a table
 * @property {number} heading the line that names them; 0 without one
 */

/** @returns {Layout} by the first line that is not blank, unless the format is given */
function layoutOf(text, line, format = formatOf(text)) {
  const cells = text.split('\t');
  return format === 'tsv' && cells[0] === 'raw' ? { format, names: cells, heading: line } : { format, names: ['raw', 'en', 'id'], heading: 0 };
}

const isBlank = (text) => text.trim() === '';

/**
 * @param {Layout} layout
 * @param {string} text
 * @param {number} line
 * @returns {TitleLine | undefined} nothing if the line is not meant to hold a title
 */
function readLine({ format, names, heading }, text, line) {
  if (line === heading || isBlank(text)) return undefined;
  if (format === 'jsonl') return { line, ...readJsonLine(text) };
  if (format === 'plain') return { line, ...titleOf({ raw: text }) };
  return { line, ...titleOf(Object.fromEntries(text.split('\t').map((cell, i) => [names[i], cell || undefined]))) };
}

/**
 * Lines of a file that are read later, by another thread or machine.
 * @typedef {object} LineChunk
 * @property {number} number from 0
 * @property {number} line that of the first
 * @property {string} text lines with a line feed between them
 * @property {Layout} [layout] none as long as all lines are blank
 */

/**
 * @param {LineChunk} chunk
 * @returns {TitleLine[]}
 */
export const titlesIn = ({ line, text, layout }) =>
  (layout ? text.split('\n').flatMap((each, i) => readLine(layout, each, line + i) ?? []) : []);

/**
 * @param {AsyncIterable<Uint8Array>} stream
 * @param {string} [format] by default what the first line looks like
 * @param {number} [size] lines in a chunk but the last; by default as many as come
 * @returns {AsyncGenerator<LineChunk>}
 */
async function* chunksOf(stream, format, size) {
  /** @type {Layout | undefined} */
  let layout;
  let [number, line] = [0, 1];
  /** @type {string[]} */
  let waiting = [];
  const take = (count) => {
    const lines = waiting.splice(0, count);
    const first = layout ? -1 : lines.findIndex((text) => !isBlank(text));
    if (first >= 0) layout = layoutOf(lines[first], line + first, format);
    const chunk = { number, line, text: lines.join('\n'), layout };
    number += 1;
    line += lines.length;
    return chunk;
  };
  for await (const lines of linesOf(stream)) {
    waiting = waiting.length === 0 ? lines : waiting.concat(lines);
    while (waiting.length > 0 && waiting.length >= (size ?? 1)) yield take(size ?? waiting.length);
  }
  if (waiting.length > 0) yield take(waiting.length);
}

/**
 * The lines of a file in chunks.
 * @param {string} path "-" is standard input
 * @param {import('./command_line.mjs').Io} io
 * @param {string} [format] one of `FORMATS`
 * @param {number} [size] lines in a chunk but the last; by default as many as come
 */
export async function* readChunks(path, io, format, size) {
  try {
    yield* chunksOf(path === '-' ? /** @type {AsyncIterable<Uint8Array>} */ (io.input) : createReadStream(path), format, size);
  } catch (error) {
    if (error instanceof Refusal) throw no(`${path}: ${error.message}`);
    if (error.syscall === undefined) throw error;
    throw no(`${path}: cannot be read: ${reasonOf(error)}`);
  }
}

/**
 * The titles of a file.
 * @param {string} path "-" is standard input
 * @param {import('./command_line.mjs').Io} io
 * @param {string} [format]
 */
export async function* readTitles(path, io, format) {
  for await (const chunk of readChunks(path, io, format)) yield* titlesIn(chunk);
}

/** A title and its line. @typedef {{ raw: string, normalizedEnglish: string, line: number }} FileTitle */

/**
 * All titles of a file, for what needs them at once.
 * @param {string} path
 * @param {import('./command_line.mjs').Io} io
 * @returns {Promise<FileTitle[]>}
 */
export async function allTitles(path, io) {
  const titles = [];
  for await (const { line, title, error } of readTitles(path, io)) {
    if (!title) throw no(`${path}:${line}: ${error}`);
    titles.push({ ...title, line });
  }
  if (titles.length === 0) throw no(`${path}: holds no title`);
  return titles;
}
