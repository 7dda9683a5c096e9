// The plain form: what the addon has to answer, found by looping over all rows and testing each against each title.
// Slow and without any cleverness, so that a fast wrong answer has something to differ from.
import { compactTerm } from '../../tools/index.mjs';

const RANKS = { short: 500, conflict: 400, compound: 300, detail: 200, category: 100 };
const IDENTITY_SCENES = {
  food_creator: 'food', travel_creator: 'travel', beauty_creator: 'beauty', fashion_creator: 'beauty',
  gaming_creator: 'show', streamer: 'show',
};
const COMMON_WORDS = new Set(('nice mobile holiday wedding reading orange spring fall normal home office coffee list backup '
  + 'project version final').split(' '));
const HINTS = {
  'location-cn': 'china beijing shanghai guangzhou shenzhen hong_kong macau macao taiwan',
  'location-us': 'united_states usa america new_york los_angeles san_francisco miami seattle hawaii amsterdam',
  'location-eu': 'europe france paris london england united_kingdom germany berlin italy rome spain greece santorini trip '
    + 'street opera',
  'location-asia': 'japan tokyo korea seoul busan thailand bangkok bali singapore malaysia kuala_lumpur vietnam dubai',
};

const isNonAscii = (text) => /[^\0-\x7f]/.test(text);
const isPlainToken = (text) => /^[a-z0-9]*$/.test(text);
const bytes = (text) => Buffer.byteLength(text);
const characters = (text) => [...text].length;

/** A title as the loops need it; `runs` are its runs of whole English words, joined. */
function prepare({ raw, normalizedEnglish }) {
  const words = normalizedEnglish.split(' ').filter(Boolean);
  const runs = new Set(words.flatMap((_, from) => words.map((__, to) => words.slice(from, to + 1).join(''))));
  runs.delete('');
  return {
    raw, words, runs, lowered: normalizedEnglish.toLowerCase(), nonAscii: isNonAscii(raw), compactRaw: compactTerm(raw),
    compactEnglish: compactTerm(normalizedEnglish),
  };
}

// --- Scenes --------------------------------------------------------------------------------------------------------

function sceneSpeaks(title, term, [, , , kind, lang]) {
  const english = lang === 'en';
  const whole = term === (english ? title.compactEnglish : title.compactRaw);
  if (kind === 'short' && (!whole || (english && title.nonAscii))) return false;
  if (english) return title.runs.has(term);
  return title.compactRaw.includes(term) && (title.nonAscii || !isPlainToken(term) || whole);
}

/** [rank, length of the term, score]; of equals the lesser term. */
function sceneOrder(title, term, [, , priority, kind, lang]) {
  const at = Math.max(title.compactRaw.indexOf(term), 0);
  const early = Math.max(10 - characters(title.compactRaw.slice(0, at)), 0);
  const length = Math.min(characters(term) * (lang === 'zh' ? 1.2 : 0.9), 12);
  return [RANKS[kind] ?? 0, bytes(term), early + (length + Number(priority))];
}

/** The better of two; of two that nothing orders the first, which takes the key of the other. */
function better(a, b) {
  if (a === undefined) return b;
  const i = a.order.findIndex((value, at) => value !== b.order[at]);
  if (i >= 0) return a.order[i] > b.order[i] ? a : b;
  if (a.term !== b.term) return a.term < b.term ? a : b;
  return { ...a, keys: new Set([...a.keys, ...b.keys]) };
}

function addScene(answer, title, term, fields) {
  const candidate = { term, keys: new Set([fields[0]]), order: sceneOrder(title, term, fields) };
  answer.scene = better(answer.scene, candidate);
  if (term !== (fields[4] === 'en' ? title.compactEnglish : title.compactRaw) || candidate.order[0] === 0) return;
  answer.whole = better(answer.whole, candidate);
}

function addHuman(answer, title, term, [key, detail], masters) {
  const plain = isPlainToken(term);
  const rawHit = !plain && title.compactRaw.includes(term);
  const englishHit = plain && title.runs.has(term);
  if (!rawHit && !englishHit && term !== title.compactRaw && term !== title.compactEnglish) return;
  if (key === '') answer.veto = true;
  if (!masters.has(key)) return;
  const exact = (rawHit && term === title.compactRaw) || (englishHit && term === title.compactEnglish);
  answer.humans.push([rawHit ? title.compactRaw : title.compactEnglish,
    [key, detail, '0', exact ? 'short' : 'conflict', plain ? 'en' : 'zh']]);
}

function addIdentity(answer, title, term, [dimension, key, , lang], masters) {
  if (dimension !== 'identity' || lang !== 'en' || !title.runs.has(term) || !masters.has(IDENTITY_SCENES[key])) return;
  answer.identities.push([term, [IDENTITY_SCENES[key], '', '0', 'compound', 'en']]);
}

/** A veto clears the rows of scenes and phrases; identities stand. */
function chooseScene(answer, title) {
  if (answer.veto) Object.assign(answer, { scene: undefined, whole: undefined, humans: [] });
  for (const [term, fields] of [...answer.humans, ...answer.identities]) addScene(answer, title, term, fields);
  return answer.whole ?? answer.scene;
}

// --- Places --------------------------------------------------------------------------------------------------------

const isDatabase = (source) => source.startsWith('location-db-');

function regionAllows(title, section) {
  if (!(section in HINTS) || (section === 'location-cn' && title.nonAscii)) return true;
  return HINTS[section].split(' ').map((hint) => hint.replace('_', ' '))
    .some((hint) => title.compactRaw.includes(hint) || title.lowered.includes(hint));
}

function addPlace(answer, title, section, term, [code, source, , label, lang], curated) {
  const english = lang === 'en';
  if (!(english ? title.runs.has(term) : title.compactRaw.includes(term))) return;
  if (english && (section === 'location-base' || COMMON_WORDS.has(term))) return;
  const name = english && isDatabase(source) ? term : label;
  if (name === '' || !regionAllows(title, section)) return;
  const begins = (word) => compactTerm(word) === compactTerm(name.split(' ')[0]);
  if (!(english ? title.words.some(begins) : title.compactRaw.includes([...name][0]))) return;
  if (isDatabase(source) && curated.has(`${term}\t${code}`)) return;
  const at = (english ? title.compactEnglish : title.compactRaw).split(term)[0];
  answer.places.push({ code, database: isDatabase(source), from: characters(at),
    to: characters(at) + characters(isDatabase(source) ? term : label) });
}

/** The codes that can be named: those of curated places, else of places that no longer name covers. */
function chooseCodes(places) {
  const curated = places.filter(({ database }) => !database);
  const covered = (a) => places.some((b) => b.to - b.from > a.to - a.from && b.from <= a.from && a.to <= b.to);
  const chosen = curated.length > 0 ? curated : places.filter((place) => !covered(place));
  return new Set(chosen.map(({ code }) => code));
}

// --- All of it -----------------------------------------------------------------------------------------------------

/** The rows of a shard's entries in the form of index rows. */
export function* shardRows(entries) {
  for (const { alias, records } of entries) {
    for (const { code, englishFlag, weight, label, countryLabel } of records) {
      const [source, lang] = englishFlag ? ['location-db-en', 'en'] : ['location-db-native', 'zh'];
      yield { term: alias, fields: [code, source, String(weight), label, lang, countryLabel] };
    }
  }
}

/** What a batch must say of each title: { sceneKeys, alias, codes }. Any of the keys is right, and any three codes. */
export function plainScenes({ sections, shards }, cases) {
  const titles = cases.map(prepare);
  const answers = titles.map(() => ({ humans: [], identities: [], places: [], veto: false }));
  const forEachRow = (rows, visit) => {
    for (const { term, fields } of rows) for (let i = 0; i < titles.length; ++i) visit(answers[i], titles[i], term, fields);
  };
  const masters = new Set();
  for (const { term, fields } of sections.scene.rows) {
    if (fields[3] === 'category') masters.add(fields[0]);
    titles.forEach((title, i) => { if (sceneSpeaks(title, term, fields)) addScene(answers[i], title, term, fields); });
  }
  forEachRow(sections.human.rows, (answer, title, term, fields) => addHuman(answer, title, term, fields, masters));
  forEachRow(sections.facet.rows, (answer, title, term, fields) => addIdentity(answer, title, term, fields, masters));
  const places = [...sections.location.rows];
  const curated = new Set(places.map(({ term, fields }) => `${term}\t${fields[0]}`));
  forEachRow(places, (answer, title, term, fields) => addPlace(answer, title, 'location', term, fields, curated));
  for (const [name, { entries }] of Object.entries(shards)) {
    forEachRow(shardRows(entries), (answer, title, term, fields) => addPlace(answer, title, name, term, fields, curated));
  }
  return titles.map((title, i) => {
    const scene = chooseScene(answers[i], title);
    return { sceneKeys: [...scene?.keys ?? ['']], alias: scene?.term ?? null, codes: chooseCodes(answers[i].places) };
  });
}

/** What a celebrity batch must say of each title: the ids it names. */
export function plainPeople(rows, cases) {
  const titles = cases.map(prepare);
  const found = titles.map(() => new Set());
  for (const { term, fields } of rows) {
    titles.forEach(({ compactRaw, compactEnglish }, i) => {
      if (compactRaw.includes(term) || compactEnglish.includes(term)) found[i].add(fields[0]);
    });
  }
  return found;
}
