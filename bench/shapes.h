// Shapes of messages that were written to be expensive.

#ifndef BENCH_SHAPES_H_
#define BENCH_SHAPES_H_

#include <stddef.h>

#include <string>

struct SHAPE {
  const char* name;
  // A message of at most n bytes, or a few more.
  std::string (*make)(size_t n);
};

// For the parsers of a message's structure.
extern const SHAPE kStructureShapes[];
extern const size_t kStructureShapeCount;
// For what reads the text, and for the checks.
extern const SHAPE kCheckShapes[];
extern const size_t kCheckShapeCount;
// The sources of a dictionary, one behind the other, for shapes that come near
// its own lines; empty until somebody fills it in.
extern std::string g_dictionaryText;

#endif  // BENCH_SHAPES_H_
