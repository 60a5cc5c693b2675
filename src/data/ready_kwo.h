// The dictionary image that is linked into the library; the build compiles it
// from dictionary/.

#ifndef DATA_READY_KWO_H_
#define DATA_READY_KWO_H_

#include <stdint.h>

// Aligned to 8; getReadyKWOLen bytes.
extern const unsigned char ReadyKWO[];
uint32_t getReadyKWOLen();

#endif  // DATA_READY_KWO_H_
