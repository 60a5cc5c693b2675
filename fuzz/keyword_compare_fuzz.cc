// A word against a pattern word. Two bytes of options, one that says where the
// pattern ends; then the pattern and the words, cut at NUL, each in a buffer of
// exactly its size.

#include <stdint.h>

#include "fuzz_util.h"
#include "rules/keyword_compare.h"
#include "rules/keyword_image.h"
#include "rules/qm_dico.h"

namespace {

// Tricks that need no option.
const uint32_t kFreeTricks = moBroken | moNear | moFound;

void CheckResult(uint32_t result, uint32_t options) {
  if (!result) return;
  Check(result & moFound);
  const bool odd = (options & moTips) != 0;
  Check(!(result & ~(options | kFreeTricks | (odd ? moUseless : 0))));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size < 3) return 0;
  const uint32_t options =
      (bytes[0] | static_cast<uint32_t>(bytes[1]) << 8) & KWLINEFLAGMATCH;
  TBLOCK rest(bytes + 3, static_cast<uint32_t>(size - 3));
  const HeapText copy(rest.pointer, rest.head(bytes[2]).length);
  const TBLOCK pattern = copy.view();
  rest = rest.from(pattern.length);
  const HeapText text(rest.pointer, rest.length);
  TBLOCKVECT words(0);
  TBLOCK tail = text.view();
  while (!tail.empty()) words.add(TBLOCK::BlockBeforeChar(tail, 0, 0, 0), 1, 0);
  const TBLOCK word = words.get(0);

  int32_t index = 0;
  const uint32_t result =
      BlockCompareKeyword(word, pattern, options, 0, &words, &index);
  CheckResult(result, options);
  Check(index >= 0 && (!index || (index < words.count() && result)));
  // The test ahead of the comparison refuses nothing that would match.
  const bool may = MayMatch(WordShape(word), PatternShape(pattern), options);
  if (result && !pattern.empty() && pattern[0] != '*') Check(may);
  // Tricks add matches and take none away.
  const uint32_t plain = BlockCompareKeyword(word, pattern, options & moPlural,
                                             0, nullptr, nullptr);
  CheckResult(plain, 0);
  if (plain) Check(result);
  // What matches as a whole matches as a beginning, where bars are read alike.
  if (result && !(options & moSplit) && word.findByte('|') < 0)
    Check(BlockCompareKeyword(word, pattern, options, 1, 0, 0));

  int64_t work = INT32_MAX;
  const uint32_t wild =
      BlockCompareWildcard(word, pattern, options, &words, &index, work);
  CheckResult(wild, options);
  if (wild) Check(may);
  // A comparison is short, and there is at most one for each byte.
  Check(INT32_MAX - work <=
        int64_t{word.length + pattern.length + 1} * (pattern.length * 2 + 260));
  int verdict = -1;
  const int special =
      TQMDICO::MatchSpecial(word, pattern, words.get(1), verdict);
  Check(special == (verdict >= 0));
  GetWordKey(word);
  return 0;
}
