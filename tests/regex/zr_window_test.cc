// The search for windows against a search byte by byte, and matching with all
// that is derived of a pattern against matching without.

#include "regex/zr_window.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "regex/zr_search.h"
#include "rules/qm_dico.h"

namespace {

// Sets of every form: one byte, both cases, ranges, more ranges than a probe
// has, all but one, none.
const char* const kSets[] = {
    "a",    "aA",   "a-f", "a-cA-C", "bdfh-jlnp", "0-9.-",   "^a",
    "x-zA", "^a-y", "",    "bB",     "a-cA-C!0",  "\xE9\xC9"};

zr_set SetOf(const char* text) {
  zr_set set = {};
  const bool negated = *text == '^';
  if (negated) text++;
  for (; *text; text++) {
    const uint32_t low = static_cast<uint8_t>(*text);
    uint32_t high = low;
    if (text[1] == '-' && text[2]) {
      high = static_cast<uint8_t>(text[2]);
      text += 2;
    }
    for (uint32_t c = low; c <= high; c++) set.bits[c >> 5] |= 1u << (c & 31);
  }
  for (uint32_t i = 0; negated && i < 8; i++) set.bits[i] = ~set.bits[i];
  return set;
}

struct Sample {
  zr_set sets[ZR_MAX_PLACES];
  uint32_t length;
  bool anchored;
  bool ended;
};

bool FitsAt(const Sample& sample, const std::string& text, uint32_t at) {
  if (at + sample.length > text.size()) return false;
  if (sample.anchored && at != 0) return false;
  if (sample.ended && at + sample.length != text.size()) return false;
  for (uint32_t i = 0; i < sample.length; i++)
    if (!zr_set_has(sample.sets[i], static_cast<uint8_t>(text[at + i])))
      return false;
  return true;
}

uint32_t FindByHand(const Sample& sample, const std::string& text,
                    uint32_t from) {
  for (uint32_t i = from; i < text.size(); i++)
    if (FitsAt(sample, text, i)) return i;
  return ZR_NONE;
}

Sample MakeSample(Numbers& numbers, uint32_t run) {
  Sample sample = {};
  sample.length = run ? run : 1 + numbers.Below(numbers.Below(2) ? 3 : 16);
  sample.anchored = !run && numbers.Below(8) == 0;
  sample.ended = !run && numbers.Below(8) == 0;
  const uint32_t kinds = sizeof(kSets) / sizeof(*kSets);
  const uint32_t one = numbers.Below(kinds);
  for (uint32_t i = 0; i < sample.length; i++)
    sample.sets[i] = SetOf(kSets[run ? one : numbers.Below(kinds)]);
  return sample;
}

// Mostly letters that the sets are made of, here and there a fit planted.
std::string MakeText(Numbers& numbers, const Sample& sample) {
  const uint32_t length = numbers.Below(numbers.Below(2) ? 40 : 200);
  std::string text;
  for (uint32_t i = 0; i < length; i++)
    text += "abcABCz!0.\xE9"[numbers.Below(11)];
  if (length < sample.length || numbers.Below(3) == 0) return text;
  const uint32_t at = numbers.Below(length - sample.length + 1);
  for (uint32_t i = 0; i < sample.length; i++)
    for (uint32_t c = numbers.Below(256), n = 0; n < 256; n++)
      if (zr_set_has(sample.sets[i], (c + n) & 255)) {
        text[at + i] = static_cast<char>(c + n);
        break;
      }
  return text;
}

// Takes away all that is derived to reject or to skip; keeps what a walk
// cannot do without.
void Strip(zr_regex* preg) {
  zr_search* search = preg->search;
  search->coverCount = search->secondCount = 0;
  search->faithful = 1;
  zr_plan* plans[] = {&search->full, &search->fast};
  const uint32_t nodeCounts[] = {preg->nodeCount, preg->fastNodeCount};
  const uint32_t groupCounts[] = {preg->groupCount, preg->fastGroupCount};
  for (uint32_t i = 0; i < 2; i++) {
    memset(plans[i]->starts, 0, groupCounts[i] * sizeof(zr_start));
    for (uint32_t k = 0; k < nodeCounts[i]; k++)
      plans[i]->follows[k] = zr_follow{{ZR_NONE, 0xFF, 0xFF}, 1, 0, 0, 0};
  }
}

zr_regex* Compile(const char* pattern) {
  zr_regex* preg = zr_regalloc();
  EXPECT_EQ(ZR_OK, zr_regcomp(preg, pattern, 0)) << pattern;
  return preg;
}

// A text out of pieces that the patterns below ask for.
std::string MakeSubject(Numbers& numbers) {
  static const char* const kPieces[] = {"Dear ",
                                        "dear",
                                        "ab",
                                        "abc",
                                        "@",
                                        "example",
                                        ".com",
                                        ".net",
                                        "http://",
                                        "https",
                                        "://",
                                        "/",
                                        " ",
                                        "\n",
                                        "12",
                                        "345",
                                        "-",
                                        "$",
                                        "XYZ",
                                        "a",
                                        "free ",
                                        "FREE",
                                        "now",
                                        "\t",
                                        "foo",
                                        "bar",
                                        "Fo",
                                        "oo",
                                        "aaaaaaaaaaaaaaaaaaaaaa",
                                        "_",
                                        "MiXed",
                                        "\xE9",
                                        "\xC9t\xE9",
                                        "<b>",
                                        "=?",
                                        "abcdefghijklmnopqrstuvwxyz",
                                        "?="};
  const uint32_t count = 1 + numbers.Below(numbers.Below(2) ? 6 : 50);
  std::string text;
  for (uint32_t i = 0; i < count; i++)
    text += kPieces[numbers.Below(sizeof(kPieces) / sizeof(*kPieces))];
  return text;
}

std::string Answer(const zr_regex* preg, const HeapText& text,
                   uint32_t nmatch) {
  zr_pair pairs[8] = {};
  const char* bytes = reinterpret_cast<const char*>(text.view().pointer);
  const int code =
      zr_regexec_len(preg, bytes, nmatch, pairs, 0, text.view().length);
  std::string out = std::to_string(code);
  for (uint32_t i = 0; i < nmatch; i++)
    out += " " + std::to_string(pairs[i].start) + "," +
           std::to_string(pairs[i].end);
  return out;
}

}  // namespace

TEST(ZrWindow, FindsWhatASearchByHandFinds) {
  Numbers numbers(7);
  uint32_t found = 0;
  for (uint32_t round = 0; round < 3000; round++) {
    const uint32_t run = round % 4 == 3 ? 4 + numbers.Below(9) : 0;
    const Sample sample = MakeSample(numbers, run);
    zr_search search = {};
    zr_draft draft = {};
    draft.length = sample.length;
    draft.anchored = sample.anchored;
    draft.ended = sample.ended;
    draft.run = run;
    for (uint32_t i = 0; i < sample.length; i++)
      ASSERT_TRUE(zr_search_place(&search, sample.sets[i], &draft.places[i]));
    ASSERT_EQ(0u, zr_search_add(&search, draft));
    const std::string text = MakeText(numbers, sample);
    const HeapText copy(text);
    for (uint32_t from = 0; from <= text.size() + 1; from++) {
      const uint32_t want = FindByHand(sample, text, from);
      ASSERT_EQ(want,
                zr_window_find(search.windows[0], search.sets,
                               copy.view().pointer, copy.view().length, from))
          << "round " << round << " from " << from;
      if (want != ZR_NONE) found++;
    }
    free(search.sets);
    free(search.windows);
  }
  EXPECT_GT(found, 20000u);
}

// What a table of grams finds is what one of its pieces stands for, no less,
// and nothing that differs from all of them by more than the case bit.
TEST(ZrWindow, GramsAreFoundWhereAPieceStands) {
  Numbers numbers(13);
  uint32_t found = 0;
  for (uint32_t round = 0; round < 1500; round++) {
    zr_search* search = static_cast<zr_search*>(calloc(1, sizeof(zr_search)));
    ASSERT_TRUE(search);
    zr_pieces pieces = {};
    Sample samples[6];
    const uint32_t count = 1 + numbers.Below(6);
    const bool anchored = numbers.Below(4) == 0;
    uint32_t least = ZR_MAX_GRAM;  // of those with 3 or more
    for (uint32_t k = 0; k < count; k++) {
      samples[k] = Sample{};
      samples[k].length = 1 + numbers.Below(ZR_MAX_GRAM);
      samples[k].anchored = anchored;
      zr_draft draft = {};
      draft.length = samples[k].length;
      for (uint32_t i = 0; i < draft.length; i++) {
        samples[k].sets[i] = SetOf(kSets[numbers.Below(3)]);
        ASSERT_TRUE(
            zr_search_place(search, samples[k].sets[i], &draft.places[i]));
      }
      const uint32_t piece = zr_grams_piece(search, draft, true, &pieces);
      ASSERT_EQ(k, piece);
      if (k) pieces.list[k - 1].next = k;
      if (pieces.list[k].length == 3) least = 3;
    }
    const zr_grams grams = {&pieces, 0, true, anchored, 0};
    const uint32_t windows = zr_grams_add(search, grams);
    ASSERT_NE(0u, windows);
    // All that counts of a longer piece is what it begins with.
    for (uint32_t k = 0; k < count; k++) {
      samples[k].length = std::min<uint32_t>(pieces.list[k].length, least);
      for (uint32_t i = 0; i < samples[k].length; i++)
        for (uint32_t c = 0x40; c < 0x60; c++) {
          if (zr_set_has(samples[k].sets[i], c))
            zr_set_add(&samples[k].sets[i], c + 0x20);
          if (zr_set_has(samples[k].sets[i], c + 0x20))
            zr_set_add(&samples[k].sets[i], c);
        }
    }
    const std::string text = MakeText(numbers, samples[0]);
    const HeapText copy(text);
    for (uint32_t from = 0; from <= text.size(); from++) {
      uint32_t want = ZR_NONE;
      for (uint32_t k = 0; k < count; k++) {
        const uint32_t at = FindByHand(samples[k], text, from);
        if (at < want) want = at;
      }
      uint32_t got = ZR_NONE;
      for (uint32_t i = 0; i < windows; i++)
        got = std::min(
            got, zr_window_find(search->windows[i], search->sets,
                                copy.view().pointer, copy.view().length, from));
      ASSERT_EQ(want, got) << "round " << round << " from " << from;
      if (want != ZR_NONE) found++;
    }
    free(pieces.list);
    zr_search_free(search);
  }
  EXPECT_GT(found, 10000u);
}

TEST(ZrSearch, WhatIsDerivedChangesNoAnswer) {
  static const char* const kPatterns[] = {
      "(?i)dear (abc|foo|free)", "[a-z]+@[a-z]+\\.(com|net)", "foo.*bar",
      "(?i)https?://[^/ ]*@", "^(http|free|12)", "(^foo|bar)[0-9]+",
      "[a-z]{20,}", "([a-z]{1,3} ){2}", "(\\w+ ){3}", "[0-9]{1,3}-[0-9]{2,}$",
      "x?y?(abc|[0-9]{3})", "(a|ab)(c|bcd)*@", "(foo|ba+r)+\\$", ".+free",
      ".*\\n.*now$", "\\s+$", "a?b?c?[0-9]", "[^a-z]{3}\\w", "(?i)\xE9t\xE9",
      "(a(?i)b|FOO)(?-i)c", "((dear|free) ?)+now", "(=\\?|<b>)[a-z]*(\\?=|@)",
      "[a-z]*[0-9]$|foo\\n", "\\d+ ?(now|XYZ|-)", "[A-Z]{3}|\\$[0-9]+",
      "(ab)+c@", "(a{2,30}|foo){2,}", "[a-m]{2,9}[n-z]",
      "(?i)(free|now|dear)[- ](foo|bar)", "(a+)-\\1", "a{5,9}[^a]", "_|^a|@$",
      // The mask changes behind the first element; anchors that may be left
      // out.
      "22^[5-3](foobar(a-|b@))+c", "[^a]+(?i)B", "[^a]+(?i)", "b(^){0}a+(b|f)",
      "[a-z]{2,}(^)?[0-9_]",
      // Ends of the text, also of alternatives, and behind long literals.
      "[a-z]{2,3}$", "(now|12)$|foo$", "aaaaaaaaaaaaaaaaaaaaaa[a@]?$",
      "aaaaaaaaaaaaaaaaaaaaaa$", "[a-z]+([0-9]-)?$", "([a-o]{3}r?)+($)?/",
      "[a-z]+([0-9]-)?[b@]", "[a-z]{1,3}@|\\w{2,3}\\$", "foo($)?bar",
      "bcdefghijklmnopqrstuvwxyz$",
      // Many alternatives: grams, alone, behind an anchor and as starts.
      "(?i)(free|now|XYZ|dear|foo|345) ?(abc|bar|@|-|12|=)",
      "(?i)^https?://[^ ]*(free|abc|XYZ|345|bar|oo)",
      "^(free|now|XYZ|dear|foo|345|abc|ab|bar|http)[a-z@ ]",
      "(^|\\.)(free|now|com|net|abc|bar|example)($|/)",
      "FREE|dear [^a]|foo?b|a+345|XYZ\\$|n[aeo]w|_|[0-9]-",
      "(?i)(dear|free|foo|bar|now|abc|oo|XYZ|http|345) ?[a-z]+@",
      "[a-z]@|(free|n(o|e)w|(XYZ|abc|12[0-9])+) (dear|foo)",
      "(?i)\xC9t\xE9|\xE9 |free\n|now\t|<B>|=\\?|345-|oobar|XYZ_"};
  Numbers numbers(11);
  uint32_t matches = 0;
  for (const char* pattern : kPatterns) {
    zr_regex* derived = Compile(pattern);
    zr_regex* plain = Compile(pattern);
    Strip(plain);
    for (uint32_t round = 0; round < 400; round++) {
      const HeapText text(MakeSubject(numbers));
      for (uint32_t nmatch : {0u, 8u}) {
        const std::string want = Answer(plain, text, nmatch);
        ASSERT_EQ(want, Answer(derived, text, nmatch))
            << pattern << " on " << text.str();
        if (want[0] == '0') matches++;
      }
    }
    zr_regfree(derived);
    zr_regfree(plain);
  }
  EXPECT_GT(matches, 3000u);
}

// The same for all patterns of the dictionary that is linked in, on texts made
// of what they are written with.
TEST(ZrSearch, ChangesNoAnswerOfTheDictionary) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  dico.precompileRegexesIntoPool();
  Numbers numbers(17);
  uint32_t matches = 0;
  for (int32_t slot = pool.first(); slot >= 0; pool.next(slot)) {
    const std::string pattern = Str(pool.getBlock(slot));
    zr_regex* derived = Compile(pattern.c_str());
    zr_regex* plain = Compile(pattern.c_str());
    Strip(plain);
    for (uint32_t round = 0; round < 12; round++) {
      std::string text = round % 3 ? "" : MakeSubject(numbers);
      for (uint32_t k = 1 + numbers.Below(4); k > 0; k--) {
        const uint32_t length = 1 + numbers.Below(24);
        for (uint32_t i = numbers.Below(uint32_t(pattern.size())), n = 0;
             i < pattern.size() && n < length; i++)
          if (!strchr("\\()[]|^$*+?", pattern[i]) || numbers.Below(9) == 0)
            text += pattern[i], n++;
      }
      const HeapText subject(text);
      const std::string want = Answer(plain, subject, 0);
      ASSERT_EQ(want, Answer(derived, subject, 0)) << pattern << " on " << text;
      if (want == "0") matches++;
    }
    zr_regfree(derived);
    zr_regfree(plain);
  }
  EXPECT_GT(matches, 0u);
}
