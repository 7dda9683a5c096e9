// Text on a terminal: in columns, although Chinese characters are two columns wide, and without anything that moves the
// cursor.

import stringWidth from 'string-width';

// A cluster is what a reader sees as one character: a letter with its accents, a flag, a family joined by U+200D.
const clusters = new Intl.Segmenter('und', { granularity: 'grapheme' });

/** Titles and rows come from anywhere: a control character must not reach the terminal. */
export const printable = (text) => text.replace(/[\p{Cc}\p{Zl}\p{Zp}\u202a-\u202e\u2066-\u2069]/gu, '\ufffd');

/** The text in exactly `width` columns: blanks after it, or cut between two clusters with "…" at the end. */
export function fitText(text, width) {
  let fitting = text;
  const kept = Array.from(clusters.segment(text), ({ segment }) => segment);
  while (stringWidth(fitting) > width) {
    kept.pop();
    fitting = `${kept.join('')}…`;
  }
  return fitting + ' '.repeat(width - stringWidth(fitting));
}

/**
 * Rows in columns that are as wide as their widest cell.
 * @param {string[][]} rows
 * @param {('left' | 'right')[]} sides
 * @returns {string} lines
 */
export function columns(rows, sides) {
  const widths = sides.map((_, i) => Math.max(0, ...rows.map((row) => stringWidth(printable(row[i] ?? '')))));
  const cell = (text, i) => {
    const blanks = ' '.repeat(widths[i] - stringWidth(text));
    return sides[i] === 'left' ? text + blanks : blanks + text;
  };
  return rows.map((row) => `${row.map((text, i) => cell(printable(text), i)).join('  ').trimEnd()}\n`).join('');
}

const STYLES = { bold: 1, red: 31, green: 32, yellow: 33 };

/**
 * @param {boolean | undefined} colors whether there are any
 * @returns {(style: keyof typeof STYLES, text: string) => string}
 */
export const painter = (colors) => (style, text) => (colors ? `\x1b[${STYLES[style]}m${text}\x1b[0m` : text);
