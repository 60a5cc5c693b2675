// The header editor: lines as strings, with the index of each field's first
// line beside them. Operations that touch many lines rebuild both arrays in
// one pass instead of deleting one by one. Tested by header_test.cc.

#include "scan/header.h"

#include <string.h>

#include <new>

namespace {

const uint32_t kLineBytes = 512;    // pointer array: first size and step
const uint32_t kEntryBytes = 512;   // index: first size
const uint32_t kEntryStep = 64000;  // and step
const char kLineEnd[] = "\r\n";     // behind each line and behind the block
const uint32_t kLineEndBytes = 2;

// A string with room for n characters that the caller writes, and its length
// set to n. Null when memory is short.
STR* NewText(uint32_t n) {
  if (n >= kMaxBlockBytes) return nullptr;
  STR* text = new (std::nothrow) STR(static_cast<int32_t>(n));
  if (text && !text->text) {
    delete text;
    return nullptr;
  }
  if (text) text->length = static_cast<int32_t>(n);
  return text;
}

// Bytes of a field's name with its ":", which may be there already.
size_t NameBytes(const char* name) {
  const size_t n = strlen(name);
  return n > 0 && name[n - 1] == ':' ? n : n + 1;
}

}  // namespace

HEADER::HEADER(TBLOCK source)
    : STRVECT(kLineBytes, kLineBytes),
      entries(kEntryBytes, kEntryStep),
      block(0, 0) {
  if (source.empty() || source.length >= kMaxBlockBytes ||
      !block.addSpace(source.length + 1) || !block.add(source))
    return;
  TBLOCK rest = block.view();
  while (!rest.empty()) {
    const TBLOCK line = TBLOCK::NextMailLine(rest);
    if (line.empty()) break;
    takeLine(line);
  }
}

// Stores a line of the block, and an entry unless it is a continuation. Its
// text stays where it is, with a NUL in place of what ends it.
void HEADER::takeLine(TBLOCK line) {
  const int32_t nul = line.findByte(0);
  if (nul >= 0) line.cut(static_cast<uint32_t>(nul));
  if (line.empty()) return;
  STR* const kept = new (std::nothrow) STR;
  if (!kept) return;
  *line.end() = 0;
  kept->text = reinterpret_cast<char*>(line.pointer);
  kept->capacity = 0;
  kept->length = static_cast<int32_t>(line.length);
  const int32_t at = count();
  if (!pushLine(kept) || line[0] == ' ' || line[0] == '\t') return;
  if (!entries.add(at)) del(at);
}

// Appends a line, which belongs to the vector from here on. 1, or 0 with the
// line deleted.
int HEADER::pushLine(STR* line) {
  if (BLOCK::add(&line, sizeof line)) return 1;
  delete line;
  return 0;
}

void HEADER::setLine(int32_t i, STR* line) {
  memcpy(data + static_cast<size_t>(i) * sizeof line, &line, sizeof line);
}

// One past the last line of an entry.
int32_t HEADER::entryEnd(int32_t entry) const {
  return entry + 1 < entries.count() ? entries.get(entry + 1) : count();
}

// Whether the entry's line begins with the name and a ":". REQUIRES: a name.
bool HEADER::isField(int32_t entry, const char* name) const {
  const char* text = at(entries.get(entry))->c_str();
  const char* wanted = name;
  for (; *wanted; wanted++, text++) {
    if (AsciiLower(static_cast<unsigned char>(*wanted)) !=
        AsciiLower(static_cast<unsigned char>(*text)))
      return false;
  }
  return wanted[-1] == ':' || *text == ':';
}

int32_t HEADER::findEntry(const char* name) const {
  if (!name || !*name) return -1;
  const int32_t n = entries.count();
  for (int32_t i = 0; i < n; i++)
    if (isField(i, name)) return i;
  return -1;
}

void HEADER::removeEntry(const char* name) {
  const int32_t first = findEntry(name);
  if (first < 0) return;
  const int32_t n = entries.count();
  int32_t keptLines = entries.get(first);
  int32_t keptEntries = first;
  for (int32_t entry = first; entry < n; entry++) {
    const int32_t end = entryEnd(entry);
    int32_t i = entries.get(entry);
    if (isField(entry, name)) {
      for (; i < end; i++) delete at(i);
      continue;
    }
    // Never ahead of what is still to be read.
    entries.set(keptLines, keptEntries++);
    for (; i < end; i++) setLine(keptLines++, at(i));
  }
  BLOCK::length = static_cast<uint32_t>(keptLines) * sizeof(STR*);
  entries.length = static_cast<uint32_t>(keptEntries) * sizeof(int32_t);
}

const char* HEADER::getEntryValue(const char* name, STR& value) const {
  value = "";
  const int32_t entry = findEntry(name);
  if (entry >= 0) {
    value = at(entries.get(entry))->c_str() + NameBytes(name);
    value.noFrontSpace();
  }
  return value.c_str();
}

void HEADER::setEntryValue(const char* name, const char* value) {
  const int32_t entry = findEntry(name);
  if (entry < 0) return;
  STR* line = _newLine(name, value);
  if (!line) return;
  const int32_t i = entries.get(entry);
  delete at(i);
  setLine(i, line);
}

void HEADER::prependEntry(const char* name, const char* value) {
  STR* line = _newLine(name, value);
  if (!line) return;
  if (!entries.ins(0, 0)) {
    delete line;
    return;
  }
  if (!BLOCK::add(0u, &line, sizeof line)) {
    entries.del(0);
    delete line;
    return;
  }
  const int32_t n = entries.count();
  for (int32_t i = 1; i < n; i++) entries.set(entries.get(i) + 1, i);
}

void HEADER::appendEntry(const char* name, const char* value) {
  STR* line = _newLine(name, value);
  if (!line) return;
  const int32_t at = count();
  if (!pushLine(line)) return;
  if (!entries.add(at)) del(at);
}

int32_t HEADER::length() const {
  int64_t sum = kLineEndBytes;
  const int32_t n = count();
  for (int32_t i = 0; i < n; i++) sum += at(i)->len() + kLineEndBytes;
  return sum > INT32_MAX ? INT32_MAX : static_cast<int32_t>(sum);
}

int HEADER::copyTo(char* buffer, int32_t size) const {
  if (!buffer || length() >= size) return 0;
  const int32_t n = count();
  for (int32_t i = 0; i < n; i++) {
    const TBLOCK line = at(i)->view();
    if (!line.empty()) memcpy(buffer, line.pointer, line.length);
    buffer += line.length;
    memcpy(buffer, kLineEnd, kLineEndBytes);
    buffer += kLineEndBytes;
  }
  memcpy(buffer, kLineEnd, kLineEndBytes + 1);
  return 1;
}

STR* HEADER::_newLine(const char* name, const char* value) const {
  if (!name || !value) return nullptr;
  const size_t nameBytes = strlen(name);
  const size_t valueBytes = strlen(value);
  const uint64_t bytes =
      static_cast<uint64_t>(NameBytes(name)) + 1 + valueBytes;
  // Refused like an allocation that fails.
  if (bytes >= kMaxBlockBytes) return nullptr;
  STR* line = NewText(static_cast<uint32_t>(bytes));
  if (!line) return nullptr;
  char* out = line->text;
  memcpy(out, name, nameBytes);
  out += nameBytes;
  if (nameBytes < NameBytes(name)) *out++ = ':';
  *out++ = ' ';
  memcpy(out, value, valueBytes + 1);
  return line;
}
