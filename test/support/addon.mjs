// The addon that the tests run: the one that lib/ finds, or the file that CORVENDA_TEST_BINARY names (a build made
// with sanitizers or for coverage).
import { createRequire } from 'node:module';
import { resolve } from 'node:path';

const require = createRequire(import.meta.url);
const binary = process.env.CORVENDA_TEST_BINARY;

export const addon = require(binary ? resolve(binary) : '../../lib/index.cjs');
