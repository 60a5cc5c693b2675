// Clocks in identifiers. Tested by mime_ole_test.cc.

#include "message/mime_ole.h"

TMIMEOLEID::TMIMEOLEID(REGEXPOOL* poolToUse) : pool(poolToUse) {
  clear();
}

void TMIMEOLEID::clear() {
  isOle = 0;
  errors = 0;
  id.clear();
  time = 0;
  fileTimeLow = 0;
  fileTimeHigh = 0;
  ip.clear();
  sequence = -1;
}

void TMIMEOLEID::parse(TBLOCK, const BLOCKDATE*, int64_t) {
  clear();
}

TMIMEOLEBOUND::TMIMEOLEBOUND(REGEXPOOL* poolToUse) : pool(poolToUse) {
  clear();
}

void TMIMEOLEBOUND::clear() {
  isOle = 0;
  error = 0;
  boundary.clear();
  zonedTime = 0;
  fileTimeLow = 0;
  fileTimeHigh = 0;
  sequence = -1;
  zonedFileTimeLow = 0;
  zonedFileTimeHigh = 0;
  zoneSeconds = 0;
  time = 0;
}

void TMIMEOLEBOUND::parse(TBLOCK, const BLOCKDATE*, int32_t, int64_t) {
  clear();
}

void TTHREADINDEX::clear() {
  present = 0;
  error = 0;
  text.clear();
  time = 0;
  fileTimeLow = 0;
  fileTimeHigh = 0;
}

void TTHREADINDEX::parse(TBLOCK, const BLOCKDATE&, int64_t) {
  clear();
}
