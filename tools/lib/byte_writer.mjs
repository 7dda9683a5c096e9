// A growing buffer for little-endian binary formats. Every length that a format stores in two or four bytes is checked
// here, once, so that a builder can never write a length that wraps.

const LIMITS = { 1: 0xff, 2: 0xffff, 4: 0xffffffff };

/**
 * The bytes of a value: a string as UTF-8, anything binary as it is.
 * @param {string | Uint8Array} value
 * @param {string} what the subject of the error message
 * @returns {Buffer} shares memory with a binary `value`
 * @throws {TypeError} for any other type
 */
export function toBytes(value, what) {
  if (typeof value === 'string') return Buffer.from(value, 'utf8');
  if (value instanceof Uint8Array) return Buffer.from(value.buffer, value.byteOffset, value.byteLength);
  throw new TypeError(`${what} must be a string or bytes`);
}

export class ByteWriter {
  #buffer = Buffer.alloc(1024);
  #length = 0;

  get length() {
    return this.#length;
  }

  /** Makes room for `size` more bytes. Doubling keeps the cost of a million small rows linear. */
  #reserve(size) {
    const needed = this.#length + size;
    if (needed <= this.#buffer.length) return;
    const larger = Buffer.alloc(Math.max(needed, this.#buffer.length * 2));
    this.#buffer.copy(larger, 0, 0, this.#length);
    this.#buffer = larger;
  }

  /** An unsigned little-endian integer of `size` (1, 2 or 4) bytes; a RangeError names `what` if it does not fit. */
  uint(value, size, what) {
    this.#reserve(size);
    this.putUint(this.#length, value, size, what);
    this.#length += size;
    return this;
  }

  /** The same at an earlier position: for lengths that are known only afterwards. */
  putUint(offset, value, size, what) {
    if (!Number.isInteger(value) || value < 0 || value > LIMITS[size]) {
      throw new RangeError(`${what} is ${value}; its ${size} bytes hold 0 to ${LIMITS[size]}`);
    }
    this.#buffer.writeUIntLE(value, offset, size);
  }

  /** An IEEE 754 single, little-endian. A finite number beyond its range becomes an infinity, as in C. */
  float32(value) {
    this.#reserve(4);
    this.#buffer.writeFloatLE(value, this.#length);
    this.#length += 4;
    return this;
  }

  /** Bytes or UTF-8 text as they are. */
  raw(value, what) {
    if (typeof value === 'string') {
      this.#reserve(value.length * 3); // no UTF-16 unit needs more than 3 bytes in UTF-8
      this.#length += this.#buffer.write(value, this.#length, 'utf8');
      return this;
    }
    const bytes = toBytes(value, what);
    this.#reserve(bytes.length);
    bytes.copy(this.#buffer, this.#length);
    this.#length += bytes.length;
    return this;
  }

  /** A two-byte length and then the bytes or UTF-8 text. */
  counted(value, what) {
    const start = this.#length;
    this.uint(0, 2).raw(value, what);
    this.putUint(start, this.#length - start - 2, 2, `the length of ${what}`);
    return this;
  }

  /** What was written so far, copied to a buffer of exactly that length. */
  finish() {
    return Buffer.from(this.#buffer.subarray(0, this.#length));
  }
}
