#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

class TempFile {
 public:
  explicit TempFile(const std::string& bytes) {
    const int fd = mkstemp(path);
    FILE* file = fdopen(fd, "wb");
    fwrite(bytes.data(), 1, bytes.size(), file);
    fclose(file);
  }
  ~TempFile() { unlink(path); }
  char path[32] = "/tmp/quaymarsh-XXXXXX";
};

class TqmmsgTest : public ::testing::Test {
 protected:
  TqmmsgTest() : m(nullptr, nullptr, nullptr, 0, 0) {}
  std::string version() const {
    STR text;
    m.getQMVersion(text);
    return text.c_str();
  }
  TQMMSG m;
};

TEST_F(TqmmsgTest, LoadLimits) {
  struct Row {
    uint32_t bytes;
    uint32_t kept;
    int fromBlock, fromFile;  // truncated
  };
  const Row rows[] = {{kMaxMessageBytes - 1, kMaxMessageBytes - 1, 0, 0},
                      {kMaxMessageBytes, kMaxMessageBytes, 0, 1},
                      {kMaxMessageBytes + 1, kMaxMessageBytes, 1, 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.bytes);
    std::string text = "From: a@b.example\r\n\r\n";
    text.resize(row.bytes, 'x');
    m.loadFromBlock(HeapText(text).view(), "", 0);
    EXPECT_EQ(row.kept, m.msgView.length);
    EXPECT_EQ(row.fromBlock, m.truncated);
    TempFile file(text);
    EXPECT_EQ(1, m.loadFromFile(file.path, "", 1));
    EXPECT_EQ(row.kept, m.msgView.length);
    EXPECT_EQ(row.fromFile, m.truncated);
    EXPECT_EQ("a@b.example", Str(m.fromBox.email));
  }
}

TEST_F(TqmmsgTest, AFileThatCannotBeReadLeavesNothing) {
  m.loadFromBlock(TBLOCK("From: a@b.example\r\n\r\n"), "u", 1);
  for (const char* path :
       {"/nonexistent", "/tmp", "/dev/zero", "", (const char*)nullptr}) {
    EXPECT_EQ(0, m.loadFromFile(path, "user", 1));
    EXPECT_TRUE(m.msgView.empty());
    EXPECT_EQ("", std::string(m.user.c_str()));
    EXPECT_EQ(nullptr, m.header);
    EXPECT_TRUE(m.from.empty());
    EXPECT_EQ(0, m.fieldsRead);
  }
}

TEST_F(TqmmsgTest, ASecondLoadStartsAfresh) {
  m.setProfileInfo(150, "p");
  m.loadFromBlock(TBLOCK("From: a@b.example\r\nSubject: s\r\n\r\n"), "u", 1);
  m.addToSpamScore(120, "x", 1);
  m.loadFromBlock(TBLOCK("To: c@d.example\r\n\r\n"), nullptr, 1);
  EXPECT_TRUE(m.from.empty());
  EXPECT_TRUE(m.fromBox.email.empty());
  EXPECT_TRUE(m.subject.empty());
  EXPECT_EQ("c@d.example", Str(m.to));
  EXPECT_EQ(0, m.ledger.score);
  EXPECT_EQ(0u, m.ledger.cause.length);
  EXPECT_EQ("", std::string(m.user.c_str()));
  EXPECT_EQ(150, m.bailout);
  EXPECT_EQ("Quay Marsh 01.333.21 AV+AS Profile: p; Bailout: 150",
            Str(m.ledger.scoreDetails.view()));
}

TEST_F(TqmmsgTest, VersionText) {
  EXPECT_EQ("Quay Marsh 01.333.21 AV+AS Profile: <none>; Bailout: 300",
            version());
  m.setProfileInfo(99, "");
  EXPECT_EQ("Quay Marsh 01.333.21 AV+AS Profile: <none>; Bailout: 300",
            version());
  m.setProfileInfo(100, "a,b");
  EXPECT_EQ("Quay Marsh 01.333.21 AV+AS Profile: a,b; Bailout: 100", version());
  m.setProfileInfo(-1, nullptr);
  m.noBailout = 1;
  EXPECT_EQ("Quay Marsh 01.333.21 AV+AS Profile: a,b; Bailout: N/A", version());
  // A dictionary shows its version only when that is newer.
  struct Row {
    const char* loaded;
    bool shown;
  };
  const Row rows[] = {{"01.333.20", false}, {"01.333.21", false},
                      {"01.333.211", true}, {"01.333.3", true},
                      {"01.33", false},     {"02", true}};
  for (const Row& row : rows) {
    m.dico.stuff->version = row.loaded;
    EXPECT_EQ(std::string("Quay Marsh ") +
                  (row.shown ? row.loaded : "01.333.21") +
                  " AV+AS Profile: a,b; Bailout: N/A",
              version());
  }
}

TEST_F(TqmmsgTest, Params) {
  m.setParams(" mode=proxy \r\n\n\tForceWhiteList");
  m.loadFromBlock(TBLOCK("x"), "", 0);
  m.loadFromBlock(TBLOCK("x"), "", 0);
  EXPECT_EQ(2, m.paramLines.count());
  EXPECT_TRUE(m.hasParam("MODE=PROXY"));
  EXPECT_TRUE(m.hasParam("forcewhitelist"));
  EXPECT_FALSE(m.hasParam("mode"));
  m.setParams(nullptr);
  m.loadFromBlock(TBLOCK("x"), "", 0);
  EXPECT_FALSE(m.hasParam("mode=proxy"));
}

TEST_F(TqmmsgTest, ProxyMode) {
  struct Row {
    const char* text;
    const char* view;
  };
  const Row rows[] = {{"a\r\n..b\r\n...\r\n.\r\n", "a\r\n.b\r\n..\r\n"},
                      {"..a\r\n.\r\n", "..a\r\n"},  // only behind a line end
                      {"\r\n..\r\n..\r\n.\r\n", "\r\n.\r\n.\r\n"},
                      {"\r\n.\r\n", "\r\n"},
                      {"a\r\n..b\r\n", "a\r\n..b\r\n"},
                      {"a\n..b\n.\n", "a\n..b\n.\n"},
                      {"a\r\n..b\r\n.\r\n\r\n", "a\r\n..b\r\n.\r\n\r\n"},
                      {"", ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    m.setParams("mode=proxy");
    m.loadFromBlock(TBLOCK(row.text), "", 0);
    EXPECT_EQ(row.view, Str(m.msgView));
    m.setParams("mode=gateway");
    m.loadFromBlock(TBLOCK(row.text), "", 0);
    EXPECT_EQ(row.text, Str(m.msgView));
  }
  // A file comes from a spool, not from the wire.
  m.setParams("mode=proxy");
  TempFile file("a\r\n..b\r\n.\r\n");
  m.loadFromFile(file.path, "", 0);
  EXPECT_EQ("a\r\n..b\r\n.\r\n", Str(m.msgView));
}

TEST_F(TqmmsgTest, HeaderOnly) {
  struct Row {
    const char* text;
    const char* view;
  };
  const Row rows[] = {{"A: 1\r\nB: 2\r\n\r\nbody", "A: 1\r\nB: 2"},
                      {"A: 1\n\nbody", "A: "},
                      {"A: 1\n\nx\r\n\r\n", "A: 1\n\nx"},
                      {"A: 1\r\nbody", "A: 1\r\nbody"},
                      {"\n\nbody", ""},
                      {"\r\n\r\nbody", ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    TQMMSG h(nullptr, nullptr, nullptr, 1, 0);
    h.loadFromBlock(TBLOCK(row.text), "", 0);
    EXPECT_EQ(row.view, Str(h.msgView));
    TempFile file(row.text);
    EXPECT_EQ(1, h.loadFromFile(file.path, "", 0));
    EXPECT_EQ(row.view, Str(h.msgView));
  }
}

}  // namespace
