// The search for windows against a search byte by byte. That searches change no
// answer is shown by regex_model_test.cc.

#include "regex/zr_window.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "base/heap_text.h"
#include "regex/zr_search.h"

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
