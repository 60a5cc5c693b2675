// Lines that mail systems put ahead of a message that they return as text.

#ifndef SCAN_FORWARD_LINES_H_
#define SCAN_FORWARD_LINES_H_

#include <stdint.h>

#include "base/tblock.h"

const int32_t kForwardTextLines = 4;
extern const char _ForwardTextLines[kForwardTextLines][64];

// The text behind the first place of that line in any case; false without one.
bool FindBehindLine(TBLOCK text, int32_t line, TBLOCK& behind);

#endif  // SCAN_FORWARD_LINES_H_
