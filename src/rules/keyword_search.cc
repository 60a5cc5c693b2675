// The words of a text against the pattern lines of a section.
//
// A line is tried at the words whose key it has. Its first group is then looked
// for from there to the end of the text, so a try that fails nearly always
// settles the line for all later words; TLINETRY tells from which word on
// another try could end differently. What a try has seen of each group is kept
// for the next one. That, and the letters that a word may start with, keep the
// search near-linear: see TryLine and FindGroup.
//
// Entry points: findKeywords and the members of TQMDICO below it. Tested by
// keyword_search_test.cc, measured by bench/keyword_bench.cc.

#include <stdlib.h>

#include <new>

#include "base/score.h"
#include "rules/keyword_compare.h"
#include "rules/qm_dico.h"

namespace {

// A line counts at most this often in one message.
const uint16_t kMaxLineMatches = 3;
// Words that the joiner ">" looks at.
const int32_t kNearWords = 20;
// A line that fails over and over in a long text is given up once its windows
// held this many times the words of the text.
const int64_t kMaxLinePasses = 64;
// Alternatives of one group, and words of a phrase, that are looked at; a
// damaged image may claim any number.
const uint32_t kMaxAlternatives = 4096;
const uint32_t kMaxPhraseWords = 256;
const int32_t kNever = 0x7FFFFFFF;
// Keys that a word is looked up by: none, its own, two look-alikes.
const uint32_t kMaxWordKeys = 4;

// Bytes that a keyword in disguise may stand between.
const uint32_t kBrokenBits =
    bitWordBreak | bitWhiteSpace | bitNonBreaking | bitUseless;

// A phrase that was found.
struct TPHRASEMATCH {
  int32_t used;   // words of the text; 0: not found
  uint32_t bits;  // of its last comparison
  uint32_t all;   // of all of them
};

// What the tries of a line have seen of one group: no match at the words from
// `from` up to `to`; with match.used one at `to`.
struct TGROUPMEMO {
  int32_t from, to;
  TPHRASEMATCH match;
};
const uint32_t kMemoGroups = 8;

}  // namespace

// One search: the words and what is known of them.
struct TKEYWORDSEARCH {
  const TBLOCKVECT& words;
  TBLOCK context;  // the recipient's address
  int onlyWithTips;
  TWORDSTARTS* starts;      // owned; of each word, or null
  uint32_t* wordsOfKey;     // owned; indexes of words, ascending for each key
  uint32_t keyOffset[257];  // of each key's first in wordsOfKey
  int64_t work;             // words that the present line may still look at
  TGROUPMEMO memo[kMemoGroups];  // of the present line
  int64_t sum;
  int32_t hits;

  TKEYWORDSEARCH(const TBLOCKVECT& list, TBLOCK recipient, int tipsOnly);
  ~TKEYWORDSEARCH();
  TKEYWORDSEARCH(const TKEYWORDSEARCH&) = delete;
  TKEYWORDSEARCH& operator=(const TKEYWORDSEARCH&) = delete;

  // False when memory is short.
  bool indexStarts();
  bool indexKeys(int32_t wordCount);
  void startLine();
};

TKEYWORDSEARCH::TKEYWORDSEARCH(const TBLOCKVECT& list, TBLOCK recipient,
                               int tipsOnly)
    : words(list),
      context(recipient),
      onlyWithTips(tipsOnly),
      starts(nullptr),
      wordsOfKey(nullptr),
      keyOffset(),
      work(0),
      memo(),
      sum(0),
      hits(0) {}

TKEYWORDSEARCH::~TKEYWORDSEARCH() {
  delete[] starts;
  delete[] wordsOfKey;
}

void TKEYWORDSEARCH::startLine() {
  work = kMaxLinePasses * (int64_t{words.count()} + 32);
  for (TGROUPMEMO& group : memo) group = TGROUPMEMO();
}

bool TKEYWORDSEARCH::indexStarts() {
  const int32_t n = words.count();
  starts = new (std::nothrow) TWORDSTARTS[static_cast<uint32_t>(n)];
  if (!starts) return false;
  for (int32_t i = 0; i < n; i++) starts[i] = WordStarts(words.get(i));
  return true;
}

namespace {

// Keys of the letters that a word's first byte may stand for.
struct TKEYLOOKALIKE {
  unsigned char byte;
  const char* keys;
};

const TKEYLOOKALIKE kLookAlikes[] = {
    {'0', "O"}, {'1', "IL"}, {'3', "E"}, {'4', "A"},  {'5', "S"}, {'6', "BG"},
    {'@', "A"}, {'$', "S"},  {'|', "L"}, {0xC7, "E"}, {'O', "#"}, {'l', "I"}};

// The keys that a word is tried under, each once; their number.
uint32_t WordKeys(TBLOCK word, unsigned char keys[kMaxWordKeys]) {
  uint32_t n = 0;
  keys[n++] = 0;
  const unsigned char own = GetWordKey(word);
  if (own) keys[n++] = own;
  if (word.length <= 3) return n;
  for (const TKEYLOOKALIKE& row : kLookAlikes) {
    if (row.byte != word[0]) continue;
    for (const char* key = row.keys; *key; key++)
      keys[n++] = static_cast<unsigned char>(*key);
  }
  return n;
}

}  // namespace

// A counting sort by key: first the sizes, one place up, then the words.
bool TKEYWORDSEARCH::indexKeys(int32_t wordCount) {
  unsigned char keys[kMaxWordKeys];
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

namespace {

// A "?" at the end of a longer pattern word makes it optional.
bool TakeOptional(TBLOCK& pattern) {
  if (pattern.length < 2 || pattern[pattern.length - 1] != '?') return false;
  uint32_t slashes = 0;
  while (slashes + 1 < pattern.length &&
         pattern[pattern.length - 2 - slashes] == '\\')
    slashes++;
  if (slashes & 1) return false;
  pattern.cut(pattern.length - 1);
  return true;
}

TPHRASEMATCH MatchPhrase(const KWIMAGE& image, const TQKOR* phrase,
                         uint32_t options, const TKEYWORDSEARCH& search,
                         int32_t start) {
  TPHRASEMATCH match = {0, 0, 0};
  const TPHRASEMATCH none = match;
  if (phrase->count > kMaxPhraseWords) return none;
  int32_t at = start;
  for (uint32_t k = 0; k < phrase->count; k++) {
    if (!image.wordRecord(phrase->first + k)) return none;
    TBLOCK pattern = image.word(phrase->first + k);
    const bool optional = TakeOptional(pattern);
    uint32_t bits = 0;
    int32_t last = at;
    if (at < search.words.count()) {
      const TBLOCK word = search.words.get(at);
      int verdict = 0;
      if (MatchSpecial(word, pattern, search.context, verdict))
        bits = verdict ? uint32_t{moFound} : 0;
      else
        bits =
            BlockCompareWildcard(word, pattern, options, &search.words, &last);
    }
    if (bits) {
      at = last + 1;
      match.bits = bits;
      match.all |= bits;
    } else if (!optional) {
      return none;
    }
  }
  // A phrase of optional words alone has to find one of them.
  match.used = at - start;
  return match;
}

// Letters that a word must be able to start with for any phrase of the group.
TPATTERNSTARTS GroupStarts(const KWIMAGE& image, const TQKAND* group) {
  TPATTERNSTARTS all = {0, 0};
  for (uint32_t i = 0; i < group->count && i < kMaxAlternatives; i++) {
    const TQKOR* phrase = image.orRecord(group->first + i);
    if (!phrase || !phrase->count) continue;
    TBLOCK pattern = image.word(phrase->first);
    // Without an optional word any other may come first.
    const TPATTERNSTARTS starts =
        PatternStarts(TakeOptional(pattern) ? TBLOCK() : pattern);
    all.first |= starts.first;
    all.second |= starts.second;
  }
  return all;
}

// Looks for group number g at the words from `from` up to `to`. Returns where
// it was found, or -1. What was seen of it is kept for the line's next try, so
// that each word is compared once with each group.
int32_t FindGroup(const KWIMAGE& image, const TQKAND* group, uint32_t g,
                  uint32_t options, TKEYWORDSEARCH& search, int32_t from,
                  int32_t to, TPHRASEMATCH& match) {
  TGROUPMEMO none = {from, from, {0, 0, 0}};
  TGROUPMEMO& memo = g < kMemoGroups ? search.memo[g] : none;
  if (from < memo.from || from > memo.to) memo = none;
  if (memo.match.used) {
    match = memo.match;
    return memo.to < to ? memo.to : -1;
  }
  TPATTERNSTARTS starts = {0, 0};
  if (search.starts && memo.to < to) starts = GroupStarts(image, group);
  for (; memo.to < to; memo.to++) {
    if (--search.work < 0) return -1;
    const int32_t w = memo.to;
    if (search.starts && !MayMatch(search.starts[w], starts, options)) continue;
    for (uint32_t i = 0; i < group->count && i < kMaxAlternatives; i++) {
      const TQKOR* phrase = image.orRecord(group->first + i);
      if (!phrase) break;
      match = MatchPhrase(image, phrase, options, search, w);
      if (!match.used) continue;
      memo.match = match;
      return w;
    }
  }
  return -1;
}

// Whether each alternative of the group is one word.
bool IsOfSingleWords(const KWIMAGE& image, const TQKAND* group) {
  for (uint32_t i = 0; i < group->count && i < kMaxAlternatives; i++) {
    const TQKOR* phrase = image.orRecord(group->first + i);
    if (phrase && phrase->count != 1) return false;
  }
  return true;
}

// How a line fared from one word on.
struct TLINETRY {
  uint32_t bits;      // of the last comparison; 0: not found
  uint32_t allBits;   // of the last group
  int32_t retryFrom;  // not found: no later word below this one does better
};

// Tries the groups in order, each in the window that the joiner in front of it
// opens; the first group goes by its own.
//
// Each group takes the first place that fits, so a later start changes the
// outcome only when it is behind the place of the first group. And where a
// window up to the text's end holds nothing, a later window doesn't either,
// provided that later starts can't lead to earlier windows, which needs
// groups of single words.
TLINETRY TryLine(const KWIMAGE& image, const TQKLINE* line,
                 TKEYWORDSEARCH& search, int32_t start) {
  TLINETRY result = {0, 0, kNever};
  const int32_t n = search.words.count();
  if ((line->flags & KWLINEFLAGSTRING) || line->length == 0 ||
      line->length > static_cast<uint32_t>(n))
    return result;
  const uint32_t options = line->flags & KWLINEFLAGMATCH;
  bool ordered = !(options & moSplit);
  int32_t present = start;
  int32_t firstPlace = start;
  TPHRASEMATCH match = {0, 0, 0};
  char joiner = 0, firstJoiner = 0;
  for (uint32_t g = 0; g < line->length; g++) {
    const TQKAND* group = image.andRecord(line->text + g);
    if (!group) return result;
    if (g == 0) firstJoiner = joiner = group->joiner;
    const int32_t from = joiner == ',' ? 0 : present;
    const bool near = joiner == '>' && n - from > kNearWords;
    const int32_t place = FindGroup(image, group, g, options, search, from,
                                    near ? from + kNearWords : n, match);
    if (g == 0 && place >= 0) firstPlace = place;
    const bool undisguised =
        place >= 0 && search.onlyWithTips && !(match.all & moTips);
    if (place < 0 || undisguised) {
      if (firstJoiner == ',' || search.work < 0) return result;
      const bool settled = place < 0 && !near && (ordered || joiner == ',');
      if (!settled) result.retryFrom = firstPlace + 1;
      if (g == 0 && place < 0 && !near) result.retryFrom = kNever;
      return result;
    }
    present = place + match.used;
    ordered = ordered && IsOfSingleWords(image, group);
    joiner = group->joiner;
  }
  result.bits = match.bits;
  result.allBits = match.all;
  return result;
}

void CountUp(uint16_t& counter) {
  if (counter < 0xFFFF) counter++;
}

bool IsPatternSection(const TQKSECTION* section) {
  return section && section->type == stPattern;
}

}  // namespace

// Whether the line has counted as often as it may.
bool TQMDICO::isCounted(const TQKLINE* line) {
  const uint16_t count = countsOf(line).matchCount;
  if (count >= kMaxLineMatches) return true;
  return count != 0 && !(line->flags & KWLINEFLAGMULTI);
}

void TQMDICO::countMatch(const TQKLINE* line, uint32_t result) {
  TLINECOUNTS& counts = countsOf(line);
  CountUp(counts.matchCount);
  CountUp(counts.useCount);
  if (result & moTips) CountUp(counts.tipCount);
}

uint32_t TQMDICO::matchLine(const TQKLINE* line, const TBLOCKVECT& words,
                            int32_t start, TBLOCK context, int onlyWithTips) {
  if (!line || start < 0 || isCounted(line)) return 0;
  TKEYWORDSEARCH search(words, context, onlyWithTips);
  search.startLine();
  const TLINETRY tried = TryLine(image(), line, search, start);
  if (tried.bits) countMatch(line, tried.allBits);
  return tried.bits;
}

uint32_t TQMDICO::matchBlockLine(const TQKLINE* line, TBLOCK block) {
  if (!line || block.empty()) return 0;
  if ((line->flags & KWLINEFLAGSTRING) || line->length != 1) return 0;
  const KWIMAGE& data = image();
  const TQKAND* group = data.andRecord(line->text);
  if (!group) return 0;
  bool letters = false;
  for (uint32_t i = 0; i < block.length && !letters; i++)
    letters = TBLOCK::Is(block[i], bitAlpha);
  const uint32_t options = letters ? line->flags & KWLINEFLAGMATCH : 0;
  for (uint32_t i = 0; i < group->count && i < kMaxAlternatives; i++) {
    const TQKOR* phrase = data.orRecord(group->first + i);
    if (!phrase) return 0;
    if (phrase->count != 1) continue;
    TBLOCK pattern = data.word(phrase->first);
    TakeOptional(pattern);
    const uint32_t bits =
        BlockCompareWildcard(block, pattern, options, nullptr, nullptr);
    if (bits) return bits;
  }
  return 0;
}

void TQMDICO::matchKey(unsigned char key, const TQKSECTION* section,
                       TKEYWORDSEARCH& search) {
  const uint32_t end = search.keyOffset[key + 1];
  if (search.keyOffset[key] == end) return;
  const KWIMAGE& data = image();
  const uint32_t n = data.lineCountOf(section);
  for (uint32_t l = 0; l < n; l++) {
    const TQKLINE* line = data.sectionLine(section, l);
    if (!line || line->key != key) continue;
    search.startLine();
    int32_t from = 0;
    for (uint32_t i = search.keyOffset[key]; i < end && from != kNever; i++) {
      const int32_t start = static_cast<int32_t>(search.wordsOfKey[i]);
      if (start < from) continue;
      if (isCounted(line)) break;
      const TLINETRY tried = TryLine(data, line, search, start);
      if (!tried.bits) {
        from = tried.retryFrom;
        continue;
      }
      if (countsOf(line).matchCount == 0) search.hits++;
      countMatch(line, tried.allBits);
      search.sum += line->score;
    }
  }
}

// Lines don't depend on each other, so they are taken key by key: the section
// is walked once for each key that the words have, and not once a word.
int32_t TQMDICO::findKeywords(const TQKSECTION* section,
                              const TBLOCKVECT& words, TBLOCK context,
                              int onlyWithTips, int32_t maxWords,
                              int32_t& hits) {
  hits = 0;
  if (!IsPatternSection(section)) return 0;
  clearSectionMatchCount(section);
  if (words.count() == 0) return 0;
  TKEYWORDSEARCH search(words, context, onlyWithTips);
  const bool some = maxWords > 0 && maxWords < words.count();
  if (!search.indexStarts() ||
      !search.indexKeys(some ? maxWords : words.count()))
    return 0;
  for (int32_t key = 0; key < 256; key++)
    matchKey(static_cast<unsigned char>(key), section, search);
  hits = search.hits;
  return ClampScore(search.sum);
}

int TQMDICO::beginByKeywords(const char* section, const TBLOCKVECT& words,
                             TBLOCK context, const TQKLINE*& line) {
  const TQKSECTION* found = findSection(section);
  if (!IsPatternSection(found)) return 0;
  const uint32_t n = image().lineCountOf(found);
  for (uint32_t l = 0; l < n; l++) {
    const TQKLINE* candidate = image().sectionLine(found, l);
    if (!matchLine(candidate, words, 0, context, 0)) continue;
    line = candidate;
    return 1;
  }
  return 0;
}

// The first match in the order of words, then of lines: the line that matches
// from the earliest word on.
int TQMDICO::findFirstKeyword(const char* section, const TBLOCKVECT& words,
                              TBLOCK context, const TQKLINE*& line) {
  const TQKSECTION* found = findSection(section);
  if (!IsPatternSection(found)) return 0;
  TKEYWORDSEARCH search(words, context, 0);
  if (!search.indexStarts()) return 0;
  const KWIMAGE& data = image();
  const uint32_t n = data.lineCountOf(found);
  int32_t bestStart = words.count();
  uint32_t bestBits = 0;
  for (uint32_t l = 0; l < n && bestStart > 0; l++) {
    const TQKLINE* candidate = data.sectionLine(found, l);
    if (!candidate || isCounted(candidate)) continue;
    search.startLine();
    for (int32_t start = 0; start < bestStart;) {
      const TLINETRY tried = TryLine(data, candidate, search, start);
      if (tried.bits) {
        line = candidate;
        bestStart = start;
        bestBits = tried.allBits;
      }
      start = tried.retryFrom;
    }
  }
  if (bestStart == words.count()) return 0;
  countMatch(line, bestBits);
  return 1;
}

namespace {

// The consonants of the word, in order, against a skeleton, in which "*" takes
// whatever follows.
bool FitsConsonants(TBLOCK word, TBLOCK skeleton) {
  uint32_t k = 0;
  for (uint32_t i = 0; i < word.length; i++) {
    if (!TBLOCK::Is(word[i], bitConsonant)) continue;
    if (k >= skeleton.length) return false;
    if (skeleton[k] == '*') return true;
    if (TBLOCK::LowerConvTable[word[i]] != TBLOCK::LowerConvTable[skeleton[k]])
      return false;
    k++;
  }
  return k > 0 && (k == skeleton.length || skeleton[k] == '*');
}

}  // namespace

int TQMDICO::checkConsonantSection(const char* section, const TBLOCKVECT& words,
                                   const TQKLINE*& line) {
  const TQKSECTION* found = findSection(section);
  if (!found) return 0;
  const uint32_t n = image().lineCountOf(found);
  for (uint32_t l = 0; l < n; l++) {
    const TQKLINE* candidate = image().sectionLine(found, l);
    TBLOCK skeleton = lineBlock(candidate);
    skeleton.trim();
    if (skeleton.empty()) continue;
    for (int32_t w = 0; w < words.count(); w++) {
      if (!FitsConsonants(words.get(w), skeleton)) continue;
      line = candidate;
      return 1;
    }
  }
  return 0;
}

namespace {

// Whether the text begins with the keyword, whatever stands between its
// letters.
bool WordBrokenSearch(TBLOCK text, TBLOCK keyword) {
  uint32_t i = 0;
  uint32_t letters = 0;
  for (uint32_t k = 0; k < keyword.length; k++) {
    if (TBLOCK::Is(keyword[k], kBrokenBits)) continue;
    while (i < text.length && TBLOCK::Is(text[i], kBrokenBits)) i++;
    if (i >= text.length ||
        TBLOCK::LowerConvTable[text[i]] != TBLOCK::LowerConvTable[keyword[k]])
      return false;
    i++;
    letters++;
  }
  return letters > 0;
}

// Skips what stands ahead of the first letter, and marks of answers and of
// forwarded mail.
void SkipLineHead(TBLOCK& text) {
  text.trimLeft(kBrokenBits);
  while (text.begins("re:") || text.begins("tr:")) {
    text.skip(3);
    text.trimLeft(kBrokenBits);
  }
}

}  // namespace

int32_t TQMDICO::brokenSearch(TBLOCK text, const char* section,
                              int32_t maxLines) {
  const TQKSECTION* found = findSection(section);
  if (!found || text.empty()) return 0;
  const uint32_t n = image().lineCountOf(found);
  int32_t hits = 0;
  TBLOCK rest = text;
  for (int32_t i = 0; !rest.empty() && (maxLines <= 0 || i < maxLines); i++) {
    TBLOCK here = rest;
    TBLOCK first = TBLOCK::BlockNextLine(rest);
    SkipLineHead(first);
    if (first.empty()) continue;
    // The letters may go on in the lines below.
    here.skip(static_cast<uint32_t>(first.pointer - here.pointer));
    for (uint32_t l = 0; l < n; l++) {
      TBLOCK keyword = lineBlock(image().sectionLine(found, l));
      keyword.trimRight();
      hits += WordBrokenSearch(here, keyword);
    }
  }
  return hits;
}

// The words of a domain: its first label, cut at dashes.
int TQMDICO::CheckDomainWords(const char* section, TBLOCK domain) {
  TBLOCK label = TBLOCK::BlockBeforeChar(domain, '.', 0, 0);
  while (!label.empty()) {
    const TBLOCK piece = TBLOCK::BlockBeforeChar(label, '-', 0, 0);
    if (piece.empty()) continue;
    const TQKLINE* line = nullptr;
    if (hashedFind(section, piece, line)) return 1;
    if (matchBlock(section, piece, line)) return 1;
  }
  return 0;
}
