// The same types under the module entry.
export * from './lexicon.cjs';
