// How a caller of the module entry writes it; compiled, never run. A line below `@ts-expect-error` must not compile.
import semantic, * as names from 'corvenda-semantic';
import { buildBinaryIndex, buildPack, INDEX_DOCUMENT_NAME, signDetached, type Trust } from 'corvenda-semantic/tools';

const pack: names.PackOptions = { packPath: 'a.klrx', allowedRoot: '.' };
export const same: typeof names.getSemanticInfo = semantic.getSemanticInfo;
// @ts-expect-error: twelve functions, no more
semantic.default;
// @ts-expect-error: the title is required
semantic.resolveSceneIntent(pack);
// @ts-expect-error: results are closed
semantic.inspectRulePack(pack).keyId;
// @ts-expect-error: an overlay pack needs its root
semantic.warmSemanticRulePack({ ...pack, overlayPackPath: 'b.klrx' });
// @ts-expect-error: five sections
semantic.lookupBinaryIndex({ ...pack, section: 'people', term: 'x' });
const policy = semantic.evaluateWorkflowPolicy({ raw: '项目交付', sceneKey: 'travel' });
if (policy.suppressed) policy.reason satisfies names.WorkflowSuppressReason;
// @ts-expect-error: an allow is no reason to suppress
else policy.reason satisfies names.WorkflowSuppressReason;
for (const result of names.resolveCelebrityBadgeBatch({ ...pack, cases: [{ raw: '机场', mediaType: 'photo' }] }).results) {
  if (!result.primaryCelebrity) result.secondaryConfidence satisfies 0;
}
const sceneOverlay: names.SceneOverlay = { categories: [{ key: 'skate', priority: 5, zh: ['滑板'], details: [{ en: ['park'] }] }] };
const locationOverlay = { aliasesEn: { 'Old Town': [['X1', 0, 0, 0, 3.5, 'Harbour']] } } satisfies names.LocationOverlay;
for (const result of names.resolveSceneIntentBatch({ ...pack, cases: [{ raw: 'x' }] as const, sceneOverlay, locationOverlay }).results) {
  (result.intentHit ? result.intentHit.entry.priority : result.sceneKey) satisfies string;
}
declare const maybe: string | undefined;
(await names.warmSemanticRulePack({ ...pack, overlayPackPath: maybe ?? null, overlayAllowedRoot: '.' })).prewarmed satisfies boolean;
const data = buildBinaryIndex({ sections: [{ type: 'scene', rows: [{ term: 'a', fields: ['b'] }] }] });
buildPack({ ruleSetId: 'one', documents: [{ type: 'semantic-index', name: INDEX_DOCUMENT_NAME, data }] }) satisfies Uint8Array;
// @ts-expect-error: two keys
buildPack({ ruleSetId: 'one', documents: [], keyId: 'test-v2' });
declare const trust: Trust;
// @ts-expect-error: bytes
signDetached('text', { trust }) satisfies string;
