// Functions that the addon runs in JavaScript, where reading properties and making arrays costs a fraction of what it
// costs from outside. They are handed to nobody else.
//
// Whoever calls the addon may have replaced every global and every method, and put setters on every prototype. Nothing
// of that may run or show here: no global, no method, no iteration (so arrays are neither spread nor destructured), and
// no assignment to a property or element that is not there already. What is left is the language's own syntax: literals
// and rest parameters define, and typed arrays look at no prototype.
//
// `isArray` and `filled` are native: whether a value is an array, and an array of a length with all elements in place.
'use strict';
(isArray, filled) => {
  /** An array of what it is given. */
  const collect = (...items) => items;

  /** An array of more than three elements, all in place, for the caller to assign to. */
  const blank = (length, any) => {
    switch (length) {
      case 4: return [any, any, any, any];
      case 5: return [any, any, any, any, any];
      case 6: return [any, any, any, any, any, any];
      default: return filled(length);
    }
  };

  // What can be wrong with a case, and what a part may be; title_reader.cpp has the same numbers.
  const GOOD = 0, NO_OBJECT = 1, NO_RAW = 2, EMPTY_RAW = 3, NO_ENGLISH = 4, REPEATED = 5;

  /** Texts are joined until they have so many UTF-16 units. */
  const ENOUGH = 65536;

  const isPlainObject = (value) =>
    (typeof value === 'object' ? value !== null : typeof value === 'function') && !isArray(value);

  // Both readers take cases from `begin` on, at most `count`, and join their texts into one: that can be handed over at
  // once, and `lengths` says how to cut it. `lengths[0]` becomes how many cases were read and `lengths[1]` what was
  // wrong with the next; from there on each case has a fixed number of places. A case whose texts are long ends the
  // reading and gives them apart. `last` holds it until the next reading: if that begins with the same title, it says
  // so instead of giving it again. Titles that share their text are compared in no time, however long they are.
  //
  // They look at a case as the addon does from outside, step for step: a proxy or getter sees no difference.

  /** Of each case: the lengths of "raw" and of "normalizedEnglish". */
  const readScenes = (cases, begin, count, lengths, last) => {
    let text = '', read = 0, fault = GOOD, at = 2;
    while (read < count && begin + read < cases.length && text.length < ENOUGH) {
      const element = cases[begin + read];
      if (!isPlainObject(element)) { fault = NO_OBJECT; break; }
      const raw = element.raw;
      if (typeof raw !== 'string') { fault = NO_RAW; break; }
      if (raw === '') { fault = EMPTY_RAW; break; }
      let english = '';
      if ('normalizedEnglish' in element) {
        english = element.normalizedEnglish;
        if (typeof english !== 'string') { fault = NO_ENGLISH; break; }
      }
      lengths[at++] = raw.length;
      lengths[at++] = english.length;
      read++;
      if (raw.length + english.length >= ENOUGH) return finishLong(lengths, read, text, raw, english, false, last);
      text += raw;
      text += english;
    }
    return finish(lengths, read, fault, text, last);
  };

  /** Of each case: the same, then 1 for a photo. What is no string counts as empty, what is no object has nothing. */
  const readPeople = (cases, begin, count, lengths, last) => {
    let text = '', read = 0, at = 2;
    while (read < count && begin + read < cases.length && text.length < ENOUGH) {
      const element = cases[begin + read];
      let raw = '', english = '', photo = false;
      if (isPlainObject(element)) {
        raw = element.raw;
        if (typeof raw !== 'string') raw = '';
        english = element.normalizedEnglish;
        if (typeof english !== 'string') english = '';
        photo = element.mediaType === 'photo';
      }
      lengths[at++] = raw.length;
      lengths[at++] = english.length;
      lengths[at++] = photo ? 1 : 0;
      read++;
      if (raw.length + english.length >= ENOUGH) return finishLong(lengths, read, text, raw, english, photo, last);
      text += raw;
      text += english;
    }
    return finish(lengths, read, GOOD, text, last);
  };

  const finish = (lengths, read, fault, text, last) => {
    lengths[0] = read;
    lengths[1] = fault;
    last[0] = null;
    return [text, null, null];
  };

  const finishLong = (lengths, read, text, raw, english, photo, last) => {
    lengths[0] = read;
    lengths[1] = read === 1 && raw === last[0] && english === last[1] && photo === last[2] ? REPEATED : GOOD;
    last[0] = raw;
    last[1] = english;
    last[2] = photo;
    return [text, raw, english];
  };

  return [collect, blank, readScenes, readPeople];
}
