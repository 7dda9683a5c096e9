// explainTitle: its answer is the batch's, its first candidate the batch's winner, and each reason is given for what it
// happened to.
import assert from 'node:assert/strict';
import { dirname } from 'node:path';
import { test } from 'node:test';

import { buildLocationShard } from '../tools/index.mjs';
import { addon, explainTitle } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { indexDocument, sceneRows, writePack } from './support/packs.mjs';
import { sampleTitles, sealSample } from './support/sample.mjs';

const place = (term, code, { label = term, lang = 'zh' } = {}) => [term, code, 'location', '1', label, lang, `${code} country`];
/** A place of the database, in a shard. */
const entry = (alias, code, englishFlag = 0) =>
  ({ alias, records: [{ code, englishFlag, weight: 0, label: alias, countryLabel: `${code} country` }] });
const shard = (name, ...entries) => ({ type: 6, encoding: 2, name, data: buildLocationShard(entries) });
const base = writePack({ documents: [
  indexDocument({
    scene: [...sceneRows('火锅 food, 麻辣火锅 food detail hotpot 3, 探店 food short visit, plain food, vlog travel, ' +
      '环岛 travel detail island, 日记 travel compound travel_diary, 旅日记 city'), ...sceneRows('火锅 food'), ['短', 'food']],
    human: [['约会', 'food', 'date night'], ['无聊', '', ''], ['幽灵', 'nowhere', 'x']],
    facet: [['streamer', 'identity', 'food_creator', '1', 'en']],
    location: [place('东京', 'JP'), place('nice', 'FR', { lang: 'en' }), place('西湖', 'CN', { label: '杭' }), place('短街', 'CN').slice(0, 3)],
    celebrity: [['小星', 's1', 'Star', 'idol', 'CN', '1', 'photo']],
  }),
  shard('location-x', entry('长安', 'CN'), entry('长安街', 'CX'), entry('东京', 'JP')),
  shard('location-base', entry('hometown', 'US', 1)),
  shard('location-us', entry('springs', 'US', 1)),
] });
const explain = (raw, normalizedEnglish = '', options = {}) => explainTitle({ ...base, raw, normalizedEnglish, ...options });

test('the answer is the batch\'s answer, and the first candidate its winner', () => {
  const packPath = sealSample();
  const sample = { packPath, allowedRoot: dirname(packPath) };
  const overlay = {
    sceneOverlay: { compoundOverrides: [{ alias: '跑步', sceneKey: 'food', detailLabel: 'x' }] },
    locationOverlay: { entries: [['QQ', '跑', '', '', 1, '跑']] },
  };
  let won = 0;
  for (const options of [sample, { ...sample, ...overlay }]) {
    const cases = sampleTitles();
    const { results } = addon.resolveSceneIntentBatch({ ...options, cases });
    for (const [i, title] of cases.entries()) {
      const { answer, single, scene, places } = explainTitle({ ...options, ...title });
      assertSame(answer, results[i], title.raw);
      const alone = addon.resolveSceneIntent({ ...sample, ...title });
      assert.deepEqual([single.sceneKey, single.sceneDetail], [alone.sceneKey, alone.sceneDetail]);
      const [top] = scene.candidates;
      if (top) {
        const { alias, rank, score } = results[i].intentHit;
        assert.deepEqual([top.alias, top.rank, top.score], [alias, rank, score], title.raw);
        won += 1;
      }
      for (const { score, early, length, priority } of scene.candidates) assert.equal(early + (length + priority), score);
      for (const hit of places.hits) assert.equal(hit.weight + hit.kindScore + hit.length + hit.early, hit.score);
      const reported = new Set(places.hits.filter(({ fate }) => fate === 'reported').map(({ code }) => code));
      assert.deepEqual([...reported].sort(), [...results[i].locationCodes].sort(), title.raw);
    }
  }
  assert.ok(won > 500, `${won} titles with a scene`);
});

test('what spoke for a scene, and what did not', () => {
  const told = ({ scene }) => [
    scene.candidates.map(({ alias, kind, phrase }) => [alias, kind, ...(phrase === null ? [] : [phrase])].join(' ')),
    scene.dropped.map(({ alias, reason }) => `${alias} ${reason}`),
    scene.cleared.map(({ alias }) => alias),
    scene.phrases.map(({ phrase, veto, candidate }) => `${phrase} ${veto ? 'veto' : candidate ? 'candidate' : 'no master row'}`),
    scene.detailAlias,
  ];
  for (const [title, ...expected] of [
    [['麻辣火锅'], ['麻辣火锅 detail', '火锅 category'], ['火锅 repeated'], [], [], '麻辣火锅'],
    [['探店火锅'], ['火锅 category'], ['探店 not-whole-title', '火锅 repeated'], [], [], null],
    [['a plain title'], [], ['plain plain-in-ascii-title'], [], [], null],
    [['约会火锅'], ['约会火锅 conflict 约会', '火锅 category'], ['火锅 repeated'], [], ['约会 candidate'], null],
    [['无聊火锅', 'streamer'], ['streamer compound streamer'], ['火锅 repeated'], ['火锅'], ['无聊 veto', 'streamer candidate'], null],
    [['幽灵'], [], [], [], ['幽灵 no master row'], null],
  ]) assert.deepEqual(told(explain(...title)), expected, title[0]);
  assert.deepEqual(['麻辣火锅', '旅日记'].map((raw) => explain(raw).scene.promoted), [false, true]);
  assert.deepEqual(['环岛vlog', '环岛日记vlog'].map((raw) => explain(raw).scene.travelDiary), [false, true]);
  assert.deepEqual([explain('东京逛').scene.travelScene, explain('东京逛').scene.travelDetail], ['city', 'city walk']);
});

test('what became of places', () => {
  const told = ({ places }) => [places.choice, ...places.hits.map(({ alias, fate }) => `${alias} ${fate}`),
    ...places.dropped.map(({ alias, fate }) => `${alias} ${fate}`)];
  for (const [title, ...expected] of [
    [['东京塔'], 'curated', '东京 reported', '东京 repeats-curated'],
    [['东京长安街'], 'curated', '东京 reported', '长安街 silenced-by-curated', '长安 silenced-by-curated', '东京 repeats-curated'],
    [['长安街'], 'places', '长安街 reported', '长安 inside-longer-name'],
    [['西湖'], 'curated', '西湖 label-not-in-title'],
    [['短街'], 'curated', '短街 malformed'],
    [['a nice day', 'a nice day'], 'curated', 'nice common-word'],
    [['home town', 'home town'], 'curated', 'hometown english-in-base-section'],
    [['hot springs', 'hot springs'], 'curated', 'springs no-sign-of-region'],
    [['hot springs usa', 'hot springs usa'], 'scores', 'springs reported'],
  ]) {
    const [choice, ...rows] = told(explain(...title));
    assert.deepEqual([choice, ...rows.sort()], [expected[0], ...expected.slice(1).sort()], title[0]);
  }
});

test('people and the workflow policy', () => {
  const { celebrities, workflow } = explain('小星机场演唱会');
  assert.deepEqual(celebrities.signals, [{ activity: 'concert', word: '演唱会' }, { activity: 'airport', word: '机场' }]);
  assert.deepEqual([celebrities.people[0].id, celebrities.label], ['s1', '明星演唱会']);
  assert.deepEqual(workflow, { suppressed: false, reason: 'no-workflow-context', assetWord: '', hardWord: '', sceneWord: '' });
  assert.deepEqual(explain('火锅素材 项目交付').workflow,
    { suppressed: true, reason: 'hard-workflow-suppressed-scene', assetWord: '素材', hardWord: '项目交付', sceneWord: '' });
  const titles = ['火锅项目', '火锅', '小星演唱会 最终版 火锅'];
  for (const raw of titles) {
    const { answer, workflow: decision } = explain(raw);
    const { suppressed, reason } = addon.evaluateWorkflowPolicy({ raw, normalizedEnglish: '', sceneKey: answer.sceneKey,
      alias: answer.intentHit.alias, detail: answer.sceneDetail });
    assert.deepEqual([decision.suppressed, decision.reason], [suppressed, reason], raw);
  }
});

test('failures are those of the batch', () => {
  for (const [options, expected] of [
    [undefined, 'TypeError: explainTitle requires one options object'],
    [{ raw: 'x' }, 'TypeError: semantic native option is missing: packPath'],
    [{ ...base, raw: 'x', overlayPackPath: 'y' }, 'TypeError: overlayAllowedRoot is required with overlayPackPath'],
    [{ ...base, packPath: `${base.packPath}x`, raw: 'x' }, 'Error: semantic rule-pack extension is invalid'],
  ]) assert.equal(thrownBy(() => explainTitle(options)), expected);
});
