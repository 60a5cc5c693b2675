// The text operations of TBLOCK and BLOCK on arbitrary bytes. The first byte
// names the operation, the second one varies it; the rest is the text, in a
// buffer of exactly its size.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "base/block.h"
#include "base/vectors.h"
#include "base/wildcard.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size < 2) return 0;
  const uint32_t n = static_cast<uint32_t>(size - 2);
  std::unique_ptr<unsigned char[]> copy(new unsigned char[n]);
  memcpy(copy.get(), bytes + 2, n);
  TBLOCK text(copy.get(), n);
  const int vary = bytes[1] & 1;
  const TBLOCK front = text.head(bytes[1] % 32);
  const TBLOCK back = text.from(front.length);
  TBLOCKVECT list(0);
  TBLOCK rest = back, piece;
  int anomaly = 0;
  switch (bytes[0] % 12) {
    case 0:
      TBLOCK::HeaderToBlocks(text, list, vary);
      break;
    case 1:
      TBLOCK::BlockParseHeader(text, list, vary, anomaly);
      break;
    case 2:
      TBLOCK::BlockFindParts(back, front, list);
      break;
    case 3:
      TBLOCK::DecodeQuotedPrintable(text);
      break;
    case 4:
      TBLOCK::DecodeUU(text);
      break;
    case 5: {
      TBLOCK out = front.length % 2 ? text : back;
      TBLOCK::BlockUnbase64(out, out, vary);
      break;
    }
    case 6: {
      std::unique_ptr<unsigned char[]> out(new unsigned char[n * 2 + 4]);
      TBLOCK room(out.get(), n * 2 + 4);
      TBLOCK::BlockBase64(text, room, vary, nullptr, '=');
      break;
    }
    case 7: {
      BLOCK block(0, 16);
      block.add(text);
      delete block.encode64();
      delete block.decode64();
      break;
    }
    case 8:
      MatchWildcard(front, back, static_cast<WildcardMiddle>(n % 4));
      break;
    case 9:
      TBLOCK::BlockContainWithoutChars(back, front, front.head(3));
      break;
    case 10:
      while (TBLOCK::BlockToken(rest, "a", '=')) {
      }
      TBLOCK::BlockUnquote(rest, vary);
      TBLOCK::BlockClearSpace(rest, vary);
      break;
    default:
      while (TBLOCK::BlockBeforeSetOfChars(rest, piece, ",;\n", vary))
        rest.skip(1);
      TBLOCK::GetBlockWordList(back, list, bitWordSep);
  }
  return 0;
}
