// Makes the seeds of the fuzz targets: small sound inputs, one file each. The same bytes at every run.
import { mkdirSync, writeFileSync } from 'node:fs';

import {
  buildBinaryIndex, buildLocationShard, buildMetadata, buildPayload, compressLz4Block, INDEX_DOCUMENT_NAME,
} from '../tools/index.mjs';

const row = (term, ...fields) => ({ term, fields });
const index = buildBinaryIndex({
  sections: [
    { type: 'facet', rows: [row('周末', 'time', 'weekend', '1.5', 'zh')] },
    { type: 'scene', rows: [row('火锅', 'food', '', '1', 'category', 'zh', 'L', 'A', 'C', 'I', 'D', '1'), row('a')] },
    { type: 'location', rows: [row('北京', 'cn-bj', 'location', '9', '北京', 'zh', '中国')] },
  ],
});
const shard = buildLocationShard([
  { alias: '巴黎', records: [{ code: 'fr-par', weight: 2.5, label: '巴黎', countryLabel: '法国' }] },
  { alias: 'paris', records: [{ code: 'fr-par', englishFlag: 1, weight: 2.5, label: 'Paris', countryLabel: 'France' }] },
]);
const indexDocument = { type: 8, name: INDEX_DOCUMENT_NAME, data: index };
const metadata = { kind: 'base', keyId: 'test-v1', ruleSetId: 'r-1', baseRuleSetId: 'r-1', payloadSha256: 'a'.repeat(64) };

const seeds = {
  binary_index: { empty: buildBinaryIndex(), rows: index },
  payload: {
    index: buildPayload([indexDocument]),
    plain: buildPayload([{ type: 1, encoding: 1, name: 'scenes', data: '{}' }, { type: 6, encoding: 1, name: 'location-x', data: 'x' }]),
    shard: buildPayload([indexDocument, { type: 6, name: 'location-fr', data: shard }]),
  },
  location_shard: {
    empty: buildLocationShard(),
    rows: shard,
    odd: buildLocationShard([{ alias: '', records: [] }, { alias: 'x', records: [{ code: 'c', weight: NaN }, { code: 'd', weight: 3e38 }] }]),
  },
  lz4_block: {
    index: compressLz4Block(index),
    runs: compressLz4Block(Buffer.from(`${'a'.repeat(300)}${'abc'.repeat(100)}the end`)),
    literals: compressLz4Block(Buffer.from(Array.from({ length: 300 }, (_, i) => (i * i) & 255))),
    // Ends right after a match, which no encoder does.
    match: Buffer.from([0x1f, 0x61, 1, 0, 255, 3, 0x02, 9, 0]),
  },
  metadata: {
    base: buildMetadata(metadata),
    compressed: buildMetadata({ ...metadata, kind: 'patch', keyId: 'release-v1', compression: 'lz4-block-v1' }),
    unsupported: buildMetadata({ ...metadata, compression: 'zip' }),
    fraction: buildMetadata({ ...metadata, version: 1.5 }),
  },
  scene_intent: {
    whole: '火锅店', english: '小吃\nhot pot a b', human: '今天吃撑\nab abc', short: 'A b C', long: `${'a'.repeat(70)}\n${'a '.repeat(40)}`,
  },
};

for (const [target, files] of Object.entries(seeds)) {
  const folder = new URL(`corpus/${target}/`, import.meta.url);
  mkdirSync(folder, { recursive: true });
  for (const [name, bytes] of Object.entries(files)) writeFileSync(new URL(name, folder), bytes);
}
