// Long lists of titles and results go through functions that run in JavaScript, short ones and those of a host that runs no
// scripts step by step. Nobody may see a difference: every test here makes the same call both ways.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { test } from 'node:test';
import { setTimeout as delay } from 'node:timers/promises';
import { Worker } from 'node:worker_threads';

import './support/addon.mjs';
import { indexDocument, sceneRows, writeFile, writePack } from './support/packs.mjs';

const require = createRequire(import.meta.url);
const binary = readFileSync(Object.keys(require.cache).find((path) => path.endsWith('.node')));
let copies = 0;
const loadCopy = (bytes) => require(writeFile(bytes, `copy-${++copies}.node`));

/** The addon in a host that refuses scripts: the name by which it asks for them leads to a function that refuses strings. */
function withoutScripts() {
  const bytes = Buffer.from(binary);
  const [name, other] = [Buffer.from('napi_run_script\0'), Buffer.from('napi_unwrap\0\0\0\0\0')];
  assert.ok(bytes.includes(name));
  for (let at; (at = bytes.indexOf(name)) >= 0;) other.copy(bytes, at);
  return bytes;
}

const fast = loadCopy(binary);
const direct = loadCopy(withoutScripts());

// --- A pack whose results have every shape -----------------------------------------------------------------------------

const place = (term, code, label) => [term, code, 'location', '2.5', label, 'zh', `${label} country`];
const person = (term, id, tags) => [term, id, `${id} name`, 'idol', 'JP', '1', `${id} photo`, ...(tags ? [tags.join('\x1e')] : [])];
const people = 'abcdefghi'.split('').map((letter, i) => person(`星${letter}星`, letter, Array.from({ length: i }, (_, n) => `tag ${n}`)));
const sections = {
  scene: sceneRows('火锅 food, en:vlog travel, en:broken QQQ, 𝄞 😀 detail e\u0301'),
  human: [['好吃', 'food', 'meal']],
  location: [place('东京', 'JP-13', '东京'), place('巴黎', 'FR-75', '巴黎'), place('伦敦', 'GB-LND', 'London'), place('柏林', 'DE-BE', '')],
  celebrity: [...people, person('無標', 'plain')],
  facet: people.map(([term], i) => [term, 'd', `k${i}`, String(i / 3), 'zh']),
};
// Texts that are no UTF-8 go to the host as they are.
const document = indexDocument(sections);
for (let at; (at = document.data.indexOf('QQQ')) >= 0;) document.data.set([0x41, 0xff, 0xc0], at);
const pack = writePack({ documents: [document] });
const cast = people.map(([term]) => term).join('');
const texts = ['火锅', '东京火锅好吃', '巴黎伦敦柏林东京玩', cast, '無標 星a星 演唱会', 'my vlog 1', 'broken', '𝄞😀', 'a\0b 火锅', '\ud800火锅\udc00', ' ',
  'é'.repeat(70000), `东京玩${'火'.repeat(40000)}`];
const titles = Array.from({ length: 300 }, (_, i) => ({
  raw: `${texts[i % texts.length]}${i % 7 < 3 ? '' : i}`,
  ...(i % 5 ? { normalizedEnglish: ['', 'vlog', '\udc00 broken words', 'no scene 你好'][i % 4] } : {}),
  mediaType: ['photo', 'video', 7][i % 3],
}));

const shortTitles = titles.map((title) => (title.raw.length < 1000 ? title : titles[0]));
const batches = ['resolveSceneIntentBatch', 'resolveCelebrityBadgeBatch'];
const outcomeOf = (call) => {
  try { return JSON.stringify(call()); } catch (error) { return error instanceof Error ? `${error.name}: ${error.message}` : error; }
};

/** Two outcomes with their logs; of the outcomes, which are long, where they part. */
function assertSameOutcome([actual, actualLog], [expected, expectedLog], message) {
  const parting = typeof expected === 'string' ? [...expected].findIndex((letter, i) => letter !== actual[i]) : 0;
  if (actual !== expected) assert.fail(`${message}: ${actual.slice?.(parting - 40, parting + 80)}, not ${expected.slice?.(parting - 40, parting + 80)}`);
  assert.deepEqual(actualLog, expectedLog, message);
}

test('a batch, its titles one by one, and a host that refuses scripts', () => {
  for (const name of batches) {
    const { results, ...head } = fast[name]({ ...pack, cases: titles });
    const one = (title) => fast[name]({ ...pack, cases: [title] }).results[0];
    assert.deepEqual(results, titles.map(one), name);
    assert.deepEqual({ ...head, results }, direct[name]({ ...pack, cases: titles }), name);
    const keys = (value) => (Object(value) === value ? [Object.keys(value), Object.values(value).map(keys)] : 0);
    assert.deepEqual(keys(results), keys(titles.map(one)), `${name}: order of properties`);
    for (const { locationCodes, locationMeta } of results) assert.ok(!locationMeta || locationMeta.countryCodes === locationCodes);
  }
  const lookup = { ...pack, section: 'celebrity', term: cast, mode: 'contains' };
  assert.equal(outcomeOf(() => fast.lookupBinaryIndex(lookup)), outcomeOf(() => direct.lookupBinaryIndex(lookup)));
  const facets = { ...pack, raw: cast };
  assert.equal(fast.extractSemanticFacets(facets).hits.length, people.length);
  assert.deepEqual(fast.extractSemanticFacets(facets), direct.extractSemanticFacets(facets));
});

test('more people than a function takes arguments, more strings than a chunk holds', () => {
  const cases = Array.from({ length: 20000 }, (_, i) => ({ raw: `星a星${i % 6000}`, mediaType: 'photo' }));
  const { results } = fast.resolveCelebrityBadgeBatch({ ...pack, cases });
  assert.deepEqual([results.length, results[19999].primaryLabel], [20000, 'a name']);
  const rows = Array.from({ length: 9000 }, (_, i) => [`术${i}`, ...Array.from({ length: 3 }, (_x, n) => `field ${i} ${n}`)]);
  const wide = [['宽', ...Array.from({ length: 10000 }, (_, n) => `${n}`)], ['宽宽', ''], ['窄'], ['宽窄', 'x']];
  const many = { ...writePack({ sections: { scene: rows, facet: wide } }), mode: 'contains' };
  for (const [section, term] of [['scene', rows.map(([text]) => text).join('')], ['facet', '宽宽窄']]) {
    assert.deepEqual(fast.lookupBinaryIndex({ ...many, section, term }), direct.lookupBinaryIndex({ ...many, section, term }), section);
  }
});

// --- Cases that are no plain data --------------------------------------------------------------------------------------

/** An object that tells of everything that is done to it. */
const watched = (target, log) => new Proxy(target, new Proxy({}, {
  get: (_, trap) => (...args) => { log.push(`${trap} ${String(args[1])}`); return Reflect[trap](...args); },
}));
const title = { raw: '东京火锅', normalizedEnglish: 'vlog', mediaType: 'photo' };
const getter = (key, get) => Object.defineProperty({ ...title }, key, { get });
const boom = { not: 'an Error' };

// What stands at place 150: `make(log, cases, addon)`.
const odd = {
  'a proxy': (log) => watched(title, log),
  'a proxy of a proxy of an array': (log) => watched(watched(Object.assign([], title), log), log),
  'an array with the properties of a title': (log) => Object.defineProperty(Object.assign([], title), 'raw', { get() { log.push('raw'); return 'x'; } }),
  'a function': () => Object.assign(() => {}, title),
  'inherited properties': () => Object.create(title),
  'no prototype': () => Object.assign(Object.create(null), title),
  'String objects': () => ({ raw: new String('火锅'), normalizedEnglish: new String('') }),
  'an empty raw': () => ({ raw: '' }),
  'no raw': () => ({}),
  'a present undefined': () => ({ ...title, normalizedEnglish: undefined }),
  'an English that is no text': () => ({ ...title, normalizedEnglish: 1 }),
  null: () => null,
  undefined: () => undefined,
  'a number': () => 7,
  'a text': () => '火锅',
  'a symbol': () => Symbol('火锅'),
  'getters': (log) => Object.defineProperties({}, Object.fromEntries(Object.keys(title).map((key) => [key, { enumerable: true, get() { log.push(key); return title[key]; } }]))),
  ...Object.fromEntries(Object.keys(title).map((key) => [`a getter of ${key} that throws`, () => getter(key, () => { throw boom; })])),
  'a trap that throws': () => new Proxy(title, { has() { throw boom; } }),
  'a getter that cuts the rest off': (log, cases) => getter('raw', () => { cases.length = 160; return 'x'; }),
  'a getter that cuts off what was read': (log, cases) => getter('raw', () => { cases.length = 3; return 'x'; }),
  'a getter that adds cases': (log, cases) => getter('raw', () => { cases.push(title, { raw: '火锅' }); return 'x'; }),
  'a getter that changes a later case': (log, cases) => getter('raw', () => { cases[151] = { raw: '巴黎' }; return 'x'; }),
  'a getter that calls the addon': (log, cases, addon) => getter('raw', () =>
    addon.resolveSceneIntentBatch({ ...pack, cases: shortTitles }).results.map(({ sceneKey }) => sceneKey).join()),
};

test('whatever stands among the cases: the same answer, and the caller sees the same steps', () => {
  for (const [name, make] of Object.entries(odd)) {
    for (const batch of batches) {
      const run = (addon) => {
        const log = [];
        const cases = [...shortTitles];
        cases[150] = make(log, cases, addon);
        for (const at of [149, 151]) cases[at] = watched(shortTitles[at], log);
        return [outcomeOf(() => addon[batch]({ ...pack, cases })), log];
      };
      assertSameOutcome(run(fast), run(direct), `${batch}: ${name}`);
    }
  }
});

test('an array that is no plain list: holes, an element with a getter, elements of a prototype', () => {
  for (const batch of batches) {
    for (const inherited of [undefined, title]) {
      const run = (addon) => {
        const log = [];
        const cases = [...shortTitles];
        Object.defineProperty(cases, 150, { get() { log.push('element'); return watched(title, log); } });
        delete cases[200];
        if (inherited) Object.defineProperty(Array.prototype, 200, { configurable: true, get() { log.push('inherited'); return inherited; } });
        try { return [outcomeOf(() => addon[batch]({ ...pack, cases })), log]; } finally { delete Array.prototype[200]; }
      };
      assertSameOutcome(run(fast), run(direct), batch);
    }
  }
});

// --- Whatever a caller has replaced ------------------------------------------------------------------------------------

test('globals and methods that were replaced before the first call are not looked at', () => {
  const TypedArray = Object.getPrototypeOf(Int32Array);
  const owners = [Array, String, Object, Function, Number, Symbol, Proxy, Int32Array, Float64Array, TypedArray, ArrayBuffer]
    .flatMap((each) => [each, each.prototype ?? []]).concat(Reflect, JSON, Math, Object.getPrototypeOf([][Symbol.iterator]()));
  const expected = batches.map((batch) => direct[batch]({ ...pack, cases: titles }));
  const fresh = loadCopy(binary);
  const { ownKeys, getOwnPropertyDescriptor, defineProperty, deleteProperty } = Reflect;
  const saved = owners.flatMap((owner) => ownKeys(owner).map((key) => [owner, key, getOwnPropertyDescriptor(owner, key)]))
    .filter(([, , { configurable, value }]) => configurable && typeof value === 'function');
  const names = ['Array', 'Object', 'String', 'Int32Array', 'Float64Array', 'JSON', 'Reflect', 'Symbol'];
  const globals = names.map((name) => getOwnPropertyDescriptor(globalThis, name));
  let touched = 0;
  const value = () => { touched++; };
  const results = [];
  for (let i = 0; i < saved.length; i++) defineProperty(saved[i][0], saved[i][1], { value, configurable: true, writable: true });
  for (let i = 0; i < names.length; i++) defineProperty(globalThis, names[i], { value, configurable: true });
  for (let i = 0; i < 8; i++) defineProperty(globals[0].value.prototype, i, { configurable: true, get: value, set: value });
  try {
    for (let i = 0; i < batches.length; i++) results[100 + i] = fresh[batches[i]]({ packPath: pack.packPath, allowedRoot: pack.allowedRoot, cases: titles });
  } finally {
    for (let i = 0; i < names.length; i++) defineProperty(globalThis, names[i], globals[i]);
    for (let i = 0; i < saved.length; i++) defineProperty(saved[i][0], saved[i][1], saved[i][2]);
    for (let i = 0; i < 8; i++) deleteProperty(Array.prototype, i);
  }
  assert.equal(touched, 0);
  assert.deepEqual(results.slice(100), expected);
});

// --- Environments ------------------------------------------------------------------------------------------------------

test('workers: functions of their own, terminated in the middle of a batch, nearly out of stack', async () => {
  const path = writeFile(binary, 'worker.node');
  const script = `const { parentPort, workerData: { path, pack, titles, round } } = require('node:worker_threads');
    const addon = require(path);
    const cases = Array.from({ length: 10000 }, (_, i) => titles[i % 11]);
    const run = () => addon[round % 2 ? 'resolveSceneIntentBatch' : 'resolveCelebrityBadgeBatch']({ ...pack, cases }).results.length;
    const deep = () => { try { return deep() + 0; } catch { try { return run(); } catch (error) { return error instanceof RangeError ? 0 : NaN; } } };
    parentPort.postMessage(round < 2 ? [run(), Number.isNaN(deep())].join() : 'started');
    while (round >= 2) run();`;
  for (let round = 0; round < 14; ++round) {
    const worker = new Worker(script, { eval: true, workerData: { path, pack, titles, round } });
    const ended = once(worker, 'exit');
    const [message] = await once(worker, 'message');
    if (round >= 2) await delay((round % 4) * 9).then(() => worker.terminate());
    assert.deepEqual([message, ...await ended], round < 2 ? ['10000,false', 0] : ['started', 1]);
  }
  assert.equal(fast.resolveSceneIntentBatch({ ...pack, cases: titles }).count, 300);
});
