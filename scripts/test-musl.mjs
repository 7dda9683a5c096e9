// `npm run test:musl`: builds the addon for Linux with musl on this Debian machine and runs the core's tests there, as no
// Node.js for musl comes from the npm registry. The C++ runtime, OpenSSL and libsodium are built from Debian's sources:
// the first time takes ten minutes.
import { cpSync, mkdirSync, symlinkSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { join } from 'node:path';
import { buildAndTest, fetchDebianSource, provide } from './cross.mjs';
import { ask, command, installDebianPackages, installNodeModules, root, run, SetupError } from './setup.mjs';

const packages = ['musl', 'musl-dev', 'linux-libc-dev', 'gcc', 'clang', 'lld', 'cmake', 'make', 'ninja-build', 'perl', 'dpkg-dev', 'googletest'];
const jobs = String(availableParallelism());

/** The headers and libraries of musl, and those of the kernel, which Debian keeps apart from it. */
function copyMusl(folder) {
  cpSync('/usr/include/x86_64-linux-musl', join(folder, 'include'), { recursive: true });
  cpSync('/usr/lib/x86_64-linux-musl', join(folder, 'lib'), { recursive: true, verbatimSymlinks: true });
  for (const [name, place] of [['linux', 'linux'], ['asm-generic', 'asm-generic'], ['asm', 'x86_64-linux-gnu/asm']]) {
    symlinkSync(join('/usr/include', place), join(folder, 'include', name));
  }
}

function buildOpenSsl(folder, compiler) {
  const place = join(folder, 'openssl');
  mkdirSync(place);
  const source = join(fetchDebianSource('openssl'), 'source');
  const make = (...line) => run('sh', ['-c', `cd "${place}" && ${line.join(' ')} >log 2>&1 || { tail -20 log; exit 1; }`]);
  make(`CC="${compiler}"`, `"${source}/Configure"`, 'linux-x86_64 no-shared no-tests no-engine no-dso no-async no-legacy');
  make('make', '-j', jobs, 'build_generated', 'libcrypto.a');
  cpSync(join(place, 'libcrypto.a'), join(folder, 'lib/libcrypto.a'));
  for (const headers of [join(source, 'include/openssl'), join(place, 'include/openssl')]) {
    cpSync(headers, join(folder, 'include/openssl'), { recursive: true });
  }
}

/** The standard library of C++, without exceptions, which the addon has none of. */
function buildCxx(folder, compiler) {
  const place = join(folder, 'libcxx');
  const off = ['LIBCXX_ENABLE_SHARED', 'LIBCXXABI_ENABLE_SHARED', 'LIBCXX_ENABLE_EXCEPTIONS', 'LIBCXXABI_ENABLE_EXCEPTIONS',
    'LIBCXXABI_USE_LLVM_UNWINDER', 'LIBCXX_INCLUDE_BENCHMARKS', 'LIBCXX_INCLUDE_TESTS', 'LIBCXXABI_INCLUDE_TESTS'];
  const on = ['LIBCXX_HAS_MUSL_LIBC', 'LIBCXX_HERMETIC_STATIC_LIBRARY', 'LIBCXXABI_HERMETIC_STATIC_LIBRARY', 'CMAKE_POSITION_INDEPENDENT_CODE'];
  const [, ...flags] = compiler.split(' ');
  run('cmake', ['-G', 'Ninja', '-S', join(fetchDebianSource('llvm-toolchain-14'), 'source/runtimes'), '-B', place,
    '-DLLVM_ENABLE_RUNTIMES=libcxx;libcxxabi', '-DLIBCXX_CXX_ABI=libcxxabi', '-DCMAKE_BUILD_TYPE=Release', '-DCMAKE_C_COMPILER=clang',
    '-DCMAKE_CXX_COMPILER=clang++', '-DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY', `-DCMAKE_INSTALL_PREFIX=${folder}`,
    // After what a target names itself, which is the new library's own headers.
    `-DCMAKE_C_FLAGS=${flags.join(' ')}`, `-DCMAKE_CXX_FLAGS=${flags.join(' ').replace('-isystem', '-idirafter')}`,
    ...off.map((name) => `-D${name}=OFF`), ...on.map((name) => `-D${name}=ON`)]);
  run('cmake', ['--build', place, '--parallel', jobs, '--target', 'install-cxx', 'install-cxxabi']);
}

/** Every name that the module asks for is Node-API's or musl's; otherwise it would not load. */
function checkNames(module, libc) {
  const names = (file, which) => ask('nm', ['-D', which, file]).out.trim().split('\n').map((line) => String(line.split(/\s+/).at(-1)));
  const known = new Set(names(libc, '--defined-only'));
  const strange = names(module, '--undefined-only').filter((name) => !known.has(name) && !/^(?:napi|node_api)_/.test(name));
  if (strange.length > 0) throw new SetupError(`neither Node-API nor musl has ${strange.join(', ')}`);
}

await command((args) => {
  installNodeModules();
  installDebianPackages(packages, '');
  fetchDebianSource('libsodium');
  const tools = provide('linux-musl', 'musl, libc++ and OpenSSL for it', (folder) => {
    copyMusl(folder);
    const compiler = `clang --target=x86_64-linux-musl -nostdlibinc -isystem ${join(folder, 'include')}`;
    buildOpenSsl(folder, compiler);
    buildCxx(folder, compiler);
  });
  process.exitCode = buildAndTest('linux-musl', args);
  checkNames(join(root, 'build/linux-musl/corvenda_semantic.node'), join(tools, 'lib/libc.so'));
});
