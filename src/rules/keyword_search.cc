// The words of a text against the pattern lines of a section.
//
// A line is tried at the words whose key it has. Its first group is then looked
// for from there to the end of the text, so a try that fails nearly always
// settles the line for all later words; TLINETRY tells from which word on
// another try could end differently. What a try has seen of each group is kept
// for the next one: see TryLine and FindGroup.
//
// The words are held as sets of bits, one for each letter that they begin with
// or hold, so that a group is looked for at 64 of them at a time, and only
// words that have its letters are compared with it.
//
// Entry points: findKeywords and the members of TQMDICO below it. Tested by
// keyword_search_test.cc, measured by bench/keyword_bench.cc.

#include <new>

#include "base/score.h"
#include "rules/keyword_compare.h"
#include "rules/pattern_index.h"
#include "rules/qm_dico.h"
#include "rules/word_filter.h"
#include "rules/word_index.h"

namespace {

// A line counts at most this often in one message.
const uint16_t kMaxLineMatches = 3;
// Words that the joiner ">" looks at: a phrase begins at one of them and may
// end behind the last.
const int32_t kNearWords = 20;
// A line that fails over and over in a long text is given up once it has been
// compared with this many times the words of the text and their bytes.
const int64_t kMaxLinePasses = 64;
// A line of more alternatives than this may cost as much again for each so many
// of them, so that no text can wear out a long list.
const uint32_t kAlternativesOfPass = 8;
// Alternatives of one group, and words of a phrase, that are looked at; a
// damaged image may claim any number.
const uint32_t kMaxAlternatives = 4096;
const uint32_t kMaxPhraseWords = 256;
const int32_t kNever = 0x7FFFFFFF;

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
  int32_t part;    // of which the candidates are known, or -1
  uint64_t words;  // they
};
const uint32_t kMemoGroups = 8;

TGROUPMEMO NothingSeen(int32_t from) {
  return {from, from, {0, 0, 0}, -1, 0};
}

}  // namespace

// One search: the words and what is known of them.
struct TKEYWORDSEARCH {
  const KWIMAGE& image;
  const TBLOCKVECT& words;
  TBLOCK context;  // the recipient's address
  int onlyWithTips;
  int32_t starts;                     // words at which a line may begin
  const TWORDINDEX* index;            // borrowed; null for a line at one word
  const TPATTERNSHAPE* phraseShapes;  // of each OR record; or null
  int64_t lineWork;                   // what a line of few words may cost
  int64_t work;                       // what the present line has left of it
  TGROUPMEMO memo[kMemoGroups];       // of the present line
  int64_t sum;
  int32_t hits;

  TKEYWORDSEARCH(const KWIMAGE& data, const TBLOCKVECT& list, TBLOCK recipient,
                 int tipsOnly);
  // With an index of the words, and the shapes of the dictionary.
  TKEYWORDSEARCH(const HSTUFF& stuff, const TWORDINDEX& wordIndex,
                 TBLOCK recipient, int tipsOnly);

  void startLine(const TQKLINE* line);
  // The words of a part at which a group may begin, the first in bit 0; all of
  // them when no shapes are known.
  uint64_t candidates(const TQKAND* group, uint32_t options, uint32_t part);
  // Whether a phrase may begin at that word.
  bool mayBegin(uint32_t phrase, uint32_t options, int32_t word) const;

 private:
  uint64_t candidatesOf(const TPATTERNSHAPE& shape, uint32_t options,
                        uint32_t part) const;
};

TKEYWORDSEARCH::TKEYWORDSEARCH(const KWIMAGE& data, const TBLOCKVECT& list,
                               TBLOCK recipient, int tipsOnly)
    : image(data),
      words(list),
      context(recipient),
      onlyWithTips(tipsOnly),
      starts(list.count()),
      index(nullptr),
      phraseShapes(nullptr),
      lineWork(0),
      work(0),
      memo(),
      sum(0),
      hits(0) {
  const int32_t n = words.count();
  for (int32_t i = 0; i < n; i++) lineWork += int64_t{words.get(i).length} + 1;
  lineWork = kMaxLinePasses * (lineWork + 1024);
}

TKEYWORDSEARCH::TKEYWORDSEARCH(const HSTUFF& stuff, const TWORDINDEX& wordIndex,
                               TBLOCK recipient, int tipsOnly)
    : image(stuff.image),
      words(wordIndex.words),
      context(recipient),
      onlyWithTips(tipsOnly),
      starts(words.count()),
      index(&wordIndex),
      phraseShapes(stuff.patterns.shapes),
      lineWork(kMaxLinePasses * (wordIndex.bytes + 1024)),
      work(0),
      memo(),
      sum(0),
      hits(0) {}

void TKEYWORDSEARCH::startLine(const TQKLINE* line) {
  uint32_t alternatives = 0;
  for (uint32_t g = 0; g < line->length && g < kMemoGroups; g++) {
    memo[g] = NothingSeen(0);
    const TQKAND* group = image.andRecord(line->text + g);
    if (!group) break;
    alternatives +=
        group->count < kMaxAlternatives ? group->count : kMaxAlternatives;
  }
  work = lineWork * (1 + alternatives / kAlternativesOfPass);
}

namespace {

// The union of the sets of some letters, or all words for any byte.
uint64_t AnyOf(const uint64_t* sets, uint32_t parts, uint32_t letters) {
  if (letters & ~(kAllLetters | kOtherBit)) return ~uint64_t{0};
  uint64_t words = 0;
  for (uint32_t left = letters; left; left &= left - 1)
    words |= sets[size_t{LowestBit(left)} * parts];
  return words;
}

}  // namespace

// MayMatch, for all words of the part at once.
uint64_t TKEYWORDSEARCH::candidatesOf(const TPATTERNSHAPE& shape,
                                      uint32_t options, uint32_t part) const {
  const uint64_t* const sets = index->sets;
  const uint32_t parts = index->parts;
  const uint64_t* first = sets + size_t{kFirstSets} * parts + part;
  const uint64_t* ahead = sets + size_t{kAheadSets} * parts + part;
  const uint64_t* holds = sets + size_t{kLetterSets} * parts + part;
  uint32_t letters = options & moSplit ? 0 : shape.letters;
  if (!(options & (moUseless | moPermut | moMissing))) {
    uint64_t may = AnyOf(first, parts, shape.first);
    for (; letters && may; letters &= letters - 1)
      may &= holds[size_t{LowestBit(letters)} * parts];
    return may;
  }
  uint64_t lacksOne = 0, lacksMore = 0;  // lacksMore: or one it can't lack
  for (; letters; letters &= letters - 1) {
    const uint64_t lacks = ~holds[size_t{LowestBit(letters)} * parts];
    const bool strict = (letters & (0 - letters) & shape.strict) != 0;
    lacksMore |= strict ? lacks : lacksOne & lacks;
    lacksOne |= lacks;
  }
  const uint64_t may = ~(options & moMissing ? lacksMore : lacksOne);
  if (!may) return 0;
  uint64_t begins = AnyOf(first, parts, shape.first);
  if (options & moUseless) begins |= AnyOf(ahead, parts, shape.first);
  if (options & (moPermut | moMissing))
    begins |= AnyOf(first, parts, shape.second);
  return may & begins;
}

uint64_t TKEYWORDSEARCH::candidates(const TQKAND* group, uint32_t options,
                                    uint32_t part) {
  if (!phraseShapes) return ~uint64_t{0};
  uint64_t all = 0;
  for (uint32_t i = 0; i < group->count && i < kMaxAlternatives; i++) {
    if (!image.orRecord(group->first + i) || --work < 0) break;
    all |= candidatesOf(phraseShapes[group->first + i], options, part);
  }
  return all;
}

bool TKEYWORDSEARCH::mayBegin(uint32_t phrase, uint32_t options,
                              int32_t word) const {
  return !phraseShapes ||
         MayMatch(index->shapes[word], phraseShapes[phrase], options);
}

namespace {

TPHRASEMATCH MatchPhrase(const TQKOR* phrase, uint32_t options,
                         TKEYWORDSEARCH& search, int32_t start) {
  const KWIMAGE& image = search.image;
  TPHRASEMATCH match = {0, 0, 0};
  const TPHRASEMATCH none = match;
  search.work--;
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
      search.work--;
      if (TQMDICO::MatchSpecial(word, pattern, search.context, verdict))
        bits = verdict ? uint32_t{moFound} : 0;
      else
        bits = BlockCompareWildcard(word, pattern, options, &search.words,
                                    &last, search.work);
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

// The group at one word: its first alternative that matches there.
bool MatchGroup(const TQKAND* group, uint32_t options, TKEYWORDSEARCH& search,
                int32_t start, TPHRASEMATCH& match) {
  for (uint32_t i = 0; i < group->count && i < kMaxAlternatives; i++) {
    const TQKOR* phrase = search.image.orRecord(group->first + i);
    if (!phrase || search.work < 0) break;
    if (!search.mayBegin(group->first + i, options, start)) continue;
    match = MatchPhrase(phrase, options, search, start);
    if (match.used) return true;
  }
  return false;
}

// Looks for a group at the words from `from` up to `to`. Returns where it was
// found, or -1. What was seen of it is kept for the line's next try, so that
// each word is compared once with each group.
int32_t FindGroup(const TQKAND* group, uint32_t options, TGROUPMEMO& memo,
                  TKEYWORDSEARCH& search, int32_t from, int32_t to,
                  TPHRASEMATCH& match) {
  if (from < memo.from || from > memo.to) {
    memo.from = memo.to = from;
    memo.match.used = 0;
  }
  if (memo.match.used) {
    match = memo.match;
    return memo.to < to ? memo.to : -1;
  }
  while (memo.to < to) {
    const int32_t part = memo.to / kWordsInPart;
    const int32_t first = part * kWordsInPart;
    if (memo.part != part)
      memo.words =
          search.candidates(group, options, static_cast<uint32_t>(part));
    memo.part = part;
    uint64_t left = memo.words & ~uint64_t{0} << (memo.to - first);
    for (; left; left &= left - 1) {
      const int32_t w = first + __builtin_ctzll(left);
      if (w >= to) break;
      memo.to = w;
      if (--search.work < 0) return -1;
      if (!MatchGroup(group, options, search, w, match)) continue;
      memo.match = match;
      return w;
    }
    if (--search.work < 0) return -1;
    memo.to = to - first < kWordsInPart ? to : first + kWordsInPart;
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

// From which word on a group that is not among the kNearWords from `from` on is
// within reach.
int32_t StartNear(const TQKAND* group, uint32_t options, TGROUPMEMO& memo,
                  TKEYWORDSEARCH& search, int32_t from) {
  TPHRASEMATCH match = {0, 0, 0};
  const int32_t place = FindGroup(group, options, memo, search, from,
                                  search.words.count(), match);
  return place < 0 ? kNever : place - kNearWords + 1;
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
TLINETRY TryLine(const TQKLINE* line, TKEYWORDSEARCH& search, int32_t start) {
  const KWIMAGE& image = search.image;
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
    TGROUPMEMO unkept = NothingSeen(from);
    TGROUPMEMO& memo = g < kMemoGroups ? search.memo[g] : unkept;
    const int32_t place = FindGroup(group, options, memo, search, from,
                                    near ? from + kNearWords : n, match);
    if (g == 0 && place >= 0) firstPlace = place;
    const bool undisguised =
        place >= 0 && search.onlyWithTips && !(match.all & moTips);
    if (place < 0 || undisguised) {
      if (firstJoiner == ',' || search.work < 0) return result;
      const bool settled = place < 0 && !near && (ordered || joiner == ',');
      if (!settled) result.retryFrom = firstPlace + 1;
      if (g == 0 && place < 0)
        result.retryFrom =
            near ? StartNear(group, options, memo, search, from) : kNever;
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

bool IsPatternSection(const TQKSECTION* section) {
  return section && section->type == stPattern;
}

}  // namespace

// Whether the line has counted as often as it may.
bool TQMDICO::isCounted(const TQKLINE* line) const {
  const uint16_t count = seenCounts(line).matchCount;
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
  TKEYWORDSEARCH search(image(), words, context, onlyWithTips);
  search.startLine(line);
  const TLINETRY tried = TryLine(line, search, start);
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
  int64_t work = kMaxLinePasses * (int64_t{block.length} + 1024);
  for (uint32_t i = 0; i < group->count && i < kMaxAlternatives; i++) {
    const TQKOR* phrase = data.orRecord(group->first + i);
    if (!phrase || work < 0) return 0;
    if (phrase->count != 1) continue;
    TBLOCK pattern = data.word(phrase->first);
    TakeOptional(pattern);
    const uint32_t bits =
        BlockCompareWildcard(block, pattern, options, nullptr, nullptr, work);
    if (bits) return bits;
  }
  return 0;
}

namespace {

// The order of a section's lines as the dictionary prepared it; else prepared
// here, as `own`. Null when memory is short.
const TLINEORDER* OrderOf(const HSTUFF* stuff, const TQKSECTION* section,
                          TLINEORDER& own) {
  const TLINEORDER* order = stuff ? stuff->patterns.find(section) : nullptr;
  if (order) return order;
  return stuff && own.build(stuff->image, section) ? &own : nullptr;
}

}  // namespace

// One line at the words that have its key.
void TQMDICO::matchKey(const TQKLINE* line, TKEYWORDSEARCH& search) {
  const uint32_t end = search.index->keyOffset[line->key + 1];
  search.startLine(line);
  int32_t from = 0;
  for (uint32_t i = search.index->keyOffset[line->key];
       i < end && from != kNever; i++) {
    const int32_t start = static_cast<int32_t>(search.index->wordsOfKey[i]);
    if (start >= search.starts) break;
    if (start < from) continue;
    if (isCounted(line)) break;
    const TLINETRY tried = TryLine(line, search, start);
    if (!tried.bits) {
      from = tried.retryFrom;
      continue;
    }
    if (seenCounts(line).matchCount == 0) search.hits++;
    countMatch(line, tried.allBits);
    search.sum += line->score;
  }
}

void TQMDICO::keepWords(const TBLOCKVECT& words) {
  if (keptCount == kKeptLists) return;
  TWORDINDEX* const kept =
      new (std::nothrow) TWORDINDEX(words, stuff ? stuff->wordFilter : nullptr);
  if (kept) keptWords[keptCount++] = kept;
}

void TQMDICO::forgetWords() {
  while (keptCount > 0) delete keptWords[--keptCount];
}

// A section's lines at the words of a list: those that may match, in the order
// of the section.
struct TQMDICO::TLINEWALK {
  const TQKSECTION* section;
  TWORDINDEX own;     // of words that are not kept
  TWORDINDEX* index;  // of the words
  const TBITSET* may;
  uint32_t at, end;  // lines of the image

  TLINEWALK(const TQMDICO& dico, const TQKSECTION* toWalk,
            const TBLOCKVECT& words)
      : section(toWalk),
        own(words, dico.stuff ? dico.stuff->wordFilter : nullptr),
        index(&own),
        may(nullptr),
        at(0),
        end(0) {
    if (!IsPatternSection(section) || words.count() == 0) return;
    for (int32_t i = 0; i < dico.keptCount; i++)
      if (&dico.keptWords[i]->words == &words) index = dico.keptWords[i];
    may = index->lines();
    at = section->first;
    end = at + dico.image().lineCountOf(section);
  }

  // Whether there is a line, or memory.
  bool begin() {
    skip();
    return at < end && index->build();
  }
  bool next() {
    at++;
    skip();
    return at < end;
  }

 private:
  void skip() {
    if (may) at = NextBit(may, at, end);
  }
};

// Lines don't depend on each other, so that all that may match can be taken in
// their order; else they are taken key by key, for the keys that the words
// have.
int32_t TQMDICO::findKeywords(const TQKSECTION* section,
                              const TBLOCKVECT& words, TBLOCK context,
                              int onlyWithTips, int32_t maxWords,
                              int32_t& hits) {
  hits = 0;
  if (!IsPatternSection(section)) return 0;
  clearSectionMatchCount(section);
  TLINEWALK walk(*this, section, words);
  if (!walk.begin()) return 0;
  TKEYWORDSEARCH search(*stuff, *walk.index, context, onlyWithTips);
  if (maxWords > 0 && maxWords < search.starts) search.starts = maxWords;
  if (walk.may) {
    do matchKey(image().line(walk.at), search);
    while (walk.next());
  } else {
    matchAllKeys(section, search);
  }
  hits = search.hits;
  return ClampScore(search.sum);
}

void TQMDICO::matchAllKeys(const TQKSECTION* section, TKEYWORDSEARCH& search) {
  TLINEORDER own;
  const TLINEORDER* order = OrderOf(stuff, section, own);
  const uint32_t* const offset = search.index->keyOffset;
  uint32_t i = 0;
  for (uint32_t r = 0; order && r < order->runCount; r++) {
    const TLINEORDER::TKEYRUN& run = order->runs[r];
    if (offset[run.key] == offset[run.key + 1]) i = run.end;
    for (; i < run.end; i++)
      matchKey(image().line(section->first + order->places[i]), search);
  }
}

int TQMDICO::beginByKeywords(const char* section, const TBLOCKVECT& words,
                             TBLOCK context, const TQKLINE*& line) {
  TLINEWALK walk(*this, findSection(section), words);
  if (!walk.begin()) return 0;
  TKEYWORDSEARCH search(*stuff, *walk.index, context, 0);
  do {
    const TQKLINE* candidate = image().line(walk.at);
    if (isCounted(candidate)) continue;
    search.startLine(candidate);
    const TLINETRY tried = TryLine(candidate, search, 0);
    if (!tried.bits) continue;
    countMatch(candidate, tried.allBits);
    line = candidate;
    return 1;
  } while (walk.next());
  return 0;
}

// The first match in the order of words, then of lines: the line that matches
// from the earliest word on.
int TQMDICO::findFirstKeyword(const char* section, const TBLOCKVECT& words,
                              TBLOCK context, const TQKLINE*& line) {
  TLINEWALK walk(*this, findSection(section), words);
  if (!walk.begin()) return 0;
  TKEYWORDSEARCH search(*stuff, *walk.index, context, 0);
  int32_t bestStart = words.count();
  uint32_t bestBits = 0;
  do {
    const TQKLINE* candidate = image().line(walk.at);
    if (isCounted(candidate)) continue;
    search.startLine(candidate);
    for (int32_t start = 0; start < bestStart;) {
      const TLINETRY tried = TryLine(candidate, search, start);
      if (tried.bits) {
        line = candidate;
        bestStart = start;
        bestBits = tried.allBits;
      }
      start = tried.retryFrom;
    }
  } while (bestStart > 0 && walk.next());
  if (bestStart == words.count()) return 0;
  countMatch(line, bestBits);
  return 1;
}

namespace {

// A longer word is not looked at for its consonants.
const uint32_t kMaxBareWord = 256;

// The consonants of the word, in order, against a skeleton, in which "*" takes
// whatever follows.
bool FitsConsonants(TBLOCK word, TBLOCK skeleton) {
  if (word.length > kMaxBareWord) return false;
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
    if (TBLOCK::Is(keyword[k], kBetweenLetters)) continue;
    while (i < text.length && TBLOCK::Is(text[i], kBetweenLetters)) i++;
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
  text.trimLeft(kBetweenLetters);
  while (text.begins("re:") || text.begins("tr:")) {
    text.skip(3);
    text.trimLeft(kBetweenLetters);
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

// The words of a domain: what stands between the dashes of its first label, if
// it is long enough to be one. No sound label has more bytes than are looked
// at.
int TQMDICO::CheckDomainWords(const char* section, TBLOCK domain,
                              const TQKLINE*& line) {
  const uint32_t kMinWord = 3;
  const uint32_t kMaxLabel = 255;
  TBLOCK label = TBLOCK::BlockBeforeChar(domain, '.', 0, 0).head(kMaxLabel);
  while (!label.empty()) {
    const TBLOCK word = TBLOCK::BlockBeforeChar(label, '-', 0, 0);
    if (word.length >= kMinWord && scanBlock(section, word, line, 0)) return 1;
  }
  return 0;
}
