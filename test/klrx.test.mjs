// The command klrx: sources into rows, findings with their places, and the command line itself.
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { generateKeyPairSync } from 'node:crypto';
import { once } from 'node:events';
import { copyFileSync, existsSync, linkSync, mkdtempSync, readdirSync, readFileSync, realpathSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import test from 'node:test';

import { buildBinaryIndex, buildLocationShard, buildManifest, buildPack, readPackMetadata } from '../tools/index.mjs';
import { run } from '../tools/lib/commands.mjs';
import { formatFinding } from '../tools/lib/findings.mjs';
import { JsonSyntaxError, parseJson } from '../tools/lib/json_source.mjs';
import { compileLexicons } from '../tools/lib/lexicon.mjs';
import { compilePlaces } from '../tools/lib/places.mjs';

const source = (text, path = 'a.json') => ({ path, text: typeof text === 'string' ? text : JSON.stringify(text) });
const FOOD = { categories: [{ key: 'food', zh: ['火锅'] }] };
const told = (findings) => findings.map(formatFinding);

test('JSON: the values of JSON.parse, and the same texts refused', () => {
  const plain = (node) =>
    node.type === 'array' ? node.items.map(plain) : node.type === 'object' ? Object.fromEntries(node.members.map((member) => [member.name, plain(member.node)])) : node.value;
  for (const text of [
    ' {"a":[1,-0.5e+3,true,false,null,""],"中":{"é\\u0041\\n\\"\\\\\\/\\b\\f\\r\\t":"𝄞\\ud834\\udd1e"}} \r\n\t', '[]', '{}', '[[[]]]', '0', '-0', '1E400', '"\u007f\u2028"',
  ]) {
    assert.deepEqual(plain(parseJson(text)), JSON.parse(text), text);
  }
  // offset is where an editor should put the cursor
  for (const [text, offset, message] of [
    ['', 0, 'the text ends where a value should be'],
    ['[1,]', 2, 'a comma stands before "]"'],
    ['{"a":1 , }', 7, 'a comma stands before "}"'],
    ['[1 2]', 3, '"2" stands where "," or "]" should be'],
    ['{"a" 1}', 5, '"1" stands where ":" should be'],
    ['{a:1}', 1, '"a" stands where a property name in double quotes should be'],
    ['{"a":}', 5, '"}" stands where a value should be'],
    ['["a', 1, 'the string that begins here has no end'],
    ['["a\nb"]', 3, 'a string ends with its line'],
    ['["a\tb"]', 3, 'a control character stands in a string'],
    ['["\\x"]', 2, 'an escape of this letter does not exist'],
    ['["\\u12g4"]', 2, 'an escape \\u needs four hexadecimal digits'],
    ['[01]', 1, '01 is no JSON value'],
    ['[1.]', 1, '1. is no JSON value'],
    ['[+1]', 1, '+1 is no JSON value'],
    ['[NaN]', 1, 'NaN is no JSON value'],
    ['[toString]', 1, 'toString is no JSON value'],
    ['[] x', 3, '"x" stands where the end of the text should be'],
    ['[😀]', 1, '"😀" stands where a value should be'],
    [`${'['.repeat(201)}`, 200, 'values are nested more than 200 deep'],
  ]) {
    assert.throws(() => parseJson(text), (error) => {
      assert.ok(error instanceof JsonSyntaxError);
      assert.deepEqual([error.offset, error.message], [offset, message], text);
      return true;
    });
    assert.throws(() => JSON.parse(text), SyntaxError, text);
  }
});

test('lexicon: the rows, section by section', () => {
  const first = source({
    conflictOverrides: [{ sceneKey: 'food', detailLabel: 'show', zh: ['吃播'], en: ['Muk Bang'] }],
    shortTitleOverrides: [{ sceneKey: 'city', zh: ['逛'] }],
    categories: [
      {
        key: 'food', label: '美食', archiveLabel: 'Food', archiveCode: 'F1', icon: 'bowl', defaultDetail: 'meal', priority: 3,
        en: ['Street Food'], keywords: ['vlog'], aliases: [' 小 吃 '], zh: ['火锅'],
        details: [{ en: ['BBQ'], zh: ['烧烤'], label: 'grill' }, { zh: ['面'] }],
      },
    ],
    humans: [{ sceneKey: 'food', detail: 'craving', zh: ['想吃'], en: ['So Hungry'] }, { sceneKey: '', zh: ['备份'] }],
    celebrities: [
      { id: 'c1', name: 'Li Na', kind: 'athlete', region: 'CN', priority: '7', photoKey: 'p', tags: ['tennis', 'star'], aliases: { zh: ['李娜'], 2: ['two'], 1: ['one'] } },
      { id: 'c2', name: '王' },
    ],
    locations: [{ code: 'JP-13', source: 'location-famous', weight: 0.5, label: '东京', countryLabel: '日本', zh: ['东京'], en: ['To Kyo'] }, { section: 'location', code: 'X', label: 'L', zh: ['x'] }],
    facets: [{ dimension: 'identity', key: 'chef', weight: 1.25, zh: ['厨师'], en: ['Head Chef'] }, { dimension: 'mood', key: 'calm', zh: ['静'] }],
  });
  const second = source({ categories: [{ key: 'city', label: 'City', priority: '2.5', zh: ['街'] }], compoundOverrides: [{ sceneKey: 'food', zh: ['火锅店'] }] }, 'b.json');
  const food = ['美食', 'Food', 'F1', 'bowl', 'meal', '3.000000'];
  const city = ['City', '', '', '', '', '2.5'];
  const { sections, findings } = compileLexicons([first, second]);
  assert.deepEqual(told(findings), []);
  assert.deepEqual(sections.map(({ type, rows }) => [type, rows.map(({ term, fields }) => [term, ...fields])]), [
    ['scene', [
      ['火锅', 'food', 'meal', '3.000000', 'category', 'zh', ...food],
      ['小吃', 'food', 'meal', '3.000000', 'category', 'zh', ...food],
      ['vlog', 'food', 'meal', '3.000000', 'category', 'zh', ...food],
      ['streetfood', 'food', 'meal', '3.000000', 'category', 'en', ...food],
      ['烧烤', 'food', 'grill', '3.000000', 'detail', 'zh', ...food],
      ['bbq', 'food', 'grill', '3.000000', 'detail', 'en', ...food],
      ['面', 'food', '', '3.000000', 'detail', 'zh', ...food],
      ['街', 'city', '', '2.5', 'category', 'zh', ...city],
      ['逛', 'city', '', '0', 'short', 'zh', ...city],
      ['火锅店', 'food', '', '0', 'compound', 'zh', ...food],
      ['吃播', 'food', 'show', '0', 'conflict', 'zh', ...food],
      ['mukbang', 'food', 'show', '0', 'conflict', 'en', ...food],
    ]],
    ['human', [['想吃', 'food', 'craving'], ['sohungry', 'food', 'craving', 'en'], ['备份', '', '']]],
    ['celebrity', [
      ...['lina', 'one', 'two', '李娜'].map((term) => [term, 'c1', 'Li Na', 'athlete', 'CN', '7', 'p', 'tennis\x1estar']),
      ['王', 'c2', '王', '', '', '', '', ''],
    ]],
    ['location', [
      ['东京', 'JP-13', 'location-famous', '0.500000', '东京', 'zh', '日本'],
      ['tokyo', 'JP-13', 'location-famous', '0.500000', '东京', 'en', '日本'],
      ['x', 'X', 'location', '0', 'L', 'zh', ''],
    ]],
    ['facet', [['厨师', 'identity', 'chef', '1.250000', 'zh'], ['headchef', 'identity', 'chef', '1.250000', 'en'], ['静', 'mood', 'calm', '0', 'zh']]],
  ]);
});

test('lexicon: findings with their places', () => {
  // ▲ stands in front of each place that has a finding, △ in front of the place that a message speaks of as "@".
  const ofCategory = (more) => `{"categories":[{"key":"k","zh":["a"],${more}}]}`;
  for (const [marked, ...messages] of [
    ['▲[]', 'an array stands where an object should be'],
    ['{"categories":[{"key":"b"▲,}]}', 'a comma stands before "}"'],
    ['{▲"catgories":[], ▲"scenes":[], ▲"Humans":[]}', 'unknown property "catgories"; is "categories" meant?', 'unknown property "scenes"', 'unknown property "Humans"; is "humans" meant?'],
    ['{"categories":▲{}}', 'an object stands where an array should be'],
    ['{"categories":[▲"x",▲null]}', 'a string stands where an object should be', 'null stands where an object should be'],
    ['{"categories":[▲{▲"kye":"k"}]}', 'the property "key" is missing', 'unknown property "kye"; is "key" meant?'],
    ['{"categories":[{"key":▲""}]}', 'the string is empty'],
    [ofCategory('"label":▲5,"icon":▲null'), 'a number stands where a string should be', 'null stands where a string should be'],
    [ofCategory('"priority":▲true'), 'a boolean stands where a number should be'],
    [ofCategory('"priority":▲"3x"'), '"3x" is no number'],
    [ofCategory('"priority":▲1e400'), 'the number is too large'],
    [ofCategory('"en":["😀中",▲"\\t ",▲7]'), 'the alias is blank', 'a number stands where a string should be'],
    [ofCategory(`"en":[▲"${'x'.repeat(65536)}"]`), 'the string is longer than 65535 bytes'],
    ['{"categories":[{"key":"k","zh":△["a"],▲"zh":["b"]}]}', 'the property "zh" stands twice; the first is at @'],
    [ofCategory('"details":[{▲"lable":"x"}]'), 'unknown property "lable"; is "label" meant?'],
    [ofCategory('"en":[△"A a",▲"aa"]'), 'warning: the alias "aa" is hidden by the one at @'],
    ['{"categories":[{"key":▲"k","zh":[]}]}', 'warning: the scene "k" has no alias of its own, so nothing can be derived from it'],
    ['{"categories":[{"key":△"k","zh":["a"]},{"label":"K","key":▲"k","zh":["b"]}]}', 'warning: the scene "k" has other labels or another priority than at @'],
    ['{"compoundOverrides":[{"sceneKey":▲"k"},▲{"detailLabel":"d"}]}', 'no category with an alias has the key "k"', 'the property "sceneKey" is missing'],
    ['{"humans":[{"sceneKey":▲"k"},{"sceneKey":"","zh":[▲"rest"]}]}', 'no category with an alias has the key "k"', 'warning: a phrase of plain letters is looked for in English readings; it belongs under "en"'],
    ['{"facets":[{"dimension":"d","key":▲"","weight":▲"x"}]}', 'the string is empty', '"x" is no number'],
    ['{"facets":[{"dimension":"d","key":"f","weight":1,"zh":[△"甲"]},{"dimension":"d","key":"f","weight":2,"zh":[▲"甲"]}]}', 'warning: the alias "甲" is hidden by the one at @'],
    ['{"facets":[{"dimension":"d","key":"f","en":[▲"street food"]}]}', 'warning: the facet alias is looked for as "streetfood", without its blanks'],
    ['{"celebrities":[{"id":"i","name":▲" "},▲{"id":"i"}]}', 'the name is blank', 'the property "name" is missing'],
    ['{"celebrities":[{"id":"i","name":"n","tags":[▲"a\\u001eb"],"aliases":▲["x"]}]}', 'the byte 0x1e separates tags and cannot stand in one', 'an array stands where an object should be'],
    ['{"locations":[{"code":"c","section":▲"location-cn","label":▲""}]}', 'a lexicon holds the section "location" alone: places of other sections stand in .tsv sources', 'the string is empty'],
  ]) {
    const columnsOf = (mark) => Array.from(marked.replaceAll(mark === '▲' ? '△' : '▲', '')).flatMap((character, i) => (character === mark ? [i] : []));
    const columns = columnsOf('▲').map((index, before) => index - before + 1);
    const reference = `a.json:1:${columnsOf('△')[0] + 1}`;
    const { findings } = compileLexicons([source(marked.replace(/[▲△]/g, ''))]);
    findings.sort((x, y) => x.offset - y.offset);
    assert.deepEqual(told(findings), messages.map((message, i) => `a.json:1:${columns[i]}: ${message.replace('@', reference)}`));
  }
  assert.deepEqual(told(compileLexicons([source('{\n "humans": [\r\n\t{"sceneKey": "", "zh": [5]}\n]}')]).findings), ['a.json:3:26: a number stands where a string should be']);
  const override = source({ shortTitleOverrides: [{ sceneKey: 'food', zh: ['a'] }] });
  const unknown = 'no category with an alias has the key "food"';
  for (const [sources, options, expected] of [
    [[override, source(FOOD, 'b.json')], {}, []],
    [[override], { kind: 'patch' }, [`a.json:1:37: warning: ${unknown}`]],
    [[override], { complete: false }, []],
    [[override, source('{', 'b.json')], {}, ['b.json:1:2: the text ends where a property name in double quotes should be']],
  ]) {
    assert.deepEqual(told(compileLexicons(sources, options).findings), expected);
  }
});

const HEADER = 'alias\tcode\tlang\tweight\tlabel\tcountryLabel';

test('places: rows grouped by alias, findings with their places', () => {
  const good = source(`${HEADER}\r\nNew York\tUS-NY\ten\t0.75\tNew York\tUnited States\r\n东京\tJP-13\tzh\t-1e-1\t东京\t\r\nnewyork\tUS-XX\ten\t1\t\t\r\n`, 'x/location-a.tsv');
  const { name, rowCount, data, findings } = compilePlaces(good);
  assert.deepEqual([name, rowCount, findings], ['location-a', 3, []]);
  const expected = buildLocationShard([
    { alias: 'newyork', records: [{ code: 'US-NY', englishFlag: 1, weight: 0.75, label: 'New York', countryLabel: 'United States' }, { code: 'US-XX', englishFlag: 1, weight: 1 }] },
    { alias: '东京', records: [{ code: 'JP-13', weight: -0.1, label: '东京' }] },
  ]);
  assert.equal(data.toString('hex'), expected.toString('hex'));
  const row = (text) => `${HEADER}\n${text}`;
  for (const [text, expectedFindings, path = 'location-a.tsv'] of [
    ['', ['1:1: the header is not alias, code, lang, weight, label, countryLabel, separated by tabs']],
    [HEADER, []],
    [row('中 \t\tfr\t0x1\tl\tc\n'), ['2:4: the code is empty', '2:5: the language is "fr", not "zh" or "en"', '2:8: "0x1" is no weight']],
    [row(' \tc\ten\t1e39\tl\tc'), ['2:1: the alias is blank', '2:8: "1e39" is no weight']],
    [row('a\tc\tzh\t1\t\tc'), ['2:10: a "zh" place without a label is never found']],
    [row('a\tb\n\na\tc\ten\t\tl\tc\td'), ['2:1: the row has 2 columns, not 6', '3:1: the row has 1 columns, not 6', '4:1: the row has 7 columns, not 6']],
    [row('A a\tc\ten\t1\tl\tc\naa\tc\ten\t2\tl\tc'), ['3:1: warning: the place stands already at location-a.tsv:2:1']],
    [HEADER, ['1:1: the file must be named location-NAME.tsv, NAME of ASCII letters, digits, "-", "." and "_"'], 'places.tsv'],
  ]) {
    const result = compilePlaces(source(text, path));
    assert.deepEqual(told(result.findings), expectedFindings.map((finding) => `${path}:${finding}`));
    assert.equal(result.data === undefined, expectedFindings.some((finding) => !finding.includes('warning')), text);
  }
});

/** Runs a command line in a fresh directory with the given files, paths being relative to it. */
async function inDirectory(files, work) {
  const directory = realpathSync(mkdtempSync(join(tmpdir(), 'klrx-test-')));
  const before = process.cwd();
  process.chdir(directory);
  try {
    for (const [name, content] of Object.entries(files)) writeFileSync(name, typeof content === 'object' && !Buffer.isBuffer(content) ? JSON.stringify(content) : content);
    await work(async (line, addon) => {
      const printed = { out: '', err: '' };
      const args = Array.isArray(line) ? line : line.split(' ');
      const status = await run(args, {
        out: (text) => (printed.out += text),
        err: (text) => (printed.err += text),
        loadAddon: async () => addon ?? assert.fail('the addon is not needed here'),
      });
      return { status, ...printed };
    }, directory);
  } finally {
    process.chdir(before);
    rmSync(directory, { recursive: true, force: true });
  }
}

const PLACES = `${HEADER}\n东京\tJP-13\tzh\t1\t东京\t日本\n`;
const NONCE = '000102030405060708090a0b';

test('build: the pack is that of the builders, and the same every time', () =>
  inDirectory({ 'lex.json': `\ufeff${JSON.stringify(FOOD)}`, 'location-jp.tsv': PLACES, 'old.klrx': 'old' }, async (klrx) => {
    const nonce = Buffer.from(NONCE, 'hex');
    const rows = [{ term: '火锅', fields: ['food', '', '', 'category', 'zh', '', '', '', '', '', ''] }];
    const index = { type: 8, name: 'semantic-binary-index-v1', data: buildBinaryIndex({ sections: [{ type: 'scene', rows }] }) };
    const shard = { type: 6, name: 'location-jp', data: buildLocationShard([{ alias: '东京', records: [{ code: 'JP-13', weight: 1, label: '东京', countryLabel: '日本' }] }]) };
    for (const [options, expected] of [
      ['lex.json location-jp.tsv', { ruleSetId: 'old', documents: [index, shard] }],
      ['location-jp.tsv lex.json --compress', { ruleSetId: 'old', documents: [index, shard], compression: 'lz4-block-v1' }],
      ['lex.json --rule-set-id r2 --base-rule-set-id r1 --kind patch --key release-v1', { kind: 'patch', ruleSetId: 'r2', baseRuleSetId: 'r1', keyId: 'release-v1', documents: [index] }],
      ['location-jp.tsv', { ruleSetId: 'old', documents: [shard] }],
    ]) {
      const result = await klrx(`build ${options} --out old.klrx --nonce ${NONCE}`);
      assert.equal(result.status, 0, result.err);
      assert.equal(result.err !== '', options.includes('release-v1'), 'the public release key is warned of');
      assert.equal(readFileSync('old.klrx').compare(buildPack({ ...expected, nonce })), 0, options);
    }
    assert.deepEqual(readdirSync('.').sort(), ['lex.json', 'location-jp.tsv', 'old.klrx'], 'no temporary file stays');
    const report = JSON.parse((await klrx('build lex.json --out old.klrx --json')).out);
    assert.deepEqual(report, {
      pack: 'old.klrx', packBytes: readFileSync('old.klrx').length, kind: 'base', ruleSetId: 'old', baseRuleSetId: 'old',
      rows: { scene: 1, human: 0, celebrity: 0, location: 0, facet: 0 }, shards: {}, warnings: 0,
    });
    assert.equal((await klrx('build lex.json --out none/new.klrx')).err, 'klrx: none/new.klrx: cannot be written: no such file or directory\n');
  }));

test('build: wrong sources are all told, and nothing is written', () =>
  inDirectory({ 'a.json': '{"x":1}', 'b.json': '[', 'c.json': Buffer.from([0x22, 0xff, 0x22]), 'location-a.tsv': `${HEADER}\nx\n`, 'p.klrx': 'old' }, async (klrx) => {
    const { status, out, err } = await klrx('build location-a.tsv b.json gone.json c.json a.json --out p.klrx');
    assert.equal(status, 1);
    assert.equal(out, '');
    assert.deepEqual(err.split('\n'), [
      'gone.json:1:1: the source cannot be read: no such file or directory',
      'c.json:1:1: the source is not UTF-8 text',
      'location-a.tsv:2:1: the row has 1 columns, not 6',
      'b.json:1:2: the text ends where a value should be',
      'a.json:1:2: unknown property "x"',
      'klrx: 5 errors, nothing written',
      '',
    ]);
    assert.equal(readFileSync('p.klrx', 'utf8'), 'old');
    assert.equal(readdirSync('.').length, 5);
  }));

test('wrong usage is status 2, help and version are 0 anywhere', () =>
  inDirectory({ 'a.json': FOOD, 'in.klrx': 'x', 'k.pem': 'x' }, async (klrx, directory) => {
    symlinkSync('a.json', 'alias.klrx');
    symlinkSync('in.klrx', 'also.klrx');
    linkSync('a.json', 'twin.json'); // a file of its own by name: not refused
    for (const [line, message] of [
      ['', ' is no command'],
      [[], 'a command is missing'],
      ['bulid a.json', 'bulid is no command'],
      ['toString', 'toString is no command'],
      ['build --out p.klrx', 'build needs at least one source'],
      ['build a.json', 'build needs --out PACK'],
      ['build a.json --out p.zip', 'p.zip does not end in .klrx'],
      ['build a.txt --out p.klrx', 'a.txt is no .json or .tsv source'],
      ['build a.json ./a.json --out p.klrx', 'a source is given twice'],
      ['build a.json --out alias.klrx', 'alias.klrx is an input and the output'],
      ['build a.json --out p.klrx --kind delta', '--kind is base or patch, not delta'],
      ['build a.json --out p.klrx --key mine', '--key is test-v1 or release-v1, not mine'],
      ['build a.json --out p.klrx --kind patch', 'a patch needs --base-rule-set-id ID'],
      [['build', 'a.json', '--out', 'p q.klrx'], 'the rule set id "p q" is not 1 to 96 of the letters, digits, "-", "." and "_"'],
      ['build a.json --out p.klrx --nonce 00', '--nonce is not 24 hexadecimal digits'],
      ['build a.json --out p.klrx --fast', "unknown option '--fast'"],
      ['build a.json --out', "option '--out <value>' argument missing"],
      ['inspect', 'inspect needs one PACK'],
      ['verify a.json', 'verify needs MANIFEST and PACK'],
      ['sign --out m.json --development', 'sign needs --pack PACK'],
      ['sign --pack in.klrx --development', 'sign needs --out MANIFEST'],
      ['sign in.klrx --out m.json', 'sign takes no in.klrx; the pack is given with --pack'],
      ['sign --pack in.klrx --out m.json', 'sign needs either --key KEY.pem or --development'],
      ['sign --pack in.klrx --out m.json --development --key k.pem', 'sign needs either --key KEY.pem or --development'],
      ['sign --pack in.klrx --out also.klrx --development', 'also.klrx is an input and the output'],
      ['sign --pack in.klrx --out k.pem --key k.pem', 'k.pem is an input and the output'],
      ['sign --pack in.klrx --out m.json --development --modules [[]]', '--modules is no array of strings without "]"'],
      ['sign --pack in.klrx --out m.json --development --modules [', '--modules is no JSON'],
    ]) {
      const { status, out, err } = await klrx(line);
      assert.deepEqual([status, out, err.split('\n')[0]], [2, '', `klrx: ${message}`]);
    }
    assert.ok(!existsSync('p.klrx') && !existsSync('m.json'));
    for (const line of ['--help', 'build --nonsense --help', 'inspect x -h']) {
      const { status, out, err } = await klrx(line);
      assert.deepEqual([status, err], [0, '']);
      assert.match(out, /^klrx makes.*\n\nusage:\n/);
    }
    const script = new URL('../tools/klrx.mjs', import.meta.url).pathname;
    const { version } = JSON.parse(readFileSync(new URL('../package.json', import.meta.url), 'utf8'));
    assert.equal(execFileSync(process.execPath, [script, 'build', '--version'], { cwd: directory, encoding: 'utf8' }), `klrx ${version}\n`);
  }));

test('sign: the manifest of the builders, and no signature that could never verify', () =>
  inDirectory({}, async (klrx) => {
    const { privateKey } = generateKeyPairSync('ed25519');
    const pem = privateKey.export({ format: 'pem', type: 'pkcs8' });
    writeFileSync('key.pem', pem);
    writeFileSync('rsa.pem', generateKeyPairSync('rsa', { modulusLength: 1024 }).privateKey.export({ format: 'pem', type: 'pkcs8' }));
    const patch = buildPack({ kind: 'patch', ruleSetId: 'r2', baseRuleSetId: 'r1', documents: [] });
    writeFileSync('p.klrx', patch);
    writeFileSync('p"q.klrx', patch);
    writeFileSync('base.klrx', buildPack({ ruleSetId: 'r', documents: [] }));
    writeFileSync('same.klrx', buildPack({ kind: 'patch', ruleSetId: 'r', baseRuleSetId: 'r', documents: [] }));
    for (const [line, expected] of [
      ['--key key.pem', { signingKey: privateKey }],
      ['--development --modules ["a","b"]', { modules: ['a', 'b'] }],
    ]) {
      const { status, err } = await klrx(`sign --pack p.klrx --out m.json ${line}`);
      assert.equal(status, 0, err);
      assert.equal(err !== '', line.includes('--development'), 'the development key is warned of');
      assert.equal(readFileSync('m.json', 'utf8'), buildManifest({ packPath: 'p.klrx', ...expected }));
    }
    for (const [line, message] of [
      ['--pack base.klrx --development', 'base.klrx: is a base pack, and only a patch can be signed'],
      ['--pack same.klrx --development', 'same.klrx: leads from r to itself'],
      ['--pack p"q.klrx --development', 'p"q.klrx: a pack of this name cannot be named in a manifest'],
      ['--pack gone.klrx --development', 'gone.klrx: cannot be read: no such file or directory'],
      ['--pack key.pem --development', 'key.pem: the file is not a rule pack'],
      ['--pack p.klrx --key p.klrx', 'p.klrx: is not UTF-8 text'],
      ['--pack p.klrx --key m.json', 'm.json: is no unencrypted private key in PEM form'],
      ['--pack p.klrx --key rsa.pem', 'rsa.pem: is an rsa key, not an ed25519 key'],
    ]) {
      const { status, err } = await klrx(`sign --out n.json ${line}`);
      assert.deepEqual([status, err], [1, `klrx: ${message}\n`]);
    }
    assert.ok(!existsSync('n.json'));
  }));

test('inspect and verify: what the addon is asked, and how its answer is told', () =>
  inDirectory({ 'p.klrx': 'x', 'm.json': { baseRuleSetId: 'r1', ruleSetId: 'r2' }, 'n.json': '{' }, async (klrx, directory) => {
    const asked = [];
    const answer = { baseRuleSetId: 'r1', ruleSetId: 'r2', packSha256: 'ff' };
    const addon = { verifySemanticDeltaManifest: (options) => asked.push(options) && answer };
    const refusing = (message) => ({
      verifySemanticDeltaManifest: () => assert.fail(message),
      inspectRulePack: () => {
        throw new Error(message);
      },
    });
    const expected = { manifestPath: 'm.json', packPath: 'p.klrx', allowedRoot: directory, baseRuleSetId: 'r1', ruleSetId: 'r2' };
    assert.equal((await klrx('verify m.json p.klrx', addon)).out, 'p.klrx: signed patch from r1 to r2, sha256 ff\n');
    assert.deepEqual(JSON.parse((await klrx('verify m.json p.klrx --json --root / --rule-set-id r3', addon)).out), answer);
    await klrx(`verify ${directory}/m.json /elsewhere/p.klrx`, addon);
    assert.deepEqual(asked, [
      expected,
      { ...expected, allowedRoot: '/', ruleSetId: 'r3' },
      { ...expected, manifestPath: `${directory}/m.json`, packPath: '/elsewhere/p.klrx', allowedRoot: '/' },
    ]);
    for (const [line, message, err] of [
      ['inspect p.klrx', 'semantic rule-pack magic is invalid', 'klrx: p.klrx: semantic rule-pack magic is invalid\n'],
      ['inspect p.klrx', '', 'klrx: p.klrx: its index document has a wrong name or encoding\n'],
      ['inspect p.klrx --root /', 'it is outside the approved root', 'klrx: hint: nothing is inside the root of a file system; use a directory below it\nklrx: p.klrx: it is outside the approved root\n'],
      ['inspect 中.klrx', 'it is outside the approved root', 'klrx: hint: no path with a character beyond ASCII is inside a root; use another directory\nklrx: 中.klrx: it is outside the approved root\n'],
      ['verify n.json p.klrx', 'never asked', 'klrx: n.json: is no JSON\n'],
    ]) {
      const result = await klrx(line, refusing(message));
      assert.deepEqual([result.status, result.out, result.err], [1, '', err]);
    }
  }));

test('inspect and verify with the addon itself', (t) =>
  inDirectory({ 'lex.json': FOOD, 'location-jp.tsv': PLACES }, async (klrx) => {
    const { addon } = await import('./support/addon.mjs');
    assert.equal((await klrx('build lex.json location-jp.tsv --out base.klrx --compress')).status, 0);
    const inspected = await klrx('inspect base.klrx --json', addon);
    assert.equal(inspected.err, '');
    const { documentCounts, packBytes, payloadSha256, binaryIndex } = JSON.parse(inspected.out);
    assert.deepEqual(documentCounts, { 'location-shard': 1, 'semantic-index': 1 });
    assert.equal(packBytes, readFileSync('base.klrx').length);
    assert.equal(payloadSha256, readPackMetadata(readFileSync('base.klrx')).payloadSha256);
    assert.deepEqual(binaryIndex.sectionCounts, { celebrity: 0, facet: 0, human: 0, location: 0, scene: 1 });
    const { out } = await klrx('inspect base.klrx', addon);
    assert.match(out, /^base\.klrx: sound\nkind +base\nrule set +base\nbase +base\nsize +\d+ bytes\n/);
    assert.match(out, /\n {2}scene +1 rows\n$/);

    assert.equal((await klrx('build lex.json --out patch.klrx --kind patch --base-rule-set-id base')).status, 0);
    assert.equal((await klrx('sign --pack patch.klrx --out m.json --development')).status, 0);
    const verified = await klrx('verify m.json patch.klrx', addon);
    assert.match(verified.out, /^patch\.klrx: signed patch from base to patch, sha256 [0-9a-f]{64}\n$/, verified.err);
    copyFileSync('base.klrx', 'patch.klrx');
    const refused = await klrx('verify m.json patch.klrx', addon);
    assert.deepEqual([refused.status, refused.err], [1, 'klrx: m.json: semantic delta manifest pack digest or size mismatch\n']);
  }));

test('a reader that stops early, as head does, changes neither the status nor what else is said', async () => {
  for (const [argument, closed, expected] of [['--help', 'stdout', 0], ['bulid', 'stderr', 2]]) {
    const child = spawn(process.execPath, [new URL('../tools/klrx.mjs', import.meta.url).pathname, argument]);
    child[closed].destroy();
    let said = '';
    for (const stream of [child.stdout, child.stderr]) stream.on('data', (text) => (said += text));
    assert.deepEqual([...(await once(child, 'close')), said], [expected, null, '']);
  }
});
