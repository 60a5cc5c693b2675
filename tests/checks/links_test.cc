#include <gtest/gtest.h>

#include "checks/link_message_util.h"

namespace {

struct Row {
  const char* urls;
  const char* cause;
};

void Try(const char* sections, const Row* rows, size_t count) {
  for (size_t i = 0; i < count; i++) {
    LinkMessage message(sections);
    message.AddLinks(rows[i].urls);
    message.m->checkBlackLinks();
    EXPECT_EQ(rows[i].cause, message.Cause()) << rows[i].urls;
  }
}

}  // namespace

TEST(LinksTest, HostsAndUsers) {
  const Row rows[] = {
      {"", ""},
      {"http://www.example.org/a.html|https://example.com", ""},
      {"http://192.0.2.1/", ""},
      {"http://192.0.2.1/|https://192.0.2.2:81/x", "IP URL (50)"},
      {"http://192.0.2.1/|http://192.0.2.2/|http://192.0.2.3/", "IP URL (50)"},
      {"http://192.0.2.1/|http://192.0.2.2/|http://192.0.2.3/|"
       "http://192.0.2.4/",
       ""},
      {"http://192.0.2.1/|http://192.0.2.2/|www.example.org", ""},
      // What no reader follows as a page is no link here.
      {"http://192.0.2.1/|http://192.0.2.2/|mailto:a@example.org|"
       "ftp://example.org/",
       "IP URL (50)"},
      {"http://a:b@www.example.org/|https://c@example.org/",
       "user in link (99)"},
      {"mailto:ann@example.org|ann@example.org|ftp://ann@example.org/", ""},
      {"page", "no host url (30)"},
      {"page|http://page/|javascript:x()|mailto:ann@example.org",
       "no host url (30)"},
      {"page|http://example.org/", ""},
      {"javascript:x()|cid:x", ""},
  };
  Try("", rows, sizeof rows / sizeof *rows);
}

TEST(LinksTest, SignsOfMarkup) {
  std::string eight;
  for (const char* sign :
       {"<.", "< .", ">.", "> .", ".>", ". >", ".<", ". <"}) {
    if (!eight.empty()) eight += "|";
    eight += std::string("http://example.org/a") + sign + "b";
  }
  const Row rows[] = {
      {eight.c_str(), "Suspicious URL (800)"},
      {"http://example.org/<.<.>.", "Suspicious URL (100)"},
      {"http://example.org/<|http://example.org/a.|http://example.org/<x.|"
       "http://example.org/<  .|http://example.org/.x>|http://example.org/. .|"
       "ftp://example.org/<.",
       ""},
      // Addresses in numbers make up for a sign.
      {"http://192.0.2.1/<.", "Suspicious URL (100)"},
      {"http://192.0.2.1/<.|http://192.0.2.2/", "IP URL (50)"},
      {"http://192.0.2.1/<.|http://192.0.2.2/|http://192.0.2.3/",
       "IP URL (50)"},
      {"http://192.0.2.1/<.|http://192.0.2.2/|http://192.0.2.3/|"
       "http://192.0.2.4/",
       "Suspicious URL (100)"},
      {"http://192.0.2.1/<.|http://192.0.2.2/<.",
       "Suspicious URL (200);IP URL"
       " (50)"},
  };
  Try("", rows, sizeof rows / sizeof *rows);
}

TEST(LinksTest, RandomHosts) {
  const Row rows[] = {
      {"http://x7y8z9q.example.com/|page", "Early spring (70)"},
      {"http://x7y8z9q.example.com/|a|b|c|d|mailto:a@b.example",
       "Early spring (70)"},
      {"http://x7y8z9q.example.com/|a|b|c|d|e", ""},
      {"https://x7y8z9q.example.com/", ""},
  };
  Try("", rows, sizeof rows / sizeof *rows);
  Try("[^No-EarlySpring]\n<0>(Subject=)\n", rows + 3, 1);
  const Row spared = {rows[0].urls, ""};
  Try("[^No-EarlySpring]\n<0>(Url=x7y)\n", &spared, 1);
}

TEST(LinksTest, NamesUnderTwoSuffixes) {
  const Row rows[] = {
      {"http://www.bank.com/a|http://WWW.Bank.co.uk", "forged links (100)"},
      {"http://www.bank.com/a|http://www.bank.com/b|http://www.bank.net|"
       "http://www.bank.org",
       "forged links (100)"},
      {"http://www.a.bank.com/|http://www.bank.net", "forged links (100)"},
      {"http://www.bank.com/a|http://www.bank.COM/b", ""},
      {"http://www.bank.com/|http://my.bank.net/|http://www.banks.net/", ""},
      {"http://www.bank.com/|https://www.bank.net/", ""},
      {"http://bank.com/|http://bank.net/", ""},
      {"http://192.0.2.1/|http://192.0.2.1.example.org/", ""},
  };
  Try("", rows, sizeof rows / sizeof *rows);
}

// A host and its path are one word.
TEST(LinksTest, WordsOfUrls) {
  const Row rows[] = {
      {"http://example.org/pills?cheap=1|https://pills.example.org/",
       "*pills* # (7);cheap # (3)"},
      {"mailto:pills@example.org|pills.example.org", ""},
  };
  Try("[HrefWords]\n<7>*pills*\n<3>cheap\n<2>pills\n", rows,
      sizeof rows / sizeof *rows);
}
