'use strict';
// Finds the second native module, which explains answers. Only klrx asks for it, and nothing bundles klrx.

const targetOf = require('./target.cjs');

function load() {
  const places = ['../build/release/corvenda_explain.node', '../build/debug/corvenda_explain.node', `../prebuilds/${targetOf(process)}.explain.node`];
  for (const place of places) {
    try {
      return require(place);
    } catch (error) {
      if (error.code !== 'MODULE_NOT_FOUND') throw error;
    }
  }
  throw new Error('it is neither built (npm run setup) nor published for this platform');
}

module.exports = load();
