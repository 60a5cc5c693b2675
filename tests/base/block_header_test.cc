#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "base/tblock.h"

namespace {

// "RESULT field|field|", then the text when it was changed.
std::string Split(const std::string& bytes, int blankFolds) {
  const HeapText text(bytes);
  TBLOCK block = text.view();
  TBLOCKVECT fields(4);
  fields.add(TBLOCK("old"), 0, 0);
  const int result = TBLOCK::HeaderToBlocks(block, fields, blankFolds);
  std::string out = std::to_string(result) + " " + Join(fields);
  if (text.str() != bytes) out += text.str();
  return out;
}

TEST(BlockHeaderTest, Split) {
  // A fold stays in its field; one behind a lone LF is never blanked.
  const struct {
    const char *text, *result, *blanked;  // null: as without blanking
  } rows[] = {{"A: 1\r\nB: 2\r\n\r\nbody", "14 A: 1|B: 2|", nullptr},
              {"A: 1\nB: 2\n\nbody", "11 A: 1|B: 2|", nullptr},
              {"A: 1\n\rB: 2\n\r\n\rbody", "14 A: 1|B: 2|", nullptr},
              {"A: 1\r\n 2", "8 A: 1\r\n 2|", "8 A: 1   2|A: 1   2"},
              {"A: 1\n\r\t2", "8 A: 1\n\r\t2|", "8 A: 1   2|A: 1   2"},
              {"A: 1\n 2", "7 A: 1\n 2|", nullptr},
              {"A\rB\r\rC\r C", "9 A\rB|C\r C|", nullptr},
              {"A\r\n\r", "4 A|", nullptr},
              {"A\r\n\r body", "4 A|", nullptr},
              {"A\n", "2 A|", nullptr},
              {"\nA", "2 A|", nullptr}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.result, Split(row.text, 0)) << row.text;
    EXPECT_EQ(row.blanked ? row.blanked : row.result, Split(row.text, 1))
        << row.text;
  }
}

// "RESULT anomaly field|field|", then the text, "=" for the same.
std::string Parse(const std::string& bytes, int unfold) {
  const HeapText text(bytes);
  TBLOCKVECT fields(4);
  fields.add(TBLOCK("old"), 0, 0);
  int anomaly = 10;
  const int result =
      TBLOCK::BlockParseHeader(text.view(), fields, unfold, anomaly);
  return std::to_string(result) + " " + std::to_string(anomaly - 10) + " " +
         Join(fields) + (text.str() == bytes ? "=" : text.str());
}

// A CR alone becomes a space, so that its line is not empty.
TEST(BlockHeaderTest, Parse) {
  const struct {
    const char *text, *plain, *unfolded;  // null: as the plain one
  } rows[] = {
      {"", "0 0 =", nullptr},
      {"\r\nx", "2 0 =", nullptr},
      {"A: 1\r\nB: 2\n\rC: 3\n\nx", "18 0 A: 1|B: 2|C: 3|=", nullptr},
      {"A: 1\r\n\t2\r\n  3\r\nB",
       "16 0 A: 1|2|3|B|=", "16 0 A: 1 2 3|B|A: 1 2 3     \r\nB"},
      {"A: 1 \r\n 2\t3 \r\n4",
       "15 0 A: 1|2\t3|4|=", "15 0 A: 1 2 3 |4|A: 1 2 3    \r\n4"},
      {"A\rB\r\r\n\rC\n\n", "10 0 A B|C|A B \r\n C\n\n",
       "10 0 A B C|A B C   \n\n"},
      {"\r", "1 0  ", nullptr},
      {" A\r\n B", "6 0 A|B|=", "6 0 A B| A B  "},
      {"A\n \n\t\nB", "7 0 A|B|=", "7 0 A|B|A    \nB"},
      {"A: 1\n--abc\nB", "5 1 A: 1|=", nullptr},
      {"THIS is a Multipart message", "0 1 =", nullptr},
      {"This is a multipar", "18 0 This is a multipar|=", nullptr},
      {"A: 1\n --abc\n", "12 0 A: 1|--abc|=", "12 0 A: 1 --abc|A: 1 --abc \n"},
      {"-\n-", "3 0 -|-|=", nullptr}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.plain, Parse(row.text, 0)) << row.text;
    EXPECT_EQ(row.unfolded ? row.unfolded : row.plain, Parse(row.text, 1));
  }
}

// Blanking the gap for every line would take the square of their number.
TEST(BlockHeaderTest, UnfoldManyLines) {
  std::string folds, joined;
  for (int i = 0; i < 60000; i++) {
    folds += "\n x";
    joined += " x";
  }
  EXPECT_TRUE(Parse("A" + folds, 1) ==
              "180001 0 A" + joined + "|A" + joined + std::string(60000, ' '));
}

// Each piece as "result:part|", then all pieces as BlockFindParts gives them.
TEST(BlockHeaderTest, Parts) {
  const struct {
    const char *text, *steps, *parts;
  } rows[] = {{"pre\r\n--b\r\none\r\n\r\n--b\r\ntwo\n--b--\r\nend\n",
               "2:pre|1:one|2:two|-1:end\n|", "one|two|end\n|"},
              {"--b\nonly", "2:|-1:only|", "only|"},
              {"--b\n--b--\n", "2:|2:|", ""},
              {"\r\n\r\n--b", "1:|", ""},
              {"x\n\n--b", "2:x|", ""},
              {"x\r\n \r\n--b", "2:x|", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    const HeapText boundary("b");
    TBLOCK rest = text.view();
    TBLOCK part(TBLOCK("old"));
    std::string steps;
    while (const int result =
               TBLOCK::BlockFindNextPart(rest, part, boundary.view()))
      steps += std::to_string(result) + ":" + Str(part) + "|";
    EXPECT_EQ(row.steps, steps);
    EXPECT_TRUE(rest.empty());
    TBLOCKVECT parts(4);
    TBLOCK::BlockFindParts(text.view(), boundary.view(), parts);
    EXPECT_EQ(row.parts, Join(parts));
  }
}

}  // namespace
