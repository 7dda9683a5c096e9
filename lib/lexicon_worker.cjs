'use strict';
// What runs on the threads of an open lexicon: the native functions on one piece of the titles.
const { workerData } = require('piscina');
const addon = require('./index.cjs');
const englishReading = require('./english_reading.cjs');

const { pack, patch, overlays } = workerData;
const { scenes: sceneOverlay, places: locationOverlay, people: celebrityOverlay } = overlays;
const packs = { ...pack, ...(patch && { overlayPackPath: patch.packPath, overlayAllowedRoot: patch.allowedRoot }) };

const resolve = (cases) => addon.resolveSceneIntentBatch({ ...packs, sceneOverlay, locationOverlay, cases }).results;

const questions = {
  resolve,
  places: (cases) => resolve(cases).map(({ locationCodes, locationMeta }) => ({ locationCodes, locationMeta })),
  people: (cases) => addon.resolveCelebrityBadgeBatch({ ...packs, celebrityOverlay, cases }).results,
  facets: (cases) => cases.map((one) => addon.extractSemanticFacets({ ...pack, ...one })),
  policy: (cases) => resolve(cases).map(({ sceneKey, sceneDetail, intentHit }, i) => addon.evaluateWorkflowPolicy(
    { ...cases[i], sceneKey, alias: intentHit?.alias ?? '', detail: sceneDetail })),
};

/** Which of the two packs was refused: the base pack, unless it is sound on its own. */
function refusedPack() {
  try {
    addon.inspectRulePack(pack);
    return patch ?? pack;
  } catch {
    return pack;
  }
}

// A native error loses its properties on the way to the other thread, so it goes as a result.
module.exports = ({ question, cases }) => {
  for (const one of cases) one.normalizedEnglish ??= englishReading(one.raw);
  try {
    return { answers: questions[question](cases) };
  } catch (error) {
    return { error, place: refusedPack() };
  }
};
