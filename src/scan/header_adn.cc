// Fingerprints of the header: of its fields, of those that begin with a tab,
// and of the times that it tells. Mail programs write their fields in an order
// of their own, so that the letters of a header tell the program. Tested by
// header_adn_test.cc.

#include <string.h>

#include "content/adn.h"
#include "scan/letters.h"
#include "scan/tqmmsg.h"

namespace {

// Fields that are looked at, and letters that they make. Each bounds what a
// header of nothing but fields costs.
const int32_t kMaxSignedFields = 1000;
const int32_t kMaxFieldLetters = 255;
// Letters of values behind them, with the mark ahead.
const int32_t kValueLetters = 7;

// Splits a line at its colon; false when it has none.
bool SplitField(TBLOCK line, TBLOCK& name, TBLOCK& value) {
  const int32_t colon = line.findByte(':');
  if (colon < 0) return false;
  name = line.head(static_cast<uint32_t>(colon));
  name.trim();
  value = line.from(static_cast<uint32_t>(colon) + 1);
  return true;
}

// The letters of a header's fields, with what has been met so far.
class FIELDWALK {
 public:
  explicit FIELDWALK(TQMMSG& message)
      : letters(kMaxFieldLetters), m(message), seen(false), subjectFound(-1) {}

  // Takes the next field.
  void take(char letter, TBLOCK value);

  STR letters;

 private:
  bool repeatsSubject(TBLOCK value);
  void write(char letter) {
    if (letters.len() < kMaxFieldLetters) letters += letter;
  }

  TQMMSG& m;
  bool seen;             // a field that the sender's program wrote
  int32_t subjectFound;  // whether there is a first subject; -1 not looked for
  TBLOCK firstSubject;
};

// Relays that pass a subject on may write it once more.
bool FIELDWALK::repeatsSubject(TBLOCK value) {
  if (letters.hasin('S', 0, 0) < 0) return false;
  if (subjectFound < 0)
    subjectFound = m.readHeaderField("subject", firstSubject, 1);
  value.trim();
  TBLOCK::BlockUnquote(value, 1);
  return subjectFound && firstSubject.equals(value, TBLOCK::NoConvTable);
}

void FIELDWALK::take(char letter, TBLOCK value) {
  switch (letter) {
    case 'A':  // what relays and readers write
    case 'C':
    case 'u':
      return;
    case 'D':
    case 'F':
      seen = true;
      return write(letter);
    case 'R':
      // What stands above the relay lines belongs to a relay.
      if (!seen) letters.renew(kMaxFieldLetters);
      return;
    case 'S':
      seen = true;
      if (!repeatsSubject(value)) write(letter);
      return;
    case 'T':
      if (value.find("undisclosed-recipients") < 0) write(letter);
      return;
    default:
      if (letter) write(letter);
  }
}

// A relay that writes an identifier may write date and subject with it: of
// these the last one stays.
void CutRelayTail(STR& letters) {
  static const char* const kTails[] = {"IDS", "DIS", "ID", "DI", "IS", "I"};
  const TBLOCK all = letters.view();
  for (const char* tail : kTails) {
    const uint32_t length = static_cast<uint32_t>(strlen(tail));
    if (!all.ends(TBLOCK(tail), TBLOCK::NoConvTable)) continue;
    letters.length -= static_cast<int32_t>(length - 1);
    letters.text[letters.length - 1] = tail[length - 1];
    letters.text[letters.length] = 0;
    return;
  }
}

// "0" without a value, "?" when the section has no letter for the text.
char ValueLetter(TQMDICO& dico, const char* section, TBLOCK value,
                 TBLOCK shape) {
  if (value.empty()) return '0';
  const char letter = SectionLetter(dico, section, shape);
  return letter ? letter : '?';
}

// What has no letter but holds a clock tells that.
char ClockLetter(char letter, int32_t isOle, int32_t time) {
  if (letter != '?' || !isOle) return letter;
  return time == 0 ? '=' : '!';
}

// A time of the header; the second half where it is known to the millisecond.
struct HEADERTIME {
  bool exists;
  int32_t seconds;
  FILETIME exact;

  HEADERTIME(bool known, int32_t time)
      : exists(known && time != 0 && time != -1), seconds(time), exact() {}

  static HEADERTIME OfDate(const BLOCKDATE& date) {
    HEADERTIME time(date.error == 0, date.utc);
    posix2win_time(time.seconds, &time.exact);
    return time;
  }
  static HEADERTIME OfClock(bool decoded, int32_t seconds, uint32_t low,
                            uint32_t high) {
    HEADERTIME time(decoded && (low != 0 || high != 0), seconds);
    time.exact = {low, high};
    return time;
  }
};

void SetDistance(STR& adn, int32_t position, const HEADERTIME& a,
                 const HEADERTIME& b, bool exact) {
  if (!a.exists || !b.exists || position >= adn.len()) return;
  adn.text[position] =
      exact ? ftAdnChar(a.exact, b.exact) : ttAdnChar(a.seconds, b.seconds);
}

}  // namespace

void TQMMSG::buildHeaderAdn(STR& adn) {
  SECTIONLETTERS names(dico, kFieldLetterSection, hashUpperLower);
  FIELDWALK walk(*this);
  const TBLOCKVECT& fields = message.fields;
  for (int32_t i = 0; i < fields.count() && i < kMaxSignedFields; i++) {
    TBLOCK name, value;
    if (!SplitField(fields.get(i), name, value) || name.begins("x-spam"))
      continue;
    walk.take(names.of(name), value);
  }
  adn.renew(kMaxFieldLetters + kValueLetters);
  adn += walk.letters;
  if (idFromMta) CutRelayTail(adn);
  adn += '@';
  adn += ValueLetter(dico, "HdrAdnContentType", contentType, contentType);
  adn += ValueLetter(dico, "HdrAdnEncoding", message.transferField,
                     message.transferField);
  adn += idFromMta ? '0'
                   : ClockLetter(ValueLetter(dico, "HdrAdnId", messageId,
                                             messageIdAdn.view()),
                                 mimeOleId.isOle, mimeOleId.time);
  adn += ClockLetter(
      ValueLetter(dico, "HdrAdnBound", boundary, boundaryAdn.view()),
      mimeOleBound.isOle, mimeOleBound.time);
  adn += ValueLetter(dico, "HdrAdnMailer", mailer, mailer);
  adn += ValueLetter(dico, "HdrAdnUserAgent", userAgent, userAgent);
}

// Lines are unfolded by now, so that a value on a line of its own does not
// count.
void TQMMSG::getTabAdn(STR& adn) {
  SECTIONLETTERS names(dico, kFieldLetterSection, hashUpperLower);
  const TBLOCKVECT& fields = message.fields;
  adn.renew(fields.count() < kMaxSignedFields ? fields.count()
                                              : kMaxSignedFields);
  for (int32_t i = 0; i < fields.count() && i < kMaxSignedFields; i++) {
    TBLOCK name, value;
    if (!SplitField(fields.get(i), name, value) || value.empty() ||
        value[0] != '\t')
      continue;
    const char letter = names.of(name);
    if (letter) adn += letter;
  }
}

// Eleven places, "#" where one of the two times is not known. A boundary's
// clock shows the sender's local time.
void TQMMSG::getDatesAdn(STR& adn) {
  const HEADERTIME first = HEADERTIME::OfDate(firstReceivedDate),
                   written = HEADERTIME::OfDate(messageDate),
                   last = HEADERTIME::OfDate(lastRecordDate),
                   id = HEADERTIME::OfClock(mimeOleId.isOle, mimeOleId.time,
                                            mimeOleId.fileTimeLow,
                                            mimeOleId.fileTimeHigh),
                   thread = HEADERTIME::OfClock(
                       threadInfo.present, threadInfo.time,
                       threadInfo.fileTimeLow, threadInfo.fileTimeHigh);
  HEADERTIME bound = HEADERTIME::OfClock(mimeOleBound.isOle, mimeOleBound.time,
                                         mimeOleBound.zonedFileTimeLow,
                                         mimeOleBound.zonedFileTimeHigh);
  bound.seconds = mimeOleBound.zonedTime;

  adn = "###########";
  SetDistance(adn, 0, first, written, false);
  SetDistance(adn, 1, written, id, false);
  SetDistance(adn, 2, written, bound, false);
  SetDistance(adn, 3, id, bound, true);
  SetDistance(adn, 4, written, thread, false);
  SetDistance(adn, 5, id, thread, true);
  SetDistance(adn, 6, bound, thread, true);
  SetDistance(adn, 7, written, last, false);
  SetDistance(adn, 8, id, last, true);
  SetDistance(adn, 9, bound, last, true);
  SetDistance(adn, 10, thread, last, true);
}
