// What somebody who knows JavaScript well would write in an afternoon instead of using the addon: every term in one
// Map, a gate in front of it, the longest term wins, one object of 35 properties a title. It does less than the addon
// (no ranks, no scores, no regional tables, no overlays), so it is the price that the addon has to stay below.
//
// Terms are written as a title has them: Chinese as they are, English as ' word word ' with a blank at both ends.

const LONGEST_CHINESE = 30; // the gate keeps lengths as the bits of an int32
const MOST_WORDS = 6;

const isDropped = (unit) => unit < 0x80
  || (unit >= 0x2000 && unit <= 0x206f) || (unit >= 0x3000 && unit <= 0x303f) || (unit >= 0xff00 && unit <= 0xff0f);

/** The text that is searched: what is not ASCII or punctuation of the title, then the English words between blanks. */
function searchText({ raw, normalizedEnglish = '' }) {
  let text = '';
  for (let i = 0; i < raw.length; i += 1) if (!isDropped(raw.charCodeAt(i))) text += raw[i];
  return normalizedEnglish === '' ? text : `${text} ${normalizedEnglish} `;
}

// The other strings of a result: as varied as a lexicon's fields, two in five of them Chinese.
const texts = Array.from({ length: 5000 }, (_, i) => {
  if (i % 5 > 1) return `field_${Math.floor(((i * 0.6180339887) % 1) * 1e9).toString(36)}`;
  const character = (__, j) => String.fromCharCode(0x4e00 + ((i * 7919 + j * 104729) % 20000));
  return Array.from({ length: 2 + (i % 4) }, character).join('');
});
const textOf = (number) => texts[number % texts.length];

/** A function that gives the terms of a text as id, position, id, position, …; ids are positions in `terms`. */
function makeSearch(terms) {
  const ids = new Map();
  const gate = new Map(); // first two characters -> lengths
  const single = new Uint8Array(0x10000);
  let mostWords = 1;
  for (const [id, term] of terms.entries()) {
    const english = term[0] === ' ';
    if (ids.has(term) || (!english && term.length > LONGEST_CHINESE)) continue;
    ids.set(term, id);
    if (english) {
      mostWords = Math.min(MOST_WORDS, Math.max(mostWords, term.split(' ').length - 2));
    } else if (term.length === 1) {
      single[term.charCodeAt(0)] = 1;
    } else {
      const start = term.charCodeAt(0) * 0x10000 + term.charCodeAt(1);
      gate.set(start, (gate.get(start) ?? 0) | (1 << term.length));
    }
  }

  return (text) => {
    const found = [];
    let english = -1;
    for (let i = 0; i < text.length; i += 1) {
      const unit = text.charCodeAt(i);
      if (unit === 0x20) {
        if (english < 0) english = i;
        let end = i;
        for (let words = 0; words < mostWords; words += 1) {
          end = text.indexOf(' ', end + 1);
          if (end < 0) break;
          const id = ids.get(text.substring(i, end + 1));
          if (id !== undefined) found.push(id, i - english);
        }
      } else if (unit >= 0x80) {
        if (single[unit] === 1) {
          const id = ids.get(text[i]);
          if (id !== undefined) found.push(id, i);
        }
        if (i + 1 === text.length) break;
        const lengths = gate.get(unit * 0x10000 + text.charCodeAt(i + 1));
        if (lengths === undefined) continue;
        for (let length = 2; lengths >> length !== 0 && i + length <= text.length; length += 1) {
          if (((lengths >> length) & 1) === 0) continue;
          const id = ids.get(text.substring(i, i + length));
          if (id !== undefined) found.push(id, i);
        }
      }
    }
    return found;
  };
}

/** The result of one title: a place and a scene, each the longest of its terms, the first of several. */
function makeResult(terms, bytes, found) {
  let place = -1;
  let scene = -1;
  let start = 0;
  for (let i = 0; i < found.length; i += 2) {
    const id = found[i];
    if (id % 3 === 0) {
      if (place < 0 || bytes[id] > bytes[place] || (bytes[id] === bytes[place] && id < place)) place = id;
    } else if (scene < 0 || bytes[id] > bytes[scene] || (bytes[id] === bytes[scene] && id < scene)) {
      scene = id;
      start = found[i + 1];
    }
  }
  const p = Math.max(place, 0);
  const s = Math.max(scene, 0);
  const count = found.length / 2;
  const region = Math.floor(p / 10);
  const group = Math.floor(s / 10);
  return {
    ok: count > 0,
    sceneContract: texts[0],
    locationCodes: p & 1 ? [textOf(p), textOf(p + 7)] : [textOf(p)],
    locationMeta: {
      code: textOf(p), name: place < 0 ? '' : terms[place], level: textOf(p % 7), source: textOf(p % 3),
      confidence: 1 / (1 + (p & 7)), matched: place >= 0,
      admin: {
        country: textOf(region), province: textOf(region + 131), city: textOf(region + 262), district: textOf(region + 393),
        town: textOf(region + 524), alias: textOf(region + 655), kind: textOf(region + 786),
      },
    },
    sceneKey: textOf(s % 500),
    sceneDetail: scene < 0 ? '' : terms[scene],
    intentHit: {
      key: textOf(s % 500), label: scene < 0 ? '' : terms[scene], group: textOf(s % 30),
      score: count * 10 + (scene < 0 ? 0 : bytes[scene]), start, exact: scene >= 0,
      entry: {
        key: textOf(group), detail: textOf(group + 173), priority: textOf(group + 346), label: textOf(group + 519),
        archive: textOf(group + 692), code: textOf(group + 865), icon: textOf(group + 1038),
      },
    },
  };
}

/** `find(title)` gives the distinct terms in it, `run(cases)` one result a title. */
export function makeRival(terms) {
  const search = makeSearch(terms);
  const bytes = Uint16Array.from(terms, (term) => Buffer.byteLength(term));
  return {
    find: (title) => [...new Set(search(searchText(title)).filter((_, i) => i % 2 === 0))].map((id) => terms[id]),
    run: (cases) => cases.map((title) => makeResult(terms, bytes, search(searchText(title)))),
  };
}
