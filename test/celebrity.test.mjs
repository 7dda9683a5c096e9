// resolveCelebrityBadgeBatch: who is found, which badge is proposed, what the call refuses and what it never touches.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { root, writePack } from './support/packs.mjs';

const person = (term, id, { name = `${id} name`, kind = 'singer', tags } = {}) =>
  [term, id, name, kind, 'CN', '1', `${id}-photo`, ...(tags === undefined ? [] : [tags])];
const celebrity = [
  person('林小北', 'lin', { tags: 'pop\x1E\x1E华语\x1E' }), person('小北', 'lin'), person('xiaobei lin', 'lin'),
  person('xiaobei', 'lin'), person('陈江', 'chen', { kind: 'actor' }), person('q', 'short'),
  person('王山', ''), ['赵水', 'zhao', 'five', 'x', 'CN', '1'], ['周木', 'zhou'],
  person('同长甲', 'tie-b'), person('同长乙', 'tie-a'),
  person('一人一', 'multi', { name: 'b' }), person('一人二', 'multi', { name: 'a' }),
];
const pack = writePack({ sections: { celebrity, scene: [['演唱会', 'a scene, no person', 'x', 'x', 'x', 'x', 'x']] } });
const batch = (cases, options = {}) => addon.resolveCelebrityBadgeBatch({ ...pack, cases, ...options });
const one = (title, options) => batch([title], options).results[0];
const found = (result) => result.celebrityHits.map(({ id, alias }) => `${id} ${alias}`).join(', ');
const hits = (raw, options, normalizedEnglish = '') => found(one({ raw, normalizedEnglish }, options));

const withoutHit = (mediaType = 'video') => ({ ok: true, mediaType, celebrityHits: [], primaryCelebrity: null,
  primaryLabel: '', primaryPhotoKey: '', secondaryRawLabel: '', secondaryMediumFallbackLabel: '',
  secondaryFallbackLabel: '', secondaryLabel: '', secondaryUsedMediumFallback: false, secondaryCandidates: [],
  secondaryConfidence: 0, secondaryConfidenceLevel: '' });

test('a result, property by property', () => {
  const hit = (id, kind, alias, index, len, tags) => ({ id, name: `${id} name`, region: 'CN', kind,
    photoKey: `${id}-photo`, alias, type: 'zh', sourceKind: 'alias', index, len, tags });
  const [lin, chen] = [hit('lin', 'singer', '林小北', 0, 9, ['pop', '华语']), hit('chen', 'actor', '陈江', 1, 6, [])];
  const [badge, singer] = ['明星歌手', { label: '明星歌手', score: 60, reason: 'default-kind' }];
  const result = batch([{ raw: '林 小北与陈江', mediaType: 'photo' }, {}]);
  assertSame(result, { ok: true, count: 2, results: [{ ...withoutHit('photo'), celebrityHits: [lin, chen],
    primaryCelebrity: lin, primaryLabel: 'lin name', primaryPhotoKey: 'lin-photo', secondaryRawLabel: badge,
    secondaryMediumFallbackLabel: badge, secondaryFallbackLabel: badge, secondaryLabel: badge,
    secondaryCandidates: [singer, singer, { label: '明星艺人', score: 54, reason: 'default' }],
    secondaryConfidence: 0.52, secondaryConfidenceLevel: 'low' }, withoutHit()] });
  assert.notEqual(result.results[0].primaryCelebrity, result.results[0].celebrityHits[0], 'an object of its own');
});

test('who is found', () => {
  const table = [
    // Title, English reading, name of an overlay's person "a" or undefined, hits.
    ['林小北 小北', '', , 'lin 林小北'], ['', 'with Xiao Bei today', , 'lin xiaobei'],
    // The pack's terms are held against folded text: one with a blank is in no title. No id, five fields, one field: no
    // person.
    ['xiaobei lin', '', , 'lin xiaobei'], ['王山赵水周木', '', , ''],
    // A pack's row has no minimum length; the longest alias leads; English hits count beside the others.
    ['aqua', 'xiaobei', , 'lin xiaobei, short q'],
    // Equal lengths go by their fields; of one person's rows of one length the first in that order stays.
    ['同长甲同长乙', '', , 'tie-a 同长乙, tie-b 同长甲'], ['一人一一人二', '', , 'multi 一人二'],
    // Overlay: a single byte only as the whole title, in either form; a Chinese character anywhere.
    ['x', '', 'X', 'a x'], ['taxi', '', 'X', ''], ['taxi', ' X ', 'X', 'a x'], ['我是歌手', '', '我', 'a 我'],
    ['', 'big star', 'Gst', 'a gst'],
  ];
  for (const [raw, english, name, expected] of table) {
    assert.equal(hits(raw, name ? { celebrityOverlay: [{ id: 'a', name }] } : {}, english), expected, raw + english);
  }
  for (const [name, type, len] of [['Ab 9', 'en', 3], ['a-b', 'zh', 3], ['é', 'zh', 2]]) {
    const hit = one({ raw: name }, { celebrityOverlay: [{ id: 'a', name }] }).primaryCelebrity;
    assert.deepEqual([hit.type, hit.len], [type, len]);
  }
});

test('an overlay pack stands after the option and before the pack', () => {
  const people = [person('林小北', 'lin', { name: 'x' }), person('z', 'z'), ['陈江', 'chen'], person('小虎', 'hu')];
  const { packPath } = writePack({ sections: { celebrity: people } });
  const overlay = { overlayPackPath: packPath, overlayAllowedRoot: root };
  const name = (options) => one({ raw: '林小北' }, options).primaryLabel;
  assert.equal(name({ ...overlay, celebrityOverlay: [{ id: 'lin', name: '林小北' }] }), '林小北');
  assert.equal(name(overlay), 'x');
  // Its rows too need two bytes inside a title, and one that is too short hides the pack's row under its key.
  assert.deepEqual(['zoo', 'Z', '小虎陈江'].map((raw) => hits(raw, overlay)), ['', 'z z', 'hu 小虎']);
  for (const value of [undefined, null, 7, [packPath]]) {
    assert.equal(name({ overlayPackPath: value, overlayAllowedRoot: value }), 'lin name', 'as if absent');
  }
});

function propose(kind, mediaType, words, { region = '', normalizedEnglish } = {}) {
  const title = { raw: `吴大星${words}`, normalizedEnglish, mediaType };
  return one(title, { celebrityOverlay: [{ id: 'p', name: '吴大星', kind, region }] });
}
/** Raw label, its medium fallback, the kind's own label, candidates, confidence and its level. */
const told = (result) => [result.secondaryRawLabel, result.secondaryMediumFallbackLabel, result.secondaryFallbackLabel,
  result.secondaryCandidates.map((candidate) => Object.values(candidate).join(' ')).join(),
  `${result.secondaryConfidence} ${result.secondaryConfidenceLevel}`];
/** The labels of the kinds; those in the first object are candidates of their own. */
const competing = { singer: '明星歌手', actor: '明星演员', idol: '明星偶像', model: '明星模特' };
const labels = { ...competing, athlete: '体育明星', creator: '网红达人', influencer: '网红达人', Singer: '明星艺人' };

test('the badge of a kind, if the title tells nothing', () => {
  for (const [kind, label] of Object.entries(labels)) {
    const own = `${label} 60 default-kind,`;
    const last = kind === 'Singer' ? '明星艺人 54 default-kind' : '明星艺人 54 default'; // of an unknown kind
    const candidates = own + (competing[kind] ? own : '') + last;
    assert.deepEqual(told(propose(kind, 'video', '')), [label, label, label, candidates, '0.52 low'], kind);
  }
  for (const [region, words, label, second = ''] of [['JP', '演唱会', '日本AV明星'], ['KR', '', 'KRAV明星'],
    ['', '品牌海报', 'AV明星', ',明星时尚活动 84 default']]) {
    const candidates = `${label} 100 adult${second},明星艺人 54 default`;
    const badge = told(propose('adult', 'video', words, { region }));
    assert.deepEqual(badge, [label, label, label, candidates, '0.99 high']);
  }
});

test('badges by what the title tells', () => {
  const sure = '0.99 high';
  const table = [
    // Kind, media, words; raw label and its medium fallback; candidates but for the last two; confidence.
    ['actor video 路演 演唱会', '演员路演 明星影视活动', '演员路演 100 default', sure],
    ['singer video 演唱会 见面会', '明星演唱会', '明星演唱会 100 default', sure],
    ['idol photo 应援 品牌 海报', '偶像应援活动 明星见面会',
      '偶像应援活动 98 idol-fan,明星时尚活动 84 fan,明星见面会 83 default', '0.96 high'],
    ['singer video 签售会 品牌', '明星见面会', '明星见面会 100 default', sure],
    ['idol video 录节目 品牌', '明星综艺录制', '明星综艺录制 100 default', sure],
    ['singer photo 品牌 大片 机场', '明星品牌大片 明星品牌活动',
      '明星品牌大片 94 photo-brand,明星品牌活动 85 brand,明星时尚活动 84 fashion', '0.9 high'],
    ['singer video 品牌 海报', '明星品牌活动', '明星品牌活动 85 brand,明星时尚活动 84 fashion', '0.64 medium'],
    ['model photo 代言活动', '明星品牌活动', '明星品牌活动 100 brand', sure, '明星模特 60 fashion,明星艺人 54 default'],
    ['athlete photo 品牌', '明星品牌活动', '明星品牌活动 100 brand', sure, '明星艺人 54 fashion'],
    ['model photo 秀场 机场', '明星时尚活动', '明星时尚活动 100 default', sure],
    ['singer photo 机场 扫街 秀场', '明星机场街拍 明星机场出行',
      '明星机场出行 100 explicit,明星机场街拍 95 photo-airport', '0.9 high'],
    ['actor Photo 机场 扫街', '明星机场出行', '明星机场出行 100 default', sure],
    ['actor video 扫街', '明星城市活动', '明星城市活动 100 default', sure],
  ];
  for (const [title, label, candidates, confidence, others] of table) {
    const [kind, media, ...words] = title.split(' ');
    const [raw, medium = raw] = label.split(' ');
    const last = others ?? `${labels[kind]} 60 default-kind,明星艺人 54 default`;
    const result = propose(kind, media, words.join(' '));
    assert.deepEqual(told(result), [raw, medium, labels[kind], `${candidates},${last}`, confidence], title);
    assert.deepEqual([result.secondaryLabel, result.secondaryUsedMediumFallback], [raw, false]);
  }
});

test('the words that fire each signal', () => {
  const table = [
    // Kind, label, words of the title as written, words of the English reading.
    ['singer', '明星演唱会', '演唱会,音乐会', 'concert,my Con Cert'],
    ['singer', '明星机场出行', '机场,接机,送机,候机,出发,返程', 'airport,departure,arrival,boarding'],
    ['actor', '演员路演', '路演', 'road show'],
    ['singer', '明星见面会', '见面会,粉丝见面会,签售会,签名会,应援,打call'],
    ['idol', '明星综艺录制', '综艺录制,节目录制,录综艺,录节目'],
    ['singer', '明星品牌活动', '品牌,代言活动,品牌站台,品牌快闪'],
    ['model', '明星时尚活动', '时装周,秀场,时尚活动,看秀'],
    ['singer', '明星城市活动', '巡城活动,快闪活动,见面活动,扫街,商场活动'],
    // Keywords with a blank never fire, case counts, and a word that is cut by a blank is none.
    ['idol', '明星偶像', '打CALL,演 唱会,concert', 'fan meeting,variety recording,brand event,city event'],
    ['model', '明星模特', '大片,海报', 'fashion week,fashionweek,fanmeeting,brandevent,cityevent,演唱会'],
  ];
  for (const [kind, label, words, english] of table) {
    for (const word of words.split(',')) assert.equal(propose(kind, 'video', word).secondaryRawLabel, label, word);
    for (const normalizedEnglish of english?.split(',') ?? []) {
      assert.equal(propose(kind, 'video', '', { normalizedEnglish }).secondaryRawLabel, label, normalizedEnglish);
    }
  }
});

test('what the call refuses, and what it does not touch', () => {
  const [packPath, bad, overlayAllowedRoot] = [`${root}/missing.klrx`, writePack({ stored: 'x' }).packPath, root];
  const [array, open] = ['TypeError: cases must be an array', 'Error: semantic rule-pack file stat is invalid'];
  const table = [
    ...[undefined, null, 'x', { length: 0 }, () => {}, new Proxy([], {})].map((cases) => [{ cases }, array]),
    ...[undefined, '', 1].map((value) =>
      [{ overlayAllowedRoot: value }, 'TypeError: overlayAllowedRoot is required with overlayPackPath']),
    // The overlay pack is opened before the first case, the pack by the first case that needs it.
    [{ cases: [], overlayPackPath: packPath, overlayAllowedRoot }, open],
    [{ packPath, overlayPackPath: bad, overlayAllowedRoot }, 'Error: semantic rule-pack payload digest is invalid'],
    [{ packPath, overlayPackPath: '', cases: [{}, { raw: ' \t' }, { normalizedEnglish: 'x' }] }, open],
  ];
  const good = { ...pack, cases: [{ raw: '林小北' }], overlayPackPath: 'x' };
  for (const [options, expected] of table) {
    assert.equal(thrownBy(() => addon.resolveCelebrityBadgeBatch({ ...good, ...options })), expected);
  }
  // Whatever is no object or is an array counts as a case without a title.
  const blank = [{}, { raw: ' \n', normalizedEnglish: '\0' }, 7, null, undefined, 'x', Symbol(), 1n, ['林小北'],
    () => {}, , { raw: 1 }, ...['Photo', 'photo ', 1, ['photo']].map((mediaType) => ({ mediaType }))];
  const results = [...Array.from(blank, () => withoutHit()), withoutHit('photo')];
  assertSame(batch([...blank, { mediaType: 'photo' }], { packPath, celebrityOverlay: [{ id: 'a', name: '我' }] }),
    { ok: true, count: results.length, results });
  assert.equal(found(one(Object.assign(() => {}, { raw: '陈江' }))), 'chen 陈江', 'a function counts as an object');
});
