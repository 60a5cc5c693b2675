// The digest of RFC 1321. A block of 64 bytes goes through four rounds of 16
// steps; a round has its own function, order of words and rotations. Words are
// little-endian whatever the machine. Tested by md5_test.cc.

#include "base/md5.h"

#include <string.h>

#include "base/byte_order.h"

namespace {

// The integer part of 2^32 * |sin(i)| for i from 1 to 64.
const uint32_t kSines[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A,
    0xA8304613, 0xFD469501, 0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE,
    0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821, 0xF61E2562, 0xC040B340,
    0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8,
    0x676F02D9, 0x8D2A4C8A, 0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C,
    0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70, 0x289B7EC6, 0xEAA127FA,
    0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92,
    0xFFEFF47D, 0x85845DD1, 0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1,
    0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};

// Bytes of the length, at the end of the last block.
const uint32_t kLengthBytes = 8;

uint32_t Rotated(uint32_t word, uint32_t n) {
  return word << n | word >> (32 - n);
}

// Bits of y where those of x are set, else of z.
uint32_t Chosen(uint32_t x, uint32_t y, uint32_t z) {
  return z ^ (x & (y ^ z));
}

uint32_t Odd(uint32_t x, uint32_t y, uint32_t z) {
  return x ^ y ^ z;
}

uint32_t Last(uint32_t x, uint32_t y, uint32_t z) {
  return y ^ (x | ~z);
}

// One step: `sum` is the mix of the other three, a word of the block and a
// sine.
void Step(uint32_t& a, uint32_t b, uint32_t sum, uint32_t shift) {
  a = b + Rotated(a + sum, shift);
}

}  // namespace

const uint32_t MD5::kDigestBytes;
const uint32_t MD5::kBlockBytes;

MD5::MD5()
    : bits(0),
      state{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476},
      buffer(),
      digest(),
      finalized(0) {}

void MD5::transform(const unsigned char* block) {
  uint32_t words[16];
  for (int i = 0; i < 16; i++) words[i] = Little32(block + 4 * i);
  uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
  for (uint32_t i = 0; i < 16; i += 4) {
    const uint32_t* const sine = kSines + i;
    Step(a, b, Chosen(b, c, d) + words[i] + sine[0], 7);
    Step(d, a, Chosen(a, b, c) + words[i + 1] + sine[1], 12);
    Step(c, d, Chosen(d, a, b) + words[i + 2] + sine[2], 17);
    Step(b, c, Chosen(c, d, a) + words[i + 3] + sine[3], 22);
  }
  for (uint32_t i = 0; i < 16; i += 4) {
    const uint32_t* const sine = kSines + 16 + i;
    Step(a, b, Chosen(d, b, c) + words[(5 * i + 1) % 16] + sine[0], 5);
    Step(d, a, Chosen(c, a, b) + words[(5 * i + 6) % 16] + sine[1], 9);
    Step(c, d, Chosen(b, d, a) + words[(5 * i + 11) % 16] + sine[2], 14);
    Step(b, c, Chosen(a, c, d) + words[5 * i % 16] + sine[3], 20);
  }
  for (uint32_t i = 0; i < 16; i += 4) {
    const uint32_t* const sine = kSines + 32 + i;
    Step(a, b, Odd(b, c, d) + words[(3 * i + 5) % 16] + sine[0], 4);
    Step(d, a, Odd(a, b, c) + words[(3 * i + 8) % 16] + sine[1], 11);
    Step(c, d, Odd(d, a, b) + words[(3 * i + 11) % 16] + sine[2], 16);
    Step(b, c, Odd(c, d, a) + words[(3 * i + 14) % 16] + sine[3], 23);
  }
  for (uint32_t i = 0; i < 16; i += 4) {
    const uint32_t* const sine = kSines + 48 + i;
    Step(a, b, Last(b, c, d) + words[7 * i % 16] + sine[0], 6);
    Step(d, a, Last(a, b, c) + words[(7 * i + 7) % 16] + sine[1], 10);
    Step(c, d, Last(d, a, b) + words[(7 * i + 14) % 16] + sine[2], 15);
    Step(b, c, Last(c, d, a) + words[(7 * i + 5) % 16] + sine[3], 21);
  }
  state[0] += a;
  state[1] += b;
  state[2] += c;
  state[3] += d;
}

void MD5::add(const unsigned char* bytes, uint32_t n) {
  if (finalized || !bytes || n == 0) return;
  const uint32_t used = static_cast<uint32_t>(bits / 8 % kBlockBytes);
  bits += uint64_t{n} * 8;
  if (used) {
    const uint32_t missing = kBlockBytes - used;
    memcpy(buffer + used, bytes, n < missing ? n : missing);
    if (n < missing) return;
    transform(buffer);
    bytes += missing;
    n -= missing;
  }
  for (; n >= kBlockBytes; bytes += kBlockBytes, n -= kBlockBytes)
    transform(bytes);
  memcpy(buffer, bytes, n);
}

// A one bit, zeros, and the number of bits at the end of a block.
void MD5::finalize() {
  if (finalized) return;
  uint32_t used = static_cast<uint32_t>(bits / 8 % kBlockBytes);
  buffer[used++] = 0x80;
  if (used > kBlockBytes - kLengthBytes) {
    memset(buffer + used, 0, kBlockBytes - used);
    transform(buffer);
    used = 0;
  }
  memset(buffer + used, 0, kBlockBytes - kLengthBytes - used);
  PutLittle32(buffer + 56, static_cast<uint32_t>(bits));
  PutLittle32(buffer + 60, static_cast<uint32_t>(bits >> 32));
  transform(buffer);
  for (int i = 0; i < 4; i++) PutLittle32(digest + 4 * i, state[i]);
  finalized = 1;
}

const unsigned char* MD5::get() {
  finalize();
  return digest;
}
