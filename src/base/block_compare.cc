// Comparing text whose letters are spaced out, and two operations on bytes as
// a set. Tested by block_compare_test.cc.

#include "base/tblock.h"

namespace {

// Which bytes the comparisons look past: what is no letter, and the letters
// that the caller names. `named` are all the bytes that the caller names.
struct SkipSet {
  bool skipped[256];
  bool named[256];

  explicit SkipSet(TBLOCK chars) : named() {
    const uint32_t n = chars.empty() ? 0 : chars.length;
    for (uint32_t i = 0; i < n; i++) named[chars[i]] = true;
    for (int c = 0; c < 256; c++)
      skipped[c] =
          named[c] || !TBLOCK::Is(static_cast<unsigned char>(c), bitAlpha);
  }
};

// Only the text is folded, on purpose: words of the dictionary are in lower
// case, and one that is not matches nothing but itself.
bool Agree(unsigned char inText, unsigned char inWord) {
  return inText == inWord || TBLOCK::LowerConvTable[inText] == inWord;
}

// Moves behind the skipped bytes and returns how many of them were named.
uint32_t Skip(TBLOCK& block, const SkipSet& set) {
  uint32_t n = 0;
  uint32_t named = 0;
  for (; n < block.length && set.skipped[block[n]]; n++)
    named += set.named[block[n]];
  block.skip(n);
  return named;
}

// Whether the word stands at the start of the text with a named byte somewhere
// on the way. What stands behind the word's last letter is not on the way.
bool BeginsSpacedOut(TBLOCK text, TBLOCK word, const SkipSet& set) {
  uint32_t named = 0;
  for (;;) {
    Skip(word, set);
    if (word.empty()) return named > 0;
    named += Skip(text, set);
    if (text.empty() || !Agree(text[0], word[0])) return false;
    text.skip(1);
    word.skip(1);
  }
}

}  // namespace

int TBLOCK::BlockCountChars(TBLOCK block) {
  bool seen[256] = {};
  int distinct = 0;
  const uint32_t n = block.empty() ? 0 : block.length;
  for (uint32_t i = 0; i < n; i++) {
    distinct += !seen[block[i]];
    seen[block[i]] = true;
  }
  return distinct;
}

void TBLOCK::BlockSort(TBLOCK block) {
  if (block.empty()) return;
  uint32_t counts[256] = {};
  for (uint32_t i = 0; i < block.length; i++) counts[block[i]]++;
  unsigned char* out = block.pointer;
  for (int c = 0; c < 256; c++) {
    memset(out, c, counts[c]);
    out += counts[c];
  }
}

int TBLOCK::BlockCompareWithoutChars(TBLOCK a, TBLOCK b, TBLOCK chars) {
  if (a.empty() || b.empty()) return 0;
  const SkipSet set(chars);
  for (;;) {
    Skip(a, set);
    Skip(b, set);
    if (a.empty() || b.empty()) return a.empty() && b.empty();
    if (!Agree(a[0], b[0])) return 0;
    a.skip(1);
    b.skip(1);
  }
}

int TBLOCK::BlockBeginWithoutChars(TBLOCK text, TBLOCK word, TBLOCK chars) {
  if (word.empty()) return 0;
  if (text.empty()) return 1;
  return BeginsSpacedOut(text, word, SkipSet(chars));
}

// The cost is at most the length of the text times that of the word, which is
// the dictionary's. A place that agrees may hold a byte that is skipped (an
// accented letter): then one try stands for its whole run, since a later one
// in the run sees the same letters and fewer named bytes.
int TBLOCK::BlockContainWithoutChars(TBLOCK text, TBLOCK word, TBLOCK chars) {
  if (text.empty()) return 0;
  const SkipSet set(chars);
  if (!word.empty()) Skip(word, set);
  if (word.empty()) return 1;
  const unsigned char first = word[0];
  const unsigned char* const end = text.end();
  for (const unsigned char* p = text.pointer; p < end; p++) {
    if (!Agree(*p, first)) continue;
    TBLOCK rest(p, static_cast<uint32_t>(end - p));
    if (BeginsSpacedOut(rest, word, set)) return 1;
    if (!set.skipped[*p]) continue;
    Skip(rest, set);
    p = end - rest.length - 1;
  }
  return 0;
}
