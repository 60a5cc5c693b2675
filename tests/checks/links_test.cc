#include <gtest/gtest.h>

#include "checks/link_message_util.h"

TEST(LinksTest, Shapes) {
  const char* const rows[][2] = {
      {"", ""},
      {"https://192.0.2.1:81/|http://192.0.2.2/", "IP URL (50)"},
      {"http://192.0.2.1|http://192.0.2.2|http://192.0.2.3", "IP URL (50)"},
      {"http://192.0.2.1|http://192.0.2.2|http://192.0.2.3|http://192.0.2.4",
       ""},
      {"http://192.0.2.1|http://192.0.2.2|page", ""},
      {"http://192.0.2.1|http://192.0.2.2|mailto:a@b.org|ftp://b.org",
       "IP URL (50)"},
      {"http://a:b@b.org|https://c@b.org/", "user in link (99)"},
      {"mailto:a@b.org|a@b.org|ftp://a@b.org/", ""},
      {"page|http://page/|javascript:x()|cid:x", "no host url (30)"},
      {"page|http://b.org/", ""},
      // Signs of markup beside a dot; numbers make up for them.
      {"http://b.org/<.b|http://b.org/< .b|http://b.org/>.b|http://b.org/> .b|"
       "http://b.org/.<b|http://b.org/. <b|http://b.org/.>b|http://b.org/. >b|"
       "http://b.org/<.<.>.",
       "Suspicious URL (900)"},
      {"http://b.org/<|http://b.org/a.|http://b.org/<x.|http://b.org/<  .|"
       "http://b.org/. .|ftp://b.org/<.",
       ""},
      {"http://192.0.2.1/<.|http://192.0.2.2|http://192.0.2.3", "IP URL (50)"},
      {"http://192.0.2.1/<.|http://192.0.2.2|http://192.0.2.3|http://192.0.2.4",
       "Suspicious URL (100)"},
      {"http://x7y8z9q.b.com/|a|b|c|d|mailto:a@b.org", "Early spring (70)"},
      {"http://x7y8z9q.b.com/|a|b|c|d|e", ""},
      // One name under two suffixes
      {"http://w.bank.com/a|http://W.Bank.co.uk", "forged links (100)"},
      {"http://w.bank.com/a|http://w.bank.com/b|http://w.a.bank.net",
       "forged links (100)"},
      {"http://w.bank.com/a|http://w.bank.COM/b|https://w.bank.net", ""},
      {"http://w.bank.com/|http://my.bank.net/|http://w.banks.net/", ""},
      {"http://bank.com/|http://bank.net/", ""},
      // A host and its path are one word.
      {"http://b.org/pills?cheap=1|mailto:x@pills.org?raffle",
       "*pills* # (7);cheap # (3)"},
  };
  for (const auto& row : rows) {
    LinkMessage message(row[0],
                        "[HrefWords]\n<7>*pills*\n<3>cheap\n<2>pills\n"
                        "<1>raffle\n");
    message.m.checkBlackLinks();
    EXPECT_EQ(row[1], message.Cause()) << row[0];
  }
}
