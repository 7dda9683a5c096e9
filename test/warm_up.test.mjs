// warmSemanticRulePack: what it checks at once, what its promise comes to, and what it leaves in the cache.
import assert from 'node:assert/strict';
import { createHook } from 'node:async_hooks';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertRequiredOptions, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { indexDocument, root, writePack } from './support/packs.mjs';

const sections = { scene: [['a', 'x']], location: [['巴黎', 'FR-75', 'location', '1', '巴黎', 'zh', '法国']] };
const patch = { sections, metadata: { kind: 'patch', ruleSetId: 'rules-2' } };
const good = writePack({ sections });
const overlay = { overlayPackPath: writePack(patch).packPath, overlayAllowedRoot: root };
const WARM = '{"ok":true,"authority":"native","prewarmed":true}';
const STAT = 'Error: semantic rule-pack file stat is invalid';
const OUTSIDE = 'Error: semantic rule-pack path is outside the approved root';
const warm = (options) => addon.warmSemanticRulePack({ ...good, ...options }).then(JSON.stringify, String);

test('options are checked at once', () => {
  assertRequiredOptions('warmSemanticRulePack', ['packPath', 'allowedRoot'], good);
  const mine = (target, key) => { if (key === 'overlayPackPath') throw new Error('mine'); return target[key]; };
  const rows = [
    [{ overlayPackPath: {}, overlayAllowedRoot: 5 }, 'TypeError: overlayPackPath must be a string'],
    [{ overlayPackPath: 'x', overlayAllowedRoot: null }, 'TypeError: semantic native option is missing: overlayAllowedRoot'],
    [{ overlayPackPath: 'x', overlayAllowedRoot: '' }, 'TypeError: semantic native option is empty: overlayAllowedRoot'],
    [new Proxy({ ...overlay }, { has: mine }), 'Error: mine'],
    [new Proxy({ ...overlay }, { get: mine }), 'Error: mine'],
  ];
  for (const [options, expected] of rows) {
    assert.equal(thrownBy(() => addon.warmSemanticRulePack(Object.setPrototypeOf(options, good))), expected);
  }
});

test('what a promise comes to; a hundred at one time, their work named "generic"', async () => {
  const none = { packPath: `${root}/none.klrx` };
  const wordless = writePack({ documents: [{ ...indexDocument(), name: 'other' }] }).packPath;
  const rows = [
    ['null is no overlay', { overlayPackPath: null }, WARM],
    ['nor is undefined', { overlayPackPath: undefined }, WARM],
    ['without a path its root is not looked at', { overlayPackPath: '', overlayAllowedRoot: 5 }, WARM],
    ['an overlay', overlay, WARM],
    ['one pack as both', { ...overlay, overlayPackPath: good.packPath }, WARM],
    ['no file', none, STAT],
    ['outside the root', { allowedRoot: '/nowhere' }, OUTSIDE],
    ['a wrong digest', writePack({ stored: 'x' }), 'Error: semantic rule-pack payload digest is invalid'],
    ['the base comes first', { ...overlay, ...none, overlayPackPath: root }, STAT],
    ['no overlay file', { ...overlay, overlayPackPath: none.packPath }, STAT],
    ['the overlay has a root of its own', { ...overlay, overlayAllowedRoot: '/nowhere' }, OUTSIDE],
    ['a failure without words is none', { packPath: wordless }, WARM.replace('true}', 'false}')],
    ['the same of the overlay', { ...overlay, overlayPackPath: wordless }, WARM.replace('true}', 'false}')],
  ];
  for (const [name, options, expected] of rows) assert.equal(await warm(options), expected, name);
  const types = [];
  const hook = createHook({ init: (id, type) => types.push(type) }).enable();
  const promises = Array.from({ length: 100 }, (_, i) => warm(rows[i % rows.length][1]));
  hook.disable();
  assert.equal(types.filter((type) => type === 'generic').length, 100);
  assert.deepEqual(await Promise.all(promises), promises.map((_, i) => rows[i % rows.length][2]));
});

test('what is warm is not read again, and a failure keeps what was loaded before it', async () => {
  const [packPath, overlayPackPath] = [writeStamped({ sections }), writeStamped(patch)];
  assert.equal(await warm({ ...overlay, packPath, overlayPackPath }), WARM);
  [packPath, overlayPackPath].forEach(spoil);
  assert.equal(await warm({ ...overlay, packPath, overlayPackPath }), WARM);
  const other = writeStamped({ sections });
  assert.equal(await warm({ ...overlay, packPath: other, overlayPackPath: `${root}/none.klrx` }), STAT);
  spoil(other);
  const both = { basePackPath: other, overlayPackPath, allowedRoot: root };
  const { matches } = addon.lookupBinaryIndexOverlay({ ...both, section: 'scene', term: 'a' });
  assert.deepEqual(matches.map((match) => match.source), ['overlay']);
});
