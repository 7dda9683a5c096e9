// The command klrx: sources into rows, findings with their places, and the command line itself.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { generateKeyPairSync } from 'node:crypto';
import { once } from 'node:events';
import {
  copyFileSync, existsSync, linkSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, symlinkSync, writeFileSync,
} from 'node:fs';
import { join, parse } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { buildBinaryIndex, buildLocationShard, buildManifest, buildPack, readPackMetadata } from '../tools/index.mjs';
import { run } from '../tools/commands/run.mjs';
import { formatFinding } from '../tools/lib/findings.mjs';
import { compileLexicons } from '../tools/lib/lexicon.mjs';
import { compilePlaces } from '../tools/lib/places.mjs';
import { addon } from './support/addon.mjs';
import { root } from './support/packs.mjs';
import { noLinks, noQuotedNames } from './support/platform.mjs';

const FOOD = '{"categories":[{"key":"food","zh":["火锅"]}]}';
const HEADER = 'alias\tcode\tlang\tweight\tlabel\tcountryLabel\n';
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
    ['[0▲1]', '"1" stands where "," should be'], ['▲/* */ {}', 'JSON has no comments'],
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
  const stands = (what, wanted) => `${what} stands where ${wanted} should be`;
  const unknown = 'no category with an alias has the key "k"';
  for (const [marked, ...messages] of [
    ['▲[]', stands('an array', 'an object')],
    ['{▲"catgories":[],▲"scenes":[],▲"Humans":[]}', 'unknown property "catgories"; is "categories" meant?',
      'unknown property "scenes"', 'unknown property "Humans"; is "humans" meant?'],
    ['{"categories":▲{},"humans":[▲null]}', stands('an object', 'an array'), stands('null', 'an object')],
    ['{"categories":[▲{▲"kye":"k"}]}', 'the property "key" is missing', 'unknown property "kye"; is "key" meant?'],
    [ofCategory('"label":▲5,"priority":▲true'), stands('a number', 'a string'), stands('a boolean', 'a number')],
    [ofFacets('"weight":▲"3x"', '"weight":▲1e400', '"en":[▲"street food"]'), '"3x" is no number',
      'the number is too large', 'warning: the facet alias is looked for as "streetfood", without its blanks'],
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
      'the byte 0x1e separates tags and cannot stand in one', stands('an array', 'an object')],
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
  assert.deepEqual(good, { name: 'location-a', rowCount: 3, data, findings: [] });
  for (const [text, findings, path = 'location-a.tsv'] of [
    [null, ['1:1: the header is not alias, code, lang, weight, label, countryLabel, separated by tabs']],
    ['中 \t\tfr\t0x1\tl\tc\n',
      ['2:4: the code is empty', '2:5: the language is "fr", not "zh" or "en"', '2:8: "0x1" is no weight']],
    [' \tc\ten\t1e39\tl\tc', ['2:1: the alias is blank', '2:8: "1e39" is no weight']],
    ['a\tc\tzh\t1\t\tc', ['2:10: a "zh" place without a label is never found']],
    ['\na\tc\ten\t\tl\tc\td', ['2:1: the row has 1 columns, not 6', '3:1: the row has 7 columns, not 6']],
    ['A a\tc\ten\t1\tl\tc\naa\tc\ten\t2\tl\tc', ['3:1: warning: the place stands already at location-a.tsv:2:1']],
    ['', ['1:1: the file must be named location-NAME.tsv, NAME of ASCII letters, digits, "-", "." and "_"'], 'p.tsv'],
  ]) {
    const result = compilePlaces(source(text === null ? '' : HEADER + text, path));
    assert.deepEqual(told(result), findings.map((finding) => `${path}:${finding}`));
    assert.equal(result.data === undefined, !findings[0].includes('warning'), text);
  }
});

/** Goes to a fresh directory with the given files. */
function enter(files) {
  process.chdir(mkdtempSync(join(root, 'klrx-')));
  for (const [name, content] of Object.entries(files)) writeFileSync(name, content);
  return process.cwd();
}
/** Runs a command line and gives its status and what it prints: [status, out, err]. */
async function klrx(line, native) {
  const said = { out: '', err: '' };
  const status = await run(Array.isArray(line) ? line : line.split(' '), {
    out: (text) => (said.out += text), err: (text) => (said.err += text),
    loadAddon: async () => native ?? assert.fail('the addon is not needed here'),
  });
  return [status, said.out, said.err];
}
const PLACES = `${HEADER}东京\tJP-13\tzh\t1\t东京\t日本\n`;

test('build: the pack is that of the builders, and the same every time', async () => {
  enter({ 'lex.json': `\ufeff${FOOD}`, 'location-jp.tsv': PLACES, 'old.klrx': 'old' });
  const rows = [{ term: '火锅', fields: ['food', '', '', 'category', 'zh', '', '', '', '', '', ''] }];
  const index = { type: 8, name: 'semantic-binary-index-v1',
    data: buildBinaryIndex({ sections: [{ type: 'scene', rows }] }) };
  const records = [{ code: 'JP-13', weight: 1, label: '东京', countryLabel: '日本' }];
  const shard = { type: 6, name: 'location-jp', data: buildLocationShard([{ alias: '东京', records }]) };
  for (const [line, expected] of [
    ['location-jp.tsv lex.json --compress',
      { ruleSetId: 'old', documents: [index, shard], compression: 'lz4-block-v1' }],
    ['lex.json --rule-set-id r2 --base-rule-set-id r1 --kind patch --key release-v1',
      { kind: 'patch', ruleSetId: 'r2', baseRuleSetId: 'r1', keyId: 'release-v1', documents: [index] }],
    ['location-jp.tsv', { ruleSetId: 'old', documents: [shard] }],
  ]) {
    const [status, , err] = await klrx(`build ${line} --out old.klrx --nonce 000102030405060708090a0b`);
    assert.deepEqual([status, err !== ''], [0, line.includes('release-v1')], 'the public release key is warned of');
    assert.deepEqual(readFileSync('old.klrx'),
      buildPack({ ...expected, nonce: Buffer.from('000102030405060708090a0b', 'hex') }), line);
  }
  const report = JSON.parse((await klrx('build lex.json --out old.klrx --json'))[1]);
  const { length: packBytes } = readFileSync('old.klrx');
  assert.deepEqual(report, { pack: 'old.klrx', packBytes, kind: 'base', ruleSetId: 'old', baseRuleSetId: 'old',
    rows: { scene: 1, human: 0, celebrity: 0, location: 0, facet: 0 }, shards: {}, warnings: 0 });
  mkdirSync('d.klrx');
  for (const [out, reason] of [['no/p.klrx', 'no such file or directory'], ['d.klrx', 'it is a directory']]) {
    assert.deepEqual(await klrx(`build lex.json --out ${out}`),
      [1, '', `klrx: ${out}: cannot be written: ${reason}\n`]);
  }
  assert.deepEqual(readdirSync('.').sort(), ['d.klrx', 'lex.json', 'location-jp.tsv', 'old.klrx'],
    'no temporary file stays');

  enter({ 'a.json': '{"x":1}', 'b.json': '[', 'c.json': Buffer.of(0xff), 'location-a.tsv': `${HEADER}x\n`,
    'p.klrx': 'old' });
  assert.deepEqual(await klrx('build location-a.tsv b.json gone.json c.json a.json --out p.klrx'), [1, '', [
    'gone.json:1:1: the source cannot be read: no such file or directory', 'c.json:1:1: the source is not UTF-8 text',
    'location-a.tsv:2:1: the row has 1 columns, not 6', 'b.json:1:2: the text ends where "]" should be',
    'a.json:1:2: unknown property "x"', 'klrx: 5 errors, nothing written', ''].join('\n')]);
  assert.deepEqual([readFileSync('p.klrx', 'utf8'), readdirSync('.').length], ['old', 5]);
});

test('wrong usage is status 2 and writes nothing, help and version are 0 anywhere', async () => {
  enter({ 'a.json': FOOD, 'in.klrx': 'x', 'k.pem': 'x' });
  const [build, sign] = ['build a.json --out p.klrx', 'sign --pack in.klrx --out m.json'];
  for (const [line, message] of [
    [[], 'a command is missing'], ['', ' is no command'], ['toString', 'toString is no command'],
    ['build --out p.klrx', 'build needs at least one source'], ['build a.json', 'build needs --out PACK'],
    ['build a.json --fast', "unknown option '--fast'"],
    ['build a.json --out', "option '--out <value>' argument missing"],
    ['build a.json --out p.zip', 'p.zip does not end in .klrx'],
    ['build a.txt --out p.klrx', 'a.txt is no .json or .tsv source'],
    [['build', 'a.json', '--out', 'p q.klrx'],
      'the rule set id "p q" is not 1 to 96 of the letters, digits, "-", "." and "_"'],
    ['build a.json ./a.json --out p.klrx', 'a source is given twice'],
    [`${build} --kind delta`, '--kind is base or patch, not delta'],
    [`${build} --key x`, '--key is test-v1 or release-v1, not x'],
    [`${build} --kind patch`, 'a patch needs --base-rule-set-id ID'],
    [`${build} --nonce 00`, '--nonce is not 24 hexadecimal digits'],
    ['inspect', 'inspect needs one PACK'], ['verify a.json', 'verify needs MANIFEST and PACK'],
    ['sign --out m.json --development', 'sign needs --pack PACK'],
    ['sign --pack in.klrx --development', 'sign needs --out MANIFEST'],
    ['sign in.klrx --out m.json', 'sign takes no in.klrx; the pack is given with --pack'],
    ['sign --pack in.klrx --out k.pem --key k.pem', 'k.pem is an input and the output'],
    [sign, 'sign needs either --key KEY.pem or --development'],
    [`${sign} --development --key k.pem`, 'sign needs either --key KEY.pem or --development'],
    [`${sign} --modules [`, '--modules is no JSON'],
    [`${sign} --modules [[]]`, '--modules is no array of strings without "]"'],
  ]) assert.deepEqual(await klrx(line), [2, '', `klrx: ${message}\nklrx: hint: klrx --help shows the usage\n`]);
  assert.equal(readdirSync('.').length, 3);
  linkSync('a.json', 'twin.json'); // a file of its own by name
  assert.equal((await klrx('build a.json twin.json --out p.klrx'))[0], 0);
  const { version } = JSON.parse(readFileSync(new URL('../package.json', import.meta.url), 'utf8'));
  assert.deepEqual(await klrx('inspect x --version'), [0, `klrx ${version}\n`, '']);
  for (const line of ['build --no --help', 'inspect -h']) {
    assert.match((await klrx(line)).join('|'), /^0\|klrx makes.*\n\nusage:\n[^]*\|$/);
  }
  // A reader that stops early, as head does, changes neither the status nor what else is said.
  for (const [argument, closed, expected] of [['--help', 'stdout', 0], ['bulid', 'stderr', 2]]) {
    const child = spawn(process.execPath, [fileURLToPath(new URL('../tools/klrx.mjs', import.meta.url)), argument]);
    child[closed].destroy();
    let said = '';
    for (const stream of [child.stdout, child.stderr]) stream.on('data', (text) => (said += text));
    assert.deepEqual([...(await once(child, 'close')), said], [expected, null, '']);
  }
});

test('an output that is a link to an input', { skip: noLinks }, async () => {
  enter({ 'a.json': FOOD, 'in.klrx': 'x' });
  symlinkSync('a.json', 'alias.klrx');
  symlinkSync('in.klrx', 'also.klrx');
  for (const [line, name] of [['build a.json', 'alias.klrx'], ['sign --pack in.klrx --development', 'also.klrx']]) {
    const message = `${name} is an input and the output`;
    assert.deepEqual(await klrx(`${line} --out ${name}`), [2, '', `klrx: ${message}\nklrx: hint: klrx --help shows the usage\n`]);
  }
});

test('a pack whose name no manifest can hold', { skip: noQuotedNames }, async () => {
  enter({ 'p"q.klrx': buildPack({ kind: 'patch', ruleSetId: 'r2', baseRuleSetId: 'r', documents: [] }) });
  const message = 'klrx: p"q.klrx: a pack of this name cannot be named in a manifest\n';
  assert.deepEqual(await klrx('sign --out n.json --pack p"q.klrx --development'), [1, '', message]);
  assert.ok(!existsSync('n.json'));
});

test('sign: the manifest of the builders, and no signature that could never verify', async () => {
  const { privateKey } = generateKeyPairSync('ed25519');
  const pem = (key) => key.export({ format: 'pem', type: 'pkcs8' });
  const pack = (ruleSetId, kind = 'patch') => buildPack({ kind, ruleSetId, baseRuleSetId: 'r', documents: [] });
  enter({ 'key.pem': pem(privateKey), 'rsa.pem': pem(generateKeyPairSync('rsa', { modulusLength: 1024 }).privateKey),
    'p.klrx': pack('r2'), 'base.klrx': pack('r', 'base'), 'same.klrx': pack('r') });
  for (const [line, expected] of [['--key key.pem', { signingKey: privateKey }],
    ['--development --modules ["a"]', { modules: ['a'] }]]) {
    const [status, , err] = await klrx(`sign --pack p.klrx --out m.json ${line}`);
    assert.deepEqual([status, err !== ''], [0, line.includes('--development')], 'the development key is warned of');
    assert.equal(readFileSync('m.json', 'utf8'), buildManifest({ packPath: 'p.klrx', ...expected }));
  }
  for (const [line, message] of [
    ['--pack base.klrx --development', 'base.klrx: is a base pack, and only a patch can be signed'],
    ['--pack same.klrx --development', 'same.klrx: leads from r to itself'],
    ['--pack gone.klrx --development', 'gone.klrx: cannot be read: no such file or directory'],
    ['--pack key.pem --development', 'key.pem: the file is not a rule pack'],
    ['--pack p.klrx --key p.klrx', 'p.klrx: is not UTF-8 text'],
    ['--pack p.klrx --key m.json', 'm.json: is no unencrypted private key in PEM form'],
    ['--pack p.klrx --key rsa.pem', 'rsa.pem: is an rsa key, not an ed25519 key'],
  ]) assert.deepEqual(await klrx(`sign --out n.json ${line}`), [1, '', `klrx: ${message}\n`]);
  assert.ok(!existsSync('n.json'));
});

test('inspect and verify: what the addon is asked, and how its answer is told', async () => {
  const answer = { baseRuleSetId: 'r1', ruleSetId: 'r2' };
  const directory = enter({ 'lex.json': FOOD, 'location-jp.tsv': PLACES, 'm.json': JSON.stringify(answer),
    'n.json': '{' });
  const asked = [];
  const answering = { verifySemanticDeltaManifest: (options) => asked.push(options) && answer };
  for (const line of ['m.json p.klrx', 'm.json p.klrx --json --root / --rule-set-id r3',
    `${directory}/m.json /else/p.klrx`]) {
    assert.equal((await klrx(`verify ${line}`, answering))[0], 0);
  }
  const expected = { manifestPath: 'm.json', packPath: 'p.klrx', allowedRoot: directory, ...answer };
  assert.deepEqual(asked, [expected, { ...expected, allowedRoot: '/', ruleSetId: 'r3' },
    { ...expected, manifestPath: `${directory}/m.json`, packPath: '/else/p.klrx', allowedRoot: parse(directory).root }]);
  const outside = 'it is outside the approved root';
  for (const [line, message, err] of [
    ['inspect p.klrx', '', 'p.klrx: its index document has a wrong name or encoding\n'],
    ['inspect p.klrx --root /', outside,
      `hint: nothing is inside the root of a file system; use a directory below it\nklrx: p.klrx: ${outside}\n`],
    ['inspect 中.klrx', outside,
      'hint: no path with a character beyond ASCII is inside a root; use another directory\n' +
        `klrx: 中.klrx: ${outside}\n`],
    ['verify n.json p.klrx', 'never asked', 'n.json: is no JSON\n'],
  ]) {
    const inspectRulePack = () => { throw new Error(message); };
    assert.deepEqual(await klrx(line, { inspectRulePack }), [1, '', `klrx: ${err}`]);
  }

  for (const line of ['build lex.json location-jp.tsv --out base.klrx --compress',
    'build lex.json --out p.klrx --kind patch --base-rule-set-id base', 'sign --pack p.klrx --out m.json --development',
  ]) assert.equal((await klrx(line))[0], 0, line);
  const { documentCounts, payloadSha256, binaryIndex } = JSON.parse((await klrx('inspect base.klrx --json', addon))[1]);
  assert.deepEqual([documentCounts, payloadSha256, binaryIndex.sectionCounts.scene],
    [{ 'location-shard': 1, 'semantic-index': 1 }, readPackMetadata(readFileSync('base.klrx')).payloadSha256, 1]);
  assert.match((await klrx('inspect base.klrx', addon))[1],
    /^base\.klrx: sound\nkind +base\nrule set +base\nbase +base\nsize +\d+ bytes\n[^]*\n {2}scene +1 rows\n$/);
  assert.match((await klrx('verify m.json p.klrx', addon))[1],
    /^p\.klrx: signed patch from base to p, sha256 [0-9a-f]{64}\n$/);
  copyFileSync('base.klrx', 'p.klrx');
  const refused = 'klrx: m.json: semantic delta manifest pack digest or size mismatch\n';
  assert.deepEqual(await klrx('verify m.json p.klrx', addon), [1, '', refused]);
});
