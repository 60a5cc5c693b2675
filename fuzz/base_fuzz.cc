// The text operations of TBLOCK and BLOCK on arbitrary bytes. The first byte
// names the operation, the second one varies it; the rest is the text, in a
// buffer of exactly its size.

#include <stdint.h>

#include <memory>

#include "base/block.h"
#include "base/vectors.h"
#include "base/wildcard.h"
#include "fuzz_util.h"

// What callers do with lists of values, in place.
static void ReadPieces(TBLOCK rest, int vary) {
  TBLOCKVECT list(0);
  TBLOCK piece;
  while (TBLOCK::BlockBeforeSetOfChars(rest, piece, ",;\n", vary)) {
    list.addUnique(piece, 0, 1);
    rest.skip(1);
  }
  while (TBLOCK::BlockToken(piece, "a", '=')) {
  }
  TBLOCK::BlockUnquote(piece, vary);
  TBLOCK::BlockClearSpace(piece, vary);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size < 2) return 0;
  const HeapText copy(bytes + 2, size - 2);
  TBLOCK text = copy.view();
  const uint32_t n = text.length;
  const int vary = bytes[1] & 1;
  const TBLOCK front = text.head(bytes[1] % 32);
  TBLOCK rest = text.from(front.length);
  // Room for a result, sometimes more than it needs, sometimes less.
  const uint32_t size2 = n / 2 * (bytes[1] >> 5);
  const std::unique_ptr<unsigned char[]> room(new unsigned char[size2]);
  TBLOCK out(room.get(), size2);
  TBLOCKVECT list(0);
  BLOCK block(0, 16);
  int anomaly = 0;
  switch (bytes[0] % 11) {
    case 0:
      Check(TBLOCK::HeaderToBlocks(text, list, vary) <= int(n));
      break;
    case 1:
      TBLOCK::BlockParseHeader(text, list, vary, anomaly);
      for (int32_t i = 1; i < list.count(); i++)
        Check(list.get(i).pointer >= list.get(i - 1).end());
      break;
    case 2:
      TBLOCK::BlockFindParts(rest, front, list);
      break;
    case 3:
      vary ? TBLOCK::DecodeQuotedPrintable(text) : TBLOCK::DecodeUU(text);
      break;
    case 4:
      TBLOCK::BlockUnbase64(rest, rest, vary);
      break;
    case 5:
      TBLOCK::BlockUnbase64(text, out, vary);
      Check(out.length <= size2);
      break;
    case 6:
      Check(TBLOCK::BlockBase64(text, out, vary, 0, '=') <= size2);
      break;
    case 7:
      block.add(text);
      delete block.encode64();
      delete block.decode64();
      break;
    case 8:
      MatchWildcard(front, rest, static_cast<WildcardMiddle>(n % 4));
      break;
    case 9:
      TBLOCK::BlockContainWithoutChars(rest, front, front.head(3));
      break;
    default:
      ReadPieces(rest, vary);
  }
  return 0;
}
