'use strict';

// Letters that Unicode does not take apart into a base letter and a mark.
const plainLetters = { ß: 'ss', æ: 'ae', œ: 'oe', ø: 'o', ł: 'l', đ: 'd', ð: 'd', þ: 'th', ħ: 'h', ŋ: 'n', ŧ: 't', ı: 'i', ĸ: 'k' };
const withPlainLetter = new RegExp(`[${Object.keys(plainLetters).join('')}]`, 'g');

/** The English reading of a title; lexicon.d.cts has the table of what it does. */
function englishReading(text) {
  const folded = text
    .replace(/[™®©℠]/g, ' ') // the next fold would make letters or words of these, and a blank of an acute accent
    .replace(/[‘’ʼʹ`´]/g, "'")
    .normalize('NFKD') // width, ligatures, and letters apart from their marks
    .replace(/[\p{M}\p{Cf}]+/gu, '')
    .toLowerCase()
    .replace(withPlainLetter, (letter) => plainLetters[letter]);
  // An apostrophe belongs to a word only inside it; elsewhere it is a quotation mark.
  const words = folded.replace(/[^a-z0-9'\p{L}\p{N}]+|(?<![a-z0-9])'|'(?![a-z0-9])/gu, ' ').trim();
  if (!/[a-z0-9]/.test(words)) return '';
  // What can't be read keeps its place: a reading of "vlog" alone would be found to equal the whole title.
  return words.replace(/[^a-z0-9' ]+/g, ' … ').replace(/ {2,}/g, ' ').replace(/…( …)+/g, '…').trim();
}

module.exports = englishReading;
