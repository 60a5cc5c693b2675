// One pass over the lines of each file, with a stack of conditions across an
// inclusion; the depth of inclusions is limited, and so is what they read in
// all. Entry: TPreProcessor::Process. Tested by tests/tools/qmkwc_test.sh,
// fuzzed by keyword_source_fuzz.cc.

#include "rules/pre_processor.h"

namespace {

enum TVERB { vbIfdef, vbIfndef, vbEndif, vbDefine, vbUndef, vbInclude, vbSet };
const char* const kVerbs[] = {"ifdef", "ifndef",  "endif", "define",
                              "undef", "include", "set"};
const int32_t kVerbCount = 7;

bool SameVerb(TBLOCK word, const char* verb) {
  const TBLOCK other(verb);
  if (word.length != other.length) return false;
  for (uint32_t i = 0; i < word.length; i++)
    if (AsciiLower(word[i]) != other[i]) return false;
  return true;
}

// The verb of a directive, with `line` moved to its argument; or -1.
int32_t FindVerb(TBLOCK& line) {
  if (line.empty() || line[0] != '$') return -1;
  uint32_t n = 1;
  while (n < line.length && TBLOCK::Is(line[n], bitAlpha)) n++;
  const TBLOCK word(line.pointer + 1, n - 1);
  if (n < line.length && !AsciiIsSpace(line[n])) return -1;
  for (int32_t i = 0; i < kVerbCount; i++)
    if (SameVerb(word, kVerbs[i])) {
      line.skip(n);
      line.trim();
      return i;
    }
  return -1;
}

// Cuts a comment: from a ";" that has no backslash in front.
void CutComment(TBLOCK& line) {
  for (uint32_t i = 0; i < line.length; i++)
    if (line[i] == ';' && (i == 0 || line[i - 1] != '\\')) {
      line.cut(i);
      return;
    }
}

}  // namespace

TPreProcessor::TPreProcessor()
    : origins(0, 64000),
      files(0, 1000),
      names(0, hashExact),
      errorAt{0, 0},
      errorColumn(0),
      conditions(0, 100),
      values(0, 1000),
      here{0, 0},
      filesRead(0),
      bytesRead(0) {}

bool TPreProcessor::isDefined(TBLOCK name) const {
  return names.findKey(name) >= 0;
}

void TPreProcessor::define(TBLOCK name) {
  names.insert(name);
}

void TPreProcessor::undefine(TBLOCK name) {
  const int32_t slot = names.findKey(name);
  if (slot >= 0) names.deleteEntry(slot);
}

int TPreProcessor::SetVar(TBLOCK name, TBLOCK value, HASHTAB* vars) {
  if (!vars || name.empty()) return 1;
  if (!values.add(name) || !values.add(value)) return 0;
  const int32_t n = values.count();
  const STR* key = values.at(n - 2);
  STR* text = values.at(n - 1);
  const int32_t slot = vars->findKey(key->view());
  if (slot >= 0) vars->deleteEntry(slot);
  return vars->insert(key->view(), text) >= 0;
}

const TPreProcessor::ORIGIN* TPreProcessor::origin(uint32_t line) const {
  if (line >= origins.length / sizeof(ORIGIN)) return nullptr;
  return reinterpret_cast<const ORIGIN*>(origins.data) + line;
}

uint32_t TPreProcessor::openConditions() const {
  return conditions.length / static_cast<uint32_t>(sizeof(CONDITION));
}

// REQUIRES: one is open.
const TPreProcessor::CONDITION& TPreProcessor::lastCondition() const {
  return reinterpret_cast<const CONDITION*>(
      conditions.data)[openConditions() - 1];
}

bool TPreProcessor::active() const {
  return openConditions() == 0 || lastCondition().stay;
}

int TPreProcessor::fail(const char* text, TBLOCK line,
                        const unsigned char* at) {
  error = text;
  errorAt = here;
  errorColumn = at ? static_cast<uint32_t>(at - line.pointer) + 1 : 1;
  return 0;
}

int TPreProcessor::Process(const char* file, BLOCK* out, HASHTAB* vars) {
  error = "";
  conditions.empty();
  here = ORIGIN{0, 0};
  filesRead = 0;
  bytesRead = 0;
  if (!file || !out) return 0;
  return processFile(file, TBLOCK(), TBLOCK(), out, vars, 0);
}

int TPreProcessor::processFile(const char* file, TBLOCK line, TBLOCK name,
                               BLOCK* out, HASHTAB* vars, int32_t depth) {
  uint32_t size = 0;
  BLOCK text(0, 1000);
  // An empty file is one without lines; loading tells it from none.
  const int exists = BLOCK::IsFile(file, size);
  if (exists) bytesRead += size;
  const char* what = nullptr;
  if (++filesRead > kMaxSourceFiles)
    what = "too many files are included";
  else if (bytesRead > kMaxSourceBytes)
    what = "the source is too large";
  else if (!exists || (size > 0 && !text.loadFrom(file, size, 0)))
    what = "cannot read the file";
  // The first file has a place among them even when it cannot be read.
  if (depth == 0) here.file = static_cast<uint32_t>(files.count());
  if ((!what || depth == 0) && !files.add(file)) what = "out of memory";
  if (what) return fail(what, line, name.pointer);
  const ORIGIN caller = here;
  const uint32_t index = static_cast<uint32_t>(files.count() - 1);
  const int done = processText(text.view(), index, out, vars, depth);
  if (done) here = caller;
  return done;
}

int TPreProcessor::processText(TBLOCK text, uint32_t file, BLOCK* out,
                               HASHTAB* vars, int32_t depth) {
  const uint32_t base = openConditions();
  here = ORIGIN{file, 0};
  while (!text.empty()) {
    TBLOCK line = TBLOCK::BlockNextLine(text);
    here.number++;
    // Ahead of the directives, whose argument goes to the line's end.
    CutComment(line);
    const int done = directive(line, file, base, out, vars, depth);
    if (done < 0) return 0;
    if (done || !active()) continue;
    TBLOCK rest = line;
    rest.trim();
    if (rest.empty()) continue;
    if (!out->add(line) || !out->add("\r\n") ||
        !origins.add(&here, sizeof here))
      return fail("out of memory", line, line.pointer);
  }
  if (openConditions() == base) return 1;
  here = lastCondition().begin;
  return fail("$ifdef without $endif", TBLOCK(), nullptr);
}

int TPreProcessor::directive(TBLOCK line, uint32_t file, uint32_t base,
                             BLOCK* out, HASHTAB* vars, int32_t depth) {
  TBLOCK rest = line;
  const int32_t verb = FindVerb(rest);
  if (verb < 0) return 0;
  if (verb == vbEndif) {
    if (openConditions() == base)
      return fail("$endif without $ifdef", line, line.pointer), -1;
    conditions.removeEnd(sizeof(CONDITION));
    return 1;
  }
  if (rest.empty() && (active() || verb <= vbIfndef))
    return fail("the directive needs a name", line, line.end()), -1;
  if (verb == vbIfdef || verb == vbIfndef) {
    const bool stay = active() && isDefined(rest) == (verb == vbIfdef);
    const CONDITION condition = {stay, here};
    if (!conditions.add(&condition, sizeof condition))
      return fail("out of memory", line, line.pointer), -1;
    return 1;
  }
  if (!active()) return 1;
  if (verb == vbDefine) define(rest);
  if (verb == vbUndef) undefine(rest);
  if (verb == vbInclude && !include(line, rest, file, out, vars, depth))
    return -1;
  if (verb == vbSet) {
    if (rest.findByte('=') <= 0)
      return fail("$set needs NAME=VALUE", line, rest.pointer), -1;
    const TBLOCK name = TBLOCK::BlockBeforeChar(rest, '=', 1, 0);
    if (!SetVar(name, rest, vars))
      return fail("out of memory", line, line.pointer), -1;
  }
  return 1;
}

// Both "/" and "\" separate directories, in the name and in the path so far.
int TPreProcessor::include(TBLOCK line, TBLOCK name, uint32_t file, BLOCK* out,
                           HASHTAB* vars, int32_t depth) {
  if (depth + 1 >= kMaxIncludeDepth)
    return fail("files include each other too deeply", line, name.pointer);
  STR path;
  if (name[0] != '/') {
    const TBLOCK own(files.text(static_cast<int32_t>(file)));
    uint32_t n = own.length;
    while (n > 0 && own[n - 1] != '/' && own[n - 1] != '\\') n--;
    path = own.head(n);
  }
  for (uint32_t i = 0; i < name.length; i++)
    path += name[i] == '\\' ? '/' : static_cast<char>(name[i]);
  return processFile(path.c_str(), line, name, out, vars, depth + 1);
}
