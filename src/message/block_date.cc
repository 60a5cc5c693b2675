// Dates: the text is cut into words, and each word is a name, a time, a zone
// or a number, whatever the order they come in. A word that is none of these
// is noted as an error and passed over, so that a damaged date still tells
// what can be read. Names are those of English and French.
//
// Entry points: parseFrom, DecodeDateBlock and the FILETIME helpers. Tested by
// block_date_test.cc.

#include "message/block_date.h"

#include <math.h>
#include <time.h>

namespace {

struct TName {
  char name[12];
  int32_t number;
};

// "februar", "ago" and "okt" are meant.
const TName _MONTHS[] = {
    {"jan", 1},       {"january", 1},   {"janvier", 1},   {"feb", 2},
    {"februar", 2},   {"fevrier", 2},   {"mar", 3},       {"march", 3},
    {"mars", 3},      {"apr", 4},       {"april", 4},     {"avril", 4},
    {"may", 5},       {"mai", 5},       {"jun", 6},       {"juin", 6},
    {"jul", 7},       {"july", 7},      {"juillet", 7},   {"aug", 8},
    {"ago", 8},       {"august", 8},    {"sep", 9},       {"september", 9},
    {"septembre", 9}, {"oct", 10},      {"okt", 10},      {"october", 10},
    {"octobre", 10},  {"nov", 11},      {"november", 11}, {"novembre", 11},
    {"dec", 12},      {"december", 12}, {"decembre", 12},
};

// The French "mar" is never found: the months come first, deliberately.
const TName _DAYS[] = {
    {"sun", 1},      {"mon", 2},      {"tue", 3},       {"wed", 4},
    {"thu", 5},      {"fri", 6},      {"sat", 7},       {"sunday", 1},
    {"monday", 2},   {"tuesday", 3},  {"wednesday", 4}, {"thursday", 5},
    {"friday", 6},   {"saturday", 7}, {"dim", 1},       {"lun", 2},
    {"mar", 3},      {"mer", 4},      {"jeu", 5},       {"ven", 6},
    {"sam", 7},      {"dimanche", 1}, {"lundi", 2},     {"mardi", 3},
    {"mercredi", 4}, {"jeudi", 5},    {"vendredi", 6},  {"samedi", 7},
};

// Hours, though numbers of zones are hhmm: see BLOCKDATE::zone.
const struct TZoneName {
  int32_t hours;
  char name[24];
} _TIMEZONES[] = {
    {0, "GMT"},
    {0, "UT"},
    {-4, "EDT"},
    {-5, "EST"},
    {-5, "CDT"},
    {-6, "CST"},
    {-6, "MDT"},
    {-7, "MST"},
    {-7, "PDT"},
    {-8, "PST"},
    {-4, "Atlantic Daylight"},
    {-5, "Atlantic Standard"},
    {-4, "Eastern Daylight"},
    {-5, "Eastern Standard"},
    {-5, "Central Daylight"},
    {-6, "Central Standard"},
    {-6, "Mountain Daylight"},
    {-7, "Mountain Standard"},
    {-7, "Pacific Daylight"},
    {-8, "Pacific Standard"},
    {-7, "Western Daylight"},
    {-8, "Western Standard"},
    {0, "UTC"},
};

const int64_t kDaySeconds = 86400;
const int64_t kHalfDay = 43200;
const int64_t kMaxZone = 2399;
// A number that has come this far takes no more digits, so that nothing that
// is computed from it passes 64 bits.
const int64_t kNumberLimit = 1000000000;

// 100-nanosecond units in a second, and from 1601 to 1970.
const int64_t kWinSecond = 10000000;
const int64_t kWinEpoch = 116444736000000000;

// What has been read of a date.
enum : uint32_t {
  kHasDay = 1,
  kHasMonth = 2,
  kHasYear = 4,
  kHasDate = kHasDay | kHasMonth | kHasYear,
  kHasTime = 8,
  kHasZone = 0x10
};

bool CutsWords(unsigned char byte) {
  switch (byte) {
    case '\t':
    case '\n':
    case '\r':
    case ' ':
    case ',':
    case ';':
    case '(':
    case ')':
      return true;
  }
  return false;
}

bool IsDigit(unsigned char byte) {
  return TBLOCK::Is(byte, bitDigit);
}

int64_t AddDigit(int64_t number, unsigned char digit) {
  return number < kNumberLimit ? number * 10 + (digit - '0') : number;
}

// The number that all of `word` makes; -1 when it is not all digits.
int64_t Number(TBLOCK word) {
  if (word.empty()) return -1;
  int64_t number = 0;
  for (uint32_t i = 0; i < word.length; i++) {
    if (!IsDigit(word[i])) return -1;
    number = AddDigit(number, word[i]);
  }
  return number;
}

// Reads two or three numbers with a colon between them; the third is 0 when
// there are two. The result is how many there were, 0 for anything else.
// REQUIRES: a word with a colon.
int ReadTime(TBLOCK word, int64_t numbers[3]) {
  int count = 0;
  bool inNumber = false;
  numbers[0] = numbers[1] = numbers[2] = 0;
  for (uint32_t i = 0; i < word.length; i++) {
    if (IsDigit(word[i])) {
      if (!inNumber && ++count > 3) return 0;
      inNumber = true;
      numbers[count - 1] = AddDigit(numbers[count - 1], word[i]);
    } else if (word[i] == ':' && inNumber) {
      inNumber = false;
    } else {
      return 0;
    }
  }
  return inNumber ? count : 0;
}

// Days from 1970-01-01 to the first day of a month. Years begin in March here,
// so that the leap day comes last and the months have a regular pattern, and
// 400 years early, 146097 days, so that nothing is below 0. From the March of
// year 0 it is 719468 days to 1970. REQUIRES: year >= 0.
int64_t DaysToMonth(int64_t year, int64_t month) {
  const int64_t y = year + 400 - (month > 2 ? 0 : 1);
  const int64_t m = (month + 9) % 12;
  return y * 365 + y / 4 - y / 100 + y / 400 + (153 * m + 2) / 5 -
         (719468 + 146097);
}

// The time at which a day begins. A day behind the end of its month runs over
// into the next one.
int64_t DayTime(int64_t year, int64_t month, int64_t day) {
  return (DaysToMonth(year, month) + day - 1) * kDaySeconds;
}

// The lowest 32-bit number is left out, so that both ends are symmetric.
int32_t Clamp(int64_t time) {
  if (time > INT32_MAX) return INT32_MAX;
  if (time < -INT32_MAX) return -INT32_MAX;
  return static_cast<int32_t>(time);
}

// 0 when the word is none of the names.
int32_t FindName(TBLOCK word, const TName* names, size_t count) {
  if (word.empty() || IsDigit(word[0])) return 0;
  for (size_t i = 0; i < count; i++)
    if (word.equals(names[i].name)) return names[i].number;
  return 0;
}

// The zone whose name, of one word or of two with one blank between them,
// `text` begins with; null without one.
const TZoneName* FindZone(TBLOCK text) {
  if (text.empty() || IsDigit(text[0])) return nullptr;
  for (const TZoneName& zone : _TIMEZONES) {
    if (!text.begins(zone.name)) continue;
    const TBLOCK name(zone.name);
    if (text.length == name.length || CutsWords(text[name.length]))
      return &zone;
  }
  return nullptr;
}

// One date on its way into a record.
struct TDateReader {
  BLOCKDATE& date;
  uint32_t found;
  int64_t year, month, day;
  int64_t seconds;  // of the day

  explicit TDateReader(BLOCKDATE& out)
      : date(out), found(0), year(0), month(0), day(0), seconds(0) {}
  void readWords(TBLOCK rest);
  void finish();

 private:
  void noteZone(const TZoneName& zone);
  void readWord(TBLOCK word, int sign);
  bool readName(TBLOCK word);
  bool readHalfDay(TBLOCK word);
  void readTime(TBLOCK word, int sign);
  void readWholeDate(TBLOCK word);
  void readDayOrYear(int64_t number);
  void setZone(int64_t zone);
};

// Comments are looked at for the name of a zone alone: "(CET)" is no error. A
// comment that is not closed goes on to the end.
void TDateReader::readWords(TBLOCK rest) {
  uint32_t depth = 0;
  bool behindPair = false;  // right behind a zone name of two words
  while (!rest.empty()) {
    if (CutsWords(rest[0])) {
      if (rest[0] == '(') depth++;
      if (rest[0] == ')' && depth) depth--;
      rest.skip(1);
      continue;
    }
    const int sign = rest[0] == '-' ? -1 : rest[0] == '+' ? 1 : 0;
    if (sign) rest.skip(1);
    uint32_t n = 0;
    while (n < rest.length && !CutsWords(rest[n])) n++;
    const TBLOCK word = rest.head(n);
    const TZoneName* const zone = FindZone(rest);
    if (zone) {
      noteZone(*zone);
      const uint32_t wordLength = n;
      n = static_cast<uint32_t>(strlen(zone->name));
      behindPair = n > wordLength;
    } else {
      // "Eastern Standard Time"
      const bool said = behindPair && !sign && word.equals("time");
      behindPair = false;
      if (!depth && !said) readWord(word, sign);
    }
    rest.skip(n);
  }
}

// A name does not replace a zone that is known: "-0500 (EST)" stays -500.
void TDateReader::noteZone(const TZoneName& zone) {
  if (found & kHasZone) return;
  date.zone = zone.hours;
  found |= kHasZone;
}

void TDateReader::readWord(TBLOCK word, int sign) {
  if (readName(word) || readHalfDay(word)) return;
  if (word.findByte(':') >= 0) return readTime(word, sign);
  const int64_t number = Number(word);
  if (number < 0)
    date.error = 1;
  else if (sign)
    setZone(sign * number);
  else if (word.length >= 6)
    readWholeDate(word);
  else
    readDayOrYear(number);
}

bool TDateReader::readName(TBLOCK word) {
  const int32_t asMonth =
      FindName(word, _MONTHS, sizeof(_MONTHS) / sizeof(_MONTHS[0]));
  if (asMonth) {
    month = asMonth;
    found |= kHasMonth;
    return true;
  }
  const int32_t asDay = FindName(word, _DAYS, sizeof(_DAYS) / sizeof(_DAYS[0]));
  if (asDay) date.weekDay = asDay;
  return asDay != 0;
}

// "am" changes nothing, "12:30 am" neither. "pm" ahead of the time is an
// error, as are all words that nothing reads.
bool TDateReader::readHalfDay(TBLOCK word) {
  if (word.equals("am")) return true;
  if (!(found & kHasTime) || !word.equals("pm")) return false;
  if (seconds < kHalfDay) seconds += kHalfDay;
  return true;
}

// The first word with colons is the time, also when it has a sign; behind it
// only "01:00" is read, as a zone.
void TDateReader::readTime(TBLOCK word, int sign) {
  int64_t numbers[3];
  const int count = ReadTime(word, numbers);
  if (found & kHasTime) {
    if (count == 2 && word.length == 5 && word[2] == ':')
      setZone((sign < 0 ? -1 : 1) * (numbers[0] * 100 + numbers[1]));
    else
      date.error = 1;
    return;
  }
  if (!count) {
    date.error = 1;
    return;
  }
  if (numbers[0] > 23 || numbers[1] > 59 || numbers[2] > 59) date.error = 1;
  // Numbers out of range count as they stand.
  seconds = numbers[0] * 3600 + numbers[1] * 60 + numbers[2];
  found |= kHasTime;
}

// The last six digits are year, month and day: the century of "20080303" does
// not count.
void TDateReader::readWholeDate(TBLOCK word) {
  const TBLOCK last = word.from(word.length - 6);
  const int64_t asMonth = Number(TBLOCK(last.pointer + 2, 2));
  const int64_t asDay = Number(TBLOCK(last.pointer + 4, 2));
  if (asMonth < 1 || asMonth > 12 || asDay < 1 || asDay > 31) {
    date.error = 1;
    return;
  }
  year = 2000 + Number(last.head(2));
  month = asMonth;
  day = asDay;
  found |= kHasDate;
}

void TDateReader::readDayOrYear(int64_t number) {
  if (!(found & kHasDay) && number >= 1 && number <= 31) {
    day = number;
    found |= kHasDay;
  } else if (!(found & kHasYear)) {
    year = number < 100 ? 2000 + number : number;
    found |= kHasYear;
  } else {
    date.error = 1;
  }
}

// A number replaces whatever zone there was, a name too.
void TDateReader::setZone(int64_t zone) {
  if (zone < -kMaxZone || zone > kMaxZone) {
    date.error = 1;
    return;
  }
  date.zone = static_cast<int32_t>(zone);
  found |= kHasZone;
}

void TDateReader::finish() {
  if ((found & kHasDate) != kHasDate) {
    date.error = 1;
    return;
  }
  const int64_t local = DayTime(year, month, day) + seconds;
  // A zone given by name is in hours and read as hhmm all the same, on purpose.
  date.zoneSeconds = date.zone * 60 - 2400 * (date.zone / 100);
  date.local = Clamp(local);
  date.utc = Clamp(local - date.zoneSeconds);
}

// ---- DecodeDateBlock

// Reads exactly n digits and moves behind them; -1 when they are not there.
int32_t _ParseValue(TBLOCK& text, uint32_t n) {
  const TBLOCK digits = text.head(n);
  if (text.empty() || digits.length < n) return -1;
  const int64_t number = Number(digits);
  if (number >= 0) text.skip(n);
  return static_cast<int32_t>(number);
}

// Where a number of a format goes, longer names first.
const struct TFormatField {
  char name[5];
  int index;
  int32_t least, most;
  int32_t base;
} kFormatFields[] = {
    {"yyyy", 0, 0, 9999, 0}, {"yy", 0, 0, 99, 2000}, {"mm", 1, 1, 12, 0},
    {"dd", 2, 1, 31, 0},     {"hh", 3, 0, 23, 0},    {"nn", 4, 0, 59, 0},
    {"ss", 5, 0, 59, 0},
};

const TFormatField* FindFormatField(TBLOCK format) {
  for (const TFormatField& field : kFormatFields)
    if (format.begins(TBLOCK(field.name), TBLOCK::NoConvTable)) return &field;
  return nullptr;
}

}  // namespace

void BLOCKDATE::clear() {
  text.clear();
  utc = local = zone = zoneSeconds = weekDay = error = 0;
}

void BLOCKDATE::parseFrom(TBLOCK dateText) {
  clear();
  text = dateText;
  utc = local = -1;
  TDateReader reader(*this);
  reader.readWords(dateText);
  reader.finish();
}

bool DecodeDateBlock(const char* format, TBLOCK text, int32_t& time) {
  int32_t numbers[6] = {1970, 1, 1, 0, 0, 0};
  TBLOCK wanted(format);
  while (!wanted.empty()) {
    const TFormatField* field = FindFormatField(wanted);
    if (!field) {
      if (text.empty() || text[0] != wanted[0]) return false;
      text.skip(1);
      wanted.skip(1);
      continue;
    }
    const uint32_t n = static_cast<uint32_t>(strlen(field->name));
    const int32_t number = _ParseValue(text, n);
    if (number < field->least || number > field->most) return false;
    numbers[field->index] = field->base + number;
    wanted.skip(n);
  }
  time = Clamp(DayTime(numbers[0], numbers[1], numbers[2]) + numbers[3] * 3600 +
               numbers[4] * 60 + numbers[5]);
  return true;
}

// ---- FILETIME

int32_t win2posix_time(const FILETIME* time) {
  if (!time) return -1;
  const int64_t seconds =
      static_cast<int64_t>(time->units() / kWinSecond) - kWinEpoch / kWinSecond;
  if (seconds < INT32_MIN || seconds > INT32_MAX) return -1;
  return static_cast<int32_t>(seconds);
}

bool posix2win_time(int32_t time, FILETIME* out) {
  if (!out) return false;
  const uint64_t units = static_cast<uint64_t>(time * kWinSecond + kWinEpoch);
  out->low = static_cast<uint32_t>(units);
  out->high = static_cast<uint32_t>(units >> 32);
  return true;
}

int32_t win2posix_days(const FILETIME* time) {
  const double kHighHalvesADay = 201.16567611694336;
  const double days = floor(time->high / kHighHalvesADay + 0.5);
  return static_cast<int32_t>(days) - 134774;
}

int32_t now2posix_days() {
  return static_cast<int32_t>(time(nullptr) / kDaySeconds);
}

int FileTimeToDays(const FILETIME* time, int32_t& days, int32_t from,
                   int32_t to) {
  days = win2posix_days(time);
  return !(from > 0 && from > days) && !(to > 0 && to < days);
}

uint32_t ModHoursAsMilliSeconds(const FILETIME* time) {
  return static_cast<uint32_t>(time->units() / 10000 % 3600000);
}

bool IdenticalToTheMillisecond(const FILETIME* a, const FILETIME* b) {
  return a->units() / 10000 == b->units() / 10000;
}

void tt2YYYYMM(const int32_t* time, char* out) {
  const time_t seconds = *time;
  struct tm parts;
  gmtime_r(&seconds, &parts);
  int digits = (parts.tm_year + 1900) * 100 + parts.tm_mon + 1;
  out[6] = 0;
  for (int i = 5; i >= 0; i--, digits /= 10)
    out[i] = static_cast<char>('0' + digits % 10);
}
