#include "message/tip.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"

namespace {

// "CLASS network host flags": i invalid, r reserved, p private.
std::string Dump(const TIP& ip) {
  char line[64];
  snprintf(line, sizeof line, "%c %08X %08X %s%s%s",
           ip.addressClass ? ip.addressClass : '-', ip.network, ip.host,
           ip.invalid ? "i" : "", ip.reserved ? "r" : "",
           ip.isPrivate ? "p" : "");
  return line;
}

TEST(TIPTest, ClassesAndTheirBorders) {
  const struct {
    const char* text;
    const char* dump;
  } rows[] = {{"0.0.0.0", "- 00000000 00000000 i"},
              {"0.0.0.1", "A 00000000 00000001 "},
              {"9.255.255.255", "A 09000000 00FFFFFF i"},
              {"10.0.0.0", "A 0A000000 00000000 p"},
              {"10.255.255.255", "A 0A000000 00FFFFFF ip"},
              {"127.0.0.1", "A 7F000000 00000001 p"},
              {"127.255.255.254", "A 7F000000 00FFFFFE p"},
              {"128.0.0.0", "B 80000000 00000000 "},
              {"172.15.255.254", "B AC0F0000 0000FFFE "},
              {"172.15.255.255", "B AC0F0000 0000FFFF i"},
              {"172.16.255.255", "B AC100000 0000FFFF p"},
              {"172.31.0.0", "B AC1F0000 00000000 p"},
              {"172.32.0.0", "B AC200000 00000000 "},
              {"191.255.0.1", "B BFFF0000 00000001 "},
              {"192.0.2.1", "C C0000200 00000001 "},
              {"192.167.255.255", "C C0A7FF00 000000FF i"},
              {"192.168.0.255", "C C0A80000 000000FF p"},
              {"192.168.255.0", "C C0A8FF00 00000000 p"},
              {"192.169.0.0", "C C0A90000 00000000 "},
              {"223.255.255.254", "C DFFFFF00 000000FE "},
              {"224.0.0.0", "D 00000000 00000000 i"},
              {"240.0.0.0", "E 00000000 00000000 i"},
              {"255.255.255.255", "E 00000000 00000000 i"}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    TIP ip;
    ip.setBlock(text.view());
    EXPECT_EQ(row.dump, Dump(ip)) << row.text;
    const bool named = strcmp(row.text, "0.0.0.0") != 0;
    EXPECT_STREQ(named ? row.text : "", ip.text.c_str());
    EXPECT_EQ(named ? 8 : 0, ip.hex.len());
  }
}

TEST(TIPTest, NumbersAreReadAsTheyStand) {
  const struct {
    const char* text;
    uint32_t value;
  } rows[] = {{"", 0},
              {"1", 0x01000000},
              {"1.2", 0x01020000},
              {"1.2.3.4.5", 0x01020304},
              {"1..3.", 0x01000300},
              {"...7", 7},
              {" 1.\t+2.3 x.4]", 0x01020304},
              {"[192.0.2.1]", 0x00000201},
              {"1.256.0.1", 0x01000001 | 256u << 16},
              {"0.0.0.300", 300},
              {"4294967297.0.0.4294967298", 0x01000002},
              {"0.0.-1.0", 0xFFFFFF00},
              {"- 1.0.0.1", 1},
              {"a.b.c.d", 0}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    TIP ip;
    ip.setBlock(text.view());
    STR dotted;
    if (row.value) TIP::_getStr(dotted, row.value);
    EXPECT_EQ(std::string(dotted.c_str()), ip.text.c_str()) << row.text;
    // Classes D and E have no parts to add up.
    const uint32_t sum = row.value >> 29 == 7 ? 0 : row.value;
    EXPECT_EQ(sum, ip.getValue()) << row.text;
  }
}

TEST(TIPTest, ReservedFirstOctets) {
  std::string octets;
  for (uint32_t octet = 0; octet < 256; octet++) {
    TIP ip;
    ip.setValue(octet << 24 | 1);
    if (ip.reserved) octets += std::to_string(octet) + " ";
  }
  EXPECT_EQ(
      "5 14 23 31 36 39 42 49 78 79 101 102 103 104 105 107 108 109 111 119 "
      "121 122 174 175 176 177 178 179 181 182 183 197 ",
      octets);
}

TEST(TIPTest, TextsOfTwoValuesStandBehindEachOther) {
  TIP ip;
  ip.setStr("192.168.0.1");
  ip.setStr("5.6.7.8");
  EXPECT_STREQ("192.168.0.15.6.7.8", ip.text.c_str());
  EXPECT_STREQ("C0A8000105060708", ip.hex.c_str());
  EXPECT_EQ("A 05000000 00060708 r", Dump(ip));
  ip.setStr("225.0.0.1");
  EXPECT_EQ("D 05000000 00060708 i", Dump(ip));
  ip.setStr(nullptr);
  EXPECT_EQ("- 00000000 00000000 i", Dump(ip));
  ip.clear();
  EXPECT_EQ("- 00000000 00000000 ", Dump(ip));
  EXPECT_TRUE(ip.text.empty() && ip.hex.empty());
}

}  // namespace
