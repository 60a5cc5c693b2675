// What lists say about a sender or a link: the client's files, and the lists
// that come with a scan. Their points settle a case at once. Entry points:
// checkBlackAndWhite, listFilter and checkWhiteRecip. Tested by
// tests/checks/white_black_test.cc.

#include "scan/tqmmsg.h"

#include "base/wildcard.h"
#include "rules/url_blacklist.h"

namespace {

typedef TernaryStringTree<bool, false> URLTREE;

const int kListedBlack = 5000;
const int kListedWhite = -5000;
const int kListedCopy = -1000;
// A kind and a value.
const uint32_t kMinListLine = 2;

bool FitsAnyPattern(const TBLOCKVECT& patterns, TBLOCK address) {
  const int32_t n = patterns.count();
  for (int32_t i = 0; i < n; i++)
    if (FitsListPattern(patterns.get(i), address)) return true;
  return false;
}

// Whether the URL begins with a string of the tree, as it stands in the
// message or without its protocol.
bool HoldsPrefixOf(const URLTREE& tree, const TBLOCKURL& url) {
  bool found = false;
  if (tree.longestPrefix(url.url, found)) return true;
  TBLOCK rest = url.url;
  return TBLOCKURL::ParseBlockUrlProtocol(rest) != upNone &&
         tree.longestPrefix(rest, found) != 0;
}

struct URLVERDICT {
  int score;
  const char* label;
};
const URLVERDICT kUnlisted = {0, ""};

// What the lists say of one URL, white ahead of black.
URLVERDICT JudgeUrl(const UrlBlacklist& lists, const TBLOCKURL& url,
                    bool withBracken) {
  if (lists.clientWhiteDomains.findKey(url.domain) >= 0)
    return {-2007, "ClientWhiteDomain"};
  if (lists.clientBlackDomains.findKey(url.domain) >= 0)
    return {2007, "ClientBlackDomain"};
  if (HoldsPrefixOf(lists.clientUrls, url)) return {2007, "ClientBlackUrl"};
  if (HoldsPrefixOf(lists.tamarackUrls, url)) return {2009, "TamarackBlackUrl"};
  if (lists.tamarackDomains.findKey(url.domain) >= 0)
    return {2009, "TamarackBlackDomain"};
  if (withBracken && HoldsPrefixOf(lists.brackenUrls, url))
    return {2007, "BrackenBU"};
  return kUnlisted;
}

// From the last link to the first: what stands last in a message decides.
URLVERDICT JudgeLinks(const UrlBlacklist& lists, const TLINKVECT& links,
                      bool withBracken) {
  TBLOCKVECT urls(0);
  urls.step = TBLOCKVECT::kSmallStep;
  links.unfoldUrlsAsRepeatedBlocks(urls);
  for (int32_t i = urls.count() - 1; i >= 0; i--) {
    TBLOCKURL url;
    url.parseUrl(urls.get(i));
    const URLVERDICT verdict = JudgeUrl(lists, url, withBracken);
    if (verdict.score) return verdict;
  }
  return kUnlisted;
}

// What follows the first "@".
TBLOCK HostOf(TBLOCK address) {
  TBLOCK::BlockBeforeChar(address, '@', 0, 0);
  return address;
}

}  // namespace

// Reads: blacklist, fromBox, the links of both bodies, recipientBox or else
// user. Scores: one entry, told above and in the body. Links of the text are
// the first ones.
void TQMMSG::checkBlackAndWhite() {
  if (!blacklist || blacklist->lineCount == 0) return;
  if (FitsAnyPattern(blacklist->whiteFrom, fromBox.email)) {
    addToSpamScore(-2010, "ClientWhiteFrom", 1);
    return;
  }
  if (FitsAnyPattern(blacklist->blackFrom, fromBox.email)) {
    addToSpamScore(2010, "ClientBlackFrom", 1);
    return;
  }
  STR userEmail;
  TBLOCK recipient = recipientBox.email;
  if (recipient.empty()) recipient = TBLOCK(getUserEmail(userEmail));
  const TQKLINE* line = nullptr;
  const bool withBracken = blacklist->brackenUrls.size() != 0 &&
                           !dico.hashedFind("No-Bracken", recipient, line);
  URLVERDICT verdict = JudgeLinks(*blacklist, htmlContext.links, withBracken);
  if (!verdict.score)
    verdict = JudgeLinks(*blacklist, textContext.links, withBracken);
  addToSpamScore(verdict.score, verdict.label, 1);
}

// Reads: toList, fromBox. Scores: -100 "@!Recipients" for one recipient whose
// address was made from a name that is not the sender's.
void TQMMSG::checkWhiteRecip() {
  const int32_t n = toList.count();
  for (int32_t i = 0; i < n; i++) {
    const TMAILBOX box = toList.get(i);
    if (box.scheme <= 0) continue;
    if (!box.name.empty() && box.name.equals(fromBox.name)) continue;
    addToSpamScore(-100, "@!Recipients", 1);
    return;
  }
}

// Lines: "-PATTERN" a black sender, "+PATTERN" a white one, "=PATTERN" an
// address for copies that is white; others mean nothing. A white sender counts
// only when something shows that the message is not a forgery: its sender must
// not write in the recipient's name, and a pattern with a star does not reach
// the recipient's own domain, which spammers like to write from. The parameter
// "ForceWhiteList" waives that. All lines that fit add up.
int TQMMSG::listFilter(TBLOCK list) {
  if (list.empty()) return ledger.score;
  int proofs[4];
  _checkValidSender(proofs[0], proofs[1], proofs[2], proofs[3]);
  const bool valid = proofs[0] || proofs[1] || proofs[2] || proofs[3];
  const bool force = hasParam("ForceWhiteList");
  const bool sameDomain =
      HostOf(recipientBox.email).equals(HostOf(fromBox.email));
  const bool toOne = toList.count() + ccList.count() < 2;
  while (!list.empty()) {
    TBLOCK line = TBLOCK::NextMailLine(list);
    line.trimRight();
    if (line.length < kMinListLine) continue;
    const TBLOCK value = line.from(1);
    if (line[0] == '-') _fromFilter(value, kListedBlack);
    if (line[0] != '+' && line[0] != '=') continue;
    ledger.whiteScoring = 1;
    const bool ownDomain = sameDomain && toOne && value.findByte('*') >= 0;
    if (line[0] == '=')
      _ccFilter(value, kListedCopy);
    else if (force || (valid && !ownDomain))
      _fromFilter(value, kListedWhite);
    ledger.whiteScoring = 0;
  }
  return ledger.score;
}
