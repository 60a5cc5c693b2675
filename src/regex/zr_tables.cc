// The engine's tables. Folding clears bit 5 of the bytes that have a capital in
// Latin-1: a to z, and 0xE0 to 0xFE without the division sign 0xF7. Tested by
// zr_regcomp_test.cc.

#include "regex/zr_regex.h"

#define ROW(v) v, v, v, v, v, v, v, v, v, v, v, v, v, v, v, v

// other: a byte that stays; fold: one that loses bit 5.
#define FOLD_TABLE(other, fold)                                       \
  ROW(other), ROW(other), ROW(other), ROW(other),          /* 0x00 */ \
      ROW(other), ROW(other),                              /* 0x40 */ \
      other, fold, fold, fold, fold, fold, fold, fold,     /* 0x60 */ \
      fold, fold, fold, fold, fold, fold, fold, fold,      /* 0x68 */ \
      fold, fold, fold, fold, fold, fold, fold, fold,      /* 0x70 */ \
      fold, fold, fold, other, other, other, other, other, /* 0x78 */ \
      ROW(other), ROW(other), ROW(other), ROW(other),      /* 0x80 */ \
      ROW(other), ROW(other), ROW(fold),                   /* 0xC0 */ \
      fold, fold, fold, fold, fold, fold, fold, other,     /* 0xF0 */ \
      fold, fold, fold, fold, fold, fold, fold, other      /* 0xF8 */

const uint8_t zr_MaskTable[256] = {FOLD_TABLE(0x20, 0x00)};

const uint8_t zr_ToUpperMaskTable[256] = {FOLD_TABLE(0xFF, 0xDF)};

const uint8_t zr_HexTable[128] = {
    ROW(0),                                                     // 0x00
    ROW(0),                                                     // 0x10
    ROW(0),                                                     // 0x20
    0,      1,  2,  3,  4,  5,  6,  7, 8, 9, 0, 0, 0, 0, 0, 0,  // 0x30
    0,      10, 11, 12, 13, 14, 15, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x40
    ROW(0),                                                     // 0x50
    0,      10, 11, 12, 13, 14, 15, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x60
    ROW(0),                                                     // 0x70
};

const char zr_Hextoc[17] = "0123456789ABCDEF";
