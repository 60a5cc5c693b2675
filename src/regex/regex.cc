// Patterns as the rest of the system uses them. The pool is asked first, at
// the price of one hash; only patterns that it does not hold are compiled
// here. Tested by regex_test.cc.

#include "regex/regex.h"

#include <new>

#include "base/block.h"
#include "regex/regex_pool.h"
#include "regex/zr_regex.h"

namespace {

// Never null, also for a view that is.
const char* Bytes(TBLOCK text) {
  return text.empty() ? "" : reinterpret_cast<const char*>(text.pointer);
}

uint32_t Length(TBLOCK text) {
  return text.empty() ? 0 : text.length;
}

// Where the "~" stands that splits the pattern, or -1.
int32_t FindSplit(TBLOCK pattern) {
  const int32_t at = pattern.findByte('~');
  const bool escaped = at > 0 && pattern[static_cast<uint32_t>(at) - 1] == '\\';
  return escaped ? -1 : at;
}

// False without a compiled pattern.
bool MatchesCompiled(const zr_regex* compiled, TBLOCK text) {
  return compiled && zr_regexec_len(compiled, Bytes(text), 0, nullptr, 0,
                                    Length(text)) == ZR_OK;
}

// Appends the class of a run of letters and digits, with its count.
void AddRunClass(TBLOCK run, STR& out) {
  const uint32_t kShortRun = 4;  // below this its length says little
  const int32_t kSlack = 2;
  bool hexa = true, lower = false, upper = false, digit = false;
  for (uint32_t i = 0; i < run.length; i++) {
    hexa = hexa && TBLOCK::Is(run[i], bitHexa);
    lower = lower || TBLOCK::Is(run[i], bitLower);
    upper = upper || TBLOCK::Is(run[i], bitUpper);
    digit = digit || TBLOCK::Is(run[i], bitDigit);
  }
  out += '[';
  if (hexa) {
    out += "a-fA-F0-9";
  } else {
    if (lower) out += "a-z";
    if (upper) out += "A-Z";
    if (digit) out += "0-9";
  }
  out += ']';
  if (run.length < kShortRun) {
    out += "{1,5}";
    return;
  }
  const int32_t length = static_cast<int32_t>(run.length);
  out += '{';
  out += length - kSlack;
  out += ',';
  out += length + kSlack;
  out += '}';
}

}  // namespace

REGEX::REGEX()
    : pooled(0),
      compiled(nullptr),
      compileError(ZR_OK),
      details(nullptr),
      detailCount(0) {}

REGEX::REGEX(const char* patternText, REGEXPOOL* pool)
    : REGEX(TBLOCK(patternText), pool) {}

REGEX::REGEX(TBLOCK patternText, REGEXPOOL* pool) : REGEX() {
  set(patternText, pool);
}

REGEX::~REGEX() {
  release();
}

void REGEX::release() {
  if (!pooled) zr_regfree(compiled);
  delete[] details;
  pooled = 0;
  compiled = nullptr;
  compileError = ZR_OK;
  details = nullptr;
  detailCount = 0;
}

void REGEX::set(TBLOCK patternText, REGEXPOOL* pool) {
  release();
  pattern = patternText;
  subject.clear();
  if (pattern.empty()) return;
  if (pool) compiled = pool->useRegex(pattern);
  if (compiled)
    pooled = 1;
  else
    _commonCtorJob();
}

// Compiles a private copy.
void REGEX::_commonCtorJob() {
  compiled = zr_regalloc();
  if (!compiled) {
    compileError = ZR_NOMEMORY;
    return;
  }
  compileError = zr_regcomp_len(compiled, Bytes(pattern), 0, pattern.length);
  if (compileError == ZR_OK) return;
  zr_regfree(compiled);
  compiled = nullptr;
}

bool REGEX::matches(TBLOCK text) const {
  return MatchesCompiled(compiled, text);
}

bool REGEX::match(TBLOCK text) {
  detailCount = 0;
  subject = text;
  return matches(text);
}

int32_t REGEX::matchWithDetails(TBLOCK text) {
  detailCount = 0;
  subject = text;
  // As many pairs as the pattern can fill, however long the subject is, and
  // one for the mark behind them: they serve all subjects.
  if (!compiled) return 0;
  const uint32_t slots = compiled->captureCount;
  if (!details) details = new (std::nothrow) zr_pair[slots + 1];
  if (!details) return 0;
  for (uint32_t i = 0; i <= slots; i++) details[i] = {-1, -1};
  const uint32_t asked = Length(text) < slots ? Length(text) : slots;
  if (zr_regexec_len(compiled, Bytes(text), asked, details, 0, Length(text)) !=
      ZR_OK)
    return 0;
  for (uint32_t i = 0; i < asked; i++)
    if (details[i].start != -1) detailCount = static_cast<int32_t>(i) + 1;
  return detailCount;
}

bool REGEX::match(TBLOCK text, TBLOCK& out, int32_t i) {
  matchWithDetails(text);
  if (i < 0 || i >= detailCount) return false;
  out = capture(i);
  return true;
}

bool REGEX::getDetail(int32_t i, int32_t& start, int32_t& end) const {
  const bool there = i >= 0 && i < detailCount;
  start = there ? details[i].start : -1;
  end = there ? details[i].end : -1;
  return there;
}

bool REGEX::getDetail(int32_t i, STR& text) const {
  text = capture(i);
  return i >= 0 && i < detailCount;
}

TBLOCK REGEX::capture(int32_t i) const {
  int32_t start, end;
  if (!getDetail(i, start, end) || start < 0) return TBLOCK();
  return subject.head(static_cast<uint32_t>(end))
      .from(static_cast<uint32_t>(start));
}

void RULEPATTERN::read(TBLOCK patternText) {
  pattern = patternText;
  wanted.set(TBLOCK(), nullptr);
  unwanted.set(TBLOCK(), nullptr);
  must = mustNot = nullptr;
  form = rfNone;
  if (pattern.empty()) return;
  const int32_t split = FindSplit(pattern);
  if (split >= 0) {
    form = split > 0 ? rfBut : rfNot;
    wanted.pattern = pattern.head(static_cast<uint32_t>(split));
    unwanted.pattern = pattern.from(static_cast<uint32_t>(split) + 1);
    return;
  }
  // The two shortcuts differ from the patterns: "." of the engine does not
  // match every byte.
  form = pattern.equals("^$")  ? rfNoText
         : pattern.equals(".") ? rfAnyText
                               : rfPlain;
  wanted.pattern = pattern;
}

void RULEPATTERN::compile(REGEXPOOL* pool) {
  // The empty subject, which "." of the engine does not match either, is all
  // that is left.
  if (form == rfAnyText) return;
  wanted.set(wanted.pattern, pool);
  unwanted.set(unwanted.pattern, pool);
  must = wanted.compiled;
  mustNot = unwanted.compiled;
}

void RULEPATTERN::set(TBLOCK patternText, REGEXPOOL* pool) {
  read(patternText);
  compile(pool);
}

int32_t RULEPATTERN::compileError() const {
  return unwanted.compileError != ZR_OK ? unwanted.compileError
                                        : wanted.compileError;
}

bool RULEPATTERN::match(TBLOCK subject) const {
  if (matchesAtOnce(subject)) return true;
  if (form == rfNone) return false;
  if (form != rfNot && !MatchesCompiled(must, subject)) return false;
  return !MatchesCompiled(mustNot, subject);
}

void RULEPATTERN::edgeBytes(bool last, uint32_t* bits) const {
  const uint32_t kWords = 8;
  for (uint32_t i = 0; i < kWords; i++) bits[i] = 0;
  const bool wants = form == rfPlain || form == rfBut;
  if (wants && must && zr_regedge(must, last, bits)) return;
  for (uint32_t i = 0; i < kWords; i++) bits[i] = 0xFFFFFFFF;
}

void RULEPATTERN::innerBytes(uint32_t* bits) const {
  const uint32_t kWords = 8;
  for (uint32_t i = 0; i < kWords; i++) bits[i] = 0;
  const bool wants = form == rfPlain || form == rfBut;
  if (wants && must && zr_regbytes(must, bits)) return;
  for (uint32_t i = 0; i < kWords; i++) bits[i] = 0xFFFFFFFF;
}

bool BlockMatchRegex(TBLOCK subject, TBLOCK pattern, REGEXPOOL* pool,
                     REGEX* compiled) {
  RULEPATTERN rule;
  rule.read(pattern);
  if (rule.matchesAtOnce(subject)) return true;
  if (compiled && rule.isPlain()) return compiled->match(subject);
  rule.compile(pool);
  return rule.match(subject);
}

int _AddRegexMixInStaticPool(TBLOCK pattern, REGEXPOOL* pool) {
  RULEPATTERN rule;
  rule.read(pattern);
  int last = ZR_OK;
  const TBLOCK halves[] = {rule.wanted.pattern, rule.unwanted.pattern};
  for (TBLOCK half : halves) {
    int error = ZR_OK;
    if (pool) pool->addCompiledRegex(half, error);
    if (error != ZR_OK) last = error;
  }
  return last;
}

bool BlockMatchRegex(TBLOCK subject, const char* pattern, REGEXPOOL* pool) {
  return BlockMatchRegex(subject, TBLOCK(pattern), pool, nullptr);
}

bool BlockSortedMatchRegex(TBLOCK subject, TBLOCK pattern, REGEXPOOL* pool) {
  if (subject.empty()) return BlockMatchRegex(subject, pattern, pool, nullptr);
  BLOCK sorted(subject.length, 0);
  if (!sorted.add(subject)) return false;
  TBLOCK::BlockSort(sorted.view());
  return BlockMatchRegex(sorted.view(), pattern, pool, nullptr);
}

void ReplaceRegex(TBLOCK pattern, TBLOCK subject, const STR& replacement,
                  STR& out, REGEXPOOL* pool) {
  out = "";
  REGEX regex(pattern, pool);
  int32_t start, end;
  while (regex.matchWithDetails(subject) > 0) {
    regex.getDetail(0, start, end);
    if (start == end) break;
    out += subject.head(static_cast<uint32_t>(start));
    out += replacement;
    subject.skip(static_cast<uint32_t>(end));
  }
  out += subject;
}

void RegexFromBlock(TBLOCK sample, STR& out, int anchorStart, int anchorEnd) {
  const uint32_t kInRun = bitAlpha | bitDigit;
  out = "";
  if (anchorStart) out += '^';
  while (!sample.empty()) {
    uint32_t n = sample.lengthIn(kInRun);
    if (n > 0) {
      AddRunClass(sample.head(n), out);
    } else {
      n = 1;
      out += '\\';
      out += sample.head(n);
    }
    sample.skip(n);
  }
  if (anchorEnd) out += '$';
}

void GetAdnAgent(STR& out, TBLOCK agent, REGEXPOOL* pool) {
  out = "";
  if (agent.empty()) {
    out += "98";
    return;
  }
  for (const AdnAgentRow& row : _Adn_Agent_Table) {
    if (!REGEX(row.pattern, pool).matches(agent)) continue;
    out += row.code;
    return;
  }
  out += "99";
}
