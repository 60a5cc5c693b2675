// Base64, uuencode and quoted-printable. Tested by block_decode_test.cc.

#include "base/block.h"
#include "base/tblock.h"

namespace {

const unsigned char kNoDigit = 0xFF;
const uint32_t kBase64Line = 76;  // characters

// Whether four bytes are all digits of base64.
bool AreBase64(const unsigned char* p) {
  return (TBLOCK::Base64Value(p[0]) | TBLOCK::Base64Value(p[1]) |
          TBLOCK::Base64Value(p[2]) | TBLOCK::Base64Value(p[3])) < 64;
}

// Whether the line, trimmed, holds at most one byte that base64 has not.
bool IsBase64Line(TBLOCK line) {
  line.trim();
  int bad = 0;
  for (uint32_t i = 0; i < line.length && bad < 2;) {
    if (line.length - i >= 4 && AreBase64(line.pointer + i)) {
      i += 4;
      continue;
    }
    bad += line[i] != '=' && TBLOCK::Base64Value(line[i]) == kNoDigit;
    i++;
  }
  return bad < 2;
}

// Decodes what stands in `src` until `room` bytes are made; returns how many.
// out may be src.pointer: every byte written was read before.
uint32_t DecodeBase64(TBLOCK src, unsigned char* out, uint32_t room) {
  if (src.empty() || !out) return 0;
  uint32_t made = 0;
  uint32_t i = 0;
  uint32_t held = 0;  // value of the character before, when place > 0
  uint32_t place = 0;
  while (i < src.length && made < room) {
    if (place == 0 && src.length - i >= 4 && room - made >= 3) {
      const uint32_t a = TBLOCK::Base64Value(src[i]);
      const uint32_t b = TBLOCK::Base64Value(src[i + 1]);
      const uint32_t c = TBLOCK::Base64Value(src[i + 2]);
      const uint32_t d = TBLOCK::Base64Value(src[i + 3]);
      if ((a | b | c | d) < 64) {
        out[made++] = static_cast<unsigned char>(a << 2 | b >> 4);
        out[made++] = static_cast<unsigned char>(b << 4 | c >> 2);
        out[made++] = static_cast<unsigned char>(c << 6 | d);
        i += 4;
        continue;
      }
    }
    const uint32_t value = TBLOCK::Base64Value(src[i++]);
    if (value == kNoDigit) continue;
    if (place > 0)
      out[made++] = static_cast<unsigned char>(held << 2 * place |
                                               value >> (6 - 2 * place));
    held = value;
    place = (place + 1) % 4;
  }
  return made;
}

}  // namespace

bool TBLOCK::CheckBlockBase64(TBLOCK& block, int fix) {
  TBLOCK rest = block;
  while (!rest.empty()) {
    const uint32_t start = block.length - rest.length;
    if (IsBase64Line(BlockNextLine(rest))) continue;
    if (!fix) return false;
    block.cut(start);
    break;
  }
  return !block.empty();
}

void TBLOCK::BlockUnbase64(TBLOCK src, TBLOCK& dst, int raw) {
  TBLOCK good = src;
  if (!raw) CheckBlockBase64(good, 1);
  const uint32_t room = dst.pointer ? dst.length : 0;
  dst.length = DecodeBase64(good, dst.pointer, room);
  const TBLOCK tail = src.from(good.length).head(room - dst.length);
  if (tail.empty()) return;
  memmove(dst.end(), tail.pointer, tail.length);
  dst.length += tail.length;
}

int TBLOCK::BlockUnbase64Bytes(TBLOCK src, unsigned char* out, int n) {
  return n <= 0 || DecodeBase64(src, out, static_cast<uint32_t>(n)) ==
                       static_cast<uint32_t>(n);
}

namespace {

// Writes encoded characters, with a line break behind every full line.
struct Base64Writer {
  unsigned char* out;
  uint32_t room;
  uint32_t written;
  uint32_t column;
  bool breakLines;

  // False when the room is used up.
  bool put(char c) {
    if (written >= room) return false;
    out[written++] = static_cast<unsigned char>(c);
    if (!breakLines || ++column < kBase64Line) return true;
    column = 0;
    if (room - written < 2) return false;
    out[written++] = '\r';
    out[written++] = '\n';
    return true;
  }
};

}  // namespace

uint32_t TBLOCK::BlockBase64(TBLOCK src, TBLOCK dst, int lineBreak,
                             const char* alphabet, char pad) {
  if (src.empty() || !dst.pointer ||
      (static_cast<uint64_t>(src.length) + 2) / 3 * 4 > dst.length)
    return 0;
  if (!alphabet || strlen(alphabet) != 65) alphabet = szBase64CodeTable;
  Base64Writer writer = {dst.pointer, dst.length, 0, 0, lineBreak != 0};
  for (uint32_t i = 0; i < src.length; i += 3) {
    const uint32_t n = src.length - i < 3 ? src.length - i : 3;
    const uint32_t group =
        static_cast<uint32_t>(src[i]) << 16 |
        (n > 1 ? static_cast<uint32_t>(src[i + 1]) << 8 : 0) |
        (n > 2 ? src[i + 2] : 0u);
    for (uint32_t k = 0; k <= n; k++)
      if (!writer.put(alphabet[group >> (18 - 6 * k) & 63])) return 0;
    if (n > 1) continue;
    // The pad behind a single byte is there and not counted, on purpose.
    if (writer.written >= writer.room) return 0;
    dst.pointer[writer.written] = static_cast<unsigned char>(pad);
  }
  return writer.written;
}

void TBLOCK::DecodeUU(TBLOCK& block) {
  if (block.empty()) return;
  BLOCK copy(block.length, BLOCK::_DEFALLOCSIZE);
  if (!copy.add(block)) return;
  BLOCK* decoded = copy.uudecode();
  if (!decoded) return;
  // Four characters give three bytes at most, so this always fits.
  if (decoded->length <= block.length) {
    if (decoded->length) memcpy(block.pointer, decoded->data, decoded->length);
    block.length = decoded->length;
  }
  delete decoded;
}

namespace {

// Bytes of a soft line break behind "=", or 0. Two bytes are there to read.
uint32_t SoftBreak(const unsigned char* behind) {
  if (behind[0] == '\r' && behind[1] == '\n') return 2;
  if (behind[0] == '\n') return behind[1] == '\r' ? 2 : 1;
  return 0;
}

}  // namespace

void TBLOCK::DecodeQuotedPrintable(TBLOCK& block) {
  if (block.empty()) return;
  const unsigned char* in = block.pointer;
  const unsigned char* const last = block.end();
  unsigned char* out = block.pointer;
  while (in < last) {
    const void* equals = memchr(in, '=', static_cast<size_t>(last - in));
    const unsigned char* stop =
        equals ? static_cast<const unsigned char*>(equals) : last;
    memmove(out, in, static_cast<size_t>(stop - in));
    out += stop - in;
    in = stop;
    if (in == last) break;
    in++;
    if (last - in < 2) {
      *out++ = '=';
      continue;
    }
    const unsigned char high = DigitValue(in[0]);
    const unsigned char low = DigitValue(in[1]);
    if (const uint32_t n = SoftBreak(in)) {
      in += n;
    } else if (high != kNoDigit && low != kNoDigit) {
      *out++ = static_cast<unsigned char>(high << 4 | low);
      in += 2;
    } else {
      *out++ = '=';
    }
  }
  block.length = static_cast<uint32_t>(out - block.pointer);
}
