// Source sections against a dump of the image that they become.

#include "rules/kw_obj.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/heap_text.h"
#include "rules/kw_dump_util.h"

namespace {

std::string Compiled(const std::string& name, const std::string& text,
                     int patch) {
  const HeapText source(text), title(name);
  TBLOCKVECT lines(4);
  lines.fillFromBigBlock(source.view(), '\n', 0);
  TKwObj object;
  if (!object.AddSection(title.view(), &lines, patch))
    return "line " + std::to_string(object.errorLine) + ": " + object.error;
  return DumpObject(object);
}

TEST(KwObj, SectionsBecomeRecords) {
  const struct {
    const char *name, *lines, *dump;
  } kRows[] = {{"#S", " <5> a b \n<&-7>c\n<b>\n<>x\n<+3>",
                "2/0: 5=a b -7&=c 0=<b> "
                "0=<>x 3="},
               {"$S", "<99999999999999>x\n<-2000000000>y",
                "2/1: 1000000000=x -1000000000=y"},
               {"^S", "<1>n: (Url=a)", "4/0: 1=n: (Url=a)"},
               {":S", "a:b", "5/0: 0=a:b"},
               {"!S", "<2>[a]", "6/0: 2=[a]"},
               {"&S", "Other", "9/0: 0=Other"},
               {"*S", "<4>abc", "7/1: 4=900150983cd24fb0d6963f7d28e17f72"},
               // "" and "a" in order of their digests: 0c.., d4..
               {"@S", "abc\na",
                "8/0: 0cc175b9c0f1b6a831c399e269772661 "
                "900150983cd24fb0d6963f7d28e17f72"},
               {"%S", "<3>\"a,b\"#65,'\"'$4g",
                "line 0: neither a quoted text nor a "
                "byte"},
               {"%S", "<3>\"a,b\"#65,'\"'$4a255$f", "3/0: 3=a,bA\"J\xFF\x0F"},
               {"%S", "256", "line 0: neither a quoted text nor a byte"},
               {"%S", "'open", "line 0: neither a quoted text nor a byte"},
               {"S", "viagra", "0/0: 100V{viagra}"},
               {"S", "(=) <-5> b c|4a > d+e", "0/0: -5/330B{b c|4a}>{d}+{e}"},
               {"S", "(-!~) x", "0/0: 100/17f0X{x}"},
               {"S", "(a) x", "0/0: 100({(a) x}"},
               {"S", "a+,>b, |,+", "0/0: 100A{a}>{b}"},
               {"S", "+a", "0/0: 100-{a}"},
               {"S", "\\+1+a\\|b|\\ c", "0/0: 100+{\\+1}+{a\\|b|\\ c}"},
               {"S", "*a\n?b\n~c\n\\*d\n\xE9\n0",
                "0/0: 100-{*a} 100-{?b} 100-{~c} "
                "100-{\\*d} 100E{\xE9} 100#{0}"},
               {"S", "a\\", "0/0: 100A{a\\}"},
               {"S", "a\tb \t c|\td", "0/0: 100A{a b c|d}"},
               {"@S", "<1>abc", "8/0: 951b99448aacae990fe1fa35e1afd887"},
               {"S", "a\n + |\nb", "line 1: the line has no word"},
               {"S", "", ""}};
  for (const auto& row : kRows)
    EXPECT_EQ(Compiled(row.name, row.lines, 0), row.dump)
        << row.name << " " << row.lines;
}

}  // namespace
