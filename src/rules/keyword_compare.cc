// A word of a message against a word of a pattern. The two are walked side by
// side; where they differ, the tricks that the options allow are tried in a
// fixed order, and each kind is paid for once out of a budget of two. The order
// and the options that each trick switches off keep tricks from adding up to
// words that nobody meant. Every step takes a byte of the word or the pattern,
// and no comparison walks far past the pattern's length: see kMaxExtra.
//
// Entry points: BlockCompareKeyword and BlockCompareWildcard; the shapes below
// are a cheap test ahead of them. Tested by keyword_compare_test.cc; fuzzed by
// keyword_compare_fuzz.cc.

#include "rules/keyword_compare.h"

// Each byte as the comparison takes it: the capital of a letter, accents taken
// off; eth as the letter that LowerConvTable makes of it.
const unsigned char KeyTable[256] = {
    // clang-format off
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,  // 00
    0x08, 0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f,  // 08
    0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17,  // 10
    0x18, 0x19, 0x1a, 0x1b, 0x1c, 0x1d, 0x1e, 0x1f,  // 18
    0x20, '!', '"', '#', '$', '%', '&', '\'',  // 20
    '(', ')', '*', '+', ',', '-', '.', '/',  // 28
    '#', '#', '#', '#', '#', '#', '#', '#',  // 30
    '#', '#', ':', ';', '<', '=', '>', '?',  // 38
    '@', 'A', 'B', 'C', 'D', 'E', 'F', 'G',  // 40
    'H', 'I', 'J', 'K', 'L', 'M', 'N', 'O',  // 48
    'P', 'Q', 'R', 'S', 'T', 'U', 'V', 'W',  // 50
    'X', 'Y', 'Z', '[', '\\', ']', '^', '_',  // 58
    '`', 'A', 'B', 'C', 'D', 'E', 'F', 'G',  // 60
    'H', 'I', 'J', 'K', 'L', 'M', 'N', 'O',  // 68
    'P', 'Q', 'R', 'S', 'T', 'U', 'V', 'W',  // 70
    'X', 'Y', 'Z', '{', '|', '}', '~', 0x7f,  // 78
    0x80, 0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87,  // 80
    0x88, 0x89, 'S', 0x8b, 0x8c, 0x8d, 'Z', 0x8f,  // 88
    0x90, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97,  // 90
    0x98, 0x99, 'S', 0x9b, 0x8c, 0x9d, 'Z', 'Y',  // 98
    0xa0, 0xa1, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7,  // a0
    0xa8, 0xa9, 0xaa, 0xab, 0xac, 0xad, 0xae, 0xaf,  // a8
    0xb0, 0xb1, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7,  // b0
    0xb8, 0xb9, 0xba, 0xbb, 0xbc, 0xbd, 0xbe, 0xbf,  // b8
    'A', 'A', 'A', 'A', 'A', 'A', 'E', 'C',  // c0
    'E', 'E', 'E', 'E', 'I', 'I', 'I', 'I',  // c8
    'D', 'N', 'O', 'O', 'O', 'O', 'O', 0xd7,  // d0
    'O', 'U', 'U', 'U', 'U', 'Y', 0xde, 0xdf,  // d8
    'A', 'A', 'A', 'A', 'A', 'A', 'E', 'C',  // e0
    'E', 'E', 'E', 'E', 'I', 'I', 'I', 'I',  // e8
    'O', 'N', 'O', 'O', 'O', 'O', 'O', 0xf7,  // f0
    'O', 'U', 'U', 'U', 'U', 'Y', 0xfe, 'Y',  // f8
    // clang-format on
};

namespace {

// Kinds of trick that one word may use.
const int32_t kMaxTricks = 2;
// The odd letter out is looked for in words of at least this many bytes.
const uint32_t kMinOddWord = 6;
// Bytes of a word that one comparison takes beyond those of the pattern:
// filler, doubled letters, digits of a number. A word with more of them reads
// as none, and a long one costs no more than that.
const uint32_t kMaxExtra = 256;
// "*x" looks for x this many times its own length from the word's end, and some
// more bytes: disguised, or with a tail behind a dash.
const uint32_t kTailFactor = 8;
const uint32_t kTailExtra = 32;

unsigned char Fold(unsigned char c) {
  return TBLOCK::LowerConvTable[c];
}

// Patterns are in lower case; `want` is -1 behind the pattern's end.
bool Same(unsigned char c, int32_t want) {
  return c == want || Fold(c) == want;
}

// Also for a letter of the pattern that is a capital or has an accent.
bool IsNear(unsigned char letter, unsigned char c) {
  const unsigned char plain = Fold(letter);
  if (plain < 'a' || plain > 'z') return false;
  return (TBLOCK::NearTable[plain - 'a'][c >> 3] >> (c & 7)) & 1;
}

bool IsFiller(unsigned char c) {
  return c == 0xAF || TBLOCK::Is(c, bitUseless);
}

// Filler in front of a match is no part of it: a pattern that slides over a
// word doesn't begin there, so such filler doesn't count as moBroken either.
bool IsPlaceToStart(unsigned char c) {
  return !IsFiller(c) && !TBLOCK::Is(c, bitNonBreaking);
}

// Whether byte i is made literal by a backslash.
bool IsEscaped(TBLOCK pattern, uint32_t i) {
  uint32_t n = 0;
  while (n < i && pattern[i - 1 - n] == '\\') n++;
  return n & 1;
}

bool EndsIn(TBLOCK pattern, unsigned char c) {
  return !pattern.empty() && pattern[pattern.length - 1] == c &&
         !IsEscaped(pattern, pattern.length - 1);
}

// Takes the marks of a plural off the pattern's end.
void TakePluralMarks(TBLOCK& pattern, uint32_t& options) {
  for (; EndsIn(pattern, '&'); pattern.cut(pattern.length - 1))
    options |= moPlural;
}

// Place of the pattern byte at i: behind a backslash, if that stands there.
uint32_t ByteAt(TBLOCK pattern, uint32_t i) {
  const bool escape = i + 1 < pattern.length && pattern[i] == '\\';
  return escape ? i + 1 : i;
}

// Bytes of the pattern without its backslashes.
uint32_t PlainLength(TBLOCK pattern) {
  uint32_t n = 0;
  for (uint32_t i = 0; i < pattern.length; n++) i = ByteAt(pattern, i) + 1;
  return n;
}

class Comparison {
 public:
  Comparison(TBLOCK wordText, TBLOCK patternText, uint32_t allowed, bool prefix)
      : bits(0),
        word(wordText),
        pattern(patternText),
        options(allowed),
        prefixOnly(prefix) {}

  // Walks until one side is used up; false when they can't match.
  bool walk();
  // The verdict, for a pattern that is used up.
  uint32_t finish();
  TBLOCK restOfPattern() const { return pattern.from(p); }
  uint32_t bytesWalked() const { return w; }

  uint32_t bits;  // tricks so far

 private:
  bool step();
  bool readNumber();
  bool tryTricks(unsigned char want, int32_t next);
  bool trySkips(unsigned char want, int32_t next);
  void accept(uint32_t wordBytes);
  void takePattern();
  void spend(uint32_t trick, uint32_t switchedOff);
  void skipWordByte(uint32_t trick);
  void skipUseless();
  bool isOddLetterOut();
  bool hasFewUseful();
  void takePlural();

  uint32_t wordLeft() const { return word.length - w; }
  uint32_t patternLeft();
  bool on(uint32_t option) const { return (options & option) != 0; }

  const TBLOCK word, pattern;
  uint32_t options;  // those still on
  const bool prefixOnly;
  uint32_t w = 0, p = 0;
  uint32_t extra = 0;      // bytes taken beyond the pattern's
  int64_t plainLeft = -1;  // patternLeft, once it was asked for
  int32_t tricks = 0;
  int32_t previous = -1;  // the word byte accepted last
  int32_t oddKnown = -1;  // isOddLetterOut, when it has been found out
  // Useful bytes from countedFrom up to countedTo.
  uint32_t useful = 0, countedFrom = 0, countedTo = 0;
};

bool Comparison::walk() {
  while (p < pattern.length && w < word.length) {
    if (!step() || tricks > kMaxTricks || extra > kMaxExtra) return false;
  }
  return true;
}

bool Comparison::step() {
  const uint32_t at = ByteAt(pattern, p);
  const unsigned char want = pattern[at];
  const bool literal = at != p;
  const unsigned char c = word[w];
  if (Same(c, want) || (want == '~' && !literal)) {
    if (on(moCheatAccent) && c != want &&
        (TBLOCK::CharStateTable[c] & csCheatAccent))
      bits |= moCheatAccent;
    accept(1);
    return true;
  }
  if (want == '#' && !literal) return readNumber();
  if (!IsPlaceToStart(c)) {
    skipWordByte(TBLOCK::Is(c, bitNonBreaking) ? 0 : uint32_t{moBroken});
    return true;
  }
  if (!TBLOCK::Is(want, bitLetter) || !on(moTips)) return false;
  const uint32_t behind = at + 1;
  const int32_t next =
      behind < pattern.length ? int32_t{pattern[ByteAt(pattern, behind)]} : -1;
  return tryTricks(want, next) || trySkips(want, next);
}

// Takes n bytes of the word for one of the pattern.
void Comparison::accept(uint32_t wordBytes) {
  w += wordBytes;
  previous = word[w - 1];
  takePattern();
}

void Comparison::takePattern() {
  p = ByteAt(pattern, p) + 1;
  if (plainLeft >= 0) plainLeft--;
}

uint32_t Comparison::patternLeft() {
  if (plainLeft < 0) plainLeft = PlainLength(restOfPattern());
  return static_cast<uint32_t>(plainLeft);
}

// Passes a byte of the word over, free of charge.
void Comparison::skipWordByte(uint32_t trick) {
  bits |= trick;
  extra++;
  w++;
}

// A kind of trick is paid for when it is first used.
void Comparison::spend(uint32_t trick, uint32_t switchedOff) {
  if (!(bits & trick)) tricks++;
  bits |= trick;
  options &= ~switchedOff;
}

// "#" takes a number, in which "O" may stand for a zero. That costs, but needs
// no option.
bool Comparison::readNumber() {
  uint32_t i = w;
  if (TBLOCK::Is(word[i], bitSign)) i++;
  if (i >= word.length) return false;
  if (word[i] != 'O' && !TBLOCK::Is(word[i], bitDigit)) return false;
  for (; i < word.length && i - w <= kMaxExtra; i++) {
    if (word[i] == 'O')
      spend(moNear, 0);
    else if (!TBLOCK::Is(word[i], bitDigit | bitNumSep))
      break;
  }
  extra += i - w;
  accept(i - w);
  return true;
}

// Tricks in which the word's byte stands for something, and filler that only
// looks like a letter.
bool Comparison::tryTricks(unsigned char want, int32_t next) {
  const unsigned char c = word[w];
  if (on(moPermut) && wordLeft() >= 2 && Same(word[w + 1], want) &&
      Same(c, next)) {
    spend(moPermut, moMissing | moUseless);
    accept(2);
    takePattern();
    return true;
  }
  if (c == '|' && wordLeft() > patternLeft() && !prefixOnly && hasFewUseful()) {
    skipWordByte(moBroken);
    return true;
  }
  if (on(moNear) && IsNear(want, c)) {
    spend(moNear, c == '|' ? 0 : moMissing | moPermut);
    accept(1);
    return true;
  }
  return false;
}

// Tricks in which a byte of the word or the pattern is passed over.
bool Comparison::trySkips(unsigned char want, int32_t next) {
  const unsigned char c = word[w];
  if (on(moDouble) && previous >= 0 &&
      Fold(c) == Fold(static_cast<unsigned char>(previous))) {
    spend(moDouble, moMissing | moUseless);
    skipWordByte(0);
    return true;
  }
  if (on(moUseless) && wordLeft() >= 2 && wordLeft() > patternLeft() &&
      Same(word[w + 1], want)) {
    skipUseless();
    return true;
  }
  if (TBLOCK::Is(c, bitLower) && isOddLetterOut()) {
    skipWordByte(moUseless);
    return true;
  }
  if (on(moUseless) && !(bits & moUseless) && previous >= 0 &&
      TBLOCK::Is(static_cast<unsigned char>(previous), bitUpper) &&
      TBLOCK::Is(c, bitLower) && wordLeft() >= 2) {
    const unsigned char ahead = word[w + 1];
    if (ahead == TBLOCK::UpperConvTable[want] || IsNear(want, ahead)) {
      skipUseless();
      return true;
    }
  }
  if (on(moMissing) && patternLeft() >= 2 && Same(c, next)) {
    spend(moMissing, moTips);
    takePattern();
    return true;
  }
  return false;
}

void Comparison::skipUseless() {
  spend(moUseless, moUseless | moPermut | moMissing);
  w++;
}

// Whether the word is all capitals but one letter.
bool Comparison::isOddLetterOut() {
  if (word.length < kMinOddWord || word.length > kMaxExtra) return false;
  if (oddKnown < 0) {
    int32_t others = 0;
    for (uint32_t i = 0; i < word.length && others < 2; i++)
      others += !TBLOCK::Is(word[i], bitUpper);
    oddKnown = others == 1;
  }
  return oddKnown != 0;
}

// Whether fewer bytes are left that are no filler, the ending of a plural
// aside, than the pattern has. A bar counts as one. What was counted is kept
// for the next bar, so that a word of bars stays linear; filler is not followed
// further than a comparison may go.
bool Comparison::hasFewUseful() {
  const bool plural = on(moPlural) && Fold(word[word.length - 1]) == 's';
  const uint32_t need = patternLeft() + plural;
  if (countedTo < w) countedFrom = countedTo = w, useful = 0;
  for (; countedFrom < w; countedFrom++)
    useful -= IsPlaceToStart(word[countedFrom]);
  for (; useful < need && countedTo < word.length &&
         countedTo - w <= need + kMaxExtra;
       countedTo++)
    useful += IsPlaceToStart(word[countedTo]);
  return useful < need;
}

// The ending of a plural: s, S or $, with or without an apostrophe.
void Comparison::takePlural() {
  uint32_t i = w;
  if (i < word.length && word[i] == '\'') i++;
  if (i >= word.length) return;
  const unsigned char c = word[i];
  if (c != 's' && c != 'S' && c != '$') return;
  previous = c;
  w = i + 1;
}

uint32_t Comparison::finish() {
  if (on(moPlural)) takePlural();
  const uint32_t found = bits | moFound;
  if (prefixOnly || w >= word.length) return found;
  const unsigned char c = word[w];
  if (c == '-' || c == '_' || c == '\'') return found;
  const bool last = wordLeft() == 1;
  if (last && (c == '|' || IsFiller(c) || TBLOCK::Is(c, bitNonBreaking)))
    return found;
  if (on(moDouble) && previous >= 0 && wordLeft() <= kMaxExtra) {
    const unsigned char repeated = Fold(static_cast<unsigned char>(previous));
    uint32_t i = w;
    while (i < word.length && Fold(word[i]) == repeated) i++;
    if (i == word.length) return found | moDouble;
  }
  if (on(moFinalUseless) && last && TBLOCK::Is(c, bitLetter) && c != 's' &&
      c != 'S')
    return found | moFinalUseless;
  return 0;
}

// A pattern without the marks of a plural, which are in the options.
uint32_t Compare(TBLOCK word, TBLOCK pattern, uint32_t options, bool prefixOnly,
                 const TBLOCKVECT* blocks, int32_t* blockIndex, int64_t& work) {
  const bool split = (options & moSplit) && blocks && blockIndex;
  // Each byte of the pattern takes one of the word, but for backslashes and one
  // letter that is missing.
  if (!split && pattern.length / 2 > word.length + 1) return 0;
  int32_t index = split ? *blockIndex : 0;
  for (uint32_t hops = pattern.length; !word.empty() && !pattern.empty();
       hops--) {
    Comparison comparison(word, pattern, options, prefixOnly);
    const bool walked = comparison.walk();
    work -= int64_t{comparison.bytesWalked()} + 1;
    if (!walked) return 0;
    pattern = comparison.restOfPattern();
    if (pattern.empty()) {
      const uint32_t result = comparison.finish();
      if (result && split) *blockIndex = index;
      return result;
    }
    // The word ended first. A block may be filler alone and take nothing of
    // the pattern; no word is spread over more blocks than it has bytes.
    if (!split || hops == 0) return 0;
    word = blocks->get(++index);
  }
  return 0;
}

}  // namespace

uint32_t BlockCompareKeyword(TBLOCK word, TBLOCK pattern, uint32_t options,
                             int prefixOnly, const TBLOCKVECT* blocks,
                             int32_t* blockIndex) {
  int64_t work = 0;
  TakePluralMarks(pattern, options);
  return Compare(word, pattern, options, prefixOnly != 0, blocks, blockIndex,
                 work);
}

namespace {

// The places of a word at which a pattern that slides over it may begin. Which
// of them match is left to the comparison; those that can't are few.
class SLIDE {
 public:
  // REQUIRES: a pattern that is not empty, without the marks of a plural.
  SLIDE(TBLOCK slidOver, TBLOCK patternText, uint32_t allowed);
  // Moves `i` on to the next place, at or behind it; false when none is left.
  bool find(uint32_t& i);

 private:
  bool mayBegin(uint32_t i) const;
  bool takes(TBLOCK rest, unsigned char c) const;
  uint32_t triesInRun(unsigned char c) const;
  uint32_t skipRun(uint32_t i);

  const TBLOCK word, pattern;
  const uint32_t options;
  unsigned char want;  // first byte of the pattern
  bool literal;        // it stands behind a backslash
  int32_t next;        // the byte behind it, or -1
  uint32_t runEnd = 0;
};

SLIDE::SLIDE(TBLOCK slidOver, TBLOCK patternText, uint32_t allowed)
    : word(slidOver), pattern(patternText), options(allowed) {
  const uint32_t at = ByteAt(pattern, 0);
  want = pattern[at];
  literal = at != 0;
  next =
      at + 1 < pattern.length ? int32_t{pattern[ByteAt(pattern, at + 1)]} : -1;
}

bool SLIDE::mayBegin(uint32_t i) const {
  const unsigned char c = word[i];
  if (Same(c, want) || (want == '~' && !literal)) return true;
  if (!IsPlaceToStart(c)) return false;
  if (want == '#' && !literal) return c == 'O' || TBLOCK::Is(c, bitDigit);
  if (!TBLOCK::Is(want, bitLetter) || !(options & moTips)) return false;
  if (c == '|' || Same(c, next) || IsNear(want, c)) return true;
  if (i + 1 >= word.length) return false;
  const unsigned char ahead = word[i + 1];
  return Same(ahead, want) ||
         (TBLOCK::Is(c, bitLower) && TBLOCK::Is(ahead, bitUpper));
}

// Whether the first byte of a pattern may take c, or c in the other case.
bool SLIDE::takes(TBLOCK rest, unsigned char c) const {
  const uint32_t at = ByteAt(rest, 0);
  const unsigned char byte = rest[at];
  if (Same(c, byte) || (at == 0 && byte == '~')) return true;
  const unsigned char small = Fold(c);
  return IsNear(byte, c) || IsNear(byte, small) ||
         IsNear(byte, TBLOCK::UpperConvTable[small]);
}

// From how many places in a run of c, the last ones, the pattern is tried: as
// many bytes of it as may stand in the run, one of its letters missing, and one
// more for a doubled letter. All places ahead lead to the same comparison.
uint32_t SLIDE::triesInRun(unsigned char c) const {
  uint32_t tries = 1, missing = 0;
  for (uint32_t p = 0; p < pattern.length; p = ByteAt(pattern, p) + 1) {
    const unsigned char byte = pattern[ByteAt(pattern, p)];
    if (TBLOCK::Is(byte, bitLetter) && !takes(pattern.from(p), c) && missing++)
      break;
    tries++;
  }
  return tries;
}

// Where to begin in the run of equal letters at i, filler between them. Runs in
// which a comparison stops by itself are left alone. Passed over on purpose:
// the first letter of "a-aab" is no end of a word.
uint32_t SLIDE::skipRun(uint32_t i) {
  const unsigned char c = word[i];
  runEnd = i + 1;
  if (!(options & moDouble) && IsPlaceToStart(c)) return i;
  // A look-alike counts byte for byte: its other case may be none.
  const unsigned char* table =
      Same(c, want) ? TBLOCK::LowerConvTable : TBLOCK::NoConvTable;
  uint32_t left = 1;
  for (; runEnd < word.length; runEnd++) {
    const unsigned char other = word[runEnd];
    if (table[other] == table[c])
      left++;
    else if (Fold(other) != Fold(c) &&
             (IsPlaceToStart(other) || mayBegin(runEnd)))
      break;
  }
  if (left <= 2) return i;
  for (const uint32_t tries = triesInRun(c); left > tries; left--) {
    i++;
    while (table[word[i]] != table[c]) i++;
  }
  return i;
}

bool SLIDE::find(uint32_t& i) {
  for (; i < word.length; i++) {
    if (!mayBegin(i)) continue;
    if (i >= runEnd) i = skipRun(i);
    return true;
  }
  return false;
}

// The pattern at the word's end: first where it would stand undisguised, then
// at each place near the end.
uint32_t CompareTail(TBLOCK word, TBLOCK pattern, uint32_t options,
                     int64_t& work) {
  const uint32_t plain = PlainLength(pattern);
  if (plain <= word.length) {
    const uint32_t r = Compare(word.from(word.length - plain), pattern, options,
                               false, nullptr, nullptr, work);
    if (r) return r;
  }
  const uint32_t window = plain * kTailFactor + kTailExtra;
  uint32_t i = word.length > window ? word.length - window : 0;
  SLIDE slide(word, pattern, options);
  for (; slide.find(i) && work >= 0; i++) {
    const uint32_t r =
        Compare(word.from(i), pattern, options, false, nullptr, nullptr, work);
    if (r) return r;
  }
  return 0;
}

uint32_t CompareInside(TBLOCK word, TBLOCK pattern, uint32_t options,
                       int64_t& work) {
  SLIDE slide(word, pattern, options);
  for (uint32_t i = 0; slide.find(i) && work >= 0; i++) {
    const uint32_t r =
        Compare(word.from(i), pattern, options, true, nullptr, nullptr, work);
    if (r) return r;
  }
  return 0;
}

// Offset of the first star, or -1.
int32_t FindStar(TBLOCK pattern) {
  for (uint32_t i = 0; i < pattern.length; i = ByteAt(pattern, i) + 1)
    if (pattern[i] == '*') return static_cast<int32_t>(i);
  return -1;
}

// "x*y". Side by side, as the word must be long enough for both; in string
// lines the two may overlap (MatchWildcard).
uint32_t CompareEnds(TBLOCK word, TBLOCK head, TBLOCK tail, uint32_t options,
                     int64_t& work) {
  uint32_t headOptions = options;
  TakePluralMarks(head, headOptions);
  if (word.length < PlainLength(head) + PlainLength(tail)) return 0;
  const uint32_t r =
      Compare(word, head, headOptions, true, nullptr, nullptr, work);
  const uint32_t s = r ? CompareTail(word, tail, options, work) : 0;
  return s ? r | s : 0;
}

}  // namespace

uint32_t BlockCompareWildcard(TBLOCK word, TBLOCK pattern, uint32_t options,
                              const TBLOCKVECT* blocks, int32_t* blockIndex,
                              int64_t& work) {
  if (word.empty() || pattern.empty()) return 0;
  if (pattern.length > kMaxPatternBytes) return 0;
  const bool front = pattern[0] == '*';
  if (front) pattern.skip(1);
  const bool back = EndsIn(pattern, '*');
  if (back) pattern.cut(pattern.length - 1);
  if (pattern.empty()) return moFound;
  TakePluralMarks(pattern, options);
  if (pattern.empty()) return 0;
  if (front)
    return back ? CompareInside(word, pattern, options, work)
                : CompareTail(word, pattern, options, work);
  const int32_t star = back ? -1 : FindStar(pattern);
  if (star < 0)
    return Compare(word, pattern, options, back, blocks, blockIndex, work);
  const uint32_t at = static_cast<uint32_t>(star);
  return CompareEnds(word, pattern.head(at), pattern.from(at + 1), options,
                     work);
}

unsigned char GetWordKey(TBLOCK word) {
  if (word.pointer) word.trimLeft(bitSign);
  return word.empty() ? 0 : KeyTable[word[0]];
}

namespace {

const uint32_t kAnyStart = 0xFFFFFFFF;
// Of every word, so that a pattern that begins with no letter finds them all.
const uint32_t kWordBit = 1u << 27;

uint32_t LetterBit(unsigned char c) {
  return c >= 'a' && c <= 'z' ? 1u << (c - 'a') : 0;
}

// Letters that the comparison may take each byte for, a in bit 0: the one that
// it folds to, and those whose look-alike it is.
const uint32_t LetterTable[256] = {
    // clang-format off
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000900, 0x0000000, 0x0000000,
    0x0040000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0004000, 0x0080900, 0x0000000, 0x0000010, 0x0000001, 0x0040000,
    0x0000042, 0x0000000, 0x0000000, 0x0000040, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000001, 0x0000001,
    0x0000002, 0x0000004, 0x0000008, 0x0000010, 0x0000020, 0x0000040,
    0x0000080, 0x0000900, 0x0000200, 0x0000400, 0x0000800, 0x0001000,
    0x0002000, 0x0004000, 0x0008000, 0x0010000, 0x0020000, 0x0040000,
    0x0080000, 0x0100000, 0x0200000, 0x0400000, 0x0800000, 0x1000000,
    0x2000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000001, 0x0000002, 0x0000004, 0x0000008, 0x0000010,
    0x0000020, 0x0000040, 0x0000080, 0x0000100, 0x0000300, 0x0000400,
    0x0000900, 0x0001000, 0x0002000, 0x0004000, 0x0008000, 0x0014000,
    0x0020000, 0x0040000, 0x0080100, 0x0100000, 0x0200000, 0x0400000,
    0x0800000, 0x1000000, 0x2000000, 0x0000000, 0x0000900, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0040000, 0x0000000, 0x0000000, 0x0000000, 0x2000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0040000, 0x0000000,
    0x0000000, 0x0000000, 0x2000000, 0x1000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000, 0x0000000,
    0x0000001, 0x0000001, 0x0000001, 0x0000001, 0x0000001, 0x0000001,
    0x0000010, 0x0000014, 0x0000010, 0x0000010, 0x0000010, 0x0000010,
    0x0000100, 0x0000100, 0x0000100, 0x0000100, 0x0000008, 0x0002000,
    0x0004000, 0x0004000, 0x0004000, 0x0004000, 0x0004000, 0x0800000,
    0x0000000, 0x0100000, 0x0100000, 0x0100000, 0x0100000, 0x1000000,
    0x0000000, 0x0000000, 0x0000001, 0x0000001, 0x0000001, 0x0000001,
    0x0000001, 0x0000001, 0x0000011, 0x0000004, 0x0000010, 0x0000010,
    0x0000010, 0x0000010, 0x0000100, 0x0000100, 0x0000100, 0x0000100,
    0x0004000, 0x0002000, 0x0004000, 0x0004000, 0x0004000, 0x0004000,
    0x0004000, 0x0000000, 0x0000000, 0x0100000, 0x0100000, 0x0100000,
    0x0100000, 0x1000000, 0x0000000, 0x1000000,
    // clang-format on
};

}  // namespace

// Folded twice, since a bar folds to a capital.
unsigned char PlainByte(unsigned char c) {
  return IsPlaceToStart(c) ? Fold(Fold(c)) : 0;
}

// Follows what step() may do at the pattern's first byte.
TWORDSHAPE WordShape(TBLOCK word) {
  TWORDSHAPE shape = {kWordBit, 0, 0};
  for (uint32_t i = 0; i < word.length; i++)
    shape.letters |= LetterTable[word[i]];
  uint32_t i = 0;
  for (; i < word.length && !IsPlaceToStart(word[i]); i++)
    shape.first |= LetterTable[word[i]] | kOtherBit;
  if (i >= word.length) {
    // Filler alone may stand in front of a word that is spread over blocks.
    shape.first = kAnyStart;
    return shape;
  }
  const unsigned char c = word[i];
  const unsigned char ahead = i + 1 < word.length ? word[i + 1] : 0;
  shape.first |= LetterTable[c];
  shape.ahead = LetterBit(Fold(ahead));
  if (c == 'O' || !LetterBit(PlainByte(c))) shape.first |= kOtherBit;
  // A bar may be filler, and a small letter the odd one among capitals.
  if (c == '|' || (TBLOCK::Is(c, bitLower) && TBLOCK::Is(ahead, bitUpper)))
    shape.first = kAnyStart;
  return shape;
}

TPATTERNSHAPE AnyShape() {
  return {kAnyStart, kAnyStart, 0, 0};
}

namespace {

// The letters of a pattern without stars. One that stands there twice can't be
// missing, and neither can the last.
void CollectLetters(TBLOCK pattern, TPATTERNSHAPE& shape) {
  uint32_t options = 0;
  TakePluralMarks(pattern, options);
  uint32_t last = 0;
  for (uint32_t i = 0; i < pattern.length && i < kMaxShapeBytes; i++) {
    i = ByteAt(pattern, i);
    last = LetterBit(pattern[i]);
    shape.strict |= shape.letters & last;
    shape.letters |= last;
  }
  if (pattern.length <= kMaxShapeBytes) shape.strict |= last;
}

}  // namespace

TPATTERNSHAPE PatternShape(TBLOCK pattern) {
  TPATTERNSHAPE shape = AnyShape();
  if (pattern.empty()) return shape;
  const bool front = pattern[0] == '*';
  if (front) pattern.skip(1);
  // What stands behind a star may lack a letter of its own.
  const int32_t star = FindStar(pattern);
  if (star >= 0) pattern.cut(static_cast<uint32_t>(star));
  CollectLetters(pattern, shape);
  if (front || pattern.empty()) return shape;
  const uint32_t at = ByteAt(pattern, 0);
  const unsigned char want = pattern[at];
  const uint32_t first = LetterBit(want);
  if (!first) {
    const bool any = want == '~' || TBLOCK::Is(want, bitLetter) ||
                     LetterBit(Fold(Fold(want)));
    if (!any) shape.first = kOtherBit;
    return shape;
  }
  shape.first = first;
  shape.second = 0;
  if (at + 1 >= pattern.length) return shape;
  shape.second = LetterBit(pattern[ByteAt(pattern, at + 1)]);
  if (!shape.second) shape.second = kAnyStart;
  return shape;
}

// Follows Comparison::finish.
uint32_t LiteralKindsAt(TBLOCK word, uint32_t i) {
  const uint32_t kOpen = lkHead | lkInside;
  const uint32_t kAll = kOpen | lkWhole | lkPlural | lkTail;
  if (++i >= word.length) return kAll;
  const unsigned char c = word[i];
  if (c == '-' || c == '_' || c == '\'') return kAll;
  if (c == 's' || c == 'S' || c == '$') return kOpen | lkPlural | lkTail;
  const bool last = i + 1 == word.length;
  return last && (c == '|' || !IsPlaceToStart(c)) ? kAll : kOpen;
}

namespace {

// What stands ahead of stars and of bytes that are more than one. Filler of the
// pattern is left out as that of the word is; a pattern that ends in filler
// doesn't tell where the word ends. False when not all of it was taken.
bool CollectLiteral(TBLOCK pattern, TLITERAL& literal) {
  for (uint32_t i = 0; i < pattern.length;) {
    const uint32_t at = ByteAt(pattern, i);
    const bool any = at == i && (pattern[i] == '~' || pattern[i] == '#');
    const unsigned char c = any ? 0 : PlainByte(pattern[at]);
    i = at + 1;
    if (c && literal.length < sizeof literal.bytes)
      literal.bytes[literal.length++] = c;
    else if (c || any || i == pattern.length)
      return false;
  }
  return true;
}

}  // namespace

TLITERAL PatternLiteral(TBLOCK pattern) {
  TLITERAL literal = {0, 0, {}};
  if (pattern.empty()) return literal;
  const bool front = pattern[0] == '*';
  if (front) pattern.skip(1);
  bool whole = !EndsIn(pattern, '*');
  if (!whole) pattern.cut(pattern.length - 1);
  const int32_t star = front || !whole ? -1 : FindStar(pattern);
  if (star >= 0) {
    pattern.cut(static_cast<uint32_t>(star));
    whole = false;
  }
  uint32_t options = 0;
  TakePluralMarks(pattern, options);
  whole = CollectLiteral(pattern, literal) && whole;
  if (front && literal.length > kMaxInside) literal.length = kMaxInside;
  if (literal.length == 0 || (front && !whole && literal.length < kMinInside))
    return literal;
  if (front)
    literal.kind = literal.length < kMinInside ? lkTail : lkInside;
  else
    literal.kind = !whole ? lkHead : options ? lkPlural : lkWhole;
  return literal;
}
