// Which links lie, of mail that rules have selected, of the brand with tests of
// its own, and of any other. Whole messages: tests/mail/phishing.eml.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kSections[] =
    "[$TLD]\ntest\nco.test\nexample\n[#ForgedDomains]\n*bank.test\n"
    "[#PhishingSenders]\n*@mybank.test\n[#NoPhishing4]\n"
    "www.shop.test:click.test\n[^PhishingSelect]\n"
    "(Subject=^select)\nbanque-x.test:(Subject=^name)\n"
    "[^PhishingRules]\n(Subject=rule)\n[PhishingWords]\naccount\n"
    "[&DeepPhishing]\n<0>Zero\n<130>Deep\n<140>Deep2\n"
    "[^Zero]\n<0>(Subject=deep)\n<-1>(Subject=zero)\n"
    "[^Deep]\n<1>(Subject=deep)\n[^Deep2]\n<1>(Subject=deep)\n";
const char kAny[] = "a@example.org", kVerdict[] = "Phishing (400) Phishing.";

// The cause and, of verdicts, what is behind it. What a ledger has told before
// it was reset is told anew.
std::string Judge(const char* from, const char* subject,
                  const std::string& html) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m.dico, kSections));
  const HeapText mail(std::string("From: ") + from + "\nSubject: " + subject +
                      "\nContent-Type: text/html\n\n<body>" + html);
  m.loadFromBlock(mail.view(), "", 1);
  m.parseWords();
  std::string told[2];
  for (std::string& once : told) {
    m.ledger.reset();
    m.checkPhishing();
    once = Str(m.ledger.cause.view());
    if (m.phishing) once += " " + Str(m.causeText.view());
  }
  EXPECT_EQ(told[0], told[1]);
  return told[0];
}

// Of "target|text".
std::string Link(const std::string& row) {
  const size_t bar = row.find('|');
  return "<a href=\"" + row.substr(0, bar) + "\">" +
         (bar < row.size() ? row.substr(bar + 1) : "x") + "</a><br>";
}

// Each link is a message of its own; a "!" is ahead of those that tell nothing.
// "_" is a blank, "IP/" an address with a path, "HOST" a name of 50 bytes,
// "PAGE" the path of the brand's pages, "IMG" a picture.
void ExpectEach(const std::string& told, const char* from, const char* subject,
                const char* links) {
  const std::string shorts[][2] = {{"_", " "},
                                   {"IP/", "http://192.0.2.1/"},
                                   {"HOST", Times(50, "a")},
                                   {"PAGE", "/ws/eBayISAPI.dll"},
                                   {"IMG", "<img src=p.gif>"}};
  std::istringstream all(links);
  for (std::string row; all >> row;) {
    for (const auto& part : shorts)
      for (size_t at; (at = row.find(part[0])) != std::string::npos;)
        row.replace(at, part[0].size(), part[1]);
    const bool none = row[0] == '!';
    EXPECT_EQ(none ? "" : told, Judge(from, subject, Link(row.substr(none))))
        << from << " " << row;
  }
}

}  // namespace

TEST(PhishingTest, LinksThatLie) {
  ExpectEach("Forged HTTPS (90)", kAny, "none", R"(//a.test|HTTPS://a.test
    http://bank.test/|https://bank.test/ IP/|https://bank.test/
    !https://a.test/|http://a.test/)");
  ExpectEach(
      "Forged IP link (90)", kAny, "none",
      "IP/|www.bank.test !IP/|http://192.0.2.2 !http://192.0.2|www.x.test");
  ExpectEach("Forged link (90)", kAny, "none", R"(
    http://x.test/|<p>_www.bank.test mailto:a@x.test|www.bank.test
    http://bank.test/a|http://www.bank.test/a !http://x.test/|bank.test
    !http://x.test/|see_www.bank.test !http://BANK.test/a|http://bank.TEST/b)");
  const std::string lie = Link("http://x.test/|www.bank.test");
  EXPECT_EQ("Forged link (90)",
            Judge(kAny, "none", Link("http://x.test/|www.y.test") + lie + lie));
}

// Hosts of 63 and 64 bytes; the pair "shop:click" allows all of a link.
TEST(PhishingTest, LinksOfCandidates) {
  ExpectEach(kVerdict, kAny, "select", R"(
    IP/login/account-is !IP/login/account-i !IP/login/account-i?account=1
    IP/servlets/mm/s0123456789 !IP/search?q=cache:0123456789
    !IP/exchweb/bin/redir.asp?x !IP/idxv4/searchforms/armls.asp
    http://1-2-3-4.dsl.test/ !mailto:1-2-3-4.x@1-2-3-4.dsl.test
    http://x.test/|www.y.test !http://x.test/|y.test
    !http://a.x.test/|www.X.test !javascript:x.test/|http://y.test/
    !http://x.none.none/|http://y.test/ !http://x.test/|www.y.none.none
    http://HOST.2345678.test|www.y.test !http://HOST.23456789.test|www.y.test
    http://click.test/|http://shop.test !http://click.test/http://y.test|www.shop.test
    http://homes.test/a/http://www.y.test !http://x.test/http://a.x.test/
    !http://x.test//y.test !http://x.test/?http://y.test/
    !http://www.homes.example/http://y.test/)");
  // Bare addresses count in fewer than 50 links.
  std::string links = Link("http://192.0.2.1/login/account-is");
  for (int32_t i = 1; i < 49; i++)
    links += Link("http://x.test/" + std::to_string(i));
  EXPECT_EQ(kVerdict, Judge(kAny, "select", links));
  EXPECT_EQ("", Judge(kAny, "select", links + Link("http://x.test/50")));
}

// The name of a rule goes ahead of the sender's domain.
TEST(PhishingTest, HostsThatLookAlike) {
  const char bank[] = "x@mybank.test";
  ExpectEach(kVerdict + std::string("mybank"), bank, "select", R"(
    http://MYBANC.example http://login-nybank-x.a.test
    http://my-img.nybank.test !http://CDN4.nybank.test !http://mybank.example
    !http://myban.test !http://mybannk.test !http://myvanc.test)");
  ExpectEach(kVerdict + std::string("banque-x"), bank, "name",
             "http://banqve-x.test !http://nybank.test !http://x-banque-y.co");
}

// Words are asked only where there is no link of any kind. The rules of a
// section of sections end the check; other verdicts add up.
TEST(PhishingTest, RulesWordsAndTotals) {
  const std::string brand = Link("http://x.test/|ebay.test");
  const std::string lies = brand + Link("http://x.test/|www.bank.test");
  const std::string ebay = "Ebay Phishing (400);";
  EXPECT_EQ(kVerdict, Judge(kAny, "select", "my account"));
  EXPECT_EQ("", Judge(kAny, "select", "account" + Link("mailto:a@x.test")));
  EXPECT_EQ("", Judge(kAny, "rule zero", "my account"));
  EXPECT_EQ(kVerdict, Judge(kAny, "select rule", ""));
  EXPECT_EQ(ebay + "Deep (130) Phishing.ebayDeepPhishing",
            Judge(kAny, "select rule deep", lies));
  EXPECT_EQ(ebay + "Forged link (90) Phishing.ebay", Judge(kAny, "none", lies));
  EXPECT_EQ(ebay + "Phishing (400) Phishing.ebayPhishing.mybank",
            Judge("a@mybank.test", "select rule", brand));
}

TEST(PhishingTest, Brand) {
  const char hit[] = "Ebay Phishing (400) Phishing.ebay";
  ExpectEach(hit, "x@ebay.login.test", "none", R"(
    http://x.test|IMG !http://a.ebay.test|IMG !/x|IMG http://x.test/EBAYLSAPI.DLL
    http://x.test|x_ebaylsapl.dll !http://x.test/ebayisapl.dll
    !http://x.test/?ebayisapi.dll !http://x.test/search?q=cache:1|ebayisapi.dll
    http://192.0.2.1PAGE !IP/ebayisapi.dll http://x.testPAGE
    http://ebay.x.testPAGE !http://cgi.ebay.testPAGE !http://ebay.co.testPAGE)");
  for (const char* own : {"x@ebay.co.test", "x@a.EBAY.test", "x@a-ebay.x.test"})
    ExpectEach(hit, own, "none", "!http://x.testPAGE");
  ExpectEach(hit, "x@prebay.example", "none", R"(
    http://x.test|eBay.test http://x.test|_http://www.ebay.test/
    http://x.test|the_Dispute_Thread !http://vi.ebaydesc.test|dispute_thread
    http://ebay.x.test/|ebay.test !mailto:a@x.test|ebay.test
    !http://x.test|see_ebay.test !http://x.test/|http://my.ebay.test
    !http://x.test/?a=1&url=http://ebay.test/?b|ebay.test
    http://x.test/?url=http://y.test/ebay.test|ebay.test
    http://x.test/?curl=http://ebay.test/|ebay.test)");
  for (const char* other : {"x@rebay.example", "x@a.EBAY-club.example"})
    ExpectEach(hit, other, "none", "!http://x.test|ebay.test");
}
