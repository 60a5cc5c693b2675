#include <gtest/gtest.h>

#include <initializer_list>

#include "checks/link_message_util.h"

namespace {

struct Row {
  const char* url;
  int carries;
};

void Try(const char* address, std::initializer_list<Row> rows) {
  for (const Row& row : rows) {
    LinkMessage message;
    message.m->recipientBox.email = message.Keep(address);
    message.AddLinks(row.url);
    message.m->checkBlackLinks();
    EXPECT_EQ(row.carries ? "Tracking (50)" : "", message.Cause())
        << row.url << " " << address;
  }
}

}  // namespace

TEST(TrackingTest, QueriesThatNameTheAddress) {
  Try("ann.b@example.org",
      {{"http://example.com/?x=ann.b@example.org", 1},
       {"https://example.com/?y&x= Ann.B@Example.ORG ;z=1", 1},
       {"example.com/?x=ann.b@example.org", 0},
       {"http://example.com/?x=ann.b@example.orgs", 0},
       {"http://example.com/?x=sann.b@example.org", 0},
       {"http://example.com/?ann.b@example.org", 0},
       {"http://example.com/x=ann.b@example.org", 0},
       {"http://example.com/?a=1;x=ann.b@example_.org&", 1},
       {"http://example.com/?x=ann_.b@example.org", 0},
       {"http://example.com/?x=ann.b@example._org", 0},
       {"http://example.com/?x=ann.b@example.org_", 0},
       // 17 bytes and 4
       {"http://example.com/?me=123456789012345678901", 1},
       {"http://example.com/?x=1& ME =abcdefghijklmnopqrstu", 1},
       {"http://example.com/?me=1234567890123456789012", 0},
       {"http://example.com/?me=12345678901234567890", 0},
       {"http://example.com/?name=123456789012345678901", 0}});
  // Without a dot there is no "_", and the address counts bytes.
  Try("ann@examples", {{"http://e.com/?x=ann@examples", 1},
                       {"http://e.com/?x=_ann@examples", 0}});
  Try("a@b.cd", {{"http://e.com/?x=a@b.cd", 1}});
  Try("a@b.c", {{"http://e.com/?x=a@b.c", 0}});
  Try("", {{"http://e.com/?x=&me=1234", 0}});
  const std::string longName = std::string(309, 'a') + "@example.org";
  Try(longName.substr(1).c_str(),
      {{("http://e.com/?x=" + longName.substr(1)).c_str(), 1}});
  Try(longName.c_str(), {{("http://e.com/?x=" + longName).c_str(), 0}});
}

TEST(TrackingTest, QueriesThatEncodeTheAddress) {
  // a, k and u are 0; other bytes too; z is 5.
  Try("akuz-7@example.org", {{"http://e.com/?x=3333830", 1},
                             {"http://e.com/?x=0000507", 1},
                             {"http://e.com/?x=9999496", 1},
                             {"http://e.com/?x=3333831", 0},
                             {"http://e.com/?x=333383", 0},
                             {"http://e.com/?x=33338300", 0},
                             {"http://e.com/?x=333383a", 0}});
  Try("akuz@example.org", {{"http://e.com/?x=33338", 0}});
  Try("AKUZa@example.org", {{"http://e.com/?x=333383", 1}});
  // Base64 of "bob@example.org", of that and "|17", of "xbob@example.org", and
  // cut short.
  Try("BOB@example.org", {{"http://e.com/?x=Ym9iQGV4YW1wbGUub3Jn", 1},
                          {"http://e.com/?x=Ym9iQGV4YW1wbGUub3JnfDE3", 1},
                          {"http://e.com/?x=Ym9iQGV4YW1wbGUub3JnfDE3-", 0},
                          {"http://e.com/?x=eGJvYkBleGFtcGxlLm9yZw==", 0},
                          {"http://e.com/?x=Ym9iQGV4YW1wbGUub3J", 0}});
  // Base64 of "bo@e.org", with a rest
  Try("bo@e.org", {{"http://e.com/?x=Ym9AZS5vcmc=", 1},
                   {"http://e.com/?x=Ym9AZS5vcmc", 1}});
}

TEST(TrackingTest, WordsOfPaths) {
  Try("a-17@example.org",
      {{"http://e.com/a-17@example.org-abcdef", 1},
       {"http://e.com/x/abcdefA-17.-Example.org/y", 1},
       {"https://e.com/x/a-17--example.org-abcdef", 1},
       {"http://e.com/a-17@example.org-abcd", 0},  // 21 bytes
       {"http://e.com/a-17a-17a-17a-17@example.org", 1},
       {"http://e.com/a-17/a-17---example.org-abcde", 0},
       {"http://e.com/abcdefghijklmnopqrstuva-17", 0},
       {"http://e.com/abcdefgh/a-17@example.org", 0},
       {"ftp://e.com/a-17--example.org-abcdef", 0}});
  // Letters are more than half, and four bytes are enough, to tell a person.
  Try("ann1@example.org", {{"http://e.com/abcdefghijklmnopqrann1", 1},
                           {"http://e.com/abcdefghijklmnopqann1", 0},
                           {"http://e.com/abcdefghijklmnopqran1n", 0}});
  Try("an12@example.org", {{"http://e.com/abcdefghijklmnopqran12", 0}});
  Try("ann@example.org", {{"http://e.com/abcdefghijklmnopqrsann", 0}});
}
