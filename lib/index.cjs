'use strict';
// The native module's own function objects, untouched. The list stands here by name so that bundlers and the module
// lexer of Node.js can see it.
const addon = require('./load.cjs');

module.exports = {
  getSemanticInfo: addon.getSemanticInfo,
  inspectRulePack: addon.inspectRulePack,
  inspectSemanticDelta: addon.inspectSemanticDelta,
  verifySemanticDeltaManifest: addon.verifySemanticDeltaManifest,
  lookupBinaryIndex: addon.lookupBinaryIndex,
  lookupBinaryIndexOverlay: addon.lookupBinaryIndexOverlay,
  evaluateWorkflowPolicy: addon.evaluateWorkflowPolicy,
  extractSemanticFacets: addon.extractSemanticFacets,
  resolveSceneIntent: addon.resolveSceneIntent,
  resolveSceneIntentBatch: addon.resolveSceneIntentBatch,
  resolveCelebrityBadgeBatch: addon.resolveCelebrityBadgeBatch,
  warmSemanticRulePack: addon.warmSemanticRulePack,
};
