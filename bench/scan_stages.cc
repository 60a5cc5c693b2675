// The walk of a scan with a clock. Compiled without access control, since most
// steps are private to TQMMSG. No test: scan_bench compares its verdicts with
// those of the library.

#include "scan_stages.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <memory>

#include "api/letter_pairs.h"
#include "bench_util.h"
#include "content/adn.h"
#include "content/phone.h"
#include "content/random_string.h"
#include "scan/tqmmsg.h"

namespace {

const int kCauseBytes = 1 << 16;
const int kClockLooks = 20000;

enum : int {
  stLoad,
  stHeader,
  stWhiteRecip,
  stHeaderFilters,  // one for each of kHeaderFilters
  stTree = stHeaderFilters + 4,
  stDecode,
  stText,
  stHtml,
  stLinks,
  stImages,
  stLines,
  stCharsets,
  stParts,
  stUnsub,
  stSignatures,
  stPhones,
  stCounts,
  stBlackAndWhite,
  stUserWhite,
  stWords,
  stVirus,
  stLists,
  stNotification,
  stReturned,
  stEmbedded,
  stRulesBefore,
  stEmails,
  stAntiBayes,
  stTld,
  stWhite,
  stBlack,  // one for each of kBlackFilters
  stBlackWords = stBlack + 32,
  stResit,
  stSuspect,
  stCommercial,
  stLog,
  stCause,
  stHeaderOut,
  stEnd,
  stCount
};

struct NAMED {
  int stage;
  const char* group;
  const char* name;
};

const NAMED kNames[] = {
    {stLoad, "load and header", "load"},
    {stHeader, "load and header", "header fields"},
    {stWhiteRecip, "header filters", "white recipients"},
    {stTree, "body", "MIME tree"},
    {stDecode, "body", "root decoded"},
    {stText, "body", "text part"},
    {stHtml, "body", "HTML part"},
    {stLinks, "body", "links"},
    {stImages, "body", "images"},
    {stLines, "body", "lines, footers"},
    {stCharsets, "body", "charsets"},
    {stParts, "body", "parts, files, ids"},
    {stUnsub, "body", "unsubscribe texts"},
    {stSignatures, "body", "signatures"},
    {stPhones, "body", "phones"},
    {stCounts, "body", "counts, fonts, dates"},
    {stBlackAndWhite, "ahead of the branches", "BlackAndWhite"},
    {stUserWhite, "ahead of the branches", "self-test, user's white"},
    {stWords, "ahead of the branches", "words"},
    {stVirus, "ahead of the branches", "virus"},
    {stLists, "ahead of the branches", "sender lists"},
    {stNotification, "ahead of the branches", "notification"},
    {stReturned, "ahead of the branches", "returned message"},
    {stEmbedded, "ahead of the branches", "embedded message"},
    {stRulesBefore, "spam, white part", "rules before white"},
    {stEmails, "spam, white part", "sender addresses"},
    {stAntiBayes, "spam, white part", "AntiBayes"},
    {stTld, "spam, white part", "Tld"},
    {stWhite, "spam, white part", "white checks"},
    {stBlackWords, "behind the filters", "black words"},
    {stResit, "behind the filters", "resit"},
    {stSuspect, "behind the filters", "suspect"},
    {stCommercial, "behind the filters", "commercial"},
    {stLog, "report", "log line"},
    {stCause, "report", "cause"},
    {stHeaderOut, "report", "header rewritten"},
    {stEnd, "report", "end of message"},
};

// As in scan/filters.cc.
const int kHeaderFilters[] = {44, 5, 7, 45};
const int kBlackFilters[] = {14, 6,  36, 1,  38, 39, 8,  3,  4,  10, 18,
                             22, 17, 27, 40, 42, 21, 37, 15, 12, 41, 24,
                             20, 19, 2,  35, 23, 26, 9,  28, 25, 31};
const int kAntiBayesFilter = 33;
const int kBlackAndWhiteFilter = 43;

#define QM_FILTER(number, name, action) name,
const char* const kFilterNames[] = {
#include "rules/filters.inc"
};
#undef QM_FILTER

// What the body's preparation does in functions of its own file.
void TakeOuterLines(TQMMSG& m) {
  const int32_t count = m.bodyLines.count();
  m.firstLine = m.bodyLines.get(0);
  m.lastLine = m.bodyLines.get(count - 1);
  for (int32_t i = count - 2; i >= 0; i--) {
    TBLOCK shown = m.bodyLines.get(i);
    shown.trim();
    if (shown.empty()) continue;
    m.lastButOneLine = m.bodyLines.get(i);
    return;
  }
}

// Without the quotes that some names get.
void JoinFonts(TQMMSG& m) {
  const TBLOCKVECT& names = m.htmlContext.fontNames;
  for (int32_t i = 0; i < names.count(); i++) {
    if (i > 0) m.fontList += ',';
    m.fontList += names.get(i);
  }
}

}  // namespace

STAGEWALK::STAGEWALK(const SPEEDUPCONTEXT* context, const char* logRoot)
    : stages(stCount),
      context_(context),
      log_({logRoot, APPLOG::kMachine.now}),
      out_(2 * kMaxMessageBytes) {
  for (const NAMED& row : kNames) {
    stages[row.stage].group = row.group;
    stages[row.stage].name = row.name;
  }
  int stage = stHeaderFilters;
  for (int filter : kHeaderFilters) {
    stages[stage].group = "header filters";
    stages[stage++].name = kFilterNames[filter - 1];
  }
  stage = stBlack;
  for (int filter : kBlackFilters) {
    stages[stage].group = "black filters";
    stages[stage++].name = kFilterNames[filter - 1];
  }
  const double from = Now();
  for (int i = 0; i < kClockLooks; i++) start_ = Now();
  clockCost_ = (start_ - from) / kClockLooks;
}

void STAGEWALK::begin() {
  start_ = Now();
}

void STAGEWALK::done(int stage) {
  const double now = Now();
  stages[stage].seconds += now - start_ - clockCost_;
  stages[stage].runs++;
  start_ = now;
}

void STAGEWALK::startPasses() {
  for (STAGE& stage : stages) {
    stage.seconds = 0;
    stage.runs = 0;
    stage.passes.clear();
  }
}

void STAGEWALK::endPass() {
  for (STAGE& stage : stages) {
    stage.passes.push_back(std::max(stage.seconds, 0.0));
    stage.seconds = 0;
  }
}

// TQMMSG::parse and checkHeaderFilter.
void STAGEWALK::parse(TQMMSG& m) {
  m.parseHeader();
  done(stHeader);
  m.headerFiltered = 1;
  if (!m.testRuleSection("No-Spam")) {
    m.checkWhiteRecip();
    done(stWhiteRecip);
    int stage = stHeaderFilters;
    for (int filter : kHeaderFilters) {
      if (m.isBailout()) break;
      m.checkFilter(filter, nullptr, nullptr, 1);
      done(stage++);
    }
  }
  if (!m.isBailout()) parseBody(m);
}

void STAGEWALK::parseBody(TQMMSG& m) {
  m.bodyParsed = 1;
  m.message.parsePart();
  done(stTree);
  m.message.decodeContent();
  m.message.decoded.trim();
  m.body.clear();
  m.bodyIsHtml = 0;
  done(stDecode);
  m.prepareText();
  done(stText);
  m.prepareHtml();
  done(stHtml);
  m.prepareLinks();
  done(stLinks);
  m.prepareImages();
  done(stImages);
  m.buildBodyLines();
  m.removeAntiVirusFooter();
  m.removeAntiVirusHtml();
  GetBlockCharAdn(m.body, m.charCounts, m.charPresence);
  TakeOuterLines(m);
  m.parseBodyTokens();
  done(stLines);
  m.prepareCharsets();
  done(stCharsets);
  m.buildTypeAdn();
  m.describeParts();
  m.prepareIds();
  m.checkEmptyBody();
  done(stParts);
  m.prepareUnsub();
  done(stUnsub);
  m.getAdnFromBlock(kFieldAdnText, m.body, m.bodyAdn);
  m.setTags();
  done(stSignatures);
  BlockParsePhones(m.body, m.phones, PO_DEFAULTOPTIONS);
  done(stPhones);
  m.getAdnCounts();
  m.getAdnFromBlock(kFieldAdnHtml, m.htmlContext.htmlPattern.view(), m.htmlAdn);
  JoinFonts(m);
  m.getDatesAdn(m.datesAdn);
  m.dropRegexFields();
  done(stCounts);
}

// TQMMSG::check.
VERDICT STAGEWALK::scan(const std::string& mail, const char* user,
                        const QMGLOBALSETUP* globalSetup,
                        const QMUSERSETUP* userSetup) {
  globalSetup_ = globalSetup;
  userSetup_ = userSetup;
  begin();
  std::unique_ptr<TQMMSG> owner(
      new TQMMSG(context_->pool, context_->stuff, context_->blacklist, 0, 0));
  TQMMSG& m = *owner;
  if (!context_->profile.empty()) m.profile = context_->profile;
  m.wantHeader = 1;
  m.loadFromBlock(TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())), user,
                  0);
  m.bodyCharset = m.headerCharset;
  STR warning;
  if (m.dico.anyWarning(warning)) m.ledger.cause.add(warning.view());
  done(stLoad);
  parse(m);
  begin();
  m.checkFilter(kBlackAndWhiteFilter, globalSetup, userSetup, 0);
  done(stBlackAndWhite);
  if (!m.isDecisive() && !m.isBailout()) runChecks(m, user);
  begin();
  report(m, user);
  const VERDICT verdict = {m.ledger.state, m.ledger.score};
  begin();
  owner.reset();
  done(stEnd);
  return verdict;
}

void STAGEWALK::runChecks(TQMMSG& m, const char* user) {
  begin();
  // Rare ways out: the driver itself takes them.
  if (m.fieldsRead == 0 || m.isSelfTest(user) || m.isWhiteForUser(user)) {
    m.runChecks(globalSetup_, userSetup_, TBLOCK(), TBLOCK(), 0, user);
    return;
  }
  done(stUserWhite);
  m.parseWords();
  done(stWords);
  m.checkVirus(globalSetup_, userSetup_);
  done(stVirus);
  if (m.ledger.state == ssVirus) return;
  m.listFilter(TBLOCK());
  m.listFilter(TBLOCK());
  done(stLists);
  if (m.isDecisive()) return m.settleState();
  m.checkNotification(globalSetup_, userSetup_);
  done(stNotification);
  if (m.ledger.state == ssNotification) {
    m.checkSpamInNotif(globalSetup_, userSetup_, 0);
    done(stReturned);
    return;
  }
  const int embedded = m.checkEmbeddedSpam(globalSetup_, userSetup_, 0);
  done(stEmbedded);
  if (!embedded) checkSpam(m);
  m.settleState();
  begin();
  if (m.ledger.state == ssSpam) return;
  const int suspect = m.checkSuspect(globalSetup_, userSetup_);
  done(stSuspect);
  if (suspect) return;
  m.checkCommercial(globalSetup_, userSetup_);
  done(stCommercial);
}

void STAGEWALK::checkSpam(TQMMSG& m) {
  if (m.testRuleSection("No-Spam")) return;
  m.dico.clearMatchCount("BlackWords");
  m.dico.clearMatchCount("WhiteWords");
  STR ruleName;
  if (m.matchRuleSection("EverWhiteRegex", ruleName) > 0) {
    m.ledger.whiteScoring = 1;
    m.addToSpamScore(-100, "EverWhite", 1);
    m.ledger.whiteScoring = 0;
    return;
  }
  m.checkRuleSection("=SpamRegexBeforeWhite", 0);
  done(stRulesBefore);
  if (m.isBailout()) return;
  const bool runWhite = m.ledger.score <= kSpamThreshold;
  m.ledger.whiteScoring = 1;
  m.checkEmails(1);
  m.ledger.whiteScoring = 0;
  done(stEmails);
  if (m.ledger.score < -499) return;
  m.checkFilter(kAntiBayesFilter, globalSetup_, userSetup_, 0);
  done(stAntiBayes);
  m.checkTld();
  done(stTld);
  if (runWhite) {
    m.checkWhite();
    done(stWhite);
  }
  checkBlack(m, runWhite);
}

void STAGEWALK::checkBlack(TQMMSG& m, bool runWhite) {
  int stage = stBlack;
  for (int filter : kBlackFilters) {
    if (m.isBailout()) return;
    m.checkFilter(filter, globalSetup_, userSetup_, 1);
    done(stage++);
  }
  if (m.isBailout()) return;
  const int32_t scoreBeforeWords = m.ledger.score;
  m.checkBlackWords();
  done(stBlackWords);
  if (!runWhite || scoreBeforeWords > kSpamThreshold) return;
  m.ledger.whiteScoring = 1;
  m.checkResit();
  m.ledger.whiteScoring = 0;
  done(stResit);
}

// The end of ScanRecord.
void STAGEWALK::report(TQMMSG& m, const char* user) {
  {
    APPLOG log("quaymarsh", "qmspamstate", 31, &log_);
    char verdict[32];
    snprintf(verdict, sizeof verdict, "%d\t%d", m.ledger.state, m.ledger.score);
    log.log(user, verdict);
    log.forceHouseKeepingAt("04:01");
  }
  done(stLog);
  BLOCK cause(0, BLOCK::_DEFALLOCSIZE);
  STR version;
  m.getQMVersion(version);
  cause.add(version.view());
  cause.add("; ");
  cause.add(m.ledger.cause.view());
  if (m.testRuleSection("ExtendedSpamCause")) m.appendExtendedCause(cause);
  memset(out_.data(), 0, kCauseBytes);
  EncodeLetterPairs(cause.view(), out_.data(), kCauseBytes);
  done(stCause);
  if (!m.header) return;
  HEADER& header = *m.header;
  header.removeEntry("X-ANTISPAM-AGENT");
  header.removeEntry("X-SPAM-SCORE");
  header.appendEntry("X-ANTISPAM-AGENT", version.c_str());
  header.appendEntry("X-SPAM-SCORE", "100");
  STR subject;
  header.getEntryValue("Subject", subject);
  header.setEntryValue("Subject", subject.c_str());
  header.copyTo(out_.data(), static_cast<int32_t>(out_.size()));
  done(stHeaderOut);
}
