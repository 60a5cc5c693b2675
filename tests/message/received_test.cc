#include "message/received.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "regex/regex_pool.h"

namespace {

std::string Repeat(const std::string& text, int n) {
  std::string out;
  for (int i = 0; i < n; i++) out += text;
  return out;
}

// The clauses that are there, each as "name=value|"; "lead|" for other text at
// the front, "comment|" for what is no relay line.
std::string Clauses(const std::string& value) {
  const HeapText text(value);
  const BLOCKRECEIVED line(text.view(), nullptr, nullptr);
  const struct {
    const char* name;
    TBLOCK value;
  } rows[] = {{"from", line.from}, {"by", line.by},    {"via", line.via},
              {"with", line.with}, {"id", line.id},    {"for", line.forAddress},
              {"date", line.date}, {"ip", line.fromIp}};
  std::string out;
  for (const auto& row : rows)
    if (!row.value.empty())
      out += std::string(row.name) + "=" + Str(row.value) + "|";
  if (line.hasLeadingText) out += "lead|";
  if (line.isSmtpComment()) out += "comment|";
  return out;
}

TEST(ReceivedTest, Clauses) {
  const char* const rows[][2] = {
      {"", ""},
      {" \t ", ""},
      {"from a by b ; x", "from=a|by=b|date=x|"},
      {"FROM a\tBy b VIA c with d iD e For f; x",
       "from=a|by=b|via=c|with=d|id=e|for=f|date=x|"},
      // The first clause of a kind stays.
      {"from a from b by c through d via e", "from=a|by=c|via=d|"},
      {"via e through d", "via=e|"},
      {"from by a", "by=a|"},
      // Blanks, comments and punctuation stay between the atoms of a value.
      {"from a ,  b\t(c) . d by e", "from=a ,  b\t(c) . d|by=e|"},
      // A keyword is one wherever an atom ends ahead of it.
      {"from a.by.b.net", "from=a.|by=.b.net|"},
      {"from a<id>b", "from=a<|id=>b|"},
      {"from a@for.b", "from=a@|for=.b|"},
      {"from a[with]", "from=a[with]|"},
      {"from abc(by d) e", "from=abc(by d) e|"},
      {"from a (by b) c", "from=a (by b) c|"},
      {"from \"by b\" c", "from=\"by b\" c|"},
      {"from a\nby b", "from=a\nby b|"},
      // What hides the end of a comment or a quote, and what never ends.
      {"from (a\\) by b) by c", "from=(a\\) by b)|by=c|"},
      {"from (a\\\\) by b) by c", "from=(a\\\\) by b)|by=c|"},
      {"from ((a) by b) by c", "from=((a) by b)|by=c|"},
      {"from (a by b", "from=(a by b|"},
      {"from \"a\\\" by b\" by c", "from=\"a\\\" by b\"|by=c|"},
      {"from \"a by b", "from=\"a by b|"},
      {"from (", "from=(|"},
      {"\"", "lead|"},
      // Only the last semicolon is one.
      {"from a; b; c", "from=a; b|date=c|"},
      {"from a; (b; c)", "from=a; (b; c)|"},
      {"from a (b; c); d", "from=a (b; c)|date=d|"},
      {"from a;", "from=a|"},
      {";", ""},
      // Without one the date is what looks so, with the byte ahead of it.
      {"from a by b Mon, 12 Jan 2007", "from=a|by=b|date= Mon, 12 Jan 2007|"},
      {"Mon, 12 Jan 2007 by b", "date=Mon, 12 Jan 2007 by b|"},
      {"from a Mon, 2 Jan 2007", "from=a Mon, 2 Jan 2007|"},
      {"from a, 31 Dec 1999", "from=a,|date= 31 Dec 1999|"},
      {"from a; b Mon, 12 Jan", "from=a|date=b Mon, 12 Jan|"},
      // Addresses lose brackets, one pair each time.
      {"for <a@b>", "for=a@b|"},
      {"for < a@b > (c)", "for=< a@b > (c)|"},
      {"for < a@b >", "for=a@b|"},
      {"for <<a@b>> for c", "for=a@b|"},
      {"for <", "for=<|"},
      {"for <>", ""},
      // Text ahead of all clauses.
      {"a by b", "by=b|lead|"},
      {"(a) by b", "by=b|"},
      {"(a) c by b", "by=b|"},
      {"; b", "date=b|"}};
  for (const auto& row : rows) EXPECT_EQ(row[1], Clauses(row[0])) << row[0];
}

TEST(ReceivedTest, BytesOfZeroAreOrdinary) {
  const std::string zero(1, '\0');
  EXPECT_EQ("from=a" + zero + "|by=" + zero + "|",
            Clauses("from a" + zero + " by " + zero));
}

TEST(ReceivedTest, SourceAddress) {
  const struct {
    const char* from;
    const char* ip;
  } rows[] = {{"192.0.2.1", "192.0.2.1"},
              {"a (b [192.0.2.1]) (192.0.2.2)", "192.0.2.1"},
              {"([([192.0.2.1])])", "192.0.2.1"},
              {"999.1.1.1", "999.1.1.1"},
              {"::...", "::..."},
              {"...", "..."},
              {"1.2.3 1.2.3.4.5 1.2.3.4:5", "1.2.3.4:5"},
              {"[1.2.3.4]:25 a(1.2.3.4 1.2.3.4, x", ""},
              {"a(1.2.3.4) [1.2.3.4", "1.2.3.4"},
              {"[] () ((", ""}};
  for (const auto& row : rows) {
    const HeapText text("by x from " + std::string(row.from));
    const BLOCKRECEIVED line(text.view(), nullptr, nullptr);
    EXPECT_EQ(row.ip, Str(line.fromIp)) << row.from;
  }
}

TEST(ReceivedTest, SmtpComments) {
  const char* const rows[][2] = {
      {"(mailer 1 invoked by uid 99); 2 Jan 2007", "date=2 Jan 2007|comment|"},
      {"mailer 1 invoked by uid 99; 2 Jan 2007",
       "by=uid 99|date=2 Jan 2007|lead|"},
      {"(a) via b; c", "via=b|date=c|comment|"},
      {"(a) id b; c", "id=b|date=c|"},
      {"(a) b", ""},
      {"From NOT found", "from=NOT found|comment|"},
      {"from not found;", "from=not found|"}};
  for (const auto& row : rows) EXPECT_EQ(row[1], Clauses(row[0])) << row[0];
}

TEST(ReceivedTest, ParseAgainForgetsAll) {
  const HeapText text("a from [192.0.2.1] by b via c with d id e for <f>; g");
  BLOCKRECEIVED line(text.view(), nullptr, nullptr);
  line.adn = "template";
  line.parse(TBLOCK("by x"));
  EXPECT_EQ("by x", Str(line.text));
  EXPECT_EQ("x", Str(line.by));
  for (TBLOCK view : {line.from, line.via, line.with, line.id, line.forAddress,
                      line.date, line.fromIp})
    EXPECT_TRUE(view.empty());
  EXPECT_EQ(0, line.hasLeadingText);
  EXPECT_TRUE(line.adn.empty());
}

class TemplateTest : public ::testing::Test {
 protected:
  TemplateTest() : ware(nullptr) {}
  std::string of(const std::string& value, int oneWord = 0) {
    const HeapText text(value);
    STR adn("before");
    const char* const chars = ware.getReceivedAdn(text.view(), adn, oneWord);
    EXPECT_EQ(adn.c_str(), chars);
    return chars;
  }
  RECEIVEDWARE ware;
};

TEST_F(TemplateTest, Lines) {
  const char* const rows[][2] = {
      {"", ""},
      {"from [192.0.2.1] by mx.a.org; Mon, 1 Jan 2007 10:00:00 +0100",
       "from [IP] by host;DATE"},
      {"from [192.168.0.2] by a.org; Mon, 1 Jan 2007 10:00:00 +0100",
       "from [LIP] by dom;DATE"},
      {"from (192.0.2.1) by a.org WITH Smtp for <a@b.org>; 1 Jan 2007 10:00:00",
       "from (IP) by dom with smtp for <@>;DATE"},
      {"from [192.0.2.1] (port=25 helo=x.a.org) by m.b.org with esmtp id "
       "1Hy-7-0 for a@b.org; Mon, 1 Jan 2007 10:00:00 +0000 (GMT)",
       "from [IP] (port=NUM helo=host) by host with esmtp id for @;DATE"},
      {"from x.a.org (HELO [192.0.2.1]) by b.org () with ESMTPA id 5x for "
       "<a@b.org>;Mon,  1 Jan 2007 10:00:00 -0500",
       "from host (helo [IP]) by dom () with id for <@>;DATE"},
      {"(qmail 12 invoked by uid 99); 2 Jan 2007 10:00:00 -0000",
       "(qmail NUM by NUM);DATE"},
      {"through a.org ; ;= = a", "th dom;;=="},
      {"from abc by b.org", "from by dom"}};
  for (const auto& row : rows) EXPECT_EQ(row[1], of(row[0])) << row[0];
}

TEST_F(TemplateTest, Words) {
  const char* const rows[][2] = {{"BY", "by"},
                                 {"192.0.2.1", "IP"},
                                 {"10.0.0.1", "IP"},
                                 {"127.0.0.1", "LIP"},
                                 {"127.0.0.2", "IP"},
                                 {"192.168.", ""},
                                 {"192.168..", "LIP"},
                                 {"192.1680.1.1", "LIP"},
                                 {"1.2.3.4.5", ""},
                                 {"IPv6:2001:db8::1", "IP"},
                                 {"ipv6:a:b", ""},
                                 {"ipv6:a:b:c", "IP"},
                                 {"ipv6:a:b:c.", ""},
                                 {"2001:db8::1", ""},
                                 {"a@b.org", "@"},
                                 {"@.", "@"},
                                 {"a@b", ""},
                                 {"a@b_c.org", "dom"},
                                 {"\\a@b.org", "dom"},
                                 {"o'a@b.org", "dom"},
                                 {"HTTP://a.org/~b", "UR"},
                                 {"http://a.org/\x80", "dom"},
                                 {"https://a.org/", "dom"},
                                 {"a_b.org", "dom"},
                                 {"<a.b.org>,", "host"},
                                 {"a.b", ""},
                                 {"a.b.c", ""},
                                 {"a.1b.cd", "host"},
                                 {".org", ""},
                                 {"www.", ""},
                                 {"www.de", "dom"},
                                 {"LocalHost.LocalDomain", "lh.ld"},
                                 {"localhost.a.org", "lh.dom"},
                                 {"localhost.localdomain.", "lh.dom"},
                                 {"localhost", "localhost"},
                                 {"0123", "NUM"},
                                 {"12a", ""},
                                 {"Envelope-From", "envelope-from"},
                                 {"HOSTFIX", "hostfix"},
                                 {"esmtps", ""},
                                 {"by\tx", ""},
                                 {"a.org)", "dom"},
                                 {"by)", ""}};
  for (const auto& row : rows) EXPECT_EQ(row[1], of(row[0], 1)) << row[0];
  // Ends of a word; a tab is none.
  EXPECT_EQ("NUM=NUM;NUM [NUM] NUM (NUM) NUM", of("1=2;3[4]5(6) 7"));
  EXPECT_EQ("NUM", of("1 by\t2\r\nby"));
  EXPECT_EQ("", of(") > ] by) by>"));
}

TEST_F(TemplateTest, DatesBehindSemicolons) {
  const char* const rows[][2] = {
      {"1 Jan 2007 10:00:00 +0100 (CET) x.org", ";DATE dom"},
      {"1 Jan 2007 10:00:00 +0100 (XYZ)", ";DATE ()"},
      {"1 Jan 2007 10:00:00+0100", ";DATE"},
      {"1 Jan 07 10:00:00", ";NUM NUM"},
      {"mon, 1 Jan 2007 10:00:00", ";NUM NUM"},
      {"\t Mon, 01 Jan 2007 10:00:00 by", ";DATE by"}};
  for (const auto& row : rows)
    EXPECT_EQ(row[1], of(";" + std::string(row[0]))) << row[0];
}

TEST_F(TemplateTest, Brackets) {
  const char* const rows[][2] = {
      {"(Microsoft SMTPSVC(5.0.2195.6713))", "($exc)"},
      {"(Microsoft Mailer)", "(microsoft)"},
      {"(Lotus Domino Release 6.5.4FP1)", "()"},
      {"(Lotus Domino Release 6.5.4f)", "($lot)"},
      {"(Netscape Messaging Server 4.15)", "($nst)"},
      {"(Netscape Messaging Server 4.15 )", "(server)"},
      {"(8.12.3/8.12.3/Debian)", "($sm)"},
      {"(x 8.12.3/8.12.3)", "($sm)"},
      // One of these needs brackets in brackets.
      {"(Sun Java System Messaging Server 6.1 (built x))", "(server ())"},
      {"(Sun Java System Messaging Server 6.1 ((built x)))", "($sun)"},
      {"x(8.12.3/8.12.3)", "($sm)"},
      {"[8.12.3/8.12.3]", "[]"},
      {"(a) (b)(c)", "() () ()"},
      {"(by (by [by <by \"by\"by>]))by", "(by (by [by <by \"by\"by>])) by"},
      {"\"by\" by", "\"by\"by"},
      {"(by\\) by) by", "(by) by"},
      {"<by\\> by> by", "<by> by"},
      {"[by [by] by] by", "[by [by]] by"},
      {"[by", "[by]"},
      {"(by", "(by)"},
      {"\"by", "\"by\""},
      {"(", "()"},
      {"\\(by)", "(by)"}};
  for (const auto& row : rows) EXPECT_EQ(row[1], of(row[0])) << row[0];
}

TEST_F(TemplateTest, Limits) {
  // Brackets in brackets.
  for (int depth : {32, 33, 5000}) {
    const int kept = depth > 33 ? 33 : depth;
    EXPECT_EQ(Repeat("(", kept) + (depth > 32 ? "" : "by") + Repeat(")", kept),
              of(Repeat("(", depth) + "by" + Repeat(")", depth)));
  }
  for (int depth : {31, 32})
    EXPECT_EQ(
        Repeat("[", depth) + (depth < 32 ? "($sm)" : "()") + Repeat("]", depth),
        of(Repeat("[", depth) + "(1.2.3/1.2.3)" + Repeat("]", depth)));
  EXPECT_EQ("dom", of(std::string(100000, 'a') + ".org"));
  EXPECT_EQ(";DATE", of(";" + std::string(500, ' ') + "1 Jan 2007 10:00:00"));
  // Comments.
  const std::string sendmail("1.2.3/1.2.3 ");
  EXPECT_EQ("($sm)", of("(" + sendmail + std::string(8180, 'x') + ")"));
  EXPECT_EQ("()", of("(" + sendmail + std::string(8181, 'x') + ")"));
}

// Two kinds are told without the patterns that define them.
TEST_F(TemplateTest, HostsAreWhatThePatternFinds) {
  const REGEX host(REGEXPOOL::_RECEIVEDWARE_EXPRADDR, nullptr);
  std::string word;
  for (uint32_t length = 1; length < 7; length++)
    for (uint32_t i = 0; NthText(i, length, "aZ.0-_", word); i++) {
      const std::string adn = of(word, 1);
      ASSERT_EQ(host.matches(HeapText(word).view()),
                adn == "dom" || adn == "host")
          << word;
    }
}

TEST_F(TemplateTest, OneServersCommentIsWhatThePatternFinds) {
  const REGEX sun(REGEXPOOL::_RECEIVEDWARE_SUN_JAVA, nullptr);
  const std::string pieces[] = {
      "Sun Java System Messaging Server", "((built", ")", "\t", "\r", "\x0C"};
  std::string numbers;
  int found = 0;
  for (uint32_t length = 1; length < 7; length++)
    for (uint32_t i = 0; NthText(i, length, "012345", numbers); i++) {
      std::string text;
      int open = 0;
      for (size_t k = 0; k < numbers.size() && open >= 0; k++) {
        text += pieces[numbers[k] - '0'];
        open += numbers[k] == '1' ? 2 : numbers[k] == '2' ? -1 : 0;
      }
      // All of it is one comment that does not end.
      if (open < 0) continue;
      const bool isSun = of("(" + text) == "($sun)";
      ASSERT_EQ(sun.matches(HeapText(text).view()), isSun) << text;
      found += isSun;
    }
  EXPECT_LT(100, found);
}

TEST(AddToReceivedAdnTest, BlankWhereOneIsDue) {
  STR adn;
  for (const char* word : {"a", "b", "", "=", "c", ";", "(", "d", ")", "[", "e",
                           "<", "\"", "f", ">", "g"})
    _AddToReceivedAdn(adn, word);
  _AddToReceivedAdn(adn, nullptr);
  EXPECT_STREQ("a b =c ;(d ) [e <\"f > g", adn.c_str());
}

}  // namespace
