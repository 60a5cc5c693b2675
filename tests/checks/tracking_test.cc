#include <gtest/gtest.h>

#include "checks/link_message_util.h"

// A row is an address and ends of URLs: "+" is ahead of those that carry it.
TEST(TrackingTest, Links) {
  const char* const rows[] = {
      "a.b@ex.org|+?x=a.b@ex.org|+?y&x= A.B@EX.org ;z|-?x=a.b@ex.orgs"
      "|-?x=sa.b@ex.org|-?a.b@ex.org|-x=a.b@ex.org|-?x=",
      "a.b@ex.org|+?y=1;x=a.b@ex_.org&|-?x=a_.b@ex.org|-?x=a.b@ex._org"
      "|-?x=a.b@ex.org_",
      "a.b@ex.org|+?me=12345678901234|+?x&ME=abcdefghijklmn"
      "|-?me=123456789012345|-?me=1234567890123|-?you=12345678901234",
      "a@exam|+?x=a@exam|-?x=_a@exam", "a@b.c|-?x=a@b.c", "|-?me=1234",
      // Digits: a, k and u are 0, as is "-"; z is 5.
      "akuz-7@b.org|+?x=3333830|+?x=0000507|+?x=9999496|-?x=3333831"
      "|-?x=333383|-?x=33338300|-?x=333383a",
      "AKUZa@b.org|+?x=333383", "akuz@b.org|-?x=33338",
      // Base64: as it is, with more behind it, with more ahead, cut short
      "BOB@b.org|+?x=Ym9iQGIub3Jn|+?x=Ym9iQGIub3JnfDE3|-?x=Ym9iQGIub3JnfDE3-"
      "|-?x=eGJvYkBiLm9yZw==|-?x=Ym9iQGIub3J",
      "b@e.org|+?x=YkBlLm9yZw==|+?x=YkBlLm9yZw",
      // Paths: words of 22 bytes
      "a-1@b.org|+-----------a-1@b.org--|+x/------------A-1.-b.org/y"
      "|+a-1a-1a-1a-1a-1--b.org|-----------a-1@b.org--"
      "|-a-1/a-1---b.org------------|---------------------a-1",
      // A local part that is a name: four bytes, more than half letters
      "ann1@b.org|+------------------ann1|------------------ann1",
      "an12@b.org|-------------------an12",
      "ann@b.org|--------------------ann"};
  for (const char* row : rows) {
    TBLOCK rest(row);
    const HeapText email(Str(TBLOCK::BlockBeforeChar(rest, '|', 0, 0)));
    while (!rest.empty()) {
      const std::string end = Str(TBLOCK::BlockBeforeChar(rest, '|', 0, 0));
      LinkMessage message("https://e.com/" + end.substr(1));
      message.m.recipientBox.email = email.view();
      EXPECT_EQ(end[0] == '+', message.m.checkTracking()) << end << " " << row;
    }
  }
}

TEST(TrackingTest, LongAddresses) {
  for (uint32_t length : {320, 321}) {
    const HeapText email(Times(length - 6, "a") + "@b.org");
    LinkMessage message("ftp://e.com/?x=|http://e.com/?x=" + email.str());
    message.m.recipientBox.email = email.view();
    EXPECT_EQ(length == 320, message.m.checkTracking());
  }
}
