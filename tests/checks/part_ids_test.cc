// Content-IDs against the other identifiers of a message.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

// 2008-01-10 20:00:00.123565 UTC, from 192.0.2.1.
const char kClock[] = "01c853c3$61997ac2$010200c0@pc.example.org";
const char kSender[] = "<00aa01c853c3$61997ac2$010200c0@pc.example.org>";

// A Content-ID, the Message-ID, the end of the boundary, the Date's zone.
void Try(int result, const std::string& id, const char* messageId,
         const char* bound = "", const char* zone = "+0000",
         const std::string& more = "", uint32_t seen = 0) {
  std::string mail = std::string("Message-ID: ") + messageId +
                     "\nDate: Thu, 10 Jan 2008 20:00:00 " + zone + "\n" + more;
  if (*bound)
    mail += std::string("Content-Type: multipart/related; boundary=\"") +
            "----=_NextPart_000_0013_" + bound + "\"\n";
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  m.fixedTime = 1200000000;
  m.loadFromBlock(HeapText(mail + "\nx\n").view(), "", 1);
  EXPECT_EQ(result, m.checkCid(HeapText(id).view(), seen)) << id << mail;
}

TEST(PartIdsTest, Forms) {
  const char other[] = "<1@example.org>";
  Try(0, "picture@example.org", other);
  Try(0, "", "");
  Try(2, "01c853c3$61997ac3$010200c0@pc.example.org", other);
  Try(0, kClock, other);
  Try(9, "part1.01020304.15060708@x", other);
  Try(0, "part1.01020304.05060708@x", other);
  Try(0, "part1.01020304.1506070@x", other);
  Try(0, "xpart1.01020304.15060708@x", other);
  Try(11, "1@EXAMPLE.org", other);
}

// The clock of the Message-ID, again or counted on.
TEST(PartIdsTest, ClockOfTheMessageId) {
  const std::string host = "$010200c0@pc.example.org";
  Try(3, kClock, kSender);
  // The same millisecond, and the next one.
  Try(3, "01c853c3$61997af4" + host, kSender);
  Try(0, "01c853c3$6199a1d2" + host, kSender);
  // One, nine and ten steps back, one ahead, one in another high half.
  Try(6, "01c853c3$6197f422" + host, kSender);
  Try(6, "01c853c3$618bbf22" + host, kSender);
  Try(0, "01c853c3$618a3882" + host, kSender);
  Try(0, "01c853c3$619b0162" + host, kSender);
  Try(0, "01c853aa$6197f422" + host, kSender);
}

TEST(PartIdsTest, Addresses) {
  const std::string id = "01c853c3$6199a1d2$", host = "00c0@pc.example.org";
  const std::string program = "X-MimeOLE: Produced By Microsoft MimeOLE ";
  Try(4, id + "0202" + host, kSender);
  Try(4, id + "0202" + host, kSender, "", "+0000", program + "V5.50\n");
  Try(0, id + "0202" + host, kSender, "", "+0000", program + "v6.00.29\n");
  // A private one tells nothing.
  Try(0, id + "0100a8c0@pc.example.org", kSender);
  Try(0, id + "020200c0@x", "<1@x>");
  // Against what an earlier part had.
  Try(0, id + "0102" + host, kSender, "", "+0000", "", 0xC0000201);
  Try(5, id + "0102" + host, kSender, "", "+0000", "", 0xC0000202);
}

TEST(PartIdsTest, ClockOfTheBoundary) {
  const char other[] = "<1@example.org>";
  const char near[] = "<00aa01c853c3$6199a1d2$010200c0@pc.example.org>";
  const char far[] = "<00aa01c853c3$6199a1d2$010200c0@pd.example.org>";
  // An hour ahead, whose zone is that of the Date or not.
  Try(7, kClock, other, "01C853CB.C35DE2C2");
  Try(0, kClock, other, "01C853CB.C35DE2C2", "+0100");
  Try(0, kClock, other, "01C853C3.61997AC2");
  Try(7, kClock, other, "01C853C3.61997AC2", "+0100");
  // Half hours are dropped toward zero.
  Try(0, kClock, other, "01C85399.78C372C2", "-0530");
  Try(7, kClock, other, "01C85391.16FF0AC2", "-0530");
  // A day later, a second, two milliseconds.
  Try(0, kClock, other, "01C85494.EDC7A2C2");
  Try(0, kClock, other, "01C853CB.C3F67942");
  Try(0, kClock, other, "01C853CB.C35E30E2");
  // The same part of a second.
  Try(11, kClock, far, "01C853C3.62321142");
  Try(0, kClock, near, "01C853C3.62321142");
  Try(0, kClock, far, "01C853C3.623211A6");
  Try(0, kClock, far, "01C853C3.61A8BD02");
  Try(0, kClock, other, "01C853C3.62321142");
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
