// IPv4 addresses by the classes of old: where the network ends is read off the
// top bits. Entry: TIP::setBlock, TIP::setValue. Tested by tip_test.cc.

#include "message/tip.h"

namespace {

const int kOctets = 4;
const int32_t kDottedLength = 15;

// First octets of blocks that nobody had when the list was made. Most have
// users by now; what compares this mark was tuned with the list as it is.
struct OctetRange {
  uint8_t first, last;
};
const OctetRange kReserved[] = {
    {5, 5},     {14, 14},   {23, 23},   {31, 31},   {36, 36},   {39, 39},
    {42, 42},   {49, 49},   {78, 79},   {101, 105}, {107, 109}, {111, 111},
    {119, 119}, {121, 122}, {174, 179}, {181, 183}, {197, 197}};

bool IsReserved(uint32_t octet) {
  for (const OctetRange& range : kReserved)
    if (octet >= range.first && octet <= range.last) return true;
  return false;
}

// A decimal number with an optional sign behind white space. What follows it
// is ignored; one that is too large wraps.
uint32_t ReadNumber(TBLOCK text) {
  while (!text.empty() && AsciiIsSpace(text[0])) text.skip(1);
  const bool minus = !text.empty() && text[0] == '-';
  if (!text.empty() && (minus || text[0] == '+')) text.skip(1);
  uint32_t number = 0;
  for (; !text.empty() && TBLOCK::Is(text[0], bitDigit); text.skip(1))
    number = number * 10 + (text[0] - uint32_t{'0'});
  return minus ? 0 - number : number;
}

void _AppendByteAsHexToStr(STR& out, uint32_t byte) {
  static const char kDigits[] = "0123456789ABCDEF";
  out += kDigits[byte >> 4 & 15];
  out += kDigits[byte & 15];
}

// Octet i of the four, the first one of the dotted form being 0.
uint32_t Octet(uint32_t value, int i) {
  return value >> 8 * (kOctets - 1 - i) & 0xFF;
}

}  // namespace

void TIP::clear() {
  text = "";
  hex = "";
  invalid = 0;
  reserved = 0;
  addressClass = 0;
  network = 0;
  host = 0;
  isPrivate = 0;
}

// The texts are only added to, and network and host of the classes without
// hosts stay as they were, both on purpose.
void TIP::setValue(uint32_t value) {
  isPrivate = 0;
  invalid = 1;
  reserved = IsReserved(Octet(value, 0));
  if (value == 0) {
    addressClass = 0;
    network = host = 0;
    return;
  }
  if (value >> 31 == 0) {
    addressClass = 'A';
    network = value & 0xFF000000;
    host = value & 0x00FFFFFF;
    isPrivate = network == 0x7F000000 || network == 0x0A000000;
    invalid = host == 0x00FFFFFF;
  } else if (value >> 30 == 2) {
    addressClass = 'B';
    network = value & 0xFFFF0000;
    host = value & 0x0000FFFF;
    isPrivate = network >= 0xAC100000 && network <= 0xAC1F0000;
    invalid = !isPrivate && host == 0x0000FFFF;
  } else if (value >> 29 == 6) {
    addressClass = 'C';
    network = value & 0xFFFFFF00;
    host = value & 0x000000FF;
    isPrivate = network >= 0xC0A80000 && network <= 0xC0A8FF00;
    invalid = !isPrivate && host == 0x000000FF;
  } else {
    addressClass = value >> 28 == 14 ? 'D' : 'E';
  }
  if (text.empty()) text.renew(kDottedLength);
  if (hex.empty()) hex.renew(2 * kOctets);
  _getStr(text, value);
  for (int i = 0; i < kOctets; i++) _AppendByteAsHexToStr(hex, Octet(value, i));
}

void TIP::setBlock(TBLOCK dotted) {
  uint32_t value = 0;
  for (int i = 0; i < kOctets; i++) {
    const int32_t dot = i < kOctets - 1 ? dotted.findByte('.') : -1;
    const TBLOCK part =
        dot < 0 ? dotted : dotted.head(static_cast<uint32_t>(dot));
    value |= ReadNumber(part) << 8 * (kOctets - 1 - i);
    dotted.skip(part.length + 1);
  }
  setValue(value);
}

void TIP::setStr(const char* dotted) {
  setBlock(TBLOCK(dotted));
}

void TIP::_getStr(STR& out, uint32_t value) {
  for (int i = 0; i < kOctets; i++) {
    if (i > 0) out += '.';
    out += static_cast<int32_t>(Octet(value, i));
  }
}
