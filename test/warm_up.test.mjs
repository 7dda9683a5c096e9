// warmSemanticRulePack: what it checks at once, and what its promise comes to.
import assert from 'node:assert/strict';
import { createHook } from 'node:async_hooks';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { thrownBy } from './support/outcome.mjs';
import { indexDocument, root, writePack } from './support/packs.mjs';

const sections = { scene: [['a', 'x']], location: [['巴黎', 'FR-75', 'location', '1', '巴黎', 'zh', '法国']] };
const good = writePack({ sections });
const overlay = { overlayPackPath: writePack({ sections }).packPath, overlayAllowedRoot: root };

test('the overlay options are checked at once', () => {
  for (const [options, expected] of [
    [{ overlayPackPath: {}, overlayAllowedRoot: 5 }, 'overlayPackPath must be a string'],
    [{ ...overlay, overlayAllowedRoot: null }, 'semantic native option is missing: overlayAllowedRoot'],
    [{ ...overlay, overlayAllowedRoot: '' }, 'semantic native option is empty: overlayAllowedRoot'],
  ]) assert.equal(thrownBy(() => addon.warmSemanticRulePack({ ...good, ...options })), `TypeError: ${expected}`);
});

test('what a promise comes to; a hundred at one time, their work named "generic"', async () => {
  const warmed = (prewarmed) => JSON.stringify({ ok: true, authority: 'native', prewarmed });
  const stat = 'Error: semantic rule-pack file stat is invalid';
  const outside = 'Error: semantic rule-pack path is outside the approved root';
  const none = { packPath: `${root}/none.klrx` };
  const wordless = writePack({ documents: [{ ...indexDocument(), name: 'other' }] }).packPath;
  const table = [
    ['null is no overlay', { overlayPackPath: null }, warmed(true)],
    ['nor is undefined', { overlayPackPath: undefined }, warmed(true)],
    ['without a path its root is not looked at', { overlayPackPath: '', overlayAllowedRoot: 5 }, warmed(true)],
    ['an overlay', overlay, warmed(true)],
    ['one pack as both', { ...overlay, overlayPackPath: good.packPath }, warmed(true)],
    ['no file', none, stat],
    ['outside the root', { allowedRoot: '/nowhere' }, outside],
    ['a wrong digest', writePack({ stored: 'x' }), 'Error: semantic rule-pack payload digest is invalid'],
    ['the base comes first', { ...overlay, ...none, overlayPackPath: root }, stat],
    ['no overlay file', { ...overlay, overlayPackPath: none.packPath }, stat],
    ['the overlay has a root of its own', { ...overlay, overlayAllowedRoot: '/nowhere' }, outside],
    ['a failure without words is none', { packPath: wordless }, warmed(false)],
    ['the same of the overlay', { ...overlay, overlayPackPath: wordless }, warmed(false)],
  ];
  const warm = (options) => addon.warmSemanticRulePack({ ...good, ...options }).then(JSON.stringify, String);
  for (const [name, options, expected] of table) assert.equal(await warm(options), expected, name);
  const types = [];
  const hook = createHook({ init: (id, type) => types.push(type) }).enable();
  const promises = Array.from({ length: 100 }, (_, i) => warm(table[i % table.length][1]));
  hook.disable();
  assert.equal(types.filter((type) => type === 'generic').length, 100);
  assert.deepEqual(await Promise.all(promises), promises.map((_, i) => table[i % table.length][2]));
});
