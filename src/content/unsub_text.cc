// Ways out of a mailing, and the pattern of lines. Both walk lines and look
// for fixed words; a line is walked once however many URLs it holds. Entries:
// GetUnsubText, AddUnsubText, LastUnsubLine, GetTextPattern. Tested by
// text_parse_test.cc.

#include "content/unsub_text.h"

#include <string.h>

#include "content/words.h"

namespace {

// In the languages that rules are written for, as LowerConvTable leaves them.
const char* const kOffers[] = {"unsub",         "remove",  "opt-out",
                               "opt out",       "desabon", "desinscri",
                               "no longer wish"};
const char* const kDomainEnds[] = {".com", ".net", ".info", ".biz"};
const char* const kFreeMail[] = {"yahoo.", "msn.", "hotmail.", "aol.",
                                 "gmail."};
const char kPostscript[] = "ps:";

const uint32_t kMaxText = 25;    // bytes of a word or an address
const uint32_t kMinAddress = 5;  // of an address or a URL

bool HoldsAny(TBLOCK line, const char* const* words, uint32_t count) {
  for (uint32_t i = 0; i < count; i++)
    if (line.find(words[i]) >= 0) return true;
  return false;
}

// Bytes of the line through a first "ps:", which may end a word; 0 without one.
// On purpose that of "https:" is none: it would make an offer of each line with
// such a URL, and cut the URL in two.
uint32_t PostscriptLength(TBLOCK line) {
  const uint32_t n = sizeof kPostscript - 1;
  int32_t at = line.find(kPostscript);
  while (at >= 3 && line.from(static_cast<uint32_t>(at) - 3).begins("htt"))
    at = line.find(kPostscript, static_cast<uint32_t>(at) + n);
  return at < 0 ? 0 : static_cast<uint32_t>(at) + n;
}

// Whether an offer may begin with these two bytes, folded.
bool MayOffer(unsigned char first, unsigned char second) {
  switch (first) {
    case 'u':
      return second == 'n';
    case 'r':
    case 'd':
      return second == 'e';
    case 'o':
      return second == 'p';
    case 'n':
      return second == 'o';
    default:
      return false;
  }
}

// The second letter of an offer: one of "enop".
bool IsSecond(unsigned char folded) {
  const uint32_t kSeconds =
      1u << ('e' & 31) | 1u << ('n' & 31) | 1u << ('o' & 31) | 1u << ('p' & 31);
  return kSeconds >> (folded & 31) & 1;
}

bool HoldsOffer(TBLOCK line) {
  for (uint32_t i = 0; i + 1 < line.length; i++) {
    const unsigned char second = TBLOCK::LowerConvTable[line[i + 1]];
    if (!IsSecond(second) || !MayOffer(TBLOCK::LowerConvTable[line[i]], second))
      continue;
    for (const char* offer : kOffers)
      if (line.from(i).begins(offer)) return true;
  }
  return false;
}

bool Offers(TBLOCK line) {
  return HoldsOffer(line) || PostscriptLength(line) > 0;
}

bool HoldsAddress(TBLOCK line) {
  return line.findByte('@') >= 0 || line.find("www.") >= 0 ||
         line.find("http://") >= 0;
}

// In small letters, unless it is there or the list is full.
void AddText(TBLOCK text, uint32_t minimum, STRVECT& list) {
  if (text.empty() || text.length < minimum || text.length > kMaxText ||
      list.count() >= kMaxUnsubTexts)
    return;
  unsigned char bytes[kMaxText];
  memcpy(bytes, text.pointer, text.length);
  TBLOCK small(bytes, text.length);
  small.convert(TBLOCK::LowerConvTable);
  for (int32_t i = 0; i < list.count(); i++)
    if (list.at(i)->view().equals(small, TBLOCK::NoConvTable)) return;
  list.add(small);
}

TBLOCK LastWord(TBLOCK text) {
  WORDCUTTER cutter(text);
  TBLOCK last, word;
  while (cutter.next(word) != wkNone) last = word;
  return last;
}

// Quotes around an address and a scheme ahead of it are no part of it.
TBLOCK MailOf(TBLOCK word) {
  const TBLOCK scheme("mailto:");
  if (word.begins(scheme)) word.skip(scheme.length);
  word.trim(bitQuote);
  TBLOCK mail;
  return CheckWordMail(word, mail) ? mail : TBLOCK();
}

void AddMailWords(TBLOCK text, STRVECT& list) {
  WORDCUTTER cutter(text);
  TBLOCK word;
  while (cutter.next(word) != wkNone) AddText(MailOf(word), kMinAddress, list);
}

// Occurrences of a text, one behind the other, each looked for once.
struct OCCURRENCES {
  const char* wanted;
  TBLOCK text;
  int32_t next;  // -1: no more

  void moveTo(int32_t start) {
    if (next >= 0 && next < start)
      next = text.find(wanted, static_cast<uint32_t>(start));
  }
};

bool IsPunctuation(TBLOCK text) {
  return !text.empty() && memchr(".,:;", text[0], 4);
}

// The URL at that place, without the full stop behind it.
TBLOCK UrlAt(TBLOCK text, int32_t at) {
  text.skip(static_cast<uint32_t>(at));
  uint32_t n = text.lengthIn(bitUrl);
  text.cut(n);
  while (n > 0 && IsPunctuation(text.from(n - 1))) text.cut(--n);
  return text;
}

}  // namespace

void AddUnsubText(TBLOCK line, STRVECT& list) {
  line.skip(PostscriptLength(line));
  OCCURRENCES www = {"www.", line, line.find("www.")};
  OCCURRENCES http = {"http://", line, line.find("http://")};
  int32_t done = 0;
  while (list.count() < kMaxUnsubTexts) {
    www.moveTo(done);
    http.moveTo(done);
    int32_t at = www.next;
    if (at < 0 || (http.next >= 0 && http.next < at)) at = http.next;
    const TBLOCK piece = line.from(static_cast<uint32_t>(done));
    if (at < 0) {
      AddMailWords(piece, list);
      return;
    }
    const uint32_t ahead = static_cast<uint32_t>(at - done);
    const TBLOCK url = UrlAt(line, at);
    AddText(LastWord(piece.head(ahead)), 1, list);
    AddText(url, kMinAddress, list);
    AddMailWords(piece.head(ahead + url.length), list);
    done = at + static_cast<int32_t>(url.length);
    while (IsPunctuation(line.from(static_cast<uint32_t>(done)))) done++;
  }
}

void GetUnsubText(TBLOCK text, STRVECT& list) {
  list.clear();
  bool offered = false;
  while (!text.empty()) {
    const TBLOCK line = TBLOCK::BlockNextLine(text);
    const bool offers = Offers(line);
    if ((offers || offered) && HoldsAddress(line)) AddUnsubText(line, list);
    offered = offers;
  }
}

TBLOCK LastUnsubLine(TBLOCK text) {
  TBLOCK last;
  while (!text.empty()) {
    const TBLOCK line = TBLOCK::BlockNextLine(text);
    if (Offers(line)) last = line;
  }
  return last;
}

void GetTextPattern(TBLOCK text, STR& pattern) {
  pattern = "";
  for (int32_t n = 0; n < kMaxPatternLines && !text.empty(); n++) {
    TBLOCK line = TBLOCK::BlockNextLine(text);
    line.trim();
    const bool domain =
        HoldsAny(line, kDomainEnds, sizeof kDomainEnds / sizeof *kDomainEnds);
    if (line.empty())
      pattern += 'e';
    else if (!domain)
      pattern += 'u';
    else
      pattern += HoldsAny(line, kFreeMail, sizeof kFreeMail / sizeof *kFreeMail)
                     ? 'x'
                     : 'd';
  }
}
