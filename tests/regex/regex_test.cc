// Patterns as rules and checks use them, with the patterns of the code itself.

#include "regex/regex.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "regex/zr_regex.h"

namespace {

// In the order of the members: a text that matches, and one that nearly does.
const struct {
  const char *hit, *miss;
} kMemberTexts[] = {
    {"31 Dec", "Sat, 31 Dez"},
    {"8.12.10/8.12.9", "8.12.10/8.12"},
    {"--_NextPart_000_0a_01C7A2B3.4D5E6F70", "_NextPart_000_01C7A2B3.4D5E6F7"},
    {"l1A2B3C4123456", "l1A2B3C123456"},
    {"1A2b3C-4D5e6F-7G", "1A2b3C-4D5e6F-7"},
    {"with SMTPSVC(5.0.2195.6713)", "SMTPSVC(5.0.2195)"},
    {"By bay1-dav23", "by bay1-f23"},
    {"0a$1b$2c@x", "0g$1b$2c@x"},
    {"01C2D3E4.50706@", "01C2D3E4.5070@"},
    {"hdhdhdhd.hdhdhdh@", "hdhdhdhd.hdhdhdh@x"},
    {"x [10.0.0.1)", "[10.0.0.1234]"},
    {"for Us$", " USDx"},
    {"see pills . Com,", "pills.company"},
    {"1.22-255.4.x", "301.2.3.4."},
    {"a/  /b", "a//b"},
    {"x (HELO a.b)", "(HELO a.b"},
    {"A.HTM.Pif", "a.htm.pif "},
    {"x.CRT.zip", "x.crt.zipx"},
    {"\n\nThis is a multi-part message in MIME format.\r\n",
     "This is a multi-part message in MIME format.\n"},
    {"  \"Dr. Ann Lee\" <AnnLee@x", "\"Ann Lee\" <Annlee@x"},
    {"a1b2c3d4e5.2007.01.02.03.04.05", "a1b2c3d4e5.123456789012"},
    {":ab-12-3456-", "ab-12-3456-"},
    {"1 Jan 2007 01:02:03 +0100 (CET)", "Sat 01 Jan 2007 01:02:03"},
    {"(mx-1.a_b.info)", "a.b"},
    {"Microsoft SMTPSVC(5.0.1.2)", "MicrosoftMAPI"},
    {"Lotus Domino Release 6.5.3fp1", "Lotus Domino Release 6.53"},
    {"Netscape Messaging Server 4.15", "Netscape Messaging Server 4.15 "},
    {"x Sun Java System Messaging Server 6 (built y))",
     "Sun Java System Messaging Server 6 (built y)"},
    {"Ab345678-1234-1abc-WXYZ-0123456789@",
     "Ab345678-1234-1abc-WXYZ-012345678@"},
    {"0A1B2C3D-4E5F-11D6-8ABC-0012345678",
     "0A1B2C3D-4E5F-11D6-7ABC-0012345678"},
    {"<B1234567.1A%joe@x", "<B1234567.1A%@x"},
    {"(8.13.1", "(8.15.1"},
    {"ZAB1", "ZAC1"},
    {"jB1N0x", "jB0N0x"},
    {"jB1N0xxx123456", "jB1N0xxy123456"},
    {"<Pine.LNX.4.33.01.02-7@", "<Pine.LNX.44.33.01.02-7@"},
    {"7 Jan 2007 01:02:03.0456 (UTC) FILETIME=[0A1B2C3D:01C7ABCD]",
     "7 Jan 2007 01:02:03.0456 (UTC) FILETIME=[0A1B2C3D:01C7ABCD] "},
    {"BAY12-F3", "BAY12-f3"},
    {"4.15", "10.1"},
    {"AAA0F1B", "12345"},
    {"ABCDEFGH.0Z9", "ABCDEFGH.0Z9A"},
    {"MIME::Lite 3.01", "MIME::Lite 3"},
    {"by by12", "by  by12"},
    {"0z$1y$2x@", "0Z$1y$2x@"},
    {"ISO-8859-15", "ISO-8859"},
    {"iso-8859-15", "iso-8859-2"},
    {"12345678.", "1234567.8"},
    {"x@abc123", "x@abc1234"},
    {"call 1 (8OO) 5", "call 1 (8OO)"},
    {"part1.01020304.05060708@", "part1.01020304.5060708@"},
    {"part1.01020304.05060708@", "part1.11020304.05060708@"},
    {"for 50 USD", "50 USD"},
    {"1A2b3C-4D5e6F-7G", "1A2b3C-4D5e6F/7G"},
    {"12 0 obj<<", "12  0 obj"},
    {"a.doc   .EXE", "a.doc.exe"},
    {"1A2b3C-4D5e6F-7G", "-1A2b3C-4D5e6F-7G"},
    {"a nsafe-1", "nsafe 1"},
    {"<0123456789ab$01234567$89abcdef@JoeLee>",
     "<0123456789ab$01234567$89abcdef@joe>"},
    {"0123456789ABCDEF0123456789ABCDEF@a-b.c",
     "0123456789ABCDEF0123456789ABCDEf@a-b.c"},
    {"\"Ann Lee\" <a.lee@", "\"Ann lee\" <a.lee@"},
    {"<01234567-89AB-CDEF-0123-456789ABCDEF@a-B.c>",
     "<01234567-89AB-CDEF-0123-456789ABCDEf@a-B.c>"},
    {"<abc.Joe @mail.com>", "<abc.Joe@mail.net>"},
    {"a1b2c3d4e5.12.2007.01.02.03.04.05", "a1b2c3d4e5.1234567890123"}};

// A name for each row of the table, in its order.
const char kAgents[] =
    "Microsoft Outlook Express 6|Microsoft Office Outlook 11|"
    "Microsoft CDO for Windows|Thunderbird 1.5|Benchmail x|PHPMailer 1|PHP4|"
    "php|Mozilla Thunderbird 2|Mozilla/5.0|eGroups Message|"
    "Microsoft-Entourage/10|EMS|MP5|NMS|Yahoo Groups|"
    "Internet Mail Service (5)|ColdFusion 5|Lyris|DOPOST|KANA Response|"
    "MIME-tools 5|MIME::lite 1|APPLE Mail|LOTUS Notes|IncrediMail 2001|"
    "UnityMail 3|JMail 4|QUAL for Windows sub 1|KMail/1.9|eMill/1|"
    "Internet messaging program|slrn/0.9|Loom/1|SquirrelMail|Eudora mail|"
    "QUALCOMM Windows|Pegasus Mail|Evolution/2|Foxmail|The Bat!|Sylpheed 1|"
    "Ximian|TWIG 2|Opera7|Mulberry/3|Mutt 1|Mailman v2|AOL 7|SmartMailer|"
    "AspMail 4|Calypso 3|Forte Agent|";

TEST(RegexPoolTest, ItsOwnPatternsAreToldFromNearMisses) {
  REGEXPOOL pool;
  pool.addAllHardCodedRegexes();
  // Two members have the text of a third.
  EXPECT_EQ(61 + 53, pool.count);
  pool.addAllHardCodedRegexes();
  EXPECT_EQ(61 + 53, pool.count);
  uint32_t row = 0;
  for (const auto& text : kMemberTexts) {
    ASSERT_LT(row, REGEXPOOL::kMemberCount);
    const REGEXPOOL::Member& member = REGEXPOOL::kMembers[row++];
    const HeapText hit(text.hit), miss(text.miss);
    for (REGEXPOOL* given : {&pool, static_cast<REGEXPOOL*>(nullptr)}) {
      REGEX regex(member.pattern, given);
      EXPECT_EQ(given != nullptr, regex.pooled) << member.name;
      EXPECT_TRUE(regex.match(hit.view())) << member.name;
      EXPECT_GT(regex.matchWithDetails(hit.view()), 0) << member.name;
      EXPECT_FALSE(regex.match(miss.view())) << member.name;
    }
  }
  EXPECT_EQ(REGEXPOOL::kMemberCount, row);

  STR code;
  row = 0;
  TBLOCK rest(kAgents);
  for (int32_t bar; (bar = rest.findByte('|')) >= 0;) {
    ASSERT_LT(row, kAdnAgentCount);
    const std::string agent = Str(rest.head(static_cast<uint32_t>(bar)));
    rest.skip(static_cast<uint32_t>(bar) + 1);
    GetAdnAgent(code, HeapText(agent).view(), &pool);
    EXPECT_STREQ(_Adn_Agent_Table[row++].code, code.c_str()) << agent;
    GetAdnAgent(code, HeapText("_" + agent).view(), &pool);
    EXPECT_STREQ(row == 29 ? "34" : "99", code.c_str()) << agent;
  }
  EXPECT_EQ(kAdnAgentCount, row);
  GetAdnAgent(code, TBLOCK(), &pool);
  EXPECT_STREQ("98", code.c_str());
}

TEST(RegexPoolTest, KeepsWhatCompiles) {
  REGEXPOOL pool;
  const struct {
    std::string pattern;
    int error, count;
  } rows[] = {{"", ZR_OK, 0},
              {"a(b", ZR_NOPAREN, 0},
              {"ab", ZR_OK, 1},
              {"ab", ZR_OK, 1},
              {"AB", ZR_OK, 2},
              // Compiled up to the NUL, so kept under that text only.
              {std::string("ab\0c", 4), ZR_OK, 2},
              {std::string("\0c", 2), ZR_OK, 2},
              {std::string("cd\0c", 4), ZR_OK, 3},
              {"*", ZR_BADREPEAT, 3}};
  for (const auto& row : rows) {
    int error = -1;
    pool.addCompiledRegex(HeapText(row.pattern).view(), error);
    EXPECT_EQ(row.error, error) << row.pattern;
    EXPECT_EQ(row.count, pool.count) << row.pattern;
  }
  // The texts that were added are gone.
  EXPECT_EQ(1, REGEX("ab", &pool).pooled);
  EXPECT_EQ(1, REGEX("cd", &pool).pooled);
  REGEX regex("Ab", &pool);
  EXPECT_EQ(0, regex.pooled);
  EXPECT_FALSE(regex.match(TBLOCK("ab")));
  regex.set(TBLOCK("AB"), &pool);
  EXPECT_EQ(1, regex.pooled);
  EXPECT_TRUE(regex.match(TBLOCK("xAB")));
  regex.set(TBLOCK("a)"), &pool);
  EXPECT_EQ(ZR_BADPAREN, regex.compileError);
  EXPECT_FALSE(regex.match(TBLOCK("a)")));
  EXPECT_EQ(0, regex.matchWithDetails(TBLOCK("a)")));
}

TEST(RegexTest, DetailsEndWithTheLastThatTookPart) {
  const struct {
    const char *pattern, *subject, *details;
  } rows[] = {{"x(a)?(b)", "-xb-", "1-3 -1--1 2-3 "},
              // No more than the subject has bytes.
              {"x(a)?(b)", "xb", "0-2 "},
              {"(a)|(b)(c)?", "ab", "0-1 0-1 "},
              {"(z)?(?:b)(c)", "bcd", "0-2 -1--1 1-2 "},
              {"(?:a)(?:b)(c)", "abcd", "0-3 2-3 "},
              {"a*", "", ""},
              {"(b*)c", "ac", "1-2 1-1 "},
              {"(a)\\1", "ab", ""}};
  for (const auto& row : rows) {
    REGEX regex(row.pattern, nullptr);
    const HeapText subject(row.subject);
    for (int round = 0; round < 2; round++) {
      const int32_t count = regex.matchWithDetails(subject.view());
      EXPECT_EQ(count, regex.detailCount);
      std::string details;
      int32_t start, end;
      for (int32_t i = 0; regex.getDetail(i, start, end); i++)
        details += std::to_string(start) + "-" + std::to_string(end) + " ";
      EXPECT_EQ(row.details, details) << row.pattern;
      for (int32_t i : {-1, count}) {
        EXPECT_FALSE(regex.getDetail(i, start, end));
        EXPECT_EQ(-2, start + end);
      }
    }
  }
  REGEX regex("x(a)?(b)", nullptr);
  const HeapText subject("-xb-");
  TBLOCK out("kept");
  STR text("old");
  EXPECT_FALSE(regex.match(subject.view(), out, 3));
  EXPECT_EQ("kept", Str(out));
  EXPECT_TRUE(regex.match(subject.view(), out, 2));
  EXPECT_EQ(subject.view().pointer + 2, out.pointer);
  EXPECT_EQ("b", Str(out));
  EXPECT_TRUE(regex.getDetail(1, text));
  EXPECT_STREQ("", text.c_str());
  EXPECT_TRUE(regex.getDetail(0, text));
  EXPECT_STREQ("xb", text.c_str());
  EXPECT_TRUE(regex.match(subject.view(), out, 1));
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(regex.match(subject.view()));
  EXPECT_FALSE(regex.getDetail(0, text));
}

TEST(RegexTest, RulesSplitAtTheFirstTilde) {
  REGEXPOOL pool;
  int error;
  for (const char* pattern : {"a", "b", "a\\~b"})
    pool.addCompiledRegex(TBLOCK(pattern), error);
  const struct {
    const char *subject, *pattern;
    bool matches;
  } rows[] = {{"", "^$", true},           {"a", "^$", false},
              {"\x01", ".", true},        {"", ".", false},
              {"\x01", "(.)", false},     {"a", "", false},
              {"", "~b", true},           {"b", "~b", false},
              {"ab", "a~b", false},       {"ac", "a~b", true},
              {"c", "a~b", false},        {"a~b", "a\\~b", true},
              {"a~b~a", "a\\~b~a", true}, {"a~b", "a\\~b~c", false},
              {"a", "~", true},           {"", "~", true},
              {"ab", "a~", true},         {"b", "a~", false},
              {"ac", "a~b~c", true},      {"a]", "a[~]", false},
              {"a~b", "\\~b", true},      {"a", "~(", true},
              {"a", "(~b", false},        {"ab~c", "a~b~c", false}};
  for (const auto& row : rows) {
    const HeapText subject(row.subject), pattern(row.pattern);
    for (REGEXPOOL* given : {&pool, static_cast<REGEXPOOL*>(nullptr)})
      EXPECT_EQ(row.matches,
                BlockMatchRegex(subject.view(), pattern.view(), given, nullptr))
          << row.subject << " " << row.pattern;
  }
  // A form compiled before stands in for the whole pattern only.
  REGEX other("z", nullptr);
  EXPECT_TRUE(BlockMatchRegex(TBLOCK("z"), TBLOCK("a"), nullptr, &other));
  EXPECT_TRUE(BlockMatchRegex(TBLOCK("a"), TBLOCK("a~b"), nullptr, &other));
  EXPECT_FALSE(BlockMatchRegex(TBLOCK("z"), TBLOCK(), nullptr, &other));
  const HeapText subject("cab");
  EXPECT_TRUE(BlockSortedMatchRegex(subject.view(), TBLOCK("^abc$"), &pool));
  EXPECT_TRUE(BlockSortedMatchRegex(TBLOCK(), TBLOCK("~b"), &pool));
  EXPECT_EQ("cab", subject.str());
}

TEST(RegexTest, ReplacesAndGeneralises) {
  const std::string nul("a\0b\0", 4);
  const struct {
    std::string pattern, subject, replacement, out;
  } rows[] = {{"b+", "abbcb", "X", "aXcX"},
              {"z", "abc", "X", "abc"},
              {"z*", "abc", "X", "abc"},
              {"b*", "bbcb", "X", "XcX"},
              {"^a", "aab", "-", "--b"},
              {"(", "a(", "X", "a("},
              {"", "abc", "X", "abc"},
              {"a", "aa", "a\\1a", "a\\1aa\\1a"},
              {"b", nul, "", std::string("a\0\0", 3)}};
  STR out("old");
  for (const auto& row : rows) {
    ReplaceRegex(HeapText(row.pattern).view(), HeapText(row.subject).view(),
                 STR(row.replacement.c_str()), out, nullptr);
    EXPECT_EQ(row.out, Str(out.view())) << row.pattern;
  }
  std::string many;
  for (int i = 0; i < 100000; i++) many += "ab";
  ReplaceRegex(TBLOCK("(a)"), HeapText(many).view(), STR("-"), out, nullptr);
  EXPECT_EQ(200000, out.len());
  EXPECT_STREQ("-b-b", out.c_str() + 199996);

  const struct {
    const char *sample, *pattern;
    int start, end;
  } samples[] = {
      {"abc", "[a-fA-F0-9]{1,5}", 0, 0},
      {"C0de", "^[a-fA-F0-9]{2,6}", 1, 0},
      {"xyz-ABCG", "[a-z]{1,5}\\-[A-Z]{2,6}$", 0, 1},
      {"a\xE9 g7_", "[a-fA-F0-9]{1,5}\\\xE9\\ [a-z0-9]{1,5}\\_", 0, 0},
      {"Xy0123456789", "[a-zA-Z0-9]{10,14}", 0, 0},
      {"", "^$", 1, 1}};
  for (const auto& row : samples) {
    RegexFromBlock(HeapText(row.sample).view(), out, row.start, row.end);
    EXPECT_STREQ(row.pattern, out.c_str());
  }
  // A sample is always of its own shape.
  Numbers numbers(7);
  for (int i = 0; i < 2000; i++) {
    std::string sample;
    for (uint32_t n = numbers.Below(12) + 1; n > 0; n--)
      sample += static_cast<char>(numbers.Below(3) ? '0' + numbers.Below(75)
                                                   : numbers.Below(256));
    const HeapText view(sample);
    RegexFromBlock(view.view(), out, 1, 1);
    EXPECT_TRUE(REGEX(out.view(), nullptr).match(view.view())) << out.c_str();
  }
}

}  // namespace
