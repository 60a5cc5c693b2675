#include "api/speedup_context.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "regex/regex.h"
#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

TEST(ReadProfileFileTest, FirstLineTrimmed) {
  const std::string rows[][2] = {
      {" a,b \r\nsecond\n", "a,b"},
      {"\nsecond\n", ""},
      {"no end", "no end"},
      {std::string(20000, 'x'), std::string(10239, 'x')}};
  for (const auto& row : rows) {
    char path[] = "/tmp/quaymarsh-XXXXXX";
    FILE* file = fdopen(mkstemp(path), "wb");
    fwrite(row[0].data(), 1, row[0].size(), file);
    fclose(file);
    STR profile("old");
    ReadProfileFile(path, profile);
    EXPECT_EQ(row[1], profile.c_str());
    unlink(path);
  }
  for (const char* path : {"/tmp", "/nonexistent"}) {
    STR profile("old");
    ReadProfileFile(path, profile);
    EXPECT_STREQ("", profile.c_str());
  }
}

TEST(SpeedupContextTest, ScansBorrowItsParts) {
  std::unique_ptr<SPEEDUPCONTEXT> context(CreateSpeedupContext(nullptr));
  ASSERT_TRUE(context && context->stuff);
  REGEX regex(REGEXPOOL::_PDF_STUFF, context->pool);
  EXPECT_EQ(1, regex.pooled);
  // Nothing is left to be worked out by scans in parallel.
  EXPECT_GE(context->profile.length, 0);
  EXPECT_GE(context->stuff->version.length, 0);
  context->stuff->version = "02.1";
  STR version;
  TQMMSG m(context->pool, context->stuff, context->blacklist, 0, 0);
  m.getQMVersion(version);
  EXPECT_STREQ("Quay Marsh 02.1 AV+AS Profile: <none>; Bailout: 300",
               version.c_str());
}

}  // namespace
