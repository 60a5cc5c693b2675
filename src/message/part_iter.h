// PARTITER: walks a list of parts as OITER walks any list. A message's lists
// take their items as constants, but its parts are there to be decoded.

#ifndef MESSAGE_PART_ITER_H_
#define MESSAGE_PART_ITER_H_

#include "base/olist.h"
#include "message/block_part.h"

class PARTITER {
 public:
  // REQUIRES a list of BLOCKPART.
  explicit PARTITER(const OLIST& parts) : walk(&parts) {}
  // The next part, null at the end.
  BLOCKPART* next() {
    return static_cast<BLOCKPART*>(const_cast<void*>(walk.next()));
  }

 private:
  OITER walk;
};

#endif  // MESSAGE_PART_ITER_H_
