#include <gtest/gtest.h>

#include "base/md5.h"
#include "checks/link_message_util.h"
#include "content/phone.h"

namespace {

// As bodies are prepared: a domain with the digest of its small letters.
void AddDomains(TQMMSG& m, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    HeapText text(name);
    void* record = nullptr;
    m.domains.insertData(text.view(), record);
    text.view().convert(TBLOCK::UpperToLower);
    MD5 digest;
    digest.add(text.view());
    memcpy(record, digest.get(), MD5::kDigestBytes);
  }
}

}  // namespace

TEST(LinkReputationTest, Domains) {
  const char kBlack[] =
      "[DomainWords]\n<3>pill&\n<4>md\n[!DomainsRegex]\n<5>^x\\d\n"
      "[@BlackDomains]\nbulk.example\n[!SummerRegex]\n<6>-\n<7>pills\n"
      "[$BlackHost]\n<8>www.bulk.example\n<9>bulk.example\n";
  const struct {
    const char* sections;
    const char* cause;
  } rows[] = {
      {kBlack,
       "DomainWords (3);DomainWords (5);Summer (507);SummerRegex (6);"
       "SummerRegex (7);www.bulk.example (8)"},
      {"[^No-DomainWords]\n<0>(Domain=no-pills)\n", ""},
  };
  for (const auto& row : rows) {
    LinkMessage message(std::string(row.sections) +
                        (row.cause[0] ? "" : kBlack));
    AddDomains(*message.m, {"buy-pills.example", "x1.example", "md-.example",
                            "Bulk.Example", "no-pills.example"});
    message.AddLinks(
        "http://WWW.bulk.example/a|https://www.bulk.example/b|"
        "mailto:a@bulk.example|www.md.example");
    message.m->checkSpamDomains();
    EXPECT_EQ(row.cause, message.Cause());
  }
}

TEST(LinkReputationTest, WhiteLists) {
  LinkMessage message(
      "[#WhiteHrefUrl]\n<-1>*/terms*\n<&-2>*.org/*\n"
      "[#WhiteHrefDomain]\n<-3>example.org\n<-4>*.com\n"
      "[#WhiteImgUrl]\n<-5>*/logo.gif\n[$WhiteFromDomains]\n<-6>example.org\n"
      "[*WhiteLinkDomains]\n<-7>example.org\n<-8>example.net\n");
  TQMMSG& m = *message.m;
  message.AddLinks(
      "http://a.example.org/x|http://a.example.org/terms|http://"
      "b.example.org/y");
  AddDomains(m, {"Example.org", "example.com"});
  m.htmlContext.images.add(message.Keep("http://e.org/logo.gif"), TBLOCK(),
                           TBLOCK());
  m.fromBox.domain = message.Keep("EXAMPLE.org");
  m.checkWhiteLinks();
  m.checkWhiteDomains();
  m.checkWhiteImgUrl();
  m.checkWhiteImgUrl();  // starts anew
  EXPECT_EQ(
      "example.org # (-3);*/terms* # (-1);*.org/* #2x (-4);From Winter (-6);"
      "Winter (-7);*/logo.gif img url (-5);*/logo.gif img url (-5)",
      message.Cause());
}

TEST(LinkReputationTest, MeanOfSuffixes) {
  const char kSuffixes[] = "[$TLD]\n<7>unknown\n<-9>org\n<20>biz\n<0>com\n";
  const struct {
    const char *sections, *links, *image;
    int32_t black, white;
  } rows[] = {
      {kSuffixes, "", "", 0, 0},
      {kSuffixes, "http://e.biz/", "", 20, 0},
      {kSuffixes, "http://e.biz/|https://e.com/", "http://e.biz/x.gif", 13, 0},
      {kSuffixes, "http://e.org/|http://e.com/", "", 0, -4},
      {kSuffixes, "http://e.org/|http://e.biz/|ftp://e.biz/|e.biz", "", 5, 0},
      {kSuffixes, "", "http://e.example/x.gif", 7, 0},
      {kSuffixes, "http://192.0.2.1/|page", "", 0, 0},
      {"[$TLD]\n<-9>org\n", "http://e.org/|http://e.biz/", "", 0, -4},
      {"", "http://e.org/", "", 0, 0},
  };
  for (const auto& row : rows) {
    LinkMessage message(row.sections);
    message.AddLinks(row.links);
    if (*row.image)
      message.m->htmlContext.images.add(message.Keep(row.image), TBLOCK(),
                                        TBLOCK());
    message.m->checkTld();
    EXPECT_EQ(row.black, message.m->ledger.blackScore) << row.links;
    EXPECT_EQ(row.white, message.m->ledger.whiteScore) << row.links;
    EXPECT_EQ(0, message.m->ledger.whiteScoring);
  }
}

TEST(LinkReputationTest, SmallChecks) {
  LinkMessage message(
      "[LinkWords]\n<1>click\n[#LinkText]\n<2>*here*\n<3>click here\n<4>\n"
      "[blackwords]\n<5>pill&\n[$BlackPhones]\n<6>0123456789\n"
      "[$Unsub]\n<7>remove@example.org\n<8>remove\n"
      "[^No-hidehrefurl]\n<0>(Subject=spared)\n");
  TQMMSG& m = *message.m;
  message.AddLinks("http://e.org/|http://e.com/");  // each with an empty text
  m.links->add(message.Keep("http://e.com/"), message.Keep("Click here"));
  m.htmlContext.linkWords.add(message.Keep("Click"), 0, 0);
  m.checkLinkText();
  m.htmlContext.altTexts.add(message.Keep("Pills"), 0, 0);
  m.checkAlt();
  AddPhone(message.Keep("O1 23.45 67 89"), m.phones);
  AddPhone(message.Keep("01 23 45 67 80"), m.phones);
  m.checkPhone();
  for (const char* text : {"me@example.org", "REMOVE", "remove@example.org"})
    m.unsubLines.add(text);
  m.checkUnsub();
  m.htmlContext.flags = hcfHideHrefUrl;
  m.textContext.hiddenUrlCount = 1;
  m.checkHiddenUrl();
  EXPECT_EQ(
      "click in link words (1);*here* in link text (2);click here in link text"
      " (3); in link text (4);pill& in alt (5);AGB (6);Unsub (8);"
      "hidden url(s) (150);Hide href url (150)",
      message.Cause());
  m.ledger.reset();
  m.textContext.hiddenUrlCount = 0;
  m.subject = message.Keep("spared");
  m.dropRegexFields();
  m.checkHiddenUrl();
  EXPECT_EQ(0, m.ledger.score);
}
