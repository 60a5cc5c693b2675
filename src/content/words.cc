// Words of a text. WORDCUTTER tries the kinds of words one after the other at
// each place. A test asks how far the bytes of one class go on from there, and
// whether something stands among them: an at sign, the end of a host. Each byte
// is looked at once for that, however many words begin ahead of it.
//
// Entries: WORDCUTTER and the functions of words.h. Tested by words_test.cc.

#include "content/words.h"

#include <string.h>

#include "regex/regex.h"

namespace {

const uint32_t kLongestMerged = 50;  // bytes of a word that is taken apart

// As the HTML parser leaves them for images, both of this length.
const char kImageMark[] = "!%IMG%!";
const char kCidMark[] = "!%CID%!";
const uint32_t kMarkLength = sizeof kImageMark - 1;
// As they stand ahead of quotations.
const char* const kQuoteMarks[] = {"//ars ", "||ars "};

const uint32_t kName = bitAlpha | bitDigit;
const uint32_t kNotSimple = bitWordSep | bitDot | bitArobas;

// Whether a text in small letters stands there, in any case. REQUIRES: as many
// bytes.
bool IsSmallText(const unsigned char* bytes, const char* text) {
  for (; *text; bytes++, text++)
    if (*text != (TBLOCK::Is(*bytes, bitUpper) ? *bytes | 0x20 : *bytes))
      return false;
  return true;
}

}  // namespace

WORDCUTTER::WORDCUTTER(TBLOCK whole)
    : text(whole),
      at(0),
      size(whole.empty() ? 0 : static_cast<int32_t>(whole.length)),
      mails{0, -1, -1},
      urls{0, -1, -1},
      files{0, -1, -1},
      bad(-1) {}

bool WORDCUTTER::take(int32_t end, TBLOCK& word) {
  word = TBLOCK(text.pointer + at, static_cast<uint32_t>(end - at));
  at = end;
  return true;
}

// The end of the bytes of an address; further than any address goes, it is
// somewhere behind that.
int32_t WORDCUTTER::lookForMail() {
  const int32_t stop = size - at > kMaxMailWord ? at + kMaxMailWord + 1 : size;
  int32_t i = mails.seen > at ? mails.seen : at;
  for (; i < stop && TBLOCK::Is(text[i], bitEmail); i++)
    if (text[i] == '@') mails.note(i);
  mails.seen = i;
  return i;
}

// One at sign, and behind it a domain, the dots at whose end are of the text
// around. A dot inside makes it one.
bool WORDCUTTER::takeMail(TBLOCK& word) {
  int32_t end = lookForMail();
  const int32_t sign = mails.last;
  if (sign < at || mails.lastButOne >= at || sign == bad ||
      end - at > kMaxMailWord)
    return false;
  while (text[end - 1] == '.') end--;
  bool dot = false, name = true;
  for (int32_t i = sign + 1; i < end && name; i++) {
    name = TBLOCK::Is(text[i], bitDomain);
    dot |= text[i] == '.' && i > sign + 1;
  }
  if (dot && name) return take(end, word);
  bad = sign;
  return false;
}

// A currency sign ahead of a digit is a word of its own, so that the amount is
// a number.
bool WORDCUTTER::takeNumber(TBLOCK& word) {
  int32_t i = at;
  if (i >= size || !TBLOCK::Is(text[i], bitDigit | bitSign | bitCurrency))
    return false;
  if (!TBLOCK::Is(text[i], bitDigit)) {
    i++;
    if (i >= size || !TBLOCK::Is(text[i], bitDigit)) return false;
    if (TBLOCK::Is(text[at], bitCurrency)) return take(i, word);
  }
  while (i < size && TBLOCK::Is(text[i], bitDigit | bitNumSep)) i++;
  return take(i, word);
}

// The end of what stands ahead of white space.
int32_t WORDCUTTER::lookForFile() {
  const int32_t stop = size - at > kMaxFileWord ? at + kMaxFileWord : size;
  int32_t i = files.seen > at ? files.seen : at;
  for (; i < stop && !TBLOCK::Is(text[i], bitWhiteSpace); i++)
    if (text[i] == '\\') files.note(i);
  files.seen = i;
  return i < stop ? i : stop;
}

bool WORDCUTTER::takeFile(TBLOCK& word) {
  const int32_t start = at;
  if (size - at < 5) return false;
  while (at < size && TBLOCK::Is(text[at], bitWhiteSpace)) at++;
  if (size - at > 2 && text[at + 1] == ':' && TBLOCK::Is(text[at], bitAlpha)) {
    const int32_t end = lookForFile();
    if (files.last > at) return take(end, word);
  }
  at = start;
  return false;
}

// Whether the last name of a host stands behind the dot, and then the end of
// the URL's bytes or what may follow a host.
bool WORDCUTTER::endsHost(int32_t dot) const {
  static const char* const kEnds[] = {"com", "net", "org", "fr"};
  if (dot == 0 || !TBLOCK::Is(text[dot - 1], kName)) return false;
  for (const char* name : kEnds) {
    const int32_t n = static_cast<int32_t>(strlen(name));
    const int32_t behind = dot + 1 + n;
    if (behind > size || !IsSmallText(text.pointer + dot + 1, name)) continue;
    return behind == size || !TBLOCK::Is(text[behind], bitUrl) ||
           memchr("/?:.", text[behind], 4);
  }
  return false;
}

// The end of the bytes of a URL, which may go on behind the longest one.
int32_t WORDCUTTER::lookForUrl() {
  const int32_t stop = size - at > kMaxUrlWord ? at + kMaxUrlWord : size;
  int32_t i = urls.seen > at ? urls.seen : at;
  for (; i < stop && TBLOCK::Is(text[i], bitUrl); i++)
    if (text[i] == '.' && endsHost(i)) urls.note(i);
  urls.seen = i;
  return i < stop ? i : stop;
}

// A text that begins as a URL, or holds the end of a host that begins in it.
bool WORDCUTTER::takeUrl(TBLOCK& word) {
  int32_t end = lookForUrl();
  while (end > at && text[end - 1] == '.') end--;
  const TBLOCK url(text.pointer + at, static_cast<uint32_t>(end - at));
  if (urls.last > at || url.begins("http") || url.begins("www.") ||
      url.begins("mailto:"))
    return take(end, word);
  return false;
}

// The many words that need no look ahead: no at sign, dot or colon stands in
// what an address, a URL or a file name could be made of from here on. False
// tells nothing.
bool WORDCUTTER::takeSimple(TBLOCK& word) {
  if (TBLOCK::Is(text[at], bitDigit | bitSign | bitCurrency)) return false;
  int32_t end = at;
  while (end < size && !TBLOCK::Is(text[end], kNotSimple)) end++;
  if (end == at) return false;
  int32_t stop = end;
  if (stop < size && TBLOCK::Is(text[stop], bitEmail | bitUrl)) {
    // Punctuation of a sentence, as a rule: a dot belongs to the word, and
    // white space is behind it.
    if (text[stop] == '.')
      end++;
    else if (!TBLOCK::Is(text[stop], bitWordSep) || text[stop] == ':')
      return false;
    stop++;
    if (stop < size && !TBLOCK::Is(text[stop], bitWhiteSpace)) return false;
  }
  const unsigned char first = text[at];
  if ((first == 'h' || first == 'H') && end - at >= 4 &&
      IsSmallText(text.pointer + at, "http"))
    return false;
  return take(end, word);
}

int32_t WORDCUTTER::next(TBLOCK& word) {
  while (at < size && TBLOCK::Is(text[at], bitWordSep)) at++;
  if (at == size) {
    word.clear();
    return wkNone;
  }
  if (takeSimple(word)) return wkPlain;
  if (takeMail(word)) return wkMail;
  if (takeNumber(word)) return wkNumber;
  if (takeFile(word)) return wkFile;
  if (takeUrl(word)) return wkUrl;
  int32_t end = at;
  while (end < size && !TBLOCK::Is(text[end], bitWordSep)) end++;
  take(end, word);
  return wkPlain;
}

int32_t NextWord(TBLOCK& cursor, TBLOCK& word) {
  WORDCUTTER cutter(cursor);
  const int32_t kind = cutter.next(word);
  cursor = cutter.rest();
  return kind;
}

namespace {

bool Check(bool (WORDCUTTER::*take)(TBLOCK&), TBLOCK& cursor, TBLOCK& word) {
  WORDCUTTER cutter(cursor);
  if (!(cutter.*take)(word)) return false;
  cursor = cutter.rest();
  return true;
}

}  // namespace

bool CheckWordMail(TBLOCK& cursor, TBLOCK& word) {
  return Check(&WORDCUTTER::takeMail, cursor, word);
}
bool CheckWordNumber(TBLOCK& cursor, TBLOCK& word) {
  return Check(&WORDCUTTER::takeNumber, cursor, word);
}
bool CheckWordFile(TBLOCK& cursor, TBLOCK& word) {
  return Check(&WORDCUTTER::takeFile, cursor, word);
}
bool CheckWordUrl(TBLOCK& cursor, TBLOCK& word) {
  return Check(&WORDCUTTER::takeUrl, cursor, word);
}

void BlockToWords(TBLOCK text, TBLOCKVECT& words, int32_t limit) {
  while (!text.empty() && (limit <= 0 || words.count() < limit)) {
    text.trimLeft(bitWordSep);
    const uint32_t n = text.lengthUntil(bitWordSep);
    words.add(text.head(n), 0, 0);
    text.skip(n);
  }
}

namespace {

// Adds the words of a text; how many.
int32_t AddWords(TBLOCK text, TBLOCKVECT& words, TBLOCKVECT* mails) {
  WORDCUTTER cutter(text);
  int32_t added = 0;
  TBLOCK word;
  for (;;) {
    const int32_t kind = cutter.next(word);
    if (kind == wkNone) return added;
    words.add(word, 0, 0);
    added++;
    if (kind == wkMail && mails) mails->addUnique(word, 0, 0);
  }
}

bool IsCut(TBLOCK word, uint32_t i) {
  return TBLOCK::Is(word[i], bitUpperA) && !TBLOCK::Is(word[i - 1], bitUpperA);
}

// The first capital that a word is cut at, 0 for none. Hosts, numbers and file
// names have a dot inside: they are not taken apart.
uint32_t FirstCut(TBLOCK word, uint32_t minLength) {
  uint32_t first = 0;
  for (uint32_t i = 1; i < word.length; i++) {
    if (word[i] == '.') return 0;
    if (first == 0 && i >= minLength && IsCut(word, i)) first = i;
  }
  return first;
}

void AddMergedPieces(TBLOCK word, uint32_t minLength, TBLOCKVECT& words) {
  uint32_t cut = FirstCut(word, minLength);
  while (cut > 0) {
    words.add(word.head(cut), 0, 0);
    word.skip(cut);
    cut = minLength > 1 ? minLength : 1;
    while (cut < word.length && !IsCut(word, cut)) cut++;
    if (cut >= word.length) cut = 0;
    if (cut == 0) words.add(word, 0, 0);
  }
}

// Of a word without a dot.
bool HasDash(TBLOCK word) {
  bool dash = false;
  for (uint32_t i = 1; i < word.length; i++) {
    if (word[i] == '.') return false;
    dash |= word[i] == '-';
  }
  return dash;
}

void AddDashPieces(TBLOCK word, int32_t limit, TBLOCKVECT& words) {
  for (int32_t dash = word.findByte('-', 1); dash >= 0;
       dash = word.findByte('-', 0)) {
    const TBLOCK piece = word.head(static_cast<uint32_t>(dash));
    word.skip(piece.length + 1);
    if (piece.length < 2) continue;
    if (limit > 0 && words.count() >= limit) return;
    words.add(piece, 0, 0);
  }
  if (limit <= 0 || words.count() < limit) words.add(word, 0, 0);
}

}  // namespace

void ParseBlockWords(REGEXPOOL*, TBLOCK text, TBLOCKVECT& words,
                     TBLOCKVECT* mails) {
  AddWords(text, words, mails);
  ParseMergedWords(words, 1);
}

void ParseMergedWords(TBLOCKVECT& words, uint32_t minLength) {
  const int32_t count = words.count();
  for (int32_t i = 0; i < count; i++) {
    const TBLOCK word = words.get(i);
    if (word.length > minLength && word.length <= kLongestMerged)
      AddMergedPieces(word, minLength, words);
  }
}

void ParseDashWords(TBLOCKVECT& words, int32_t limit) {
  const int32_t count = words.count();
  for (int32_t i = 0; i < count && (limit <= 0 || words.count() < limit); i++) {
    TBLOCK word = words.get(i);
    const bool article = word.length > 2 && word[1] == '\'';
    if (article ? word.findByte('.', 1) >= 0 : !HasDash(word)) continue;
    if (article) word.skip(2);
    AddDashPieces(word, limit, words);
  }
}

namespace {

// What stands ahead of the next mark of an image. `rest` moves behind the mark,
// whose letter is the result; 0 when there is none.
char NextMark(TBLOCK& rest, TBLOCK& before) {
  before = rest;
  for (int32_t i = rest.findByte('!'); i >= 0;
       i = rest.findByte('!', static_cast<uint32_t>(i) + 1)) {
    const TBLOCK found = rest.from(static_cast<uint32_t>(i));
    const bool image = found.begins(TBLOCK(kImageMark), TBLOCK::NoConvTable);
    if (!image && !found.begins(TBLOCK(kCidMark), TBLOCK::NoConvTable))
      continue;
    before.cut(static_cast<uint32_t>(i));
    rest = found.from(kMarkLength);
    return image ? 'i' : 'c';
  }
  rest.skip(rest.length);
  return 0;
}

char CountLetter(int32_t words) {
  return "0123456789ABCD"[words < 13 ? words : 13];
}

// The letter of a line that has no words by its kind; 0 for any other.
char KindOfLine(TBLOCK line) {
  char marks = 0;
  bool shows = false;
  TBLOCK rest = line;
  while (!rest.empty()) {
    TBLOCK before;
    const char mark = NextMark(rest, before);
    if (mark) marks = !marks || marks == mark ? mark : 'b';
    if (before.lengthUntil(bitLetter | bitDigit) < before.length) {
      line.trimLeft();
      for (const char* quote : kQuoteMarks)
        if (line.begins(TBLOCK(quote), TBLOCK::NoConvTable)) return 'q';
      return 0;
    }
    before.trim();
    shows |= !before.empty();
  }
  return shows ? 's' : marks;
}

// Marks separate words, as blanks do.
int32_t AddLineWords(TBLOCK line, TBLOCKVECT& words, TBLOCKVECT* mails) {
  int32_t added = 0;
  while (!line.empty()) {
    TBLOCK before;
    NextMark(line, before);
    added += AddWords(before, words, mails);
  }
  return added;
}

}  // namespace

void ParseLinesWords(STR& lineAdn, REGEXPOOL*, const TBLOCKVECT& lines,
                     TBLOCKVECT& words, TBLOCKVECT* mails) {
  const int32_t count = lines.count();
  lineAdn.renew(count < kMaxLetteredLines ? count : kMaxLetteredLines);
  for (int32_t i = 0; i < count; i++) {
    const TBLOCK line = lines.get(i);
    char letter = KindOfLine(line);
    if (!letter) letter = CountLetter(AddLineWords(line, words, mails));
    if (i < kMaxLetteredLines) lineAdn += letter;
  }
  ParseMergedWords(words, 1);
  ParseDashWords(words, kMaxDashWords);
}

namespace {

// The text at the right end of the place, which it fills.
void FillRight(TBLOCK place, TBLOCK text) {
  text.cut(place.length);
  const uint32_t blanks = place.length - text.length;
  memset(place.pointer, ' ', blanks);
  if (!text.empty()) memcpy(place.pointer + blanks, text.pointer, text.length);
}

}  // namespace

void BlockSubstRegexWithPad(TBLOCK block, const char* pattern, REGEXPOOL* pool,
                            int32_t group, const char* text) {
  REGEX regex(pattern, pool);
  while (!block.empty() && regex.matchWithDetails(block) > 0) {
    int32_t start, end, matchStart, matchEnd;
    if (!regex.getDetail(0, matchStart, matchEnd)) return;
    if (regex.getDetail(group, start, end) && start >= 0 && end > start)
      FillRight(block.from(static_cast<uint32_t>(start))
                    .head(static_cast<uint32_t>(end - start)),
                TBLOCK(text));
    if (matchEnd == matchStart) matchEnd++;
    block.skip(static_cast<uint32_t>(matchEnd));
  }
}
