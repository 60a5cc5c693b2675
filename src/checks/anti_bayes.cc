// Padding: strings of plain words that stand in a mail only to mislead
// statistical filters. It shows in the rhythm of its words, their lengths and
// case, whatever the words are. Entries: TQMMSG::checkAntiBayes, and
// checkAntiBayesBlock for texts that the reader does not see. What they find
// tells the white checks whether white words can be trusted. Tested by
// anti_bayes_test.cc and tests/mail/anti_bayes.eml.

#include "scan/tqmmsg.h"

namespace {

// Lines at the end of a body in which generators leave their sentences.
const int32_t kLastLines = 10;
const uint32_t kMinGibberish = 41;  // bytes
const int32_t kMinGibberishLetters = 6;
const int32_t kMinSentenceWords = 10;
const int32_t kMinSentenceCommas = 2;

// Candidate words of a body that are looked at: padding stands first.
const int32_t kMaxBodyWords = 200;
const uint32_t kMinWord = 3, kMaxWord = 20;
// From these lengths on a word makes its kind of run longer.
const uint32_t kLongWord = 7, kMidWord = 5;
// A run counts when it is longer than this.
const int32_t kFreeRun = 5;
const int32_t kMinLineRun = 16, kFreeLineRun = 8;

const uint32_t kMinSubjectWord = 4, kMaxSubjectWord = 19;
const int32_t kMinSubjectRun = 10;

// Above this the count scores, ten points each.
const int32_t kFreeCount = 3;
const int32_t kMaxBodyPoints = 300;
const int32_t kMaxOtherPoints = 200;

int32_t PointsOf(int32_t count, int32_t most) {
  return count < most / 10 ? count * 10 : most;
}

// The next text between bytes of the class, and the byte that ended it; a blank
// at the end of the text. Separators in a row part two tokens, they make none.
bool NextToken(TBLOCK& rest, uint32_t separators, TBLOCK& token,
               unsigned char& ending) {
  rest.trimLeft(separators);
  if (rest.empty()) return false;
  token = rest.head(rest.lengthUntil(separators));
  rest.skip(token.length);
  ending = rest.empty() ? ' ' : rest[0];
  return true;
}

// One long stretch of many different letters; how often the last of them is
// repeated makes no difference to that.
bool IsGibberish(TBLOCK line) {
  return line.length >= kMinGibberish && line.allIn(bitLower | bitQuote) &&
         TBLOCK::BlockCountChars(line) >= kMinGibberishLetters;
}

// Sentences of small letters with exactly one comma each.
bool IsMadeUpSentences(TBLOCK line) {
  if (!line.allIn(bitComma | bitLower | bitDot | bitWhiteSpace | bitQuote))
    return false;
  int32_t words = 0, commas = 0, sentences = 0;
  TBLOCK word;
  unsigned char ending;
  while (NextToken(line, bitComma | bitDot | bitWhiteSpace, word, ending)) {
    words++;
    if (line.begins(", ")) {
      commas++;
    } else if (line.begins(" . ") || line.equals(" .")) {
      if (commas != sentences + 1) return false;
      sentences = commas;
    }
  }
  return words >= kMinSentenceWords && commas >= kMinSentenceCommas &&
         sentences == commas;
}

// The runs of a body's words.
class PADDING {
 public:
  int32_t count = 0;

  // False when enough has been seen.
  bool addLine(TBLOCK line) {
    lineRun = 0;
    longRun = 0;
    midRun = 0;
    TBLOCK token;
    unsigned char ending;
    while (NextToken(line, bitDot | bitWhite, token, ending)) {
      if (token.length < kMinWord || token.length > kMaxWord ||
          !token.allIn(bitEquals | bitLower)) {
        lineRun = -1;
        closeLong();
        closeMid();
        continue;
      }
      if (++words > kMaxBodyWords) return false;
      addWord(token.length, ending);
    }
    // The other runs are lost with the line, on purpose.
    if (lineRun >= kMinLineRun) count += lineRun - kFreeLineRun;
    return true;
  }

  void endBody() {
    if (midRun > kFreeRun) count += midRun - kFreeRun;
    if (longRun > kFreeRun) count += longRun;
  }

 private:
  int32_t words = 0;
  int32_t lineRun = 0;  // words parted by single blanks; -1: not this line
  int32_t longRun = 0, midRun = 0;

  void addWord(uint32_t length, unsigned char ending) {
    lineRun = ending == ' ' && lineRun != -1 ? lineRun + 1 : -1;
    if (length < kLongWord)
      closeLong();
    else
      longRun++;
    if (length < kMidWord)
      closeMid();
    else
      midRun++;
  }

  // A long run that counts takes the words of the other one with it.
  void closeLong() {
    if (longRun > kFreeRun) {
      count += longRun;
      midRun = 0;
    }
    longRun = 0;
  }

  void closeMid() {
    if (midRun > kFreeRun) count += midRun - kFreeRun;
    midRun = 0;
  }
};

int32_t CountBodyPadding(TBLOCK body) {
  PADDING padding;
  while (!body.empty())
    if (!padding.addLine(TBLOCK::BlockNextLine(body))) break;
  padding.endBody();
  return padding.count;
}

// Whether a word is of one case and plain.
bool IsSubjectPadding(TBLOCK word) {
  return word.length >= kMinSubjectWord && word.length <= kMaxSubjectWord &&
         word.allIn(bitAntiBayes) &&
         (word.unchangedBy(TBLOCK::LowerConvTable) ||
          word.unchangedBy(TBLOCK::UpperConvTable));
}

int32_t CountSubjectPadding(TBLOCK subject) {
  int32_t count = 0, run = 0;
  TBLOCK token;
  unsigned char ending;
  while (NextToken(subject, bitWhiteSpace, token, ending)) {
    if (IsSubjectPadding(token)) {
      run++;
      continue;
    }
    if (run >= kMinSubjectRun) count += run;
    run = 0;
  }
  if (run >= kMinSubjectRun) count += run;
  return count;
}

}  // namespace

// Returns: nothing; the results stand in bodyAntiBayes and subjectAntiBayes.
void TQMMSG::checkAntiBayes() {
  bodyAntiBayes = checkBodyAntiBayes();
  subjectAntiBayes = checkSubjectAntiBayes();
  checkInvisibleAntiBayes();
}

// Reads: the last lines of the body.
int TQMMSG::checkBodyAntiBayes2006() {
  const int32_t count = bodyLines.count();
  for (int32_t i = count; i-- > 0 && i >= count - kLastLines;) {
    const TBLOCK line = bodyLines.get(i);
    if (IsGibberish(line) || IsMadeUpSentences(line))
      return checkCond(1, 300, "ANTIBAYES-2");
  }
  return 0;
}

// Reads: body. Writes: bodyAntiBayesCount.
int TQMMSG::checkBodyAntiBayes() {
  if (checkBodyAntiBayes2006()) return 1;
  bodyAntiBayesCount = CountBodyPadding(body);
  if (bodyAntiBayesCount <= kFreeCount) return 0;
  addToSpamScore(PointsOf(bodyAntiBayesCount, kMaxBodyPoints), "ANTIBAYES", 1);
  return 1;
}

// Reads: subject. Writes: subjectAntiBayesCount.
int TQMMSG::checkSubjectAntiBayes() {
  subjectAntiBayesCount = CountSubjectPadding(subject);
  if (subjectAntiBayesCount < kMinSubjectRun) return 0;
  addToSpamScore(PointsOf(subjectAntiBayesCount, kMaxOtherPoints),
                 "SUBJECT ANTIBAYES", 1);
  return 1;
}

// Reads: the texts that HTML hides.
int TQMMSG::checkInvisibleAntiBayes() {
  const TBLOCKVECT& texts = htmlContext.invisibleTexts;
  int32_t sum = 0;
  for (int32_t i = 0; i < texts.count(); i++)
    sum += checkAntiBayesBlock(texts.get(i), 5, 20, 6);
  if (sum <= 0) return 0;
  addToSpamScore(PointsOf(sum, kMaxOtherPoints), "INVISIBLE ANTIBAYES", 1);
  return 1;
}

int32_t TQMMSG::checkAntiBayesBlock(TBLOCK block, uint32_t minLength,
                                    uint32_t maxLength, int32_t minRun) {
  int32_t total = 0, run = 0;
  TBLOCK token;
  unsigned char ending;
  while (NextToken(block, bitDot | bitWhite, token, ending)) {
    if (token.length >= minLength && token.length <= maxLength &&
        (token.allIn(bitEquals | bitLower) || token.allIn(bitUpper))) {
      run++;
      continue;
    }
    if (run >= minRun) total += run;
    run = 0;
  }
  if (run >= minRun) total += run;
  return total;
}

// Reads: tags and links of a plain text.
void TQMMSG::checkTextPlain() {
  if (textContext.tagCount > 10 && !message.htmlPart)
    addToSpamScore(50, "Tags in text part", 1);
  const TLINKVECT& found = textContext.links;
  if (!message.type.equals("text/plain") || linkCount != 1 ||
      found.count() != 1)
    return;
  const TBLOCKURL& url = found.get(0)->url;
  if (url.host.find("www.") < 0 && url.url.ends("/"))
    addToSpamScore(60, "Text scheme 1", 1);
}
