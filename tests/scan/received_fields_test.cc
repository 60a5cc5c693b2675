#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

class ReceivedFieldsTest : public ::testing::Test {
 protected:
  ReceivedFieldsTest() : m(nullptr, nullptr, nullptr, 0, 0) {}
  // Each line of the text is a "Received" field, the newest first.
  void load(const std::string& lines, const std::string& others = "") {
    std::string text;
    for (const char c : "\n" + lines)
      text += c == '\n' ? "\r\nReceived: " : std::string(1, c);
    text = text.substr(2) + "\r\n" + others + "\r\n\r\nbody";
    m.loadFromBlock(TBLOCK(text.data(), static_cast<uint32_t>(text.size())), "",
                    0);
    m.parseHeader();
  }
  static std::string by(const BLOCKRECEIVED* line) {
    return !line ? "-" : line->by.empty() ? "_" : Str(line->by);
  }
  // The hosts of the whole list, of first, second and last.
  std::string chain() {
    std::string out;
    OITER records(&m.received);
    while (const void* item = records.next())
      out += by(static_cast<const BLOCKRECEIVED*>(item)) + " ";
    return out + "| " + by(m.firstReceived) + " " + by(m.secondReceived) + " " +
           by(m.lastReceived);
  }
  std::string minutes() {
    std::string out;
    for (const BLOCKDATE* d :
         {&m.headerDate, &m.firstReceivedDate, &m.secondReceivedDate,
          &m.lastReceivedDate, &m.lastRecordDate, &m.messageDate, &m.relayDate})
      out += d->utc == 0 ? "- " : std::to_string(d->utc / 60 % 60) + " ";
    return out;
  }
  TQMMSG m;
};

TEST_F(ReceivedFieldsTest, OldestFirst) {
  const char* const rows[][2] = {
      {"by a", "a | a - a"},
      {"by b\nby a", "a b | a b a"},
      {"by c\nby b\nby a", "a b c | a b c"},
      {"by d\nby c\nby b\nby a", "a b c d | a b d"},
      {"(x); 1\nby b\n(y); 2\nby a\nfrom not found", "_ a _ b _ | a b a"},
      {"(x); 1", "_ | - - -"},
      {"x", "_ | _ - _"}};
  for (const auto& row : rows) {
    load(row[0]);
    EXPECT_EQ(row[1], chain()) << row[0];
  }
  load("", "Received:");
  EXPECT_EQ("_ _ | _ _ _", chain());
  m.loadFromBlock(TBLOCK("Subject: x\r\n\r\n"), "", 0);
  m.parseHeader();
  EXPECT_EQ("| - - -", chain());
}

TEST_F(ReceivedFieldsTest, TheMiddleOfALongChainIsLeftOut) {
  for (int n : {1000, 1001, 3000}) {
    std::string lines;
    for (int i = n; i-- > 0;)
      lines += "by " + std::to_string(i) + (i ? "\n" : "");
    load(lines);
    EXPECT_EQ(n, m.receivedFields.count());
    EXPECT_EQ(1000, m.received.len());
    EXPECT_EQ("0", by(m.firstReceived));
    EXPECT_EQ(std::to_string(n - 1), by(m.lastReceived));
    EXPECT_EQ("0 1 ", chain().substr(0, 4));
    const OLIST::OLISTCELL* cell = m.received.first;
    for (int i = 0; i < 500; i++) cell = cell->next;
    EXPECT_EQ(std::to_string(n - 500),
              by(static_cast<const BLOCKRECEIVED*>(cell->item)));
  }
}

TEST_F(ReceivedFieldsTest, TemplatesAndShapes) {
  load("from [192.0.2.1] by mx.example.org; 1 Jan 2007 10:00:00\n(a by)");
  const OLIST::OLISTCELL* oldest = m.received.first;
  EXPECT_STREQ("(by)",
               static_cast<const BLOCKRECEIVED*>(oldest->item)->adn.c_str());
  EXPECT_STREQ(
      "from [IP] by host;DATE",
      static_cast<const BLOCKRECEIVED*>(oldest->next->item)->adn.c_str());
  // Clauses of the oldest line that is no comment, in their fields' alphabets.
  load("by none\nfrom [192.0.2.1] by b12 with SMTP id 12345\n(x); 1");
  STR adn;
  m.getAdnFromBlock(kFieldAdnRcvdFrom, TBLOCK("[192.0.2.1]"), adn);
  EXPECT_STREQ(adn.c_str(), m.rcvdFromAdn.c_str());
  m.getAdnFromBlock(kFieldAdnRcvdBy, TBLOCK("b12"), adn);
  EXPECT_STREQ(adn.c_str(), m.rcvdByAdn.c_str());
  m.getAdnFromBlock(kFieldAdnRcvdWith, TBLOCK("SMTP"), adn);
  EXPECT_STREQ(adn.c_str(), m.rcvdWithAdn.c_str());
  m.getAdnFromBlock(kFieldAdnById, TBLOCK("12345"), adn);
  EXPECT_STREQ(adn.c_str(), m.byIdAdn.c_str());
  EXPECT_FALSE(adn.empty());
}

TEST_F(ReceivedFieldsTest, SourceIsTheOldestAddress) {
  load("from [192.0.2.3] by c\nfrom (192.0.2.2) by b\nfrom x by a");
  EXPECT_EQ("192.0.2.2", Str(m.sourceIpBlock));
  EXPECT_STREQ("C0000202", m.sourceIp.hex.c_str());
  load("from x by a");
  EXPECT_TRUE(m.sourceIpBlock.empty());
  EXPECT_TRUE(m.sourceIp.hex.empty());
  EXPECT_EQ(0, m.sourceIp.invalid);
}

TEST_F(ReceivedFieldsTest, DeliveredToIsTheNewestPlausibleOne) {
  const struct {
    const char* lines;
    const char* others;
    const char* address;
  } rows[] = {
      {"for <b@b.example>\nfor <a@a.example>", "", "b@b.example"},
      {"for nobody\nfor <a@a.example>", "Delivered-To: x", "a@a.example"},
      {"for a@b\nfor <\"a b\"@b.example>", "", "\"a b\"@b.example"},
      {"for <a@b.example> (x)", "Delivered-To: <x@y.example>", "<x@y.example>"},
      {"for <a b@b.example>\nfor a@b_c.example", "", ""}};
  for (const auto& row : rows) {
    load(row.lines, row.others);
    EXPECT_EQ(row.address, Str(m.deliveredTo)) << row.lines;
  }
}

// Field, first, second, last and newest line; message, relay.
TEST_F(ReceivedFieldsTest, Dates) {
  const std::string at = "; 1 Jan 2007 10:0";
  const std::string good = "by d" + at + "4:00\nby c" + at + "3:00\nby b" + at +
                           "2:00\nby a" + at + "1:00";
  load(good, "Date: 1 Jan 2007 10:05:00");
  EXPECT_EQ("5 1 2 4 4 5 4 ", minutes());
  load(good);
  EXPECT_EQ("- 1 2 4 4 1 4 ", minutes());
  load(good, "Date: nonsense");
  EXPECT_EQ(1, m.headerDate.error);
  EXPECT_EQ(-1, m.headerDate.utc);
  EXPECT_EQ("1 4 ", minutes().substr(minutes().size() - 4));
  // The newest line may be a comment, and may have no date.
  load("(x)" + at + "9:00\nby b" + at + "2:00\nby a", "");
  EXPECT_EQ("- - 2 - 9 2 - ", minutes());
  load("by b\nby a" + at + "1:00");
  EXPECT_EQ("- 1 - 1 - 1 1 ", minutes());
  load("by b" + at + "2:00\nby a; nonsense", "Date: 1 Jan 2007 10:05:00");
  EXPECT_EQ(1, m.firstReceivedDate.error);
  EXPECT_EQ("2 5 5 ", minutes().substr(minutes().size() - 6));
}

}  // namespace
