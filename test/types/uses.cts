// The same for a caller of the CommonJS entry.
import semantic = require('corvenda-semantic');
export const version: 1 = semantic.getSemanticInfo().packVersion;
// @ts-expect-error: this entry has no default export
semantic.default;
import { englishReading } from 'corvenda-semantic/lexicon';
englishReading('x') satisfies string;
