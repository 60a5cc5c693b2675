// The order of a scan: check and its three branches. Every step that is a
// check of its own lives elsewhere; here is only when it runs and what ends
// the scan. Tested by driver_seam_test.cc.

#include <string.h>

#include <new>

#include "message/part_iter.h"
#include "scan/forward_lines.h"
#include "scan/tqmmsg.h"

namespace {

// Filter numbers that the driver calls itself.
const int kFilterAntiBayes = 33;
const int kFilterBlackAndWhite = 43;

// The self-test: a message from this sender with this subject to one of these
// recipients is spam by decree, so that an administrator can see that the
// filter is in place. The domain can't belong to anybody.
const char kSelfTestSender[] = "selftest@quaymarsh.example";
const char kSelfTestSubject[] = "this is spam";
const char* const kSelfTestRecipients[] = {"probe1@quaymarsh.example",
                                           "probe2@quaymarsh.example"};

// The message that a notification returns, behind the first of the lines that
// is there, wherever it stands. False without one.
bool FindReturned(TBLOCK text, TBLOCK& returned) {
  for (int32_t line = 0; line < kForwardTextLines; line++)
    if (FindForwarded(text, line, returned)) return true;
  return false;
}

}  // namespace

bool TQMMSG::isBailout() const {
  return !noBailout && ledger.score >= bailout;
}

bool TQMMSG::isDecisive() const {
  return !noBailout &&
         (ledger.score > kDecisiveScore || ledger.score < -kDecisiveScore);
}

void TQMMSG::settleState() {
  ledger.state = ledger.score > kSpamThreshold ? ssSpam : ssClean;
}

int TQMMSG::check(const QMGLOBALSETUP* globalSetup,
                  const QMUSERSETUP* userSetup, TBLOCK globalList,
                  TBLOCK userList, int noBailoutFlag, int skipEmails,
                  const char* recipient, int /*unused*/) {
  noBailout = noBailoutFlag;
  bodyCharset = headerCharset;
  STR warning;
  if (dico.anyWarning(warning)) ledger.cause.add(warning.view());
  parse(1);
  checkFilter(kFilterBlackAndWhite, globalSetup, userSetup, 0);
  // The state stays what the points made of it: points taken off again by a
  // list don't clear it here.
  if (isDecisive() || isBailout()) return ledger.score;
  runChecks(globalSetup, userSetup, globalList, userList, skipEmails,
            recipient);
  return ledger.score;
}

// From the header of a real mail to the verdict.
void TQMMSG::runChecks(const QMGLOBALSETUP* globalSetup,
                       const QMUSERSETUP* userSetup, TBLOCK globalList,
                       TBLOCK userList, int skipEmails, const char* recipient) {
  if (fieldsRead == 0) {
    addToSpamScore(200, "This is not a mail", 1);
    ledger.state = ssSpam;
    return;
  }
  if (isSelfTest(recipient)) {
    addToSpamScore(222, "Yeah, this was spam", 1);
    ledger.state = ssSpam;
    return;
  }
  if (recipient && isWhiteForUser(recipient)) {
    // The cause keeps what the header filters wrote.
    ledger.score = 0;
    ledger.state = ssClean;
    return;
  }
  parseWords();
  checkVirus(globalSetup, userSetup);
  if (ledger.state == ssVirus) return;
  listFilter(globalList);
  listFilter(userList);
  if (isDecisive()) {
    settleState();
    return;
  }
  checkNotification(globalSetup, userSetup);
  if (ledger.state == ssNotification) {
    checkSpamInNotif(globalSetup, userSetup, skipEmails);
    return;
  }
  if (!checkEmbeddedSpam(globalSetup, userSetup, skipEmails))
    checkSpam(globalSetup, userSetup, skipEmails);
  // The score alone decides, whatever the branch left as the state.
  settleState();
  if (ledger.state == ssSpam) return;
  if (checkSuspect(globalSetup, userSetup)) return;
  checkCommercial(globalSetup, userSetup);
}

bool TQMMSG::isSelfTest(const char* recipient) const {
  if (!recipient || !fromBox.email.equals(kSelfTestSender) ||
      !subject.equals(kSelfTestSubject))
    return false;
  for (const char* probe : kSelfTestRecipients)
    if (strcmp(recipient, probe) == 0) return true;
  return false;
}

int TQMMSG::checkSpam(const QMGLOBALSETUP* globalSetup,
                      const QMUSERSETUP* userSetup, int skipEmails) {
  if (testRuleSection("No-Spam")) return ledger.score;
  dico.clearMatchCount("BlackWords");
  dico.clearMatchCount("WhiteWords");
  bool runWhite = true;

  STR ruleName;
  if (matchRuleSection("EverWhiteRegex", ruleName) > 0) {
    ledger.whiteScoring = 1;
    addToSpamScore(-100, "EverWhite", 1);
    ledger.whiteScoring = 0;
    ledger.state = ssClean;
    return ledger.score;
  }
  checkRuleSection("=SpamRegexBeforeWhite", 0);
  if (isBailout()) return ledger.score;
  if (!noBailout && ledger.score > kSpamThreshold) runWhite = false;

  if (!skipEmails) {
    ledger.whiteScoring = 1;
    checkEmails(1);
    ledger.whiteScoring = 0;
    if (ledger.score < -499) {
      ledger.state = ssClean;
      return ledger.score;
    }
  }
  checkFilter(kFilterAntiBayes, globalSetup, userSetup, 0);
  checkTld();
  if (runWhite) checkWhite();
  checkBlack(globalSetup, userSetup);
  if (!isBailout()) {
    const int32_t scoreBeforeWords = ledger.score;
    checkBlackWords();
    if (runWhite && scoreBeforeWords <= kSpamThreshold) {
      ledger.whiteScoring = 1;
      checkResit();
      ledger.whiteScoring = 0;
    }
  }
  if (ledger.state == ssClean && ledger.score > kSpamThreshold)
    ledger.state = ssSpam;
  return ledger.score;
}

// The text to be scanned in this message's place: a "message.txt" part, or
// what an earlier filter wrapped and marked as spam. False when there is none.
bool TQMMSG::findEmbeddedMessage(TBLOCK& source) {
  if (message.embeddedPart) {
    source = message.embeddedPart->decodeContent();
    return true;
  }
  TBLOCK flag;
  readHeaderField("X-Spam-Flag", flag, 1);
  if (!flag.equals("YES")) return false;
  PARTITER walk(message.parts);
  while (BLOCKPART* part = walk.next()) {
    if (part == &message || !part->type.equals("message/rfc822")) continue;
    source = part->decodeContent();
    return true;
  }
  return false;
}

TQMMSG* TQMMSG::loadInner(TBLOCK source) {
  if (depth >= kMaxScanDepth || *innerCount >= kMaxInnerMessages)
    return nullptr;
  TQMMSG* inner =
      new (std::nothrow) TQMMSG(pool, dico.stuff, blacklist, 0, depth + 1);
  if (!inner) return nullptr;
  ++*innerCount;
  inner->innerCount = innerCount;
  inner->fixedTime = fixedTime;
  if (inner->loadFromBlock(source, "", 1)) return inner;
  delete inner;
  return nullptr;
}

// Scans a text as a message of its own; the caller deletes the result. The
// inner message has no recipient, no parameters and no profile, and only the
// spam branch runs, with the default bailout in force. It reads the dictionary
// that this one reads.
TQMMSG* TQMMSG::scanInner(TBLOCK source, const QMGLOBALSETUP* globalSetup,
                          const QMUSERSETUP* userSetup, int skipEmails) {
  TQMMSG* inner = loadInner(source);
  if (inner) inner->checkSpam(globalSetup, userSetup, skipEmails);
  return inner;
}

int TQMMSG::checkEmbeddedSpam(const QMGLOBALSETUP* globalSetup,
                              const QMUSERSETUP* userSetup, int skipEmails) {
  TBLOCK source;
  if (!findEmbeddedMessage(source)) return 0;
  TQMMSG* inner = scanInner(source, globalSetup, userSetup, skipEmails);
  if (!inner) return 0;
  ledger.assign(inner->ledger);
  delete inner;
  return 1;
}

void TQMMSG::checkSpamInNotif(const QMGLOBALSETUP* globalSetup,
                              const QMUSERSETUP* userSetup, int skipEmails) {
  TBLOCK returned;
  if (!FindReturned(message.getTextBlock(), returned)) return;
  TQMMSG* inner = scanInner(returned, globalSetup, userSetup, skipEmails);
  if (!inner) return;
  if (inner->ledger.state != ssClean) {
    // Only these three: the sums and the details stay the notification's.
    ledger.state = inner->ledger.state;
    ledger.score = inner->ledger.score;
    ledger.cause.empty();
    ledger.cause.add(inner->ledger.cause.view());
  }
  delete inner;
}
