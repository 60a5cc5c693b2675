// What the parts of the tree tell.

#include "scan/tqmmsg.h"

void TQMMSG::describeParts() {}
