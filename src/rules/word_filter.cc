// The pass over words that spares most lines their search.
//
// A pattern word that is no option, and that is not looked for in disguise,
// must be in the text letter by letter, filler aside: as a word, as the front
// of one or inside of one. Those letters are a term. An alternative needs all
// of its terms, a group one of its alternatives, a line all of its groups. To
// get from the terms of a text to its lines, each line stands under some terms:
// for the group of which the alternatives are the rarest, one term of each.
//
// Whatever can't be told so reads as "may match": options, numbers, addresses,
// names, single signs, lines with tricks, what stands out of place in a damaged
// image. Entry point: linesFor. Tested by pattern_index_test.cc against
// the search of all lines.

#include "rules/word_filter.h"

#include <string.h>

#include <new>

#include "rules/keyword_compare.h"
#include "rules/pattern_index.h"
#include "rules/qm_dico.h"

namespace {

// Bytes of patterns that are looked at; those of a damaged image may all be one
// endless word.
const uint64_t kMaxTermText = 1 << 26;

// Terms have the numbers from 1 up. The last one of an alternative and of a
// group are marked.
const uint16_t kEndOfPhrase = 0x4000;
const uint16_t kEndOfGroup = 0x8000;
const uint16_t kTermMask = 0x3FFF;
const uint32_t kMaxTerms = kTermMask;

// Alternatives of a group; the search looks at no more either.
const uint32_t kMaxPhrases = 4096;
// Slots of the table while it is built.
const uint32_t kMaxTableBits = 15;
// Bits of a key in WORDFILTER::keys.
const uint32_t kKeyBits = 17;
const uint32_t kInsideBits = 15;  // of WORDFILTER::insideKeys
// Words that are known to be looked at already; those of a text repeat.
const uint32_t kKeptWords = 256;
const uint32_t kMultiplier = 0x9E3779B1;

uint32_t AddToKey(uint32_t key, unsigned char c) {
  return ((key << 5 | key >> 27) ^ c) * kMultiplier;
}

// Of bytes inside of a word or at its end.
uint32_t KeyOfLetters(uint32_t letters) {
  return letters * kMultiplier;
}

uint32_t KeyOf(const TLITERAL& literal) {
  uint32_t key = 0, letters = 0;
  for (uint32_t i = 0; i < literal.length; i++) {
    key = AddToKey(key, literal.bytes[i]);
    letters = letters << 8 | literal.bytes[i];
  }
  return literal.kind > lkHead ? KeyOfLetters(letters) : key;
}

const uint64_t kEndlessCost = ~uint64_t{0};

}  // namespace

// Builds one filter. Terms that memory is short for, and lines behind the
// limits, are left out, which the filter takes for "may match".
class WORDFILTER::BUILDER {
 public:
  BUILDER(WORDFILTER& filterToBuild, const KWIMAGE& imageToRead)
      : filter(filterToBuild),
        image(imageToRead),
        wordsLeft(image.wordCount),
        phrasesLeft(image.orCount) {}
  ~BUILDER() {
    delete[] termOf;
    delete[] weights;
    delete[] pairs;
  }
  BUILDER(const BUILDER&) = delete;
  BUILDER& operator=(const BUILDER&) = delete;

  // False when memory is short.
  bool build();

 private:
  // A line that stands under a term.
  struct TPAIR {
    uint32_t line;
    uint16_t term;
  };

  WORDFILTER& filter;
  const KWIMAGE& image;
  uint16_t* termOf = nullptr;   // of each word record, or 0
  uint32_t* weights = nullptr;  // of each term: how often texts may hold it
  TPAIR* pairs = nullptr;
  uint32_t pairCount = 0;
  uint32_t needCount = 0;
  // In a sound image no record belongs to two lines.
  uint32_t wordsLeft, phrasesLeft;

  bool allocate();
  void makeTerms();
  uint16_t addTerm(TLITERAL literal);
  bool shrinkTable();
  void addLines();
  void addLine(const TQKLINE* line);
  uint64_t addGroup(const TQKAND* group);
  uint64_t addPhrase(const TQKOR* phrase);
  void stand(uint32_t line, uint32_t from, uint32_t to);
  bool sortPairs();
};

bool WORDFILTER::BUILDER::build() {
  if (!allocate()) return false;
  makeTerms();
  if (!shrinkTable()) return false;
  addLines();
  return sortPairs();
}

bool WORDFILTER::BUILDER::allocate() {
  const uint32_t setWords = BitsetWords(image.lineCount);
  filter.tableBits = kMaxTableBits;
  filter.table = new (std::nothrow) TTERM[size_t{1} << kMaxTableBits]();
  filter.keys = new (std::nothrow) TBITSET[BitsetWords(1u << kKeyBits)]();
  filter.insideKeys =
      new (std::nothrow) TBITSET[BitsetWords(1u << kInsideBits)]();
  filter.needs = new (std::nothrow) uint16_t[image.wordCount];
  filter.needsOf = new (std::nothrow) uint32_t[size_t{image.lineCount} + 1]();
  filter.always = new (std::nothrow) TBITSET[setWords];
  termOf = new (std::nothrow) uint16_t[image.wordCount]();
  weights = new (std::nothrow) uint32_t[kMaxTerms + 1]();
  pairs = new (std::nothrow) TPAIR[image.orCount];
  if (!filter.table || !filter.keys || !filter.insideKeys || !filter.needs ||
      !filter.needsOf || !filter.always || !termOf || !weights || !pairs)
    return false;
  memset(filter.always, 0xFF, setWords * sizeof(TBITSET));
  return true;
}

void WORDFILTER::BUILDER::makeTerms() {
  uint64_t bytesLeft = kMaxTermText;
  for (uint32_t w = 0; w < image.wordCount; w++) {
    TBLOCK pattern = image.word(w);
    if (pattern.length > kMaxPatternBytes || pattern.length > bytesLeft)
      continue;
    bytesLeft -= pattern.length;
    int verdict = 0;
    if (TakeOptional(pattern) ||
        TQMDICO::MatchSpecial(TBLOCK(), pattern, TBLOCK(), verdict))
      continue;
    termOf[w] = addTerm(PatternLiteral(pattern));
  }
}

// The number of the literal's term, or 0.
uint16_t WORDFILTER::BUILDER::addTerm(TLITERAL literal) {
  if (!literal.kind) return 0;
  const uint32_t key = KeyOf(literal);
  const uint32_t mask = (1u << filter.tableBits) - 1;
  uint32_t i = filter.slotOf(key);
  for (; filter.table[i].number; i = (i + 1) & mask) {
    const TTERM& term = filter.table[i];
    if (term.key == key && term.kind == literal.kind) break;
  }
  TTERM& term = filter.table[i];
  // Short words are what texts are full of, and those that lines use often.
  const bool exact = literal.kind & (lkWhole | lkPlural);
  const uint32_t length = exact ? literal.length : literal.length - 1u;
  const uint32_t weight = 4096u >> (length < 12 ? length : 12);
  if (!term.number) {
    if (filter.termCount == kMaxTerms) return 0;
    term = {key, static_cast<uint16_t>(++filter.termCount), literal.kind};
    if (literal.kind == lkInside)
      SetBit(filter.insideKeys, key >> (32 - kInsideBits));
    else if (literal.kind == lkTail)
      filter.endsTail[literal.bytes[literal.length - 1]] = true;
    else
      SetBit(filter.keys, key >> (32 - kKeyBits));
  }
  weights[term.number] += weight;
  return term.number;
}

bool WORDFILTER::BUILDER::shrinkTable() {
  uint32_t bits = 1;
  while (bits < kMaxTableBits && (1u << bits) < 2 * filter.termCount) bits++;
  TTERM* const large = filter.table;
  TTERM* const small = new (std::nothrow) TTERM[size_t{1} << bits]();
  if (!small) return false;
  filter.table = small;
  filter.tableBits = bits;
  for (uint32_t i = 0; i < 1u << kMaxTableBits; i++) {
    if (!large[i].number) continue;
    uint32_t at = filter.slotOf(large[i].key);
    while (small[at].number) at = (at + 1) & ((1u << bits) - 1);
    small[at] = large[i];
  }
  delete[] large;
  return true;
}

void WORDFILTER::BUILDER::addLines() {
  uint32_t done = 0;
  for (uint32_t s = 0; s < image.sectionCount; s++) {
    const TQKSECTION* section = image.section(s);
    const uint32_t n = image.lineCountOf(section);
    // Sections that share lines, or that are out of order, are not looked at.
    if (section->type != stPattern || section->first < done || n == 0) continue;
    for (; done < section->first; done++) filter.needsOf[done + 1] = needCount;
    for (uint32_t l = 0; l < n; l++, done++) {
      addLine(image.line(section->first + l));
      filter.needsOf[done + 1] = needCount;
    }
  }
  for (; done < image.lineCount; done++) filter.needsOf[done + 1] = needCount;
}

// What a line with tricks needs is not known.
void WORDFILTER::BUILDER::addLine(const TQKLINE* line) {
  if (line->flags & (KWLINEFLAGSTRING | KWLINEFLAGMATCH)) return;
  const uint32_t start = needCount;
  uint32_t from = start, to = start;
  uint64_t best = kEndlessCost;
  for (uint32_t g = 0; g < line->length; g++) {
    const TQKAND* group = image.andRecord(line->text + g);
    if (!group || phrasesLeft == 0) break;
    const uint32_t here = needCount;
    const uint64_t cost = addGroup(group);
    if (cost == kEndlessCost) needCount = here;
    if (cost >= best) continue;
    best = cost;
    from = here;
    to = needCount;
  }
  if (best != kEndlessCost) stand(image.lineNumber(line), from, to);
}

// Endless for a group that may be found in any text; the sum of its
// alternatives else.
uint64_t WORDFILTER::BUILDER::addGroup(const TQKAND* group) {
  uint64_t sum = 0;
  const uint32_t n = group->count < kMaxPhrases ? group->count : kMaxPhrases;
  for (uint32_t i = 0; i < n; i++) {
    const TQKOR* phrase = image.orRecord(group->first + i);
    if (!phrase || phrasesLeft == 0) return kEndlessCost;
    phrasesLeft--;
    const uint64_t cost = addPhrase(phrase);
    if (cost == kEndlessCost) return cost;
    sum += cost;
  }
  if (n == 0) return kEndlessCost;
  filter.needs[needCount - 1] |= kEndOfGroup;
  return sum;
}

// The weight of its rarest term.
uint64_t WORDFILTER::BUILDER::addPhrase(const TQKOR* phrase) {
  uint64_t best = kEndlessCost;
  for (uint32_t k = 0; k < phrase->count; k++) {
    if (!image.wordRecord(phrase->first + k) || wordsLeft == 0)
      return kEndlessCost;
    wordsLeft--;
    const uint16_t term = termOf[phrase->first + k];
    if (!term) continue;
    filter.needs[needCount++] = term;
    if (weights[term] < best) best = weights[term];
  }
  if (best != kEndlessCost) filter.needs[needCount - 1] |= kEndOfPhrase;
  return best;
}

// Puts a line under the rarest term of each phrase of a group.
void WORDFILTER::BUILDER::stand(uint32_t line, uint32_t from, uint32_t to) {
  filter.always[line / 32] &= ~(1u << line % 32);
  uint16_t rarest = 0;
  for (uint32_t i = from; i < to; i++) {
    const uint16_t term = filter.needs[i] & kTermMask;
    if (!rarest || weights[term] < weights[rarest]) rarest = term;
    if (!(filter.needs[i] & kEndOfPhrase)) continue;
    pairs[pairCount++] = {line, rarest};
    rarest = 0;
  }
}

// A counting sort by term.
bool WORDFILTER::BUILDER::sortPairs() {
  filter.underOf = new (std::nothrow) uint32_t[size_t{filter.termCount} + 2]();
  filter.under = new (std::nothrow) uint32_t[pairCount];
  if (!filter.underOf || !filter.under) return false;
  uint32_t* const ends = filter.underOf + 1;
  for (uint32_t i = 0; i < pairCount; i++) ends[pairs[i].term]++;
  for (uint32_t t = 0; t < filter.termCount; t++) ends[t + 1] += ends[t];
  for (uint32_t i = pairCount; i-- > 0;)
    filter.under[--ends[pairs[i].term]] = pairs[i].line;
  // Each entry is the beginning of its term now, one place too far.
  for (uint32_t t = 0; t <= filter.termCount; t++)
    filter.underOf[t] = filter.underOf[t + 1];
  filter.underOf[filter.termCount + 1] = pairCount;
  return true;
}

WORDFILTER::WORDFILTER(const KWIMAGE& image)
    : endsTail(),
      lineCount(image.lineCount),
      termCount(0),
      table(nullptr),
      tableBits(0),
      insideKeys(nullptr),
      keys(nullptr),
      needs(nullptr),
      needsOf(nullptr),
      under(nullptr),
      underOf(nullptr),
      always(nullptr),
      ready(false) {
  for (uint32_t c = 0; c < 256; c++) {
    const unsigned char byte = static_cast<unsigned char>(c);
    const unsigned char word[] = {'a', byte, 'a'};
    plain[c] = PlainByte(byte);
    mayEndAhead[c] = (LiteralKindsAt(TBLOCK(word, 3), 0) & lkTail) != 0;
  }
  ready = BUILDER(*this, image).build();
}

WORDFILTER::~WORDFILTER() {
  delete[] table;
  delete[] keys;
  delete[] insideKeys;
  delete[] needs;
  delete[] needsOf;
  delete[] under;
  delete[] underOf;
  delete[] always;
}

// ==== The words of a text

uint32_t NextBit(const TBITSET* set, uint32_t from, uint32_t end) {
  if (from >= end) return end;
  TBITSET left = set[from / 32] >> (from % 32) << (from % 32);
  while (!left) {
    from = from / 32 * 32 + 32;
    if (from >= end) return end;
    left = set[from / 32];
  }
  from = from / 32 * 32 + static_cast<uint32_t>(__builtin_ctz(left));
  return from < end ? from : end;
}

namespace {

// Of a word among those kept.
uint32_t PlaceOf(TBLOCK word) {
  uint32_t key = word.length;
  for (uint32_t i = 0; i < word.length && i < 8; i++) key = key * 31 + word[i];
  return key % kKeptWords;
}

}  // namespace

TBITSET* WORDFILTER::linesFor(const TBLOCKVECT& words) const {
  if (!ready) return nullptr;
  const uint32_t setWords = BitsetWords(lineCount);
  const uint32_t termWords = BitsetWords(termCount);
  TBITSET* const lines = new (std::nothrow) TBITSET[setWords];
  TBITSET* const present = new (std::nothrow) TBITSET[termWords + setWords]();
  if (!lines || !present) {
    delete[] lines;
    delete[] present;
    return nullptr;
  }
  memcpy(lines, always, setWords * sizeof(TBITSET));
  TBITSET* const tried = present + termWords;
  TBLOCK kept[kKeptWords];
  for (int32_t i = 0; i < words.count(); i++) {
    const TBLOCK word = words.get(i);
    TBLOCK& last = kept[PlaceOf(word)];
    if (word.equals(last, TBLOCK::NoConvTable)) continue;
    last = word;
    findTerms(word, present);
  }
  for (uint32_t w = 0; w < termWords; w++) {
    for (TBITSET left = present[w]; left; left &= left - 1) {
      const uint32_t term = w * 32 + static_cast<uint32_t>(__builtin_ctz(left));
      for (uint32_t i = underOf[term]; i < underOf[term + 1]; i++) {
        const uint32_t line = under[i];
        if (HasBit(tried, line)) continue;
        SetBit(tried, line);
        if (mayMatch(line, present)) SetBit(lines, line);
      }
    }
  }
  delete[] present;
  return lines;
}

void WORDFILTER::findTerms(TBLOCK word, TBITSET* present) const {
  uint32_t key = 0, letters = 0, n = 0;
  for (uint32_t i = 0; i < word.length; i++) {
    const unsigned char c = plain[word[i]];
    if (!c) continue;
    letters = letters << 8 | c;
    for (uint32_t mask = 0xFFFFFFFF; mask >= 0xFFFFFF; mask >>= 8) {
      const uint32_t inside = KeyOfLetters(letters & mask);
      if (HasBit(insideKeys, inside >> (32 - kInsideBits)))
        addTerms(inside, lkInside, present);
    }
    const bool mayEnd = i + 2 >= word.length || mayEndAhead[word[i + 1]];
    if (mayEnd && endsTail[c] && (LiteralKindsAt(word, i) & lkTail)) {
      addTerms(KeyOfLetters(letters & 0xFFFF), lkTail, present);
      addTerms(KeyOfLetters(letters & 0xFF), lkTail, present);
    }
    if (n++ >= sizeof TLITERAL::bytes) continue;
    key = AddToKey(key, c);
    if (HasBit(keys, key >> (32 - kKeyBits)))
      addTerms(key, LiteralKindsAt(word, i), present);
  }
}

void WORDFILTER::addTerms(uint32_t key, uint32_t kinds,
                          TBITSET* present) const {
  const uint32_t mask = (1u << tableBits) - 1;
  for (uint32_t i = slotOf(key); table[i].number; i = (i + 1) & mask)
    if (table[i].key == key && (table[i].kind & kinds))
      SetBit(present, table[i].number);
}

// Whether each group has an alternative of which all terms are there.
bool WORDFILTER::mayMatch(uint32_t line, const TBITSET* present) const {
  bool all = true, any = false;
  for (uint32_t i = needsOf[line]; i < needsOf[line + 1]; i++) {
    const uint16_t need = needs[i];
    all = all && HasBit(present, need & kTermMask);
    if (!(need & kEndOfPhrase)) continue;
    any = any || all;
    all = true;
    if (!(need & kEndOfGroup)) continue;
    if (!any) return false;
    any = false;
  }
  return true;
}
