// Quoted mail at the end of a text.

#include "scan/tqmmsg.h"

int TQMMSG::removeAnswers(TBLOCK& /*answered*/, int32_t& count) {
  count = 0;
  return 0;
}
