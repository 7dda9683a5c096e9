'use strict';
// Finds the native module. The paths are literals, one `require` each inside its own `try`, because that is the form
// that bundlers follow into the package and treat as allowed to fail.

const tried = [];

/** Remembers why loading from one place failed, for the message at the end of the search. */
function failed(path, error) {
  const missing = error.code === 'MODULE_NOT_FOUND';
  tried.push({ path, error, reason: missing ? 'not there' : error.message.trim().split('\n').join('\n    ') });
}

function load() {
  // A build made in this folder comes first, so that whoever changes the source runs what was built.
  try { return require('../build/release/corvenda_semantic.node'); } catch (e) { failed('build/release/corvenda_semantic.node', e); }
  try { return require('../build/debug/corvenda_semantic.node'); } catch (e) { failed('build/debug/corvenda_semantic.node', e); }
  if (process.platform === 'win32') {
    try { return require('../build/windows-msvc/corvenda_semantic.node'); } catch (e) { failed('build/windows-msvc/corvenda_semantic.node', e); }
    try { return require('../build/windows/corvenda_semantic.node'); } catch (e) { failed('build/windows/corvenda_semantic.node', e); }
  }
  const target = `${process.platform}-${process.arch}`;
  try {
    switch (target) {
      case 'linux-x64': return require('../prebuilds/linux-x64.node');
      case 'linux-arm64': return require('../prebuilds/linux-arm64.node');
      case 'darwin-x64': return require('../prebuilds/darwin-x64.node');
      case 'darwin-arm64': return require('../prebuilds/darwin-arm64.node');
      case 'win32-x64': return require('../prebuilds/win32-x64.node');
      default: failed(`prebuilds/${target}.node`, new Error('no binary is published for this platform'));
    }
  } catch (e) { failed(`prebuilds/${target}.node`, e); }

  const root = require('node:path').dirname(__dirname);
  throw new Error([
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
  ].join('\n'), { cause: tried.map(({ error }) => error).find((error) => error.code !== 'MODULE_NOT_FOUND') });
}

module.exports = load();
