// The packs of the benchmarks. Made once, then found in build/bench: a million rows take a minute to make.
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readFileSync, renameSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

import {
  buildBinaryIndex, buildLocationShard, buildPack, buildPayload, INDEX_DOCUMENT_NAME,
} from '../../tools/index.mjs';
import { makeSectionTerms, sectionRows, shardEntries, splitPlaces } from './generator.mjs';
import { readRealData } from './real_data.mjs';

const cacheFolder = fileURLToPath(new URL('../../build/bench/', import.meta.url));
/** Raised whenever the generator changes: older files are not taken then. */
const GENERATION = 1;
const SEED = 20261122;

/** Writes what nobody can read half-written: two benchmarks may make the same pack at once. */
function writeWhole(path, data) {
  const partial = `${path}.${process.pid}`;
  writeFileSync(partial, data);
  renameSync(partial, path);
}

/** Writes a pack beside a note of what is in it; gives the note. */
function writePack(path, { sections, shards, terms }) {
  const index = buildBinaryIndex({
    sections: Object.entries(sections).map(([type, { rows, count }]) => ({ type, rows, termCount: count })),
    sourceDocumentCount: 1,
  });
  const documents = [{ type: 8, encoding: 2, name: INDEX_DOCUMENT_NAME, data: index },
    ...Object.entries(shards).map(([name, { entries, count }]) =>
      ({ type: 6, encoding: 2, name, data: buildLocationShard(entries, { aliasCount: count }) }))];
  const payload = buildPayload(documents);
  const pack = buildPack({ ruleSetId: 'bench', payload, compression: 'lz4-block-v1' });
  const rows = Object.fromEntries(Object.entries(sections).map(([type, { count }]) => [type, count]));
  const shardRows = Object.values(shards).reduce((sum, { rowCount }) => sum + rowCount, 0);
  const note = { payloadBytes: payload.length, packBytes: pack.length, rows: { ...rows, shards: shardRows },
    rowCount: Object.values(rows).reduce((sum, count) => sum + count, shardRows) };
  if (terms) writeWhole(`${path}.terms`, JSON.stringify(terms));
  writeWhole(path, pack);
  writeWhole(`${path}.json`, JSON.stringify(note));
  return note;
}

/** The pack `name`, made by `make` if it is not there: where it is, and the note that `writePack` gives. */
function cachedPack(name, make) {
  mkdirSync(cacheFolder, { recursive: true });
  const path = join(cacheFolder, `${name}-${GENERATION}.klrx`);
  const note = existsSync(`${path}.json`) ? JSON.parse(readFileSync(`${path}.json`, 'utf8')) : writePack(path, make());
  return { packPath: path, allowedRoot: cacheFolder, ...note };
}

/** The rows of a generated lexicon, as iterables that can be read once. */
export function lexiconRows(terms) {
  const places = splitPlaces(terms.place);
  const section = (name, list) => ({ rows: sectionRows(name, list), count: list.length });
  const shard = (list) => ({ entries: shardEntries(list), count: list.length, rowCount: list.length });
  return {
    sections: {
      scene: section('scene', terms.scene), human: section('human', terms.human), facet: section('facet', terms.facet),
      celebrity: section('celebrity', terms.celebrity), location: section('place', places.location),
    },
    shards: { 'location-world': shard(places['location-world']), 'location-cn': shard(places['location-cn']) },
  };
}

const generated = (count, shared) => cachedPack(`${shared ? 'shared' : 'own'}-${count}`, () => {
  const terms = makeSectionTerms({ count, shared, seed: SEED });
  return { ...lexiconRows(terms), terms };
});

/** A generated pack with `count` rows a section, for those that only load it. */
export const packFile = (count) => generated(count, false);

/** The same with `terms`, what is written in titles: { scene: […], … }. */
export function generatedPack(count, { shared = false } = {}) {
  const pack = generated(count, shared);
  return { ...pack, terms: JSON.parse(readFileSync(`${pack.packPath}.terms`, 'utf8')) };
}

/** The pack of real data: `folder` as `--data` names it, or null for the sample of this repository. */
export function realPack(folder) {
  const data = readRealData(folder);
  // The sample is part of both, and is edited: rows that changed are another pack.
  const hash = createHash('sha256');
  for (const { rows } of Object.values(data.sections)) for (const row of rows) hash.update(JSON.stringify(row));
  for (const { entries } of Object.values(data.shards)) for (const entry of entries) hash.update(JSON.stringify(entry));
  const digest = hash.digest('hex').slice(0, 16);
  const pack = cachedPack(`${folder ? 'real' : 'sample'}-${digest}`, () => data);
  return { ...data, ...pack };
}
