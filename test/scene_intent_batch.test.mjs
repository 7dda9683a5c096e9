// resolveSceneIntentBatch: what it gathers, how it differs from the call for one title, overlays, the travel inference.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { root, sceneRows, writePack } from './support/packs.mjs';

const location = (term, code) => [term, code, 'location', '1', term, 'zh', `${term} country`];
const sections = {
  scene: [...sceneRows('火锅 food, 麻辣火锅 food detail hotpot, en:hotpot food detail hotpot, vlog show, ' +
    '探店 food short food_visit, en:coffeeday coffee short coffee_day, en:coffee coffee, 穿搭 beauty, 街头 city, ' +
    '旅行 travel category - 5, 环岛 travel detail island, 日记 travel compound travel_diary'), ['短行', 'food']],
  human: [...['约会', 'datenight'].map((phrase) => [phrase, 'food', 'date night']), ['无聊', '', 'none'],
    ['幽灵', 'nowhere', 'x'], ['只有一个字段']],
  facet: ['fashionista identity fashion_creator 1 en', 'streamer identity streamer 1 en',
    'painter identity painter 1 en', 'foodie identity food_creator 1 zh', 'blogger content streamer 1 en']
    .map((row) => row.split(' ')),
  location: [location('东京', 'JP-13'), location('上海', 'CN-SH')],
};
const pack = writePack({ sections });

const call = (options) => addon.resolveSceneIntentBatch(options);
const resolve = (cases, options) => call({ ...pack, cases, ...options }).results;
const one = (raw, options) => resolve([{ raw }], options)[0];
/** The answer's texts, as `sceneRows` writes them: "sceneKey sceneDetail alias type rank"; "" without a scene. */
function told({ sceneKey, sceneDetail, intentHit: hit }) {
  const texts = [sceneKey, sceneDetail, ...(hit ? [hit.alias, hit.type, `${hit.rank}`] : [])];
  return hit ? texts.map((text) => text.replaceAll(' ', '_') || '-').join(' ') : texts.join('');
}
/** Runs rows of [raw or [raw, English reading], what is told]; without a scene the title alone. */
function check(table, options) {
  const cases = table.map(([title]) => {
    const [raw, normalizedEnglish] = [title].flat();
    return { raw, ...(normalizedEnglish && { normalizedEnglish }) };
  });
  const results = resolve(cases, options);
  for (const [i, [title, expected = '']] of table.entries()) assert.equal(told(results[i]), expected, `${title}`);
}

test('which rows speak for a title', () => check([
  // A short row is the whole title or nothing; an English one needs an all-ASCII title.
  ['探 店', 'food food_visit 探店 zh 500'], ['探店火锅', 'food - 火锅 zh 100'],
  [['Coffee Day', 'coffee day'], 'coffee coffee_day coffeeday en 500'],
  [['咖啡', 'coffee day'], 'coffee - coffee en 100'], [['Coffee Day out', 'coffee day out'], 'coffee - coffee en 100'],
  // English rows and identities: whole words of the English reading. Identities are English, known, and with a master
  // row.
  [['x', 'hot pot'], 'food hotpot hotpot en 200'], [['x', 'the streamer'], 'show creator_spotlight streamer en 300'],
  ...['hotpots', 'Hotpot', 'foodie', 'painter', 'blogger', 'streamers'].map((english) => [['x', english]]),
  // A plain alias that isn't English: in an all-ASCII title only as the whole title.
  ['V L O G', 'show - vlog zh 100'], ['我的vlog', 'show - vlog zh 100'], ['hotpot'], ['myvlogday'],
  // Human phrases: the whole title is "short", a part of it "conflict"; both speak for the whole title. They need two
  // fields and a scene with rows.
  ['约会', 'food date_night 约会 zh 500'], ['约会去', 'food date_night 约会去 zh 400'], ['幽灵'], ['只有一个字段'],
  [['x', 'date night'], 'food date_night datenight en 500'],
  [['x', 'our date night'], 'food date_night ourdatenight en 400'],
  // Found as the compacted raw title only: no hit of its own, so the text is the empty English one.
  ['datenight', 'food date_night - en 400'],
  // A veto clears what came before and after it, but no identity.
  ['无聊火锅约会'], [['无聊', 'fashionista'], 'beauty outfit_styling fashionista en 300'],
  // The travel diary rule: "vlog" and an override row of that detail, although a detail row won before.
  ['环岛旅行日记', 'travel island 日记 zh 300'], ['环岛日记vlog', 'travel travel_diary 日记 zh 300'],
  ['约会日记vlog', 'food date_night 约会日记vlog zh 400'],
  ['短行', 'food - 短行 - 0'],
]));

test('identities', () => {
  const known = { food_creator: 'food restaurant_dining', travel_creator: 'travel travel_diary',
    beauty_creator: 'beauty outfit_styling', fashion_creator: 'beauty outfit_styling',
    gaming_creator: 'show gaming_creator', streamer: 'show creator_spotlight' };
  const facet = Object.keys(known).map((key, i) => [`name${i}`, 'identity', key, '1', 'en']);
  const options = writePack({ sections: { scene: sections.scene, facet } });
  check(Object.values(known).map((scene, i) => [['x', `name${i}`], `${scene} name${i} en 300`]), options);
});

test('a case result, property by property', () => {
  const entry = { key: 'food', defaultDetail: 'food default', priority: '1', label: 'food label',
    archiveLabel: 'food archive', archiveCode: 'food-code', icon: 'food-icon' };
  const whole = call({ ...pack, cases: [{ raw: '东京麻辣火锅' }, { raw: '无' }] });
  const { locationMeta } = whole.results[0];
  const score = 8 + (4 * 1.2 + 1);
  const hit = { alias: '麻辣火锅', type: 'zh', sceneKey: 'food', detail: 'hotpot', rank: 200, score, entry };
  const head = { ok: true, sceneContract: 'native-scene-v1' };
  assertSame(whole, { ...head, count: 2, results: [
    { ...head, locationCodes: ['JP-13'], locationMeta, sceneKey: 'food', sceneDetail: 'hotpot', intentHit: hit },
    { ...head, locationCodes: [], locationMeta: null, sceneKey: '', sceneDetail: '', intentHit: null },
  ] });
  // Positions are counted in the compacted title: the call for one title gives 7.
  assert.equal(one('我 们火锅').intentHit.score, 8 + (2 * 1.2 + 1));
});

test('the travel inference', () => {
  const diary = (raw) => [raw, `travel travel_diary ${raw} zh 0`];
  const walk = (raw) => [raw, `city city_walk ${raw} zh 0`];
  check([
    ...['玩', '玩一下', '玩几天', '玩一天', '玩两天', '玩三天'].map((ending) => diary(`东京${ending}`)),
    ['东京玩 '], ['他处玩'],
    ...['随拍', '逛', '逛一下', '逛一逛'].map((ending) => walk(`东京${ending}`)),
    // Alias and rank stay those of the row that the inference beats.
    ['东京街头逛', 'city - 街头 zh 100'], ['东京街头旅行随拍', 'travel travel_diary 旅行 zh 100'],
    ['东京火锅随拍', 'city city_walk 火锅 zh 100'],
  ]);
  const scored = (raw, options) => {
    const { score, entry } = one(raw, options).intentHit;
    return [score, ...Object.values(entry)];
  };
  const travel = ['travel', 'travel default', '5', 'travel label', 'travel archive', 'travel-code', 'travel-icon'];
  assert.deepEqual(scored('东京玩'), [52, ...travel]);
  assert.deepEqual(scored('东京穿搭玩'), [8 + (2 * 1.2 + 1), ...travel], 'score and alias stay');
  const bare = writePack({ sections: { scene: sceneRows('火锅 food'), location: sections.location } });
  assert.deepEqual(scored('东京玩', bare), [52, 'travel', 'travel diary', '', '', '', '', '']);
  assert.deepEqual(scored('东京火锅玩', bare).slice(1, 5), ['travel', 'food default', '1', 'food label']);
});

test('overlays: rows after those of the pack, in their order', () => {
  const sceneOverlay = {
    categories: [{ key: 'club', label: 'Club', zh: ['夜店'], details: [{ label: 'dj', zh: ['打碟'] }] },
      { key: 'food', label: 'Other food', zh: ['火锅', '新菜'] }],
    conflictOverrides: [{ sceneKey: 'food', zh: ['火锅局'] }, { sceneKey: 'later', zh: ['以后'] }],
  };
  const later = { scene: sceneRows('以后见 later, 夜店 party'), location: [location('火星', 'MARS')] };
  const patch = { overlayPackPath: writePack({ sections: later }).packPath, overlayAllowedRoot: root };
  const label = (raw, options) => one(raw, options).intentHit?.entry.label;
  const titles = { 夜店打碟: 'Club', 火锅局: 'food label', 新菜: 'Other food', 以后: '', 以后见面: '' };
  for (const [raw, expected] of Object.entries(titles)) assert.equal(label(raw, { sceneOverlay, ...patch }), expected);
  // Nothing is merged by key: of two rows for one term the score decides, here by the patch's priority.
  assert.equal(one('夜店', { sceneOverlay, ...patch }).sceneKey, 'party');
  assert.deepEqual([one('夜店').sceneKey, label('以后见', patch)], ['', 'later label']);
  assert.deepEqual([one('火星', patch).locationCodes, one('火星').locationCodes], [['MARS'], []]);
  // A human phrase finds a master row: of the pack, else the caller's first, else of the overlay pack.
  const human = ['food', 'club', 'party'].map((key) => [`去${key}`, key, 'dance']);
  const options = { ...writePack({ sections: { scene: sections.scene, human } }), ...patch,
    sceneOverlay: { categories: [...sceneOverlay.categories, { key: 'club', label: 'Second', zh: ['舞厅'] }] } };
  const masters = human.map(([raw]) => label(raw, options));
  assert.deepEqual(masters, ['food label', 'Club', 'party label']);
});

test('a row that stands twice counts once', () => {
  // Twice, the row "first" would keep a place before "second" when the whole title changes places with it.
  const rows = sceneRows('火锅 food detail first 2, 烤肉 food detail second, 一二三四五六七八火锅烤肉 food');
  const [first, , whole] = rows;
  const answers = [[rows, [first]], [[first, ...rows], []]].map(([scene, patch]) =>
    told(one(whole[0], { ...writePack({ sections: { scene } }),
      overlayPackPath: writePack({ sections: { scene: patch } }).packPath, overlayAllowedRoot: root })));
  assert.deepEqual(answers, Array(2).fill(`food second ${whole[0]} zh 100`));
});

test('refusals, in order, and what is ignored', () => {
  const missing = { packPath: `${root}/missing.klrx`, allowedRoot: root };
  const patch = { overlayPackPath: missing.packPath };
  const [array, object] = ['TypeError: cases must be an array', 'TypeError: each batch case must be an object'];
  const [stat, option] = ['Error: semantic rule-pack file stat is invalid', 'TypeError: semantic native option is'];
  const table = [
    [array, missing], [array, { cases: new Proxy([], {}) }],
    ['RangeError: cases exceeds the batch limit', { ...missing, cases: new Array(10001) }],
    [stat, { ...missing, ...patch, cases: [] }],
    ...[undefined, 1].map((overlayAllowedRoot) => ['TypeError: overlayAllowedRoot is required with overlayPackPath',
      { ...patch, overlayAllowedRoot, cases: [1] }]),
    [stat, { ...patch, overlayAllowedRoot: root, cases: [1] }],
    ...[[{ raw: 'x' }, []], [null], new Array(1)].map((cases) => [object, { cases }]),
    [`${option} missing: raw`, { cases: [{ raw: 5 }] }], [`${option} empty: raw`, { cases: [{ raw: '' }] }],
    ['TypeError: normalizedEnglish must be a string', { cases: [{ raw: 'x', normalizedEnglish: undefined }] }],
  ];
  for (const [message, options] of table) assert.equal(thrownBy(() => call({ ...pack, ...options })), message);
  // An overlay root alone, overlays of other types; a function is a case.
  const odd = { overlayAllowedRoot: root, overlayPackPath: 7, sceneOverlay: 7, locationOverlay: [] };
  assert.equal(resolve([Object.assign(() => {}, { raw: '火锅' })], odd)[0].sceneKey, 'food');
  assertSame(call({ ...pack, cases: [] }), { ok: true, sceneContract: 'native-scene-v1', count: 0, results: [] });
  assert.equal(resolve(new Array(10000).fill({ raw: '火锅' })).at(-1).sceneKey, 'food');
});
