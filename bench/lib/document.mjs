// Writes figures into docs/performance.md, or another page, between <!-- name --> and <!-- end of name -->, so that nobody
// copies them by hand.
import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

const pathOf = (page) => fileURLToPath(new URL(`../../docs/${page}`, import.meta.url));
export const plotFile = pathOf('performance.svg');

const line = (cells) => `| ${cells.join(' | ')} |`;

/** A table as Markdown; the first row is the heading. */
export const markdownTable = ([heading, ...rows]) => [heading, heading.map(() => '---'), ...rows].map(line).join('\n');

export function writeSection(name, text, page = 'performance.md') {
  const marks = [`<!-- ${name} -->`, `<!-- end of ${name} -->`];
  const before = readFileSync(pathOf(page), 'utf8');
  const [from, to] = marks.map((mark) => before.indexOf(mark));
  if (from < 0 || to < from) throw new Error(`docs/${page} has no place for ${name}`);
  writeFileSync(pathOf(page), `${before.slice(0, from)}${marks[0]}\n\n${text}\n\n${before.slice(to)}`);
}
