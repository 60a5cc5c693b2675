// A word of a message against a word of a pattern. The two are walked side by
// side; where they differ, the tricks that the options allow are tried in a
// fixed order, and each kind is paid for once out of a budget of two. The order
// and the options that each trick switches off keep tricks from adding up to
// words that nobody meant. Every step takes a byte of the word or the pattern,
// so a comparison is linear in both.
//
// Entry points: BlockCompareKeyword and BlockCompareWildcard, with MatchSpecial
// for the patterns that are no text. Tested by keyword_compare_test.cc; fuzzed
// by keyword_compare_fuzz.cc.

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
    0x98, 0x99, 'S', 0x9b, 0x9c, 0x9d, 'Z', 'Y',  // 98
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
// A pattern that slides over a word sees at most this many bytes of it from
// each place; bounds what a word of 200 KB costs.
const uint32_t kSlideFactor = 8;
const uint32_t kSlideExtra = 32;
const uint32_t kMaxSlideWindow = 512;

unsigned char Fold(unsigned char c) {
  return TBLOCK::LowerConvTable[c];
}

// Patterns are in lower case; `want` is -1 behind the pattern's end.
bool Same(unsigned char c, int32_t want) {
  return c == want || Fold(c) == want;
}

bool IsNear(unsigned char letter, unsigned char c) {
  if (letter < 'a' || letter > 'z') return false;
  return (TBLOCK::NearTable[letter - 'a'][c >> 3] >> (c & 7)) & 1;
}

bool IsFiller(unsigned char c) {
  return c == 0xAF || TBLOCK::Is(c, bitUseless);
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
        prefixOnly(prefix),
        allTips((allowed & moTips) == moTips) {}

  // Walks until one side is used up; false when they can't match.
  bool walk();
  // The verdict, for a pattern that is used up.
  uint32_t finish();
  TBLOCK restOfPattern() const { return pattern.from(p); }
  bool wordUsedUp() const { return w >= word.length; }
  bool tookPattern() const { return p > 0; }

  uint32_t bits;  // tricks so far

 private:
  bool step();
  bool readNumber();
  bool tryTricks(unsigned char want, int32_t next);
  bool trySkips(unsigned char want, int32_t next);
  void accept(uint32_t wordBytes);
  void takePattern();
  void spend(uint32_t trick, uint32_t switchedOff);
  void skipUseless();
  bool isOddLetterOut();
  uint32_t usefulLeft();
  void takePlural();

  uint32_t wordLeft() const { return word.length - w; }
  uint32_t patternLeft();
  bool on(uint32_t option) const { return (options & option) != 0; }

  const TBLOCK word, pattern;
  uint32_t options;  // those still on
  const bool prefixOnly, allTips;
  uint32_t w = 0, p = 0;
  int64_t plainLeft = -1;  // patternLeft, once it was asked for
  int32_t tricks = 0;
  int32_t previous = -1;  // the word byte accepted last
  int32_t oddKnown = -1;  // isOddLetterOut, when it has been found out
  // Useful bytes from countedFrom on; -1 before the first count.
  int64_t useful = -1;
  uint32_t countedFrom = 0;
};

bool Comparison::walk() {
  while (p < pattern.length && w < word.length) {
    if (!step() || tricks > kMaxTricks) return false;
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
  if (TBLOCK::Is(c, bitNonBreaking)) {
    w++;
    return true;
  }
  if (IsFiller(c)) {
    bits |= moBroken;
    w++;
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
  for (; i < word.length; i++) {
    if (word[i] == 'O')
      spend(moNear, 0);
    else if (!TBLOCK::Is(word[i], bitDigit | bitNumSep))
      break;
  }
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
  if (c == '|' && wordLeft() > patternLeft() && !prefixOnly &&
      usefulLeft() < patternLeft()) {
    bits |= moBroken;
    w++;
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
    w++;
    return true;
  }
  if (on(moUseless) && wordLeft() >= 2 && wordLeft() > patternLeft() &&
      Same(word[w + 1], want)) {
    skipUseless();
    return true;
  }
  if (TBLOCK::Is(c, bitLower) && isOddLetterOut()) {
    bits |= moUseless;  // on purpose free of charge
    w++;
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

// Whether the word is all capitals but one letter. Asked only under the whole
// set of tricks.
bool Comparison::isOddLetterOut() {
  if (!allTips || word.length < kMinOddWord) return false;
  if (oddKnown < 0) {
    int32_t others = 0;
    for (uint32_t i = 0; i < word.length && others < 2; i++)
      others += !TBLOCK::Is(word[i], bitUpper);
    oddKnown = others == 1;
  }
  return oddKnown != 0;
}

// Bytes from here on that are no filler, less the ending of a plural. A bar
// counts as one. Kept between calls, so that a word of bars stays linear.
uint32_t Comparison::usefulLeft() {
  if (useful < 0) {
    useful = 0;
    countedFrom = w;
    for (uint32_t i = w; i < word.length; i++)
      useful += !IsFiller(word[i]) && !TBLOCK::Is(word[i], bitNonBreaking);
  }
  for (; countedFrom < w; countedFrom++)
    useful -= !IsFiller(word[countedFrom]) &&
              !TBLOCK::Is(word[countedFrom], bitNonBreaking);
  const bool plural = on(moPlural) && Fold(word[word.length - 1]) == 's';
  return static_cast<uint32_t>(useful) - (plural && useful > 0 ? 1 : 0);
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
  if (prefixOnly || wordUsedUp()) return found;
  const unsigned char c = word[w];
  if (c == '-' || c == '_' || c == '\'') return found;
  const bool last = wordLeft() == 1;
  if (last && (c == '|' || IsFiller(c) || TBLOCK::Is(c, bitNonBreaking)))
    return found;
  if (on(moDouble) && previous >= 0) {
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

}  // namespace

uint32_t BlockCompareKeyword(TBLOCK word, TBLOCK pattern, uint32_t options,
                             int prefixOnly, const TBLOCKVECT* blocks,
                             int32_t* blockIndex) {
  for (; EndsIn(pattern, '&'); pattern.cut(pattern.length - 1))
    options |= moPlural;
  int32_t index = blockIndex ? *blockIndex : 0;
  while (!word.empty() && !pattern.empty()) {
    Comparison comparison(word, pattern, options, prefixOnly != 0);
    if (!comparison.walk()) return 0;
    const TBLOCK rest = comparison.restOfPattern();
    if (rest.empty()) {
      const uint32_t result = comparison.finish();
      if (result && blockIndex) *blockIndex = index;
      return result;
    }
    // The word ended first. Each further block takes a byte of the pattern at
    // least, which ends this loop.
    if (!(options & moSplit) || !blocks || !blockIndex) return 0;
    if (!comparison.tookPattern()) return 0;
    word = blocks->get(++index);
    pattern = rest;
  }
  return 0;
}

namespace {

uint32_t SlideWindow(uint32_t patternLength) {
  if (patternLength > kMaxSlideWindow) return kMaxSlideWindow;
  const uint32_t window = patternLength * kSlideFactor + kSlideExtra;
  return window < kMaxSlideWindow ? window : kMaxSlideWindow;
}

// Filler in front of a match is no part of it.
bool IsPlaceToStart(unsigned char c) {
  return !IsFiller(c) && !TBLOCK::Is(c, bitNonBreaking);
}

// The pattern at the word's end: first where it would stand undisguised, then
// at each place near the end.
uint32_t CompareTail(TBLOCK word, TBLOCK pattern, uint32_t options) {
  const uint32_t plain = PlainLength(pattern);
  if (plain <= word.length) {
    const TBLOCK tail = word.from(word.length - plain);
    const uint32_t r =
        BlockCompareKeyword(tail, pattern, options, 0, nullptr, nullptr);
    if (r) return r;
  }
  const uint32_t window = SlideWindow(plain);
  uint32_t i = word.length > window ? word.length - window : 0;
  for (; i < word.length; i++) {
    if (!IsPlaceToStart(word[i])) continue;
    const uint32_t r = BlockCompareKeyword(word.from(i), pattern, options, 0,
                                           nullptr, nullptr);
    if (r) return r;
  }
  return 0;
}

uint32_t CompareInside(TBLOCK word, TBLOCK pattern, uint32_t options) {
  const uint32_t window = SlideWindow(PlainLength(pattern));
  for (uint32_t i = 0; i < word.length; i++) {
    if (!IsPlaceToStart(word[i]) && word[i] != pattern[0]) continue;
    const uint32_t r = BlockCompareKeyword(word.from(i).head(window), pattern,
                                           options, 1, nullptr, nullptr);
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

}  // namespace

uint32_t BlockCompareWildcard(TBLOCK word, TBLOCK pattern, uint32_t options,
                              const TBLOCKVECT* blocks, int32_t* blockIndex) {
  if (word.empty() || pattern.empty()) return 0;
  const bool front = pattern[0] == '*';
  if (front) pattern.skip(1);
  const bool back = EndsIn(pattern, '*');
  if (back) pattern.cut(pattern.length - 1);
  if (pattern.empty()) return moFound;
  if (front)
    return back ? CompareInside(word, pattern, options)
                : CompareTail(word, pattern, options);
  const int32_t star = back ? -1 : FindStar(pattern);
  if (star < 0)
    return BlockCompareKeyword(word, pattern, options, back, blocks,
                               blockIndex);
  const TBLOCK head = pattern.head(static_cast<uint32_t>(star));
  const TBLOCK tail = pattern.from(static_cast<uint32_t>(star) + 1);
  if (word.length < PlainLength(head) + PlainLength(tail)) return 0;
  const uint32_t r =
      BlockCompareKeyword(word, head, options, 1, nullptr, nullptr);
  const uint32_t s = r ? CompareTail(word, tail, options) : 0;
  return s ? r | s : 0;
}

namespace {

// Where the quoted span that begins at i ends, or i when it never ends.
uint32_t EndOfQuote(TBLOCK text, uint32_t i) {
  const int32_t close = text.findByte(text[i], i + 1);
  return close < 0 ? i : static_cast<uint32_t>(close);
}

// local@host.tld; quoted spans of the local part may hold any byte. A quote
// that is not closed is an ordinary byte.
bool IsAddress(TBLOCK word) {
  uint32_t i = 0;
  bool closed[2] = {true, true};
  for (; i < word.length && word[i] != '@'; i++) {
    const unsigned char c = word[i];
    if (c == '\'' || c == '"') {
      bool& maybe = closed[c == '"'];
      const uint32_t end = maybe ? EndOfQuote(word, i) : i;
      if (end == i) maybe = false;
      i = end;
    } else if (!TBLOCK::Is(c, bitEmail)) {
      return false;
    }
  }
  if (i == 0 || i >= word.length) return false;
  const TBLOCK domain = word.from(i + 1);
  if (domain.findByte('.') < 0) return false;
  for (i = 0; i < domain.length; i++)
    if (!TBLOCK::Is(domain[i], bitDomain)) return false;
  return true;
}

bool CutsName(unsigned char c) {
  return c == '.' || c == '_' || c == '-' || TBLOCK::Is(c, bitDigit);
}

}  // namespace

int MatchSpecial(TBLOCK word, TBLOCK pattern, TBLOCK context, int& verdict) {
  if (pattern.empty() || pattern.length > 2) return 0;
  const bool two = pattern.length == 2;
  if (pattern[0] == '?' && !two)
    verdict = MatchName(word, context);
  else if (pattern[0] == '@' && !two)
    verdict = !word.empty() && word.equals(context);
  else if (pattern[0] == '@' && pattern[1] == '@')
    verdict = IsAddress(word);
  else
    return 0;
  return 1;
}

int MatchName(TBLOCK word, TBLOCK address) {
  if (word.empty() || word.length < 3) return 0;
  const int32_t at = address.findByte('@');
  if (at >= 0) address.cut(static_cast<uint32_t>(at));
  if (address.empty()) return 0;
  if (word.equals(address)) return 1;
  for (uint32_t i = 0; i < address.length; i++) {
    uint32_t n = 0;
    while (i + n < address.length && !CutsName(address[i + n])) n++;
    if (n && word.equals(address.from(i).head(n))) return 1;
    i += n;
  }
  return 0;
}

unsigned char GetWordKey(TBLOCK word) {
  if (word.pointer) word.trimLeft(bitSign);
  return word.empty() ? 0 : KeyTable[word[0]];
}

namespace {

const uint32_t kAnyStart = 0xFFFFFFFF;
// Of every word, so that a pattern that begins with no letter finds them all.
const uint32_t kWordBit = 1u << 26;

uint32_t LetterBit(unsigned char c) {
  return c >= 'a' && c <= 'z' ? 1u << (c - 'a') : 0;
}

}  // namespace

// Follows what step() may do at the pattern's first byte.
TWORDSTARTS WordStarts(TBLOCK word) {
  TWORDSTARTS starts = {kWordBit, 0};
  uint32_t i = 0;
  for (; i < word.length; i++) {
    starts.first |= LetterBit(Fold(word[i]));
    if (IsPlaceToStart(word[i])) break;
  }
  if (i >= word.length) return starts;
  const unsigned char c = word[i];
  for (unsigned char letter = 'a'; letter <= 'z'; letter++)
    if (IsNear(letter, c)) starts.first |= LetterBit(letter);
  const unsigned char ahead = i + 1 < word.length ? word[i + 1] : 0;
  starts.ahead = LetterBit(Fold(ahead));
  // A bar may be filler, and a small letter the odd one among capitals.
  if (c == '|' || (TBLOCK::Is(c, bitLower) && TBLOCK::Is(ahead, bitUpper)))
    starts.first = kAnyStart;
  return starts;
}

TPATTERNSTARTS PatternStarts(TBLOCK pattern) {
  const TPATTERNSTARTS any = {kAnyStart, kAnyStart};
  if (pattern.empty()) return any;
  uint32_t at = ByteAt(pattern, 0);
  TPATTERNSTARTS starts = {LetterBit(pattern[at]), 0};
  if (!starts.first) return any;
  if (++at < pattern.length) {
    starts.second = LetterBit(pattern[ByteAt(pattern, at)]);
    if (!starts.second) starts.second = kAnyStart;
  }
  return starts;
}
