#include "message/received.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "base/text_rows.h"
#include "regex/regex_pool.h"

namespace {

// The clauses that are there, each as "name=value|"; "lead|" for other text at
// the front, "comment|" for what is no relay line.
std::string Clauses(const std::string& value) {
  const HeapText text(value);
  const BLOCKRECEIVED line(text.view(), nullptr, nullptr);
  const char* const names[] = {"from", "by",  "via",  "with",
                               "id",   "for", "date", "ip"};
  const TBLOCK values[] = {line.from, line.by,         line.via,  line.with,
                           line.id,   line.forAddress, line.date, line.fromIp};
  std::string out;
  for (int i = 0; i < 8; i++)
    if (!values[i].empty())
      out += std::string(names[i]) + "=" + Str(values[i]) + "|";
  if (line.hasLeadingText) out += "lead|";
  return line.isSmtpComment() ? out + "comment|" : out;
}

// In groups: keywords, brackets, semicolons and dates, addresses in brackets,
// what leads, comments, the source.
TEST(ReceivedTest, Clauses) {
  for (const TextRow& row : TextRows(R"(
FROM a By b VIA c with d iD e For f ; x => from=a|by=b|via=c|with=d|id=e|for=f|date=x|
from a from b by c through d via e => from=a|by=c|via=d|
from by a => by=a|
from a ,  b (c) . d by e => from=a ,  b (c) . d|by=e|
from a.by.b.net => from=a.|by=.b.net|
from a<id>b@for.c => from=a<|id=>b@|for=.c|
from abc(by d) e[with] => from=abc(by d) e[with]|
from (by b) "by c" d => from=(by b) "by c" d|
from (a\) by b) by c => from=(a\) by b)|by=c|
from (a\\) by b) by c => from=(a\\) by b)|by=c|
from ((a) by b) by c => from=((a) by b)|by=c|
from (a by b => from=(a by b|
from "a\" by b" by c => from="a\" by b"|by=c|
from "a by b => from="a by b|
from ( => from=(|
" => lead|
from a; b; c => from=a; b|date=c|
from a; (b; c) => from=a; (b; c)|
from a (b; c); d => from=a (b; c)|date=d|
from a; => from=a|
from a by b Mon, 12 Jan 2007 => from=a|by=b|date= Mon, 12 Jan 2007|
Mon, 12 Jan 2007 by b => date=Mon, 12 Jan 2007 by b|
from a Mon, 2 Jan 2007 => from=a Mon, 2 Jan 2007|
from a, 31 Dec 1999 => from=a,|date= 31 Dec 1999|
from a; b Mon, 12 Jan => from=a|date=b Mon, 12 Jan|
for < a@b > => for=a@b|
for <a@b> (c) => for=<a@b> (c)|
for <<a@b>> for c => for=a@b|
for < => for=<|
for <> =>
a by b => by=b|lead|
(a) c by b => by=b|
(a 1 invoked by b 9); 2 Jan => date=2 Jan|comment|
a 1 invoked by b 9; 2 Jan => by=b 9|date=2 Jan|lead|
(a) via b; c => via=b|date=c|comment|
(a) id b; c => id=b|date=c|
From NOT found => from=NOT found|comment|
from not found; => from=not found|
from a (b [1.2.3.4]) 1.2.3.5 => from=a (b [1.2.3.4]) 1.2.3.5|ip=1.2.3.4|
from ([([999.1.1.1])]) => from=([([999.1.1.1])])|ip=999.1.1.1|
from [1.2.3.4]:25 1.2.3 1.2.3.4.5 a(1.2.3.4 => from=[1.2.3.4]:25 1.2.3 1.2.3.4.5 a(1.2.3.4|
)"))
    EXPECT_EQ(row.expected, Clauses(row.input)) << row.input;
  EXPECT_EQ("", Clauses(" \t "));
  EXPECT_EQ("from=a\nby b|", Clauses("from a\nby b"));
  const std::string zero(1, '\0');
  EXPECT_EQ("from=a" + zero + "|by=" + zero + "|",
            Clauses("from\ta" + zero + " by " + zero));
}

class TemplateTest : public ::testing::Test {
 protected:
  TemplateTest() : ware(nullptr) {}
  std::string of(const std::string& value, int oneWord = 0) {
    const HeapText text(value);
    STR adn("before");
    return ware.getReceivedAdn(text.view(), adn, oneWord);
  }
  RECEIVEDWARE ware;
};

// In groups: lines, words, brackets, known comments, dates.
TEST_F(TemplateTest, Rows) {
  for (const TextRow& row : TextRows(R"(
from [192.0.2.1] by mx.a.org; Mon, 1 Jan 2007 10:00:00 +0100 => from [IP] by host;DATE
from (192.0.2.1) by a.org WITH Smtp for <a@b.org>;  1 Jan 2007 10:00:00 => from (IP) by dom with smtp for <@>;DATE
from [1.2.3.4] (port=25 helo=x.a.org) by x.y.org id 1Hy-7-0 for a@b.org => from [IP] (port=NUM helo=host) by host id for @
(qmail 12 invoked by uid 99); 2 Jan 2007 10:00:00 -0000 => (qmail NUM by NUM);DATE
through a.org ; ;= = a => th dom;;==
1=2;3[4]5(6) 7 => NUM=NUM;NUM [NUM] NUM (NUM) NUM
127.0.0.1 127.0.0.2 10.0.0.1 192.168. 192.168.. 1.2.3.4.5 => LIP IP IP LIP
IPv6:2001:db8::1 ipv6:a:b ipv6:a:b:c. 2001:db8::1 => IP
a@b.org @. a@b a@b_c.org \a@b.org o'a@b.org => @ @ dom dom dom
HTTP://a.org/~b http://a.org/^ https://a.org/ => UR dom dom
a.b a.b.c a.1b.cd .org www. www.de <a.b.org>, a.org) => host dom <host> dom
LocalHost.LocalDomain localhost.a.org localhost. LOCALHOST => lh.ld lh.dom localhost
0123 12a Envelope-From HOSTFIX esmtps => NUM envelope-from hostfix
) > ] by) by> =>
(a) (b)(c) => () () ()
(by (by [by <by "by"by>]))by => (by (by [by <by "by"by>])) by
(by\) by) "by\" by" by => (by) "by"by
[by [by] by] by => [by [by]] by
(by <by "by => (by <by "by">)
(Microsoft SMTPSVC(5.0.2195.6713)) (Microsoft Mailer) => ($exc) (microsoft)
(Lotus Domino Release 6.5.4f) (Lotus Domino Release 6.5.4FP1) => ($lot) ()
(Netscape Messaging Server 4.15) (Netscape Messaging Server 4.15 ) => ($nst) (server)
(Sun Java System Messaging Server 6 ((built x))) (Sun Java System Messaging Server 6 (built x)) => ($sun) (server NUM ())
(((built x)) Sun Java System Messaging Server ((x))) => ((()) server (()))
(8.12.3/8.12.3/Debian) x(a 8.12.3/8.12.3) [8.12.3/8.12.3] => ($sm) ($sm) []
;1 Jan 2007 10:00:00 +0100 (CET) x.org => ;DATE dom
;1 Jan 2007 10:00:00 +0100 (XYZ) => ;DATE ()
;1 Jan 07 10:00:00 => ;NUM NUM
;mon, 1 Jan 2007 10:00:00 => ;NUM NUM
)"))
    EXPECT_EQ(row.expected, of(row.input)) << row.input;
  EXPECT_EQ("NUM", of("1 by\t2\r\nby"));
  EXPECT_EQ("", of("by 1", 1));
  EXPECT_EQ("((()))", of("(Sun Java System Messaging Server\t((built x)))"));
}

TEST_F(TemplateTest, Limits) {
  const auto nested = [](size_t depth, const std::string& text, char open,
                         char close) {
    return std::string(depth, open) + text + std::string(depth, close);
  };
  for (size_t depth : {32, 33, 5000})
    EXPECT_EQ(nested(depth < 33 ? depth : 33, depth < 33 ? "by" : "", '(', ')'),
              of(nested(depth, "by", '(', ')')));
  for (size_t depth : {31, 32})
    EXPECT_EQ(nested(depth, depth < 32 ? "($sm)" : "()", '[', ']'),
              of(nested(depth, "(1.2.3/1.2.3)", '[', ']')));
  EXPECT_EQ(";DATE", of(";" + std::string(500, ' ') + "1 Jan 2007 10:00:00"));
  for (size_t rest : {8180, 8181})
    EXPECT_EQ(rest == 8180 ? "($sm)" : "()",
              of("(1.2.3/1.2.3 " + std::string(rest, 'x') + ")"));
}

// They are told without the pattern that defines them.
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

}  // namespace
