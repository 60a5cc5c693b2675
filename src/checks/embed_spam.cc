// Mail that wraps an advertisement of pictures and links into something that
// looks wanted. What it gained by looking so is taken away. Entry:
// TQMMSG::checkEmbedSpam. Tested by tests/mail/body.eml.

#include "base/hash_count.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kFewLinks = 3;
const int32_t kManyEqualLinks = 3;

// A picture that stands once and leads elsewhere, to a link that stands once.
bool HasLonePicture(const TIMGVECT& images, const TLINKVECT& links) {
  for (int32_t i = 0; i < images.count(); i++) {
    const TIMGRECORD& image = *images.get(i);
    if (image.href.url.empty() || image.href.url.equals(image.url.url) ||
        image.useCount != 0)
      continue;
    const TLINKRECORD* link = links.find(image.href.url);
    if (link && link->useCount == 0) return true;
  }
  return false;
}

// The domain that most of the links, the pictures and the sender have; none
// when two share the first place.
void FindOwnDomain(const TLINKVECT& links, const TIMGVECT& images,
                   TBLOCK sender, BLOCK& domain) {
  HASHCOUNT domains(0, hashAsciiLower);
  for (int32_t i = 0; i < links.count(); i++)
    domains.incBlockCount(links.get(i)->url.domain, 1);
  for (int32_t i = 0; i < images.count(); i++)
    domains.incBlockCount(images.get(i)->url.domain, 1);
  domains.incBlockCount(sender, 1);
  if (domains.sort() && domains.getSortedCount(0) > domains.getSortedCount(1))
    domains.getSortedString(0, domain);
}

// Of the URL what stands behind its domain, which is a view of it.
TBLOCK BehindDomain(const TBLOCKURL& url) {
  if (url.domain.empty()) return url.url;
  return url.url.from(
      static_cast<uint32_t>(url.domain.end() - url.url.pointer));
}

// Links to strangers' sites that all go on like the first of them.
int32_t CountEqualLinks(const TLINKVECT& links, TBLOCK own) {
  int32_t equal = 0;
  const TBLOCKURL* first = nullptr;
  for (int32_t i = 0; i < links.count(); i++) {
    const TBLOCKURL& url = links.get(i)->url;
    if (url.proto != upHttp || url.domain.equals(own)) continue;
    if (!first)
      first = &url;
    else if (BehindDomain(url).equals(BehindDomain(*first)))
      equal++;
  }
  return equal;
}

}  // namespace

// Drops the points that speak for the message, then scores.
void TQMMSG::scoreEmbedSpam(int32_t points) {
  ledger.score = ledger.blackScore;
  ledger.whiteScore = 0;
  addToSpamScore(points, "Embed spam", 1);
}

// Reads: the rules of "EmbedFilterRegex", without which nothing is checked, and
// of "EmbedSpamRegex"; links, pictures, the sender's domain. Scores: "Embed
// spam" with the points of the rule, or 200.
void TQMMSG::checkEmbedSpam() {
  int32_t points = 0;
  if (!testRuleSection(TBLOCK("EmbedFilterRegex"), nullptr, &points)) return;
  if (points != 0) return scoreEmbedSpam(points);
  if (testRuleSection(TBLOCK("EmbedSpamRegex"), nullptr, &points)) {
    if (points != 0) scoreEmbedSpam(points);
    return;
  }
  if (links && HasLonePicture(htmlContext.images, *links))
    return scoreEmbedSpam(200);
  if (!links || linkCount < kFewLinks) return;
  BLOCK own(0, 64);
  FindOwnDomain(*links, htmlContext.images, fromBox.domain, own);
  if (CountEqualLinks(*links, own.view()) >= kManyEqualLinks)
    scoreEmbedSpam(200);
}
