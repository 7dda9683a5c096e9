// klrx unpack, inspect and diff: what is in a pack, and back to sources.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { buildLocationShard, buildPack } from '../tools/index.mjs';
import { decompile } from '../tools/lib/decompile.mjs';
import { openPack } from '../tools/lib/pack_reader.mjs';
import { compileFiles, compileTexts, documentsOf, sourceFiles } from '../tools/lib/sources.mjs';
import { addon } from './support/addon.mjs';
import { enter, HEADER, klrx } from './support/klrx.mjs';
import { indexDocument, packBytes } from './support/packs.mjs';

const contentOf = (compiled, kind = 'base') =>
  openPack(buildPack({ kind, ruleSetId: 'r', baseRuleSetId: 'b', documents: documentsOf(compiled), compression: 'lz4-block-v1' }));

/** Unpacks, compiles what came out, and compares all rows. */
function assertRoundTrip(content, kind = 'base', scenes = new Map()) {
  const { files } = decompile(content);
  const again = contentOf(compileTexts(files.map(({ name, text }) => ({ path: name, text })), { kind, scenes }), kind);
  const rows = ({ sections, shards }) => JSON.stringify([sections, shards]); // much faster than a deep comparison
  assert.ok(rows(again) === rows(content));
}

test('unpack: the sample comes back as it was', () => {
  const folders = ['lexicon', 'places'].map((name) => fileURLToPath(new URL(`../sample/${name}`, import.meta.url)));
  // The largest table has nothing that the others have not.
  assertRoundTrip(contentOf(compileFiles(sourceFiles(folders).filter((path) => !path.endsWith('location-cn.tsv')))));
});

/** Lexicons and places out of few words, so that everything repeats and is scattered. */
function randomSources(seed) {
  let state = seed;
  const below = (limit) => (state = (Math.imul(state, 1664525) + 1013904223) >>> 0) % 65536 % limit;
  const pick = (...choices) => choices[below(choices.length)];
  const list = (limit, make) => Array.from({ length: below(limit) }, make);
  const word = () => pick('火锅', '面', 'Street Food', 'b', '逛 街', 'É"\\', '😀', `w${below(9)}`);
  const words = () => list(4, word);
  const weight = () => pick(3, 0.1, -2.5, '1e3', '', '7');
  const scene = () => pick('food', 'city', 'x"y');
  const override = () => ({ sceneKey: scene(), detailLabel: pick('', 'd1', 'd2'), zh: words(), en: words() });
  const lexicon = {
    categories: [...['food', 'city', 'x"y'].map((key) => ({ key, zh: [word()] })),
      ...list(6, () => ({ key: scene(), label: pick('', 'L'), priority: weight(), defaultDetail: pick('', 'd'), zh: words(),
        aliases: words(), en: words(), details: list(4, () => ({ label: pick('', 'd1'), zh: words(), en: words() })) }))],
    shortTitleOverrides: list(4, override), compoundOverrides: list(4, override), conflictOverrides: list(4, override),
    humans: list(5, () => ({ sceneKey: pick('', 'food'), detail: pick('', 'd'), zh: words(), en: words() })),
    celebrities: list(5, () => ({ id: pick('1', '2'), name: word(), kind: pick('', 'actor'), tags: pick([], [''], ['a', '']),
      aliases: { b: words(), 1: words() } })),
    locations: list(5, () => ({ code: pick('A', 'B'), label: pick('L', 'M'), weight: weight(), zh: words(), en: words() })),
    facets: list(5, () => ({ dimension: pick('d', 'identity'), key: 'k', weight: weight(), zh: words(), en: words() })),
  };
  const rows = list(30, () => [word(), pick('A', 'B'), pick('zh', 'en'), pick('0.1', '-0', '1e-3', '16777217', '1'), 'L', pick('', 'C')]);
  const places = HEADER + rows.sort().map((cells) => `${cells.join('\t')}\n`).join('');
  return [{ path: 'a.json', text: JSON.stringify(lexicon) }, { path: 'location-x.tsv', text: places }];
}

test('unpack: random lexicons come back as they were', () => {
  for (let seed = 1; seed <= 60; seed += 1) {
    const compiled = compileTexts(randomSources(seed));
    assert.ok(compiled.findings.every(({ warning }) => warning), `seed ${seed}`);
    assertRoundTrip(contentOf(compiled));
  }
  // A patch that has the data of its scenes from its base.
  const scenes = new Map([['food', { tail: ['Food', '', '', '', '', '1'], place: 'in the base' }]]);
  const source = { path: 'p.json', text: '{"compoundOverrides":[{"sceneKey":"food","zh":["面"]}],"humans":[{"sceneKey":"food","zh":["吃"]}]}' };
  const patch = contentOf(compileTexts([source], { kind: 'patch', scenes }), 'patch');
  assert.equal(decompile(patch).needsBase, true);
  assertRoundTrip(patch, 'patch', scenes);
});

test('unpack: what no source says is refused by name, and nothing is written over', async () => {
  const scene = (kind) => ['火锅', 'food', '', '', kind, 'zh', '', '', '', '', '', ''];
  const shard = (records, alias = 'a') => ({ type: 'location-shard', name: 'location-a', data: buildLocationShard([{ alias, records }]) });
  for (const [recipe, message] of [
    [{ sections: { scene: [scene('category'), scene('odd')] } }, 'row 2 of scene, "火锅", cannot be said in a source, or not in this order'],
    [{ sections: { scene: [scene('short'), scene('category')] } }, /^row 1 of scene/],
    [{ sections: { human: [['x y', 'food', '']] } }, /^row 1 of human, "x y"/],
    [{ documents: [indexDocument(), shard([{ code: 'c', label: '' }])] }, /^location-a.tsv would say: a "zh" place without a label/],
    [{ documents: [shard([{ code: 'c', weight: NaN, label: 'l' }])] }, /would say: "NaN" is no weight/],
    [{ documents: [shard([{ code: 'c', label: 'l' }], 'A')] }, 'the rows of location-a cannot be said in a source, or not in this order'],
  ]) assert.throws(() => decompile(openPack(packBytes(recipe))), { message });

  const documents = [indexDocument(), { type: 'star-manifest', name: 'stars', data: 'x' }];
  enter({ 'p.klrx': packBytes({ documents }), 'full/x': '', 'other.klrx': buildPack({ ruleSetId: 'r', documents, keyId: 'release-v1' }) });
  const left = 'klrx: warning: the document stars is left out: no source makes it\n';
  for (const [line, expected] of [
    ['p.klrx full', [1, '', 'klrx: full: is not empty\nklrx: hint: --force writes into it\n']],
    ['p.klrx out', [0, `out: 1 source with the rows of p.klrx\n  ${join('out', 'lexicon.json')}\n`
      + 'to make the pack again: klrx build out --rule-set-id rules-1 --key test-v1 --out PACK\n', left]],
    ['p.klrx', [2, '', 'klrx: unpack needs PACK and DIR\nklrx: hint: klrx unpack --help shows the usage\n']],
    ['full/x o', [1, '', 'klrx: full/x: the file is not a rule pack\n']],
  ]) assert.deepEqual(await klrx(`unpack ${line}`), expected);
});

const LEXICON = { categories: [{ key: 'food', label: 'Food', zh: ['火锅', '面'] }],
  locations: [{ code: 'JP', label: '东京', zh: ['东京'] }], celebrities: [{ id: 'c', name: '李娜', tags: ['a', 'b'] }] };

test('inspect: sizes that add up, keys, rows', async () => {
  enter({ 'lex.json': LEXICON, 'location-x.tsv': `${HEADER}New York\tNY\ten\t1\tNew York\tU\n` });
  await klrx('build lex.json location-x.tsv --compress --out p.klrx');
  const { packBytes: size, documents, ...report } = JSON.parse((await klrx('inspect p.klrx --json', addon))[1]);
  const sum = documents.reduce((total, { bytes }) => total + bytes, report.namesAndDigestsBytes);
  assert.deepEqual([sum, report.storedBytes + report.frameBytes, documents.map(({ name, rows }) => [name, rows])],
    [report.payloadBytes, size, [['semantic-binary-index-v1', 4], ['location-x', 1]]]);
  assert.deepEqual([report.keyId, report.publicKey, report.compression], ['test-v1', true, 'lz4-block-v1']);
  const [, text] = await klrx('inspect p.klrx', addon);
  // The numbers under "bytes" as a reader would add them up.
  const lines = text.slice(text.indexOf('\ndocuments')).split('\n');
  const numberIn = (line) => Number(/-?\d+(?=(?:\s+\d+)?$)/.exec(line)[0]);
  const total = lines.filter((line) => line.startsWith('  ')).reduce((all, line) => all + numberIn(line), 0);
  assert.equal(total, numberIn(lines.find((line) => line.startsWith('file'))));
  for (const [line, expected] of [
    ['scene --term 火锅', 'scene\t火锅\tfood\t\t\tcategory\tzh\tFood\t\t\t\t\t\n'],
    ['location', 'location\t东京\tJP\tlocation\t0\t东京\tzh\t\nlocation-x\tnewyork\tNY\tlocation-db-en\t1.000000\tNew York\ten\tU\n'],
    ['celebrity', 'celebrity\t李娜\tc\t李娜\t\t\t\t\ta|b\n'],
  ]) assert.deepEqual(await klrx(`inspect p.klrx --rows ${line}`), [0, expected, ''], line);
  assert.deepEqual(await klrx('inspect p.klrx --rows location-x --term New\u00a0York'),
    [0, '', 'klrx: warning: no row of location-x has the term "New\u00a0York"\n']);
  assert.match((await klrx('inspect p.klrx --rows x'))[2], /--rows is scene, human, celebrity, location, facet, location-x, not x/);
});

test('diff: rows, answers, and the patch that gives the answers of the target', async () => {
  const next = structuredClone(LEXICON);
  next.categories.push({ key: 'skate', label: 'Skate', zh: ['滑板'] });
  next.categories[0].label = 'Meal';
  next.categories[0].zh.pop();
  next.facets = [{ dimension: 'd', key: 'k', zh: ['x'] }];
  enter({ 'a.json': LEXICON, 'b.json': next, 'titles.txt': '滑板日\n火锅\n面\n' });
  for (const name of ['a', 'b']) await klrx(`build ${name}.json --out ${name}.klrx`);
  const [status, out, err] = await klrx('diff a.klrx b.klrx --titles titles.txt --out p.klrx --nonce 000102030405060708090a0b', addon);
  assert.deepEqual([status, out, err], [0, `~ scene 火锅: label Food -> Meal
- scene 面: scene food, kind category, lang zh
+ scene 滑板: scene skate, kind category, lang zh
+ facet x: dimension d, key k, weight 0, lang zh
rows: 2 added, 1 removed, 1 changed
滑板日
  before: -, -, -, -
  after:  skate, -, -, -
面
  before: food, -, -, -
  after:  -, -, -, -
titles: 2 of 3 are answered otherwise (scene, detail, place, person)
p.klrx: patch b for the base a
`, [
    '1 removed row left in force: a patch takes nothing away', '1 changed row put beside the old ones: whichever sorts first decides',
    '1 row of the sections human and facet without effect on titles: only those of the base are read', '',
  ].map((text) => text && `klrx: warning: ${text}\n`).join('')]);
  const report = JSON.parse((await klrx('diff a.klrx p.klrx --titles titles.txt --json', addon))[1]);
  assert.deepEqual([report.counts, report.titles.map(({ title }) => title)], [{ added: 2, removed: 0, changed: 1 }, ['滑板日']]);
  const patch = openPack(readFileSync('p.klrx'));
  assert.deepEqual([patch.metadata.baseRuleSetId, patch.metadata.ruleSetId, patch.sections.scene.map(({ term }) => term)],
    ['a', 'b', ['火锅', '滑板']]);
  writeFileSync('c.klrx', readFileSync('a.klrx'));
  assert.match((await klrx('diff a.klrx c.klrx --out q.klrx'))[2], /has the rule set of a.klrx/);
  assert.deepEqual((await klrx('diff a.klrx c.klrx'))[1], 'rows: 0 added, 0 removed, 0 changed\n');
});
