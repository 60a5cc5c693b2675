#include "message/tip.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "base/text_rows.h"

namespace {

// "CLASS network host", then i invalid, r reserved, p private.
std::string Dump(const TIP& ip) {
  char line[64];
  snprintf(line, sizeof line, "%c %08X %08X%s%s%s%s",
           ip.addressClass ? ip.addressClass : '-', ip.network, ip.host,
           ip.invalid || ip.reserved || ip.isPrivate ? " " : "",
           ip.invalid ? "i" : "", ip.reserved ? "r" : "",
           ip.isPrivate ? "p" : "");
  return line;
}

// Classes and ranges at their borders, then numbers that are no octets.
TEST(TIPTest, Rows) {
  for (const TextRow& row : TextRows(R"(
0.0.0.0 => - 00000000 00000000 i
9.255.255.255 => A 09000000 00FFFFFF i
10.0.0.0 => A 0A000000 00000000 p
10.255.255.255 => A 0A000000 00FFFFFF ip
127.255.255.254 => A 7F000000 00FFFFFE p
128.0.0.0 => B 80000000 00000000
172.15.255.255 => B AC0F0000 0000FFFF i
172.16.255.255 => B AC100000 0000FFFF p
172.31.0.0 => B AC1F0000 00000000 p
172.32.0.0 => B AC200000 00000000
191.255.255.254 => B BFFF0000 0000FFFE
192.167.255.255 => C C0A7FF00 000000FF i
192.168.0.255 => C C0A80000 000000FF p
192.168.255.0 => C C0A8FF00 00000000 p
192.169.0.0 => C C0A90000 00000000
223.255.255.254 => C DFFFFF00 000000FE
224.0.0.0 => D 00000000 00000000 i
255.255.255.255 => E 00000000 00000000 i
1 => A 01000000 00000000
1..3. => A 01000000 00000300
1.2.3.4.5 => A 01000000 00020304
 1. +2.3 x.4] => A 01000000 00020304
[192.0.2.1] => A 00000000 00000201
1.256.0.1 => A 01000000 00000001
0.0.0.300 => A 00000000 0000012C
4294967297.0.0.4294967298 => A 01000000 00000002
0.0.-1.0 => E 00000000 00000000 i
- 1.a.b.1 => A 00000000 00000001
)")) {
    TIP ip;
    ip.setBlock(HeapText(row.input).view());
    EXPECT_EQ(row.expected, Dump(ip)) << row.input;
    EXPECT_EQ(ip.addressClass ? 8 : 0, ip.hex.len()) << row.input;
  }
}

TEST(TIPTest, TextsOfTwoValuesStandBehindEachOther) {
  TIP ip;
  ip.setStr("192.168.0.1");
  ip.setStr("5.6.7.8");
  EXPECT_STREQ("192.168.0.15.6.7.8", ip.text.c_str());
  EXPECT_STREQ("C0A8000105060708", ip.hex.c_str());
  ip.setStr("225.0.0.1");
  EXPECT_EQ("D 05000000 00060708 i", Dump(ip));
  ip.clear();
  EXPECT_EQ("- 00000000 00000000", Dump(ip));
}

}  // namespace
