// Words: what a cutter that looks at each byte once finds is what is found
// anew at each place; pieces lie inside the text; a line has one letter;
// judgements write nothing past a word.
//
// Input: lines, cut at LF.

#include <stdint.h>

#include "content/word_tests.h"
#include "content/words.h"
#include "fuzz_util.h"

namespace {

// A cutter remembers what it has seen ahead; NextWord looks anew.
void CheckLine(TBLOCK line) {
  WORDCUTTER cutter(line);
  TBLOCK rest = line, found, next;
  for (;;) {
    const int32_t kind = NextWord(rest, next);
    Check(cutter.next(found) == kind);
    if (kind == wkNone) break;
    Check(found.pointer == next.pointer && found.length == next.length);
    Check(!next.empty() && next.end() == rest.pointer);
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
