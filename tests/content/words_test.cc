// Words, their pieces, and the letters of lines.

#include "content/words.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"

namespace {

// "kind:word|" for each word. The cursor and a cutter give the same words.
std::string Cut(const std::string& text) {
  const HeapText copy(text);
  TBLOCK cursor = copy.view(), word, same;
  WORDCUTTER cutter(copy.view());
  std::string out;
  while (const int32_t kind = NextWord(cursor, word)) {
    EXPECT_EQ(cursor.end(), copy.view().end());
    EXPECT_EQ(kind, cutter.next(same)) << text;
    EXPECT_EQ(word.pointer, same.pointer) << text;
    EXPECT_EQ(word.length, same.length) << text;
    EXPECT_LT(0u, word.length);
    out += std::to_string(kind) + ":" + Str(word) + "|";
  }
  EXPECT_EQ(wkNone, cutter.next(same));
  EXPECT_TRUE(word.empty());
  EXPECT_TRUE(cursor.empty());
  return out;
}

TEST(WordsTest, Kinds) {
  const Case<const char*> rows[] = {
      {"", ""},
      {" \t(\",;:<>", ""},
      {"Now, (caf\xE9) it's self-made.",
       "3:Now|3:caf\xE9|3:it's|3:self-made.|"},
      // Addresses.
      {"a.b@example.com", "2:a.b@example.com|"},
      {"<a@b.c>,x+y@b-c.d... a@b", "2:a@b.c|2:x+y@b-c.d|3:...|3:a@b|"},
      {"a@b.c@d.e @b.c a@.b a@.b.c a@b. a@@b.c",
       "3:a@b.c@d.e|2:@b.c|3:a@.b|2:a@.b.c|3:a@b.|3:a@@b.c|"},
      {"a@b_c.d a@b.c/d 'a@b.c a@b.c' a@b.c\xE9",
       "3:a@b_c.d|3:a@b.c/d|2:'a@b.c|3:a@b.c'|2:a@b.c|3:\xE9|"},
      // A quotation mark belongs to an address, and separates words.
      {"\"a\"@b.c \"a@b.c\" x\"y@b.c", "2:a\"@b.c|3:a@b.c|2:x\"y@b.c|"},
      {"a@b.c\"d@e.f", "3:a@b.c|2:d@e.f|"},
      // An address before a number, a number before all else.
      {"12@b.c 1,234.50 12:30 2007-04-05 3rd",
       "2:12@b.c|5:1,234.50|5:12|5:30|5:2007|5:-04|5:-05|5:3|3:rd|"},
      {"$25 -$25 $x \x80"
       "5 +5. +-5 5$",
       "5:$|5:25|3:-$25|3:$x|5:\x80|5:5|5:+5.|3:+-5|5:5|3:$|"},
      {"3com.com", "5:3|1:com.com|"},
      // File names go up to white space.
      {"C:\\temp\\x.exe z:\\a;\"b\"\tc",
       "4:C:\\temp\\x.exe|4:z:\\a;\"b\"|3:c|"},
      {"c:/a 5:\\ab \xE9:\\ab cd:\\e",
       "3:c|3:/a|5:5|3:\\ab|3:\xE9|3:\\ab|3:cd|"
       "3:\\e|"},
      {"c:\\a", "3:c|3:\\a|"},
      {"c:\\ab", "4:c:\\ab|"},
      // URLs.
      {"http://a.b/c?d=e&f;g, (HTTPS:x) httpd www.a. wWw.b www. www",
       "1:http://a.b/c?d=e&f;g,|1:HTTPS:x|1:httpd|1:www.a|3:.|1:wWw.b|3:www.|"
       "3:www|"},
      {"mailto:a@b.c?d mailto: xmailto:y",
       "1:mailto:a@b.c?d|1:mailto:|"
       "3:xmailto|3:y|"},
      {"a.com b.NET/x c.org:80 d.fr?e f.com.g",
       "1:a.com|1:b.NET/x|1:c.org:80|"
       "1:d.fr?e|1:f.com.g|"},
      {"a.com, b.come c.con .com -.com d.co e.de",
       "3:a.com|3:b.come|3:c.con|3:.com|3:-.com|3:d.co|3:e.de|"},
      {"a.com... b.com)", "1:a.com|3:...|1:b.com|"},
      // From the start of the word on, whatever separates others.
      {"see:a.com/;x", "1:see:a.com/;x|"},
      {"see:a.com=x", "3:see|3:a.com|3:x|"},
      {"\xE7.\xE7om a.\xE7om", "3:\xE7.\xE7om|3:a.\xE7om|"}};
  for (const auto& row : rows) EXPECT_EQ(row.want, Cut(row.text)) << row.text;
}

TEST(WordsTest, Limits) {
  const std::string local = Times(kMaxMailWord - 4, "a");
  EXPECT_EQ("2:" + local + "@b.c|", Cut(local + "@b.c"));
  EXPECT_EQ("3:" + local + "@b.c.|", Cut(local + "@b.c."));
  EXPECT_EQ("3:a" + local + "@b.c|", Cut("a" + local + "@b.c"));
  // Behind a quotation mark it is short enough.
  EXPECT_EQ("3:a|2:" + local + "@b.c|", Cut("a\"" + local + "@b.c"));

  const std::string file = "c:\\" + Times(kMaxFileWord - 3, "a");
  EXPECT_EQ("4:" + file + "|", Cut(file));
  EXPECT_EQ("4:" + file + "|3:b|", Cut(file + "b"));
  EXPECT_EQ("3:c|3:" + Times(kMaxFileWord, "a") + "\\|",
            Cut("c:" + Times(kMaxFileWord, "a") + "\\"));

  const std::string url = "www." + Times(kMaxUrlWord - 4, "a");
  EXPECT_EQ("1:" + url + "|", Cut(url));
  EXPECT_EQ("1:" + url + "|3:b|", Cut(url + "b"));
  // The dot ahead of "com" is the last byte that counts, and one behind it.
  EXPECT_EQ("1:" + Times(kMaxUrlWord - 1, "a") + "|3:.com|",
            Cut(Times(kMaxUrlWord - 1, "a") + ".com"));
  EXPECT_EQ("3:" + Times(kMaxUrlWord, "a") + ".com|",
            Cut(Times(kMaxUrlWord, "a") + ".com"));
}

// What has been seen ahead is right for each place that it is asked at.
TEST(WordsTest, CutterRemembersRightly) {
  const char* const pieces[] = {"\"", ",", "a@b.c", "x", ".com", " ", "c:\\d",
                                "@",  "1", "www.",  "=", "\xE9", ";", "-"};
  Numbers numbers(7);
  for (int round = 0; round < 3000; round++) {
    std::string text;
    for (uint32_t n = numbers.Below(12); n > 0; n--)
      text += pieces[numbers.Below(sizeof pieces / sizeof *pieces)];
    Cut(text);
    if (HasFailure()) break;
  }
}

TEST(WordsTest, Pieces) {
  const struct {
    const char* text;
    uint32_t minLength;
    const char *merged, *dashed;
  } rows[] = {
      {"FreeMoneyNow", 1, "Free|Money|Now|", ""},
      {"FREE FREEMoney iPhone Ab", 1, "i|Phone|", ""},
      {"aBcDe", 1, "a|Bc|De|", ""},
      {"aBcDe", 2, "aBc|De|", ""},
      {"aB", 2, "", ""},
      {"\xE9t\xE9\xC9t\xE9", 1, "\xE9t\xE9|\xC9t\xE9|", ""},
      {"aB.c .aB", 1, ".a|B|", ""},
      // 50 bytes and 51.
      {"aB345678901234567890123456789012345678901234567890", 0,
       "a|B345678901234567890123456789012345678901234567890|", ""},
      {"aB3456789012345678901234567890123456789012345678901", 0, "", ""},
      {"self-made x-y-zz -a- a--b", 9, "", "self|made|zz|-a|b|"},
      {"l'eau l'-a-bc d' 'x", 9, "", "eau|-a|bc|"},
      {"a-b.c .a-b l'a.b", 9, "", ".a|b|"}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    for (int dashed = 0; dashed < 2; dashed++) {
      TBLOCKVECT words(4);
      BlockToWords(text.view(), words, 0);
      const std::string whole = Join(words);
      dashed ? ParseDashWords(words, 0)
             : ParseMergedWords(words, row.minLength);
      EXPECT_EQ(whole + (dashed ? row.dashed : row.merged), Join(words))
          << row.text;
    }
  }
  const HeapText text("aa-bb-cc dd-ee ff");
  for (int32_t limit = 1; limit < 9; limit++) {
    TBLOCKVECT words(4);
    BlockToWords(text.view(), words, limit);
    EXPECT_EQ(limit < 3 ? limit : 3, words.count());
    ParseDashWords(words, limit);
    EXPECT_EQ(limit < 8 ? limit : 8, words.count());
  }
}

TEST(WordsTest, SubstRegexWithPad) {
  const struct {
    const char *text, *pattern;
    int32_t group;
    const char *subst, *result;
  } rows[] = {{"a1b22c333d", "[a-z]([0-9]+)", 1, "xy", "axbxyc xyd"},
              {"a1b2", "[a-z]([0-9])", 0, "", "    "},
              {"a1b2", "[a-z]([0-9])", 2, "x", "a1b2"},
              {"ab", "(x)?[a-z]", 1, "x", "ab"},
              {"ab", "(x*)", 1, "y", "ab"},
              {"xxaxx", "^x", 0, "y", "yyaxx"},
              {"ab", "(", 0, "x", "ab"}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    BlockSubstRegexWithPad(text.view(), row.pattern, nullptr, row.group,
                           row.subst);
    EXPECT_EQ(row.result, text.str()) << row.pattern;
  }
}

}  // namespace
