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

}  // namespace
