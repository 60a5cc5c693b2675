// Identifiers in which one family of mail programs writes a clock, an address
// and counters: TMIMEOLEID for Message-ID and the like, TMIMEOLEBOUND for
// boundaries, TTHREADINDEX for the field Thread-Index. The decoders never fail;
// they leave flags. Views point into the text that was parsed.

#ifndef MESSAGE_MIME_OLE_H_
#define MESSAGE_MIME_OLE_H_

#include <stdint.h>

#include "base/tblock.h"
#include "message/block_date.h"
#include "message/tip.h"

class REGEXPOOL;

// Trims, and removes one pair of angle brackets with the white space inside.
void StripAngleBrackets(TBLOCK& value);
// Value of hexadecimal digits, of which the last eight count; any other byte
// counts as a 0.
uint32_t HexNumber(TBLOCK digits);

// Bits of TMIMEOLEID::errors.
enum : uint32_t {
  moMalformed = 1,
  moBadDate = 2,     // out of range
  moBadAddress = 4,  // the embedded address is invalid
  moNotHexa = 8,     // parts are not hexadecimal
  moNotRounded = 16  // the time is no multiple of 50
};

// "sequence+high$low$address@host".
class TMIMEOLEID {
 public:
  int32_t isOle;                       // 1: it has that form
  uint32_t errors;                     // mo... bits
  TBLOCK id;                           // trimmed, without angle brackets
  int32_t time;                        // of the clock, in seconds since 1970
  uint32_t fileTimeLow, fileTimeHigh;  // the clock
  TIP ip;
  int32_t sequence;  // what stands before the clock; -1 without it
  REGEXPOOL* pool;   // borrowed; may be null

  explicit TMIMEOLEID(REGEXPOOL* pool);
  FILETIME fileTime() const { return {fileTimeLow, fileTimeHigh}; }
  void clear();
  // REQUIRES a date, the message's. `now`: the present time in seconds since
  // 1970. Where the text ends too early or is no hexadecimal, what stands
  // behind that is not read and keeps its cleared value.
  void parse(TBLOCK text, const BLOCKDATE* date, int64_t now);
};

// "----=_NextPart_000_0013_01C3F2D0.A1B2C3D0".
class TMIMEOLEBOUND {
 public:
  int32_t isOle;
  int32_t error;  // 0 or 1
  TBLOCK boundary;
  int32_t zonedTime;
  uint32_t fileTimeLow, fileTimeHigh;
  int32_t sequence;  // the four digits before the clock; -1 without them
  uint32_t zonedFileTimeLow, zonedFileTimeHigh;
  int32_t zoneSeconds;
  int32_t time;
  REGEXPOOL* pool;  // borrowed; may be null

  explicit TMIMEOLEBOUND(REGEXPOOL* pool);
  FILETIME fileTime() const { return {fileTimeLow, fileTimeHigh}; }
  void clear();
  void parse(TBLOCK text, const BLOCKDATE* date, int32_t zoneSeconds,
             int64_t now);
};

class TTHREADINDEX {
 public:
  int32_t present;
  int32_t error;
  TBLOCK text;
  int32_t time;
  uint32_t fileTimeLow, fileTimeHigh;

  TTHREADINDEX() { clear(); }
  FILETIME fileTime() const { return {fileTimeLow, fileTimeHigh}; }
  void clear();
  void parse(TBLOCK index, const BLOCKDATE& date, int64_t now);
};

#endif  // MESSAGE_MIME_OLE_H_
