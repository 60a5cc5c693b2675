// What the most expensive messages cost: whole scans through the shared library
// with a context, the dictionary that is built in, all checks, cause and
// header, and no early end by score.
//
//   hostile_bench [--only PART OF A NAME] [--worst RATIO] [FILE...]
//
// Each shape of structure_shapes.cc and check_shapes.cc is scanned at 51,200,
// 102,400 and 204,800 bytes, of which the last is all that a scan looks at;
// with files these instead, as they are. Prints the milliseconds of the
// largest, its ratio to the median of ordinary mail of that size, and the ratio
// of each doubling; then the ten most expensive. A row above RATIO (50) is
// marked.
//
// Ordinary mail of a size is made of each of samples/*.eml and
// tests/golden/*.eml: its header without what tells of parts, and its first
// text or HTML, as it is encoded there, over and over up to that size; of a
// page what stands within its body. Those in base64 and without a text are left
// out.
//
// Time is the thread's own, the best of some runs. Exit 0, also above the
// ratio; 64: usage, 66: there is no ordinary mail.

#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bench_util.h"
#include "host.h"
#include "shapes.h"

namespace {

const size_t kHostileSizes[] = {51200, 102400, 204800};
const size_t kHostileSizeCount = 3;
const size_t kFullSize = kHostileSizes[kHostileSizeCount - 1];
const int kMostRuns = 5;
const double kEnoughSeconds = 0.05;  // of one size; then no further run
const double kWorst = 50;
const size_t kShown = 10;

// ---- Scans

// Milliseconds of the best run.
double Measure(HOST& host, const std::string& message) {
  return 1e3 *
         BestOf([&] { host.scan(message); }, 2, kMostRuns, kEnoughSeconds);
}

// ---- Ordinary mail

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> FilesOf(const std::string& folder, const char* end) {
  std::vector<std::string> files;
  DIR* directory = opendir(folder.c_str());
  while (const dirent* entry = directory ? readdir(directory) : nullptr) {
    const std::string name = entry->d_name;
    const size_t n = strlen(end);
    if (name.size() > n && name.compare(name.size() - n, n, end) == 0)
      files.push_back(folder + "/" + name);
  }
  if (directory) closedir(directory);
  std::sort(files.begin(), files.end());
  return files;
}

// Where `text` stands in `in`, in any case.
size_t FindText(const std::string& in, const std::string& text, size_t from) {
  for (size_t i = from; i + text.size() <= in.size(); i++)
    if (strncasecmp(in.c_str() + i, text.c_str(), text.size()) == 0) return i;
  return std::string::npos;
}

// Header and body; the empty line is of neither.
struct ENTITY {
  std::string header, body;

  explicit ENTITY(const std::string& text) {
    size_t at = text.find("\n\n"), skip = 2;
    const size_t other = text.find("\r\n\r\n");
    if (other < at) at = other, skip = 4;
    header = text.substr(0, at) + "\n";
    if (at != std::string::npos) body = text.substr(at + skip);
  }
  bool says(const char* text) const {
    return FindText(header, text, 0) != std::string::npos;
  }
  // Its fields whose name begins with "Content-", or all the others.
  std::string fields(bool content) const {
    std::string out, line;
    bool taken = false;
    std::istringstream lines(header);
    while (std::getline(lines, line)) {
      if (line.empty() || (line[0] != ' ' && line[0] != '\t'))
        taken = (strncasecmp(line.c_str(), "Content-", 8) == 0) == content;
      if (taken && !line.empty() && line != "\r") out += line + "\n";
    }
    return out;
  }
};

// The first text below an entity, or one without a body.
ENTITY FirstText(const ENTITY& entity, int depth) {
  const size_t at = FindText(entity.header, "boundary=", 0);
  if (at == std::string::npos || depth > 4)
    return entity.says("Content-Type: text/") || !entity.says("Content-Type:")
               ? entity
               : ENTITY("");
  size_t from = at + 9;
  const char* ends = "\r\n; ";
  if (entity.header[from] == '"') ends = "\"", from++;
  const size_t to = entity.header.find_first_of(ends, from);
  const std::string mark = "--" + entity.header.substr(from, to - from);
  size_t begin = entity.body.find(mark);
  while (begin != std::string::npos) {
    begin = entity.body.find('\n', begin);
    if (begin == std::string::npos) break;
    const size_t next = entity.body.find("\n" + mark, begin);
    const ENTITY piece(entity.body.substr(begin + 1, next - begin));
    const ENTITY text = FirstText(piece, depth + 1);
    if (!text.body.empty()) return text;
    begin = next == std::string::npos ? next : next + 1;
  }
  return ENTITY("");
}

// A message of n bytes that is made of this one; empty when it has no text.
std::string Ordinary(const std::string& message, size_t n) {
  const ENTITY whole(message);
  const ENTITY text = FirstText(whole, 0);
  if (text.body.empty() || text.says("base64")) return "";
  std::string unit = text.body;
  size_t begin = FindText(unit, "<body", 0);
  if (text.says("text/html") && begin != std::string::npos) {
    begin = unit.find('>', begin);
    const size_t end = FindText(unit, "</body", begin);
    if (begin != std::string::npos)
      unit = unit.substr(begin + 1, end - begin - 1);
  }
  if (unit.empty()) return "";
  std::string out = whole.fields(false) + text.fields(true) + "\n";
  while (out.size() < n) out += unit;
  return out.substr(0, n);
}

// The median for messages of n bytes, 0 when there is none.
double MedianOrdinary(HOST& host, size_t n, size_t* count) {
  std::vector<double> all;
  for (const char* folder : {"/samples", "/tests/golden"})
    for (const std::string& file :
         FilesOf(std::string(QM_SOURCE_DIR) + folder, ".eml")) {
      const std::string mail = Ordinary(ReadFile(file), n);
      if (!mail.empty()) all.push_back(Measure(host, mail));
    }
  *count = all.size();
  if (all.empty()) return 0;
  std::sort(all.begin(), all.end());
  return all[all.size() / 2];
}

// ---- The table

struct ROW {
  std::string name;
  double ms;
};

class TABLE {
 public:
  TABLE(HOST& host, double median, double worst)
      : host_(host), median_(median), worst_(worst) {
    printf("%-36s %9s %7s  growth of each doubling\n", "shape", "ms", "ratio");
  }

  void add(const SHAPE& shape) {
    double ms[kHostileSizeCount];
    for (size_t i = 0; i < kHostileSizeCount; i++)
      ms[i] = Measure(host_, shape.make(kHostileSizes[i]));
    begin(shape.name, ms[kHostileSizeCount - 1]);
    for (size_t i = 1; i < kHostileSizeCount; i++)
      printf(" %6.2f", ms[i] / ms[i - 1]);
    end(ms[kHostileSizeCount - 1]);
  }
  void addFile(const char* path) {
    const double ms = Measure(host_, ReadFile(path));
    begin(path, ms);
    end(ms);
  }
  void finish() {
    std::sort(rows_.begin(), rows_.end(),
              [](const ROW& a, const ROW& b) { return a.ms > b.ms; });
    printf("\nmost expensive:\n");
    for (size_t i = 0; i < rows_.size() && i < kShown; i++)
      printf("%-36s %9.2f %7.1f\n", rows_[i].name.c_str(), rows_[i].ms,
             rows_[i].ms / median_);
    printf("%zu shapes, %zu above %.0f times the median\n", rows_.size(),
           above_, worst_);
  }

 private:
  void begin(const char* name, double ms) {
    printf("%-36s %9.2f %7.1f ", name, ms, ms / median_);
    rows_.push_back({name, ms});
  }
  void end(double ms) {
    const bool above = ms / median_ > worst_;
    if (above) above_++;
    printf("%s\n", above ? "  <-- too much" : "");
    fflush(stdout);
  }

  HOST& host_;
  const double median_, worst_;
  std::vector<ROW> rows_;
  size_t above_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const char* only = "";
  double worst = kWorst;
  int i = 1;
  for (; i < argc && strncmp(argv[i], "--", 2) == 0; i += 2) {
    if (i + 1 < argc && strcmp(argv[i], "--only") == 0) {
      only = argv[i + 1];
    } else if (i + 1 < argc && strcmp(argv[i], "--worst") == 0) {
      worst = atof(argv[i + 1]);
    } else {
      fprintf(stderr,
              "usage: hostile_bench [--only PART] [--worst RATIO] [FILE...]\n");
      return 64;
    }
  }
  KeepMemory();
  for (const std::string& file :
       FilesOf(std::string(QM_SOURCE_DIR) + "/dictionary", ".kws"))
    g_dictionaryText += ReadFile(file);
  void* const context = QmCreateSpeedupContext();
  HOST host(context, QM_NO_BAILOUT);
  size_t count = 0;
  const double median = MedianOrdinary(host, kFullSize, &count);
  if (count == 0) {
    fprintf(stderr, "no ordinary mail below %s\n", QM_SOURCE_DIR);
    return 66;
  }
  printf("%d bits; median of %zu ordinary messages of %zu bytes: %.2f ms\n\n",
         int(8 * sizeof(void*)), count, kFullSize, median);
  TABLE table(host, median, worst);
  for (int k = i; k < argc; k++) table.addFile(argv[k]);
  for (size_t k = 0; k < kStructureShapeCount && i == argc; k++)
    if (strstr(kStructureShapes[k].name, only)) table.add(kStructureShapes[k]);
  for (size_t k = 0; k < kCheckShapeCount && i == argc; k++)
    if (strstr(kCheckShapes[k].name, only)) table.add(kCheckShapes[k]);
  table.finish();
  QmReleaseSpeedupContext(context);
  return 0;
}
