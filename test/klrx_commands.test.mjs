// The command klrx: what a command line does, prints and writes, and the status with which it ends.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { generateKeyPairSync } from 'node:crypto';
import { once } from 'node:events';
import {
  copyFileSync, existsSync, linkSync, mkdirSync, readdirSync, readFileSync, statSync, symlinkSync, writeFileSync,
} from 'node:fs';
import { parse } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { buildBinaryIndex, buildLocationShard, buildManifest, buildPack, readPackMetadata } from '../tools/index.mjs';
import { COMMANDS } from '../tools/commands/run.mjs';
import { readPack } from '../tools/lib/pack_reader.mjs';
import { addon } from './support/addon.mjs';
import { enter, HEADER, klrx } from './support/klrx.mjs';
import { isWindows, noLinks, noQuotedNames } from './support/platform.mjs';

const publicKeyText = (keyId) =>
  `${keyId} of the development trust file is public: anybody can read and replace the pack; --trust names another file`;
const publicKey = (keyId = 'test-v1') => `klrx: warning: ${publicKeyText(keyId)}\n`;
const UNKNOWN = 'unknown property "x" (allowed: categories, shortTitleOverrides, compoundOverrides, conflictOverrides, humans, celebrities, locations, facets)';
const FOOD = '{"categories":[{"key":"food","zh":["火锅"]}]}';
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
    const [status, , err] = await klrx(`build ${line} --out old.klrx --force --nonce 000102030405060708090a0b`);
    assert.deepEqual([status, err], [0, publicKey(line.includes('release-v1') ? 'release-v1' : 'test-v1')]);
    assert.deepEqual(readFileSync('old.klrx'),
      buildPack({ ...expected, nonce: Buffer.from('000102030405060708090a0b', 'hex') }), line);
  }
  const report = JSON.parse((await klrx('build lex.json --out old.klrx --force --json'))[1]);
  const { length: packBytes } = readFileSync('old.klrx');
  assert.deepEqual(report, { ok: true, pack: 'old.klrx', packBytes, kind: 'base', ruleSetId: 'old', baseRuleSetId: 'old',
    rows: { scene: 1, human: 0, celebrity: 0, location: 0, facet: 0 }, shards: {}, findings: [], warnings: [publicKeyText('test-v1')] });
  mkdirSync('d.klrx');
  for (const [out, reason] of [['no/p.klrx', 'no such file or directory'], ['d.klrx', 'it is a directory']]) {
    assert.deepEqual(await klrx(`build lex.json --out ${out}`),
      [1, '', `klrx: ${out}: cannot be written: ${reason}\n`]);
  }
  assert.deepEqual(readdirSync('.').sort(), ['d.klrx', 'lex.json', 'location-jp.tsv', 'old.klrx'],
    'no temporary file stays');

  enter({ 'a.json': '{"x":1}', 'b.json': '[', 'c.json': Buffer.of(0xff), 'location-a.tsv': `${HEADER}x\n`,
    'p.klrx': 'old' });
  assert.deepEqual(await klrx('build location-a.tsv b.json gone.json c.json a.json --out p.klrx --force'), [1, '', [
    'location-a.tsv:2:1: the row has 1 columns, not 6', 'b.json:1:2: the text ends where "]" should be',
    'gone.json:1:1: the source cannot be read: no such file or directory', 'c.json:1:1: the source is not UTF-8 text',
    `a.json:1:2: ${UNKNOWN}`, 'klrx: 5 errors, nothing written', ''].join('\n')]);
  assert.deepEqual([readFileSync('p.klrx', 'utf8'), readdirSync('.').length], ['old', 5]);
});

test('build: folders, comments, the base of a patch, and what is warned of', async () => {
  const cities = { shortTitleOverrides: [{ sceneKey: 'food', zh: ['吃饭'] }] };
  enter({ 'lex/a.jsonc': '{ // the scene\n"$schema": "s", "categories": [{"key":"food","label":"Food","zh":["面" /* noodles */]}] }',
    'lex/b.json': FOOD, 'lex/location-z.tsv': PLACES, 'lex/titles.tsv': 'raw\n', 'lex/.old.json': '[', 'empty.json': '{}',
    'patch.json': cities, 'wrong.json': { humans: [{ sceneKey: 'x', zh: ['去'] }] }, 'no/x.txt': '', 'base.klrx': '' });
  const reportOf = async (line) => JSON.parse((await klrx(`build ${line} --force --json`))[1]);
  const { rows, shards } = await reportOf('lex --out base.klrx');
  assert.deepEqual([rows.scene, shards], [2, { 'location-z': 1 }]);
  const { sections } = readPack('base.klrx');
  assert.deepEqual(sections.scene.map(({ term }) => term), ['面', '火锅'], 'in the order of the names');
  for (const [line, expected] of [
    ['gone --out p.klrx', { error: 'gone: no such file or directory' }],
    ['no --out p.klrx', { error: 'no: holds no source (*.json, *.jsonc, location-NAME.tsv)' }],
    ['empty.json --out p.klrx', { warnings: ['the pack is empty: no source has a row'] }],
    ['patch.json --kind patch --base-rule-set-id p --out p.klrx',
      { warnings: ['the patch leads from p to itself, and no reader takes such a patch; give another --rule-set-id'] }],
    ['patch.json --kind patch --base base.klrx --out p.klrx', { baseRuleSetId: 'base', findings: [] }],
    ['wrong.json --kind patch --base base.klrx --out p.klrx', { error: '1 error, nothing written' }],
    ['patch.json --kind patch --base base.klrx --base-rule-set-id other --out q.klrx',
      { error: 'base.klrx: is the rule set base, not other' }],
    ['patch.json --kind patch --base p.klrx --out q.klrx', { error: 'p.klrx: is a patch pack, and a patch builds on a base' }],
    ['patch.json --kind patch --base empty.json --out q.klrx', { error: 'empty.json: the file is not a rule pack' }],
  ]) {
    const report = await reportOf(line);
    const warnings = report.warnings.filter((warning) => warning !== publicKeyText('test-v1'));
    assert.deepEqual({ ...report, warnings: expected.warnings ? warnings : [] }, { ...report, warnings: [], ...expected }, line);
  }
  const [{ term, fields }] = readPack('p.klrx').sections.scene;
  assert.deepEqual([term, fields[5]], ['吃饭', 'Food'], 'with the data of the scene in the base');
  assert.match((await klrx('build patch.json --kind patch --base base.klrx --out p.klrx --force'))[1],
    /^p\.klrx: patch p for the base base, /);
});

test('wrong usage is status 2 and writes nothing, help and version are 0 anywhere', async () => {
  enter({ 'a.json': FOOD, 'in.klrx': 'x', 'k.pem': 'x' });
  const [build, sign] = ['build a.json --out p.klrx', 'sign --pack in.klrx --out m.json'];
  for (const [line, message] of [
    [[], 'a command is missing'], ['', ' is no command'], ['toString', 'toString is no command'], ['bulid x', 'bulid is no command; is build meant?'],
    ['build --out p.klrx', 'build needs at least one source'], ['build a.json', 'build needs --out PACK'],
    ['build a.json --fast', "unknown option '--fast'"],
    ['build a.json --out', "option '--out <value>' argument missing"],
    ['build a.json --out p.zip', 'p.zip does not end in .klrx'],
    ['build a.txt --out p.klrx', 'a.txt is no .json, .jsonc or .tsv source'],
    [['build', 'a.json', '--out', 'p q.klrx'],
      'the rule set id "p q" is not 1 to 96 of the letters, digits, "-", "." and "_"'],
    ['build a.json ./a.json --out p.klrx', 'a source is given twice'],
    [`${build} --kind delta`, '--kind is base or patch, not delta'],
    [`${build} --key x`, '--key is test-v1 or release-v1, not x'],
    [`${build} --kind patch`, 'a patch needs --base PACK or --base-rule-set-id ID'],
    [`${build} --base b.klrx`, '--base goes with --kind patch'],
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
  ]) {
    const [name = ''] = Array.isArray(line) ? line : line.split(' ');
    const help = Object.hasOwn(COMMANDS, name) ? `klrx ${name} --help` : 'klrx --help';
    assert.deepEqual(await klrx(line), [2, '', `klrx: ${message}\nklrx: hint: ${help} shows the usage\n`]);
  }
  assert.equal(readdirSync('.').length, 3);
  linkSync('a.json', 'twin.json'); // a file of its own by name
  assert.equal((await klrx('build a.json twin.json --out p.klrx'))[0], 0);
  const { version } = JSON.parse(readFileSync(new URL('../package.json', import.meta.url), 'utf8'));
  assert.deepEqual(await klrx('inspect x --version'), [0, `klrx ${version}\n`, '']);
  for (const [line, begin] of [['--help', 'klrx makes'], ['bulid -h', 'klrx makes'], ['build --no --help', 'klrx build: '],
    ['inspect -h', 'klrx inspect: ']]) {
    const [status, out, err] = await klrx(line);
    assert.deepEqual([status, out.startsWith(begin), err], [0, true, ''], line);
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
    const [status, out, err] = await klrx(`${line} --force --out ${name}`);
    assert.deepEqual([status, out, err.split('\n')[0]], [2, '', `klrx: ${name} is an input and the output`]);
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
    const [status, , err] = await klrx(`sign --pack p.klrx --out m.json --force ${line}`);
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
      `p.klrx: ${outside}\nklrx: hint: nothing is inside the root of a file system; use a directory below it\n`],
    ['inspect 中.klrx', outside,
      `中.klrx: ${outside}\n` +
        'klrx: hint: no path with a character beyond ASCII is inside a root; use another directory\n'],
    ['verify n.json p.klrx', 'never asked', 'n.json: is no JSON\n'],
  ]) {
    const inspectRulePack = () => { throw new Error(message); };
    assert.deepEqual(await klrx(line, { inspectRulePack }), [1, '', `klrx: ${err}`]);
  }

  for (const line of ['build lex.json location-jp.tsv --out base.klrx --compress',
    'build lex.json --out p.klrx --kind patch --base-rule-set-id base', 'sign --pack p.klrx --out m.json --development --force',
  ]) assert.equal((await klrx(line))[0], 0, line);
  const { documentCounts, payloadSha256, binaryIndex } = JSON.parse((await klrx('inspect base.klrx --json', addon))[1]);
  assert.deepEqual([documentCounts, payloadSha256, binaryIndex.sectionCounts.scene],
    [{ 'location-shard': 1, 'semantic-index': 1 }, readPackMetadata(readFileSync('base.klrx')).payloadSha256, 1]);
  assert.match((await klrx('inspect base.klrx', addon))[1],
    /^base\.klrx: sound\nkind +base\nrule set +base\nbase +base\nkey +test-v1, which is public\n[^]*\n {2}scene +1 rows\n/);
  assert.match((await klrx('verify m.json p.klrx', addon))[1],
    /^p\.klrx: signed patch from base to p, sha256 [0-9a-f]{64}\n$/);
  copyFileSync('base.klrx', 'p.klrx');
  assert.match((await klrx('verify m.json p.klrx', addon))[2],
    /^klrx: m.json: semantic delta manifest pack digest or size mismatch\nklrx: hint: the pack has .*\n$/);
});

test('errors as JSON, files that are there, progress', async () => {
  enter({ 'a.json': FOOD, 'bad.json': '{"x":1}', 'p.klrx': 'old' });
  const exists = { error: 'p.klrx: exists already', hint: '--force overwrites it', status: 1 };
  const usage = { error: 'build needs --out PACK', hint: 'klrx build --help shows the usage', status: 2 };
  const finding = { file: 'bad.json', line: 1, column: 2, severity: 'error', message: UNKNOWN };
  for (const [line, expected] of [
    ['build a.json --out p.klrx --json', exists], ['build a.json --json', usage],
    ['build bad.json --out q.klrx --json', { error: '1 error, nothing written', status: 1, findings: [finding] }],
  ]) {
    const [status, out, err] = await klrx(line);
    assert.deepEqual([status, err, JSON.parse(out)], [expected.status, '', { ok: false, ...expected, warnings: [] }]);
  }
  assert.deepEqual(await klrx('build a.json --out p.klrx'), [1, '', `klrx: ${exists.error}\nklrx: hint: ${exists.hint}\n`]);
  assert.deepEqual([readFileSync('p.klrx', 'utf8'), readdirSync('.').length], ['old', 3]);
  const [, , err] = await klrx('build a.json --out q.klrx', undefined, { terminal: true });
  assert.equal(err, `\r\x1b[Kklrx: compiling 1 source\r\x1b[K${publicKey()}`);
});

test('the examples of --help, one after the other as they stand', async () => {
  const category = (key, zh) => ({ categories: [{ key, zh: [zh] }] });
  enter({ 'lexicon.json': FOOD, 'location-eu.tsv': PLACES, 'patch.json': category('skate', '滑板'), 'next.json': category('skate', '滑板'),
    'titles.tsv': 'raw\ten\n火锅\t\n滑板\t\n', 'titles.txt': '火锅\n', 'titles.jsonl': '{"raw":"火锅","id":1}\n', 'cases.tsv': 'raw\tscene\n火锅\tfood\n',
    'lexicon/a.json': FOOD, 'lexicon/location-jp.tsv': PLACES });
  for (const [name, { examples }] of Object.entries(COMMANDS)) {
    const [, help] = await klrx(`${name} --help`);
    assert.ok(help.split('\n').every((line) => line.length <= 80 || /^ {2}(?:#|klrx)/.test(line)), `${name}: lines of 80 columns`);
    assert.notEqual(examples.length, 0, name);
    for (const [what, line] of examples) {
      assert.ok(help.includes(`  # ${what}\n  ${line}\n`));
      if (line.includes('redis:')) continue; // test/queue has a server
      const [status, out, err] = await klrx(line.replace(/^klrx /, ''), addon);
      assert.deepEqual([status, out === ''], [0, false], `${line}: ${err}`);
    }
  }
});

test('keygen, sign, verify: fresh keys that nobody else can read, and the check that failed by name', async () => {
  const lexicon = { categories: [{ key: 'food', zh: ['面'] }] };
  enter({ 'lex.json': lexicon, 'more.json': { categories: [{ key: 'city', zh: ['街'] }] } });
  const [, out] = await klrx('keygen --out trust.json --signing-key key.pem');
  const [trust, other] = [JSON.parse(readFileSync('trust.json', 'utf8')), (await klrx('keygen --out t2.json --signing-key k2.pem'))[1]];
  assert.notEqual(out.replace(/^.*\n.*\n/, ''), other.replace(/^.*\n.*\n/, ''));
  if (!isWindows) assert.deepEqual(['trust.json', 'key.pem'].map((path) => statSync(path).mode & 0o777), [0o600, 0o600]);
  const pieces = JSON.stringify(trust.packKeys).match(/[0-9a-f]{16,}/g);
  assert.deepEqual([pieces.length, pieces.filter((piece) => out.includes(piece))], [5, []], 'keys are not shown');
  for (const [line, message] of [
    ['--out trust.json --signing-key n.pem', 'trust.json: exists already\nklrx: hint: --force overwrites it'],
    ['--out n.json --signing-key ./n.json', 'the trust file and the signing key are two files\nklrx: hint: klrx keygen --help shows the usage'],
    ['--out n.json --signing-key n.pem --name development', 'development is the name of the public trust file\nklrx: hint: klrx keygen --help shows the usage'],
  ]) assert.equal((await klrx(`keygen ${line}`))[2], `klrx: ${message}\n`);

  // Sealed with the new keys: no warning, opened with them alone, and signed with the key that they pin.
  assert.equal((await klrx('build lex.json --trust trust.json --out own.klrx'))[2], '');
  assert.match((await klrx('unpack own.klrx o'))[2], /cannot be opened with the key test-v1.*\n.*--trust FILE/);
  assert.equal((await klrx('unpack own.klrx o --trust trust.json'))[0], 0);
  await klrx('build more.json --kind patch --base own.klrx --trust trust.json --out own2.klrx');
  assert.equal((await klrx('sign --pack own2.klrx --key key.pem --trust trust.json --out own.manifest'))[0], 0);
  assert.equal((await klrx('sign --pack own2.klrx --key k2.pem --trust trust.json --out n'))[2],
    'klrx: k2.pem: is not the key that trust.json pins\n');

  for (const line of ['build lex.json --out base.klrx', 'build lex.json --out base9.klrx',
    'build more.json --kind patch --base base.klrx --out p.klrx', 'sign --pack p.klrx --development --out m.json',
    'sign --pack p.klrx --key k2.pem --out foreign.json']) assert.equal((await klrx(line))[0], 0, line);
  const manifest = readFileSync('m.json', 'utf8');
  const edit = (name, ...change) => writeFileSync(name, manifest.replace(...change));
  edit('spaced.json', '"version":1', '"version": 1');
  edit('schema.json', 'manifest.v1', 'manifest.v2');
  edit('forged.json', '"modules":[]', '"modules":["x"]');
  edit('size.json', /"packBytes":/, '"packBytes":1');
  copyFileSync('p.klrx', 'renamed.klrx');
  mkdirSync('changed');
  writeFileSync('changed/p.klrx', readFileSync('p.klrx').map((byte, i) => (i === 100 ? byte ^ 1 : byte)));
  const baseManifest = buildManifest({ packPath: 'base.klrx', baseRuleSetId: 'older', ruleSetId: 'base' });
  writeFileSync('kind.json', baseManifest);
  for (const [line, check, hint] of [
    ['m.json p.klrx --base base9.klrx', 'base', 'it is for the base base, not base9'],
    ['m.json p.klrx --rule-set-id q', 'rule-set', 'it leads to the rule set p, not q'],
    ['m.json renamed.klrx', 'name', 'it was signed for a file named p.klrx, not renamed.klrx'],
    ['foreign.json p.klrx', 'key', /^it was signed with the key [0-9a-f]{16}, and this build of the native module trusts another \(docs\/trust.md\)$/],
    ['size.json p.klrx', 'size', /^the pack has \d+ bytes, and 1\d+ were signed$/],
    ['m.json changed/p.klrx', 'digest', /^the pack has the digest .*was signed$/],
    ['forged.json p.klrx', 'signature', /a signed field was changed$/],
    ['spaced.json p.klrx', 'form', /^a field is missing/], ['schema.json p.klrx', 'schema', /^its schema is .*v2, not .*v1$/],
    ['kind.json base.klrx', 'kind', 'the pack is a base pack, not a patch'],
  ]) {
    const [status, json] = await klrx(`verify ${line} --json`, addon);
    const answer = JSON.parse(json);
    assert.deepEqual([status, answer.check, answer.error.startsWith(`${line.split(' ')[0]}: semantic delta`)], [1, check, true], line);
    if (typeof hint === 'string') assert.equal(answer.hint, hint);
    else assert.match(answer.hint, hint);
  }
  assert.equal((await klrx('verify m.json p.klrx --base base.klrx', addon))[0], 0);

  // The native module has keys of its own: it opens what this trust file does not.
  const [status, text, warned] = await klrx('inspect base.klrx --trust trust.json', addon);
  assert.deepEqual([status, /^base.klrx: sound\n/.test(text), text.includes('documents ')], [0, true, false]);
  assert.match(warned, /^klrx: warning: its documents are not shown: base.klrx: cannot be opened with the key test-v1/);

  // The guide, line by line. The binary of the tests is no release build.
  enter({ 'lexicon/a.json': lexicon, 'patch.json': { categories: [{ key: 'city', zh: ['街'] }] } });
  const lines = readFileSync(new URL('../docs/trust.md', import.meta.url), 'utf8').match(/^klrx .*/gm);
  for (const line of lines) {
    if (line.startsWith('klrx diff')) await klrx('build lexicon patch.json --trust trust.json --key release-v1 --out next.klrx');
    const [told, , err] = await klrx(line.slice(5), addon);
    assert.deepEqual([told, err], line.startsWith('klrx verify') ? [1, err] : [0, ''], line);
    if (told === 1) assert.match(err, /and this build of the native module trusts another/);
  }
  assert.equal(lines.length, 6);
});
