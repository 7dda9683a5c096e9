// warmSemanticRulePack: what it checks at once, what its promise comes to, and what it leaves in the cache.
import assert from 'node:assert/strict';
import { createHook } from 'node:async_hooks';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertRequiredOptions, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { indexDocument, packBytes, root, writeFile, writePack } from './support/packs.mjs';

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
  const rows = [
    [{ overlayPackPath: {}, overlayAllowedRoot: 5 }, 'TypeError: overlayPackPath must be a string'],
    [{ overlayPackPath: 'x', overlayAllowedRoot: null }, 'TypeError: semantic native option is missing: overlayAllowedRoot'],
    [{ overlayPackPath: 'x', overlayAllowedRoot: '' }, 'TypeError: semantic native option is empty: overlayAllowedRoot'],
  ];
  for (const trap of ['has', 'get']) {
    const mine = (target, key) => { if (key === 'overlayPackPath') throw new Error('mine'); return target[key]; };
    rows.push([new Proxy({ ...good, ...overlay }, { [trap]: mine }), 'Error: mine']);
  }
  for (const [options, expected] of rows) {
    assert.equal(thrownBy(() => addon.warmSemanticRulePack(Object.setPrototypeOf(options, good))), expected);
  }
});
