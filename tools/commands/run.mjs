// A command line of klrx, from its arguments to its exit status.

import { readFileSync } from 'node:fs';
import { DONE, misuse, Refusal, WRONG_USAGE } from '../lib/command_line.mjs';
import { build } from './build.mjs';
import { inspect } from './inspect.mjs';
import { sign } from './sign.mjs';
import { verify } from './verify.mjs';

const HELP = `klrx makes, inspects, signs and verifies semantic rule packs (.klrx).

usage:
  klrx build SOURCE... --out PACK [options]     compile sources into a sealed pack
  klrx inspect PACK [options]                   show what a pack is, and prove that it is sound
  klrx sign --pack PACK --out MANIFEST (--key KEY.pem | --development) [--modules JSON]
                                                sign a manifest for a patch pack
  klrx verify MANIFEST PACK [options]           say whether a manifest vouches for a pack

sources:
  *.json                 a lexicon: categories, shortTitleOverrides, compoundOverrides,
                         conflictOverrides, humans, celebrities, locations, facets
  location-NAME.tsv      places: alias, code, lang, weight, label, countryLabel

build:
  --out PACK             the pack to write, *.klrx
  --rule-set-id ID       its rule set; the pack's name without .klrx by default
  --base-rule-set-id ID  the rule set that it builds on; needed for a patch
  --kind KIND            base (default) or patch
  --key ID               test-v1 (default) or release-v1
  --compress             store the payload as an LZ4 block
  --trust FILE           the trust file with the keys; the development keys by default
  --nonce HEX            12 bytes for a reproducible pack; never use one for two payloads
  --json                 report as JSON

inspect, verify:
  --root DIR             the approved root; by default the directory that holds the files
  --json                 report as JSON
  --base-rule-set-id ID, --rule-set-id ID
                         verify: the rule sets that are expected; those of the manifest by default

sign:
  --pack PACK            the patch pack; its ids are read from its metadata
  --key KEY.pem          an Ed25519 private key in PEM form
  --development          sign with the development key, which only development builds trust
  --out MANIFEST         the manifest to write
  --modules JSON         an array of strings to be signed along

  --help, --version      print this, or the version

exit status: 0 done, 1 the answer is no, 2 wrong usage
`;

const COMMANDS = { build, inspect, sign, verify };

/**
 * Runs one command line.
 * @param {string[]} args without the interpreter and the script
 * @param {import('../lib/command_line.mjs').Io} io
 * @returns {Promise<number>} the exit status
 */
export async function run(args, io) {
  if (args.includes('--help') || args.includes('-h')) {
    io.out(HELP);
    return DONE;
  }
  if (args.includes('--version')) {
    const { version } = JSON.parse(readFileSync(new URL('../../package.json', import.meta.url), 'utf8'));
    io.out(`klrx ${version}\n`);
    return DONE;
  }
  const [name, ...rest] = args;
  try {
    if (name === undefined) throw misuse('a command is missing');
    if (!Object.hasOwn(COMMANDS, name)) throw misuse(`${name} is no command`);
    return await COMMANDS[name](rest, io);
  } catch (error) {
    if (!(error instanceof Refusal)) throw error;
    io.err(`klrx: ${error.message}\n`);
    if (error.status === WRONG_USAGE) io.err('klrx: hint: klrx --help shows the usage\n');
    return error.status;
  }
}
