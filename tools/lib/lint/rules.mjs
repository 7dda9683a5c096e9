// The rules of klrx lint: their names, and what to do about a finding. docs/lint.md has a section for each.

export const RULES = Object.freeze({
  'always-beaten': 'drop the row, or give it a stronger kind or a longer alias',
  'duplicate': 'drop one of the two',
  'facet-blank': 'write the alias as it is looked for, or drop it: facets are found literally',
  'inside-words': 'move the alias under "en", which asks for whole words, or lengthen it',
  'missing-country-label': 'say the country: without it the label of the place begins with " · ", and that of a country is empty',
  'multi-word-place': 'put the place among the "locations" of a lexicon, which finds names of several words',
  'needs-region': 'keep in mind; places that should always be found stand in location-world or in a lexicon',
  'no-alias': 'add an alias, or drop the entry',
  'not-folded': 'write the character as titles have it: only A to Z and the ASCII blank are folded',
  'one-character': 'lengthen the alias: a single character is found in too many titles',
  'patch-without-effect': 'put the row into the base: only its phrases and facets are read for titles',
  'policy-word': 'let the application pass an override, or a reading without the word: the policy is not part of a lexicon',
  'repeated-id': 'give each person an id of its own, and say the data of one person once',
  'scene-data': 'say label, priority and the rest of a scene the same everywhere: the first category decides for overrides',
  'shard-name': 'name the source location-NAME.tsv: rows under other names are never looked at',
  'spreadsheet-quote': 'remove the quotes that the spreadsheet left; tables of places have no quoting',
  'surrogate': 'write the whole character: half of one is stored as U+FFFD and never found',
  'two-scenes': 'keep the alias in one scene, or decide between the two with a conflict override',
  'unknown-kind': 'use a kind that the addon knows; others are treated as the weakest',
  'unknown-scene': 'add a category with an alias for the scene, or correct the key',
  'unreachable-place': 'give the place a label that begins as the alias does',
  'unread-alias': 'write the alias as a reading has it: words of a to z and digits, separated by blanks',
  'wrong-language': 'move the alias to the other language: "zh" is looked for in the title, "en" in the English reading',
});

/** @typedef {keyof typeof RULES} RuleName */

/**
 * A row with its place.
 * @typedef {object} LintRow
 * @property {string} section
 * @property {string} term
 * @property {string[]} fields
 * @property {string} written the alias as its source has it; the term if there is none
 * @property {string} place "file:line:column" of a source, "file:section:number" of a pack, the number from 1
 */

/**
 * @typedef {object} LintFinding
 * @property {RuleName} rule
 * @property {string} place
 * @property {string} message
 */
