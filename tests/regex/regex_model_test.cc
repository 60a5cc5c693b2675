// The engine against the model: all small patterns on all small subjects, then
// longer ones from a seeded generator; and rows that show the model itself to
// be right.
//
// QM_REGEX_DEPTH=N takes all patterns of up to N pieces instead of the few of
// every day, QM_REGEX_RANDOM=N takes N random ones, QM_REGEX_SEED=N others.

#include "regex/regex_model_util.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/heap_text.h"
#include "regex/regex_duel_util.h"

using regex_model::Answer;
using regex_model::Wanted;

static std::string Show(const Answer& answer) {
  std::string text = std::to_string(answer.code);
  for (const auto& pair : answer.pairs)
    text +=
        " " + std::to_string(pair.first) + "," + std::to_string(pair.second);
  return text;
}

TEST(RegexModel, AnswersWhatIsKnown) {
  struct Row {
    const char* pattern;
    const char* subject;
    const char* answer;  // with captures
    int reduced;         // without
  };
  static const Row kRows[] = {
      // Pairs by hand; nothing here comes from either program.
      {"", "x", "0 0,0", 0},
      {"", "", "0 0,0", 0},
      {"^$", "", "0 0,0", 0},
      {"^$", "x", "1", 1},
      {"a$", "ba", "0 1,2", 0},
      {"$", "a", "1", 0},
      {"b|a", "xab", "0 2,3", 0},
      {"aab|ba", "baaab", "0 2,5", 0},
      {"(b|a)", "xab", "0 1,2 1,2", 0},
      {"(b+|a)", "xab", "0 2,3 2,3", 0},
      {"(a|b)+c", "abc", "0 0,3 1,2", 0},
      {"(ax|bx){2,3}c", "axbxaxbxc", "0 2,9 6,8", 0},
      {"((a)|b)+$", "ab", "0 0,2 1,2 0,1", 0},
      {"(a|b+)+c", "axbc", "0 2,4 2,3", 0},
      // Lazy elements take one and never more; lazy groups do.
      {"xa*?b", "xab", "0 0,3", 0},
      {"xa*?b", "xb", "1", 1},
      {"xa*?b", "xaab", "1", 1},
      {"xa{2,5}?b", "xaab", "0 0,4", 0},
      {"xa{2,5}?b", "xaaab", "1", 1},
      {"x(a)*?b", "xb", "0 0,2 -1,-1", 1},
      {"x(a)*?b", "xab", "0 0,3 1,2", 0},
      {"x(a)*?b", "xaab", "0 0,4 2,3", 1},
      {"a*?b", "aab", "0 2,3", 0},
      // The first literal that fits is taken, and no other.
      {"(ab|a)b", "ab", "1", 1},
      {"(ab|a)b", "abb", "0 0,3 0,2", 0},
      {"(a|ab)b", "abb", "0 0,3 0,2", 0},
      {"a(ab|b)$", "ab", "1", 1},
      // Counters add up.
      {"xa{}b", "xb", "0 0,2", 0},
      {"xa{}b", "xab", "1", 1},
      {"x(a){0}b", "xab", "1", 1},
      {"x(a){0}b", "xb", "0 0,2 -1,-1", 0},
      {"ya{1,2}{2}z", "yaz", "1", 1},
      {"ya{1,2}{2}z", "yaaz", "0 0,4", 0},
      {"ya{1,2}{2}z", "yaaaz", "1", 1},
      {"a**", "", "1", 1},
      {"ya**", "yaa", "1", 1},
      {"^\\d+\\d{2}$", "1234", "0 0,4", 0},
      {"x(a*)*y", "xaab", "10", 10},
      {"x(a*)*?y", "xaab", "10", 10},
      // Case: folded when read, unfolded by the way that was taken.
      {"(?i)\xe9", "\xc9", "0 0,1", 0},
      {"(?i)\xf7", "\xd7", "1", 1},
      {"a(?i)b|c", "aB", "0 0,2", 0},
      {"a(?i)b|c", "c", "1", 1},
      {"a(?i)b|c", "C", "0 0,1", 0},
      {"(a)(?i)\\1", "aA", "1", 1},
      // Slots count groups that do not capture; pairs leave them out.
      {"(?:x)(a)\\1", "xax", "0 0,3 1,2", 0},
      {"(a)|b\\1", "b", "1", 1},
      {"[\\b]", "a", "11", 11},
      {".", "\t", "1", 1},
      {".", "\r", "0 0,1", 0},
      {"[\\x80-\\xff]", "\x90", "1", 1},
      {"[\\x80-\\xff]", "f", "0 0,1", 0},
      {"\\b", "b", "0 0,1", 0},
  };
  for (const Row& row : kRows) {
    const regex_model::Pattern pattern =
        regex_model::Compile(row.pattern, false);
    ASSERT_EQ(0, pattern.error) << row.pattern;
    EXPECT_EQ(row.answer, Show(regex_model::Match(pattern, row.subject,
                                                  Wanted::kCaptures, 9999)))
        << row.pattern << " on " << row.subject;
    EXPECT_EQ(
        row.reduced,
        regex_model::Match(pattern, row.subject, Wanted::kNothing, 9999).code)
        << row.pattern << " on " << row.subject;
    RegexDuel duel(row.pattern, 0);
    EXPECT_EQ("", duel.compare(row.subject, 4));
  }
}

TEST(RegexModel, RefusesWhatIsKnown) {
  static const struct {
    int code;
    const char* patterns[9];
  } kRows[] = {
      {0, {"", "^", "|", "[]a]", "[z-a]", "[\\w-]", "(|a)", "xa{2,0}", "a{}"}},
      {2, {"*", "(*a)", "(?i)*", "a|+", "a(?i)?", "{"}},
      {3, {"[az-a]", "[a-z-9]", "[\\d-z]"}},
      {4, {"\\", "a\\", "[\\"}},
      {5, {"\\1", "(a\\1)", "(a)\\2"}},
      {6, {"a{", "a{2", "a{2,"}},
      {7, {"(", "(a", "(?i", "(?-i", "(?ix)"}},
      {8, {"[", "[^", "[a", "[a-", "[]"}},
      {9, {"xa{3,2}", "a{x}", "a{1,2,3}"}},
      {12, {")", "()", "(?:)", "a)"}},
      {13, {"]", "}", "(?", "(?-", "(?x)", "(?=a)"}},
  };
  for (const auto& row : kRows)
    for (const char* pattern : row.patterns) {
      if (!pattern) break;
      EXPECT_EQ(row.code, regex_model::Compile(pattern, false).error)
          << pattern;
    }
}

static uint32_t Environment(const char* name, uint32_t usual) {
  const char* value = getenv(name);
  return value ? static_cast<uint32_t>(strtoul(value, nullptr, 10)) : usual;
}

// Counts what was compared, and stops showing differences after a few.
class Comparison {
 public:
  explicit Comparison(uint32_t shown = 20) : left_(shown) {}
  ~Comparison() {
    if (!longRun_) return;
    printf(
        "%llu patterns, %llu compiled; %llu answers, %llu matches; "
        "%llu endless, %llu not answered\n",
        patterns_, compiled_, answered_, matched_, endless_, unanswered_);
  }

  bool goesOn() const { return left_ > 0; }
  void take(const std::string& pattern, int flags,
            const std::vector<const HeapText*>& subjects, uint32_t nmatch);

 private:
  void show(const std::string& difference);

  uint32_t left_;
  const bool longRun_ = getenv("QM_REGEX_DEPTH") || getenv("QM_REGEX_RANDOM");
  // The engine may be seen giving up this often: each time is slow.
  uint32_t giveUps_ = longRun_ ? 2000 : 10;
  unsigned long long patterns_ = 0, compiled_ = 0, answered_ = 0, matched_ = 0,
                     endless_ = 0, unanswered_ = 0;
};

void Comparison::show(const std::string& difference) {
  if (difference.empty() || left_ == 0) return;
  left_--;
  ADD_FAILURE() << difference;
}

static std::string_view View(const HeapText& text) {
  const TBLOCK view = text.view();
  return std::string_view(reinterpret_cast<const char*>(view.pointer),
                          view.length);
}

void Comparison::take(const std::string& pattern, int flags,
                      const std::vector<const HeapText*>& subjects,
                      uint32_t nmatch) {
  const HeapText text(pattern);
  RegexDuel duel(View(text), flags);
  duel.giveUps = giveUps_ > 0;
  patterns_++;
  show(duel.compareCompiled());
  if (!duel.compiled()) return;
  compiled_++;
  for (const HeapText* subject : subjects) {
    const std::string difference = duel.compare(View(*subject), nmatch);
    show(difference);
    if (!difference.empty()) break;
  }
  if (giveUps_ > 0 && duel.giveUps == 0) giveUps_--;
  answered_ += duel.answered;
  matched_ += duel.matched;
  endless_ += duel.endless;
  unanswered_ += duel.unanswered;
}

// All texts of up to `length` letters.
class Subjects {
 public:
  Subjects(const char* alphabet, uint32_t length) {
    std::string text;
    for (uint32_t n = 0; n <= length; n++)
      for (uint32_t i = 0; NthText(i, n, alphabet, text); i++)
        all_.push_back(new HeapText(text));
  }
  ~Subjects() {
    for (const HeapText* text : all_) delete text;
  }
  Subjects(const Subjects&) = delete;
  Subjects& operator=(const Subjects&) = delete;
  const std::vector<const HeapText*>& all() const { return all_; }

 private:
  std::vector<const HeapText*> all_;
};

TEST(RegexModel, EngineAgreesOnAllSmallPatterns) {
  struct Row {
    std::vector<const char*> pieces;
    uint32_t depth;  // pieces in a pattern
    const char* exact;
    uint32_t length;  // of subjects
    const char* folding;
    uint32_t foldingLength;
  };
  static const Row kRows[] = {
      {{"a", "b", "|", "(", ")", "*", "+", "?", ".", "^", "$", "\\1", "{2}",
        "[ab]", "(?:", "(?i)"},
       4,
       "ab",
       4,
       "aB",
       3},
      {{"a", "b", "|", "(", ")", "?", "*?", "{2}?", "$"}, 5, "ab", 3, "aB", 3},
      {{"a", "(b|ab)", "(?:a|", ")", "{0}", "{1,2}", "{,2}", "+?", "(?-i)",
        "\\1", "^", "$"},
       4,
       "ab",
       4,
       "Ab",
       3},
      {{"[", "]", "^", "-", "a", "b", "\\", "9", "A"}, 5, "aAb9-", 1, "aB^", 1},
      {{"[a-z", "A-Z", "0-9", "_", "]", "[^", "\\d", "\\W", "\\b", "+", "x"},
       4,
       "a_5\xc1",
       2,
       "X\xe9",
       2},
      {{"[a-zA-Z0-9]", "[^A-Z0-9a-z]", "[0-9_A-Za-z]", "[^_0-9A-Za-z]", "[0-9]",
        "[^a]", "\\w", "\\W", "\\d", "+?", "*"},
       4,
       "a_5",
       3,
       "X_",
       2},
      {{"x{", "}", "}{", ",", "0", "1", "2", "?", "*"}, 5, "x", 4, "xX", 2},
  };
  const uint32_t deeper = Environment("QM_REGEX_DEPTH", 0);
  Comparison comparison;
  for (const Row& row : kRows) {
    const Subjects exact(row.exact, row.length);
    const Subjects folding(row.folding, row.foldingLength);
    const uint32_t count = static_cast<uint32_t>(row.pieces.size());
    std::string indexes(count, ' ');
    for (uint32_t i = 0; i < count; i++)
      indexes[i] = static_cast<char>('A' + i);
    std::string pieces;
    const uint32_t depth = deeper ? deeper : row.depth;
    for (uint32_t n = 0; n <= depth; n++)
      for (uint32_t i = 0; NthText(i, n, indexes.c_str(), pieces); i++) {
        if (!comparison.goesOn()) return;
        std::string pattern;
        for (const char piece : pieces) pattern += row.pieces[piece - 'A'];
        comparison.take(pattern, 0, exact.all(), 5);
        // Folding differs in few places: it goes without the longest.
        if (n < depth) comparison.take(pattern, 1, folding.all(), 5);
      }
  }
}

// Patterns that mostly compile, of pieces that meet each other's quirks.
class Generator {
 public:
  explicit Generator(uint32_t seed) : numbers_(seed) {}

  std::string pattern() {
    std::string text;
    if (numbers_.Below(8) == 0) text = "(?i)";
    if (numbers_.Below(8) == 0) text += "^";
    alternatives(3, &text);
    if (numbers_.Below(6) == 0) text += "$";
    if (!text.empty() && numbers_.Below(25) == 0)
      text[numbers_.Below(static_cast<uint32_t>(text.size()))] = ')';
    return text;
  }

  std::string subject(const char* alphabet) {
    std::string text;
    const uint32_t letters = static_cast<uint32_t>(strlen(alphabet));
    for (uint32_t n = numbers_.Below(12); n > 0; n--)
      text += alphabet[numbers_.Below(letters)];
    return text;
  }

  uint32_t below(uint32_t n) { return numbers_.Below(n); }

 private:
  void alternatives(uint32_t depth, std::string* text) {
    sequence(depth, text);
    while (numbers_.Below(3) == 0) {
      *text += "|";
      sequence(depth, text);
    }
  }

  void sequence(uint32_t depth, std::string* text) {
    static const char* const kAtoms[] = {
        "a",   "b",      "c",      "a",    "b",     "ab",   "ba",
        "aa",  "[ab]",   "[^a]",   ".",    "[a-b]", "[b]",  "(a|b)",
        "\\1", "\\2",    "(ab|a)", "^",    "$",     "(?i)", "(?-i)",
        "(?:", "(b|bc)", "\\w",    "[cB]", "c[\\b]"};
    const uint32_t atoms = sizeof kAtoms / sizeof *kAtoms;
    for (uint32_t n = numbers_.Below(4); n > 0; n--) {
      const uint32_t pick = numbers_.Below(atoms + 8);
      if (pick < atoms && kAtoms[pick] != std::string("(?:")) {
        *text += kAtoms[pick];
      } else if (depth > 0) {
        *text += pick & 1 ? "(" : "(?:";
        alternatives(depth - 1, text);
        *text += ")";
      }
      quantifier(text);
    }
  }

  void quantifier(std::string* text) {
    static const char* const kQuantifiers[] = {"*",     "+",   "?",    "{2}",
                                               "{1,2}", "{0}", "{2,}", "{,2}"};
    if (numbers_.Below(3) != 0) return;
    *text += kQuantifiers[numbers_.Below(8)];
    if (numbers_.Below(4) == 0) *text += "?";
    if (numbers_.Below(8) == 0) quantifier(text);
  }

  Numbers numbers_;
};

TEST(RegexModel, EngineAgreesOnRandomPatterns) {
  Generator generator(Environment("QM_REGEX_SEED", 2026));
  Comparison comparison;
  for (uint32_t n = Environment("QM_REGEX_RANDOM", 10000); n > 0; n--) {
    if (!comparison.goesOn()) return;
    const std::string pattern = generator.pattern();
    const int flags = generator.below(3) == 0;
    std::vector<const HeapText*> subjects;
    for (int i = 0; i < 8; i++)
      subjects.push_back(
          new HeapText(generator.subject(i & 1 ? "aabbc" : "aAbBc")));
    comparison.take(pattern, flags, subjects, generator.below(8));
    for (const HeapText* subject : subjects) delete subject;
  }
}

// A text that a pattern may match: one way through its tree.
class Planter {
 public:
  explicit Planter(Numbers* numbers) : numbers_(numbers) {}

  std::string text(const regex_model::Tree& tree) {
    std::string out;
    addTree(tree, &out);
    return out;
  }

 private:
  void addTree(const regex_model::Tree& tree, std::string* out) {
    const uint32_t pick = numbers_->Below(static_cast<uint32_t>(tree.size()));
    for (const regex_model::Element& element : tree[pick].elements) {
      uint32_t count = std::min(element.min, 30u);
      if (numbers_->Below(2) == 0) count += numbers_->Below(3);
      count = std::min(count, element.max);
      for (; count > 0 && out->size() < 150; count--) addOne(element, out);
    }
  }

  void addOne(const regex_model::Element& element, std::string* out) {
    if (element.kind == regex_model::Kind::kLiteral) {
      *out += element.text;
    } else if (element.kind == regex_model::Kind::kOneByte) {
      for (int i = 0; i < 50; i++) {
        const uint8_t c = static_cast<uint8_t>(' ' + numbers_->Below(95));
        if (!element.set[regex_model::Fold(c, element.mask)]) continue;
        *out += static_cast<char>(c);
        break;
      }
    } else {
      if (!element.alternatives.empty()) addTree(element.alternatives, out);
    }
  }

  Numbers* numbers_;
};

// Patterns of the kind that rules have, and subjects of up to some hundred
// bytes that nearly match: what the engine looks for ahead of the walk, many
// bytes at a time, must not pass over a match.
class RuleLike {
 public:
  explicit RuleLike(uint32_t seed) : numbers_(seed), planter_(&numbers_) {}

  std::string pattern() {
    static const char* const kStarts[] = {"", "", "", "^", "(?i)", "(?i)^"};
    static const char* const kAtoms[] = {"spam",        "www\\.",
                                         "free",        "a",
                                         "e",           " ",
                                         "[0-9]",       "\\d",
                                         "[a-z]",       "[^ ]",
                                         ".",           "\\w",
                                         "\\s",         "@",
                                         "http://",     "(com|net|org)",
                                         "(a|bc|e)",    "(?:spam|ham)",
                                         "[A-Za-z0-9]", "[aeiou]",
                                         "\\.",         "-",
                                         "(?i)",        "(?:fre+|[0-9]x)",
                                         "([a-z]+ ?)",  "(ab?c|)",
                                         "[^a-z]",      "(x|y[0-9]z*)",
                                         "\\1",         "\xe9",
                                         "\\xc9",       "x[yz]"};
    static const char* const kQuantifiers[] = {
        "*",  "+",  "?",   "{2}",  "{1,3}", "{,2}",  "{3,}",
        "*?", "+?", "{4}", "{5,}", "{17}",  "{6,9}", "{2,4}?"};
    std::string text = kStarts[below(6)];
    for (uint32_t n = 1 + below(6); n > 0; n--) {
      text += kAtoms[below(sizeof kAtoms / sizeof *kAtoms)];
      if (below(3) == 0) text += kQuantifiers[below(14)];
      if (below(12) == 0) text += "|";
    }
    if (below(5) == 0) text += "$";
    return text;
  }

  std::string subject(const regex_model::Pattern& pattern) {
    std::string text = planter_.text(pattern.full);
    if (below(2) == 0) filler(1 + below(60), &text, 0);
    if (below(4) != 0) filler(below(140), &text, text.size());
    for (char& c : text) {
      if (below(16) == 0 && c >= 'A' && c <= 'Z') c += 'a' - 'A';
      if (below(16) == 0 && c >= 'a' && c <= 'z') c += 'A' - 'a';
    }
    if (!text.empty() && below(3) == 0)
      text[below(static_cast<uint32_t>(text.size()))] = "ae 1.\xe9"[below(6)];
    return text;
  }

  uint32_t below(uint32_t n) { return numbers_.Below(n); }

 private:
  void filler(uint32_t length, std::string* text, size_t at) {
    static const char kBytes[] = "etaoin sprfwh.-@0129XYZAB\xc9\xe9\r\t";
    std::string bytes;
    for (; length > 0; length--) bytes += kBytes[below(sizeof kBytes - 1)];
    text->insert(at, bytes);
  }

  Numbers numbers_;
  Planter planter_;
};

TEST(RegexModel, EngineAgreesOnPlantedSubjects) {
  RuleLike rules(Environment("QM_REGEX_SEED", 2026));
  Comparison comparison;
  for (uint32_t n = Environment("QM_REGEX_RANDOM", 5000); n > 0; n--) {
    if (!comparison.goesOn()) return;
    const std::string pattern = rules.pattern();
    const int flags = rules.below(4) == 0;
    const regex_model::Pattern model = regex_model::Compile(pattern, flags);
    if (model.error != 0) continue;
    std::vector<const HeapText*> subjects;
    for (int i = 0; i < 10; i++)
      subjects.push_back(new HeapText(rules.subject(model)));
    comparison.take(pattern, flags, subjects, rules.below(8));
    for (const HeapText* subject : subjects) delete subject;
  }
}

static std::string Times(const std::string& text, uint32_t n) {
  std::string out;
  while (n-- > 0) out += text;
  return out;
}

// What passes the room that the engine has at hand: slots, depth, literals of
// a group, cells of its stack, bytes that it looks at together.
TEST(RegexModel, EngineAgreesBeyondItsRoom) {
  std::string words = "w1";
  for (uint32_t i = 2; i <= 40; i++) words += "|w" + std::to_string(i * i);
  const struct {
    std::string pattern, subject;
  } kRows[] = {
      {Times("(a)", 70) + "b", Times("a", 70)},
      {Times("(?:a|(b))", 70) + "\\2", "b" + Times("a", 69)},
      {Times("(", 40) + "a" + Times(")+", 40) + "c", "a"},
      {Times("(", 12) + "a|b+" + Times(")x?", 12) + "c", "xbabbx"},
      {Times("(?:a|b", 12) + Times(")", 12), Times("b", 11)},
      {"(" + words + ")+;", "w1w4w900w1600"},
      {"(?:" + words + "|[xy]z)[a-z]", "w1156xz"},
      {Times("(?:a|b+)", 9) + "c", "abbabbaba"},
      {"^(a|bc)*d", Times("abca", 300)},
      {"(a|bc)+d", Times("a", 150)},
      {"^(?:ab?)*?d", Times("ab", 500)},
      {"^(ab|a)*d", Times("aba", 500)},
      {".*b.*a$", Times("ab", 9)},
      {"^(?:a*b?)[ab]*c", Times("ab", 300)},
      {Times("a?", 30), Times("a", 29)},
      {Times("a?", 30) + Times("a", 20) + "c", Times("a", 45)},
      {"[ab]{300}c", Times("ab", 151)},
      {"b[ab]{4,}$", Times("a", 70)},
      {Times("[ab]", 40), Times("ab", 19)},
      {"(abc|abd){2}e", "abcabdabc"},
  };
  static const char* const kEnds[] = {"", "a", "b", "c", "d", "e", ";", "C"};
  Comparison comparison;
  for (const auto& row : kRows)
    for (const char* end : kEnds)
      for (const uint32_t ahead : {0, 63, 64, 130}) {
        const HeapText subject(std::string(ahead, '.') + row.subject + end);
        comparison.take(row.pattern, 0, {&subject}, 80);
        comparison.take(row.pattern, 1, {&subject}, 3);
      }
}
