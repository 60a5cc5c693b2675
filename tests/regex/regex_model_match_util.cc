// The model's matcher: plain recursion. What comes behind an element is tried
// by calling for it, so that a call that comes back has failed, and has put
// the state back. Entry point: Match. Tested by regex_model_test.cc.

#include <algorithm>

#include "regex/regex_model_util.h"

namespace regex_model {

namespace {

// Besides the codes of an answer: this way fails, go on with the next.
const int kFails = 1;
const uint32_t kMaxDepth = 5000;

// One iteration of a group on the way to where the matcher stands.
struct Run {
  const Element* group;
  const Alternative* outer;  // the alternative that the group stands in
  size_t index;              // its place there
  const Run* parent;         // the iteration of the enclosing group
  const Run* previous;       // the iteration before this
  uint32_t count;            // iterations before this one
  size_t begin;
  std::vector<int32_t> state;  // see Matcher::snapshot; else empty
};

class Matcher {
 public:
  Matcher(const Pattern& pattern, std::string_view subject, Wanted wanted,
          uint64_t budget)
      : pattern_(pattern),
        tree_(wanted == Wanted::kNothing && !pattern.hasBackref
                  ? pattern.reduced
                  : pattern.full),
        subject_(subject),
        captures_(wanted == Wanted::kCaptures),
        budget_(budget),
        mask_(pattern.caseMask),
        starts_(std::max(pattern.slots, pattern.fastSlots), -1),
        ends_(starts_) {}

  Answer run();

 private:
  struct Tail {
    enum { kElement, kParenthesis, kStart } kind;
    const Element* element;
  };

  size_t length() const { return subject_.size(); }
  uint8_t byteAt(size_t pos) const {
    return Fold(static_cast<uint8_t>(subject_[pos]), mask_);
  }
  bool spend();

  int decide();
  bool findBase();
  int checkTail();
  void listTail(const Alternative& one, std::vector<Tail>* tail) const;
  bool matchesBackwards(const Element& element, size_t* pos) const;

  int searchAll();
  int alternatives(const Tree& tree, size_t pos, const Run* run);
  int scan(const Alternative& one, size_t pos, const Run* run);
  bool startsAt(const Alternative& one, size_t pos) const;
  void moveStarts(const Run* run, size_t pos);

  int walk(const Alternative& one, size_t i, size_t pos, const Run* run);
  int walkSingle(const Alternative& one, size_t i, size_t pos, const Run* run);
  int walkLitGroup(const Alternative& one, size_t i, size_t pos,
                   const Run* run);
  int iterate(const Alternative& one, size_t i, const Run* parent,
              uint32_t count, size_t pos, const Run* previous);
  int enter(const Alternative& one, size_t i, const Run* parent, uint32_t count,
            size_t pos, const Run* previous);
  int close(const Run* run, size_t pos);
  bool goesRound(Run* run) const;
  std::vector<int32_t> snapshot() const;

  const std::string* literalAt(const Element& group, size_t pos) const;
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

// The group's first literal that fits, or null.
const std::string* Matcher::literalAt(const Element& group, size_t pos) const {
  for (const Alternative& one : group.alternatives)
    if (literalMatches(one.elements[0].text, pos)) return &one.elements[0].text;
  return nullptr;
}

// One repetition of an element that is no group of alternatives.
bool Matcher::matchesOnce(const Element& element, size_t pos,
                          size_t* width) const {
  *width = 0;
  switch (element.kind) {
    case Kind::kLiteral:
      *width = element.text.size();
      return literalMatches(element.text, pos);
    case Kind::kOneByte:
      *width = 1;
      return pos < length() && element.set[byteAt(pos)];
    case Kind::kLitGroup: {
      const std::string* text = literalAt(element, pos);
      if (text) *width = text->size();
      return text != nullptr;
    }
    case Kind::kEnd:
      return pos == length();
    case Kind::kBegin:
      return pos == 0;
    case Kind::kBackref: {
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
    return pattern_.minLength == 0 ? 0 : kFails;
  }
  if (!findBase() || length() - base_ < pattern_.minLength) return kFails;
  const int tail = checkTail();
  return tail >= 0 ? tail : searchAll();
}

bool Matcher::findBase() {
  if (pattern_.startKind == 0) return true;
  const std::vector<Element>& list = pattern_.full[0].elements;
  if (pattern_.startKind == 2)
    return byteAt(0) == static_cast<uint8_t>(list[1].text[0]);
  while (base_ < length() &&
         byteAt(base_) != static_cast<uint8_t>(list[0].text[0]))
    base_++;
  return base_ < length();
}

// The nodes of an alternative, the last first, up to one that the tail does
// not go past.
void Matcher::listTail(const Alternative& one, std::vector<Tail>* tail) const {
  for (size_t i = one.elements.size(); i-- > 0;) {
    const Element& element = one.elements[i];
    const bool counts = element.once() && element.kind != Kind::kCase &&
                        element.kind != Kind::kBackref &&
                        !(element.isGroup() && element.alternatives.size() > 1);
    if (!counts) {
      tail->push_back({Tail::kElement, nullptr});
      return;
    }
    if (!element.isGroup()) {
      tail->push_back({Tail::kElement, &element});
      continue;
    }
    tail->push_back({Tail::kParenthesis, nullptr});
    listTail(element.alternatives[0], tail);
    if (tail->back().kind == Tail::kElement && !tail->back().element) return;
    tail->push_back({Tail::kParenthesis, nullptr});
  }
}

bool Matcher::matchesBackwards(const Element& element, size_t* pos) const {
  std::vector<std::string> texts;
  switch (element.kind) {
    case Kind::kLiteral:
      texts.push_back(element.text);
      break;
    case Kind::kLitGroup:
      for (const Alternative& one : element.alternatives)
        texts.push_back(one.elements[0].text);
      break;
    case Kind::kOneByte: {
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
  const size_t kMaxTail = 10;
  if (tree_.size() != 1 || tree_[0].elements.empty()) return -1;
  const Element& last = tree_[0].elements.back();
  if (last.kind != Kind::kEnd) return -1;
  Alternative ahead = tree_[0];
  ahead.elements.pop_back();
  std::vector<Tail> tail;
  listTail(ahead, &tail);
  tail.push_back({Tail::kStart, nullptr});
  size_t pos = length();
  const uint8_t mask = mask_;
  mask_ = last.mask;
  int answer = -1;
  for (size_t i = 0; i < tail.size() && i < kMaxTail && answer < 0; i++) {
    if (tail[i].kind == Tail::kStart) {
      if (!captures_) answer = 0;
    } else if (tail[i].kind == Tail::kElement) {
      if (!tail[i].element) break;
      if (tail[i].element->kind == Kind::kFault)
        answer = 11;
      else if (!matchesBackwards(*tail[i].element, &pos))
        answer = kFails;
    }
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
    if (length() - pos < pattern_.minLength) break;
    starts_[0] = static_cast<int32_t>(pos);
    const int code = alternatives(tree_, pos, nullptr);
    if (code != kFails) return code;
  }
  return kFails;
}

int Matcher::alternatives(const Tree& tree, size_t pos, const Run* run) {
  for (const Alternative& one : tree) {
    // Ahead of a group it is the group's own alternatives that look.
    const bool looks = one.skip && closed_ == 0 &&
                       (one.elements.empty() || !one.elements[0].isGroup());
    const int code = looks ? scan(one, pos, run) : walk(one, 0, pos, run);
    if (code != kFails) return code;
  }
  return kFails;
}

// Tries each place where the first element fits once.
int Matcher::scan(const Alternative& one, size_t pos, const Run* run) {
  for (size_t place = base_; place < length(); place++) {
    if (!one.elements.empty() && one.elements[0].kind == Kind::kFault)
      return 11;
    if (!spend()) return kNoAnswer;
    if (!startsAt(one, place)) continue;
    moveStarts(run, place);
    const int code = walk(one, 0, place, run);
    if (code != kFails) return code;
  }
  moveStarts(run, pos);
  return kFails;
}

bool Matcher::startsAt(const Alternative& one, size_t pos) const {
  size_t width = 0;
  return one.elements.empty() || matchesOnce(one.elements[0], pos, &width);
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
    case Kind::kGroup:
      code = iterate(one, i, run, 0, pos, nullptr);
      break;
    case Kind::kLitGroup:
      code = walkLitGroup(one, i, pos, run);
      break;
    case Kind::kEnd:
    case Kind::kBegin:
      if (matchesOnce(element, pos, &width)) code = walk(one, i + 1, pos, run);
      break;
    case Kind::kCase: {
      const uint8_t mask = mask_;
      mask_ = element.mask;
      code = walk(one, i + 1, pos, run);
      mask_ = mask;
      break;
    }
    case Kind::kFault:
      code = 11;
      break;
    default:
      code = walkSingle(one, i, pos, run);
  }
  depth_--;
  return code;
}

// Literals, single bytes and back references.
int Matcher::walkSingle(const Alternative& one, size_t i, size_t pos,
                        const Run* run) {
  const Element& element = one.elements[i];
  size_t width = 0;
  // As few as may be is one at least.
  if (element.lazy && element.max == 0) return kFails;
  if (element.kind == Kind::kBackref) {
    if (!isSet(element.slot)) return kFails;
    // No text at all is had as often as one likes.
    if (captured(element.slot).empty()) return walk(one, i + 1, pos, run);
  }
  if (element.lazy) {
    // Never more than the least.
    const uint32_t wanted = element.min == 0 ? 1 : element.min;
    for (uint32_t n = 0; n < wanted; n++) {
      if (!spend()) return kNoAnswer;
      if (!matchesOnce(element, pos, &width)) return kFails;
      pos += width;
    }
    return walk(one, i + 1, pos, run);
  }
  uint32_t count = 0;
  while (count < element.max && matchesOnce(element, pos, &width)) {
    if (!spend()) return kNoAnswer;
    pos += width;
    count++;
  }
  for (; count >= element.min; count--, pos -= width) {
    const int code = walk(one, i + 1, pos, run);
    if (code != kFails || count == 0) return code;
  }
  return kFails;
}

// At each place the first literal that fits is taken and no other.
int Matcher::walkLitGroup(const Alternative& one, size_t i, size_t pos,
                          const Run* run) {
  const Element& group = one.elements[i];
  std::vector<size_t> places(1, pos);
  while (places.size() - 1 < group.max) {
    if (!spend()) return kNoAnswer;
    const std::string* text = literalAt(group, places.back());
    if (!text) break;
    places.push_back(places.back() + text->size());
  }
  const size_t most = places.size() - 1;
  if (most < group.min) return kFails;
  const int32_t start = starts_[group.slot], end = ends_[group.slot];
  for (size_t n = 0; n <= most - group.min; n++) {
    const size_t count = group.lazy ? group.min + n : most - n;
    starts_[group.slot] = start;
    ends_[group.slot] = end;
    if (count > 0) {
      starts_[group.slot] = static_cast<int32_t>(places[count - 1]);
      ends_[group.slot] = static_cast<int32_t>(places[count]);
    }
    const int code = walk(one, i + 1, places[count], run);
    if (code != kFails) return code;
  }
  starts_[group.slot] = start;
  ends_[group.slot] = end;
  return kFails;
}

// A group that `count` iterations of are done.
int Matcher::iterate(const Alternative& one, size_t i, const Run* parent,
                     uint32_t count, size_t pos, const Run* previous) {
  const Element& group = one.elements[i];
  const bool leave = count >= group.min, more = count < group.max;
  for (int turn = 0; turn < 2; turn++) {
    const bool leaving = (turn == 0) == group.lazy;
    int code = kFails;
    if (leaving && leave) code = walk(one, i + 1, pos, parent);
    if (!leaving && more) code = enter(one, i, parent, count, pos, previous);
    if (code != kFails) return code;
  }
  return kFails;
}

int Matcher::enter(const Alternative& one, size_t i, const Run* parent,
                   uint32_t count, size_t pos, const Run* previous) {
  const Element& group = one.elements[i];
  if (!spend() || depth_ == kMaxDepth) return kNoAnswer;
  Run run{&group, &one, i, parent, previous, count, pos, {}};
  if (goesRound(&run)) return 10;
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
      iterate(*run->outer, run->index, run->parent, run->count + 1, pos, run);
  if (code != 0) ends_[slot] = end;
  closed_--;
  return code;
}

// All that decides how the next iteration goes, besides the place.
std::vector<int32_t> Matcher::snapshot() const {
  std::vector<int32_t> state(starts_);
  state.insert(state.end(), ends_.begin(), ends_.end());
  state.push_back(mask_);
  state.push_back(closed_ > 0);
  return state;
}

// Whether an iteration without text brings the group back to where it was:
// it does so again and again, until the engine gives up.
bool Matcher::goesRound(Run* run) const {
  if (run->group->max != kUnbounded || !run->previous ||
      run->previous->begin != run->begin)
    return false;
  run->state = snapshot();
  for (const Run* at = run->previous; at && at->begin == run->begin;
       at = at->previous) {
    const bool settled = !run->group->lazy || at->count >= run->group->min;
    if (settled && at->state == run->state) return true;
  }
  return false;
}

}  // namespace

uint8_t Fold(uint8_t c, uint8_t mask) {
  const bool folds =
      (c >= 'a' && c <= 'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7);
  return folds ? c & mask : c;
}

Answer Match(const Pattern& pattern, std::string_view subject, Wanted wanted,
             uint64_t budget) {
  return Matcher(pattern, subject, wanted, budget).run();
}

}  // namespace regex_model
