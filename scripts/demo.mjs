// `npm run demo`: from nothing to resolved titles. Sets everything up, seals a pack from the lexicon sources in sample/,
// asks the addon about all sample titles at once, and prints what it found as a table.
//
//   node scripts/demo.mjs [--all] [--json]
import { spawnSync } from 'node:child_process';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join, relative, resolve } from 'node:path';
import { performance } from 'node:perf_hooks';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { command, root, setup } from './setup.mjs';

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
  const line = `demo: klrx ${args.map((arg) => relative(root, resolve(root, arg)) || arg).join(' ')}`;
  say(line.length > 80 ? `${line.slice(0, 79)}…` : line);
  const { status } = spawnSync(process.execPath, [join(root, 'tools/klrx.mjs'), ...args], { cwd: root, stdio: ['ignore', 2, 2] });
  if (status !== 0) throw new Error(`klrx ended with status ${status}`);
}

const sources = (folder, extension) =>
  readdirSync(join(root, folder)).filter((name) => name.endsWith(extension)).sort().map((name) => join(folder, name));

// What a patch looks like: one new scene. In a look-up through both packs its rows come before those of the base.
const patchLexicon = {
  categories: [{
    key: 'skate', label: '滑板', archiveLabel: 'Skate', archiveCode: 'SKT', icon: 'skateboard', defaultDetail: 'street skating',
    priority: '4', zh: ['滑板'], en: ['skateboard'],
  }],
};

function sealPacks() {
  mkdirSync(demoFolder, { recursive: true });
  klrx('build', ...sources('sample/lexicon', '.json'), ...sources('sample/places', '.tsv'),
    '--rule-set-id', patch.baseRuleSetId, '--compress', '--force', '--out', pack.packPath);
  const lexicon = join(demoFolder, 'patch.json');
  writeFileSync(lexicon, JSON.stringify(patchLexicon));
  klrx('build', lexicon, '--kind', 'patch', '--base-rule-set-id', patch.baseRuleSetId, '--rule-set-id', patch.ruleSetId, '--force', '--out', patch.packPath);
  klrx('sign', '--pack', patch.packPath, '--development', '--force', '--out', `${patch.packPath}.manifest.json`);
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
  if (process.platform === 'linux') setup(); // elsewhere the addon is built by hand
  sealPacks();
  // Imported only now, because setup installs what it uses.
  const { renderReport } = await import('./demo_report.mjs');
  const addon = createRequire(import.meta.url)('../lib/index.cjs');
  const [home, open] = titleFiles.map(readTitles);
  const results = await resolveAll(addon, [...home, ...open]);
  if (values.json) process.stdout.write(`${JSON.stringify(results, null, 2)}\n`);
  else process.stdout.write(renderReport(results, home.length, values.all ? Infinity : shownOpenTitles));
}

if (process.argv[1] === fileURLToPath(import.meta.url)) await command(main);
