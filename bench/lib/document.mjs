// Writes figures into docs/performance.md, between <!-- name --> and <!-- end of name -->, so that nobody copies them
// by hand.
import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

const document = fileURLToPath(new URL('../../docs/performance.md', import.meta.url));
export const plotFile = fileURLToPath(new URL('../../docs/performance.svg', import.meta.url));

const line = (cells) => `| ${cells.join(' | ')} |`;

/** A table as Markdown; the first row is the heading. */
export const markdownTable = ([heading, ...rows]) => [heading, heading.map(() => '---'), ...rows].map(line).join('\n');

export function writeSection(name, text) {
  const marks = [`<!-- ${name} -->`, `<!-- end of ${name} -->`];
  const before = readFileSync(document, 'utf8');
  const [from, to] = marks.map((mark) => before.indexOf(mark));
  if (from < 0 || to < from) throw new Error(`docs/performance.md has no place for ${name}`);
  writeFileSync(document, `${before.slice(0, from)}${marks[0]}\n\n${text}\n\n${before.slice(to)}`);
}
