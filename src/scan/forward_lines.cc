// The lines ahead of a returned message, for the virus check and for the scan
// of what a notification returns. Tested by virus_test.cc.

#include "scan/forward_lines.h"

const char _ForwardTextLines[kForwardTextLines][64] = {
    "--- Below this line is a copy of the message.",
    "-- This is a copy of the message, including all the headers.",
    "-- Original message follows --", "-- Original mail message --"};

bool FindForwarded(TBLOCK text, int32_t line, TBLOCK& forwarded) {
  const TBLOCK row(_ForwardTextLines[line]);
  const int32_t at = text.find(row);
  if (at < 0) return false;
  forwarded = text.from(static_cast<uint32_t>(at) + row.length);
  // The rest of the line, which most systems end with dashes, and the blank
  // lines behind it would be read as an empty header.
  while (!forwarded.empty() &&
         (forwarded[0] == '-' || TBLOCK::Is(forwarded[0], bitWhiteSpace)))
    forwarded.skip(1);
  return true;
}
