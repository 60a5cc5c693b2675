// Lines of the body: cutting it, taking off what virus scanners append, to the
// text and to the HTML, and the names of what looks like a form or a header at
// its start. Entries: TQMMSG::buildBodyLines, removeAntiVirusFooter,
// removeAntiVirusHtml, parseBodyTokens. Tested by body_preparation_test.cc.

#include "regex/regex.h"
#include "scan/tqmmsg.h"

namespace {

// Lines at the end of the body among which a footer begins.
const int32_t kFooterLines = 8;
// Rounds over the patterns of HTML footers: more than a mail has of them.
const int32_t kMaxHtmlFooters = 32;
// A body of fewer lines has no footer.
const int32_t kMinFooterBody = 2;
// Lines at its start that are searched for names.
const int32_t kTokenLines = 31;
// Names that must follow one another: ahead of other text, and at the end of
// what is searched, where more of them may have been cut off.
const int32_t kMinTokens = 2;
const int32_t kMinLastTokens = 3;

bool IsBlank(TBLOCK line) {
  line.trim();
  return line.empty();
}

// Makes room for the lines of a text at once: growing step by step would touch
// fresh memory several times over.
void ReserveLines(TBLOCK text, TBLOCKVECT& lines) {
  uint32_t bytes = sizeof(TBLOCK);
  for (uint32_t i = 0; i < text.length; i++)
    if (text[i] == '\n') bytes += sizeof(TBLOCK);
  if (bytes > lines.capacity) lines.addSpace(bytes - lines.capacity);
}

// Deletes the lines from that index on, and then blank ones at the end.
void DropLines(TBLOCKVECT& lines, int32_t from, int32_t& nonBlank) {
  for (int32_t last = lines.count() - 1; last >= 0; last--) {
    const bool blank = IsBlank(lines.get(last));
    if (last < from && !blank) return;
    if (!blank) nonBlank--;
    lines.del(last);
  }
}

// Index of the last line that begins a footer, or -1: one that looks like a
// separator, with the word "virus" in it or behind it.
int32_t FindFooter(const TBLOCKVECT& lines) {
  bool virus = false;
  const int32_t count = lines.count();
  for (int32_t i = count; i-- > 0 && i >= count - kFooterLines;) {
    const TBLOCK line = lines.get(i);
    virus = virus || line.find("virus") >= 0;
    if (virus && (line.begins("--") || line.begins("__") ||
                  line.begins("No virus found")))
      return i;
  }
  return -1;
}

// The name of a "Name: value" line; false when it is none.
bool TakeName(TBLOCK line, TBLOCK& name) {
  const int32_t colon = line.findByte(':');
  if (colon < 0) return false;
  name = line.head(static_cast<uint32_t>(colon));
  name.trim();
  return !name.empty() && !IsBlank(line.from(static_cast<uint32_t>(colon) + 1));
}

// Adds the names of a run that is long enough, cleaned; empties the run.
void TakeRun(TBLOCKVECT& run, int32_t least, STRVECT& tokens) {
  for (int32_t i = 0; run.count() >= least && i < run.count(); i++) {
    const TBLOCK name = run.get(i);
    STR token(static_cast<int32_t>(name.length));
    for (uint32_t k = 0; k < name.length; k++) {
      const unsigned char c = TBLOCK::LowerConvTable[name[k]];
      if (TBLOCK::Is(c, bitLetter | bitDigit)) token += static_cast<char>(c);
    }
    tokens.add(token.view());
  }
  run.clear();
}

}  // namespace

void TQMMSG::buildBodyLines() {
  bodyLines.clear();
  nonBlankLines = 0;
  while (!body.empty() &&
         (body[body.length - 1] == ' ' || body[body.length - 1] == '\t'))
    body.length--;
  ReserveLines(body, bodyLines);
  TBLOCK rest = body;
  while (!rest.empty()) {
    const TBLOCK line = TBLOCK::BlockNextLine(rest);
    const bool blank = IsBlank(line);
    if (blank && bodyLines.count() == 0) continue;
    if (bodyLines.add(line, 1, 0) && !blank) nonBlankLines++;
  }
  DropLines(bodyLines, bodyLines.count(), nonBlankLines);
}

// Several scanners on the way leave several footers. Each round deletes a line
// or is the last, and looks at few, so that no line is read more than
// kFooterLines times.
void TQMMSG::removeAntiVirusFooter() {
  while (bodyLines.count() >= kMinFooterBody) {
    const int32_t footer = FindFooter(bodyLines);
    if (footer < 0) return;
    DropLines(bodyLines, footer, nonBlankLines);
    const int32_t left = bodyLines.count();
    body.cut(left ? static_cast<uint32_t>(bodyLines.get(left - 1).end() -
                                          body.pointer)
                  : 0);
  }
}

// The first group of each pattern is cut out of the outline of the HTML, as
// long as there is one.
void TQMMSG::removeAntiVirusHtml() {
  const TQKSECTION* section = dico.findSection("AntiVirusAdnHtml");
  const uint32_t n = dico.image().lineCountOf(section);
  STR& outline = htmlContext.htmlPattern;
  bool cut = !outline.empty();
  for (int32_t round = 0; cut && round < kMaxHtmlFooters; round++) {
    cut = false;
    for (uint32_t i = 0; i < n; i++) {
      REGEX regex(dico.lineBlock(dico.image().sectionLine(section, i)), pool);
      int32_t start, end;
      regex.matchWithDetails(outline.view());
      if (!regex.getDetail(1, start, end) || end <= start) continue;
      STR left;
      left = outline.view().head(static_cast<uint32_t>(start));
      left += outline.view().from(static_cast<uint32_t>(end));
      outline = left;
      cut = true;
    }
  }
}

void TQMMSG::parseBodyTokens() {
  fieldTokens.clear();
  TBLOCKVECT run(kTokenLines);
  for (int32_t i = 0; i < kTokenLines && i < bodyLines.count(); i++) {
    TBLOCK name;
    if (TakeName(bodyLines.get(i), name))
      run.add(name, 0, 0);
    else
      TakeRun(run, kMinTokens, fieldTokens);
  }
  TakeRun(run, kMinLastTokens, fieldTokens);
}
