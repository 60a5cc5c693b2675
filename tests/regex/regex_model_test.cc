// The engine against the model: patterns from seeded generators, the
// dictionary's, and such as pass the engine's room. That the model is right is
// shown in zr_regexec_test.cc.
//
// QM_REGEX_RANDOM=N takes N random patterns instead of the few of every day,
// QM_REGEX_SEED=N others.

#include "regex/regex_model_util.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "base/heap_text.h"
#include "regex/regex_duel_util.h"
#include "regex/regex_pool.h"
#include "rules/qm_dico.h"

static uint32_t Environment(const char* name, uint32_t usual) {
  const char* value = getenv(name);
  return value ? static_cast<uint32_t>(strtoul(value, nullptr, 10)) : usual;
}

typedef std::function<std::string(uint32_t, const regex_model::Pattern&)>
    SubjectMaker;

// Counts what was compared, and stops showing differences after a few.
class Comparison {
 public:
  ~Comparison() {
    if (longRun_)
      printf("%llu answers, %llu matches, %llu endless, %llu not answered\n",
             answered_, matched_, endless_, unanswered_);
  }

  bool goesOn() const { return left_ > 0; }
  void take(const std::string& pattern, int flags, uint32_t nmatch,
            uint32_t count, const SubjectMaker& subject);

 private:
  void show(const std::string& difference);

  uint32_t left_ = 20;
  const bool longRun_ = getenv("QM_REGEX_RANDOM") != nullptr;
  // The engine may be seen giving up this often: each time is slow.
  uint32_t giveUps_ = longRun_ ? 2000 : 10;
  unsigned long long answered_ = 0, matched_ = 0, endless_ = 0, unanswered_ = 0;
};

void Comparison::show(const std::string& difference) {
  if (difference.empty() || left_ == 0) return;
  left_--;
  ADD_FAILURE() << difference;
}

void Comparison::take(const std::string& pattern, int flags, uint32_t nmatch,
                      uint32_t count, const SubjectMaker& subject) {
  const HeapText text(pattern);
  RegexDuel duel(text.chars(), flags);
  duel.giveUps = giveUps_ > 0;
  if (duel.code() == ZR_NOMEMORY) show("no memory for " + pattern);
  std::string difference;
  for (uint32_t i = 0; duel.compiled() && i < count && difference.empty(); i++)
    difference =
        duel.compare(HeapText(subject(i, duel.model())).chars(), nmatch);
  show(difference);
  if (giveUps_ > 0 && duel.giveUps == 0) giveUps_--;
  answered_ += duel.answered;
  matched_ += duel.matched;
  endless_ += duel.endless;
  unanswered_ += duel.unanswered;
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

// Patterns that mostly compile: short ones of pieces that meet each other's
// quirks, or such as rules have. Subjects are letters of the short ones or, up
// to some hundred bytes, nearly match: what the engine looks for ahead of the
// walk, many bytes at a time, must not pass over a match.
class Generator {
 public:
  explicit Generator(bool ruleLike)
      : ruleLike_(ruleLike),
        numbers_(Environment("QM_REGEX_SEED", 2026)),
        planter_(&numbers_) {
    atoms_ = Split(
        ruleLike
            ? "spam~www\\.~free~a~e~ ~[0-9]~\\d~[a-z]~[^ ]~.~\\w~\\s~@~"
              "http://~(com|net|org)~(a|bc|e)~(?:spam|ham)~[A-Za-z0-9]~"
              "[aeiou]~\\.~-~(?i)~(?:fre+|[0-9]x)~([a-z]+ ?)~(ab?c|)~"
              "[^a-z]~(x|y[0-9]z*)~\\1~\xe9~\\xc9~x[yz]~[a-m]{17,}~"
              "(free|now|XYZ|dear|foo|345|abc|oo|http|bar)~(^|\\.)~(-|/|$)~"
              "(?:www|a[bc]|[0-9]{3}|ham|n(o|e)w|(x|y)+)"
            : "a~b~c~a~b~ab~ba~aa~[ab]~[^a]~.~[a-b]~[b]~(a|b)~\\1~\\2~"
              "(ab|a)~^~$~(?i)~(?-i)~(b|bc)~\\w~[cB]~c[\\b]",
        '~');
  }

  uint32_t below(uint32_t n) { return numbers_.Below(n); }

  std::string pattern() {
    std::string text;
    if (below(6) == 0) text = "(?i)";
    if (below(6) == 0) text += "^";
    alternatives(ruleLike_ ? 0 : 3, &text);
    if (below(5) == 0) text += "$";
    if (!text.empty() && below(25) == 0)
      text[below(static_cast<uint32_t>(text.size()))] = ')';
    return text;
  }

  std::string subject(const regex_model::Pattern& pattern) {
    std::string text;
    if (!ruleLike_) {
      for (uint32_t n = below(12); n > 0; n--) text += "aAbBcabc"[below(8)];
      return text;
    }
    text = planter_.text(pattern.full);
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

 private:
  void alternatives(uint32_t depth, std::string* text) {
    sequence(depth, text);
    while (below(ruleLike_ ? 5 : 3) == 0) {
      *text += "|";
      sequence(depth, text);
    }
  }

  void sequence(uint32_t depth, std::string* text) {
    for (uint32_t n = ruleLike_ + below(ruleLike_ ? 6 : 4); n > 0; n--) {
      if (depth > 0 && below(5) == 0) {
        *text += below(2) ? "(" : "(?:";
        alternatives(depth - 1, text);
        *text += ")";
      } else {
        *text += numbers_.Pick(atoms_);
      }
      quantifier(text);
    }
  }

  void quantifier(std::string* text) {
    static const char* const kQuantifiers[] = {
        "*",    "+",     "?",    "{2}",  "{1,2}", "{0}",   "{2,}",
        "{,2}", "{1,3}", "{3,}", "{5,}", "{17}",  "{6,9}", "{2,4}"};
    if (below(3) != 0) return;
    *text += kQuantifiers[below(ruleLike_ ? 14 : 8)];
    if (below(4) == 0) *text += "?";
    if (below(8) == 0) quantifier(text);
  }

  void filler(uint32_t length, std::string* text, size_t at) {
    static const char kBytes[] = "etaoin sprfwh.-@0129XYZAB\xc9\xe9\r\t";
    std::string bytes;
    for (; length > 0; length--) bytes += kBytes[below(sizeof kBytes - 1)];
    text->insert(at, bytes);
  }

  const bool ruleLike_;
  std::vector<std::string> atoms_;
  Numbers numbers_;
  Planter planter_;
};

TEST(RegexModel, EngineAgreesOnRandomPatterns) {
  for (const bool ruleLike : {false, true}) {
    Generator generator(ruleLike);
    Comparison comparison;
    for (uint32_t n = Environment("QM_REGEX_RANDOM", 4000); n > 0; n--) {
      if (!comparison.goesOn()) return;
      const std::string pattern = generator.pattern();
      const int fold = generator.below(4) == 0;
      comparison.take(pattern, fold, generator.below(8), 8,
                      [&](uint32_t, const regex_model::Pattern& model) {
                        return generator.subject(model);
                      });
    }
  }
}

// All patterns of the dictionary that is linked in, on texts made of what they
// are written with.
TEST(RegexModel, EngineAgreesOnTheDictionary) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  dico.precompileRegexesIntoPool();
  Numbers numbers(17);
  Planter planter(&numbers);
  Comparison comparison;
  for (int32_t slot = pool.first(); slot >= 0; pool.next(slot)) {
    const std::string pattern = Str(pool.getBlock(slot));
    comparison.take(
        pattern, 0, 0, 8, [&](uint32_t, const regex_model::Pattern& model) {
          std::string text = planter.text(model.full);
          const size_t at = numbers.Below(uint32_t(text.size() + 1));
          if (numbers.Below(2)) text.insert(at, 1, " aE1."[numbers.Below(5)]);
          return Times(numbers.Below(3), "free ") + text + " now";
        });
  }
}

// What passes the room that the engine has at hand: slots, depth, literals of
// a group, cells of its stack, bytes that it looks at together.
TEST(RegexModel, EngineAgreesBeyondItsRoom) {
  std::string words = "w1";
  for (uint32_t i = 2; i <= 40; i++) words += "|w" + std::to_string(i * i);
  const struct {
    std::string pattern, subject;
  } kRows[] = {{Times(70, "(a)") + "b", Times(70, "a")},
               {Times(70, "(?:a|(b))") + "\\2", "b" + Times(69, "a")},
               {Times(40, "(") + "a" + Times(40, ")+") + "c", "a"},
               {Times(12, "(") + "a|b+" + Times(12, ")x?") + "c", "xbabbx"},
               {Times(12, "(?:a|b") + Times(12, ")"), Times(11, "b")},
               {"(" + words + ")+;", "w1w4w900w1600"},
               {"(?:" + words + "|[xy]z)[a-z]", "w1156xz"},
               {Times(9, "(?:a|b+)") + "c", "abbabbaba"},
               {"^(a|bc)*d", Times(300, "abca")},
               {"(a|bc)+d", Times(150, "a")},
               {"^(?:ab?)*?d", Times(500, "ab")},
               {"^(ab|a)*d", Times(500, "aba")},
               {".*b.*a$", Times(9, "ab")},
               {"^(?:a*b?)[ab]*c", Times(300, "ab")},
               {Times(30, "a?"), Times(29, "a")},
               {Times(30, "a?") + Times(20, "a") + "c", Times(45, "a")},
               {"[ab]{300}c", Times(151, "ab")},
               {"b[ab]{4,}$", Times(70, "a")},
               {Times(40, "[ab]"), Times(19, "ab")},
               {"(abc|abd){2}e", "abcabdabc"}};
  static const char* const kEnds[] = {"", "a", "b", "c", "d", "e", ";", "C"};
  Comparison comparison;
  for (const auto& row : kRows)
    for (const char* end : kEnds)
      for (const uint32_t ahead : {0, 63, 64, 130}) {
        const auto subject = [&](uint32_t, const regex_model::Pattern&) {
          return std::string(ahead, '.') + row.subject + end;
        };
        comparison.take(row.pattern, 0, 80, 1, subject);
        comparison.take(row.pattern, 1, 3, 1, subject);
      }
}
