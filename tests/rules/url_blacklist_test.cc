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

TEST(UrlBlacklistTest, FilesAndSection) {
  TQMDICO dico(nullptr, nullptr);
  ASSERT_TRUE(dico.loadKeywordsFromBlock(
      BlockOf(MakeImage({{"brackenurls", stString, 0, {"http://u", ""}},
                         {"regex", stRegex, 0, {"http://v"}}}))));
  UrlBlacklist list(&dico);
  EXPECT_EQ(1u, list.lineCount);
  EXPECT_TRUE(list.brackenUrls.find(TBLOCK("http://u")));
  list.loadInternalBlackList(&dico, "regex");
  EXPECT_EQ(1u, list.lineCount);
  const std::unique_ptr<BLOCK> file(BlockOf(kFile));
  list.loadExternalBlackList(UrlBlacklist::ftTamarack, file.get());
  EXPECT_EQ(1u + 5, list.lineCount);
  EXPECT_EQ(3u, list.tamarackUrls.size());
  EXPECT_GE(list.tamarackDomains.findKey(TBLOCK("a.NET")), 0);
  EXPECT_EQ(2, list.tamarackDomains.count);
  list.loadExternalBlackList(UrlBlacklist::ftClient, file.get());
  EXPECT_EQ(1u + 5 + 9, list.lineCount);
  EXPECT_EQ(3u, list.clientUrls.size());
  EXPECT_EQ(2, list.clientBlackDomains.count);
  EXPECT_GE(list.clientWhiteDomains.findKey(TBLOCK("c.net")), 0);
  EXPECT_EQ("x@a|*@b|", Join(list.blackFrom));
  EXPECT_EQ("y@c|", Join(list.whiteFrom));
  const std::unique_ptr<BLOCK> header(BlockOf("[url]"));
  list.loadExternalBlackList(UrlBlacklist::ftClient, header.get());
  EXPECT_EQ(1u + 5 + 9, list.lineCount);
}

TEST(TernaryStringTreeTest, Prefixes) {
  TernaryStringTree<bool, false> tree;
  bool value = false;
  EXPECT_FALSE(tree.find(TBLOCK("a")));
  for (const char* text : {"ab", "abcd", "b", "ab"})
    EXPECT_EQ(1, tree.insert(TBLOCK(text), true));
  EXPECT_EQ(0, tree.insert(TBLOCK(), true));
  EXPECT_EQ(0, tree.insert(TBLOCK(std::string(4097, 'a').c_str()), true));
  EXPECT_EQ(3u, tree.size());
  const struct {
    const char* text;
    uint32_t longest;
  } rows[] = {{"", 0},      {"a", 0},    {"ab", 2}, {"abc", 2}, {"abcd", 4},
              {"abcde", 4}, {"abCd", 2}, {"bb", 1}, {"c", 0}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    EXPECT_EQ(row.longest, tree.longestPrefix(text.view(), value)) << row.text;
  }
  TernaryStringTree<int, true> folded;
  EXPECT_EQ(1, folded.insert(TBLOCK("Ab"), 7));
  EXPECT_EQ(7, folded.find(TBLOCK("aB")));
}

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
