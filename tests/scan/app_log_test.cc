#include "scan/app_log.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "api/quaymarsh.h"

namespace {

namespace fs = std::filesystem;

// The test's clock; set before threads start.
APPLOG::Moment clock_now;

APPLOG::Moment Clock() {
  return clock_now;
}

// Local time on the last of January 2007.
void SetClock(int hour, int minute, int second) {
  tm day = {};
  day.tm_year = 107;
  day.tm_mday = 31;
  day.tm_hour = hour;
  day.tm_min = minute;
  day.tm_sec = second;
  day.tm_isdst = -1;
  clock_now = {mktime(&day), 0};
}

std::string Read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// A root of its own; logs go to "m" below it, named "m-s-DATE.log".
class AppLogTest : public testing::Test {
 protected:
  AppLogTest() {
    std::string name = testing::TempDir() + "app_log_XXXXXX";
    root_ = std::string(mkdtemp(&name[0])) + "/";
    host_ = {root_.c_str(), Clock};
    SetClock(10, 5, 9);
  }
  ~AppLogTest() override { fs::remove_all(root_); }

  fs::path file(const std::string& name) const {
    return fs::path(root_) / "m" / name;
  }
  std::string today() const { return Read(file("m-s-20070131.log")); }
  void touch(const std::string& name) const { std::ofstream(file(name)) << 1; }
  // That many files of the days before.
  void touchDays(int n) const {
    for (int i = 0; i < n; i++)
      touch("m-s-200601" + std::to_string(10 + i) + ".log");
  }
  long count() const {
    return std::distance(fs::directory_iterator(file("")), {});
  }

  std::string root_;
  APPLOG::Host host_;
};

TEST_F(AppLogTest, Lines) {
  APPLOG log("m", "s", 31, &host_);
  STR spec;
  log.getCurrentLogSpec(spec);
  EXPECT_EQ(root_ + "m/m-s-20070131.log", spec.c_str());
  const char* const null = nullptr;
  log.log("plain text");
  log.log(null);
  log.log("anna@example.com", "3\t250");
  log.log(null, null);
  log.log("a", -7, "b");
  log.log("a", INT32_MIN, null);
  // Forged lines and columns.
  log.log("x\n00:00:00\ty", "1\t2\n3");
  log.log("x\ty", "1");
  log.log("\rx", "1\x1f");
  log.log("caf\xe9\x7f", "1");
  std::string expected;
  for (const char* rest :
       {"plain text", "", "anna@example.com\t3\t250", "\t", "a\t-7b",
        "a\t-2147483648", "x\t1\t2", "x\t1", "\t1", "caf\xe9\x7f\t1"})
    expected += "10:05:09\t" + std::string(rest) + "\n";
  // Around the size from which on a line takes memory.
  for (size_t n : {1013, 1014, 1015, 70000}) {
    log.log(std::string(n, 'u').c_str(), "");
    expected += "10:05:09\t" + std::string(n, 'u') + "\t\n";
  }
  EXPECT_EQ(expected, today());
}

TEST_F(AppLogTest, DailyPurge) {
  const struct {
    int hour, minute, second;
    const char* argument;
    int files, left;
  } rows[] = {{4, 0, 59, "04:01", 32, 32},  {4, 1, 0, "04:01", 32, 31},
              {4, 11, 0, "04:01", 33, 31},  {4, 11, 1, "04:01", 32, 32},
              {4, 1, 0, "04:01", 31, 31},   {4, 1, 0, "04:01", 0, 0},
              {4, 1, 0, "4:01", 32, 32},    {4, 1, 0, "04:011", 32, 32},
              {4, 1, 0, "04-01", 32, 32},   {4, 1, 0, "0x:01", 32, 32},
              {4, 1, 0, "", 32, 32},        {4, 1, 0, nullptr, 32, 32},
              {16, 1, 0, "04:01", 32, 32},  {0, 5, 0, "23:59", 32, 32},
              {23, 59, 59, "23:59", 32, 31}};
  APPLOG log("m", "s", 31, &host_);
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message()
                 << row.hour << ":" << row.minute << ":" << row.second
                 << " for " << (row.argument ? row.argument : "null"));
    touchDays(row.files);
    SetClock(row.hour, row.minute, row.second);
    log.forceHouseKeepingAt(row.argument);
    EXPECT_EQ(row.left, count());
    // The oldest are gone.
    EXPECT_EQ(row.left == row.files && row.files > 0,
              fs::exists(file("m-s-20060110.log")));
    fs::remove_all(file(""));
    fs::create_directory(file(""));
  }
}

TEST_F(AppLogTest, PurgeTakesNothingElse) {
  SetClock(4, 5, 0);
  APPLOG log("m", "s", 1, &host_);
  std::ofstream(root_ + "target") << 1;
  fs::create_directory(file("m-s-20050101.log"));
  fs::create_symlink("nowhere", file("m-s-20050102.log"));
  // Counted and purged: the wildcard has no end, and a link is a file.
  touch("m-s-20060101.log.gz");
  fs::create_symlink(root_ + "target", file("m-s-20060103.log"));
  for (const char* name : {"M-s-20050101.log", "m-t-20050101.log", "notes",
                           "m-s-20050101xlog", "xm-s-20050101.log"})
    touch(name);
  touch("m-s-20060104.log");
  log.forceHouseKeepingAt("04:01");
  EXPECT_EQ(8, count());
  EXPECT_TRUE(fs::exists(file("m-s-20060104.log")));
  EXPECT_TRUE(fs::exists(root_ + "target"));
  log.keepFiles = INT32_MIN;
  log.forceHouseKeepingAt("04:01");
  EXPECT_EQ(7, count());
}

// An object that lives on purges behind a line, once a minute at most.
TEST_F(AppLogTest, PurgeBehindALine) {
  const struct {
    int64_t seconds;
    int32_t nanoseconds;
    bool purges, setsLastCheck;
  } rows[] = {{59, 999999999, false, false},
              {60, 0, true, true},
              {4294966, 999, true, true},
              {4294967, 0, false, false},
              {-5, 0, false, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.seconds);
    SetClock(12, 0, 0);
    const APPLOG::Moment start = clock_now;
    APPLOG log("m", "s", 1, &host_);
    touchDays(3);
    clock_now = {start.seconds + row.seconds, row.nanoseconds};
    log.log("x");
    EXPECT_EQ(row.purges, !fs::exists(file("m-s-20060112.log")));
    EXPECT_EQ(row.setsLastCheck, log.lastCheck.seconds == clock_now.seconds);
    EXPECT_EQ(row.seconds == 4294967, log.lastCheck.seconds == 0);
    fs::remove_all(file(""));
  }
}

TEST_F(AppLogTest, TroubleLosesTheLineAlone) {
  APPLOG log("m", "s", 31, &host_);
  const fs::path path = file("m-s-20070131.log");
  // None of these may end the test or hold it up.
  fs::create_directory(path);
  log.log("lost");
  fs::remove(path);
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  log.log("lost");
  fs::remove(path);
  fs::create_symlink("nowhere/at/all", path);
  log.log("lost");
  fs::remove(path);
  fs::remove(file(""));
  log.log("lost");
  log.forceHouseKeepingAt("10:05");
  fs::create_directory(file(""));
  touch("m-s-20070131.log");
  if (geteuid() != 0) {
    fs::permissions(path, fs::perms::owner_read);
    log.log("lost");
    fs::permissions(path, fs::perms::owner_all);
  }
  log.log("kept");
  EXPECT_EQ("110:05:09\tkept\n", today());
}

// Lines of 15 bytes, and a file that may have no more than so many.
void LogOnFullDisk(const APPLOG::Host* host) {
  signal(SIGXFSZ, SIG_DFL);
  APPLOG log("m", "s", 31, host);
  for (rlim_t room : {15, 15, 16, 29, 30}) {
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = room;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(1);
    log.log(("ro" + std::to_string(room)).c_str(), "");
  }
  _exit(0);
}

TEST_F(AppLogTest, FullDiskLeavesWholeLines) {
  const pid_t child = fork();
  if (child == 0) LogOnFullDisk(&host_);
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_EQ("10:05:09\tro15\t\n10:05:09\tro30\t\n", today());
}

// Four processes of two threads each, lines of up to 9 KB.
TEST_F(AppLogTest, ParallelLinesStayWhole) {
  const size_t kLines = 150;
  const auto work = [&](char letter) {
    for (size_t n = 0; n < kLines; n++) {
      APPLOG log("m", "s", 31, &host_);
      log.log(std::string(n * 60 + 1, letter).c_str(), "0");
      log.forceHouseKeepingAt("10:01");
    }
  };
  for (char letter : {'a', 'c', 'e', 'g'}) {
    if (fork() != 0) continue;
    std::thread other(work, static_cast<char>(letter + 1));
    work(letter);
    other.join();
    _exit(0);
  }
  while (wait(nullptr) > 0) {
  }
  std::vector<size_t> next(8);  // lines of each writer so far
  std::ifstream in(file("m-s-20070131.log"));
  for (std::string line; std::getline(in, line);) {
    ASSERT_GT(line.size(), 11u);
    const size_t writer = static_cast<size_t>(line[9] - 'a');
    ASSERT_LT(writer, next.size());
    ASSERT_EQ(
        "10:05:09\t" + std::string(next[writer] * 60 + 1, line[9]) + "\t0",
        line);
    next[writer]++;
  }
  EXPECT_EQ(std::vector<size_t>(8, kLines), next);
}

// A scan with its log in a root directory of its own, as a user namespace may
// have one: with no /var/log, a file in its place, and one that works.
TEST_F(AppLogTest, ScanGoesOn) {
  for (int state = 0; state < 3; state++) {
    SCOPED_TRACE(state);
    fs::create_directory(root_ + "var");
    if (state == 1) std::ofstream(root_ + "var/log") << 1;
    if (state == 2) fs::create_directory(root_ + "var/log");
    const pid_t child = fork();
    if (child == 0) {
      if (geteuid() != 0 && unshare(CLONE_NEWUSER) != 0) _exit(77);
      if (chroot(root_.c_str()) != 0 || chdir("/") != 0) _exit(77);
      const char message[] = "Subject: a\n\nb\n";
      QMINFO info;
      memset(&info, 0, sizeof info);
      info.size = sizeof info;
      info.msg = reinterpret_cast<const unsigned char*>(message);
      info.msgLength = sizeof message - 1;
      info.user = "u@example.org\nx";
      const int result = QmScanMessage(&info);
      _exit(result >= 0 && info.state == result ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP();
    EXPECT_EQ(0, status);
    if (state == 2) {
      const fs::path logs = root_ + "var/log/quaymarsh";
      ASSERT_EQ(1, std::distance(fs::directory_iterator(logs), {}));
      const std::string line = Read(*fs::directory_iterator(logs));
      EXPECT_EQ(0u, line.find("\tu@example.org\t") - 8) << line;
      EXPECT_EQ(line.size() - 1, line.find('\n')) << line;
    }
    fs::remove_all(root_ + "var");
  }
}

}  // namespace
