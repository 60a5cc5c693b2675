// Which links lie, of mail that rules have selected, of the brand with tests of
// its own, and of any other. Whole messages: tests/mail/phishing.eml.

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kSections[] =
    "[$TLD]\ntest\nco.test\nco.uk\nexample\n[#ForgedDomains]\n*bank.test\n"
    "[#PhishingSenders]\n*@mybank.test\n[#NoPhishing4]\n"
    "www.shop.test:click.test\nwww.*any.test\n[^PhishingSelect]\n"
    "(Subject=^select)\nbanque-x.test:(Subject=^name)\n"
    "[^PhishingRules]\n(Subject=rule)\n[PhishingWords]\naccount\n"
    "[#DeepPhishing]\n<120>None\n<0>Zero\n<130>Deep\n<140>Deep2\n"
    "[^Zero]\n<0>(Subject=deep)\n<-1>(Subject=zero)\n"
    "[^Deep]\n<1>(Subject=deep)\n[^Deep2]\n<1>(Subject=deep)\n";
const char kAny[] = "a@example.org", kVerdict[] = "Phishing (400) Phishing.";

std::unique_ptr<TQMMSG> Load(const std::string& from,
                             const std::string& subject,
                             const std::string& html) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, kSections));
  const HeapText mail("From: " + from + "\nSubject: " + subject +
                      "\nContent-Type: text/html\n\n<body>" + html);
  m->loadFromBlock(mail.view(), "", 1);
  m->parseWords();
  return m;
}

// The cause and, of verdicts, what is behind it.
std::string Judge(const std::string& from, const std::string& subject,
                  const std::string& html) {
  auto m = Load(from, subject, html);
  m->checkPhishing();
  std::string told = Str(m->ledger.cause.view());
  return m->phishing ? told + " " + Str(m->causeText.view()) : told;
}

// Of "target|text".
std::string Link(const std::string& row) {
  const size_t bar = row.find('|');
  return "<a href=\"" + row.substr(0, bar) + "\">" +
         (bar < row.size() ? row.substr(bar + 1) : "x") + "</a><br>";
}

// Each link is a message of its own. "_" is a blank, "IP/" an address with a
// path, "HOST" a name of 50 bytes, "PAGE" the path of the brand's pages, "IMG"
// a picture.
void ExpectEach(const std::string& told, const char* from, const char* subject,
                const char* links) {
  static const char* const kShort[][2] = {
      {"_", " "},
      {"IP/", "http://192.0.2.1/"},
      {"HOST", "01234567890123456789012345678901234567890123456789"},
      {"PAGE", "/ws/eBayISAPI.dll"},
      {"IMG", "<img src=p.gif>"}};
  std::istringstream all(links);
  for (std::string row; all >> row;) {
    for (const auto& part : kShort)
      for (size_t at; (at = row.find(part[0])) != std::string::npos;)
        row.replace(at, strlen(part[0]), part[1]);
    EXPECT_EQ(told, Judge(from, subject, Link(row))) << from << " " << row;
  }
}

}  // namespace

TEST(PhishingTest, LinksThatLie) {
  ExpectEach("Forged HTTPS (90)", kAny, "none", R"(
    http://bank.test/|https://bank.test/ //a.test|HTTPS://a.test
    IP/|https://bank.test/)");
  ExpectEach("Forged IP link (90)", kAny, "none",
             "IP/|http://x.test/ IP/|www.bank.test");
  ExpectEach("Forged link (90)", kAny, "none", R"(
    http://x.test/|<p>_www.bank.test mailto:a@x.test|www.bank.test
    http://bank.test/a|http://www.bank.test/a)");
  ExpectEach("", kAny, "none", R"(
    https://a.test/|https://a.test/ https://a.test/|http://a.test/
    IP/|http://192.0.2.2 http://192.0.2|www.x.test http://x.test/|www.y.test
    http://x.test/|see_www.bank.test http://x.test/|bank.test
    http://BANK.test/a|http://bank.TEST/b)");
  const std::string lie = Link("http://x.test/|www.bank.test");
  EXPECT_EQ("Forged link (90)",
            Judge(kAny, "none", Link("http://x.test/|www.y.test") + lie + lie));
}

// Hosts of 63 and 64 bytes; the pair "shop:click" allows all of a link.
TEST(PhishingTest, LinksOfCandidates) {
  ExpectEach(kVerdict, kAny, "select", R"(
    IP/login/account-is IP/servlets/mm/s0123456789 http://1-2-3-4.dsl.test/
    http://1.2.3.4.test/ http://x.test/|http://y.test/ http://x.test/|www.y.test
    http://a.x.co.uk/|http://b.y.co.uk/ http://click.test/|http://shop.test
    http://HOST.2345678.test|www.y.test
    http://many.test/http://y.test/|a_shop http://homes.test/a/http://www.y.test
    )");
  ExpectEach("", kAny, "select", R"(
    IP/login/account-i IP/login/account-i?account=1 IP/Servlets/MMS/0123456789
    IP/exchweb/bin/redir.asp?x IP/idxv4/searchforms/armls.asp IP/|http://y.test/
    http://1-2-3-400-5.test/ mailto:1-2-3-4.x@1-2-3-4.dsl.test
    http://HOST.23456789.test|www.y.test
    http://x.test/|y.test http://a.x.test/|www.X.test http://x.test//y.test
    javascript:x.test/|http://y.test/ http://x.none.none/|http://y.test/
    http://x.test/|www.y.none.none http://click.test/http://y.test|www.shop.test
    http://many.test/|www.shop.test http://x.test/http://a.x.test/
    http://x.test/http://y/ http://x.test/?http://y.test/
    http://www.homes.example/http://y.test/)");
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
    http://mybonk.test http://MYBANC.example http://login-nybank-x.a.test
    http://my-img.nybank.test)");
  ExpectEach("", bank, "select", R"(
    http://mybank.example http://myban.test http://mybannk.test
    http://myvanc.test http://login-nybankx.a.test http://img.nybank.test
    http://CDN4.nybank.test)");
  ExpectEach("", "x@www.mybank.test", "select", "http://mybonk.test");
  ExpectEach(kVerdict + std::string("banque-x"), bank, "name",
             "http://banqve-x.test");
  ExpectEach("", bank, "name", "http://nybank.test http://www-banque-y.test");
}

// Words are asked only where there is no link of any kind. The rules of a
// section of sections end the check; other verdicts add up.
TEST(PhishingTest, RulesWordsAndTotals) {
  const std::string lie = Link("http://x.test/|www.bank.test");
  const std::string brand = Link("http://x.test/|ebay.test");
  const std::string ebay = "Ebay Phishing (400);";
  EXPECT_EQ(kVerdict, Judge(kAny, "select", "my account"));
  EXPECT_EQ("", Judge(kAny, "select", "my acount"));
  EXPECT_EQ("", Judge(kAny, "select", "account" + Link("mailto:a@x.test")));
  EXPECT_EQ("", Judge(kAny, "rule", "my account"));
  EXPECT_EQ(kVerdict, Judge(kAny, "select rule", ""));
  EXPECT_EQ(kVerdict, Judge(kAny, "select rule", Link("http://x.test/")));
  EXPECT_EQ("", Judge(kAny, "zero", ""));
  EXPECT_EQ(ebay + "Deep (130) Phishing.ebayDeepPhishing",
            Judge(kAny, "select rule deep", brand + lie));
  EXPECT_EQ(ebay + "Forged link (90) Phishing.ebay",
            Judge(kAny, "none", brand + lie));
  auto m = Load("a@mybank.test", "select rule", brand);
  m->checkPhishing();
  EXPECT_EQ(800, m->ledger.score);
  EXPECT_EQ("Phishing.ebayPhishing.mybank", Str(m->causeText.view()));
  // What a ledger had told before it was reset is no longer told.
  m->ledger.reset();
  m->checkEbayPhishing();
  EXPECT_EQ("Phishing.ebay", Str(m->causeText.view()));
}

TEST(PhishingTest, Brand) {
  const char hit[] = "Ebay Phishing (400) Phishing.ebay";
  ExpectEach(hit, "x@ebay.login.test", "none", R"(
    http://x.test|IMG http://x.testPAGE http://x.test/EBAYLSAPI.DLL
    http://x.test|x_ebaylsapl.dll http://ebay.x.testPAGE
    http://192.0.2.1PAGE)");
  ExpectEach("", "x@ebay.login.test", "none", R"(
    http://a.ebay.test|IMG http://ebay2.test|IMG /x|IMG
    http://x.test/ebayisapl.dll http://x.test/?ebayisapi.dll
    http://cgi.ebay.testPAGE http://ebay.co.testPAGE IP/ebayisapi.dll
    http://x.test/cgi-bin/mark.cgi/ebayisapi.dll
    http://x.test/search?q=cache:1|ebayisapi.dll)");
  for (const char* own : {"x@ebay.co.test", "x@a.EBAY.test", "x@a-ebay.x.test"})
    ExpectEach("", own, "none", "http://x.testPAGE http://x.test|IMG");
  ExpectEach(hit, "x@prebay.example", "none", R"(
    http://x.test|eBay.test http://x.test|_http://www.ebay.test/
    http://x.test|the_Dispute_Thread http://ebay.x.test/|ebay.test
    http://x.test/?url=http://y.test/ebay.test|ebay.test
    http://x.test/?curl=http://ebay.test/|ebay.test IP/|ebay.test)");
  ExpectEach("", kAny, "none", R"(
    http://x.test|see_ebay.test http://x.test/|http://my.ebay.test
    http://vi.ebaydesc.test|dispute_thread mailto:a@x.test|ebay.test
    http://ebay.co.test/|ebay.test
    http://x.test/?a=1&url=http://ebay.test/?b|ebay.test)");
  for (const char* other : {"x@rebay.example", "x@a.EBAY-club.example"})
    ExpectEach("", other, "none", "http://x.test|ebay.test");
}
