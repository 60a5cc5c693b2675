#include "message/block_dsn.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

// "state action status recipient".
std::string Judge(const std::string& text) {
  const HeapText copy(text);
  BLOCKDSN dsn;
  dsn.setContent(copy.view());
  return std::to_string(dsn.state) + " " + std::to_string(dsn.action) + " " +
         std::to_string(dsn.status) + " " + Str(dsn.recipient);
}

TEST(BlockDsnTest, Steps) {
  // Groups in their order, whatever the order in the text.
  // What stands in the next line is no part of the field.
  const Case<const char*> rows[] = {
      {"Action: Failed\naction :\trelayed \r\n", "0 4 0 "},
      {"Action: failed (bounced)\nX-Action: failed", "0 0 0 "},
      {"Final-Recipient: RFC822;<a@b>\nAction: delayed", "0 3 0 <a@b>"},
      {"Final-Recipient: x400; rfc822;", "0 0 0 x400; rfc822;"},
      {"Status: 5.1.1 (no such user)", "0 0 511 "},
      {"Status: 5.0.0\nDiagnostic-Code: x User Unknown", "1 0 500 "},
      {"Status: 5.0.0\nDiagnostic-Code: virus Mailbox full", "2 0 500 "},
      {"Status: 5.0.0\nDiagnostic-Code: a VIRUS", "3 0 500 "},
      {"Status: 5.1.1\nDiagnostic-Code: virus", "0 0 511 "},
      {"Status: 0.0.0\nDiagnostic-Code: virUS over quota", "3 0 0 "},
      {"Diagnostic-Code: x\n virus", "0 0 0 "}};
  for (const auto& row : rows) EXPECT_EQ(row.want, Judge(row.text));
  const char* const bad[] = {"",      "5.1.",  "5.1.10", "5.1.1;",
                             "5.1.x", "5.1:1", "5:1.1"};
  for (const char* text : bad)
    EXPECT_EQ("0 0 0 ", Judge(std::string("Status: ") + text)) << text;
}

}  // namespace
