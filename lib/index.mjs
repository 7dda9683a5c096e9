// The same function objects as the CommonJS entry gives: both formats share one native module.
import addon from './index.cjs';

export const {
  getSemanticInfo,
  inspectRulePack,
  inspectSemanticDelta,
  verifySemanticDeltaManifest,
  lookupBinaryIndex,
  lookupBinaryIndexOverlay,
  evaluateWorkflowPolicy,
  extractSemanticFacets,
  resolveSceneIntent,
  resolveSceneIntentBatch,
  resolveCelebrityBadgeBatch,
  warmSemanticRulePack,
} = addon;

export default addon;
