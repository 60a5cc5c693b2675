// A message of which nothing is known but its links.

#ifndef TESTS_CHECKS_LINK_MESSAGE_UTIL_H_
#define TESTS_CHECKS_LINK_MESSAGE_UTIL_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

class LinkMessage {
 public:
  explicit LinkMessage(const std::string& sections = "")
      : m(std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0)) {
    EXPECT_TRUE(LoadSource(m->dico, sections));
    m->links = &links_;
  }
  // Views of copies that live as long as this.
  TBLOCK Keep(const std::string& text) {
    texts_.push_back(std::make_unique<HeapText>(text));
    return texts_.back()->view();
  }
  // URLs are divided by "|". REQUIRES: all links before texts of them.
  void AddLinks(const std::string& urls) {
    const TBLOCK kept = Keep(urls);
    for (TBLOCK rest = kept; !rest.empty();)
      links_.add(TBLOCK::BlockBeforeChar(rest, '|', 0, 0), TBLOCK());
    m->linkCount = links_.getUrlCountByProto(upNone | upHttp | upHttps);
  }
  std::string Cause() const { return Str(m->ledger.cause.view()); }

  const std::unique_ptr<TQMMSG> m;

 private:
  TLINKVECT links_;
  std::vector<std::unique_ptr<HeapText>> texts_;
};

#endif  // TESTS_CHECKS_LINK_MESSAGE_UTIL_H_
