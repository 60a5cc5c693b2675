// Random strings. No word list is needed: letters that a generator drew at
// random soon make triples that no language of the mail we see has, and tokens
// of letters and digits change between the two more often than names do. What
// looks odd but is common (paths, addresses, file names) is let through first.
// Nothing here allocates but HashSeqCount, into the caller's table, and every
// test takes time in proportion to its text. Tested by random_string_test.cc.

#include "content/random_string.h"

#include <stdio.h>

#include "base/hash_count.h"
#include "content/block_url.h"
#include "data/letter_triples.h"

namespace {

// Hosts of this network are random by design.
const char randomUrlExemptDomain[] = "cloudfront.net";

// Walks the triples of letters that stand side by side in a text, one letter
// further each time.
class TRIPLES {
 public:
  explicit TRIPLES(TBLOCK text) : rest(text.empty() ? TBLOCK() : text) {}

  // The number of the next triple, or -1 at the end.
  int32_t next();
  // The bytes of the triple that next() gave.
  TBLOCK bytes() const { return TBLOCK(rest.pointer - 1, 3); }

 private:
  TBLOCK rest;
};

int32_t TRIPLES::next() {
  while (rest.length > 2) {
    const uint32_t a = ConvTable[rest[0]];
    const uint32_t b = ConvTable[rest[1]];
    const uint32_t c = ConvTable[rest[2]];
    if (a && b && c) {
      rest.skip(1);
      return static_cast<int32_t>(((a - 1) * 26 + b - 1) * 26 + c - 1);
    }
    rest.skip(!a ? 1 : !b ? 2 : 3);
  }
  return -1;
}

bool IsBad(int32_t triple, const unsigned char* table) {
  return (table[triple >> 3] & 1 << (triple & 7)) == 0;
}

// "aaaaaa" and "hahaha" are nobody's token: a text is looked at only if it has
// three different bytes.
bool HasThreeBytes(TBLOCK text) {
  const uint32_t n = text.empty() ? 0 : text.length;
  uint32_t second = 1;
  while (second < n && text[second] == text[0]) second++;
  for (uint32_t i = second + 1; i < n; i++)
    if (text[i] != text[0] && text[i] != text[second]) return true;
  return false;
}

// Whether the text ends in `mark` and the number of bytes but "-" that stand
// before position `at`.
bool EndsInCount(TBLOCK text, unsigned char mark, uint32_t at) {
  uint32_t count = 0;
  for (uint32_t i = 0; i < at; i++) count += text[i] != '-';
  char sign[16];
  snprintf(sign, sizeof sign, "%c%u", mark, static_cast<unsigned>(count));
  return text.ends(TBLOCK(sign), TBLOCK::UpperToLower);
}

// Characters that a word holds, without which it need not be searched for what
// has them in it.
struct WORDSIGNS {
  bool dot, colon, arobas;
  bool m;     // in any case, with or without an accent
  bool rare;  // a "z" likewise, or "^"
};

// Words that look random to the tests but are paths, addresses, rulers or
// words with accents, which the triples do not cover. The signs are all told
// when it is none of these.
bool IsKnownShape(TBLOCK text, WORDSIGNS& signs) {
  uint32_t backslashes = 0;
  signs = WORDSIGNS();
  for (uint32_t i = 0; i < text.length; i++) {
    const unsigned char c = text[i];
    if (c == '/' || TBLOCK::Is(c, bitAccent)) return true;
    if (c == '\\') {
      if (i > 0 && text[i - 1] == '\\') return true;
      if (++backslashes > 3) return true;
    }
    const unsigned char folded = TBLOCK::LowerConvTable[c];
    signs.dot |= c == '.';
    signs.colon |= c == ':';
    signs.arobas |= c == '@';
    signs.m |= folded == 'm';
    signs.rare |= folded == 'z' || folded == '^';
  }
  if (signs.dot && (signs.arobas || text.find("www.") >= 0)) return true;
  if (signs.colon && text.find("mailto:") >= 0) return true;
  return text.begins("--") || (signs.m && text.find("smtp") >= 0);
}

// "invoice.pdf": nothing but 3 or 4 letters behind the first dot.
bool IsFileName(TBLOCK text) {
  const int32_t dot = text.findByte('.');
  if (dot < 0) return false;
  const TBLOCK ending = text.from(static_cast<uint32_t>(dot) + 1);
  return (ending.length == 3 || ending.length == 4) && ending.allIn(bitLetter);
}

bool IsSuspectSuffix(TBLOCK suffix) {
  static const char* const kSuffixes[] = {"com", "info", "biz", "net"};
  for (const char* known : kSuffixes)
    if (suffix.equals(known)) return true;
  return false;
}

// Whether `host` is `domain` or lies below it.
bool IsBelow(TBLOCK host, TBLOCK domain) {
  if (!host.ends(domain)) return false;
  const uint32_t ahead = host.length - domain.length;
  return ahead == 0 || host[ahead - 1] == '.';
}

// Whether the labels ahead of the registered domain are random.
bool HasRandomLabels(TBLOCK host, TBLOCK domain) {
  if (domain.empty()) return false;
  uint32_t edges = 0;
  while (!host.empty() && !host.equals(domain)) {
    const TBLOCK label = TBLOCK::BlockBeforeChar(host, '.', 0, 0);
    if (label.equals("www") || label.allIn(bitHexa)) continue;
    if (BadSeqCount(label) > 2) return true;
    uint16_t digits, caseEdges, digitEdges;
    EdgeCount(label, digits, caseEdges, digitEdges);
    edges += digitEdges;
  }
  return edges > 2;
}

}  // namespace

int32_t Wsc(TBLOCK text, const unsigned char* table) {
  if (!HasThreeBytes(text)) return 0;
  TRIPLES triples(text);
  int32_t count = 0;
  for (int32_t t; (t = triples.next()) >= 0;) count += IsBad(t, table);
  return count;
}

int32_t BadSeqCount(TBLOCK text) {
  return Wsc(text, BadSeq3);
}

int32_t DibitWordScore(TBLOCK text) {
  if (!HasThreeBytes(text)) return 0;
  TRIPLES triples(text);
  int32_t sum = 0;
  for (int32_t t; (t = triples.next()) >= 0;)
    sum += DibitFreq[t >> 2] >> (t & 3) * 2 & 3;
  return sum;
}

int32_t HashSeqCount(TBLOCK text, HASHCOUNT& counts,
                     const unsigned char* table) {
  if (HasThreeBytes(text)) {
    TRIPLES triples(text);
    for (int32_t t; (t = triples.next()) >= 0;)
      if (IsBad(t, table)) counts.incBlockCount(triples.bytes(), 1);
  }
  return counts.count;
}

void EdgeCount(TBLOCK text, uint16_t& digits, uint16_t& caseEdges,
               uint16_t& digitEdges) {
  uint32_t d = 0, c = 0, e = 0;
  uint32_t before = 0;  // class of the last letter or digit
  const uint32_t n = text.empty() ? 0 : text.length;
  for (uint32_t i = 0; i < n; i++) {
    const uint32_t now =
        TBLOCK::BitChars[text[i]] & (bitUpper | bitLower | bitDigit);
    if (!now) continue;
    if (now == bitDigit)
      d++;
    else if (before == bitDigit)
      e++;
    else if (before && before != now)
      c++;
    before = now;
  }
  const uint32_t most = UINT16_MAX;
  digits = static_cast<uint16_t>(d < most ? d : most);
  caseEdges = static_cast<uint16_t>(c < most ? c : most);
  digitEdges = static_cast<uint16_t>(e < most ? e : most);
}

bool IsSpamSign(TBLOCK text) {
  if (text.empty() || text.length < 4) return false;
  for (uint32_t behind = 3; behind >= 2; behind--) {
    const uint32_t at = text.length - behind;
    const unsigned char mark = text[at];
    if ((mark == 'l' || mark == '-') && EndsInCount(text, mark, at))
      return true;
  }
  return false;
}

bool IsRandomString(TBLOCK text) {
  WORDSIGNS signs;
  if (text.empty() || text.length < 4 || IsKnownShape(text, signs))
    return false;
  text.trim(bitQuote | bitWordSep);
  if (signs.dot && IsFileName(text)) return false;
  if (BadSeqCount(text) >= 3 || IsSpamSign(text)) return true;
  if (text.length > 15 && text.allIn(bitDigit)) return true;
  if (text.length > 9) {
    uint16_t digits, caseEdges, digitEdges;
    EdgeCount(text, digits, caseEdges, digitEdges);
    if (digitEdges > 2) return true;
  }
  // Marks that two generators left in all that they made.
  return signs.rare && (text.find("RzneX") >= 0 || text.find("JK9^") >= 0);
}

int32_t RandomStringCount(TBLOCK text, int32_t& length) {
  int32_t count = 0;
  for (;;) {
    text.trimLeft();
    if (text.empty()) return count;
    const uint32_t n = text.lengthUntil(bitWhiteSpace);
    if (IsRandomString(text.head(n))) {
      count++;
      length += static_cast<int32_t>(n);
    }
    text.skip(n);
  }
}

bool CheckRandomUrl(const TBLOCKURL& url) {
  if (url.proto != upHttp || !IsSuspectSuffix(url.tld)) return false;
  if (url.host.begins("trk") ||
      IsBelow(url.host, TBLOCK(randomUrlExemptDomain)))
    return false;
  if (!url.host.begins("www.") && HasRandomLabels(url.host, url.domain))
    return true;
  const int32_t open = url.host.findByte('[');
  return open >= 0 && url.host.findByte(']', static_cast<uint32_t>(open)) >= 0;
}

int32_t HighCharCount(TBLOCK text) {
  if (text.empty() || text.length < 11) return 0;
  bool seen[256] = {};
  for (uint32_t i = 0; i < text.length; i++) seen[text[i]] = true;
  int32_t low = 0, high = 0;
  for (uint32_t c = 0x21; c < 0x80; c++) low += seen[c];
  for (uint32_t c = 0x80; c < 0x100; c++) high += seen[c];
  return low + high ? 100 * high / (low + high) : 0;
}

bool IsRandomBlock(TBLOCK word) {
  while (!word.empty() && !ConvTable[word[0]]) word.skip(1);
  while (!word.empty() && !ConvTable[word[word.length - 1]])
    word.cut(word.length - 1);
  return !word.empty() && word.length > 5 && DibitWordScore(word) > 7;
}

bool CheckRandomWords(TBLOCK text) {
  for (;;) {
    text.trimLeft(bitWordSep);
    if (text.empty()) return false;
    const uint32_t n = text.lengthUntil(bitWordSep);
    if (IsRandomBlock(text.head(n))) return true;
    text.skip(n);
  }
}
