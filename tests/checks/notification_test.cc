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

TEST(NotificationTest, Senders) {
  for (const TextRow& row :
       TextRows("daemon@example.org => 11\n"
                "Ann <DAEMON@example.org> => 11\n"
                "xdaemon@example.org => 0\n"
                "My Systems <a@example.org> => 12\n"
                "system@example.org => 0\n"
                "a@BOUNCE.example => 13\n"
                "robot <a@example.org> => 14\n"
                "Robot 2 <a@example.org> => 0\n"
                // The first line that fits; a star in the middle is one.
                "System <daemon@example.org> => 11\n"
                "midxdle <a@example.org> => 0\n"
                " => 0\n")) {
    EXPECT_EQ(row.expected,
              std::to_string(ScoreOf("From: " + row.input +
                                     "\nTo: bob@example.com\n\nx\n")))
        << row.input;
  }
  // Who writes to himself is no machine, of whatever name.
  EXPECT_EQ(0, ScoreOf("From: System <a@b.org>\nTo: A@B.org, x@y.org\n\nx\n"));
  EXPECT_EQ(12, ScoreOf("From: System <a@b.org>\nTo: x@y.org, a@b.org\n\nx\n"));
}

// Below 100 the last test that hits decides, at 100 the first.
TEST(NotificationTest, OrderOfTests) {
  const std::string to = "To: bob@example.com\n";
  const std::string from = "From: daemon@example.org\n" + to;
  const std::string sure = "From: sure@example.org\n" + to;
  const std::string subject = "Subject: Returned mail, failure\n";
  const std::string text = "\nIt was not delivered.\n";
  const std::string report =
      "Content-Type: multipart/report; boundary=b\n\n--b\n\nx\n--b\n"
      "Content-Type: message/delivery-status\n\nAction: failed\n\n--b--\n";
  const std::string forward = "Content-Type: Message/RFC822\n";
  const struct {
    int32_t score;
    std::string mail;
  } rows[] = {
      {0, to + "Subject: hello\n\nx\n"},
      {11, from + "\nx\n"},
      {21, to + "Subject: a failure\n\nx\n"},
      {31, to + subject + "\nx\n"},
      {31, to + "Subject: Re: Returned mail, failure\n\nx\n"},
      {0, to + "Subject: Fw: failure\n\nx\n"},
      {41, from + subject + text},
      {51, from + subject + "Content-Type: text/html\n\nx <b>bounce</b> x\n"},
      {100, sure + subject + text},
      {100, sure + forward + text},
      {10201, from + subject + forward + text},
      {10201, to + forward + "\n"},
      {10000, sure + subject + report},
      {0, "X-Test: no\n" + sure + subject + report},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.score, ScoreOf(row.mail)) << row.mail;
}

TEST(NotificationTest, Parts) {
  const std::string note = "Content-Disposition: attachment\n";
  const std::string blob = "Content-Type: application/x\n";
  const struct {
    int32_t score;
    std::string part;
  } rows[] = {
      {0, blob + "\nx"},
      // Of the lines on the header the last that fits, and then no other test.
      {61, "Content-Type: a/b; name=late.txt\nX-Kind: Report 1\n\nReporting"},
      {62, blob + "X-Kind: reports\n\nReporting"},
      {0, "Content-Type: text/html\nX-Kind: report\n\nx"},
      {71, blob + note + "Content-Type: x/y; name=WARNING.txt\n\nReporting"},
      {81, blob + "\nReporting"},
      {81, blob + "Content-Transfer-Encoding: base64\n\nUmVwb3J0aW5n"},
      // Up to 4,095 bytes, with the line end behind it.
      {81, blob + "\nReporting" + std::string(4086, '.')},
      {0, blob + "\nReporting" + std::string(4087, '.')},
      {71, note + "Content-Type: x/y; name=warning.txt\n\n" +
               std::string(5000, '.')},
  };
  for (const auto& row : rows)
    EXPECT_EQ(
        row.score,
        ScoreOf("To: a@example.com\nContent-Type: multipart/mixed; "
                "boundary=b\n\n--b\nContent-Type: text/plain\n\nx\n--b\n" +
                row.part + "\n--b--\n"))
        << row.part.substr(0, 100);
}

// What an archive packs, behind the byte that tells how.
TEST(NotificationTest, PackedNames) {
  for (const TextRow& row :
       TextRows("@f:1a,0warning.txt,1late.txt => 71\n@f:1warning.txt,1b => 71\n"
                "@warning.txt: => 0\n@f:11warning.txt => 0\nwarning.txt => 0\n"
                "@f: => 0\n@f:1,,x => 0\n")) {
    const auto m = Load("\n");
    m->notificationScore = 0;
    BLOCKPART part;
    part.flags = pfDecoded;
    part.rawLength = 5000;
    part.archiveText = row.input.c_str();
    m->_checkNotificationAttachment(&part);
    EXPECT_EQ(row.expected, std::to_string(m->notificationScore)) << row.input;
  }
}

TEST(NotificationTest, Setups) {
  const auto m = Load("From: sure@example.org\nTo: a@b.org\n\nx\n");
  QMGLOBALSETUP all = {8, QM_CHECK_NOTIFICATION};
  QMUSERSETUP own = {20, -100, 200, 0, QM_CHECK_VIRUS};
  EXPECT_FALSE(m->checkNotification(&all, &own));
  EXPECT_FALSE(m->checkNotification(&all, nullptr));
  own.flags = QM_CHECK_NOTIFICATION;
  all.flags = QM_CHECK_VIRUS;
  EXPECT_FALSE(m->checkNotification(&all, &own));
}

TEST(NotificationTest, ListIds) {
  for (const TextRow& row :
       TextRows("dev@lists.example.org|Dev talk <dev.lists.example.org> => 1\n"
                "DEV@Lists.example.org|<dev.LISTS.example.org> => 1\n"
                "dev-bounces@lists.example.org|<dev.lists.example.org> => 1\n"
                "dev-BOUNCES+x@lists.example.org|<dev.lists.example.org> => 1\n"
                "dev@lists.example.org|<dev.lists.example.org> x => 0\n"
                "dev@lists.example.org|<dev.lists.example.com> => 0\n"
                "dev@lists.example.org|dev.lists.example.org => 0\n"
                "devel@lists.example.org|<dev.lists.example.org> => 0\n"
                "dev@a@b|<dev.a@b> => 1\n"
                "@b|<dev.b> => 1\n"
                "dev|<dev> => 1\n"
                "|<dev> => 0\n"
                "dev@b| => 0\n")) {
    const HeapText address(row.input.substr(0, row.input.find('|')));
    const HeapText id(row.input.substr(row.input.find('|') + 1));
    EXPECT_EQ(row.expected,
              std::to_string(TQMMSG::_CompareListId(address.view(), id.view())))
        << row.input;
  }
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
