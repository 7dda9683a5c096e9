// What it takes to build for another platform and to run what was built: programs and libraries that are fetched into
// build/tools, where the presets look for them. Nothing on the machine is changed but for installed Debian packages.
import { spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { join } from 'node:path';

import { root, run, SetupError } from './setup.mjs';

const tools = join(root, 'build', 'tools');

/** Makes a folder of build/tools by a function that fills it, whole or not at all; `stamp` says what is in it. */
export function provide(name, stamp, fill) {
  const folder = join(tools, name);
  const stampFile = join(folder, '.stamp');
  if (existsSync(stampFile) && readFileSync(stampFile, 'utf8') === stamp) return folder;
  process.stderr.write(`setup: fetching ${stamp}\n`);
  mkdirSync(tools, { recursive: true });
  const unfinished = mkdtempSync(join(tools, 'unfinished-'));
  try {
    fill(unfinished);
    writeFileSync(join(unfinished, '.stamp'), stamp);
    rmSync(folder, { recursive: true, force: true });
    renameSync(unfinished, folder);
  } finally {
    rmSync(unfinished, { recursive: true, force: true });
  }
  return folder;
}

function outputOf(program, args, options) {
  const { status, error, stdout, stderr } = spawnSync(program, args, { encoding: 'utf8', ...options });
  if (status !== 0) throw new SetupError(`${program} ${args.join(' ')} failed: ${error?.message ?? stderr}`);
  return stdout;
}

// --- npm ----------------------------------------------------------------------------------------------------------

/** The npm package of one file, unpacked; its bytes must have the given SHA-512, in base64. */
export function fetchNpmPackage(name, version, sha512) {
  return provide(name, `${name}@${version}`, (folder) => {
    const [{ filename }] = JSON.parse(outputOf('npm', ['pack', '--json', '--pack-destination', folder, `${name}@${version}`], { cwd: folder }));
    const archive = join(folder, filename);
    const digest = createHash('sha512').update(readFileSync(archive)).digest('base64');
    if (digest !== sha512) throw new SetupError(`${name}@${version} is not the file that was expected: its SHA-512 is ${digest}`);
    run('tar', ['-xzf', archive, '-C', folder, '--strip-components=1']);
    rmSync(archive);
  });
}

/** The packages that npm would install for another system, each with the lock file's version. */
export function fetchNpmModules(folderName, names, system) {
  const { packages } = JSON.parse(readFileSync(join(root, 'package-lock.json'), 'utf8'));
  const wanted = names.map((name) => `${name}@${packages[`node_modules/${name}`].version}`);
  const folder = provide(folderName, wanted.join(' '), (unfinished) => run('npm', ['install', '--prefix', unfinished, '--no-save', '--no-package-lock',
    '--ignore-scripts', '--no-audit', '--no-fund', '--no-update-notifier', ...system, ...wanted]));
  return join(folder, 'node_modules');
}

// --- Debian -------------------------------------------------------------------------------------------------------

/**
 * Options for apt-get that make it work on lists of its own, which hold another kind of packages than the machine's.
 * They come from where the machine's own packages come from.
 */
function aptWithLists(folder, type, architecture) {
  const format = '$(REPO_URI) $(CODENAME) $(COMPONENT)';
  const list = () => outputOf('apt-get', ['indextargets', '--format', format, 'Created-By: Packages', 'Origin: Debian']).trim();
  if (list() === '') run('apt-get', ['-q', 'update']);
  const sources = [...new Set(list().split('\n'))].filter(Boolean);
  if (sources.length === 0) throw new SetupError('apt-get knows no Debian packages on this machine');
  const signed = `[signed-by=/usr/share/keyrings/debian-archive-keyring.gpg${architecture ? ` arch=${architecture}` : ''}]`;
  for (const part of ['lists/partial', 'archives/partial']) mkdirSync(join(folder, part), { recursive: true });
  writeFileSync(join(folder, 'sources.list'), sources.map((source) => `${type} ${signed} ${source}\n`).join(''));
  writeFileSync(join(folder, 'status'), '');
  return Object.entries({
    'Dir::Etc::sourcelist': join(folder, 'sources.list'), 'Dir::Etc::sourceparts': '-', 'Dir::State::lists': join(folder, 'lists'),
    'Dir::Cache': folder, 'Dir::State::status': join(folder, 'status'), 'APT::Sandbox::User': '',
    ...(architecture && { 'APT::Architecture': architecture, 'APT::Architectures::': architecture }),
  }).flatMap(([name, value]) => ['-o', `${name}=${value}`]);
}

/** The sources of a Debian package, with Debian's changes. */
export function fetchDebianSource(name) {
  return provide(name, `the sources of ${name}`, (folder) => {
    const apt = join(folder, 'apt');
    const options = aptWithLists(apt, 'deb-src');
    run('apt-get', ['-q', ...options, 'update']);
    outputOf('apt-get', ['-q', ...options, 'source', name], { cwd: folder });
    const [unpacked] = readdirSync(folder).filter((entry) => entry.startsWith(`${name}-`));
    renameSync(join(folder, unpacked), join(folder, 'source'));
    rmSync(apt, { recursive: true });
  });
}

/** The files of Debian packages for another architecture, not installed. */
export function fetchDebianFiles(folderName, architecture, names) {
  return provide(folderName, `${names.join(' ')} for ${architecture}`, (folder) => {
    const apt = join(folder, 'apt');
    const options = aptWithLists(apt, 'deb', architecture);
    run('apt-get', ['-q', ...options, 'update']);
    outputOf('apt-get', ['-q', ...options, 'download', ...names], { cwd: folder });
    for (const file of readdirSync(folder).filter((entry) => entry.endsWith('.deb'))) {
      run('dpkg-deb', ['-x', join(folder, file), folder]);
      rmSync(join(folder, file));
    }
    rmSync(apt, { recursive: true });
  });
}

// --- Build --------------------------------------------------------------------------------------------------------

/** Names the tests that were skipped, and why: CTest shows what failed, and of node:test these lines. */
function tellSkipped(preset) {
  const log = readFileSync(join(root, 'build', preset, 'Testing', 'Temporary', 'LastTest.log'), 'utf8');
  const skipped = [...log.matchAll(/^\ufe63 (.*) \([\d.]+ms\) # (.*?)\r?$/gm)].map(([, name, reason]) => `skipped: ${name}: ${reason}\n`);
  process.stderr.write([...new Set(skipped)].join(''));
}

/** Configures and builds a preset with its tests, then runs them; the status of CTest. */
export function buildAndTest(preset, ctestArguments) {
  run('cmake', ['--preset', preset]);
  run('cmake', ['--build', '--preset', preset, '--parallel', String(availableParallelism())]);
  const { status } = spawnSync('ctest', ['--preset', preset, ...ctestArguments], { cwd: root, stdio: 'inherit' });
  tellSkipped(preset);
  return status ?? 1;
}
