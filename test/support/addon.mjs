// The addon that the tests run: the one that lib/ finds, or the file that CORVENDA_TEST_BINARY names (a build made
// with sanitizers or for coverage), seen from the folder where the tests were started.
import { createRequire } from 'node:module';
import { dirname, join, resolve } from 'node:path';

const require = createRequire(import.meta.url);
const named = process.env.CORVENDA_TEST_BINARY;
// Tests and their processes change folders, so the path is made absolute here.
if (named) process.env.CORVENDA_TEST_BINARY = resolve(named);

export const addon = require(process.env.CORVENDA_TEST_BINARY || '../../lib/index.cjs');

/** The module that explains titles, from the same build. */
export const explainTitle = (options) =>
  require(join(dirname(process.env.CORVENDA_TEST_BINARY || '../../build/release/x'), 'corvenda_explain.node')).explainTitle(options);

/** The addon of the tests as a module with a default export, for worker threads. */
export const addonUrl = `data:text/javascript,${encodeURIComponent(
  `export { addon as default } from ${JSON.stringify(import.meta.url)}`)}`;
