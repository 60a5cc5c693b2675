#include <gtest/gtest.h>

#include "checks/link_message_util.h"

TEST(LinkReputationTest, MeanOfSuffixes) {
  const struct {
    const char* links;
    int32_t image, black, white;
  } rows[] = {{"", 0, 0, 0},
              {"http://e.biz/|https://e.com/", 0, 10, 0},
              {"http://e.biz/|https://e.com/", 1, 13, 0},  // that of biz
              {"http://e.org/|http://e.com/", 0, 0, -4},
              {"http://e.org/|http://e.biz/|ftp://e.biz/|e.biz", 0, 5, 0},
              {"http://e.example/", 0, 7, 0},
              {"http://192.0.2.1/|page", 0, 0, 0}};
  for (const auto& row : rows) {
    LinkMessage message(row.links,
                        "[$TLD]\n<7>unknown\n<-9>org\n<20>biz\n<0>com\n");
    TBLOCK image;
    if (row.image) image = message.links.get(0)->url.url;
    message.m.htmlContext.images.add(image, TBLOCK(), TBLOCK());
    message.m.checkTld();
    EXPECT_EQ(row.black, message.m.ledger.blackScore) << row.links;
    EXPECT_EQ(row.white, message.m.ledger.whiteScore) << row.links;
  }
}
