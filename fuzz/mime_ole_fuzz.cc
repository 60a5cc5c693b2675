// Identifiers against the decoders and what checks read from them. The input
// is four bytes of a date, two of a zone, an identifier and, behind a NUL, an
// address. What has not the form must leave everything cleared.

#include "message/mime_ole.h"

#include <string.h>

#include "checks/message_id.h"
#include "fuzz_util.h"
#include "regex/regex_pool.h"

static const int64_t kNow = 1204538400;

// Keeps the patterns from one input to the next.
static REGEXPOOL pool(1);

static void CheckDecoders(TBLOCK text, const BLOCKDATE& date) {
  TMIMEOLEID id(&pool);
  id.parse(text, &date, kNow);
  Check(id.errors < 32 && (id.isOle || (!id.errors && id.sequence == -1)));
  Check(!(id.errors & moNotHexa) || id.errors == moNotHexa);
  Check(!id.ip.invalid == !(id.errors & moBadAddress));

  TMIMEOLEBOUND bound(&pool);
  bound.parse(text, &date, date.zoneSeconds, kNow);
  Check(bound.error == 0 || (bound.error == 1 && bound.isOle));
  if (bound.isOle && !bound.error)
    Check(bound.zonedTime == int64_t{bound.time} - date.zoneSeconds);

  TTHREADINDEX index;
  index.parse(text, date, kNow);
  Check(index.present == !text.empty());
  Check(index.error || !index.present || index.time >= 946684800);
}

static void CheckIds(TBLOCK id, TBLOCK email, int32_t utc) {
  EndsInAddress(id, email);
  const bool hexa = HidesAddressInHexa(id, email);
  Check(!hexa || (email.length >= 5 && id.length >= 2 * email.length + 2));
  HidesAddressInBase64(id, email);
  int64_t stamp = -1;
  Check(ReadSquirrelStamp(id, stamp) || stamp == -1);
  IsStampForged(id, email, TBLOCK("Mozilla"), TBLOCK(), utc, false, &pool);
  IsStampForged(id, email, TBLOCK(), TBLOCK(), utc, false, &pool);
  IsRelayHost(id, email);
  ComesFromHost(id, email, '>');
  HasDigitBehindW(id);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size < 6) return 0;
  BLOCKDATE date;
  int16_t zone;
  memcpy(&date.utc, bytes, 4);
  memcpy(&zone, bytes + 4, 2);
  date.zoneSeconds = zone;
  date.error = zone & 1;
  date.local = static_cast<int32_t>(static_cast<uint32_t>(date.utc) +
                                    static_cast<uint32_t>(date.zoneSeconds));
  const HeapText copy(bytes + 6, size - 6);
  TBLOCK email = copy.view();
  const TBLOCK id = TBLOCK::BlockBeforeChar(email, 0, 0, 0);
  CheckDecoders(id, date);
  CheckIds(id, email, date.utc);
  return 0;
}
