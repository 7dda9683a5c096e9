// Small inputs that once cost seconds, gigabytes or the process. Each is one way in which an index, or the work after
// it, could cost rows x occurrences, terms x lengths or pairs of something. Together they bound the harm that a hostile
// pack or caller can do in one call.
//
// A case: { name, ms, megabytes, make(scale) }. `ms` of thread CPU and `megabytes` of memory above the start are its
// limits. `make` gives { sections, call, expected }: the pack's rows, `call(addon, pack)`, and its right answer.
// `scale` 1 is the case itself; with 1/4 everything that its cost could be a product of is a quarter.

const DETAILS = { key: 'city', label: 'City', tail: ['City', 'City archive', 'CTY', 'city', 'city walk', '1'] };

/** A row of the section "scene"; rows with different `detail` are different rows. */
const sceneRow = (term, { detail = 'city walk', kind = 'category', lang = 'zh' } = {}) =>
  ({ term, fields: [DETAILS.key, detail, '1', kind, lang, ...DETAILS.tail] });
const times = (count, make) => Array.from({ length: Math.round(count) }, (_, i) => make(i));
const batch = (title, extra) => (addon, pack) =>
  addon.resolveSceneIntentBatch({ ...pack, ...extra, cases: [title] }).results[0];

const words = (count) => 'a '.repeat(Math.round(count)).trimEnd();

function longAlias(scale) {
  return {
    sections: { scene: [sceneRow('a'.repeat(65535), { lang: 'en' })] },
    call: (addon, pack) => batch({ raw: '一', normalizedEnglish: words(8192 * scale) })(addon, pack).sceneKey,
    expected: '',
  };
}

function longCallerAlias(scale) {
  const sceneOverlay = { categories: [{ key: 'own', en: ['a'.repeat(4096)] }] };
  return {
    sections: {},
    call: (addon, pack) => batch({ raw: '一', normalizedEnglish: words(8192 * scale) }, { sceneOverlay })(addon, pack).sceneKey,
    expected: scale === 1 ? 'own' : '',
  };
}

const SEA = '海';
const repeatedSea = (bytes) => SEA.repeat(Math.round(bytes / 3));

function sceneRowsOnOneAlias(scale) {
  return {
    sections: { scene: times(5000 * scale, (i) => sceneRow(SEA, { detail: `d${i}` })) },
    call: (addon, pack) => batch({ raw: repeatedSea(1e5 * scale) })(addon, pack).intentHit.alias, expected: SEA,
  };
}

function sceneRowsOnOneAliasSingle(scale) {
  const { sections } = sceneRowsOnOneAlias(scale);
  return { sections, expected: SEA,
    call: (addon, pack) => addon.resolveSceneIntent({ ...pack, raw: repeatedSea(1e5 * scale) }).intentHit.alias };
}

function placesOnOneAlias(scale) {
  return {
    sections: { location: times(5000 * scale, (i) => ({ term: SEA, fields: [`C${i}`, 'location', '0.5', SEA, 'zh', 'C'] })) },
    call: (addon, pack) => batch({ raw: repeatedSea(1e5 * scale) })(addon, pack).locationCodes.length, expected: 3,
  };
}

function celebritiesOnOneAlias(scale) {
  const sections = { celebrity: times(3000 * scale, (i) => ({ term: SEA, fields: [`p${i}`, SEA, 'singer', 'CN', '1', ''] })) };
  const call = (addon, pack) =>
    addon.resolveCelebrityBadgeBatch({ ...pack, cases: [{ raw: repeatedSea(1e5 * scale) }] }).results[0].celebrityHits.length;
  return { sections, call, expected: sections.celebrity.length };
}

function lookUpManyRows(scale) {
  const sections = { scene: times(3000 * scale, (i) => sceneRow('a', { detail: `d${i}` })) };
  const query = { section: 'scene', term: 'a'.repeat(3e5 * scale), mode: 'contains' };
  return { sections, call: (addon, pack) => addon.lookupBinaryIndex({ ...pack, ...query }).matches.length,
    expected: sections.scene.length };
}

function facetsOnOneAlias(scale) {
  const sections = { facet: times(10000 * scale, (i) => ({ term: 'a', fields: ['mood', `f${i}`, '1', 'zh'] })) };
  return { sections, call: (addon, pack) => addon.extractSemanticFacets({ ...pack, raw: 'a'.repeat(1e6 * scale) }).hits.length,
    expected: sections.facet.length };
}

function nestedAliases(scale) {
  const count = Math.round(62 * scale);
  return {
    sections: { scene: times(count, (i) => sceneRow('a'.repeat(i + 1))) }, expected: count,
    call: (addon, pack) => batch({ raw: SEA + 'a'.repeat(1e6 * scale) })(addon, pack).intentHit.alias.length,
  };
}

function manyLengths(scale) {
  const others = times(1000 * scale, (i) => sceneRow(`b${'c'.repeat(62 + i)}`));
  return {
    sections: { scene: [...others, sceneRow(`${'a'.repeat(70)}b`)] }, expected: '',
    call: (addon, pack) => batch({ raw: SEA + 'a'.repeat(1e5 * scale) })(addon, pack).sceneKey,
  };
}

const MASK = 0xffffffffffffffffn;
/** A multiply and shift, of which the first hash of these indexes was made: whoever knows it can aim. */
function mix(value) {
  const product = (value * 0x9e3779b97f4a7c15n) & MASK;
  return product ^ (product >> 29n);
}

/** Terms of 16 bytes with one value of a hash without a seed: the second half takes back what the first half did. */
function collidingTerms(count) {
  return times(count, (i) => {
    const term = Buffer.alloc(16);
    const first = 0x6161616100000000n + BigInt(i);
    term.writeBigUInt64LE(first, 0);
    term.writeBigUInt64LE(mix(16n ^ first) ^ 0x1234567n, 8);
    return term;
  });
}

function collisions(scale) {
  const sections = { scene: collidingTerms(40000 * scale).map((term) => sceneRow(term)) };
  return { sections, call: (addon, pack) => batch({ raw: '海边' })(addon, pack).sceneKey, expected: '' };
}

function manyKinds(scale) {
  const sections = { scene: times(64000 * scale, (i) => sceneRow(SEA, { kind: `kind${i}` })) };
  const query = { section: 'scene', term: SEA, mode: 'exact' };
  return { sections, expected: sections.scene.length,
    call: (addon, pack) => addon.lookupBinaryIndex({ ...pack, ...query }).sceneCandidates[0].candidateTypes.length };
}

function oneTitleInManyCases(scale) {
  const title = { raw: `${SEA}${' '.repeat(10)}`.repeat(1e6 / 13) };
  const cases = new Array(10000 * scale).fill(title);
  return { sections: { scene: [sceneRow(SEA)] }, expected: cases.length,
    call: (addon, pack) => addon.resolveSceneIntentBatch({ ...pack, cases }).results
      .filter(({ sceneKey }) => sceneKey === 'city').length };
}

function manyPhrases(scale) {
  const phrases = times(1000 * scale, (i) => String.fromCharCode(0x4e00 + i, 0x5f00 + i));
  const title = { raw: phrases.join('') };
  const sections = { scene: [sceneRow('一切')], human: phrases.map((term) => ({ term, fields: ['city', `d-${term}`] })) };
  const cases = new Array(256).fill(title);
  return { sections, expected: title.raw,
    call: (addon, pack) => addon.resolveSceneIntentBatch({ ...pack, cases }).results.at(-1).intentHit.alias };
}

export const worstCases = [
  { name: 'English alias of 65,535 "a", reading "a a a …" of 16 kB', ms: 300, megabytes: 256, make: longAlias },
  { name: 'caller\'s alias of 4,096 "a", the same reading', ms: 300, megabytes: 256, make: longCallerAlias },
  { name: '5,000 scene rows on one alias, title of 100 kB repeating it', ms: 500, megabytes: 256, make: sceneRowsOnOneAlias },
  { name: 'the same, call for one title', ms: 500, megabytes: 256, make: sceneRowsOnOneAliasSingle },
  { name: '5,000 places on one alias, title of 100 kB repeating it', ms: 500, megabytes: 256, make: placesOnOneAlias },
  { name: '3,000 celebrities on one alias, title of 100 kB', ms: 500, megabytes: 256, make: celebritiesOnOneAlias },
  { name: 'contains look-up: 3,000 rows on "a", text of 300 kB', ms: 500, megabytes: 256, make: lookUpManyRows },
  { name: 'facets: 10,000 rows on "a", text of 1 MB', ms: 1000, megabytes: 512, make: facetsOnOneAlias },
  { name: '62 nested aliases "a", "aa", …, title of 1 MB', ms: 1000, megabytes: 256, make: nestedAliases },
  { name: '1,000 aliases of 63 to 1,062 bytes, title of 100 kB', ms: 300, megabytes: 256, make: manyLengths },
  { name: '40,000 terms of one hash value, load and first call', ms: 500, megabytes: 256, make: collisions },
  { name: 'exact look-up: 64,000 rows of one scene, all kinds different', ms: 1000, megabytes: 256, make: manyKinds },
  { name: '10,000 cases that share one title of 1 MB', ms: 1000, megabytes: 64, make: oneTitleInManyCases },
  { name: '256 titles of 5.9 kB with 1,000 human phrases each', ms: 1000, megabytes: 256, make: manyPhrases },
];
