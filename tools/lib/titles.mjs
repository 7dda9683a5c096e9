// Titles from a file or from standard input, read as a stream, so that there may be any number of them.
//
//   tsv     columns by the names in the first line if its first cell is "raw", else raw, en, id
//   jsonl   an object a line: raw, en (or normalizedEnglish), id
//   plain   a title a line
//
// A title without an English reading gets the one that an open lexicon would give it.

import { createReadStream } from 'node:fs';
import englishReading from '../../lib/english_reading.cjs';
import { no } from './command_line.mjs';
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

/** The lines of a stream. Only the line feed ends one: a title may hold other separators. */
async function* linesOf(stream) {
  const decoder = new TextDecoder();
  let rest = '';
  for await (const chunk of stream) {
    const lines = (rest + decoder.decode(chunk, { stream: true })).split('\n');
    rest = lines.pop() ?? '';
    yield* lines.map((line) => line.replace(/\r$/, ''));
  }
  rest += decoder.decode();
  if (rest !== '') yield rest.replace(/\r$/, '');
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
 * @param {AsyncIterable<Uint8Array>} stream
 * @param {string} [format] one of `FORMATS`; by default what the first line looks like
 * @returns {AsyncGenerator<TitleLine>}
 */
async function* titlesOf(stream, format) {
  let names = ['raw', 'en', 'id'];
  let first = true;
  let line = 0;
  for await (const text of linesOf(stream)) {
    line += 1;
    if (text.trim() === '') continue;
    if (first) {
      first = false;
      format ??= formatOf(text);
      const cells = text.split('\t');
      if (format === 'tsv' && cells[0] === 'raw') {
        names = cells;
        continue;
      }
    }
    if (format === 'jsonl') yield { line, ...readJsonLine(text) };
    else if (format === 'plain') yield { line, ...titleOf({ raw: text }) };
    else yield { line, ...titleOf(Object.fromEntries(text.split('\t').map((cell, i) => [names[i], cell || undefined]))) };
  }
}

/**
 * The titles of a file.
 * @param {string} path "-" is standard input
 * @param {import('./command_line.mjs').Io} io
 * @param {string} [format]
 */
export async function* readTitles(path, io, format) {
  try {
    yield* titlesOf(path === '-' ? /** @type {AsyncIterable<Uint8Array>} */ (io.input) : createReadStream(path), format);
  } catch (error) {
    if (error.syscall === undefined) throw error;
    throw no(`${path}: cannot be read: ${reasonOf(error)}`);
  }
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
  return titles;
}
