// From the rows of a pack back to sources that compile to the same rows in the same order.

import { PLACES_COLUMNS } from './places.mjs';
import { compileTexts, documentsOf } from './sources.mjs';
import { compactTerm } from './text.mjs';

const TAG_SEPARATOR = '\x1e';
const OVERRIDE_LISTS = { short: 'shortTitleOverrides', compound: 'compoundOverrides', conflict: 'conflictOverrides' };

/** The properties that have a value. */
const present = (object) => Object.fromEntries(Object.entries(object).filter(([, value]) => value !== ''));

/**
 * Joins neighbouring rows into objects: the aliases of one object have the same description, and the Chinese ones come
 * before the English ones.
 * @param {import('./pack_reader.mjs').PackRow[]} rows
 * @param {(fields: string[]) => { lang: string, [property: string]: string }} describe what an object says
 * @returns {any[]}
 */
function joined(rows, describe) {
  const objects = [];
  let last = '';
  for (const { term, fields } of rows) {
    const { lang, ...description } = describe(fields);
    const identity = JSON.stringify(description);
    const current = objects[objects.length - 1];
    if (identity === last && !(lang === 'zh' && current.en)) (current[lang] ??= []).push(term);
    else objects.push({ ...present(description), [lang]: [term] });
    last = identity;
  }
  return objects;
}

/** Categories with their details. A scene whose rows are scattered becomes several categories. */
function categoriesOf(rows) {
  /** @type {{ tail: string, own: import('./pack_reader.mjs').PackRow[], details: import('./pack_reader.mjs').PackRow[] }[]} */
  const runs = [];
  for (const row of rows) {
    const tail = JSON.stringify([row.fields[0], ...row.fields.slice(5)]);
    const isDetail = row.fields[3] === 'detail';
    const run = runs[runs.length - 1];
    const fits = run?.tail === tail && (isDetail || run.details.length === 0)
      && (isDetail || row.fields[4] === 'en' || run.own.every(({ fields }) => fields[4] !== 'en'));
    if (!fits) runs.push({ tail, own: [], details: [] });
    runs[runs.length - 1][isDetail ? 'details' : 'own'].push(row);
  }
  return runs.map(({ tail, own, details }) => {
    const [key, label, archiveLabel, archiveCode, icon, defaultDetail, priority] = JSON.parse(tail);
    const category = present({ key, label, archiveLabel, archiveCode, icon, defaultDetail, priority });
    for (const { term, fields } of own) (category[fields[4]] ??= []).push(term);
    if (details.length > 0) category.details = joined(details, (fields) => ({ label: fields[1], lang: fields[4] }));
    return category;
  });
}

function celebritiesOf(rows) {
  const people = [];
  let last = '';
  for (const { term, fields } of rows) {
    const [id, name, kind, region, priority, photoKey, tags = ''] = fields;
    const identity = JSON.stringify(fields);
    if (identity === last && term !== compactTerm(name)) {
      const person = people[people.length - 1];
      (person.aliases ??= { names: [] }).names.push(term);
    } else {
      const person = present({ id, name, kind, region, priority, photoKey });
      people.push(tags === '' ? person : { ...person, tags: tags.split(TAG_SEPARATOR) });
    }
    last = identity;
  }
  return people;
}

/** @param {import('./pack_reader.mjs').PackContent['sections']} sections */
function lexiconOf({ scene, human, celebrity, location, facet }) {
  const overrides = (kind) => joined(scene.filter(({ fields }) => fields[3] === kind),
    ([sceneKey, detailLabel, , , lang]) => ({ sceneKey, detailLabel, lang }));
  const lists = {
    categories: categoriesOf(scene.filter(({ fields }) => !Object.hasOwn(OVERRIDE_LISTS, fields[3] ?? ''))),
    ...Object.fromEntries(Object.entries(OVERRIDE_LISTS).map(([kind, list]) => [list, overrides(kind)])),
    humans: joined(human, ([sceneKey, detail, lang]) => ({ sceneKey, detail, lang: lang === undefined ? 'zh' : 'en' }))
      .map((phrase) => ({ sceneKey: '', ...phrase })), // an empty key is a veto and has to be said
    celebrities: celebritiesOf(celebrity),
    // Left out, these would not be empty.
    locations: joined(location, ([code, source, weight, label, lang, countryLabel]) =>
      ({ code, source, weight, label, countryLabel, lang })).map((place) => ({ ...place, source: place.source ?? '', weight: place.weight ?? '' })),
    facets: joined(facet, ([dimension, key, weight, lang]) => ({ dimension, key, weight, lang }))
      .map((each) => ({ ...each, weight: each.weight ?? '' })),
  };
  return Object.fromEntries(Object.entries(lists).filter(([, list]) => list.length > 0));
}

/** The shortest decimal number that single precision rounds to this value. */
function singleText(value) {
  for (let digits = 1; digits < 9; digits += 1) {
    const text = String(Number(value.toPrecision(digits)));
    if (Object.is(Math.fround(Number(text)), value)) return text;
  }
  return Object.is(value, -0) ? '-0' : String(value);
}

/** @param {import('./pack_reader.mjs').ShardRow[]} rows */
function placesText(rows) {
  const lines = rows.map(({ term, fields: [code, , , label, lang, countryLabel], weight }) =>
    [term, code, lang, singleText(weight), label, countryLabel].join('\t'));
  return [PLACES_COLUMNS.join('\t'), ...lines, ''].join('\n');
}

/** What the scenes of a patch's base are, as far as the rows of the patch show it. */
function scenesNamed({ scene, human }) {
  const none = ['', '', '', '', '', ''];
  const known = new Map(human.map(({ fields: [key] }) => [key, { tail: none, place: 'in the base' }]));
  for (const { fields } of scene) {
    if (Object.hasOwn(OVERRIDE_LISTS, fields[3] ?? '')) known.set(fields[0], { tail: fields.slice(5), place: 'in the base' });
  }
  for (const { fields } of scene) if (fields[3] === 'category') known.delete(fields[0]);
  return known;
}

/** The first row at which two lists differ, as text; undefined if they are the same. */
function difference(section, wanted, got) {
  const at = wanted.findIndex(({ term, fields }, i) => JSON.stringify([term, fields]) !== JSON.stringify([got[i]?.term, got[i]?.fields]));
  if (at < 0 && got.length === wanted.length) return undefined;
  return `row ${at + 1} of ${section}, ${JSON.stringify(wanted[at]?.term)}, cannot be said in a source, or not in this order`;
}

/**
 * Sources for the content of a pack.
 * @param {import('./pack_reader.mjs').PackContent} pack
 * @returns {{ files: { name: string, text: string }[], left: string[], needsBase: boolean }} `files`: in the order in which
 *   they have to be built; `left`: documents that sources do not make; `needsBase`: the data of scenes come from the base
 * @throws {Error} if no source makes these rows
 */
export function decompile({ metadata, documents, sections, shards }) {
  const hasIndex = documents.some(({ type }) => type === 'semantic-index');
  const lexicon = hasIndex ? [{ name: 'lexicon.json', text: `${JSON.stringify(lexiconOf(sections), null, 2)}\n` }] : [];
  const files = [...lexicon, ...shards.map(({ name, rows }) => ({ name: `${name}.tsv`, text: placesText(rows) }))];
  const scenes = metadata.kind === 'patch' ? scenesNamed(sections) : new Map();

  // What cannot be said shows when the sources are compiled: nothing else knows all rules.
  const compiled = compileTexts(files.map(({ name, text }) => ({ path: name, text })), { kind: metadata.kind, scenes });
  const fault = compiled.findings.find(({ warning }) => !warning);
  const wrong = (compiled.sections ?? []).map(({ type, rows }) => difference(type, sections[type], rows)).find(Boolean)
    ?? (fault ? `${fault.source.path} would say: ${fault.message}` : undefined);
  if (wrong) throw new Error(wrong);
  const isShard = ({ type, encoding }) => type === 'location-shard' && encoding === 2;
  const built = documentsOf(compiled).filter(({ type }) => type === 'location-shard');
  documents.filter(isShard).forEach(({ name, data }, i) => {
    if (!data.equals(/** @type {Uint8Array} */ (built[i].data))) throw new Error(`the rows of ${name} cannot be said in a source, or not in this order`);
  });
  const left = documents.filter((document) => document.type !== 'semantic-index' && !isShard(document));
  const needsBase = [...scenes.values()].some(({ tail }) => tail.some((text) => text !== ''));
  return { files, left: left.map(({ name }) => name), needsBase };
}
