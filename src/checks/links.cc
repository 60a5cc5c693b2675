// The shape of links: hosts in numbers, random hosts, marks inside of URLs,
// names that differ in nothing but the suffix. Entry: TQMMSG::checkBlackLinks,
// filter 20. Tested by tests/mail/links.eml.

#include <string.h>

#include "base/hash_file.h"
#include "content/random_string.h"
#include "content/words.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kHttpProtos = upHttp | upHttps;
// With more links random hosts are those of advertisers.
const int32_t kMaxRandomLinks = 5;
// What a sign of markup next to a dot counts.
const int32_t kOddSign = 2;
// IP hosts that are told when there is no other link.
const int32_t kMinIpUrls = 2;
const int32_t kMaxIpUrls = 3;

struct LINKSHAPES {
  int32_t userInLink;
  int32_t ipUrls;
  int32_t noHostUrls;
  int32_t randomUrls;
  int32_t suspiciousScore;
};

bool IsBracket(unsigned char byte) {
  return byte == '<' || byte == '>';
}

// Whether "<" or ">" stands next to a dot, or a blank apart from it.
bool HasOddSign(TBLOCK url) {
  for (uint32_t i = 0; i + 1 < url.length; i++) {
    if (url[i] != '.' && !IsBracket(url[i])) continue;
    const uint32_t next = url[i + 1] == ' ' ? i + 2 : i + 1;
    if (next == url.length) return false;
    if (url[i] == '.' ? IsBracket(url[next]) : url[next] == '.') return true;
  }
  return false;
}

// Mail addresses always have a user, and scripts no host: they don't count.
void CountShape(const TBLOCKURL& url, bool fewLinks, LINKSHAPES& shapes) {
  if (url.proto & (kHttpProtos | upNone)) shapes.noHostUrls += url.host.empty();
  if (!(url.proto & kHttpProtos)) return;
  shapes.randomUrls += fewLinks && CheckRandomUrl(url);
  if (HasOddSign(url.url)) shapes.suspiciousScore += kOddSign;
  shapes.userInLink += !url.user.empty();
  shapes.ipUrls += url.hasIpHost();
}

// The URL's name of a host and name of a domain, which may stand in front of
// any suffix; false without them.
bool MakeNames(const TBLOCKURL& url, BLOCK& names) {
  const TBLOCK host = url.hostName();
  if (url.proto != upHttp || host.empty() || url.tld.empty() ||
      url.domain.length <= url.tld.length)
    return false;
  names.empty();
  const bool added =
      names.add(host) && names.add(".") &&
      names.add(url.domain.head(url.domain.length - url.tld.length - 1));
  names.view().convert(TBLOCK::LowerConvTable);
  return added;
}

// Whether two hosts are the same but for their suffixes. Of all that share
// their names the first one is kept: if any two differ, one differs from it.
bool HasForgedPair(const TLINKVECT& links) {
  HASHFILE firsts;
  firsts.setRecSize(sizeof(int32_t));
  firsts.maxProbes = kHostileProbes;
  BLOCK names(0, 256);
  for (int32_t i = 0; i < links.count(); i++) {
    const TBLOCKURL& url = links.get(i)->url;
    if (!MakeNames(url, names)) continue;
    void* record = nullptr;
    if (firsts.find(names.view(), record) >= 0) {
      int32_t first;
      memcpy(&first, record, sizeof first);
      if (!links.get(first)->url.tld.equals(url.tld)) return true;
      continue;
    }
    firsts.insertData(names.view(), record);
    if (record) memcpy(record, &i, sizeof i);
  }
  return false;
}

// The words of all URLs, as one text.
void ScoreHrefWords(TQMMSG& m) {
  const TQKSECTION* const section = m.dico.findSection("HrefWords");
  if (!section) return;
  TBLOCKVECT words(0);
  words.step = TBLOCKVECT::kSmallStep;
  for (int32_t i = 0; i < m.links->count(); i++) {
    const TBLOCKURL& url = m.links->get(i)->url;
    if (url.proto & kHttpProtos) BlockToWords(url.url, words, 0);
  }
  int32_t hits = 0;
  m.dico.findKeywords(section, words, m.recipientBox.email, 0, 0, hits);
  m.addSectionScore("HrefWords", 0, " #");
}

}  // namespace

// Reads: links, linkCount, recipientBox. Scores: see the body, "HrefWords".
void TQMMSG::checkBlackLinks() {
  if (!links || links->count() == 0) return;
  LINKSHAPES found = {};
  for (int32_t i = links->count(); i-- > 0;)
    CountShape(links->get(i)->url, linkCount <= kMaxRandomLinks, found);
  const int32_t apart = found.ipUrls - found.suspiciousScore;
  const bool odd = found.ipUrls < kMinIpUrls || apart > 1 || apart < -1;
  checkCond(found.userInLink > 0, 99, "user in link");
  checkCond(odd && found.suspiciousScore > 0, 50 * found.suspiciousScore,
            "Suspicious URL");
  checkCond(found.ipUrls == linkCount && found.ipUrls >= kMinIpUrls &&
                found.ipUrls <= kMaxIpUrls,
            50, "IP URL");
  checkCond(found.randomUrls > 0 && !testRuleSection("No-EarlySpring"), 70,
            "Early spring");
  checkCond(found.noHostUrls > 0 && found.noHostUrls == linkCount, 30,
            "no host url");
  ScoreHrefWords(*this);
  checkCond(HasForgedPair(*links), 100, "forged links");
  checkCond(checkTracking(), 50, "Tracking");
}
