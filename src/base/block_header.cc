// Splitting headers into fields and bodies into MIME pieces. Tested by
// block_header_test.cc.

#include "base/tblock.h"
#include "base/vectors.h"

namespace {

bool IsBlank(unsigned char c) {
  return c == ' ' || c == '\t';
}

}  // namespace

// A flat state machine; a field begins at `start`.
int TBLOCK::HeaderToBlocks(TBLOCK& block, TBLOCKVECT& fields, int blankFolds) {
  enum State { kInLine, kCr, kLf, kLineEnd, kBlankLine };
  fields.clear();
  const uint32_t size = block.empty() ? 0 : block.length;
  State state = kInLine;
  uint32_t start = 0;
  for (uint32_t i = 0; i < size; i++) {
    const unsigned char c = block[i];
    // Adds the field that ends `back` bytes ahead of this one.
    const auto add = [&](uint32_t back) {
      fields.add(TBLOCK(block.pointer + start, i - back - start), 0, 1);
    };
    switch (state) {
      case kInLine:
        if (c == '\n')
          state = kLf;
        else if (c == '\r')
          state = kCr;
        break;
      case kCr:
        if (c == '\r') {
          add(0);
          start = i + 1;
        }
        state = c == '\n' ? kLineEnd : kInLine;
        break;
      case kLf:
        if (c == '\n') {
          add(1);
          return static_cast<int>(i + 1);
        }
        if (c == '\r') {
          state = kLineEnd;
          break;
        }
        // A fold behind a lone LF stays as it stands, on purpose.
        if (!IsBlank(c)) {
          add(1);
          start = i;
        }
        state = kInLine;
        break;
      case kLineEnd:
        if (IsBlank(c)) {
          if (blankFolds) memset(block.pointer + i - 2, ' ', 3);
          state = kInLine;
          break;
        }
        add(2);
        start = i;
        state = c == '\n' || c == '\r' ? kBlankLine : kInLine;
        break;
      case kBlankLine:
        return static_cast<int>(c == '\n' || c == '\r' ? i + 1 : i);
    }
  }
  const uint32_t lineEnd = state == kLf ? 1 : state == kLineEnd ? 2 : 0;
  if (size)
    fields.add(TBLOCK(block.pointer + start, size - lineEnd - start), 0, 1);
  return static_cast<int>(size);
}

namespace {

// Joins continuation lines to the last field, in the text itself. What the
// lines leave free is blanked once, when the field ends: blanking it for each
// line would cost the square of their number.
struct FieldJoiner {
  TBLOCKVECT& fields;
  unsigned char* gapEnd;  // end of the last line joined; null: none was

  void join(TBLOCK line) {
    TBLOCK field = fields.get(fields.count() - 1);
    gapEnd = line.end();
    line.trimLeft();
    if (line.empty()) return;
    unsigned char* out = field.end();
    *out++ = ' ';
    for (uint32_t i = 0; i < line.length; i++)
      *out++ = line[i] == '\t' ? ' ' : line[i];
    field.length = static_cast<uint32_t>(out - field.pointer);
    fields.set(field, fields.count() - 1);
  }

  void finish() {
    if (!gapEnd) return;
    unsigned char* const end = fields.get(fields.count() - 1).end();
    memset(end, ' ', static_cast<size_t>(gapEnd - end));
    gapEnd = nullptr;
  }
};

}  // namespace

int TBLOCK::BlockParseHeader(TBLOCK block, TBLOCKVECT& fields, int unfold,
                             int& anomaly) {
  fields.clear();
  FieldJoiner joiner = {fields, nullptr};
  TBLOCK rest = block;
  if (block.empty()) return 0;
  while (!rest.empty()) {
    const uint32_t offset = block.length - rest.length;
    TBLOCK line = NextMailLine(rest);
    if (line.empty()) break;
    for (int32_t cr = -1;
         (cr = line.findByte('\r', static_cast<uint32_t>(cr + 1))) >= 0;)
      line.pointer[cr] = ' ';
    if (unfold && IsBlank(line[0]) && fields.count() > 0) {
      joiner.join(line);
      continue;
    }
    joiner.finish();
    if (line.begins("--") || line.begins("this is a multipart")) {
      anomaly++;
      return static_cast<int>(offset);
    }
    fields.add(line, 0, 1);
  }
  joiner.finish();
  return static_cast<int>(block.length - rest.length);
}

namespace {

bool IsBoundaryLine(TBLOCK line, TBLOCK boundary) {
  const uint32_t n = boundary.empty() ? 0 : boundary.length;
  if (!line.begins("--") || !line.from(2).begins(boundary)) return false;
  if (line.length == n + 2) return true;
  const unsigned char next = line[n + 2];
  return next == '-' || next == 0 || TBLOCK::Is(next, bitWhiteSpace);
}

}  // namespace

// Few lines begin like a boundary: of the others only the end is looked for.
unsigned char* TBLOCK::BlockFindBoundary(TBLOCK block, TBLOCK boundary) {
  while (!block.empty()) {
    if (LowerConvTable[block[0]] == LowerConvTable[uint32_t{'-'}]) {
      TBLOCK rest = block;
      if (IsBoundaryLine(BlockNextLine(rest), boundary)) return block.pointer;
    }
    const int32_t lineEnd = block.findByte('\n');
    if (lineEnd < 0) break;
    block.skip(static_cast<uint32_t>(lineEnd) + 1);
  }
  return nullptr;
}

int TBLOCK::BlockFindNextPart(TBLOCK& rest, TBLOCK& part, TBLOCK boundary) {
  part.clear();
  if (rest.empty()) return 0;
  part = rest;
  const unsigned char* at = BlockFindBoundary(rest, boundary);
  if (!at) {
    rest.skip(rest.length);
    return -1;
  }
  part.length = static_cast<uint32_t>(at - part.pointer);
  rest.skip(part.length);
  BlockNextLine(rest);
  const bool blankLine = part.ends(TBLOCK("\r\n\r\n"), NoConvTable);
  part.trimRight();
  return blankLine ? 1 : 2;
}

void TBLOCK::BlockFindParts(TBLOCK block, TBLOCK boundary, TBLOCKVECT& parts) {
  parts.clear();
  // The first piece is what stands ahead of the first boundary.
  TBLOCK part;
  if (BlockFindNextPart(block, part, boundary) < 0) parts.add(part, 0, 0);
  while (BlockFindNextPart(block, part, boundary)) parts.add(part, 0, 0);
}
