// Words that a sender has cut into pieces, strewn with other letters or spaced
// out, so that no list of words finds them. Entries: TQMMSG::checkSliceAndDice,
// checkWordsWithoutChars, checkPhrasesWithoutChars. Tested by
// hidden_words_test.cc.

#include "base/score.h"
#include "scan/tqmmsg.h"

namespace {

// Words at the head of a body that may be pieces; that may hide letters.
const int32_t kMaxPieces = 100;
const int32_t kMaxStrewnWords = 50;

// A piece is up to this long; behind another piece it may be longer.
const uint32_t kMaxFirstPiece = 4;
const uint32_t kMaxPiece = 7;
// Other words between the pieces, for each piece.
const int32_t kMaxGap = 10;

// A word with at least so many capitals and at most so many small letters.
const int32_t kMinCapitals = 5;
const int32_t kMaxStrewn = 3;
// Capitals that are looked up: no word of a dictionary has more.
const uint32_t kMaxCapitals = 256;

// Whether the pieces that make up the word stand among the first words, in
// order and close to each other.
bool StandsInPieces(TBLOCK rest, const TBLOCKVECT& words, int32_t count) {
  int32_t pieces = 0, gap = -1;
  for (int32_t i = 0; i < count; i++) {
    const TBLOCK word = words.get(i);
    const uint32_t most = pieces > 0 ? kMaxPiece : kMaxFirstPiece;
    if (word.empty() || word.length > most || word.length > rest.length ||
        !rest.begins(word)) {
      if (gap >= 0) gap++;
      continue;
    }
    rest.skip(word.length);
    pieces++;
    if (gap < 0) gap = 0;
    if (rest.empty()) return gap / pieces < kMaxGap;
  }
  return false;
}

// Copies the capitals of a word that has a few small letters among many.
bool TakeCapitals(TBLOCK word, STR& capitals) {
  while (!word.empty() && !TBLOCK::Is(word[word.length - 1], bitUpper))
    word.length--;
  if (word.length > kMaxCapitals) return false;
  capitals.renew(static_cast<int32_t>(word.length));
  int32_t small = 0;
  for (uint32_t i = 0; i < word.length; i++) {
    if (TBLOCK::Is(word[i], bitUpper)) capitals += static_cast<char>(word[i]);
    if (TBLOCK::Is(word[i], bitLower)) small++;
  }
  return capitals.len() >= kMinCapitals && small >= 1 && small <= kMaxStrewn;
}

// A line "chars word".
void CutLine(TBLOCK line, TBLOCK& chars, TBLOCK& word) {
  chars = TBLOCK::BlockBeforeChar(line, ' ', 1, 0);
  word = line;
}

}  // namespace

int32_t TQMMSG::CheckSad(TQMDICO* dico, const TBLOCKVECT& words,
                         int32_t limit) {
  TBLOCKVECT lines(0), sought(0);
  lines.step = sought.step = TBLOCKVECT::kSmallStep;
  dico->sectionToBlockList("SadWords", lines);
  const int32_t count = words.count() < kMaxPieces ? words.count() : kMaxPieces;
  int32_t found = 0;
  for (int32_t i = 0; i < lines.count(); i++) {
    sought.clear();
    TBLOCK::GetBlockWordList(lines.get(i), sought, bitWordSep);
    for (int32_t k = 0; k < sought.count(); k++) {
      if (!StandsInPieces(sought.get(k), words, count)) continue;
      if (++found >= limit) return found;
    }
  }
  return found;
}

int TQMMSG::checkUselessLowers(STR& label) {
  STR capitals;
  for (int32_t i = 0; i < bodyWords.count() && i < kMaxStrewnWords; i++) {
    const TQKLINE* line = nullptr;
    if (!TakeCapitals(bodyWords.get(i), capitals) ||
        !dico.matchBlock("HardWords", capitals.view(), line))
      continue;
    label += capitals;
    return 1;
  }
  return 0;
}

// Reads: the first words of the body. Scores: 500 "Sad words" for three words
// of "SadWords" in pieces, unless a rule of "No-SadWords" matches; 200 "Hard
// word " and a word of "HardWords" that capitals spell. Returns: whether the
// latter did.
int TQMMSG::checkSliceAndDice() {
  if (message.unicode) return 0;
  if (!testRuleSection("No-SadWords"))
    checkCond(CheckSad(&dico, bodyWords, 3) > 2, 500, "Sad words");
  STR label("Hard word ");
  const int found = checkUselessLowers(label);
  return checkCond(found, 200, label.c_str());
}

int TQMMSG::checkWordsWithoutChars(const char* section, TBLOCK block) {
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  int64_t sum = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(found, i);
    TBLOCK chars, word;
    CutLine(dico.lineBlock(line), chars, word);
    if (TBLOCK::BlockContainWithoutChars(block, word, chars))
      sum += line->score;
  }
  return ClampScore(sum);
}

int TQMMSG::checkPhrasesWithoutChars(const char* section, TBLOCK block) {
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(found, i);
    TBLOCK chars, word;
    CutLine(dico.lineBlock(line), chars, word);
    const bool atStart = !word.empty() && word[0] == '^';
    if (atStart ? TBLOCK::BlockBeginWithoutChars(block, word.from(1), chars)
                : TBLOCK::BlockContainWithoutChars(block, word, chars))
      return line->score;
  }
  return 0;
}
