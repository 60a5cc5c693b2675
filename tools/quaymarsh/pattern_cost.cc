// What a pattern costs is asked of the engine, and nothing is timed. One whose
// every try goes far through the text makes so many steps that the engine gives
// it up (ZR_MAX_STEPS) in a text that is made for it: where an element repeats
// without a limit, what stands ahead of it in the pattern and then a long
// repetition. And a long text is read byte by byte when the pattern has nothing
// to be searched by: no window that all matches hold or begin with, no anchor.
// Tested by tests/tools/lint_test.sh.

#include "pattern_cost.h"

#include <memory>
#include <set>
#include <string>

#include "regex/zr_regex.h"
#include "regex/zr_search.h"

namespace {

// A long text, and one of a header field or a link as mail has them.
const uint32_t kLongBytes = 65536;
const uint32_t kShortBytes = 512;
// Of a sample, and of one element in it: patterns may count to millions.
const size_t kMaxSampleBytes = 4096;
const uint32_t kMaxRepeats = 64;

using RegexPointer = std::unique_ptr<zr_regex, void (*)(zr_regex*)>;

class CostProbe {
 public:
  CostProbe(const zr_regex& regex, bool longText)
      : regex_(regex), nodes_(regex.fastNodes), long_(longText) {}

  bool givesUp() const;
  bool isSearched() const;

 private:
  char byteOf(const zr_node& node) const;
  void addNode(uint32_t i, std::string& text) const;
  std::string sample(uint32_t from, uint32_t to) const;
  bool givesUpOn(const std::string& text) const;
  bool beginsSearched(uint32_t record) const;
  bool areRare(uint32_t first, uint32_t count) const;

  const zr_regex& regex_;
  const zr_node* const nodes_;
  const bool long_;
};

// A byte that the element matches, one that can be read if there is one; of an
// element that matches nearly all of them one that patterns seldom begin with.
char CostProbe::byteOf(const zr_node& node) const {
  const zr_set set = zr_set_of_node(&regex_, node, regex_.caseMask);
  const bool wide = zr_set_has(set, '~') && zr_set_has(set, 'a');
  for (const char* c = wide ? "~" : "a0A -.,:/=x@<&#_%$"; *c; c++)
    if (zr_set_has(set, static_cast<unsigned char>(*c))) return *c;
  for (uint32_t byte = 0xFF; byte > 0; byte--)
    if (zr_set_has(set, byte)) return static_cast<char>(byte);
  return '\0';
}

// The least that one node matches.
void CostProbe::addNode(uint32_t i, std::string& text) const {
  const zr_node& node = nodes_[i];
  if (node.opcode != ZR_STRING && !zr_is_byte(node.opcode)) return;
  std::string once(1, ' ');
  if (node.opcode == ZR_STRING)
    once.assign(reinterpret_cast<const char*>(regex_.pool) + node.a,
                node.b - node.a + 1);
  else
    once[0] = byteOf(node);
  for (uint32_t k = 0; k < node.min && k < kMaxRepeats; k++) text += once;
}

// A text for the nodes from one to another; of alternatives for the first.
std::string CostProbe::sample(uint32_t from, uint32_t to) const {
  std::string text;
  for (uint32_t i = from; i < to && text.size() < kMaxSampleBytes; i++) {
    if (nodes_[i].opcode == ZR_ALT)
      i = nodes_[i].min;  // behind the last one
    else
      addNode(i, text);
  }
  return text;
}

bool CostProbe::givesUpOn(const std::string& text) const {
  const int code = zr_regexec_len(&regex_, text.data(), 0, nullptr, 0,
                                  static_cast<uint32_t>(text.size()));
  return code != ZR_OK && code != ZR_NOMATCH;
}

// What comes behind the repetition stands in front of the text, for the engine
// to find there what it asks all texts for.
bool CostProbe::givesUp() const {
  const uint32_t size = long_ ? kLongBytes : kShortBytes;
  std::set<std::string> tried;
  for (uint32_t i = 0; i < regex_.fastNodeCount; i++) {
    const zr_node& node = nodes_[i];
    if (node.max != ZR_UNBOUNDED) continue;
    std::string unit;
    uint32_t begin = i;
    if (node.opcode == ZR_CLOSE || node.opcode == ZR_LITCLOSE) {
      begin = node.a;
      unit = sample(begin + 1, i);
    } else if (zr_is_byte(node.opcode)) {
      unit = std::string(1, byteOf(node));
    }
    if (unit.empty()) continue;
    const std::string ahead = sample(0, begin);
    const std::string behind = sample(i + 1, regex_.fastNodeCount);
    for (const std::string& start : {behind + "\n", std::string()}) {
      std::string text = start + ahead;
      while (text.size() < size) text += unit;
      if (tried.insert(text += "\x01").second && givesUpOn(text)) return true;
    }
  }
  return false;
}

bool CostProbe::areRare(uint32_t first, uint32_t count) const {
  for (uint32_t i = 0; i < count; i++)
    if (regex_.search->windows[first + i].weak) return false;
  return count > 0;
}

// Whether there is something to look for where an alternative begins.
bool CostProbe::beginsSearched(uint32_t record) const {
  uint32_t i = regex_.fastGroups[record].first + 1;
  while (nodes_[i].opcode == ZR_CASEON || nodes_[i].opcode == ZR_CASEOFF) i++;
  const uint32_t opcode = nodes_[i].opcode;
  if (opcode == ZR_BOS) return true;
  if (nodes_[i].min > 0 &&
      (opcode == ZR_CHAR || opcode == ZR_STRING || opcode == ZR_LITOPEN))
    return true;
  const zr_start* const starts = regex_.search->fast.starts;
  return starts && areRare(starts[record].first, starts[record].count);
}

// A pattern for one byte matches soon, or looks for that byte.
bool CostProbe::isSearched() const {
  const zr_search& search = *regex_.search;
  if (regex_.minLength < 2 || areRare(0, search.coverCount)) return true;
  for (uint32_t i = 0; i < regex_.fastGroupCount; i++)
    if (regex_.fastGroups[i].parent == ZR_NONE && !beginsSearched(i))
      return false;
  return true;
}

}  // namespace

const char* CostOfPattern(TBLOCK pattern, bool longText) {
  const RegexPointer regex(zr_regalloc(), zr_regfree);
  if (!regex || zr_regcomp_len(regex.get(),
                               reinterpret_cast<const char*>(pattern.pointer),
                               0, pattern.length) != ZR_OK)
    return nullptr;
  const CostProbe probe(*regex, longText);
  if (probe.givesUp())
    return "costly pattern: there are texts that keep it busy until it is "
           "given up";
  if (longText && !probe.isSearched())
    return "costly pattern: nothing to search a long text for, neither a plain "
           "text nor an anchor";
  return nullptr;
}
