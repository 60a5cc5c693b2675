// Word graphs: the first byte tells the length of a word, which the image
// follows. Words that the edges spell out must be found, and no others.

#include <stdint.h>

#include "base/blockdawg.h"
#include "fuzz_util.h"

struct Edge {
  uint32_t child;
  bool ends, last;
  unsigned char letter;
};

static Edge EdgeAt(const BLOCKDAWG& graph, uint32_t at) {
  const unsigned char* const p = graph.edges + 4 * at;
  return Edge{p[0] + 256u * p[1] + 65536u * (p[2] & 63), (p[2] & 64) != 0,
              (p[2] & 128) != 0, TBLOCK::UpperToLower[p[3]]};
}

// Whether the rest of a word leads from the node to a word's end, by the first
// edge of each letter.
static bool Leads(const BLOCKDAWG& graph, uint32_t node, TBLOCK word) {
  for (uint32_t at = node; at && at < graph.edgeCount && at < node + 256;
       at++) {
    const Edge edge = EdgeAt(graph, at);
    if (edge.letter == TBLOCK::UpperToLower[word[0]])
      return word.length == 1 ? edge.ends
                              : Leads(graph, edge.child, word.from(1));
    if (edge.last) break;
  }
  return false;
}

static void CheckWord(const BLOCKDAWG& graph, const BLOCKDAWG& borrowed,
                      TBLOCK word) {
  const bool there = graph.edges && !word.empty() &&
                     Leads(graph, EdgeAt(graph, graph.rootEdge).child, word);
  Check(graph.find(word) == there && borrowed.find(word) == there);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size == 0) return 0;
  const uint32_t rest = static_cast<uint32_t>(size - 1);
  const uint32_t n = bytes[0] < rest ? bytes[0] : rest;
  const HeapText word(bytes + 1, n), copy(bytes + 1 + n, rest - n);
  BLOCKDAWG graph, borrowed;
  const TBLOCK image = copy.view();
  Check(graph.loadFromBlock(image) == borrowed.useBlock(image));
  Check(graph.edgeCount == borrowed.edgeCount);
  Check(graph.edgeCount <= image.length / 4);
  CheckWord(graph, borrowed, word.view());
  // Words along the first edges, and along the second ones.
  for (uint32_t way = 0; way < 2 && graph.edges; way++) {
    unsigned char text[40];
    uint32_t node = EdgeAt(graph, graph.rootEdge).child;
    for (uint32_t i = 0; i < sizeof text; i++) {
      const uint32_t at = node + way;
      if (node == 0 || at >= graph.edgeCount) break;
      const Edge edge = EdgeAt(graph, at);
      text[i] = edge.letter;
      CheckWord(graph, borrowed, TBLOCK(text, i + 1));
      node = edge.child;
    }
  }
  return 0;
}
