#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "scan/tqmmsg.h"

namespace {

std::string Text(TBLOCK view) {
  if (view.empty()) return "";
  return std::string(reinterpret_cast<const char*>(view.pointer), view.length);
}

// "-" for none; else the elements, each in brackets.
std::string Dump(const TBLOCKVECT& list) {
  std::string out;
  for (int32_t i = 0; i < list.count(); i++)
    out += "[" + Text(list.get(i)) + "]";
  return out.empty() ? "-" : out;
}

// By the table of names, so that name and number are tested together.
int32_t NumberOf(const std::string& name) {
  const std::string names = "," + std::string(_REGEXFIELDNAMES) + ",";
  const size_t at = names.find("," + name + ",");
  if (at == std::string::npos) return 0;
  int32_t number = 1;
  for (size_t i = 1; i <= at; i++) number += names[i] == ',';
  return number;
}

class RuleFieldsTest : public ::testing::Test {
 protected:
  RuleFieldsTest() : m(nullptr, nullptr, nullptr, 0, 0) {}
  void load(const std::string& text) {
    m.loadFromBlock(TBLOCK(text.data(), static_cast<uint32_t>(text.size())), "",
                    1);
    m.parseWords();
  }
  // The dumps of several fields, with blanks between them.
  std::string fields(const std::string& names) {
    std::string out;
    for (size_t begin = 0, end; begin < names.size(); begin = end + 1) {
      end = std::min(names.find(' ', begin), names.size());
      const int32_t number = NumberOf(names.substr(begin, end - begin));
      if (begin > 0) out += ' ';
      out += Dump(m.regexFields(number, TBLOCK()));
    }
    return out;
  }
  // The name as a rule holds it: there is no NUL behind it.
  std::string header(const std::string& name) {
    const std::unique_ptr<char[]> exact(new char[name.size()]);
    name.copy(exact.get(), name.size());
    return Dump(m.regexFields(
        kFieldHdr, TBLOCK(exact.get(), static_cast<uint32_t>(name.size()))));
  }
  TQMMSG m;
};

const char kMail[] =
    "Received: from a by b\r\nReceived: \" from c by d \"\r\n"
    "Message-Id: <id@a.example>\r\nSubject:  =?utf-8?q?s_=C3=A9?= \r\n"
    "From: Anna <AnnaSmith.Jo@h.x.example>\r\nReply-To: R <r@x.example>\r\n"
    "To: t@x.example\r\nCc: c@x.example\r\nX-MimeOLE: ole\r\n"
    "Date: Mon, 3 Mar 2008 10:00:00 +0100\r\nUser-Agent: PHPMailer 1\r\n"
    "Thread-Index: ti\r\nX-Spam-Status: 'Yes' \r\nX-Spam-Status: No\r\n"
    "Content-Transfer-Encoding: 8bit\r\n"
    "Content-Type: multipart/mixed; boundary=\"B1\"; charset=us-ascii\r\n\r\n"
    "--B1\r\nContent-Type: text/plain; charset=utf-8\r\nX-P: text\r\n\r\n"
    "Name: x\r\nCity: y\r\n\r\n  last \r\n"
    "--B1\r\nContent-Type: text/html; charset=UTF-8\r\nX-P: html\r\n\r\n\r\n"
    "--B1\r\nContent-Type: application/x; name=\"b.pdf\"\r\n"
    "Content-Disposition: attachment\r\n\r\nx\r\n"
    "--B1\r\nContent-Disposition: attachment; filename=\"z.zip\"\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\n"
    "UEsDBBQAAAAAAAAAAAAAAAAAAAAAAAAAAAAFAAAAYS5leGU=\r\n--B1--\r\n";

TEST_F(RuleFieldsTest, FromARealMessage) {
  m.setProfileInfo(0, "p,q");
  m.fixedTime = 1;
  m.setParams("b\n a ");
  load(kMail);
  EXPECT_EQ("[id@a.example] [B1] [s \xE9] [Anna <AnnaSmith.Jo@h.x.example>]",
            fields("Id Bound Subject From"));
  EXPECT_EQ("[us-ascii][utf-8] [Name: x\r\nCity: y\r\n\r\n  last]",
            fields("Charset Content"));
  EXPECT_EQ("[Name: x] [last] [Name: x][City: y][last] [name][city]",
            fields("FirstLine LastLine Lines Tokens"));
  EXPECT_EQ("[PHPMailer 1] [12] [ole] [Yes] [8bit] [HTA]",
            fields("Mailer Agent Ole XSpamStatus Encoding Tags"));
  EXPECT_EQ("[from a by b][from c by d] [from c by d]",
            fields("Received Rcvd"));
  EXPECT_EQ("[AnnaSmith.Jo@h.x.example] [AnnaSmith.Jo] [Anna][Smith] [Anna]",
            fields("Addr User AddrWords Alias"));
  EXPECT_EQ("[t@x.example] [c@x.example] [r@x.example] [x.example]",
            fields("To Cc Replyto FromDom"));
  EXPECT_EQ("[multipart/mixed] [mixed]", fields("MimeType Multipart"));
  EXPECT_EQ("[b.pdf][z.zip] [b.pdf][exe] [a.exe]",
            fields("Filename AttExt Zip"));
  EXPECT_EQ("[text/plain][text/html][application/x] [p][q][00:Thu] [b][a]",
            fields("PartMimeType Profil Param"));
}

void AddLink(TLINKVECT& links, int32_t proto, const char* text,
             const char* tld) {
  TLINKRECORD link = {};
  link.url.proto = proto;
  link.url.url = TBLOCK(text);
  link.url.host = TBLOCK(text + 4);
  link.url.path = TBLOCK("/p");
  link.url.query = TBLOCK("q");
  link.url.tld = TBLOCK(tld);
  link.texts = new TBLOCKVECT(2);
  link.texts->add(TBLOCK("same "), 1, 0);
  link.texts->add(TBLOCK(text), 1, 0);
  links.BLOCK::add(&link, sizeof link);
}

TEST_F(RuleFieldsTest, LinksAndPictures) {
  load("");
  TLINKVECT links;
  AddLink(links, upHttp, "HTTP://a", "co.uk");
  AddLink(links, upHttps, "https://b", "de");
  AddLink(links, upNone, "www.c", "com");
  AddLink(links, upMailto, "mailto:d", "DE");
  AddLink(links, upHttp, "http://192", "");
  m.links = &links;
  TIMGRECORD image = {};
  image.url.url = TBLOCK("cid:1");
  image.url.file = TBLOCK("f");
  for (int32_t proto : {upCid, upHttp}) {
    image.url.proto = proto;
    m.htmlContext.images.BLOCK::add(&image, sizeof image);
  }
  m.urlAdns.add("l.l");
  m.urlAdns.add("u");
  EXPECT_EQ("[HTTP://a][https://b][www.c][mailto:d][http://192]",
            fields("Url"));
  EXPECT_EQ("[://a][s://b][://192] [a][www.c][192]", fields("HttpHost http"));
  EXPECT_EQ("[/p] [q][q][q][q][q] [uk][de]",
            fields("UrlPath UrlParam Country"));
  EXPECT_EQ("[same][HTTP://a][https://b][www.c][mailto:d][http://192]",
            fields("Linktext"));
  EXPECT_EQ("[cid:1] [f] [l.l,u] -", fields("Img ImgFile AdnUrl2 ImgLink"));
}

// The relay lines stand in the header newest first; "the last" is the oldest.
TEST_F(RuleFieldsTest, RelaysAndFingerprints) {
  load(
      "Received: from c ([192.0.2.3]) by d with LMTP id 3;"
      " Mon, 2 Mar 2026 10:00:10 +0000\r\n"
      "Received: from b ([192.0.2.2]) by c with ESMTP id 2 for <f@x.example>;"
      " Mon, 2 Mar 2026 10:00:01 +0000\r\n"
      "Received: from a ([192.0.2.1]) by b with HTTP id 7a;"
      " Mon, 2 Mar 2026 10:00:00 +0000\r\n"
      "Date: Mon, 2 Mar 2026 10:00:00 +0000\r\nMessage-Id: <12@x>\r\n"
      "From: Ab <cd@x.example>\r\nTo:\te@x.example\r\nSubject: Re: ab\r\n"
      "Thread-Index: AAAA\r\nContent-Type: text/html\r\n\r\n"
      "<body a=b c=1>Call +1 202 555 0147<p>f@x.example "
      "<a href=http://g.x.example/h>ij kl</a>"
      "<a href=http://g.x.example/1.html>m</a>");
  EXPECT_EQ("[a ([192.0.2.1])] [b] [HTTP] [7a] [192.0.2.1] [f@x.example]",
            fields("RcvdFrom RcvdBy RcvdWith ById Ip For"));
  EXPECT_EQ("[l ([i])] [l] [HTTP] [mm]",
            fields("AdnRcvdFrom AdnRcvdBy AdnRcvdWith AdnById"));
  const std::string first = Dump(m.regexFields(NumberOf("AdnRcvd"), TBLOCK())),
                    second = Dump(m.regexFields(NumberOf("AdnLabo"), TBLOCK()));
  EXPECT_NE(first, second);
  EXPECT_EQ(0u, fields("AdnRec").find(first + second));
  EXPECT_EQ("from b", fields("Labo").substr(1, 6));
  EXPECT_EQ("[dd@x] [Re: ll] [a{2} <l{2}@l{1}.l{7}>] [000000] [0######c###]",
            fields("AdnId AdnSubject AdnFrom AdnThid AdnDates"));
  EXPECT_EQ("[12025550147] [f@x.example] [H2I3C0P1R0B0G0Z0A1]",
            fields("Phone Emails Counts"));
  EXPECT_EQ("[llll://l.l.lllllll/l][llll://l.l.lllllll/d.llll]",
            fields("AdnUrl"));
  EXPECT_EQ("[l.l.lllllll/l,l.l.lllllll/d.html]", fields("AdnUrl2"));
  const std::string words = fields("Words");
  EXPECT_EQ("[ij][kl][m]", words.substr(words.size() - 11)) << words;
}

// A list stays as it is, with the texts that were made for it, whatever else is
// asked for, until its source changes.
TEST_F(RuleFieldsTest, Keeping) {
  m.loadFromBlock(TBLOCK("Subject: a\r\n\r\nbody"), "", 0);
  m.parseHeader();
  m.urlAdns.add("u");
  m.imageAdns.add("i");
  const TBLOCKVECT& joined = m.regexFields(NumberOf("AdnUrl2"), TBLOCK());
  const unsigned char* bytes = joined.get(0).pointer;
  m.urlAdns.add("v");
  TBLOCKVECT copy(0);
  for (int32_t number = 1; number <= kRuleFieldCount; number++)
    m.setRegexFields(number, TBLOCK("all"), copy);
  EXPECT_EQ("[u]", Dump(joined));
  EXPECT_EQ(bytes, joined.get(0).pointer);
  EXPECT_EQ("[i]", fields("ImgLink"));

  EXPECT_EQ("[]", fields("Content"));
  m.parseBody();
  EXPECT_EQ("[body]", fields("Content"));
  EXPECT_EQ("[u,v]", fields("AdnUrl2"));
  m.bodyWords.add(TBLOCK("w"), 0, 0);
  EXPECT_EQ("[w]", fields("Words"));
  m.bodyWords.add(TBLOCK("x"), 0, 0);
  m.parseWords();
  EXPECT_EQ("[w][x][body]", fields("Words"));
  char lines[] = "Subject: b\r\n";
  EXPECT_EQ("[a]", fields("Subject"));
  m.changeHeader(TBLOCK(lines));
  EXPECT_EQ("[b]", fields("Subject"));
  m.setParams("p");
  m.loadFromBlock(TBLOCK("Subject: c\r\n\r\n"), "", 1);
  EXPECT_EQ("[c] [p] -", fields("Subject Param AdnUrl2"));
  m.setParams("q");
  EXPECT_EQ("-", fields("Param"));
}

}  // namespace
