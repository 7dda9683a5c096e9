// resolveSceneIntentBatch: what it gathers, how it differs from the call for one title, overlays, the travel inference.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { root, sceneRow, writePack } from './support/packs.mjs';

const location = (term, code) => [term, code, 'location', '1', term, 'zh', `${term} country`];
const row = (term, key, kind = 'category', detail = '', lang = 'zh', priority = '1') => sceneRow(term, key, kind, { lang, detail, priority });
const sections = {
  scene: [
    row('火锅', 'food'), row('麻辣火锅', 'food', 'detail', 'hotpot'), row('hotpot', 'food', 'detail', 'hotpot', 'en'), row('vlog', 'show'),
    row('探店', 'food', 'short', 'food visit'), row('coffeeday', 'coffee', 'short', 'coffee day', 'en'), row('coffee', 'coffee', 'category', '', 'en'),
    row('旅行', 'travel', 'category', '', 'zh', '5'), row('环岛', 'travel', 'detail', 'island'), row('日记', 'travel', 'compound', 'travel diary'),
    row('街头', 'city'), row('穿搭', 'beauty'), ['短行', 'food'],
  ],
  human: [['约会', 'food', 'date night'], ['datenight', 'food', 'date night'], ['无聊', '', 'none'], ['幽灵', 'nowhere', 'x'], ['只有一个字段']],
  facet: [
    ['fashionista', 'identity', 'fashion_creator', '1', 'en'], ['streamer', 'identity', 'streamer', '1', 'en'],
    ['foodie', 'identity', 'food_creator', '1', 'zh'], ['painter', 'identity', 'painter', '1', 'en'], ['blogger', 'content', 'streamer', '1', 'en'],
  ],
  location: [location('东京', 'JP-13'), location('上海', 'CN-SH')],
};
const pack = writePack({ sections });

const call = (options) => addon.resolveSceneIntentBatch(options);
const resolve = (cases, options) => call({ ...pack, cases, ...options }).results;
const one = (raw, options) => resolve([{ raw }], options)[0];
/** Runs rows of [raw or [raw, English reading], scene, detail, alias, language, rank]; of a title without a scene, the title alone. */
function check(table, options) {
  const results = resolve(table.map(([title]) => {
    const [raw, normalizedEnglish] = [title].flat();
    return normalizedEnglish === undefined ? { raw } : { raw, normalizedEnglish };
  }), options);
  for (const [i, [title, ...expected]] of table.entries()) {
    const { sceneKey, sceneDetail, intentHit: hit } = results[i];
    const told = [sceneKey, sceneDetail, ...(hit ? [hit.alias, hit.type, hit.rank] : [null])];
    assert.deepEqual(told, expected.length === 0 ? ['', '', null] : expected, String(title));
  }
}

test('which rows speak for a title', () => check([
  // A short row is the whole title or nothing; an English one needs an all-ASCII title.
  ['探 店', 'food', 'food visit', '探店', 'zh', 500],
  ['探店火锅', 'food', '', '火锅', 'zh', 100],
  [['Coffee Day', 'coffee day'], 'coffee', 'coffee day', 'coffeeday', 'en', 500],
  [['咖啡', 'coffee day'], 'coffee', '', 'coffee', 'en', 100],
  [['Coffee Day out', 'coffee day out'], 'coffee', '', 'coffee', 'en', 100],
  // English rows and identities: whole words of the English reading. Identities are English, known, and with a master row.
  [['x', 'hot pot'], 'food', 'hotpot', 'hotpot', 'en', 200],
  [['x', 'the streamer'], 'show', 'creator spotlight', 'streamer', 'en', 300],
  ...['hotpots', 'Hotpot', 'foodie', 'painter', 'blogger', 'streamers'].map((english) => [['x', english]]),
  // A plain alias that isn't English: in an all-ASCII title only as the whole title. Human phrases need a scene with rows.
  ['V L O G', 'show', '', 'vlog', 'zh', 100],
  ['我的vlog', 'show', '', 'vlog', 'zh', 100],
  ...['hotpot', 'myvlogday', '幽灵', '只有一个字段'].map((raw) => [raw]),
  // Human phrases: the whole title is "short", a part of it "conflict"; both speak for the whole title.
  ['约会', 'food', 'date night', '约会', 'zh', 500],
  ['约会去', 'food', 'date night', '约会去', 'zh', 400],
  [['x', 'date night'], 'food', 'date night', 'datenight', 'en', 500],
  [['x', 'our date night'], 'food', 'date night', 'ourdatenight', 'en', 400],
  // Found as the compacted raw title only: no hit of its own, so the text is the empty English one, which equals itself.
  ['datenight', 'food', 'date night', '', 'en', 400],
  // A veto clears what came before and behind it, but no identity.
  ['无聊火锅约会'],
  [['无聊', 'fashionista'], 'beauty', 'outfit styling', 'fashionista', 'en', 300],
  // The travel diary rule: "vlog" and an override row of that detail, although a detail row won before.
  ['环岛旅行日记', 'travel', 'island', '日记', 'zh', 300],
  ['环岛日记vlog', 'travel', 'travel diary', '日记', 'zh', 300],
  ['短行', 'food', '', '短行', '', 0],
]));

test('a case result, property by property', () => {
  const entry = { key: 'food', defaultDetail: 'food default', priority: '1', label: 'food label', archiveLabel: 'food archive',
    archiveCode: 'food-code', icon: 'food-icon' };
  const whole = call({ ...pack, cases: [{ raw: '东京麻辣火锅' }, { raw: '无' }] });
  const { locationMeta } = whole.results[0];
  const head = { ok: true, sceneContract: 'native-scene-v1' };
  assertSame(whole, { ...head, count: 2, results: [
    { ...head, locationCodes: ['JP-13'], locationMeta, sceneKey: 'food', sceneDetail: 'hotpot',
      intentHit: { alias: '麻辣火锅', type: 'zh', sceneKey: 'food', detail: 'hotpot', rank: 200, score: 8 + (4 * 1.2 + 1), entry } },
    { ...head, locationCodes: [], locationMeta: null, sceneKey: '', sceneDetail: '', intentHit: null },
  ] });
  // Positions are counted in the compacted title: the call for one title gives 7.
  assert.equal(one('我 们火锅').intentHit.score, 8 + (2 * 1.2 + 1));
});

test('the travel inference', () => {
  check([
    ['东京玩', 'travel', 'travel diary', '东京玩', 'zh', 0],
    ['东京玩几天', 'travel', 'travel diary', '东京玩几天', 'zh', 0],
    ['东京玩 '],
    ['他处玩'],
    ['东京随拍', 'city', 'city walk', '东京随拍', 'zh', 0],
    ['东京逛一逛', 'city', 'city walk', '东京逛一逛', 'zh', 0],
    // Alias and rank stay those of the row that the inference beats.
    ['东京街头逛', 'city', '', '街头', 'zh', 100],
    ['东京街头旅行随拍', 'travel', 'travel diary', '旅行', 'zh', 100],
    ['东京火锅随拍', 'city', 'city walk', '火锅', 'zh', 100],
  ]);
  const told = (raw, options) => {
    const { score, entry } = one(raw, options).intentHit;
    return [score, ...Object.values(entry)];
  };
  const travel = ['travel', 'travel default', '5', 'travel label', 'travel archive', 'travel-code', 'travel-icon'];
  assert.deepEqual(told('东京玩'), [52, ...travel]);
  assert.deepEqual(told('东京穿搭玩'), [8 + (2 * 1.2 + 1), ...travel], 'score and alias stay');
  const bare = writePack({ sections: { scene: [row('火锅', 'food')], location: sections.location } });
  assert.deepEqual(told('东京玩', bare), [52, 'travel', 'travel diary', '', '', '', '', '']);
  assert.deepEqual(told('东京火锅玩', bare).slice(1, 5), ['travel', 'food default', '1', 'food label']);
});

test('overlays: rows behind those of the pack, in their order', () => {
  const sceneOverlay = {
    categories: [{ key: 'club', label: 'Club', zh: ['夜店'], details: [{ label: 'dj', zh: ['打碟'] }] },
      { key: 'food', label: 'Other food', zh: ['火锅', '新菜'] }],
    conflictOverrides: [{ sceneKey: 'food', detailLabel: 'mine', zh: ['火锅局'] }, { sceneKey: 'later', detailLabel: 'd', zh: ['以后'] }],
  };
  const patchSections = { scene: [row('以后见', 'later'), row('夜店', 'party')], location: [location('火星', 'MARS')] };
  const { packPath } = writePack({ sections: patchSections, metadata: { kind: 'patch' } });
  const patch = { overlayPackPath: packPath, overlayAllowedRoot: root };
  const overlay = { sceneOverlay, ...patch };
  const labels = ['夜店打碟', '火锅局', '新菜', '以后', '以后见面'].map((raw) => one(raw, overlay).intentHit?.entry.label);
  assert.deepEqual(labels, ['Club', 'food label', 'Other food', '', '']);
  // Nothing is merged by key: of two rows for one term the score decides, here by the patch's priority.
  assert.deepEqual([one('夜店', overlay).sceneKey, one('夜店').sceneKey, one('以后见', patch).intentHit.entry.label], ['party', '', 'later label']);
  assert.deepEqual([one('火星', overlay).locationCodes, one('火星夜店').locationCodes], [['MARS'], []]);
  // A human phrase finds a master row of the caller's.
  check([['去蹦迪', 'club', 'dance', '去蹦迪', 'zh', 400]], { ...writePack({ sections: { human: [['蹦迪', 'club', 'dance']] } }), sceneOverlay });
});

test('refusals, in order, and what is ignored', () => {
  const missing = { packPath: `${root}/missing.klrx`, allowedRoot: root };
  const stat = 'Error: semantic rule-pack file stat is invalid';
  const table = [
    ['TypeError: resolveSceneIntentBatch requires one options object', []],
    ['TypeError: semantic native option is missing: packPath', {}],
    ['TypeError: semantic native option is empty: allowedRoot', { ...missing, allowedRoot: '' }],
    ['TypeError: cases must be an array', missing],
    ['TypeError: cases must be an array', { ...missing, cases: new Proxy([], {}) }],
    ['RangeError: cases exceeds the batch limit', { ...missing, cases: new Array(10001) }],
    [stat, { ...missing, cases: [], overlayPackPath: 'x' }],
    ...[{}, { overlayAllowedRoot: 1 }].map((given) =>
      ['TypeError: overlayAllowedRoot is required with overlayPackPath', { ...pack, cases: [1], overlayPackPath: 'x', ...given }]),
    [stat, { ...pack, cases: [1], overlayPackPath: missing.packPath, overlayAllowedRoot: root }],
    ...[[{ raw: 'x' }, []], [null], new Array(1)].map((cases) => ['TypeError: each batch case must be an object', { ...pack, cases }]),
    ['TypeError: semantic native option is missing: raw', { ...pack, cases: [{ raw: 5 }] }],
    ['TypeError: semantic native option is empty: raw', { ...pack, cases: [{ raw: '' }] }],
    ['TypeError: normalizedEnglish must be a string', { ...pack, cases: [{ raw: 'x', normalizedEnglish: undefined }] }],
  ];
  for (const [message, options] of table) assert.equal(thrownBy(() => call(options)), message);
  // An overlay root alone, overlays of other types; a function is a case.
  const odd = { overlayAllowedRoot: root, overlayPackPath: 7, sceneOverlay: 7, locationOverlay: [] };
  assert.equal(resolve([Object.assign(() => {}, { raw: '火锅' })], odd)[0].sceneKey, 'food');
  assertSame(call({ ...pack, cases: [] }), { ok: true, sceneContract: 'native-scene-v1', count: 0, results: [] });
  assert.equal(resolve(new Array(10000).fill({ raw: '火锅' })).length, 10000);
});

test("a caller's own code runs while the cases are read", () => {
  const thrower = () => { throw 'boom'; };
  assert.equal(thrownBy(() => resolve([{ raw: 'x' }, { get raw() { return thrower(); } }])), 'boom');
  assert.equal(thrownBy(() => call({ ...pack, cases: [{ raw: 'x' }], get sceneOverlay() { return thrower(); } })), 'boom');
  assert.equal(thrownBy(() => resolve([new Proxy({ raw: 'x' }, { has: thrower })])), 'boom');
  // It may call the addon, also for another pack, and change the array.
  const other = writePack({ sections: { scene: [row('他', 'other')] } });
  const growing = [{ get raw() {
    assert.equal(addon.resolveSceneIntent({ ...other, raw: '他' }).sceneKey, 'other');
    growing.push({ raw: '东京' });
    return '东京火锅';
  } }];
  const { count, results } = call({ ...pack, cases: growing });
  assert.deepEqual([count, results[0].sceneKey, results.map((r) => r.locationCodes[0])], [2, 'food', ['JP-13', 'JP-13']]);
});

test('a worker that is terminated inside a batch ends, and the cache stays usable', async () => {
  const path = process.env.CORVENDA_TEST_BINARY ?? new URL('../lib/index.cjs', import.meta.url).pathname;
  const worker = new Worker(`const { workerData, parentPort } = require('node:worker_threads');
    const addon = require(workerData.path);
    const cases = new Array(10000).fill({ raw: '东京麻辣火锅随拍约会', normalizedEnglish: 'hot pot date night streamer' });
    parentPort.postMessage('ready');
    for (;;) addon.resolveSceneIntentBatch({ ...workerData.pack, cases });`, { eval: true, workerData: { path, pack } });
  await new Promise((ready) => worker.once('message', ready));
  await new Promise((later) => setTimeout(later, 50));
  assert.equal(await worker.terminate(), 1);
  assert.equal(one('火锅').sceneKey, 'food');
});
