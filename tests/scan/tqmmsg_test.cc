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
  const struct {
    uint32_t bytes, kept;
    int fromBlock, fromFile;  // truncated
  } rows[] = {{kMaxMessageBytes - 1, kMaxMessageBytes - 1, 0, 0},
              {kMaxMessageBytes, kMaxMessageBytes, 0, 1},
              {kMaxMessageBytes + 1, kMaxMessageBytes, 1, 1}};
  for (const auto& row : rows) {
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

TEST_F(TqmmsgTest, ProxyMode) {
  const Case<const char*> rows[] = {
      {"a\r\n..b\r\n...\r\n.\r\n", "a\r\n.b\r\n..\r\n"},
      {"..a\r\n.\r\n", "..a\r\n"},  // only behind a line end
      {"\r\n..\r\n..\r\n.\r\n", "\r\n.\r\n.\r\n"},
      {"\r\n.\r\n", "\r\n"},
      {"a\r\n..b\r\n", "a\r\n..b\r\n"},
      {"a\n..b\n.\n", "a\n..b\n.\n"},
      {"a\r\n..b\r\n.\r\n\r\n", "a\r\n..b\r\n.\r\n\r\n"},
      {"", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    m.setParams("mode=proxy");
    m.loadFromBlock(TBLOCK(row.text), "", 0);
    EXPECT_EQ(row.want, Str(m.msgView));
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
  const Case<const char*> rows[] = {
      {"A: 1\r\nB: 2\r\n\r\nbody", "A: 1\r\nB: 2"},
      {"A: 1\n\nbody", "A: "},
      {"A: 1\n\nx\r\n\r\n", "A: 1\n\nx"},
      {"A: 1\r\nbody", "A: 1\r\nbody"},
      {"\n\nbody", ""},
      {"\r\n\r\nbody", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    TQMMSG h(nullptr, nullptr, nullptr, 1, 0);
    h.loadFromBlock(TBLOCK(row.text), "", 0);
    EXPECT_EQ(row.want, Str(h.msgView));
    TempFile file(row.text);
    EXPECT_EQ(1, h.loadFromFile(file.path, "", 0));
    EXPECT_EQ(row.want, Str(h.msgView));
  }
}

}  // namespace
