// Makes the seeds of the fuzz targets: small sound inputs, one file each. The same bytes at every run.
import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';

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

const vector = (name) => readFileSync(new URL(`../vectors/${name}.manifest`, import.meta.url));
// For the resolvers: titles, and rows in the notation of resolvers_fuzz.cpp.
const titles = {
  whole: '火锅店', english: '小吃\nhot pot a b', human: '今天吃撑\nab abc', short: 'A b C', trip: '北京旅行随拍\nparis trip food market',
  place: 'paris trip\nparis trip', people: '林小北见面会\nlin ab', workflow: '客户项目房间整理素材\nproject backup', long: `${'a'.repeat(70)}\n${'a '.repeat(40)}`,
};
const scene = '!K\tdetail\t1\t';
const sceneEnd = '\tL\tA\tC\tI\tdefault\t2';
const lexicon = `
bs火锅\t${scene}!A\t!F${sceneEnd}
bshotpot\t${scene}!A\t!G${sceneEnd}
bs火锅店\t${scene}!B\t!F${sceneEnd}
bsa\t!L\t!N\t!X\t!B\t!G${sceneEnd}
bs火\t${scene}!C\t!F${sceneEnd}
bsab\t!L\t!N\tx\t!D\t!G${sceneEnd}
bsb\tpet\td\t!U\t!B\t!F
bsb\tpet\td\t!U\t!B\t!F
bsc\tpet\td\t1\t!C
bsvisit\t!L\td\t1\t!A\t!F${sceneEnd}
csab\t!M\tcaller\t9\t!A\t!G${sceneEnd}
os火\t!O\toverlay\t9\t!E\t!F${sceneEnd}
bh吃撑\t!K\thearty\t
bhab\t!K\tcosy
bhabc\t!K\tcosy\t
bh无\t\t
bl北京\tcn\t!P\t1\t北京\t!F\t中国
blparis\tfr\t!Q\t!S\tparis\t!G\tfrance
beparis\tus\t!T\t9\tparis texas\t!G\tusa
be北\tjp\t!W\t!Y\t北海道\t!F\t日本
ca\tx\tt\t1\ttrip\t!G\tT
cltrip\ttt\tx\t1\ttrip\t!G\tT
ol京\tky\t!W\t2\t京都\t!F\t日本
bfa\t!H\t!I\t1\t!G
bf旅行\ttime\tholiday\t!S\t!F
bfab\ttime\tholiday\t2\t!G
bc林小北\tlin\tname\tidol\tCN\t1\tphoto\ttag
cclin\tlin2\tname\tsinger\tJP\t1\tphoto
ocb\tx\tname\tadult\tJP\t1\tphoto`;
const lexiconSeed = (title) => `${title.includes('\n') ? title : `${title}\n`}${lexicon}`;

/** Terms and a text in which they are searched. */
const searchSeed = (terms, text) => Buffer.concat([Buffer.from([terms.length]),
  ...terms.flatMap((term) => [Buffer.from([Buffer.byteLength(term)]), Buffer.from(term)]), Buffer.from(text)]);
/** A text whose last eight bytes are also a number. */
const numberSeed = (text, number) => Buffer.concat([Buffer.from(text), Buffer.from(new Float64Array([number]).buffer)]);

const seeds = {
  binary_index: { empty: buildBinaryIndex(), rows: index },
  payload: {
    index: buildPayload([indexDocument]),
    plain: buildPayload([{ type: 1, encoding: 1, name: 'scenes', data: '{}' }, { type: 6, encoding: 1, name: 'location-x', data: 'x' }]),
    shard: buildPayload([indexDocument, { type: 6, name: 'location-fr', data: shard }]),
    // Its rows belong to the section of its name.
    facets: buildPayload([{ type: 6, name: 'facet', data: shard }, indexDocument]),
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
  manifest: {
    good: vector('a_manifest_vouches_for_its_patch'),
    modules: vector('the_modules_were_changed_afterwards'),
    twice: vector('the_first_of_two_sizes_counts'),
    zeros: vector('leading_zeros_are_signed_without'),
    unsigned: vector('an_unknown_key_is_not_signed'),
    key: String(vector('a_manifest_vouches_for_its_patch')).replace('"ruleSetId"', '"ruleSetId":1,"ruleSetId"'),
    end: String(vector('a_manifest_vouches_for_its_patch')).replace(/("modules":\[)[^\]]*\]/, '$1"').replace(/("signature":")[^"]*/, '$1scen]e'),
    base64: 'MCowBQYDK2VwAyEAPUAXw+hDiVqStwqnTRt+vJyYLM8uxJaMwM1V8Sr0Zg==',
  },
  number_text: {
    decimal: '12.5', comma: '1.234,5', grouped: '1,234.5', hexadecimal: ' 0x1.8p-3', nan: '-nan(12)', infinite: 'Infinity',
    long: '9007199254740992.99999999999999999999', ties: numberSeed('1e309', 2.5e-7), large: numberSeed('', 1e300),
  },
  term_index: {
    short: searchSeed(['a', 'ab', 'abc', 'abcd', 'abcde', 'abcdef', 'bcd', 'é'], 'xabcdefé abcde'),
    characters: searchSeed(['火锅', '火锅店', '锅', '火', '火锅店里的老火锅'], '今天吃火锅店里的老火锅'),
    words: searchSeed(['streetfood', 'foodmarket', 'street', 'food', 'reet'], 'street food market  food'),
    long: searchSeed([52, 53, 54, 70, 70].map((length) => 'ab'.repeat(length).slice(0, length)), 'ab'.repeat(60)),
    nested: searchSeed(Array.from({ length: 20 }, (_, i) => 'a'.repeat(3 * i + 1)), 'a'.repeat(64)),
    bytes: searchSeed(['\0', '\0\0\0', ' ', '\x7f', '\n'], '\0 \0\0\0\x7f\n'),
  },
  resolvers: Object.fromEntries(Object.entries(titles).map(([name, title]) => [name, lexiconSeed(title)])),
};

for (const [target, files] of Object.entries(seeds)) {
  const folder = new URL(`corpus/${target}/`, import.meta.url);
  mkdirSync(folder, { recursive: true });
  for (const [name, bytes] of Object.entries(files)) writeFileSync(new URL(name, folder), bytes);
}
