// resolveSceneIntentBatch: what it gathers, how it differs from the call for one title, overlays, the travel inference.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';

import { addon } from './support/addon.mjs';
import { root, sceneRow, writePack } from './support/packs.mjs';

const location = (term, code, label, { source = 'location', lang = 'zh', weight = '1' } = {}) =>
  [term, code, source, weight, label, lang, `${label} country`];

const sections = {
  scene: [
    sceneRow('火锅', 'food', 'category'),
    sceneRow('麻辣火锅', 'food', 'detail', { detail: 'hotpot' }),
    sceneRow('hotpot', 'food', 'detail', { lang: 'en', detail: 'hotpot' }),
    sceneRow('vlog', 'show', 'category'),
    sceneRow('探店', 'food', 'short', { detail: 'food visit' }),
    sceneRow('coffeeday', 'coffee', 'short', { lang: 'en', detail: 'coffee day' }),
    sceneRow('coffee', 'coffee', 'category', { lang: 'en' }),
    sceneRow('旅行', 'travel', 'category', { priority: '5' }),
    sceneRow('环岛', 'travel', 'detail', { detail: 'island' }),
    sceneRow('日记', 'travel', 'compound', { detail: 'travel diary' }),
    sceneRow('街头', 'city', 'category'),
    sceneRow('gaming', 'show', 'compound', { lang: 'en', detail: 'gaming' }),
    sceneRow('穿搭', 'beauty', 'category'),
    ['短行', 'food'],
  ],
  human: [
    ['约会', 'food', 'date night'],
    ['datenight', 'food', 'date night'],
    ['无聊', '', 'none'],
    ['幽灵', 'nowhere', 'x'],
    ['只有一个字段'],
  ],
  facet: [
    ['fashionista', 'identity', 'fashion_creator', '1', 'en'],
    ['streamer', 'identity', 'streamer', '1', 'en'],
    ['foodie', 'identity', 'food_creator', '1', 'zh'],
    ['painter', 'identity', 'painter', '1', 'en'],
    ['blogger', 'content', 'streamer', '1', 'en'],
  ],
  location: [location('东京', 'JP-13', '东京'), location('上海', 'CN-SH', '上海')],
};
const pack = writePack({ sections });

const resolve = (cases, options = {}) => addon.resolveSceneIntentBatch({ ...pack, cases, ...options }).results;
const one = (raw, normalizedEnglish, options) =>
  resolve([normalizedEnglish === undefined ? { raw } : { raw, normalizedEnglish }], options)[0];
const brief = ({ sceneKey, sceneDetail, intentHit: hit }) =>
  [sceneKey, sceneDetail, ...(hit ? [hit.alias, hit.type, hit.rank] : [null])];

test('which rows speak for a title', () => {
  const table = [
    // raw, normalizedEnglish, [scene, detail, alias, language, rank]
    ['麻辣火锅', undefined, ['food', 'hotpot', '麻辣火锅', 'zh', 200]],
    ['吃火 锅', undefined, ['food', '', '火锅', 'zh', 100]],
    ['什么都没有', undefined, ['', '', null]],
    // A short row is the whole title or nothing; an English one needs an all-ASCII title.
    ['探 店', undefined, ['food', 'food visit', '探店', 'zh', 500]],
    ['探店火锅', undefined, ['food', '', '火锅', 'zh', 100]],
    ['Coffee Day', 'coffee day', ['coffee', 'coffee day', 'coffeeday', 'en', 500]],
    ['咖啡', 'coffee day', ['coffee', '', 'coffee', 'en', 100]],
    ['Coffee Day out', 'coffee day out', ['coffee', '', 'coffee', 'en', 100]],
    // English rows: whole words of the English reading, whatever the raw title holds.
    ['hotpot', undefined, ['', '', null]],
    ['x', 'hot pot', ['food', 'hotpot', 'hotpot', 'en', 200]],
    ['x', 'hotpots', ['', '', null]],
    ['x', 'Hotpot', ['', '', null]],
    // A plain alias that isn't English: in an all-ASCII title only as the whole title.
    ['myvlogday', undefined, ['', '', null]],
    ['V L O G', undefined, ['show', '', 'vlog', 'zh', 100]],
    ['我的vlog', undefined, ['show', '', 'vlog', 'zh', 100]],
    // Human phrases: the whole title is "short", a part of it "conflict"; both speak for the whole title.
    ['约会', undefined, ['food', 'date night', '约会', 'zh', 500]],
    ['约会去', undefined, ['food', 'date night', '约会去', 'zh', 400]],
    ['x', 'date night', ['food', 'date night', 'datenight', 'en', 500]],
    ['x', 'our date night', ['food', 'date night', 'ourdatenight', 'en', 400]],
    // Found as the compacted raw title only: no hit of its own, so the text is the empty English one, which equals itself.
    ['datenight', undefined, ['food', 'date night', '', 'en', 400]],
    ['幽灵', undefined, ['', '', null]],
    ['只有一个字段', undefined, ['', '', null]],
    // A veto clears what came before and behind it, but no identity.
    ['无聊火锅约会', undefined, ['', '', null]],
    ['无聊', 'fashionista', ['beauty', 'outfit styling', 'fashionista', 'en', 300]],
    // Identities: English, known, whole words, and with a master row.
    ['x', 'the streamer', ['show', 'creator spotlight', 'streamer', 'en', 300]],
    ['x', 'foodie', ['', '', null]],
    ['x', 'painter', ['', '', null]],
    ['x', 'blogger', ['', '', null]],
    ['x', 'streamers', ['', '', null]],
    // An exact override of the same scene beats the detail row; a detail row beats the category's own detail.
    ['环岛旅行', undefined, ['travel', 'island', '环岛', 'zh', 200]],
    // The travel diary rule: "vlog" and an override row of that detail, although a detail row won before.
    ['环岛日记vlog', undefined, ['travel', 'travel diary', '日记', 'zh', 300]],
    ['短行', undefined, ['food', '', '短行', '', 0]],
  ];
  const results = resolve(table.map(([raw, normalizedEnglish]) =>
    (normalizedEnglish === undefined ? { raw } : { raw, normalizedEnglish })));
  for (const [i, [raw, english, expected]] of table.entries()) {
    assert.deepEqual(brief(results[i]), expected, `${raw} | ${english}`);
  }
});

test('scores use the compacted title for positions', () => {
  // early 10 - 2, two characters by 1.2, priority 1
  assert.equal(one('我 们火锅').intentHit.score, 8 + (2 * 1.2 + 1));
  assert.equal(addon.resolveSceneIntent({ ...pack, raw: '我 们火锅' }).intentHit.score, 7 + (2 * 1.2 + 1));
});

test('a case result, property by property', () => {
  const whole = addon.resolveSceneIntentBatch({ ...pack, cases: [{ raw: '东京麻辣火锅' }, { raw: '无' }] });
  assert.deepEqual(Object.keys(whole), ['ok', 'sceneContract', 'count', 'results']);
  assert.deepEqual([whole.ok, whole.sceneContract, whole.count], [true, 'native-scene-v1', 2]);
  const [found, nothing] = whole.results;
  assert.deepEqual(Object.keys(found),
    ['ok', 'sceneContract', 'locationCodes', 'locationMeta', 'sceneKey', 'sceneDetail', 'intentHit']);
  assert.deepEqual(found.locationCodes, ['JP-13']);
  assert.deepEqual(Object.entries(found.intentHit).slice(0, 6), [
    ['alias', '麻辣火锅'], ['type', 'zh'], ['sceneKey', 'food'], ['detail', 'hotpot'], ['rank', 200],
    ['score', 8 + (4 * 1.2 + 1)],
  ]);
  assert.deepEqual(Object.entries(found.intentHit.entry), [
    ['key', 'food'], ['defaultDetail', 'food default'], ['priority', '1'], ['label', 'food label'],
    ['archiveLabel', 'food archive'], ['archiveCode', 'food-code'], ['icon', 'food-icon'],
  ]);
  assert.deepEqual(nothing, { ok: true, sceneContract: 'native-scene-v1', locationCodes: [], locationMeta: null,
    sceneKey: '', sceneDetail: '', intentHit: null });
});

test('the travel inference', () => {
  const table = [
    ['东京玩', ['travel', 'travel diary', '东京玩', 'zh', 0]],
    ['东京玩几天', ['travel', 'travel diary', '东京玩几天', 'zh', 0]],
    ['东京玩 ', ['', '', null]],
    ['他处玩', ['', '', null]],
    ['东京随拍', ['city', 'city walk', '东京随拍', 'zh', 0]],
    ['东京逛一逛', ['city', 'city walk', '东京逛一逛', 'zh', 0]],
    // Alias and rank stay those of the row that the inference beats.
    ['东京街头逛', ['city', '', '街头', 'zh', 100]],
    ['东京街头旅行随拍', ['travel', 'travel diary', '旅行', 'zh', 100]],
    ['东京火锅随拍', ['city', 'city walk', '火锅', 'zh', 100]],
    ['东京穿搭玩', ['travel', 'travel diary', '穿搭', 'zh', 100]],
  ];
  const results = resolve(table.map(([raw]) => ({ raw })));
  for (const [i, [raw, expected]] of table.entries()) assert.deepEqual(brief(results[i]), expected, raw);
  const inferred = results[0].intentHit;
  assert.equal(inferred.score, 52);
  assert.deepEqual(inferred.entry, { key: 'travel', defaultDetail: 'travel default', priority: '5', label: 'travel label',
    archiveLabel: 'travel archive', archiveCode: 'travel-code', icon: 'travel-icon' });
  // The scene has changed: its own master row fills the entry, score and alias stay.
  assert.deepEqual([results[9].intentHit.score, results[9].intentHit.entry.key, results[9].intentHit.entry.label],
    [8 + (2 * 1.2 + 1), 'travel', 'travel label']);
});

test('a scene without a master row, inferred or not', () => {
  const bare = writePack({ sections: { scene: [sceneRow('火锅', 'food', 'category')], location: sections.location } });
  const [empty, beaten] = resolve([{ raw: '东京玩' }, { raw: '东京火锅玩' }], bare);
  assert.deepEqual(empty.intentHit.entry, { key: 'travel', defaultDetail: 'travel diary', priority: '', label: '',
    archiveLabel: '', archiveCode: '', icon: '' });
  assert.deepEqual([beaten.intentHit.entry.key, beaten.intentHit.entry.label], ['travel', 'food label']);
});

test('the whole title is swapped to the front; an exact override blocks the detail search', () => {
  const rows = writePack({ sections: { scene: [
    sceneRow('火锅店', 'food', 'category'),
    sceneRow('火锅', 'shop', 'compound', { detail: 'shopping' }),
    sceneRow('火锅店', 'food', 'conflict', { detail: 'restaurant' }),
    sceneRow('锅店', 'food', 'detail', { detail: 'pots' }),
    sceneRow('聚餐', 'family', 'category'),
    sceneRow('家庭聚餐', 'family', 'compound', { detail: 'dinner' }),
    sceneRow('庭', 'family', 'detail', { detail: 'yard' }),
  ] } });
  assert.deepEqual(brief(one('火锅店', undefined, rows)), ['food', 'restaurant', '火锅店', 'zh', 400]);
  // Not the whole title: the compound row decides, its detail falls to the best detail row.
  assert.deepEqual(brief(one('家庭聚餐乐', undefined, rows)), ['family', 'yard', '家庭聚餐', 'zh', 300]);
});

test('overlays: rows behind those of the pack, in their order', () => {
  const sceneOverlay = {
    categories: [{ key: 'club', label: 'Club', zh: ['夜店'], details: [{ label: 'dj', zh: ['打碟'] }] },
      { key: 'food', label: 'Other food', zh: ['火锅', '新菜'] }],
    conflictOverrides: [{ sceneKey: 'food', detailLabel: 'mine', zh: ['火锅局'] },
      { sceneKey: 'later', detailLabel: 'd', zh: ['以后'] }],
  };
  const patch = writePack({
    sections: { scene: [sceneRow('以后见', 'later', 'category'), sceneRow('夜店', 'party', 'category')],
      location: [location('火星', 'MARS', '火星')] },
    metadata: { kind: 'patch' },
  });
  const overlay = { sceneOverlay, overlayPackPath: patch.packPath, overlayAllowedRoot: root };
  const label = (raw) => one(raw, undefined, overlay).intentHit?.entry.label;
  assert.deepEqual(['夜店打碟', '火锅局', '新菜', '以后', '以后见面'].map(label), ['Club', 'food label', 'Other food', '', '']);
  // Nothing is merged by key: of two rows for one term the score decides, here by the patch's priority.
  assert.equal(one('夜店', undefined, overlay).sceneKey, 'party');
  assert.equal(one('以后见', undefined, { overlayPackPath: patch.packPath, overlayAllowedRoot: root }).intentHit.entry.label,
    'later label');
  assert.deepEqual(one('火星', undefined, overlay).locationCodes, ['MARS']);
  assert.deepEqual(one('火星夜店').locationCodes, []);
  assert.equal(one('夜店').sceneKey, '');
  // A human phrase finds a master row of the caller's.
  const human = writePack({ sections: { human: [['蹦迪', 'club', 'dance']] } });
  assert.deepEqual(brief(one('去蹦迪', undefined, { ...human, sceneOverlay })), ['club', 'dance', '去蹦迪', 'zh', 400]);
});

test('a locationOverlay makes places known, for its own call only', () => {
  const locationOverlay = { aliasesZh: { '老 城': [['X1', 0, 0, 0, 3.5, '老城区']] } };
  const { locationMeta } = one('老城区玩', undefined, { locationOverlay });
  assert.deepEqual([locationMeta.countryCode, locationMeta.locationLabel, locationMeta.primaryHit.source],
    ['X1', '老城区', 'location-overlay']);
  assert.deepEqual(one('老城区玩').locationCodes, []);
});

test('refusals, in order', () => {
  const missing = { packPath: `${root}/missing.klrx`, allowedRoot: root };
  const stat = 'semantic rule-pack file stat is invalid';
  const table = [
    [TypeError, 'resolveSceneIntentBatch requires one options object', []],
    [TypeError, 'semantic native option is missing: packPath', {}],
    [TypeError, 'semantic native option is empty: allowedRoot', { ...missing, allowedRoot: '' }],
    [TypeError, 'cases must be an array', missing],
    [TypeError, 'cases must be an array', { ...missing, cases: new Proxy([], {}) }],
    [RangeError, 'cases exceeds the batch limit', { ...missing, cases: new Array(10001) }],
    [Error, stat, { ...missing, cases: [] }],
    [TypeError, 'overlayAllowedRoot is required with overlayPackPath', { ...pack, cases: [], overlayPackPath: 'x' }],
    [TypeError, 'overlayAllowedRoot is required with overlayPackPath',
      { ...pack, cases: [], overlayPackPath: 'x', overlayAllowedRoot: 1 }],
    [Error, stat, { ...pack, cases: [1], overlayPackPath: missing.packPath, overlayAllowedRoot: root }],
    [TypeError, 'each batch case must be an object', { ...pack, cases: [{ raw: 'x' }, []] }],
    [TypeError, 'each batch case must be an object', { ...pack, cases: [null] }],
    [TypeError, 'each batch case must be an object', { ...pack, cases: new Array(1) }],
    [TypeError, 'semantic native option is missing: raw', { ...pack, cases: [{ raw: 5 }] }],
    [TypeError, 'semantic native option is empty: raw', { ...pack, cases: [{ raw: '' }] }],
    [TypeError, 'normalizedEnglish must be a string', { ...pack, cases: [{ raw: 'x', normalizedEnglish: undefined }] }],
  ];
  for (const [kind, message, options] of table) {
    assert.throws(() => addon.resolveSceneIntentBatch(options), (error) =>
      error.constructor === kind && error.message === message, message);
  }
  // Ignored: an overlay root alone, overlays of other types, a function as a case.
  const caseFunction = Object.assign(() => {}, { raw: '火锅' });
  const odd = { overlayAllowedRoot: root, overlayPackPath: 7, sceneOverlay: 7, locationOverlay: [] };
  assert.equal(resolve([caseFunction], odd)[0].sceneKey, 'food');
  assert.deepEqual(addon.resolveSceneIntentBatch({ ...pack, cases: [] }),
    { ok: true, sceneContract: 'native-scene-v1', count: 0, results: [] });
  assert.equal(resolve(new Array(10000).fill({ raw: '火锅' })).length, 10000);
});

test("a caller's own code runs while the cases are read", () => {
  const boom = new Error('boom');
  const cases = [{ raw: 'x' }, { get raw() { throw boom; } }];
  assert.throws(() => resolve(cases), (error) => error === boom);
  assert.throws(() => resolve([{ raw: 'x' }], { get sceneOverlay() { throw boom; } }), (error) => error === boom);
  assert.throws(() => resolve([new Proxy({ raw: 'x' }, { has() { throw boom; } })]), (error) => error === boom);
  // It may call the addon, also for another pack, and change the array.
  const other = writePack({ sections: { scene: [sceneRow('他', 'other', 'category')] } });
  const growing = [{ get raw() {
    assert.equal(addon.resolveSceneIntent({ ...other, raw: '他' }).sceneKey, 'other');
    growing.push({ raw: '东京' });
    return '东京火锅';
  } }];
  const { count, results } = addon.resolveSceneIntentBatch({ ...pack, cases: growing });
  assert.deepEqual([count, results.length, results[0].sceneKey, results.map((r) => r.locationCodes[0])],
    [2, 2, 'food', ['JP-13', 'JP-13']]);
});

test('a worker that is terminated inside a batch ends, and the cache stays usable', async () => {
  const path = process.env.CORVENDA_TEST_BINARY ?? new URL('../lib/index.cjs', import.meta.url).pathname;
  const worker = new Worker(`
    const { workerData, parentPort } = require('node:worker_threads');
    const addon = require(workerData.path);
    const cases = new Array(10000).fill({ raw: '东京麻辣火锅随拍约会', normalizedEnglish: 'hot pot date night streamer' });
    parentPort.postMessage('ready');
    for (;;) addon.resolveSceneIntentBatch({ ...workerData.pack, cases });
  `, { eval: true, workerData: { path, pack } });
  await new Promise((ready) => worker.once('message', ready));
  await new Promise((later) => setTimeout(later, 50));
  assert.equal(await worker.terminate(), 1);
  assert.equal(one('火锅').sceneKey, 'food');
});
