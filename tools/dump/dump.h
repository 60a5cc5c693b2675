// One-line dumps of parsed structures, for tests and the command line. Text
// of a message is escaped (see EscapeBytes), so that a dump is one line of
// ASCII whatever the message holds, and two dumps can be compared by diff.

#ifndef DUMP_DUMP_H_
#define DUMP_DUMP_H_

#include <string>

#include "base/tblock.h"

class BLOCKMSG;
class TCharset;
struct BLOCKDATE;
struct zr_regex;

// Printable ASCII as it is, "\\" doubled, all else as \xHH.
std::string EscapeBytes(TBLOCK text);

// The message's flags and choices, then its parts in order.
std::string DumpTree(const BLOCKMSG& message);
std::string DumpDate(const BLOCKDATE& date);
// Name, family and index, and every zone that was seen, with its count.
std::string DumpZones(const TCharset& charset);

// A pattern that compiled: its full or its reduced list, and its figures, with
// "full/reduced" where the lists differ.
std::string DumpRegexList(const zr_regex& regex, bool reduced);
std::string DumpRegexFigures(const zr_regex& regex);

#endif  // DUMP_DUMP_H_
