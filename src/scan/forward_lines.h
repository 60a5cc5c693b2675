// Lines that mail systems put ahead of a message that they return as text.

#ifndef SCAN_FORWARD_LINES_H_
#define SCAN_FORWARD_LINES_H_

#include <stdint.h>

#include "base/tblock.h"

const int32_t kForwardTextLines = 4;
extern const char _ForwardTextLines[kForwardTextLines][64];

// The message that stands behind that line, found in any case where it comes
// first, less the dashes and white space ahead of it. False without the line.
bool FindForwarded(TBLOCK text, int32_t line, TBLOCK& forwarded);

#endif  // SCAN_FORWARD_LINES_H_
