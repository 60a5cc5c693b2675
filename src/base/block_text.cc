// Lines, tokens, quotes, pieces and trimming. Tested by block_text_test.cc.

#include "base/tblock.h"
#include "base/vectors.h"

namespace {

// The search includes the set's own NUL, so a NUL is a member of every set.
bool IsInSet(unsigned char c, const char* set) {
  return strchr(set ? set : "", c) != nullptr;
}

}  // namespace

TBLOCK TBLOCK::BlockNextLine(TBLOCK& rest) {
  TBLOCK line = rest;
  const int32_t at = rest.findByte('\n');
  if (at < 0) {
    rest.skip(rest.length);
    return line;
  }
  line.cut(static_cast<uint32_t>(at));
  rest.skip(line.length + 1);
  if (line.length > 0 && line[line.length - 1] == '\r') line.length--;
  return line;
}

TBLOCK TBLOCK::NextMailLine(TBLOCK& rest) {
  const TBLOCK line = BlockNextLine(rest);
  // The LF follows the line at once only when no CR stood ahead of it.
  const bool bareLf = line.end() < rest.pointer && *line.end() == '\n';
  if (bareLf && !rest.empty() && rest[0] == '\r') rest.skip(1);
  return line;
}

int TBLOCK::BlockToken(TBLOCK& block, const char* key, unsigned char sep) {
  int quoted;
  return BlockToken(block, key, sep, quoted);
}

int TBLOCK::BlockToken(TBLOCK& block, const char* key, unsigned char sep,
                       int& quoted) {
  quoted = 0;
  TBLOCK value = block;
  value.trimLeft();
  const TBLOCK wanted(key);
  if (value.empty() || !key || !value.begins(wanted)) return 0;
  value.skip(wanted.length);
  value.trimLeft();
  if (value.empty() || value[0] != sep) return 0;
  value.skip(1);
  value.trim();
  quoted = BlockUnquote(value, 1);
  block = value;
  return 1;
}

// Each round trims first, so that the inside of a pair is trimmed either way.
int TBLOCK::BlockUnquote(TBLOCK& block, int /*trimInside*/) {
  int pairs = 0;
  block.trim();
  for (; block.stripQuotes(); pairs = 1) block.trim();
  return pairs;
}

bool TBLOCK::IsBlockPrefixedByStr(TBLOCK block, const char* str, int exact) {
  if (!str || block.empty()) return false;
  if (!exact) return block.begins(TBLOCK(str));
  return *str && block.begins(TBLOCK(str), NoConvTable);
}

void TBLOCK::GetBlockWordList(TBLOCK block, TBLOCKVECT& words, uint32_t mask) {
  while (!block.empty()) {
    block.trimLeft(mask);
    const uint32_t n = block.lengthUntil(mask);
    words.add(block.head(n), 0, 1);
    block.skip(n);
  }
}

TBLOCK TBLOCK::BlockBeforeChar(TBLOCK& rest, char ch, int trim, int keep) {
  TBLOCK before = rest;
  const int32_t at = rest.findByte(static_cast<unsigned char>(ch));
  if (at < 0) {
    rest.clear();
  } else {
    before.cut(static_cast<uint32_t>(at));
    rest.skip(before.length + (keep ? 0 : 1));
    if (rest.empty()) rest.clear();
  }
  if (trim) {
    before.trim();
    rest.trim();
  }
  return before;
}

int TBLOCK::BlockBeforeSetOfChars(TBLOCK& rest, TBLOCK& before, const char* set,
                                  int trim) {
  uint32_t n = 0;
  const uint32_t size = rest.empty() ? 0 : rest.length;
  while (n < size && !IsInSet(rest[n], set)) n++;
  before = rest.head(n);
  rest.skip(n);
  if (trim) before.trim();
  return n < size;
}

int TBLOCK::BlockLeftTrimChars(TBLOCK& block, const char* set) {
  uint32_t n = 0;
  if (block.empty()) return 0;
  while (n < block.length && IsInSet(block[n], set)) n++;
  block.skip(n);
  return n > 0;
}

int TBLOCK::BlockRightTrimChars(TBLOCK& block, const char* set) {
  if (block.empty()) return 0;
  const uint32_t before = block.length;
  while (block.length > 0 && IsInSet(block[block.length - 1], set))
    block.length--;
  return block.length < before;
}

int TBLOCK::BlockTrimChars(TBLOCK& block, const char* set) {
  return BlockLeftTrimChars(block, set) || BlockRightTrimChars(block, set);
}

TBLOCK TBLOCK::BlockClearSpace(TBLOCK block, int lineBreaksAreSpace) {
  if (block.empty()) return block;
  uint32_t out = 0;
  for (uint32_t i = 0; i < block.length; i++) {
    const unsigned char c = block[i];
    const bool lineBreak = c == '\r' || c == '\n';
    if (lineBreak && !lineBreaksAreSpace) continue;
    if (!Is(c, bitWhiteSpace))
      block.pointer[out++] = c;
    else if (out > 0 && block[out - 1] != ' ')
      block.pointer[out++] = ' ';
  }
  block.length = out;
  return block;
}
