// URLs taken apart and compared: every part lies inside of the text, a domain
// ends in its suffix, and a list of links knows a URL exactly when one of its
// links compares equal.
//
// Input: URLs, one a line; the list gets every other one.

#include <stdint.h>

#include "content/links.h"
#include "fuzz_util.h"

static void CheckParts(TBLOCK text) {
  TBLOCKURL url;
  url.parseUrl(text);
  const TBLOCK parts[] = {url.url,    url.host,     url.path,      url.file,
                          url.port,   url.query,    url.tld,       url.user,
                          url.domain, url.password, url.hostName()};
  for (const TBLOCK& part : parts) Check(IsInside(part, text));
  Check(url.tld.empty() || url.domain.ends(url.tld));
  Check(url.domain.empty() || url.domain.length >= 3);
  if (!TBLOCKURL::CompareUrl(text, text)) {
    TBLOCK left = text;
    TBLOCKURL::TakeComparable(left);
    Check(left.empty());
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  TLINKVECT links;
  TIMGVECT images;
  TBLOCK rest = copy.view();
  bool ask = false;
  while (!rest.empty()) {
    const TBLOCK url = TBLOCK::BlockNextLine(rest);
    CheckParts(url);
    ask = !ask;
    if (!ask) {
      const TLINKRECORD* const link = links.add(url, url);
      Check(links.add(url, url) == link);
      Check(link->useCount != 0 || links.count() >= kMaxLinkRecords);
      images.add(url, rest, url);
      continue;
    }
    bool known = false;
    for (int32_t i = 0; i < links.count() && !known; i++)
      known = TBLOCKURL::CompareUrl(links.get(i)->url.url, url);
    Check(known == links.knows(url));
  }
  Check(links.count() == images.count());
  for (int32_t i = links.count(); i >= 0; i -= 2) links.del(i);
  return 0;
}
