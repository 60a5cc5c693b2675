// What the checks of identifiers decide by, as functions of the values alone.
// Distances are in 64 bits: any 32-bit time may meet any other.

#ifndef CHECKS_MESSAGE_ID_H_
#define CHECKS_MESSAGE_ID_H_

#include <stdint.h>

#include "base/tblock.h"
#include "message/block_date.h"
#include "message/mime_ole.h"

class REGEXPOOL;

// Whether a relay line's "by" names a host that begins so. Only the first "by "
// of the line is looked at, wherever it stands.
bool IsRelayHost(TBLOCK relayLine, TBLOCK host);
// Whether the identifier is letters and digits with the address behind them.
bool EndsInAddress(TBLOCK id, TBLOCK email);
// Whether the first "w" of a fingerprint has a digit behind it.
bool HasDigitBehindW(TBLOCK adn);
// Whether two clocks show the same second of the minute, to the millisecond,
// in minutes that are a multiple of 30 apart.
bool AreClocksTwins(const FILETIME& a, const FILETIME& b);
// Whether the clock of an identifier shows the sender's local time for UTC.
bool IsLocalClock(const TMIMEOLEID& id, const BLOCKDATE& date,
                  bool fromExpress);
// Whether two times differ by more than a minute, and by whole hours to about
// a second.
bool IsWholeHoursOff(int32_t a, int32_t b);
// Whether a relay line begins with "from ", the host and one more byte.
bool ComesFromHost(TBLOCK relayLine, TBLOCK host, unsigned char behind);
// Whether the stamp that an identifier of this shape begins with, as those of
// some programs do, lies more than a day off the date. `reply`: it answers an
// identifier.
bool IsStampForged(TBLOCK id, TBLOCK idAdn, TBLOCK mailer, TBLOCK userAgent,
                   int32_t utc, bool reply, REGEXPOOL* pool);
// The number between the last dot ahead of ".squirrel@" and the next byte that
// is no digit; false without that mark.
bool ReadSquirrelStamp(TBLOCK id, int64_t& stamp);
// Whether an identifier holds the address as hexadecimal numbers, a key and
// then the bytes with the key added to each; as base64 of base64.
bool HidesAddressInHexa(TBLOCK id, TBLOCK email);
bool HidesAddressInBase64(TBLOCK id, TBLOCK email);

#endif  // CHECKS_MESSAGE_ID_H_
