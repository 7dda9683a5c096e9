// The same functions as the CommonJS entry gives.
import lexicon from './lexicon.cjs';

export const { openLexicon, englishReading } = lexicon;
