// An explanation of the native module as text that an editor reads. The module says what happened; here it is only put
// into words.

import { columns, painter, printable } from './terminal.mjs';

/** Where a row stands: its number is that of `klrx inspect --rows`, counted over all sections. */
/** @typedef {{ source: 'pack' | 'overlay' | 'caller', section: string, row: number }} RowPlace */

/**
 * A row or phrase that spoke for a scene. score = early + (length + priority).
 * @typedef {object} Candidate
 * @property {string} alias the term, or for a phrase the text that it stands for
 * @property {string} sceneKey
 * @property {string} detail
 * @property {string} kind "short", "conflict", "compound", "detail", "category", or "" for another
 * @property {string} lang
 * @property {number} rank 500 to 0, by the kind
 * @property {number} score compares rows of one rank whose terms are equally long
 * @property {number} early up to 10: the earlier in the title the more
 * @property {number} length for each character of the term, up to 12
 * @property {number} priority of the row
 * @property {string | null} phrase that implied it
 * @property {RowPlace | null} place null for a phrase
 */

/**
 * A row of a place. score = weight + kindScore + length + early.
 * @typedef {object} Place
 * @property {string} alias
 * @property {string} code
 * @property {string} label
 * @property {string} countryLabel
 * @property {string} kind the row's source, such as "location-famous"
 * @property {number} index characters before it in the folded title, 9999 if it is not there as it stands
 * @property {number} score
 * @property {number} weight
 * @property {number} kindScore
 * @property {number} length
 * @property {number} early
 * @property {string} fate one of `PLACE_FATES`
 * @property {RowPlace} place
 */

/**
 * What `explainTitle` of the second native module gives.
 * @typedef {object} Explanation
 * @property {{ raw: string, normalizedEnglish: string, compactRaw: string, compactEnglish: string, ascii: boolean }} title
 *   compact: folded, without blanks, the form in which terms are looked for
 * @property {any} answer as resolveSceneIntentBatch gives it
 * @property {any} single what resolveSceneIntent says of the scene, from the base pack alone and by looser rules
 * @property {{
 *   candidates: Candidate[], promoted: boolean, cleared: Candidate[], detailAlias: string | null, travelDiary: boolean,
 *   dropped: { alias: string, sceneKey: string, kind: string, reason: string, place: RowPlace }[],
 *   phrases: { phrase: string, sceneKey: string, detail: string, identity: boolean, veto: boolean, candidate: boolean }[],
 *   travelScene: string, travelDetail: string,
 * }} scene `candidates` in the order in which the resolver compares them; `promoted` if the first one was put there
 *   because it equals the whole title
 * @property {{ choice: string, hits: Place[], dropped: Place[], totals: { code: string, total: number, labels: number }[] }} places
 * @property {{ people: { id: string, name: string, kind: string, region: string, alias: string }[], label: string,
 *   signals: { activity: string, word: string }[], candidates: { label: string, score: number, reason: string }[], confidence: number }} celebrities
 * @property {{ suppressed: boolean, reason: string, assetWord: string, hardWord: string, sceneWord: string }} workflow
 */

const SCENE_DROPS = {
  'not-whole-title': 'a short title has to be the whole title',
  'plain-in-ascii-title': 'a Latin alias that is not tagged en speaks only for titles with Chinese in them',
  repeated: 'the same row was there before',
};

export const PLACE_FATES = {
  reported: 'reported',
  'silenced-by-curated': 'silenced: the title has a curated place',
  'inside-longer-name': 'lies inside a longer name',
  'too-weak': 'its code scores too little beside the best',
  'beyond-three': 'three codes are reported already',
  malformed: 'its row has too few fields',
  'english-in-base-section': 'English rows of location-base are never asked',
  'common-word': 'is an everyday word',
  'no-sign-of-region': 'its section wants a sign of the region in the title',
  'label-not-in-title': 'the title lacks the first character or word of its label',
  'repeats-curated': 'a curated row says the same',
};

const SEVERAL_WORDS = 'a table is searched for single English words; put it in a lexicon';

/** Rows of tables have no kind that an editor gave them. */
const TABLE_KINDS = { 'location-db-native': 'table, zh', 'location-db-en': 'table, en' };

const CHOICES = {
  curated: 'by place in the title, since one of them is curated',
  places: 'by the earliest and longest name',
  scores: 'by the total score of each code',
};

const WORKFLOW_REASONS = {
  'hard-workflow-suppressed-scene': 'a hard word suppresses this scene, wherever it stands in the title',
  'workflow-context-not-applicable': 'the policy takes this scene away for none of these words',
};

const number = (value) => String(Number(value.toFixed(2)));
/** Where a row stands; that it is the pack's goes without saying. */
const placeOf = (place) => (place === null ? '' : `${place.source === 'pack' ? '' : `${place.source} `}${place.section} ${place.row}`);

/** A table with a note below some of its rows. @param {{ cells: string[], note?: string }[]} rows */
function notedColumns(rows, sides) {
  const lines = columns(rows.map(({ cells }) => cells), sides).split('\n');
  return rows.map(({ note }, i) => `${lines[i]}\n${note ? `     ${note}\n` : ''}`).join('');
}

/** Why the first candidate stands before the second: what the order compares, in turn. @param {Candidate[]} candidates */
function reasonOf([first, second], promoted) {
  const bytes = (text) => new TextEncoder().encode(text).length;
  if (promoted) return 'it equals the whole title';
  if (!second) return 'no other row speaks for the title';
  if (first.rank !== second.rank) return `its kind ranks higher (${first.rank} to ${second.rank})`;
  if (bytes(first.alias) !== bytes(second.alias)) return `its term is longer (${bytes(first.alias)} bytes to ${bytes(second.alias)})`;
  if (first.score !== second.score) return `its score is higher (${number(first.score)} to ${number(second.score)})`;
  return first.alias === second.alias ? 'it comes first in the pack' : 'its term comes first in the order of bytes';
}

const candidateRow = (candidate, mark) => [
  mark, candidate.phrase === null ? candidate.alias : `${candidate.phrase} (phrase)`, candidate.sceneKey, candidate.detail, candidate.kind,
  String(candidate.rank), number(candidate.score),
  `${number(candidate.early)} + ${number(candidate.length)} + ${number(candidate.priority)}`, placeOf(candidate.place),
];
const CANDIDATE_HEAD = ['', 'term', 'scene', 'detail', 'kind', 'rank', 'score', '', 'row'];
/** @type {('left' | 'right')[]} */
const CANDIDATE_SIDES = ['left', 'left', 'left', 'left', 'left', 'right', 'right', 'left', 'left'];

/** @param {Explanation} explanation */
function sceneLines({ answer, single, scene }) {
  const { candidates, cleared, dropped, phrases } = scene;
  const [top] = candidates;
  const lines = [];
  if (!top && answer.sceneKey === '' && cleared.length === 0) lines.push(['no row speaks for the title']);
  if (top) lines.push([`${top.phrase ?? top.alias} decides: ${reasonOf(candidates, scene.promoted)}`]);
  if (scene.detailAlias !== null) lines.push([`the detail is that of the detail row ${scene.detailAlias}`]);
  if (scene.travelDiary) lines.push(['"vlog" and an override for a travel diary make the detail']);
  if (scene.travelScene !== '') {
    lines.push([`the title names a place and ends in a word of visiting: ${scene.travelScene}, ${scene.travelDetail}`]);
  }
  for (const { phrase, veto, candidate, sceneKey, identity } of phrases) {
    if (veto) lines.push([`the veto ${phrase} ${cleared.length > 0 ? 'takes the rows below marked x away' : 'says that there is no scene'}`]);
    else if (!candidate) lines.push([`the ${identity ? 'identity' : 'phrase'} ${phrase} names the scene ${sceneKey}, which has no complete row`]);
  }
  if (single.sceneKey !== answer.sceneKey) lines.push([`resolveSceneIntent, by its looser rules, says ${single.sceneKey || 'nothing'}`]);
  const rows = [...candidates.map((candidate, i) => candidateRow(candidate, i === 0 ? '*' : '')), ...cleared.map((one) => candidateRow(one, 'x'))];
  const table = rows.length > 0 ? columns([CANDIDATE_HEAD, ...rows], CANDIDATE_SIDES) : '';
  if (rows.length > 0) lines.push(['score = early + length + priority']);
  const turnedDown = dropped.map(({ alias, sceneKey, reason, place }) => ({ cells: ['-', alias, sceneKey, placeOf(place)], note: SCENE_DROPS[reason] }));
  return columns(lines, ['left']) + table + notedColumns(turnedDown, ['left', 'left', 'left', 'left']);
}

/** @param {Explanation} explanation */
function placeLines({ places: { choice, hits, dropped, totals } }) {
  if (hits.length + dropped.length === 0) return '';
  const cellsOf = (hit) => [hit.fate === 'reported' ? '*' : '-', hit.alias, hit.code, hit.label, TABLE_KINDS[hit.kind] ?? hit.kind];
  const noteOf = ({ fate, kind, label }) => {
    if (fate === 'reported') return '';
    if (fate === 'label-not-in-title' && kind === 'location-db-en' && label.includes(' ')) return SEVERAL_WORDS;
    return PLACE_FATES[fate];
  };
  const scored = hits.map((hit) => ({
    cells: [...cellsOf(hit), number(hit.score), [hit.weight, hit.kindScore, hit.length, hit.early].map(number).join(' + '), placeOf(hit.place)],
    note: noteOf(hit),
  }));
  const turnedDown = dropped.map((hit) => ({ cells: [...cellsOf(hit), placeOf(hit.place)], note: noteOf(hit) }));
  const head = { cells: ['', 'term', 'code', 'label', 'kind', 'score', '', 'row'] };
  const codes = totals.map(({ code, total, labels }) => `${code} ${number(total)} (${labels} ${labels === 1 ? 'label' : 'labels'})`);
  return (hits.length > 0 ? `codes are chosen ${CHOICES[choice]}\nscore = weight + kind + length + early\n` : '')
    + (codes.length > 0 ? `totals: ${codes.join(', ')}\n` : '')
    + (hits.length > 0 ? notedColumns([head, ...scored], ['left', 'left', 'left', 'left', 'left', 'right', 'left', 'left']) : '')
    + notedColumns(turnedDown, ['left', 'left', 'left', 'left', 'left', 'left']);
}

/** @param {Explanation} explanation */
function peopleLines({ celebrities: { people, label, signals, candidates, confidence } }) {
  if (people.length === 0) return '';
  const names = people.map(({ name, kind, alias }) => [name, kind, `by ${alias}`]);
  const why = signals.length > 0 ? signals.map(({ activity, word }) => `${activity} (${word})`).join(', ') : 'no word of an activity';
  const badges = candidates.map((one) => `${one.label} ${one.score} ${one.reason}`).join(', ');
  return `${columns(names, ['left', 'left', 'left'])}badge ${label}, confidence ${number(confidence)}: ${why}\ncandidates: ${badges}\n`;
}

/** @param {Explanation} explanation */
function workflowLines({ title, workflow: { suppressed, reason, assetWord, hardWord, sceneWord } }) {
  // The policy looks for its words as substrings, which nobody sees who only sees the word.
  const within = (word) => {
    const words = title.normalizedEnglish.split(' ').filter((each) => each.includes(word));
    return words.length === 0 || words.includes(word) ? '' : ` in ${JSON.stringify(words[0])}`;
  };
  const words = [['asset handling', assetWord], ['hard', hardWord], ['decides', sceneWord]].filter(([, word]) => word !== '')
    .map(([what, word]) => `${what}: ${word}${within(word)}`);
  return `${suppressed ? 'suppressed' : 'not suppressed'}, ${reason}${words.length > 0 ? ` (${words.join(', ')})` : ''}\n`
    + (WORKFLOW_REASONS[reason] ? `${WORKFLOW_REASONS[reason]}\n` : '');
}

/**
 * @param {Explanation} explanation
 * @param {boolean | undefined} colors
 * @returns {string}
 */
export function explanationText(explanation, colors) {
  const paint = painter(colors);
  const { title, answer } = explanation;
  const suppressed = explanation.workflow.suppressed ? ' (suppressed)' : '';
  const scene = answer.sceneKey === '' ? 'none' : `${[answer.sceneKey, answer.sceneDetail].filter(Boolean).join(', ')}${suppressed}`;
  const parts = [
    ['title', `${printable(title.raw)}${title.normalizedEnglish === '' ? ', without an English reading' : `, read as "${printable(title.normalizedEnglish)}"`}\n`],
    [`scene: ${scene}`, sceneLines(explanation)],
    [`place: ${answer.locationMeta?.shortLabel || 'none'}`, placeLines(explanation)],
    [`people: ${explanation.celebrities.people.map(({ name }) => name).join(', ') || 'none'}`, peopleLines(explanation)],
    ['workflow', workflowLines(explanation)],
  ];
  const indented = (text) => text.replace(/^(?=.)/gm, '  ');
  return parts.map(([head, text]) => `${paint('bold', printable(head))}\n${indented(text)}`).join('');
}
