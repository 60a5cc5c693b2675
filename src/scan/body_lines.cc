// Lines of the body.

#include "scan/tqmmsg.h"

void TQMMSG::buildBodyLines() {}

void TQMMSG::removeAntiVirusFooter() {}

void TQMMSG::parseBodyTokens() {}
