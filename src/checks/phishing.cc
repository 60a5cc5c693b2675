// Mail that pretends to come from a brand, to lure its reader elsewhere: links
// whose text names one place and whose target is another, and links to bare
// addresses. Rules tell which mail pretends so; other mail is only looked
// through for links that lie. Entry: TQMMSG::checkPhishing. The brand with
// tests of its own is in brand_phishing.cc. Tested by phishing_test.cc,
// tests/mail/phishing.eml and fuzz/links_phishing_fuzz.cc.

#include "checks/phishing_links.h"
#include "regex/regex.h"
#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kForgedScore = 90;
const uint32_t kMinSuspectPath = 16;
const int32_t kMaxSuspectLinks = 49;
// Longer hosts are made by machines, and not to be read.
const uint32_t kMaxReadableHost = 63;
// Shorter names have too many neighbours.
const uint32_t kMinLookalike = 6;

// Services whose links hold the page that they lead to: clicks on adverts, and
// houses for sale.
const char* const phishingExemptDomains[] = {"adclick.example",
                                             "homes.example"};
// How the hosts begin that hold pictures for others.
const char* const kMediaHosts[] = {"img", "image", "static", "media", "cdn"};
const char* const kServices[] = {"servlets/mms", "search?q=cache",
                                 "exchweb/bin/redir.asp", "cgi-bin/mark.cgi"};
const char kHouseSearch[] = "IDXv4/searchForms/ARMLS.asp";

// The path with all that stands behind it.
TBLOCK PathAndQuery(const TBLOCKURL& url) {
  TBLOCK rest = url.path;
  if (!rest.empty())
    rest.length = static_cast<uint32_t>(url.url.end() - rest.pointer);
  return rest;
}

// The URL that a link's text is; false when it is none.
bool TakeShownUrl(TBLOCK text, TBLOCKURL& shown) {
  text.trim();
  TBLOCK rest = text;
  if (TBLOCKURL::ParseBlockUrlProtocol(rest) == upNone && !text.begins("www."))
    return false;
  shown.parseUrl(text);
  return true;
}

// What the shown URL says wrongly of the link, or null.
const char* FindForgery(const TBLOCKURL& link, const TBLOCKURL& shown,
                        TQMDICO& dico, const TQKSECTION* forgedDomains) {
  const TQKLINE* line = nullptr;
  if (shown.proto == upHttps && link.proto != upHttps) return "Forged HTTPS";
  if (link.hasIpHost() && !shown.hasIpHost()) return "Forged IP link";
  if (!shown.host.equals(link.host) &&
      dico.searchString(forgedDomains, shown.host, line))
    return "Forged link";
  return nullptr;
}

// Whether the path holds the URL of another domain, which the host may pass its
// visitors on to.
bool HoldsOtherSite(const TBLOCKURL& link) {
  const int32_t at = link.path.find("//");
  if (at < 0) return false;
  TBLOCKURL inner;
  inner.parseUrl(link.path.from(static_cast<uint32_t>(at) + 2));
  if (inner.domain.empty() || inner.domain.equals(link.domain)) return false;
  for (const char* exempt : phishingExemptDomains)
    if (link.domain.equals(exempt)) return false;
  return true;
}

bool IsMediaHost(TBLOCK host) {
  for (const char* front : kMediaHosts)
    if (host.begins(front)) return true;
  return false;
}

// One byte more or less makes another word, and letters with accents are other
// bytes: only case is folded.
bool DiffersInOneByte(TBLOCK piece, TBLOCK word) {
  if (piece.length != word.length) return false;
  int32_t different = 0;
  for (uint32_t i = 0; i < word.length && different < 2; i++)
    different += AsciiLower(piece[i]) != AsciiLower(word[i]);
  return different == 1;
}

// Whether a label of the host, or what dashes make of one, is nearly the word.
bool HoldsLookalike(TBLOCK host, TBLOCK word) {
  while (!host.empty()) {
    TBLOCK label = TBLOCK::BlockBeforeChar(host, '.', 0, 0);
    if (DiffersInOneByte(label, word)) return true;
    while (!label.empty())
      if (DiffersInOneByte(TBLOCK::BlockBeforeChar(label, '-', 0, 0), word))
        return true;
  }
  return false;
}

// The domain without ".suffix"; a text that is no domain as it is.
TBLOCK WithoutSuffix(TBLOCK domain) {
  TBLOCK registered, tld;
  TBLOCKURL::HostToDomain(domain, registered, tld);
  if (tld.empty()) return domain;
  return registered.head(registered.length - tld.length - 1);
}

// The links of a message that pretends to come from a brand.
class LURE {
 public:
  // `domain`: the brand's.
  LURE(TQMMSG& message, TBLOCK domain)
      : m(message),
        allowed(message.dico.findSection("NoPhishing4")),
        ipName(REGEXPOOL::_IP_HOST_PHISHING, message.pool),
        word(TBLOCK::BlockBeforeChar(domain, '.', 0, 0)) {}

  bool isLure(const TLINKRECORD& record) const {
    const TBLOCKURL& link = record.url;
    if (link.proto == upMailto) return false;
    if (IsSuspectIpLink(link, m.linkCount) && !IsServiceLink(link) &&
        !link.path.begins(kHouseSearch))
      return true;
    if (ipName.matches(link.host)) return true;
    switch (judgeTexts(record)) {
      case tvLie:
        return true;
      case tvAllowed:
        return false;
      case tvNothing:
        break;
    }
    if (HoldsOtherSite(link)) return true;
    return word.length >= kMinLookalike && !IsMediaHost(link.host) &&
           HoldsLookalike(link.host, word);
  }

 private:
  enum TVERDICT { tvNothing, tvAllowed, tvLie };

  TQMMSG& m;
  const TQKSECTION* const allowed;
  const REGEX ipName;
  const TBLOCK word;

  // The first text that decides does so for the whole link.
  TVERDICT judgeTexts(const TLINKRECORD& record) const {
    const TBLOCKURL& link = record.url;
    if (m.extractUrlTld(link).empty()) return tvNothing;
    for (int32_t i = 0; i < record.texts->count(); i++) {
      TBLOCKURL shown;
      if (!TakeShownUrl(record.texts->get(i), shown) ||
          m.extractUrlTld(shown).empty())
        continue;
      if (isAllowed(shown.host, link.host)) return tvAllowed;
      if (!link.domain.equals(shown.domain) && link.proto != upJavascript &&
          link.host.length <= kMaxReadableHost)
        return tvLie;
    }
    return tvNothing;
  }

  bool isAllowed(TBLOCK shownHost, TBLOCK linkHost) const {
    if (!allowed) return false;
    STR pair;
    pair = shownHost;
    pair += ':';
    pair += linkHost;
    const TQKLINE* line = nullptr;
    return m.dico.searchString(allowed, pair.view(), line) != 0;
  }
};

}  // namespace

bool IsSuspectIpLink(const TBLOCKURL& link, int32_t linkCount) {
  return linkCount <= kMaxSuspectLinks && link.path.length >= kMinSuspectPath &&
         link.hasIpHost();
}

bool IsServiceLink(const TBLOCKURL& link) {
  const TBLOCK path = PathAndQuery(link);
  for (const char* service : kServices)
    if (path.begins(service)) return true;
  return false;
}

// Reads: links, fromBox, and the sections named below. Scores: a verdict, by
// any of the checks that it calls; they add up, but for that of the rules of
// "DeepPhishing", which ends the check.
void TQMMSG::checkPhishing() {
  checkEbayPhishing();
  if (checkDeepPhishing()) return;
  TBLOCK domain, tld, ruleName;
  const TQKLINE* line = nullptr;
  if (dico.searchString(dico.findSection("PhishingSenders"), fromBox.email,
                        line))
    TBLOCKURL::HostToDomain(fromBox.host, domain, tld);
  if (!testRuleSection(TBLOCK("PhishingSelect"), &ruleName, nullptr)) {
    checkForgedLinks();
    return;
  }
  if (!ruleName.empty()) domain = ruleName;
  if (!isPhishing(domain)) return;
  STR extended("Phishing.");
  extended += WithoutSuffix(domain);
  setPhishing(kPhishingScore, "Phishing", extended.c_str());
}

// The last step of each verdict. What stands in causeText is of this scan's
// verdicts only: a ledger that was reset has forgotten those before.
void TQMMSG::setPhishing(int32_t score, const char* cause,
                         const char* extendedCause) {
  if (ledger.cause.length == 0) causeText = "";
  addToSpamScore(score, cause, 1);
  causeText += extendedCause;
  phishing = 1;
}

// Reads: the rules of all sections that the lines of "DeepPhishing" name.
// Scores: the first of these that holds, with its name as the cause.
int TQMMSG::checkDeepPhishing() {
  const TQKSECTION* const names = dico.findSection("DeepPhishing");
  const uint32_t n = dico.image().lineCountOf(names);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* const line = dico.image().sectionLine(names, i);
    if (!line) continue;
    STR name;
    name = dico.lineBlock(line);
    if (getPositiveSectionScore(name.view(), nullptr) <= 0) continue;
    setPhishing(line->score, name.c_str(), "DeepPhishing");
    return 1;
  }
  return 0;
}

// Scores: one lie at most. That is no verdict yet: newsletters count clicks
// by links that lead to another place than they show.
void TQMMSG::checkForgedLinks() {
  const TQKSECTION* const forgedDomains = dico.findSection("ForgedDomains");
  const int32_t n = links ? links->count() : 0;
  for (int32_t i = 0; i < n; i++) {
    const TLINKRECORD& link = *links->get(i);
    for (int32_t k = 0; k < link.texts->count(); k++) {
      TBLOCKURL shown;
      if (!TakeShownUrl(link.texts->get(k), shown)) continue;
      const char* const cause =
          FindForgery(link.url, shown, dico, forgedDomains);
      if (!cause) continue;
      addToSpamScore(kForgedScore, cause, 1);
      return;
    }
  }
}

// Whether a message that pretends to come from the owner of the domain, which
// may be empty, is a lure: by rules alone, by its words when it has no links,
// or by a link.
bool TQMMSG::isPhishing(TBLOCK domain) {
  if (testRuleSection("PhishingRules")) return true;
  const int32_t n = links ? links->count() : 0;
  if (n == 0) {
    int32_t hits = 0;
    dico.findKeywords(dico.findSection("PhishingWords"), bodyWords,
                      recipientBox.email, 0, 0, hits);
    return hits > 0;
  }
  const LURE lure(*this, domain);
  for (int32_t i = 0; i < n; i++)
    if (lure.isLure(*links->get(i))) return true;
  return false;
}
