// How much of a long test is done: all by `npm run test:long`, else a hundredth, or what CORVENDA_TEST_SHARE says.
const share = Number(process.env.CORVENDA_TEST_SHARE || 0.01);

/** The share of a full count, at least `least`. */
export const shareOf = (count, least = 1) => Math.max(least, Math.round(count * share));

/** Everything is done. */
export const isWhole = share >= 1;
