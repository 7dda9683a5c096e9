// `npm run coverage`: which lines of the parsers the tests reach, C++ and JavaScript tests and the seeds of the fuzz targets
// together. Fails if it is less than 98 % of a file, or if a line is not reached and nobody has said here why. Builds
// build/coverage and runs every test there: some minutes. Arguments go to CTest.
import { readFileSync, readdirSync, rmSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { join } from 'node:path';
import { ask, command, installDebianPackages, installNodeModules, root, run, SetupError } from './setup.mjs';

const LEAST = 98; // per cent of the lines of a file

/** Whatever reads bytes or values that others made, with what each reads. */
const parsers = {
  'src/core/cache/rule_pack_loader.cpp': 'envelope and metadata of a pack',
  'src/core/pack/pack_file.cpp': 'paths and files',
  'src/core/pack/metadata_scanner.cpp': 'JSON fields of packs and manifests',
  'src/core/pack/lz4_block.cpp': 'LZ4 blocks',
  'src/core/pack/payload.cpp': 'the payload and its documents',
  'src/core/pack/binary_index.cpp': 'the binary index',
  'src/core/pack/location_shard.cpp': 'location shards',
  'src/core/base/byte_reader.h': 'integers and texts of binary formats',
  'src/core/base/number_text.cpp': 'numbers as text',
  'src/core/base/c_number_posix.cpp': 'numbers as text, by the C library',
  'src/core/delta/delta_manifest.cpp': 'manifests',
  'src/core/delta/signed_text.cpp': 'base64, the signed text',
  'src/core/rows/record_table.cpp': 'rows of packs and callers',
  'src/core/rows/lexicon_rows.cpp': 'fields of rows',
  'src/core/rows/sections.cpp': 'names of sections',
  'src/core/rows/term_index.cpp': 'term index: bytes of terms and titles',
  'src/core/rows/table_indexes.cpp': 'term indexes of a table',
  'src/core/text/text_primitives.cpp': 'words and characters',
  'src/core/text/utf16.cpp': 'titles in UTF-16',
  'src/addon/border.cpp': 'values of the caller',
  'src/addon/options.cpp': 'options of the caller',
  'src/addon/batch_options.cpp': 'options of batches',
  'src/addon/title_reader.cpp': 'titles of the caller',
  'src/addon/object_rows.cpp': 'rows of the caller, as objects',
  'src/addon/caller_overlays.cpp': 'overlays of the caller',
};

/** Lines that no test reaches, by their text, and why. */
const unreached = {
  'src/core/pack/payload.cpp': {
    'return fail(error, "semantic rule-pack document type is invalid");':
      'the header was found whole before its fields are read; kept in case its size ever changes',
  },
  'src/core/rows/term_index.cpp': {
    'return lookUp(searcher.table, searcher.index, part, probe.hash);':
      'a tag of 32 bits that is also another term\'s, at the same place; tags are seeded anew for each index',
  },
  'src/addon/caller_overlays.cpp': {
    'return;': 'the worker is being terminated at this very element',
  },
  'src/addon/title_reader.cpp': {
    'reader.readPart = nullptr;': 'the engine has no memory left for an array of some kilobytes, or the worker is being terminated',
  },
};

const folder = join(root, 'build', 'coverage');

function removeCounts() {
  for (const name of readdirSync(folder, { recursive: true, encoding: 'utf8' })) if (name.endsWith('.gcda')) rmSync(join(folder, name));
}

/** The numbers of the lines with code in each source file, and of those that were never run. */
function readCounts() {
  const { ok, out, err } = ask('gcovr', ['--root', root, '--filter', 'src/', '--json', '-', folder]);
  if (!ok) throw new SetupError(`gcovr failed:\n${err}`);
  const lines = new Map();
  for (const { file, lines: counted } of JSON.parse(out).files) {
    const code = counted.filter((line) => !line['gcovr/noncode']);
    lines.set(file, { all: code.length, missed: code.filter((line) => line.count === 0).map((line) => line.line_number) });
  }
  return lines;
}

/** Prints the table and the lines that were not reached, and gives what is wrong. */
function report(counts) {
  const faults = [];
  const notes = [];
  for (const [file, what] of Object.entries(parsers)) {
    const { all, missed } = counts.get(file) ?? { all: 0, missed: [] };
    const percent = all === 0 ? 0 : (100 * (all - missed.length)) / all;
    console.log(`${percent.toFixed(1).padStart(5)} %  ${String(all - missed.length).padStart(3)} of ${String(all).padEnd(3)}  ${file.padEnd(37)} ${what}`);
    if (percent < LEAST) faults.push(`${file}: ${percent.toFixed(1)} % of the lines, less than ${LEAST}`);
    const source = readFileSync(join(root, file), 'utf8').split('\n').map((line) => line.trim());
    const reasons = unreached[file] ?? {};
    faults.push(...Object.keys(reasons).filter((line) => !source.includes(line)).map((line) => `${file} has no line "${line}" any more`));
    for (const number of missed) {
      const reason = reasons[source[number - 1]];
      notes.push(`${file}:${number}: ${source[number - 1]}\n    ${reason ?? 'not explained'}`);
      if (reason === undefined) faults.push(`${file}:${number} is not reached, and scripts/coverage.mjs doesn't say why`);
    }
  }
  console.log(`\nNot reached:\n${notes.join('\n')}`);
  return faults;
}

await command((args) => {
  installNodeModules();
  installDebianPackages(['gcovr', 'g++', 'cmake', 'libssl-dev', 'libsodium-dev', 'libgtest-dev'], '');
  run('cmake', ['--preset', 'coverage']);
  removeCounts();
  run('cmake', ['--build', '--preset', 'coverage', '--parallel', String(availableParallelism())]);
  // How long something takes says nothing in this build.
  run('ctest', ['--preset', 'coverage', '--exclude-regex', '^node.worst_cases$', ...args]);
  const faults = report(readCounts());
  if (faults.length > 0) throw new SetupError(faults.join('\n'));
});
