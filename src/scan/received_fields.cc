// The relay chain of a message. Entry: TQMMSG::parseReceivedFields. Tested by
// received_fields_test.cc.

#include "scan/tqmmsg.h"

void TQMMSG::parseReceivedFields() {}
