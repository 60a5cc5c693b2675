// The pattern compiler: both node lists, the figures, the errors with what was
// understood up to there, limits. Expected lists are in the form that
// tools/dump/regex.cc describes.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "base/text_rows.h"
#include "dump/dump.h"
#include "regex/zr_regex.h"

// A pattern compiled from a copy of exactly its bytes.
class Compiled {
 public:
  Compiled(const std::string& pattern, int flags) : regex(zr_regalloc()) {
    const HeapText text(pattern);
    const TBLOCK view = text.view();
    code = zr_regcomp_len(regex, reinterpret_cast<const char*>(view.pointer),
                          flags, view.length);
  }
  ~Compiled() { zr_regfree(regex); }
  Compiled(const Compiled&) = delete;
  Compiled& operator=(const Compiled&) = delete;

  std::string error() const {
    const uint32_t size = zr_regerror(code, regex, nullptr, 0);
    std::string text(size, '#');
    zr_regerror(code, regex, &text[0], size);
    EXPECT_EQ('\0', text.back());
    text.pop_back();
    return text;
  }

  zr_regex* regex;
  int code;
};

struct ListRow {
  const char* pattern;
  int flags;
  uint32_t minLength;
  uint32_t startKind;
  const char* full;
  const char* reduced;  // null: the same
};

static void CheckLists(const ListRow& row) {
  SCOPED_TRACE(row.pattern);
  const Compiled c(row.pattern, row.flags);
  ASSERT_EQ(ZR_OK, c.code);
  EXPECT_EQ(row.minLength, c.regex->minLength);
  EXPECT_EQ(row.startKind, c.regex->startKind);
  EXPECT_EQ(row.full, DumpRegexList(*c.regex, false));
  EXPECT_EQ(row.reduced ? row.reduced : row.full,
            DumpRegexList(*c.regex, true));
}

TEST(ZrRegcomp, BytesAndClasses) {
  static const ListRow kRows[] = {
      {"", 0, 0, 0, "[0!]", nullptr},
      // What looks like an escape and is none; NUL where \x has no digits left.
      {"\\b\\e\\.\\n\\r\\t\\w\\W\\s\\S", 0, 10, 1,
       "[10!] 'be.' lf cr tab word notword space notspace", nullptr},
      {"\\0\\:", 0, 2, 1, "[2!] '0:'", nullptr},
      {"\\x41\\x4\\x", 0, 3, 1, "[3!] 'A@x'", nullptr},
      {"\\xZZa\\x", 0, 3, 1, "[3!] '\\x00a\\x00'", nullptr},
      {"\\x\xc1"
       "1",
       0, 1, 1, "[1!] '\\x01'", nullptr},
      {"\\x6", 0, 1, 1, "[1!] '`'", nullptr},
      {"a\xe9\xf7\xff", 1, 4, 1, "[4!] 'A\\xC9\\xF7\\xFF'", nullptr},
      // Classes and what they come down to.
      {"[]a][^]a][a^-]", 0, 3, 0, "[3!] set']a' notset']a' set'a^-'", nullptr},
      {"[\\d][0-9]\\d\\D[^0-9]", 0, 5, 0, "[5!] digit{3} notdigit{2}", nullptr},
      {"[A-Z0-9a-z][_a-z0-9A-Z][^A-Z_a-z0-9]", 0, 3, 0,
       "[3!] alnum word notword", nullptr},
      {"[^0-9a-zA-Z][^_][\\n][^\\w]", 0, 4, 0,
       "[4!] notalnum not'_' lf notclass{word}", nullptr},
      {"[_0-9a-z]", 0, 1, 0, "[1!] class{'_' '0'-'9' 'a'-'z'}", nullptr},
      {"[xyz-~q\\dw\\.]", 0, 1, 0, "[1!] class{'xy' 'z'-'~' 'q' digit 'w.'}",
       nullptr},
      {"[a-c-][\\w-][--a]", 0, 3, 0,
       "[3!] class{'a'-'c' '-'} class{word '-'} range'-'-'a'", nullptr},
      {"[z-a][^z-a]", 0, 2, 0, "[2!] range'z'-'a' notrange'z'-'a'", nullptr},
      {"[\\x80-\\xff]", 0, 1, 0, "[1!] class{'\\x80'-'\\\\' 'xff'}", nullptr},
      {"[\\b][\\b\\x08]", 0, 2, 0, "[2!] bs class{bs '\\x08'}", nullptr},
      // Folded as they are read: the named classes are not seen any more.
      {"[a-zA-Z0-9][y-z]x", 1, 3, 0,
       "[3!] class{'A'-'Z' 'A'-'Z' '0'-'9'} range'Y'-'Z' 'X'", nullptr}};
  for (const ListRow& row : kRows) CheckLists(row);
  // The length counts: a NUL is a byte as any other.
  EXPECT_EQ("[3!] 'a\\x00b'",
            DumpRegexList(*Compiled(std::string("a\0b", 3), 0).regex, false));
}

TEST(ZrRegcomp, JoiningAndCounting) {
  static const ListRow kRows[] = {
      {"abc*", 0, 2, 1, "[2!] 'ab' 'c'{0,}", nullptr},
      {"a+a", 0, 2, 1, "[2!] 'a'{2,}", nullptr},
      {"xa+aa*", 0, 3, 1, "[3!] 'x' 'a'{2,}", nullptr},
      {"aa*aa", 0, 3, 1, "[3!] 'a'{1,} 'aa'", nullptr},
      {"x\\d+\\d{2}.*.", 0, 5, 1, "[5!] 'x' digit{3,} any{1,}", nullptr},
      {"[a-z][a-z][^b][^b][ab][ab]", 0, 6, 0,
       "[6!] range'a'-'z'{2} not'b'{2} set'ab' set'ab'", nullptr},
      {"[^b][^c][a-c][a-d]", 0, 4, 0,
       "[4!] not'b' not'c' range'a'-'c' range'a'-'d'", nullptr},
      // A literal byte joins what a class of one byte left, not the other way.
      {"[b][c]a[b]", 0, 4, 1, "[4!] 'b' 'ca' 'b'", nullptr},
      {"[b][b]", 0, 2, 1, "[2!] 'b'{2}", nullptr},
      // Who is lazy first stays lazy; "y" joins its neighbour before that.
      {"x+?x", 0, 2, 1, "[2!] 'x'{2,}?", nullptr},
      {"x+?xy", 0, 3, 1, "[3!] 'x'{1,}? 'xy'", nullptr},
      // Quantifiers count from what is there.
      {"xa{1,2}{2}", 0, 3, 1, "[3!] 'x' 'a'{2}", nullptr},
      {"xa{3,5}{2,4}?b", 0, 6, 1, "[6!] 'x' 'a'{4,8}? 'b'", nullptr},
      {"xa+*xb+{0,2}", 0, 2, 1, "[2!] 'x' 'a'{0,} 'x' 'b'{0,}", nullptr},
      {"xa{}b{,3}c{2,0}d{,}e{2,2}", 0, 5, 1,
       "[5!] 'x' 'a'{0} 'b'{0,3} 'c'{2,} 'd'{0,} 'e'{2}", nullptr},
      {"xa***", 0, 0xFFFFFFFF, 1, "[4294967295!] 'x' 'a'{never,}", nullptr},
      {"xa**{5}a", 0, 0xFFFFFFFF, 1, "[4294967295!] 'x' 'a'{never,}", nullptr},
      {"xa?{0,1}", 0, 0xFFFFFFFF, 1, "[4294967295!] 'x' 'a'{never,1}", nullptr},
      {"xa{4294967296}", 0, 0xFFFFFFFF, 1, "[4294967295!] 'x' 'a'{never,}",
       nullptr},
      {"(?:ab){65536}{65536}", 0, 262142, 0,
       "[262142!] (?:1[2!] 'ab' ){131071}", "[262142!] 'ab'{131071}"},
      {"((ab){65536}){65536}", 0, 0xFFFFFFFF, 0,
       "[4294967295!] (1[131072!] (2[2!] 'ab' ){65536} ){65536}",
       "[4294967295!] (1[131072!] 'ab'{65536} ){65536}"}};
  for (const ListRow& row : kRows) CheckLists(row);
}

TEST(ZrRegcomp, AlternativesAndAnchors) {
  static const ListRow kRows[] = {
      {"|", 0, 0, 0, "[0!] |[0!]", nullptr},
      {"^", 0, 0, 0, "[0!] ^", nullptr},
      {"^ab", 0, 2, 2, "[2!] ^ 'ab'", nullptr},
      {"^a*b", 0, 1, 0, "[1!] ^ 'a'{0,} 'b'", nullptr},
      {"^ab$", 0, 2, 2, "[2!] ^ 'ab' $3", nullptr},
      {"^ab|c", 0, 1, 0, "[2!] ^ 'ab' |[1!] 'c'", nullptr},
      {"^(ab)", 0, 2, 0, "[2!] ^ (1[2] 'ab' )", "[2!] ^ 'ab'"},
      // Literals by length; a swap throws one of equal length behind another.
      {"x(a|bb|c|ddd)$", 0, 2, 0,
       "[2!] 'x' <1[3] 'ddd' |[2] 'bb' |[1] 'c' |[1] 'a' > $3", nullptr},
      {"(a|b[c])|(?:|d)", 0, 0, 0,
       "[1!] (1[1!] 'a' |[2!] 'b' 'c' ) |[0!] (?:2[0!] |[1!] 'd' )", nullptr},
      // Tails: what counts, what stops the count, where there is none.
      {"ab$", 0, 2, 0, "[2!] 'ab' $2", nullptr},
      {"(ab)c$", 0, 3, 0, "[3!] (1[2!] 'ab' ) 'c' $5", "[3!] 'ab' 'c' $3"},
      {"(a|b+)c$", 0, 2, 0, "[2!] (1[1!] 'a' |[1!] 'b'{1,} ) 'c' $1", nullptr},
      {"(a|bb){2}c$", 0, 3, 0, "[3!] <1[2] 'bb' |[1] 'a' >{2} 'c' $1", nullptr},
      {"a(b+c)d$", 0, 4, 0, "[4!] 'a' (1[2] 'b'{1,} 'c' ) 'd' $3", nullptr},
      {"[ab].[ab].[ab].[ab].[ab].[ab]$", 0, 11, 0,
       "[11!] set'ab' any set'ab' any set'ab' any set'ab' any set'ab' any "
       "set'ab' $10",
       nullptr},
      {"a$|b$", 0, 1, 0, "[1!] 'a' $2 |[1!] 'b' $0", nullptr},
      {"a($)", 0, 1, 1, "[1!] 'a' (1[0] $0 )", "[1!] 'a' $2"},
      {"x($)?", 0, 1, 1, "[1!] 'x' (1[0] $0 ){0,1}", "[1!] 'x' $2{0,1}"},
      // "$" and a switch of case in front forbid the search for a start.
      {"b|$", 0, 0, 0, "[1] 'b' |[0] $0", nullptr},
      {"|(?i)x", 0, 0, 0, "[0] |[1] fold 'X'", nullptr},
      {"a(?i)b$|c", 0, 1, 0, "[2!] 'a' fold 'B' $1/DF |[1!] 'C'", nullptr},
      {"(?i)ab(?-i)c", 0, 3, 1, "[3!] 'AB' exact 'c'", nullptr},
      {"((?i)a)b", 0, 2, 0, "[2] (1[1] fold 'A' ) 'B'", nullptr}};
  for (const ListRow& row : kRows) CheckLists(row);
}

TEST(ZrRegcomp, OptionalStartsAndReducedLists) {
  static const ListRow kRows[] = {
      {"a?b", 0, 1, 0, "[2!] 'a' 'b' |[1!] 'b'", nullptr},
      {"a*?b", 0, 1, 0, "[1!] 'b' |[2!] 'a'{1,}? 'b'", nullptr},
      {"a??b", 0, 1, 0, "[1!] 'b' |[2!] 'a' 'b'", nullptr},
      {"a{0}aa", 0, 2, 0, "[3!] 'a'{1,0} 'aa' |[2!] 'aa'", nullptr},
      {"^*a", 0, 1, 0, "[1!] ^{1,} 'a' |[1!] 'a'", nullptr},
      {"a?b*c?", 0, 0, 0,
       "[1!] 'a' 'b'{0,} 'c'{0,1} |[1!] 'b'{1,} 'c'{0,1} |[1!] 'c' |[0!]",
       nullptr},
      {"a?b$", 0, 1, 0, "[2!] 'a' 'b' $3 |[1!] 'b' $0", nullptr},
      {"(?:ab|c)?", 0, 0, 0, "[1!] <?:1[2] 'ab' |[1] 'c' > |[0!]", nullptr},
      {"(a?b|c)*d", 0, 1, 0,
       "[2!] (1[2!] 'a' 'b' |[1!] 'b' |[1!] 'c' ){1,} 'd' |[1!] 'd'", nullptr},
      // Only what a match can begin with; copies keep their slot.
      {"x(a?b)*", 0, 1, 1, "[1!] 'x' (1[0] 'a'{0,1} 'b' ){0,}", nullptr},
      {"a?(b|c*)", 0, 0, 0,
       "[1!] 'a' (1[1] 'b' |[0] 'c'{0,} ) |"
       "[0!] (1[1!] 'b' |[1!] 'c'{1,} |[0!] )",
       "[1!] 'a' (1[1] 'b' |[0] 'c'{0,} ) |"
       "[0!] (2[1!] 'b' |[1!] 'c'{1,} |[0!] )"},
      // Groups of one element go when one quantifier says nothing.
      {"((a))+b", 0, 2, 0, "[2!] (1[1!] (2[1!] 'a' ) ){1,} 'b'",
       "[2!] 'a'{1,} 'b'"},
      {"x(a)(b|c+)", 0, 3, 1, "[3!] 'x' (1[1] 'a' ) (2[1] 'b' |[1] 'c'{1,} )",
       "[3!] 'x' 'a' (1[1] 'b' |[1] 'c'{1,} )"},
      {"x(a+)?(b{2})*?(c+?)(de)??", 0, 2, 1,
       "[2!] 'x' (1[0] 'a'{1,} ){0,1} (2[0] 'b'{2} ){0,}? (3[1] 'c'{1,}? ) "
       "(4[0] 'de' ){0,1}?",
       "[2!] 'x' (1[0] 'a'{1,} ){0,1} (2[0] 'b'{2} ){0,}? 'c'{1,}? "
       "'de'{0,1}?"},
      {"x(|)", 0, 1, 1, "[1!] 'x' (1[0] |[0] )", nullptr},
      {"x(ab){3000000000}", 0, 0xFFFFFFFF, 1,
       "[4294967295!] 'x' (1[2] 'ab' ){3000000000}",
       "[4294967295!] 'x' 'ab'{3000000000}"},
      {"x((a|b))+", 0, 2, 1, "[2!] 'x' (1[1] <2[1] 'a' |[1] 'b' > ){1,}",
       "[2!] 'x' (1[1] <2[1] 'a' |[1] 'b' > ){1,}"},
      {"(?:x)(a)\\1", 0, 2, 0, "[2!] (?:1[1!] 'x' ) (2[1] 'a' ) \\1",
       "[2!] 'x' 'a' \\1"}};
  for (const ListRow& row : kRows) CheckLists(row);
}

TEST(ZrRegcomp, Figures) {
  // Pool "^azbc" and NUL 6, members 2 * 12, nodes (7 + 5) * 24, alternatives
  // (2 + 1) * 32, and 76.
  EXPECT_EQ(
      "minLength=3 startKind=0 slots=2/1 nodes=7/5 alternatives=2/1 "
      "caseNodes=0 caseMask=FF backref=0 size=490",
      DumpRegexFigures(*Compiled("[a-z\\d]b(c)", 0).regex));
  // Bytes of what was fused or became an opcode are given back: "^aa" and NUL
  // stay.
  EXPECT_EQ(
      "minLength=5 startKind=1 slots=1/1 nodes=6/6 alternatives=1/1 "
      "caseNodes=2 caseMask=FF backref=0 size=432",
      DumpRegexFigures(
          *Compiled("(?-i)a+a[a-zA-Z0-9][a-zA-Z0-9][0-9]{0}a", 3).regex));
  EXPECT_EQ(
      "minLength=2 startKind=0 slots=3/1 nodes=9/5 alternatives=3/1 "
      "caseNodes=1 caseMask=DF backref=1 size=544",
      DumpRegexFigures(*Compiled("(?i)(?:x)(a)\\1", 2).regex));
}

TEST(ZrRegcomp, ErrorsTellWhatWasUnderstood) {
  static const struct {
    int code;
    const char *message, *rows;  // pattern => what was understood
  } kRows[] = {
      {2, "Utilisation illegale d'operateur de repetition",
       "* => ~ (*a) => ( ~ (?i)* => ~ ab|{2} => ab| ~ a(?i)+ => a(?i)"},
      {3, "Utilisation illegale de l'operateur intervalle",
       "[az-a] => ~ x[a-z-9] => x ~ [a\\d-z] => ~ [\\n-z] =>"},
      {4, "Caractere d'echappement invalide", "a\\ => a ~ [\\ =>"},
      {5, "Reference arriere invalide",
       "\\1 => ~ \\9 => ~ (a\\1) => (a ~ (a)\\2 => (a)"},
      {6, "Accolade manquante }", "xa{ => xa ~ xa{2 => xa ~ xa+{2, => xa"},
      {7, "Parenthese manquante )", "(a => (a ~ (?i => ~ (?-ix) =>"},
      {8, "Crochet manquant ]", "[ => ~ [^ => ~ [] => ~ [a- => ~ [a-z =>"},
      {9, "Contenu d'accolade invalide { }",
       "xa{3,2} => xa ~ a{x} => a ~ a*{1,2,3} => a ~ a{-1} => a"},
      {12, "Parenthese fermante invalide )",
       "() => ( ~ (?:) => (?: ~ ) => ~ (a)) => (a)"},
      {13, "Charactere interdit", "a] => a ~ } => ~ (?x) => ~ (? => ~ (?- =>"}};
  for (const auto& row : kRows)
    for (const TextRow& entry : TextRows(row.rows, " ~ ")) {
      const Compiled c(entry.input, 0);
      EXPECT_EQ(row.code, c.code) << entry.input;
      EXPECT_EQ(std::string(row.message) + " apres " + entry.expected,
                c.error())
          << entry.input;
    }
}

TEST(ZrRegcomp, PrintedBack) {
  static const Case<const char*> kRows[] = {
      {"\\.\\$\\x07\\]\\{a\\^\\|", "\\.\\$\\x07]{a\\^\\|"},
      {"[-a][^b-]x-", "[\\-a][^b\\-]x-"},
      {"\\d\\D\\w\\W\\s\\S\\n\\r\\t.",
       "[0-9][^0-9][0-9A-Za-z_][^0-9A-Za-z_][ \\t\\n\\r\\f]"
       "[^ \\t\\n\\r\\f]\\n\\r\\t."},
      {"[a-zA-Z0-9][^a-zA-Z0-9][\\b][\\dx-z][^x]",
       "[0-9A-Za-z][^0-9A-Za-z][\\b][\\dx-z][^x]"},
      {"x(?:a|b+)*?c{2}d{2,}e{2,3}f??g{1}?",
       "x(?:a|b+)*?c{2}d{2,}e{2,3}f??g{1}?"},
      {"^(a)(?i)\\1(?-i)$", "^(a)(?i)\\1(?-i)$"},
      {"a?^b", "a^b|^b"},
      {"(com|info)", "(info|com)"}};
  for (const auto& row : kRows)
    EXPECT_EQ(std::string("Succes apres ") + row.want,
              Compiled(row.text, 0).error());
  char text[16] = "###############";
  zr_regerror(14, Compiled("abc", 0).regex, text, 1);
  EXPECT_EQ('\0', text[0]);
  EXPECT_EQ(0u, zr_regerror(-1, Compiled("abc", 0).regex, text, 10));
  EXPECT_STREQ("Code d'er", text);
  EXPECT_EQ('#', text[10]);
}

// Each of these ends soon, and at the limit that is told.
TEST(ZrRegcomp, HostilePatterns) {
  static const struct {
    const char* name;
    std::string pattern;
    int code;
  } kRows[] = {
      {"100 KB of (", Times(100000, "("), ZR_NOMEMORY},
      {"deepest", Times(ZR_MAX_DEPTH, "(") + "a" + Times(ZR_MAX_DEPTH, ")"),
       ZR_OK},
      {"too deep", Times(ZR_MAX_DEPTH + 1, "("), ZR_NOMEMORY},
      // Start and end are nodes, too.
      {"longest", Times(ZR_MAX_NODES - 2, "^"), ZR_OK},
      {"too long", Times(ZR_MAX_NODES - 1, "^"), ZR_NOMEMORY},
      {"most passes", Times(998, "(") + "a" + Times(998, "?)") + "?", ZR_OK},
      {"too many passes", Times(999, "(") + "a" + Times(999, "?)") + "?",
       ZR_NOMEMORY},
      {"optional starts", Times(200, "a?b?"), ZR_NOMEMORY},
      {"optional starts in groups", Times(3000, "(a?|b?)?"), ZR_NOMEMORY},
      {"stacked", "a" + Times(20000, "*+?{9}"), ZR_OK},
      {"digits", "a{" + Times(100000, "9") + "}", ZR_OK},
      {"alternatives", "(" + Times(30000, "ab|") + "c)", ZR_OK},
      {"starts of alternatives", Times(10000, "a?b|") + "c", ZR_OK},
      {"classes", Times(30000, "[a\\d]"), ZR_OK},
      {"tails", Times(9000, "(a|b)$"), ZR_OK},
      {"literal", Times(500000, "ab"), ZR_OK}};
  for (const auto& row : kRows)
    EXPECT_EQ(row.code, Compiled(row.pattern, 0).code) << row.name;
}
