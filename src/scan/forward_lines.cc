// The lines ahead of a returned message, for the virus check and for the scan
// of what a notification returns. Tested by virus_test.cc.

#include "scan/forward_lines.h"

const char _ForwardTextLines[kForwardTextLines][64] = {
    "--- Below this line is a copy of the message.",
    "-- This is a copy of the message, including all the headers.",
    "-- Original message follows --", "-- Original mail message --"};

bool FindBehindLine(TBLOCK text, int32_t line, TBLOCK& behind) {
  const TBLOCK row(_ForwardTextLines[line]);
  const int32_t at = text.find(row);
  if (at < 0) return false;
  behind = text.from(static_cast<uint32_t>(at) + row.length);
  return true;
}
