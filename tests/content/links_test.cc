// The lists of links and images, against walks over all records.

#include "content/links.h"

#include <gtest/gtest.h>

#include <deque>

#include "base/heap_text.h"

namespace {

std::string Dump(const TLINKVECT& links) {
  std::string out;
  for (int32_t i = 0; i < links.count(); i++) {
    const TLINKRECORD& link = *links.get(i);
    out += Str(link.url.url) + " " + std::to_string(link.useCount) + ":" +
           Join(*link.texts) + "\n";
  }
  return out;
}

TEST(LinksTest, EachUrlOnce) {
  TLINKVECT links;
  // URL and text in turn.
  const char kAdded[] =
      "http://a.org/X|one| HTTP://A.org/x\t|||empty|https://b.co.uk|two|cid:1|"
      "three|blocked::https://b.co.uk| four |http://c.org||http://a.org/X|five|"
      "ftp://d.org||http://10.0.0.1||";
  for (TBLOCK rest(kAdded); !rest.empty();) {
    const TBLOCK url = TBLOCK::BlockBeforeChar(rest, '|', 0, 0);
    links.add(url, TBLOCK::BlockBeforeChar(rest, '|', 0, 0));
  }
  EXPECT_EQ(
      "http://a.org/X 2:one||five|\n 0:empty|\n"
      "https://b.co.uk 1:two| four |\ncid:1 0:three|\nhttp://c.org 0:|\n"
      "ftp://d.org 0:|\nhttp://10.0.0.1 0:|\n",
      Dump(links));
  EXPECT_EQ(2, links.getDupUrlCount(upHttp | upCid));
  EXPECT_EQ(1, links.getDupUrlCount(upHttps | upFtp));
  EXPECT_EQ(4, links.getUrlCountByProto(upHttp | upFtp));
  TBLOCKVECT list(0);
  list.add(TBLOCK("old"), 0, 0);
  links.getdHttpTldList(list);
  EXPECT_EQ("org|co.uk|org|", Join(list));
  links.unfoldUrlsAsRepeatedBlocks(list);
  EXPECT_EQ(6, list.count());
  for (int32_t i : {1, 0, 4, 4}) links.del(i);
  links.add(TBLOCK("http://c.org"), TBLOCK("six"));
  links.add(TBLOCK("http://a.org/x"), TBLOCK("seven"));
  EXPECT_EQ(
      "https://b.co.uk 1:two| four |\ncid:1 0:three|\nhttp://c.org 1:|six|\n"
      "ftp://d.org 0:|\nhttp://a.org/x 0:seven|\n",
      Dump(links));
}

TEST(LinksTest, NoMoreThanTheLimit) {
  TLINKVECT links;
  TIMGVECT images;
  std::deque<std::string> urls;
  for (int32_t i = 0; i < kMaxLinkRecords; i++) {
    urls.push_back("http://" + std::to_string(i * 7919 % 10007) + ".org");
    ASSERT_EQ(i, links.add(TBLOCK(urls[i].c_str()), TBLOCK()) - links.get(0));
    ASSERT_EQ(i, images.add(TBLOCK(urls[i].c_str()), TBLOCK(), TBLOCK()) -
                     images.get(0));
  }
  TLINKRECORD* const spare = links.add(TBLOCK("x.net"), TBLOCK("a"));
  EXPECT_EQ(spare, links.add(TBLOCK("y.net"), TBLOCK("b")));
  EXPECT_EQ("b|", Join(*spare->texts));
  EXPECT_EQ("y.net", Str(spare->url.host));
  EXPECT_EQ("x.net",
            Str(images.add(TBLOCK("x.net"), TBLOCK(), TBLOCK())->url.host));
  EXPECT_EQ(kMaxLinkRecords, links.count());
  EXPECT_EQ(kMaxLinkRecords, images.count());
  EXPECT_FALSE(links.knows(TBLOCK("x.net")));
  for (int32_t i = 0; i < kMaxLinkRecords; i++) {
    ASSERT_EQ(links.get(i), links.add(TBLOCK(urls[i].c_str()), TBLOCK()));
    ASSERT_EQ(1, links.get(i)->useCount);
  }
}

}  // namespace
