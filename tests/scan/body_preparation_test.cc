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
       "A:1|B:2|x|C:1|x| N\xE9 - 1 :v:|D:3|E:3|", "a|b|ne1|d|e|", 8, 35}};
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
