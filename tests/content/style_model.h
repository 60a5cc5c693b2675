// Slow, obvious models of styles: the oracles of html_style_test.cc and of
// html_style_fuzz.cc.

#ifndef TESTS_CONTENT_STYLE_MODEL_H_
#define TESTS_CONTENT_STYLE_MODEL_H_

#include <vector>

#include "content/html_parse.h"

const int32_t kNone = kStyleUnset;
const int32_t kNothingSet = -7;

// The three walks that folding stands for.
inline void WalkRules(const TSTYLEITEM* rules, size_t count, THTMLTAG tag,
                      TBLOCK className, TBLOCK idName, int32_t* values) {
  for (int walk = 0; walk < 3; walk++) {
    const TBLOCK wanted = walk == 1 ? className : idName;
    if (walk > 0 && wanted.empty()) continue;
    for (size_t n = 0; n < count; n++) {
      const TSTYLEITEM& rule = rules[n];
      const TBLOCK name = walk == 1 ? rule.className : rule.idName;
      if (walk == 0 ? rule.className.length + rule.idName.length > 0 ||
                          rule.tag != tag
                    : !name.equals(wanted, TBLOCK::AsciiLowerTable) ||
                          (rule.tag != htUnknown && rule.tag != tag))
        continue;
      const int32_t set[] = {rule.color, rule.background, rule.fontSize};
      for (int i = 0; i < 3; i++)
        if (set[i] != kNone) values[i] = rule.flags ? kStyleUnknown : set[i];
    }
  }
}

// The stack of open tags, by walks over all records.
struct PlainStack {
  std::vector<TTAGSTYLE> records;

  static bool sets(const TTAGSTYLE& style, uint32_t list) {
    const int32_t values[] = {0, style.color, style.background, style.fontSize};
    return values[list] != kNone;
  }
  uint32_t pop(THTMLTAG tag) {
    size_t at = records.size();
    for (; at > 0 && records[at - 1].tag != tag; at--) {
      const THTMLTAG other = records[at - 1].tag;
      if ((tag == htTD && (other == htTR || other == htTABLE)) ||
          (tag == htTR && other == htTABLE))
        return 0;
    }
    if (at == 0) return 0;
    const bool all = tag == htTD || tag == htTR || tag == htTABLE;
    const auto begin = records.begin() + static_cast<ptrdiff_t>(at - 1);
    const auto end = all ? records.end() : begin + 1;
    uint32_t lost = 0;
    for (auto i = begin; i != end; i++)
      for (uint32_t list = 0; list < TTAGSTACK::tsListCount; list++)
        if (sets(*i, list)) lost |= 1u << list;
    records.erase(begin, end);
    return lost;
  }
  int32_t newest(uint32_t list) const {
    for (size_t i = records.size(); list > 0 && i-- > 0;)
      if (sets(records[i], list))
        return list == 1   ? records[i].color
               : list == 2 ? records[i].background
                           : records[i].fontSize;
    return kNone;
  }
};

#endif  // TESTS_CONTENT_STYLE_MODEL_H_
