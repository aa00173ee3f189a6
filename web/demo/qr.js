// SPDX-License-Identifier: Apache-2.0
// QR codes of short texts: bytes, error correction M, versions 1 to 6.

// By version, from 1 on: codewords for data and for correction in each of so many blocks.
const VERSIONS = [[16, 10, 1], [28, 16, 1], [44, 26, 1], [32, 18, 2], [43, 24, 2], [27, 16, 4]];
const MASKS = [
  (x, y) => (x + y) % 2,
  (x, y) => y % 2,
  (x) => x % 3,
  (x, y) => (x + y) % 3,
  (x, y) => (Math.floor(y / 2) + Math.floor(x / 3)) % 2,
  (x, y) => ((x * y) % 2) + ((x * y) % 3),
  (x, y) => (((x * y) % 2) + ((x * y) % 3)) % 2,
  (x, y) => (((x + y) % 2) + ((x * y) % 3)) % 2,
];

// Multiplication in the field of 256 elements.
function times(a, b) {
  let product = 0;
  for (let bit = 7; bit >= 0; --bit) {
    product = (product << 1) ^ (product & 0x80 ? 0x11d : 0);
    if ((b >> bit) & 1) product ^= a;
  }
  return product;
}

// The codewords that let a reader correct these.
function correction(data, count) {
  let divisor = [1];
  for (let i = 0, root = 1; i < count; ++i, root = times(root, 2)) {
    divisor = [...divisor, 0].map((coefficient, at) => coefficient ^ (at ? times(divisor[at - 1], root) : 0));
  }
  const rest = [...data, ...Array(count).fill(0)];
  for (let i = 0; i < data.length; ++i) {
    const factor = rest[i];
    for (let at = 0; at <= count; ++at) rest[i + at] ^= times(divisor[at], factor);
  }
  return rest.slice(data.length);
}

// All codewords, in the order in which they are placed.
function codewords(bytes, [size, extra, count]) {
  const data = [0x40 | (bytes.length >> 4)];
  [bytes.length, ...bytes].forEach((byte, i, all) => data.push(((byte << 4) & 0xf0) | ((all[i + 1] ?? 0) >> 4)));
  for (let pad = 0xec; data.length < size * count; pad ^= 0xec ^ 0x11) data.push(pad);
  const blocks = Array.from({ length: count }, (_, i) => data.slice(i * size, (i + 1) * size));
  const interleaved = (of, length) => Array.from({ length }, (_, i) => of.map((block) => block[i])).flat();
  return [...interleaved(blocks, size), ...interleaved(blocks.map((block) => correction(block, extra)), extra)];
}

// The modules that are the same in every code of the version; those that hold data are undefined.
function frame(version) {
  const size = 17 + 4 * version;
  const rows = Array.from({ length: size }, () => Array(size).fill(undefined));
  const square = (cx, cy, reach, light) => {
    for (let y = Math.max(0, cy - reach); y <= Math.min(size - 1, cy + reach); ++y) {
      for (let x = Math.max(0, cx - reach); x <= Math.min(size - 1, cx + reach); ++x) {
        rows[y][x] = !light.includes(Math.max(Math.abs(x - cx), Math.abs(y - cy)));
      }
    }
  };
  for (let i = 0; i < size; ++i) rows[6][i] = rows[i][6] = i % 2 === 0;
  for (const [x, y] of [[3, 3], [size - 4, 3], [3, size - 4]]) square(x, y, 4, [2, 4]);
  if (version > 1) square(size - 7, size - 7, 2, [1]);
  return rows;
}

// Writes level M and the mask beside the corners.
function describe(rows, mask) {
  const size = rows.length;
  let rest = mask;
  for (let i = 0; i < 10; ++i) rest = (rest << 1) ^ ((rest >> 9) * 0x537);
  const bits = ((mask << 10) | rest) ^ 0x5412;
  for (let i = 0; i < 15; ++i) {
    const dark = ((bits >> i) & 1) === 1;
    rows[i < 6 ? i : i < 8 ? i + 1 : size - 15 + i][8] = dark;
    rows[8][i < 8 ? size - 1 - i : i < 9 ? 7 : 14 - i] = dark;
  }
  rows[size - 8][8] = true;
}

// How badly a reader may take it: long runs, and squares of one colour.
function penalty(rows) {
  const at = (x, y) => rows[y]?.[x];
  let sum = 0;
  for (let y = 0; y < rows.length; ++y) {
    for (let x = 0; x < rows.length; ++x) {
      const colour = at(x, y);
      if (at(x + 1, y) === colour && at(x, y + 1) === colour && at(x + 1, y + 1) === colour) sum += 3;
      for (const [dx, dy] of [[1, 0], [0, 1]]) {
        if ([1, 2, 3, 4].every((i) => at(x + i * dx, y + i * dy) === colour)) sum += 1;
      }
    }
  }
  return sum;
}

/** The rows of a code's modules, true for a dark one. Throws a RangeError for a text of more than 106 bytes. */
export function qr(text) {
  const bytes = [...new TextEncoder().encode(text)];
  const version = VERSIONS.findIndex(([size, , count]) => bytes.length + 2 <= size * count) + 1;
  if (version === 0) throw new RangeError(`too long for a QR code: ${text}`);
  const bits = codewords(bytes, VERSIONS[version - 1]).flatMap((word) => [7, 6, 5, 4, 3, 2, 1, 0].map((bit) => (word >> bit) & 1));
  const free = frame(version);
  const size = free.length;
  describe(free, 0); // takes their places
  const codes = MASKS.map((masks, mask) => {
    const rows = free.map((row) => [...row]);
    let next = 0;
    for (let right = size - 1, up = true; right > 0; right -= 2, up = !up) {
      if (right === 6) right = 5;
      for (let i = 0; i < size; ++i) {
        const y = up ? size - 1 - i : i;
        for (const x of [right, right - 1]) {
          if (free[y][x] === undefined) rows[y][x] = ((bits[next++] ?? 0) === 1) !== (masks(x, y) === 0);
        }
      }
    }
    describe(rows, mask);
    return rows;
  });
  const penalties = codes.map(penalty);
  return codes[penalties.indexOf(Math.min(...penalties))];
}
