// What speaks for a message and what speaks against it, by words and rules of
// the dictionary. Entry points: checkWhite, checkBlackWords, checkTipsWords,
// checkRandom, and checkSuspect, which judges a message that is no spam once
// more. Tested by tests/mail/white_black.eml.

#include <stdio.h>

#include "content/random_string.h"
#include "scan/tqmmsg.h"

namespace {

// Points for random strings: two for each of their bytes, up to these.
const int32_t kMaxRandomBytes = 45;

// Character sets in which words look random to the tables of letter triples.
const char kCentralEuropean[] =
    "(charset=(?i)^iso-8859-)&(charset<>(?i)^iso-8859-1)";
// Deliberately without its last parenthesis, and so never true: mail in this
// set is judged like any other, and the points of rules count on that.
const char kJapanese[] = "(charset=(?i)^iso-2022-jp";

void ScoreAllWords(TQMMSG& m, const char* section) {
  m.checkKeywordBlockList(section, m.aliasWords, 0, 0, " in alias");
  m.checkKeywordBlockList(section, m.subjectWords, 0, 0, " in subject");
  m.checkKeywordBlockList(section, m.bodyWords, 0, 0, "");
}

}  // namespace

// Reads: answerCount, from 2 on. Scores: -50 "Answer" for each point of it.
void TQMMSG::checkAnswer() {
  checkCond(answerCount > 1, ClampScore(int64_t{answerCount} * -50), "Answer");
}

// Scores: what the white sections and checks say. Some names of sections
// differ only in their capitals, and are the same section.
void TQMMSG::checkWhite() {
  ledger.whiteScoring = 1;
  checkHeaderFields("HamHeaderField", nullptr);
  checkAnswer();
  checkAttach();
  checkWhiteLinks();
  checkWhiteImgUrl();
  checkHtmlMeta("WhiteHtmlMeta", 0);
  checkHtmlMeta("WhiteHtmlMetaSilent", 1);
  checkRuleSection("=WhiteRegex", 0);
  checkAllKeywordBlock("WhiteSubject", subject, "%s in subject");
  checkKeywordBlockList("WhiteSubjectWords", subjectWords, 0, 0,
                        "=%s in subject");
  // Padding is there to look like harmless words.
  if (!subjectAntiBayes)
    checkKeywordBlockList("NoAntibayesWhitewords", subjectWords, -20, 0,
                          "=%s in subject");
  checkKeywordBlock("WhiteContent", body, "");
  checkKeywordBlockList("Whitewords", subjectWords, -20, 0, " in subject");
  checkKeywordBlockList("WhiteWords", bodyWords, 0, 0, "");
  if (!bodyAntiBayes)
    checkKeywordBlockList("NoAntiBayesWhiteWords", bodyWords, 0, 0, "");
  checkCond(checkMailingList(), -100, "MailingList");
  checkWhiteDomains();
  ledger.whiteScoring = 0;
}

// Scores: what the sections of black words say, until the bailout.
void TQMMSG::checkBlackWords() {
  if (isBailout()) return;
  checkAlt();
  if (isBailout()) return;
  checkKeywordBlockList("Blackwords", subjectWords, 20, 0, " in subject");
  if (isBailout()) return;
  checkKeywordBlockList("BlackSubjectWords", subjectWords, 0, 0, " in subject");
  if (isBailout()) return;
  checkKeywordBlockList("Blackwords", aliasWords, 0, 0, " in alias");
  if (isBailout()) return;
  checkKeywordBlockList("Blackwords", bodyWords, 0, 0, "");
}

// Words in disguise. Scores: what the section says of them; the points of
// phrases and words with filler between their letters, as "Forged phrases" and
// "Forged words".
void TQMMSG::checkTipsWords() {
  checkKeywordBlockList("TipsWords", subjectWords, 0, 1, " [tips] in subject");
  checkKeywordBlockList("TipsWords", bodyWords, 0, 1, " [tips]");
  checkKeywordBlockList("TipsWords", aliasWords, 0, 1, " [tips] in alias");
  const int phrases = checkPhrasesWithoutChars("PhrasesWithoutChars", body);
  checkCond(phrases != 0, phrases, "Forged phrases");
  const int words = checkWordsWithoutChars("WordsWithoutChars", body);
  checkCond(words != 0, words, "Forged words");
}

// Reads: body. Scores: twice the bytes of its random words, as "N random
// string(s)".
void TQMMSG::checkRandom() {
  TBLOCK name;
  if (checkRule(TBLOCK(kCentralEuropean), name, 0, '|') > 0) return;
  if (checkRule(TBLOCK(kJapanese), name, 0, '|') > 0) return;
  if (testRuleSection("No-Randomstring")) return;
  int32_t weight = 0;
  const int32_t n = RandomStringCount(body, weight);
  if (n <= 0) return;
  char label[40];
  snprintf(label, sizeof label, "%d random string(s)", n);
  addToSpamScore(2 * (weight < kMaxRandomBytes ? weight : kMaxRandomBytes),
                 label, 1);
}

// Starts from a clean ledger. What it finds replaces the points and the cause
// of the scan, with state 5 however many points there are; when it comes to
// nothing, the ledger is as it was before. Runs when both setups or the
// message's profile ask for it.
int TQMMSG::checkSuspect(const QMGLOBALSETUP* globalSetup,
                         const QMUSERSETUP* userSetup) {
  if (!BothWant(globalSetup, userSetup, QM_CHECK_SUSPECT) &&
      !hasProfile("CheckSuspect"))
    return 0;
  if (testRuleSection("No-SuspectEmail")) return ledger.state;
  LEDGER before;
  before.assign(ledger);
  ledger.reset();
  ScoreAllWords(*this, "SuspectEmail-Words");
  if (ledger.score > 0) ScoreAllWords(*this, "LegitEmail-Words");
  checkRuleSection("SuspectEmail-Regex", 0);
  if (ledger.score < 1)
    ledger.assign(before);
  else
    ledger.state = ssSuspect;
  return ledger.state;
}
