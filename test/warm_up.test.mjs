// warmSemanticRulePack: what it checks at once, what its promise comes to, and what it leaves in the cache.
import assert from 'node:assert/strict';
import { createHook } from 'node:async_hooks';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertRequiredOptions, assertSame, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { indexDocument, packBytes, root, writeFile, writePack } from './support/packs.mjs';

const sections = { scene: [['a', 'x']], location: [['巴黎', 'FR-75', 'location', '1', '巴黎', 'zh', '法国']] };
const patchOf = (more) => ({ sections, metadata: { kind: 'patch', ruleSetId: 'rules-2' }, ...more });
const good = writePack({ sections });
const overlay = { overlayPackPath: writePack(patchOf()).packPath, overlayAllowedRoot: root };
const warmed = { ok: true, authority: 'native', prewarmed: true };
const wordless = { documents: [{ ...indexDocument(), name: 'other' }] };
const stat = 'semantic rule-pack file stat is invalid';

test('options are checked at once', () => {
  assertRequiredOptions('warmSemanticRulePack', ['packPath', 'allowedRoot'], good);
  const rows = [
    [{ overlayPackPath: 5 }, 'TypeError: overlayPackPath must be a string'],
    [{ overlayPackPath: {}, overlayAllowedRoot: 5 }, 'TypeError: overlayPackPath must be a string'],
    [{ overlayPackPath: 'x' }, 'TypeError: semantic native option is missing: overlayAllowedRoot'],
    [{ overlayPackPath: 'x', overlayAllowedRoot: null }, 'TypeError: semantic native option is missing: overlayAllowedRoot'],
    [{ overlayPackPath: 'x', overlayAllowedRoot: '' }, 'TypeError: semantic native option is empty: overlayAllowedRoot'],
  ];
  for (const [options, expected] of rows) assert.equal(thrownBy(() => addon.warmSemanticRulePack({ ...good, ...options })), expected);
  const mine = (trap) => new Proxy(good, { [trap](target, key) { if (key === 'overlayPackPath') throw new Error('mine'); return Reflect[trap](target, key); } });
  for (const trap of ['has', 'get']) {
    const options = trap === 'get' ? Object.assign(Object.create({ get overlayPackPath() { throw new Error('mine'); } }), good) : mine(trap);
    assert.equal(thrownBy(() => addon.warmSemanticRulePack(options)), 'Error: mine', trap);
  }
});

test('promises that are kept', async () => {
  const rows = [{}, { overlayPackPath: null }, { overlayPackPath: undefined }, { overlayPackPath: '' }, { overlayPackPath: '', overlayAllowedRoot: 5 },
    { overlayAllowedRoot: 5 }, overlay, { ...overlay, ...good, overlayPackPath: good.packPath }];
  for (const options of rows) {
    const promise = addon.warmSemanticRulePack({ ...good, ...options });
    assert.ok(promise instanceof Promise);
    assertSame(await promise, warmed, JSON.stringify(options));
  }
  // The one failure without words leaves no error behind, and no warm pack either.
  assertSame(await addon.warmSemanticRulePack(writePack(wordless)), { ...warmed, prewarmed: false });
  assertSame(await addon.warmSemanticRulePack({ ...good, ...overlay, overlayPackPath: writePack(patchOf(wordless)).packPath }), { ...warmed, prewarmed: false });
});

test('promises that are broken', async () => {
  const outside = 'semantic rule-pack path is outside the approved root';
  const rows = [
    ['no file', { packPath: `${root}/none.klrx` }, stat],
    ['outside the root', { allowedRoot: '/nowhere' }, outside],
    ['a wrong seal', { packPath: writeFile(packBytes({ stored: 'x' })) }, 'semantic rule-pack payload digest is invalid'],
    ['the base comes first', { ...overlay, packPath: `${root}/none.klrx`, overlayPackPath: root }, stat],
    ['no overlay file', { ...overlay, overlayPackPath: `${root}/none.klrx` }, stat],
    ['the overlay has a root of its own', { ...overlay, overlayAllowedRoot: '/nowhere' }, outside],
  ];
  for (const [name, options, message] of rows) {
    const error = await addon.warmSemanticRulePack({ ...good, ...options }).then(() => assert.fail(name), (reason) => reason);
    assert.deepEqual([error.constructor, error.message, Object.keys(error)], [Error, message, []], name);
  }
});

test('what is warm is not read again, and a failure keeps what was loaded before it', async () => {
  const [packPath, overlayPackPath] = [writeStamped({ sections }), writeStamped(patchOf())];
  const options = { packPath, allowedRoot: root, overlayPackPath, overlayAllowedRoot: root };
  assertSame(await addon.warmSemanticRulePack(options), warmed);
  spoil(packPath);
  spoil(overlayPackPath);
  assertSame(await addon.warmSemanticRulePack(options), warmed);
  const { matches } = addon.lookupBinaryIndexOverlay({ basePackPath: packPath, overlayPackPath, allowedRoot: root, section: 'scene', term: 'a' });
  assert.deepEqual(matches.map((match) => match.source), ['overlay']);

  const other = writeStamped({ sections });
  await assert.rejects(addon.warmSemanticRulePack({ ...options, packPath: other, overlayPackPath: `${root}/none.klrx` }), { message: stat });
  spoil(other);
  assert.equal(addon.inspectRulePack({ packPath: other, allowedRoot: root }).ok, true);
});

test('the work is named "generic", and a hundred warm-ups may run at one time', async () => {
  const types = [];
  const hook = createHook({ init: (id, type) => types.push(type) }).enable();
  const promises = Array.from({ length: 100 }, (_, i) => addon.warmSemanticRulePack(i % 2 ? { ...good, ...overlay } : writePack({ sections })));
  hook.disable();
  assert.equal(types.filter((type) => type === 'generic').length, 100);
  for (const result of await Promise.all(promises)) assertSame(result, warmed);
});

test('a result that can\'t be built breaks the promise', async () => {
  const promise = addon.warmSemanticRulePack(good);
  Object.defineProperty(Object.prototype, 'authority', { configurable: true, set() { throw new RangeError('mine'); } });
  try {
    await assert.rejects(promise, { name: 'RangeError', message: 'mine' });
  } finally {
    delete Object.prototype.authority;
  }
});
