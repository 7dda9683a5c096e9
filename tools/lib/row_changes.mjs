// What separates the rows of two packs.

const PLACE_FIELDS = ['code', 'source', 'weight', 'label', 'lang', 'countryLabel'];
const FIELDS = {
  scene: ['scene', 'detail', 'rowPriority', 'kind', 'lang', 'label', 'archiveLabel', 'archiveCode', 'icon', 'defaultDetail', 'priority'],
  human: ['scene', 'detail', 'lang'],
  celebrity: ['id', 'name', 'kind', 'region', 'priority', 'photoKey', 'tags'],
  location: PLACE_FIELDS,
  facet: ['dimension', 'key', 'weight', 'lang'],
};

/** The fields of rows of a section by name; those of the rows of a table are the fields of a place. @param {string} section */
export const fieldNamesOf = (section) => (Object.hasOwn(FIELDS, section) ? FIELDS[section] : PLACE_FIELDS);

/** Which fields say what a row is about; the others say what it claims of that. */
const IDENTITY = {
  scene: ([key, , , kind, lang]) => [key, kind, lang],
  human: ([sceneKey]) => [sceneKey],
  celebrity: ([id]) => [id],
  location: ([code, source, , , lang]) => [code, source, lang],
  facet: ([dimension, key, , lang]) => [dimension, key, lang],
};

/**
 * @typedef {object} RowChange
 * @property {'added' | 'removed' | 'changed'} change
 * @property {string} section
 * @property {string} term
 * @property {string[]} [before] fields
 * @property {string[]} [after]
 */

/** Lists of equal rows by a key of theirs. */
function groupedBy(rows, keyOf) {
  const groups = new Map();
  for (const row of rows) {
    const key = JSON.stringify(keyOf(row));
    const group = groups.get(key);
    if (group) group.push(row);
    else groups.set(key, [row]);
  }
  return groups;
}

/** The rows without those that also stand in the others, each as often as it does. */
function without(rows, others) {
  const left = groupedBy(others, ({ term, fields }) => [term, fields]);
  return rows.filter(({ term, fields }) => left.get(JSON.stringify([term, fields]))?.pop() === undefined);
}

/**
 * @param {string} section
 * @param {import('./pack_reader.mjs').PackRow[]} before
 * @param {import('./pack_reader.mjs').PackRow[]} after
 * @returns {RowChange[]} the removed and changed ones in the order of `before`, then the added ones in that of `after`
 */
export function rowChanges(section, before, after) {
  const identityOf = Object.hasOwn(IDENTITY, section) ? IDENTITY[section] : IDENTITY.location;
  const keyOf = ({ term, fields }) => [term, ...identityOf(fields)];
  const added = without(after, before);
  const successors = groupedBy(added, keyOf);
  const taken = new Set();
  const gone = without(before, after).map((row) => {
    const next = successors.get(JSON.stringify(keyOf(row)))?.shift();
    if (!next) return { change: 'removed', section, term: row.term, before: row.fields };
    taken.add(next);
    return { change: 'changed', section, term: row.term, before: row.fields, after: next.fields };
  });
  const fresh = added.filter((row) => !taken.has(row)).map(({ term, fields }) => ({ change: 'added', section, term, after: fields }));
  return /** @type {RowChange[]} */ ([...gone, ...fresh]);
}
