// Clocks and statistics. The machine is taken to be shared: what is compared is the CPU time of one thread, taken in
// turns.
import { existsSync, readFileSync, writeFileSync } from 'node:fs';

const hasProc = existsSync('/proc/self/clear_refs');
const cell = new Int32Array(new SharedArrayBuffer(4));

/** CPU time of the whole process in microseconds: V8's helper threads and the addon's own are in it. */
export function processCpu() {
  const { user, system } = process.cpuUsage();
  return user + system;
}

/**
 * CPU time, time spent ready to run but waiting for a processor, and the wall clock: of this thread, in microseconds.
 * The kernel books a thread's time when it leaves the processor, so the thread sleeps for a moment first: without that
 * the figure is up to 4 ms old. Where the kernel keeps no schedstat, the process's CPU time has to do.
 */
export function threadClock() {
  Atomics.wait(cell, 0, 0, 0.01);
  let times;
  try {
    times = readFileSync('/proc/thread-self/schedstat', 'latin1').split(' ').map((ns) => Number(ns) / 1000);
  } catch {
    times = [processCpu(), 0];
  }
  return { cpu: times[0], waiting: times[1], wall: performance.now() * 1000 };
}

/**
 * What `work` returned, and the microseconds it took: thread CPU (`cpu`), process CPU (`all`), wall clock (`wall`). The
 * young objects of whoever ran before are collected first, so that each pays for its own.
 */
export function timed(work) {
  globalThis.gc({ type: 'minor' });
  const allBefore = processCpu();
  const before = threadClock();
  const result = work();
  const after = threadClock();
  return { result, cpu: after.cpu - before.cpu, all: processCpu() - allBefore, wall: after.wall - before.wall };
}

export function quantile(numbers, q) {
  const sorted = [...numbers].sort((a, b) => a - b);
  const at = (sorted.length - 1) * q;
  const low = Math.floor(at);
  return sorted[low] + (sorted[Math.ceil(at)] - sorted[low]) * (at - low);
}

export const median = (numbers) => quantile(numbers, 0.5);

/**
 * Runs the contenders in turns, A B B A A B …, and gives for each the medians `{ cpu, all, wall }` in microseconds a
 * unit, and `ratio(a, b)`: the median of a : b within a round, so that a slow minute slows both, with its quartiles.
 * The first `warm` rounds don't count: code is still being compiled, and strings are new.
 */
export function takeTurns(contenders, { rounds = 15, warm = 3, units = 1 } = {}) {
  const names = Object.keys(contenders);
  const turns = [];
  for (let round = -warm; round < rounds; ++round) {
    const turn = {};
    for (const name of round % 2 === 0 ? names : [...names].reverse()) {
      turn[name] = timed(contenders[name]);
      delete turn[name].result;
    }
    if (round >= 0) turns.push(turn);
  }
  const middle = (name, key) => median(turns.map((turn) => turn[name][key])) / units;
  const figures = Object.fromEntries(names.map((name) =>
    [name, { cpu: middle(name, 'cpu'), all: middle(name, 'all'), wall: middle(name, 'wall') }]));
  const ratio = (a, b) => {
    const ratios = turns.map((turn) => turn[a].cpu / turn[b].cpu);
    return { ratio: median(ratios), low: quantile(ratios, 0.25), high: quantile(ratios, 0.75),
      all: median(turns.map((turn) => turn[a].all / turn[b].all)) };
  };
  return { figures, ratio };
}

/** A field of /proc/self/status in bytes: VmRSS, or VmHWM, the highest that VmRSS has been. NaN where there is none. */
export function memoryStatus(name) {
  if (!hasProc) return NaN;
  const line = new RegExp(`^${name}:\\s+(\\d+) kB`, 'm').exec(readFileSync('/proc/self/status', 'latin1'));
  return line ? Number(line[1]) * 1024 : NaN;
}

/** Lets VmHWM begin anew. */
export function forgetPeak() {
  if (hasProc) writeFileSync('/proc/self/clear_refs', '5');
}

/** Resident bytes once the garbage is collected; needs --expose-gc. */
export function residentBytes() {
  globalThis.gc();
  globalThis.gc();
  return memoryStatus('VmRSS');
}
