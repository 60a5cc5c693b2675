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

}  // namespace
