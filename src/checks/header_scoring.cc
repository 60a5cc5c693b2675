// What the subject, the fingerprint of the header, the recipients, the dates
// and the sender tell, and marks that programs for bulk mail leave. All are
// filters. Lines of the dictionary that name header fields are in
// header_fields_scoring.cc. Tested by header_scoring_test.cc and by the
// messages tests/mail/header_scoring.eml.

#include "content/address_scheme.h"
#include "content/sender_judge.h"
#include "scan/tqmmsg.h"

namespace {

const int64_t kSecondsOfDay = 86400;
// How far ahead of now a date may be, and how far behind the relays.
const int64_t kDaysAhead = 10;
const int64_t kSecondsBehind = 180 * kSecondsOfDay;

// A word with more capitals than this may hide another one.
const uint32_t kMaxCapitals = 4;
// Capitals of one subject that are looked up: bounds the number of words and
// the length of each.
const uint32_t kMaxHiddenBytes = 2048;

// Bytes of a name or an address that are looked for in a body; no real one has
// as many. Bounds the search, which costs the product of both lengths on
// hostile input.
const uint32_t kMaxSoughtBytes = 320;
// A shorter word of a name stands in too many bodies.
const uint32_t kMinNameWord = 4;

// 64 values as in uuencoding, with 0x60 for 0, and the pad.
const char kPptAlphabet[] =
    "`!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`";
static_assert(sizeof kPptAlphabet == 64 + 1 + 1, "an alphabet of base64");

// The fingerprint up to that many bytes behind its last "@"; all of it when
// there are not so many.
TBLOCK HeaderKey(TBLOCK adn, uint32_t behind) {
  const int32_t at = adn.findLastByte('@');
  return at < 0 ? adn : adn.head(static_cast<uint32_t>(at) + 1 + behind);
}

// Scores the line of "SpamHdr" that is the message's key of that length.
void ScoreHeaderKey(TQMMSG& m, uint32_t behind) {
  const TQKLINE* line = nullptr;
  const TBLOCK key = HeaderKey(m.hdrAdn.view(), behind);
  if (!m.dico.hashedFind("SpamHdr", key, line)) return;
  STR label("Hdr ");
  label += m.dico.lineIndex("SpamHdr", line) + 1;
  m.addToSpamScore(line->score, label.c_str(), 1);
}

// Copies the capitals of the next word of `rest` that hides some among small
// letters, as many as there is room for. False at the end.
bool NextHiddenWord(TBLOCK& rest, unsigned char* room, uint32_t size,
                    TBLOCK& capitals) {
  for (;;) {
    while (!rest.empty() && !TBLOCK::Is(rest[0], bitAlpha)) rest.skip(1);
    if (rest.empty()) return false;
    uint32_t upper = 0, lower = 0, copied = 0;
    for (; !rest.empty() && TBLOCK::Is(rest[0], bitAlpha); rest.skip(1)) {
      if (TBLOCK::Is(rest[0], bitLower)) {
        lower++;
        continue;
      }
      upper++;
      if (copied < size) room[copied++] = rest[0];
    }
    if (upper <= kMaxCapitals || lower == 0) continue;
    capitals = TBLOCK(room, copied);
    return true;
  }
}

// Whether the value is what the bulk tool behind "x-ppt" makes of an address:
// its length as one character, then the address encoded.
bool IsPptOf(TBLOCK value, TBLOCK address) {
  const unsigned char size =
      static_cast<unsigned char>(kPptAlphabet[address.length % 64]);
  BLOCK expected((address.length + 2) / 3 * 4 + 1, BLOCK::_DEFALLOCSIZE);
  if (!expected.add(&size, 1)) return false;
  const TBLOCK room(expected.data + 1, expected.capacity - 1);
  // The pad behind a single last byte does not count.
  expected.length +=
      TBLOCK::BlockBase64(address, room, 0, kPptAlphabet, kPptAlphabet[64]);
  return value.equals(expected.view());
}

bool IsKnown(const BLOCKDATE& date) {
  return date.utc != 0 && date.utc != -1;
}

bool IsAhead(const BLOCKDATE& written, int64_t now) {
  const int64_t limit = (now / kSecondsOfDay + kDaysAhead) * kSecondsOfDay;
  return IsKnown(written) && limit < written.utc;
}

// Only two relays that agree are trusted to know the day.
bool IsBehind(const BLOCKDATE& written, const BLOCKDATE& last,
              const BLOCKDATE& second) {
  if (!IsKnown(written) || !IsKnown(last) || !IsKnown(second)) return false;
  return TimeDistance(last.utc, second.utc) < kSecondsOfDay &&
         written.utc < last.utc - kSecondsBehind;
}

bool StandsIn(TBLOCK text, TBLOCK body) {
  return body.find(text.head(kMaxSoughtBytes)) >= 0;
}

bool AnyWordStandsIn(TBLOCK name, TBLOCK body) {
  TBLOCKVECT words(0);
  words.step = TBLOCKVECT::kSmallStep;
  TBLOCK::GetBlockWordList(name.head(kMaxSoughtBytes), words, bitWordSep);
  for (int32_t i = 0; i < words.count(); i++)
    if (words.get(i).length >= kMinNameWord && StandsIn(words.get(i), body))
      return true;
  return false;
}

// Whether a sender whose address is made of its name writes to somebody it
// does not seem to know, without a trace of itself in the text.
bool IsFall(const TMAILBOX& from, const TMAILBOX& recipient, TBLOCK to,
            TBLOCK body) {
  if (!recipient.name.empty() && !recipient.email.empty()) return false;
  if (to.findByte('<') >= 0 || to.findByte('"') >= 0) return false;
  if (from.email.equals(recipient.email)) return false;
  if (to.findByte('@') < 0) return false;
  return !StandsIn(LocalPart(from.email), body) &&
         !AnyWordStandsIn(from.name, body);
}

}  // namespace

// Reads: subject, subjectAdn, msgContext. Scores: 10 "Empty subject", or the
// lines of "BlackSubject" and 200 "Hot subject" for a word of "HardWords" that
// the capitals inside a word spell.
void TQMMSG::checkSubject() {
  const bool bareAnswer = msgContext.emptyBody && subject.equals("re:");
  if (checkCond(subject.empty() || bareAnswer, 10, "Empty subject")) return;
  checkAllKeywordBlock("BlackSubject", subject, "suspect subject");
  const TBLOCK adn = subjectAdn.view();
  if (adn.find("rrrrrr") < 0 && adn.find("aaaaaa") < 0) return;
  unsigned char room[kMaxHiddenBytes];
  uint32_t left = kMaxHiddenBytes;
  TBLOCK rest = subject, capitals;
  while (left > 0 && NextHiddenWord(rest, room, left, capitals)) {
    const TQKLINE* line = nullptr;
    if (dico.matchBlock("HardWords", capitals, line)) {
      addToSpamScore(200, "Hot subject", 1);
      return;
    }
    left -= capitals.length;
  }
}

// Reads: hdrAdn, which ends 6 bytes behind its "@" as long as the body has not
// been parsed. Scores: the line of "SpamHdr", as "Hdr " and its place.
void TQMMSG::checkSpamHdr() {
  ScoreHeaderKey(*this, 6);
}

// Reads: hdrAdn with the letter of the character set, the root's structure, the
// field "x-ppt", recipientBox. Scores: the line of "SpamHdr", which may be one
// that checkSpamHdr has scored; 50 "Header error"; "SpamHeaderField"; for a
// "x-ppt" 200 "Hixppt" when it holds the recipient, else 90 "Loxppt".
void TQMMSG::checkHeader() {
  ScoreHeaderKey(*this, 7);
  if (message.flags & pfBadStructure) addToSpamScore(50, "Header error", 1);
  checkHeaderFields("SpamHeaderField", nullptr);
  TBLOCK ppt;
  if (!readHeaderField("x-ppt", ppt, 1)) return;
  if (!checkCond(IsPptOf(ppt, recipientBox.email), 200, "Hixppt"))
    checkCond(1, 90, "Loxppt");
}

// Reads: to, toList, fromBox. Scores: 30 "missing TO field", 90 "Sorted
// recips".
void TQMMSG::checkTo() {
  checkCond(to.empty(), 30, "missing TO field");
  checkCond(CheckSortedRecips(toList, fromBox), 90, "Sorted recips");
}

// Reads: the dates of the header and of three relays, the present time. Scores:
// 49 "No date field", and 21 for each of "Date in future", "Date in past",
// "Date anomaly", "Rcvd Date anomaly".
void TQMMSG::checkDates(const QMUSERSETUP* /*userSetup*/) {
  checkCond(date.empty(), 49, "No date field");
  checkCond(IsAhead(headerDate, presentTime()), 21, "Date in future");
  TBLOCK resent;
  const bool behind =
      IsBehind(headerDate, lastReceivedDate, secondReceivedDate) &&
      message.headerFieldIndex("resent-date", resent) < 0;
  checkCond(behind, 21, "Date in past");
  checkCond(headerDate.error, 21, "Date anomaly");
  checkCond(firstReceivedDate.error, 21, "Rcvd Date anomaly");
}

// Reads: fromBox, recipientBox, to, body. Scores: 103 "Fall". Returns: whether
// it did.
int TQMMSG::checkFall() {
  if (GetFallScheme(fromBox) < 1) return 0;
  return checkCond(IsFall(fromBox, recipientBox, to, body), 103, "Fall");
}

// Reads: fromBox and the two bodies. Scores: 90 "Mail Spring" for a sender that
// looks made up and that the bodies don't name. Returns: whether it did.
int TQMMSG::checkMailSpring() {
  if (CheckForgedMailBox(fromBox) <= 0) return 0;
  const bool named = StandsIn(fromBox.email, message.getHtmlBlock()) ||
                     StandsIn(fromBox.email, message.getTextBlock());
  return checkCond(!named, 90, "Mail Spring");
}

// Reads: the names of the character sets, body. Scores: 100 "Subst'd charset",
// and the line of "SubstRegex" as "Subst vars": variables of a template that
// nobody put a value in.
void TQMMSG::checkSubst() {
  if (messageCharset.name.findByte('%') >= 0 ||
      message.charset.name.findByte('%') >= 0)
    addToSpamScore(100, "Subst'd charset", 1);
  const TQKLINE* line = nullptr;
  if (dico.matchRegex("SubstRegex", body, line))
    checkCond(1, line->score, "Subst vars");
}
