// Long lists of titles and results go through functions that run in JavaScript; short ones, and those of a host that
// runs no scripts, are handled step by step. Nobody may see a difference: the tests here make calls both ways.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { test } from 'node:test';
import { setTimeout as delay } from 'node:timers/promises';
import { Worker } from 'node:worker_threads';

import './support/addon.mjs';
import { thrownBy } from './support/outcome.mjs';
import { indexDocument, packBytes, root, sceneRows, writeAt, writeFile, writePack } from './support/packs.mjs';

const require = createRequire(import.meta.url);
const binary = readFileSync(Object.keys(require.cache).find((path) => path.endsWith('.node')));
let copies = 0;
/** The addon once more, as a module of its own. */
const loadCopy = (bytes) => require(writeFile(bytes, `copy-${++copies}.node`));

/** The binary in a host that refuses scripts: the name by which it asks for them leads to what refuses any text. */
function withoutScripts() {
  const bytes = Buffer.from(binary);
  const [name, other] = [Buffer.from('napi_run_script\0'), Buffer.from('napi_unwrap\0\0\0\0\0')];
  assert.ok(bytes.includes(name));
  for (let at; (at = bytes.indexOf(name)) >= 0;) other.copy(bytes, at);
  return bytes;
}

const fast = loadCopy(binary);
const direct = loadCopy(withoutScripts());
const batches = ['resolveSceneIntentBatch', 'resolveCelebrityBadgeBatch'];

// --- A pack whose results have every shape --------------------------------------------------------------------------

const place = (term, code, label) => [term, code, 'location', '2.5', label, 'zh', `${label} country`];
const person = (letter, i) => [`星${letter}星`, letter, `${letter} name`, 'idol', 'JP', '1', `${letter} photo`,
  ...(i ? [Array.from({ length: i }, (_, n) => `tag ${n}`).join('\x1e')] : [])];
const people = 'abcdefghi'.split('').map(person);
const cast = people.map(([term]) => term).join('');
const sections = {
  scene: sceneRows('火锅 food, en:vlog travel, en:broken QQQ, 𝄞 😀 detail e\u0301'),
  human: [['好吃', 'food', 'meal']],
  location: [place('东京', 'JP', '东京'), place('巴黎', 'FR', '巴黎'), place('伦敦', 'GB', 'London'), place('柏林', 'DE', '')],
  celebrity: people,
  facet: people.map(([term], i) => [term, 'd', `k${i}`, String(i / 3), 'zh']),
};
// Texts that are no UTF-8.
const document = indexDocument(sections);
for (let at; (at = document.data.indexOf('QQQ')) >= 0;) document.data.set([0x41, 0xff, 0xc0], at);
const pack = writePack({ documents: [document] });

const short = ['火锅', '东京火锅好吃', '巴黎伦敦柏林东京玩', cast, '星a星 星c星 演唱会', 'my vlog 1', 'broken', '𝄞😀', 'a\0b 火锅',
  '\ud800火锅\udc00', ' '];
const titlesOf = (texts) => Array.from({ length: 300 }, (_, i) => ({
  raw: `${texts[i % texts.length]}${i % 7 < 3 ? '' : i}`,
  ...(i % 5 ? { normalizedEnglish: ['', 'vlog', '\udc00 broken words', 'no scene 你好'][i % 4] } : {}),
  mediaType: ['photo', 'video', 7][i % 3],
}));
const titles = titlesOf(short);

test('a batch, its titles one by one, and the same without scripts', () => {
  const [long, other] = ['é'.repeat(70000), `东京玩星a星${'火'.repeat(70000)}`];
  const inARow = [long, long, other, other, other, '火锅', other, long].flatMap((raw) =>
    [{ raw, mediaType: 'photo' }, { raw: ` ${raw}`.slice(1), mediaType: 'photo' }, { raw }, { raw, normalizedEnglish: 'vlog' }]);
  const cases = [...titlesOf([...short, long, `东京玩${'火'.repeat(40000)}`]), ...inARow];
  const keys = (value) => (Object(value) === value ? [Object.keys(value), Object.values(value).map(keys)] : 0);
  for (const name of batches) {
    const batch = fast[name]({ ...pack, cases });
    const oneByOne = cases.map((title) => fast[name]({ ...pack, cases: [title] }).results[0]);
    assert.deepEqual(batch.results, oneByOne, name);
    assert.deepEqual(keys(batch.results), keys(oneByOne), name);
    assert.deepEqual(batch, direct[name]({ ...pack, cases }), name);
    for (const { locationMeta, locationCodes } of batch.results) {
      assert.ok(!locationMeta || locationMeta.countryCodes === locationCodes);
    }
  }
});

test('strings are kept from batch to batch, but never those of another pack or file', () => {
  // The same shapes at the same places of the payload, with other texts.
  const variant = (letter) => ({ documents: [indexDocument(JSON.parse(JSON.stringify(sections)
    .replaceAll('name', `n${letter}me`).replaceAll('country', `c${letter}untry`).replaceAll('meal', `m${letter}al`)))] });
  const rewritten = { packPath: writeFile('', 'rewritten.klrx'), allowedRoot: root };
  const packs = [pack, writePack(variant('x')), rewritten];
  const overlays = [{}, { overlayPackPath: packs[1].packPath, overlayAllowedRoot: root }, {
    sceneOverlay: { categories: [{ key: 'own', label: 'own', defaultDetail: 'own detail', zh: ['好吃', '玩'] }] },
    locationOverlay: { aliasesZh: { 京: [['JP', , , , 9, '京']] } },
    celebrityOverlay: [{ id: 'own', name: '火锅', kind: 'idol', region: 'JP', photoKey: 'own photo', aliases: { zh: ['锅'] } }],
  }];
  const cases = titles.slice(0, 40);
  const broken = [...cases.slice(0, 20), { get raw() { throw new Error('in the middle'); } }];
  for (let round = 0; round < 240; round++) {
    // Digits of the round: all combinations of neighbouring packs, overlays and events come.
    const [batch, base, overlay, event] = [round % 2, (round >> 1) % 3, Math.floor(round / 5) % 3, Math.floor(round / 3) % 7];
    const [name, options] = [batches[batch], { ...packs[base], ...overlays[overlay], cases: [...cases] }];
    if (round % 16 === 0) writeAt(rewritten.packPath, packBytes(variant('abcdefghijklmnop'[round / 16])), 1000 + round);
    if (event === 1) options.cases = broken;
    const inner = { ...packs[(base + round) % 3], cases };
    const outcome = (addon) => {
      if (event === 2) options.cases[7] = { get raw() { addon[name](inner); return cases[7].raw; } };
      try { return addon[name](options); } catch (error) { return error.message; }
    };
    assert.deepEqual(outcome(fast), outcome(direct), `${name}, round ${round}`);
  }
});

test('more strings than are kept, and copies that fill the memory', () => {
  const rows = Array.from({ length: 12000 }, (_, i) => [`人${i}物`, `${i}`, `name ${i}`, 'idol', 'JP', `${i}`, `photo ${i}`]);
  const options = writePack({ sections: { celebrity: rows } });
  const parts = [0, 4000, 8000, 0].map((begin) => rows.slice(begin, begin + 4000).map(([alias]) => ({ raw: alias })));
  const filling = Array.from({ length: 60 }, (_, i) => ({ raw: `${i}${'长'.repeat(30000)}好吃` }));
  for (const [name, of, lists] of [[batches[1], options, parts], [batches[0], pack, [filling, filling]]]) {
    for (const list of lists) {
      const { results } = fast[name]({ ...of, cases: list });
      for (let i = 0; i < list.length; i += Math.ceil(list.length / 50)) {
        assert.deepEqual([results[i]], direct[name]({ ...of, cases: [list[i]] }).results);
      }
    }
  }
});

test('lists within a result', () => {
  const facets = fast.extractSemanticFacets({ ...pack, raw: cast });
  assert.equal(facets.hits.length, people.length);
  assert.deepEqual(facets, direct.extractSemanticFacets({ ...pack, raw: cast }));
  // More strings than one call hands over, in many rows and in one.
  const many = Array.from({ length: 9000 }, (_, i) => [`术${i}`, ...[0, 1, 2].map((n) => `field ${i} ${n}`)]);
  const wide = [['宽', ...Array.from({ length: 20000 }, (_, n) => `${n}`)], ['宽宽', ''], ['窄'], ['宽窄', 'x']];
  const options = { ...writePack({ sections: { scene: many, facet: wide } }), mode: 'contains' };
  for (const [section, term] of [['scene', many.map(([text]) => text).join('')], ['facet', '宽宽窄']]) {
    const [one, other] = [fast, direct].map((addon) => addon.lookupBinaryIndex({ ...options, section, term }));
    assert.deepEqual(one, other, section);
  }
});

test('more cases than an array is filled with at once', () => {
  const cases = Array.from({ length: 20000 }, (_, i) => ({ raw: `星a星${i % 6000}`, mediaType: 'photo' }));
  const { results } = fast.resolveCelebrityBadgeBatch({ ...pack, cases });
  assert.equal(results.length, 20000);
  for (const i of [0, 16383, 16384, 19999]) {
    assert.deepEqual(results[i], direct.resolveCelebrityBadgeBatch({ ...pack, cases: [cases[i]] }).results[0]);
  }
});

test('single records, and the same near the end of the stack', async () => {
  const raw = '东京火锅好吃';
  const calls = {
    getSemanticInfo: [],
    inspectRulePack: [pack],
    lookupBinaryIndex: [{ ...pack, section: 'scene', term: '火锅' }],
    evaluateWorkflowPolicy: [{ raw, sceneKey: 'food', alias: '\ud800', detail: 'a\0b' }],
    extractSemanticFacets: [{ ...pack, raw: '星a星 星c星' }],
    resolveSceneIntent: [{ ...pack, raw }],
    resolveSceneIntentBatch: [{ ...pack, cases: [{ raw }] }],
    resolveCelebrityBadgeBatch: [{ ...pack, cases: [{ raw: '星a星 星c星 演唱会' }] }],
  };
  const shape = (value) => (Object(value) === value
    ? [Object.getPrototypeOf(value), Object.entries(Object.getOwnPropertyDescriptors(value)).map(([name, property]) =>
      [name, property.writable, property.enumerable, property.configurable, shape(property.value)])] : value);
  for (const [name, options] of Object.entries(calls)) {
    const expected = shape(direct[name](...options));
    assert.deepEqual(shape(fast[name](...options)), expected, name);
    const found = [];
    const deep = () => {
      try { deep(); } catch { /* no room for another frame */ }
      if (found.length >= 200) return;
      try { found.push(fast[name](...options)); } catch (error) { found.push(error); }
    };
    deep();
    assert.ok(found.some((one) => !(one instanceof RangeError)), name);
    for (const one of found) if (!(one instanceof RangeError)) assert.deepEqual(shape(one), expected, name);
  }
  assert.deepEqual(await fast.warmSemanticRulePack(pack), await direct.warmSemanticRulePack(pack));
});

// --- Cases that are no plain data -----------------------------------------------------------------------------------

/** What a call gives or throws. Of two that differ, `assertSameOutcome` shows where. */
function outcomeOf(call) {
  let answer;
  const thrown = thrownBy(() => { answer = call(); });
  // Elements that are missing look like null in the text.
  return answer ? JSON.stringify([answer, Object.keys(answer.results).join()]) : thrown;
}

function assertSameOutcome([actual, actualLog], [expected, expectedLog], message) {
  if (actual !== expected) {
    const at = typeof expected === 'string' ? [...expected].findIndex((letter, i) => letter !== actual[i]) : 0;
    const part = (text) => (typeof text === 'string' ? text.slice(Math.max(0, at - 60), at + 60) : text);
    assert.fail(`${message}: ${part(actual)}, not ${part(expected)}`);
  }
  assert.deepEqual(actualLog, expectedLog, message);
}

/** An object that tells of everything that is done to it. */
const watched = (target, log) => new Proxy(target, new Proxy({}, {
  get: (_, trap) => (...args) => { log.push(`${trap} ${String(args[1])}`); return Reflect[trap](...args); },
}));
const title = { raw: '东京火锅', normalizedEnglish: 'vlog', mediaType: 'photo' };
const keys = Object.keys(title);
const withGetter = (object, key, get) => Object.defineProperty(object, key, { get });
const boom = { not: 'an Error' };
/** A title whose "raw" is read by this code. */
const reading = (code) => withGetter({ ...title }, 'raw', () => { code(); return '火锅'; });

/** What is at place 150 of 300: (log, cases, addon) => case. */
const odd = {
  'a proxy': (log) => watched(title, log),
  'a proxy of a proxy of an array': (log) => watched(watched(Object.assign([], title), log), log),
  'an array with the properties of a title': (log) =>
    withGetter(Object.assign([], title), 'raw', () => log.push('raw')),
  'a function': () => Object.assign(() => {}, title),
  'inherited properties': () => Object.create(title),
  'no prototype': () => Object.assign(Object.create(null), title),
  'String objects': () => ({ raw: new String('火锅'), normalizedEnglish: new String('') }),
  'an empty raw': () => ({ raw: '' }),
  'no raw': () => ({}),
  'a present undefined': () => ({ ...title, normalizedEnglish: undefined }),
  'an English that is no text': () => ({ ...title, normalizedEnglish: 1 }),
  ...Object.fromEntries([null, undefined, 7, '火锅', Symbol('火锅'), 1n].map((value) => [String(value), () => value])),
  getters: (log) => keys.reduce((object, key) =>
    withGetter(object, key, () => { log.push(key); return title[key]; }), {}),
  ...Object.fromEntries(keys.map((key) =>
    [`a getter of ${key} that throws`, () => withGetter({ ...title }, key, () => { throw boom; })])),
  'a trap that throws': () => new Proxy(title, { has() { throw boom; } }),
  'a getter that cuts the rest off': (log, cases) => reading(() => { cases.length = 160; }),
  'a getter that cuts off what was read': (log, cases) => reading(() => { cases.length = 3; }),
  'a getter that adds cases': (log, cases) => reading(() => cases.push(title, { raw: '火锅' })),
  'a getter that changes a later case': (log, cases) => reading(() => { cases[151] = { raw: '巴黎' }; }),
  'a getter that calls the addon': (log, cases, addon) => reading(() => {
    log.push(outcomeOf(() => addon.resolveSceneIntentBatch({ ...pack, cases: titles })));
  }),
};

/** The same call both ways, with cases that `prepare` changes, and what they saw of it. */
function compare(batch, message, prepare) {
  const [one, other] = [fast, direct].map((addon) => {
    const [log, cases] = [[], [...titles]];
    const restore = prepare(log, cases, addon);
    try { return [outcomeOf(() => addon[batch]({ ...pack, cases })), log]; } finally { restore?.(); }
  });
  assertSameOutcome(one, other, `${batch}: ${message}`);
}

test('whatever is among the cases: the same answer, and the caller sees the same steps', () => {
  for (const batch of batches) {
    for (const [name, make] of Object.entries(odd)) {
      compare(batch, name, (log, cases, addon) => {
        cases[150] = make(log, cases, addon);
        for (const at of [149, 151]) cases[at] = watched(titles[at], log);
      });
    }
    for (const inherited of [undefined, title]) {
      compare(batch, 'an element with a getter, and a hole', (log, cases) => {
        withGetter(cases, 150, () => { log.push('element'); return watched(title, log); });
        delete cases[200];
        const get = () => { log.push('inherited'); return inherited; };
        Object.defineProperty(Array.prototype, 200, { configurable: true, get });
        return () => delete Array.prototype[200];
      });
    }
  }
});

test('a list of cases that becomes shorter leaves results out at the end', () => {
  for (const addon of [fast, direct]) {
    for (const [batch, length] of [[batches[0], 300], [batches[1], 160]]) {
      const cases = [...titles];
      cases[150] = reading(() => { cases.length = 160; });
      const { count, results } = addon[batch]({ ...pack, cases });
      assert.deepEqual([count, Object.keys(results).length, results.length], [160, 160, length], batch);
    }
  }
});

// --- What a caller has replaced -------------------------------------------------------------------------------------

test('a getter that throws, before there are functions and after', () => {
  const addon = loadCopy(binary);
  for (const [name, overlay] of [[batches[0], 'locationOverlay'], [batches[1], 'celebrityOverlay']]) {
    const options = { ...pack, cases: Array.from({ length: 4 }, () => ({ raw: '' })) };
    Object.defineProperty(options, overlay, { get() { throw new RangeError('mine'); } });
    for (const round of [1, 2]) {
      assert.throws(() => addon[name](options), { name: 'RangeError', message: 'mine' }, `${name} ${round}`);
      addon[name]({ ...pack, cases: titles });
    }
  }
});

test('globals and methods that were replaced before the first call are not looked at', () => {
  const expected = batches.map((batch) => direct[batch]({ ...pack, cases: titles }));
  const calls = batches.map((batch) => [loadCopy(binary)[batch], { ...pack, cases: titles }]);
  const { defineProperty, deleteProperty, getOwnPropertyDescriptor, getPrototypeOf, ownKeys } = Reflect;
  const names = ['Array', 'Object', 'String', 'Function', 'Int32Array', 'Float64Array', 'JSON', 'Reflect', 'Symbol'];
  const owners = names.map((name) => globalThis[name]);
  const iterator = getPrototypeOf([][Symbol.iterator]());
  for (const { prototype } of [...owners, getPrototypeOf(Int32Array)]) if (prototype) owners.push(prototype);
  const saved = [...owners, iterator, getPrototypeOf(Int32Array)]
    .flatMap((owner) => ownKeys(owner).map((key) => [owner, key, getOwnPropertyDescriptor(owner, key)]))
    .concat(names.map((name) => [globalThis, name, getOwnPropertyDescriptor(globalThis, name)]))
    .filter(([, , { configurable, value }]) => configurable && ['function', 'object'].includes(typeof value));
  const { prototype } = Array;
  let touched = 0;
  const trap = () => { touched++; };
  const results = [null, null];
  for (let i = 0; i < saved.length; i++) defineProperty(saved[i][0], saved[i][1], { value: trap, configurable: true });
  for (let i = 0; i < 400; i++) defineProperty(prototype, i, { get: trap, set: trap, configurable: true });
  try {
    for (let i = 0; i < 2; i++) results[i] = calls[i][0](calls[i][1]);
  } finally {
    for (let i = 0; i < 400; i++) deleteProperty(prototype, i);
    for (let i = 0; i < saved.length; i++) defineProperty(saved[i][0], saved[i][1], saved[i][2]);
  }
  assert.ok(saved.length > 150);
  assert.equal(touched, 0);
  assert.deepEqual(results, expected);
});

// --- Environments ---------------------------------------------------------------------------------------------------

test('workers: functions of their own, terminated in the middle of a batch, nearly out of stack', async () => {
  const path = writeFile(binary, 'worker.node');
  const script = `const { parentPort, workerData: { path, pack, titles, round } } = require('node:worker_threads');
    const batch = require(path)[round % 2 ? 'resolveSceneIntentBatch' : 'resolveCelebrityBadgeBatch'];
    const cases = Array.from({ length: 10000 }, (_, i) => titles[i % 11]);
    const run = () => batch({ ...pack, cases }).results.length;
    const tryRun = () => { try { return run(); } catch (error) { return error instanceof RangeError ? 0 : NaN; } };
    const deep = () => { try { return deep() + 0; } catch { return tryRun(); } };
    parentPort.postMessage(round < 2 ? [run(), Number.isNaN(deep())].join() : 'begins');
    while (round >= 2) run();`;
  for (let round = 0; round < 14; ++round) {
    const worker = new Worker(script, { eval: true, workerData: { path, pack, titles, round } });
    const ended = once(worker, 'exit');
    const [message] = await once(worker, 'message');
    if (round >= 2) await delay((round % 4) * 9).then(() => worker.terminate());
    assert.deepEqual([message, ...await ended], round < 2 ? ['10000,false', 0] : ['begins', 1]);
  }
  assert.equal(fast.resolveSceneIntentBatch({ ...pack, cases: titles }).count, 300);
});
