// The model's parser, and what the dialect does to a pattern once it is read:
// equal neighbours fuse, alternatives of literals are sorted, what may be left
// out at the start becomes an alternative of its own, groups of one element go.
// Entry point: Compile. Tested by regex_model_test.cc.

#include <algorithm>

#include "regex/regex_model_util.h"

namespace regex_model {

namespace {

const int kBadRepeat = 2, kBadRange = 3, kBadEscape = 4, kBadBackref = 5,
          kNoBrace = 6, kNoParen = 7, kNoBracket = 8, kBadBrace = 9,
          kTooMuch = 10, kBadParen = 12, kBadChar = 13;
const size_t kMaxDepth = 1000, kMaxElements = 65536;

uint32_t Saturated(uint64_t n) {
  return n > kUnbounded ? kUnbounded : static_cast<uint32_t>(n);
}

// An unbounded minimum is one that can never be met; it stays.
uint32_t Raised(uint32_t min, uint32_t n) {
  if (min == kUnbounded) return min;
  const int64_t sum = static_cast<int64_t>(min) + n - 1;
  return sum < 0 ? kUnbounded : Saturated(static_cast<uint64_t>(sum));
}

bool IsDigit(uint8_t c) {
  return c >= '0' && c <= '9';
}
bool IsLetter(uint8_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::bitset<256> SetOf(bool (*holds)(uint8_t)) {
  std::bitset<256> set;
  for (int c = 0; c < 256; c++) set[c] = holds(static_cast<uint8_t>(c));
  return set;
}

std::bitset<256> RangeOf(uint8_t low, uint8_t high) {
  std::bitset<256> set;
  for (int c = low; c <= high; c++) set.set(c);
  return set;
}

Element OneByte(const std::bitset<256>& set, const std::string& name) {
  Element element;
  element.kind = Kind::kOneByte;
  element.set = set;
  element.name = name;
  return element;
}

// What \d and its like stand for; false for all other letters.
bool EscapeClass(uint8_t letter, Element* element) {
  static bool (*const kSets[])(uint8_t) = {
      IsDigit,
      [](uint8_t c) { return IsDigit(c) || IsLetter(c) || c == '_'; },
      [](uint8_t c) { return (c >= 9 && c <= 13) || c == ' '; },
      [](uint8_t c) { return c == '\n'; },
      [](uint8_t c) { return c == '\r'; },
      [](uint8_t c) { return c == '\t'; },
  };
  static const char kLetters[] = "dwsnrt";
  static const char kNegated[] = "DWS";
  for (int i = 0; kLetters[i]; i++)
    if (letter == kLetters[i]) {
      *element = OneByte(SetOf(kSets[i]), std::string(1, kLetters[i]));
      return true;
    }
  for (int i = 0; kNegated[i]; i++)
    if (letter == kNegated[i]) {
      *element = OneByte(~SetOf(kSets[i]), std::string(1, kNegated[i]));
      return true;
    }
  return false;
}

struct ClassEntry {
  enum { kByte, kRange, kEscape } kind;
  uint8_t low, high;
  Element escape;
};

class Parser {
 public:
  Parser(std::string_view text, bool fold)
      : text_(text), mask_(fold ? 0xDF : 0xFF) {
    pattern_.caseNodes = fold;
    pattern_.capturing.push_back(true);
    pattern_.full.emplace_back();
  }
  Pattern run();

 private:
  // Behind the end everything reads as zero.
  uint8_t at(size_t i) const {
    return i < text_.size() ? static_cast<uint8_t>(text_[i]) : 0;
  }
  bool ends(size_t i) const { return i >= text_.size(); }
  Tree& tree() {
    return open_.empty() ? pattern_.full : open_.back().alternatives;
  }
  std::vector<Element>& elements() { return tree().back().elements; }

  int parseOne();
  int parseOpen();
  int parseCase(size_t letter, uint8_t mask);
  int parseClose();
  int parseEscape();
  uint8_t parseHex();
  int parseClass();
  int parseClassEntries(std::vector<ClassEntry>* entries);
  int parseRange(std::vector<ClassEntry>* entries);
  int parseQuantifier();
  int parseBraces(Element* element);
  void addLiteral(uint8_t c);
  void finishAlternative();

  std::string_view text_;
  size_t pos_ = 0;
  uint8_t mask_;
  std::vector<Element> open_;
  Pattern pattern_;
};

void Parser::addLiteral(uint8_t c) {
  const char folded = static_cast<char>(Fold(c, mask_));
  std::vector<Element>& list = elements();
  if (!list.empty() && list.back().kind == Kind::kLiteral &&
      list.back().once()) {
    list.back().text += folded;
    return;
  }
  Element element;
  element.text = std::string(1, folded);
  list.push_back(element);
}

bool Fusible(const Element& a, const Element& b) {
  if (a.kind != b.kind) return false;
  if (a.kind == Kind::kLiteral) return a.text.size() == 1 && a.text == b.text;
  return (a.kind == Kind::kOneByte || a.kind == Kind::kFault) &&
         !a.name.empty() && a.name == b.name;
}

// Equal neighbours of one byte become one; it is as lazy as the first was.
void Parser::finishAlternative() {
  std::vector<Element> fused;
  for (const Element& element : elements()) {
    if (fused.empty() || !Fusible(fused.back(), element)) {
      fused.push_back(element);
      continue;
    }
    Element& first = fused.back();
    first.min = Saturated(uint64_t{first.min} + element.min);
    first.max = first.max == kUnbounded || element.max == kUnbounded
                    ? kUnbounded
                    : Saturated(uint64_t{first.max} + element.max);
  }
  elements() = fused;
}

int Parser::parseCase(size_t letter, uint8_t mask) {
  if (at(letter) != 'i') return kBadChar;
  if (at(letter + 1) != ')') return kNoParen;
  pos_ = letter + 2;
  pattern_.caseNodes++;
  mask_ = mask;
  if (open_.empty() && tree().size() == 1 && elements().empty()) return 0;
  Element element;
  element.kind = Kind::kCase;
  element.mask = mask;
  elements().push_back(element);
  return 0;
}

int Parser::parseOpen() {
  Element group;
  group.kind = Kind::kGroup;
  if (at(pos_ + 1) == '?') {
    if (at(pos_ + 2) == 'i') return parseCase(pos_ + 2, 0xDF);
    if (at(pos_ + 2) == '-') return parseCase(pos_ + 3, 0xFF);
    if (at(pos_ + 2) != ':') return kBadChar;
    group.capturing = false;
    pos_ += 2;
  }
  pos_++;
  if (open_.size() == kMaxDepth) return kTooMuch;
  group.slot = pattern_.slots++;
  pattern_.capturing.push_back(group.capturing);
  group.alternatives.emplace_back();
  open_.push_back(group);
  return 0;
}

int Parser::parseClose() {
  if (open_.empty()) return kBadParen;
  if (tree().size() == 1 && elements().empty()) return kBadParen;
  finishAlternative();
  Element group = open_.back();
  open_.pop_back();
  bool literals = group.alternatives.size() > 1;
  for (const Alternative& one : group.alternatives)
    literals = literals && one.elements.size() == 1 &&
               one.elements[0].kind == Kind::kLiteral && one.elements[0].once();
  if (literals) {
    group.kind = Kind::kLitGroup;
    std::stable_sort(group.alternatives.begin(), group.alternatives.end(),
                     [](const Alternative& a, const Alternative& b) {
                       return a.elements[0].text.size() >
                              b.elements[0].text.size();
                     });
  }
  elements().push_back(group);
  pos_++;
  return 0;
}

// Two bytes taken for digits whatever they are.
uint8_t Parser::parseHex() {
  uint8_t value = 0;
  for (int i = 0; i < 2; i++) {
    const uint8_t c = at(pos_++);
    uint8_t digit = 0;
    if (IsDigit(c)) digit = static_cast<uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f') digit = static_cast<uint8_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') digit = static_cast<uint8_t>(c - 'A' + 10);
    value = static_cast<uint8_t>(value * 16 + digit);
  }
  return value;
}

int Parser::parseEscape() {
  if (ends(pos_ + 1)) return kBadEscape;
  const uint8_t c = at(pos_ + 1);
  pos_ += 2;
  Element element;
  if (EscapeClass(c, &element)) {
    elements().push_back(element);
  } else if (c >= '1' && c <= '9') {
    element.kind = Kind::kBackref;
    element.slot = static_cast<uint32_t>(c - '0');
    const uint32_t innermost = open_.empty() ? 0 : open_.back().slot;
    if (element.slot >= pattern_.slots || element.slot == innermost)
      return kBadBackref;
    pattern_.hasBackref = true;
    elements().push_back(element);
  } else {
    addLiteral(c == 'x' ? parseHex() : c);
  }
  return 0;
}

// At "-" behind the first entry of a class.
int Parser::parseRange(std::vector<ClassEntry>* entries) {
  if (ends(pos_ + 1)) return kNoBracket;
  ClassEntry& last = entries->back();
  if (at(pos_ + 1) == ']') {
    pos_++;
    entries->push_back(ClassEntry{ClassEntry::kByte, '-', '-', Element()});
    return 0;
  }
  if (last.kind != ClassEntry::kByte) return kBadRange;
  last.kind = ClassEntry::kRange;
  last.high = Fold(at(pos_ + 1), mask_);
  pos_ += 2;
  return entries->size() > 1 && last.high < last.low ? kBadRange : 0;
}

int Parser::parseClassEntries(std::vector<ClassEntry>* entries) {
  for (;;) {
    if (ends(pos_)) return kNoBracket;
    uint8_t c = at(pos_);
    if (c == ']' && !entries->empty()) break;
    if (c == '-' && !entries->empty()) {
      const int error = parseRange(entries);
      if (error) return error;
      continue;
    }
    ClassEntry entry{ClassEntry::kByte, 0, 0, Element()};
    pos_++;
    if (c == '\\') {
      if (ends(pos_)) return kBadEscape;
      c = at(pos_++);
      if (c == 'x') {
        c = parseHex();
      } else if (EscapeClass(c, &entry.escape)) {
        entry.kind = ClassEntry::kEscape;
      } else if (c == 'b') {
        entry.kind = ClassEntry::kEscape;
        entry.escape = OneByte(RangeOf(8, 8), "b");
      }
    }
    entry.low = entry.high = Fold(c, mask_);
    entries->push_back(entry);
  }
  pos_++;
  return 0;
}

// The name under which a class fuses with its neighbour, or "".
std::string ClassName(const std::vector<ClassEntry>& entries, bool negated) {
  const ClassEntry& first = entries[0];
  const std::string bounds = {static_cast<char>(first.low),
                              static_cast<char>(first.high)};
  if (entries.size() == 1) {
    if (first.kind == ClassEntry::kEscape)
      return negated ? "" : first.escape.name;
    if (first.kind == ClassEntry::kByte)
      return (negated ? "not " : "byte ") + bounds;
    if (bounds == "09") return negated ? "D" : "d";
    return (negated ? "outside " : "range ") + bounds;
  }
  std::vector<std::string> texts;
  for (const ClassEntry& entry : entries) {
    if (entry.kind == ClassEntry::kEscape) return "";
    texts.push_back(std::string(1, static_cast<char>(entry.low)));
    if (entry.kind == ClassEntry::kRange)
      texts.back() += std::string("-") + static_cast<char>(entry.high);
  }
  std::sort(texts.begin(), texts.end());
  if (texts == std::vector<std::string>{"0-9", "A-Z", "a-z"})
    return negated ? "not alnum" : "alnum";
  if (texts == std::vector<std::string>{"0-9", "A-Z", "_", "a-z"})
    return negated ? "W" : "w";
  return "";
}

int Parser::parseClass() {
  pos_++;
  const bool negated = at(pos_) == '^';
  if (negated) pos_++;
  std::vector<ClassEntry> entries;
  const int error = parseClassEntries(&entries);
  if (error) return error;
  std::bitset<256> set;
  for (const ClassEntry& entry : entries)
    set |= entry.kind == ClassEntry::kEscape ? entry.escape.set
                                             : RangeOf(entry.low, entry.high);
  Element element = OneByte(negated ? ~set : set, ClassName(entries, negated));
  if (entries.size() == 1 && !negated) {
    if (entries[0].kind == ClassEntry::kByte) {
      element = Element();
      element.text = std::string(1, static_cast<char>(entries[0].low));
    } else if (element.name == "b") {
      element.kind = Kind::kFault;
    }
  }
  elements().push_back(element);
  return 0;
}

int Parser::parseBraces(Element* element) {
  uint32_t numbers[2] = {0, 0};
  int count = 0;
  for (pos_++; at(pos_) != '}'; pos_++) {
    if (ends(pos_)) return kNoBrace;
    const uint8_t c = at(pos_);
    if (c == ',' && count == 0) {
      count = 1;
    } else if (IsDigit(c)) {
      numbers[count] = Saturated(uint64_t{numbers[count]} * 10 +
                                 static_cast<uint8_t>(c - '0'));
    } else {
      return kBadBrace;
    }
  }
  const bool open = count == 1 && numbers[1] == 0;
  if (count == 1 && !open && numbers[1] < numbers[0]) return kBadBrace;
  element->min = Raised(element->min, numbers[0]);
  if (count == 0)
    element->max = element->min;
  else if (open)
    element->max = kUnbounded;
  else if (element->max != kUnbounded)
    element->max = Saturated(uint64_t{element->max} + numbers[1] - 1);
  return 0;
}

int Parser::parseQuantifier() {
  std::vector<Element>& list = elements();
  if (list.empty() || list.back().kind == Kind::kCase) return kBadRepeat;
  if (list.back().kind == Kind::kLiteral && list.back().text.size() > 1) {
    Element last;
    last.text = list.back().text.substr(list.back().text.size() - 1);
    list.back().text.pop_back();
    list.push_back(last);
  }
  Element& element = list.back();
  const uint8_t c = at(pos_);
  if (c == '{') {
    const int error = parseBraces(&element);
    if (error) return error;
  } else {
    if (c != '+') element.min = Raised(element.min, 0);
    if (c != '?') element.max = kUnbounded;
  }
  pos_++;
  if (at(pos_) == '?') {
    element.lazy = true;
    pos_++;
  }
  return 0;
}

int Parser::parseOne() {
  Element element;
  const uint8_t c = at(pos_);
  switch (c) {
    case '(':
      return parseOpen();
    case ')':
      return parseClose();
    case '[':
      return parseClass();
    case '\\':
      return parseEscape();
    case '*':
    case '+':
    case '?':
    case '{':
      return parseQuantifier();
    case ']':
    case '}':
      return kBadChar;
    case '|':
      finishAlternative();
      tree().emplace_back();
      break;
    case '^':
      element.kind = Kind::kBegin;
      elements().push_back(element);
      break;
    case '$':
      element.kind = Kind::kEnd;
      element.mask = mask_;
      elements().push_back(element);
      break;
    case '.':
      // A carriage return too, but none of the bytes below it.
      elements().push_back(OneByte(RangeOf(0x0D, 0xFF), "."));
      break;
    default:
      addLiteral(c);
  }
  pos_++;
  return 0;
}

// ---- What is done to the tree

size_t CountElements(const Tree& tree) {
  size_t count = 0;
  for (const Alternative& one : tree) {
    count += 1 + one.elements.size();
    for (const Element& element : one.elements)
      count += CountElements(element.alternatives);
  }
  return count;
}

// Where an alternative starts with what may be left out, it becomes two: with
// it and without, a lazy one the other way round.
bool RewriteLeading(Tree* tree, size_t* budget) {
  for (size_t i = 0; i < tree->size(); i++) {
    std::vector<Element>& list = (*tree)[i].elements;
    if (list.empty()) continue;
    if (list[0].min != 0) {
      if (list[0].isGroup() && !RewriteLeading(&list[0].alternatives, budget))
        return false;
      continue;
    }
    size_t cost = CountElements(Tree(1, (*tree)[i]));
    if (cost > *budget) return false;
    *budget -= cost;
    Alternative with = (*tree)[i], without = with;
    without.elements.erase(without.elements.begin());
    Element& first = with.elements[0];
    const bool lazy = first.lazy;
    first.min = 1;
    if (first.min == first.max) first.lazy = false;
    if (lazy) std::swap(with, without);
    (*tree)[i] = with;
    tree->insert(tree->begin() + static_cast<int>(i) + 1, without);
    i--;  // the first of the two may start with such an element again
  }
  return true;
}

// Whether each alternative that can begin a match starts with what must be
// there; sets the flags of all of them when told to.
bool WalkStarts(Tree* tree, bool set) {
  for (Alternative& one : *tree) {
    if (set) one.skip = true;
    if (one.elements.empty()) continue;
    Element& first = one.elements[0];
    if (first.kind == Kind::kCase || first.kind == Kind::kEnd || first.min == 0)
      return false;
    if (first.isGroup() && !WalkStarts(&first.alternatives, set)) return false;
  }
  return true;
}

// Groups of one element go, the innermost first.
void Reduce(Tree* tree) {
  for (Alternative& one : *tree) {
    for (Element& element : one.elements) {
      if (!element.isGroup()) continue;
      Reduce(&element.alternatives);
      if (element.alternatives.size() != 1 ||
          element.alternatives[0].elements.size() != 1)
        continue;
      Element inner = element.alternatives[0].elements[0];
      if (inner.isGroup() || inner.kind == Kind::kLitGroup) continue;
      if (!element.once()) {
        if (!inner.once()) continue;
        inner.min = element.min;
        inner.max = element.max;
        inner.lazy = element.lazy;
      }
      element = inner;
    }
  }
}

uint32_t MinLength(const Tree& tree) {
  uint32_t shortest = kUnbounded;
  for (const Alternative& one : tree) {
    uint32_t sum = 0;
    for (const Element& element : one.elements) {
      uint64_t width = 0;
      if (element.kind == Kind::kLiteral)
        width = element.text.size();
      else if (element.kind == Kind::kOneByte || element.kind == Kind::kFault)
        width = 1;
      else if (element.isGroup() || element.kind == Kind::kLitGroup)
        width = MinLength(element.alternatives);
      sum = Saturated(sum + uint64_t{Saturated(width * element.min)});
    }
    shortest = std::min(shortest, sum);
  }
  return shortest;
}

uint32_t StartKind(const Tree& tree) {
  if (tree.size() != 1 || tree[0].elements.empty()) return 0;
  const std::vector<Element>& list = tree[0].elements;
  if (list[0].kind == Kind::kBegin && list.size() > 1 &&
      list[1].kind == Kind::kLiteral && list[1].min > 0)
    return 2;
  return list[0].kind == Kind::kLiteral && list[0].min > 0 &&
                 list.back().kind != Kind::kEnd
             ? 1
             : 0;
}

Pattern Parser::run() {
  bool atStart = true;
  pattern_.caseMask = mask_;
  while (!pattern_.error && !ends(pos_)) {
    pattern_.error = parseOne();
    // Switches of case ahead of everything else count for the whole pattern.
    atStart =
        atStart && open_.empty() && tree().size() == 1 && elements().empty();
    if (atStart) pattern_.caseMask = mask_;
  }
  if (!pattern_.error && !open_.empty()) pattern_.error = kNoParen;
  if (pattern_.error) return pattern_;
  finishAlternative();
  size_t budget = kMaxElements;
  if (CountElements(pattern_.full) > kMaxElements ||
      !RewriteLeading(&pattern_.full, &budget)) {
    pattern_.error = kTooMuch;
    return pattern_;
  }
  pattern_.reduced = pattern_.full;
  Reduce(&pattern_.reduced);
  for (Tree* tree : {&pattern_.full, &pattern_.reduced})
    if (WalkStarts(tree, false)) WalkStarts(tree, true);
  pattern_.minLength = MinLength(pattern_.full);
  pattern_.startKind = StartKind(pattern_.full);
  return pattern_;
}

}  // namespace

uint8_t Fold(uint8_t c, uint8_t mask) {
  const bool folds =
      (c >= 'a' && c <= 'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7);
  return folds ? c & mask : c;
}

Pattern Compile(std::string_view text, bool fold) {
  return Parser(text, fold).run();
}

}  // namespace regex_model
