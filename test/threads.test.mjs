// Threads that call all functions at once and answer as one thread alone does; threads and processes that end in the middle.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { once } from 'node:events';
import { fileURLToPath } from 'node:url';
import { test } from 'node:test';
import { setTimeout as delay } from 'node:timers/promises';
import { serialize } from 'node:v8';

import { makeDraw } from '../bench/lib/random.mjs';
import { callIn, drawnCalls, drawnWorld, workflowCalls } from './golden/recorder.mjs';
import { addon } from './support/addon.mjs';
import { callAtRandom, recordCalls, startThread, waysToEnd } from './support/call_load.mjs';
import { writeFile } from './support/packs.mjs';
import { shareOf } from './support/share.mjs';

// Each world has a base pack and a patch of its own, which take the slots from each other.
const worlds = [drawnWorld(1), drawnWorld(2)];

/** Calls of both worlds with their outcomes, made by this thread alone. The overlays in them are drawn anew each time. */
async function recordWorlds() {
  const recorded = [];
  for (const world of worlds) {
    const calls = [['getSemanticInfo'], ...[...workflowCalls()].slice(0, 40), ...drawnCalls(world)];
    recorded.push(await recordCalls(calls.map((call) => callIn(world, call))));
  }
  return recorded;
}

/** How a thread ended: its exit status and the message of its error, if it has one. */
async function endOf(thread) {
  const errors = [];
  thread.on('error', ({ message }) => errors.push(message));
  const status = await new Promise((done) => thread.on('exit', done));
  return [status, ...errors].join(': ');
}

test('nine threads answer as one does alone', async (t) => {
  const milliseconds = shareOf(60_000);
  const recorded = [];
  for (let thread = 0; thread < 9; ++thread) recorded.push(await recordWorlds());
  const begin = performance.now();
  const threads = recorded.slice(1).map((calls, i) => startThread({ worlds: calls, seed: i, milliseconds }));
  const counts = threads.map((thread) => new Promise((done) => thread.on('message', (said) => said !== 'begins' && done(said))));
  const ended = threads.map(endOf);
  await Promise.all(threads.map((thread) => once(thread, 'message')));
  const sums = await callAtRandom(recorded[0], makeDraw(-1), milliseconds);
  assert.deepEqual(await Promise.all(ended), Array(8).fill('0'));
  for (const of of await Promise.all(counts)) for (const [name, count] of Object.entries(of)) sums[name] = (sums[name] ?? 0) + count;
  t.diagnostic(`${((performance.now() - begin) / 1000).toFixed(1)} s, ${JSON.stringify(sums)}`);
  assert.deepEqual(Object.keys(sums).sort(), Object.keys(addon).filter((name) => typeof addon[name] === 'function').sort());
});

test('threads that are terminated at any moment', async (t) => {
  const recorded = await recordWorlds();
  const draw = makeDraw(7);
  const rounds = shareOf(500, 4);
  let early = 0;
  for (let round = 0; round < rounds; ++round) {
    const [starting, calling] = [0, 1].map(() => startThread({ worlds: recorded, seed: round, milliseconds: Infinity }));
    const ends = Promise.all([starting, calling].map(endOf));
    let begun = false;
    starting.once('message', () => (begun = true));
    const terminated = (thread, most) => delay(draw.random() * most).then(() => {
      early += thread === starting && !begun ? 1 : 0;
      return thread.terminate();
    });
    await Promise.all([terminated(starting, 60), once(calling, 'message').then(() => terminated(calling, 20))]);
    // One that has run nothing yet ends as if by itself.
    assert.match((await ends).join(), begun ? /^1,1$/ : /^[01],1$/);
    await callAtRandom(recorded, draw, 0);
  }
  t.diagnostic(`${2 * rounds} threads, ${early} of them before they made a call`);
});

test('threads and processes that end while warm-ups are under way', async (t) => {
  const recorded = await recordWorlds();
  const endings = { 'by itself': ['0', 0], 'by process.exit': ['7', 7], 'by an exception': ['1: mine', 1] };
  const script = fileURLToPath(new URL('support/call_load.mjs', import.meta.url));
  const endOfProcess = (data) => new Promise((done) => {
    execFile(process.execPath, [script, writeFile(serialize(data), 'load')], { timeout: 60_000 },
      (error) => done(error ? error.signal ?? error.code : 0));
  });
  assert.deepEqual(waysToEnd, Object.keys(endings));
  const rounds = shareOf(40);
  for (let round = 0; round < rounds; ++round) {
    for (const [end, [ofThread, ofProcess]] of Object.entries(endings)) {
      const data = { worlds: recorded, seed: round, milliseconds: round % 20, end };
      assert.equal(await endOf(startThread(data)), ofThread);
      const threads = round % 3;
      assert.equal(await endOfProcess({ ...data, threads }), ofProcess, `${end}, ${threads} threads`);
    }
  }
  t.diagnostic(`${3 * rounds} threads and ${3 * rounds} processes`);
});
