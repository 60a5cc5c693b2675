// Each check takes a line the way its reader does. Of words a sample text is
// made for each alternative of a line; the engine splits it into words and
// looks for the line in them. Tested by tests/tools/lint_test.sh.

#include "lint_lines.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/wildcard.h"
#include "content/contexts.h"
#include "content/words.h"
#include "rules/pattern_index.h"
#include "rules/rule_expression.h"

namespace {

// Bytes of a fingerprint of the header behind its last "@", without and with
// the letter of the character set.
const uint32_t kHeaderMarks = 6;

bool IsMetaToken(TBLOCK name) {
  for (const char* token : HtmlMetaTokens)
    if (name.equals(token)) return true;
  return false;
}

bool IsThreshold(TBLOCK text) {
  text.trim();
  return TakeDecimal(text) > 0;
}

bool IsHeaderKey(TBLOCK text) {
  const int32_t at = text.findLastByte('@');
  if (at < 0) return false;
  const uint32_t marks = text.length - static_cast<uint32_t>(at) - 1;
  return marks == kHeaderMarks || marks == kHeaderMarks + 1;
}

// What is wrong with the line's form, or null.
const char* FormFault(LineForm form, TBLOCK text) {
  const int32_t equal = text.findByte('=');
  switch (form) {
    case kFieldForm:
      return equal > 0 ? nullptr : "the line needs NAME=VALUE";
    case kMetaForm:
      return equal > 0 && IsMetaToken(text.head(static_cast<uint32_t>(equal)))
                 ? nullptr
                 : "the line needs TOKEN=VALUE, with a META name that is read";
    case kCountForm: {
      const int32_t last = text.findLastByte('=');
      return last > 0 && IsThreshold(text.from(static_cast<uint32_t>(last) + 1))
                 ? nullptr
                 : "the line needs SECTION=POINTS, above 0";
    }
    case kCharsForm:
      return text.findByte(' ') > 0 ? nullptr
                                    : "the line needs CHARACTERS, a blank, and "
                                      "the words";
    case kPairForm:
      return text.findByte(':') >= 0 || text.findByte('*') >= 0
                 ? nullptr
                 : "the line needs SHOWN-HOST:TARGET-HOST";
    case kHeaderKeyForm:
      return IsHeaderKey(text) ? nullptr
                               : "no fingerprint of a header: six or seven "
                                 "characters stand behind the last @";
    case kSuffixForm:
      return !text.empty() && text[0] == '.'
                 ? "what is looked up has no dot in front"
                 : nullptr;
    case kDigitsForm:
      return text.allIn(bitDigit) ? nullptr
                                  : "numbers are looked up by their digits";
    case kAnyForm:
    case kOneWordForm:
      break;
  }
  return nullptr;
}

// The first star in a text that is neither its first byte nor its last; -1.
int32_t InnerStar(TBLOCK text, uint32_t from) {
  const int32_t at = text.findByte('*', from);
  return at >= 0 && static_cast<uint32_t>(at) + 1 < text.length ? at : -1;
}

// A star that does not do what it seems to, and what it does. -1: there is
// none. Only the first star has a meaning, and one at the end behind a first
// byte that is one, too.
int32_t FindOddStar(unsigned flags, TBLOCK text, const char** what) {
  const bool leads = !text.empty() && text[0] == '*';
  const int32_t inner = InnerStar(text, 1);
  if (inner >= 0 && (leads || (flags & kPlainStar))) {
    *what =
        "this star stands for itself: only one in front and one at the end "
        "stand for anything here";
    return inner;
  }
  if (inner < 0) return -1;
  *what = "nothing behind this star is looked at";
  if (flags & kLastStar) return inner;
  *what = "this star stands for itself: only the first one stands for anything";
  return text.findByte('*', static_cast<uint32_t>(inner) + 1);
}

// Behind a label in front of "|", where the section has such.
TBLOCK WithoutLabel(const KnownSection& known, TBLOCK text) {
  if (!known.hasPrefix("!")) return text;
  const int32_t bar = text.findByte('|');
  if (bar >= 0) text.skip(static_cast<uint32_t>(bar) + 1);
  text.trim();
  return text;
}

// Whether lines are patterns with stars, where "NAME=VALUE" has such a value.
bool HasStars(const KnownSection& known) {
  switch (known.form) {
    case kFieldForm:
    case kMetaForm:
      return (known.flags & (kPlainStar | kLastStar)) != 0;
    case kAnyForm:
    case kPairForm:
    case kSuffixForm:
      return true;
    default:
      return false;
  }
}

// Of sections that only look for the first line that fits.
void LintShadows(const SourceSection& section, const KnownSection& known,
                 Messages& messages) {
  std::vector<TBLOCK> texts;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    const TBLOCK text = WithoutLabel(known, LintedText(section, line, &score));
    for (size_t i = 0; i < texts.size(); i++) {
      if (text.equals(texts[i]) || texts[i].empty() || text.empty() ||
          !MatchWildcard(texts[i], text, wmOverlap))
        continue;
      messages.warning(line, OffsetIn(line, text),
                       "line " + std::to_string(section.lines[i].number) +
                           " takes all that fits here");
      break;
    }
    texts.push_back(text);
  }
}

// ---- Words

const char kRecipient[] = "lee@example.org";

// Alternatives of the other groups that a sample is tried with.
const uint32_t kMaxRestTries = 8;
// What samples have in place of a star.
const char* const kStarTexts[] = {"a", "", "0"};

// A word that the pattern word takes; empty for one that may be left out.
std::string SampleWord(TBLOCK pattern, bool optionalToo, const char* star) {
  if (TakeOptional(pattern) && !optionalToo) return "";
  if (pattern.equals("@")) return kRecipient;
  if (pattern.equals("@@")) return "robin@example.net";
  if (pattern.equals("?")) return "lee";
  while (pattern.length > 1 && pattern[pattern.length - 1] == '&' &&
         pattern[pattern.length - 2] != '\\')
    pattern.length--;
  std::string word;
  for (uint32_t i = 0; i < pattern.length; i++) {
    if (pattern[i] == '\\' && i + 1 < pattern.length)
      word += static_cast<char>(pattern[++i]);
    else if (pattern[i] == '#')
      word += '7';  // any number
    else if (pattern[i] == '*')
      word += pattern.length == 1 ? "word" : star;
    else
      word += static_cast<char>(pattern[i]);
  }
  return word;
}

// How the texts of a section are split into words.
enum WordSource { kTexts, kUrls, kPieces };

WordSource SourceOfWords(const std::string& section) {
  const std::string name = FoldName(View(section));
  if (name == "hrefwords") return kUrls;
  return name == "linkwords" || name == "addrwords" ? kPieces : kTexts;
}

class WordLine {
 public:
  WordLine(TQMDICO& dico, const TQKLINE* line, WordSource source)
      : dico_(dico), image_(dico.image()), line_(line), source_(source) {}

  // The first alternative that no text has: its words and what they are read
  // as. False when there is none.
  bool findLost(std::string* words, std::string* read) const;
  // One group whose alternatives are single words.
  bool isOneWord() const;

 private:
  std::string phrase(uint32_t group, uint32_t alternative,
                     const char* star) const;
  std::string text(uint32_t group, uint32_t alternative, uint32_t rest,
                   const char* star) const;
  bool isFindable(uint32_t group, uint32_t alternative,
                  std::string* read) const;
  bool isFound(const std::string& text, std::string* read) const;

  TQMDICO& dico_;
  const KWIMAGE& image_;
  const TQKLINE* const line_;
  const WordSource source_;
};

std::string WordLine::phrase(uint32_t group, uint32_t alternative,
                             const char* star) const {
  const TQKAND* record = image_.andRecord(line_->text + group);
  const TQKOR* words =
      record ? image_.orRecord(record->first + alternative) : nullptr;
  std::string text;
  for (uint32_t i = 0; words && i < words->count; i++) {
    // Of optional words alone one has to be there.
    const std::string word =
        SampleWord(image_.word(words->first + i), words->count == 1, star);
    if (word.empty()) continue;
    if (!text.empty()) text += source_ == kUrls ? "/" : " ";
    text += word;
  }
  return text;
}

// A text for the line, with that alternative of that group, and of the others
// the one numbered `rest` or the last. Groups need not be neighbours, and one
// must not take the words of the next.
std::string WordLine::text(uint32_t group, uint32_t alternative, uint32_t rest,
                           const char* star) const {
  std::string all;
  for (uint32_t i = 0; i < line_->length; i++) {
    const TQKAND* record = image_.andRecord(line_->text + i);
    if (!record || record->count == 0) continue;
    if (i > 0) all += source_ == kUrls ? "/vvv/" : " vvv ";
    all += phrase(
        i, i == group ? alternative : std::min(rest, record->count - 1), star);
  }
  return all;
}

// Whether there is a text with that alternative of that group.
bool WordLine::isFindable(uint32_t group, uint32_t alternative,
                          std::string* read) const {
  const uint32_t tries = line_->length > 1 ? kMaxRestTries : 1;
  for (uint32_t rest = 0; rest < tries; rest++)
    for (const char* star : kStarTexts)
      if (isFound(text(group, alternative, rest, star), read)) return true;
  return false;
}

bool WordLine::isFound(const std::string& text, std::string* read) const {
  TBLOCKVECT words(0);
  if (source_ == kUrls)
    BlockToWords(View(text), words, 0);
  else if (source_ == kPieces)
    TBLOCK::GetBlockWordList(View(text), words, bitWordSep);
  else
    ParseBlockWords(dico_.pool, View(text), words, nullptr);
  const TBLOCK recipient(kRecipient);
  dico_.countsOf(line_).matchCount = 0;  // or it would be passed over
  for (int32_t i = 0; i < words.count(); i++)
    if (dico_.matchLine(line_, words, i, recipient, 0)) return true;
  read->clear();
  for (int32_t i = 0; i < words.count(); i++) {
    const TBLOCK word = words.get(i);
    *read +=
        (i > 0 ? " '" : "'") +
        std::string(reinterpret_cast<const char*>(word.pointer), word.length) +
        "'";
  }
  return false;
}

bool WordLine::findLost(std::string* words, std::string* read) const {
  for (uint32_t g = 0; g < line_->length; g++) {
    const TQKAND* group = image_.andRecord(line_->text + g);
    for (uint32_t k = 0; group && k < group->count; k++) {
      if (isFindable(g, k, read)) continue;
      *words = phrase(g, k, "*");
      isFound(phrase(g, k, ""), read);
      return true;
    }
  }
  return false;
}

bool WordLine::isOneWord() const {
  if (line_->length != 1) return false;
  const TQKAND* group = image_.andRecord(line_->text);
  for (uint32_t k = 0; group && k < group->count; k++) {
    const TQKOR* words = image_.orRecord(group->first + k);
    if (!words || words->count != 1) return false;
  }
  return true;
}

}  // namespace

TBLOCK LintedText(const SourceSection& section, const SourceLine& line,
                  int32_t* score) {
  TBLOCK text = View(line.text);
  uint16_t bits = 0;
  const uint16_t type = section.type();
  *score = type == stPattern ? 100 : 0;
  if (section.patch) GetPatchDicoAction(text);
  if (type == stPattern) ReadOptions(text, bits);
  if (type != stSortedMd5) ReadScore(text, *score, bits);
  return text;
}

std::string SectionName(const SourceSection& section) {
  TBLOCK name = View(section.name);
  uint16_t type, flags;
  GetSectionType(name, type, flags);
  return std::string(reinterpret_cast<const char*>(name.pointer), name.length);
}

void LintForms(const SourceSection& section, const KnownSection& known,
               Messages& messages) {
  const uint16_t type = section.type();
  if (type == stPattern || type == stSectionList || type == stRule) return;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    const TBLOCK text = LintedText(section, line, &score);
    const size_t at = text.empty() ? 0 : OffsetIn(line, text);
    const char* const fault = FormFault(known.form, text);
    if (fault) messages.warning(line, at, fault);
    TBLOCK pattern = WithoutLabel(known, text);
    if (known.form == kFieldForm || known.form == kMetaForm)
      pattern.skip(static_cast<uint32_t>(pattern.findByte('=') + 1));
    const char* what = nullptr;
    const int32_t star = type == stString && HasStars(known)
                             ? FindOddStar(known.flags, pattern, &what)
                             : -1;
    if (star >= 0)
      messages.warning(
          line, OffsetIn(line, pattern) + static_cast<size_t>(star), what);
  }
  if ((known.flags & kFirstOnly) && type == stString && !section.patch)
    LintShadows(section, known, messages);
}

void LintWords(const SourceSection& section, const KnownSection* known,
               TQMDICO& dico, Messages& messages) {
  const std::string name = SectionName(section);
  const TQKSECTION* found = dico.findSection(View(name));
  if (!found || found->type != stPattern || section.patch ||
      dico.image().lineCountOf(found) != section.lines.size())
    return;
  const bool oneWord = known && known->form == kOneWordForm;
  for (size_t i = 0; i < section.lines.size(); i++) {
    const SourceLine& line = section.lines[i];
    const WordLine words(
        dico, dico.image().sectionLine(found, static_cast<uint32_t>(i)),
        SourceOfWords(name));
    int32_t score;
    const TBLOCK text = LintedText(section, line, &score);
    const size_t at = text.empty() ? 0 : OffsetIn(line, text);
    std::string lost, read;
    if (oneWord && !words.isOneWord())
      messages.warning(line, at, "only single words are looked up here");
    else if (!oneWord && words.findLost(&lost, &read))
      messages.warning(line, at,
                       "never found: '" + lost + "' is read as the words " +
                           (read.empty() ? "none" : read));
  }
}
