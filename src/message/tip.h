// TIP: one IPv4 address with its class.

#ifndef MESSAGE_TIP_H_
#define MESSAGE_TIP_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"

class TIP {
 public:
  STR text;  // dotted; a second setValue appends to both texts, on purpose
  STR hex;   // eight upper-case digits
  int32_t invalid;
  int32_t reserved;   // 1: in a block that nobody had when the list was made
  char addressClass;  // 'A' to 'E'; 0 for the value 0
  uint32_t network;   // of classes A to C
  uint32_t host;
  int32_t isPrivate;

  TIP() { clear(); }
  // Everything back to 0 and empty.
  void clear();
  void setValue(uint32_t value);
  // Four decimal numbers between dots, combined without a range check: an
  // octet above 255 spills into the next. A missing one is 0.
  void setBlock(TBLOCK dotted);
  void setStr(const char* dotted);
  uint32_t getValue() const { return network + host; }
  // Appends the dotted form.
  static void _getStr(STR& out, uint32_t value);
};

#endif  // MESSAGE_TIP_H_
