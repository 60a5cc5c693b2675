// Shapes of values: a text is walked from run to run of letters and digits; a
// run becomes a letter for its class, what stands between runs is copied.
//
// A run is put to the tests of _AdnFromSubBlock one by one, and the first that
// holds decides: a time before a number, a number before hexadecimal, that
// before words, and mixtures last. A mixture may be cut in two, each half with
// tests of its own.
//
// Entries: AdnFromBlock, _AdnFromSubBlock, GetEmailRegex and the functions on
// counts and times. Tested by adn_test.cc.

#include "content/adn.h"

#include <string.h>
#include <time.h>

#include "base/wildcard.h"
#include "content/random_string.h"
#include "content/words.h"
#include "rules/qm_dico.h"
#include "rules/ternary_string_tree.h"

namespace {

// How far a time may be from the reference, in seconds.
const int64_t kDay = 86399;
const int64_t kMonth = 2591999;
const int64_t kQuarter = 7775999;
// From 1904, where some systems begin to count, to 1970.
const int64_t kMacEpoch = 2082844800;

// How often a run is cut. No run needs more: one half of a cut has only
// letters or only digits, and what a mixed half can still be cut by gets less
// each time.
const int32_t kMaxCuts = 3;

// Bound the time of known texts, which are looked for at each run: further and
// longer ones take no part.
const int32_t kMaxKnown = 4096;
const uint32_t kMaxKnownBytes = 255;

const uint32_t kAlnum = bitLetter | bitDigit;

uint32_t CountBack(TBLOCK text, uint32_t mask) {
  uint32_t n = 0;
  while (n < text.length && TBLOCK::Is(text[text.length - 1 - n], mask)) n++;
  return n;
}

bool OneCase(TBLOCK run) {
  return run.allIn(bitDigit | bitUpperA) || run.allIn(bitDigit | bitLowerA);
}

bool IsMixedHex(TBLOCK run) {
  return run.allIn(bitHexa) && OneCase(run) && !run.allIn(bitDigit) &&
         !run.allIn(bitLetter);
}

// Capitals, and small letters behind them.
bool IsCapitalised(TBLOCK run) {
  const uint32_t capitals = run.lengthIn(bitUpperA);
  return capitals > 0 && capitals < run.length &&
         run.from(capitals).allIn(bitLowerA);
}

// ---- Times

bool Near(int64_t a, int64_t b, int64_t limit) {
  return a - b <= limit && b - a <= limit;
}

int64_t Reference(const TADNCLOCK& clock) {
  const BLOCKDATE* const date = clock.date;
  return date && !date->error && date->utc != 0 && date->utc != -1 ? date->utc
                                                                   : clock.now;
}

int64_t Number(TBLOCK digits, int base) {
  int64_t number = 0;
  for (uint32_t i = 0; i < digits.length; i++)
    number = number * base + TBLOCK::HexValue(digits[i]);
  return number;
}

// Writes the time in UTC as 14 digits, year to second. False, with nothing
// written, for a time that has no four-digit year.
bool WriteStamp(int64_t seconds, char* out) {
  const time_t value = static_cast<time_t>(seconds);
  struct tm parts;
  if (!gmtime_r(&value, &parts)) return false;
  const int year = parts.tm_year + 1900;
  if (year < 0 || year > 9999) return false;
  const int numbers[] = {year / 100,    year % 100,    parts.tm_mon + 1,
                         parts.tm_mday, parts.tm_hour, parts.tm_min,
                         parts.tm_sec};
  for (int number : numbers) {
    *out++ = static_cast<char>('0' + number / 10);
    *out++ = static_cast<char>('0' + number % 10);
  }
  return true;
}

// Eight hexadecimal digits that are seconds since 1970 or since 1904.
bool IsTimestamp(TBLOCK run, int64_t reference) {
  if (run.length != 8 || !run.allIn(bitHexa) || !run.allIn(bitDigit | bitUpper))
    return false;
  const int64_t value = Number(run, 16);
  return Near(reference, value, kDay) ||
         Near(reference, value - kMacEpoch, kDay);
}

// 'f', 'g' or 'b' for digits that begin with a time, else 0.
char DateLetter(TBLOCK run, int64_t reference) {
  int32_t time = 0;
  switch (run.length) {
    case 8:
    case 12:
    case 14:
    case 15:
    case 17:
    case 18:
      if (DecodeDateBlock("yyyymmdd", run, time) &&
          Near(time, reference, kQuarter))
        return 'f';
      if (DecodeDateBlock("yyyyddmm", run, time) &&
          Near(time, reference, kMonth))
        return 'g';
      return 0;
    case 10:
    case 13:
    case 16:
      if (Near(Number(run.head(10), 10), reference, kMonth)) return 'b';
      if (DecodeDateBlock("yymmddhhnn", run, time) &&
          Near(time, reference, kMonth))
        return 'g';
      return 0;
    default:
      return 0;
  }
}

char DigitsLetter(TBLOCK run, const TADNCLOCK& clock) {
  const int64_t reference = Reference(clock);
  const char letter = clock.date ? DateLetter(run, reference) : 0;
  if (letter) return letter;
  char stamp[14];
  if (run.length >= 6 && WriteStamp(reference, stamp) &&
      run.begins(TBLOCK(stamp, 6), TBLOCK::NoConvTable))
    return 'f';
  return 'd';
}

// Six small letters or digits that begin with the time in units of about half
// a day, in base 36.
bool IsBase36Time(TBLOCK run, int64_t reference) {
  if (run.length != 6 || reference < 0 || !run.allIn(bitDigit | bitLowerA))
    return false;
  int64_t units = reference / (36 * 36 * 36);
  for (uint32_t i = 3; i-- > 0; units /= 36)
    if (run[i] != "0123456789abcdefghijklmnopqrstuvwxyz"[units % 36])
      return false;
  return units == 0;
}

// ---- Classes of runs

// 'h' or 'x' for hexadecimal with a letter in it, else 0. REQUIRES: not only
// digits.
char HexLetter(TBLOCK run) {
  if (run.length <= 3 || !run.allIn(bitHexa)) return 0;
  if (run.allIn(bitDigit | bitUpper)) return 'h';
  if (!run.allIn(bitDigit | bitLower)) return 0;
  // Words such as "face", also with a number behind them, stay words; there is
  // no such exception for capitals, on purpose.
  const TBLOCK behind = run.from(run.lengthIn(bitLower));
  return behind.length < run.length && behind.allIn(bitDigit) ? 0 : 'x';
}

char WordLetter(TBLOCK run, uint32_t flags) {
  if (run.allIn(bitLowerA)) return 'l';
  if (run.allIn(bitUpperA)) return 'u';
  if (run.length > 3 && IsCapitalised(run)) return 'c';
  if ((flags & adnRandom) && IsRandomString(run)) return 'r';
  return 'a';
}

char MixtureLetter(TBLOCK run, uint32_t flags) {
  if ((flags & adnRandom) && IsRandomString(run)) return 'r';
  if (run.allIn(bitDigit | bitUpperA)) return 'v';
  if (run.allIn(bitDigit | bitLowerA)) return 'm';
  return 's';
}

// Where a run of letters and digits is cut, or 0. `number` tells that what
// stands behind the cut is a number whatever it looks like.
uint32_t CutAt(TBLOCK run, bool& number) {
  number = false;
  const uint32_t digitsFront = run.lengthIn(bitDigit);
  if (digitsFront > 4) return digitsFront;
  const uint32_t digitsBack = CountBack(run, bitDigit);
  const TBLOCK word = run.head(run.length - digitsBack);
  if (digitsBack && word.allIn(bitLetter) &&
      (digitsBack > 3 || OneCase(word) ||
       (IsCapitalised(word) && word.lengthIn(bitUpperA) == 1))) {
    number = true;
    return word.length;
  }
  static const uint32_t kCases[] = {bitLowerA, bitUpperA};
  for (uint32_t letters : kCases) {
    const uint32_t back = CountBack(run, letters);
    if (run.length >= 10 && back > 4 && IsMixedHex(run.head(run.length - back)))
      return run.length - back;
  }
  for (uint32_t letters : kCases) {
    const uint32_t front = run.lengthIn(letters);
    if (front > 4 && IsMixedHex(run.from(front))) return front;
  }
  return 0;
}

void AddRepeated(STR& adn, char letter, uint32_t count) {
  char letters[64];
  memset(letters, letter, sizeof letters);
  while (count > 0) {
    const uint32_t n = count < sizeof letters ? count : sizeof letters;
    adn.add(letters, static_cast<int32_t>(n));
    count -= n;
  }
}

void AddLetter(STR& adn, char letter, uint32_t length, uint32_t flags) {
  if (!(flags & adnRepeat)) {
    adn += letter;
  } else if (letter == 'c') {
    adn += 'c';
    AddRepeated(adn, 'l', length - 1);
  } else {
    AddRepeated(adn, letter, length);
  }
}

// The class of a run, or 0 for a mixture.
char ClassOf(TBLOCK run, uint32_t flags, const TADNCLOCK& clock) {
  if (clock.date && IsTimestamp(run, Reference(clock))) return 't';
  if (run.allIn(bitDigit)) return DigitsLetter(run, clock);
  const char hex = HexLetter(run);
  if (hex) return hex;
  if (run.allIn(bitLetter)) return WordLetter(run, flags);
  if (clock.date && IsBase36Time(run, Reference(clock))) return 'j';
  return 0;
}

void AddRun(STR& adn, TBLOCK run, uint32_t flags, const TADNCLOCK& clock,
            int32_t cuts) {
  if (run.empty()) return;
  char letter = ClassOf(run, flags, clock);
  if (!letter) {
    bool number = false;
    const uint32_t cut =
        (flags & adnRandom) && cuts < kMaxCuts ? CutAt(run, number) : 0;
    if (cut) {
      // Times are looked for in whole runs only.
      const TADNCLOCK undated = {nullptr, clock.now};
      AddRun(adn, run.head(cut), flags, undated, cuts + 1);
      if (number)
        AddLetter(adn, 'd', run.length - cut, flags);
      else
        AddRun(adn, run.from(cut), flags, undated, cuts + 1);
      return;
    }
    letter = MixtureLetter(run, flags);
  }
  AddLetter(adn, letter, run.length, flags);
}

// ---- The walk

// Takes what is neither letter nor digit off the text.
void TakeMarks(TBLOCK& text, STR& adn, uint32_t flags) {
  uint32_t i = 0;
  while (i < text.length && !TBLOCK::Is(text[i], kAlnum)) {
    const unsigned char c = text[i++];
    if (c > 0x20 && c < 0x80)
      adn += static_cast<char>(c);
    else if (c == ' ' && !(flags & adnNoSpace))
      adn += ' ';
    else if (c == '\n')
      adn += 'e';
  }
  text.skip(i);
}

// Texts that are replaced by their index; of two that fit, that of the first.
class KNOWNTEXTS {
 public:
  // Null is an empty list. Shortens the views of the list.
  void init(TBLOCKVECT* known) {
    const int32_t count = known ? known->count() : 0;
    for (int32_t i = 0; i < count; i++) {
      TBLOCK text = known->get(i);
      while (!text.empty() && !TBLOCK::Is(text[0], kAlnum)) text.skip(1);
      known->set(text, i);
      int32_t earlier = 0;
      // One that begins with an earlier one is never the first that fits;
      // without these the longest that fits is the first.
      if (i >= kMaxKnown || text.length > kMaxKnownBytes ||
          tree.longestPrefix(text, earlier))
        continue;
      tree.insert(text, i + 1);
    }
    tree.balance();
  }
  bool take(TBLOCK& text, STR& adn) const {
    int32_t number = 0;
    const uint32_t length = tree.longestPrefix(text, number);
    if (!length) return false;
    adn += number - 1;
    text.skip(length);
    return true;
  }

 private:
  TernaryStringTree<int32_t, true> tree;  // index plus 1
};

// Addresses and URLs, and what they become. The text is read in step with one
// cutter, which has it that long runs are not read anew from each place.
class LINKMARKS {
 public:
  explicit LINKMARKS(TBLOCK whole) : cutter(whole) {}
  bool take(TBLOCK& text, STR& adn, uint32_t flags) {
    TBLOCK word;
    if (!(flags & (adnMail | adnUrl))) return false;
    cutter.skip(cutter.rest().length - text.length);
    if ((flags & adnMail) && cutter.takeMail(word))
      adn += '@';
    else if ((flags & adnUrl) && cutter.takeUrl(word))
      adn += word.begins("http://www") || word.begins("www") ? 'w' : 'z';
    else
      return false;
    text = cutter.rest();
    return true;
  }

 private:
  WORDCUTTER cutter;
};

// Four numbers up to 255 with dots between them; what stands behind the last
// one makes no difference.
bool TakeIp(TBLOCK& text, STR& adn) {
  TBLOCK rest = text;
  for (int i = 0; i < 4; i++) {
    if (i > 0) {
      if (rest.empty() || rest[0] != '.') return false;
      rest.skip(1);
    }
    const uint32_t digits = rest.head(4).lengthIn(bitDigit);
    if (digits < 1 || digits > 3 || Number(rest.head(digits), 10) > 255)
      return false;
    rest.skip(digits);
  }
  adn += 'i';
  text = rest;
  return true;
}

bool IsKept(TBLOCK run, const char* keep) {
  TBLOCK entries(keep);
  while (!entries.empty()) {
    TBLOCK entry = entries.head(entries.lengthUntil(bitComma));
    entries.skip(entry.length + 1);
    entry.trim();
    if (entry.empty() || (entry[0] != '*' && !run.begins(entry.head(1))))
      continue;
    if (MatchWildcard(entry, run, wmLiteral)) return true;
  }
  return false;
}

void TakeRun(TBLOCK& text, STR& adn, const char* keep, uint32_t flags,
             const TADNCLOCK& clock) {
  const TBLOCK run = text.head(text.lengthIn(kAlnum));
  text.skip(run.length);
  if (IsKept(run, keep))
    adn += run;
  else
    _AdnFromSubBlock(adn, run, flags, clock);
}

// ---- Mail addresses

// The lines of a section with an index, found once.
struct LISTED {
  const HASHTAB* lines;
  const TQKSECTION* section;

  LISTED(TQMDICO* dico, const char* name)
      : lines(dico ? dico->hashedSection(name) : nullptr),
        section(dico ? dico->findSection(name) : nullptr) {}
  // Appends the word in small letters if it has a line.
  bool add(TBLOCK word, STR& out) const {
    unsigned char small[64];
    if (word.length > sizeof small) return false;
    memcpy(small, word.pointer, word.length);
    TBLOCK key(small, word.length);
    key.convert(TBLOCK::UpperToLower);
    const TQKLINE* line = nullptr;
    if (!TQMDICO::findLine(lines, section, key, line)) return false;
    out += key;
    return true;
  }
};

bool IsUser(TBLOCK behind) {
  return !behind.empty() && behind[0] == '@';
}

bool EndsAddress(TBLOCK behind) {
  return behind.empty() || behind[0] == '>';
}

// ---- Counts and times

// Letters for 1 second and for less than each limit.
char SecondsLetter(uint64_t seconds, const char* letters) {
  static const uint32_t kLimits[] = {2, 10, 30, 60, 600, 3600, 21600, 86400};
  for (uint32_t limit : kLimits) {
    if (seconds < limit) break;
    letters++;
  }
  return *letters;
}

char SignedLetter(uint64_t seconds, bool negative) {
  if (seconds == 0) return '0';
  return SecondsLetter(seconds, negative ? "abcdefghz" : "123456789");
}

// The printable characters of ASCII.
const int kFirstPrinted = 0x20;
const int kLastPrinted = 0x7E;

}  // namespace

int32_t AdnRoom(TBLOCK text) {
  const uint32_t kSpare = 16, kMost = 1024;
  return static_cast<int32_t>((text.length < kMost ? text.length : kMost) +
                              kSpare);
}

void AdnFromBlock(TBLOCK text, STR& adn, const char* keep, uint32_t flags,
                  const TADNCLOCK& clock, TBLOCKVECT* known) {
  adn.renew(AdnRoom(text));
  KNOWNTEXTS knownTexts;
  LINKMARKS links(text);
  knownTexts.init(known);
  for (;;) {
    TakeMarks(text, adn, flags);
    if (text.empty()) return;
    if (knownTexts.take(text, adn)) continue;
    if (links.take(text, adn, flags)) continue;
    if ((flags & adnIp) && TakeIp(text, adn)) continue;
    TakeRun(text, adn, keep, flags, clock);
  }
}

void _AdnFromSubBlock(STR& adn, TBLOCK run, uint32_t flags,
                      const TADNCLOCK& clock) {
  AddRun(adn, run, flags, clock, 0);
}

void GetEmailRegex(TBLOCK text, TQMDICO* dico, STR& out, int64_t now) {
  static const char kSeparators[] = " ,;.:!?\"&=<>(){}[]/\\+*~@#";
  const TADNCLOCK clock = {nullptr, now};
  const LISTED users(dico, "AdnEmailUsers"), suffixes(dico, "TLD");
  unsigned char before = 0;
  out.renew(2 * AdnRoom(text));
  while (!text.empty()) {
    const TBLOCK word = text.head(text.lengthIn(kAlnum));
    if (word.empty()) {
      before = text[0];
      if (before && strchr(kSeparators, before))
        out += static_cast<char>(before);
      text.skip(1);
      continue;
    }
    text.skip(word.length);
    if (IsUser(text) && users.add(word, out)) continue;
    if (before == '.' && EndsAddress(text) && suffixes.add(word, out)) continue;
    _AdnFromSubBlock(out, word, 0, clock);
    out += '{';
    out += static_cast<int32_t>(word.length);
    out += '}';
  }
}

char GetCountAdn(uint32_t count, uint32_t limit) {
  return count < limit && count < 10 ? static_cast<char>('0' + count) : 'x';
}

char GetCountChar(uint32_t count) {
  static const char kDigits[] =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  return kDigits[count < 61 ? count : 61];
}

void GetBlockCharAdn(TBLOCK text, STR& counts, STR& presence) {
  uint32_t byteCounts[256] = {0};
  for (uint32_t i = 0; i < text.length; i++) byteCounts[text[i]]++;
  counts.renew(kLastPrinted - kFirstPrinted + 1);
  presence.renew(kLastPrinted - kFirstPrinted + 1);
  for (int byte = kFirstPrinted; byte <= kLastPrinted; byte++) {
    counts += GetCountChar(byteCounts[byte]);
    presence += GetCountAdn(byteCounts[byte], 1);
  }
}

void Tt2Adn(int32_t time, STR& out) {
  char stamp[14];
  out = "";
  if (time != -1 && WriteStamp(time, stamp)) out = TBLOCK(stamp, sizeof stamp);
}

void Ft2Adn(const FILETIME* time, STR& out) {
  Tt2Adn(win2posix_time(time), out);
}

char ttAdnChar(int32_t a, int32_t b) {
  const int64_t seconds = static_cast<int64_t>(a) - b;
  return SignedLetter(static_cast<uint64_t>(seconds < 0 ? -seconds : seconds),
                      seconds < 0);
}

char ftAdnChar(const FILETIME& a, const FILETIME& b) {
  const bool negative = a.units() < b.units();
  const uint64_t units =
      negative ? b.units() - a.units() : a.units() - b.units();
  const uint64_t hundredths = units / 100000;
  if (hundredths >= 1 && hundredths <= 99) return negative ? '<' : '>';
  return SignedLetter(units / 10000000, negative);
}
