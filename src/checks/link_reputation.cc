// What the dictionary knows of links, pictures, domains and phone numbers: one
// lookup a check, so that new campaigns need new lines and no new code. A
// section that is absent finds nothing. Entries: the members of TQMMSG below,
// most of them filters. Tested by tests/mail/links.eml.

#include "base/md5.h"
#include "base/score.h"
#include "content/phone.h"
#include "content/random_string.h"
#include "scan/tqmmsg.h"

namespace {

// Links that lead to a host of their own.
const int32_t kHostProtos = upNone | upHttp | upHttps;

// The digest that stands with a domain.
TBLOCK DigestAt(const HASHFILE& domains, int32_t slot) {
  const unsigned char* const digest = domains.getData(slot);
  return digest ? TBLOCK(digest, MD5::kDigestBytes) : TBLOCK();
}

// "DomainWords" and "DomainsRegex": of a domain the first line of each.
void ScoreDomainWords(TQMMSG& m) {
  const char kCause[] = "DomainWords";
  const TQKLINE* line = nullptr;
  for (int32_t i = m.domains.first(); i >= 0; m.domains.next(i)) {
    const TBLOCK domain = m.domains.getBlock(i);
    if (m.dico.CheckDomainWords("DomainWords", domain, line))
      m.addToSpamScore(line->score, kCause, 1);
    if (m.dico.matchRegex("DomainsRegex", domain, line))
      m.addToSpamScore(line->score, kCause, 1);
  }
}

void ScoreBlackDomains(TQMMSG& m) {
  int32_t place = 0;
  for (int32_t i = m.domains.first(); i >= 0; m.domains.next(i)) {
    const TBLOCK digest = DigestAt(m.domains, i);
    if (!digest.empty() &&
        m.dico.findSortedMd5("BlackDomains", digest.pointer, place))
      m.addToSpamScore(507, "Summer", 1);
  }
}

void ScoreDomainPatterns(TQMMSG& m) {
  const TQKLINE* line = nullptr;
  for (int32_t i = m.domains.first(); i >= 0; m.domains.next(i))
    if (m.dico.matchRegex("SummerRegex", m.domains.getBlock(i), line))
      m.addToSpamScore(line->score, "SummerRegex", 1);
}

// Each host counts once, under the line's own text.
void ScoreBlackHosts(TQMMSG& m) {
  const TQKSECTION* const section = m.dico.findSection("BlackHost");
  const HASHTAB* const table = m.dico.hashedSection("BlackHost");
  if (!section || !table) return;
  TBLOCKVECT hosts(0);
  hosts.step = TBLOCKVECT::kSmallStep;
  for (int32_t i = 0; i < m.links->count(); i++)
    if (m.links->get(i)->url.proto & kHostProtos)
      hosts.addUnique(m.links->get(i)->url.host, 0, 0);
  STR lineText;
  for (int32_t i = 0; i < hosts.count(); i++) {
    const TQKLINE* line = nullptr;
    if (!TQMDICO::findLine(table, section, hosts.get(i), line)) continue;
    m.dico.getLineText(line, lineText, 0);
    m.addToSpamScore(line->score, lineText.c_str(), 1);
  }
}

}  // namespace

// Reads: domains, links. Scores: see above; a line of words or patterns counts
// once.
void TQMMSG::checkSpamDomains() {
  if (!links || testRuleSection("No-DomainWords")) return;
  dico.clearMatchCount("DomainWords");
  dico.clearMatchCount("DomainsRegex");
  dico.clearMatchCount("SummerRegex");
  ScoreDomainWords(*this);
  ScoreBlackDomains(*this);
  ScoreDomainPatterns(*this);
  ScoreBlackHosts(*this);
}

// Scores: the lines of "WhiteHrefDomain" and "WhiteHrefUrl".
void TQMMSG::checkWhiteLinks() {
  if (!links) return;
  const TQKSECTION* const urls = dico.findSection("WhiteHrefUrl");
  const TQKSECTION* const whiteDomains = dico.findSection("WhiteHrefDomain");
  dico.clearSectionMatchCount(urls);
  dico.clearSectionMatchCount(whiteDomains);
  const TQKLINE* line = nullptr;
  for (int32_t i = 0; i < links->count(); i++) {
    const TBLOCKURL& url = links->get(i)->url;
    dico.scanLines(urls, 0, url.url, line, 0);
    dico.scanLines(whiteDomains, 0, url.domain, line, 0);
  }
  addSectionScore("WhiteHrefDomain", 0, "%s #");
  addSectionScore("WhiteHrefUrl", 0, "%s #");
}

// Reads: fromBox, domains. Scores: the lines of "WhiteFromDomains" as "From
// Winter" and of "WhiteLinkDomains" as "Winter".
void TQMMSG::checkWhiteDomains() {
  const TQKLINE* line = nullptr;
  if (dico.hashedFind("WhiteFromDomains", fromBox.domain, line))
    addToSpamScore(line->score, "From Winter", 1);
  for (int32_t i = domains.first(); i >= 0; domains.next(i))
    if (dico.hashedFindMD5Key("WhiteLinkDomains", DigestAt(domains, i), line))
      addToSpamScore(line->score, "Winter", 1);
}

// Scores: the lines of "WhiteImgUrl".
void TQMMSG::checkWhiteImgUrl() {
  const TIMGVECT& images = htmlContext.images;
  const TQKSECTION* const urls = dico.findSection("WhiteImgUrl");
  dico.clearSectionMatchCount(urls);
  const TQKLINE* line = nullptr;
  for (int32_t i = 0; i < images.count(); i++)
    dico.scanLines(urls, 0, images.get(i)->url.url, line, 0);
  addSectionScore("WhiteImgUrl", 0, "% img url");
}

int TQMMSG::checkBlackImgUrl() {
  const TIMGVECT& images = htmlContext.images;
  for (int32_t i = 0; i < images.count(); i++)
    if (CheckRandomUrl(images.get(i)->url)) return 1;
  return 0;
}

// Scores: the mean of what the suffixes of links and pictures are worth, which
// counts as white when it is below 0.
void TQMMSG::checkTld() {
  TBLOCKVECT suffixes(0);
  int32_t count = 0;
  int64_t sum = 0;
  if (links) links->getdHttpTldList(suffixes);
  sum += checkTldList(suffixes, count);
  htmlContext.images.getdHttpTldList(suffixes);
  sum += checkTldList(suffixes, count);
  if (count == 0) return;
  const int32_t mean = static_cast<int32_t>(sum / count);
  const int32_t before = ledger.whiteScoring;
  if (mean < 0) ledger.whiteScoring = 1;
  checkCond(mean != 0, mean, "Url TLD");
  ledger.whiteScoring = before;
}

int32_t TQMMSG::checkTldList(const TBLOCKVECT& suffixes, int32_t& count) {
  const TQKSECTION* const section = dico.findSection("TLD");
  const HASHTAB* const table = dico.hashedSection("TLD");
  const TQKLINE* unknown = nullptr;
  TQMDICO::findLine(table, section, TBLOCK("unknown"), unknown);
  int64_t sum = 0;
  for (int32_t i = 0; i < suffixes.count(); i++) {
    const TQKLINE* line = unknown;
    TQMDICO::findLine(table, section, suffixes.get(i), line);
    if (line) sum += line->score;
  }
  count += suffixes.count();
  return ClampScore(sum);
}

void TQMMSG::checkHiddenUrl() {
  checkCond(htmlContext.hiddenUrlCount + textContext.hiddenUrlCount > 0, 150,
            "hidden url(s)");
  checkCond((htmlContext.flags & hcfHideHrefUrl) &&
                !testRuleSection("No-hidehrefurl"),
            150, "Hide href url");
}

// Scores: the lines of "LinkWords", and those of "LinkText" that fit a whole
// link text.
void TQMMSG::checkLinkText() {
  checkKeywordBlockList("LinkWords", htmlContext.linkWords, 0, 0,
                        " in link words");
  if (!links || !dico.findSection("LinkText")) return;
  dico.clearMatchCount("LinkText");
  for (int32_t i = 0; i < links->count(); i++) {
    const TBLOCKVECT& texts = *links->get(i)->texts;
    for (int32_t t = 0; t < texts.count(); t++)
      dico.scanString("LinkText", texts.get(t), 0);
  }
  addSectionScore("LinkText", 0, " in link text");
}

// Each text is taken as one word.
void TQMMSG::checkAlt() {
  checkKeywordBlockList("blackwords", htmlContext.altTexts, 0, 0, "=%s in alt");
}

// Numbers are known by their digits.
void TQMMSG::checkPhone() {
  OITER walk(&phones);
  while (const void* item = walk.next()) {
    const BLOCKPHONE* const phone = static_cast<const BLOCKPHONE*>(item);
    const TQKLINE* line = nullptr;
    if (dico.hashedFind("BlackPhones", phone->digits.view(), line))
      addToSpamScore(line->score, "AGB", 1);
  }
}

// The first text that the section knows is enough.
void TQMMSG::checkUnsub() {
  TBLOCKVECT texts(0);
  texts.step = TBLOCKVECT::kSmallStep;
  texts.loadFromStrings(unsubLines);
  const TQKLINE* line = nullptr;
  if (dico.findFirstHashed("Unsub", texts, line))
    addToSpamScore(line->score, "Unsub", 1);
}
