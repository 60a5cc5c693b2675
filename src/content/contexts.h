// What one pass over a body collects: TMSGCONTEXT for the message as a whole,
// THTMLCONTEXT for its HTML, TTEXTCONTEXT for its plain text. Cleared by each
// load. The passes that fill them do not exist yet.

#ifndef CONTENT_CONTEXTS_H_
#define CONTENT_CONTEXTS_H_

#include <stdint.h>

struct TMSGCONTEXT {
  int32_t emptyBody = 0;  // 1: neither text nor HTML, nor any attachment

  void clear() { emptyBody = 0; }
};

class THTMLCONTEXT {
 public:
  void clear() {}
};

class TTEXTCONTEXT {
 public:
  bool isHtml = false;  // the text opens an HTML document

  void clear() { isHtml = false; }
};

#endif  // CONTENT_CONTEXTS_H_
