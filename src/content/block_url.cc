// URLs taken apart, and compared. Everything is views: a URL is cut at the
// signs that divide it, each of which is looked for once. Entry points:
// parseUrl, HostToDomain and CompareUrl. Tested by block_url_test.cc and
// fuzz/block_url_fuzz.cc.

#include "content/block_url.h"

#include "base/blockdawg.h"
#include "base/count.h"
#include "data/tld_graph.h"
#include "message/mail_address.h"

namespace {

struct PROTO {
  const char* prefix;
  const char* name;
  int32_t value;
};

const PROTO _Protos[] = {
    {"http://", "http", upHttp},
    {"https://", "https", upHttps},
    {"ftp://", "ftp", upFtp},
    {"news://", "news", upNews},
    {"mailto:", "mailto", upMailto},
    {"file://", "file", upFile},
    {"cid:", "cid", upCid},
    {"javascript:", "javascript", upJavascript},
};
const uint32_t kLongestProto = 10;

// What some mail programs put ahead of a link that they don't open.
const char kBlocked[] = "blocked::";
const uint32_t kBlockedBytes = sizeof kBlocked - 1;

// Shorter names are none.
const uint32_t kMinDomain = 3;

TBLOCK getData_tld() {
  return TBLOCK(kTldGraph, kTldGraphBytes);
}

void SkipBlocked(TBLOCK& text) {
  if (text.begins(TBLOCK(kBlocked, kBlockedBytes))) text.skip(kBlockedBytes);
}

// Moves what stands behind the first `byte` to `behind`; false, with both as
// they were, when there is none.
bool SplitAt(TBLOCK& text, unsigned char byte, TBLOCK& behind) {
  const int32_t at = text.findByte(byte);
  if (at < 0) return false;
  behind = text.from(static_cast<uint32_t>(at) + 1);
  text.cut(static_cast<uint32_t>(at));
  return true;
}

// What follows the last byte that no host name holds.
TBLOCK BehindStrayBytes(TBLOCK text) {
  uint32_t from = text.length;
  while (from > 0 && TBLOCK::Is(text[from - 1], bitDomain)) from--;
  return text.from(from);
}

bool IsPublicSuffix(TBLOCK suffix) {
  BLOCKDAWG graph;
  graph.useBlock(getData_tld());
  return graph.find(suffix) != 0;
}

// user:password@host. Of several "@" the last one counts, as in a browser.
void TakeUser(TBLOCKURL& url) {
  const int32_t at = url.host.findLastByte('@');
  if (at < 0) return;
  url.user = url.host.head(static_cast<uint32_t>(at));
  url.host.skip(static_cast<uint32_t>(at) + 1);
  SplitAt(url.user, ':', url.password);
}

// Host, path and file of what stands ahead of the "?". Without a dot there is
// no host: it is a path below the page.
void TakeHostAndPath(TBLOCKURL& url, TBLOCK rest) {
  if (rest.findByte('.') < 0) {
    url.path = rest;
  } else {
    url.host = rest;
    SplitAt(url.host, '/', url.path);
    url.hasDotDot = url.host.find("..") >= 0;
  }
  const int32_t slash = url.path.findLastByte('/');
  url.file =
      slash < 0 ? url.path : url.path.from(static_cast<uint32_t>(slash) + 1);
  TakeUser(url);
}

// The first "@" divides a mail address, unlike one ahead of a host.
void TakeMailbox(TBLOCKURL& url, TBLOCK rest) {
  while (!rest.empty() && rest[0] == '/') rest.skip(1);
  url.path = rest;
  if (SplitAt(rest, '@', url.host)) url.user = rest;
}

void FinishHost(TBLOCKURL& url) {
  SplitAt(url.host, ':', url.port);
  TBLOCK& host = url.host;
  while (!host.empty() && host[host.length - 1] == '.') host.length--;
  while (!host.empty() && !TBLOCK::Is(host[0], bitHost)) host.skip(1);
  while (!host.empty() && !TBLOCK::Is(host[host.length - 1], bitHost))
    host.length--;
  TBLOCKURL::HostToDomain(host, url.domain, url.tld);
}

}  // namespace

int32_t TBLOCKURL::ParseBlockUrlProtocol(TBLOCK& text) {
  const int32_t colon = text.head(kLongestProto + 1).findByte(':');
  if (colon <= 0 || static_cast<uint32_t>(colon) + 1 == text.length)
    return upNone;
  const TBLOCK name = text.head(static_cast<uint32_t>(colon));
  for (const PROTO& proto : _Protos) {
    if (!name.equals(proto.name)) continue;
    text.skip(name.length + 1);
    while (!text.empty() && (text[0] == '/' || text[0] == '\\')) text.skip(1);
    return proto.value;
  }
  return upNone;
}

void TBLOCKURL::parseUrl(TBLOCK text) {
  if (text.empty()) return;
  *this = TBLOCKURL();
  SkipBlocked(text);
  url = text;
  proto = ParseBlockUrlProtocol(text);
  if (proto == upCid) {
    file = text;
    return;
  }
  SplitAt(text, '?', query);
  if (proto == upMailto)
    TakeMailbox(*this, text);
  else
    TakeHostAndPath(*this, text);
  FinishHost(*this);
}

void TBLOCKURL::HostToDomain(TBLOCK host, TBLOCK& domain, TBLOCK& tld) {
  domain = host;
  tld.clear();
  if (host.empty()) return;
  TBLOCK number = host;
  number.trim();
  if (IsDottedQuad(number)) {
    domain = number;
    return;
  }
  TBLOCK behind;
  SplitAt(domain, '#', behind);
  int32_t dots = CountByte(domain, '.');
  if (dots == 0) {
    domain.clear();
    return;
  }
  for (; dots > 2; dots--)
    domain.skip(static_cast<uint32_t>(domain.findByte('.')) + 1);
  TBLOCK label = domain;
  SplitAt(label, '.', tld);
  if (dots == 2) {
    tld = BehindStrayBytes(tld);
    // A name below a suffix of two parts keeps three.
    if (!IsPublicSuffix(tld)) {
      domain = label = tld;
      tld.clear();
      SplitAt(label, '.', tld);
    }
  }
  if (domain.empty() || domain.length < kMinDomain || domain[0] == '.' ||
      domain[domain.length - 1] == '.') {
    domain.clear();
    tld.clear();
  }
}

int32_t TBLOCKURL::TakeComparable(TBLOCK& text) {
  SkipBlocked(text);
  const int32_t found = ParseBlockUrlProtocol(text);
  text.trimRight(bitUrlAllowed);
  const TBLOCK www("www.");
  if (text.begins(www)) text.skip(www.length);
  return found;
}

bool TBLOCKURL::CompareUrl(TBLOCK a, TBLOCK shown) {
  const int32_t protoA = TakeComparable(a), protoB = TakeComparable(shown);
  if (protoA != protoB && protoA != upNone && protoB != upNone) return false;
  return !a.empty() && a.begins(shown);
}

bool TBLOCKURL::hasIpHost() const {
  return IsDottedQuad(host);
}

TBLOCK TBLOCKURL::hostName() const {
  TBLOCK label = host, behind;
  if (hasIpHost() || CountByte(host, '.') < 2) return TBLOCK();
  SplitAt(label, '.', behind);
  return label;
}
