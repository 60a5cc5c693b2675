// Phone numbers. A candidate is a few groups of digits with little between
// them; how many digits it has, and in what groups, decides. Only then is the
// line around it asked whether this is something else: a price, a reference, a
// date, the number of a standard. Each line is walked once from left to right,
// and what the tests ask of a whole line is found out once, so that the cost
// is linear even on one line of nothing but digits. BlockParsePhones is the
// entry. Tested by phone_test.cc.

#include "content/phone.h"

#include <new>

namespace {

enum : unsigned char {
  PhoneBitDigit = 1,
  PhoneBitUseless = 2,     // may stand within a number
  PhoneBitNearDigit = 4,   // letters that pass for a digit
  PhoneBitBefore = 8,      // may stand before a number that begins with those
  PhoneBitSeparator = 16,  // a useless byte that keeps groups together
};

struct PHONECLASSES {
  unsigned char bits[256];
};

constexpr void Mark(PHONECLASSES& classes, const char* bytes,
                    unsigned char bit) {
  for (; *bytes; bytes++)
    classes.bits[static_cast<unsigned char>(*bytes)] |= bit;
}

// Times, query strings, tags and the like have no separators of ours, and "$"
// is no filler.
constexpr PHONECLASSES MakeClasses() {
  PHONECLASSES classes = {};
  Mark(classes, "0123456789", PhoneBitDigit);
  Mark(classes, " !\"#%&'()*+,-./:;<=>?@[\\]^_`{|}~\xA1\xAB\xBB\xBF",
       PhoneBitUseless);
  Mark(classes, "IOlo", PhoneBitNearDigit);
  Mark(classes, " $(+\x80\xA2\xA3\xA4\xA5", PhoneBitBefore);
  Mark(classes, " !'()*+,-./;[]^_`{|}~\xA1\xAB\xBB\xBF", PhoneBitSeparator);
  return classes;
}

constexpr PHONECLASSES PhoneBitChars = MakeClasses();

bool In(unsigned char byte, unsigned char bits) {
  return (PhoneBitChars.bits[byte] & bits) != 0;
}

unsigned char DigitOf(unsigned char byte) {
  if (byte == 'O' || byte == 'o') return '0';
  if (byte == 'I' || byte == 'l') return '1';
  return byte;
}

const uint32_t kMaxGroups = 7;
const uint32_t kMaxDigits = 13;
const uint32_t kMaxSeparators = 3;  // bytes between two groups
// Where the comma may stand that parts two numbers.
const uint32_t kMinCut = 8;

// Groups of digits of a line, each as the offsets of its first byte and of the
// one behind it.
struct PHONEGROUPS {
  TBLOCK line;
  uint32_t start;  // of the first group, or of "(" and "+" ahead of it
  bool plus;       // "+" is ahead of it
  uint32_t count;
  uint32_t first[kMaxGroups];
  uint32_t last[kMaxGroups];

  uint32_t size(uint32_t i) const { return last[i] - first[i]; }
  uint32_t end() const { return last[count - 1]; }
  TBLOCK text() const { return line.head(end()).from(start); }
  uint32_t digits() const;
  int32_t value(uint32_t i) const;
  bool isDotted(uint32_t i) const;
  bool isAddress() const;
  bool isShape(const char* const* shapes) const;
  bool isDate() const;
  bool isTwoYears() const;

  // Take in what follows an offset.
  bool addGroup(uint32_t at);
  void addGroups();
  void findStart();

  void cutLong();
  void dropDigit();
};

uint32_t PHONEGROUPS::digits() const {
  uint32_t sum = 0;
  for (uint32_t i = 0; i < count; i++) sum += size(i);
  return sum;
}

// Of a group of up to 4 digits; -1 for a longer one.
int32_t PHONEGROUPS::value(uint32_t i) const {
  if (size(i) > 4) return -1;
  int32_t number = 0;
  for (uint32_t at = first[i]; at < last[i]; at++)
    number = number * 10 + (DigitOf(line[at]) - '0');
  return number;
}

// Whether group i follows on a single dot.
bool PHONEGROUPS::isDotted(uint32_t i) const {
  return first[i] == last[i - 1] + 1 && line[last[i - 1]] == '.';
}

// Exactly four dotted groups of up to 3 digits at the front: 192.0.2.1. With a
// fifth it may be a number written with dots.
bool PHONEGROUPS::isAddress() const {
  if (count < 4 || (count > 4 && isDotted(4))) return false;
  for (uint32_t i = 0; i < 4; i++)
    if (size(i) > 3 || (i > 0 && !isDotted(i))) return false;
  return true;
}

// Whether the lengths of the groups are one of the shapes, a digit for each
// group; a null ends the list.
bool PHONEGROUPS::isShape(const char* const* shapes) const {
  for (; *shapes; shapes++) {
    const TBLOCK shape(*shapes);
    bool same = shape.length == count;
    for (uint32_t i = 0; same && i < count; i++)
      same = size(i) + '0' == shape[i];
    if (same) return true;
  }
  return false;
}

bool IsYear(int32_t number) {
  return number >= 1900 && number <= 2099;
}

bool IsDayAndMonth(int32_t day, int32_t month) {
  return day >= 1 && day <= 31 && month >= 1 && month <= 12;
}

// Year, month, day, or day and month in any order ahead of the year; one more
// group, the hour, may follow. Two digits make a year only where the date is
// held together by another byte than the hour is: "29.05.22 10" is one, and
// "29 05 22 10" is as good a number as any.
bool PHONEGROUPS::isDate() const {
  if (count < 3 || count > 4) return false;
  const int32_t a = value(0), b = value(1), c = value(2);
  const bool eitherWay = IsDayAndMonth(a, b) || IsDayAndMonth(b, a);
  if (IsYear(a)) return IsDayAndMonth(c, b);
  if (IsYear(c)) return eitherWay;
  if (count < 4 || size(0) > 2 || size(2) > 2) return false;
  const unsigned char joint = line[last[0]];
  return joint == line[last[1]] && joint != line[last[2]] &&
         (eitherWay || IsDayAndMonth(c, b));
}

bool PHONEGROUPS::isTwoYears() const {
  return count == 2 && IsYear(value(0)) && IsYear(value(1));
}

// Adds the group that begins at an offset; false if there is none.
bool PHONEGROUPS::addGroup(uint32_t at) {
  bool digit = false;
  const uint32_t begin = at;
  for (; at < line.length; at++) {
    if (!In(line[at], PhoneBitDigit | PhoneBitNearDigit)) break;
    digit |= In(line[at], PhoneBitDigit);
  }
  if (!digit) return false;
  first[count] = begin;
  last[count++] = at;
  return true;
}

// Adds the groups behind the first one.
void PHONEGROUPS::addGroups() {
  while (count < kMaxGroups) {
    uint32_t at = end();
    while (at < line.length && at < end() + kMaxSeparators &&
           In(line[at], PhoneBitSeparator))
      at++;
    if (!addGroup(at)) return;
  }
}

// Sets the start from the first group: letters that pass for digits belong to
// the number if no word ends in them, then "(" and "+". Never gets into the
// groups ahead, which took all such letters that they could.
void PHONEGROUPS::findStart() {
  uint32_t at = first[0];
  while (at > 0 && In(line[at - 1], PhoneBitNearDigit)) at--;
  if (at == 0 || In(line[at - 1], PhoneBitBefore)) first[0] = at;
  start = first[0];
  plus = false;
  bool bracket = false;
  while (start > 0) {
    const unsigned char before = line[start - 1];
    if (before == '+' && !plus)
      plus = true;
    else if (before == '(' && !bracket)
      bracket = true;
    else
      break;
    start--;
  }
}

// Parts two numbers in a row at a comma, else keeps the groups in front that
// are no more than one number's digits; at least one group.
void PHONEGROUPS::cutLong() {
  if (digits() <= kMaxDigits) return;
  for (uint32_t i = 1; i < count; i++) {
    const TBLOCK between = line.head(first[i]).from(last[i - 1]);
    const int32_t comma = between.find(", ");
    if (comma < 0) continue;
    if (last[i - 1] + static_cast<uint32_t>(comma) - start < kMinCut) continue;
    count = i;
    break;
  }
  while (count > 1 && digits() > kMaxDigits) count--;
}

// Drops the first digit.
void PHONEGROUPS::dropDigit() {
  if (size(0) > 1) {
    first[0]++;
  } else {
    for (uint32_t i = 1; i < count; i++) {
      first[i - 1] = first[i];
      last[i - 1] = last[i];
    }
    count--;
  }
  start = first[0];
}

// A line and what is known of it; -1 until somebody asks.
class PHONELINE {
 public:
  TBLOCK text;

  explicit PHONELINE(TBLOCK line) : text(line) {}

  // Whether the number may stand here, by what is around it.
  bool admits(const PHONEGROUPS& groups);
  bool allowsTen();
  bool allowsOthers();

 private:
  bool isUrl(uint32_t at);

  static const uint32_t kNotSought = UINT32_MAX;
  uint32_t reference = kNotSought;  // offset of "ref", or the length
  int32_t ten = -1;
  int32_t others = -1;
  uint32_t runEnd = 0;  // of the last run of URL bytes
  bool runIsUrl = false;
};

// Whether the run of URL bytes around an offset is a URL. Offsets go up from
// one call to the next.
bool PHONELINE::isUrl(uint32_t at) {
  if (at < runEnd) return runIsUrl;
  uint32_t begin = at;
  while (begin > runEnd && TBLOCK::Is(text[begin - 1], bitUrl)) begin--;
  while (at < text.length && TBLOCK::Is(text[at], bitUrl)) at++;
  runEnd = at;
  const TBLOCK run = text.head(at).from(begin);
  runIsUrl = run.begins("http:") || run.begins("https:");
  return runIsUrl;
}

bool PHONELINE::admits(const PHONEGROUPS& groups) {
  if (groups.start > 0) {
    const unsigned char before = text[groups.start - 1];
    if (before == '.' || TBLOCK::Is(before, bitLetter | bitCurrency))
      return false;
  }
  uint32_t behind = groups.end();
  while (behind < text.length && In(text[behind], PhoneBitUseless)) behind++;
  if (behind < text.length && TBLOCK::Is(text[behind], bitCurrency))
    return false;
  if (reference == kNotSought) {
    const int32_t at = text.find("ref");
    reference = at < 0 ? text.length : static_cast<uint32_t>(at);
  }
  return reference >= groups.start && !isUrl(groups.first[0]);
}

bool PHONELINE::allowsTen() {
  if (ten < 0) ten = !text.begins("Received") && text.find("dsbl") < 0;
  return ten != 0;
}

bool PHONELINE::allowsOthers() {
  static const char* const kOther[] = {"%", "Copyright", "Received", "Company",
                                       "<META"};
  if (others < 0) {
    others = !text.begins("X-M");
    for (const char* word : kOther)
      if (text.find(word) >= 0) others = 0;
  }
  return others != 0;
}

// Whether digits and shape are those of a number; may drop a digit that does
// not belong to it.
bool IsPhone(PHONEGROUPS& groups, PHONELINE& line) {
  static const char* const kSeven[] = {"34", nullptr};
  static const char* const kEight[] = {"2222", "44", nullptr};
  static const char* const kNine[] = {"3222", "12222", nullptr};
  static const char* const kTen[] = {"64",  "22222", "334",  "3322",
                                     "433", "4222",  nullptr};
  const uint32_t digits = groups.digits();
  if (groups.plus && digits >= 10 && digits <= kMaxDigits) return true;
  if (groups.isDate() || groups.isTwoYears()) return false;
  switch (digits) {
    case 7:
      return groups.isShape(kSeven) && line.allowsOthers();
    case 8:
      return groups.isShape(kEight) && line.allowsOthers();
    case 9:
      if (!groups.isShape(kNine)) return false;
      groups.dropDigit();
      return true;
    case 10: {
      const unsigned char lead = DigitOf(groups.line[groups.first[0]]);
      const bool one = groups.count == 1 && (lead == '0' || lead == '8');
      return (one || groups.isShape(kTen)) && line.allowsTen();
    }
    case 11:
    case 12:
    case 13:
      return groups.count <= 4 && line.allowsOthers();
    default:
      return false;
  }
}

void ParseLine(TBLOCK text, OLIST& phones) {
  PHONELINE line(text);
  uint32_t at = 0;
  while (phones.len() < kMaxPhones) {
    while (at < text.length && !In(text[at], PhoneBitDigit)) at++;
    if (at == text.length) return;
    PHONEGROUPS groups = {text, at, false, 0, {}, {}};
    groups.addGroup(at);
    groups.findStart();
    groups.addGroups();
    if (groups.isAddress()) {
      at = groups.last[3];
      continue;
    }
    groups.cutLong();
    at = groups.end();
    PHONEGROUPS phone = groups;
    if (IsPhone(phone, line) && line.admits(groups))
      AddPhone(phone.text(), phones);
  }
}

bool Holds(const OLIST& phones, TBLOCK digits) {
  OITER walk(&phones);
  while (const void* item = walk.next()) {
    const BLOCKPHONE* phone = static_cast<const BLOCKPHONE*>(item);
    if (phone->digits.view().equals(digits, TBLOCK::NoConvTable)) return true;
  }
  return false;
}

}  // namespace

void BLOCKPHONE::clear() {
  text.clear();
  hasLetters = 0;
  digits = "";
}

bool BLOCKPHONE::read(TBLOCK found) {
  hasLetters = 0;
  digits = found;
  if (digits.capacity <= static_cast<int32_t>(found.length)) return false;
  text = found;
  digits.length = 0;
  for (uint32_t i = 0; i < found.length; i++) {
    if (!In(found[i], PhoneBitDigit | PhoneBitNearDigit)) continue;
    const unsigned char digit = DigitOf(found[i]);
    if (digit != found[i]) hasLetters = 1;
    digits.text[digits.length++] = static_cast<char>(digit);
  }
  digits.text[digits.length] = 0;
  return digits.length > 0;
}

void BlockParsePhones(TBLOCK text, OLIST& phones, uint32_t) {
  while (!text.empty() && phones.len() < kMaxPhones) {
    TBLOCK line = TBLOCK::BlockNextLine(text);
    line.trim();
    if (!line.empty()) ParseLine(line, phones);
  }
}

void AddPhone(TBLOCK text, OLIST& phones) {
  if (text.empty() || phones.len() >= kMaxPhones) return;
  BLOCKPHONE* phone = new (std::nothrow) BLOCKPHONE;
  if (!phone) return;
  if (!phone->read(text) || Holds(phones, phone->digits.view()) ||
      phones.insert(phone, 0) < 0)
    delete phone;
}
