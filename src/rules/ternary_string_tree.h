// TernaryStringTree: a set of byte strings, searched by prefix. Each node holds
// one byte; strings that go on with a smaller or greater byte stand to its left
// or right, those that go on with this one under `equal`.
//
// The one template of the library: `kFold` chooses the comparison when it is
// compiled, bytes as they are or through LowerConvTable. Nothing recurses on
// the length of strings or on their number. After balance() no search looks at
// more than 9 nodes for a byte. Tested by url_blacklist_test.cc.

#ifndef RULES_TERNARY_STRING_TREE_H_
#define RULES_TERNARY_STRING_TREE_H_

#include <stdint.h>

#include <new>

#include "base/heap_sort.h"
#include "base/tblock.h"

// Longer strings are not taken in: no URL that a lookup could bring is.
const uint32_t kMaxTreeString = 4096;

template <class V>
class TernaryStringTreeNode {
 public:
  TernaryStringTreeNode* left;
  TernaryStringTreeNode* right;
  TernaryStringTreeNode* equal;
  TernaryStringTreeNode* older;  // the tree's list of all nodes
  unsigned char key;
  V value;  // not V() where a string ends

  TernaryStringTreeNode(unsigned char keyByte, TernaryStringTreeNode* list)
      : left(nullptr),
        right(nullptr),
        equal(nullptr),
        older(list),
        key(keyByte),
        value() {}
};

// One of the nodes that a byte chooses between, for sorting.
template <class V>
struct TernaryStringTreeTuple {
  TernaryStringTreeNode<V>* node;

  static int compare(void* a, void* b) {
    return static_cast<TernaryStringTreeTuple*>(a)->node->key -
           static_cast<TernaryStringTreeTuple*>(b)->node->key;
  }
};

template <class V, bool kFold>
class TernaryStringTree {
 public:
  typedef TernaryStringTreeNode<V> Node;
  typedef TernaryStringTreeTuple<V> Tuple;

  TernaryStringTree() : root(nullptr), nodes(nullptr), strings(0) {}
  ~TernaryStringTree() {
    while (nodes) {
      Node* node = nodes;
      nodes = node->older;
      delete node;
    }
  }
  TernaryStringTree(const TernaryStringTree&) = delete;
  TernaryStringTree& operator=(const TernaryStringTree&) = delete;

  // Number of strings.
  uint32_t size() const { return strings; }

  // Adds a string; one that is there keeps its value. 1, or 0 for an empty or
  // too long one and when memory is short.
  int insert(TBLOCK text, V value) {
    if (text.empty() || text.length > kMaxTreeString) return 0;
    return insertValue(&root, text.pointer, text.length, value);
  }

  // The value of exactly this string, or V().
  V find(TBLOCK text) const {
    V value = V();
    return longestPrefix(text, value) == text.length ? value : V();
  }

  // Length of the longest string that the text begins with, and its value; 0,
  // with `value` unchanged, when there is none.
  uint32_t longestPrefix(TBLOCK text, V& value) const {
    uint32_t longest = 0;
    const Node* node = root;
    for (uint32_t i = 0; i < text.length; i++) {
      const unsigned char byte = Fold(text[i]);
      while (node && node->key != byte)
        node = byte < node->key ? node->left : node->right;
      if (!node) break;
      if (node->value != V()) {
        longest = i + 1;
        value = node->value;
      }
      node = node->equal;
    }
    return longest;
  }

  // Nodes that a search may look at for one byte: the deepest left-right
  // subtree.
  uint32_t depth() const {
    uint32_t most = DepthOf(root);
    for (const Node* node = nodes; node; node = node->older) {
      const uint32_t depth = DepthOf(node->equal);
      if (depth > most) most = depth;
    }
    return most;
  }

  // Puts every left-right subtree in balance. Each is taken by itself, so
  // that no string has to be spelt out.
  void balance() {
    balanceSiblings(&root);
    for (Node* node = nodes; node; node = node->older)
      balanceSiblings(&node->equal);
  }

 private:
  static const uint32_t kMaxSiblings = 256;  // values of a byte

  Node* root;
  Node* nodes;  // owned; all of them, the newest first
  uint32_t strings;

  static unsigned char Fold(unsigned char byte) {
    return kFold ? TBLOCK::LowerConvTable[byte] : byte;
  }

  int insertValue(Node** place, const unsigned char* bytes, uint32_t length,
                  V value) {
    for (;;) {
      const unsigned char byte = Fold(*bytes);
      while (*place && (*place)->key != byte)
        place = byte < (*place)->key ? &(*place)->left : &(*place)->right;
      if (!*place) {
        Node* node = new (std::nothrow) Node(byte, nodes);
        if (!node) return 0;
        nodes = *place = node;
      }
      if (length == 1) break;
      place = &(*place)->equal;
      bytes++;
      length--;
    }
    if ((*place)->value == V()) {
      (*place)->value = value;
      strings++;
    }
    return 1;
  }

  // The nodes of a left-right subtree, in no order: each byte at most once.
  static uint32_t Siblings(Node* top, Tuple* tuples) {
    uint32_t count = 0;
    if (top) tuples[count++].node = top;
    for (uint32_t i = 0; i < count; i++) {
      Node* node = tuples[i].node;
      if (node->left) tuples[count++].node = node->left;
      if (node->right) tuples[count++].node = node->right;
    }
    return count;
  }

  void balanceSiblings(Node** top) {
    Tuple tuples[kMaxSiblings];
    const uint32_t count = Siblings(*top, tuples);
    if (count < 3) return;
    Tuple scratch;
    HeapSortInline(reinterpret_cast<unsigned char*>(tuples), count,
                   sizeof scratch, Tuple::compare,
                   reinterpret_cast<unsigned char*>(&scratch));
    *top = reinsertNodes(tuples, count);
  }

  // A balanced subtree of sorted nodes. Recurses 9 deep at most.
  static Node* reinsertNodes(Tuple* tuples, uint32_t count) {
    if (count == 0) return nullptr;
    const uint32_t middle = count / 2;
    Node* node = tuples[middle].node;
    node->left = reinsertNodes(tuples, middle);
    node->right = reinsertNodes(tuples + middle + 1, count - middle - 1);
    return node;
  }

  // A parent stands before its children in the list of a subtree, so that
  // their depths follow in one walk.
  static uint32_t DepthOf(Node* top) {
    Tuple tuples[kMaxSiblings];
    uint32_t count = Siblings(top, tuples);
    uint32_t depths[kMaxSiblings] = {1};
    uint32_t most = 0, child = 1;
    for (uint32_t i = 0; i < count; i++) {
      if (depths[i] > most) most = depths[i];
      if (tuples[i].node->left) depths[child++] = depths[i] + 1;
      if (tuples[i].node->right) depths[child++] = depths[i] + 1;
    }
    return most;
  }
};

#endif  // RULES_TERNARY_STRING_TREE_H_
