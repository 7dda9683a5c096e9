// klrx bulk: what klrx try answers, as a file, whatever happens on the way.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { appendFileSync, copyFileSync, existsSync, readdirSync, readFileSync, renameSync, truncateSync, writeFileSync } from 'node:fs';
import test from 'node:test';
import { setTimeout as delay } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { addon } from './support/addon.mjs';
import { enter, klrx } from './support/klrx.mjs';
import { sampleTitles, sealSample } from './support/sample.mjs';

const category = (key, zh) => ({ categories: [{ key, zh: [zh] }] });

/** A folder with a pack, another one, and a patch. */
async function enterWithPacks(files) {
  enter({ 'food.json': category('food', '火锅'), 'city.json': category('city', '街'), ...files });
  await klrx('build food.json --out p.klrx');
  await klrx('build food.json city.json --rule-set-id p --out other.klrx');
  copyFileSync('other.klrx', 'other2.klrx');
  await klrx('build city.json --kind patch --base p.klrx --out patch.klrx');
}

const lines = (count, text = (i) => `火锅 ${i}`) => Array.from({ length: count }, (_, i) => `${text(i)}\n`).join('');
const parts = () => (existsSync('o.parts') ? readdirSync('o.parts').filter((name) => name.startsWith('part-')) : []);
const tried = async (rest) => (await klrx(`try ${rest} --jsonl`, addon))[1];
const output = () => readFileSync('o', 'utf8');

test('the answers of klrx try for every title of the sample, in its order, with its id', async () => {
  const rows = sampleTitles().map((title, id) => `${JSON.stringify({ id, ...title })}\n`);
  const pack = sealSample();
  enter({ 't.jsonl': rows.join('') });
  const expected = await tried(`${pack} t.jsonl`);
  for (const options of ['', '--jobs 3 --chunk 10 --force']) {
    const [status, out, err] = await klrx(`bulk ${pack} t.jsonl --out o ${options}`.trim(), addon);
    assert.deepEqual([status, err, out.startsWith(`o: ${rows.length} titles: `), output() === expected], [0, '', true, true], options);
    assert.deepEqual(readdirSync('.').sort(), ['o', 't.jsonl']);
  }
});

test('the formats of titles cut anywhere, and faulty lines in their place', async () => {
  await enterWithPacks({
    'plain.txt': '\ufeff火锅\r\n\n  \n街\nx', 'late.tsv': '\n\n\n\nraw\tid\n火锅\t1\n\n街\t2\n', 'rows.tsv': '火锅\thot pot\t7\nx\t\t8\n\t\t9\n',
    'faulty.jsonl': '{"raw":"火锅","id":[1]}\n{"id":7}\n{\n{"raw":"x","en":1}\n[]\n{"raw":"\\ud800"}\n', 'empty.txt': '', 'mark.txt': '\ufeff',
    'forced.txt': '{"raw":"火锅"}\n',
  });
  for (const [file, records, faulty, options = ''] of [['plain.txt', 3, 0], ['late.tsv', 2, 0], ['rows.tsv', 3, 1], ['faulty.jsonl', 6, 4],
    ['empty.txt', 0, 0], ['mark.txt', 0, 0], ['forced.txt', 1, 0, '--format plain']]) {
    const expected = await tried(`p.klrx ${file} ${options}`.trim());
    for (const chunk of [1, 3, 100]) {
      const [status, json] = await klrx(`bulk p.klrx ${file} ${options} --out o --jobs 1 --chunk ${chunk} --force --json`.replace('  ', ' '), addon);
      const { output: name, counts, warnings } = JSON.parse(json);
      assert.deepEqual([status, name, counts.titles, counts.faulty, warnings.length, output()],
        [faulty > 0 ? 1 : 0, 'o', records, faulty, faulty > 0 ? 1 : 0, expected], `${file} by ${chunk}`);
    }
  }
  await klrx('bulk p.klrx plain.txt --overlay patch.klrx --out o --force', addon);
  assert.deepEqual([output(), /"raw":"街","scene":"city"/.test(output())], [await tried('p.klrx plain.txt --overlay patch.klrx'), true]);
});

test('killed in the middle, it goes on where it was', async () => {
  await enterWithPacks({ 't.txt': lines(3000) });
  const args = 'bulk p.klrx t.txt --chunk 20 --out o'.split(' ');
  const child = spawn(process.execPath, [fileURLToPath(new URL('support/klrx_process.mjs', import.meta.url)), ...args], { stdio: 'inherit' });
  const ended = once(child, 'exit');
  while (parts().length < 20 && child.exitCode === null) await delay(5);
  child.kill('SIGKILL');
  assert.deepEqual([await ended, existsSync('o')], [[null, 'SIGKILL'], false]);
  const [whole] = parts();
  truncateSync(`o.parts/${whole}`, 100); // as a loss of power may leave it
  for (const name of [whole, 'o']) writeFileSync(`o.parts/.${name}.${process.pid}.tmp`, 'half'); // of a process with the same id
  const left = parts().length - 1;
  const [status, , err] = await klrx(args, addon);
  assert.deepEqual([status, err, output() === await tried('p.klrx t.txt')], [0, `klrx: o.parts: going on after ${left} parts\n`, true]);
  assert.ok(!existsSync('o.parts'));
});

/** Runs a command line and does something when it has said for the n-th time how far it is. */
async function klrxAnd(line, n, act) {
  let said = 0;
  const err = [];
  const [status] = await klrx(line, addon, { terminal: true, err: (text) => {
    if (text.startsWith('\r\x1b[Kklrx: ') && (said += 1) === n) act();
    err.push(text);
  } });
  return [status, err.at(-1)];
}

/** On Windows no file takes the place of one that is open, and worker threads open the pack for a moment at each call. */
function replace(path, by) {
  for (let left = 1000; ; left -= 1) {
    try {
      return renameSync(path, by);
    } catch (error) {
      if (error.code !== 'EPERM' || left === 0) throw error;
      Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, 1);
    }
  }
}

test('what changes between two runs or during one is refused: no answers of two packs in one file', async () => {
  await enterWithPacks({ 't.txt': lines(3000), 'u.txt': lines(3000, (i) => `街 ${i}`), 'foreign.parts/notes.txt': 'mine' });
  copyFileSync('p.klrx', 'first.klrx');
  const line = 'bulk p.klrx t.txt --out o --chunk 50 --jobs 1';
  assert.deepEqual(await klrxAnd(line, 4, () => replace('other.klrx', 'p.klrx')), [1, 'klrx: p.klrx: was replaced while it was in use\n']);
  assert.ok(parts().length > 0 && parts().length < 60);
  const refused = async (change, message) =>
    assert.deepEqual((await klrx(line.replace(...change), addon)), [1, '', `klrx: o.parts: holds parts of another run: ${message}\n`
      + 'klrx: hint: --restart drops them and begins anew\n']);
  await refused(['', ''], 'the pack differs');
  replace('first.klrx', 'p.klrx');
  await refused(['50', '49'], 'the size of a chunk differs');
  await refused([/$/, ' --format plain'], 'the format differs');
  await refused([/$/, ' --overlay patch.klrx'], 'the overlay differs');
  await refused(['t.txt', 'u.txt --format plain'], 'the input, the format differ');

  assert.deepEqual(await klrxAnd(line, 4, () => appendFileSync('t.txt', 'x\n')), [1, 'klrx: t.txt: was changed while it was read\n']);
  truncateSync('t.txt', readFileSync('t.txt').length - 2);
  const there = parts().length;
  assert.ok(there < 60);
  const again = JSON.parse((await klrx(`${line} --json`, addon))[1]);
  assert.deepEqual([again.error, again.continued, again.counts?.titles, output() === await tried('p.klrx t.txt')], [undefined, there, 3000, true]);

  // Parts of an earlier run go only if that is said; a folder that holds something else never does.
  assert.equal((await klrxAnd(`${line} --force`, 4, () => replace('other2.klrx', 'p.klrx')))[0], 1);
  await refused([/$/, ' --force'], 'the pack differs');
  assert.deepEqual([(await klrx(`${line} --force --restart`, addon))[0], output() === await tried('p.klrx t.txt')], [0, true]);
  for (const rest of ['', ' --restart']) {
    assert.match((await klrx(line.replace(' o ', ' foreign ') + rest, addon))[2], /^klrx: foreign.parts: is there already, and holds no parts\n/);
  }
  assert.deepEqual(readdirSync('foreign.parts'), ['notes.txt']);
});

test('nothing is written over, and nothing is left of what is refused at once', async () => {
  await enterWithPacks({ 't.txt': '火锅\n', o: 'old' });
  const before = readdirSync('.');
  for (const [line, status, message] of [
    ['p.klrx t.txt --out o', 1, 'o: exists already'], ['p.klrx t.txt --out ./t.txt --force', 2, './t.txt is an input and the output'],
    ['p.klrx t.txt --out p.klrx --force', 2, 'p.klrx is an input and the output'],
    ['p.klrx t.txt --overlay patch.klrx --out patch.klrx --force', 2, 'patch.klrx is an input and the output'],
    ['p.klrx gone --out n', 1, 'gone: cannot be read: no such file or directory'], ['t.txt t.txt --out n', 1, 't.txt: semantic rule-pack'],
    ['p.klrx . --out n', 1, '.: cannot be read: it is a directory'], ['p.klrx t.txt --out no/n', 1, 'no/n: cannot be written: its directory is not there'],
    ['p.klrx - --out n', 2, 'bulk reads its input more than once; it takes a file, not standard input'],
    ['p.klrx t.txt --out n --ahead 5', 2, '--ahead goes with --queue'],
    ['p.klrx t.txt --out n --jobs 2 --queue redis://h', 2, 'with --queue others do the work; --jobs is an option of klrx worker'],
    ...['h', 'http://h', 'redis://', 'redis://h/x', 'redis://h/1?a=b', 'redis://:%zz@h'].map((url) => (
      [`p.klrx t.txt --out n --queue ${url}`, 2, '--queue is redis://[user:password@]host[:port][/database], or rediss:// for TLS'])),
    ['p.klrx t.txt', 2, 'bulk needs --out FILE'], ['p.klrx', 2, 'bulk needs PACK and INPUT'],
    ['p.klrx t.txt --out n --chunk 10001', 2, '--chunk is a number from 1 to 10000, not 10001'],
  ]) {
    const [code, , err] = await klrx(`bulk ${line}`, addon);
    assert.deepEqual([code, err.slice('klrx: '.length).startsWith(message)], [status, true], `${line}: ${err}`);
  }
  assert.deepEqual([readdirSync('.'), output()], [before, 'old']);
  for (const [line, message] of [['', 'worker needs --queue URL'], [' --queue redis://h', 'worker needs --packs DIR'],
    [' p.klrx --queue redis://h --packs .', 'worker takes no p.klrx; packs are given with --packs'],
    [' --queue redis://h --packs . --lease 0', '--lease is a number from 1 to 3600, not 0'], [' --queue redis://h --packs t.txt', 't.txt: is no directory']]) {
    assert.equal((await klrx(`worker${line}`, addon))[2].split('\n')[0], `klrx: ${message}`);
  }
  // The packages of a queue need not be there.
  const io = { loadQueueTools: () => import('no-such-package') };
  for (const line of ['worker --queue redis://h --packs .', 'bulk p.klrx t.txt --out n --queue redis://h']) {
    assert.deepEqual(await klrx(line, addon, io), [1, '', 'klrx: a queue needs the packages bullmq and ioredis, which are not installed\n'
      + 'klrx: hint: npm install bullmq ioredis\n']);
  }
  assert.deepEqual(readdirSync('.'), before);
});
