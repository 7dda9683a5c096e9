// Random numbers that are the same in every run, and what is drawn with them.

/** Numbers from 0 to 1, 1 excluded (mulberry32). */
export function randomSequence(seed) {
  let state = seed | 0;
  return () => {
    state = (state + 0x6d2b79f5) | 0;
    let t = Math.imul(state ^ (state >>> 15), 1 | state);
    t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
    return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
  };
}

/** Draws: `below(n)` gives 0 to n - 1, `pick` an item, `weighted` an item of [weight, item] pairs, `chance(p)` true or false. */
export function makeDraw(seed) {
  const random = randomSequence(seed);
  const below = (limit) => Math.floor(random() * limit);
  return {
    random,
    below,
    pick: (items) => items[below(items.length)],
    chance: (probability) => random() < probability,
    weighted(pairs) {
      let left = random() * pairs.reduce((sum, [weight]) => sum + weight, 0);
      return (pairs.find(([weight]) => (left -= weight) < 0) ?? pairs.at(-1))[1];
    },
  };
}
