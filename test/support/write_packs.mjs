// Writes the packs of the core's tests, because the packer is JavaScript: node write_packs.mjs DIRECTORY
import { mkdirSync, writeFileSync } from 'node:fs';
import { packBytes } from './packs.mjs';

mkdirSync(process.argv[2], { recursive: true });
// "g" is so large that its digests are made by other threads.
for (const [tag, length] of [['a', 300], ['b', 300], ['o', 300], ['g', 40_000]]) {
  const rows = Array.from({ length }, (_, i) => [`${tag}${i}`, 'k', 'f', '1', 'category', 'zh', 'c']);
  const sections = { scene: rows, human: rows, celebrity: rows, location: rows, facet: rows };
  writeFileSync(`${process.argv[2]}/${tag}.klrx`, packBytes({ sections }));
}
