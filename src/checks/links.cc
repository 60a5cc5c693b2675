// The shape of links.

#include "scan/tqmmsg.h"

void TQMMSG::checkBlackLinks() {}
