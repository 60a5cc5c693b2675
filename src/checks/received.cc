// The coherence of the Received chain with what claims to have written it.
// Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkReceived() {}
