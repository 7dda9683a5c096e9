// `npm run demo`: from nothing to resolved titles. Sets everything up, seals a pack from the lexicon sources in sample/,
// asks the addon about all sample titles at once, and prints what it found as a table.
//
//   node scripts/demo.mjs [--all] [--json]
import { spawnSync } from 'node:child_process';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join, relative, resolve } from 'node:path';
import { performance } from 'node:perf_hooks';
import { parseArgs } from 'node:util';
import { command, root, setup } from './setup.mjs';
import { fitText } from './text_width.mjs';

const demoFolder = join(root, 'build', 'demo');
const pack = { packPath: join(demoFolder, 'sample.klrx'), allowedRoot: demoFolder };
const patch = { packPath: join(demoFolder, 'patch.klrx'), allowedRoot: demoFolder, baseRuleSetId: 'sample-1', ruleSetId: 'sample-2' };
// Titles in the manner of a private library, all of which are shown, and real ones from open data, some of which are.
const titleFiles = ['sample/home-titles.tsv', 'sample/titles.tsv'];
const shownOpenTitles = 24;

const usage = `usage: node scripts/demo.mjs [--all] [--json]
  --all   every title that speaks of something, not only about ${shownOpenTitles} of those from open data
  --json  the raw results on standard output, nothing else
`;

const say = (line) => process.stderr.write(`${line}\n`);

// --- Packs --------------------------------------------------------------------------------------------------------

function klrx(...args) {
  say(fitText(`demo: klrx ${args.map((arg) => relative(root, resolve(root, arg)) || arg).join(' ')}`, 118).trimEnd());
  const { status } = spawnSync(process.execPath, [join(root, 'tools/klrx.mjs'), ...args], { cwd: root, stdio: ['ignore', 2, 2] });
  if (status !== 0) throw new Error(`klrx ended with status ${status}`);
}

const sources = (folder, extension) =>
  readdirSync(join(root, folder)).filter((name) => name.endsWith(extension)).sort().map((name) => join(folder, name));

// What a patch looks like: one new scene. Its rows stand in front of the base pack's in a look-up through both.
const patchLexicon = {
  categories: [{
    key: 'skate', label: '滑板', archiveLabel: 'Skate', archiveCode: 'SKT', icon: 'skateboard', defaultDetail: 'street skating',
    priority: '4', zh: ['滑板'], en: ['skateboard'],
  }],
};

function sealPacks() {
  mkdirSync(demoFolder, { recursive: true });
  klrx('build', ...sources('sample/lexicon', '.json'), ...sources('sample/places', '.tsv'),
    '--rule-set-id', patch.baseRuleSetId, '--compress', '--out', pack.packPath);
  const lexicon = join(demoFolder, 'patch.json');
  writeFileSync(lexicon, JSON.stringify(patchLexicon));
  klrx('build', lexicon, '--kind', 'patch', '--base-rule-set-id', patch.baseRuleSetId, '--rule-set-id', patch.ruleSetId, '--out', patch.packPath);
  klrx('sign', '--pack', patch.packPath, '--development', '--out', `${patch.packPath}.manifest.json`);
}

// --- Asking -------------------------------------------------------------------------------------------------------

function readTitles(file) {
  const [, ...lines] = readFileSync(join(root, file), 'utf8').trimEnd().split('\n');
  return lines.map((line) => {
    const [raw, normalizedEnglish = ''] = line.split('\t');
    return { raw, normalizedEnglish };
  });
}

/** Everything that the twelve functions have to say, raw. */
async function resolveAll(addon, titles) {
  const warm = await addon.warmSemanticRulePack(pack);
  const started = performance.now();
  const scenes = addon.resolveSceneIntentBatch({ ...pack, cases: titles });
  const celebrities = addon.resolveCelebrityBadgeBatch({ ...pack, cases: titles });
  const milliseconds = performance.now() - started;
  const workflow = titles.map((title, i) => {
    const { sceneKey, sceneDetail, intentHit } = scenes.results[i];
    return addon.evaluateWorkflowPolicy({ ...title, sceneKey, alias: intentHit?.alias ?? '', detail: sceneDetail });
  });
  const overlay = { basePackPath: pack.packPath, overlayPackPath: patch.packPath, allowedRoot: demoFolder };
  return {
    info: addon.getSemanticInfo(),
    pack: addon.inspectRulePack(pack),
    warm,
    milliseconds,
    titles,
    scenes,
    celebrities,
    workflow,
    single: addon.resolveSceneIntent({ ...pack, ...titles[0] }),
    facets: titles.map((title) => addon.extractSemanticFacets({ ...pack, ...title })),
    lookup: addon.lookupBinaryIndex({ ...pack, section: 'scene', term: '滑板火锅', mode: 'contains' }),
    patch: {
      manifest: addon.verifySemanticDeltaManifest({ ...patch, manifestPath: `${patch.packPath}.manifest.json` }),
      lookup: addon.lookupBinaryIndexOverlay({ ...overlay, section: 'scene', term: '滑板火锅', mode: 'contains' }),
      delta: addon.inspectSemanticDelta(patch),
    },
  };
}

// --- Showing ------------------------------------------------------------------------------------------------------

/** Columns: heading, width on the terminal, and the text of a title's row. The last one may be as long as it likes. */
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

/** Titles come from anywhere: a control character must not reach the terminal. */
const printable = (text) => text.replace(/[\p{Cc}\p{Zl}\p{Zp}\u202a-\u202e\u2066-\u2069]/gu, '\ufffd');

const line = (cells) =>
  cells.map((cell, i) => (columns[i][1] === 0 ? cell : fitText(cell, columns[i][1]))).join('  ').trimEnd();

/** The table of the given rows: { title, scene, badge, policy }. */
export function renderTable(rows) {
  const heading = columns.map(([name]) => name);
  const rule = columns.map(([name, width]) => '─'.repeat(width || name.length));
  return [heading, rule, ...rows.map((row) => columns.map(([, , text]) => printable(text(row))))].map(line).join('\n');
}

function report(results, homeCount, all) {
  const rows = results.titles.map((title, i) => ({
    title, scene: results.scenes.results[i], badge: results.celebrities.results[i], policy: results.workflow[i],
  }));
  const home = rows.slice(0, homeCount);
  const speaking = rows.slice(homeCount)
    .filter(({ scene, badge }) => scene.intentHit || scene.locationMeta || badge.primaryCelebrity);
  const step = all ? 1 : Math.max(1, speaking.length / shownOpenTitles);
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
  process.stdout.write(`
${renderTable(home)}

${shown.length} of the ${rows.length - home.length} titles from open data${all ? '' : ', picked evenly from those that speak of something; --all shows them all'}:

${renderTable(shown)}

${rows.length} titles in ${results.milliseconds.toFixed(1)} ms: ${count(({ scene }) => scene.intentHit)} with a scene, ${
  count(({ scene }) => scene.locationMeta)} with a place, ${count(({ badge }) => badge.primaryCelebrity)} with a person, ${
  count(({ policy }) => policy.suppressed)} suppressed by workflow words.

pack    ${about.ruleSetId}, ${about.packBytes} bytes, ${about.documentCount} documents; terms: ${terms}
facets  ${commonFacets.join(', ') || 'none'}
patch   ${patched.manifest.baseRuleSetId} to ${patched.manifest.ruleSetId}, signature ${patched.manifest.signatureVerified ? 'verified' : 'not verified'}; 滑板火锅 through it: ${
  patched.lookup.matches.map(({ term, source, fields }) => `${term} (${fields[0]}, ${source})`).join(', ')}
`);
}

async function main(args) {
  let values;
  try {
    ({ values } = parseArgs({ args, options: { all: { type: 'boolean' }, json: { type: 'boolean' }, help: { type: 'boolean' } } }));
  } catch (error) {
    say(`demo: ${error.message}\n${usage}`);
    process.exitCode = 2;
    return;
  }
  if (values.help) {
    process.stdout.write(usage);
    return;
  }
  setup();
  sealPacks();
  const addon = createRequire(import.meta.url)('../lib/index.cjs');
  const [home, open] = titleFiles.map(readTitles);
  const results = await resolveAll(addon, [...home, ...open]);
  if (values.json) process.stdout.write(`${JSON.stringify(results, null, 2)}\n`);
  else report(results, home.length, values.all);
}

if (process.argv[1] === new URL(import.meta.url).pathname) await command(main);
