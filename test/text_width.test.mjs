// The columns of the demo's table, on texts as titles have them.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { fitText, textWidth } from '../scripts/text_width.mjs';

test('textWidth counts the columns of a terminal', () => {
  const rows = [
    { name: 'nothing', text: '', columns: 0 },
    { name: 'ASCII', text: 'Food 2', columns: 6 },
    { name: 'Chinese, one of them outside the first plane', text: '火锅𬤇', columns: 6 },
    { name: 'kana full and half width, Hangul as syllable and as parts', text: 'カｶ한\u1112\u1161\u11ab', columns: 7 },
    { name: 'full-width ASCII and punctuation', text: 'Ａ！「」', columns: 8 },
    { name: 'ambiguous characters are narrow', text: '·…№①', columns: 4 },
    { name: 'accents, ready-made and combining', text: 'é' + 'e\u0301' + 'a\u0308\u0323', columns: 3 },
    { name: 'a mark alone, a zero-width joiner, a control character', text: '\u0301\u200d\u0007', columns: 0 },
    { name: 'emoji: plain, with skin, family, flag, keycap', text: '🍜👍🏽👨‍👩‍👧🇨🇳1️⃣', columns: 10 },
    { name: 'a sign as text and asked to be an emoji', text: '☀' + '☀️', columns: 3 },
    { name: 'digits are no emoji', text: '2024#', columns: 5 },
  ];
  for (const { name, text, columns } of rows) assert.equal(textWidth(text), columns, name);
});

test('fitText gives exactly the width, cut between characters', () => {
  const rows = [
    { text: '火锅', width: 6, expected: '火锅  ' },
    { text: '火锅', width: 4, expected: '火锅' },
    { text: '火锅店', width: 5, expected: '火锅…' },
    { text: '火锅店', width: 4, expected: '火… ' },
    { text: 'e\u0301tude', width: 3, expected: 'e\u0301t…' },
    { text: '👨‍👩‍👧👨‍👩‍👧', width: 3, expected: '👨‍👩‍👧…' },
  ];
  for (const { text, width, expected } of rows) {
    assert.equal(fitText(text, width), expected);
    assert.equal(textWidth(expected), width);
  }
});
