// What the demo shows: tables whose columns stay in line under Chinese titles, which take two columns a character.
import { fitText, printable } from '../tools/lib/terminal.mjs';

// Columns: heading, width on the terminal, and the text of a title's row. The last one may be as long as it likes.
/** @type {[string, number, (row: any) => string][]} */
const columns = [
  ['title', 38, (row) => row.title.raw],
  ['scene', 9, (row) => row.scene.sceneKey],
  ['detail', 18, (row) => row.scene.sceneDetail],
  ['alias', 12, (row) => row.scene.intentHit?.alias ?? ''],
  ['score', 6, (row) => row.scene.intentHit?.score.toFixed(1).padStart(5) ?? ''],
  ['place', 20, (row) => row.scene.locationMeta?.shortLabel ?? ''],
  ['person, badge', 28, ({ badge }) => (badge.primaryCelebrity ? `${badge.primaryLabel}, ${badge.secondaryLabel}` : '')],
  ['workflow', 0, ({ scene, policy }) => (scene.sceneKey === '' ? '' : describePolicy(policy))],
];

const describePolicy = ({ suppressed, reason }) =>
  suppressed ? `suppressed: ${reason}` : reason === 'no-workflow-context' ? 'keep' : `keep: ${reason}`;

const line = (cells) =>
  cells.map((cell, i) => (columns[i][1] === 0 ? cell : fitText(cell, columns[i][1]))).join('  ').trimEnd();

/** The table of the given rows: { title, scene, badge, policy }. */
function renderTable(rows) {
  const heading = columns.map(([name]) => name);
  const rule = columns.map(([name, width]) => '─'.repeat(width || name.length));
  return [heading, rule, ...rows.map((row) => columns.map(([, , text]) => printable(text(row))))].map(line).join('\n');
}

/**
 * What the demo prints.
 * @param {any} results of every call
 * @param {number} homeCount how many titles at the beginning are all shown
 * @param {number} limit how many of the others are shown
 */
export function renderReport(results, homeCount, limit) {
  const rows = results.titles.map((title, i) => ({
    title, scene: results.scenes.results[i], badge: results.celebrities.results[i], policy: results.workflow[i],
  }));
  const home = rows.slice(0, homeCount);
  const speaking = rows.slice(homeCount)
    .filter(({ scene, badge }) => scene.intentHit || scene.locationMeta || badge.primaryCelebrity);
  const step = Math.max(1, speaking.length / limit);
  const shown = speaking.filter((_, i) => Math.floor(i / step) !== Math.floor((i - 1) / step));
  const count = (test) => rows.filter(test).length;

  const { pack: about, patch: patched } = results;
  const facets = new Map();
  for (const { dimension, facetKey } of results.facets.flatMap(({ groups }) => groups)) {
    const name = `${dimension}/${facetKey}`;
    facets.set(name, (facets.get(name) ?? 0) + 1);
  }
  const commonFacets = [...facets].sort(([, a], [, b]) => b - a).slice(0, 6).map(([name, number]) => `${number} ${name}`);
  const terms = Object.entries(about.binaryIndex.sectionCounts).map(([name, terms]) => `${terms} ${name}`).join(', ');
  return `
${renderTable(home)}

${shown.length} of the ${rows.length - home.length} titles from open data${
  step === 1 ? '' : ', picked evenly from those that speak of something; --all shows them all'}:

${renderTable(shown)}

${rows.length} titles in ${results.milliseconds.toFixed(1)} ms: ${count(({ scene }) => scene.intentHit)} with a scene, ${
  count(({ scene }) => scene.locationMeta)} with a place, ${count(({ badge }) => badge.primaryCelebrity)} with a person, ${
  count(({ policy }) => policy.suppressed)} suppressed by workflow words.

pack    ${about.ruleSetId}, ${about.packBytes} bytes, ${about.documentCount} documents; terms: ${terms}
facets  ${commonFacets.join(', ') || 'none'}
patch   ${patched.manifest.baseRuleSetId} to ${patched.manifest.ruleSetId}, signature ${patched.manifest.signatureVerified ? 'verified' : 'not verified'}; 滑板火锅 through it: ${
  patched.lookup.matches.map(({ term, source, fields }) => `${term} (${fields[0]}, ${source})`).join(', ')}
`;
}
