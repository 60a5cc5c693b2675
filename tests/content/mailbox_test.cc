#include "content/mailbox.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

// "email|name|host|flags".
TEST(ParseMailBoxTest, Rows) {
  const char* const rows[][2] = {
      {"", "|||0"},
      {" a@b.org ", "a@b.org||b.org|0"},
      {"\"Doe, John\" <jd@a.org>", "jd@a.org|Doe, John|a.org|3"},
      {"jd@a.org (John Doe)", "jd@a.org|John Doe|a.org|0"},
      {"<a@b.org> <c@d.org>", "c@d.org|<a@b.org>|d.org|1"},
      {"X <<a@b.org>>", "a@b.org|X <|b.org|1"},
      {"undisclosed-recipients:;", "|undisclosed-recipients:;||0"},
      {"no at sign <here>", "|no at sign||1"},
      {"<here>", "|here||1"},
      {"a@nodot", "|a@nodot||0"},
      {"a@b.org>", "|a@b.org>||1"},
      {")", "|)||0"},
      {"(", "|(||0"},
      {">", "|>||1"},
      {"<>", "|||1"},
      {"()", "|||0"},
      {"x (a) b (c)", "|c||0"},
      {"'jd@a.org'", "|jd@a.org||2"},
      {"' \"J\" ' <jd@a.org>", "jd@a.org|J|a.org|3"},
      {"<\"a b@c\"@d.org>", "\"a b@c\"@d.org||d.org|1"},
      {"<a b@d.org>", "|a b@d.org||1"},
      {"<a@b_c.org>", "|a@b_c.org||1"},
      {"o'neil@a.org", "|o'neil@a.org||0"}};
  for (const auto& row : rows) {
    const HeapText text(row[0]);
    const TMAILBOX box = ParseMailBox(text.view());
    EXPECT_EQ(row[1], Str(box.email) + "|" + Str(box.name) + "|" +
                          Str(box.host) + "|" + std::to_string(box.flags))
        << row[0];
  }
}

}  // namespace
