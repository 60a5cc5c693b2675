// Random strings: the counts are held against each other and against every
// window of three bytes, and the input is read as a word, a text and a URL.

#include <stdint.h>

#include "base/hash_count.h"
#include "content/block_url.h"
#include "content/random_string.h"
#include "data/letter_triples.h"
#include "fuzz_util.h"

// Bad triples among all windows, without a look at how varied the text is.
static int32_t BadWindows(TBLOCK text) {
  int32_t bad = 0;
  for (uint32_t i = 0; i + 2 < text.length; i++) {
    uint32_t number = 0;
    bool letters = true;
    for (uint32_t k = 0; k < 3; k++) {
      const uint32_t letter = ConvTable[text[i + k]];
      letters &= letter != 0;
      number = number * 26 + letter - 1;
    }
    if (letters) bad += (BadSeq3[number / 8] >> number % 8 & 1) == 0;
  }
  return bad;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();

  const int32_t bad = BadSeqCount(text);
  Check(bad == (TBLOCK::BlockCountChars(text) < 3 ? 0 : BadWindows(text)));
  Check(DibitWordScore(text) >= 3 * bad);
  HASHCOUNT counts;
  const int32_t distinct = HashSeqCount(text, counts, BadSeq3);
  Check(distinct <= bad && (distinct > 0) == (bad > 0));
  Check(HashSeqCount(text, counts, BadSeq3) == distinct);

  uint16_t digits, caseEdges, digitEdges;
  EdgeCount(text, digits, caseEdges, digitEdges);
  Check(digitEdges <= digits && digits + caseEdges <= static_cast<int>(size));
  int32_t length = 0;
  const int32_t words = RandomStringCount(text, length);
  Check(4 * words <= length && length <= static_cast<int32_t>(size));
  const int32_t share = HighCharCount(text);
  Check(share >= 0 && share <= 100);
  if (IsRandomBlock(text)) Check(size > 5);
  if (IsRandomString(text) || IsSpamSign(text)) Check(size > 3);
  CheckRandomWords(text);

  TBLOCKURL url;
  url.parseUrl(text);
  if (CheckRandomUrl(url)) Check(url.proto == upHttp && !url.host.empty());
  return 0;
}
