// klrx try and test: answers for titles, and answers held against expectations.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { Readable } from 'node:stream';
import test from 'node:test';
import { answerPool } from '../tools/lib/answer_pool.mjs';
import { packsOf } from '../tools/lib/answers.mjs';
import { addon, addonUrl } from './support/addon.mjs';
import { enter, klrx } from './support/klrx.mjs';

const LEXICON = {
  categories: [{ key: 'food', zh: ['火锅'], en: ['hot pot'] }, { key: 'city', zh: ['街'], defaultDetail: 'walk' }],
  locations: [{ code: 'JP', label: '东京', countryLabel: '日本', zh: ['东京'] }],
  celebrities: [{ id: 'c1', name: '李娜', kind: 'athlete' }],
  humans: [{ sceneKey: '', zh: ['别吃'] }],
};
/** A folder with a pack, and a patch for it. */
async function enterWithPack(files) {
  enter({ 'lex.json': LEXICON, 'patch.json': { categories: [{ key: 'skate', zh: ['滑板'] }] }, ...files });
  await klrx('build lex.json --out p.klrx');
  await klrx('build patch.json --kind patch --base p.klrx --out patch.klrx');
}
const TITLES = ['吃火锅', '东京的街', '李娜', '滑板', 'nothing'];
const SCENES = ['food', 'city', '', '', ''];

test('try: the formats of titles, ids carried along, faulty lines in their place', async () => {
  await enterWithPack({
    'plain.txt': `${TITLES.join('\r\n')}\n\n`, 'rows.tsv': `${TITLES.map((raw, i) => `${raw}\t\t${i}`).join('\n')}`,
    'named.tsv': `raw\tnote\tid\n${TITLES.map((raw, i) => `${raw}\tx\t${i}`).join('\n')}\n`,
    'lines.jsonl': TITLES.map((raw, i) => `${JSON.stringify({ id: String(i), raw })}\n`).join(''),
    'gbk.txt': Buffer.from('b3d4bbf0b9f80ab6abbea90a', 'hex'), 'x.csv': 'title,scene\n火锅,food\n', 'empty.txt': '\n',
    'english.jsonl': '{"raw":"x","en":"hot pot"}\n{"raw":"x","normalizedEnglish":"pot"}\n{"id":7}\n{\n[]\n{"raw":"x","en":1}\n',
  });
  const ids = { 'plain.txt': false, 'rows.tsv': true, 'named.tsv': true, 'lines.jsonl': true };
  for (const [file, withId] of Object.entries(ids)) {
    for (const line of [`p.klrx ${file}`, `p.klrx - < ${file}`, `p.klrx --jobs 1 < ${file}`]) {
      const [status, out, err] = await klrx(`try --jsonl ${line}`, addon);
      const answers = out.trimEnd().split('\n').map((text) => JSON.parse(text));
      const expected = TITLES.map((raw, i) => ({ ...(withId && { id: String(i) }), raw, scene: SCENES[i] }));
      assert.deepEqual([status, answers.map(({ id, raw, scene }) => ({ ...(withId && { id }), raw, scene }))], [0, expected], line);
      assert.match(err, /^klrx: 5 titles(?:, \d+ a second)?: 2 with a scene, 1 with a place, 1 with a person\n$/);
    }
  }
  const [status, out] = await klrx('try p.klrx english.jsonl --jsonl', addon);
  assert.deepEqual([status, ...out.trimEnd().split('\n').map((text) => JSON.parse(text)).map(({ scene, error, line }) => scene ?? [line, error])],
    [1, 'food', '', [3, 'the title is missing'], [4, 'the line is no JSON'], [5, 'the line is no JSON object'],
      [6, 'the English reading is no text']]);
  const report = JSON.parse((await klrx('try p.klrx english.jsonl --json', addon))[1]);
  assert.deepEqual([report.ok, report.counts.titles, report.answers.length, report.warnings[0]],
    [false, 6, 2, 'english.jsonl:3: the title is missing']);
  for (const [line, message] of [
    ['x.csv', 'warning: x.csv: commas separate nothing here; a table has tabs between its columns'], ['empty.txt', 'warning: empty.txt: holds no title'],
  ]) assert.ok((await klrx(`try p.klrx ${line}`, addon))[2].includes(`klrx: ${message}\n`), line);
  assert.match((await klrx('try p.klrx', addon, { fromKeyboard: true }))[2], /^klrx: one title a line; Ctrl\+D ends\n/);
  const patched = await klrx('try p.klrx plain.txt --overlay patch.klrx --jsonl', addon);
  assert.match(patched[1], /"raw":"滑板","scene":"skate"/);
  for (const [line, message] of [
    ['p.klrx gone', 'gone: cannot be read: no such file or directory'], ['gone.klrx plain.txt', 'gone.klrx: cannot be read: no such file or directory'],
    ['p.klrx p.klrx', 'p.klrx: is not UTF-8 text'], ['p.klrx gbk.txt', 'gbk.txt: is not UTF-8 text'],
    ['p.klrx plain.txt --jobs 0', '--jobs is a number from 1 to 999, not 0'], ['', 'try needs PACK and a file of titles, or "-"'],
    ['p.klrx plain.txt --format csv', '--format is tsv or jsonl or plain, not csv'],
  ]) {
    const [text] = (await klrx(`try ${line}`.trim(), addon))[2].slice('klrx: '.length).split('\n');
    assert.equal(text, message);
  }
});

test('try: a table that fits the terminal, in colour only there, without anything that moves the cursor', async () => {
  await enterWithPack({ 't.txt': `${'火锅'.repeat(60)}\n东京\x1b[2J的街\n` });
  for (const columns of [60, 80, 133]) {
    const [, out] = await klrx('try p.klrx t.txt', addon, { columns });
    const width = (line) => Array.from(line).reduce((sum, c) => sum + (/[\u2e80-\u9fff]/.test(c) ? 2 : 1), 0);
    assert.ok(out.trimEnd().split('\n').every((line) => width(line) <= columns), out);
    assert.ok(!out.includes('\x1b'));
  }
  // Progress is gone before anything else is printed.
  const mixed = [];
  const both = (text) => mixed.push(text);
  await klrx('try p.klrx t.txt', addon, { terminal: true, out: both, err: both });
  assert.deepEqual(mixed.slice(1, -1), ['\r\x1b[Kklrx: 2 titles', '\r\x1b[K', 'klrx: 2 titles: 2 with a scene, 1 with a place, 0 with a person\n']);
  assert.ok((await klrx('try p.klrx t.txt', addon, { colors: true }))[1].startsWith('\x1b[1mtitle'));
});

test('try: several threads give what one gives; a reader that goes away ends the work', async () => {
  await enterWithPack({ 'many.txt': Array.from({ length: 9500 }, (_, i) => `${TITLES[i % 5]} ${i}`).join('\n') });
  const [one, three] = await Promise.all([1, 3].map((jobs) => klrx(`try p.klrx many.txt --jsonl --jobs ${jobs}`, addon)));
  assert.deepEqual([one[0], one[1].split('\n').length, three[1] === one[1]], [0, 9501, true]);

  let given = 0;
  const input = Readable.from((function* endless() { for (;;) yield Buffer.from(`${TITLES[given++ % 5]}\n`.repeat(500)); })());
  const printed = [];
  const [status] = await klrx('try p.klrx --jsonl', addon, { input, out: (text) => printed.push(text) < 3 });
  assert.deepEqual([status, printed.length <= 4, given < 100], [0, true, true]);

  const pool = await answerPool({ addonUrl }, packsOf('p.klrx'), 2);
  const replies = Array.from({ length: 20 }, () => pool.run('answers', [{ raw: '吃火锅', normalizedEnglish: '' }]));
  await pool.close();
  assert.deepEqual(new Set((await Promise.all(replies)).map(([{ scene }]) => scene)), new Set(['food']), 'what is under way when it is closed');
});

const CASES = `raw\ten\tscene\tdetail\tplace\tperson\tnote
吃火锅\t\tfood\t-\t-\t-\tas it should be
东京的街\t\tcity\twalk\tjp\t\t\n
东京\t\t-\t\t日本\t
李娜\t\t\t\t\tC1
火锅街\t\tfood\t\t\t
滑板\t\tskate\twalk\t日本\t李娜\n`;
const YAML = `# what we expect
- raw: 吃火锅
  scene: food
  place: "-"
- { raw: 火锅街, scene: city, detail: } # two scenes
`;

test('test: expectations, reasons, precision and recall, today\'s answers for review', async () => {
  await enterWithPack({ 'c.tsv': CASES, 'c.yaml': YAML, 'new.tsv': 'raw\n吃火锅\n东京\n', 'bare.txt': '吃火锅\n' });
  const [status, out, err] = await klrx('test p.klrx c.tsv', addon);
  assert.deepEqual([status, out, err], [1, `c.tsv:8: failed: 滑板
  scene: expected skate, got -
  detail: expected walk, got -
  place: expected 日本, got -
  person: expected 李娜, got -

scene  cases  right  precision   recall
city       1      1    100.0 %  100.0 %
food       2      2    100.0 %  100.0 %
skate      1      0          -    0.0 %
all        4      3    100.0 %   75.0 %

any     cases  right  precision  recall
place       3      2    100.0 %  66.7 %
person      2      1    100.0 %  50.0 %
5 of 6 cases passed
`, '']);
  assert.match((await klrx('test p.klrx c.yaml', addon))[1],
    /^c.yaml:5: failed: 火锅街\n {2}scene: expected city, got food\n {2}food: by "火锅", scene alias \(zh, score 12.4\)\n\nscene/);
  writeFileSync('veto.tsv', 'raw\tscene\tplace\n东京火锅\t-\tx\n别吃火锅\tfood\t\n');
  assert.match((await klrx('test p.klrx veto.tsv', addon))[1], /place: 日本 · 东京 \(or 东京, 日本, JP\)\n[^]*\n {2}no scene: the veto "别吃"\n/);
  assert.match((await klrx('test p.klrx c.yaml --explain', addon))[1], /got food\n {2}title\n {4}火锅街, without an English reading\n {2}scene: food\n {4}火锅 decides: its term is longer/);
  assert.deepEqual((await klrx('test p.klrx c.tsv --overlay patch.klrx --json', addon))[1].match(/"failed": \d/)[0], '"failed": 1');
  const { failures } = JSON.parse((await klrx('test p.klrx c.yaml --json', addon))[1]);
  assert.deepEqual(failures[0].wrong, [{ name: 'scene', expected: 'city', got: 'food' }]);

  assert.deepEqual(await klrx('test p.klrx new.tsv --update', addon),
    [0, 'raw\tscene\tdetail\tplace\tperson\n吃火锅\tfood\t-\t-\t-\n东京\t-\t-\t日本 · 东京\t-\n', '']);
  assert.equal((await klrx('test p.klrx bare.txt --update', addon))[1], 'raw\tscene\tdetail\tplace\tperson\n吃火锅\tfood\t-\t-\t-\n');
  const [, updated] = await klrx('test p.klrx c.tsv --update', addon);
  assert.deepEqual(updated.split('\n').map((line) => line.trimEnd()), CASES.replace('滑板\t\tskate\twalk\t日本\t李娜', '滑板\t\t-\t-\t-\t-')
    .replace('\n\n', '\n').split('\n').map((line) => line.trimEnd()), 'what is met stays as it is written');
  assert.equal((await klrx('test p.klrx c.yaml --update --out d.yaml', addon))[0], 0);
  assert.equal(readFileSync('d.yaml', 'utf8'), YAML.replace('city', 'food'));
  assert.equal((await klrx('test p.klrx d.yaml', addon))[0], 0);

  for (const [text, message, file = 'x.tsv'] of [
    ['title\n', '1:1: the first line does not name the columns, "raw" first (raw, en, scene, detail, place, person, note)'],
    ['raw\tscenes\n', '1:5: unknown column "scenes" (allowed: raw, en, scene, detail, place, person, note)'],
    ['a\nb\n', '1:1: the first line does not name the columns, "raw" first (raw, en, scene, detail, place, person, note)'],
    ['raw\tscene\n\tfood\n', '2:1: the title is missing'], ['raw\na\tb\n', '2:1: the row has 2 columns, not 1'],
    ['raw: x', '1:1: a list of cases should stand here', 'x.yaml'], ['- x', '1:3: a case with "raw" should stand here', 'x.yaml'],
    ['- raw: x\n  scnee: y', '2:3: unknown column "scnee" (allowed: raw, en, scene, detail, place, person, note)', 'x.yaml'],
    ['raw\tplace\na\tJP| \n', '2:1: an alternative of "place" is empty ("-" expects nothing)'],
    ['- scene: food', '1:3: the title is missing', 'x.yaml'], ['- raw: [x]', '1:3: "raw" is no text', 'x.yaml'],
    ['- raw: "x', /^x.yaml:1:10: the YAML is faulty: /, 'x.yaml'],
  ]) {
    writeFileSync(file, text);
    const [told, , said] = await klrx(`test p.klrx ${file}`, addon);
    assert.equal(told, 1);
    if (typeof message === 'string') assert.equal(said.split('\nklrx: hint: ')[0].trimEnd(), `klrx: ${file}:${message}`);
    else assert.match(said.slice('klrx: '.length), message);
  }
  assert.match((await klrx('test p.klrx c.tsv --update --out c.tsv', addon))[2], /c.tsv is an input and the output/);
});

// The alternative that the answer meets is what the scores count, otherwise the first one.
test('test: several right answers', async () => {
  const rows = ['吃火锅\tcity|food\t-\t-', '吃火锅\t- | pet\t-\t-', 'nothing\tfood|-\tJP|-\t', 'nothing\tcity|pet\t\t', '东京的街\tfood|city\tCN|JP\t李娜|-'];
  await enterWithPack({ 'c.tsv': `raw\tscene\tplace\tperson\n${rows.join('\n')}\n` });
  const [status, out] = await klrx('test p.klrx c.tsv', addon);
  assert.deepEqual([status, out], [1, `c.tsv:3: failed: 吃火锅
  scene: expected - | pet, got food
  food: by "火锅", scene alias (zh, score 11.4)
c.tsv:5: failed: nothing
  scene: expected city|pet, got -

scene  cases  right  precision   recall
city       2      1    100.0 %   50.0 %
food       1      1     50.0 %  100.0 %
all        3      2     66.7 %   66.7 %

any     cases  right  precision   recall
place       1      1    100.0 %  100.0 %
person      0      0          -        -
3 of 5 cases passed
`]);
});

test('the guide to lexicons: files saved, commands run, in its order', async () => {
  const guide = readFileSync(new URL('../docs/lexicon.md', import.meta.url), 'utf8');
  enter({});
  const done = { files: 0, commands: 0 };
  for (const [, file, kind, text, shown] of guide.matchAll(/(?:`([\w.-]+)`:\n\n)?```(json|tsv|yaml|sh)\n(.*?)```(?:\n\n```\n(.*?)```)?/gs)) {
    if (kind !== 'sh') {
      writeFileSync(file, text);
      done.files += 1;
      continue;
    }
    let printed;
    for (const [, command] of text.matchAll(/^npx klrx (.*)$/gm)) {
      const [status, out, err] = await klrx(command, addon);
      assert.equal(status, 0, `${command}\n${out}${err}`);
      printed = out;
      done.commands += 1;
    }
    if (shown !== undefined) assert.equal(printed, shown);
  }
  assert.deepEqual(done, { files: 18, commands: 25 });
});
