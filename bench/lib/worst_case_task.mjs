// Runs one worst case in a process of its own: node --expose-gc worst_case_task.mjs
// '{"index":0,"scale":1,"binary":"…"}'
import assert from 'node:assert/strict';
import { mkdtempSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';

import { buildBinaryIndex, buildPack, INDEX_DOCUMENT_NAME } from '../../tools/index.mjs';
import { forgetPeak, memoryStatus, residentBytes, timed } from './measure.mjs';
import { worstCases } from './worst_case_list.mjs';

const { index, scale, binary } = JSON.parse(process.argv[2]);
const folder = realpathSync(mkdtempSync(join(tmpdir(), 'corvenda-worst-')));
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

const addon = createRequire(import.meta.url)(binary ? resolve(binary) : '../../lib/index.cjs');
const { sections, call, expected } = worstCases[index].make(scale);
const pack = { packPath: join(folder, 'worst.klrx'), allowedRoot: folder };
const data = buildBinaryIndex({ sections: Object.entries(sections).map(([type, rows]) => ({ type, rows })) });
const documents = [{ type: 8, encoding: 2, name: INDEX_DOCUMENT_NAME, data }];
writeFileSync(pack.packPath, buildPack({ ruleSetId: 'worst', documents }));

const before = residentBytes();
forgetPeak();
const { result, cpu, wall } = timed(() => call(addon, pack));
const peak = memoryStatus('VmHWM') - before;
assert.deepEqual(result, expected);
process.stdout.write(JSON.stringify({ ms: cpu / 1000, wall: wall / 1000, megabytes: peak / 1e6 }));
