// What the native module answers for a title, in one flat record: the same for all commands that show or compare answers.

import { dirname, resolve } from 'node:path';
import { ask, loadAddon } from './native.mjs';

const MAX_BATCH = 10000; // of the native module

/**
 * @typedef {object} Answer
 * @property {string} scene key, "" without a scene
 * @property {string} detail
 * @property {string} alias the term that decided
 * @property {string} lang its language
 * @property {number} rank 500 short, 400 conflict or phrase, 300 compound, 200 detail, 100 category, 0 inferred
 * @property {number} score compares rows of one rank whose terms are equally long
 * @property {string} place as shown, "" without one
 * @property {string[]} places other names under which a test may expect it: codes, labels
 * @property {string} person name of the first person, "" without one
 * @property {string[]} people ids and names of all
 * @property {string[]} personAliases by which they were found
 * @property {string} badge
 * @property {boolean} suppressed whether words of asset handling suppress the scene
 * @property {string} reason of that
 */

/**
 * Packs as the functions of the native module take them.
 * @typedef {{ packPath: string, allowedRoot: string, overlayPackPath?: string, overlayAllowedRoot: string }} Packs
 */

/** @satisfies {Record<string, import('./command_line.mjs').Option>} */
export const OVERLAY = Object.freeze({
  overlay: { type: 'string', value: 'PATCH', help: 'a patch pack that is laid over the pack' },
});

/**
 * @param {string} packPath
 * @param {{ overlay?: string }} [options] a patch that is laid over the pack
 * @returns {Packs}
 */
export function packsOf(packPath, { overlay } = {}) {
  const allowedRoot = dirname(resolve(packPath));
  return { packPath, allowedRoot, overlayPackPath: overlay, overlayAllowedRoot: overlay === undefined ? '' : dirname(resolve(overlay)) };
}

/** The files of packs. @param {Packs} packs */
export const packPathsOf = ({ packPath, overlayPackPath }) => (overlayPackPath === undefined ? [packPath] : [packPath, overlayPackPath]);

/** @returns {Answer} */
function answerOf({ sceneKey, sceneDetail, intentHit, locationMeta, locationCodes }, badge, { suppressed, reason }) {
  const { countryLabel = '', locationLabel = '', shortLabel = '' } = locationMeta ?? {};
  return {
    scene: sceneKey,
    detail: sceneDetail,
    alias: intentHit?.alias ?? '',
    lang: intentHit?.type ?? '',
    rank: intentHit?.rank ?? 0,
    score: intentHit?.score ?? 0,
    place: shortLabel,
    places: locationMeta ? [shortLabel, locationLabel, countryLabel, ...locationCodes].filter((name) => name !== '') : [],
    person: badge.primaryLabel,
    people: badge.celebrityHits.flatMap(({ id, name }) => [id, name]),
    personAliases: badge.celebrityHits.map(({ alias }) => alias),
    badge: badge.secondaryLabel,
    suppressed,
    reason,
  };
}

/**
 * @param {typeof import('../../lib/index.cjs')} addon
 * @param {Packs} packs
 * @param {{ raw: string, normalizedEnglish: string }[]} titles at most 10,000
 * @returns {Answer[]}
 */
export function resolveTitles(addon, packs, titles) {
  const scenes = addon.resolveSceneIntentBatch({ ...packs, cases: titles }).results;
  const badges = addon.resolveCelebrityBadgeBatch({ ...packs, cases: titles }).results;
  return scenes.map((scene, i) => {
    const { sceneKey, sceneDetail: detail, intentHit } = scene;
    const policy = addon.evaluateWorkflowPolicy({ ...titles[i], sceneKey, detail, alias: intentHit?.alias ?? '' });
    return answerOf(scene, badges[i], policy);
  });
}

/**
 * Answers any number of titles; a pack that is refused is the answer.
 * @param {typeof import('../../lib/index.cjs')} addon
 * @param {Packs} packs
 * @param {{ raw: string, normalizedEnglish: string }[]} titles
 * @returns {Answer[]}
 */
export function answerAll(addon, packs, titles) {
  return ask(() => {
    const answers = [];
    // At least once, because only then a pack is looked at.
    for (let i = 0; i === 0 || i < titles.length; i += MAX_BATCH) {
      for (const answer of resolveTitles(addon, packs, titles.slice(i, i + MAX_BATCH))) answers.push(answer);
    }
    return answers;
  }, packs.allowedRoot, packPathsOf(packs));
}

/**
 * Loads the native module and gives a function of titles, `answerAll` for these packs.
 * @param {import('./command_line.mjs').Io} io
 * @param {Packs} packs
 * @returns {Promise<(titles: { raw: string, normalizedEnglish: string }[]) => Answer[]>}
 */
export async function answering(io, packs) {
  const addon = await loadAddon(io);
  return (titles) => answerAll(addon, packs, titles);
}
