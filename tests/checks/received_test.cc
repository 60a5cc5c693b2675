#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/heap_text.h"
#include "base/text_rows.h"
#include "scan/tqmmsg.h"

namespace {

class CheckReceivedTest : public ::testing::Test {
 protected:
  CheckReceivedTest() : m(nullptr, nullptr, nullptr, 0, 0) {}
  // The verdict, and the server that the line claims to be of.
  std::string judge(const std::string& value) {
    const HeapText text(value);
    const BLOCKRECEIVED line(text.view(), nullptr, nullptr);
    STR cause("before");
    const bool forged = m.checkForgedReceived(&line, cause);
    return (forged ? "forged " : "fine ") + std::string(cause.c_str());
  }
  int labo(const std::string& older, const std::string& newer) {
    const HeapText a(older), b(newer);
    RECEIVEDWARE ware(nullptr);
    BLOCKRECEIVED first(a.view(), &ware, nullptr);
    const BLOCKRECEIVED second(b.view(), &ware, nullptr);
    ware.getReceivedAdn(first.text, first.adn, 0);
    return m.checkForgedReceivedLabo(&first, &second);
  }
  TQMMSG m;
};

// Clauses, "#", identifiers, a date when it is not the one below; those of the
// identifiers that are forged, each in a line of its own. Per server: its
// forms, its ways out, what it looks like, the borders of its time. "~" is
// "a1b2c3d4e5.".
TEST_F(CheckReceivedTest, Identifiers) {
  for (const TextRow& row : TextRows(R"(
by a (8.8.8) # DAA12345 DAB1 DAC12345 DAA aAA12345 DAA1x DAA12345(x) => DAC12345 DAA aAA12345 DAA1x
by a (9.9.3) # DAA12345 1HpbOM-0000aB-Cd 1HpbOM-0000aB-C => 1HpbOM-0000aB-C
by Switch-3 (8.13.7) # x =>
by a (8.12.10/untd-3) # x =>
by (8.7.1) # x =>
by (8.15.2) # x =>
by (8.12.6) # l4K345 l4K34y lCK345 l40345 l4KO45 04K345 => l4K34y lCK345 l40345 l4KO45 04K345
by (8.12.6) # l5O345 l5O346 l3F345 l3F344 => l5O346 l3F344
by (8.14.6) # i1TNxx l1TNxx; 1 Mar 2004 00:00:00 => l1TNxx
by (8.13.6) # l4K345x12345 l4K345xx012345 l4K345xy012345 => l4K345x12345 l4K345xy012345
by a # k4K345x12345 l4K345x12345 l4K345xx012345 i4K345x12345 r4K345x12345 k4K345x1234 => k4K345x12345
with (EXIM 4.6) # 1HpbiH-0000aB-Cd 1hP 1Hp(x) 1Ho 1Hq 1H => 1Ho 1Hq 1H
with (Exim) # 1alnuq-0007HV-00 1AlnuQ-0007hv-00x => 1AlnuQ-0007hv-00x
with (Gmexim) (Exim) # x =>
by a # 1HpbiH-0000aB-Cd-x 1HobiH-0000aB-Cd 1HobiH-0000aB-C => 1HobiH-0000aB-Cd
with (Exim) # 1Ho 1Hp; 18 May 2007 10:47:51 => 1Hp
with (Exim) # 1Ho 1Hp; 18 May 2007 10:47:52 => 1Ho
with (Exim) # 1Hp 1Hq; 21 May 2007 04:59:59 => 1Hq
with (Exim) # 1Hp 1Hq; 21 May 2007 05:00:00 => 1Hp
with (Exim) # 1Hp; nonsense => 1Hp
with (Exim) # 1Hp; 3 Jan 1970 10:00:00 => 1Hp
by (netscape messaging server 3.62) # 12 1234 AAA12EF AAA12EG 1 12345 => AAA12EG 1 12345
by (Netscape Messaging Server 4.15) # JIBKITAB.C0D JIBKC000.ABC JIBKBZ00.ABC => JIBKBZ00.ABC
by (Netscape Messaging Server 4.0) # JIBL3R00.ABC JIBL3S00.ABC JIBL3S00.ABCD => JIBL3S00.ABC
by (Netscape Messaging Server 4.16) # JIBKITAB.C0D => JIBKITAB.C0D
by (Netscape Messaging Server  4.1 Patch 2) # JIBL3S00.ABC => JIBL3S00.ABC
by (Netscape Messaging Server 4.1) (x) # JIBL3S00.ABC => JIBL3S00.ABC
by (Netscape Messaging Server 4.0B2) # x =>
by (Netscape Messaging Server 4) # x =>
by (Sun Java System Messaging Server 6.2) # 0JIB12345KIT6789 <0JIB12345KIT6789@a> ((0JIB12345KIT6789)x) <> () => <> ()
by (sun java system messaging server 6) # 0JIB12345KIT678 0JIB12345KIT67890 0JIB12345KIT678a 0JIB12345KIT6789-a => 0JIB12345KIT678 0JIB12345KIT67890 0JIB12345KIT678a
by (Sun Java System Messaging Server 6) # 0JID12345F6T6789 0JID12345F6U6789 0JI912345PUT6789 0JI912345PUS6789 => 0JID12345F6U6789 0JI912345PUS6789
by (Sun Java System Messaging Server 7) # x =>
by a # ~2007.05.20.15.04.05 ~12.2007.05.20.15.04.06 ~2007.05.19.15.04.05 ~2007.05.19.15.04.04 => ~12.2007.05.20.15.04.06 ~2007.05.19.15.04.04
by a # ~1.2004.05.20.15.04.05 ~12.1179630245000 ~1179673445999 ~1179673446000 ~9999999999999 => ~1179673446000 ~9999999999999
by a # ~2007.05.20.03.60.05 ~2007.05.20.03.04.60 ~2007.05.20.03.04.59 => ~2007.05.20.03.60.05 ~2007.05.20.03.04.60
by a # ~2006.13.20.03.04.05; 20 Jan 2007 03:04:05 =>
by a # ~2006.14.20.03.04.05; 20 Feb 2007 03:04:05 => ~2006.14.20.03.04.05
by a # ~2007.05.00.03.04.05 ~2007.04.30.03.04.05; 30 Apr 2007 03:04:05 =>
by a # ~2007.05.32.03.04.05 ~2007.05.31.24.04.05; 1 Jun 2007 00:04:05 => ~2007.05.32.03.04.05 ~2007.05.31.24.04.05
by a # ~2007.05.20.03.04.60 ~2007.05.20.03.04.59; nonsense => ~2007.05.20.03.04.59
by a # ~2038.01.19.03.14.08 ~1901.12.13.20.45.51; nonsense => ~2038.01.19.03.14.08 ~1901.12.13.20.45.51
)")) {
    const size_t mark = row.input.find('#'), semicolon = row.input.find(';');
    const std::string clauses = row.input.substr(0, mark) + "id ";
    const std::string date = semicolon == std::string::npos
                                 ? "; 20 May 2007 03:04:05 +0000"
                                 : row.input.substr(semicolon);
    std::string id, forged;
    for (std::istringstream ids(row.input.substr(
             mark + 1, std::min(semicolon, row.input.size()) - mark - 1));
         ids >> id;) {
      std::string line = clauses + id + date;
      if (id[0] == '~') line.replace(clauses.size(), 1, "a1b2c3d4e5.");
      if (judge(line)[1] == 'o') forged += (forged.empty() ? "" : " ") + id;
    }
    EXPECT_EQ(row.expected, forged) << row.input;
  }
}

struct Hotmail {
  const char* key;
  std::string name, value;
};

// A header of the web mail service with changes, as "KEY=text" or "KEY" for a
// field that is missing, parted by "|".
TEST_F(CheckReceivedTest, Hotmail) {
  const std::string arrival = "20 May 2007 03:04:05.0678 (UTC) FILETIME=[";
  for (const TextRow& row : TextRows(R"(
x => 1
S => 3
S=b@example.com => 2
E => 3
E=a@example.com => 2
I => 3
I= => 2
A => 3
A=x => 2
A=*0:0] => 2
A=*00000000:01B41DC5] => 2
A=*00000000:01B41DC6] => 1
A=*00000000:01CAABDA] => 1
A=*00000000:01CAABDB] => 2
N => 2
N=from x by y => 2
O=from 192.0.2.9 by by9.example.com with http => 2
O=192.0.2.9 by by9.example.com with HTTP GMT => 2
O=from 225.0.2.9 by by9.example.com with HTTP GMT => 2
O=by by9.example.com from 192.0.2.9 with HTTP GMT => 2
O=from 192.0.2.9 by my9.example.com with HTTP GMT => 0
O=from 192.0.2.9 by by9 with HTTP GMT *00000000:01C79A8B] => 2
O=from 192.0.2.9 by by9 with HTTP GMT *10000000:01C79A8B] => 3
O=from 192.0.2.9 by by9 with HTTP GMT *00000000:01C79A8B]|M=BAY0-F1@a => 1
O=from 192.0.2.9 by BAY101-DAV2 with DAV; +0000|M=BAY101-DAV2ABC@a => 0
O=from 192.0.2.9 by bay101-dav2 with dav; +0000|M=Bay101-Dav2ABC@a => 0
O=from 192.0.2.9 by BAY101-DAV2 with DAV; +0000|M=x => 0
O=from 192.0.2.9 by BAY101-DAV2 with DAV; +0000|M=BAY101-DAV3ABC@a => 1
O=from 192.0.2.9 by BAY101-DAV2 with DAV; +0100|M=BAY101-DAV2ABC@a => 1
O=from 192.0.2.9 by by9 with HTTP with DAV; +0000|M=BAY@a => 1
O=from 192.0.2.9 by BAY101 with DAV; x|M=BAY1@a => 2
)")) {
    Hotmail fields[] = {
        {"N", "Received", "From mail pickup service by x"},
        {"O", "Received", "from 192.0.2.9 by by9.example.com with HTTP GMT"},
        {"S", "X-Sender", "a@example.com"},
        {"E", "X-Originating-Email", "[A@example.com]"},
        {"I", "X-Originating-IP", "[192.0.2.9]"},
        {"A", "X-OriginalArrivalTime", arrival + "86708080:01C79A8B]"},
        {"M", "Message-ID", "<BAY12-F1234@example.com>"}};
    std::string change, text;
    for (std::istringstream in(row.input); std::getline(in, change, '|');)
      for (Hotmail& field : fields) {
        if (change[0] != field.key[0]) continue;
        if (change.size() == 1) field.name.clear();
        field.value = change.substr(change.size() < 2 ? 1 : 2);
        const size_t star = field.value.find('*');
        if (star != std::string::npos) field.value.replace(star, 1, arrival);
      }
    for (const Hotmail& field : fields)
      if (!field.name.empty()) text += field.name + ": " + field.value + "\r\n";
    m.fixedTime = int64_t{13653} * 86400 + 5;
    m.loadFromBlock(HeapText(text + "\r\nbody").view(), nullptr, 0);
    m.parseHeader();
    EXPECT_EQ(row.expected, std::to_string(m.checkHotmail())) << row.input;
  }
}

}  // namespace
