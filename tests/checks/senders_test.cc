// The patterns of user lists on senders and recipients.

#include <gtest/gtest.h>
#include <string.h>

#include <initializer_list>
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
  // Rows are "PATTERN CAUSE" of five points; nothing behind the blank: no hit.
  void Try(int (TQMMSG::*filter)(TBLOCK, int),
           std::initializer_list<const char*> rows) {
    for (const char* row : rows) {
      message_->ledger.reset();
      const std::string pattern(row, strcspn(row, " "));
      const HeapText text(pattern);
      const int hit = (message_.get()->*filter)(text.view(), 5);
      std::string cause = row + pattern.size() + 1;
      if (hit) cause += " (5)";
      EXPECT_EQ(cause, Str(message_->ledger.cause.view())) << row;
      EXPECT_EQ(hit ? 5 : 0, message_->ledger.score) << row;
    }
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
  Try(&TQMMSG::_fromFilter,
      {"ann@example.org From=ann@example.org", "ANN@* From=ANN@*",
       "*@example.net Return-Path=*@example.net", "desk@* Reply-To=desk@*",
       "*@lists.example.org Sender=*@lists.example.org", "*other From=*other",
       "desk Reply-To=desk", "* From=*", "example.net ", "@ ", " ",
       // A star in the middle is a byte.
       "a*@example.org ", "192.0.2.17 IP=192.0.2.17", "192.0.* IP=192.0.2.17",
       "*2.1* IP=192.0.2.17", "*2.1 "});
  // What is empty fits a star alone.
  Load("Subject: x\n");
  Try(&TQMMSG::_fromFilter, {"* From=*", " ", "** ", "*@* ", "a* ", "*1* "});
}

TEST_F(SendersTest, PatternsOnRecipients) {
  Load("To: Bob <bob@example.com>, a@b.org\nCc: Team <bob@team.example>\n");
  Try(&TQMMSG::_ccFilter,
      {"bob@* Copy to bob@*", "*@team.example Copy to *@team.example",
       "team Copy to team", "c* "});
  // The first 32 kilobytes of them count.
  Load("To: " + Times(2977, "x@y.example, ") + "bob@z.example, c@d.example\n");
  Try(&TQMMSG::_ccFilter, {"bob@* Copy to bob@*", "c@* "});
}

// An address that holds the user goes, and costs 50 points.
TEST_F(SendersTest, AddressesOfTheUser) {
  const char* const rows[][3] = {{"", "bob@example.com", "bob@example.com"},
                                 {"BOB@example", "bob@example.com", ""},
                                 {"ob@x.organ", "ob@x.org", "ob@x.org"}};
  for (const auto& row : rows) {
    Load("Subject: x\n");
    message_->user = row[0];
    TMAILBOX box = ParseMailBox(TBLOCK(row[1]));
    message_->checkSenderAddr(box);
    EXPECT_EQ(row[2], Str(box.email)) << row[0];
    EXPECT_EQ(*row[2] ? 0 : 50, message_->ledger.score) << row[0];
  }
}

}  // namespace
