// Sections of lines "field=value" against the header of the message or of one
// of its parts, and what parts are called and hold. getHeaderScore is the
// matcher; checkHeaderFields and checkAttach serve spam and white branch alike.
// Tested by header_scoring_test.cc.

#include "base/score.h"
#include "base/wildcard.h"
#include "message/part_iter.h"
#include "regex/regex.h"
#include "scan/tqmmsg.h"

namespace {

// One line "field=value". The field "*" stands for any.
class FIELDLINE {
 public:
  FIELDLINE(TBLOCK line, bool regex, REGEXPOOL* patterns)
      : isRegex(regex), prepared(false), pool(patterns) {
    name = TBLOCK::BlockBeforeChar(line, '=', 0, 0);
    anyField = name.equals("*");
    value = line;
    if (!isRegex) value.trim();
  }

  bool holds(const BLOCKPART& part) {
    if (anyField) return anyHolds(part);
    TBLOCK found;
    part.lastField(name, found);
    found.trim();
    found.stripQuotes();
    if (found.empty()) return isRegex ? value.equals("^$") : value.empty();
    return fits(found);
  }

 private:
  // A header line without ": " has no value, which is one like others.
  bool anyHolds(const BLOCKPART& part) {
    const int32_t n = part.fields.count();
    for (int32_t i = 0; i < n && i < kMaxMatchedFields; i++) {
      const TBLOCK field = part.fields.get(i);
      const int32_t at = field.find(TBLOCK(": "), 0, TBLOCK::NoConvTable);
      if (fits(at < 0 ? TBLOCK() : field.from(static_cast<uint32_t>(at) + 2)))
        return true;
    }
    return false;
  }

  bool fits(TBLOCK found) {
    if (isRegex) {
      // Most lines name a field that is not there, and need no pattern.
      if (!prepared) pattern.set(value, pool);
      prepared = true;
      return pattern.match(found);
    }
    found.trim();
    return MatchWildcard(value, found, wmPrefix);
  }

  TBLOCK name, value;
  const bool isRegex;
  bool anyField;
  bool prepared;
  REGEXPOOL* const pool;
  RULEPATTERN pattern;
};

// Line i and its text. Null where a damaged image has no text: read as empty
// it would hold for a header without a field.
const TQKLINE* LineOf(const TQMDICO& dico, const TQKSECTION* section,
                      uint32_t i, TBLOCK& text) {
  const TQKLINE* line = dico.image().sectionLine(section, i);
  if (!line || !(line->flags & KWLINEFLAGSTRING)) return nullptr;
  text = dico.lineBlock(line);
  return !text.empty() || line->length == 0 ? line : nullptr;
}

// Sum of the section's lines over the parts. Each line is taken to all of them
// before the next, since its pattern may have to be compiled. A line of any
// other kind of section never holds.
int32_t SumOfLines(const TQMDICO& dico, const char* name, const OLIST& parts) {
  const TQKSECTION* section = dico.findSection(name);
  if (!section || (section->type != stString && section->type != stRegex))
    return 0;
  const uint32_t n = dico.image().lineCountOf(section);
  int64_t total = 0;
  for (uint32_t i = 0; i < n; i++) {
    TBLOCK text;
    const TQKLINE* line = LineOf(dico, section, i, text);
    if (!line) continue;
    FIELDLINE test(text, section->type == stRegex, dico.pool);
    PARTITER walk(parts);
    while (const BLOCKPART* part = walk.next())
      if (test.holds(*part)) total += line->score;
  }
  return ClampScore(total);
}

// Whether a part of that name holds the text.
bool HoldsAttached(const OLIST& parts, TBLOCK name, TBLOCK text) {
  PARTITER walk(parts);
  while (BLOCKPART* part = walk.next())
    if (part->displayName.equals(name) && part->decodeContent().find(text) >= 0)
      return true;
  return false;
}

}  // namespace

int TQMMSG::getHeaderScore(const char* section, const BLOCKPART* part) {
  OLIST one;
  one.insert(part ? part : &message, 1);
  return SumOfLines(dico, section, one);
}

// Scores: the section's total, as "<section> Header Scoring".
int TQMMSG::checkHeaderFields(const char* section, const BLOCKPART* part) {
  const int32_t total = getHeaderScore(section, part);
  if (total == 0) return 0;
  STR label(section);
  label += " Header Scoring";
  addToSpamScore(total, label.c_str(), 1);
  return 1;
}

// Reads: the parts but for the bodies. Writes: attachScored. Scores: the first
// line "name=text" of "AttachContent" that a part meets, as "Suspect Attach",
// and then nothing else; else the lines of "AttachExt" as "<line> attached",
// and the sum of "AttachHeader" over the parts as "Attach header".
int TQMMSG::checkAttach() {
  const TQKSECTION* contents = dico.findSection("AttachContent");
  const uint32_t n = dico.image().lineCountOf(contents);
  for (uint32_t i = 0; i < n; i++) {
    TBLOCK words;
    const TQKLINE* line = LineOf(dico, contents, i, words);
    if (!line) continue;
    const TBLOCK name = TBLOCK::BlockBeforeChar(words, '=', 0, 0);
    if (!HoldsAttached(message.parts, name, words)) continue;
    checkCond(1, line->score, "Suspect Attach");
    return 1;
  }
  dico.clearMatchCount("AttachExt");
  OLIST attached;
  PARTITER walk(message.parts);
  while (const BLOCKPART* part = walk.next()) {
    if (part == message.htmlPart || part == message.textPart) continue;
    const TQKLINE* line = nullptr;
    dico.scanBlock("AttachExt", part->extension, line, 0);
    attached.insert(part, 1);
  }
  attachScored = addSectionScore("AttachExt", 0, " attached") != 0;
  const int32_t total = SumOfLines(dico, "AttachHeader", attached);
  if (total == 0) return attachScored;
  addToSpamScore(total, "Attach header", 1);
  return 1;
}
