// URLs taken apart and compared: every part lies inside of the text, a domain
// ends in its suffix, and a list of links knows a URL exactly when one of its
// links compares equal.
//
// Input: URLs, one a line; the list gets every other one.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "content/links.h"

static void CheckInside(TBLOCK part, TBLOCK text) {
  if (part.empty()) return;
  if (part.pointer < text.pointer || part.end() > text.end()) __builtin_trap();
}

static void CheckParts(TBLOCK text) {
  TBLOCKURL url;
  url.parseUrl(text);
  const TBLOCK parts[] = {url.url,    url.host,     url.path,      url.file,
                          url.port,   url.query,    url.tld,       url.user,
                          url.domain, url.password, url.hostName()};
  for (const TBLOCK& part : parts) CheckInside(part, text);
  if (!url.tld.empty() && !url.domain.ends(url.tld)) __builtin_trap();
  if (!url.domain.empty() && url.domain.length < 3) __builtin_trap();
  if (!TBLOCKURL::CompareUrl(text, text)) {
    TBLOCK left = text;
    TBLOCKURL::TakeComparable(left);
    if (!left.empty()) __builtin_trap();
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const uint32_t n = static_cast<uint32_t>(size);
  const std::unique_ptr<unsigned char[]> copy(new unsigned char[n]);
  if (n) memcpy(copy.get(), bytes, n);
  TLINKVECT links;
  TIMGVECT images;
  TBLOCK rest(copy.get(), n);
  bool ask = false;
  while (!rest.empty()) {
    const TBLOCK url = TBLOCK::BlockNextLine(rest);
    CheckParts(url);
    ask = !ask;
    if (!ask) {
      const TLINKRECORD* const link = links.add(url, url);
      if (links.add(url, url) != link) __builtin_trap();
      if (link->useCount == 0 && links.count() < kMaxLinkRecords)
        __builtin_trap();
      images.add(url, rest, url);
      continue;
    }
    bool known = false;
    for (int32_t i = 0; i < links.count() && !known; i++)
      known = TBLOCKURL::CompareUrl(links.get(i)->url.url, url);
    if (known != links.knows(url)) __builtin_trap();
  }
  if (links.count() != images.count()) __builtin_trap();
  for (int32_t i = links.count(); i >= 0; i -= 2) links.del(i);
  return 0;
}
