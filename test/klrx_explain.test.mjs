// klrx explain: what the native module reports, in words.
import assert from 'node:assert/strict';
import test from 'node:test';

import { enter, HEADER, klrx } from './support/klrx.mjs';

const LEXICON = {
  categories: [
    { key: 'food', zh: ['火锅'], en: ['hotpot'], details: [{ label: 'spicy', zh: ['麻辣火锅'] }] },
    { key: 'show', zh: ['演出'] },
  ],
  humans: [{ sceneKey: 'food', detail: 'date night', zh: ['约会'] }, { sceneKey: '', detail: '', zh: ['无聊'] }],
  celebrities: [{ id: 's1', name: 'Star', kind: 'idol', region: 'CN', priority: 1, photoKey: '', aliases: { zh: ['小星'] } }],
};
const PLACES = `${HEADER}东京\tJP\tzh\t0.5\t东京\t日本\n西湖\tCN\tzh\t0.5\t杭州\t中国\nmont rose\tCH\ten\t0.5\tMont Rose\tSwitzerland\n`;

test('each part of an explanation says why', async () => {
  enter({ 'lex.json': LEXICON, 'location-x.tsv': PLACES });
  const [status, , err] = await klrx('build lex.json location-x.tsv --out lex.klrx');
  assert.equal(status, 0, err);
  for (const [title, ...expected] of [
    ['麻辣火锅演出', 'scene: food, spicy', '麻辣火锅 decides: its kind ranks higher (200 to 100)',
      'the detail is that of the detail row 麻辣火锅', /^ {2}\* {2}麻辣火锅 +food +spicy +detail +200 +\d/m, /^ {5}演出 +show/m],
    ['火锅', '火锅 decides: no other row speaks for the title', 'people: none', 'place: none', 'not suppressed, no-workflow-context'],
    ['火锅演出', 'its score is higher (1'],
    ['约会', '约会 decides: no other', '约会 (phrase)'],
    ['无聊火锅', 'scene: none', 'the veto 无聊 takes the rows below marked x away', /^ {2}x {2}火锅/m],
    ['东京西湖', 'place: 日本 · 东京', 'codes are chosen by the earliest and longest name', /^ {2}\* {2}东京 .* table, zh .* location-x \d$/m,
      /^ {2}- {2}西湖 .* location-x \d\n +the title lacks the first character or word of its label$/m],
    ['Mont Rose', 'place: none', /- {2}montrose .*\n +a table is searched for single English words/],
    ['小星演唱会', 'people: Star', 'badge 明星演唱会, confidence 0.99: concert (演唱会)'],
    ['Hotpot in Strawberry Lane', 'scene: food (suppressed)', '(hard: raw in "strawberry")'],
    ['火锅项目交付', 'suppressed, hard-workflow-suppressed-scene (asset handling: 项目, hard: 项目交付)'],
    ['Hotpot', 'Hotpot, read as "hotpot"', 'hotpot decides'],
  ]) {
    const [, text] = await klrx(['explain', 'lex.klrx', title]);
    for (const part of expected) {
      assert.ok(text.split('\n').every((line) => line.length <= 80), `${title}: lines of 80 columns\n${text}`);
      assert.ok(typeof part === 'string' ? text.includes(part) : part.test(text), `${title}: ${part} is not in\n${text}`);
    }
  }
  const [, json] = await klrx(['explain', 'lex.klrx', '火锅', '--english', 'x', '--json']);
  const { ok, title, scene } = JSON.parse(json);
  assert.deepEqual([ok, title.normalizedEnglish, scene.candidates.map(({ alias }) => alias)], [true, 'x', ['火锅']]);
  assert.equal((await klrx(['explain', 'lex.json', 'x']))[0], 1);
  assert.equal((await klrx('explain lex.klrx'))[0], 2);
  assert.match((await klrx('explain lex.klrx two words'))[2], /one TITLE, in quotes if it has blanks/);
});
