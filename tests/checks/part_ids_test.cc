// Content-IDs against the other identifiers of a message.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

// 2008-01-10 20:00:00.123565 UTC, from 192.0.2.1.
const char kClock[] = "01c853c3$61997ac2$010200c0@pc.example.org";
const char kSender[] = "<00aa01c853c3$61997ac2$010200c0@pc.example.org>";
const char kBound[] = "----=_NextPart_000_0013_";

struct Row {
  int result;
  const char *contentId, *messageId, *bound, *zone;
};

void Load(TQMMSG& m, const Row& row, const std::string& more = "") {
  std::string mail = std::string("Message-ID: ") + row.messageId +
                     "\nDate: Thu, 10 Jan 2008 20:00:00 " + row.zone + "\n" +
                     more;
  if (*row.bound)
    mail += std::string("Content-Type: multipart/related; boundary=\"") +
            kBound + row.bound + "\"\n";
  m.fixedTime = 1200000000;
  m.loadFromBlock(HeapText(mail + "\nx\n").view(), "", 1);
}

void Try(const Row& row, const std::string& more = "", uint32_t seen = 0) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  Load(m, row, more);
  EXPECT_EQ(row.result, m.checkCid(HeapText(row.contentId).view(), seen))
      << row.contentId << " in " << row.messageId << " " << row.bound << more;
}

TEST(PartIdsTest, Forms) {
  const char other[] = "<1@example.org>";
  for (const Row& row : {
           Row{0, "picture@example.org", other, "", "+0000"},
           Row{0, "", "", "", "+0000"},
           Row{2, "01c853c3$61997ac3$010200c0@pc.example.org", other, "",
               "+0000"},
           Row{0, kClock, other, "", "+0000"},
           Row{9, "part1.01020304.15060708@x", other, "", "+0000"},
           Row{0, "part1.01020304.05060708@x", other, "", "+0000"},
           Row{0, "part1.01020304.1506070@x", other, "", "+0000"},
           Row{0, "xpart1.01020304.15060708@x", other, "", "+0000"},
           Row{11, "1@EXAMPLE.org", other, "", "+0000"},
       })
    Try(row);
}

// The clock of the Message-ID, again or counted on.
TEST(PartIdsTest, ClockOfTheMessageId) {
  for (const Row& row : {
           Row{3, kClock, kSender, "", "+0000"},
           // The same millisecond, and the next one.
           Row{3, "01c853c3$61997af4$010200c0@pc.example.org", kSender, "",
               "+0000"},
           Row{0, "01c853c3$6199a1d2$010200c0@pc.example.org", kSender, "",
               "+0000"},
           // One, nine and ten steps back, and one ahead.
           Row{6, "01c853c3$6197f422$010200c0@pc.example.org", kSender, "",
               "+0000"},
           Row{6, "01c853c3$618bbf22$010200c0@pc.example.org", kSender, "",
               "+0000"},
           Row{0, "01c853c3$618a3882$010200c0@pc.example.org", kSender, "",
               "+0000"},
           Row{0, "01c853c3$619b0162$010200c0@pc.example.org", kSender, "",
               "+0000"},
           Row{0, "01c853aa$6197f422$010200c0@pc.example.org", kSender, "",
               "+0000"},
       })
    Try(row);
}

TEST(PartIdsTest, Addresses) {
  const Row rows[] = {
      {4, "01c853c3$6199a1d2$020200c0@pc.example.org", kSender, "", "+0000"},
      // A private one tells nothing.
      {0, "01c853c3$6199a1d2$0100a8c0@pc.example.org", kSender, "", "+0000"},
      {0, "01c853c3$6199a1d2$020200c0@x", "<1@x>", "", "+0000"}};
  for (const Row& row : rows) Try(row);
  Row row = rows[0];
  Try(row, "X-MimeOLE: Produced By Microsoft MimeOLE V5.50\n");
  row.result = 0;
  Try(row, "X-MimeOLE: Produced By Microsoft mimeole v6.00.2900\n");
  // Against what an earlier part had, with an address as in Message-ID.
  row.contentId = "01c853c3$6199a1d2$010200c0@pc.example.org";
  Try(row, "", 0xC0000201);
  row.result = 5;
  Try(row, "", 0xC0000202);
}

TEST(PartIdsTest, ClockOfTheBoundary) {
  const char other[] = "<1@example.org>";
  const char near[] = "<00aa01c853c3$6199a1d2$010200c0@pc.example.org>";
  const char far[] = "<00aa01c853c3$6199a1d2$010200c0@pd.example.org>";
  for (const Row& row : {
           // An hour ahead, whose zone is that of the Date or not.
           Row{7, kClock, other, "01C853CB.C35DE2C2", "+0000"},
           Row{0, kClock, other, "01C853CB.C35DE2C2", "+0100"},
           Row{0, kClock, other, "01C853C3.61997AC2", "+0000"},
           Row{7, kClock, other, "01C853C3.61997AC2", "+0100"},
           // Half hours are dropped toward zero.
           Row{0, kClock, other, "01C85399.78C372C2", "-0530"},
           Row{7, kClock, other, "01C85391.16FF0AC2", "-0530"},
           // A day later, a second, two milliseconds.
           Row{0, kClock, other, "01C85494.EDC7A2C2", "+0000"},
           Row{0, kClock, other, "01C853CB.C3F67942", "+0000"},
           Row{0, kClock, other, "01C853CB.C35E30E2", "+0000"},
           // The same part of a second.
           Row{11, kClock, far, "01C853C3.62321142", "+0000"},
           Row{0, kClock, near, "01C853C3.62321142", "+0000"},
           Row{0, kClock, far, "01C853C3.623211A6", "+0000"},
           Row{0, kClock, far, "01C853C3.61A8BD02", "+0000"},
           Row{0, kClock, other, "01C853C3.62321142", "+0000"},
       })
    Try(row);
}

// The first part with a fault counts, without its brackets; what is known of an
// address is forgotten with each part.
TEST(PartIdsTest, WalkOverParts) {
  const std::string odd = "<part1.01020304.15060708@x>";
  const std::string fine = "<01c853c3$6199a1d2$010200c0@pc.example.org>";
  const struct {
    std::string result, messageId, first, second;
  } rows[] = {{"", "<1@x>", "", " "},
              {"Forged cid11 (300)", "<1@x>", "2@x", "< 1@x >"},
              {"Forged cid11 (300)", "<1@x>", "<1@X>", odd},
              {"Forged cid9 (300)", "<1@x>", "< >", odd},
              {"", kSender, fine, fine}};
  for (const auto& row : rows) {
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    m.fixedTime = 1200000000;
    const std::string mail =
        "Message-ID: " + row.messageId +
        "\nDate: Thu, 10 Jan 2008 20:00:00 +0000\n"
        "Content-Type: multipart/related; boundary=b\n\n--b\nContent-ID: " +
        row.first + "\n\nx\n--b\nContent-ID: " + row.second + "\n\nx\n--b--\n";
    m.loadFromBlock(HeapText(mail).view(), "", 1);
    m.ledger.reset();
    m.checkPartsCid();
    EXPECT_EQ(row.result, Str(m.ledger.cause.view())) << mail;
  }
}

}  // namespace
