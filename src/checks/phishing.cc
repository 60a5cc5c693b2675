// Links that lead elsewhere than the text says.

#include "scan/tqmmsg.h"

void TQMMSG::checkPhishing() {}

int TQMMSG::checkDeepPhishing() {
  return 0;
}
