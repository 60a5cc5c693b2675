// Posts of mailing lists; which test decides that a message is automatic.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "base/text_rows.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kSections[] =
    "[#NOTIFICATION-FROM]\n<11>daemon@*\n<12>*system*\n<13>*@bounce.example\n"
    "<14>Robot\n<100>sure@example.org\n<16>mid*dle\n"
    "[NOTIFICATION-SUBJECT]\n<21>failure\n"
    "[NOTIFICATION-SUBJECT-BEGIN]\n<31>returned mail\n"
    "[NOTIFICATION-BODY]\n<41>not delivered\n"
    "[!NOTIFICATION-HTML]\n<51><b>bounce</b>\n"
    "[#NOTIFICATION-ATTACH-HEADER]\n<61>X-Kind=report*\n<62>X-Kind=*s\n"
    "<63>X-None=\n"
    "[#NOTIFICATION-ATTACH-NAME]\n<71>warning.txt\n<72>late.txt\n"
    "[!NOTIFICATION-ATTACH-CONTENT]\n<81>^Reporting\n"
    "[^No-Notification]\n<0>(@X-Test=no)\n";

std::unique_ptr<TQMMSG> Load(const std::string& mail) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, kSections));
  const HeapText text(mail);
  m->loadFromBlock(text.view(), "", 1);
  m->parseWords();
  m->ledger.reset();
  return m;
}

// The score of the test that decided; 0 when none did.
int32_t ScoreOf(const std::string& mail) {
  const auto m = Load(mail);
  const QMGLOBALSETUP all = {8, QM_CHECK_NOTIFICATION};
  const QMUSERSETUP own = {20, -100, 200, 0, QM_CHECK_NOTIFICATION};
  const bool found = m->checkNotification(&all, &own);
  EXPECT_EQ(found ? ssNotification : ssClean, m->ledger.state);
  EXPECT_EQ(found ? m->notificationScore : 0, m->ledger.score);
  return m->notificationScore;
}

// Below 100 the last test that hits decides, at 100 the first. "|" stands for
// a line end.
TEST(NotificationTest, OrderOfTests) {
  for (const TextRow& row : TextRows(
           "Subject: hello||x => 0\nFrom: daemon@example.org||x => 11\n"
           "Subject: a failure||x => 21\n"
           "Subject: Returned mail, failure||x => 31\n"
           "Subject: Fw: returned mail, failure||x => 0\n"
           "From: daemon@example.org|Subject: failure||not delivered => 41\n"
           "Subject: failure|Content-Type: text/html||<b>bounce</b> => 51\n"
           "From: sure@example.org|Subject: failure||not delivered => 100\n"
           "From: sure@example.org|Content-Type: message/rfc822||x => 100\n"
           "Subject: failure|Content-Type: Message/RFC822|| => 10201\n"
           "From: sure@example.org|Content-Type: multipart/x; boundary=b||--b|"
           "Content-Type: message/delivery-status||Action: failed => 10000\n"
           "X-Test: no|From: sure@example.org||not delivered => 0\n")) {
    std::string mail = "To: bob@example.com|" + row.input;
    for (char& c : mail)
      if (c == '|') c = '\n';
    EXPECT_EQ(row.expected, std::to_string(ScoreOf(mail))) << mail;
  }
}

TEST(NotificationTest, Parts) {
  const std::string dots(4086, '.');
  const struct {
    int32_t score;
    std::string part;
  } rows[] = {
      {0, "a/b\n\nx"},
      // Of the lines on the header the last that fits, and then no other test.
      {61, "a/b; name=late.txt\nX-Kind: Report 1\n\nReporting"},
      {62, "a/b\nX-Kind: reports\n\nReporting"},
      {0, "text/html\nX-Kind: report\n\nx"},
      {71, "x/y; name=WARNING.txt\n\nReporting"},
      {71, "x/y; name=warning.txt\n\n" + dots + dots},
      {81, "a/b\nContent-Transfer-Encoding: base64\n\nUmVwb3J0aW5n"},
      // Up to 4,095 bytes.
      {81, "a/b\n\nReporting" + dots},
      {0, "a/b\n\nReporting." + dots}};
  for (const auto& row : rows)
    EXPECT_EQ(row.score,
              ScoreOf("Content-Type: multipart/mixed; boundary=b\n\n--b\n"
                      "Content-Type: text/plain\n\nx\n--b\nContent-Type: " +
                      row.part + "\n--b--\n"))
        << row.part.substr(0, 100);
}

TEST(NotificationTest, PostsOfLists) {
  // Fields by a letter, those that tell whose list it is by a digit.
  const char* const fields[] = {"pPrecedence: list",
                                "lX-Loop: dev@example.org",
                                "sX-Sequence: 7",
                                "iList-Id: <dev.example.org>",
                                "uList-Unsubscribe: <x>",
                                "1Sender: dev-bounces@example.org",
                                "2Reply-To: dev@example.org",
                                "3X-BeenThere: dev@example.org",
                                "4Sender: ann@example.com",
                                "5X-Loop: dev@example.com",
                                "oList-Post: <dev@example.org>"};
  for (const TextRow& row :
       TextRows(" => 0\nplsi => 1\nlsi => 0\npsi => 0\npli => 0\npls => 0\n"
                "p5si => 0\npiu => 0\npiu1 => 1\npiu2 => 1\npiu3 => 1\n"
                "piu4 => 0\npiu43 => 1\niu1 => 0\npu1 => 0\npi1 => 0\n"
                "piuo => 0\np5siu1 => 1\n")) {
    std::string mail = "Subject: x\n";
    for (const char* field : fields)
      if (row.input.find(field[0]) != std::string::npos)
        mail += std::string(field + 1) + "\n";
    EXPECT_EQ(row.expected,
              std::to_string(Load(mail + "\nx\n")->checkMailingList()))
        << row.input;
  }
}

}  // namespace
