// The sources of packs: into rows, and findings with their places.
import assert from 'node:assert/strict';
import test from 'node:test';
import { buildLocationShard } from '../tools/index.mjs';
import { formatFinding } from '../tools/lib/findings.mjs';
import { compileLexicons } from '../tools/lib/lexicon.mjs';
import { compilePlaces } from '../tools/lib/places.mjs';
import { HEADER } from './support/klrx.mjs';

const FOOD = '{"categories":[{"key":"food","zh":["火锅"]}]}';
const source = (text, path = 'a.json') => ({ path, text: typeof text === 'string' ? text : JSON.stringify(text) });
const told = ({ findings }) => findings.sort((x, y) => x.offset - y.offset).map(formatFinding);
/** Findings stand at the places marked ▲ of a source of one line; "@" in a message is the place marked △. */
function assertFindings(marked, messages, options) {
  const at = { '▲': [], '△': [] };
  let column = 1;
  for (const character of marked) at[character]?.push(`a.json:1:${column}`) ?? (column += 1);
  const expected = messages.map((message, i) => `${at['▲'][i]}: ${message.replace('@', at['△'][0])}`);
  assert.deepEqual(told(compileLexicons([source(marked.replace(/[▲△]/g, ''))], options)), expected);
}

test('JSON: what JSON.parse refuses is a finding where an editor should put the cursor', () => {
  const string = (message) => `the string that begins here ${message}`;
  for (const [marked, message] of [
    ['▲', 'the text ends where a value should be'], ['[▲😀]', '"😀" is no JSON value'],
    ['[1,▲]', '"]" stands where a value should be'],
    ['{"a":1,▲}', '"}" stands where a property name in double quotes should be'],
    ['{"a" ▲1}', '"1" stands where ":" should be'],
    ['[1 ▲2]', '"2" stands where "," should be'], ['{"a":1▲', 'the text ends where "}" should be'],
    ['[1▲', 'the text ends where "]" should be'], ['{} ▲{}', '"{" stands where the end of the text should be'],
    ['[▲"a', string('does not end in its line')], ['["😀", ▲"a\nb"]', string('does not end in its line')],
    ['[▲"a\tb"]', string('holds a control character')], ['[▲"\\x"]', string('holds an escape that does not exist')],
    ['[▲"\\u12g4"]', string('holds an escape \\u without four hexadecimal digits')],
    ...['{▲a:1}', '[▲+1]', '[▲NaN]', '[▲1.]', '[▲toString]']
      .map((text) => [text, `"${/▲([^\]:]+)/.exec(text)[1]}" is no JSON value`]),
    ['[0▲1]', '"1" stands where "," should be'], ['{} ▲/* //', 'the comment that begins here does not end'],
    [`▲${'['.repeat(1e5)}`, 'values are nested too deep'],
  ]) {
    assertFindings(marked, [message]);
    assert.throws(() => JSON.parse(marked.replace('▲', '')), SyntaxError);
  }
});

test('lexicon: the rows, section by section', () => {
  const first = source({
    conflictOverrides: [{ sceneKey: 'food', detailLabel: 'show', zh: ['吃播'], en: ['Muk Bang'] }],
    shortTitleOverrides: [{ sceneKey: 'city', zh: ['逛'] }],
    categories: [{ key: 'food', label: '美食', archiveLabel: 'A', archiveCode: 'C', icon: 'i', defaultDetail: 'meal',
      priority: 3, en: ['Street Food'], keywords: ['vlog'], aliases: [' 小 吃 '], zh: ['火锅'],
      details: [{ en: ['BBQ'], zh: ['烤'], label: 'grill' }, { zh: ['面'] }] }],
    humans: [{ sceneKey: 'food', detail: 'craving', zh: ['想吃'], en: ['So Hungry'] }, { sceneKey: '', zh: ['备份'] }],
    celebrities: [{ id: 'c1', name: 'Li Na', kind: 'k', region: 'CN', priority: '7', photoKey: 'p', tags: ['a', 'b'],
      aliases: { zh: ['李娜'], 2: ['two'], 1: ['one'] } }, { id: 'c2', name: '王' }],
    locations: [{ code: 'JP-13', source: 's', weight: 0.5, label: '东京', countryLabel: '日本', zh: ['东京'],
      en: ['To Kyo'] }, { section: 'location', code: 'X', label: 'L', zh: ['x'] }],
    facets: [{ dimension: 'd', key: 'chef', weight: 1.25, zh: ['厨师'], en: ['Chef'] },
      { dimension: 'mood', key: 'calm', zh: ['静'] }],
  });
  const cities = [{ key: 'city', label: 'City', priority: '2.5', zh: ['街'] }];
  const second = source({ categories: cities, compoundOverrides: [{ sceneKey: 'food', zh: ['火锅店'] }] }, 'b.json');
  const food = ['美食', 'A', 'C', 'i', 'meal', '3.000000'];
  const city = ['City', '', '', '', '', '2.5'];
  const result = compileLexicons([first, second]);
  assert.deepEqual(result.findings, []);
  const rowsOf = ({ type, rows }) => [type, ...rows.map(({ term, fields }) => [term, ...fields])];
  assert.deepEqual(result.sections.map(rowsOf), [
    ['scene',
      ...['火锅', '小吃', 'vlog'].map((term) => [term, 'food', 'meal', '3.000000', 'category', 'zh', ...food]),
      ['streetfood', 'food', 'meal', '3.000000', 'category', 'en', ...food],
      ['烤', 'food', 'grill', '3.000000', 'detail', 'zh', ...food],
      ['bbq', 'food', 'grill', '3.000000', 'detail', 'en', ...food],
      ['面', 'food', '', '3.000000', 'detail', 'zh', ...food], ['街', 'city', '', '2.5', 'category', 'zh', ...city],
      ['逛', 'city', '', '0', 'short', 'zh', ...city], ['火锅店', 'food', '', '0', 'compound', 'zh', ...food],
      ['吃播', 'food', 'show', '0', 'conflict', 'zh', ...food],
      ['mukbang', 'food', 'show', '0', 'conflict', 'en', ...food]],
    ['human', ['想吃', 'food', 'craving'], ['sohungry', 'food', 'craving', 'en'], ['备份', '', '']],
    ['celebrity', ...['lina', 'one', 'two', '李娜'].map((term) => [term, 'c1', 'Li Na', 'k', 'CN', '7', 'p', 'a\x1eb']),
      ['王', 'c2', '王', '', '', '', '', '']],
    ['location', ['东京', 'JP-13', 's', '0.500000', '东京', 'zh', '日本'],
      ['tokyo', 'JP-13', 's', '0.500000', '东京', 'en', '日本'], ['x', 'X', 'location', '0', 'L', 'zh', '']],
    ['facet', ['厨师', 'd', 'chef', '1.250000', 'zh'], ['chef', 'd', 'chef', '1.250000', 'en'],
      ['静', 'mood', 'calm', '0', 'zh']],
  ]);
});

test('lexicon: findings with their places', () => {
  const ofCategory = (more) => `{"categories":[{"key":"k","zh":["a"],${more}}]}`;
  const ofFacets = (...more) => `{"facets":[${more.map((text) => `{"dimension":"d","key":"f",${text}}`)}]}`;
  const stands = (what, wanted, name = undefined) => `${name === undefined ? '' : `"${name}": `}${what} stands where ${wanted} should be`;
  const unknownOf = (what, allowed) => `unknown property ${what} (allowed: ${allowed})`;
  const lists = 'categories, shortTitleOverrides, compoundOverrides, conflictOverrides, humans, celebrities, locations, facets';
  const unknown = 'no category with an alias has the key "k"';
  for (const [marked, ...messages] of [
    ['▲[]', stands('an array', 'an object')],
    ['{▲"catgories":[],▲"scenes":[],▲"Humans":[]}', unknownOf('"catgories"; is "categories" meant?', lists),
      unknownOf('"scenes"', lists), unknownOf('"Humans"; is "humans" meant?', lists)],
    ['{"categories":▲{},"humans":[▲null]}', stands('an object', 'an array', 'categories'), stands('null', 'an object')],
    ['{"categories":[▲{▲"kye":"k"}]}', 'the property "key" is missing', unknownOf('"kye"; is "key" meant?',
      'key, label, archiveLabel, archiveCode, icon, defaultDetail, priority, zh, aliases, keywords, en, details')],
    [ofCategory('"label":▲5,"priority":▲true'), stands('a number', 'a string', 'label'), stands('a boolean', 'a number', 'priority')],
    [ofFacets('"weight":▲"3x"', '"weight":▲1e400', '"en":[▲"street food"]'), 'the text is no number',
      '"weight": the number is too large', 'warning: the facet alias is looked for as "streetfood", without its blanks'],
    [ofCategory(`"en":["😀中",▲"\\t ",▲7,▲"${'x'.repeat(65536)}"]`), 'the alias is blank',
      stands('a number', 'a string'), 'the string is longer than 65535 bytes'],
    [ofCategory('"details":△[],▲"details":[]'), 'the property "details" stands twice; the first is at @'],
    [ofCategory('"en":[△"A a",▲"aa"]'), 'warning: the alias "aa" is hidden by the one at @'],
    [ofFacets('"weight":1,"zh":[△"甲"]', '"weight":2,"zh":[▲"甲"]'),
      'warning: the alias "甲" is hidden by the one at @'],
    ['{"categories":[{"key":△"k","zh":["a"]},{"label":"K","key":▲"k","zh":["b"]},{"key":▲"n","zh":[]}]}',
      'warning: the scene "k" has other labels or another priority than at @',
      'warning: the scene "n" has no alias of its own, so nothing can be derived from it'],
    ['{"compoundOverrides":[{"sceneKey":▲"k"},▲{"detailLabel":"d"}]}', unknown, 'the property "sceneKey" is missing'],
    ['{"humans":[{"sceneKey":▲"k"},{"sceneKey":"","zh":[▲"rest"]}]}', unknown,
      'warning: a phrase of plain letters is looked for in English readings; it belongs under "en"'],
    ['{"celebrities":[{"id":"i","name":▲" "},▲{"id":"i"}]}', 'the name is blank', 'the property "name" is missing'],
    ['{"celebrities":[{"id":"i","name":"n","tags":[▲"a\\u001eb"],"aliases":▲["x"]}]}',
      'the byte 0x1e separates tags and cannot stand in one', stands('an array', 'an object', 'aliases')],
    ['{"locations":[{"code":"c","section":▲"location-cn","label":▲""}]}',
      'a lexicon holds the section "location" alone: places of other sections stand in .tsv sources',
      'the string is empty'],
  ]) assertFindings(marked, messages);
  assertFindings('{"humans":[{"sceneKey":▲"k"}]}', [`warning: ${unknown}`], { kind: 'patch' });
  const override = source('{\r\n\t"humans":\n[{"sceneKey":"food"}]}');
  const wanted = 'a.json:3:14: no category with an alias has the key "food"';
  for (const [others, options, expected] of [
    [[], {}, [wanted]], [[], { complete: false }, []], [[source(FOOD, 'b.json')], {}, []],
    [[source('{', 'b.json')], {}, ['b.json:1:2: the text ends where "}" should be']],
  ]) assert.deepEqual(told(compileLexicons([override, ...others], options)), expected);
});

test('places: rows grouped by alias, findings with their places', () => {
  const rows = 'New York\tNY\ten\t0.75\tNYC\tU\r\n东京\tJP-13\tzh\t-1e-1\t东京\t\r\nnewyork\tXX\ten\t1\t\t\r\n';
  const york = [{ code: 'NY', englishFlag: 1, weight: 0.75, label: 'NYC', countryLabel: 'U' },
    { code: 'XX', englishFlag: 1, weight: 1 }];
  const tokyo = [{ code: 'JP-13', weight: -0.1, label: '东京' }];
  const data = buildLocationShard([{ alias: 'newyork', records: york }, { alias: '东京', records: tokyo }]);
  const good = compilePlaces(source(HEADER.replace('\n', '\r\n') + rows, 'x/location-a.tsv'));
  assert.deepEqual([good.name, good.data, good.findings, good.rows.map(({ term, fields }) => [term, ...fields])],
    ['location-a', data, [], [['newyork', 'NY', 'location-db-en', '0.750000', 'NYC', 'en', 'U'],
      ['东京', 'JP-13', 'location-db-native', '-0.100000', '东京', 'zh', ''],
      ['newyork', 'XX', 'location-db-en', '1.000000', '', 'en', '']]]);
  for (const [text, findings, path = 'location-a.tsv'] of [
    [null, ['1:1: the header is not alias, code, lang, weight, label, countryLabel, separated by tabs']],
    ['中 \t\tfr\t0x1\tl\tc\n',
      ['2:4: the code is empty', '2:5: the language is "fr", not "zh" or "en"', '2:8: "0x1" is no weight']],
    [' \tc\ten\t1e39\tl\tc', ['2:1: the alias is blank', '2:8: "1e39" is no weight']],
    ['\n\t\t \r\nx\n\n', ['4:1: the row has 1 columns, not 6']],
    ['a\tc\tzh\t1\t\tc', ['2:10: a "zh" place without a label is never found']],
    ['a\tc\ten\t\tl\tc\td', ['2:1: the row has 7 columns, not 6']],
    ['A a\tc\ten\t1\tl\tc\naa\tc\ten\t2\tl\tc', ['3:1: warning: the place stands already at location-a.tsv:2:1']],
    ['', ['1:1: the file must be named location-NAME.tsv, NAME of ASCII letters, digits, "-", "." and "_"'], 'p.tsv'],
  ]) {
    const result = compilePlaces(source(text === null ? '' : HEADER + text, path));
    assert.deepEqual(told(result), findings.map((finding) => `${path}:${finding}`));
    assert.equal(result.data === undefined, !findings[0].includes('warning'), text);
  }
});
