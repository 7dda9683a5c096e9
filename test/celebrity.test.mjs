// resolveCelebrityBadgeBatch: who is found, which badge is proposed, what the call refuses and what it never touches.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';

import { addon } from './support/addon.mjs';
import { assertRequiredOptions, assertSame, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { packBytes, root, writeFile, writePack } from './support/packs.mjs';

const person = (term, id, { name = `${id} name`, kind = 'singer', tags } = {}) =>
  [term, id, name, kind, 'CN', '1', `${id}-photo`, ...(tags === undefined ? [] : [tags])];
const pack = writePack({ sections: {
  celebrity: [
    person('林小北', 'lin', { tags: 'pop\x1E\x1E华语\x1E' }), person('小北', 'lin'), person('xiaobei lin', 'lin'), person('xiaobei', 'lin'),
    person('陈江', 'chen', { kind: 'actor' }), person('q', 'short'), person('王山', ''), ['赵水', 'zhao', 'five', 'x', 'CN', '1'], ['周木', 'zhou'],
    person('同长甲', 'tie-b'), person('同长乙', 'tie-a'), person('一人一', 'multi', { name: 'b' }), person('一人二', 'multi', { name: 'a' }),
  ],
  scene: [['演唱会', 'scene row, not a person', 'x', 'x', 'x', 'x', 'x']],
} });
const batch = (cases, options = {}) => addon.resolveCelebrityBadgeBatch({ ...pack, cases, ...options });
const one = (title, options) => batch([title], options).results[0];
const found = (result) => result.celebrityHits.map(({ id, alias }) => `${id} ${alias}`).join(', ');
const hits = (raw, options, normalizedEnglish = '') => found(one({ raw, normalizedEnglish }, options));

const withoutHit = (mediaType = 'video') => ({ ok: true, mediaType, celebrityHits: [], primaryCelebrity: null, primaryLabel: '',
  primaryPhotoKey: '', secondaryRawLabel: '', secondaryMediumFallbackLabel: '', secondaryFallbackLabel: '', secondaryLabel: '',
  secondaryUsedMediumFallback: false, secondaryCandidates: [], secondaryConfidence: 0, secondaryConfidenceLevel: '' });

test('a result, property by property', () => {
  const hit = (id, kind, alias, index, len, tags) => ({ id, name: `${id} name`, region: 'CN', kind, photoKey: `${id}-photo`, alias,
    type: 'zh', sourceKind: 'alias', index, len, tags });
  const [lin, chen, badge] = [hit('lin', 'singer', '林小北', 0, 9, ['pop', '华语']), hit('chen', 'actor', '陈江', 1, 6, []), '明星歌手'];
  const singer = { label: badge, score: 60, reason: 'default-kind' };
  const result = batch([{ raw: '林 小北与陈江', mediaType: 'photo' }, {}]);
  assertSame(result, { ok: true, count: 2, results: [{ ...withoutHit('photo'), celebrityHits: [lin, chen], primaryCelebrity: lin,
    primaryLabel: 'lin name', primaryPhotoKey: 'lin-photo', secondaryRawLabel: badge, secondaryMediumFallbackLabel: badge,
    secondaryFallbackLabel: badge, secondaryLabel: badge, secondaryConfidence: 0.52, secondaryConfidenceLevel: 'low',
    secondaryCandidates: [singer, singer, { label: '明星艺人', score: 54, reason: 'default' }] }, withoutHit()] });
  assert.notEqual(result.results[0].primaryCelebrity, result.results[0].celebrityHits[0], 'an object of its own');
});

test('who is found', () => {
  const table = [
    // Title, English reading, name of an overlay's person "a" or undefined, hits.
    ['林小北 小北', '', , 'lin 林小北'], ['', 'with Xiao Bei today', , 'lin xiaobei'],
    // The pack's terms are held against folded text: one with a blank is in no title. No id, five fields, one field: no person.
    ['xiaobei lin', '', , 'lin xiaobei'], ['王山赵水周木', '', , ''],
    // A pack's row has no minimum length; the longest alias leads; English hits count beside the others. Equal lengths go by their
    // fields; of one person's rows of one length the first in that order stays.
    ['aqua', 'xiaobei', , 'lin xiaobei, short q'], ['同长甲同长乙', '', , 'tie-a 同长乙, tie-b 同长甲'], ['一人一一人二', '', , 'multi 一人二'],
    // Overlay: a single byte only as the whole title, in either form; a Chinese character anywhere.
    ['x', '', 'X', 'a x'], ['taxi', '', 'X', ''], ['taxi', ' X ', 'X', 'a x'], ['我是歌手', '', '我', 'a 我'], ['', 'big star', 'Gst', 'a gst'],
  ];
  for (const [raw, english, name, expected] of table) {
    assert.equal(hits(raw, name ? { celebrityOverlay: [{ id: 'a', name }] } : {}, english), expected, raw + english);
  }
  for (const [name, type] of [['Ab 9', 'en'], ['a-b', 'zh'], ['é', 'zh']]) {
    const hit = one({ raw: name }, { celebrityOverlay: [{ id: 'a', name }] }).primaryCelebrity;
    assert.deepEqual([hit.type, hit.len], [type, Buffer.byteLength(name.replace(' ', ''))]);
  }
});

test('an overlay pack stands behind the option and before the pack, in the overlay slot', () => {
  const celebrity = [person('林小北', 'lin', { name: 'from the overlay pack' }), person('z', 'z'), ['陈江', 'chen'], person('小虎', 'hu')];
  const overlay = { overlayPackPath: writeStamped({ sections: { celebrity } }), overlayAllowedRoot: root };
  const name = (options) => one({ raw: '林小北' }, options).primaryLabel;
  assert.equal(name({ ...overlay, celebrityOverlay: [{ id: 'lin', name: '林小北' }] }), '林小北');
  assert.equal(name(overlay), 'from the overlay pack');
  spoil(overlay.overlayPackPath);
  addon.inspectRulePack(writePack());
  // Its rows too need two bytes inside a title, and one that is too short hides the pack's row under its key.
  assert.deepEqual(['zoo', 'Z', '小虎陈江'].map((raw) => hits(raw, overlay)), ['', 'z z', 'hu 小虎']);
  for (const value of [undefined, null, 7, [overlay.overlayPackPath]]) {
    assert.equal(name({ overlayPackPath: value, overlayAllowedRoot: value }), 'lin name', 'any other type counts as absent');
  }
});

const propose = (kind, region, mediaType, words, normalizedEnglish) =>
  one({ raw: `吴大星${words}`, normalizedEnglish, mediaType }, { celebrityOverlay: [{ id: 'p', name: '吴大星', kind, region }] });

test('badges with their candidates and confidence', () => {
  const sure = '0.99 high';
  const table = [
    // Kind, region, media, words, default label, raw label, its medium fallback, candidates but for those of the kind, confidence.
    ['adult', 'JP', 'video', '演唱会', '日本AV明星', '', '', '日本AV明星 100 adult', sure],
    ['adult', 'KR', 'video', '', 'KRAV明星', '', '', 'KRAV明星 100 adult', sure],
    ['adult', '', 'photo', '品牌海报', 'AV明星', '', '', 'AV明星 100 adult,明星时尚活动 84 default', sure],
    ['actor', '', 'video', '路演 演唱会', '明星演员', '演员路演', '明星影视活动', '演员路演 100 default', sure],
    ['singer', '', 'video', '路演 录节目', '明星歌手', '', '', '明星歌手 60 default-kind', '0.52 low'],
    ['singer', '', 'video', '演唱会 见面会', '明星歌手', '明星演唱会', '', '明星演唱会 100 default', sure],
    ['idol', '', 'photo', '应援 品牌 海报', '明星偶像', '偶像应援活动', '明星见面会',
      '偶像应援活动 98 idol-fan,明星时尚活动 84 fan,明星见面会 83 default', '0.96 high'],
    ['singer', '', 'video', '签售会 品牌', '明星歌手', '明星见面会', '', '明星见面会 100 default', sure],
    ['idol', '', 'video', '录节目 品牌', '明星偶像', '明星综艺录制', '', '明星综艺录制 100 default', sure],
    ['singer', '', 'photo', '品牌 大片 机场', '明星歌手', '明星品牌大片', '明星品牌活动',
      '明星品牌大片 94 photo-brand,明星品牌活动 85 brand,明星时尚活动 84 fashion', '0.9 high'],
    ['singer', '', 'video', '品牌 海报', '明星歌手', '明星品牌活动', '', '明星品牌活动 85 brand,明星时尚活动 84 fashion', '0.64 medium'],
    ['model', '', 'photo', '代言活动 秀场', '明星模特', '明星品牌活动', '', '明星品牌活动 100 brand', sure, '明星模特 60 fashion,明星艺人 54 default'],
    ['athlete', '', 'photo', '品牌', '体育明星', '明星品牌活动', '', '明星品牌活动 100 brand', sure, '明星艺人 54 fashion'],
    ['model', '', 'photo', '秀场 机场', '明星模特', '明星时尚活动', '', '明星时尚活动 100 default', sure],
    ['singer', '', 'photo', '机场 扫街 秀场', '明星歌手', '明星机场街拍', '明星机场出行', '明星机场出行 100 explicit,明星机场街拍 95 photo-airport', '0.9 high'],
    ['actor', '', 'Photo', '机场 扫街', '明星演员', '明星机场出行', '', '明星机场出行 100 default', sure],
    ['actor', '', 'video', '扫街', '明星演员', '明星城市活动', '', '明星城市活动 100 default', sure],
    ['creator', '', 'video', '', '网红达人', '', '', '网红达人 60 default-kind', '0.52 low'],
    ['influencer', '', 'video', '', '网红达人', '', '', '网红达人 60 default-kind', '0.52 low'],
    ['Singer', '', 'video', '', '明星艺人', '', '', '明星艺人 60 default-kind', '0.52 low', '明星艺人 54 default-kind'],
  ];
  for (const [kind, region, media, words, own, raw, medium, candidates, rating, ofKind] of table) {
    const tail = ofKind ?? `${/actor|singer|idol|model/.test(kind) ? `${own} 60 default-kind,` : ''}明星艺人 54 default`;
    const result = propose(kind, region, media, words);
    const text = result.secondaryCandidates.map((candidate) => Object.values(candidate).join(' ')).join();
    assert.deepEqual(Object.values({ ...result, secondaryCandidates: text }).slice(-8),
      [raw || own, medium || raw || own, own, raw || own, false, `${candidates},${tail}`,
        ...rating.split(' ').map((part) => Number(part) || part)], `${kind} ${words}`);
  }
});

test('the words that fire each signal', () => {
  const table = [
    // Kind, label, words of the title as written, words of the English reading.
    ['singer', '明星演唱会', '演唱会,音乐会', 'concert,my Con Cert'],
    ['singer', '明星机场出行', '机场,接机,送机,候机,出发,返程', 'airport,departure,arrival,boarding'],
    ['actor', '演员路演', '路演', 'road show'],
    ['singer', '明星见面会', '见面会,粉丝见面会,签售会,签名会,应援,打call', ''],
    ['idol', '明星综艺录制', '综艺录制,节目录制,录综艺,录节目', ''],
    ['singer', '明星品牌活动', '品牌,代言活动,品牌站台,品牌快闪', ''],
    ['model', '明星时尚活动', '时装周,秀场,时尚活动,看秀', ''],
    ['singer', '明星城市活动', '巡城活动,快闪活动,见面活动,扫街,商场活动', ''],
    // Keywords with a blank never fire, case counts, and a word that is cut by a blank is none.
    ['idol', '明星偶像', '打CALL,演 唱会,concert', 'fan meeting,variety recording,brand event,city event'],
    ['model', '明星模特', '大片,海报', 'fashion week,fashionweek,fanmeeting,brandevent,cityevent,演唱会'],
  ];
  for (const [kind, label, words, english] of table) {
    const titles = [...words.split(',').map((word) => [word]), ...english.split(',').filter(Boolean).map((word) => ['', word])];
    for (const [word, reading] of titles) assert.equal(propose(kind, '', 'video', word, reading).secondaryRawLabel, label, word || reading);
  }
});

test('what the call refuses, and what it does not touch', () => {
  const good = { ...pack, cases: [{ raw: '林小北' }] };
  const call = (options) => thrownBy(() => addon.resolveCelebrityBadgeBatch({ ...good, ...options }));
  const [nowhere, bad, overlayAllowedRoot] = [join(root, 'missing.klrx'), packBytes(), root];
  bad[bad.length - 1] ^= 1;
  const [array, open, seal] = ['TypeError: cases must be an array', 'Error: semantic rule-pack file stat is invalid',
    'Error: semantic rule-pack authentication or decryption failed'];
  assertRequiredOptions('resolveCelebrityBadgeBatch', ['packPath', 'allowedRoot'], good);
  const table = [
    ...[undefined, null, 'x', { length: 0 }, () => {}, new Proxy([], {})].map((cases) => [{ cases, overlayPackPath: 'x' }, array]),
    ...[undefined, '', 1].map((value) =>
      [{ overlayPackPath: 'x', overlayAllowedRoot: value }, 'TypeError: overlayAllowedRoot is required with overlayPackPath']),
    // The overlay pack is opened before the first case, the pack by the first case that needs it.
    [{ cases: [], overlayPackPath: nowhere, overlayAllowedRoot }, open],
    [{ packPath: nowhere, overlayPackPath: writeFile(bad), overlayAllowedRoot }, seal],
    [{ packPath: nowhere, cases: [{}, { raw: ' \t' }, { normalizedEnglish: 'x' }] }, open],
  ];
  for (const [options, expected] of table) assert.equal(call(options), expected);
  // Whatever is no object or is an array counts as a case without a title.
  const blank = [{}, { raw: ' \n', normalizedEnglish: '\0' }, 7, null, undefined, 'x', Symbol(), 1n, ['林小北'], () => {}, , { raw: 1 },
    ...['Photo', 'photo ', 1, ['photo']].map((mediaType) => ({ mediaType }))];
  const results = [...Array.from(blank, () => withoutHit()), withoutHit('photo')];
  assertSame(batch([...blank, { mediaType: 'photo' }], { packPath: nowhere, celebrityOverlay: [{ id: 'a', name: '我' }] }),
    { ok: true, count: results.length, results });
  assert.equal(found(one(Object.assign(() => {}, { raw: '陈江' }))), 'chen 陈江', 'a function counts as an object');
});

test('getters that throw end the call with their own exception; others may change the array and call again', () => {
  const get = () => { throw new Error('from a getter'); };
  const title = { raw: '林小北', normalizedEnglish: 'x', mediaType: 'photo' };
  const good = { ...pack, cases: [title], celebrityOverlay: [], overlayPackPath: '', overlayAllowedRoot: '' };
  const without = (object) => Object.keys(object).map((name) => Object.defineProperty({ ...object }, name, { get }));
  const bad = [...without(title), new Proxy(title, { get })].map((element) => ({ ...pack, cases: [title, element, title] }));
  const element = { ...pack, cases: Object.defineProperty([], 0, { get }) };
  for (const options of [...without(good), ...bad, element, new Proxy(good, { has: get })]) {
    assert.equal(thrownBy(() => addon.resolveCelebrityBadgeBatch(options)), 'Error: from a getter');
  }
  const other = writePack({ sections: { celebrity: [person('林小北', 'other')] } });
  const overlays = ['first', 'second'].map((id) =>
    ({ overlayPackPath: writePack({ sections: { celebrity: [person('孙大海', id)] } }).packPath, overlayAllowedRoot: root }));
  const raw = '林小北孙大海';
  const cases = [
    // Both slots of the cache are given to other packs while the outer call still uses theirs.
    { raw }, { get raw() { batch([{ raw }], { ...other, ...overlays[1] }); return raw; } },
    { get raw() { cases.push({ raw: '陈江' }); return ''; } }, { get raw() { cases.length = 5; return '小北'; } }, {}, {}, {},
  ];
  const { count, results } = batch(cases, overlays[0]);
  assert.deepEqual([count, results.map(found)], [5, [...Array(2).fill('first 孙大海, lin 林小北'), '', 'lin 小北', '']]);
});

test('the indexes find what a loop over all rows finds', () => {
  let seed = 7;
  const random = (below) => Math.floor(((seed = (seed * 1103515245 + 12345) % 2147483648) / 2147483648) * below);
  const word = (most) => Array.from({ length: 1 + random(most) }, () => 'ab我'[random(3)]).join('');
  const rows = (length) => Array.from({ length }, () => person(word(4), random(9) ? `p${random(6)}` : '',
    { name: word(1), tags: random(2) ? '' : undefined }).slice(0, random(6) ? 8 : 1 + random(6)));
  const [people, overlayRows, packRows] = [Array.from({ length: 12 }, () => ({ id: `p${random(6)}`, name: word(3) })), rows(40), rows(60)];
  // Each field is closed by a byte below all that it holds, so that the bytes compare as the lists do.
  const order = ([, ...fields]) => Buffer.from(fields.map((field) => `${field}\0`).join(''));
  const size = ([term]) => Buffer.byteLength(term);
  const ofOverlays = [...people.map(({ id, name }) => [name, id, name, '', '', '', '', '']), ...overlayRows];
  const naive = ({ raw, normalizedEnglish: english }) => {
    const texts = [raw, english];
    const matching = ofOverlays.filter((row) => texts.some((text) => text === row[0] || (text.includes(row[0]) && size(row) >= 2)));
    for (const text of texts) matching.push(...packRows.filter(([term]) => text.includes(term)));
    const seen = new Set();
    const first = (key) => !seen.has(key) && seen.add(key);
    return matching.filter(([term, id = '']) => first(`${term}\x1F${id}`))
      .sort((a, b) => size(b) - size(a) || Buffer.compare(order(a), order(b)))
      .filter((row) => row.length >= 7 && row[1] !== '' && first(row[1])).map((row) => `${row[1]} ${row[2]} ${row[6]} ${size(row)}`);
  };
  const cases = Array.from({ length: 400 }, () => ({ raw: random(8) ? word(7) : '', normalizedEnglish: random(3) ? word(5) : '' }));
  const [packPath, overlayPackPath] = [packRows, overlayRows].map((celebrity) => writePack({ sections: { celebrity } }).packPath);
  const answers = batch(cases, { packPath, overlayPackPath, overlayAllowedRoot: root, celebrityOverlay: people }).results
    .map(({ celebrityHits }) => celebrityHits.map(({ id, name, photoKey, len }) => `${id} ${name} ${photoKey} ${len}`));
  assert.deepEqual(answers, cases.map(naive));
  assert.ok(answers.filter((list) => list.length > 1).length > 100, 'titles with several people are among them');
});

test('a worker that is terminated in the middle ends at once', async () => {
  // Each of these calls would run for many seconds.
  for (const options of ['cases: Array(5e6).fill({ raw: "林小北陈江" })', 'cases: [], celebrityOverlay: Array(2e7).fill({ name: "x" })']) {
    const worker = new Worker(`const { parentPort, workerData } = require('node:worker_threads');
      import(workerData.support).then(({ addon }) => {
        const options = { ...workerData.pack, ${options} };
        parentPort.postMessage('begins');
        addon.resolveCelebrityBadgeBatch(options);
        // In a function, because entering one is where the engine looks whether it has to end.
        (() => parentPort.postMessage('runs on'))();
      });`, { eval: true, workerData: { pack, support: new URL('./support/addon.mjs', import.meta.url).href } });
    const messages = [];
    await new Promise((resolve) => worker.on('message', (message) => { messages.push(message); setTimeout(resolve, 200); }));
    const begin = performance.now();
    await worker.terminate();
    assert.ok(performance.now() - begin < 1500, `ended after ${performance.now() - begin} ms`);
    assert.deepEqual(messages, ['begins']);
  }
});
