// The lists live under a fixed directory, so this needs to write there; it
// uses a domain of its own, and is skipped where it may not. Tests run as
// processes side by side, here and in other builds: they take turns by a lock.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "scan/tqmmsg.h"

namespace {

const char kDomain[] = "white-lists-test.quaymarsh.example";
const char kUser[] = "<joe@white-lists-test.quaymarsh.example>";

class WhiteListsTest : public ::testing::Test {
 protected:
  WhiteListsTest()
      : root("/etc/oakrun/Mail/"),
        lines(0, 512),
        lock(open("/tmp/quaymarsh-white-lists.lock", O_RDWR | O_CREAT, 0666)) {}
  ~WhiteListsTest() override { close(lock); }
  void SetUp() override {
    ASSERT_EQ(0, flock(lock, LOCK_EX));
    for (const std::string& dir :
         {std::string("/etc/oakrun"), std::string("/etc/oakrun/Mail"),
          root + kDomain, root + kDomain + "/joe"})
      if (mkdir(dir.c_str(), 0755) != 0 && errno != EEXIST)
        GTEST_SKIP() << "cannot create " << dir;
    write("whitedomains", "");
    write("whiteaddresses", "");
  }
  // Leaves directories behind that others use, which rmdir refuses to take.
  void TearDown() override {
    unlink(path("whitedomains").c_str());
    unlink(path("whiteaddresses").c_str());
    rmdir((root + kDomain + "/joe").c_str());
    rmdir((root + kDomain).c_str());
    rmdir("/etc/oakrun/Mail");
    rmdir("/etc/oakrun");
  }
  std::string path(const char* name) const {
    return root + kDomain + "/joe/" + name;
  }
  void write(const char* name, const std::string& text) {
    FILE* file = fopen(path(name).c_str(), "wb");
    ASSERT_NE(nullptr, file);
    fwrite(text.data(), 1, text.size(), file);
    fclose(file);
  }
  int check(const char* from, const char* user) {
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    const std::string text =
        std::string("From: ") + from +
        "\r\nTo: a@b.example\r\nSubject: s\r\nDate: Thu, 10 "
        "Jan 2008 20:00:00 +0000\r\n\r\ntext\r\n";
    m.loadFromBlock(TBLOCK(text.c_str()), "", 1);
    m.addToSpamScore(150, "before", 1);
    const int score =
        m.check(nullptr, nullptr, TBLOCK(), TBLOCK(), 0, 0, user, 0);
    EXPECT_EQ(score, m.ledger.score);
    EXPECT_EQ(score > 99, m.ledger.state == ssSpam);
    EXPECT_GT(m.ledger.cause.length, 0u);  // what was found stays told
    return score;
  }
  const std::string root;
  STRVECT lines;
  const int lock;  // held until it is closed
};

TEST_F(WhiteListsTest, AnAddressLeadsToNoOtherDirectory) {
  write("whitedomains", "a.example\n");
  const struct {
    const char *domain, *localPart;
  } rows[] = {{"..", "Mail"},
              {kDomain, "../white-lists-test.quaymarsh.example/joe"},
              {kDomain, "."},
              {kDomain, ""},
              {"", "joe"},
              {kDomain, "joe\n"},
              {kDomain, "nobody"}};
  for (const auto& row : rows) {
    TQMMSG::_LoadListFromUserFile(lines, row.domain, row.localPart,
                                  "whitedomains");
    EXPECT_EQ(0, lines.count()) << row.domain << " " << row.localPart;
  }
  // A directory in the place of the file is no list.
  TQMMSG::_LoadListFromUserFile(lines, kDomain, "joe", ".");
  EXPECT_EQ(0, lines.count());
}

TEST_F(WhiteListsTest, AHitEndsTheScanWithNothing) {
  write("whitedomains", "\nwhite.example\n");
  write("whiteaddresses", "\nJoan@Other.example\n");
  const char bare[] = "joe@white-lists-test.quaymarsh.example";
  EXPECT_EQ(0, check("x@WHITE.example", kUser));
  EXPECT_EQ(0, check("X <joan@other.example>", bare));
  EXPECT_EQ(150, check("x@other.example", kUser));
  EXPECT_EQ(150, check("x@sub.white.example", kUser));
  // The domain is what mail would go to.
  EXPECT_EQ(150, check("\"a@white.example\"@black.example", kUser));
  // An empty line takes no sender that has no address.
  EXPECT_EQ(150, check("nobody", kUser));
  EXPECT_EQ(150, check("x@white.example", nullptr));
  EXPECT_EQ(150, check("x@white.example", "joe"));
}

}  // namespace
