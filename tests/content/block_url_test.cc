// URLs taken apart, and compared.

#include "content/block_url.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

// All parts that are there, in the order of the fields.
std::string Dump(const TBLOCKURL& url) {
  const Case<TBLOCK> parts[] = {{"host", url.host},  {"path", url.path},
                                {"file", url.file},  {"query", url.query},
                                {"port", url.port},  {"tld", url.tld},
                                {"user", url.user},  {"pass", url.password},
                                {"dom", url.domain}, {"label", url.hostName()}};
  std::string out = std::to_string(url.proto);
  for (const auto& part : parts)
    if (!part.want.empty())
      out += std::string(" ") + part.text + "=" + Str(part.want);
  return out + (url.hasDotDot ? " .." : "");
}

TEST(BlockUrlTest, Parts) {
  const Case<const char*> rows[] = {
      {"http://user:pw@www.example.co.uk:8080/a/b.html?x=1",
       "2 host=www.example.co.uk path=a/b.html file=b.html query=x=1 port=8080 "
       "tld=co.uk user=user pass=pw dom=example.co.uk label=www"},
      {"blocked::HTTPS:\\\\/www.x.org..",
       "4 host=www.x.org tld=org dom=x.org label=www .."},
      {"blocked::blocked::x", "1 path=blocked::x file=blocked::x"},
      {"http://10.0.0.1/", "2 host=10.0.0.1 dom=10.0.0.1"},
      {"http://10.0.0.1.2/", "2 host=10.0.0.1.2 tld=2 dom=1.2 label=10"},
      // A dot behind the "?" makes no host.
      {"http://localhost?a.b", "2 path=localhost file=localhost query=a.b"},
      {"ftp://a.b@c@d.org:1:2/..",
       "8 host=d.org path=.. file=.. port=1:2 "
       "tld=org user=a.b@c dom=d.org"},
      {"http://a..b/", "2 host=a..b label=a .."},
      {"http://(www.x.org)/", "2 host=www.x.org tld=org dom=x.org label=www"},
      {"mailto:/a@b@c.org?subject=x?",
       "32 host=b@c.org path=a@b@c.org query=subject=x? tld=org user=a "
       "dom=b@c.org"},
      {"mailto:nobody", "32 path=nobody"},
      {"cid:a/b@c.d?e", "128 file=a/b@c.d?e"},
      {"javascript:go()", "256 path=go() file=go()"},
      {"javascripts:a.b", "1 host=javascripts port=a.b"},
      {"http:", "1 path=http: file=http:"},
      {"http:/", "2"},
      {":a.b", "1 port=a.b"},
      {"..", "1 .."}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    TBLOCKURL url;
    url.parseUrl(text.view());
    EXPECT_EQ(row.want, Dump(url)) << row.text;
  }
  TBLOCKURL kept;
  const HeapText text("http://a.org/");
  kept.parseUrl(text.view());
  kept.parseUrl(TBLOCK());
  EXPECT_EQ("http://a.org/", Str(kept.url));
}

}  // namespace
