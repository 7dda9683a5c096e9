// klrx lint: what docs/lint.md says of each rule, as it stands there, and what needs a pack.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import test from 'node:test';
import { buildPack } from '../tools/index.mjs';
import { RULES } from '../tools/lib/lint/rules.mjs';
import { addon } from './support/addon.mjs';
import { enter, HEADER, klrx } from './support/klrx.mjs';
import { indexDocument } from './support/packs.mjs';
import { buildLocationShard } from '../tools/index.mjs';

const guide = readFileSync(new URL('../docs/lint.md', import.meta.url), 'utf8');
const sections = guide.split(/^## /m).slice(1).map((text) => ({ rule: text.slice(0, text.indexOf('\n')), text }));

async function lint(line) {
  const [status, out, err] = await klrx(`lint ${line} --json`.replace('  ', ' '), addon);
  const { findings, error } = JSON.parse(out);
  assert.equal(err, '');
  return error ?? [status, ...findings.map(({ rule, place, message, advice }) => `${place}: ${rule}: ${message}${advice === RULES[rule] ? '' : '!'}`)];
}

test('the guide has a section for each rule, and its examples are what is found', async () => {
  assert.deepEqual(sections.map(({ rule }) => rule), Object.keys(RULES));
  const packsOnly = [];
  for (const { rule, text } of sections) {
    const [, name = 'lexicon.json', source, titles, expected] =
      /```(?:json|tsv (\S+))\n(.*?)```\n\n(?:```txt titles.txt\n(.*?)```\n\n)?```\n(.*?)```/s.exec(text) ?? [];
    if (source === undefined) {
      packsOnly.push(rule);
      continue;
    }
    enter({ [name]: source, 'titles.txt': titles ?? '' });
    const found = (await lint(titles ? `${name} --titles titles.txt` : name)).slice(1).filter((line) => line.includes(`: ${rule}: `));
    assert.equal(found.map((line) => `${line}\n`).join(''), expected);
  }
  assert.deepEqual(packsOnly, ['patch-without-effect', 'shard-name', 'unknown-scene']);
});

test('packs, patches, options', async () => {
  const good = { categories: [{ key: 'food', zh: ['火锅'], en: ['hot pot'] }], facets: [{ dimension: 'd', key: 'k', en: ['cake'] }],
    humans: [{ sceneKey: 'food', zh: ['想吃'] }, { sceneKey: '', zh: ['备份'] }],
    locations: [{ code: 'US', label: 'New York', countryLabel: 'U', en: ['New York'] }] };
  enter({ 'good.json': good, 'patch.json': { categories: [{ key: 'city', zh: ['街道'] }], humans: good.humans,
    shortTitleOverrides: [{ sceneKey: 'city', zh: ['火锅'] }] }, 'titles.txt': 'Pancake Day\n' });
  await klrx('build good.json --out good.klrx');
  await klrx('build patch.json --kind patch --base good.klrx --out patch.klrx');
  const shard = { type: 'location-shard', name: 'places', data: buildLocationShard([{ alias: '东京', records: [{ code: 'JP', label: '东京', countryLabel: 'J' }] }]) };
  const index = indexDocument({ scene: [['a1', 'x', '', '0', 'odd', 'zh', '', '', '', '', '', '']], human: [['想', 'y', '']] });
  writeFileSync('odd.klrx', buildPack({ ruleSetId: 'r', documents: [index, shard] }));
  const inTitle = 'inside-words: "cake" is found in the title "Pancake Day"';
  for (const [line, expected] of [
    ['good.json --rule inside-words=off', [0]], ['good.klrx --rule inside-words=off', [0]],
    ['good.json', [1, 'good.json:1:104: inside-words: "cake" is found inside "pancake"']],
    ['good.json --titles titles.txt', [1, `good.json:1:104: ${inTitle}`]],
    ['good.klrx --titles titles.txt', [1, `good.klrx:facet:1: ${inTitle}`]],
    ['odd.klrx --rule one-character=off', [1,
      'odd.klrx:scene:1: wrong-language: "a1" stands under "zh": it is found inside words of titles with a Chinese character, and in no Latin title',
      'odd.klrx:places:1: shard-name: no look-up reaches the rows of "places"',
      'odd.klrx:scene:1: unknown-kind: the kind "odd" ranks below all others (1 row)',
      'odd.klrx:scene:1: unknown-scene: no category with an alias has the key "x"',
      'odd.klrx:human:1: unknown-scene: no category with an alias has the key "y"']],
    ['patch.json --base good.klrx', [1, ...['想吃', '备份'].map((term, i) =>
      `patch.json:1:${[79, 107][i]}: patch-without-effect: "${term}" is a human row of a patch`)]],
    ['patch.klrx --base good.klrx --rule patch-without-effect=off', [0]], ['patch.klrx', 'patch.klrx: is a patch'],
    ['', 'lint needs SOURCES or a PACK'], ['good.klrx odd.klrx', 'lint takes one PACK'],
    ['good.json --rule duplicate=on', '--rule is NAME=off, not duplicate=on'],
    ['good.json --limit x', '--limit is a number, not x'],
  ]) assert.deepEqual(await lint(line), expected, line);
  assert.match(await lint('good.json --rule odd=off'), /^--rule odd is no rule \(always-beaten, /);
  assert.match(await lint('good.json --rule two-scene=off'), /^--rule two-scene is no rule; is two-scenes meant\?$/);

  const many = { categories: [{ key: 'a', zh: [...'甲乙丙丁'] }] };
  enter({ 'a.json': many, 'location-x.tsv': HEADER });
  assert.deepEqual(await klrx('lint . --limit 1', addon), [1, `one-character: 4; ${RULES['one-character']}
a.json:1:33: one-character: the alias "甲" is a single character
  and 3 more; --limit 0 shows all

4 findings in 4 rows
`, '']);
});
