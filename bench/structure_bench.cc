// How the cost of reading a message grows on input that was written to be
// expensive. Each shape is built at four sizes, each twice the one before, up
// to what a scan looks at; it is loaded and parsed as a scan does, and the best
// of several runs counts. Prints a row for each shape with the milliseconds
// and the ratio of each doubling, the worst of the last doublings at the end.
// Where that ratio is above kWorstRatio the row is marked. Always exits 0.
//
//   cmake --preset native
//   cmake --build --preset native --target structure_bench
//   build/native/bench/structure_bench [PART OF A SHAPE'S NAME]
//
// Time is the thread's own, so that a busy machine does little harm; a marked
// row is worth a second run all the same.

#include <stdio.h>
#include <string.h>

#include <memory>
#include <string>

#include "bench_util.h"
#include "shapes.h"

namespace {

// Twice, and something for what grows with the logarithm or leaves a cache.
const double kWorstRatio = 2.3;
// Turns over all sizes, so that a disturbance does not hit one size alone, and
// runs of one size in each turn.
const int kTurns = 3;
const int kMinRuns = 5;
const int kMaxRuns = 100;
const double kMaxSeconds = 0.15;  // of one size in one turn, above kMinRuns

// A load, from the object's birth to its end.
void ParseOnce(const std::string& mail) {
  TQMMSG message(nullptr, nullptr, nullptr, 0, 0);
  if (!message.loadFromBlock(
          TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())), nullptr, 1))
    fprintf(stderr, "no memory\n");
}

// Prints the row of a shape; returns the ratio of the last doubling.
double RunShape(const SHAPE& shape) {
  printf("%-30s", shape.name);
  const auto seconds = [&](size_t size) {
    const std::string mail = shape.make(size);
    return BestOf([&] { ParseOnce(mail); }, kMinRuns, kMaxRuns, kMaxSeconds);
  };
  return MeasureGrowth(seconds, 9, kWorstRatio, kTurns);
}

}  // namespace

int main(int argc, char** argv) {
  KeepMemory();
  PrintSizes("milliseconds at bytes", 30, 9);
  double worst = 0;
  const char* worstName = "none";
  for (size_t i = 0; i < kStructureShapeCount; i++) {
    const SHAPE& shape = kStructureShapes[i];
    if (argc > 1 && !strstr(shape.name, argv[1])) continue;
    const double ratio = RunShape(shape);
    if (ratio <= worst) continue;
    worst = ratio;
    worstName = shape.name;
  }
  printf("worst last doubling: %.2f (%s)\n", worst, worstName);
  return 0;
}
