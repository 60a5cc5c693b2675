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
  const Row rows[] = {{"one", 0, 1, "first"},    {"One", 1, 1, ""},
                      {"quoted", 0, 1, "inner"}, {"half", 0, 1, "\""},
                      {"folded", 0, 1, "a b"},   {"sete", 0, 1, "accents"},
                      {"body", 0, 0, ""},        {"on", 0, 0, ""},
                      {"one ", 0, 1, "third"},   {"missing", 1, 0, ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TBLOCK value("before");
    const int32_t before = m.fieldsRead;
    EXPECT_EQ(row.found, row.last ? m.readLastHeaderField(row.name, value, 1)
                                  : m.readHeaderField(row.name, value, 1));
    EXPECT_EQ(row.value, Str(value));
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
  EXPECT_EQ("plain", Str(m.subject));
  EXPECT_EQ("xs@a.example", Str(m.sender));
  EXPECT_EQ("xs@a.example", Str(m.senderBox.email));
  EXPECT_EQ("<last@a>", Str(m.rawMessageId));
  EXPECT_EQ("last@a", Str(m.messageId));
  EXPECT_EQ("late", Str(m.date));
  EXPECT_EQ("old", Str(m.xSpamType));
  EXPECT_EQ("r@a", Str(m.inReplyTo));
  EXPECT_EQ("<o@a", Str(m.originalMessageId));

  load("Message-Id: <raw@a>\r\nX-Message-Id: <x@a>\r\nSender: s@a\r\n\r\n");
  EXPECT_EQ("raw@a", Str(m.rawMessageId).substr(1, 5));
  EXPECT_EQ("x@a", Str(m.messageId));
  EXPECT_EQ("s@a", Str(m.sender));
}

TEST_F(HeaderFieldsTest, HeaderEndIsTheBodysOffset) {
  struct Row {
    std::string text;
    uint32_t end;
  };
  const Row rows[] = {{"From: a\r\n\r\nbody", 11},
                      {"From: a\n\nbody", 9},
                      {"From: a\r\n b\r\n\r\nbody", 15},
                      {"From: a", 7},
                      {"  Received: x\n\nbody", 15},
                      {"\r\nbody", 2},
                      {"", 0},
                      {"From: a\n--x\nbody", 8},
                      {"Received: a\r\n\r\n\r\n", 15},
                      {"Received: a\n", 12}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    load(row.text);
    EXPECT_EQ(row.end, m.headerEnd);
  }
}

// Decoded values, and whose charset is kept: From has its own, and of the
// others the last one that is there.
TEST_F(HeaderFieldsTest, EncodedWords) {
  load(
      "From: =?koi8-r?q?a=3Db?= <f@a.example>\r\nTo: =?utf-8?b?eA==?=\r\n"
      "Subject: =?utf-8?q?[SPAM]_=C3=A9t=C3=A9?=\r\n"
      "X-Mailer: =?iso-8859-2?q?M?=\r\n\r\n");
  EXPECT_EQ("a=b <f@a.example>", Str(m.from));
  EXPECT_EQ("f@a.example", Str(m.fromBox.email));
  EXPECT_EQ("x", Str(m.to));
  EXPECT_EQ("\xE9t\xE9", Str(m.subject));
  EXPECT_EQ("M", Str(m.mailer));
  EXPECT_EQ("koi8-r", Str(m.fromCharset.name));
  EXPECT_EQ("iso-8859-2", Str(m.headerCharset.name));
  EXPECT_EQ("utf-8", Str(m.subjectCharset.name));
  load("To: =?utf-8?q?x?=\r\nReturn-Path: <p@a.example>\r\n\r\n");
  EXPECT_TRUE(m.headerCharset.name.empty());
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

TEST_F(HeaderFieldsTest, Dates) {
  load("Date: Mon, 3 Mar 2008 10:00:00 +0100\r\n\r\n");
  EXPECT_EQ(1204534800, m.headerDate.utc);
  EXPECT_EQ(1204534800, m.messageDate.utc);
  EXPECT_EQ(1204534800, m.relayDate.utc);
  load("Date: soon\r\n\r\n");
  EXPECT_EQ(1, m.headerDate.error);
  EXPECT_EQ(-1, m.headerDate.utc);
  EXPECT_EQ(0, m.messageDate.utc);
  load("Date:\r\n\r\n");
  EXPECT_EQ(0, m.headerDate.error);
  EXPECT_EQ(0, m.headerDate.utc);
}

// The host replaces headerLength bytes by the edited copy: it must tell of
// nothing else, or lines would be there twice.
TEST_F(HeaderFieldsTest, EditableCopyCoversTheHeaderOnly) {
  const struct {
    const char* text;
    const char* copy;
  } rows[] = {
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
    EXPECT_EQ(std::string(row.copy) + "\r\n", out);
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
