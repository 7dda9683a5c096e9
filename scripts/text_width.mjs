// How many columns a text takes on a terminal. Chinese characters take two, accents none; `padEnd` counts code units
// and so puts every column behind a Chinese title out of line.

// Code points that Unicode's East Asian Width calls Wide or Fullwidth, beside the emoji, which the engine knows itself.
// Unassigned code points inside the ideographic planes are wide as well. "Ambiguous" characters (· … № ①) take one
// column, as they do on terminals that are not set to a legacy East Asian encoding.
const wideRanges = [
  [0x1100, 0x115f],    // Hangul leading consonants; the vowels and finals behind them belong to the same cluster
  [0x2329, 0x232a],    // angle brackets
  [0x2e80, 0x303e],    // radicals, ideographic punctuation; U+303F is the half-width fill space
  [0x3041, 0x3247],    // kana, bopomofo, enclosed; the circled numbers behind them are ambiguous
  [0x3250, 0x4dbf],    // enclosed, square words, ideographs extension A
  [0x4e00, 0xa4c6],    // ideographs, Yi
  [0xa960, 0xa97c],    // Hangul leading consonants, extended
  [0xac00, 0xd7a3],    // Hangul syllables
  [0xf900, 0xfaff],    // compatibility ideographs
  [0xfe10, 0xfe19],    // vertical forms
  [0xfe30, 0xfe6b],    // compatibility and small forms
  [0xff01, 0xff60],    // full-width ASCII and punctuation; the half-width kana behind them take one column
  [0xffe0, 0xffe6],    // full-width signs
  [0x16fe0, 0x18d08],  // Tangut, Khitan
  [0x1aff0, 0x1b2ff],  // kana supplements, Nüshu
  [0x1f200, 0x1f265],  // enclosed ideographs
  [0x20000, 0x2fffd],  // ideographs, plane 2
  [0x30000, 0x3fffd],  // ideographs, plane 3
];

const isWide = (codePoint) => wideRanges.some(([first, last]) => codePoint >= first && codePoint <= last);

// A cluster is what a reader sees as one character: a letter with its accents, a flag, a family joined by U+200D.
const clusters = new Intl.Segmenter('und', { granularity: 'grapheme' });

/** Columns of one cluster: its first code point decides, and U+FE0F asks for the emoji form of it. */
function clusterWidth(cluster) {
  if (/^[\p{Cc}\p{Cf}\p{Mn}\p{Me}\p{Zl}\p{Zp}]+$/u.test(cluster)) return 0;
  if (/^\p{Emoji_Presentation}|^\p{Emoji}[^]*\uFE0F/u.test(cluster)) return 2;
  return isWide(cluster.codePointAt(0)) ? 2 : 1;
}

/** Columns that a text takes on a terminal. */
export function textWidth(text) {
  let width = 0;
  for (const { segment } of clusters.segment(text)) width += clusterWidth(segment);
  return width;
}

/** The text in exactly `width` columns: blanks behind it, or cut between two clusters with "…" at the end. */
export function fitText(text, width) {
  const own = textWidth(text);
  if (own <= width) return text + ' '.repeat(width - own);
  let kept = '';
  let used = 0;
  for (const { segment } of clusters.segment(text)) {
    const more = clusterWidth(segment);
    if (used + more > width - 1) break;
    kept += segment;
    used += more;
  }
  return `${kept}…${' '.repeat(width - 1 - used)}`;
}
