// What is wrong with a source file, collected so that one run shows all of it.

/**
 * A source file as text, and a way from an offset in it to a line and a column.
 * @typedef {{ path: string, text: string, lineStarts?: number[] }} Source
 */

/**
 * @typedef {object} Finding
 * @property {Source} source
 * @property {number} offset in UTF-16 units
 * @property {boolean} warning a warning does not stop a build
 * @property {string} message lower case, without full stop
 * @property {string} [rule] the rule of klrx lint that it falls under
 */

/**
 * The place of an offset, both numbers from 1. A column counts characters, so a Chinese character is one, and so is one
 * outside the basic plane, of two units.
 * @param {Source} source
 * @param {number} offset
 * @returns {{ line: number, column: number }}
 */
export function positionOf(source, offset) {
  source.lineStarts ??= [0, ...Array.from(source.text.matchAll(/\n/g), (match) => match.index + 1)];
  let low = 0;
  let high = source.lineStarts.length; // the line is in [low, high)
  while (high - low > 1) {
    const middle = (low + high) >> 1;
    if (source.lineStarts[middle] <= offset) low = middle;
    else high = middle;
  }
  return { line: low + 1, column: Array.from(source.text.slice(source.lineStarts[low], offset)).length + 1 };
}

/** "file:line:column", for a message about another place. */
export function placeOf(source, offset) {
  const { line, column } = positionOf(source, offset);
  return `${source.path}:${line}:${column}`;
}

/** Collects findings; `error` and `warning` take a source, an offset, a message and the rule of klrx lint, if any. */
export function createFindings() {
  /** @type {Finding[]} */
  const list = [];
  const add = (warning) => (source, offset, message, rule) => list.push({ source, offset, warning, message, ...(rule && { rule }) });
  return { list, error: add(false), warning: add(true) };
}

/**
 * A finding as a line that editors can follow: "file:line:column: message".
 * @param {Finding} finding
 * @returns {string}
 */
export function formatFinding({ source, offset, warning, message }) {
  return `${placeOf(source, offset)}: ${warning ? 'warning: ' : ''}${message}`;
}

/**
 * A finding as --json shows it.
 * @param {Finding} finding
 */
export function findingRecord({ source, offset, warning, message, rule }) {
  return { file: source.path, ...positionOf(source, offset), severity: warning ? 'warning' : 'error', ...(rule && { rule }), message };
}
