// The one brand whose imitations are told by hand.

#include "scan/tqmmsg.h"

int TQMMSG::checkEbayPhishing() {
  return 0;
}
