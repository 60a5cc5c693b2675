#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

// The words, repeated; the last has no blank behind it.
std::string Words(int n, const std::string& word) {
  std::string text;
  for (int i = 0; i < n; i++) text += (i ? " " : "") + word;
  return text;
}

struct BodyRow {
  const char* what;
  std::string body;
  int32_t count;  // -1: the last lines decide
};

int32_t BodyCount(const std::string& body) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  HeapText text(body);
  m->body = text.view();
  m->buildBodyLines();
  const int result = m->checkBodyAntiBayes();
  EXPECT_EQ(m->ledger.score > 0, result) << body;
  if (m->ledger.score == 300 && m->bodyAntiBayesCount == 0) return -1;
  const int32_t count = m->bodyAntiBayesCount;
  const int32_t points = count < 4 ? 0 : count < 30 ? count * 10 : 300;
  EXPECT_EQ(points, m->ledger.score) << body;
  return count;
}

}  // namespace

TEST(AntiBayesTest, RunsOfABody) {
  const BodyRow rows[] = {
      {"15 words in a line", Words(15, "ten") + "\n", 0},
      {"16 words", Words(16, "ten") + "\n", 8},
      {"a blank behind them", Words(16, "ten") + " \r\n", 8},
      {"a dot among them", Words(15, "ten") + ". ten\n", 0},
      {"a capital ends the line's run",
       Words(9, "ten") + " Ten " + Words(9, "ten"), 0},
      {"two lines are no run", Words(8, "ten") + "\n" + Words(8, "ten"), 0},
      {"5 long words", "ten " + Words(5, "seventy") + " ten", 0},
      {"and to the end", "ten " + Words(5, "seventy"), 0},
      {"6 long words; the short run goes with them",
       Words(6, "seventy") + " ten", 6},
      {"6 words of five or six letters", "ten " + Words(6, "fifty") + " ten",
       1},
      {"8 of them", Words(8, "fifty") + " ten", 3},
      {"9 of them", Words(9, "fifty") + " ten", 4},
      {"open at the end of the body", Words(6, "seventy"), 7},
      {"lost at the end of a line", Words(6, "seventy") + "\nend", 0},
      {"14 long words twice",
       Words(14, "seventy") + " Ten " + Words(14, "seventy") + " ten", 28},
      {"words of 20 letters", Words(6, std::string(20, 'x')) + " ten", 6},
      {"a word of 21 letters closes",
       Words(6, "seventy") + " " + std::string(21, 'x'), 6},
      {"equals signs are letters", Words(6, "se=enty") + " ten", 6},
      {"only 200 words count", Words(250, "seventy") + "\nend", 200 + 195}};
  for (const BodyRow& row : rows)
    EXPECT_EQ(row.count, BodyCount(row.body)) << row.what;
}

TEST(AntiBayesTest, LastLines) {
  const std::string sentences =
      "one two, three four five . six seven, eight nine ten .";
  const BodyRow rows[] = {
      {"made-up sentences", sentences, -1},
      {"9 words", "one two, three four . six seven, eight nine ten .", 0},
      {"two commas in one",
       "one, two, three four five . six seven, eight "
       "nine ten .",
       0},
      {"none in one", "one two three, four five . six seven eight nine ten .",
       0},
      {"41 bytes, 6 letters", "abcdef" + std::string(35, 'a'), -1},
      {"40 bytes", "abcdef" + std::string(34, 'a'), 0},
      {"5 letters", "abcde" + std::string(36, 'a'), 0},
      {"the tenth line from the end", sentences + Words(9, "\nX"), -1},
      {"the eleventh", sentences + Words(10, "\nX"), 0}};
  for (const BodyRow& row : rows)
    EXPECT_EQ(row.count, BodyCount(row.body)) << row.what;
}

TEST(AntiBayesTest, TagsAndLinksOfPlainText) {
  const struct {
    int32_t tags, links;
    const char* url;
    int32_t points;
  } rows[] = {{10, 0, "", 0},
              {11, 0, "", 50},
              {0, 1, "http://shop.example/", 60},
              {0, 1, "http://www.shop.example/", 0},
              {0, 1, "http://shop.example/x", 0},
              {0, 2, "http://shop.example/", 0}};
  for (const auto& row : rows) {
    auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
    HeapText url(row.url), type("TEXT/plain");
    m->message.type = type.view();
    m->textContext.tagCount = row.tags;
    m->linkCount = row.links;
    if (row.links > 0) m->textContext.links.add(url.view(), TBLOCK());
    m->checkTextPlain();
    EXPECT_EQ(row.points, m->ledger.score) << row.url;
  }
}
