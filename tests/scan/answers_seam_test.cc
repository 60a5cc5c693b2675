// Quoted answers, and what is parsed of a body that has them. A program of its
// own: it stands in for the dictionary and for the parser of HTML.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "content/html_parse.h"
#include "scan/tqmmsg.h"

namespace {
std::string trace;  // what the HTML parser was given, each followed by "|"
}  // namespace

// Each section matches the end of its own name, which scores by the byte
// behind it; all but the comments at the start of the text only.
bool TQMMSG::_dicoRegexAndOffset(TBLOCK block, int32_t& count, int32_t& offset,
                                 const char* section) {
  offset = block.find(section + 4);
  count = block.length > 7 ? block[7] - '4' : 0;
  return offset == 0 || (offset > 0 && section[4] == 'C');
}

// Shows a text that does not end in a tag, and spoils what it has read.
uint32_t QmHtmlParse(TBLOCK src, TBLOCK dest, THTMLCONTEXT&, REGEXPOOL*,
                     const TQMDICO*) {
  trace += Str(src) + "|";
  const bool shows = !src.ends(">");
  if (shows) memcpy(dest.pointer, src.pointer, src.length);
  memset(src.pointer, '#', src.length);
  return shows ? src.length : 0;
}

namespace {

TEST(AnswersTest, Cuts) {
  const struct {
    std::string text;  // with "|" where it is cut
    int count;
  } rows[] = {{"a ---- b", 0},
              {"a\n|----- \r\n\tAnswers5", 1},
              {"----\r\n|-----Answers5", 1},
              {"a|----Answers5\n----Answers6", 3},
              {"a----Answers6\n----Answers1", -1},
              {"---- ----Answers5\n", 0},
              // A ruler is seven runs, two bytes apart.
              {"----Answers5" + Times(6, "\r\n----"), 1},
              {Times(6, "----\r\n") + "x|Comment----Answers5", 1},
              // As many as are looked at, and one more.
              {Times(199, "----\n") + "|----Answers5", 1},
              {Times(200, "----\n") + "----Answers5", 0},
              {"a\n|---Useless\n----Answers5", 1},
              {"a|----Answers5\n---Useless Comment", 1}};
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  for (const auto& row : rows) {
    std::string whole = row.text;
    const size_t cut = whole.find('|');
    if (cut != std::string::npos) whole.erase(cut, 1);
    const HeapText text(whole);
    TBLOCK block = text.view();
    int32_t count = 0;
    EXPECT_EQ(cut != std::string::npos, m.removeAnswers(block, count));
    EXPECT_EQ(whole.substr(0, cut), Str(block));
    EXPECT_EQ(row.count, count) << row.text;
  }
}

TEST(AnswersTest, Bodies) {
  const std::string both =
      "Content-Type: multipart/alternative; boundary=b\n\n--b\n\n"
      "t\n----Answers5\n--b\nContent-Type: text/html\n\n<p>";
  const struct {
    std::string mail, trace;  // and the body, with both numbers ahead of it
  } rows[] = {
      {"\n \xABt\xBB\n----Answers5", "01\"t\""},
      {both, "<p>|01"},
      {both + "----Answers6\n", "<p>|<p>----Answers6|13<p>----Answers6"}};
  for (const auto& row : rows) {
    trace = "";
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    m.loadFromBlock(HeapText(row.mail).view(), "", 1);
    trace += std::to_string(m.answersRemoved) + std::to_string(m.answerCount);
    EXPECT_EQ(row.trace, trace + Str(m.body));
  }
}

}  // namespace
