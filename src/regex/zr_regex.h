// The pattern engine: bytes, Latin-1 folding, a dialect of its own
// (doc/regex-dialect.md). Plain functions over plain records; includes no
// other header of the project, so that it can be lifted out.
//
//   zr_regcomp.cc   the parser
//   zr_list.cc      how it and every copy build a list of nodes
//   zr_rewrite.cc   what is done to the node lists afterwards
//   zr_search.cc    what a subject must hold, worked out once for a pattern,
//                   with zr_sets.cc, zr_cover.cc, zr_grams.cc, zr_follow.cc
//   zr_window.cc    the search for it, 16 bytes at a time
//   zr_regexec.cc   the matcher's entry: what can be rejected at once
//   zr_walk.cc      the walk along the nodes
//   zr_regerror.cc  messages, and a pattern printed back from its nodes
//
// A compiled record is only read by the matcher: any number of threads may
// use one at the same time.

#ifndef REGEX_ZR_REGEX_H_
#define REGEX_ZR_REGEX_H_

#include <stddef.h>
#include <stdint.h>

// Node opcodes. "Pool" is zr_regex::pool, indices into it are inclusive.
enum zr_opcode : uint32_t {
  ZR_CHAR = 0,       // one byte: pool[a]; b = a
  ZR_STRING = 1,     // the run pool[a..b]
  ZR_ANY = 2,        // 0x0D to 0xFF: a carriage return too, on purpose
  ZR_NOTCHAR = 3,    // any byte but pool[a]
  ZR_CLASS = 4,      // members a to b, exclusive
  ZR_NOTCLASS = 5,   // the same, negated
  ZR_SET = 6,        // one of pool[a..b]
  ZR_NOTSET = 7,     // none of pool[a..b]
  ZR_RANGE = 8,      // pool[a] to pool[b]
  ZR_NOTRANGE = 9,   // outside it
  ZR_TAB = 10,       // \t
  ZR_LF = 11,        // \n
  ZR_CR = 12,        // \r
  ZR_BS = 13,        // 0x08, a class member only
  ZR_ALNUM = 14,     // 0-9 A-Z a-z
  ZR_NOTALNUM = 15,  // all others
  ZR_WORD = 16,      // 0-9 A-Z a-z and "_"
  ZR_NOTWORD = 17,   // all others
  ZR_SPACE = 18,     // 0x09 to 0x0D and 0x20
  ZR_NOTSPACE = 19,  // all others
  ZR_DIGIT = 20,     // 0-9
  ZR_NOTDIGIT = 21,  // all others
  ZR_OPEN = 22,      // opens a group: a record, b close node
  ZR_CLOSE = 23,     // closes it: a open node, b record (the open's, too)
  ZR_LITOPEN = 24,   // as ZR_OPEN; every alternative is one literal
  ZR_LITCLOSE = 25,  // its close
  ZR_START = 26,     // first node of a list: a record 0, b end node
  ZR_END = 27,       // last node of a list
  ZR_EOS = 28,       // $: a tail-check length, b case mask
  ZR_BOS = 29,       // ^
  ZR_ALT = 30,       // |: a new record, b previous one, min close or end
  ZR_CASEON = 31,    // (?-i) behind the pattern's start
  ZR_CASEOFF = 32,   // (?i) behind the pattern's start
  ZR_BACKREF = 33    // \1 to \9: a capture slot
};

// Kinds of zr_member besides the opcodes ZR_TAB to ZR_NOTDIGIT.
enum : uint32_t {
  ZR_MEMBER_BYTE = 0,  // pool[a]
  ZR_MEMBER_RUN = 1,   // one of pool[a..b]
  ZR_MEMBER_RANGE = 8  // pool[a] to pool[b]
};

static const uint32_t ZR_UNBOUNDED = 0xFFFFFFFFu;  // zr_node::max
static const uint32_t ZR_NONE = 0xFFFFFFFFu;       // "-1" of zr_group

// One element. The close of a group holds the group's quantifier, the open
// a copy of it.
struct zr_node {
  uint32_t opcode;
  uint32_t a;
  uint32_t b;
  uint32_t min;
  uint32_t max;
  uint32_t lazy;
};

// One alternative; a group with three alternatives has three records.
struct zr_group {
  uint32_t first;        // node that opens it: start, open or alternative
  uint32_t last;         // node that ends it: next alternative, close or end
  uint32_t parent;       // record of the enclosing alternative, or ZR_NONE
  uint32_t noCapture;    // 1 for (?:
  uint32_t capture;      // capture slot
  uint32_t prevCapture;  // slot of the enclosing group, or ZR_NONE
  uint32_t skip;         // may look for its first element with a scan
  uint32_t minLength;    // bytes of its shortest text
};

struct zr_member {
  uint32_t kind;
  uint32_t a;
  uint32_t b;
};

struct zr_regex {
  zr_node* nodes;  // full list, for captures and back references
  uint32_t nodeCount;
  zr_group* groups;  // alternatives of the full list
  uint32_t groupCount;
  uint32_t captureCount;  // slots of the full list; slot 0 is the match
  zr_node* fastNodes;     // reduced list, for all other calls
  uint32_t fastNodeCount;
  zr_group* fastGroups;  // alternatives of the reduced list
  uint32_t fastGroupCount;
  uint32_t fastCaptureCount;
  uint8_t* pool;       // literal bytes, NUL behind them; pool[0] is "^"
  uint32_t poolSize;   // with the NUL
  zr_member* members;  // of classes
  uint32_t memberCount;
  uint32_t hasBackref;  // 1 when the pattern holds a back reference
  uint32_t caseNodes;   // switches of case; 0: bytes compare exactly
  uint32_t minLength;   // bytes of the shortest subject that can match
  uint32_t startKind;   // 0 none, 1 literal, 2 anchored literal
  uint8_t caseMask;     // at the start: 0xFF exact, 0xDF folding
  uint8_t startByte;    // of the literal, unless startKind is 0
  // Derived from all of the above at the end of zr_regcomp_len (zr_search.h);
  // not counted by zr_regsize.
  struct zr_search* search;
};

// Byte offsets into the subject, end exclusive; -1, -1 when not taken part.
struct zr_pair {
  int32_t start;
  int32_t end;
};

enum : int {
  ZR_OK = 0,
  ZR_NOMATCH = 1,  // the matcher only
  ZR_BADREPEAT = 2,
  ZR_BADRANGE = 3,
  ZR_BADESCAPE = 4,
  ZR_BADBACKREF = 5,
  ZR_NOBRACE = 6,
  ZR_NOPAREN = 7,
  ZR_NOBRACKET = 8,
  ZR_BADBRACE = 9,
  ZR_NOMEMORY = 10,  // or a limit below was met
  ZR_INTERNAL = 11,
  ZR_BADPAREN = 12,
  ZR_BADCHAR = 13
};

// Limits; what goes beyond answers ZR_NOMEMORY.
static const uint32_t ZR_MAX_NODES = 65536;    // of one list
static const uint32_t ZR_MAX_PASSES = 1000;    // rewrites of a pattern
static const uint32_t ZR_MAX_DEPTH = 1000;     // groups within groups
static const uint32_t ZR_MAX_CELLS = 4194304;  // backtrack stack, 16 MB
// Of one match call: these, and more for each byte, but never more than the
// most. Subjects of real mail take up to 17,000.
static const uint32_t ZR_STEPS = 200000;
static const uint32_t ZR_STEPS_PER_BYTE = 16;
static const uint32_t ZR_MAX_STEPS = 50000000;

// Folds byte c: c & (zr_MaskTable[c] | mask), mask as zr_regex::caseMask.
extern const uint8_t zr_MaskTable[256];
// The same with mask 0xDF: c & zr_ToUpperMaskTable[c].
extern const uint8_t zr_ToUpperMaskTable[256];
extern const uint8_t zr_HexTable[128];  // value of a hexadecimal digit, or 0
extern const char zr_Hextoc[17];

// A zeroed record, or null. Released by zr_regfree.
zr_regex* zr_regalloc();

// Compiles `length` bytes of `pattern` into a record just allocated; reads
// none beyond. Bit 0 of `flags` folds case from the start. ZR_OK or the error;
// after an error the record is only good for zr_regfree and zr_regerror.
int zr_regcomp_len(zr_regex* preg, const char* pattern, int flags,
                   uint32_t length);
// The same on a NUL-terminated pattern.
int zr_regcomp(zr_regex* preg, const char* pattern, int flags);

// Releases the record and all that it holds; null is accepted.
void zr_regfree(zr_regex* preg);

// Bytes held, as a 32-bit build counts them.
uint32_t zr_regsize(const zr_regex* preg);

// With size 0 the bytes needed, NUL included. Else writes the message of
// `code`, " apres " and the pattern printed from its nodes, cut to size - 1
// bytes, and a NUL; returns 0.
uint32_t zr_regerror(int code, const zr_regex* preg, char* buffer,
                     uint32_t size);

// Matches `length` bytes: ZR_OK, ZR_NOMATCH, ZR_NOMEMORY or ZR_INTERNAL.
// With nmatch and pmatch the capturing groups' offsets are written, slot 0
// first, at most nmatch pairs, and a pair -1, -1 behind them when there is
// room for two more; without a match pair 0 is -1, -1. `eflags` is ignored.
int zr_regexec_len(const zr_regex* preg, const char* subject, uint32_t nmatch,
                   zr_pair* pmatch, int eflags, uint32_t length);
// The same on a NUL-terminated subject.
int zr_regexec(const zr_regex* preg, const char* subject, uint32_t nmatch,
               zr_pair* pmatch, int eflags);

// Adds the bytes that subjects with a match begin with, or with `last` end
// with, to 256 bits: byte c is bit c % 32 of bits[c / 32]. False, with the bits
// as they were, when nothing is known. An empty subject may match in any case.
bool zr_regedge(const zr_regex* preg, bool last, uint32_t* bits);

// The same of bytes of which a match has at least one, wherever that stands,
// the rarest in mail. Nothing is known of a pattern that fits an empty text.
bool zr_regbytes(const zr_regex* preg, uint32_t* bits);

#endif  // REGEX_ZR_REGEX_H_
