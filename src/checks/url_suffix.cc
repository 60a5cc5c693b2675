// The part of a host that nobody can own, by the dictionary's section "TLD",
// for fingerprints and for the checks of links. Entry: TQMMSG::extractUrlTld.
// Tested by fingerprints_test.cc.

#include "base/count.h"
#include "scan/tqmmsg.h"

namespace {

// Labels of a suffix that is looked for.
const int32_t kMaxSuffixLabels = 2;

}  // namespace

// A host of two labels is given as a whole, on purpose: there is nothing below
// the name to tell apart. Else of one label and two the longer one that is
// listed.
TBLOCK TQMMSG::extractUrlTld(const TBLOCKURL& url) const {
  const TBLOCK host = url.host;
  if (url.proto == upFile || url.proto == upCid || host.empty() ||
      url.hasIpHost())
    return TBLOCK();
  if (CountByte(host, '.') == 1) return host;
  TBLOCK suffix, ahead = host;
  for (int32_t labels = 1; labels <= kMaxSuffixLabels; labels++) {
    const int32_t dot = ahead.findLastByte('.');
    const TBLOCK candidate = host.from(static_cast<uint32_t>(dot + 1));
    const TQKLINE* line = nullptr;
    if (dico.hashedFind("TLD", candidate, line)) suffix = candidate;
    if (dot < 0) break;
    ahead = host.head(static_cast<uint32_t>(dot));
  }
  return suffix;
}
