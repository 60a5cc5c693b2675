#include "message/mailbox.h"

#include <gtest/gtest.h>
#include <string.h>

#include <memory>
#include <string>

namespace {

std::string Text(TBLOCK view) {
  return std::string(reinterpret_cast<const char*>(view.pointer), view.length);
}

// "email|name|host|flags".
std::string Dump(const TMAILBOX& box) {
  return Text(box.email) + "|" + Text(box.name) + "|" + Text(box.host) + "|" +
         std::to_string(box.flags);
}

TEST(ParseMailBoxTest, Rows) {
  struct Row {
    const char* text;
    const char* dump;
  };
  const Row rows[] = {
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
      // Anything may stand between double quotes, an at sign too.
      {"<\"a b@c\"@d.org>", "\"a b@c\"@d.org||d.org|1"},
      {"<a b@d.org>", "|a b@d.org||1"},
      {"<a@b_c.org>", "|a@b_c.org||1"},
      {"o'neil@a.org", "|o'neil@a.org||0"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const size_t n = strlen(row.text);
    std::unique_ptr<char[]> copy(new char[n]);
    memcpy(copy.get(), row.text, n);
    const TMAILBOX box =
        ParseMailBox(TBLOCK(copy.get(), static_cast<uint32_t>(n)));
    EXPECT_EQ(row.dump, Dump(box));
  }
}

}  // namespace
