// The suffixes of two parts below which the public registers names ("co.uk"),
// as an image for BLOCKDAWG. tld_graph.cc is made by tools/gen/tld_graph.py of
// public_suffixes.txt beside it. 32 KB.

#ifndef DATA_TLD_GRAPH_H_
#define DATA_TLD_GRAPH_H_

#include <stdint.h>

extern const unsigned char kTldGraph[];
extern const uint32_t kTldGraphBytes;

#endif  // DATA_TLD_GRAPH_H_
