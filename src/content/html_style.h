// What a mail reader would not show: colours, font sizes and style elements.
//
// THTMLCONTEXT keeps the colour, background and size in force (contexts.h);
// here are the readers of single values, and what the context stores. Readers
// leave what they are handed when a value is absent or makes no sense.
//
//   html_color.cc       colours, and which two look the same
//   html_style.cc       properties, sizes, the rules of style elements
//   html_visibility.cc  the open tags, and the text that cannot be seen

#ifndef CONTENT_HTML_STYLE_H_
#define CONTENT_HTML_STYLE_H_

#include <stdint.h>

#include "base/block.h"
#include "base/tblock.h"
#include "content/html_item.h"

// A colour is 0xRRGGBB, a font size is in pixels, or either is one of these.
const int32_t kStyleUnset = -1;
const int32_t kStyleUnknown = -2;  // a picture; a rule that may not apply
// Start values of a parse; a colour starts unset.
const int32_t kStartBackground = 0xFFFFFF;
const int16_t kStartFontSize = 16;
// Tags that are open at one time; more are not remembered.
const int32_t kMaxTagStack = 4096;

// ==== Colours: html_color.cc

struct THTMLCOLOR {
  const char* name;
  int32_t color;
};
// By their names in small letters.
const uint32_t kHtmlColorCount = 144;
extern const THTMLCOLOR HtmlColors[kHtmlColorCount];

// 0xRRGGBB, or kStyleUnset. Any number of hexadecimal digits is a colour.
int32_t ParseHtmlColor(TBLOCK text);
// The same of a value that may make no sense.
void GetHtmlColor(TBLOCK value, int32_t& color);
// Whether text cannot be seen on that background. Black always can: deliberate.
bool ColorCompare(int32_t color, int32_t background);

// ==== Sizes and attributes: html_style.cc

// Pixels of the sizes 1 to 7, and their names.
const uint32_t kFontSizeCount = 7;
extern const int16_t FontSizes[kFontSizeCount];
extern const char* const szFontSizesStr[kFontSizeCount];

// Of an attribute: "3" is a size, "+1" and "-1" count from 3.
void ParseHtmlFontSize(TBLOCK value, int16_t& size);

// ==== Style properties: html_style.cc

// Walk "name:value;" declarations, without white space around both: 1, or 0
// at the end. What has no ":" is passed over.
int GetFirstStyleProp(TBLOCK& cursor, TBLOCK& name, TBLOCK& value);
int GetNextStyleProp(TBLOCK& cursor, TBLOCK& name, TBLOCK& value);

// Those properties that say what can be seen, from one walk.
struct TSTYLEPROPS {
  enum : uint32_t {
    spColor,
    spBackground,
    spBackgroundColor,
    spBackgroundImage,
    spDisplay,
    spFontSize,
    spCount
  };
  TBLOCK values[spCount];
  uint32_t found;  // a bit for each

  explicit TSTYLEPROPS(TBLOCK style);
  bool has(uint32_t property) const { return found >> property & 1; }
  // What they say; unchanged when they say nothing.
  void getColor(int32_t& color) const;
  void getBackground(int32_t& background) const;
  void getFontSize(int16_t& size) const;
};

// ==== Rules of style elements: html_style.cc

// TSTYLEITEM::flags: it may concern other elements than the rule tells.
enum : uint32_t {
  ssfMulti = 1,  // only inside of others: the last of several selectors
  ssfPseudo = 2  // only in some state
};

// One selector of one rule. Views point into the style element or a copy that
// the context keeps.
struct TSTYLEITEM {
  THTMLTAG tag;      // htUnknown when it names none
  TBLOCK className;  // behind "."; may be empty
  TBLOCK idName;     // behind "#"; may be empty
  int32_t color;     // kStyleUnset where the rule sets nothing
  int32_t background;
  int16_t fontSize;
  uint32_t flags;  // ssf...

  explicit TSTYLEITEM(TBLOCK selector);

 private:
  void setSelector(TBLOCK piece);
};

// Plain records, in order.
class TSTYLEITEMVECT : public BLOCK {
 public:
  TSTYLEITEMVECT() : BLOCK(0, 4096) {}
  int32_t count() const;
  // REQUIRES: i below the count.
  const TSTYLEITEM& at(int32_t i) const;
  int add(const TSTYLEITEM& item);
  void clear() { empty(); }
};

// What rules set, folded by what they name as they are added, so that a tag
// need not walk them. The result is that of three walks in order: rules for
// the tag alone, for its class, for its id, where later ones win. Views must
// stay as they are until clear.
class TSTYLERULES {
 public:
  TSTYLERULES();
  void clear();
  bool empty() const { return ruleCount == 0; }
  // A rule is lost when memory is short.
  void add(const TSTYLEITEM& item);
  // Either name may be empty.
  void apply(THTMLTAG tag, TBLOCK className, TBLOCK idName, int32_t& color,
             int32_t& background, int16_t& size) const;

 private:
  struct SETTING {
    int32_t value;
    uint32_t when;  // number of the rule; 0: none
  };
  struct SETTINGS {
    SETTING color, background, fontSize;
  };
  struct ENTRY {
    TBLOCK name;
    uint32_t hash;
    uint32_t scope;  // class or id, and the tag
    SETTINGS settings;
  };

  uint32_t hashOf(TBLOCK name) const;
  ENTRY* entry(uint32_t i) const;
  const SETTINGS* find(TBLOCK name, uint32_t nameHash, uint32_t scope) const;
  SETTINGS* findOrAdd(TBLOCK name, uint32_t scope);
  uint32_t slotOf(TBLOCK name, uint32_t hash, uint32_t scope) const;
  bool growSlots();
  static void set(SETTINGS& settings, const TSTYLEITEM& item, uint32_t when);
  static void choose(const SETTINGS* one, const SETTINGS* other, int32_t& color,
                     int32_t& background, int16_t& size);

  SETTINGS tags[htUnknown + 1];  // rules with neither class nor id
  BLOCK entries;
  BLOCK slots;  // uint32_t: number of the entry + 1; a power of two of them
  uint32_t ruleCount;
};

// Bytes that stay where they are until clear.
class TSTYLETEXT {
 public:
  TSTYLETEXT() : newest(nullptr) {}
  ~TSTYLETEXT() { clear(); }
  TSTYLETEXT(const TSTYLETEXT&) = delete;
  TSTYLETEXT& operator=(const TSTYLETEXT&) = delete;
  // Room for n bytes, or null.
  unsigned char* room(uint32_t n);
  // Takes the first n bytes of the room that was given last.
  void keep(uint32_t n);
  void clear();

 private:
  struct CHUNK;
  CHUNK* newest;  // owned, with those before it
};

// ==== The open tags: html_visibility.cc

// What an open tag sets; kStyleUnset where it sets nothing.
struct TTAGSTYLE {
  THTMLTAG tag;
  int32_t color;
  int32_t background;
  int16_t fontSize;
};

// The open tags, the newest first. Every step takes the same time, however
// many there are: records are chained in one list for all of them, one for
// each tag, and one for each value that they set.
class TTAGSTACK {
 public:
  // The lists; all but the first are of those records that set a value.
  enum : uint32_t { tsAll, tsColor, tsBackground, tsFontSize, tsListCount };

  TTAGSTACK();
  void clear();
  int32_t count() const;
  // Forgets the record when the stack is full or memory is short.
  void push(const TTAGSTYLE& style);
  // Removes the newest record of the tag; for parts of tables also all that
  // are newer, but a cell is not looked for outside of its row, nor a row
  // outside of its table. The lists that lost a record, a bit for each; 0 when
  // nothing was removed.
  uint32_t pop(THTMLTAG tag);
  // The newest value that is set, or kStyleUnset.
  int32_t newest(uint32_t list) const;

 private:
  struct RECORD {
    TTAGSTYLE style;
    uint32_t number;      // of the push
    uint16_t olderOfTag;  // record of the same tag
    uint16_t older[tsListCount];
    uint16_t newer[tsListCount];
  };
  static const uint16_t kNone = 0xFFFF;

  RECORD& record(uint16_t i) const;
  bool isNewer(THTMLTAG tag, uint32_t number) const;
  uint16_t takeRecord();
  uint32_t remove(uint16_t at);

  BLOCK records;
  uint16_t spare;  // first of the records that are not in use
  uint16_t newestOfTag[htUnknown + 1];
  uint16_t newestOf[tsListCount];
  int32_t used;
  uint32_t pushes;
};

#endif  // CONTENT_HTML_STYLE_H_
