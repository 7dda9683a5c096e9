// How a caller of the module entry writes it; compiled, never run. A line below `@ts-expect-error` must not compile.
import semantic, * as names from 'corvenda-semantic';
import { openLexicon, type LexiconOptions, type SemanticError } from 'corvenda-semantic/lexicon';
import { buildBinaryIndex, buildPack, INDEX_DOCUMENT_NAME, signDetached, type Trust } from 'corvenda-semantic/tools';

const pack: names.PackOptions = { packPath: 'a.klrx', allowedRoot: '.' };
export const same: typeof names.getSemanticInfo = semantic.getSemanticInfo;
// @ts-expect-error: twelve functions, no more
semantic.default;
// @ts-expect-error: the title is required
semantic.resolveSceneIntent(pack);
// @ts-expect-error: results are closed
semantic.inspectRulePack(pack).keyId;
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
(await names.warmSemanticRulePack({ ...pack, overlayPackPath: maybe, overlayAllowedRoot: '.' })).prewarmed satisfies boolean;
names.resolveCelebrityBadgeBatch({ ...pack, ...(maybe && { overlayPackPath: maybe, overlayAllowedRoot: '.' }), cases: [], celebrityOverlay: undefined });
// @ts-expect-error: an explicit undefined is refused when the call is made
names.resolveSceneIntent({ ...pack, raw: 'x', normalizedEnglish: maybe });
const data = buildBinaryIndex({ sections: [{ type: 'scene', rows: [{ term: 'a', fields: ['b'] }] }] });
buildPack({ ruleSetId: 'one', documents: [{ type: 'semantic-index', name: INDEX_DOCUMENT_NAME, data }] }) satisfies Uint8Array;
// @ts-expect-error: two keys
buildPack({ ruleSetId: 'one', documents: [], keyId: 'test-v2' });

const options: LexiconOptions = { pack: new URL('a.klrx', import.meta.url), patch: maybe, overlays: { scenes: sceneOverlay, places: locationOverlay } };
{
  await using lexicon = await openLexicon(options);
  async function* titles() { yield { raw: null, mediaType: 'photo' as const }; }
  const signal = new AbortController().signal;
  (await lexicon.people(titles(), { signal, onProgress: ({ done, total = 0 }) => done / total }))[0]?.primaryLabel satisfies string | undefined;
  (await lexicon.places(new Set(['x']))).map(({ locationMeta }) => locationMeta?.primaryHit?.weight) satisfies Array<number | undefined>;
  // @ts-expect-error: titles, not numbers
  lexicon.resolve([5]);
}
const caught = new Error() as SemanticError;
if (caught.code === 'ERR_SEMANTIC_TITLE') caught.index satisfies number | undefined;
declare const trust: Trust;
// @ts-expect-error: bytes
signDetached('text', { trust }) satisfies string;
