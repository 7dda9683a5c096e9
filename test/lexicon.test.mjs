// The friendly layer: it says what the native functions say, for any number of titles, and explains what they refuse.
import assert from 'node:assert/strict';
import { EventEmitter, once } from 'node:events';
import { mkdirSync, readdirSync, renameSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { pathToFileURL } from 'node:url';
import addon from '../lib/index.cjs';
import { englishReading, openLexicon } from '../lib/lexicon.mjs';
import { packBytes, root, sceneRows, writeFile, writePack } from './support/packs.mjs';

test('an English reading: words in lower case, without marks, other scripts and punctuation', () => {
  for (const [title, reading] of [
    ['New York café vlog', 'new york cafe vlog'], ['  ', ''], ['', ''],
    ['Łódź Straße Ærø İstanbul Việt Nam', 'lodz strasse aero istanbul viet nam'],
    ['ＣＡＦＥ　ﬁne ①½', 'cafe fine 11 2'], ['iPhone™ 25℃', 'iphone 25 c'],
    ['Rubik’s n´t \'Tokyo\' rock \'n\' roll a\'\'b', "rubik's n't tokyo rock n roll a b"],
    ['co\u00adop\u200d s', 'coop s'], ['东京vlog2024街 Кафе', '… vlog2024 …'], ['街 Кафе！', ''], ['a 东京 vlog', 'a … vlog'],
    ['B&B_2024.mp4\t\n—🏖️end', 'b b 2024 mp4 end'],
  ]) assert.equal(englishReading(title), reading, title);
});

const sections = {
  scene: sceneRows('海 outdoor category beach_day, en:cafe coffee detail cafe_visit, 素材 travel'),
  human: [], celebrity: [['mingxing', 'p1', '明星', 'actor', 'CN', '1', 'photo']],
  location: [['newyork', 'US', 'location-famous', '1', 'new york', 'en', 'United States']],
  facet: [['vlog', 'content', 'vlog', '1', 'en']],
};
const pack = writePack({ sections });
const patch = writePack({ sections: { scene: sceneRows('滑板 skate') },
  metadata: { kind: 'patch', ruleSetId: 'rules-2', baseRuleSetId: 'rules-1' } });
const overlays = {
  scenes: { categories: [{ key: 'own', zh: ['自己'] }] }, places: { aliasesZh: { 家乡: [['CN', 0, 0, 0, 1, '家乡']] } },
  people: [{ id: 'me', name: '我们' }],
};
const open = [];
const lexiconOf = async (options) => open.at(open.push(await openLexicon(options)) - 1);
after(() => Promise.all(open.map((lexicon) => lexicon.close())));

const titles = ['海边', 'New York café vlog', '', null, '自己', '家乡 素材', '滑板', '我们 mingxing',
  { raw: 'x', normalizedEnglish: 'cafe', mediaType: 'photo' }, { raw: undefined }];
const cases = titles.map((title) => {
  const { raw, ...more } = typeof title === 'string' || !title ? { raw: title } : title;
  return { raw: raw || ' ', normalizedEnglish: englishReading(raw || ''), ...more };
});
const packs = { ...pack, overlayPackPath: patch.packPath, overlayAllowedRoot: root };
const scenes = addon.resolveSceneIntentBatch(
  { ...packs, cases, sceneOverlay: overlays.scenes, locationOverlay: overlays.places }).results;
const direct = {
  resolve: scenes,
  places: scenes.map(({ locationCodes, locationMeta }) => ({ locationCodes, locationMeta })),
  people: addon.resolveCelebrityBadgeBatch({ ...packs, cases, celebrityOverlay: overlays.people }).results,
  facets: cases.map((one) => addon.extractSemanticFacets({ ...pack, ...one })),
  policy: scenes.map(({ sceneKey, sceneDetail, intentHit }, i) => addon.evaluateWorkflowPolicy(
    { ...cases[i], sceneKey, detail: sceneDetail, alias: intentHit?.alias })),
};

test('every question is answered as the native functions answer it, whatever the titles come in', async () => {
  const lexicon = await lexiconOf({ pack: pack.packPath, root, patch: pathToFileURL(patch.packPath), overlays });
  assert.deepEqual(lexicon.info, addon.inspectRulePack(pack));
  assert.deepEqual(scenes.map(({ sceneKey }) => sceneKey),
    ['outdoor', 'coffee', '', '', 'own', 'travel', 'skate', '', 'coffee', '']);
  for (const [question, expected] of Object.entries(direct)) {
    assert.deepEqual(await lexicon[question](titles), expected, question);
  }
  const many = Array.from({ length: 2345 }, (_, i) => titles[i % titles.length]);
  const expected = many.map((_, i) => scenes[i % titles.length]);
  for (const [make, total] of [[() => many, 2345], [() => many.values()],
    [async function* () { for (const title of many) yield title; }]]) {
    const seen = [];
    const answers = await lexicon.resolve(make(), { onProgress: (progress) => seen.push(progress) });
    assert.deepEqual(answers, expected);
    assert.deepEqual([seen.length > 3, seen.at(-1)], [true, { done: 2345, total }]);
  }
  assert.deepEqual(await lexicon.resolve(new Set()), []);
  const own = await lexiconOf({ pack: pack.packPath, english: () => 'cafe', threads: 1 });
  assert.deepEqual((await own.resolve(['咖啡', { raw: 'x', normalizedEnglish: '' }])).map(({ sceneKey }) => sceneKey),
    ['coffee', '']);
});

test('what is refused: code, place and the native message', async () => {
  const lexicon = await lexiconOf({ pack: pack.packPath });
  const missing = join(root, 'missing.klrx');
  const bad = writeFile(Buffer.alloc(100));
  const asking = (...args) => () => lexicon.resolve(...args);
  const opening = (options) => () => openLexicon(options);
  for (const [call, code, message, about = {}] of [
    [opening(), 'ERR_SEMANTIC_OPTIONS', 'openLexicon takes one options object'],
    [opening({}), 'ERR_SEMANTIC_OPTIONS', 'pack must be a path or a file URL'],
    [opening({ pack: bad, threads: 0 }), 'ERR_SEMANTIC_OPTIONS', 'threads must be a whole number, 1 or more'],
    [opening({ pack: bad, overlays: { scenes: () => {} } }), 'ERR_SEMANTIC_OPTIONS', /^overlays hold what/],
    [opening({ pack: missing }), 'ERR_SEMANTIC_PACK',
      `semantic rule-pack file stat is invalid: there is no file ${missing}`, { path: missing }],
    [opening({ pack: bad }), 'ERR_SEMANTIC_PACK', 'semantic rule-pack magic is invalid', { path: bad }],
    [opening({ pack: pack.packPath, patch: bad }), 'ERR_SEMANTIC_PATCH', 'semantic rule-pack magic is invalid', { path: bad }],
    [opening({ pack: pack.packPath, root: join(root, 'other') }), 'ERR_SEMANTIC_PACK', /approved root/, { path: pack.packPath }],
    [asking('one'), 'ERR_SEMANTIC_OPTIONS', 'titles must be an array or another iterable; put a single title into an array'],
    [asking([], { onProgress: 1 }), 'ERR_SEMANTIC_OPTIONS', 'onProgress must be a function'],
    [asking([...Array(700).fill('x'), 7]), 'ERR_SEMANTIC_TITLE', /^title 700: raw is of type number/, { index: 700 }],
    [asking([{ raw: 'x', normalizedEnglish: [] }]), 'ERR_SEMANTIC_TITLE', /^title 0: normalizedEnglish/, { index: 0 }],
  ]) await assert.rejects(call, { code, message, ...about });

  // A pack that is exchanged for a bad one is found out by the next question.
  const exchanged = writePack({ sections }).packPath;
  const other = await lexiconOf({ pack: pack.packPath, patch: exchanged });
  writeFile(Buffer.alloc(64), exchanged.slice(root.length + 1));
  await assert.rejects(other.resolve(['x']), { code: 'ERR_SEMANTIC_PATCH', path: exchanged });
});

test('a call ends at once when its signal says so, and reads its source no further', async () => {
  const lexicon = await lexiconOf({ pack: pack.packPath });
  const stop = new AbortController();
  let read = 0;
  const left = new EventEmitter();
  const endless = async function* () {
    try {
      for (;;) yield String(read++);
    } finally { left.emit('end'); }
  };
  const reason = new Error('enough');
  const isReason = (error) => error === reason;
  const end = once(left, 'end');
  await assert.rejects(
    lexicon.resolve(endless(), { signal: stop.signal, onProgress: () => stop.abort(reason) }), isReason);
  await end;
  assert.ok(read < 50_000, `${read} titles were read`);
  const silent = new AbortController();
  const never = { [Symbol.asyncIterator]: () => ({ next: () => new Promise(() => {}) }) };
  const waiting = lexicon.resolve(never, { signal: silent.signal });
  setImmediate(() => silent.abort(reason));
  await assert.rejects(waiting, isReason);
  await assert.rejects(lexicon.resolve(['x'], { signal: silent.signal }), isReason);
});

test('closing lets calls end and takes no more', async () => {
  const lexicon = await openLexicon({ pack: pack.packPath });
  const answers = lexicon.resolve(titles);
  lexicon[Symbol.dispose]();
  await assert.rejects(lexicon.resolve(titles), { code: 'ERR_SEMANTIC_CLOSED' });
  assert.equal((await answers).length, titles.length);
  await lexicon.close();
});

test('a pack that lies where the native module opens none is explained, and opened as a copy', async () => {
  const copyTo = join(root, 'copies');
  for (const [folder, sentence] of [['café', /approved root: .*café.* characters outside ASCII.*copyTo/],
    ['app.asar', /asar archive.*copyTo/]]) {
    mkdirSync(join(root, folder));
    const place = join(root, folder, 'a.klrx');
    writeFileSync(place, packBytes({ sections, metadata: { ruleSetId: folder === 'café' ? 'cafe' : folder } }));
    if (folder === 'café') await assert.rejects(openLexicon({ pack: place }), { code: 'ERR_SEMANTIC_PATH', message: sentence, path: place });
    const lexicon = await lexiconOf({ pack: place, root: join(root, folder), copyTo });
    assert.equal((await lexicon.resolve(['海边']))[0].sceneKey, 'outdoor', folder);
  }
  const copies = readdirSync(copyTo);
  const times = () => copies.map((name) => statSync(join(copyTo, name)).mtimeMs);
  const before = times();
  await lexiconOf({ pack: join(root, 'café', 'a.klrx'), copyTo });
  assert.deepEqual([copies.length, times(), readdirSync(copyTo)], [2, before, copies], 'a copy is made once');
  renameSync(join(root, 'café', 'a.klrx'), join(root, 'café', 'b.klrx'));
  await assert.rejects(openLexicon({ pack: join(root, 'café', 'a.klrx'), copyTo }), { code: 'ERR_SEMANTIC_COPY' });
});
