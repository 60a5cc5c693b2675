// A message of which nothing is known but its links.

#ifndef TESTS_CHECKS_LINK_MESSAGE_UTIL_H_
#define TESTS_CHECKS_LINK_MESSAGE_UTIL_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

struct LinkMessage {
  const HeapText text;
  TLINKVECT links;
  TQMMSG m;

  // The URLs are divided by "|".
  explicit LinkMessage(const std::string& urls, const char* sections = "")
      : text(urls), m(nullptr, nullptr, nullptr, 0, 0) {
    EXPECT_TRUE(LoadSource(m.dico, sections));
    for (TBLOCK rest = text.view(); !rest.empty();)
      links.add(TBLOCK::BlockBeforeChar(rest, '|', 0, 0), TBLOCK());
    m.links = &links;
    m.linkCount = links.getUrlCountByProto(upNone | upHttp | upHttps);
  }
  std::string Cause() const { return Str(m.ledger.cause.view()); }
};

#endif  // TESTS_CHECKS_LINK_MESSAGE_UTIL_H_
