// URLs found in running text, and what the search leaves of the text.

#include <gtest/gtest.h>

#include <memory>

#include "base/heap_text.h"
#include "content/block_url.h"
#include "rules/image_util.h"
#include "rules/qm_dico.h"

namespace {

const IMAGESECTION kTld = {"Tld",
                           stString,
                           sfHashed,
                           {"com", "org", "in", "co", "uk", "info", "co.uk"}};
const IMAGESECTION kTld2 = {"Tld2", stString, sfHashed, {"com", "info"}};

std::unique_ptr<TQMDICO> Dictionary(const std::vector<IMAGESECTION>& sections) {
  std::unique_ptr<TQMDICO> dico(new TQMDICO(nullptr, nullptr));
  EXPECT_TRUE(dico->loadKeywordsFromBlock(BlockOf(MakeImage(sections))));
  return dico;
}

// The URLs, each followed by "|"; `left` gets the text as it is then.
std::string Find(const std::string& text, const TQMDICO* dico,
                 std::string* left = nullptr) {
  const HeapText copy(text);
  TBLOCK cursor = copy.view();
  std::string urls;
  for (;;) {
    const TBLOCK url = TBLOCKURL::FindUrl(cursor, dico);
    EXPECT_EQ(copy.view().end(), cursor.end());
    if (url.empty()) break;
    EXPECT_LE(url.end(), cursor.pointer);
    urls += Str(url) + "|";
  }
  EXPECT_EQ(0u, cursor.length);
  if (left) *left = copy.str();
  return urls;
}

TEST(FindUrlTest, PlainUrls) {
  const Case<const char*> rows[] = {
      {"", ""},
      {"see http://a.org/x?y, and www.b.net.", "http://a.org/x?y|www.b.net|"},
      {"<http://a.org/\r\n b>c", "http://a.org/\r\n b|"},
      {"<http>", "http|"},
      {"<HtTpS://a.org> <http xhttp://a.org/.,:;",
       "HtTpS://a.org|http://a.org/|"},
      {"hTTP://a.org HTTP://b.org wWw.a.org WWW.b.org",
       "hTTP://a.org|wWw.a.org|"},
      {"http://a.org\"www.b.org'www.c.org",
       "http://a.org|www.b.org'www.c.org|"},
      {"http://localhost/a http:///.. www.", ""},
      {"http://x?a.b www.?x", "www.?x|"},
      {"http:http:http://a.org", "http:http:http://a.org|"},
      {"http", ""},
      {"http://a.orgwww.b.org", "http://a.orgwww.b.org|"},
      {"e x a m p l e . c o m", ""}};
  for (const auto& row : rows) {
    std::string left;
    EXPECT_EQ(row.want, Find(row.text, nullptr, &left)) << row.text;
    EXPECT_EQ(row.text, left);
  }
}

TEST(FindUrlTest, Domains) {
  const std::unique_ptr<TQMDICO> dico = Dictionary({kTld, kTld2});
  const Case<const char*> rows[] = {
      {"Please visit our site example.com today", "example.com|"},
      {"see e x a m p l e . c o m", "example.com|"},
      {"w w w . p i l l s . c o m", "www.pills.com|"},
      {"example.COM/a,b?c. And", "example.COM/a,b?c|"},
      {"example.com?a=b;", "example.com?a=b|"},
      {"example.com: x", "example.com|"},
      {"www1.example.co.uk, x", "www1.example.co.uk|"},
      {"example.co.ux", ""},
      {"example.com-x example.com_x example.comx", ""},
      {"p\xE9rou.com", "p\xE9rou.com|"},
      // The dot may end a sentence.
      {"friend. Come in. friend. In the end", ""},
      {"pills . com pills .com pills. com", "pills.com|pills.com|pills.com|"},
      {"pills . in pills.i n pills.c o m", "pills.com|"},
      {"pills . in/ pills.in", "pills.in/|pills.in|"},
      {"p i l l s . in", "pills.in|"},
      // What stands ahead of the suffixes.
      {"x.com 12.com -ab.com ab-.com .ab.com", ""},
      {"me-.x.com in.com co.uk x.co.uk a.in.com", ""},
      {"1a.in.com -a.bc.com", "1a.in.com|-a.bc.com|"},
      {"ab@cd.com ab.in@c ab.com/a@b a@b c . com", ""},
      {"ab.com:ab.com:ab.com@b cd.com", "cd.com|"},
      // How far a piece may be away.
      {"p i l l        s . c o m", "pills.com|"},
      {"p i l l         s s . c o m", "ss.com|"},
      {"pills.        com pills        .com", "pills.com|pills.com|"},
      {"pills.         com pills         .com", ""},
      {"pills.\ncom pills\r.com", ""},
      {"pills..com pills. .com pills./com pills.?com", ""},
      {"a b : c d . com", "cd.com|"},
      {"p*i*l*l*s . com", "pills.com|"},
      {"p(i)l(l)s . [c]o-m/a*b", "pills.com/a*b|"},
      // The protocol belongs to it, if it is one.
      {"h t t p : / / p i l l s . c o m / x", "http://pills.com|"},
      {"Htt P s :   /\t/ pills . com", "HttPs://pills.com|"},
      {"ttp://pills.com ftp://pills.com", "pills.com|pills.com|"},
      {"http ://pills.com http    ://pills.com", "http://pills.com|pills.com|"},
      {"http:/pills.com", "http:/pills.com|"},
      {"ab.com.com.com", "ab.com.com.com|"}};
  for (const auto& row : rows)
    EXPECT_EQ(row.want, Find(row.text, dico.get())) << row.text;
}

TEST(FindUrlTest, TextIsPutTogetherInPlace) {
  const std::unique_ptr<TQMDICO> dico = Dictionary({kTld});
  std::string left;
  EXPECT_EQ(
      "http://example.com/a.b|",
      Find("x h t t p://e x a(m)p l e . c o m/a.b, y", dico.get(), &left));
  EXPECT_EQ("x http://example.com/a.b" + std::string(13, ' ') + ", y", left);
  // Section "Tld2" is missing: every suffix will do.
  EXPECT_EQ("friend.In|", Find("friend. In the", dico.get(), &left));
  EXPECT_EQ("friend.In  the", left);
  EXPECT_EQ("", Find("friend.in", Dictionary({kTld2}).get()));
}

TEST(FindUrlTest, Limits) {
  const std::unique_ptr<TQMDICO> dico = Dictionary({kTld});
  const std::string run(2041, 'a');
  EXPECT_EQ("http://a.org/" + run.substr(6) + "|",
            Find("http://a.org/" + run, nullptr));
  EXPECT_EQ("http://" + run.substr(2) + ".o|",
            Find("http://" + run.substr(2) + ".org", nullptr));
  EXPECT_EQ("", Find("http://" + run + ".org", nullptr));
  EXPECT_EQ("ab.com/" + run + run.substr(2035) + "|",
            Find("ab.com/" + run + run, dico.get()));
  EXPECT_EQ(run.substr(0, 64) + ".com|", Find(run + ".com", dico.get()));
  const std::string brackets = "<http" + std::string(4090, ' ');
  EXPECT_EQ(brackets.substr(1) + "|", Find(brackets + ">", nullptr));
  EXPECT_EQ("", Find(brackets + " >", nullptr));
  EXPECT_EQ("http|", Find(brackets + "<http>", nullptr));
  EXPECT_EQ("http" + std::string(4087, ' ') + "|",
            Find("<http<http" + std::string(4087, ' ') + ">", nullptr));
}

}  // namespace
