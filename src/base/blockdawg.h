// BLOCKDAWG: whether a string is in a word list, stored as an acyclic graph in
// which words share their beginnings and their ends.
//
// The image, little-endian: 32 bytes of header, "GHD" (in any case) and five
// bytes that nobody reads, then the words rootEdge, edgeCount, two counts that
// lookups do not need, and 8 bytes reserved; then 4 bytes for each edge, the
// last one of which is the letter. The 32-bit word in front of it, less that
// byte, holds the index of the first edge of the child node (22 bits), the
// mark that a word ends here, and the mark of the last edge of a node. Edge 0
// stands for "no child" and holds nothing. The root edge leads to the node of
// the first letters.
//
// An image may come from anywhere: no figure in it leads a lookup out of the
// edges, nor further than the word is long.

#ifndef BASE_BLOCKDAWG_H_
#define BASE_BLOCKDAWG_H_

#include <stdint.h>

#include "base/tblock.h"

class BLOCKDAWG {
 public:
  int32_t owned;               // 1 when `edges` lie in a copy of this
  const unsigned char* edges;  // null while the graph is empty
  uint32_t rootEdge;
  uint32_t edgeCount;
  uint32_t unused[2];  // the other counts of the header

  BLOCKDAWG();
  ~BLOCKDAWG();
  BLOCKDAWG(const BLOCKDAWG&) = delete;
  BLOCKDAWG& operator=(const BLOCKDAWG&) = delete;

  // Empties the graph.
  void clear();
  // Replace the graph by that of an image, of which they keep a copy. 1, or 0
  // with an empty graph: no such file, no image, edges missing, no memory. An
  // image without edges is a good one.
  int loadFromFile(const char* path);
  int loadFromBlock(TBLOCK image);
  // The same without a copy: the image must outlive the graph. For images that
  // are linked in.
  int useBlock(TBLOCK image);

  // 1 when the string is a word of the graph, the bytes of both compared
  // through TBLOCK::UpperToLower; else, and for an empty string, 0.
  int hasWord(const char* word) const { return find(TBLOCK(word)); }
  int find(TBLOCK word) const;

 private:
  uint32_t _seek_edgeptr(TBLOCK word, uint32_t edge) const;
};

#endif  // BASE_BLOCKDAWG_H_
