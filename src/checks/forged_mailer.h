// What the checks of boundaries and of mail programs decide by, as functions of
// the values alone. Sums and distances are in 64 bits.

#ifndef CHECKS_FORGED_MAILER_H_
#define CHECKS_FORGED_MAILER_H_

#include <stdint.h>

#include "base/tblock.h"
#include "message/block_date.h"
#include "message/mime_ole.h"

// Whether a boundary is "=_" and the identifier's part ahead of the at sign.
bool IsBoundaryOfId(TBLOCK boundary, TBLOCK id);
// Whether the clock of a boundary shows a day more than 30 days before the
// message's. Two days are exempt that faulty programs are known to show.
bool IsBoundaryOld(int32_t time, const BLOCKDATE& date);
// Whether the clock of a boundary shows the message's local time, moved by its
// zone once more.
bool IsZoneAddedTwice(const TMIMEOLEBOUND& bound, const BLOCKDATE& date);
// Whether the clock of a boundary is finer than the programs' own.
bool IsClockTooFine(const TMIMEOLEBOUND& bound);
// Whether an identifier that begins with 14 bytes and a dot, as those of one
// program do, does not begin with a time, or with one more than 10 days off
// the message's.
bool IsSylpheedIdForged(TBLOCK id, const BLOCKDATE& date);

#endif  // CHECKS_FORGED_MAILER_H_
