#include "message/block_part.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Text(TBLOCK view) {
  return std::string(reinterpret_cast<const char*>(view.pointer), view.length);
}

// "field|field|...#body", and "!" for a broken header.
std::string Dump(const BLOCKMSG& m) {
  std::string out;
  for (int32_t i = 0; i < m.fields.count(); i++)
    out += (i ? "|" : "") + Text(m.fields.get(i));
  return out + "#" + Text(m.content) + (m.flags & pfBadStructure ? "!" : "");
}

TEST(BlockMsgTest, ParseHeader) {
  struct Row {
    std::string text;
    const char* dump;
  };
  const Row rows[] = {
      {"A: 1\r\nB: 2\r\n\r\nbody\r\n", "A: 1|B: 2#body\r\n"},
      {std::string("A: 1\n\nbody\0\0", 13), "A: 1#body"},
      {std::string("\0\0", 2), "#"},
      {"", "#"},
      {"\r\nA: 1\r\n\r\nbody", "#A: 1\r\n\r\nbody"},
      {"  \r\n Received: x\r\n\r\nbody", "Received: x#body"},
      {"A: 1\r\n--b\r\n", "A: 1#--b\r\n!"},
      {"A: 1\r\n\tmore\r\n\r\n", "A: 1 more#"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    std::string copy = row.text;
    BLOCKMSG m(nullptr);
    m.parseHeader(TBLOCK(copy.data(), static_cast<uint32_t>(copy.size())));
    EXPECT_EQ(row.dump, Dump(m));
    EXPECT_EQ(m.content.length, m.rawLength);
  }
}

TEST(BlockMsgTest, ASecondParseWaitsForClear) {
  std::string first = "A: 1\r\n\r\n", second = "B: 2\r\n\r\n";
  BLOCKMSG m(nullptr);
  m.parseHeader(TBLOCK(first.c_str()));
  m.parsePart();
  m.parseHeader(TBLOCK(second.c_str()));
  EXPECT_EQ("A: 1#", Dump(m));
  m.clear();
  m.parseHeader(TBLOCK(second.c_str()));
  EXPECT_EQ("B: 2#", Dump(m));
}

// The root stands in its own list of parts when it is the only one.
TEST(BlockMsgTest, ClearDeletesThePartsAndNotItself) {
  BLOCKMSG m(nullptr);
  BLOCKPART* part = new BLOCKPART;
  m.parts.insert(static_cast<BLOCKPART*>(&m), 1);
  m.parts.insert(part, 1);
  m.textPart = &m;
  m.embeddedPart = part;
  m.clear();
  EXPECT_EQ(0, m.parts.len());
  EXPECT_EQ(nullptr, m.textPart);
  EXPECT_EQ(nullptr, m.embeddedPart);
}

}  // namespace
