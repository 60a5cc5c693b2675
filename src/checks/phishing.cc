// Links that lead elsewhere than the text says. Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkPhishing() {}
