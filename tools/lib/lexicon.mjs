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
import { JsonSyntaxError, parseJson } from './json.mjs';
import { compactTerm, formatFixed } from './text.mjs';

const MAX_FIELD_BYTES = 0xffff;
const TAG_SEPARATOR = '\x1e';

// Numbers that C's string-to-double conversion accepts in full, except for forms (hex, inf, nan) that are surely a mistake
// in a lexicon.
const NUMBER_TEXT = /^[+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?$/;

// A reader takes (reading, node) and returns a value, or undefined after a finding.

function describe(node) {
  return node.type === 'array' || node.type === 'object' ? `an ${node.type}` : node.type === 'null' ? 'null' : `a ${node.type}`;
}

function expect(reading, node, type, wanted = type === 'string' ? 'a string' : `an ${type}`) {
  if (node.type === type) return true;
  reading.error(node, `${describe(node)} stands where ${wanted} should be`);
  return false;
}

function text(reading, node) {
  if (!expect(reading, node, 'string')) return undefined;
  if (Buffer.byteLength(node.value) > MAX_FIELD_BYTES) {
    reading.error(node, `the string is longer than ${MAX_FIELD_BYTES} bytes`);
    return undefined;
  }
  return node.value;
}

function nonEmptyText(reading, node) {
  const value = text(reading, node);
  if (value === '') reading.error(node, 'the string is empty');
  return value || undefined;
}

function weight(reading, node) {
  if (node.type === 'number') {
    if (Number.isFinite(node.value)) return formatFixed(node.value);
    reading.error(node, 'the number is too large');
    return undefined;
  }
  if (!expect(reading, node, 'string', 'a number')) return undefined;
  if (node.value === '' || NUMBER_TEXT.test(node.value)) return node.value;
  reading.error(node, `${JSON.stringify(node.value)} is no number`);
  return undefined;
}

/** Alias strings, folded, each with its place. */
function aliases(reading, node) {
  if (!expect(reading, node, 'array')) return [];
  return node.children.flatMap((item) => {
    const value = text(reading, item);
    const term = value === undefined ? undefined : compactTerm(value);
    if (term === '') reading.error(item, 'the alias is blank');
    return term ? [{ term, written: value, node: item }] : [];
  });
}

/** An object whose property names are free and whose values are alias lists, in the order in which an engine walks it. */
function aliasGroups(reading, node) {
  if (!expect(reading, node, 'object')) return [];
  return Object.values(Object.fromEntries(node.children.map(({ children: [name, value] }) => [name.value, value]))).flatMap((group) =>
    aliases(reading, group),
  );
}

function tags(reading, node) {
  if (!expect(reading, node, 'array')) return undefined;
  const values = node.children.map((item) => {
    const value = text(reading, item);
    if (value?.includes(TAG_SEPARATOR)) reading.error(item, 'the byte 0x1e separates tags and cannot stand in one');
    return value;
  });
  return values.join(TAG_SEPARATOR);
}

function curatedSection(reading, node) {
  const value = text(reading, node);
  if (value !== undefined && value !== 'location') {
    reading.error(node, 'a lexicon holds the section "location" alone: places of other sections stand in .tsv sources');
  }
  return value;
}

/** A list of objects of one shape. */
function listOf(shape) {
  return (reading, node) => {
    if (!expect(reading, node, 'array')) return [];
    return node.children.flatMap((item) => readObject(reading, item, shape) ?? []);
  };
}

const DETAIL = { properties: { label: text, zh: aliases, en: aliases } };
const CATEGORY = {
  required: ['key'],
  properties: {
    key: nonEmptyText,
    label: text,
    archiveLabel: text,
    archiveCode: text,
    icon: text,
    defaultDetail: text,
    priority: weight,
    zh: aliases,
    aliases,
    keywords: aliases,
    en: aliases,
    details: listOf(DETAIL),
  },
};
const OVERRIDE = {
  required: ['sceneKey'],
  properties: { sceneKey: nonEmptyText, detailLabel: text, zh: aliases, en: aliases },
};
const HUMAN = { required: ['sceneKey'], properties: { sceneKey: text, detail: text, zh: aliases, en: aliases } };
const FACET = {
  required: ['dimension', 'key'],
  properties: { dimension: nonEmptyText, key: nonEmptyText, weight, zh: aliases, en: aliases },
};
const CELEBRITY = {
  required: ['id', 'name'],
  properties: {
    id: nonEmptyText,
    name: nonEmptyText,
    kind: text,
    region: text,
    photoKey: text,
    priority: weight,
    tags,
    aliases: aliasGroups,
  },
};
const LOCATION = {
  required: ['code', 'label'], // places are looked up by their label: without one, a row is never found
  properties: {
    section: curatedSection,
    code: nonEmptyText,
    source: text,
    weight,
    label: nonEmptyText,
    countryLabel: text,
    zh: aliases,
    en: aliases,
  },
};
const OVERRIDE_KINDS = [
  ['shortTitleOverrides', 'short'],
  ['compoundOverrides', 'compound'],
  ['conflictOverrides', 'conflict'],
];
const LEXICON = {
  properties: {
    categories: listOf(CATEGORY),
    ...Object.fromEntries(OVERRIDE_KINDS.map(([property]) => [property, listOf(OVERRIDE)])),
    humans: listOf(HUMAN),
    facets: listOf(FACET),
    celebrities: listOf(CELEBRITY),
    locations: listOf(LOCATION),
  },
};

/** Whether two names differ by one slip: a letter too many, too few or wrong, two swapped, or upper and lower case. */
function isNearlyThe(name, known) {
  const a = name.toLowerCase();
  const b = known.toLowerCase();
  if (Math.abs(a.length - b.length) > 1) return false;
  let start = 0;
  while (start < a.length && a[start] === b[start]) start += 1;
  const restA = a.slice(start);
  const restB = b.slice(start);
  const swapped = restA.slice(1, 2) + restA.slice(0, 1) + restA.slice(2);
  return restA.slice(1) === restB.slice(1) || restA.slice(1) === restB || restA === restB.slice(1) || swapped === restB;
}

/**
 * Reads an object of a shape: `{ values, nodes, node }` with the values and value nodes of the known properties, or
 * undefined if it is no object or lacks a required property.
 */
function readObject(reading, node, { required = [], properties }) {
  if (!expect(reading, node, 'object')) return undefined;
  const values = {};
  const nodes = {};
  for (const { offset, children: [{ value: name }, member] } of node.children) {
    if (!Object.hasOwn(properties, name)) {
      const near = Object.keys(properties).find((known) => isNearlyThe(name, known));
      reading.error({ offset }, `unknown property ${JSON.stringify(name)}${near ? `; is "${near}" meant?` : ''}`);
    } else if (Object.hasOwn(nodes, name)) {
      reading.error({ offset }, `the property "${name}" stands twice; the first is at ${reading.place(nodes[name])}`);
    } else {
      nodes[name] = member;
      values[name] = properties[name](reading, member);
    }
  }
  const missing = required.filter((name) => !Object.hasOwn(nodes, name));
  for (const name of missing) reading.error(node, `the property "${name}" is missing`);
  // A required property with a wrong value already has its finding; the object would only cause more of them.
  return required.every((name) => values[name] !== undefined) ? { values, nodes, node, reading } : undefined;
}

/**
 * Lays out the rows of parsed lexicons, section by section. `reportUnknownScene` is called with each override and
 * phrase that names a scene without a category row.
 */
function layOut(lexicons, reportUnknownScene) {
  /** @type {Record<string, { term: string, fields: string[] }[]>} */
  const rows = Object.fromEntries(SECTION_NAMES.map((name) => [name, []]));
  const firstPlaces = new Map();

  function add(section, { term, node }, reading, fields, identity = fields) {
    const key = JSON.stringify([section, term, identity]);
    const first = firstPlaces.get(key);
    if (first) {
      reading.warning(node, `the alias ${JSON.stringify(term)} is hidden by the one at ${first.reading.place(first.node)}`);
    } else {
      firstPlaces.set(key, { reading, node });
    }
    rows[section].push({ term, fields });
  }
  const each = (property, visit) => lexicons.forEach((lexicon) => lexicon.values[property]?.forEach(visit));

  const tails = new Map(); // scene key -> { tail, place } of its first row of the kind "category"
  each('categories', ({ values, nodes, reading }) => {
    const { key, label = '', archiveLabel = '', archiveCode = '', icon = '', defaultDetail = '', priority = '' } = values;
    const tail = [label, archiveLabel, archiveCode, icon, defaultDetail, priority];
    const native = ['zh', 'aliases', 'keywords'].flatMap((property) => values[property] ?? []);
    for (const alias of native) add('scene', alias, reading, [key, defaultDetail, priority, 'category', 'zh', ...tail]);
    for (const alias of values.en ?? []) add('scene', alias, reading, [key, defaultDetail, priority, 'category', 'en', ...tail]);
    for (const detail of values.details ?? []) {
      for (const lang of ['zh', 'en']) {
        for (const alias of detail.values[lang] ?? []) {
          add('scene', alias, reading, [key, detail.values.label ?? '', priority, 'detail', lang, ...tail]);
        }
      }
    }
    const first = tails.get(key);
    if (!first) {
      if (native.length + (values.en?.length ?? 0) > 0) tails.set(key, { tail, place: reading.place(nodes.key) });
    } else if (JSON.stringify(first.tail) !== JSON.stringify(tail)) {
      reading.warning(nodes.key, `the scene ${JSON.stringify(key)} has other labels or another priority than at ${first.place}`);
    }
  });
  // A scene may be spread over several categories and sources, so this is known only after the last.
  each('categories', ({ values: { key }, nodes, reading }) => {
    if (tails.has(key)) return;
    reading.warning(nodes.key, `the scene ${JSON.stringify(key)} has no alias of its own, so nothing can be derived from it`);
  });

  for (const [property, rowKind] of OVERRIDE_KINDS) {
    each(property, (override) => {
      const { sceneKey, detailLabel = '', ...lists } = override.values;
      if (!tails.has(sceneKey)) reportUnknownScene(override);
      const tail = tails.get(sceneKey)?.tail ?? ['', '', '', '', '', ''];
      for (const lang of ['zh', 'en']) {
        for (const alias of lists[lang] ?? []) {
          add('scene', alias, override.reading, [sceneKey, detailLabel, '0', rowKind, lang, ...tail]);
        }
      }
    });
  }

  each('humans', (human) => {
    const { sceneKey, detail = '', zh = [], en = [] } = human.values;
    if (sceneKey !== '' && !tails.has(sceneKey)) reportUnknownScene(human);
    for (const alias of zh) {
      if (/^[a-z0-9]*$/.test(alias.term)) {
        human.reading.warning(alias.node, 'a phrase of plain letters is looked for in English readings; it belongs under "en"');
      }
      add('human', alias, human.reading, [sceneKey, detail]);
    }
    for (const alias of en) add('human', alias, human.reading, [sceneKey, detail, 'en']);
  });

  each('celebrities', ({ values, nodes, reading }) => {
    const { id, name, kind: profession = '', region = '', priority = '', photoKey = '', tags: joined = '' } = values;
    const fields = [id, name, profession, region, priority, photoKey, joined];
    const term = compactTerm(name);
    if (term === '') reading.error(nodes.name, 'the name is blank');
    for (const alias of [{ term, node: nodes.name }, ...(values.aliases ?? [])]) add('celebrity', alias, reading, fields);
  });

  each('locations', ({ values, reading }) => {
    const { code, source = 'location', weight: number = '0', label, countryLabel = '' } = values;
    for (const lang of ['zh', 'en']) {
      for (const alias of values[lang] ?? []) {
        add('location', alias, reading, [code, source, number, label, lang, countryLabel]);
      }
    }
  });

  each('facets', ({ values, reading }) => {
    const { dimension, key, weight: number = '0' } = values;
    for (const lang of ['zh', 'en']) {
      for (const alias of values[lang] ?? []) {
        // Facets are looked for literally; only identities also as whole words, which closes the gaps.
        if (dimension !== 'identity' && /[\0- ]/.test(alias.written)) {
          reading.warning(alias.node, `the facet alias is looked for as ${JSON.stringify(alias.term)}, without its blanks`);
        }
        add('facet', alias, reading, [dimension, key, number, lang], [dimension, key, lang]);
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
 * @param {'base' | 'patch'} [options.kind] overrides and phrases of a patch may name scenes of its base: a warning there,
 *   an error in a base pack
 * @param {boolean} [options.complete] false if there are more sources, which could not be read: no scene is unknown then
 * @returns {{ sections: { type: string, rows: { term: string, fields: string[] }[] }[],
 *   findings: import('./findings.mjs').Finding[] }} sections in the order of their types
 */
export function compileLexicons(sources, { kind = 'base', complete = true } = {}) {
  const findings = createFindings();
  const lexicons = sources.flatMap((source) => {
    const reading = {
      error: (node, message) => findings.error(source, node.offset, message),
      warning: (node, message) => findings.warning(source, node.offset, message),
      place: (node) => placeOf(source, node.offset),
    };
    try {
      return readObject(reading, parseJson(source.text), LEXICON) ?? [];
    } catch (error) {
      if (!(error instanceof JsonSyntaxError)) throw error;
      reading.error(error, error.message);
      return [];
    }
  });
  const rows = layOut(lexicons, ({ values, nodes, reading }) => {
    if (!complete || lexicons.length < sources.length) return; // the scene may be in a source that could not be read
    const report = kind === 'patch' ? reading.warning : reading.error;
    report(nodes.sceneKey, `no category with an alias has the key ${JSON.stringify(values.sceneKey)}`);
  });
  return { sections: SECTION_NAMES.map((type) => ({ type, rows: rows[type] })), findings: findings.list };
}
