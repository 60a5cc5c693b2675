#include <gtest/gtest.h>

#include <string>

#include "scan/tqmmsg.h"

namespace {

std::string Text(TBLOCK view) {
  return std::string(reinterpret_cast<const char*>(view.pointer), view.length);
}

class HeaderFieldsTest : public ::testing::Test {
 protected:
  HeaderFieldsTest() : m(nullptr, nullptr, nullptr, 0, 0) {}
  void load(const std::string& text) {
    m.loadFromBlock(TBLOCK(text.data(), static_cast<uint32_t>(text.size())), "",
                    0);
    m.parseHeader();
  }
  TQMMSG m;
};

TEST_F(HeaderFieldsTest, ReadHeaderField) {
  load(
      "One: first\r\nONE: second\r\none : third\r\nOne:\r\n"
      "Quoted: \" \"inner\" \"\r\nHalf: \"\r\nFolded: a\r\n b\r\n"
      "S\xE9t\xE9: accents\r\n\r\nBody: no\r\n");
  struct Row {
    const char* name;
    int last;
    int found;
    const char* value;
  };
  const Row rows[] = {
      {"one", 0, 1, "first"},    {"One", 1, 1, ""},
      {"quoted", 0, 1, "inner"}, {"half", 0, 1, "\""},
      {"folded", 0, 1, "a b"},   {"sete", 0, 1, "accents"},
      {"body", 0, 0, ""},        {"on", 0, 0, ""},
      {"one ", 0, 1, "third"},   {"missing", 1, 0, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TBLOCK value("before");
    const int32_t before = m.fieldsRead;
    EXPECT_EQ(row.found, row.last ? m.readLastHeaderField(row.name, value, 1)
                                  : m.readHeaderField(row.name, value, 1));
    EXPECT_EQ(row.value, Text(value));
    EXPECT_EQ(before + row.found, m.fieldsRead);
  }
}

TEST_F(HeaderFieldsTest, WhichFieldWins) {
  load(
      "Subject: *** tagged\r\nX-Spam-Subject: plain\r\nX-Sender: "
      "xs@a.example\r\n"
      "Message-Id: <first@a>\r\nMessage-Id: <last@a>\r\n"
      "Date: early\r\nDate: late\r\nX-QMSPAM-TYPE: old\r\n"
      "In-Reply-To: < r@a >\r\nX-Original-Message-ID: <o@a\r\n\r\n");
  EXPECT_EQ("plain", Text(m.subject));
  EXPECT_EQ("xs@a.example", Text(m.sender));
  EXPECT_EQ("xs@a.example", Text(m.senderBox.email));
  EXPECT_EQ("<last@a>", Text(m.rawMessageId));
  EXPECT_EQ("last@a", Text(m.messageId));
  EXPECT_EQ("late", Text(m.date));
  EXPECT_EQ("old", Text(m.xSpamType));
  EXPECT_EQ(" r@a ", Text(m.inReplyTo));
  EXPECT_EQ("<o@a", Text(m.originalMessageId));

  load("Message-Id: <raw@a>\r\nX-Message-Id: <x@a>\r\nSender: s@a\r\n\r\n");
  EXPECT_EQ("raw@a", Text(m.rawMessageId).substr(1, 5));
  EXPECT_EQ("x@a", Text(m.messageId));
  EXPECT_EQ("s@a", Text(m.sender));
}

TEST_F(HeaderFieldsTest, HeaderEndIsTheBodysOffset) {
  struct Row {
    std::string text;
    uint32_t end;
  };
  const Row rows[] = {
      {"From: a\r\n\r\nbody", 11},
      {"From: a\n\nbody", 9},
      {"From: a\r\n b\r\n\r\nbody", 15},
      {"From: a", 7},
      {"  Received: x\n\nbody", 15},
      {"\r\nbody", 2},
      {"", 0},
      {"From: a\n--x\nbody", 8},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    load(row.text);
    EXPECT_EQ(row.end, m.headerEnd);
  }
}

}  // namespace
