// The engine against the model: all small patterns on all small subjects, then
// longer ones from a seeded generator.
//
// QM_REGEX_DEPTH=N takes all patterns of up to N pieces instead of the few of
// every day, QM_REGEX_RANDOM=N takes N random ones, QM_REGEX_SEED=N others.

#include "regex/regex_model_util.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "base/heap_text.h"
#include "regex/regex_duel_util.h"

static uint32_t Environment(const char* name, uint32_t usual) {
  const char* value = getenv(name);
  return value ? static_cast<uint32_t>(strtoul(value, nullptr, 10)) : usual;
}

static std::string_view View(const HeapText& text) {
  const TBLOCK view = text.view();
  return std::string_view(reinterpret_cast<const char*>(view.pointer),
                          view.length);
}

// Counts what was compared, and stops showing differences after a few.
class Comparison {
 public:
  ~Comparison() {
    // The engine may run out of steps, but next to never does.
    EXPECT_LE(capped_, patterns_ / 50000);
    if (!longRun_) return;
    printf(
        "%llu patterns; %llu answers, %llu matches; %llu not answered, "
        "%llu of these by the engine\n",
        patterns_, answered_, matched_, unanswered_, capped_);
  }

  bool goesOn() const { return left_ > 0; }
  void take(const std::string& pattern, int flags,
            const std::vector<const HeapText*>& subjects, uint32_t nmatch);

 private:
  uint32_t left_ = 20;
  const bool longRun_ = getenv("QM_REGEX_DEPTH") || getenv("QM_REGEX_RANDOM");
  // The engine may be seen giving up this often: each time is slow.
  uint32_t giveUps_ = longRun_ ? 2000 : 10;
  unsigned long long patterns_ = 0, answered_ = 0, matched_ = 0,
                     unanswered_ = 0, capped_ = 0;
};

void Comparison::take(const std::string& pattern, int flags,
                      const std::vector<const HeapText*>& subjects,
                      uint32_t nmatch) {
  const HeapText text(pattern);
  RegexDuel duel(View(text), flags);
  if (!duel.compiled()) return;
  duel.giveUps = giveUps_ > 0;
  patterns_++;
  for (const HeapText* subject : subjects) {
    const std::string difference = duel.compare(View(*subject), nmatch);
    if (difference.empty()) continue;
    ADD_FAILURE() << difference;
    if (left_ > 0) left_--;
    break;
  }
  if (giveUps_ > 0 && duel.giveUps == 0) giveUps_--;
  answered_ += duel.answered;
  matched_ += duel.matched;
  unanswered_ += duel.unanswered;
  capped_ += duel.capped;
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

static std::vector<std::string> Words(const char* text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

TEST(RegexModel, EngineAgreesOnAllSmallPatterns) {
  static const struct {
    const char* pieces;
    uint32_t depth;  // pieces in a pattern
    const char* exact;
    uint32_t length;  // of subjects
    const char* folding;
    uint32_t foldingLength;
  } kRows[] = {
      {"a b | ( ) * + ? . ^ $ \\1 {2} [ab] (?: (?i)", 4, "ab", 4, "aB", 3},
      {"a b | ( ) ? *? {2}? $", 5, "ab", 3, "aB", 3},
      {"a (b|ab) (?:a| ) {0} {1,2} {,2} +? (?-i) \\1 ^ $", 4, "ab", 4, "Ab", 3},
      {"[ ] ^ - a b \\ 9 A", 5, "aAb9-", 1, "aB^", 1},
      {"[a-z A-Z 0-9 _ ] [^ \\d \\W \\b + x", 4, "a_5\xc1", 2, "X\xe9", 2},
      {"[a-zA-Z0-9] [^A-Z0-9a-z] [0-9_A-Za-z] [^_0-9A-Za-z] [0-9] [^a] \\w \\W "
       "\\d +? *",
       4, "a_5", 3, "X_", 2},
      {"x{ } }{ , 0 1 2 ? *", 5, "x", 4, "xX", 2}};
  const uint32_t deeper = Environment("QM_REGEX_DEPTH", 0);
  Comparison comparison;
  for (const auto& row : kRows) {
    const Subjects exact(row.exact, row.length);
    const Subjects folding(row.folding, row.foldingLength);
    const std::vector<std::string> pieces = Words(row.pieces);
    const std::string indexes("ABCDEFGHIJKLMNOP", pieces.size());
    std::string picks;
    const uint32_t depth = deeper ? deeper : row.depth;
    for (uint32_t n = 0; n <= depth; n++)
      for (uint32_t i = 0; NthText(i, n, indexes.c_str(), picks); i++) {
        if (!comparison.goesOn()) return;
        std::string pattern;
        for (const char pick : picks) pattern += pieces[pick - 'A'];
        comparison.take(pattern, 0, exact.all(), 5);
        // Folding differs in few places: it goes without the longest.
        if (n < depth) comparison.take(pattern, 1, folding.all(), 5);
      }
  }
}

static const struct Pieces {
  const char *atoms, *quantifiers;
} kPieces[] = {
    // Such as meet each other's quirks.
    {"a b c a b ab ba aa [ab] [^a] . [b] [a-b] (a|b) \\1 \\2 ^ $ (?i) \\w ( ( "
     "( ( "
     "(ab|a) (b|bc) (?-i) c[\\b] (?: (?: (?: (?: [cB]",
     "* + ? {2} {1,2} {0} {2,} {,2} *? +? ?? {1,2}?"},
    // Such as rules have.
    {"spam www\\. free a e \\x20 [0-9] \\d [a-z] [^\\x20] . \\w \\s @ http:// "
     "(a|bc|e) (?:spam|ham) (com|net|org) [A-Za-z0-9] [aeiou] \\. - (?i) "
     "(?:fre+|[0-9]x) ([a-z]+\\x20?) (ab?c|) (x|y[0-9]z*) [^a-z] \\1 \xe9 "
     "\\xc9 x[yz] (?:",
     "* + ? {2} {1,3} {,2} {3,} *? +? {4} {5,} {17} {6,9} {2,4}?"}};

// Patterns that mostly compile, and subjects of up to some hundred bytes that
// nearly match: what the engine looks for ahead of the walk, many bytes at a
// time, must not pass over a match.
class Generator {
 public:
  Generator(uint32_t seed, const Pieces& pieces)
      : numbers_(seed),
        atoms_(Words(pieces.atoms)),
        quantifiers_(Words(pieces.quantifiers)) {}

  std::string pattern() {
    std::string text;
    if (below(6) == 0) text = "(?i)";
    if (below(6) == 0) text += "^";
    alternatives(3, &text);
    if (below(6) == 0) text += "$";
    return text;
  }

  std::string subject(const regex_model::Pattern& pattern) {
    std::string text;
    plant(pattern.full, &text);
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

  // Of the letters that the first pieces are made of.
  std::string shortSubject() {
    std::string text;
    for (uint32_t n = below(12); n > 0; n--) text += "aabbcAB"[below(7)];
    return text;
  }

  uint32_t below(uint32_t n) { return numbers_.Below(n); }

 private:
  const std::string& any(const std::vector<std::string>& of) {
    return of[below(static_cast<uint32_t>(of.size()))];
  }

  void alternatives(uint32_t depth, std::string* text) {
    do {
      for (uint32_t n = below(5); n > 0; n--) {
        const std::string atom = any(atoms_);
        const bool group = atom == "(" || atom == "(?:";
        if (group && depth == 0) continue;
        *text += atom;
        if (group) {
          alternatives(depth - 1, text);
          *text += ")";
        }
        if (below(3) == 0) *text += any(quantifiers_);
        if (below(24) == 0) *text += any(quantifiers_);
      }
    } while (below(4) == 0 && (*text += "|").size() < 100);
  }

  // A text that a pattern may match: one way through its tree.
  void plant(const regex_model::Tree& tree, std::string* out) {
    if (tree.empty()) return;
    const uint32_t pick = below(static_cast<uint32_t>(tree.size()));
    for (const regex_model::Element& element : tree[pick].elements) {
      uint32_t count = std::min(element.min, 30u);
      if (below(2) == 0) count += below(3);
      count = std::min(count, element.max);
      for (; count > 0 && out->size() < 150; count--) {
        *out += element.text;
        plant(element.alternatives, out);
        for (int i = 0; i < 50 && element.kind == ZR_CLASS; i++) {
          const uint8_t c = static_cast<uint8_t>(' ' + below(95));
          if (!element.set[c]) continue;
          *out += static_cast<char>(c);
          break;
        }
      }
    }
  }

  void filler(uint32_t length, std::string* text, size_t at) {
    static const char kBytes[] = "etaoin sprfwh.-@0129XYZAB\xc9\xe9\r\t";
    std::string bytes;
    for (; length > 0; length--) bytes += kBytes[below(sizeof kBytes - 1)];
    text->insert(at, bytes);
  }

  Numbers numbers_;
  const std::vector<std::string> atoms_, quantifiers_;
};

TEST(RegexModel, EngineAgreesOnRandomPatterns) {
  Comparison comparison;
  for (const Pieces& pieces : kPieces) {
    const bool isSmall = &pieces == kPieces;
    Generator random(Environment("QM_REGEX_SEED", 2026), pieces);
    for (uint32_t n = Environment("QM_REGEX_RANDOM", 10000); n > 0; n--) {
      if (!comparison.goesOn()) return;
      const std::string pattern = random.pattern();
      const int flags = random.below(4) == 0;
      const RegexDuel planted(pattern, flags);
      std::vector<const HeapText*> subjects;
      for (int i = 0; i < 8; i++)
        subjects.push_back(new HeapText(isSmall && i > 1
                                            ? random.shortSubject()
                                            : random.subject(planted.model())));
      comparison.take(pattern, flags, subjects, random.below(8));
      for (const HeapText* subject : subjects) delete subject;
    }
  }
}

// What has gone wrong once, or nearly: ends, switches of case and anchors that
// the searches ahead of the walk have to see.
TEST(RegexModel, EngineAgreesWhereItSearches) {
  static const char* const kPatterns[] = {
      "(?i)dear (abc|foo|free)", "[a-z]+@[a-z]+\\.(com|net)", "foo.*bar",
      "(?i)https?://[^/ ]*@", "^(http|free|12)", "(^foo|bar)[0-9]+",
      "[a-z]{20,}", "([a-z]{1,3} ){2}", "(\\w+ ){3}", "[0-9]{1,3}-[0-9]{2,}$",
      "x?y?(abc|[0-9]{3})", "(a|ab)(c|bcd)*@", "(foo|ba+r)+\\$", ".+free",
      ".*\\n.*now$", "\\s+$", "a?b?c?[0-9]", "[^a-z]{3}\\w", "(?i)\xE9t\xE9",
      "(a(?i)b|FOO)(?-i)c", "((dear|free) ?)+now", "(=\\?|<b>)[a-z]*(\\?=|@)",
      "[a-z]*[0-9]$|foo\\n", "\\d+ ?(now|XYZ|-)", "[A-Z]{3}|\\$[0-9]+",
      "(ab)+c@", "(a{2,30}|foo){2,}", "[a-m]{2,9}[n-z]",
      "(?i)(free|now|dear)[- ](foo|bar)", "(a+)-\\1", "a{5,9}[^a]", "_|^a|@$",
      // The mask changes behind the first element; anchors that may be left
      // out.
      "[^a]+(?i)B", "[^a]+(?i)", "b(^){0}a+(b|f)", "[a-z]{2,}(^)?[0-9_]",
      // Ends of the text, also of alternatives, and behind long literals.
      "[a-z]{2,3}$", "(now|12)$|foo$", "aaaaaaaaaaaaaaaaaaaaaa[a@]?$",
      "aaaaaaaaaaaaaaaaaaaaaa$", "[a-z]+([0-9]-)?$", "([a-o]{3}r?)+($)?/",
      "[a-z]+([0-9]-)?[b@]", "[a-z]{1,3}@|\\w{2,3}\\$", "foo($)?bar",
      "bcdefghijklmnopqrstuvwxyz$"};
  Comparison comparison;
  Generator random(11, kPieces[1]);
  for (const char* pattern : kPatterns) {
    const RegexDuel planted(pattern, 0);
    for (uint32_t round = 0; round < 200; round++) {
      const HeapText subject(random.subject(planted.model()));
      comparison.take(pattern, 0, {&subject}, 8);
    }
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
