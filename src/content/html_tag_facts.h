// What the pass over a body remembers of each distinct tag, the walk over the
// attributes of the present one, and the search for a word in it. Private to
// the files of THTMLCONTEXT.

#ifndef CONTENT_HTML_TAG_FACTS_H_
#define CONTENT_HTML_TAG_FACTS_H_

#include <stdint.h>
#include <string.h>

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

// A word in small letters that is looked for in many texts. Where the last byte
// under it is none of its letters, the word cannot stand there or at any place
// that covers that byte.
struct TTAGWORD {
  const char* text;
  uint32_t size;
  uint32_t letters;  // a bit for each, by its low five bits

  explicit TTAGWORD(const char* word)
      : text(word), size(static_cast<uint32_t>(strlen(word))), letters(0) {
    for (uint32_t i = 0; i < size; i++)
      letters |= 1u << (TBLOCK::LowerConvTable[byteAt(i)] & 31);
  }
  unsigned char byteAt(uint32_t i) const {
    return static_cast<unsigned char>(text[i]);
  }
  // TBLOCK::find of the word.
  int32_t findIn(TBLOCK tag, uint32_t start) const {
    const unsigned char* const fold = TBLOCK::LowerConvTable;
    uint32_t i = start + size - 1;
    while (i < tag.length) {
      const unsigned char last = fold[tag.pointer[i]];
      if (!(letters >> (last & 31) & 1)) {
        i += size;
        continue;
      }
      const unsigned char* const p = tag.pointer + (i + 1 - size);
      uint32_t k = 0;
      while (k < size && fold[p[k]] == fold[byteAt(k)]) k++;
      if (k == size) return static_cast<int32_t>(i + 1 - size);
      i++;
    }
    return -1;
  }
};

#endif  // CONTENT_HTML_TAG_FACTS_H_
