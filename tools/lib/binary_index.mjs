// The binary index "SIX1": the rows of a pack. All integers are little-endian.
//
//   header    magic "SIX1", u16 version 3, u16 section count 5, u32 source document count (not 0), u32 reserved
//   section   u8 type, u8 reserved, u16 format 1, u32 term count, u32 body length, u32 reserved, body
//   term      u16 length (not 0), text, u16 field count, then for each field u16 length, text
//
// Each of the five types stands exactly once, in any order; nothing comes after the fifth section.

import { ByteWriter } from './byte_writer.mjs';

/**
 * The rows of one section. The values after the first two properties are for making documents that a reader must refuse;
 * left out, they are what a sound document has.
 * @typedef {object} IndexSection
 * @property {number | string} type a name, or 1 to 5 (0 to 255 are written)
 * @property {readonly { term: string | Uint8Array, fields?: readonly (string | Uint8Array)[] }[]} [rows] taken as they are:
 *   terms should be folded with `compactTerm`
 * @property {number} [sectionFormat] 1 by default
 * @property {number} [termCount] that of `rows` by default
 * @property {number} [bodyLength] that of `rows` by default
 */

/** The document name under which readers look for the index. */
export const INDEX_DOCUMENT_NAME = 'semantic-binary-index-v1';

/** Section names in the order of their type numbers, which begin at 1. */
export const SECTION_NAMES = Object.freeze(['scene', 'human', 'celebrity', 'location', 'facet']);

function sectionType(type) {
  if (typeof type === 'number') return type;
  const index = SECTION_NAMES.indexOf(type);
  if (index < 0) throw new RangeError(`section ${JSON.stringify(type)} is none of ${SECTION_NAMES.join(', ')}`);
  return index + 1;
}

/** Adds the sections that are not there, empty, in the order of their types. */
function withMissingSections(sections) {
  const present = new Set(sections.map((section) => sectionType(section.type)));
  const missing = SECTION_NAMES.filter((_, index) => !present.has(index + 1));
  return [...sections, ...missing.map((type) => ({ type, rows: [] }))];
}

function writeSection(writer, { type, rows = [], sectionFormat = 1, termCount = rows.length, bodyLength }) {
  writer.uint(sectionType(type), 1, 'section type').uint(0, 1).uint(sectionFormat, 2, 'section format');
  writer.uint(termCount, 4, 'term count');
  const lengthAt = writer.length;
  writer.uint(0, 4).uint(0, 4);
  const bodyAt = writer.length;
  for (const { term, fields = [] } of rows) {
    writer.counted(term, 'a term').uint(fields.length, 2, 'the field count of a term');
    for (const field of fields) writer.counted(field, 'a field');
  }
  writer.putUint(lengthAt, bodyLength ?? writer.length - bodyAt, 4, 'the length of a section');
}

/**
 * Builds the data of a binary index document.
 *
 * The values after the first two properties are for making documents that a reader must refuse; left out, they are what a
 * sound document has.
 *
 * @param {object} [index]
 * @param {readonly IndexSection[]} [index.sections] written in this order; sections that are missing follow, empty, in the
 *   order scene, human, celebrity, location, facet
 * @param {number} [index.sourceDocumentCount] how many sources the rows were made from; 1 by default, readers refuse 0
 * @param {number} [index.version] 3 by default
 * @param {number} [index.sectionCount] the number in the header, 5 by default whatever `sections` holds
 * @param {boolean} [index.addMissing] false writes exactly the given sections
 * @returns {Uint8Array} a Buffer
 * @throws {RangeError} for a section name that does not exist, or a number or length that its bytes cannot hold
 */
export function buildBinaryIndex({
  sections = [],
  sourceDocumentCount = 1,
  version = 3,
  sectionCount = SECTION_NAMES.length,
  addMissing = true,
} = {}) {
  const writer = new ByteWriter();
  writer.raw('SIX1').uint(version, 2, 'index version').uint(sectionCount, 2, 'section count');
  writer.uint(sourceDocumentCount, 4, 'source document count').uint(0, 4);
  for (const section of addMissing ? withMissingSections(sections) : sections) writeSection(writer, section);
  return writer.finish();
}
