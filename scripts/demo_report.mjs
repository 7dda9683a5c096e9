// What the demo shows: two lines or so a title, that fit a terminal of 80 columns and stay in line under Chinese titles, which
// take two columns a character.
import stringWidth from 'string-width';
import { fitText, printable } from '../tools/lib/terminal.mjs';

const WIDTH = 80; // columns
const INDENT = '  ';

// Columns: heading, width on the terminal, and the text of a title's row.
/** @type {[string, number, (row: any) => string][]} */
const columns = [
  ['title', 38, (row) => row.title.raw],
  ['scene', 9, (row) => row.scene.sceneKey],
  ['detail', 20, (row) => row.scene.sceneDetail],
  ['score', 5, (row) => row.scene.intentHit?.score.toFixed(1).padStart(5) ?? ''],
];

const line = (cells) => cells.map((cell, i) => fitText(printable(cell), columns[i][1])).join('  ').trimEnd();

/** Pieces of text in lines that fit, each line indented, with the joint between pieces of one line. */
function wrap(pieces, joint, indent = INDENT) {
  const lines = [];
  for (const piece of pieces.map((text) => fitText(printable(text), Math.min(stringWidth(text), WIDTH - indent.length)))) {
    const longer = `${lines.at(-1)}${joint}${piece}`;
    if (lines.length > 0 && stringWidth(longer) <= WIDTH) lines[lines.length - 1] = longer;
    else lines.push(`${indent}${piece}`);
  }
  return lines.join('\n');
}

const paragraph = (text, indent) => wrap(text.split(' '), ' ', indent);

/** The words of a reading that are an alias, in brackets, with as many of the others as fit. */
function bracketed(reading, alias, width) {
  const words = reading.split(' ').filter(Boolean);
  for (let from = 0; from < words.length; from += 1) {
    for (let to = from + 1; to <= words.length; to += 1) {
      if (words.slice(from, to).join('') !== alias) continue;
      const shown = (before, after) => [
        ...(before < from ? ['…', ...words.slice(from - before, from)] : words.slice(0, from)), `[${words.slice(from, to).join(' ')}]`,
        ...(to + after < words.length ? [...words.slice(to, to + after), '…'] : words.slice(to)),
      ].join(' ');
      let around = words.length;
      while (around > 0 && shown(around, around).length > width) around -= 1;
      return shown(around, around);
    }
  }
  return undefined;
}

/** What decided: an alias of the title, or the words of its English reading. */
function reasonOf({ title, scene: { intentHit } }) {
  if (!intentHit) return [];
  const reading = intentHit.type === 'en' ? bracketed(title.normalizedEnglish, intentHit.alias, WIDTH - 20) : undefined;
  return [reading === undefined ? `by ${intentHit.alias}` : `read as "${reading}"`];
}

/** Everything else that there is to say of a title. */
function notesOf(row) {
  const { scene, badge, policy } = row;
  const told = scene.sceneKey !== '' && policy.reason !== 'no-workflow-context';
  return [
    ...reasonOf(row),
    ...(scene.locationMeta ? [`at ${scene.locationMeta.shortLabel}`] : []),
    ...(badge.primaryCelebrity ? [`with ${badge.primaryLabel}, ${badge.secondaryLabel}`] : []),
    ...(told ? [`${policy.suppressed ? 'suppressed' : 'kept'}: ${policy.reason}`] : []),
  ];
}

/** The table of the given rows: { title, scene, badge, policy }. */
function renderTable(rows) {
  const heading = [line(columns.map(([name]) => name)), line(columns.map(([, width]) => '─'.repeat(width)))];
  const lines = rows.flatMap((row) => [line(columns.map(([, , text]) => text(row))), ...[wrap(notesOf(row), '; ')].filter(Boolean)]);
  return [...heading, ...lines].join('\n');
}

const ABOUT = `The [words] of the English reading, or the alias of the title, decided the scene. A score is 10, less one for each character
before the alias where the title itself has it; plus 1.2 for each character of a Chinese and 0.9 of an English alias, at most 12; plus the
priority of the row. It decides only between aliases of one kind and length. A trip that nothing but a place and an ending tells has 52.`;

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
  const { lookup, manifest } = patched;
  const picked = step === 1 ? '' : ', picked evenly from those that speak of something; --all shows them all';
  const named = (name, text) => paragraph(text, ' '.repeat(8)).replace(/^ {8}/, name.padEnd(8));
  return `
${renderTable(home)}

${paragraph(`${shown.length} of the ${rows.length - home.length} titles from open data${picked}:`, '')}

${renderTable(shown)}

${paragraph(ABOUT.replaceAll('\n', ' '), '')}

${paragraph(`${rows.length} titles in ${results.milliseconds.toFixed(1)} ms: ${count(({ scene }) => scene.intentHit)} with a scene, ${
    count(({ scene }) => scene.locationMeta)} with a place, ${count(({ badge }) => badge.primaryCelebrity)} with a person, ${
    count(({ policy }) => policy.suppressed)} suppressed by workflow words.`, '')}

${named('pack', `${about.ruleSetId}, ${about.packBytes} bytes, ${about.documentCount} documents; terms: ${terms}`)}
${named('facets', commonFacets.join(', ') || 'none')}
${named('patch', `${manifest.baseRuleSetId} to ${manifest.ruleSetId}, signature ${manifest.signatureVerified ? 'verified' : 'not verified'}; 滑板火锅 through it: ${
    lookup.matches.map(({ term, source, fields }) => `${term} (${fields[0]}, ${source})`).join(', ')}`)}
`;
}
