// Lists of senders, links and recipients.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "rules/url_blacklist.h"
#include "scan/tqmmsg.h"

namespace {

std::string Cause(const TQMMSG& m) {
  return Str(m.ledger.cause.view());
}

const char kClient[] =
    "[from]\nbad*\n[whitefrom]\n*@good.example\n"
    "[whitedomain]\nwhite.example\n[domain]\nblack.example\ndouble.example\n"
    "[url]\nhttp://host.example/bad\nplain.example/x\nhttp://white.example/\n"
    "http://black.example\nhttp://feed.example/c\nhttp://two.example/\n";
const char kTamarack[] =
    "[url]\nhttp://feed.example/\nhttp://two.example/\n"
    "[domain]\nfeed.example\n192.0.2.7\ndouble.example\n";
const char kDictionary[] =
    "[#BrackenUrls]\nhttp://u.example\nhttp://192.0.2.7/\n"
    "[$No-Bracken]\nbob@example.com\n";

const char* const kVerdicts[] = {"",
                                 "ClientWhiteFrom (-2010)",
                                 "ClientBlackFrom (2010)",
                                 "ClientWhiteDomain (-2007)",
                                 "ClientBlackDomain (2007)",
                                 "ClientBlackUrl (2007)",
                                 "TamarackBlackUrl (2009)",
                                 "TamarackBlackDomain (2009)",
                                 "BrackenBU (2007)"};

}  // namespace

// Rows: number of the verdict, an address that writes to itself, links; those
// behind "|" are of the HTML. In brackets it is the recipient of the envelope,
// in a message that names none.
TEST(ClientListsTest, SendersAndLinks) {
  const char* const rows[] = {
      "2 bad@b.example", "1 BAD@Good.example http://black.example/",
      "0 a@b http://none.example/",
      // The whole domain, in any case.
      "3 a@b http://www.WHITE.example/", "0 a@b http://my-white.example/",
      "4 a@b HTTP://black.example", "4 a@b mailto:a@black.example",
      "7 a@b http://192.0.2.7/x",
      // What an entry begins, by its bytes, with and without the protocol.
      "5 a@b http://host.example/bad", "5 a@b http://host.example/bad/x?y",
      "0 a@b http://host.example/ba", "0 a@b http://host.example/Bad",
      "0 a@b host.example/bad", "5 a@b plain.example/x",
      "5 a@b http:\\\\plain.example/x1", "0 a@b https://u.example/",
      // The order of the tests.
      "4 a@b http://double.example/", "5 a@b http://two.example/",
      "5 a@b http://feed.example/c", "6 a@b http://feed.example/d",
      "7 a@b https://feed.example/d", "8 a@b http://u.example/",
      "0 bob@example.com http://u.example/",
      "0 <bob@example.com> http://u.example/",
      // The last link of the HTML comes first, the first of the text last.
      "3 a@b http://black.example/ http://white.example/",
      "4 a@b http://white.example/ http://none.example/ http://black.example/",
      "3 a@b http://black.example/ | http://white.example/",
      "8 a@b http://black.example/ http://white.example/ | http://u.example/",
      "4 a@b http://black.example/ | http://none.example/"};
  BLOCK client(0, 64), tamarack(0, 64);
  client.add(kClient);
  tamarack.add(kTamarack);
  for (const char* row : rows) {
    const HeapText text{std::string(row)};
    TBLOCK rest = text.view();
    const TBLOCK verdict = TBLOCK::BlockBeforeChar(rest, ' ', 0, 0);
    const TBLOCK address = TBLOCK::BlockBeforeChar(rest, ' ', 0, 0);
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    ASSERT_TRUE(LoadSource(m.dico, kDictionary));
    UrlBlacklist lists(&m.dico);
    lists.loadExternalBlackList(UrlBlacklist::ftClient, &client);
    lists.loadExternalBlackList(UrlBlacklist::ftTamarack, &tamarack);
    m.blacklist = &lists;
    m.fromBox.email = address;
    if (address[0] == '<')
      m.user = address;
    else
      m.recipientBox.email = address;
    TLINKVECT* list = &m.textContext.links;
    while (!rest.empty()) {
      const TBLOCK link = TBLOCK::BlockBeforeChar(rest, ' ', 0, 0);
      if (link.equals("|"))
        list = &m.htmlContext.links;
      else
        list->add(link, TBLOCK());
    }
    m.checkBlackAndWhite();
    EXPECT_EQ(kVerdicts[verdict[0] - '0'], Cause(m)) << row;
  }
}
