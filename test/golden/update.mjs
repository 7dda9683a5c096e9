// `npm run golden:update`: records anew what the functions answer. Read the difference before you commit it: each changed
// line is a changed answer, and has to be one that was meant.
import { readFileSync, writeFileSync } from 'node:fs';

import { record, recordFile } from './recorder.mjs';

const before = new Set(readFileSync(recordFile, { encoding: 'utf8', flag: 'a+' }).split('\n'));
const lines = await record();
writeFileSync(recordFile, `${lines.join('\n')}\n`);
console.log(`${lines.length} lines, ${lines.filter((line) => !before.has(line)).length} of them new or changed`);
