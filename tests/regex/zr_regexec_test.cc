// The matcher's answers with and without captures, what it writes, its limits,
// and what it allocates. That it agrees with the model is shown elsewhere.

#include "regex/zr_regex.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "base/heap_text.h"
#include "regex/regex_duel_util.h"
#include "regex/zr_walk.h"

// A second copy of the matcher, whose calls for memory are counted and can be
// refused.
static uint32_t allocations = 0;
static uint32_t allowed = 0xFFFFFFFFu;

static bool Count() {
  if (allocations >= allowed) return false;
  ++allocations;
  return true;
}
static void* CountedMalloc(size_t size) {
  return Count() ? malloc(size) : nullptr;
}
static void* CountedRealloc(void* block, size_t size) {
  return Count() ? realloc(block, size) : nullptr;
}

#define malloc CountedMalloc
#define realloc CountedRealloc
#define zr_walk CountedWalk
#define zr_same_bytes CountedSameBytes
#define zr_regexec_len CountedRegexecLen
#define zr_regexec CountedRegexec
#include "../../src/regex/zr_walk.cc"
// Two files: the walk, then its caller.
#include "../../src/regex/zr_regexec.cc"
#undef malloc
#undef realloc
#undef zr_walk
#undef zr_same_bytes
#undef zr_regexec_len
#undef zr_regexec

namespace {

const zr_pair kUntouched = {-7, -7};

class Compiled {
 public:
  explicit Compiled(const std::string& pattern, int flags = 0)
      : record_(zr_regalloc()),
        code_(zr_regcomp_len(record_, pattern.data(), flags,
                             static_cast<uint32_t>(pattern.size()))) {}
  ~Compiled() { zr_regfree(record_); }
  Compiled(const Compiled&) = delete;
  Compiled& operator=(const Compiled&) = delete;

  int code() const { return code_; }
  zr_regex* record() const { return record_; }

  // Without pairs.
  int match(const std::string& subject) const {
    const HeapText text(subject);
    return zr_regexec_len(record_, Bytes(text), 0, nullptr, 0,
                          text.view().length);
  }

  // The code, then all pairs that were written of `nmatch`.
  std::string matchPairs(const std::string& subject, uint32_t nmatch) const {
    const HeapText text(subject);
    zr_pair* pairs = new zr_pair[nmatch];
    for (uint32_t i = 0; i < nmatch; i++) pairs[i] = kUntouched;
    std::string out = std::to_string(zr_regexec_len(
        record_, Bytes(text), nmatch, pairs, 0, text.view().length));
    for (uint32_t i = 0; i < nmatch && pairs[i].start != -7; i++)
      out += " " + std::to_string(pairs[i].start) + "," +
             std::to_string(pairs[i].end);
    delete[] pairs;
    return out;
  }

  static const char* Bytes(const HeapText& text) {
    return reinterpret_cast<const char*>(text.view().pointer);
  }

 private:
  zr_regex* record_;
  int code_;
};

}  // namespace

TEST(ZrRegexec, AnswersAndPairs) {
  static const struct {
    const char *pattern, *subject;
    const char* pairs;  // with room for all
    int plain;          // without captures
  } kRows[] = {         // Which match is found: alternatives before offsets.
               {"b|a", "xab", "0 2,3 -1,-1", 0},
               {"aab|ba", "baaab", "0 2,5 -1,-1", 0},
               {"a?b", "xbab", "0 2,4 -1,-1", 0},
               {"a*?b", "xaab", "0 3,4 -1,-1", 0},
               {"(a|b)+c", "abc", "0 0,3 1,2 -1,-1", 0},
               {"(b|a)", "xab", "0 1,2 1,2 -1,-1", 0},
               {"(b+|a)", "xab", "0 2,3 2,3 -1,-1", 0},
               {"(ax|bx){2,3}c", "axbxaxbxc", "0 2,9 6,8 -1,-1", 0},
               {"(a|b+)+c", "axbc", "0 2,4 2,3 -1,-1", 0},
               {"a|", "b", "0 0,0 -1,-1", 0},
               // Ends and starts.
               {"", "", "0 0,0 -1,-1", 0},
               {"", "x", "0 0,0 -1,-1", 0},
               {"^$", "", "0 0,0 -1,-1", 0},
               {"^$", "a", "1 -1,-1", 1},
               {"$", "a", "1 -1,-1", 0},
               {"a$", "ba", "0 1,2 -1,-1", 0},
               {"a$", "ab", "1 -1,-1", 1},
               {"ab(bc|c)$", "abc", "1 -1,-1", 1},
               {"x^a|b", "xab", "0 2,3 -1,-1", 0},
               {"(^a|b)c", "bcac", "0 0,2 0,1 -1,-1", 0},
               // Lazy: a group is extended, a single element is not.
               {"x(a)*?b", "xb", "0 0,2 -1,-1 -1,-1", 1},
               {"x(a)*?b", "xab", "0 0,3 1,2 -1,-1", 0},
               {"x(a)*?b", "xaab", "0 0,4 2,3 -1,-1", 1},
               {"xa*?b", "xb", "1 -1,-1", 1},
               {"xa*?b", "xab", "0 0,3 -1,-1", 0},
               {"xa{2,5}?b", "xaab", "0 0,4 -1,-1", 0},
               {"xa{2,5}?b", "xaaab", "1 -1,-1", 1},
               {"x(ab|c){1,2}?d", "xabcd", "0 0,5 3,4 -1,-1", 0},
               // A literal taken by a group stays.
               {"(ab|a)b", "ab", "1 -1,-1", 1},
               {"(ab|a)b", "abb", "0 0,3 0,2 -1,-1", 0},
               {"(ab|a)+c", "aabac", "0 0,5 3,4 -1,-1", 0},
               // Nothing resets an inner capture.
               {"((a)|b)+$", "ab", "0 0,2 1,2 0,1 -1,-1", 0},
               {"(?:x)(a)(?:y)?", "xa", "0 0,2 1,2 -1,-1", 0},
               {"x(a){0}b", "xb", "0 0,2 -1,-1 -1,-1", 0},
               {"x(a){0}b", "xab", "1 -1,-1", 1},
               {"x**", "", "1 -1,-1", 1},
               {"yx**", "yxx", "1 -1,-1", 1},
               {"xa{}b", "xab", "1 -1,-1", 1},
               {"ya{1,2}{2}z", "yaz", "1 -1,-1", 1},
               {"ya{1,2}{2}z", "yaaz", "0 0,4 -1,-1", 0},
               {"^\\d+\\d{2}$", "1234", "0 0,4 -1,-1", 0},
               // Back references compare bytes, also when folding.
               {"(a+)b\\1c", "xaabaac", "0 1,7 1,3 -1,-1", 0},
               {"(?i)(a)\\1", "aA", "1 -1,-1", 1},
               {"(?i)(a)\\1", "AA", "0 0,2 0,1 -1,-1", 0},
               {"(|a)\\1*b", "b", "0 0,1 0,0 -1,-1", 0},
               {"(?:(a)|b)\\2", "bb", "1 -1,-1", 1},
               // Case is switched on the way and back again.
               {"a(?i)b|c", "C", "0 0,1 -1,-1", 0},
               {"a(?i)b|c", "c", "1 -1,-1", 1},
               {"(?i)\xE9", "\xC9", "0 0,1 -1,-1", 0},
               {"(?i)\xF7", "\xD7", "1 -1,-1", 1},
               {"(?i)[^\xE9]x", "\xC9x\xF7X", "0 2,4 -1,-1", 0},
               {"[\\x80-\\xff]", "\x90", "1 -1,-1", 1},
               {"[\\x80-\\xff]", "f", "0 0,1 -1,-1", 0},
               // All bytes but the low ones, and a carriage return.
               {"^.", "\r", "0 0,1 -1,-1", 0},
               {"^.", "\x0C", "1 -1,-1", 1},
               {"^.", "\t", "1 -1,-1", 1},
               // A fault shows once it is reached.
               {"[\\b]", "", "1 -1,-1", 1},
               {"[\\b]", "a", "11 -1,-1", 11},
               {"a[\\b]", "b", "1 -1,-1", 1},
               {"a*[\\b]$", "xx", "11 -1,-1", 11},
               // Nothing stops a group that goes round on empty text.
               {"x(a*)*y", "xaay", "10 -1,-1", 10},
               {"x(a*)*y", "xaab", "10 -1,-1", 10},
               {"x(a*)*y", "aay", "1 -1,-1", 1},
               {"x(a|b?)+$", "xa!", "10 -1,-1", 10}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.pattern) + " on " + row.subject);
    const Compiled regex(row.pattern);
    ASSERT_EQ(ZR_OK, regex.code());
    EXPECT_EQ(row.pairs, regex.matchPairs(row.subject, 9));
    EXPECT_EQ(row.plain, regex.match(row.subject));
    EXPECT_EQ(row.plain,
              zr_regexec(regex.record(), row.subject, 0, nullptr, 0));
    // And so says the model.
    EXPECT_EQ("", RegexDuel(row.pattern, 0).compare(row.subject, 4));
  }
}

TEST(ZrRegexec, WritesNoMorePairsThanAskedFor) {
  static const struct {
    const char *pattern, *subject;
    uint32_t nmatch;
    const char* pairs;
  } kRows[] = {{"(a)(?:b)(c)", "abc", 1, "0 0,3"},
               {"(a)(?:b)(c)", "abc", 2, "0 0,3 0,1"},
               {"(a)(?:b)(c)", "abc", 3, "0 0,3 0,1 2,3"},
               {"(a)(?:b)(c)", "abc", 4, "0 0,3 0,1 2,3"},
               {"(a)(?:b)(c)", "abc", 5, "0 0,3 0,1 2,3 -1,-1"},
               {"(a)?", "", 2, "0 0,0 -1,-1"},
               {"(a)", "b", 3, "1 -1,-1"}};
  for (const auto& row : kRows)
    EXPECT_EQ(row.pairs,
              Compiled(row.pattern).matchPairs(row.subject, row.nmatch))
        << row.pattern << " " << row.nmatch;
  // The number alone chooses the list, here the one with lazy groups.
  const Compiled regex("x(a)*?b");
  EXPECT_EQ(ZR_OK, zr_regexec(regex.record(), "xb", 1, nullptr, 0));
}

TEST(ZrRegexec, AllocatesOnlyForManyGroupsAndMuchBacktracking) {
  const std::string many = Times(70, "(a|bc?)");
  const struct {
    std::string pattern, subject;
    int code;
    uint32_t allocations;
  } kRows[] = {{"viagra", Times(300, "via gra "), ZR_NOMATCH, 0},
               {"(?i)(mon|tue), \\d+", Times(300, "Tue, x "), ZR_NOMATCH, 0},
               {"([a-z]+ )+@", Times(200, "word "), ZR_NOMATCH, 0},
               {".*,.*;", Times(400, "a,b"), ZR_NOMATCH, 0},
               {"^(\\w+\\.)+$", Times(100, "ab."), ZR_OK, 0},
               {"^([a-y]z?)+!", Times(1000, "ab") + "!", ZR_OK, 2},
               {"^([a-y]z?)+!", Times(1000, "ab") + "?!", ZR_NOMATCH, 2},
               {many, Times(70, "b"), ZR_OK, 1},
               {many, Times(69, "b"), ZR_NOMATCH, 0},
               // As many cells as the steps allow.
               {"x(a*)*y", "xy", ZR_NOMEMORY, 8},
               // Steps without end.
               {"x(a+)+!", "x" + Times(40, "a") + "?!", ZR_NOMEMORY, 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.pattern);
    const Compiled regex(row.pattern);
    ASSERT_EQ(ZR_OK, regex.code());
    const HeapText text(row.subject);
    const uint32_t length = text.view().length;
    allocations = 0;
    EXPECT_EQ(row.code, CountedRegexecLen(regex.record(), Compiled::Bytes(text),
                                          0, nullptr, 0, length));
    EXPECT_EQ(row.allocations, allocations);
    if (row.allocations == 0) continue;
    // None to be had, or one less than needed.
    zr_pair pair = kUntouched;
    allocations = 0;
    allowed = row.allocations - 1;
    EXPECT_EQ(ZR_NOMEMORY,
              CountedRegexecLen(regex.record(), Compiled::Bytes(text), 1, &pair,
                                0, length));
    EXPECT_EQ(-1, pair.start);
    allowed = 0xFFFFFFFFu;
  }
}
