// What the files of the compiler share: a node list with its group records
// while it is being built. The parser and every copy made afterwards build
// through these calls, so indices and records are right by construction.
//
// All return ZR_OK or ZR_NOMEMORY; after that the list may only be printed,
// taken over by a record or freed.

#ifndef REGEX_ZR_INTERNAL_H_
#define REGEX_ZR_INTERNAL_H_

#include "regex/zr_regex.h"

struct zr_list {
  zr_node* nodes;
  uint32_t nodeCount;
  uint32_t nodeCapacity;
  zr_group* groups;
  uint32_t groupCount;
  uint32_t groupCapacity;
  uint32_t record;  // the alternative that is being filled
};

// Makes both arrays and the ZR_START node.
int zr_list_begin(zr_list* list);
// Appends an element that is no bracket. A ZR_EOS gets its tail length.
int zr_list_add(zr_list* list, const zr_node& node);
// Opens a group; the opcode is ZR_OPEN or ZR_LITOPEN.
int zr_list_open(zr_list* list, uint32_t opcode, uint32_t noCapture,
                 uint32_t capture);
// Begins the next alternative of the open group, or of the whole pattern.
int zr_list_alternative(zr_list* list);
// Closes the group with min, max and lazy of `quantifier`.
int zr_list_close(zr_list* list, const zr_node& quantifier);
int zr_list_end(zr_list* list);
void zr_list_free(zr_list* list);

// An element with nothing set: once, greedy.
zr_node zr_plain_node(uint32_t opcode, uint32_t a, uint32_t b);
// Gives an element another quantifier; for a close its open node, too.
void zr_set_quantifier(zr_list* list, uint32_t index, const zr_node& from);
// Stores the tail length of the ZR_EOS at `index`.
void zr_set_tail(zr_list* list, uint32_t index);

// All ones when the result would not fit.
uint32_t zr_add(uint32_t x, uint32_t y);
uint32_t zr_multiply(uint32_t x, uint32_t y);

// The passes behind the parser, in this order. The full list is in `preg`.
int zr_rewrite_starts(zr_regex* preg);
int zr_trim(zr_regex* preg);
int zr_reduce(zr_regex* preg);
void zr_derive(zr_regex* preg);

#endif  // REGEX_ZR_INTERNAL_H_
