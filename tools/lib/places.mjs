// Places sources: a tab-separated table becomes a location shard. UTF-8, one header line, no quoting; one row a name.

import { basename } from 'node:path';
import { createFindings, placeOf } from './findings.mjs';
import { buildLocationShard, placeFields } from './location_shard.mjs';
import { compactTerm } from './text.mjs';

export const PLACES_COLUMNS = Object.freeze(['alias', 'code', 'lang', 'weight', 'label', 'countryLabel']);

const MAX_COUNT = 0xffff; // of records an alias, of bytes a text: both are stored in two bytes
const NUMBER_TEXT = /^-?(?:[0-9]+(?:\.[0-9]+)?|\.[0-9]+)(?:[eE][+-]?[0-9]+)?$/;

/** @typedef {import('./lexicon.mjs').LexiconRow} PlaceRow with the fields that a reader makes of a record */

/** The name of the shard document of a source: its base name without ".tsv". */
export function shardName(path) {
  return basename(path).replace(/\.tsv$/i, '');
}

/**
 * The findings of one row, as [column, message] pairs.
 * @param {string[]} cells
 * @returns {[number, string][]}
 */
function checkCells([alias, code, lang, weight, label]) {
  /** @type {[number, string][]} */
  const wrong = [];
  if (compactTerm(alias) === '') wrong.push([0, 'the alias is blank']);
  if (code === '') wrong.push([1, 'the code is empty']);
  if (lang !== 'zh' && lang !== 'en') wrong.push([2, `the language is ${JSON.stringify(lang)}, not "zh" or "en"`]);
  if (!NUMBER_TEXT.test(weight) || !Number.isFinite(Math.fround(Number(weight)))) {
    wrong.push([3, `${JSON.stringify(weight)} is no weight`]);
  }
  // Names in the native language are looked up by their label.
  if (lang === 'zh' && label === '') wrong.push([4, 'a "zh" place without a label is never found']);
  return wrong;
}

/**
 * Compiles a places source. The rows of one folded alias become one entry, at the place of the first of them.
 *
 * @param {import('./findings.mjs').Source} source
 * @returns {{ name: string, rows: PlaceRow[], data: Uint8Array | undefined, findings: import('./findings.mjs').Finding[] }}
 *   `name` of the document; `rows` in the order of the source; `data` is undefined if a finding is an error
 */
export function compilePlaces(source) {
  const findings = createFindings();
  const name = shardName(source.path);
  if (!/^location-[A-Za-z0-9._-]+$/.test(name) || name.length > 128) {
    findings.error(source, 0, 'the file must be named location-NAME.tsv, NAME of ASCII letters, digits, "-", "." and "_"');
  }
  const entries = new Map(); // folded alias -> entry
  const seen = new Map(); // alias, code and language -> offset
  /** @type {PlaceRow[]} */
  const rows = [];
  let offset = 0;
  source.text.split('\n').forEach((rawLine, index) => {
    const lineOffset = offset;
    offset += rawLine.length + 1;
    const line = rawLine.replace(/\r$/, '');
    if (index > 0 && /^[\t ]*$/.test(line)) return; // a spreadsheet leaves such lines
    const cells = line.split('\t');
    if (index === 0) {
      if (line !== PLACES_COLUMNS.join('\t')) {
        findings.error(source, 0, `the header is not ${PLACES_COLUMNS.join(', ')}, separated by tabs`);
      }
      return;
    }
    if (cells.length !== PLACES_COLUMNS.length) {
      findings.error(source, lineOffset, `the row has ${cells.length} columns, not ${PLACES_COLUMNS.length}`);
      return;
    }
    const cellOffset = (column) => lineOffset + cells.slice(0, column).reduce((sum, cell) => sum + cell.length + 1, 0);
    const wrong = checkCells(cells);
    cells.forEach((cell, column) => {
      if (Buffer.byteLength(cell) > MAX_COUNT) wrong.push([column, `the text is longer than ${MAX_COUNT} bytes`]);
    });
    for (const [column, message] of wrong) findings.error(source, cellOffset(column), message);
    if (wrong.length > 0) return;

    const [written, code, lang, weight, label, countryLabel] = cells;
    const alias = compactTerm(written);
    const identity = `${alias}\t${code}\t${lang}`;
    if (seen.has(identity)) {
      findings.warning(source, lineOffset, `the place stands already at ${placeOf(source, seen.get(identity))}`, 'duplicate');
    } else {
      seen.set(identity, lineOffset);
    }
    const entry = entries.get(alias) ?? { alias, records: [] };
    entries.set(alias, entry);
    if (entry.records.length === MAX_COUNT) {
      findings.error(source, lineOffset, `the alias has more than ${MAX_COUNT} records`);
      return;
    }
    entry.records.push({ code, englishFlag: lang === 'en' ? 1 : 0, weight: Number(weight), label, countryLabel });
    rows.push({ term: alias, fields: placeFields(entry.records[entry.records.length - 1]), written, source, offset: lineOffset });
  });
  const sound = findings.list.every((finding) => finding.warning);
  return { name, rows, data: sound ? buildLocationShard([...entries.values()]) : undefined, findings: findings.list };
}
