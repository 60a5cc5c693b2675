// Code pages as published, and what code page 1252 has for a character. The
// tables are in charset_tables.cc, which tools/gen/charset_tables.py makes of
// the lists beside it. 7.5 KB in all; src/message/charset.h reads them.

#ifndef DATA_CHARSET_TABLES_H_
#define DATA_CHARSET_TABLES_H_

#include <stdint.h>

// Code point of a byte that its page leaves undefined.
const uint32_t kUndefinedCode = 0xFFFF;

const uint32_t kWindowsPages = 9;  // 1252, 1250, 1251, 1253 to 1258
const uint32_t kIsoPages = 16;     // parts 1 to 16 of ISO 8859
const uint32_t kOtherPages = 2;    // us-ascii, koi8

// Code points of the bytes from 80, from A0 and from 80 on.
extern const uint16_t WcpToUcTable[kWindowsPages][0x80];
extern const uint16_t IsoToUcTable[kIsoPages][0x60];
extern const uint16_t AltToUcTable[kOtherPages][0x80];

// Rows of code point and byte, sorted by code point. The first 256 are for the
// code points 0 to FF, in order, so that they can be looked up by index.
extern const uint16_t UnicodeMap1252[][2];
extern const uint32_t kUnicodeMapRows;

#endif  // DATA_CHARSET_TABLES_H_
