// The columns of the demo's table, on texts as titles have them.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { fitText, textWidth } from '../scripts/text_width.mjs';

test('texts take the columns of a terminal, and are cut between characters', () => {
  for (const [text, columns] of [
    ['', 0], ['Food 2#', 7], ['火锅𬤇Ａ！「」', 14], ['·…№①', 4], ['カｶ한\u1112\u1161\u11ab', 7], // Hangul as syllable and as parts
    ['ée\u0301a\u0308\u0323', 3], ['\u0301\u200d\u0007', 0], // accents; a mark alone, a zero-width joiner, a control character
    ['🍜👍🏽👨‍👩‍👧🇨🇳1️⃣', 10], ['☀☀️', 3], // emoji: plain, with skin, family, flag, keycap; a sign as text and as emoji
  ]) assert.equal(textWidth(text), columns, text);
  for (const [text, width, expected] of [
    ['', 1, ' '], ['火锅', 6, '火锅  '], ['火锅', 4, '火锅'], ['火锅店', 5, '火锅…'], ['火锅店', 4, '火… '], ['👨‍👩‍👧👨‍👩‍👧', 3, '👨‍👩‍👧…'],
  ]) assert.equal(fitText(text, width), expected);
});
