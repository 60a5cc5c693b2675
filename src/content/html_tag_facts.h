// What the pass over a body remembers of each distinct tag, and the walk over
// the attributes of the present one. For html_collect.cc and html_pattern.cc.

#ifndef CONTENT_HTML_TAG_FACTS_H_
#define CONTENT_HTML_TAG_FACTS_H_

#include <stdint.h>

#include "base/block.h"
#include "content/contexts.h"

struct TTAGFACTS {
  uint64_t names;      // THTMLCONTEXT::notedNames
  uint32_t tokenAt;    // its token in htmlPattern
  uint32_t tokenSize;  // 0: none was made yet
};

// Good until the next tag is added.
inline TTAGFACTS* FactsOf(const BLOCK& tagFacts, int32_t number) {
  return reinterpret_cast<TTAGFACTS*>(tagFacts.data) + number;
}

// The attributes that have a value, one by one.
class TPARAMWALK {
 public:
  explicit TPARAMWALK(const TTAGPARAMS& paramsToWalk)
      : params(paramsToWalk), rest(paramsToWalk.rest), i(0) {}
  bool next(TBLOCK& name, TBLOCK& value) {
    if (i < params.count) {
      name = params.names[i];
      value = params.values[i++];
      return true;
    }
    while (!rest.empty())
      if (GetNextTagParam(rest, name, value)) return true;
    return false;
  }

 private:
  const TTAGPARAMS& params;
  TBLOCK rest;
  uint32_t i;
};

#endif  // CONTENT_HTML_TAG_FACTS_H_
