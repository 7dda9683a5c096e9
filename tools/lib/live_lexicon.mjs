// A lexicon that is being written: its sources are watched, and each time they change a pack is made of them. While they
// have errors, the last good pack stays in use.

import { mkdtempSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { watch } from 'chokidar';
import { Refusal } from './command_line.mjs';
import { realPathOf } from './files.mjs';
import { findingRecord } from './findings.mjs';
import { buildPack } from './pack_file.mjs';
import { compileFiles, documentsOf, sourceFiles } from './sources.mjs';

const SETTLED = 80; // milliseconds without a change: an editor writes a file in several steps

/** Something to mend, at "file:line:column". @typedef {{ place: string, message: string }} Remark */

/**
 * What there is to say about a version of the sources.
 * @typedef {object} Version
 * @property {number} number counts the good ones
 * @property {string | undefined} packPath of the last good one; undefined before the first
 * @property {string} error of the latest sources, "" if they are good
 * @property {Remark[]} findings in the latest sources
 */

/** Whether a pack is watched, not sources. @param {string[]} paths */
export const isPack = (paths) => paths.length === 1 && paths[0].endsWith('.klrx');

/** @returns {Remark} */
const remarkOf = ({ file, line, column, message }) => ({ place: `${file}:${line}:${column}`, message });

/**
 * @param {string[]} paths of sources and folders, or of one pack
 * @param {() => Promise<Remark[]>} lint more findings, once the sources are good; they may come some time later
 * @param {(version: Version) => void} onChange called once before this returns, and then for each change
 * @returns {{ close: () => Promise<void> }}
 */
export function watchLexicon(paths, lint, onChange) {
  const folder = realpathSync(mkdtempSync(join(tmpdir(), 'klrx-serve-')));
  let number = 0;
  /** @type {string | undefined} */
  let packPath;
  /** @type {Version | undefined} */
  let latest;

  function make() {
    /** @type {Remark[]} */
    let findings = [];
    let error = '';
    try {
      let next = realPathOf(paths[0]);
      if (!isPack(paths)) {
        const compiled = compileFiles(sourceFiles(paths));
        findings = compiled.findings.map((finding) => remarkOf(findingRecord(finding)));
        next = join(folder, `lexicon-${number + 1}.klrx`); // a name of its own: the old one may be in use
        writeFileSync(next, buildPack({ ruleSetId: 'serve', documents: documentsOf(compiled) }));
      }
      if (packPath !== undefined && !isPack(paths)) rmSync(packPath, { force: true });
      packPath = next;
      number += 1;
    } catch (failure) {
      if (!(failure instanceof Refusal)) throw failure;
      error = failure.message;
      findings = (/** @type {any} */ (failure.report?.findings) ?? []).map(remarkOf);
    }
    const version = { number, packPath, error, findings };
    latest = version;
    onChange(version);
    if (error !== '') return;
    // Saved once more in the meantime, the sources are linted then.
    lint().then((more) => {
      if (latest === version) onChange({ ...version, findings: [...findings, ...more] });
    }, () => {});
  }

  make();
  /** @type {NodeJS.Timeout | undefined} */
  let waiting;
  const watcher = watch(paths, { ignoreInitial: true, depth: 0 }).on('all', () => {
    clearTimeout(waiting);
    waiting = setTimeout(make, SETTLED);
  });
  return {
    async close() {
      clearTimeout(waiting);
      await watcher.close();
      rmSync(folder, { recursive: true, force: true });
    },
  };
}
