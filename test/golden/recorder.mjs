// Calls of all twelve functions and what they come to, one line of JSON a call. Packs, titles and options are the same in
// every run: tables, and rows and titles drawn by a generator with a fixed seed. Paths are written as "@base" or "@root".
import { mkdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { buildLocationShard, buildManifest, buildMetadata, buildPayload, sealPack } from '../../tools/index.mjs';
import { addon } from '../support/addon.mjs';
import { outcomeOf, spelled } from '../support/outcome.mjs';
import { indexDocument, metadataFields, root, writeFile } from '../support/packs.mjs';
import { sampleTitles, sealSample } from '../support/sample.mjs';

export const recordFile = new URL('record.jsonl', import.meta.url);

// --- What is drawn --------------------------------------------------------------------------------------------------

let state = 1;
const below = (limit) => {
  state = Math.imul(state ^ (state >>> 15), 0x2c1b3c6d) + 0x9e3779b9 | 0;
  return ((state ^ (state >>> 16)) >>> 0) % limit;
};
const pick = (list) => list[below(list.length)];
const upTo = (most, make) => Array.from({ length: below(most + 1) }, make);
const some = (most, letters) => pick(letters) + upTo(most - 1, () => pick(letters)).join('');
/** Now and then a row that is too short or too long. */
const worn = (row) => [() => row.slice(0, 1 + below(row.length)), () => [...row, 'more']][below(24)]?.() ?? row;

const KEYS = ['food', 'travel', 'travel', 'city', 'k', ''];
const KINDS = ['category', 'category', 'detail', 'short', 'compound', 'conflict', 'other'];
const LANGUAGES = ['zh', 'zh', 'en', 'fr'];
const DETAILS = ['travel diary', 'one', 'two', ''];
// Mostly equal, so that what decides between equals is met.
const ODD_NUMBERS = ['2', '0.1', '0.30000000000000004', '-1', '', 'nan', 'nan', 'inf', '0x10', '3.5x', '1\0', '1e999', ' 2', '1,5'];
const NUMBERS = [...Array(24).fill('1'), ...ODD_NUMBERS];
const CODES = ['A', 'B', 'C'];
const SOURCES = ['country', 'location-famous', 'location', 'location-db-native', 'location-db-en', 'other'];
const SHARDS = ['location-world', 'location-cn', 'location-us', 'location-base', 'elsewhere'];
const IDENTITIES = ['food_creator', 'travel_creator', 'gaming_creator', 'streamer', 'other'];
const PROFESSIONS = ['actor', 'singer', 'idol', 'model', 'adult', 'creator', 'athlete', 'other'];
const ACTIVITIES = ['', '演唱会', '机场', '品牌', '品牌海报', '路演', '见面会', '综艺录制', '时装周', '扫街', 'concert', 'airport'];
const ENDINGS = ['', '', '', '', '玩', '逛', '旅行随拍', '街头随拍', 'vlog'];
const ALPHABETS = ['ab', 'abc', 'ab东京', '东京都市', 'aé𠀀𠀁', 'abcdef12'];

/** Terms that overlap, begin alike, are cut inside a character, are not folded, or are long. */
function makeTerms(letters) {
  const long = some(3, letters).repeat(60);
  const terms = Array.from({ length: 10 }, () => some(3, letters));
  terms.push(...terms.slice(0, 4).map((term) => term + pick(letters)), long.slice(0, 62), long.slice(0, 63), long.slice(0, 120));
  terms.push('home', 'vlog', 'life', pick(letters).toUpperCase(), 'a b', '\x1f', Buffer.from(some(2, letters)).subarray(-1));
  return terms;
}

const placeLabel = (term, letters) =>
  pick([term, term, letters.join(''), `${term}${some(2, letters)}`, '', `${some(2, letters)} x`, 'Trip']);
const sceneTail = ['label', 'archive', 'code', 'icon'];

const shardDocument = (name, entries) => ({ type: 6, encoding: 2, name, data: buildLocationShard(entries) });

function makeDocuments(terms, letters, most) {
  const rows = (make, limit = most) => {
    const made = upTo(limit, () => worn(make(pick(terms))));
    return [...made, ...made.slice(0, below(3))];
  };
  const sections = {
    scene: rows((term) =>
      [term, pick(KEYS), pick(DETAILS), pick(NUMBERS), pick(KINDS), pick(LANGUAGES), ...sceneTail, pick(['', 'own']), '1']),
    human: rows((term) => [term, pick(KEYS), pick(DETAILS), ...pick([[], ['en']])], most / 4),
    celebrity: rows((term) => [term, pick(['1', '2', '3', '4', '']), 'name', pick(PROFESSIONS), pick(['JP', '']), '1', 'photo', 'a\x1e\x1eb']),
    location: rows((term) => [term, pick(CODES), pick(SOURCES), pick(NUMBERS), placeLabel(term, letters), pick(LANGUAGES), 'Land']),
    facet: rows((term) => [term, ...pick([['identity', pick(IDENTITIES)], ['mood', pick(['x', 'y'])]]), pick(NUMBERS), pick(LANGUAGES)]),
  };
  // One hit of a curated row silences all shards, so half of the packs have none.
  if (below(2) === 0) sections.location = [];
  const entry = (alias) => ({ alias, records: upTo(3, () => ({ code: pick(CODES), englishFlag: below(2),
    weight: pick([1, 1, 0.5, 0.1, 1 / 3, -1]), label: placeLabel(alias, letters), countryLabel: pick(['Land', '']) })) });
  return [indexDocument(sections), ...SHARDS.map((name) => shardDocument(name, upTo(most / 2, () => entry(pick(terms)))))];
}

function makeTitle(terms, letters) {
  const term = () => String(pick(terms));
  const piece = () => pick([term(), term(), some(3, letters), term().toUpperCase(), pick([' ', '-', '\ud83d', '\x1f'])]);
  // After ten characters the position in the title no longer counts.
  const raw = pick([term, () => pick(['', '', '- '.repeat(12)]) + piece() + upTo(4, piece).join(pick(['', ' ']))]);
  const title = { raw: raw() + pick(ENDINGS) + pick(ACTIVITIES) };
  if (below(3) > 0) {
    title.normalizedEnglish = upTo(5, piece).join(pick([' ', ' ', '  ', ''])) + pick(['', '', ' new york', ' home', ' concert']);
  }
  return title;
}

// --- Packs ----------------------------------------------------------------------------------------------------------

/** One LZ4 block of nothing but literals: no encoder decides how long it is. */
function literalBlock(bytes) {
  const extension = bytes.length - 15;
  return Buffer.concat([Buffer.from([0xf0]), Buffer.alloc(extension / 255, 255), Buffer.from([extension % 255]), bytes]);
}

/** A pack whose bytes are the same in every run: answers tell its digest and its size. */
function seal(documents, metadata, store = (payload) => payload) {
  const payload = buildPayload(documents);
  const text = buildMetadata(metadataFields(payload, metadata));
  return sealPack({ metadata: text, payload: store(payload), keyId: 'test-v1', nonce: Buffer.alloc(12) });
}

/** Writes a world's packs and the manifest of its patch; gives their paths by the names that calls use. */
function writeWorld(name, packs) {
  const folder = join(root, name);
  mkdirSync(folder);
  const paths = { '@root': folder, '@none': join(folder, 'none.klrx'), '@long': 'x'.repeat(4097) };
  for (const [pack, bytes] of Object.entries(packs)) paths[`@${pack}`] = writeFile(bytes, join(name, `${pack}.klrx`));
  paths['@zip'] = writeFile(packs.base, join(name, 'base.zip'));
  if (packs.patch) {
    paths['@manifest'] = writeFile(buildManifest({ packPath: paths['@patch'], modules: ['scene'] }), join(name, 'manifest.json'));
  }
  return paths;
}

const sampleWorld = () =>
  ({ paths: writeWorld('sample', { base: readFileSync(sealSample()) }), titles: sampleTitles() });

const patch = { kind: 'patch', baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };

export function drawnWorld(number) {
  state = number;
  const letters = [...ALPHABETS[number % ALPHABETS.length]];
  const terms = makeTerms(letters);
  const compressed = number % 3 === 0 ? [{ compression: 'lz4-block-v1' }, literalBlock] : [];
  const packs = { base: seal(makeDocuments(terms, letters, 32), ...compressed), patch: seal(makeDocuments(terms, letters, 8), patch) };
  return { paths: writeWorld(`drawn-${number}`, packs), terms, titles: Array.from({ length: 40 }, () => makeTitle(terms, letters)) };
}

const far = '-'.repeat(12);

/** Rows that a generator hardly finds: what decides between equals, and places just above and below what is strong enough. */
function chosenWorld() {
  const scene = [
    ['ba', 'food', 'x', '1', 'category'], ['ab', 'travel', 'y', '1', 'category'], ['ab', 'city', 'z', '1', 'category'],
    ['ab', 'k', 'one', '1', 'detail'], ['ba', 'k', 'two', '1', 'detail'], [`${far}ab-ba`, 'k', 'whole', '1', 'category'],
    ['cd', 'k', 'nan', 'nan', 'category'], ['dc', 'food', 'number', '1', 'category'],
  ].map((row) => [...row, 'zh', ...sceneTail, 'own', '1']);
  const place = ([alias, code, weight]) => ({ alias, records: [{ code, weight, label: alias, countryLabel: 'Land' }] });
  const places = [
    ['abcd', 'A', 1], ['efgh', 'B', 0.4416], ['ijkl', 'C', 0.4433], ['mn', 'B', 1], ['op', 'B', 0], ['qr', 'A', 0], ['qr', 'A', 5], ['st', 'B', 1],
  ].map(place);
  // Keys of rows and facets that differ only in where a separator stands.
  const facet = [['ab', 'x', 'y\\x1fz', '1', 'zh'], ['ab', 'x\\x1fy', 'z', '1', 'zh']];
  const index = { scene: [...scene, ['abc', 'x'], ['abc', 'x', ''], ['ef', 'm\x1en'], ['ef', 'm', 'n']], facet };
  const overlay = { scene: [['abc', 'x', ''], ['abc', 'x'], ['ef', 'm', 'n'], ['ef', 'mn']] };
  const packs = { base: seal([indexDocument(index), shardDocument('location-world', places)]), patch: seal([indexDocument(overlay)], patch) };
  const raws = ['ab', 'ba ab', `${far}ab-ba`, `${far}ba-ab`, `${far}ab ba-`, 'cd-dc', 'ab vlog', 'abcef',
    'abcd efgh', 'abcd ijkl', 'efgh abcd', 'abcd mn op', 'abcd op mn', 'qr st'];
  const titles = raws.flatMap((raw) => [{ raw }, { raw: `东${raw}` }]);
  return { paths: writeWorld('chosen', packs), terms: ['ab', 'ba', 'abc', 'ef', 'cd'], titles };
}

// --- Calls: [function, ...arguments] --------------------------------------------------------------------------------

const base = { packPath: '@base', allowedRoot: '@root' };
const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
const through = { basePackPath: '@base', overlayPackPath: '@patch', allowedRoot: '@root' };
const withPatch = { ...base, overlayPackPath: '@patch', overlayAllowedRoot: '@root' };
const SECTIONS = ['scene', 'human', 'celebrity', 'location', 'facet'];

function* sampleCalls({ titles }) {
  yield ['inspectRulePack', base];
  yield ['warmSemanticRulePack', base];
  yield ['resolveSceneIntentBatch', { ...base, cases: titles }];
  yield ['resolveCelebrityBadgeBatch', { ...base, cases: titles.slice(0, 80) }];
  for (const [i, title] of titles.entries()) {
    const asked = [
      ['resolveSceneIntent', { ...base, ...title }],
      ['extractSemanticFacets', { ...base, ...title }],
      ['evaluateWorkflowPolicy', { ...title, sceneKey: ['home', 'food', 'travel'][i % 3], alias: ['整理', '打包'][i % 2] }],
      ['lookupBinaryIndex', { ...base, section: SECTIONS[i % 5], term: title.raw, mode: 'contains' }],
    ];
    yield asked[i % 4];
  }
}

/** What a caller may lay over a pack, with values among it that are passed over. */
function drawnOverlays(terms) {
  const words = () => upTo(3, () => pick([...terms.slice(0, -1), ...terms.slice(0, -1), 7, null]));
  const override = () => ({ sceneKey: pick(KEYS), detailLabel: pick(DETAILS), zh: words(), en: words() });
  const entry = () => [pick([...CODES, 7]), 0, 0, 0, pick([1, 0.5, NaN, 'x']), ...pick([[], [String(pick(terms))]])];
  const places = () => Object.fromEntries(upTo(4, () => [String(pick(terms)), pick([[entry()], [entry(), 'x'], null])]));
  return {
    sceneOverlay: {
      categories: upTo(3, () => pick([{ key: pick(KEYS), label: 'mine', defaultDetail: pick(DETAILS), priority: pick([1, 2.5, '3', null]),
        zh: words(), keywords: words(), en: words(), details: [{ label: 'finer', zh: words(), en: words() }] }, null, {}])),
      shortTitleOverrides: upTo(1, override), compoundOverrides: upTo(1, override), conflictOverrides: upTo(1, override),
    },
    locationOverlay: { aliasesZh: places(), aliasesEn: places() },
    celebrityOverlay: upTo(5, () => pick([{ id: pick(['1', '9', '']), name: String(pick(terms)), kind: pick(PROFESSIONS), tags: ['t', 7, ''],
      aliases: { zh: words(), 1: words() } }, 'x'])),
  };
}

export function* drawnCalls({ titles, terms }) {
  for (const name of ['base', 'patch']) yield ['inspectRulePack', { packPath: `@${name}`, allowedRoot: '@root' }];
  yield ['inspectSemanticDelta', { packPath: '@patch', allowedRoot: '@root', ...ids }];
  yield ['verifySemanticDeltaManifest', { manifestPath: '@manifest', packPath: '@patch', allowedRoot: '@root', ...ids }];
  yield ['warmSemanticRulePack', withPatch];
  yield ['resolveSceneIntentBatch', { ...base, cases: titles }];
  for (const [i, title] of titles.slice(0, 28).entries()) {
    yield ['resolveSceneIntent', { ...base, ...title }];
    yield ['extractSemanticFacets', { ...base, ...title }];
    const term = pick([[...title.raw].slice(0, 4).join(''), String(pick(terms.slice(0, -1)))]);
    yield ['lookupBinaryIndex', { ...base, section: SECTIONS[i % 5], term, ...pick([{ mode: 'contains' }, { mode: 'exact' }, {}]) }];
    if (i % 2) yield ['lookupBinaryIndexOverlay', { ...through, section: SECTIONS[below(5)], term, mode: 'contains' }];
  }
  const people = titles.map((title, i) => ({ ...title, mediaType: ['photo', 'video'][i % 2] }));
  for (const size of [1, 1, 1, 4, 4, 16]) {
    const from = below(titles.length - size + 1);
    const { sceneOverlay, locationOverlay, celebrityOverlay } = drawnOverlays(terms);
    yield ['resolveSceneIntentBatch', { ...pick([base, withPatch]), cases: titles.slice(from, from + size),
      ...pick([{}, { sceneOverlay, locationOverlay }, { sceneOverlay }]) }];
    yield ['resolveCelebrityBadgeBatch', { ...pick([base, withPatch]), cases: people.slice(from, from + 1 + size / 4),
      ...pick([{}, { celebrityOverlay }, { celebrityOverlay }]) }];
  }
}

const ASSET_WORDS = ['素材', '照片', '数据', '项目交付', '客户资料', '最终版', '训练数据', '备份', 'file', 'latest', 'edit', 'final', 'raw'];
const TOKENS = ['', '房间', '医院', 'AI', '餐', '会议', '安装包', '体检', '家里', '周会'];
const JUDGED = [['home', '整理', ''], ['home', '', 'room reset'], ['health', '检查', ''], ['health', '', 'recovery session'], ['sport', '训练', ''],
  ['food', '打包', ''], ['food', '', 'restaurant dining'], ['business', '客户', ''], ['travel', '', ''], ['k', '', '']];

export function* workflowCalls() {
  for (const [i, word] of ['', ...ASSET_WORDS].entries()) {
    for (const [j, [sceneKey, alias, detail]] of JUDGED.entries()) {
      const token = TOKENS[(i + 3 * j) % 10];
      const title = /[a-z]/.test(word) ? { raw: token, normalizedEnglish: `x${word}` } : { raw: `${token}${word}` };
      yield ['evaluateWorkflowPolicy', { ...title, sceneKey, alias, detail, ...((i + j) % 9 === 0 && { overrideType: 'manual' }) }];
    }
  }
}

const OTHER_PATHS = { Path: ['@none', '@zip', '@root', '@long', '@base', '@patch'], Root: ['@base', '@none', '@long', '/'] };

/** Each function with good options, and the values that each of them is refused with. */
export function* refusedCalls() {
  const title = { raw: '东京 ab', normalizedEnglish: 'tokyo ab' };
  const query = { section: 'scene', term: 'ab', mode: 'exact' };
  const delta = { packPath: '@patch', allowedRoot: '@root', ...ids };
  const good = {
    inspectRulePack: base, inspectSemanticDelta: delta, verifySemanticDeltaManifest: { manifestPath: '@manifest', ...delta },
    lookupBinaryIndex: { ...base, ...query }, lookupBinaryIndexOverlay: { ...through, ...query }, evaluateWorkflowPolicy: title,
    extractSemanticFacets: { ...base, ...title }, resolveSceneIntent: { ...base, ...title },
    resolveSceneIntentBatch: { ...withPatch, cases: [title] }, resolveCelebrityBadgeBatch: { ...withPatch, cases: [title] },
    warmSemanticRulePack: withPatch,
  };
  for (const [name, options] of Object.entries(good)) {
    yield [name, options];
    for (const args of [[], [undefined], [null], [7], ['x'], [[]], [options, options]]) yield [name, ...args];
    for (const [key, value] of Object.entries(options)) {
      const { [key]: _, ...without } = options;
      yield [name, without];
      const others = Object.entries(OTHER_PATHS).find(([kind]) => key.endsWith(kind))?.[1] ?? ['other'];
      for (const wrong of ['', 7, null, undefined, {}, [], ...others]) if (wrong !== value) yield [name, { ...options, [key]: wrong }];
    }
  }
  for (const name of ['resolveSceneIntentBatch', 'resolveCelebrityBadgeBatch']) {
    const wrongCases = [null, 7, 'x', [], {}, { raw: '' }, { raw: 7 }, { ...title, normalizedEnglish: undefined }, { ...title, mediaType: 7 }];
    for (const wrong of wrongCases) yield [name, { ...base, cases: [title, wrong] }];
    for (const key of ['sceneOverlay', 'locationOverlay', 'celebrityOverlay']) {
      for (const wrong of [null, 'x', [], [[]], { categories: 'x', aliasesZh: [] }]) yield [name, { ...base, cases: [title], [key]: wrong }];
    }
  }
  yield ['resolveSceneIntentBatch', { ...base, cases: new Array(10001) }];
}

/** A small pack and its manifest, cut short and with single bytes changed. */
export function damagedWorld() {
  const packs = { base: seal([indexDocument({ scene: [['ab', 'k', 'd']] })], patch) };
  const { base: bytes } = packs;
  const manifest = Buffer.from(buildManifest({ packBytes: bytes, pack: 'base.klrx' }));
  const calls = [];
  const spoil = (name, whole, call) => {
    for (let i = 0; i < whole.length; i += 13) {
      packs[`${name}-${i}-cut`] = whole.subarray(0, i);
      packs[`${name}-${i}-changed`] = Buffer.concat([whole.subarray(0, i), Buffer.from([whole[i] ^ 1]), whole.subarray(i + 1)]);
      calls.push(call(`@${name}-${i}-cut`), call(`@${name}-${i}-changed`));
    }
  };
  spoil('pack', bytes, (packPath) => ['inspectRulePack', { ...base, packPath }]);
  spoil('manifest', manifest, (manifestPath) => ['verifySemanticDeltaManifest', { ...base, ...ids, manifestPath }]);
  return { paths: writeWorld('damaged', packs), calls };
}

// --- The record -----------------------------------------------------------------------------------------------------

function toPaths(paths, options) {
  if (options === null || typeof options !== 'object' || Array.isArray(options)) return options;
  return Object.fromEntries(Object.entries(options).map(([key, value]) => [key, Object.hasOwn(paths, value) ? paths[value] : value]));
}

/** A call with the paths of a world in place of their names. */
export const callIn = ({ paths }, [name, ...args]) => [name, ...args.map((options) => toPaths(paths, options))];

/** A line for the call and, if it is a batch with results, one for each case, so that a difference is read at its title. */
async function* linesOf(world, call) {
  const [name, ...args] = call;
  const outcome = await outcomeOf(addon, callIn(world, call));
  // Of more rows than these, those that tie in every rule may stand in any order.
  if (name === 'lookupBinaryIndex' && outcome.gives?.matches.length > 16) return;
  const results = outcome.gives?.results;
  if (!results) {
    const short = (options) => (options?.cases?.length > 10000 ? { ...options, cases: options.cases.length } : options);
    yield { call: name, with: args.map(short), ...outcome };
    return;
  }
  const [{ cases, ...options }] = args;
  yield { call: name, with: [{ ...options, cases: '$below' }], gives: { ...outcome.gives, results: '$below' } };
  for (const [i, result] of results.entries()) yield { case: cases[i], gives: result };
}

/** All lines, in the order of the record. */
export async function record() {
  const sample = sampleWorld();
  const damaged = damagedWorld();
  const lines = [];
  const add = async (world, calls) => {
    for (const call of calls) for await (const line of linesOf(world, call)) lines.push(JSON.stringify(line, spelled));
  };
  await add(sample, [['getSemanticInfo'], ['getSemanticInfo', 1]]);
  await add(sample, sampleCalls(sample));
  const chosen = chosenWorld();
  await add(chosen, drawnCalls(chosen));
  for (let number = 1; number <= 8; number += 1) {
    const drawn = drawnWorld(number);
    await add(drawn, drawnCalls(drawn));
    if (number === 1) await add(drawn, refusedCalls());
  }
  await add(sample, workflowCalls());
  await add(damaged, damaged.calls);
  return lines;
}
