// How text and numbers are written in rows: folded terms, and numbers as the C library prints them; and names that are meant.

/**
 * The term fold of the whole system: every byte below 33 is dropped (control bytes and the blank), "A" to "Z" become lower
 * case, all else is kept. It is not a Unicode fold: "É" and a full-width letter stay as they are.
 * @param {string} text
 * @returns {string}
 */
export function compactTerm(text) {
  return text.replace(/[\0- ]/g, '').replace(/[A-Z]/g, (letter) => letter.toLowerCase());
}

/**
 * A number printed as by C's "%f": six digits after the point, rounded from the exact binary value with ties to even.
 * `toFixed` will not do: it rounds ties up (1/128 ends in 2 here, in 3 there) and leaves plain digits at 1e21.
 * @param {number} value any double
 * @returns {string}
 */
export function formatFixed(value) {
  if (Number.isNaN(value)) return 'nan';
  const sign = value < 0 || Object.is(value, -0) ? '-' : '';
  if (!Number.isFinite(value)) return `${sign}inf`;

  const bits = new DataView(new ArrayBuffer(8));
  bits.setFloat64(0, Math.abs(value));
  const exponentBits = Number(bits.getBigUint64(0) >> 52n);
  const fraction = bits.getBigUint64(0) & ((1n << 52n) - 1n);
  // value = mantissa × 2^exponent; a subnormal has no hidden bit and the exponent of the smallest normal number
  const mantissa = exponentBits === 0 ? fraction : fraction | (1n << 52n);
  const exponent = BigInt(Math.max(exponentBits, 1) - 1075);

  let millionths = mantissa * 1000000n;
  if (exponent >= 0n) {
    millionths <<= exponent;
  } else {
    const cut = -exponent;
    const rest = millionths & ((1n << cut) - 1n);
    const half = 1n << (cut - 1n);
    millionths >>= cut;
    if (rest > half || (rest === half && (millionths & 1n) === 1n)) millionths += 1n;
  }
  const digits = millionths.toString().padStart(7, '0');
  return `${sign}${digits.slice(0, -6)}.${digits.slice(-6)}`;
}

/** Whether two names differ by one slip: a letter too many, too few or wrong, two swapped, or upper and lower case. */
function isNearlyThe(name, known) {
  const a = name.toLowerCase();
  const b = known.toLowerCase();
  if (Math.abs(a.length - b.length) > 1) return false;
  let start = 0;
  while (start < a.length && a[start] === b[start]) start += 1;
  const restA = a.slice(start);
  const restB = b.slice(start);
  const swapped = restA.slice(1, 2) + restA.slice(0, 1) + restA.slice(2);
  return restA.slice(1) === restB.slice(1) || restA.slice(1) === restB || restA === restB.slice(1) || swapped === restB;
}

/**
 * The known name that somebody may have meant.
 * @param {string} name
 * @param {readonly string[]} known
 */
export const nearestOf = (name, known) => known.find((each) => isNearlyThe(name, each));
