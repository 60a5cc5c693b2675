// HEADER: a small line editor for a copy of a message's header block. The
// message itself is never touched.
//
// Lines are owned C strings without their line end, so text behind a NUL in a
// line is cut, and a line that begins with NUL is left out: kept as an empty
// line it would end the header that a host puts in place. A continuation line
// (it begins with space or TAB) is a line of its own and belongs to the entry
// ahead of it; lines ahead of the first entry belong to none.
//
// The block is the header as the host gave it. Every operation is linear in its
// size, however many fields it holds and however many of them match. A line
// that memory is too short for is left out.
//
// Field names are given with or without the closing ":" and compared by ASCII
// rules without regard to case. A null name or value makes an operation do
// nothing, and so does an empty name where a field is looked for.

#ifndef SCAN_HEADER_H_
#define SCAN_HEADER_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"

class HEADER : public STRVECT {
 public:
  // For each field the index of its first line, ascending.
  INTVECT entries;

  // Copies the lines up to the first empty one. A line ends at CR LF, LF CR or
  // LF; a lone CR stays inside.
  explicit HEADER(TBLOCK source);

  // Deletes every field of that name with its continuation lines.
  void removeEntry(const char* name);
  // The first line of the first such field, from behind its ":", without
  // leading white space; empty when there is none. Continuation lines are not
  // read. Returns the text, which lives as long as `value` is not changed.
  const char* getEntryValue(const char* name, STR& value) const;
  // Replaces the first line of the first such field; creates none. Its
  // continuation lines stay behind the new line, on purpose.
  void setEntryValue(const char* name, const char* value);
  // Add a field as the first or the last one, whether or not the name occurs.
  // The value is taken as it is: a line end in it breaks the line.
  void prependEntry(const char* name, const char* value);
  void appendEntry(const char* name, const char* value);

  // Bytes of the block with CR LF behind each line and an empty line at the
  // end, without a NUL; stops at INT32_MAX. Hides the block's byte count.
  int32_t length() const;
  // Writes these bytes and a NUL. 1, or 0 with nothing written when the buffer
  // is null or not strictly larger than length().
  int copyTo(char* buffer, int32_t size) const;

  // A new line "name: value", owned by the caller; null for a null argument
  // and when memory is short.
  STR* _newLine(const char* name, const char* value) const;

 private:
  BLOCK block;  // the lines as they came; those of `copyTo` may be others

  int pushLine(STR* line);
  void takeLine(TBLOCK line);
  int32_t findEntry(const char* name) const;
  bool isField(int32_t entry, const char* name) const;
  int32_t entryEnd(int32_t entry) const;
  void setLine(int32_t i, STR* line);
};

#endif  // SCAN_HEADER_H_
