'use strict';
// Finds the native module. The paths are literals, one `require` each inside its own `try`, because that is the form
// that bundlers follow into the package and treat as allowed to fail.

const tried = [];

/** Remembers why loading from one place failed, for the message at the end of the search. */
function failed(path, error) {
  const missing = error.code === 'MODULE_NOT_FOUND';
  tried.push({ path, error, reason: missing ? 'not there' : error.message.trim().split('\n').join('\n    ') });
}

/** The module itself: a bundler that treats the file as an asset leaves its name in place of what it holds. */
function loaded(addon) {
  if (typeof addon !== 'string') return addon;
  throw new Error(`a bundler put the name of a file here (${addon}) in place of the native module; name corvenda-semantic ` +
    'among the external packages, or have .node files copied and loaded (esbuild: --loader:.node=copy, webpack: node-loader)');
}

function load() {
  const target = require('./target.cjs')(process);
  try {
    switch (target) {
      case 'linux-x64-gnu': return loaded(require('../prebuilds/linux-x64-gnu.node'));
      case 'linux-x64-musl': return loaded(require('../prebuilds/linux-x64-musl.node'));
      case 'linux-arm64-gnu': return loaded(require('../prebuilds/linux-arm64-gnu.node'));
      case 'win32-x64': return loaded(require('../prebuilds/win32-x64.node'));
      default: failed(`prebuilds/${target}.node`, new Error('no binary is published for this platform'));
    }
  } catch (e) { failed(`prebuilds/${target}.node`, e); }
  // What was built here: setup removes a published binary that is older than what it builds, so that this one is loaded.
  try { return loaded(require('../build/release/corvenda_semantic.node')); } catch (e) { failed('build/release/corvenda_semantic.node', e); }
  try { return loaded(require('../build/debug/corvenda_semantic.node')); } catch (e) { failed('build/debug/corvenda_semantic.node', e); }
  if (target === 'linux-arm64-gnu') {
    try { return loaded(require('../build/linux-arm64/corvenda_semantic.node')); } catch (e) { failed('build/linux-arm64/corvenda_semantic.node', e); }
  }
  if (process.platform === 'win32') {
    try { return loaded(require('../build/windows-msvc/corvenda_semantic.node')); } catch (e) { failed('build/windows-msvc/corvenda_semantic.node', e); }
    try { return loaded(require('../build/windows/corvenda_semantic.node')); } catch (e) { failed('build/windows/corvenda_semantic.node', e); }
  }

  const root = require('node:path').dirname(__dirname);
  const error = new Error([
    `corvenda-semantic: the native module could not be loaded (${target}, Node.js ${process.versions.node})`,
    `Tried, in ${root}:`,
    ...tried.map(({ path, reason }) => `  ${path}: ${reason}`),
    ...(process.platform === 'linux' ? [
      'Build it here with this command:',
      `  npm --prefix "${root}" run setup`,
    ] : [
      `How it is built for other systems than Linux: ${root}/docs/platforms.md`,
    ]),
    ...(process.platform === 'linux' && /[\\/]node_modules[\\/]/.test(root) ? [
      'npm ci removes what was built there. To have it built again each time, add to the scripts of your own package.json:',
      '  "postinstall": "npm --prefix node_modules/corvenda-semantic run setup"',
    ] : []),
  ].join('\n'), { cause: tried.map((attempt) => attempt.error).find(({ code }) => code !== 'MODULE_NOT_FOUND') });
  throw Object.assign(error, { code: 'ERR_SEMANTIC_BINARY' });
}

module.exports = load();
