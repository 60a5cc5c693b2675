// The search for a window, the one loop that most subjects ever see. Starts
// are tested in blocks: two loads, each at the distance of a probed place, and
// compares give a bit for each start. The last block overlaps the one before
// it, so that nothing behind the text is read. Grams are looked up start by
// start. Entry point: zr_window_find. Tested by regex_model_test.cc.

#include "regex/zr_window.h"

#include <emmintrin.h>
#include <string.h>

static bool FitsAt(const zr_window& window, const zr_set* sets,
                   const uint8_t* text) {
  for (uint32_t i = 0; i < window.length; i++)
    if (!zr_place_fits(window.places[i], sets, text[i])) return false;
  return true;
}

// Byte by byte: for few starts, and for windows found almost anywhere.
static uint32_t FindSlowly(const zr_window& window, const zr_set* sets,
                           const uint8_t* text, uint32_t from, uint32_t end) {
  for (uint32_t i = from; i < end; i++)
    if (FitsAt(window, sets, text + i)) return i;
  return ZR_NONE;
}

// A run of bytes that all fit one place. The last one is looked at first: what
// does not fit there rules out all starts up to it.
static uint32_t FindRun(const zr_window& window, const zr_set* sets,
                        const uint8_t* text, uint32_t length, uint32_t from) {
  const uint32_t run = window.run;
  uint32_t start = from;
  while (run <= length && start <= length - run) {
    uint32_t k = run;
    while (k > 0 && zr_place_fits(window.places[0], sets, text[start + k - 1]))
      k--;
    if (k == 0) return start;
    start += k;
  }
  return ZR_NONE;
}

static inline __m128i Load(const uint8_t* text) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

static inline __m128i Fill(uint32_t word) {
  return _mm_set1_epi32(static_cast<int>(word));
}

// The first of the starts whose bits are set that fits wholly.
static uint32_t FirstOf(const zr_window& window, const zr_set* sets,
                        const uint8_t* text, uint32_t start, uint32_t bits) {
  for (; bits; bits &= bits - 1) {
    const uint32_t at = start + static_cast<uint32_t>(__builtin_ctz(bits));
    if (FitsAt(window, sets, text + at)) return at;
  }
  return ZR_NONE;
}

// ---- Both probes are one value

struct ExactProbes {
  __m128i loose[2];
  __m128i value[2];
  const uint8_t* text[2];  // shifted by the probes' places
};

static inline __m128i ExactHits(const ExactProbes& p, uint32_t start) {
  const __m128i first = _mm_cmpeq_epi8(
      _mm_or_si128(Load(p.text[0] + start), p.loose[0]), p.value[0]);
  const __m128i second = _mm_cmpeq_epi8(
      _mm_or_si128(Load(p.text[1] + start), p.loose[1]), p.value[1]);
  return _mm_and_si128(first, second);
}

static inline uint32_t Bits(__m128i hits) {
  return static_cast<uint32_t>(_mm_movemask_epi8(hits));
}

// Skips blocks of 64 starts without any hit; the first start not skipped.
static inline uint32_t SkipExact(const ExactProbes& p, uint32_t start,
                                 uint32_t end) {
  for (; start + 64 <= end; start += 64) {
    const __m128i low =
        _mm_or_si128(ExactHits(p, start), ExactHits(p, start + 16));
    const __m128i high =
        _mm_or_si128(ExactHits(p, start + 32), ExactHits(p, start + 48));
    if (Bits(_mm_or_si128(low, high))) break;
  }
  return start;
}

static uint32_t FindExact(const zr_window& window, const zr_set* sets,
                          const uint8_t* text, uint32_t from, uint32_t end) {
  ExactProbes p;
  for (uint32_t i = 0; i < 2; i++) {
    p.loose[i] = Fill(window.probes[i].loose);
    p.value[i] = Fill(window.probes[i].low[0]);
    p.text[i] = text + window.probes[i].at;
  }
  uint32_t start = from;
  while (start + 16 <= end) {
    start = SkipExact(p, start, end);
    for (uint32_t i = 0; i < 4 && start + 16 <= end; i++, start += 16) {
      const uint32_t bits = Bits(ExactHits(p, start));
      if (!bits) continue;
      const uint32_t found = FirstOf(window, sets, text, start, bits);
      if (found != ZR_NONE) return found;
    }
  }
  if (start == end) return ZR_NONE;
  // The block that ends with the last start, less what is done already.
  const uint32_t last = end - 16;
  const uint32_t bits = Bits(ExactHits(p, last)) >> (start - last);
  return FirstOf(window, sets, text, start, bits);
}

// ---- Ranges

struct RangeProbe {
  __m128i loose;
  __m128i low[ZR_MAX_RANGES];
  __m128i width[ZR_MAX_RANGES];
  uint32_t ranges;
  const uint8_t* text;
};

static inline __m128i InRange(__m128i bytes, __m128i low, __m128i width) {
  const __m128i above = _mm_sub_epi8(bytes, low);
  return _mm_cmpeq_epi8(_mm_min_epu8(above, width), above);
}

static inline __m128i RangeHits(const RangeProbe& p, uint32_t start) {
  const __m128i bytes = _mm_or_si128(Load(p.text + start), p.loose);
  __m128i hits = InRange(bytes, p.low[0], p.width[0]);
  for (uint32_t i = 1; i < p.ranges; i++)
    hits = _mm_or_si128(hits, InRange(bytes, p.low[i], p.width[i]));
  return hits;
}

static RangeProbe MakeRangeProbe(const zr_probe& probe, const uint8_t* text) {
  RangeProbe p;
  p.loose = Fill(probe.loose);
  p.ranges = probe.ranges;
  p.text = text + probe.at;
  for (uint32_t i = 0; i < probe.ranges; i++) {
    p.low[i] = Fill(probe.low[i]);
    p.width[i] = Fill(probe.width[i]);
  }
  return p;
}

static uint32_t FindRanges(const zr_window& window, const zr_set* sets,
                           const uint8_t* text, uint32_t from, uint32_t end) {
  const RangeProbe first = MakeRangeProbe(window.probes[0], text);
  const RangeProbe second = MakeRangeProbe(window.probes[1], text);
  uint32_t start = from;
  for (;;) {
    // The last block reaches back over starts that are done already.
    const uint32_t block = start + 16 <= end ? start : end - 16;
    const __m128i hits =
        _mm_and_si128(RangeHits(first, block), RangeHits(second, block));
    const uint32_t bits = Bits(hits) >> (start - block);
    if (bits) {
      const uint32_t found = FirstOf(window, sets, text, start, bits);
      if (found != ZR_NONE) return found;
    }
    start = block + 16;
    if (start >= end) return ZR_NONE;
  }
}

// ---- Grams

static const uint32_t kCaseBits = 0x20202020;

// Behind a bit that is set.
static __attribute__((noinline)) bool IsGram(const zr_window& window,
                                             uint32_t gram) {
  const uint32_t* slots = zr_gram_slots(window);
  const uint32_t last = zr_gram_slot_count(window) - 1;
  uint32_t i = zr_gram_hash(gram) >> window.slotShift;
  for (; slots[i]; i = (i + 1) & last)
    if (slots[i] == gram) return true;
  return false;
}

static inline bool HasGram(const zr_window& window, uint32_t gram) {
  const uint32_t bit = zr_gram_hash(gram) >> window.gramShift;
  return ((window.grams[bit >> 5] >> (bit & 31)) & 1) && IsGram(window, gram);
}

static inline uint32_t LoadWord(const uint8_t* text) {
  uint32_t word;
  memcpy(&word, text, sizeof(word));
  return word | kCaseBits;
}

static uint32_t FindGrams(const zr_window& window, const uint8_t* text,
                          uint32_t length, uint32_t from) {
  const uint32_t width = window.length;
  const uint32_t mask = 0xFFFFFFFFu >> (32 - 8 * width);
  const uint32_t end = window.anchored ? 1 : length - width + 1;
  uint32_t whole = length < ZR_MAX_GRAM ? 0 : length - ZR_MAX_GRAM + 1;
  if (whole > end) whole = end;
  uint32_t i = from;
  for (; i < whole; i++)
    if (HasGram(window, LoadWord(text + i) & mask)) return i;
  // The last ones, of less than a word.
  for (; i < end; i++) {
    uint32_t gram = 0;
    memcpy(&gram, text + i, width);
    if (HasGram(window, (gram | kCaseBits) & mask)) return i;
  }
  return ZR_NONE;
}

uint32_t zr_window_find(const zr_window& window, const zr_set* sets,
                        const uint8_t* text, uint32_t length, uint32_t from) {
  if (length < window.length) return ZR_NONE;
  if (window.ended) {
    const uint32_t last = length - window.length;
    if (last < from || (window.anchored && last != 0)) return ZR_NONE;
    return FitsAt(window, sets, text + last) ? last : ZR_NONE;
  }
  if (window.run) return FindRun(window, sets, text, length, from);
  if (window.grams) return FindGrams(window, text, length, from);
  const uint32_t end = length - window.length + 1;  // behind the last start
  if (from >= end) return ZR_NONE;
  if (window.anchored)
    return from == 0 && FitsAt(window, sets, text) ? 0 : ZR_NONE;
  // A block needs 16 starts, even if it begins before `from`.
  if (window.weak || end < 16) return FindSlowly(window, sets, text, from, end);
  return window.exact ? FindExact(window, sets, text, from, end)
                      : FindRanges(window, sets, text, from, end);
}
