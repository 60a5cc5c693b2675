#include <gtest/gtest.h>

#include <vector>

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
  const struct {
    const char *text, *result, *blanked;  // null: as without blanking
  } rows[] = {
      {"", "0 ", nullptr},
      {"A: 1", "4 A: 1|", nullptr},
      {"A: 1\r\nB: 2\r\n\r\nbody", "14 A: 1|B: 2|", nullptr},
      {"A: 1\nB: 2\n\nbody", "11 A: 1|B: 2|", nullptr},
      {"A: 1\n\rB: 2\n\r\n\rbody", "14 A: 1|B: 2|", nullptr},
      // A fold stays in its field; one behind a lone LF is never blanked.
      {"A: 1\r\n 2", "8 A: 1\r\n 2|", "8 A: 1   2|A: 1   2"},
      {"A: 1\n\r\t2", "8 A: 1\n\r\t2|", "8 A: 1   2|A: 1   2"},
      {"A: 1\n 2", "7 A: 1\n 2|", nullptr},
      {"A\rB\r\rC\r C", "9 A\rB|C\r C|", nullptr},
      {"A\r\n\r", "4 A|", nullptr},
      {"A\r\n\rB", "4 A|", nullptr},
      {"A\r\n\n\r", "5 A|", nullptr},
      {"A\r\n\r\r", "5 A|", nullptr},
      {"A\r\n\r body", "4 A|", nullptr},
      {"A\n", "2 A|", nullptr},
      {"A\r\n", "3 A|", nullptr},
      {"\r\n\r\nA", "4 ", nullptr},
      {"\nA", "2 A|", nullptr},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.result, Split(row.text, 0)) << row.text;
    EXPECT_EQ(row.blanked ? row.blanked : row.result, Split(row.text, 1))
        << row.text;
  }
}

std::string Trimmed(const std::string& text) {
  TBLOCK view(text.data(), static_cast<uint32_t>(text.size()));
  view.trim();
  return Str(view);
}

// "RESULT anomaly field|field|", then the text.
std::string Parse(const std::string& bytes, int unfold) {
  const HeapText text(bytes);
  TBLOCKVECT fields(4);
  fields.add(TBLOCK("old"), 0, 0);
  int anomaly = 10;
  const int result =
      TBLOCK::BlockParseHeader(text.view(), fields, unfold, anomaly);
  return std::to_string(result) + " " + std::to_string(anomaly - 10) + " " +
         Join(fields) + text.str();
}

TEST(BlockHeaderTest, Parse) {
  const struct {
    const char *text, *plain, *unfolded;
  } rows[] = {
      {"", "0 0 ", "0 0 "},
      {"\r\nx", "2 0 \r\nx", "2 0 \r\nx"},
      {"A: 1\r\nB: 2\n\rC: 3\n\nx",
       "18 0 A: 1|B: 2|C: 3|A: 1\r\nB: 2\n\rC: 3\n\nx",
       "18 0 A: 1|B: 2|C: 3|A: 1\r\nB: 2\n\rC: 3\n\nx"},
      {"A: 1\r\n\t2\r\n  3\r\nB", "16 0 A: 1|2|3|B|A: 1\r\n\t2\r\n  3\r\nB",
       "16 0 A: 1 2 3|B|A: 1 2 3     \r\nB"},
      {"A: 1 \r\n 2\t3 \r\n4", "15 0 A: 1|2\t3|4|A: 1 \r\n 2\t3 \r\n4",
       "15 0 A: 1 2 3 |4|A: 1 2 3    \r\n4"},
      // A CR alone becomes a space, so that its line is not empty.
      {"A\rB\r\r\n\rC\n\n", "10 0 A B|C|A B \r\n C\n\n",
       "10 0 A B C|A B C   \n\n"},
      {"\r", "1 0  ", "1 0  "},
      {" A\r\n B", "6 0 A|B| A\r\n B", "6 0 A B| A B  "},
      // Nothing to join.
      {"A\n \n\t\nB", "7 0 A|B|A\n \n\t\nB", "7 0 A|B|A    \nB"},
      {"A: 1\n--abc\nB", "5 1 A: 1|A: 1\n--abc\nB", "5 1 A: 1|A: 1\n--abc\nB"},
      {"THIS is a Multipart message", "0 1 THIS is a Multipart message",
       "0 1 THIS is a Multipart message"},
      {"This is a multipar", "18 0 This is a multipar|This is a multipar",
       "18 0 This is a multipar|This is a multipar"},
      {"A: 1\n --abc\n", "12 0 A: 1|--abc|A: 1\n --abc\n",
       "12 0 A: 1 --abc|A: 1 --abc \n"},
      {"-\n-", "3 0 -|-|-\n-", "3 0 -|-|-\n-"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.plain, Parse(row.text, 0)) << row.text;
    EXPECT_EQ(row.unfolded, Parse(row.text, 1)) << row.text;
  }
}

// The same with strings, blanking the gap behind every line that is joined.
std::string ModelUnfold(std::string text) {
  struct Field {
    size_t start, length;
  };
  std::vector<Field> fields;
  size_t next = 0;
  int anomaly = 0;
  while (next < text.size()) {
    const size_t start = next;
    const size_t lf = text.find('\n', start);
    size_t end = lf == std::string::npos ? text.size() : lf;
    next = lf == std::string::npos ? end : lf + 1;
    if (lf != std::string::npos && end > start && text[end - 1] == '\r')
      end--;
    else if (lf != std::string::npos && next < text.size() &&
             text[next] == '\r')
      next++;
    if (end == start) break;
    for (size_t i = start; i < end; i++)
      if (text[i] == '\r') text[i] = ' ';
    std::string line = text.substr(start, end - start);
    if (line[0] == ' ' && !fields.empty()) {
      const size_t first = line.find_first_not_of(' ');
      line = first == std::string::npos ? "" : " " + line.substr(first);
      Field& field = fields.back();
      text.replace(field.start + field.length, line.size(), line);
      field.length += line.size();
      for (size_t i = field.start + field.length; i < end; i++) text[i] = ' ';
    } else if (line.substr(0, 2) == "--") {
      anomaly++;
      next = start;
      break;
    } else if (!Trimmed(line).empty()) {
      const size_t first = line.find_first_not_of(' ');
      fields.push_back({start + first, Trimmed(line).size()});
    }
  }
  std::string out = std::to_string(next) + " " + std::to_string(anomaly) + " ";
  for (const Field& field : fields)
    out += text.substr(field.start, field.length) + "|";
  return out + text;
}

TEST(BlockHeaderTest, UnfoldOfEveryShortText) {
  std::string text;
  for (uint32_t length = 0; length <= 7; length++)
    for (uint32_t i = 0; NthText(i, length, "-\n\r ", text); i++)
      ASSERT_EQ(ModelUnfold(text), Parse(text, 1))
          << testing::PrintToString(text);
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

TEST(BlockHeaderTest, FindBoundary) {
  const struct {
    std::string text;
    const char* boundary;
    int offset;
  } rows[] = {
      {"--b", "b", 0},
      {"x\r\n--B\r\n", "b", 3},
      {"x\n--b--\n", "b", 2},
      {"--b \n", "b", 0},
      {"--b\t\n", "b", 0},
      {"--b\rx\n", "b", 0},
      {std::string("--b\0x\n", 6), "b", 0},
      {"--bb\n--b", "b", 5},
      {"--b;\n", "b", -1},
      {" --b\n", "b", -1},
      {"-b\n", "b", -1},
      {"--\n", "b", -1},
      {"--", "b", -1},
      {"x\r--b\n", "b", -1},
      {"--caf\xE9", "cafe", 0},
      {"a--\n--\n", "", 4},
      {"", "b", -1},
      {"--a", "a longer one", -1},
  };
  for (const auto& row : rows) {
    const HeapText text(row.text);
    const HeapText boundary(row.boundary);
    const unsigned char* found =
        TBLOCK::BlockFindBoundary(text.view(), boundary.view());
    EXPECT_EQ(row.offset, found ? found - text.view().pointer : -1) << row.text;
  }
}

// Each piece as "result:part|", then all pieces as BlockFindParts gives them.
TEST(BlockHeaderTest, Parts) {
  const struct {
    const char *text, *steps, *parts;
  } rows[] = {
      {"", "", ""},
      {"no boundary \n", "-1:no boundary \n|", "no boundary \n|"},
      {"pre\r\n--b\r\none\r\n\r\n--b\r\ntwo\n--b--\r\nend\n",
       "2:pre|1:one|2:two|-1:end\n|", "one|two|end\n|"},
      {"--b\nonly", "2:|-1:only|", "only|"},
      {"--b\n--b--\n", "2:|2:|", ""},
      {"\r\n\r\n--b", "1:|", ""},
      {"x\n\n--b", "2:x|", ""},
      {"x\r\n \r\n--b", "2:x|", ""},
  };
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
