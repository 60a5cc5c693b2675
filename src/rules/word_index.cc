// The index of a list of words. Tested by keyword_search_test.cc and
// pattern_index_test.cc, which hold searches by it against one word at a time.

#include "rules/word_index.h"

#include <string.h>

#include <new>

namespace {

// Keys that a word is looked up by: none, its own, two look-alikes.
const uint32_t kMaxWordKeys = 4;

// Keys of the letters that a word's first byte may stand for.
const char* LookAlikes(unsigned char byte) {
  switch (byte) {
    case '0':
      return "O";
    case '1':
      return "IL";
    case '3':
    case 0xC7:
      return "E";
    case '4':
    case '@':
      return "A";
    case '5':
    case '$':
      return "S";
    case '6':
      return "BG";
    case '|':
      return "L";
    case 'O':
      return "#";
    case 'l':
      return "I";
    default:
      return "";
  }
}

// The keys that a word is tried under, each once; their number.
uint32_t WordKeys(TBLOCK word, unsigned char keys[kMaxWordKeys]) {
  uint32_t n = 0;
  keys[n++] = 0;
  const unsigned char own = GetWordKey(word);
  if (own) keys[n++] = own;
  if (word.length <= 3) return n;
  for (const char* key = LookAlikes(word[0]); *key; key++)
    keys[n++] = static_cast<unsigned char>(*key);
  return n;
}

}  // namespace

TWORDINDEX::TWORDINDEX(const TBLOCKVECT& list, const WORDFILTER* filterOfLines)
    : words(list),
      shapes(nullptr),
      sets(nullptr),
      parts(0),
      wordsOfKey(nullptr),
      bytes(0),
      filter(filterOfLines),
      mayMatch(nullptr),
      asked(false),
      tried(false),
      built(false) {}

TWORDINDEX::~TWORDINDEX() {
  delete[] shapes;
  delete[] sets;
  delete[] wordsOfKey;
  delete[] mayMatch;
}

const TBITSET* TWORDINDEX::lines() {
  if (!asked && filter) mayMatch = filter->linesFor(words);
  asked = true;
  return mayMatch;
}

bool TWORDINDEX::build() {
  if (!tried) built = indexShapes() && indexKeys();
  tried = true;
  return built;
}

void TWORDINDEX::addToSets(uint32_t firstSet, uint32_t letters, uint32_t word) {
  const uint64_t bit = uint64_t{1} << (word % kWordsInPart);
  uint64_t* part = sets + size_t{firstSet} * parts + word / kWordsInPart;
  for (uint32_t left = letters & (kAllLetters | kOtherBit); left;
       left &= left - 1)
    part[size_t{LowestBit(left)} * parts] |= bit;
}

bool TWORDINDEX::indexShapes() {
  const uint32_t n = static_cast<uint32_t>(words.count());
  parts = (n + kWordsInPart - 1) / kWordsInPart;
  shapes = new (std::nothrow) TWORDSHAPE[n];
  sets = new (std::nothrow) uint64_t[size_t{kWordSets} * parts]();
  if (!shapes || !sets) return false;
  for (uint32_t i = 0; i < n; i++) {
    const TBLOCK word = words.get(static_cast<int32_t>(i));
    const TWORDSHAPE shape = WordShape(word);
    bytes += int64_t{word.length} + 1;
    shapes[i] = shape;
    addToSets(kFirstSets, shape.first, i);
    addToSets(kAheadSets, shape.ahead, i);
    addToSets(kLetterSets, shape.letters, i);
  }
  return true;
}

// A counting sort by key: first the sizes, one place up, then the words.
bool TWORDINDEX::indexKeys() {
  unsigned char keys[kMaxWordKeys];
  memset(keyOffset, 0, sizeof keyOffset);
  const int32_t wordCount = words.count();
  uint32_t total = 0;
  for (int32_t i = 0; i < wordCount; i++) {
    const TBLOCK word = words.get(i);
    const uint32_t n = word.empty() ? 0 : WordKeys(word, keys);
    for (uint32_t k = 0; k < n; k++) keyOffset[keys[k] + 1]++;
    total += n;
  }
  wordsOfKey = new (std::nothrow) uint32_t[total];
  if (!wordsOfKey) return false;
  for (int32_t i = 0; i < 256; i++) keyOffset[i + 1] += keyOffset[i];
  uint32_t next[256];
  for (int32_t i = 0; i < 256; i++) next[i] = keyOffset[i];
  for (int32_t i = 0; i < wordCount; i++) {
    const TBLOCK word = words.get(i);
    const uint32_t n = word.empty() ? 0 : WordKeys(word, keys);
    for (uint32_t k = 0; k < n; k++)
      wordsOfKey[next[keys[k]]++] = static_cast<uint32_t>(i);
  }
  return true;
}
