// Writes the generated half of the sample from a folder of open data:
//
//   node scripts/make-sample.mjs DATA_FOLDER
//
// DATA_FOLDER holds places.tsv, vocabulary.tsv, titles.tsv and people.tsv (titles.tsv only tells everyday words here). What is taken and what is left out stands in
// sample/selection.json. The scene files and every other hand-written source are read (their aliases win, and the category
// data is copied from them) and never written. The same input gives the same bytes.

import { mkdirSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import stringWidth from 'string-width';
import englishReading from '../lib/english_reading.cjs';
import { compactTerm } from '../tools/index.mjs';
import { PLACES_COLUMNS } from '../tools/lib/places.mjs';

const root = join(dirname(fileURLToPath(import.meta.url)), '..');
const sample = join(root, 'sample');
const lexiconFolder = join(sample, 'lexicon');

const characters = (text) => [...text].length;
const readJson = (path) => JSON.parse(readFileSync(path, 'utf8'));
const byBytes = (a, b) => Buffer.compare(Buffer.from(a), Buffer.from(b));

/** @returns {Record<string, any>[]} */
function readTable(path) {
  const [header, ...lines] = readFileSync(path, 'utf8').replace(/\n$/, '').split('\n');
  const names = header.split('\t');
  return lines.map((line) => {
    const cells = line.split('\t');
    return Object.fromEntries(names.map((name, index) => [name, cells[index] ?? '']));
  });
}

function writeTable(path, columns, rows) {
  writeFileSync(path, [columns.join('\t'), ...rows.map((row) => columns.map((name) => row[name]).join('\t'))].join('\n') + '\n');
}

// ---- JSON with alias lists on wrapped lines

const LINE_WIDTH = 116;

function wrap(parts, indent) {
  const lines = [''];
  for (const part of parts) {
    const last = lines[lines.length - 1];
    if (last === '') lines[lines.length - 1] = part;
    else if (indent + stringWidth(last) + stringWidth(part) + 3 <= LINE_WIDTH) lines[lines.length - 1] = `${last}, ${part}`;
    else lines.push(part);
  }
  return lines;
}

function format(value, depth = 0) {
  if (value === null || typeof value !== 'object') return JSON.stringify(value);
  const inner = '  '.repeat(depth + 1);
  const outer = '  '.repeat(depth);
  if (Array.isArray(value) && value.every((item) => typeof item !== 'object')) {
    const lines = wrap(value.map((item) => JSON.stringify(item)), inner.length);
    if (lines.length === 1) return `[${lines[0]}]`;
    return `[\n${lines.map((line) => inner + line).join(',\n')}\n${outer}]`;
  }
  const parts = Array.isArray(value)
    ? value.map((item) => format(item, depth + 1))
    : Object.entries(value).map(([name, item]) => `${JSON.stringify(name)}: ${format(item, depth + 1)}`);
  const [open, close] = Array.isArray(value) ? '[]' : '{}';
  const flat = `${open} ${parts.join(', ')} ${close}`;
  if (depth >= 2 && !flat.includes('\n') && outer.length + stringWidth(flat) <= LINE_WIDTH) return flat;
  return `${open}\n${parts.map((part) => inner + part).join(',\n')}\n${outer}${close}`;
}

const writeJson = (path, value) => writeFileSync(path, format(value) + '\n');

// ---- Vocabulary: names of dishes, shops, sports, animals, brands, kin

function readHandWritten() {
  const scenes = new Map();
  const taken = new Set();
  const note = (list) => list?.forEach((alias) => taken.add(compactTerm(alias)));
  for (const name of readdirSync(lexiconFolder).sort()) {
    if (!/^scene-.*\.json$/.test(name)) continue;
    for (const category of readJson(join(lexiconFolder, name)).categories) {
      scenes.set(category.key, category);
      for (const part of [category, ...category.details]) [part.zh, part.en].forEach(note);
    }
  }
  return { scenes, taken };
}

/** Terms of one concept that are worth having, as [lang, term] pairs. */
function pickTerms(terms, take, kin) {
  const of = (lang) => terms.filter((row) => row.lang === lang).map((row) => row.term);
  const long = of('zh').filter((term) => characters(term) >= 3);
  const tag = (lang, list) => list.map((term) => [lang, term]);
  // Presets name a thing with capitals ("Pawn Shop / Pawnbroker"); what is written in small letters is only related to it.
  const presetNames = of('en').filter((term) => /^[A-Z]/.test(term)).flatMap((term) => term.split(' / '));
  switch (take) {
    case 'dishes': return tag('zh', of('zh'));
    case 'zh': return tag('zh', of('zh'));
    case 'all': return [...tag('zh', of('zh')), ...tag('en', presetNames)];
    case 'names': return [...tag('zh', long), ...tag('en', presetNames)];
    case 'emoji': return [...tag('zh', long), ...tag('en', of('en').slice(-1))]; // the name of an emoji comes last
    case 'brands': return [...tag('zh', long), ...tag('en', of('en').filter((term) => /^[\w'&. -]+ [\w'&. -]+$/.test(term)))];
    case 'kin': return tag('zh', of('zh').filter((term) => kin.test(term)));
    default: throw new Error(`selection.json: "${take}" is no way to take terms`);
  }
}

/** The lists of both languages in a stable order, without those that are empty. */
function sorted(lists) {
  return Object.fromEntries(Object.entries(lists).filter(([, list]) => list.length > 0).map(([lang, list]) => [lang, list.sort(byBytes)]));
}

function makeVocabulary(dataFolder, { rules, kin, exclude }) {
  const { scenes, taken } = readHandWritten();
  const compiled = rules.map((rule) => ({
    ...rule,
    subgroup: new RegExp(rule.subgroup ?? ''),
    match: new RegExp(rule.match ?? ''),
  }));
  const kinPattern = new RegExp(kin);
  const excluded = { zh: new Set(exclude.zh.map(compactTerm)), en: new Set(exclude.en.map(compactTerm)) };
  const concepts = new Map();
  for (const row of readTable(join(dataFolder, 'vocabulary.tsv'))) {
    const id = `${row.group}\t${row.subgroup}\t${row.key}`;
    if (!concepts.has(id)) concepts.set(id, []);
    concepts.get(id).push(row);
  }
  const found = new Map(); // scene -> detail ("" for the scene itself) -> { zh, en }
  for (const terms of concepts.values()) {
    const [{ group, subgroup }] = terms;
    const rule = compiled.find(
      (r) => r.group === group && r.subgroup.test(subgroup) && terms.some((row) => r.match.test(row.term)),
    );
    if (!rule || rule.skip) continue;
    const category = scenes.get(rule.scene);
    if (rule.detail && !category.details.some((detail) => detail.label === rule.detail)) {
      throw new Error(`selection.json: the scene "${rule.scene}" has no detail "${rule.detail}"`);
    }
    for (const [lang, raw] of pickTerms(terms, rule.take, kinPattern)) {
      const term = raw.trim();
      // English as the reading of a title has it: without the marks that no reading holds.
      const written = lang === 'en' ? englishReading(term) : term;
      const folded = compactTerm(written);
      const wellFormed = lang === 'zh' ? /^[\u4e00-\u9fff·]{2,}$/.test(term) : /^[A-Za-z][A-Za-z0-9'& -]{2,}$/.test(term);
      if (!wellFormed || taken.has(folded) || excluded[lang].has(folded) || excluded[lang].has(compactTerm(term))) continue;
      taken.add(folded);
      const details = found.get(rule.scene) ?? found.set(rule.scene, new Map()).get(rule.scene);
      const lists = details.get(rule.detail ?? '') ?? details.set(rule.detail ?? '', { zh: [], en: [] }).get(rule.detail ?? '');
      lists[lang].push(written);
    }
  }
  const categories = [...scenes.values()].filter(({ key }) => found.has(key)).map((category) => {
    const { key, label, archiveLabel, archiveCode, icon, defaultDetail, priority, details } = category;
    const lists = found.get(key);
    const own = lists.get('') ?? { zh: [], en: [] };
    return {
      key, label, archiveLabel, archiveCode, icon, defaultDetail, priority,
      ...sorted(own),
      details: details.filter((detail) => lists.has(detail.label)).map((detail) => ({
        label: detail.label,
        ...sorted(lists.get(detail.label)),
      })),
    };
  });
  writeJson(join(lexiconFolder, 'vocabulary.json'), { categories });
  return [...found.values()].flatMap((m) => [...m.values()]).reduce((n, l) => n + l.zh.length + l.en.length, 0);
}

// ---- People of the open lists

function makePeople(dataFolder, { excludeKinds, artists, noKind, exclude }) {
  const curated = readJson(join(lexiconFolder, 'celebrities.json')).celebrities;
  const taken = new Set(curated.flatMap((p) => [p.name, ...Object.values(p.aliases ?? {}).flat()]).map(compactTerm));
  const ids = new Set(curated.map((person) => person.id));
  const excluded = new Set(exclude.map(compactTerm));
  // Names are looked for as plain substrings of a text without blanks: a short one would occur inside other words.
  const usable = (name) => /^[A-Z][A-Za-z.'-]*( [A-Za-z.'-]+)+$/.test(name) && compactTerm(name).length >= 10 && !excluded.has(compactTerm(name));
  const celebrities = [];
  for (const row of readTable(join(dataFolder, 'people.tsv'))) {
    if (excludeKinds.includes(row.kind) || ids.has(row.id)) continue;
    if (!usable(row.name_en) || taken.has(compactTerm(row.name_en))) continue;
    taken.add(compactTerm(row.name_en));
    const aliases = row.aliases.split('|').filter((alias) => usable(alias) && !taken.has(compactTerm(alias)) && taken.add(compactTerm(alias)));
    celebrities.push({
      id: row.id,
      name: row.name_en,
      ...(noKind.includes(row.kind) ? {} : { kind: artists.includes(row.kind) ? 'artist' : row.kind }),
      region: row.region,
      priority: '1',
      ...(aliases.length > 0 ? { aliases: { en: aliases } } : {}),
    });
  }
  celebrities.sort((a, b) => byBytes(a.id, b.id));
  const lines = celebrities.map((person) => `    ${JSON.stringify(person)}`);
  writeFileSync(join(lexiconFolder, 'people.json'), `{\n  "celebrities": [\n${lines.join(',\n')}\n  ]\n}\n`);
  return celebrities.length;
}

// ---- Places: one table a region

const CHINA = new Set(['CN', 'HK', 'MO', 'TW']);
const EUROPE = new Set(
  ('AD AL AT BA BE BG BY CH CY CZ DE DK EE ES FI FO FR GB GG GI GR HR HU IE IM IS IT JE LI LT LU LV MC MD ME MK MT NL NO ' +
    'PL PT RO RS RU SE SI SJ SK SM UA VA XK').split(' '),
);
const ASIA = new Set(
  'AE AM AZ BD BH BN BT GE ID IL IN IQ IR JO JP KG KH KP KR KW KZ LA LB LK MM MN MV MY NP OM PH PK PS QA SA SG SY TH TJ TL TM TR UZ VN YE'.split(' '),
);

/**
 * The table that a place belongs to. Rows of the tables "us", "eu" and "asia" speak only in titles that show signs of the
 * region, which keeps English towns with everyday names quiet; a Chinese name needs no such caution and goes to a table that
 * is always searched.
 * @param {Record<string, string>} place
 * @param {string} lang
 */
function tableOf({ code, kind }, lang) {
  const country = code.slice(0, 2);
  if (lang === 'zh') {
    if (kind === 'country') return 'base';
    return CHINA.has(country) ? 'cn' : 'world';
  }
  if (kind === 'country') return 'world';
  if (CHINA.has(country)) return 'cn';
  if (country === 'US') return 'us';
  if (EUROPE.has(country)) return 'eu';
  if (ASIA.has(country)) return 'asia';
  return 'world';
}

function makePlaces(dataFolder, { shortNames, exclude }, everydayWords) {
  const excluded = { zh: new Set(exclude.zh), en: new Set(exclude.en.map(compactTerm)) };
  const wellKnown = new Set(shortNames);
  /** @type {Record<string, (row: any, table: string) => boolean>} */
  const isUsable = {
    zh({ alias, label, kind, weight }) {
      const length = characters(alias);
      if (!/^[\u4e00-\u9fff·]+$/.test(alias) || length < 2 || excluded.zh.has(alias)) return false;
      // A native row is looked up by the first character of its label.
      if (!label.startsWith([...alias][0])) return false;
      switch (kind) {
        // The short names of counties and towns are too often words of everyday life (和平, 解放, 公安).
        case 'county': return length >= 3 || wellKnown.has(alias);
        case 'town': return length >= 3 && /[镇乡]$/.test(alias) && !everydayWords.zh.has(alias.slice(0, -1));
        case 'city': return weight >= (length < 3 ? 0.7 : 0.5);
        default: return true;
      }
    },
    en({ alias, kind, weight }, table) {
      // An English row is looked up by single words of the reading: a name with a blank could never be found here.
      // A hyphen in it would be one: a reading has none.
      if (!/^(?=.{4})[A-Z][A-Za-z]*(?:'[A-Za-z]+)*$/.test(alias) || excluded.en.has(compactTerm(alias)) || everydayWords.en.has(compactTerm(alias))) return false;
      if (kind === 'country' || kind === 'capital') return true;
      return weight >= { cn: 0.6, us: 0.5, eu: 0.5, asia: 0.6, world: 0.7 }[table];
    },
  };
  const tables = { base: new Map(), cn: new Map(), us: new Map(), eu: new Map(), asia: new Map(), world: new Map() };
  for (const row of readTable(join(dataFolder, 'places.tsv'))) {
    const lang = row.englishFlag === '1' ? 'en' : 'zh';
    const table = tableOf(row, lang);
    const weight = Number(row.weight);
    if (!isUsable[lang]({ ...row, weight }, table)) continue;
    // The code of the country: a title that names a town and its country then names one place, and twenty towns of the
    // same name in as many provinces are one candidate.
    const code = row.code.slice(0, 2);
    const id = `${compactTerm(row.alias)}\t${code}`;
    const known = tables[table].get(id);
    if (known && Number(known.weight) >= weight) continue;
    tables[table].set(id, { alias: row.alias, code, lang, weight: row.weight, label: row.label, countryLabel: row.countryLabel });
  }
  mkdirSync(join(sample, 'places'), { recursive: true });
  const counts = {};
  for (const [name, found] of Object.entries(tables)) {
    const rows = [...found.values()].sort((a, b) => byBytes(a.code, b.code) || byBytes(a.alias, b.alias));
    writeTable(join(sample, 'places', `location-${name}.tsv`), PLACES_COLUMNS, rows);
    counts[name] = rows.length;
  }
  return counts;
}

/** Words of the open vocabulary and of titles, which no small town may claim. */
function everydayWordsOf(dataFolder) {
  const words = { zh: new Set(), en: new Set() };
  for (const { term, lang, src } of readTable(join(dataFolder, 'vocabulary.tsv'))) {
    if (lang === 'zh') words.zh.add(term);
    else if (src !== 'nsi') for (const word of term.toLowerCase().split(/[^a-z']+/)) words.en.add(word);
  }
  for (const row of readTable(join(dataFolder, 'titles.tsv'))) {
    for (const word of row.en.split(/[^A-Za-z']+/)) if (/^[a-z]/.test(word)) words.en.add(word);
  }
  for (const row of readTable(join(dataFolder, 'people.tsv'))) {
    for (const word of row.name_en.toLowerCase().split(/[^a-z']+/)) words.en.add(word);
  }
  return words;
}

// ---- Command line

const [dataFolder, ...rest] = process.argv.slice(2);
if (!dataFolder || rest.length > 0) {
  process.stderr.write('usage: node scripts/make-sample.mjs DATA_FOLDER\n');
  process.exit(2);
}
const selection = readJson(join(sample, 'selection.json'));
const vocabulary = makeVocabulary(dataFolder, selection.vocabulary);
const people = makePeople(dataFolder, selection.people);
const places = makePlaces(dataFolder, selection.places, everydayWordsOf(dataFolder));
process.stdout.write(`${JSON.stringify({ vocabulary, people, places })}\n`);
