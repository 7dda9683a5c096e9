// The commands of klrx. Each returns its exit status; what a run needs from outside comes in with `io`, so that tests can
// put their own in its place.

import { createPrivateKey } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { basename, dirname, extname, resolve, sep } from 'node:path';
import { parseArgs } from 'node:util';
import { buildBinaryIndex, INDEX_DOCUMENT_NAME } from './binary_index.mjs';
import { readText, realPathOf, reasonOf, writeWhole } from './files.mjs';
import { formatFinding } from './findings.mjs';
import { compileLexicons } from './lexicon.mjs';
import { buildManifest } from './manifest.mjs';
import { buildPack, LZ4_COMPRESSION, readPackMetadata } from './pack_file.mjs';
import { compilePlaces } from './places.mjs';
import { developmentTrustFile, signingKeyOf } from './trust.mjs';

/**
 * @typedef {object} Io
 * @property {(text: string) => void} out standard output
 * @property {(text: string) => void} err standard error
 * @property {() => Promise<object>} loadAddon the native module
 * @property {boolean} [terminal] whether standard error is a terminal, which alone is shown progress
 */

const DONE = 0;
const ANSWER_IS_NO = 1;
const WRONG_USAGE = 2;

const MAX_PACK_BYTES = 128 * 1024 * 1024;
const MAX_DOCUMENTS = 512;
const MAX_MANIFEST_BYTES = 128 * 1024;

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

/** Ends a command with a message and a status. */
class Refusal extends Error {
  constructor(status, message) {
    super(message);
    this.status = status;
  }
}

const misuse = (message) => new Refusal(WRONG_USAGE, message);
const no = (message) => new Refusal(ANSWER_IS_NO, message);

/** A step whose failure is the answer, told with the file it speaks of. */
function attempt(path, step) {
  try {
    return step();
  } catch (error) {
    throw no(`${path}: ${error.message}`);
  }
}

function readArguments(args, options) {
  try {
    return parseArgs({ args, options, allowPositionals: true, strict: true });
  } catch (error) {
    const [sentence] = error.message.split(/\.(?:\s|$)/);
    throw misuse(sentence[0].toLowerCase() + sentence.slice(1));
  }
}

function requireChoice(name, value, choices) {
  if (!choices.includes(value)) throw misuse(`--${name} is ${choices.join(' or ')}, not ${value}`);
}

function requireId(name, value) {
  if (!/^[A-Za-z0-9._-]{1,96}$/.test(value)) {
    throw misuse(`${name} ${JSON.stringify(value)} is not 1 to 96 of the letters, digits, "-", "." and "_"`);
  }
}

function refuseSameFile(output, inputs) {
  const real = realPathOf(output);
  for (const input of inputs) {
    if (realPathOf(input) === real) throw misuse(`${output} is an input and the output`);
  }
}

function readJson(path) {
  const text = attempt(path, () => readText(path));
  try {
    return JSON.parse(text);
  } catch {
    throw no(`${path}: is no JSON`);
  }
}

function readTrust(path) {
  const trust = readJson(path);
  if (!trust?.packKeys) throw no(`${path}: is no trust file`);
  return trust;
}

// ---- build ----

/** Reads and compiles all sources; prints every finding before it gives up. */
function compileSources(paths, kind, io) {
  const lexicons = [];
  const places = [];
  let errors = 0;
  for (const path of paths) {
    try {
      const source = { path, text: readText(path) };
      if (extname(path).toLowerCase() === '.json') lexicons.push(source);
      else places.push(source);
    } catch (error) {
      io.err(`${path}:1:1: the source ${error.message}\n`);
      errors += 1;
    }
  }
  const lexicon = compileLexicons(lexicons, { kind, complete: errors === 0 });
  const shards = places.map(compilePlaces);
  const findings = [lexicon, ...shards].flatMap((result) => result.findings);
  const order = new Map(paths.map((path, index) => [path, index]));
  findings.sort((a, b) => order.get(a.source.path) - order.get(b.source.path) || a.offset - b.offset);
  for (const finding of findings) io.err(`${formatFinding(finding)}\n`);
  errors += findings.filter((finding) => !finding.warning).length;
  if (errors > 0) throw no(`${errors} ${errors === 1 ? 'error' : 'errors'}, nothing written`);

  const sections = lexicons.length > 0 ? lexicon.sections : undefined;
  return { sections, lexiconCount: lexicons.length, shards, warnings: findings.length };
}

function documentsOf({ sections, lexiconCount, shards }) {
  const index = sections && {
    type: 'semantic-index',
    name: INDEX_DOCUMENT_NAME,
    data: buildBinaryIndex({ sections, sourceDocumentCount: lexiconCount }),
  };
  const shardDocuments = shards.map(({ name, data }) => ({ type: 'location-shard', name, data }));
  return index ? [index, ...shardDocuments] : shardDocuments;
}

const BUILD_OPTIONS = {
  out: { type: 'string' },
  'rule-set-id': { type: 'string' },
  'base-rule-set-id': { type: 'string' },
  kind: { type: 'string', default: 'base' },
  key: { type: 'string', default: 'test-v1' },
  compress: { type: 'boolean', default: false },
  trust: { type: 'string' },
  nonce: { type: 'string' },
  json: { type: 'boolean', default: false },
};

/** The options of a build, checked completely before anything is read. */
function readBuildOptions(args) {
  const { values, positionals: sources } = readArguments(args, BUILD_OPTIONS);
  const { out, kind, key, nonce } = values;
  if (sources.length === 0) throw misuse('build needs at least one source');
  if (out === undefined) throw misuse('build needs --out PACK');
  if (extname(out) !== '.klrx') throw misuse(`${out} does not end in .klrx`);
  requireChoice('kind', kind, ['base', 'patch']);
  requireChoice('key', key, ['test-v1', 'release-v1']);
  const ruleSetId = values['rule-set-id'] ?? basename(out, '.klrx');
  requireId('the rule set id', ruleSetId);
  if (kind === 'patch' && values['base-rule-set-id'] === undefined) throw misuse('a patch needs --base-rule-set-id ID');
  const baseRuleSetId = values['base-rule-set-id'] ?? ruleSetId;
  requireId('the base rule set id', baseRuleSetId);
  if (nonce !== undefined && !/^[0-9a-fA-F]{24}$/.test(nonce)) throw misuse('--nonce is not 24 hexadecimal digits');
  for (const source of sources) {
    if (!/\.(json|tsv)$/i.test(source)) throw misuse(`${source} is no .json or .tsv source`);
  }
  if (new Set(sources.map(realPathOf)).size < sources.length) throw misuse('a source is given twice');
  refuseSameFile(out, sources);
  return { ...values, sources, ruleSetId, baseRuleSetId, nonce: nonce && Buffer.from(nonce, 'hex') };
}

async function build(args, io) {
  const options = readBuildOptions(args);
  const { sources, out, kind, key: keyId, ruleSetId, baseRuleSetId, nonce } = options;
  const trust = options.trust === undefined ? developmentTrustFile : readTrust(options.trust);
  if (keyId === 'release-v1' && trust.name === developmentTrustFile.name) {
    io.err('klrx: warning: release-v1 of the development trust file is public; give the release one with --trust\n');
  }
  if (io.terminal) io.err(`klrx: compiling ${sources.length} ${sources.length === 1 ? 'source' : 'sources'}\n`);
  const compiled = compileSources(sources, kind, io);
  const documents = documentsOf(compiled);
  if (documents.length > MAX_DOCUMENTS) throw no(`${documents.length} documents are more than the ${MAX_DOCUMENTS} of a pack`);
  const compression = options.compress ? LZ4_COMPRESSION : undefined;
  const pack = attempt(out, () =>
    buildPack({ kind, ruleSetId, baseRuleSetId, keyId, documents, compression, nonce, trust }),
  );
  if (pack.length > MAX_PACK_BYTES) throw no(`${out}: ${pack.length} bytes are more than the ${MAX_PACK_BYTES} of a pack`);
  attempt(out, () => writeWhole(out, pack));

  const rows = Object.fromEntries((compiled.sections ?? []).map((section) => [section.type, section.rows.length]));
  const shards = Object.fromEntries(compiled.shards.map((shard) => [shard.name, shard.rowCount]));
  if (options.json) {
    const report = { pack: out, packBytes: pack.length, kind, ruleSetId, baseRuleSetId, rows, shards };
    io.out(`${JSON.stringify({ ...report, warnings: compiled.warnings }, null, 2)}\n`);
    return DONE;
  }
  io.out(`${out}: ${kind} ${ruleSetId}, ${pack.length} bytes\n`);
  const counts = Object.entries({ ...rows, ...shards });
  const width = Math.max(...counts.map(([name]) => name.length));
  for (const [name, count] of counts) io.out(`  ${name.padEnd(width)}  ${count} rows\n`);
  return DONE;
}

// ---- inspect, verify ----

/** The deepest directory that holds all the paths. */
function commonDirectory(paths) {
  let directory = dirname(resolve(paths[0]));
  const holds = (path) => resolve(path).startsWith(directory.endsWith(sep) ? directory : directory + sep);
  while (!paths.every(holds)) directory = dirname(directory);
  return directory;
}

/** Why the approved-root test may fail although a file lies below the root. */
function explainRoot(message, root, paths, io) {
  if (!message.endsWith('outside the approved root')) return;
  if (/[^\0-\x7f]/.test([root, ...paths].map(realPathOf).join(''))) {
    io.err('klrx: hint: no path with a character beyond ASCII is inside a root; use another directory\n');
  } else if (realPathOf(root).endsWith(sep)) {
    io.err('klrx: hint: nothing is inside the root of a file system; use a directory below it\n');
  }
}

async function askAddon(io, question, root, paths) {
  let addon;
  try {
    addon = await io.loadAddon();
  } catch (error) {
    throw no(`the native module cannot be loaded: ${error.message}`);
  }
  try {
    return question(addon);
  } catch (error) {
    explainRoot(error.message, root, paths, io);
    throw no(`${paths[0]}: ${error.message || 'its index document has a wrong name or encoding'}`);
  }
}

async function inspect(args, io) {
  const { values, positionals } = readArguments(args, {
    json: { type: 'boolean', default: false },
    root: { type: 'string' },
  });
  if (positionals.length !== 1) throw misuse('inspect needs one PACK');
  const [packPath] = positionals;
  const allowedRoot = values.root ?? dirname(resolve(packPath));
  const pack = await askAddon(io, (addon) => addon.inspectRulePack({ packPath, allowedRoot }), allowedRoot, [packPath]);
  if (values.json) {
    io.out(`${JSON.stringify(pack, null, 2)}\n`);
    return DONE;
  }
  const { binaryIndex } = pack;
  const lines = [
    ['kind', pack.kind],
    ['rule set', pack.ruleSetId],
    ['base', pack.baseRuleSetId],
    ['size', `${pack.packBytes} bytes`],
    ['payload', `sha256 ${pack.payloadSha256}`],
    ['documents', pack.documentCount],
    ...Object.entries(pack.documentCounts).map(([name, count]) => [`  ${name}`, count]),
    ['index', binaryIndex.version === 0 ? 'none' : `${binaryIndex.bytes} bytes, source documents: ${binaryIndex.sourceDocumentCount}`],
    ...Object.entries(binaryIndex.sectionCounts).map(([name, count]) => [`  ${name}`, `${count} rows`]),
  ];
  const width = Math.max(...lines.map(([name]) => name.length));
  io.out(`${packPath}: sound\n`);
  for (const [name, value] of lines) io.out(`${name.padEnd(width)}  ${value}\n`);
  return DONE;
}

async function verify(args, io) {
  const { values, positionals } = readArguments(args, {
    json: { type: 'boolean', default: false },
    root: { type: 'string' },
    'base-rule-set-id': { type: 'string' },
    'rule-set-id': { type: 'string' },
  });
  if (positionals.length !== 2) throw misuse('verify needs MANIFEST and PACK');
  const [manifestPath, packPath] = positionals;
  const allowedRoot = values.root ?? commonDirectory(positionals);
  const manifest = readJson(manifestPath);
  const baseRuleSetId = values['base-rule-set-id'] ?? manifest?.baseRuleSetId;
  const ruleSetId = values['rule-set-id'] ?? manifest?.ruleSetId;
  const options = { manifestPath, packPath, allowedRoot, baseRuleSetId, ruleSetId };
  const answer = await askAddon(io, (addon) => addon.verifySemanticDeltaManifest(options), allowedRoot, positionals);
  if (values.json) io.out(`${JSON.stringify(answer, null, 2)}\n`);
  else io.out(`${packPath}: signed patch from ${answer.baseRuleSetId} to ${answer.ruleSetId}, sha256 ${answer.packSha256}\n`);
  return DONE;
}

// ---- sign ----

function readSigningKey({ key, development }) {
  if ((key === undefined) === !development) throw misuse('sign needs either --key KEY.pem or --development');
  if (development) return signingKeyOf(developmentTrustFile);
  const signingKey = attempt(key, () => {
    const pem = readText(key);
    try {
      return createPrivateKey(pem);
    } catch {
      throw new Error('is no unencrypted private key in PEM form');
    }
  });
  if (signingKey.asymmetricKeyType !== 'ed25519') throw no(`${key}: is an ${signingKey.asymmetricKeyType} key, not an ed25519 key`);
  return signingKey;
}

function readModules(text) {
  let modules;
  try {
    modules = JSON.parse(text);
  } catch {
    throw misuse('--modules is no JSON');
  }
  if (!Array.isArray(modules) || modules.some((name) => typeof name !== 'string' || name.includes(']'))) {
    throw misuse('--modules is no array of strings without "]"');
  }
  return modules;
}

/** What would make every verification fail is refused before it is signed. */
function checkSignable(packPath, { kind, baseRuleSetId, ruleSetId }) {
  if (kind !== 'patch') throw no(`${packPath}: is a ${kind} pack, and only a patch can be signed`);
  if (baseRuleSetId === ruleSetId) throw no(`${packPath}: leads from ${ruleSetId} to itself`);
  if (!/^[\x20-\x7e]+\.klrx$/.test(basename(packPath)) || /["\\]/.test(basename(packPath))) {
    throw no(`${packPath}: a pack of this name cannot be named in a manifest`);
  }
}

async function sign(args, io) {
  const { values, positionals } = readArguments(args, {
    pack: { type: 'string' },
    key: { type: 'string' },
    development: { type: 'boolean', default: false },
    out: { type: 'string' },
    modules: { type: 'string', default: '[]' },
  });
  const { pack: packPath, out } = values;
  if (positionals.length > 0) throw misuse(`sign takes no ${positionals[0]}; the pack is given with --pack`);
  if (packPath === undefined) throw misuse('sign needs --pack PACK');
  if (out === undefined) throw misuse('sign needs --out MANIFEST');
  const modules = readModules(values.modules);
  refuseSameFile(out, [packPath, ...(values.key === undefined ? [] : [values.key])]);
  const signingKey = readSigningKey(values);

  const packBytes = attempt(packPath, () => {
    try {
      return readFileSync(packPath);
    } catch (error) {
      throw new Error(`cannot be read: ${reasonOf(error)}`);
    }
  });
  checkSignable(packPath, attempt(packPath, () => readPackMetadata(packBytes)));
  const text = buildManifest({ packBytes, pack: basename(packPath), modules, signingKey });
  if (Buffer.byteLength(text) > MAX_MANIFEST_BYTES) throw no(`${out}: a manifest has at most ${MAX_MANIFEST_BYTES} bytes`);
  attempt(out, () => writeWhole(out, text));
  if (values.development) io.err('klrx: warning: signed with the development key, which is public\n');
  io.out(`${out}: signed manifest for ${packPath}\n`);
  return DONE;
}

const COMMANDS = { build, inspect, sign, verify };

/**
 * Runs one command line.
 * @param {string[]} args without the interpreter and the script
 * @param {Io} io
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
