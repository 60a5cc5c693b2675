// Words: what a cutter that looks at each byte once finds is what a reader
// finds that looks at the whole text at each place; pieces lie inside the text;
// a line has one letter; judgements write nothing past a word.
//
// Input: lines, cut at LF.

#include <stdint.h>
#include <string.h>

#include <string>

#include "content/word_tests.h"
#include "content/words.h"
#include "fuzz_util.h"

namespace {

typedef const unsigned char* P;

// End of the run of a class from p on, of at most n bytes.
P Run(P p, P end, uint32_t mask, size_t n) {
  P q = p;
  while (q < end && size_t(q - p) < n && TBLOCK::Is(*q, mask)) q++;
  return q;
}

P TrimDots(P p, P end) {
  while (end > p && end[-1] == '.') end--;
  return end;
}

// Each returns the end of a word of its kind at p, or null.
P Mail(P p, P end) {
  P q = Run(p, end, bitEmail, 400);
  if (q - p > kMaxMailWord) return nullptr;
  q = TrimDots(p, q);
  P sign = static_cast<P>(memchr(p, '@', size_t(q - p)));
  if (!sign || memchr(sign + 1, '@', size_t(q - sign - 1))) return nullptr;
  if (Run(sign + 1, q, bitDomain, 400) != q || q - sign < 4) return nullptr;
  return memchr(sign + 2, '.', size_t(q - sign - 2)) ? q : nullptr;
}

P Number(P p, P end) {
  const bool digitNext = end - p > 1 && TBLOCK::Is(p[1], bitDigit);
  if (TBLOCK::Is(*p, bitCurrency) && digitNext) return p + 1;
  if (TBLOCK::Is(*p, bitDigit) || (TBLOCK::Is(*p, bitSign) && digitNext))
    return Run(p + 1, end, bitDigit | bitNumSep, size_t(end - p));
  return nullptr;
}

P File(P p, P end) {
  if (end - p < 5 || !TBLOCK::Is(*p, bitAlpha) || p[1] != ':') return nullptr;
  P q = p;
  while (q < end && q - p < kMaxFileWord && !TBLOCK::Is(*q, bitWhiteSpace)) q++;
  return memchr(p, '\\', size_t(q - p)) ? q : nullptr;
}

P Url(P p, P end) {
  P whole = Run(p, end, bitUrl, size_t(end - p));
  P q = TrimDots(p, Run(p, end, bitUrl, kMaxUrlWord));
  std::string low(p, q);
  for (char& c : low)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  for (const char* head : {"http", "www.", "mailto:"})
    if (low.compare(0, strlen(head), head) == 0) return q;
  std::string all(p, whole);
  for (char& c : all)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  for (const char* name : {".com", ".net", ".org", ".fr"}) {
    for (size_t at = all.find(name, 1); at < kMaxUrlWord;
         at = all.find(name, at + 1)) {
      const size_t behind = at + strlen(name);
      if (TBLOCK::Is(static_cast<unsigned char>(all[at - 1]),
                     bitAlpha | bitDigit) &&
          (behind == all.size() || strchr("/?:.", all[behind])))
        return q;
    }
  }
  return nullptr;
}

int32_t Naive(P& p, P end, TBLOCK& word) {
  while (p < end && TBLOCK::Is(*p, bitWordSep)) p++;
  if (p == end) return wkNone;
  int32_t kind = wkPlain;
  P q = p;
  while (q < end && !TBLOCK::Is(*q, bitWordSep)) q++;
  if (P mail = Mail(p, end)) {
    kind = wkMail, q = mail;
  } else if (P number = Number(p, end)) {
    kind = wkNumber, q = number;
  } else if (P file = File(p, end)) {
    kind = wkFile, q = file;
  } else if (P url = Url(p, end)) {
    kind = wkUrl, q = url;
  }
  word = TBLOCK(p, static_cast<uint32_t>(q - p));
  p = q;
  return kind;
}

void CheckLine(TBLOCK line) {
  WORDCUTTER cutter(line);
  TBLOCK rest = line, found, next, expected;
  P p = line.pointer;
  for (;;) {
    const int32_t kind = Naive(p, line.end(), expected);
    Check(cutter.next(found) == kind && NextWord(rest, next) == kind);
    if (kind == wkNone) break;
    Check(found.pointer == expected.pointer &&
          found.length == expected.length && next.pointer == expected.pointer &&
          next.length == expected.length);
  }
  Check(rest.empty() && cutter.rest().empty());
}

void CheckInside(const TBLOCKVECT& words, TBLOCK text) {
  for (int32_t i = 0; i < words.count(); i++) {
    const TBLOCK word = words.get(i);
    Check(!word.empty() && IsInside(word, text));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();
  TBLOCKVECT lines(16), words(64), mails(4), subject(64);
  for (TBLOCK rest = text; !rest.empty();)
    lines.add(TBLOCK::BlockNextLine(rest), 1, 0);
  for (int32_t i = 0; i < lines.count(); i++) CheckLine(lines.get(i));

  STR letters;
  ParseLinesWords(letters, nullptr, lines, words, &mails);
  Check(
      letters.len() ==
      (lines.count() < kMaxLetteredLines ? lines.count() : kMaxLetteredLines));
  CheckInside(words, text);
  CheckInside(mails, text);
  ParseBlockWords(nullptr, text, subject, nullptr);
  CheckInside(subject, text);

  const int32_t count = words.count();
  Check(MultiLowersWordCount(words, 3) <= count);
  Check(SameLetterCount(words, 3, 0) <= SameLetterCount(words, 2, 0));
  Check(PriceCount(words) <= count);
  CheckForgedChars(text);
  // What is written over must not lie in two words.
  TBLOCKVECT plain(64);
  BlockToWords(text, plain, 0);
  const int32_t useless = BlocklistUselessVowelCount(plain, 0);
  Check(BlocklistUselessVowelCount(plain, 1) == useless);
  CheckInside(plain, text);
  return 0;
}
