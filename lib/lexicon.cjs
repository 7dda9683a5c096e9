'use strict';
// The friendly layer over the twelve functions: any number of titles, off the calling thread. It adds no answers of its
// own; what a title means is what the native functions say.
const { existsSync } = require('node:fs');
const { availableParallelism } = require('node:os');
const { join } = require('node:path');
const { Piscina } = require('piscina');
const addon = require('./index.cjs');
const englishReading = require('./english_reading.cjs');
const { hindranceOf, pathOf, placeOf } = require('./pack_files.cjs');
const semanticError = require('./semantic_error.cjs');

// Titles a task. Results are built anew on the calling thread: more at once would stop it for longer than some
// milliseconds, fewer would cost more in messages than in titles.
const titlesPerTask = 500;
// How long a thread without work stays.
const idleMilliseconds = 10_000;

const isObject = (value) => typeof value === 'object' && value !== null;
const wrongOptions = (message, about) => semanticError('ERR_SEMANTIC_OPTIONS', message, { type: TypeError, ...about });

// --- Titles --------------------------------------------------------------------------------------------------------

/** A title as the native functions take it. They refuse an empty one; a blank is accepted and matches nothing. */
function caseOf(title, index, english) {
  const { raw, normalizedEnglish, mediaType } = isObject(title) ? title : { raw: title };
  for (const [name, value] of Object.entries({ raw, normalizedEnglish, mediaType })) {
    if (value === undefined || value === null || typeof value === 'string') continue;
    const message = `title ${index}: ${name} is of type ${typeof value}; a title is a string, or an object with strings`;
    throw semanticError('ERR_SEMANTIC_TITLE', message, { type: TypeError, index });
  }
  const text = raw || ' ';
  return { raw: text, normalizedEnglish: normalizedEnglish ?? english?.(text), mediaType: mediaType ?? undefined };
}

/** The titles as pieces of `titlesPerTask`; the source is read no further than asked for. */
async function* piecesOf(titles, english) {
  const piece = [];
  let index = 0;
  const take = (title) => piece.push(caseOf(title, index++, english)) === titlesPerTask;
  const cut = () => piece.splice(0);
  if (Symbol.asyncIterator in titles) {
    for await (const title of titles) if (take(title)) yield cut();
  } else {
    for (const title of titles) if (take(title)) yield cut();
  }
  if (piece.length > 0) yield cut();
}

// --- Questions -----------------------------------------------------------------------------------------------------

/** What the native module said, as an error of this layer. */
function refusal(error, place, patch) {
  const code = place.packPath === patch?.packPath ? 'ERR_SEMANTIC_PATCH' : 'ERR_SEMANTIC_PACK';
  const about = { path: place.packPath, cause: error };
  if (!existsSync(place.packPath)) return semanticError(code, `${error.message}: there is no file ${place.packPath}`, about);
  const hindrance = hindranceOf(place);
  if (hindrance === '') return semanticError(code, error.message, about);
  return semanticError('ERR_SEMANTIC_PATH', `${error.message}: ${hindrance}`, about);
}

/** Answers to all titles, in their order. At most twice as many pieces as threads are under way at any time. */
async function askAll(lexicon, question, titles, signal, onProgress) {
  const { pool, english, patch, threads } = lexicon;
  const total = titles.length ?? titles.size;
  const answers = [];
  const running = new Set();
  let done = 0;
  const ask = async (cases) => {
    const piece = answers.push([]) - 1;
    const { answers: found, error, place } = await pool.run({ question, cases });
    if (error) throw refusal(error, place, patch);
    answers[piece] = found;
    done += found.length;
    if (!signal?.aborted) onProgress?.({ done, total });
  };
  for await (const cases of piecesOf(titles, english)) {
    if (signal?.aborted) break;
    const task = ask(cases).finally(() => running.delete(task));
    running.add(task);
    task.catch(() => {}); // heard of below, unless another failure comes first
    if (running.size >= 2 * threads) await Promise.race(running);
  }
  await Promise.all(running);
  return answers.flat();
}

/** As `askAll`, but over as soon as the signal says so; what is under way then ends unheard. */
async function ask(lexicon, question, titles, options) {
  const { signal, onProgress } = options ?? {};
  if (lexicon.closed) throw semanticError('ERR_SEMANTIC_CLOSED', 'the lexicon is closed');
  if (!isObject(titles) || !(Symbol.iterator in titles || Symbol.asyncIterator in titles)) {
    throw wrongOptions('titles must be an array or another iterable; put a single title into an array');
  }
  if (onProgress !== undefined && typeof onProgress !== 'function') throw wrongOptions('onProgress must be a function');
  signal?.throwIfAborted();
  const work = askAll(lexicon, question, titles, signal, onProgress);
  lexicon.calls.add(work);
  const end = () => lexicon.calls.delete(work);
  work.then(end, end);
  if (!signal) return work;
  let stop;
  const aborted = new Promise((_, reject) => {
    stop = () => reject(signal.reason);
    signal.addEventListener('abort', stop);
  });
  return Promise.race([work, aborted]).finally(() => signal.removeEventListener('abort', stop));
}

// --- Opening and closing -------------------------------------------------------------------------------------------

/** Loads one pack, or a patch beside its base, on a thread of the native module. */
async function warm(pack, patch) {
  const options = patch ? { ...pack, overlayPackPath: patch.packPath, overlayAllowedRoot: patch.allowedRoot } : pack;
  try {
    await addon.warmSemanticRulePack(options);
  } catch (error) {
    throw refusal(error, patch ?? pack, patch);
  }
}

/** The options of `openLexicon`, checked before any file is touched. */
function readOptions(options) {
  if (!isObject(options)) throw wrongOptions('openLexicon takes one options object');
  const { pack, root, patch, copyTo, overlays = {}, english, threads = Math.min(availableParallelism(), 4) } = options;
  const optional = (place, name) => (place === undefined || place === null ? undefined : pathOf(place, name));
  if (english !== undefined && typeof english !== 'function') throw wrongOptions('english must be a function');
  if (!Number.isInteger(threads) || threads < 1) throw wrongOptions('threads must be a whole number, 1 or more');
  if (!isObject(overlays)) throw wrongOptions('overlays must be an object');
  let copied;
  try {
    copied = structuredClone(overlays);
  } catch (cause) {
    throw wrongOptions(`overlays hold what another thread can't be given: ${cause.message}`, { cause });
  }
  return { packPath: pathOf(pack, 'pack'), root: optional(root, 'root'), patchPath: optional(patch, 'patch'),
    copyTo: optional(copyTo, 'copyTo'), overlays: copied, english, threads };
}

async function openLexicon(options) {
  const { packPath, root, patchPath, copyTo, overlays, english, threads } = readOptions(options);
  const pack = await placeOf(packPath, root, copyTo);
  await warm(pack);
  const patch = patchPath === undefined ? undefined : await placeOf(patchPath, root, copyTo);
  if (patch) await warm(pack, patch);
  const pool = new Piscina({ filename: join(__dirname, 'lexicon_worker.cjs'), workerData: { pack, patch, overlays },
    minThreads: 0, maxThreads: threads, idleTimeout: idleMilliseconds });
  const lexicon = { pool, patch, english, threads, closed: false, calls: new Set() };

  const close = async () => {
    lexicon.closed = true;
    await Promise.allSettled(lexicon.calls);
    await pool.destroy();
  };
  const asking = (question) => (titles, how) => ask(lexicon, question, titles, how);
  return {
    info: addon.inspectRulePack(pack),
    resolve: asking('resolve'),
    people: asking('people'),
    facets: asking('facets'),
    places: asking('places'),
    policy: asking('policy'),
    close,
    [Symbol.dispose]: () => void close(),
    [Symbol.asyncDispose]: close,
  };
}

module.exports = { openLexicon, englishReading };
