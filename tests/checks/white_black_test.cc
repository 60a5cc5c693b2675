// Lists of senders, links and recipients.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "rules/url_blacklist.h"
#include "scan/tqmmsg.h"

namespace {

std::string Cause(const TQMMSG& m) {
  return Str(m.ledger.cause.view());
}

void Load(TQMMSG& m, const std::string& header) {
  m.loadFromBlock(HeapText(header + "\nx\n").view(), "", 0);
  m.parseHeader();
}

// The lists of a client, of Tamarack and of the dictionary.
class ClientListsTest : public ::testing::Test {
 protected:
  void Read(const std::string& client, const std::string& tamarack,
            const std::string& sections) {
    message_ = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
    ASSERT_TRUE(LoadSource(message_->dico, sections));
    client_ = std::make_unique<BLOCK>(0, 64);
    tamarack_ = std::make_unique<BLOCK>(0, 64);
    client_->add(client.c_str());
    tamarack_->add(tamarack.c_str());
    lists_ = std::make_unique<UrlBlacklist>(&message_->dico);
    lists_->loadExternalBlackList(UrlBlacklist::ftClient, client_.get());
    lists_->loadExternalBlackList(UrlBlacklist::ftTamarack, tamarack_.get());
    message_->blacklist = lists_.get();
  }
  // The cause for links, apart by blanks; those behind a "|" are of the HTML.
  std::string Judge(const std::string& header, const char* links) {
    Load(*message_, header);
    message_->ledger.reset();
    std::vector<std::unique_ptr<HeapText>> texts;
    TLINKVECT* list = &message_->textContext.links;
    for (std::string word, rest = links; !rest.empty();) {
      const size_t end = rest.find(' ');
      word = rest.substr(0, end);
      rest.erase(0, end == std::string::npos ? end : end + 1);
      texts.push_back(std::make_unique<HeapText>(word));
      if (word == "|")
        list = &message_->htmlContext.links;
      else
        list->add(texts.back()->view(), TBLOCK());
    }
    message_->checkBlackAndWhite();
    message_->textContext.clear();
    message_->htmlContext.clear();
    return Cause(*message_);
  }
  std::unique_ptr<BLOCK> client_, tamarack_;
  std::unique_ptr<TQMMSG> message_;
  std::unique_ptr<UrlBlacklist> lists_;
};

TEST_F(ClientListsTest, Senders) {
  Read("[from]\nbad*\n[whitefrom]\n*@good.example\n", "", "");
  const char* const rows[][2] = {
      {"good@example.org", ""},
      {"bad@example.org", "ClientBlackFrom (2010)"},
      {"BAD@Good.example", "ClientWhiteFrom (-2010)"},
      {"bad", ""}};
  for (const auto& row : rows)
    EXPECT_EQ(row[1], Judge("From: Bad <" + std::string(row[0]) + ">\n", ""));
  Read("[whitefrom]\n*\n[from]\n*\n[domain]\nblack.example\n", "", "");
  EXPECT_EQ("ClientWhiteFrom (-2010)", Judge("", "http://black.example/"));
}

TEST_F(ClientListsTest, Links) {
  Read(
      "[whitedomain]\nwhite.example\n[domain]\nblack.example\ndouble.example\n"
      "[url]\nhttp://host.example/bad\nplain.example/x\nhttp://white.example\n"
      "http://black.example\nhttp://feed.example/c\nhttp://two.example/\n",
      "[url]\nhttp://feed.example/\nhttp://two.example/\n"
      "[domain]\nfeed.example\n192.0.2.7\ndouble.example\n",
      "[#BrackenUrls]\nhttp://u.example\nhttp://192.0.2.7/\n"
      "[$No-Bracken]\nbob@example.com\n");
  const std::string any = "From: a@b.example\nTo: ann@example.com\n";
  const char* const rows[][2] = {
      {"", ""},
      {"http://none.example/", ""},
      // The whole domain, in any case, and no other host.
      {"http://www.WHITE.example/", "ClientWhiteDomain (-2007)"},
      {"http://my-white.example/", ""},
      {"HTTP://black.example", "ClientBlackDomain (2007)"},
      {"mailto:a@black.example", "ClientBlackDomain (2007)"},
      {"http://192.0.2.7/x", "TamarackBlackDomain (2009)"},
      // What an entry begins, by its bytes, with and without the protocol.
      {"http://host.example/bad", "ClientBlackUrl (2007)"},
      {"http://host.example/bad/and/more?x", "ClientBlackUrl (2007)"},
      {"http://host.example/ba", ""},
      {"http://host.example/Bad", ""},
      {"HTTP://host.example/bad", ""},
      {"host.example/bad", ""},
      {"http:\\\\plain.example/x1", "ClientBlackUrl (2007)"},
      {"plain.example/x", "ClientBlackUrl (2007)"},
      {"https://u.example/", ""},
      // The order of the tests.
      {"http://double.example/", "ClientBlackDomain (2007)"},
      {"http://two.example/", "ClientBlackUrl (2007)"},
      {"http://feed.example/c", "ClientBlackUrl (2007)"},
      {"http://feed.example/d", "TamarackBlackUrl (2009)"},
      {"https://feed.example/d", "TamarackBlackDomain (2009)"},
      {"http://u.example/", "BrackenBU (2007)"},
      // The last link of the HTML is looked at first, the first of the text
      // last.
      {"http://black.example/ http://white.example/",
       "ClientWhiteDomain (-2007)"},
      {"http://white.example/ http://none.example/ http://black.example/",
       "ClientBlackDomain (2007)"},
      {"http://black.example/ | http://white.example/ http://none.example/",
       "ClientWhiteDomain (-2007)"},
      {"http://black.example/ http://white.example/ | http://u.example/",
       "BrackenBU (2007)"},
      {"http://black.example/ | http://none.example/",
       "ClientBlackDomain (2007)"},
  };
  for (const auto& row : rows) EXPECT_EQ(row[1], Judge(any, row[0])) << row[0];
  EXPECT_EQ("", Judge("To: BOB@example.com\n", "http://u.example/"));
  EXPECT_EQ("TamarackBlackDomain (2009)",
            Judge("To: bob@example.com\n", "http://192.0.2.7/"));
}

class ListFilterTest : public ::testing::Test {
 protected:
  ListFilterTest() : message_(nullptr, nullptr, nullptr, 0, 0) {}
  std::string Judge(const std::string& header, const char* params,
                    const std::string& list) {
    message_.setParams(params);
    Load(message_, header);
    message_.ledger.reset();
    EXPECT_EQ(message_.listFilter(HeapText(list).view()),
              message_.ledger.score);
    EXPECT_EQ(0, message_.ledger.whiteScoring);
    return Cause(message_);
  }
  TQMMSG message_;
};

TEST_F(ListFilterTest, LinesAndKinds) {
  const std::string cause = Judge(
      "From: ann@example.org\nTo: bob@example.com\nCc: t@list.example\n", "",
      "-ann@example.org\r\n+ann@example.org\n\r+*@example.org \n=*@list.example"
      "\t\n?ann*\n-\n+ \n -ann*\nann*\n\n==*\n=*\r-ann*\n-*@EXAMPLE.ORG");
  EXPECT_EQ(
      "From=ann@example.org (5000);From=ann@example.org (-5000);"
      "From=*@example.org (-5000);Copy to *@list.example (-1000);"
      "From=*@EXAMPLE.ORG (5000)",
      cause);
  EXPECT_EQ(-11000, message_.ledger.whiteScore);
  EXPECT_EQ(10000, message_.ledger.blackScore);
  message_.ledger.score = 7;
  EXPECT_EQ(7, message_.listFilter(TBLOCK()));
}

TEST_F(ListFilterTest, WhiteSendersMustProveThemselves) {
  const char kForged[] =
      "From: bob@example.com\nReply-To: bob@example.com\n"
      "Return-Path: <bob@example.com>\nSender: xBOB@example.com\n"
      "To: bob@example.com\n";
  const char kOwnDomain[] = "From: ann@Example.com\nTo: bob@example.com\n";
  const char kCopied[] =
      "From: ann@example.com\nTo: bob@example.com\nCc: c@example.org\n";
  const char kBoth[] = "From=*@example.com (-5000);From=ann@* (-5000)";
  const char kForce[] = "x\n forcewhitelist \ny";
  const struct {
    const char *header, *params, *list, *cause;
  } rows[] = {
      {kForged, "", "+bob@example.com\n-bob@*", "From=bob@* (5000)"},
      {kForged, "ForceWhiteList ", "+bob@example.com",
       "From=bob@example.com (-5000)"},
      {"From: bob@example.com\nTo: bob@example.com\n", "", "+bob@example.com",
       "From=bob@example.com (-5000)"},
      {kOwnDomain, "", "+*@example.com\n+ann@*\n+ann@example.com",
       "From=ann@example.com (-5000)"},
      {kOwnDomain, kForce, "+*@example.com\n+ann@*", kBoth},
      {kOwnDomain, "ForceWhiteList=1", "+*@example.com", ""},
      {kCopied, "", "+*@example.com\n+ann@*", kBoth},
      {"From: ann@example.com\n", "", "+*@example.com\n+ann@*", kBoth},
      {"From: ann@b.example.com\nTo: bob@example.com\n", "", "+ann@*",
       "From=ann@* (-5000)"},
      {"Subject: of nobody to nobody\n", "", "+*", ""},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.cause, Judge(row.header, row.params, row.list))
        << row.header << row.params;
}

}  // namespace
