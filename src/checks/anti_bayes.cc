// Text that is there to mislead statistical filters. Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkAntiBayes() {}

void TQMMSG::checkTextPlain() {}
