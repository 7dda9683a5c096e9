// resolveCelebrityBadgeBatch: who is found, which badge is proposed, what the call refuses and what it never touches.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';

import { addon } from './support/addon.mjs';
import { packBytes, root, writeFile, writePack } from './support/packs.mjs';

const person = (term, id, { name = `${id} name`, kind = 'singer', region = 'CN', tags } = {}) =>
  [term, id, name, kind, region, '1', `${id}-photo`, ...(tags === undefined ? [] : [tags])];

const pack = writePack({
  sections: {
    celebrity: [
      person('林小北', 'lin', { tags: 'pop\x1E\x1E华语\x1E' }),
      person('小北', 'lin'),
      person('xiaobei lin', 'lin', { tags: '' }),
      person('xiaobei', 'lin'),
      person('陈江', 'chen', { kind: 'actor' }),
      person('q', 'short'),
      person('王山', ''),
      ['赵水', 'zhao', 'five', 'singer', 'CN', '1'],
      ['周木', 'zhou'],
      person('同长甲', 'tie-b'),
      person('同长乙', 'tie-a'),
      person('一人一', 'multi', { name: 'b' }),
      person('一人二', 'multi', { name: 'a' }),
    ],
    scene: [['演唱会', 'scene row, not a person', 'x', 'x', 'x', 'x', 'x']],
  },
});

const batch = (cases, options = {}) => addon.resolveCelebrityBadgeBatch({ ...pack, cases, ...options });
const one = (title, options) => batch([title], options).results[0];
const hits = (title, options) => one(title, options).celebrityHits.map(({ id, alias }) => [id, alias]);

const withoutHit = (mediaType = 'video') => ({
  ok: true, mediaType, celebrityHits: [], primaryCelebrity: null, primaryLabel: '', primaryPhotoKey: '',
  secondaryRawLabel: '', secondaryMediumFallbackLabel: '', secondaryFallbackLabel: '', secondaryLabel: '',
  secondaryUsedMediumFallback: false, secondaryCandidates: [], secondaryConfidence: 0, secondaryConfidenceLevel: '',
});

test('a result, property by property', () => {
  const hit = (index) => ({
    id: 'lin', name: 'lin name', region: 'CN', kind: 'singer', photoKey: 'lin-photo', alias: '林小北', type: 'zh',
    sourceKind: 'alias', index, len: 9, tags: ['pop', '华语'],
  });
  const chen = {
    id: 'chen', name: 'chen name', region: 'CN', kind: 'actor', photoKey: 'chen-photo', alias: '陈江', type: 'zh',
    sourceKind: 'alias', index: 1, len: 6, tags: [],
  };
  const result = batch([{ raw: '林 小北与陈江', mediaType: 'photo' }, {}]);
  const expected = {
    ok: true, count: 2,
    results: [{
      ok: true, mediaType: 'photo', celebrityHits: [hit(0), chen], primaryCelebrity: hit(0), primaryLabel: 'lin name',
      primaryPhotoKey: 'lin-photo', secondaryRawLabel: '明星歌手', secondaryMediumFallbackLabel: '明星歌手',
      secondaryFallbackLabel: '明星歌手', secondaryLabel: '明星歌手', secondaryUsedMediumFallback: false,
      secondaryCandidates: [
        { label: '明星歌手', score: 60, reason: 'default-kind' }, { label: '明星歌手', score: 60, reason: 'default-kind' },
        { label: '明星艺人', score: 54, reason: 'default' },
      ],
      secondaryConfidence: 0.52, secondaryConfidenceLevel: 'low',
    }, withoutHit()],
  };
  // As text, because the order of the properties counts.
  assert.equal(JSON.stringify(result), JSON.stringify(expected));
  assert.notEqual(result.results[0].primaryCelebrity, result.results[0].celebrityHits[0], 'an object of its own');
});

test('who is found', () => {
  const overlay = (people) => ({ celebrityOverlay: people });
  const a = { id: 'a', name: 'X' };
  const table = [
    // title, options, [[id, alias], …]
    [{ raw: '林小北 小北' }, {}, [['lin', '林小北']]],
    [{ raw: '无人' }, {}, []],
    [{ raw: '', normalizedEnglish: 'with Xiao Bei today' }, {}, [['lin', 'xiaobei']]],
    // The pack's terms are held against folded text: one with a blank is in no title.
    [{ raw: 'xiaobei lin' }, {}, [['lin', 'xiaobei']]],
    // A pack's row has no minimum length; the longest alias leads; English hits count beside the others.
    [{ raw: 'aqua', normalizedEnglish: 'xiaobei' }, {}, [['lin', 'xiaobei'], ['short', 'q']]],
    // No id, five fields, one field: no person.
    [{ raw: '王山赵水周木' }, {}, []],
    // Equal lengths go by their fields; of one person's rows of one length the first in that order stays.
    [{ raw: '同长甲同长乙' }, {}, [['tie-a', '同长乙'], ['tie-b', '同长甲']]],
    [{ raw: '一人一一人二' }, {}, [['multi', '一人二']]],
    // Overlay: a single byte only as the whole title, in either form; a Chinese character anywhere.
    [{ raw: 'x' }, overlay([a]), [['a', 'x']]],
    [{ raw: 'taxi' }, overlay([a]), []],
    [{ raw: 'taxi', normalizedEnglish: ' X ' }, overlay([a]), [['a', 'x']]],
    [{ raw: '我是歌手' }, overlay([{ id: 'a', name: '我' }]), [['a', '我']]],
    [{ raw: 'taxi' }, overlay([{ id: 'a', name: 'Ax' }]), [['a', 'ax']]],
    [{ raw: '', normalizedEnglish: 'big star' }, overlay([{ id: 'a', name: 'Big', aliases: { en: ['Gst'] } }]), [['a', 'big']]],
    // The first row with a key stays, and the overlay comes first.
    [{ raw: '林小北' }, overlay([{ id: 'lin', name: '林小北', kind: 'idol' }]), [['lin', '林小北']]],
    [{ raw: '陈江陈江河' }, overlay([{ id: 'chen', name: '陈江河' }]), [['chen', '陈江河']]],
  ];
  for (const [title, options, expected] of table) assert.deepEqual(hits(title, options), expected, JSON.stringify(title));
  assert.equal(one({ raw: '林小北' }, overlay([{ id: 'lin', name: '林小北', kind: 'idol' }])).primaryCelebrity.kind, 'idol');
  const types = [['Ab 9', 'en'], ['a-b', 'zh'], ['é', 'zh']];
  for (const [name, type] of types) {
    const hit = one({ raw: name }, overlay([{ id: 'a', name }])).primaryCelebrity;
    assert.deepEqual([hit.type, hit.len], [type, Buffer.byteLength(name.replace(' ', ''))]);
  }
});

test('an overlay pack stands behind the option and before the pack', () => {
  const { packPath: overlayPackPath } = writePack({
    sections: { celebrity: [
      person('林小北', 'lin', { name: 'from the overlay pack' }), person('z', 'z'), ['陈江', 'chen'], person('小虎', 'hu'),
    ] },
  });
  const overlay = { overlayPackPath, overlayAllowedRoot: root };
  const name = (options) => one({ raw: '林小北' }, options).primaryLabel;
  assert.equal(name({}), 'lin name');
  assert.equal(name(overlay), 'from the overlay pack');
  assert.equal(name({ ...overlay, celebrityOverlay: [{ id: 'lin', name: '林小北' }] }), '林小北');
  // Its rows too need two bytes inside a title, and one that is too short hides the pack's row under its key.
  assert.deepEqual(hits({ raw: 'zoo' }, overlay), []);
  assert.deepEqual(hits({ raw: 'Z' }, overlay), [['z', 'z']]);
  assert.deepEqual(hits({ raw: '陈江' }, overlay), []);
  assert.deepEqual(hits({ raw: '小虎陈江' }, overlay), [['hu', '小虎']]);
  // Any other type counts as absent.
  for (const value of [undefined, null, 7, {}, [overlayPackPath]]) {
    assert.equal(name({ overlayPackPath: value, overlayAllowedRoot: value }), 'lin name');
  }
});

const STAR = '吴大星';
const badge = (kind, region, mediaType, words, normalizedEnglish) => {
  const overlay = [{ id: 'p', name: STAR, kind, region }];
  return one({ raw: `${STAR}${words}`, normalizedEnglish, mediaType }, { celebrityOverlay: overlay });
};
const artist = ['明星艺人', 54, 'default'];

test('badges with their candidates and confidence', () => {
  const singer = ['明星歌手', 60, 'default-kind'];
  const actor = ['明星演员', 60, 'default-kind'];
  const idol = ['明星偶像', 60, 'default-kind'];
  const model = ['明星模特', 60, 'default-kind'];
  const low = [0.52, 'low'];
  const sure = [0.99, 'high'];
  const table = [
    // kind, region, media, words, medium fallback, candidates, confidence; the raw label is the fallback's, if null
    ['adult', 'JP', 'video', '演唱会', null, [['日本AV明星', 100, 'adult'], artist], sure],
    ['adult', 'KR', 'video', '', null, [['KRAV明星', 100, 'adult'], artist], sure],
    ['adult', '', 'photo', '机场', null, [['AV明星', 100, 'adult'], artist], sure],
    ['adult', 'JP', 'photo', '品牌海报', null, [['日本AV明星', 100, 'adult'], ['明星时尚活动', 84, 'default'], artist], sure],
    ['actor', '', 'video', '路演 演唱会', '明星影视活动', [['演员路演', 100, 'default'], actor, artist], sure],
    ['singer', '', 'video', '路演', null, [singer, singer, artist], low],
    ['singer', '', 'video', '演唱会 见面会', '明星演唱会', [['明星演唱会', 100, 'default'], singer, artist], sure],
    ['idol', '', 'video', '应援 综艺录制', '明星见面会',
      [['偶像应援活动', 98, 'idol-fan'], ['明星见面会', 83, 'fan'], idol, artist], [0.96, 'high']],
    ['idol', '', 'photo', '应援 品牌 海报', '明星见面会',
      [['偶像应援活动', 98, 'idol-fan'], ['明星时尚活动', 84, 'fan'], ['明星见面会', 83, 'default'], idol, artist],
      [0.96, 'high']],
    ['singer', '', 'video', '签售会 品牌', '明星见面会', [['明星见面会', 100, 'default'], singer, artist], sure],
    ['idol', '', 'video', '录节目 品牌', '明星综艺录制', [['明星综艺录制', 100, 'default'], idol, artist], sure],
    ['singer', '', 'video', '录节目', null, [singer, singer, artist], low],
    ['singer', '', 'photo', '品牌 大片 机场', '明星品牌活动',
      [['明星品牌大片', 94, 'photo-brand'], ['明星品牌活动', 85, 'brand'], ['明星时尚活动', 84, 'fashion'], singer, artist],
      [0.9, 'high']],
    ['singer', '', 'video', '品牌 海报', '明星品牌活动',
      [['明星品牌活动', 85, 'brand'], ['明星时尚活动', 84, 'fashion'], singer, artist], [0.64, 'medium']],
    ['singer', '', 'photo', '代言活动', '明星品牌活动',
      [['明星品牌活动', 100, 'brand'], ['明星歌手', 60, 'fashion'], artist], sure],
    ['athlete', '', 'photo', '品牌', '明星品牌活动', [['明星品牌活动', 100, 'brand'], ['明星艺人', 54, 'fashion']], sure],
    ['model', '', 'photo', '秀场 机场', '明星时尚活动', [['明星时尚活动', 100, 'default'], model, artist], sure],
    ['singer', '', 'photo', '秀场 海报', null, [singer, singer, artist], low],
    ['singer', '', 'photo', '机场 扫街', '明星机场出行',
      [['明星机场出行', 100, 'explicit'], ['明星机场街拍', 95, 'photo-airport'], singer, artist], [0.9, 'high']],
    ['singer', '', 'Photo', '机场', '明星机场出行', [['明星机场出行', 100, 'default'], singer, artist], sure],
    ['actor', '', 'video', '扫街', '明星城市活动', [['明星城市活动', 100, 'default'], actor, artist], sure],
    ['actor', '', 'video', '', null, [actor, actor, artist], low],
    ['creator', '', 'video', '', null, [['网红达人', 60, 'default-kind'], artist], low],
    ['influencer', '', 'video', '', null, [['网红达人', 60, 'default-kind'], artist], low],
    ['athlete', '', 'video', '', null, [['体育明星', 60, 'default-kind'], artist], low],
    ['idol', '', 'video', '', null, [idol, idol, artist], low],
    ['model', '', 'video', '', null, [model, model, artist], low],
    ['Singer', '', 'video', '', null, [['明星艺人', 60, 'default-kind'], ['明星艺人', 54, 'default-kind']], low],
  ];
  const fallback = { adult: { JP: '日本AV明星', KR: 'KRAV明星', '': 'AV明星' }, actor: '明星演员', singer: '明星歌手',
    idol: '明星偶像', model: '明星模特', creator: '网红达人', influencer: '网红达人', athlete: '体育明星', Singer: '明星艺人' };
  for (const [kind, region, media, words, medium, candidates, [confidence, level]] of table) {
    const result = badge(kind, region, media, words);
    const ofKind = fallback[kind][region] ?? fallback[kind];
    const raw = medium === null ? ofKind
      : candidates[0][2] === 'explicit' ? '明星机场街拍' : candidates[0][0];
    assert.deepEqual(
      [result.secondaryRawLabel, result.secondaryLabel, result.secondaryMediumFallbackLabel, result.secondaryFallbackLabel,
        result.secondaryCandidates.map(({ label, score, reason }) => [label, score, reason]),
        result.secondaryConfidence, result.secondaryConfidenceLevel, result.secondaryUsedMediumFallback],
      [raw, raw, medium ?? ofKind, ofKind, candidates, confidence, level, false], `${kind} ${words}`);
  }
});

test('the words that fire each signal', () => {
  const table = [
    // kind, label, words of the title as written, words of the English reading
    ['singer', '明星演唱会', ['演唱会', '音乐会'], ['concert', 'my Con Cert']],
    ['singer', '明星机场出行', ['机场', '接机', '送机', '候机', '出发', '返程'], ['airport', 'departure', 'arrival', 'boarding']],
    ['actor', '演员路演', ['路演'], ['road show']],
    ['singer', '明星见面会', ['见面会', '粉丝见面会', '签售会', '签名会', '应援', '打call'], []],
    ['idol', '明星综艺录制', ['综艺录制', '节目录制', '录综艺', '录节目'], []],
    ['singer', '明星品牌活动', ['品牌', '代言活动', '品牌站台', '品牌快闪'], []],
    ['model', '明星时尚活动', ['时装周', '秀场', '时尚活动', '看秀'], []],
    ['singer', '明星城市活动', ['巡城活动', '快闪活动', '见面活动', '扫街', '商场活动'], []],
    // Keywords with a blank never fire, case counts, and a word that is cut by a blank is none.
    ['idol', '明星偶像', ['打CALL', '演 唱会', 'concert'], ['fan meeting', 'variety recording', 'brand event', 'city event']],
    ['model', '明星模特', ['大片', '海报'], ['fashion week', 'fashionweek', 'fanmeeting', 'brandevent', 'cityevent', '演唱会']],
  ];
  for (const [kind, label, words, english] of table) {
    for (const word of words) assert.equal(badge(kind, '', 'video', word).secondaryRawLabel, label, word);
    for (const word of english) assert.equal(badge(kind, '', 'video', '', word).secondaryRawLabel, label, word);
  }
});

test('what the call refuses', () => {
  const entry = 'resolveCelebrityBadgeBatch requires one options object';
  const good = { ...pack, cases: [{ raw: '林小北' }] };
  const missing = join(root, 'missing.klrx');
  const damaged = packBytes();
  damaged[damaged.length - 1] ^= 1;
  const bad = writeFile(damaged);
  const open = 'semantic rule-pack file stat is invalid';
  const table = [
    [[], TypeError, entry], [[good, 1], TypeError, entry], [[[good]], TypeError, entry], [['x'], TypeError, entry],
    [[{ ...good, packPath: 1 }], TypeError, 'semantic native option is missing: packPath'],
    [[{ ...good, packPath: '', allowedRoot: '' }], TypeError, 'semantic native option is empty: packPath'],
    [[{ ...good, allowedRoot: undefined, cases: 1 }], TypeError, 'semantic native option is missing: allowedRoot'],
    ...[undefined, null, 'x', {}, { length: 0 }, () => {}, new Proxy([], {})].map((cases) =>
      [[{ ...good, cases, overlayPackPath: 'x' }], TypeError, 'cases must be an array']),
    ...[undefined, '', 1].map((overlayAllowedRoot) => [[{ ...good, cases: [], overlayPackPath: 'x', overlayAllowedRoot }],
      TypeError, 'overlayAllowedRoot is required with overlayPackPath']),
    // The overlay pack is opened before the first case, the pack by the first case that needs it.
    [[{ ...good, cases: [], overlayPackPath: missing, overlayAllowedRoot: root }], Error, open],
    [[{ ...good, packPath: missing, overlayPackPath: bad, overlayAllowedRoot: root }], Error,
      'semantic rule-pack authentication or decryption failed'],
    [[{ ...good, packPath: missing, cases: [{}, { raw: ' \t' }, { normalizedEnglish: 'x' }] }], Error, open],
  ];
  for (const [args, kind, message] of table) {
    assert.throws(() => addon.resolveCelebrityBadgeBatch(...args), (error) => {
      assert.deepEqual([error.constructor, error.message], [kind, message]);
      return true;
    });
  }
});

test('a call without a title does not touch the pack', () => {
  const nowhere = { packPath: join(root, 'missing.klrx'), allowedRoot: root };
  const resolve = (cases, options) => addon.resolveCelebrityBadgeBatch({ ...nowhere, cases, ...options });
  assert.deepEqual(resolve([]), { ok: true, count: 0, results: [] });
  // Whatever is no object or is an array counts as a case without a title.
  const cases = [{}, { raw: ' \n', normalizedEnglish: '\0' }, 7, null, undefined, 'x', Symbol(), 1n, ['林小北'], () => {}, , { raw: 1 }];
  const blank = resolve(cases, { celebrityOverlay: [{ id: 'a', name: '我' }] });
  assert.deepEqual(blank, { ok: true, count: cases.length, results: Array.from(cases, () => withoutHit()) });
  assert.deepEqual(resolve([{ mediaType: 'photo' }]).results, [withoutHit('photo')]);
  for (const mediaType of ['Photo', 'photo ', '', 1, null, ['photo']]) {
    assert.deepEqual(resolve([{ mediaType }]).results, [withoutHit()]);
  }
  // A function counts as an object.
  assert.deepEqual(hits(Object.assign(() => {}, { raw: '陈江' })), [['chen', '陈江']]);
});

test('a getter of the options or of a case that throws ends the call with its own exception', () => {
  const thrown = new Error('from a getter');
  const getter = { get() { throw thrown; }, enumerable: true };
  const title = { raw: '林小北', normalizedEnglish: 'x', mediaType: 'photo' };
  const trap = () => { throw thrown; };
  const calls = [
    ...['packPath', 'allowedRoot', 'cases', 'celebrityOverlay', 'overlayPackPath', 'overlayAllowedRoot'].map((name) =>
      Object.defineProperty({ ...pack, cases: [title] }, name, getter)),
    ...Object.keys(title).map((name) => ({ ...pack, cases: [title, Object.defineProperty({ ...title }, name, getter), title] })),
    { ...pack, cases: Object.defineProperty([title, title], 0, getter) },
    { ...pack, cases: [new Proxy(title, { get: trap })] },
    new Proxy({ ...pack, cases: [title] }, { has: trap }),
    new Proxy({ ...pack, cases: [title] }, { get: trap }),
  ];
  for (const options of calls) assert.throws(() => addon.resolveCelebrityBadgeBatch(options), (error) => error === thrown);
  const revoked = Proxy.revocable({}, {});
  revoked.revoke();
  assert.throws(() => batch([revoked.proxy]), TypeError);
  assert.deepEqual(hits({ raw: '林小北' }), [['lin', '林小北']], 'and the next call is none the worse');
});

test('getters of the caller may change the array and call again', () => {
  const other = writePack({ sections: { celebrity: [person('林小北', 'other')] } });
  const overlays = [0, 1].map((i) => ({
    overlayPackPath: writePack({ sections: { celebrity: [person('孙大海', `overlay-${i}`)] } }).packPath, overlayAllowedRoot: root,
  }));
  const cases = [
    { raw: '林小北孙大海' },
    // Both slots of the cache are given to other packs while the outer call still uses theirs.
    { get raw() { batch([{ raw: '林小北孙大海' }], { ...other, ...overlays[1] }); return '林小北孙大海'; } },
    { get raw() { cases.push({ raw: '陈江' }); return ''; } },
    { get raw() { cases.length = 5; return '小北'; } },
    {}, {}, {},
  ];
  const { count, results } = batch(cases, overlays[0]);
  assert.deepEqual([count, results.map((result) => result.celebrityHits.map(({ id }) => id))],
    [5, [['lin', 'overlay-0'], ['lin', 'overlay-0'], [], ['lin'], []]]);
});

test('the indexes find what a loop over all rows finds', () => {
  let seed = 7;
  const random = (below) => {
    seed = (seed * 1103515245 + 12345) % 2147483648;
    return Math.floor((seed / 2147483648) * below);
  };
  const word = (most) => Array.from({ length: 1 + random(most) }, () => 'ab我'[random(3)]).join('');
  const rows = (count) => Array.from({ length: count }, () => {
    const row = person(word(4), random(9) ? `p${random(6)}` : '', { name: word(1), tags: random(2) ? '' : undefined });
    return random(6) ? row : row.slice(0, 1 + random(6));
  });
  const people = Array.from({ length: 12 }, () => ({ id: `p${random(6)}`, name: word(3) }));
  const ofPeople = people.map(({ id, name }) => [name, id, name, '', '', '', '', '']);
  const [overlayRows, packRows] = [rows(40), rows(60)];
  const bytes = (text) => Buffer.from(text);
  const before = ([termA, ...a], [termB, ...b]) => {
    const length = bytes(termB).length - bytes(termA).length;
    if (length !== 0) return length;
    for (let i = 0; i < Math.min(a.length, b.length); ++i) {
      const order = Buffer.compare(bytes(a[i]), bytes(b[i]));
      if (order !== 0) return order;
    }
    return a.length - b.length;
  };
  const naive = (raw, english) => {
    const found = new Map();
    const add = (row) => { const key = `${row[0]}\x1F${row[1] ?? ''}`; if (!found.has(key)) found.set(key, row); };
    const matches = (text, term) => text === term || (text.includes(term) && bytes(term).length >= 2);
    for (const row of [...ofPeople, ...overlayRows]) if (matches(raw, row[0]) || matches(english, row[0])) add(row);
    for (const text of [raw, english]) for (const row of packRows) if (text !== '' && text.includes(row[0])) add(row);
    const ids = new Set();
    return [...found.values()].sort(before).filter(([, id, ...rest]) =>
      rest.length >= 5 && id !== '' && !ids.has(id) && ids.add(id)).map(([term, id, name, , , , photoKey]) => [id, name, photoKey, bytes(term).length]);
  };
  const options = {
    ...writePack({ sections: { celebrity: packRows } }), celebrityOverlay: people,
    overlayPackPath: writePack({ sections: { celebrity: overlayRows } }).packPath, overlayAllowedRoot: root,
  };
  const cases = Array.from({ length: 400 }, () => ({ raw: random(8) ? word(7) : '', normalizedEnglish: random(3) ? word(5) : '' }));
  const { results } = batch(cases, options);
  const found = results.map(({ celebrityHits }) => celebrityHits.map(({ id, name, photoKey, len }) => [id, name, photoKey, len]));
  assert.deepEqual(found, cases.map(({ raw, normalizedEnglish }) => naive(raw, normalizedEnglish)));
  assert.ok(found.filter((list) => list.length > 1).length > 100, 'titles with several people are among them');
});

test('a worker that is terminated in the middle ends at once', async () => {
  // Each of these calls would run for many seconds.
  const calls = ['cases: Array(5e6).fill({ raw: "林小北陈江" })', 'cases: [], celebrityOverlay: Array(2e7).fill({ name: "x" })'];
  for (const options of calls) {
    const worker = new Worker(`
      const { parentPort, workerData } = require('node:worker_threads');
      import(workerData.support).then(({ addon }) => {
        const options = { ...workerData.pack, ${options} };
        parentPort.postMessage('begins');
        addon.resolveCelebrityBadgeBatch(options);
        // In a function, because entering one is where the engine looks whether it has to end.
        (() => parentPort.postMessage('runs on'))();
      });`, { eval: true, workerData: { pack, support: new URL('./support/addon.mjs', import.meta.url).href } });
    const messages = [];
    await new Promise((resolve) => worker.on('message', (message) => resolve(messages.push(message))));
    await new Promise((resolve) => setTimeout(resolve, 200));
    const begin = performance.now();
    await worker.terminate();
    assert.ok(performance.now() - begin < 1500, `ended after ${performance.now() - begin} ms`);
    assert.deepEqual(messages, ['begins']);
  }
});
