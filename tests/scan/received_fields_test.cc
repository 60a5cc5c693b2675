#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "base/text_rows.h"
#include "scan/tqmmsg.h"

namespace {

class ReceivedFieldsTest : public ::testing::Test {
 protected:
  ReceivedFieldsTest() : m(nullptr, nullptr, nullptr, 0, 0) {}
  // Each text between "/" is a "Received" field, the newest first.
  void load(const std::string& lines, const std::string& others = "") {
    std::string text;
    for (const char c : "/" + lines)
      text += c == '/' ? "\r\nReceived: " : std::string(1, c);
    text = text.substr(2) + "\r\n" + others + "\r\n\r\nbody";
    m.loadFromBlock(HeapText(text).view(), "", 0);
    m.parseHeader();
  }
  static std::string by(const BLOCKRECEIVED* line) {
    return !line ? "-" : line->by.empty() ? "_" : Str(line->by);
  }
  // The hosts of the whole list; of first, second and last.
  std::string chain() {
    std::string out;
    OITER records(&m.received);
    while (const void* item = records.next())
      out += by(static_cast<const BLOCKRECEIVED*>(item)) + " ";
    return out + "| " + by(m.firstReceived) + " " + by(m.secondReceived) + " " +
           by(m.lastReceived);
  }
  TQMMSG m;
};

TEST_F(ReceivedFieldsTest, OldestFirst) {
  for (const TextRow& row : TextRows(R"(
by a => a | a - a
by b/by a => a b | a b a
by d/by c/by b/by a => a b c d | a b d
(x); 1/by b/(y); 2/by a/from not found => _ a _ b _ | a b a
(x); 1 => _ | - - -
x/ => _ _ | _ _ _
)")) {
    load(row.input);
    EXPECT_EQ(row.expected, chain()) << row.input;
  }
}

TEST_F(ReceivedFieldsTest, TheMiddleOfALongChainIsLeftOut) {
  for (int n : {1000, 1001, 3000}) {
    std::string lines, expected;
    for (int i = 0; i < n; i++) {
      const std::string name = std::to_string(i);
      lines = "by " + name + (i ? "/" : "") + lines;
      if (i < 500 || i >= n - 500) expected += name + " ";
    }
    load(lines);
    EXPECT_EQ(n, m.receivedFields.count());
    EXPECT_EQ(expected + "| 0 1 " + std::to_string(n - 1), chain());
  }
}

TEST_F(ReceivedFieldsTest, WhatTheChainTells) {
  load(
      "from [192.0.2.3] by c; 1 Jan 2007 10:00:00/(x by); 1/"
      "from (192.0.2.2) by b12 with SMTP id 12345 for <b@b.example>/"
      "from x by a with d for <\"a b\"@a.example>");
  EXPECT_STREQ("from [IP] by;DATE", m.lastReceived->adn.c_str());
  EXPECT_EQ("192.0.2.2", Str(m.sourceIpBlock));
  EXPECT_STREQ("C0000202", m.sourceIp.hex.c_str());
  EXPECT_EQ("b@b.example", Str(m.deliveredTo));
  STR adn;
  m.getAdnFromBlock(kFieldAdnRcvdWith, TBLOCK("d"), adn);
  EXPECT_STREQ(adn.c_str(), m.rcvdWithAdn.c_str());
  m.getAdnFromBlock(kFieldAdnRcvdFrom, TBLOCK("x"), adn);
  EXPECT_STREQ(adn.c_str(), m.rcvdFromAdn.c_str());
  load("for a@b/for <a b@b.example>/for <a@b.example> (x)",
       "Delivered-To: <x@y.example>");
  EXPECT_EQ("<x@y.example>", Str(m.deliveredTo));
  EXPECT_TRUE(m.sourceIpBlock.empty() && m.sourceIp.hex.empty());
}

// "#n" is a date with that minute. Field, first, second, last and newest line;
// message, relay.
TEST_F(ReceivedFieldsTest, Dates) {
  for (const TextRow& row : TextRows(R"(
by d#4/by c#3/by b#2/by a#1!#5 => 5 1 2 4 4 5 4
by d#4/by c#3/by b#2/by a#1! => - 1 2 4 4 1 4
by b#2/by a#1!x => e 1 2 1 2 1 1
by d#4/by c#3/by b#2/by a; x! => - e 2 4 4 2 4
by b/by a; x!#5 => 5 e - e - 5 5
by b/by a#1! => - 1 - 1 - 1 1
(x)#9/by b#2/by a! => - - 2 - 9 2 -
)")) {
    std::string lines, field;
    for (const char c : row.input.substr(0, row.input.find('!')))
      lines += c == '#' ? "; 1 Jan 2007 10:0" : std::string(1, c);
    const std::string date = row.input.substr(row.input.find('!') + 1);
    if (!date.empty()) field = "Date: 1 Jan 2007 10:0" + date.substr(1);
    if (date == "x") field = "Date: x";
    load(lines, field);
    std::string seen;
    for (const BLOCKDATE* d :
         {&m.headerDate, &m.firstReceivedDate, &m.secondReceivedDate,
          &m.lastReceivedDate, &m.lastRecordDate, &m.messageDate, &m.relayDate})
      seen += d->error      ? "e "
              : d->utc == 0 ? "- "
                            : std::to_string(d->utc / 60 % 60) + " ";
    EXPECT_EQ(row.expected + " ", seen) << row.input;
  }
}

}  // namespace
