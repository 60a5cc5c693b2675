#include <gtest/gtest.h>

#include <set>
#include <string>

#include "base/heap_text.h"
#include "base/md5.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

TEST(BodyPreparationTest, Lines) {
  const std::string seven = "1\n2\n3\n4\n5\n6\nvirus";
  const struct {
    std::string body, lines, tokens;
    int nonBlank;
    uint32_t left;
  } rows[] = {
      {" \n\t\r\n", "", "", 0, 5},
      {"\r\n a\r\n\r\nb\n \n\t ", " a||b|", "", 2, 12},
      {"a\n-- \nsignature", "a|-- |signature|", "", 3, 15},
      {"virus\n--\nx", "virus|--|x|", "", 3, 10},
      {"a\r\n \r\n--\r\nno VIRUSES here\r\n", "a|", "", 1, 1},
      {"-- virus", "-- virus|", "", 1, 8},
      {"NO virus Found\nx", "", "", 0, 0},
      {"a\n--\n" + seven, "a|", "", 1, 1},
      {"a\n--\n0\n" + seven, "a|--|0|1|2|3|4|5|6|virus|", "", 10, 24},
      {"a\n--\nvirus\n\n__\nvirus\n\n--virus", "a|", "", 1, 1},
      {"a\n--x\nb\n--\nvirus", "a|--x|b|", "", 3, 7},
      {"A: 1\nB: 2", "A: 1|B: 2|", "", 2, 9},
      {"A:1\nB:2\nx\nC:1\nx\n N\xE9 - 1 :v:\nD:3\nE:3",
       "A:1|B:2|x|C:1|x| N\xE9 - 1 :v:|D:3|E:3|", "a|b|ne1|d|e|", 8, 35},
  };
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.body);
    const HeapText body(row.body);
    m.body = body.view();
    m.buildBodyLines();
    m.removeAntiVirusFooter();
    m.parseBodyTokens();
    TBLOCKVECT tokens(0);
    for (int32_t i = 0; i < m.fieldTokens.count(); i++)
      tokens.add(m.fieldTokens.at(i)->view(), 1, 0);
    EXPECT_EQ(row.lines + row.tokens, Join(m.bodyLines) + Join(tokens));
    EXPECT_EQ(row.nonBlank, m.nonBlankLines);
    EXPECT_EQ(row.left, m.body.length);
  }
}

TEST(BodyPreparationTest, OutlineWithoutVirusScanners) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico,
                         "[!AntiVirusAdnHtml]\n(/HR/P)$\n/BO(/AV)/\n"
                         "(x?)\nno group\n"));
  const char* const rows[][2] = {
      {"/BO/AV/AV/P/HR/P/HR/P", "/BO/P"}, {"/HR/P/", "/HR/P/"}, {"", ""}};
  for (const auto& row : rows) {
    m.htmlContext.htmlPattern = row[0];
    m.removeAntiVirusHtml();
    EXPECT_STREQ(row[1], m.htmlContext.htmlPattern.c_str());
  }
}

TEST(BodyPreparationTest, Pictures) {
  const HeapText room(std::string(84649, 'A'));
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  for (uint32_t length : {1364u, 1365u, 84648u, 84649u}) {
    BLOCKPART* part = new BLOCKPART;
    m.message.parts.insert(part, 1);
    part->imageKind = 'P';
    part->content = room.view().head(length);
    part->width = length;
    part->height = length % 6 * 6;
    // Decoding keeps the first bytes only; the text's length still counts.
    if (length % 2) {
      part->flags |= pfDecoded;
      part->rawLength = length;
      part->content.cut(9);
    }
  }
  m.describeParts();
  EXPECT_STREQ("P1364x012P1365x018P84648x000P84649x006", m.imageSizes.c_str());
  EXPECT_STREQ("01z%", m.imageWeights.c_str());
}

TEST(BodyPreparationTest, WholeMessages) {
  const std::string html = "Content-Type: text/html; charset=utf-8\n\n12";
  const struct {
    std::string mail;
    int headerOnly;
    std::string dump;  // empty, digits; charset, last and last but one line
  } rows[] = {
      {"A: b\n\n1\n\n 2 \n3\n", 0, "0 3 03| 2 "},
      {"A: b\n\n", 0, "1 0 0|"},
      {"A: b\n\n1", 1, "0 0 0|"},
      {"Content-Type: image/x\n\n", 0, "0 0 0|"},
      // What decoding counted stays in.
      {html, 0, "0 6 812|"},
      {"Content-Type: multipart/x; boundary=b\n\n--b\n" + html, 0, "0 4 012|"},
  };
  for (const auto& row : rows) {
    TQMMSG m(nullptr, nullptr, nullptr, row.headerOnly, 0);
    m.loadFromBlock(HeapText(row.mail).view(), "", 1);
    m.parseBody();
    const uint32_t digits = m.messageCharset.zoneCounts[czDigit];
    const TBLOCK header = m.hdrAdn.view();
    const TBLOCK charset = header.from(header.length - 1);
    EXPECT_EQ(row.dump, std::to_string(m.msgContext.emptyBody) + " " +
                            std::to_string(digits) + " " + Str(charset) +
                            Str(m.lastLine.view()) + "|" +
                            Str(m.lastButOneLine.view()))
        << row.mail;
  }
}

std::string Keys(const HASHTAB& table) {
  std::set<std::string> keys;
  for (int32_t slot = table.first(); slot >= 0; table.next(slot))
    keys.insert(Str(table.getBlock(slot)));
  std::string out;
  for (const std::string& key : keys) out += key + "|";
  return out;
}

TEST(BodyPreparationTest, LinksAndPictures) {
  const std::string type = "Content-Type: text/html\n\n";
  const std::string both =
      "Content-Type: multipart/alternative; boundary=b\n\n--b\n\n"
      "http://text.com/ \n--b\n" +
      type;
  const struct {
    std::string mail;
    const char* links;  // and number of web links, domains
    const char* images;
    const char* ids;
  } rows[] = {
      {"\nhttp://a.com/ www.b.com", "http://a.com/|www.b.com|2 a.com|b.com|",
       "0", ""},
      // The text's links are taken only when the HTML has none.
      {both + "<p>t", "http://text.com/|1 text.com|", "0", ""},
      {both + "<a href=http://A.com/>t</a><a href=ftp://b.com/>u</a>"
              "<a href=http://a.com/2>v</a><a href=mailto:x@c.com>w</a>",
       "http://A.com/|ftp://b.com/|http://a.com/2|mailto:x@c.com|2 A.com|", "0",
       ""},
      {type + "<a href=HTTP://www.avg.com>t</a><a href=http://www.avg.com/x>"
              "u</a>",
       "http://www.avg.com/x|1 avg.com|", "0", ""},
      {type + "<img src=cid:a@b><img src=http://x.a.com/i/j?k><img src="
              "http://b.com/i><img src=http://a.net><img src=http://1.2.3.4/>",
       "0 ",
       "5=http://x.a.com/i/j?k:i/j?|!http://b.com/i:i|=http://a.net:|"
       "!http://1.2.3.4/:|",
       "a@b|"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mail);
    const HeapText mail(row.mail);
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    m.loadFromBlock(mail.view(), "", 1);
    TBLOCKVECT links(0), images(0);
    m.links->unfoldUrlsAsRepeatedBlocks(links);
    images.loadFromStrings(m.imageAdns);
    EXPECT_EQ(row.links, Join(links) + std::to_string(m.linkCount) + " " +
                             Keys(m.domains));
    EXPECT_EQ(row.images, std::to_string(m.imageCount) + Join(images));
    EXPECT_EQ(row.ids, Keys(m.hiddenIds));
  }
}

TEST(BodyPreparationTest, Fonts) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  m.loadFromBlock(HeapText("Content-Type: text/html\n\n<font face='Times New, "
                           "x'><font face='X,a\tb,c\"d,e'>t")
                      .view(),
                  "", 1);
  EXPECT_STREQ("\"Times New\",x,\"a\tb\",\"c\"d\",e", m.fontList.c_str());
  m.loadFromBlock(HeapText("\na").view(), "", 1);
  EXPECT_STREQ("", m.fontList.c_str());
}

TEST(BodyPreparationTest, DomainsAreCapped) {
  std::string mail = "\n";
  for (int i = 0; i < 14; i++)
    mail += "http://A" + std::to_string(i / 2) + std::to_string(i % 12) +
            ".com/" + std::to_string(i) + "\n";
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  m.loadFromBlock(HeapText(mail).view(), "", 1);
  EXPECT_EQ(14, m.linkCount);
  EXPECT_EQ(10, m.domains.count);
  EXPECT_EQ(10, m.urlTextAdns.count());
  MD5 digest;
  digest.add(TBLOCK("a00.com"));
  EXPECT_EQ(0, memcmp(m.domains.getData(m.domains.findKey(TBLOCK("a00.com"))),
                      digest.get(), MD5::kDigestBytes));
}

// A picture that the HTML shows has its weight, but no size of its own.
TEST(BodyPreparationTest, PicturesOfTheHtml) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  const HeapText source("cid:a@b");
  m.htmlContext.images.add(source.view(), TBLOCK(), TBLOCK());
  for (const char* id : {"a@b", "c", ""}) {
    BLOCKPART* part = new BLOCKPART;
    m.message.parts.insert(part, 1);
    part->imageKind = 'G';
    part->contentId = TBLOCK(id);
  }
  m.describeParts();
  EXPECT_STREQ("G000x000G000x000", m.imageSizes.c_str());
  EXPECT_STREQ("000", m.imageWeights.c_str());
  EXPECT_EQ("a@b|c|", Keys(m.hiddenIds));
}

TEST(BodyPreparationTest, WordsKeepBothEnds) {
  const HeapText letters(std::string(3000, 'a'));
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  for (uint32_t i = 0; i < 3000; i++)
    m.bodyWords.add(letters.view().from(i), 0, 0);
  m.parseWords();
  EXPECT_EQ(1023, m.bodyWords.count());
  EXPECT_EQ(2489u, m.bodyWords.get(511).length);
  EXPECT_EQ(511u, m.bodyWords.get(512).length);
}

}  // namespace
