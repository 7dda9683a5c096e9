// Made-up lexicons and titles: terms with the spread of real text, rows with the fields that real rows have, titles
// with one to four known terms. Everything follows from the seed and the number of rows.
import { compactTerm } from '../../tools/index.mjs';
import { makeDraw } from './random.mjs';

/** Sections in the order in which terms are made; "place" rows stand in the section "location" and in two shards. */
export const SECTIONS = ['scene', 'human', 'facet', 'place', 'celebrity'];

// --- Terms ---------------------------------------------------------------------------------------------------------

// Skewed, as the characters of real text are: a few hundred of the 3,000 make up most of it.
const chineseWord = ({ random }, length) =>
  String.fromCharCode(...Array.from({ length }, () => 0x4e00 + Math.floor(3000 * random() ** 2)));

const CONSONANTS = 'b c d f g h j k l m n p r s t v w z'.split(' ');
const VOWELS = 'a e i o u ai ea'.split(' ');

/** 60,000 made-up English words of two to four syllables, the short ones first. */
function makeVocabulary() {
  const draw = makeDraw(7);
  const words = new Set();
  while (words.size < 60000) {
    const syllables = 2 + Number(words.size >= 8000) + Number(words.size >= 40000);
    words.add(Array.from({ length: syllables }, () => draw.pick(CONSONANTS) + draw.pick(VOWELS)).join(''));
  }
  return [...words];
}
/** Made when terms are: whoever only loads a pack has no need of it. */
let vocabulary;

function writtenTerm(draw) {
  if (draw.chance(0.7)) return chineseWord(draw, draw.weighted([[12, 2], [26, 3], [34, 4], [17, 5], [11, 6]]));
  return Array.from({ length: draw.weighted([[4, 1], [4, 2], [2, 3]]) }, () =>
    vocabulary[Math.floor(vocabulary.length * draw.random() ** 2)]).join(' ');
}

/** `count` terms as a title has them, none of which is in `taken` or folds to the same as another. */
function makeTerms(draw, count, taken) {
  vocabulary ??= makeVocabulary();
  const terms = [];
  while (terms.length < count) {
    const written = writtenTerm(draw);
    const folded = compactTerm(written);
    if (taken.has(folded)) continue;
    taken.add(folded);
    terms.push(written);
  }
  return terms;
}

/**
 * The written terms of each section: { scene: […], … }, `count` each. With `shared` all sections have one list, else
 * each has its own. Celebrities end at 100,000: there are not more.
 */
export function makeSectionTerms({ count, shared, seed }) {
  const draw = makeDraw(seed);
  const taken = new Set();
  const first = makeTerms(draw, count, taken);
  return Object.fromEntries(SECTIONS.map((section, i) => {
    const size = section === 'celebrity' ? Math.min(count, 100000) : count;
    return [section, shared || i === 0 ? first.slice(0, size) : makeTerms(draw, size, taken)];
  }));
}

export const isEnglish = (written) => /^[a-z]/i.test(written);

// --- Rows ----------------------------------------------------------------------------------------------------------

// Among them the scenes that the addon's own rules name.
const SCENE_KEYS = ('food travel city beauty show home family pet sport health business event coffee drive hotel mood '
  + 'outdoor romance shopping daily school music craft garden').split(' ');
const DETAIL_WORDS = 'morning street evening private family weekend winter studio market festival journey moment'.split(' ');
const COUNTRIES = ('AT AU BE BR CA CH CN CZ DE DK EG ES FI FR GB GR HU ID IE IN IS IT JP KE KR MA MX MY NL NO NP NZ PE '
  + 'PH PL PT RO SE SG TH TR TW TZ US VN ZA').split(' ');
const KINDS = ['actor', 'singer', 'idol', 'model', 'creator', 'influencer', 'athlete', 'host'];
const IDENTITIES = ['food_creator', 'travel_creator', 'beauty_creator', 'gaming_creator', 'streamer'];

const capitalized = (text) => text.replace(/\b[a-z]/g, (letter) => letter.toUpperCase());
const detailOf = (key, i) => `${key} ${DETAIL_WORDS[i % DETAIL_WORDS.length]}`;

const scenes = SCENE_KEYS.map((key, i) => ({
  key, label: capitalized(key), archiveLabel: `${capitalized(key)} & ${capitalized(DETAIL_WORDS[i % 12])}`,
  archiveCode: key.slice(0, 3).toUpperCase(), icon: `${key}-${DETAIL_WORDS[(i * 5) % 12]}`,
  defaultDetail: detailOf(key, i), priority: String(1 + (i % 9)),
}));

/** The first rows are one category row of each scene, because a scene without one lends its data to nobody. */
function sceneFields(draw, { written, number }) {
  const scene = number < scenes.length ? scenes[number] : draw.pick(scenes);
  const kind = number < scenes.length ? 'category'
    : draw.weighted([[40, 'category'], [40, 'detail'], [4, 'short'], [8, 'compound'], [8, 'conflict']]);
  const override = kind !== 'category' && kind !== 'detail';
  return [scene.key, kind === 'category' ? scene.defaultDetail : detailOf(scene.key, draw.below(12)),
    override ? '0' : scene.priority, kind, isEnglish(written) ? 'en' : 'zh', scene.label, scene.archiveLabel,
    scene.archiveCode, scene.icon, scene.defaultDetail, scene.priority];
}

function humanFields(draw, { written }) {
  const { key } = draw.pick(scenes);
  const fields = draw.chance(0.05) ? ['', ''] : [key, detailOf(key, draw.below(12))];
  return isEnglish(written) ? [...fields, 'en'] : fields;
}

function facetFields(draw, { written }) {
  const lang = isEnglish(written) ? 'en' : 'zh';
  if (draw.chance(0.1)) return ['identity', draw.pick(IDENTITIES), '3.000000', lang];
  return [draw.pick(['style', 'season', 'subject', 'technique', 'mood']), `${draw.pick(DETAIL_WORDS)}_${draw.below(40)}`,
    `${1 + draw.below(5)}.000000`, lang];
}

function celebrityFields(draw, { written, number }) {
  const name = capitalized(written);
  const id = `person-${number.toString(36)}`;
  const tags = draw.chance(0.4) ? `mandopop\x1etour-${draw.below(30)}` : '';
  return [id, name, draw.pick(KINDS), draw.pick(COUNTRIES), String(1 + draw.below(10)), `people/${id}`, tags];
}

/** A curated place; those of the shards are made by `shardEntry`. */
function placeFields(draw, { written }) {
  const country = draw.pick(COUNTRIES);
  return [country, draw.weighted([[3, 'country'], [20, 'location-famous'], [77, 'location']]),
    `0.${String(100000 + draw.below(900000))}`, capitalized(written), isEnglish(written) ? 'en' : 'zh', country];
}

const FIELDS = { scene: sceneFields, human: humanFields, facet: facetFields, place: placeFields, celebrity: celebrityFields };

/** One row in thirty has the term of an earlier one: an alias that two scenes, people or places share. */
function* termsOfRows(draw, terms) {
  for (let number = 0; number < terms.length; number += 1) {
    const repeated = number > 30 && number % 30 === 0;
    yield { number, written: repeated ? terms[draw.below(number)] : terms[number] };
  }
}

/** The rows of an index section: { term, fields }. */
export function* sectionRows(section, terms) {
  const draw = makeDraw(1000 + section.length);
  for (const row of termsOfRows(draw, terms)) yield { term: compactTerm(row.written), fields: FIELDS[section](draw, row) };
}

/** The entries of a shard, one record each. */
export function* shardEntries(terms) {
  const draw = makeDraw(2000);
  for (const { written } of termsOfRows(draw, terms)) {
    const country = draw.pick(COUNTRIES);
    const record = { code: `${country}-${10 + draw.below(80)}`, englishFlag: isEnglish(written) ? 1 : 0,
      weight: 0.05 + draw.below(600) / 1000, label: capitalized(written), countryLabel: country };
    yield { alias: compactTerm(written), records: [record] };
  }
}

/** Where the place terms stand: a fifth is curated, the rest comes from two databases. */
export function splitPlaces(terms) {
  const [a, b] = [Math.floor(terms.length / 5), Math.floor((terms.length * 3) / 5)];
  return { location: terms.slice(0, a), 'location-world': terms.slice(a, b), 'location-cn': terms.slice(b) };
}

// --- Titles --------------------------------------------------------------------------------------------------------

const FILLERS = 'the my a new day in at with our first last from and for best little one'.split(' ');

/** A title that holds the given terms, all of them where they are looked for. */
export function titleOf(draw, terms) {
  const english = terms.filter(isEnglish);
  const chinese = terms.filter((written) => !isEnglish(written));
  const native = chinese.map((written) => chineseWord(draw, draw.below(3)) + written).join('');
  const words = english.flatMap((written) => (draw.chance(0.5) ? [draw.pick(FILLERS), written] : [written]));
  if (words.length === 0 && draw.chance(0.3)) words.push(draw.pick(FILLERS), draw.pick(FILLERS));
  const normalizedEnglish = words.join(' ');
  if (native === '') return { raw: capitalized(normalizedEnglish), normalizedEnglish };
  const tail = chineseWord(draw, draw.below(3));
  const spelled = english.length > 0 && draw.chance(0.5) ? ` ${capitalized(english.join(' '))}` : '';
  return { raw: native + tail + spelled, normalizedEnglish };
}

/** Titles with one to four terms out of the given sections. */
export function makeTitles(sectionTerms, sections, { count, seed }) {
  const draw = makeDraw(seed);
  return Array.from({ length: count }, () => {
    const known = draw.weighted([[40, 1], [30, 2], [20, 3], [10, 4]]);
    return titleOf(draw, Array.from({ length: known }, () => draw.pick(sectionTerms[draw.pick(sections)])));
  });
}

/** The term as the rival wants it. */
export const rivalTerm = (written) => (isEnglish(written) ? ` ${written.toLowerCase()} ` : written);
