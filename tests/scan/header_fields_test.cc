#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

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

TEST_F(HeaderFieldsTest, HeaderEndIsTheBodysOffset) {
  const struct {
    std::string text;
    uint32_t end;
  } rows[] = {{"From: a\r\n\r\nbody", 11},
              {"From: a\n\nbody", 9},
              {"From: a\r\n b\r\n\r\nbody", 15},
              {"From: a", 7},
              {"  Received: x\n\nbody", 15},
              {"\r\nbody", 2},
              {"", 0},
              {"From: a\n--x\nbody", 8},
              {"Received: a\r\n\r\n\r\n", 15},
              {"Received: a\n", 12}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    load(row.text);
    EXPECT_EQ(row.end, m.headerEnd);
  }
}

TEST_F(HeaderFieldsTest, RelaysBoundaryMailer) {
  load(
      "Received: by a\r\nReceived: \" from b\"\r\nreceived:\r\n"
      "Content-Type: multipart/mixed; x=\";Boundary=no\"; boundary = "
      "\"b;c\"\r\n"
      "X-Mailer: (Super) Mailer 2.0\r\n\r\n");
  EXPECT_EQ(3, m.receivedFields.count());
  EXPECT_EQ(" from b", Str(m.lastRelay));
  EXPECT_EQ("b;c", Str(m.boundary));
  EXPECT_EQ("Mailer 2.0", Str(m.mailerName));
  for (const char* mailer : {"Mailer 2.0.1.12", "One five", "Single", ""}) {
    load("X-Mailer: " + std::string(mailer) + "\r\n\r\n");
    EXPECT_EQ("", Str(m.mailerName)) << mailer;
  }
}

// The host replaces headerLength bytes by the edited copy: it must tell of
// nothing else, or lines would be there twice.
TEST_F(HeaderFieldsTest, EditableCopyCoversTheHeaderOnly) {
  const Case<const char*> rows[] = {
      {"From: a\r\n b\r\nTo: c\r\n\r\nX: y\r\n", "From: a\r\n b\r\nTo: c\r\n"},
      {"From: a\r\n--x\r\nTo: c\r\n\r\nX: y\r\n", "From: a\r\n"},
      {"From: a\nTo: c", "From: a\r\nTo: c\r\n"},
      {"\r\nFrom: a\r\n\r\n", ""},
      {" \n\nReceived: a\n\nb", "Received: a\r\n"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    m.wantHeader = 1;
    load(row.text);
    ASSERT_NE(nullptr, m.header);
    char out[64];
    ASSERT_EQ(1, m.header->copyTo(out, sizeof out));
    EXPECT_EQ(std::string(row.want) + "\r\n", out);
  }
  // What a proxy hands over goes back over the wire: a lone "." would end it.
  const std::string stuffed = "From: a\r\n..\r\n..b: c\r\n\r\n";
  m.setParams("mode=proxy");
  load(stuffed + "..x\r\n.\r\n");
  EXPECT_EQ(stuffed.size(), m.headerLength());
  EXPECT_EQ(".x\r\n", Str(m.message.content));
  char out[64];
  ASSERT_EQ(1, m.header->copyTo(out, sizeof out));
  EXPECT_EQ(stuffed, out);
}

TEST_F(HeaderFieldsTest, ChangeHeader) {
  load("From: a@a.example\r\nSubject: old\r\n\r\nbody");
  std::string text = "From: b@b.example\r\n--end\r\n";
  const TBLOCK lines(&text[0], static_cast<uint32_t>(text.size()));
  m.changeHeader(lines);
  EXPECT_EQ("old", Str(m.subject)) << "nothing is parsed yet";
  m.parseBody();
  m.changeHeader(TBLOCK());
  EXPECT_EQ("old", Str(m.subject));
  m.changeHeader(lines);
  EXPECT_EQ("b@b.example", Str(m.fromBox.email));
  EXPECT_EQ("", Str(m.subject));
  EXPECT_EQ(1, m.fieldsRead);
  EXPECT_TRUE(m.message.flags & pfBadStructure);
}

TEST_F(HeaderFieldsTest, User) {
  load("X-User: Some One <u@a.example>\r\n\r\n");
  m.setUserFromHeaderXField("x-nobody");
  EXPECT_STREQ("", m.user.c_str());
  m.setUserFromHeaderXField("x-user");
  STR address;
  EXPECT_STREQ("u@a.example", m.getUserEmail(address));
}

}  // namespace
