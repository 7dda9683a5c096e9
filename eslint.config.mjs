// Few rules, all against faults: how code looks is left to whoever writes and reads it.
import js from '@eslint/js';
import globals from 'globals';

export default [
  { ignores: ['build/', 'coverage/', 'lib/tools/'] },
  js.configs.recommended,
  {
    languageOptions: { globals: globals.node },
    rules: {
      'array-callback-return': 'error',
      eqeqeq: 'error',
      'no-self-compare': 'error',
      'no-sparse-arrays': 'off', // a table of cases leaves cells to their default
      'no-unmodified-loop-condition': 'error',
      'no-unused-vars': ['error', { ignoreRestSiblings: true }],
      'no-var': 'error',
      'prefer-const': ['error', { destructuring: 'all' }],
    },
  },
  { files: ['tools/report/*.js', 'test/browser/*'], languageOptions: { globals: globals.browser } },
  { files: ['**/*.cjs'], languageOptions: { sourceType: 'commonjs' } },
];
