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
// Keys that a word is looked up by: none, its own, two look-alikes.
const uint32_t kMaxWordKeys = 4;

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

// The sets of words, by the three masks of a word's shape, a to z in each.
const uint32_t kFirstSets = 0, kAheadSets = 26, kLetterSets = 52;
const uint32_t kWordSets = 78;
const int32_t kWordsInPart = 64;  // of a set

uint32_t LowestBit(uint32_t bits) {
  return static_cast<uint32_t>(__builtin_ctz(bits));
}

TGROUPMEMO NothingSeen(int32_t from) {
  return {from, from, {0, 0, 0}, -1, 0};
}

}  // namespace

// What searches need to know of a list of words, whatever they look for.
struct TWORDINDEX {
  const TBLOCKVECT& words;
  TWORDSHAPE* shapes;       // owned; of each word
  uint64_t* sets;           // owned; kWordSets of `parts` each
  uint32_t parts;           // of one set
  uint32_t* wordsOfKey;     // owned; indexes of words, ascending for each key
  uint32_t keyOffset[257];  // of each key's first in wordsOfKey

  explicit TWORDINDEX(const TBLOCKVECT& list);
  ~TWORDINDEX();
  TWORDINDEX(const TWORDINDEX&) = delete;
  TWORDINDEX& operator=(const TWORDINDEX&) = delete;

  // False when memory is short. Does nothing the second time.
  bool build();

 private:
  bool tried, built;

  bool indexShapes();
  bool indexKeys();
  void addToSets(uint32_t firstSet, uint32_t letters, uint32_t word);
};

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

  // Uses an index of the same words, and the shapes of the dictionary.
  void use(const TWORDINDEX* wordIndex, const HSTUFF* stuff);
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

TWORDINDEX::TWORDINDEX(const TBLOCKVECT& list)
    : words(list),
      shapes(nullptr),
      sets(nullptr),
      parts(0),
      wordsOfKey(nullptr),
      keyOffset(),
      tried(false),
      built(false) {}

TWORDINDEX::~TWORDINDEX() {
  delete[] shapes;
  delete[] sets;
  delete[] wordsOfKey;
}

bool TWORDINDEX::build() {
  if (!tried) built = indexShapes() && indexKeys();
  tried = true;
  return built;
}

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

void TKEYWORDSEARCH::use(const TWORDINDEX* wordIndex, const HSTUFF* stuff) {
  index = wordIndex;
  phraseShapes = stuff ? stuff->patterns.shapes : nullptr;
}

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

void TWORDINDEX::addToSets(uint32_t firstSet, uint32_t letters, uint32_t word) {
  const uint64_t bit = uint64_t{1} << (word % kWordsInPart);
  uint64_t* part = sets + size_t{firstSet} * parts + word / kWordsInPart;
  for (uint32_t left = letters & kAllLetters; left; left &= left - 1)
    part[size_t{LowestBit(left)} * parts] |= bit;
}

bool TWORDINDEX::indexShapes() {
  const uint32_t n = static_cast<uint32_t>(words.count());
  parts = (n + kWordsInPart - 1) / kWordsInPart;
  shapes = new (std::nothrow) TWORDSHAPE[n];
  sets = new (std::nothrow) uint64_t[size_t{kWordSets} * parts]();
  if (!shapes || !sets) return false;
  for (uint32_t i = 0; i < n; i++) {
    const TWORDSHAPE shape = WordShape(words.get(static_cast<int32_t>(i)));
    shapes[i] = shape;
    addToSets(kFirstSets, shape.first, i);
    addToSets(kAheadSets, shape.ahead, i);
    addToSets(kLetterSets, shape.letters, i);
  }
  return true;
}

namespace {

// The union of the sets of some letters, or all words for any byte.
uint64_t AnyOf(const uint64_t* sets, uint32_t parts, uint32_t letters) {
  if (letters & ~kAllLetters) return ~uint64_t{0};
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
  uint64_t lacksOne = 0, lacksMore = 0;  // lacksMore: or one it can't lack
  uint32_t letters = options & moSplit ? 0 : shape.letters;
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
bool TWORDINDEX::indexKeys() {
  unsigned char keys[kMaxWordKeys];
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
    if (countsOf(line).matchCount == 0) search.hits++;
    countMatch(line, tried.allBits);
    search.sum += line->score;
  }
}

void TQMDICO::keepWords(const TBLOCKVECT& words) {
  if (keptCount == kKeptLists) return;
  TWORDINDEX* const kept = new (std::nothrow) TWORDINDEX(words);
  if (kept) keptWords[keptCount++] = kept;
}

void TQMDICO::forgetWords() {
  while (keptCount > 0) delete keptWords[--keptCount];
}

// The index of the words: one that is kept, or `own`. Null when memory is
// short.
const TWORDINDEX* TQMDICO::indexOf(const TBLOCKVECT& words, TWORDINDEX& own) {
  TWORDINDEX* index = &own;
  for (int32_t i = 0; i < keptCount; i++)
    if (&keptWords[i]->words == &words) index = keptWords[i];
  return index->build() ? index : nullptr;
}

// Lines don't depend on each other, so they are taken key by key, and only for
// the keys that the words have.
int32_t TQMDICO::findKeywords(const TQKSECTION* section,
                              const TBLOCKVECT& words, TBLOCK context,
                              int onlyWithTips, int32_t maxWords,
                              int32_t& hits) {
  hits = 0;
  if (!IsPatternSection(section)) return 0;
  clearSectionMatchCount(section);
  if (words.count() == 0) return 0;
  TLINEORDER ownOrder;
  TWORDINDEX ownIndex(words);
  const TLINEORDER* order = OrderOf(stuff, section, ownOrder);
  const TWORDINDEX* index = indexOf(words, ownIndex);
  if (!order || !index) return 0;
  TKEYWORDSEARCH search(image(), words, context, onlyWithTips);
  search.use(index, stuff);
  if (maxWords > 0 && maxWords < search.starts) search.starts = maxWords;
  uint32_t i = 0;
  for (uint32_t r = 0; r < order->runCount; r++) {
    const TLINEORDER::TKEYRUN& run = order->runs[r];
    if (index->keyOffset[run.key] == index->keyOffset[run.key + 1]) i = run.end;
    for (; i < run.end; i++)
      matchKey(image().line(section->first + order->places[i]), search);
  }
  hits = search.hits;
  return ClampScore(search.sum);
}

int TQMDICO::beginByKeywords(const char* section, const TBLOCKVECT& words,
                             TBLOCK context, const TQKLINE*& line) {
  const TQKSECTION* found = findSection(section);
  if (!IsPatternSection(found)) return 0;
  TWORDINDEX ownIndex(words);
  const TWORDINDEX* index = indexOf(words, ownIndex);
  if (!index) return 0;
  TKEYWORDSEARCH search(image(), words, context, 0);
  search.use(index, stuff);
  const uint32_t n = image().lineCountOf(found);
  for (uint32_t l = 0; l < n; l++) {
    const TQKLINE* candidate = image().line(found->first + l);
    if (isCounted(candidate)) continue;
    search.startLine(candidate);
    const TLINETRY tried = TryLine(candidate, search, 0);
    if (!tried.bits) continue;
    countMatch(candidate, tried.allBits);
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
  TWORDINDEX ownIndex(words);
  const TWORDINDEX* index = indexOf(words, ownIndex);
  if (!index) return 0;
  TKEYWORDSEARCH search(image(), words, context, 0);
  search.use(index, stuff);
  const uint32_t n = image().lineCountOf(found);
  int32_t bestStart = words.count();
  uint32_t bestBits = 0;
  for (uint32_t l = 0; l < n && bestStart > 0; l++) {
    const TQKLINE* candidate = image().line(found->first + l);
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
  }
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
