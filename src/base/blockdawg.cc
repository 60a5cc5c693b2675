// The word graph. find walks one edge for each letter of the word; to choose it
// looks at the edges of one node, which are at most 256 in a good image and at
// most that many in any. Tested by blockdawg_test.cc and fuzz/dawg_fuzz.cc.

#include "base/blockdawg.h"

#include <new>

#include "base/block.h"
#include "base/byte_order.h"

namespace {

const uint32_t kHeaderBytes = 32;
const uint32_t kEdgeBytes = 4;
const uint32_t kRootAt = 8;  // behind it the other three words
const char kMagic[] = "GHD";

// An edge as a little-endian word.
const uint32_t kChildMask = 0x3FFFFF;
const uint32_t kEndOfWord = 0x400000;
const uint32_t kLastOfNode = 0x800000;
const uint32_t kLetterShift = 24;
// Edges of a node that are looked at. One more would repeat a letter.
const uint32_t kMaxNodeEdges = 256;

}  // namespace

BLOCKDAWG::BLOCKDAWG()
    : owned(0), edges(nullptr), rootEdge(0), edgeCount(0), unused() {}

BLOCKDAWG::~BLOCKDAWG() {
  clear();
}

void BLOCKDAWG::clear() {
  if (owned) delete[](edges - kHeaderBytes);
  owned = 0;
  edges = nullptr;
  rootEdge = edgeCount = unused[0] = unused[1] = 0;
}

int BLOCKDAWG::loadFromFile(const char* path) {
  BLOCK file(0, BLOCK::_DEFALLOCSIZE);
  const int read = file.loadFrom(path, 0, 0);
  return loadFromBlock(read ? file.view() : TBLOCK());
}

int BLOCKDAWG::loadFromBlock(TBLOCK image) {
  const int good = useBlock(image);
  if (!edges) return good;
  const uint32_t size = kHeaderBytes + edgeCount * kEdgeBytes;
  unsigned char* const copy = new (std::nothrow) unsigned char[size];
  if (!copy) {
    clear();
    return 0;
  }
  memcpy(copy, image.pointer, size);
  edges = copy + kHeaderBytes;
  owned = 1;
  return 1;
}

int BLOCKDAWG::useBlock(TBLOCK image) {
  clear();
  if (image.empty() || image.length < kHeaderBytes ||
      !image.head(3).equals(TBLOCK(kMagic), TBLOCK::UpperToLower))
    return 0;
  uint32_t words[4];
  for (uint32_t i = 0; i < 4; i++)
    words[i] = Little32(image.pointer + kRootAt + 4 * i);
  if (words[1] > (image.length - kHeaderBytes) / kEdgeBytes) return 0;
  if (words[1] == 0) return 1;
  if (words[0] >= words[1]) return 0;
  edges = image.pointer + kHeaderBytes;
  rootEdge = words[0];
  edgeCount = words[1];
  unused[0] = words[2];
  unused[1] = words[3];
  return 1;
}

// The word of the edge that the last letter leads over, beginning below the
// given edge; 0 when there is none.
uint32_t BLOCKDAWG::_seek_edgeptr(TBLOCK word, uint32_t edge) const {
  for (uint32_t i = 0; i < word.length; i++) {
    const unsigned char wanted = TBLOCK::UpperToLower[word[i]];
    uint32_t at = edge & kChildMask;
    if (at == 0) return 0;
    for (uint32_t seen = 0;; at++, seen++) {
      if (at >= edgeCount || seen == kMaxNodeEdges) return 0;
      edge = Little32(edges + at * kEdgeBytes);
      if (TBLOCK::UpperToLower[edge >> kLetterShift] == wanted) break;
      if (edge & kLastOfNode) return 0;
    }
  }
  return edge;
}

int BLOCKDAWG::find(TBLOCK word) const {
  if (word.empty() || !edges) return 0;
  const uint32_t root = Little32(edges + rootEdge * kEdgeBytes);
  return (_seek_edgeptr(word, root) & kEndOfWord) != 0;
}
