// What a reader of a document would do, in its order: save files, run commands, run examples and compare their output.
import { execFileSync } from 'node:child_process';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

/**
 * The steps in a Markdown text: a JSON block under its file's name (`name.json`:), commands, and JavaScript with the block of
 * output that follows it.
 */
export function stepsOf(markdown) {
  const blocks = /(?:`([\w.-]+)`:\n\n)?```(json|sh|js)\n(.*?)```(?:\n\n```\n(.*?)```)?/gs;
  return Array.from(markdown.matchAll(blocks), ([, file, kind, text, output]) => ({ file, kind, text, output }));
}

/** Saves an example as a module of its own and gives what it prints. */
export function outputOf(folder, code, node = process.execPath) {
  const file = join(folder, 'example.mjs');
  writeFileSync(file, code);
  return execFileSync(node, [file], { cwd: folder, encoding: 'utf8' });
}
