// From the paths of sources to the documents of a pack: what build, lint and unpack share.

import { existsSync } from 'node:fs';
import { basename, extname, join } from 'node:path';
import { buildBinaryIndex, INDEX_DOCUMENT_NAME } from './binary_index.mjs';
import { attempt, countOf, misuse, no } from './command_line.mjs';
import { isDirectory, namesIn, readText, realPathOf } from './files.mjs';
import { createFindings, findingRecord, formatFinding } from './findings.mjs';
import { compileLexicons } from './lexicon.mjs';
import { compilePlaces } from './places.mjs';

const isLexicon = (path) => /\.jsonc?$/i.test(path);
const isPlaces = (path) => /\.tsv$/i.test(path);

/** The sources in a directory: its lexicons and tables of places, but not those of the directories below it. */
function sourcesIn(directory) {
  const names = attempt(directory, () => namesIn(directory)).filter((name) => !name.startsWith('.'));
  const paths = names.filter((name) => isLexicon(name) || /^location-.*\.tsv$/i.test(name)).map((name) => join(directory, name));
  if (paths.length === 0) throw no(`${directory}: holds no source (*.json, *.jsonc, location-NAME.tsv)`);
  return paths;
}

/**
 * The files that are meant: a directory stands for its sources, in the order of their names.
 * @param {string[]} paths
 * @returns {string[]}
 */
export function sourceFiles(paths) {
  const files = paths.flatMap((path) => {
    if (isDirectory(path)) return sourcesIn(path);
    if (!existsSync(path) && extname(path) === '') throw no(`${path}: no such file or directory`);
    if (!isLexicon(path) && !isPlaces(path)) throw misuse(`${path} is no .json, .jsonc or .tsv source`);
    return [path];
  });
  if (new Set(files.map(realPathOf)).size < files.length) throw misuse('a source is given twice');
  return files;
}

/**
 * What sources compile to.
 * @typedef {object} Compiled
 * @property {{ type: string, rows: import('./lexicon.mjs').LexiconRow[] }[] | undefined} sections undefined without a lexicon
 * @property {number} lexiconCount
 * @property {ReturnType<typeof compilePlaces>[]} shards
 * @property {import('./findings.mjs').Finding[]} findings in the order of the sources
 */

/**
 * Compiles sources that are in memory.
 * @param {import('./findings.mjs').Source[]} sources
 * @param {Parameters<typeof compileLexicons>[1]} [options]
 * @returns {Compiled}
 */
export function compileTexts(sources, options) {
  const lexicons = sources.filter(({ path }) => isLexicon(path));
  const lexicon = compileLexicons(lexicons, options);
  const shards = sources.filter(({ path }) => isPlaces(path)).map(compilePlaces);
  const order = new Map(sources.map((source, index) => [source, index]));
  const findings = [lexicon, ...shards].flatMap((result) => result.findings)
    .sort((a, b) => (order.get(a.source) ?? 0) - (order.get(b.source) ?? 0) || a.offset - b.offset);
  return { sections: lexicons.length > 0 ? lexicon.sections : undefined, lexiconCount: lexicons.length, shards, findings };
}

/**
 * Reads and compiles the sources in files; an error in one of them is the answer, but only after all were read.
 * @param {string[]} files
 * @param {Parameters<typeof compileLexicons>[1]} [options]
 * @returns {Compiled}
 */
export function compileFiles(files, options) {
  const unread = createFindings();
  const sources = files.map((path) => {
    const source = { path, text: '' };
    try {
      source.text = readText(path);
    } catch (error) {
      unread.error(source, 0, `the source ${error.message}`);
    }
    return source;
  });
  const lost = new Set(unread.list.map(({ source }) => source));
  const compiled = compileTexts(sources.filter((source) => !lost.has(source)), { ...options, complete: lost.size === 0 });
  const findings = sources.flatMap((source) => [...unread.list, ...compiled.findings].filter((finding) => finding.source === source));
  const errors = findings.filter(({ warning }) => !warning).length;
  if (errors > 0) {
    const said = findings.map((finding) => `${formatFinding(finding)}\n`).join('');
    throw no(`${countOf(errors, 'error')}, nothing written`, { said, report: { findings: findings.map(findingRecord) } });
  }
  return { ...compiled, findings };
}

/**
 * The documents of a pack.
 * @param {Compiled} compiled without an error among its findings
 * @returns {import('./payload.mjs').PayloadDocument[]}
 */
export function documentsOf({ sections, lexiconCount, shards }) {
  const shardDocuments = shards.map(({ name, data }) =>
    ({ type: 'location-shard', name, data: /** @type {Uint8Array} */ (data) }));
  if (!sections) return shardDocuments;
  const data = buildBinaryIndex({ sections, sourceDocumentCount: lexiconCount });
  return [{ type: 'semantic-index', name: INDEX_DOCUMENT_NAME, data }, ...shardDocuments];
}

/** The rule set that a pack is called by if nothing else is said. */
export const ruleSetIdOf = (packPath) => basename(packPath, extname(packPath));
