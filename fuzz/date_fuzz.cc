// Dates, free and against formats. Every text is also read behind a good date
// and before a space, and the parts of a record are held against each other.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "fuzz_util.h"
#include "message/block_date.h"

static void CheckRecord(const BLOCKDATE& date) {
  Check(date.error == 0 || date.error == 1);
  Check(date.weekDay >= 0 && date.weekDay <= 7);
  Check(date.zone >= -2399 && date.zone <= 2399);
  Check(date.utc > INT32_MIN && date.local > INT32_MIN);
  const bool inside = date.utc != INT32_MAX && date.local != INT32_MAX &&
                      date.utc != -INT32_MAX && date.local != -INT32_MAX;
  // Without a day both are -1 and there is an error.
  if (date.utc == -1 && date.local == -1 && date.zone != 0)
    Check(date.error == 1 && date.zoneSeconds == 0);
  else if (inside)
    Check(date.zoneSeconds == date.local - date.utc);
}

static BLOCKDATE Parse(TBLOCK text) {
  BLOCKDATE date;
  date.parseFrom(text);
  CheckRecord(date);
  return date;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const char kGood[] = "Mon, 3 Mar 2008 10:00 -0500 ";
  const uint32_t head = sizeof(kGood) - 1;
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();
  const uint32_t n = text.length;
  const BLOCKDATE alone = Parse(text);

  const std::unique_ptr<unsigned char[]> longer(new unsigned char[head + n]);
  memcpy(longer.get(), kGood, head);
  if (n) memcpy(longer.get() + head, bytes, n);
  // A date that is complete stays one.
  Check(Parse(TBLOCK(longer.get(), head + n)).utc != -1);
  if (n) {
    memcpy(longer.get(), bytes, n);
    longer[n] = ' ';
    const BLOCKDATE spaced = Parse(TBLOCK(longer.get(), n + 1));
    Check(spaced.utc == alone.utc && spaced.local == alone.local &&
          spaced.zone == alone.zone && spaced.error == alone.error);
  }

  static const char* const kFormats[] = {"yyyymmddhhnnss", "yymmddhhnn",
                                         "yyyyddmm", "yyyy-mm-dd hh:nn:ss"};
  for (const char* format : kFormats) {
    int32_t time = 7;
    if (!DecodeDateBlock(format, text, time)) Check(time == 7);
  }
  return 0;
}
