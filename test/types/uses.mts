// How a caller of the module entry writes it; compiled, never run. A line below `@ts-expect-error` must not compile.
import semantic, * as names from 'corvenda-semantic';
import {
  evaluateWorkflowPolicy, lookupBinaryIndex, resolveCelebrityBadgeBatch, resolveSceneIntentBatch, warmSemanticRulePack,
  type PackOptions, type SceneOverlay, type WorkflowSuppressReason,
} from 'corvenda-semantic';
import { buildBinaryIndex, buildPack, INDEX_DOCUMENT_NAME } from 'corvenda-semantic/tools';

const pack: PackOptions = { packPath: 'a.klrx', allowedRoot: '.' };
export const same: typeof names.getSemanticInfo = semantic.getSemanticInfo;
// @ts-expect-error: twelve functions, no more
semantic.default;

// Unions tell their halves apart.
const policy = evaluateWorkflowPolicy({ raw: '项目交付', sceneKey: 'travel' });
if (policy.suppressed) policy.reason satisfies WorkflowSuppressReason;
// @ts-expect-error: an allow is no reason to suppress
else policy.reason satisfies WorkflowSuppressReason;

for (const result of resolveCelebrityBadgeBatch({ ...pack, cases: [{ raw: '机场', mediaType: 'photo' }] }).results) {
  if (result.primaryCelebrity) result.celebrityHits[0].tags satisfies string[];
  else result.secondaryConfidence satisfies 0;
}
for (const result of resolveSceneIntentBatch({ ...pack, cases: [{ raw: '巴黎随拍' }] as const }).results) {
  if (result.intentHit) result.intentHit.entry.priority satisfies string;
  else result.sceneKey satisfies '';
  result.locationMeta?.primaryHit?.index satisfies number | undefined;
}

// Overlays, and the root that goes with an overlay pack.
const sceneOverlay: SceneOverlay = { categories: [{ key: 'skate', priority: 5, zh: ['滑板'], details: [{ label: 'park', en: ['skatepark'] }] }] };
resolveSceneIntentBatch({ ...pack, cases: [], sceneOverlay, locationOverlay: { aliasesEn: { 'Old Town': [['X1', 0, 0, 0, 3.5, 'Harbour']] } } });
declare const maybe: string | undefined;
(await warmSemanticRulePack({ ...pack, overlayPackPath: maybe ?? null, overlayAllowedRoot: '.' })).prewarmed satisfies boolean;
// @ts-expect-error: an overlay pack needs its root
warmSemanticRulePack({ ...pack, overlayPackPath: 'b.klrx' });
// @ts-expect-error: five sections
lookupBinaryIndex({ ...pack, section: 'people', term: 'x' });
// @ts-expect-error: two modes
lookupBinaryIndex({ ...pack, section: 'scene', term: 'x', mode: 'Exact' });

const data = buildBinaryIndex({ sections: [{ type: 'scene', rows: [{ term: 'a', fields: ['b'] }] }] });
buildPack({ ruleSetId: 'one', documents: [{ type: 'semantic-index', name: INDEX_DOCUMENT_NAME, data }] }) satisfies Uint8Array;
// @ts-expect-error: two keys
buildPack({ ruleSetId: 'one', keyId: 'other-v1' });
