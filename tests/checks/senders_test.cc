// The patterns of user lists on senders and recipients.

#include <gtest/gtest.h>

#include <memory>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

class SendersTest : public ::testing::Test {
 protected:
  void Load(const std::string& header) {
    message_ = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
    message_->loadFromBlock(HeapText(header + "\nx\n").view(), "", 0);
    message_->parseHeader();
  }
  // What a pattern of five points leaves as the cause.
  std::string Cause(int (TQMMSG::*filter)(TBLOCK, int), const char* pattern) {
    message_->ledger.reset();
    const HeapText text(pattern);
    const int hit = (message_.get()->*filter)(text.view(), 5);
    EXPECT_EQ(hit ? 5 : 0, message_->ledger.score) << pattern;
    return Str(message_->ledger.cause.view());
  }
  std::unique_ptr<TQMMSG> message_;
};

TEST_F(SendersTest, PatternsOnSenders) {
  Load(
      "Received: from a.example.org ([192.0.2.17]) by b.example.org;"
      " Thu, 10 Jan 2008 20:00:00 +0000\n"
      "From: Ann Other <ann@example.org>\n"
      "Return-Path: <bounce@example.net>\nReply-To: Desk <desk@example.net>\n"
      "Sender: ann@lists.example.org\n");
  const char* const rows[][2] = {
      {"ann@example.org", "From=ann@example.org (5)"},
      {"ANN@*", "From=ANN@* (5)"},
      {"*@example.net", "Return-Path=*@example.net (5)"},
      {"desk@*", "Reply-To=desk@* (5)"},
      {"*@lists.example.org", "Sender=*@lists.example.org (5)"},
      {"*other", "From=*other (5)"},
      {"desk", "Reply-To=desk (5)"},
      {"*", "From=* (5)"},
      {"a*@example.org", ""},  // a star in the middle is a byte
      {"example.net", ""},
      {"@", ""},
      {"", ""},
      {"192.0.2.17", "IP=192.0.2.17 (5)"},
      {"192.0.*", "IP=192.0.2.17 (5)"},
      {"*2.1*", "IP=192.0.2.17 (5)"},
      {"*2.1", ""}};
  for (const auto& row : rows)
    EXPECT_EQ(row[1], Cause(&TQMMSG::_fromFilter, row[0])) << row[0];
  // What is empty fits a star alone.
  Load("Subject: x\n");
  EXPECT_EQ("From=* (5)", Cause(&TQMMSG::_fromFilter, "*"));
  for (const char* pattern : {"", "**", "*@*", "a*", "*1*"})
    EXPECT_EQ("", Cause(&TQMMSG::_fromFilter, pattern)) << pattern;
}

TEST_F(SendersTest, PatternsOnRecipients) {
  Load("To: Bob <bob@example.com>, a@b.org\nCc: Team <bob@team.example>\n");
  const char* const rows[][2] = {
      {"bob@*", "Copy to bob@* (5)"},
      {"*@team.example", "Copy to *@team.example (5)"},
      {"team", "Copy to team (5)"},
      {"c*", ""}};
  for (const auto& row : rows)
    EXPECT_EQ(row[1], Cause(&TQMMSG::_ccFilter, row[0])) << row[0];
}

TEST_F(SendersTest, WhoseAddressHoldsTheRecipients) {
  const struct {
    const char* to;
    const char* result;
  } rows[] = {{"", "1111"}, {"To: Bob <bob@example.com>\n", "0110"}};
  for (const auto& row : rows) {
    Load(std::string(row.to) +
         "From: <bigBOB@example.com>\nReply-To: bob@example.org\n"
         "Sender: bob@example.com.example.org\n");
    int flags[4] = {7, 7, 7, 7};
    message_->_checkValidSender(flags[0], flags[1], flags[2], flags[3]);
    std::string result;
    for (int flag : flags) result += std::to_string(flag);
    EXPECT_EQ(row.result, result) << row.to;
  }
}

TEST_F(SendersTest, SenderThatHoldsTheUser) {
  Load("From: <annother@example.org>\n");
  message_->checkSenderAddr(message_->fromBox);
  EXPECT_EQ(0, message_->ledger.score);
  message_->user = "NoTher";
  message_->checkSenderAddr(message_->fromBox);
  EXPECT_TRUE(message_->fromBox.email.empty());
  EXPECT_EQ("Invalid address (50)", Str(message_->ledger.cause.view()));
}

}  // namespace
