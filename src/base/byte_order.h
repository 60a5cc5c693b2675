// Numbers of a known width and byte order in bytes at any address, on any
// machine.

#ifndef BASE_BYTE_ORDER_H_
#define BASE_BYTE_ORDER_H_

#include <stdint.h>

inline uint32_t Little16(const unsigned char* p) {
  return static_cast<uint32_t>(p[0] | p[1] << 8);
}

inline uint32_t Little32(const unsigned char* p) {
  return Little16(p) | Little16(p + 2) << 16;
}

inline uint32_t Big16(const unsigned char* p) {
  return static_cast<uint32_t>(p[0] << 8 | p[1]);
}

inline uint32_t Big32(const unsigned char* p) {
  return Big16(p) << 16 | Big16(p + 2);
}

inline void PutLittle32(unsigned char* p, uint32_t number) {
  for (int i = 0; i < 4; i++)
    p[i] = static_cast<unsigned char>(number >> 8 * i);
}

inline void PutBig32(unsigned char* p, uint32_t number) {
  for (int i = 0; i < 4; i++)
    p[i] = static_cast<unsigned char>(number >> 8 * (3 - i));
}

#endif  // BASE_BYTE_ORDER_H_
