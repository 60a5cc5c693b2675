// Body preparation: from the body of the message to text, links and words.
// Entry: TQMMSG::parse, and parseWords for the checks that need words. Tested
// by driver_test.cc.
//
// The tree below the root is not built yet, and no text comes out of it.

#include "scan/tqmmsg.h"

void TQMMSG::parse(int filterHeader) {
  parseHeader();
  if (filterHeader) {
    checkHeaderFilter();
    if (isBailout()) return;
  }
  parseBody();
}

void TQMMSG::parseBody() {
  if (bodyParsed) return;
  parseHeader();
  bodyParsed = 1;
  message.parsePart();
}

void TQMMSG::parseWords() {}
