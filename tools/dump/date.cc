// A date as one line of ASCII:
//
//   utc=1204534800 local=1204538400 zone=100/3600 weekDay=2 error=0
//
// The zone as it was written and in seconds. Tested by block_date_test.cc.

#include "dump/dump.h"
#include "message/block_date.h"

std::string DumpDate(const BLOCKDATE& date) {
  return "utc=" + std::to_string(date.utc) +
         " local=" + std::to_string(date.local) +
         " zone=" + std::to_string(date.zone) + "/" +
         std::to_string(date.zoneSeconds) +
         " weekDay=" + std::to_string(date.weekDay) +
         " error=" + std::to_string(date.error);
}
