#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

TEST(SubjectTest, TagsOfFilters) {
  const Case<const char*> rows[] = {
      {"[SPAM] [Virus] Hello", "Hello"},
      {"[offer] Hello", "[offer] Hello"},
      {"*** Hello", "*** Hello"},
      {"**** SPAM **** Hello", "Hello"},
      {"**** offer **** Hello", "**** offer **** Hello"},
      {"{ Scanned }(bulk): - Hello", "- Hello"},
      {"[***] Hello", "Hello"},
      {"[**] Hello", "[**] Hello"},
      {"[spam Hello", "Hello"},
      {"[a] [spam] Hello", "[a] [spam] Hello"},
      {"Spam: hello", "hello"},
      {"SPAM-hello", "hello"},
      {"Spammers hello", "hello"},
      {"spam --!*:  hello", "hello"},
      {"hello spam", "hello spam"},
      {":-(( hello", "hello"},
      {":-((", ""},
      {"[spam] :-((xhello", "hello"},
      {"[spam] :-((", ""},
      {"[spam]", ""},
      {"  ", ""},
      {"[[spam]]x", "]x"}};
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    TBLOCK value = text.view();
    m.cleanSubjectTag(value);
    EXPECT_EQ(row.want, Str(value));
  }
}

}  // namespace
