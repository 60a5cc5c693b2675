// REGEX: one pattern with its compiled form; RULEPATTERN: one in the reading of
// rules, with "~"; replacement; a pattern made from a sample.
//
// A REGEX borrows its pattern, its subject and, when the pool knows the
// pattern, the compiled form; all of these must outlive its use. A pattern
// that does not compile matches nothing. The match calls of REGEX write into
// the object, those that are const don't: only with these may threads share it.
// Pools may be null everywhere: then a pattern is compiled where it is used.

#ifndef REGEX_REGEX_H_
#define REGEX_REGEX_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"

class REGEXPOOL;
struct zr_pair;
struct zr_regex;

class REGEX {
 public:
  int32_t pooled;        // 1: `compiled` is the pool's, 0: owned
  TBLOCK pattern;        // a view
  TBLOCK subject;        // a view: of the last match call
  zr_regex* compiled;    // null when there is no pattern or it is faulty
  int32_t compileError;  // ZR_OK, or why a private pattern was refused
  zr_pair* details;      // owned; null until captures are asked for
  int32_t detailCount;   // those of the last call of matchWithDetails

  REGEX();
  REGEX(const char* pattern, REGEXPOOL* pool);
  REGEX(TBLOCK pattern, REGEXPOOL* pool);
  ~REGEX();
  REGEX(const REGEX&) = delete;
  REGEX& operator=(const REGEX&) = delete;

  // Takes another pattern.
  void set(TBLOCK pattern, REGEXPOOL* pool);

  // Whether the pattern matches somewhere in the subject, which may be empty.
  // The cheap form: no captures.
  bool match(TBLOCK subject);
  // The same without a trace of it in the object.
  bool matches(TBLOCK subject) const;
  // The same with captures: how many, the whole match (number 0) included, up
  // to the last one that took part; 0 for no match. A subject of n bytes gives
  // at most n, so an empty subject always gives 0, on purpose.
  int32_t matchWithDetails(TBLOCK subject);
  // Calls matchWithDetails, and points `out` at capture i, empty when it took
  // no part. False, with `out` left as it is, when there are not so many.
  bool match(TBLOCK subject, TBLOCK& out, int32_t i);

  // Capture i of the last matchWithDetails: its offsets, which are -1, -1 when
  // it took no part. False with -1, -1 when there are not so many.
  bool getDetail(int32_t i, int32_t& start, int32_t& end) const;
  // Its text; false with an empty text when there are not so many.
  bool getDetail(int32_t i, STR& text) const;
  // Its text as a view of the subject; empty when there is none.
  TBLOCK capture(int32_t i) const;

 private:
  void _commonCtorJob();
  void release();
};

// A pattern by the reading of rules: "^$" is the empty subject, "." one that is
// not, "~R" one that R does not match, and "A~B" one that A matches and B does
// not. "\~" is no such mark and hides all behind it. A half that does not
// compile matches nothing, so that "~(" matches everything.
class RULEPATTERN {
 private:
  enum FORM { rfNone, rfPlain, rfBut, rfNot, rfAnyText, rfNoText };
  // All that a match reads, together: thousands of patterns take turns.
  FORM form;
  const zr_regex* must;
  const zr_regex* mustNot;

 public:
  TBLOCK pattern;  // a view
  REGEX wanted;    // what must match; without a pattern there is no such half
  REGEX unwanted;  // what must not

  RULEPATTERN() : form(rfNone), must(nullptr), mustNot(nullptr) {}

  // Takes a pattern apart. The halves are not compiled: they match nothing.
  void read(TBLOCK pattern);
  // Looks the halves up in the pool, or compiles them.
  void compile(REGEXPOOL* pool);
  // Both.
  void set(TBLOCK pattern, REGEXPOOL* pool);
  // Why the last half that is faulty was refused, or ZR_OK.
  int32_t compileError() const;

  // Writes nothing. REQUIRES: compile was called.
  bool match(TBLOCK subject) const;
  // Whether the subject matches without a look at the halves.
  bool matchesAtOnce(TBLOCK subject) const {
    return form == (subject.empty() ? rfNoText : rfAnyText);
  }
  // Stores the bytes that a subject which matches and is not empty may begin
  // with, or with `last` end with: byte c is bit c % 32 of bits[c / 32], of 8
  // words.
  void edgeBytes(bool last, uint32_t* bits) const;
  // Bytes of which such a subject holds at least one.
  void innerBytes(uint32_t* bits) const;
  // Whether all of the pattern is the wanted half.
  bool isPlain() const {
    return form == rfPlain || form == rfAnyText || form == rfNoText;
  }
};

// Whether the subject matches the RULEPATTERN. `compiled`, when given, must be
// of this pattern, and stands in for the pool where the pattern is plain.
bool BlockMatchRegex(TBLOCK subject, TBLOCK pattern, REGEXPOOL* pool,
                     REGEX* compiled);
bool BlockMatchRegex(TBLOCK subject, const char* pattern, REGEXPOOL* pool);
// Adds the halves of such a pattern to the pool; the engine's code of the last
// one that it refuses, or ZR_OK.
int _AddRegexMixInStaticPool(TBLOCK pattern, REGEXPOOL* pool);
// The same on the subject's bytes in ascending order. False without memory.
bool BlockSortedMatchRegex(TBLOCK subject, TBLOCK pattern, REGEXPOOL* pool);

// Stores the subject with each match replaced by `replacement` as it stands.
// What is left behind a match is a subject of its own: "^" holds there. An
// empty match ends the work, and the rest is copied. Neither text may stand
// in `out`. Each match costs one search of what is left: of all of it where an
// alternative that does not occur stands before the one that matches.
void ReplaceRegex(TBLOCK pattern, TBLOCK subject, const STR& replacement,
                  STR& out, REGEXPOOL* pool);

// Stores a pattern that texts of the sample's shape match: runs of letters and
// digits become classes of about their length, all else stands for itself.
// anchorStart and anchorEnd, when not 0, add "^" and "$".
void RegexFromBlock(TBLOCK sample, STR& out, int anchorStart, int anchorEnd);

// Stores the two digits of the mail program that calls itself `agent`: "98"
// when it has no name, "99" when nobody knows it.
void GetAdnAgent(STR& out, TBLOCK agent, REGEXPOOL* pool);

#endif  // REGEX_REGEX_H_
