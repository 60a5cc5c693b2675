// The model's reader and matcher. What comes behind an element is tried by
// calling for it, so that a call that comes back has failed, and has put the
// state back. Entry points: Pattern, Match. Tested by regex_model_test.cc, and
// against what is known by zr_regexec_test.cc.

#include "regex/regex_model_util.h"

#include <algorithm>

namespace regex_model {

namespace {

typedef std::bitset<256> Set;

Set RangeOf(uint32_t low, uint32_t high) {
  Set set;
  for (uint32_t c = low; c <= high; c++) set.set(c);
  return set;
}

// The set of a node or of a member of a class.
Set SetOf(const zr_regex& regex, uint32_t opcode, uint32_t a, uint32_t b) {
  const Set digits = RangeOf('0', '9');
  const Set alnum = digits | RangeOf('A', 'Z') | RangeOf('a', 'z');
  Set set;
  switch (opcode) {
    case ZR_ANY:
      return RangeOf(0x0D, 0xFF);
    case ZR_NOTCHAR:
    case ZR_SET:
    case ZR_NOTSET:
      for (; a <= b; a++) set.set(regex.pool[a]);
      return opcode == ZR_SET ? set : ~set;
    case ZR_CLASS:
    case ZR_NOTCLASS:
      for (; a < b; a++) {
        const zr_member& one = regex.members[a];
        const bool bytes = one.kind <= ZR_MEMBER_RUN;
        set |= SetOf(regex, bytes ? uint32_t{ZR_SET} : one.kind, one.a, one.b);
      }
      return opcode == ZR_CLASS ? set : ~set;
    case ZR_RANGE:
      return RangeOf(regex.pool[a], regex.pool[b]);
    case ZR_NOTRANGE:
      return ~RangeOf(regex.pool[a], regex.pool[b]);
    case ZR_TAB:
      return RangeOf('\t', '\t');
    case ZR_LF:
      return RangeOf('\n', '\n');
    case ZR_CR:
      return RangeOf('\r', '\r');
    case ZR_BS:
      return RangeOf(8, 8);
    case ZR_ALNUM:
      return alnum;
    case ZR_WORD:
      return alnum | RangeOf('_', '_');
    case ZR_SPACE:
      return RangeOf(9, 13) | RangeOf(' ', ' ');
    case ZR_DIGIT:
      return digits;
    default:  // of these four the negated ones
      return ~SetOf(regex, opcode - 1, a, b);
  }
}

// Reads what stands behind the node *i, which opens alternatives; leaves *i at
// the node that closes them.
Tree ReadTree(const zr_regex& regex, const zr_node* nodes,
              const zr_group* groups, uint32_t* i) {
  Tree tree(1);
  tree[0].skip = groups[nodes[*i].a].skip != 0;
  for (++*i;; ++*i) {
    const zr_node& node = nodes[*i];
    Element element;
    element.kind = node.opcode;
    switch (node.opcode) {
      case ZR_END:
      case ZR_CLOSE:
      case ZR_LITCLOSE:
        return tree;
      case ZR_ALT:
        tree.emplace_back();
        tree.back().skip = groups[node.a].skip != 0;
        continue;
      case ZR_OPEN:
      case ZR_LITOPEN:
        element.slot = groups[node.a].capture;
        element.alternatives = ReadTree(regex, nodes, groups, i);
        break;
      case ZR_CHAR:
      case ZR_STRING:
        element.kind = ZR_STRING;
        for (uint32_t at = node.a; at <= node.b; at++)
          element.text += static_cast<char>(regex.pool[at]);
        break;
      case ZR_EOS:
        element.tail = node.a;
        element.mask = static_cast<uint8_t>(node.b);
        break;
      case ZR_CASEON:
      case ZR_CASEOFF:
        element.kind = ZR_CASEON;
        element.mask = node.opcode == ZR_CASEON ? 0xFF : 0xDF;
        break;
      case ZR_BACKREF:
        element.slot = node.a;
        break;
      case ZR_BOS:
      case ZR_BS:  // faulty by itself
        break;
      default:
        element.kind = ZR_CLASS;
        element.set = SetOf(regex, node.opcode, node.a, node.b);
    }
    // Of a group it is the close that has the quantifier.
    element.min = nodes[*i].min;
    element.max = nodes[*i].max;
    element.lazy = nodes[*i].lazy != 0;
    tree.back().elements.push_back(element);
  }
}

// Besides the codes of an answer: this way fails, go on with the next.
const int kFails = 1;
const uint32_t kMaxDepth = 5000;

// One iteration of a group on the way to where the matcher stands.
struct Run {
  const Element* group;
  const Alternative* outer;  // the alternative that the group stands in
  size_t index;              // its place there
  const Run* parent;         // the iteration of the enclosing group
  uint32_t count;            // iterations before this one
};

class Matcher {
 public:
  Matcher(const Pattern& pattern, std::string_view subject, Wanted wanted,
          uint64_t budget)
      : pattern_(pattern),
        tree_(wanted == Wanted::kNothing && !pattern.regex.hasBackref
                  ? pattern.reduced
                  : pattern.full),
        subject_(subject),
        captures_(wanted == Wanted::kCaptures),
        budget_(budget),
        mask_(pattern.regex.caseMask),
        starts_(pattern.slots, -1),
        ends_(pattern.slots, -1) {}

  Answer run();

 private:
  size_t length() const { return subject_.size(); }
  uint8_t byteAt(size_t pos) const {
    return Fold(static_cast<uint8_t>(subject_[pos]), mask_);
  }
  bool spend();

  int decide();
  bool findBase();
  int checkTail();
  bool matchesBackwards(const Element& element, size_t* pos) const;

  int searchAll();
  int alternatives(const Tree& tree, size_t pos, const Run* run);
  int scan(const Alternative& one, size_t pos, const Run* run);
  void moveStarts(const Run* run, size_t pos);

  int walk(const Alternative& one, size_t i, size_t pos, const Run* run);
  int walkMany(const Alternative& one, size_t i, size_t pos, const Run* run);
  int iterate(const Alternative& one, size_t i, const Run* parent,
              uint32_t count, size_t pos);
  int enter(const Alternative& one, size_t i, const Run* parent, uint32_t count,
            size_t pos);
  int close(const Run* run, size_t pos);

  bool isSet(uint32_t slot) const {
    return starts_[slot] >= 0 && ends_[slot] >= starts_[slot];
  }
  std::string_view captured(uint32_t slot) const {
    return subject_.substr(static_cast<size_t>(starts_[slot]),
                           static_cast<size_t>(ends_[slot] - starts_[slot]));
  }
  bool literalMatches(const std::string& text, size_t pos) const;
  bool matchesOnce(const Element& element, size_t pos, size_t* width) const;

  const Pattern& pattern_;
  const Tree& tree_;
  const std::string_view subject_;
  const bool captures_;
  uint64_t budget_;
  uint8_t mask_;
  std::vector<int32_t> starts_, ends_;
  size_t base_ = 0;
  uint32_t closed_ = 0;  // groups closed on the way to here
  uint32_t depth_ = 0;
};

bool Matcher::spend() {
  if (budget_ == 0) return false;
  budget_--;
  return true;
}

bool Matcher::literalMatches(const std::string& text, size_t pos) const {
  if (length() - pos < text.size()) return false;
  for (size_t i = 0; i < text.size(); i++)
    if (byteAt(pos + i) != static_cast<uint8_t>(text[i])) return false;
  return true;
}

// One repetition of an element that is no group of alternatives.
bool Matcher::matchesOnce(const Element& element, size_t pos,
                          size_t* width) const {
  *width = 0;
  switch (element.kind) {
    case ZR_STRING:
      *width = element.text.size();
      return literalMatches(element.text, pos);
    case ZR_CLASS:
      *width = 1;
      return pos < length() && element.set[byteAt(pos)];
    case ZR_LITOPEN:
      for (const Alternative& literal : element.alternatives)
        if (matchesOnce(literal.elements[0], pos, width)) return true;
      return false;
    case ZR_EOS:
      return pos == length();
    case ZR_BOS:
      return pos == 0;
    case ZR_BACKREF: {
      if (!isSet(element.slot)) return false;
      // As the bytes stand: no case is folded.
      const std::string_view text = captured(element.slot);
      *width = text.size();
      return subject_.substr(pos, text.size()) == text;
    }
    default:
      return false;
  }
}

// ---- Before the walk

Answer Matcher::run() {
  Answer answer;
  answer.code = decide();
  if (answer.code != 0 || !captures_) return answer;
  for (uint32_t slot = 0; slot < pattern_.slots; slot++) {
    if (!pattern_.capturing[slot]) continue;
    const bool set = starts_[slot] >= 0 && ends_[slot] >= 0;
    answer.pairs.push_back({set ? starts_[slot] : -1, set ? ends_[slot] : -1});
  }
  return answer;
}

int Matcher::decide() {
  if (length() == 0) {
    starts_[0] = ends_[0] = 0;
    return pattern_.regex.minLength == 0 ? 0 : kFails;
  }
  if (!findBase() || length() - base_ < pattern_.regex.minLength) return kFails;
  const int tail = checkTail();
  return tail >= 0 ? tail : searchAll();
}

// The byte that a match has to start with, where there is one.
bool Matcher::findBase() {
  const std::vector<Element>& list = pattern_.full[0].elements;
  const bool anchored = !list.empty() && list[0].kind == ZR_BOS;
  if (pattern_.full.size() > 1 || list.size() <= anchored) return true;
  const Element& element = list[anchored];
  if (element.kind != ZR_STRING || element.min == 0) return true;
  const uint8_t first = static_cast<uint8_t>(element.text[0]);
  if (anchored) return byteAt(0) == first;
  if (list.back().kind == ZR_EOS) return true;
  while (base_ < length() && byteAt(base_) != first) base_++;
  return base_ < length();
}

// The elements of an alternative in their order, brackets as null.
void Flatten(const Alternative& one, std::vector<const Element*>* out) {
  for (const Element& element : one.elements) {
    const bool group = element.kind == ZR_OPEN;
    out->push_back(group ? nullptr : &element);
    if (!group) continue;
    Flatten(element.alternatives[0], out);
    out->push_back(nullptr);
  }
}

bool Matcher::matchesBackwards(const Element& element, size_t* pos) const {
  std::vector<std::string> texts;
  switch (element.kind) {
    case ZR_STRING:
      texts.push_back(element.text);
      break;
    case ZR_LITOPEN:
      for (const Alternative& one : element.alternatives)
        texts.push_back(one.elements[0].text);
      break;
    case ZR_CLASS: {
      size_t width = 0;
      if (*pos == 0 || !matchesOnce(element, *pos - 1, &width)) return false;
      --*pos;
      return true;
    }
    default: {
      size_t width = 0;
      return matchesOnce(element, *pos, &width);
    }
  }
  for (const std::string& text : texts) {
    if (text.size() > *pos) continue;
    // Only the bytes ahead of the place: they fit or they do not.
    if (!literalMatches(text, *pos - text.size())) continue;
    *pos -= text.size();
    return true;
  }
  return false;
}

// The elements right before a closing $, from the subject's end backwards:
// the answer, or -1 to go on.
int Matcher::checkTail() {
  if (tree_.size() != 1 || tree_[0].elements.empty()) return -1;
  const Element& last = tree_[0].elements.back();
  if (last.kind != ZR_EOS) return -1;
  std::vector<const Element*> list(1, nullptr);  // the start
  Flatten(tree_[0], &list);
  list.pop_back();
  size_t pos = length(), left = list.size();
  const uint8_t mask = mask_;
  mask_ = last.mask;
  int answer = -1;
  for (uint32_t n = 0; n < last.tail && answer < 0; n++) {
    const Element* element = list[--left];
    if (left == 0 && !captures_) answer = 0;
    if (!element) continue;
    if (element->kind == ZR_BS)
      answer = 11;
    else if (!matchesBackwards(*element, &pos))
      answer = kFails;
  }
  mask_ = mask;
  return answer;
}

// ---- Where a match may start

int Matcher::searchAll() {
  if (tree_[0].skip) {
    starts_[0] = static_cast<int32_t>(base_);
    return alternatives(tree_, base_, nullptr);
  }
  for (size_t pos = base_; pos < length(); pos++) {
    if (length() - pos < pattern_.regex.minLength) break;
    starts_[0] = static_cast<int32_t>(pos);
    const int code = alternatives(tree_, pos, nullptr);
    if (code != kFails) return code;
  }
  return kFails;
}

int Matcher::alternatives(const Tree& tree, size_t pos, const Run* run) {
  for (const Alternative& one : tree) {
    // Ahead of a group it is the group's own alternatives that look.
    const bool looks =
        one.skip && closed_ == 0 &&
        (one.elements.empty() || one.elements[0].kind != ZR_OPEN);
    const int code = looks ? scan(one, pos, run) : walk(one, 0, pos, run);
    if (code != kFails) return code;
  }
  return kFails;
}

// Tries each place where the first element fits once.
int Matcher::scan(const Alternative& one, size_t pos, const Run* run) {
  size_t width = 0;
  for (size_t place = base_; place < length(); place++) {
    if (!one.elements.empty() && one.elements[0].kind == ZR_BS) return 11;
    if (!spend()) return kNoAnswer;
    if (!one.elements.empty() && !matchesOnce(one.elements[0], place, &width))
      continue;
    moveStarts(run, place);
    const int code = walk(one, 0, place, run);
    if (code != kFails) return code;
  }
  moveStarts(run, pos);
  return kFails;
}

// All groups that are open here begin where the match begins.
void Matcher::moveStarts(const Run* run, size_t pos) {
  starts_[0] = static_cast<int32_t>(pos);
  for (; run; run = run->parent)
    starts_[run->group->slot] = static_cast<int32_t>(pos);
}

// ---- The walk

int Matcher::walk(const Alternative& one, size_t i, size_t pos,
                  const Run* run) {
  if (!spend() || depth_ == kMaxDepth) return kNoAnswer;
  depth_++;
  int code = kFails;
  if (i == one.elements.size()) {
    if (run) {
      code = close(run, pos);
    } else {
      ends_[0] = static_cast<int32_t>(pos);
      code = 0;
    }
    depth_--;
    return code;
  }
  const Element& element = one.elements[i];
  size_t width = 0;
  switch (element.kind) {
    case ZR_OPEN:
      code = iterate(one, i, run, 0, pos);
      break;
    case ZR_EOS:
    case ZR_BOS:
      if (matchesOnce(element, pos, &width)) code = walk(one, i + 1, pos, run);
      break;
    case ZR_CASEON: {
      const uint8_t mask = mask_;
      mask_ = element.mask;
      code = walk(one, i + 1, pos, run);
      mask_ = mask;
      break;
    }
    case ZR_BS:
      code = 11;
      break;
    default:
      code = walkMany(one, i, pos, run);
  }
  depth_--;
  return code;
}

// All but groups of alternatives. Of literals in a group the first that fits
// at a place is taken there and no other.
int Matcher::walkMany(const Alternative& one, size_t i, size_t pos,
                      const Run* run) {
  const Element& element = one.elements[i];
  const uint32_t slot = element.slot;
  const bool group = element.kind == ZR_LITOPEN;
  // What is lazy and no group: one at least, and never more than the least.
  const bool exact = element.lazy && !group;
  if (exact && element.max == 0) return kFails;
  if (element.kind == ZR_BACKREF) {
    if (!isSet(slot)) return kFails;
    // No text at all is had as often as one likes.
    if (captured(slot).empty()) return walk(one, i + 1, pos, run);
  }
  const uint32_t least = exact ? std::max(element.min, 1u) : element.min;
  std::vector<size_t> places(1, pos);
  size_t width = 0;
  while (places.size() - 1 < (exact ? least : element.max) &&
         matchesOnce(element, places.back(), &width)) {
    if (!spend()) return kNoAnswer;
    places.push_back(places.back() + width);
  }
  const size_t most = places.size() - 1;
  const int32_t start = starts_[slot], end = ends_[slot];
  for (size_t n = 0; n + least <= most; n++) {
    const size_t count = element.lazy ? least + n : most - n;
    if (group) {
      starts_[slot] = count ? static_cast<int32_t>(places[count - 1]) : start;
      ends_[slot] = count ? static_cast<int32_t>(places[count]) : end;
    }
    const int code = walk(one, i + 1, places[count], run);
    if (code != kFails) return code;
  }
  if (group) {
    starts_[slot] = start;
    ends_[slot] = end;
  }
  return kFails;
}

// A group that `count` iterations of are done.
int Matcher::iterate(const Alternative& one, size_t i, const Run* parent,
                     uint32_t count, size_t pos) {
  const Element& group = one.elements[i];
  const bool leave = count >= group.min, more = count < group.max;
  for (int turn = 0; turn < 2; turn++) {
    const bool leaving = (turn == 0) == group.lazy;
    int code = kFails;
    if (leaving && leave) code = walk(one, i + 1, pos, parent);
    if (!leaving && more) code = enter(one, i, parent, count, pos);
    if (code != kFails) return code;
  }
  return kFails;
}

int Matcher::enter(const Alternative& one, size_t i, const Run* parent,
                   uint32_t count, size_t pos) {
  const Element& group = one.elements[i];
  if (!spend() || depth_ == kMaxDepth) return kNoAnswer;
  Run run{&group, &one, i, parent, count};
  depth_++;
  const int32_t start = starts_[group.slot];
  starts_[group.slot] = static_cast<int32_t>(pos);
  const int code = alternatives(group.alternatives, pos, &run);
  if (code != 0) starts_[group.slot] = start;
  depth_--;
  return code;
}

int Matcher::close(const Run* run, size_t pos) {
  const uint32_t slot = run->group->slot;
  const int32_t end = ends_[slot];
  ends_[slot] = static_cast<int32_t>(pos);
  closed_++;
  const int code =
      iterate(*run->outer, run->index, run->parent, run->count + 1, pos);
  if (code != 0) ends_[slot] = end;
  closed_--;
  return code;
}

}  // namespace

uint8_t Fold(uint8_t c, uint8_t mask) {
  const bool folds =
      (c >= 'a' && c <= 'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7);
  return folds ? c & mask : c;
}

Pattern::Pattern(const zr_regex& compiled)
    : regex(compiled), slots(compiled.captureCount) {
  if (compiled.nodeCount == 0) return;
  uint32_t at = 0;
  full = ReadTree(regex, regex.nodes, regex.groups, &at);
  at = 0;
  reduced = ReadTree(regex, regex.fastNodes, regex.fastGroups, &at);
  slots = std::max(slots, regex.fastCaptureCount);
  capturing.resize(slots);
  for (uint32_t i = 0; i < regex.groupCount; i++)
    capturing[regex.groups[i].capture] = !regex.groups[i].noCapture;
}

Answer Match(const Pattern& pattern, std::string_view subject, Wanted wanted,
             uint64_t budget) {
  return Matcher(pattern, subject, wanted, budget).run();
}

}  // namespace regex_model
