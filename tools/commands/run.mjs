// A command line of klrx, from its arguments to its exit status: the one place where results and errors are printed.

import { DONE, misuse, readArguments, Refusal, WRONG_USAGE } from '../lib/command_line.mjs';
import { commandHelp, overview } from '../lib/help.mjs';
import { nearestOf } from '../lib/text.mjs';
import { versionOf } from '../lib/version.mjs';
import { build } from './build.mjs';
import { bulk } from './bulk.mjs';
import { diff } from './diff.mjs';
import { explain } from './explain.mjs';
import { inspect } from './inspect.mjs';
import { keygen } from './keygen.mjs';
import { lint } from './lint.mjs';
import { report } from './report.mjs';
import { serve } from './serve.mjs';
import { sign } from './sign.mjs';
import { test } from './test.mjs';
import { tryTitles } from './try.mjs';
import { unpack } from './unpack.mjs';
import { verify } from './verify.mjs';
import { worker } from './worker.mjs';

/** In the order in which a lexicon meets them. @type {Record<string, import('../lib/command_line.mjs').Command>} */
export const COMMANDS = { build, lint, explain, try: tryTitles, bulk, worker, test, report, serve, inspect, diff, unpack, keygen, sign, verify };

/** The options of every command. @type {Record<string, import('../lib/command_line.mjs').Option>} */
const COMMON_OPTIONS = {
  json: { type: 'boolean', help: 'print one JSON object, errors too' },
  help: { type: 'boolean', help: 'print this' },
};

const commandNamed = (name) => (Object.hasOwn(COMMANDS, name ?? '') ? COMMANDS[name] : undefined);

/** The progress of a call: one line on a terminal, written over each time and gone at the end. */
function progressOn(io) {
  let shown = false;
  return {
    show(text) {
      if (!io.terminal) return;
      io.err(`\r\x1b[Kklrx: ${text}`);
      shown = true;
    },
    clear() {
      if (shown) io.err('\r\x1b[K');
      shown = false;
    },
  };
}

function unknownCommand(name) {
  const near = nearestOf(name, Object.keys(COMMANDS));
  return `${name} is no command${near ? `; is ${near} meant?` : ''}`;
}

/** Runs a command: its outcome, or the refusal with which it ended. */
async function attemptCommand(args, io, { warn, tell, print, progress }) {
  const [name, ...rest] = args;
  try {
    const command = commandNamed(name);
    if (name === undefined) throw misuse('a command is missing');
    if (!command) throw misuse(unknownCommand(name));
    const { values, positionals } = readArguments(rest, { ...command.options, ...COMMON_OPTIONS });
    return { status: DONE, ...await command.run({ values, positionals, io, warn, tell, print, progress: progress.show }) };
  } catch (error) {
    if (!(error instanceof Refusal)) throw error;
    return error;
  } finally {
    progress.clear();
  }
}

/**
 * Runs one command line.
 * @param {string[]} args without the interpreter and the script
 * @param {import('../lib/command_line.mjs').Io} io
 * @returns {Promise<number>} the exit status
 */
export async function run(args, io) {
  if (args.includes('--help') || args.includes('-h')) {
    const command = commandNamed(args[0]);
    await io.out(command ? commandHelp(args[0], command, COMMON_OPTIONS) : overview(COMMANDS));
    return DONE;
  }
  if (args.includes('--version')) {
    await io.out(`klrx ${versionOf()}\n`);
    return DONE;
  }
  const json = args.includes('--json');
  const progress = progressOn(io);
  const warnings = [];
  const tell = (text) => {
    progress.clear();
    io.err(text);
  };
  const warn = (message) => (json ? warnings.push(message) : tell(`klrx: warning: ${message}\n`));
  const print = async (text) => {
    progress.clear();
    return await io.out(text) !== false;
  };
  const outcome = await attemptCommand(args, io, { warn, tell, print, progress });
  const { status, report } = outcome;
  if (!(outcome instanceof Refusal)) {
    await io.out(json ? `${JSON.stringify({ ok: status === DONE, ...report, warnings }, null, 2)}\n` : outcome.text);
    return status;
  }
  const { message, said } = outcome;
  const usage = commandNamed(args[0]) ? `klrx ${args[0]} --help` : 'klrx --help';
  const hint = outcome.hint ?? (status === WRONG_USAGE ? `${usage} shows the usage` : undefined);
  if (json) await io.out(`${JSON.stringify({ ok: false, error: message, hint, status, ...report, warnings }, null, 2)}\n`);
  else await io.err(`${said}klrx: ${message}\n${hint === undefined ? '' : `klrx: hint: ${hint}\n`}`);
  return status;
}
