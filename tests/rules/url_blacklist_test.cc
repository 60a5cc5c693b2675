// The lists of URLs, domains and senders, and the tree of strings.

#include "rules/url_blacklist.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "base/heap_text.h"
#include "rules/image_util.h"
#include "rules/qm_dico.h"

namespace {

const char kFile[] =
    "http://early\n# [url]\n[URL]\r\n http://a \r\n\r\nhttp://ab\n"
    "[Domain]\nA.net\n[blackdomain]\nb.net\n[whitedomain]\nc.net\n"
    "[from]\nx@a\n[BlackFrom]\n*@b\n[whitefrom]\ny@c\n[other]\nlost\n"
    "[url] \n#x\nhttp://c";

// Strings in order make chains, which balance takes apart without loss.
TEST(TernaryStringTreeTest, BalanceKeepsTheSet) {
  TernaryStringTree<bool, false> tree;
  std::map<std::string, bool> model;
  Numbers numbers(3);
  for (uint32_t i = 0; i < 65536; i += 1 + numbers.Below(9)) {
    const std::string text = {static_cast<char>(i >> 8), static_cast<char>(i)};
    model[text] = true;
    EXPECT_EQ(1, tree.insert(TBLOCK(text.data(), 2), true));
  }
  const std::string longest(4096, 'x');
  EXPECT_EQ(1, tree.insert(TBLOCK(longest.c_str()), true));
  EXPECT_EQ(256u, tree.depth());
  tree.balance();
  EXPECT_EQ(9u, tree.depth());
  EXPECT_EQ(model.size() + 1, tree.size());
  EXPECT_TRUE(tree.find(TBLOCK(longest.c_str())));
  for (uint32_t i = 0; i < 65536; i++) {
    const std::string text = {static_cast<char>(i >> 8), static_cast<char>(i)};
    EXPECT_EQ(model.count(text) > 0, tree.find(TBLOCK(text.data(), 2)));
  }
}

}  // namespace
