#include "scan/header.h"

#include <gtest/gtest.h>
#include <string.h>

#include <memory>
#include <string>

#include "base/heap_text.h"

namespace {

// Lines joined by "|", each entry's first line marked by "*".
std::string Dump(const HEADER& header) {
  std::string out;
  int32_t entry = 0;
  for (int32_t i = 0; i < header.count(); i++) {
    if (i > 0) out += '|';
    if (entry < header.entries.count() && header.entries.get(entry) == i) {
      out += '*';
      entry++;
    }
    out += header.text(i);
  }
  if (entry != header.entries.count()) out += " (entries left over)";
  return out;
}

TEST(HeaderTest, Lines) {
  struct Row {
    std::string block;
    const char* lines;
  };
  const Row rows[] = {
      {"", ""},
      {"A: 1", "*A: 1"},
      {"A: 1\n", "*A: 1"},
      {"A: 1\r\nB: 2\r\n\r\nbody", "*A: 1|*B: 2"},
      {"A: 1\nB: 2\n\nbody", "*A: 1|*B: 2"},
      {"A: 1\n\rB: 2\n\r\n\rbody", "*A: 1|*B: 2"},
      {"A: 1\r\n\rB: 2\n", "*A: 1|*\rB: 2"},
      {"A: 1\n\r\nB: 2", "*A: 1"},
      {"A: 1\rB: 2\r\r\nC: 3\r", "*A: 1\rB: 2\r|*C: 3\r"},
      {"\r\nA: 1\r\n", ""},
      {"\n", ""},
      {"\r", "*\r"},
      {" x\n\ty\nA: 1\n 2\n\t3\nB: 4\n ", " x|\ty|*A: 1| 2|\t3|*B: 4| "},
      {"no colon\n:\n", "*no colon|*:"},
      {std::string("A: 1\0 2\r\n\0B: 3\r\n \0C: 4\r\nD: 5", 28),
       "*A: 1| |*D: 5"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.lines);
    EXPECT_EQ(row.lines, Dump(HEADER(HeapText(row.block).view())));
  }
  EXPECT_EQ("", Dump(HEADER(TBLOCK())));
  EXPECT_EQ("", Dump(HEADER(TBLOCK(nullptr, 5))));
}

// A header comes uncut from the host, so its size is the sender's choice.
// Quadratic work would run into the time limit of the test.
TEST(HeaderTest, LongHeaders) {
  const int kFields = 200000;
  std::string same, mixed, lines;
  for (int i = 0; i < kFields; i++) {
    same += "X-SPAM-SCORE: 1\n 2\n";
    mixed += i % 2 ? "X-SPAM-SCORE: 1\n" : "A: 1\n 2\n";
    lines += "a\na\na\na\na\n";
  }
  HEADER all(HeapText(same).view());
  EXPECT_EQ(2 * kFields, all.count());
  all.removeEntry("X-Spam-Score");
  EXPECT_EQ("", Dump(all));
  EXPECT_EQ(2, all.length());

  HEADER half(HeapText(mixed).view());
  half.removeEntry("X-SPAM-SCORE");
  EXPECT_EQ(kFields, half.count());
  EXPECT_EQ(kFields / 2, half.entries.count());
  EXPECT_EQ(kFields - 2, half.entries.get(kFields / 2 - 1));
  EXPECT_STREQ("A: 1", half.text(kFields - 2));

  EXPECT_EQ(5 * kFields, HEADER(HeapText(lines).view()).entries.count());
  HEADER one(HeapText("A: " + std::string(5000000, 'a')).view());
  STR value;
  one.getEntryValue("A", value);
  one.setEntryValue("A", value.c_str());
  EXPECT_EQ(5000003 + 4, one.length());
}

}  // namespace
