// TQMDICO: the reader of the rule dictionary, one for each scan, with its
// counters; HSTUFF: the indexes of one dictionary image, shared by scans.
//
//   qm_dico.cc         loading, indexes, lines as text
//   section_names.cc   names of sections that scans ask for
//   section_lookup.cc  one text against a section, by its type
//   hashed_lookup.cc   sections with an index, and sorted digests
//   keyword_search.cc  the words of a text against pattern lines
//   special_words.cc   pattern words that are no text
//   pattern_index.h    what the search of words has prepared
//
// A section that is absent reads as "no match" everywhere, and so does a name
// of 2,048 bytes or more. Names compare through TBLOCK::LowerConvTable.

#ifndef RULES_QM_DICO_H_
#define RULES_QM_DICO_H_

#include <stdint.h>

#include "base/block.h"
#include "base/hashtab.h"
#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "rules/field_letters.h"
#include "rules/filter_sections.h"
#include "rules/keyword_image.h"
#include "rules/pattern_index.h"
#include "rules/word_filter.h"

class REGEXPOOL;
class PATTERNBOOK;
class RULEPATTERN;
class RULEBOOK;
struct TQMRULE;
struct TKEYWORDSEARCH;  // of keyword_search.cc
struct TWORDINDEX;      // of word_index.h

// Stores the digest by which a section of that name is found, 16 bytes: 1, or 0
// for a name that no section can have.
int SectionDigest(TBLOCK name, unsigned char* digest);

// Names of rule fields, in the order of their numbers, which begin at 1.
extern const char _REGEXFIELDNAMES[];

// The sections of a group of words, see checks/word_groups.cc, and what stands
// in front of and behind the group's name in theirs.
enum : int32_t {
  gsList,
  gsNoRegex,
  gsGroup,
  gsGroupRegex,
  gsWords,
  gsSubjectWords,
  gsAliasWords,
  gsRegex,
  gsCount
};
extern const char* const kGroupSections[gsCount][2];
struct TGROUPSECTIONS {
  const TQKSECTION* of[gsCount];  // null: there is none
};

// Indexes over one image. Read-only once built.
class HSTUFF {
 public:
  HASHTAB sections;     // digest of the name -> const TQKSECTION*
  HASHTAB lineTables;   // the same -> HASHTAB* of its lines, owned
  HASHTAB fieldNames;   // rule field -> its number, as a word
  HASHTAB named;        // names that code asks for -> their section or null
  BLOCK namedText;      // those of them that prepareNames has composed
  HASHTAB groups;       // names of groups -> index in groupSections, as a word
  BLOCK groupSections;  // TGROUPSECTIONS, of prepareNames
  BLOCK exceptions;     // TEXCEPTION, by section, of prepareNames
  FILTERSECTIONS filterSections;
  // Owned; null until TQMDICO::prepareRules.
  RULEBOOK* rules;
  PATTERNBOOK* patternBook;
  WORDFILTER* wordFilter;
  FIELDLETTERS fieldLetters;  // none until TQMDICO::prepareRules
  BLOCK* ownImage;            // owned image; null for the one of the library
  KWIMAGE image;
  PATTERNINDEX patterns;  // of the image
  // The dictionary's version; empty when it names none. Its length is counted
  // before scans share it, since counting writes.
  STR version;

  // Builds over the library's image, or over `image`, which it owns from here
  // on and which is readable in place.
  explicit HSTUFF(BLOCK* ownedImage = nullptr);
  ~HSTUFF();
  HSTUFF(const HSTUFF&) = delete;
  HSTUFF& operator=(const HSTUFF&) = delete;

  // Adds to `named` what scans compose of the names there, of the members of
  // lists and of groups of words. For once, before scans share it.
  void prepareNames();
  // The section of that name, or null.
  const TQKSECTION* findSection(TBLOCK name) const;
  // The section "No-NAME" of the section NAME, or null.
  const TQKSECTION* findException(const TQKSECTION* section,
                                  const char* name) const;
  void findGroup(const char* name, TGROUPSECTIONS& group) const;

 private:
  struct TEXCEPTION {
    uint32_t known;
    const TQKSECTION* section;
  };
  uint32_t sectionNumber(const TQKSECTION* section) const;
  void noteException(TBLOCK name);
  void noteGroup(TBLOCK name);

  void indexSections();
  void indexLines(const TQKSECTION* section, uint64_t& linesLeft,
                  uint64_t& bytesLeft);
  void indexFieldNames();
  void indexNames();
  void addName(TBLOCK name);
  void readVersion();
};

// What a scan has found of one line; all saturate at 65,535.
struct TLINECOUNTS {
  uint16_t matchCount;
  uint16_t useCount;
  uint16_t tipCount;
  uint16_t spare;
};

inline void CountUp(uint16_t& count) {
  if (count < UINT16_MAX) count++;
}

class TQMDICO {
 public:
  HSTUFF* stuff;        // null when memory was short
  int32_t sharedStuff;  // 1: `stuff` is borrowed and outlives this
  REGEXPOOL* pool;      // borrowed; may be null
  int32_t swapped;      // 1: the image had the other byte order
  STR fileName;         // of the image, for the warning

  // Borrows `stuff`; null makes it build and own one.
  TQMDICO(REGEXPOOL* pool, HSTUFF* stuff);
  ~TQMDICO();
  TQMDICO(const TQMDICO&) = delete;
  TQMDICO& operator=(const TQMDICO&) = delete;

  // Version of the dictionary in use, empty when it names none. Valid while
  // this object lives and no other file is loaded.
  TBLOCK version() const;
  // The image in use; an empty one when memory was short.
  const KWIMAGE& image() const;

  // Replaces the dictionary by an image file, which makes `stuff` an owned
  // one. 1, or 0 when it cannot be loaded: the dictionary is then empty.
  int loadKeywordsFromFile(const char* path);
  // The same from memory; takes the block over.
  int loadKeywordsFromBlock(BLOCK* block);
  // 1, with the warning's text stored, when the image had to be converted.
  int anyWarning(STR& text) const;
  // Compiles the patterns of all rules and patterns into the pool.
  void precompileRegexesIntoPool();
  // Parses all rules of the present image, finds the patterns of its lines,
  // builds the filter of its words and looks up composed names of sections, for
  // those that share `stuff`. Patterns are looked up in the pool, which must
  // outlive `stuff`.
  void prepareRules();
  // The rule of a line; null when it was not prepared.
  const TQMRULE* preparedRule(const TQKLINE* line) const;
  // The same for the pattern of a line in a section of that type.
  const RULEPATTERN* preparedPattern(const TQKLINE* line,
                                     uint32_t sectionType) const;
  // Number of a rule field: of "@Hdr" for any name with "@" in front, 0 when
  // there is no such field.
  int32_t getRegexField(TBLOCK name) const;

  // Null when there is no such section.
  const TQKSECTION* findSection(const char* name) const;
  const TQKSECTION* findSection(TBLOCK name) const;
  // Prints a line back as it stood in source; with `withScore` its score
  // first.
  void getLineText(const TQKLINE* line, STR& text, int withScore) const;
  TBLOCK lineBlock(const TQKLINE* line) const;
  // This scan's counts of a line, to be changed.
  TLINECOUNTS& countsOf(const TQKLINE* line);
  // The same to be read.
  const TLINECOUNTS& seenCounts(const TQKLINE* line) const;
  // The first line from number `from` on, below `end`, that may have counted;
  // `end` when there is none.
  uint32_t nextCounted(uint32_t from, uint32_t end) const;

  // ==== Counters: qm_dico.cc. The second form of each is by name.

  void clearSectionMatchCount(const TQKSECTION* section);
  void clearMatchCount(const char* section);
  void clearSectionTipCount(const TQKSECTION* section);
  void clearTipCount(const char* section);
  void clearSectionUseCount(const TQKSECTION* section);
  void clearUseCount(const char* section);
  // Sum of matches times score.
  int32_t sectionScore(const char* section);
  // The same; a line with a trick counts `factor` times (at most 65,535); the
  // sections of a list are summed, at most kMaxSectionDepth deep.
  int32_t getSectionScore(const char* section, uint32_t factor);
  // The line's place in its section, or -1.
  int32_t lineIndex(const char* section, const TQKLINE* line) const;

  // ==== One text: section_lookup.cc. 1 with the line, or 0. With `clear` the
  // section's match counts go first. Lines that have counted are passed over.

  int searchString(const TQKSECTION* section, TBLOCK text,
                   const TQKLINE*& line);
  int compareString(const TQKSECTION* section, TBLOCK text,
                    const TQKLINE*& line, int clear);
  int comparePattern(const TQKSECTION* section, TBLOCK text,
                     const TQKLINE*& line, int clear);
  int compareRegex(const TQKSECTION* section, TBLOCK text, const TQKLINE*& line,
                   int clear);
  int compareNamedRegex(const TQKSECTION* section, TBLOCK text,
                        const TQKLINE*& line);
  int matchRegex(const char* section, TBLOCK text, const TQKLINE*& line);
  int matchBlock(const char* section, TBLOCK text, const TQKLINE*& line);
  int scanBlock(const char* section, TBLOCK text, const TQKLINE*& line,
                int clear);
  // The same for the lines of a section from one of them on.
  int scanLines(const TQKSECTION* section, uint32_t first, TBLOCK text,
                const TQKLINE*& line, int clear);
  // Sum of the scores of all lines that fit; with `clear` also of those that
  // have counted.
  int32_t scanString(const char* section, TBLOCK text, int clear);
  // First line of a "name:pattern" section that matches: 1 with the name. The
  // two are one.
  int matchFirstNamedLine(const char* section, TBLOCK text, TBLOCK& name);
  int matchFirstNamedRegex(const char* section, TBLOCK text, TBLOCK& name);
  // Value of a name=value line, empty when there is none.
  TBLOCK stringValue(const char* section, const char* name) const;
  void sectionToBlockList(const char* section, TBLOCKVECT& list) const;
  // Replaces `out` by the text with all that the patterns of a "name:pattern"
  // section match put into `open`, the name and `close`. The lines take turns:
  // each works on what those ahead of it made. "~" is no mark here.
  void replaceRegexMacro(const char* section, TBLOCK text, STR& out,
                         const char* open, const char* close);

  // ==== Sections with an index: hashed_lookup.cc

  const HASHTAB* hashedSection(const char* section) const;
  // The line of a key in a section and its index: the key's text, or of stMd5
  // the text of which the digest is there. Nothing is found without them.
  static int findLine(const HASHTAB* table, const TQKSECTION* section,
                      TBLOCK key, const TQKLINE*& line);
  int hashedFind(const char* section, TBLOCK key, const TQKLINE*& line) const;
  // The same for sections without any other flag.
  int matchSection(const char* section, TBLOCK key, const TQKLINE*& line) const;
  // The key is a digest already.
  int hashedFindMD5Key(const char* section, TBLOCK digest,
                       const TQKLINE*& line) const;
  int hashedFindFromBlockList(const char* section, const TBLOCKVECT& list,
                              int32_t maxCount, const TQKLINE*& line,
                              int domainOnly) const;
  int findFirstHashed(const char* section, const TBLOCKVECT& list,
                      const TQKLINE*& line) const;
  // Place of the digest in a sorted block; unchanged when it is not there.
  int findSortedMd5(const char* section, const unsigned char* digest,
                    int32_t& position) const;

  // ==== Words against pattern lines: keyword_search.cc

  // From here on until forgetWords, the list and its words stay as they are:
  // what a search finds out about them serves the next one, in any section. For
  // kKeptLists lists.
  void keepWords(const TBLOCKVECT& words);
  void forgetWords();
  // Sum of the scores of the lines found; `hits` gets their number. Match
  // counts are cleared first. context: the recipient's address; onlyWithTips:
  // only disguised words; maxWords: words to begin at, 0 for all.
  int32_t findKeywords(const TQKSECTION* section, const TBLOCKVECT& words,
                       TBLOCK context, int onlyWithTips, int32_t maxWords,
                       int32_t& hits);
  int beginByKeywords(const char* section, const TBLOCKVECT& words,
                      TBLOCK context, const TQKLINE*& line);
  int findFirstKeyword(const char* section, const TBLOCKVECT& words,
                       TBLOCK context, const TQKLINE*& line);
  // One pattern line from a word on; the result of its last comparison, or 0.
  uint32_t matchLine(const TQKLINE* line, const TBLOCKVECT& words,
                     int32_t start, TBLOCK context, int onlyWithTips);
  // The cheap form, for lines of one group of single words.
  uint32_t matchBlockLine(const TQKLINE* line, TBLOCK block);
  // Pattern words of at most two bytes with a meaning of their own: "@", "@@"
  // and "?". 1 when it was one of them, with the verdict; else 0. `context` is
  // the recipient's address.
  static int MatchSpecial(TBLOCK word, TBLOCK pattern, TBLOCK context,
                          int& verdict);
  // Whether the word, of 3 bytes or more, is the local part of the address or a
  // piece of it.
  static int MatchName(TBLOCK word, TBLOCK address);
  int checkConsonantSection(const char* section, const TBLOCKVECT& words,
                            const TQKLINE*& line);
  int32_t brokenSearch(TBLOCK text, const char* section, int32_t maxLines);
  // The first of the words of a domain, see keyword_search.cc, that scanBlock
  // finds a line for.
  int CheckDomainWords(const char* section, TBLOCK domain,
                       const TQKLINE*& line);

 private:
  struct TLINEWALK;

  static const int32_t kKeptLists = 3;

  // Lines whose counters are set to 0 when the first of them is to be changed:
  // most are never.
  static const uint32_t kLinesOfPart = 64;

  TLINECOUNTS* counters;  // owned; one for each line of the image
  TBITSET* countedParts;  // owned; those of which the counters are valid
  TLINECOUNTS uncounted;  // of a line that has no counters; always zeros
  TWORDINDEX* keptWords[kKeptLists];  // owned
  int32_t keptCount;
  KWIMAGE noImage;  // in place of one that could not be had

  void release();
  int makeCounters();
  bool isOfFields(const TQKSECTION* section) const;
  bool isCountedPart(uint32_t line) const {
    return HasBit(countedParts, line / kLinesOfPart);
  }
  void clearCounts(const TQKSECTION* section, uint16_t TLINECOUNTS::*count);
  const PATTERNBOOK* patternBook() const;
  // Whether the line has counted and is passed over.
  bool isSpent(const TQKLINE* line) const;
  void countHit(const TQKLINE* line);
  void matchAllKeys(const TQKSECTION* section, TKEYWORDSEARCH& search);
  // A line at the words that have its key.
  void matchKey(const TQKLINE* line, TKEYWORDSEARCH& search);
  bool isCounted(const TQKLINE* line) const;
  void countMatch(const TQKLINE* line, uint32_t result);
};

// How deep sections may list each other.
const int32_t kMaxSectionDepth = 16;

#endif  // RULES_QM_DICO_H_
