// What klrx bulk makes of a catalogue: by threads, by worker processes, and with one of them killed in the middle. The outputs
// of a catalogue have to be equal. A Redis server is started if there is one.
//
//   node bench/bulk.mjs [--titles N] [--document]     --document writes the table into docs/scale.md
import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:net';
import { cpus, tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { setTimeout as delay } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

import { markdownTable, writeSection } from './lib/document.mjs';
import { lexiconOf } from './lib/lexicons.mjs';

const { values } = parseArgs({ options: { titles: { type: 'string', default: '500000' }, document: { type: 'boolean' } } });
const count = Number(values.titles);
const tool = fileURLToPath(new URL('../tools/klrx.mjs', import.meta.url));
const folder = mkdtempSync(join(tmpdir(), 'klrx-bulk-'));
const HEADING = ['pack', 'by', 'titles a second', 'CPU us a title', 'of these in klrx bulk', 'peak MB of it'];
const TICKS = 100; // a second, of the times in /proc
const rows = [HEADING];

/** A process of klrx whose processor time and memory are read until it ends; the last look is some milliseconds old. */
function start(args) {
  const child = spawn(process.execPath, [tool, ...args], { stdio: ['ignore', 'ignore', 'pipe'] });
  const running = { child, seconds: 0, megabytes: 0, said: '', ended: once(child, 'close') };
  child.stderr.on('data', (text) => { running.said += text; });
  const look = setInterval(() => {
    try {
      const [user, system] = readFileSync(`/proc/${child.pid}/stat`, 'utf8').split(') ')[1].split(' ').slice(11, 13);
      running.seconds = (Number(user) + Number(system)) / TICKS;
      running.megabytes = Number(/VmHWM:\s*(\d+)/.exec(readFileSync(`/proc/${child.pid}/status`, 'utf8'))?.[1] ?? running.megabytes * 1024) / 1024;
    } catch {
      clearInterval(look);
    }
  }, 10);
  running.ended.then(() => clearInterval(look));
  return running;
}

async function startRedis() {
  if (spawnSync('redis-server', ['--version']).status !== 0) return undefined;
  const probe = createServer().listen(0, '127.0.0.1');
  await once(probe, 'listening');
  const { port } = probe.address();
  await new Promise((done) => { probe.close(done); });
  const child = spawn('redis-server', ['--port', String(port), '--bind', '127.0.0.1', '--save', '', '--dir', folder], { stdio: 'ignore' });
  await delay(500);
  return { url: `redis://127.0.0.1:${port}`, stop: () => child.kill() };
}

/** One line of the table. The first run over a catalogue gives what the others are held against. */
async function measure({ name, packPath, input, by, options, workers = [], kill = false }) {
  const expected = join(folder, `${name}.expected`);
  const out = existsSync(expected) ? join(folder, 'out') : expected;
  const helpers = workers.map((line) => start(line));
  if (helpers.length > 0) await delay(1500); // they are there already, as they usually are
  const begin = performance.now();
  const bulk = start(['bulk', packPath, input, '--out', out, ...options]);
  if (kill) {
    const parts = () => (existsSync(`${out}.parts`) ? readdirSync(`${out}.parts`).length : 0);
    while (parts() < count / 2000 / 3) await delay(20);
    helpers[0].child.kill('SIGKILL');
  }
  const [status] = await bulk.ended;
  const seconds = (performance.now() - begin) / 1000;
  if (status !== 0) throw new Error(bulk.said);
  for (const { child } of helpers) child.kill('SIGTERM');
  await Promise.all(helpers.map(({ ended }) => ended));
  if (out !== expected) {
    if (!readFileSync(out).equals(readFileSync(expected))) throw new Error(`${by}: another output`);
    rmSync(out);
  }
  const used = [bulk, ...helpers].reduce((sum, each) => sum + each.seconds, 0);
  const microseconds = (cpu) => ((cpu * 1e6) / count).toFixed(1);
  rows.push([name, by, String(Math.round(count / seconds)), microseconds(used), microseconds(bulk.seconds), bulk.megabytes.toFixed(0)]);
  console.log(rows.at(-1).join('  '));
}

const redis = await startRedis();
if (!redis) console.log('without a queue: there is no redis-server');
try {
  for (const [name, size] of [['sample', 'real'], ['100k rows a section', 100000]]) {
    const { pack: { packPath }, cases } = lexiconOf({ size, people: true });
    const input = join(folder, 'titles.jsonl');
    const text = Array.from({ length: count }, (_, id) => `${JSON.stringify({ id, ...cases[id % cases.length] })}\n`).join('');
    writeFileSync(input, text);
    const run = (by, more) => measure({ name, packPath, input, by, ...more });
    for (const jobs of ['1', '2']) await run(`${jobs} thread${jobs === '1' ? '' : 's'}`, { options: ['--jobs', jobs] });
    if (!redis) continue;
    const worker = ['worker', '--queue', redis.url, '--packs', dirname(packPath), '--jobs', '1', '--lease', '5'];
    const options = ['--queue', redis.url];
    await run('1 worker process', { options, workers: [worker] });
    await run('2 worker processes', { options, workers: [worker, worker] });
    await run('2, one of them killed after a third', { options, workers: [worker, worker], kill: true });
  }
} finally {
  redis?.stop();
  rmSync(folder, { recursive: true, force: true });
}
const [{ model }] = cpus();
const machine = `${cpus().length} x ${model.trim()}, ${process.platform} ${process.arch}, Node.js ${process.version}`;
if (values.document) {
  writeSection('figures', `\`npm run bench:bulk -- --titles ${count} --document\`: ${machine}.\n\n${markdownTable(rows)}`, 'scale.md');
}
