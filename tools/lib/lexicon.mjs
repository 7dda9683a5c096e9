// Lexicon sources: JSON documents that become the rows of a binary index. The scene and celebrity parts have the shapes of
// the options "sceneOverlay" and "celebrityOverlay" of the addon and give the rows that those options give, so that what an
// application passes at run time can be compiled as it is. What the addon drops silently is a finding here.
//
// The fields of a row, by section:
//   scene      key, detail, row priority, kind, lang, label, archive label, archive code, icon, default detail, priority
//   human      scene key ("" vetoes any scene), detail; "en" as a third for the phrases under "en"
//   celebrity  id, name, kind, region, priority, photo key, tags (joined with the byte 0x1E)
//   location   code, source, weight, label, lang, country label
//   facet      dimension, key, weight, lang

import { SECTION_NAMES } from './binary_index.mjs';
import { createFindings, placeOf } from './findings.mjs';
import { JsonSyntaxError, parseJson, repeatedProperties, valueOf } from './json.mjs';
import { shapeFaults } from './schema.mjs';
import { compactTerm, formatFixed } from './text.mjs';

const TAG_SEPARATOR = '\x1e';
const OVERRIDE_KINDS = [
  ['shortTitleOverrides', 'short'],
  ['compoundOverrides', 'compound'],
  ['conflictOverrides', 'conflict'],
];

/**
 * One row of a section.
 * @typedef {object} LexiconRow
 * @property {string} term folded
 * @property {string[]} fields
 * @property {string} written the alias as it stands in the source
 * @property {import('./findings.mjs').Source} source
 * @property {number} offset of the alias in its source
 */

/** An object of a lexicon that has the right shape, and ways to what is in it. */
function entryOf(node, reading) {
  const nodes = Object.fromEntries(node.children.map(({ children: [name, member] }) => [name.value, member]));
  const aliasesIn = (list) => list.children.map((item) => ({ term: compactTerm(item.value), written: item.value, node: item }));
  return {
    nodes,
    reading,
    text: (name, otherwise = '') => nodes[name]?.value ?? otherwise,
    number(name, otherwise = '') {
      const value = nodes[name]?.value ?? otherwise;
      return typeof value === 'number' ? formatFixed(value) : value;
    },
    aliases: (name) => (nodes[name] ? aliasesIn(nodes[name]) : []),
    entries: (name) => (nodes[name]?.children ?? []).map((child) => entryOf(child, reading)),
    // In the order in which an engine walks the properties: numbers first.
    aliasGroups(name) {
      const groups = Object.fromEntries((nodes[name]?.children ?? []).map(({ children: [key, list] }) => [key.value, list]));
      return Object.values(groups).flatMap(aliasesIn);
    },
  };
}

/**
 * Reads one lexicon. What has the wrong shape is a finding and left out, entry by entry.
 * @param {import('./findings.mjs').Source} source
 * @returns {{ listOf: (property: string) => ReturnType<typeof entryOf>[], complete: boolean }} `complete`: no scene is missing
 */
function readLexicon(source, findings) {
  const reading = {
    error: (node, message) => findings.error(source, node.offset, message),
    warning: (node, message, rule) => findings.warning(source, node.offset, message, rule),
    place: (node) => placeOf(source, node.offset),
    source,
  };
  const none = { listOf: () => [], complete: false };
  let root;
  try {
    root = parseJson(source.text);
  } catch (error) {
    if (!(error instanceof JsonSyntaxError)) throw error;
    reading.error(error, error.message);
    return none;
  }
  for (const { name, offset, first } of repeatedProperties(root)) {
    reading.error({ offset }, `the property "${name}" stands twice; the first is at ${reading.place(first)}`);
  }
  const faults = shapeFaults(root, valueOf(root));
  for (const fault of faults) reading.error(fault, fault.message);
  if (root.type !== 'object') return none;
  const lists = entryOf(root, reading).nodes;
  const faulty = new Set(faults.flatMap(({ path }) => path.slice(1)));
  return {
    listOf: (property) => (lists[property]?.type === 'array' ? lists[property].children : [])
      .filter((node) => !faulty.has(node)).map((node) => entryOf(node, reading)),
    complete: faults.every(({ path }) => path.length > 1 && path[1] !== lists.categories),
  };
}

/** @param {ReturnType<typeof entryOf>} entry */
function warnOfNoAlias({ nodes, aliases, reading, text }, what, name) {
  if (aliases('zh').length + aliases('en').length > 0) return;
  reading.warning(nodes[name], `the ${what} ${JSON.stringify(text(name))} has no alias, so nothing finds it`, 'no-alias');
}

/**
 * Lays out the rows of lexicons, section by section. `scenes` holds what is known of each scene and is added to;
 * `reportUnknownScene` is called with each override and phrase that names a scene without a category row.
 */
function layOut(lexicons, scenes, reportUnknownScene) {
  /** @type {Record<string, LexiconRow[]>} */
  const rows = Object.fromEntries(SECTION_NAMES.map((name) => [name, []]));
  const firstPlaces = new Map();

  function add(section, { term, written, node }, reading, fields, identity = fields) {
    const key = JSON.stringify([section, term, identity]);
    const first = firstPlaces.get(key);
    if (first) {
      reading.warning(node, `the alias ${JSON.stringify(term)} is hidden by the one at ${first.reading.place(first.node)}`, 'duplicate');
    } else {
      firstPlaces.set(key, { reading, node });
    }
    rows[section].push({ term, fields, written, source: reading.source, offset: node.offset });
  }
  const each = (property, visit) => lexicons.forEach((lexicon) => lexicon.listOf(property).forEach(visit));

  each('categories', (category) => {
    const { nodes, reading } = category;
    const key = category.text('key');
    const [defaultDetail, priority] = [category.text('defaultDetail'), category.number('priority')];
    const tail = [...['label', 'archiveLabel', 'archiveCode', 'icon'].map((name) => category.text(name)), defaultDetail, priority];
    const native = ['zh', 'aliases', 'keywords'].flatMap((name) => category.aliases(name));
    const english = category.aliases('en');
    for (const alias of native) add('scene', alias, reading, [key, defaultDetail, priority, 'category', 'zh', ...tail]);
    for (const alias of english) add('scene', alias, reading, [key, defaultDetail, priority, 'category', 'en', ...tail]);
    for (const detail of category.entries('details')) {
      for (const lang of ['zh', 'en']) {
        for (const alias of detail.aliases(lang)) {
          add('scene', alias, reading, [key, detail.text('label'), priority, 'detail', lang, ...tail]);
        }
      }
    }
    const first = scenes.get(key);
    if (!first) {
      if (native.length + english.length > 0) scenes.set(key, { tail, place: `at ${reading.place(nodes.key)}` });
    } else if (JSON.stringify(first.tail) !== JSON.stringify(tail)) {
      reading.warning(nodes.key, `the scene ${JSON.stringify(key)} has other labels or another priority than ${first.place}`, 'scene-data');
    }
  });
  // A scene may be spread over several categories and sources, so this is known only after the last.
  each('categories', (category) => {
    const key = category.text('key');
    if (scenes.has(key)) return;
    category.reading.warning(category.nodes.key,
      `the scene ${JSON.stringify(key)} has no alias of its own, so nothing can be derived from it`, 'no-alias');
  });

  for (const [property, rowKind] of OVERRIDE_KINDS) {
    each(property, (override) => {
      const sceneKey = override.text('sceneKey');
      if (!scenes.has(sceneKey)) reportUnknownScene(override);
      const tail = scenes.get(sceneKey)?.tail ?? ['', '', '', '', '', ''];
      for (const lang of ['zh', 'en']) {
        for (const alias of override.aliases(lang)) {
          add('scene', alias, override.reading, [sceneKey, override.text('detailLabel'), '0', rowKind, lang, ...tail]);
        }
      }
    });
  }

  each('humans', (human) => {
    const [sceneKey, detail] = [human.text('sceneKey'), human.text('detail')];
    if (sceneKey !== '' && !scenes.has(sceneKey)) reportUnknownScene(human);
    for (const alias of human.aliases('zh')) {
      if (/^[a-z0-9]*$/.test(alias.term)) {
        human.reading.warning(alias.node, 'a phrase of plain letters is looked for in English readings; it belongs under "en"',
          'wrong-language');
      }
      add('human', alias, human.reading, [sceneKey, detail]);
    }
    for (const alias of human.aliases('en')) add('human', alias, human.reading, [sceneKey, detail, 'en']);
  });

  each('celebrities', (person) => {
    const [id, name, kind, region, photoKey] = ['id', 'name', 'kind', 'region', 'photoKey'].map((each) => person.text(each));
    const tags = (person.nodes.tags?.children ?? []).map(({ value }) => value).join(TAG_SEPARATOR);
    const fields = [id, name, kind, region, person.number('priority'), photoKey, tags];
    const first = { term: compactTerm(name), written: name, node: person.nodes.name };
    for (const alias of [first, ...person.aliasGroups('aliases')]) add('celebrity', alias, person.reading, fields);
  });

  each('locations', (place) => {
    warnOfNoAlias(place, 'place', 'label');
    const fields = [place.text('code'), place.text('source', 'location'), place.number('weight', '0'), place.text('label')];
    for (const lang of ['zh', 'en']) {
      for (const alias of place.aliases(lang)) add('location', alias, place.reading, [...fields, lang, place.text('countryLabel')]);
    }
  });

  each('facets', (facet) => {
    const [dimension, key] = [facet.text('dimension'), facet.text('key')];
    warnOfNoAlias(facet, 'facet', 'key');
    for (const lang of ['zh', 'en']) {
      for (const alias of facet.aliases(lang)) {
        // Facets are looked for literally; only identities also as whole words, which closes the gaps.
        if (dimension !== 'identity' && /[\0- ]/.test(alias.written)) {
          facet.reading.warning(alias.node, `the facet alias is looked for as ${JSON.stringify(alias.term)}, without its blanks`, 'facet-blank');
        }
        add('facet', alias, facet.reading, [dimension, key, facet.number('weight', '0'), lang], [dimension, key, lang]);
      }
    }
  });
  return rows;
}

/**
 * Compiles lexicon sources into the sections of a binary index.
 *
 * The rows are ordered as if all sources were one document with their lists joined: first all categories, then the
 * short, the compound and the conflict overrides. Aliases are folded with `compactTerm`; numbers are printed as by "%f".
 *
 * @param {import('./findings.mjs').Source[]} sources
 * @param {object} [options]
 * @param {'base' | 'patch'} [options.kind] overrides and phrases of a patch may name scenes of its base: a warning
 *   if those are not known, an error otherwise
 * @param {boolean} [options.complete] false if there are more sources, which could not be read: no scene is unknown then
 * @param {Map<string, { tail: string[], place: string }>} [options.scenes] the scenes of the base of a patch: the last six
 *   fields of their rows, and where they are from
 * @returns {{ sections: { type: string, rows: LexiconRow[] }[], findings: import('./findings.mjs').Finding[] }} sections in
 *   the order of their types
 */
export function compileLexicons(sources, { kind = 'base', complete = true, scenes = new Map() } = {}) {
  const findings = createFindings();
  const lexicons = sources.map((source) => readLexicon(source, findings));
  const allRead = complete && lexicons.every((lexicon) => lexicon.complete);
  const certain = kind === 'base' || scenes.size > 0;
  const rows = layOut(lexicons, new Map(scenes), (entry) => {
    if (!allRead) return; // the scene may be in what could not be read
    const message = `no category with an alias has the key ${JSON.stringify(entry.text('sceneKey'))}`;
    (certain ? entry.reading.error : entry.reading.warning)(entry.nodes.sceneKey, message);
  });
  return { sections: SECTION_NAMES.map((type) => ({ type, rows: rows[type] })), findings: findings.list };
}
