// Fingerprints of values, and those made of a dictionary's letters.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/heap_text.h"
#include "rules/image_util.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

TEST(FingerprintsTest, LettersAndTags) {
  const struct {
    const char* text;
    const char* types;
    const char* header;
    const char* tags;
  } rows[] = {
      {"From: a\r\n\r\ntext", "?", "@0000000", "mT"},
      {"List-Id: a\r\nContent-Type: text/html; charset=utf-8\r\n\r\nx", "T",
       "@T00000C", "mHL"},
      {"Content-Type: text/plain; charset=x-y\r\n\r\nx", "T", "@T00000?", "mT"},
      {"Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nx\r\n\r\n"
       "--b\r\nContent-Type: x/y\r\nContent-Disposition: attachment\r\n\r\n"
       "y\r\n\r\n--b--\r\n",
       "T??", "@T00?000", "mTA"},
  };
  // Every value but "x..." has a letter.
  HSTUFF stuff(BlockOf(MakeImage({
      {"HdrAdnCharset", stNamedRegex, 0, {"C:^[^x]"}},
      {"HdrAdnContentType", stNamedRegex, 0, {"T2: ^[^x] "}},
      {"HdrMailingList", stRegex, 0, {"<7>(?i)^list-"}},
  })));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    TQMMSG m(nullptr, &stuff, nullptr, 0, 0);
    m.loadFromBlock(TBLOCK(row.text), "", 1);
    EXPECT_STREQ(row.types, m.typeAdn.c_str());
    EXPECT_STREQ(row.header, m.hdrAdn.c_str());
    EXPECT_STREQ(row.tags, m.tags.c_str());
  }
}

const char kMail[] =
    "Date: Mon, 2 Mar 2026 10:00:00 +0000\n"
    "To: a.b@c.example, D E <d@c.example>\nCc: f@c.example\n";

TEST(FingerprintsTest, OfRuleFields) {
  const std::string longText(3000, '-');
  const struct {
    int field;
    std::string text, adn;
  } rows[] = {
      // Runs of digits are compared with the date of the message.
      {kFieldAdnId, "20260302.12@a.B-1", "ffffffff.dd@a.B-1"},
      {kFieldAdnId, "ab@cd@e", "ll@ll@e"},
      {kFieldAdnId, "20200302.JavaMail.Root", "dddddddd.JavaMail.Root"},
      {kFieldAdnId, "@", "@"},
      {kFieldAdnCid, "20260302", "ffffffff"},
      {kFieldAdnBound, "20250302=NEXTPART", "dddddddd=NEXTPART"},
      {kFieldAdnById, "20260302", "ffffffff"},
      {kFieldAdnFrom, "ab1 <x@y>", "m{3} <l{1}@l{1}>"},
      // From the body on; a macro stands in place of a stretch.
      {kFieldAdnHtml, "/HT/bo/BO/P/TX/p/BO", "/BO*/BO"},
      {kFieldAdnHtml, "/P/TX/p/B", "*/B"},
      {kFieldAdnTable, longText, longText.substr(0, 50)},
      {kFieldAdnText, "a b \n1" + longText,
       "lled" + longText.substr(0, 2048 - 6)},
      {kFieldAdnThid, "aC+/", "00 2F BF"},
      {kFieldAdnThid, "Ac+/x", "00 2F BF"},
      {kFieldAdnThid, " A\nQ=", "01"},
      {kFieldAdnUrl, "www.ab.COM", "www.ll.COM"},
      {kFieldAdnFilename, "known-ab.PDF", "0-ll.PDF"},
      {kFieldAdnSubject, "known fw: ab", "lllll fw: ll"},
      {kFieldAdnRcvdFrom, "LocalHost (10.0.0.1)", "LocalHost (i)"},
      {kFieldAdnRcvdBy, "localhost 10.0.0.1", "l i"},
      {kFieldAdnRcvdWith, "esmtp ab 10.0.0.1", "esmtp l d.d.d.d"},
      {kFieldAdnTagParam, "A.b=12", "u.l=d"},
      {9999, "ab www 12", "l l d"},
  };
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico, "[:AdnHtmlMacros]\n*:/P/TX/p\n"));
  m.loadFromBlock(HeapText(kMail).view(), "", 1);
  TBLOCKVECT known(2);
  known.add(TBLOCK("known"), 0, 0);
  STR adn("old");
  for (const auto& row : rows) {
    std::string expected = row.adn;
    if (row.field == kFieldAdnThid)
      expected.erase(std::remove(expected.begin(), expected.end(), ' '),
                     expected.end());
    m.getAdnFromBlock(row.field, HeapText(row.text).view(), adn, &known);
    EXPECT_EQ(expected, adn.c_str()) << row.field << ' ' << row.text;
    m.getAdnFromBlock(row.field, TBLOCK(), adn);
    EXPECT_STREQ("", adn.c_str()) << row.field;
  }
}

// What is ahead of the suffix, the suffix, and what follows.
TEST(FingerprintsTest, OfLinks) {
  const char* const rows[][3] = {
      {"http://www.ab1.co.uk/X?y=12", "co.uk", "www.mmm.co.uk/u?l=dd"},
      {"http://a.b.uk?c/d", "uk", "l.l.uk?l/l"},
      {"http://a.b.co.uk:80/", "co.uk", "l.l.ll.ll:dd/"},
      {"www.ab.none/c", "", "www.ll.llll/l"},
      {"http://ab.none/c", "ab.none", "ab.none/l"},
      {"http://u@ab.com/", "ab.com", "l@ab.com/"},
      {"http://com/", "", "lll/"},
      {"http://10.0.0.1/c", "", "i/l"},
      {"https://a.b.uk/", "uk", ""},
      {"ftp://a.b.uk/", "uk", ""},
      {"mailto:x@a.b.uk", "uk", ""},
      {"cid:x@a.b.uk", "", ""},
      {"file://a.b.uk/", "", ""},
  };
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico, "[$TLD]\nuk\nco.uk\ncom\na.co.uk\n"));
  STR adn;
  for (const auto& row : rows) {
    const HeapText text(row[0]);
    TBLOCKURL url;
    url.parseUrl(text.view());
    EXPECT_EQ(row[1], Str(m.extractUrlTld(url))) << row[0];
    m.getAdnFromUrl(url, adn);
    EXPECT_STREQ(row[2], adn.c_str()) << row[0];
  }
}

std::string Joined(const STRVECT& texts) {
  std::string out;
  for (int32_t i = 0; i < texts.count(); i++)
    out += std::string(texts.text(i)) + "|";
  return out;
}

TEST(FingerprintsTest, OfAMessagesLinks) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico,
                         "[:AdnUrlText]\nA:^[a-z]\n"
                         "[:AdnUrlTextBefore]\nB:^[a-z]\n"));
  std::string mail =
      "Content-Type: text/html\n\n"
      "<a href=http://a.b.c/x.HTML>1</a>x<a href=http://a.b.c/y1.htm>t</a>"
      "<a href=https://a.b.c/z>t</a><a href=mailto:x@b.c>t</a>"
      "<a href=http://a.b.c/htm>t</a>";
  for (int i = 0; i < 9; i++)
    mail += "<a href=http://a.b.c/" + std::string(i + 2, 'x') + ">t</a>";
  m.loadFromBlock(HeapText(mail).view(), "", 1);
  m.parseBody();
  EXPECT_EQ(
      "l.l.l/l.HTML|l.l.l/mm.htm|l.l.l/lll|l.l.l/ll|l.l.l/lll|l.l.l/llll|"
      "l.l.l/lllll|l.l.l/llllll|l.l.l/lllllll|",
      Joined(m.urlAdns));
  EXPECT_EQ("?0|AB|AB|AB|AB|AB|AB|AB|AB|AB|", Joined(m.urlTextAdns));
}

TEST(FingerprintsTest, OfRecipientsAndCounts) {
  const std::string part = "--b\nContent-Disposition: attachment";
  std::string mail =
      "Received: from a ([192.0.2.1]) by b; Mon, 2 Mar 2026 10:00:00 +0000\n"
      "Received: from c by d; Mon, 2 Mar 2026 10:00:00 +0000\n" +
      std::string(kMail) +
      "Content-Type: multipart/mixed; boundary=b\n\n--b\n\n";
  for (int i = 0; i < 160; i++) mail += "x\n";
  mail += part + "; filename=a.txt\nContent-Type: text/plain\n\nx\n";
  mail += part + "; filename=a.gif\nContent-Type: image/gif\n\nx\n";
  for (int i = 0; i < 10; i++) mail += part + "\nContent-Type: x/y\n\nx\n";
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  m.loadFromBlock(HeapText(mail).view(), "u@c.example", 1);
  m.parseBody();
  EXPECT_STREQ("H1I1C1P+R2B2G1Z+A2", m.countsAdn.c_str());
  EXPECT_EQ(2, m.toList.count());
  EXPECT_EQ("f@c.example", Str(m.ccList.get(0).email));
  const std::string both =
      std::string(m.toList.get(0).adn) + "," + m.toList.get(1).adn;
  EXPECT_EQ(both + "," + m.ccList.get(0).adn + "," +
                ParseMailBox(TBLOCK("u@c.example")).adn,
            m.recipAdn.c_str());
  m.loadFromBlock(TBLOCK("A: b\n\n"), "", 1);
  m.parseBody();
  EXPECT_STREQ("", m.recipAdn.c_str());
  EXPECT_STREQ("H0I0C0P1R0B0G0Z0A0", m.countsAdn.c_str());
}

TEST(FingerprintsTest, OfMailboxes) {
  const char* const rows[][2] = {
      {"Ab Cdef <x@y.z>", "a c @"},
      {"\"Ab, <c\" <x@y.z>", "\"a, <l\" @"},
      {"12, x@y.z", "d@"},
      {"12, x", "d"},
      {"<", "@"},
      {"", ""},
  };
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  STR adn;
  for (const auto& row : rows) {
    m.getMailBoxAdn(HeapText(row[0]).view(), adn);
    EXPECT_STREQ(row[1], adn.c_str()) << row[0];
  }
}

}  // namespace
