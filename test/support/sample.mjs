// The sample, sealed as the demo does, and its titles.
import { execFileSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { root } from './packs.mjs';

const project = fileURLToPath(new URL('../..', import.meta.url));

const sources = (folder, extension) => readdirSync(join(project, folder)).filter((name) => name.endsWith(extension)).sort()
  .map((name) => join(project, folder, name));

/** The path of the sealed sample; equal bytes each time. */
export function sealSample() {
  const path = join(root, 'sealed.klrx');
  const klrx = [join(project, 'tools/klrx.mjs'), 'build', ...sources('sample/lexicon', '.json'), ...sources('sample/places', '.tsv')];
  const options = ['--rule-set-id', 'sample-1', '--nonce', '0'.repeat(24), '--out', path];
  execFileSync(process.execPath, [...klrx, ...options], { stdio: ['ignore', 'ignore', 'inherit'] });
  return path;
}

/** All titles of the sample: { raw, normalizedEnglish }. */
export const sampleTitles = () => ['sample/home-titles.tsv', 'sample/titles.tsv'].flatMap((file) =>
  readFileSync(join(project, file), 'utf8').trimEnd().split('\n').slice(1).map((line) => {
    const [raw, normalizedEnglish = ''] = line.split('\t');
    return { raw, normalizedEnglish };
  }));
