// What a lexicon makes of a list of titles, and the page that shows it: one HTML file that needs nothing else.

import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { gzipSync } from 'node:zlib';
import { explanationText } from './explanation_text.mjs';

/**
 * A title as the page lists it.
 * @typedef {object} ReportTitle
 * @property {string} raw
 * @property {string} scene "" without one
 * @property {string} detail
 * @property {string} alias the term or phrase that decided
 * @property {string} kind of the row that decided: "short", "conflict", …, "phrase", "veto" for a phrase that leaves no scene, or
 *   "travel" for a scene that no row decided
 * @property {number} score
 * @property {string} place
 * @property {string} people
 * @property {boolean} suppressed
 * @property {string} why the explanation, as text
 */

/**
 * @typedef {object} Report
 * @property {string} pack name
 * @property {ReportTitle[]} titles
 * @property {[name: string, count: number][]} scenes the most frequent first, without the titles that have none
 * @property {[name: string, count: number][]} kinds
 * @property {[alias: string, count: number][]} aliases that decided
 * @property {string[]} unused aliases of scenes that spoke for no title
 * @property {{ from: number, to: number, count: number }[]} scores
 */

const BIN = 5; // points of score in a bar of the histogram

/** @param {import('./explanation_text.mjs').Explanation} explanation @returns {ReportTitle} */
function titleOf(explanation) {
  const { title, answer, scene, celebrities, workflow } = explanation;
  const [top] = scene.candidates;
  const veto = answer.sceneKey === '' ? scene.phrases.find((phrase) => phrase.veto) : undefined;
  return {
    raw: title.raw,
    scene: answer.sceneKey,
    detail: answer.sceneDetail,
    alias: veto?.phrase ?? top?.phrase ?? top?.alias ?? '',
    kind: veto ? 'veto' : top ? (top.phrase === null ? top.kind : 'phrase') : answer.sceneKey === '' ? '' : 'travel',
    score: answer.intentHit?.score ?? 0,
    place: answer.locationMeta?.shortLabel ?? '',
    people: celebrities.people.map(({ name }) => name).join(', '),
    suppressed: workflow.suppressed,
    why: explanationText(explanation, false),
  };
}

/** Counts of names, the most frequent first, then by name. @returns {[string, number][]} */
function counted(names) {
  const counts = new Map();
  for (const name of names) counts.set(name, (counts.get(name) ?? 0) + 1);
  return [...counts].sort(([a, m], [b, n]) => n - m || (a < b ? -1 : 1));
}

function histogram(scores) {
  if (scores.length === 0) return [];
  const bins = scores.map((score) => Math.floor(score / BIN));
  const [first, last] = bins.reduce(([least, most], bin) => [Math.min(least, bin), Math.max(most, bin)], [bins[0], bins[0]]);
  return Array.from({ length: last - first + 1 }, (_, i) =>
    ({ from: (first + i) * BIN, to: (first + i + 1) * BIN, count: bins.filter((bin) => bin === first + i).length }));
}

/**
 * @param {string} pack name
 * @param {string[]} terms of all scene rows of the pack
 * @param {Iterable<import('./explanation_text.mjs').Explanation>} explanations
 * @returns {Report}
 */
export function makeReport(pack, terms, explanations) {
  const titles = [];
  const spoke = new Set();
  for (const explanation of explanations) {
    for (const { alias } of explanation.scene.candidates) spoke.add(alias);
    titles.push(titleOf(explanation));
  }
  const answered = titles.filter(({ scene }) => scene !== '');
  return {
    pack,
    titles,
    scenes: counted(answered.map(({ scene }) => scene)),
    kinds: counted(answered.map(({ kind }) => kind)),
    aliases: counted(answered.map(({ alias }) => alias).filter(Boolean)),
    unused: [...new Set(terms)].filter((term) => !spoke.has(term)).sort(),
    scores: histogram(answered.map(({ score }) => score)),
  };
}

const part = (name) => readFileSync(new URL(`../report/${name}`, import.meta.url), 'utf8');
const digestOf = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;
const escaped = (text) => text.replace(/[&<>"]/g, (character) => `&#${character.charCodeAt(0)};`);

/**
 * The page. It runs its own script and nothing else, and loads nothing. Equal reports give equal bytes.
 * @param {Report} report
 * @returns {string}
 */
export const reportPage = (report) => page(report.pack, gzipSync(JSON.stringify(report), { level: 9 }).toString('base64'), "'none'");

/**
 * The page of `klrx serve`: the same, but it asks the server that it came from for its report.
 * @param {string} pack name
 * @returns {string}
 */
export const livePage = (pack) => page(pack, '', "'self'");

function page(pack, data, connections) {
  const style = part('page.css');
  const script = part('page.js');
  const policy = `default-src 'none'; connect-src ${connections}; style-src ${digestOf(style)}; script-src ${digestOf(script)}`;
  return part('page.html')
    .replace('{policy}', () => policy)
    .replaceAll('{pack}', () => escaped(pack))
    .replace('{style}', () => style)
    .replace('{data}', () => data)
    .replace('{script}', () => script);
}
