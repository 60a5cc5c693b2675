// Links that carry the recipient's address, so that whoever sent them learns
// who followed one: in the query as it is, as digits or in base64, in the path
// in a few spellings. Entries: TQMMSG::checkTracking and checkUrlTracking.
// Tested by tracking_test.cc.

#include "content/words.h"
#include "scan/tqmmsg.h"

namespace {

const uint32_t kMinAddress = 6;
const uint32_t kMaxAddress = static_cast<uint32_t>(kMaxMailWord);
// Local parts that tell a person when they stand alone.
const uint32_t kMinLocalWord = 4;
const uint32_t kMinLocalNumber = 5;
// Words of a path are looked at from here on.
const uint32_t kMinPathWord = 22;
const uint32_t kMinBase64 = 8;
// One tool names the address "me" and puts a mark of so many bytes to it.
const uint32_t kMarkBytes = 4;

// What stands for the "@" in a path.
const char* const kJoints[] = {"@", ".-", "--"};

// The address that links are searched for, taken apart.
struct WANTED {
  TBLOCK address;
  TBLOCK local, host;
  bool localTells;  // the local part alone is enough

  // False for an address that is not looked for.
  bool set(TBLOCK email);
  bool isValue(TBLOCK value) const;
  bool isNumber(TBLOCK value) const;
  bool isBase64(TBLOCK value) const;
  bool isIn(TBLOCK word) const;
};

bool WANTED::set(TBLOCK email) {
  const int32_t at = email.findLastByte('@');
  if (email.length < kMinAddress || email.length > kMaxAddress || at <= 0)
    return false;
  address = email;
  local = email.head(static_cast<uint32_t>(at));
  host = email.from(static_cast<uint32_t>(at) + 1);
  uint32_t letters = 0;
  for (uint32_t i = 0; i < local.length; i++)
    letters += TBLOCK::Is(local[i], bitAlpha);
  localTells = local.length >= kMinLocalWord && 2 * letters > local.length;
  return true;
}

// The address, or with a "_" ahead of its last dot.
bool WANTED::isValue(TBLOCK value) const {
  if (value.length == address.length) return value.equals(address);
  const int32_t last = address.findLastByte('.');
  if (value.length != address.length + 1 || last < 0) return false;
  const uint32_t dot = static_cast<uint32_t>(last);
  return value[dot] == '_' && value.head(dot).equals(address.head(dot)) &&
         value.from(dot + 1).equals(address.from(dot));
}

// What one tool takes a byte of a local part for.
uint32_t DigitOf(unsigned char byte) {
  if (TBLOCK::Is(byte, bitDigit)) return byte - '0';
  if (TBLOCK::Is(byte, bitAlpha)) return ((byte | 0x20) - 'a') % 10;
  return 0;
}

// The local part as digits, all turned on by the one in front of them.
bool WANTED::isNumber(TBLOCK value) const {
  if (local.length < kMinLocalNumber || value.length != local.length + 1 ||
      !value.allIn(bitDigit))
    return false;
  const uint32_t turn = DigitOf(value[0]);
  for (uint32_t i = 0; i < local.length; i++)
    if (DigitOf(value[i + 1]) != (DigitOf(local[i]) + turn) % 10) return false;
  return true;
}

// Base64 of a text that begins with the address: some tools put a number
// behind it.
bool WANTED::isBase64(TBLOCK value) const {
  if (value.length < kMinBase64 || value.length < address.length) return false;
  for (uint32_t i = 0; i < value.length; i++)
    if (!(TBLOCK::ExtBitChars[value[i]] & extBitBase64)) return false;
  unsigned char bytes[kMaxAddress];
  return TBLOCK::BlockUnbase64Bytes(value, bytes,
                                    static_cast<int>(address.length)) &&
         TBLOCK(bytes, address.length).equals(address);
}

// All spellings begin with the local part, so that one search is enough.
bool WANTED::isIn(TBLOCK word) const {
  for (int32_t at = 0; (at = word.find(local, static_cast<uint32_t>(at))) >= 0;
       at++) {
    if (localTells) return true;
    const TBLOCK behind = word.from(static_cast<uint32_t>(at) + local.length);
    for (const char* joint : kJoints) {
      const TBLOCK mark(joint);
      if (behind.begins(mark) && behind.from(mark.length).begins(host))
        return true;
    }
  }
  return false;
}

// The next "name=value" of a query.
TBLOCK TakePair(TBLOCK& rest) {
  uint32_t n = 0;
  while (n < rest.length && rest[n] != '&' && rest[n] != ';') n++;
  const TBLOCK pair = rest.head(n);
  rest.skip(n + 1);
  return pair;
}

bool PathCarries(TBLOCK path, const WANTED& wanted) {
  while (!path.empty()) {
    const TBLOCK word = TBLOCK::BlockBeforeChar(path, '/', 0, 0);
    if (word.length >= kMinPathWord && wanted.isIn(word)) return true;
  }
  return false;
}

}  // namespace

// Reads: links, recipientBox.
bool TQMMSG::checkTracking() {
  WANTED wanted;
  if (!links || !wanted.set(recipientBox.email)) return false;
  for (int32_t i = 0; i < links->count(); i++) {
    const TBLOCKURL& url = links->get(i)->url;
    if ((url.proto & (upHttp | upHttps)) &&
        (checkUrlTracking(url) || PathCarries(url.path, wanted)))
      return true;
  }
  return false;
}

// Reads: recipientBox, and of the URL the query.
bool TQMMSG::checkUrlTracking(const TBLOCKURL& url) {
  WANTED wanted;
  if (!wanted.set(recipientBox.email)) return false;
  TBLOCK rest = url.query;
  while (!rest.empty()) {
    TBLOCK value = TakePair(rest);
    const int32_t sign = value.findByte('=');
    if (sign < 0) continue;
    TBLOCK name = value.head(static_cast<uint32_t>(sign));
    value.skip(static_cast<uint32_t>(sign) + 1);
    name.trim();
    value.trim();
    if (wanted.isValue(value) || wanted.isNumber(value) ||
        wanted.isBase64(value) ||
        (name.equals("me") &&
         value.length == wanted.address.length + kMarkBytes))
      return true;
  }
  return false;
}
