// The speed of reading HTML, beside other parsers, and how its cost grows on
// input that was written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target html_bench
//   build/native/bench/html_bench [DIR] [--rounds N] [--reader NAME]
//
// With DIR all its *.html files are read by every reader in turn, or by one;
// the best of the rounds counts. Prints the bytes a second of each reader, and
// its time in multiples of the first one's. The readers:
//
//   items        the walk over items alone
//   items, text  with all text decoded: what other parsers do in one
//   all          with the attributes of each tag, walked and three by name,
//                and URLs decoded
//   pass         QmHtmlParse, all that a scan asks of HTML
//   libxml2 SAX  its push parser with handlers that do nothing (libxml2-dev)
//   libxml2 tree its push parser, which builds a tree unless it is stopped
//   gumbo        which builds a tree (libgumbo-dev)
//
// The copy that the decoders write over is part of the time. Then, but not with
// --reader, a row for each hostile shape, of "all" and of "pass": the
// milliseconds at four sizes, each twice the one before, and the ratio of each
// doubling. Ratios above kWorstRatio are marked, and are worth a second run.
// Always exits 0, but for 64: usage.

#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bench_util.h"
#include "content/html_item.h"
#include "content/html_parse.h"
#include "regex/regex_pool.h"
#include "rules/qm_dico.h"

#ifdef QM_WITH_LIBXML2
#include <libxml/HTMLparser.h>
#endif
#ifdef QM_WITH_GUMBO
#include <gumbo.h>
#endif

namespace {

const double kNever = 1e9;  // seconds

// ---- Readers

void ReadTag(TBLOCK tag) {
  TBLOCK name, value, cursor = tag;
  uint32_t sum = 0;
  int found = GetFirstTagParam(cursor, name, value);
  for (;;) {
    sum += found ? value.length : 0;
    if (cursor.empty()) break;
    found = GetNextTagParam(cursor, name, value);
  }
  sum += GetTagParamValue(tag, "style", value);
  sum += GetTagParamValue(tag, "src", value);
  int32_t hidden = 0;
  if (GetTagParamValue(tag, "href", value))
    sum += DecodeUrl(value, hidden).length;
  g_sink = g_sink + sum;
}

void Walk(const std::string& html, bool decode, bool params) {
  static std::string copy;
  copy = html;
  TBLOCK cursor(&copy[0], static_cast<uint32_t>(copy.size()));
  uint64_t sum = 0;
  THITEM item;
  for (GetFirstHtmlItem(cursor, item); item.type != hitNone;
       GetNextHtmlItem(cursor, item)) {
    if (decode && item.type == hitText) DecodeText(item, nullptr, 0);
    if (params && item.type == hitOpenTag) ReadTag(item.block);
    sum += item.block.length + item.tag;
  }
  g_sink = g_sink + sum;
}

void ReadItems(const std::string& html) {
  Walk(html, false, false);
}
void ReadText(const std::string& html) {
  Walk(html, true, false);
}
void ReadAll(const std::string& html) {
  Walk(html, true, true);
}

// With the dictionary that is linked in, and a context for each text.
void ReadPass(const std::string& html) {
  static REGEXPOOL pool;
  static const TQMDICO dico(&pool, nullptr);
  static std::string copy, output;
  copy = html;
  output.resize(html.size() + 128);
  THTMLCONTEXT context;
  const uint32_t n =
      QmHtmlParse(TBLOCK(copy.data(), static_cast<uint32_t>(copy.size())),
                  TBLOCK(output.data(), static_cast<uint32_t>(output.size())),
                  context, &pool, &dico);
  g_sink = g_sink + n;
}

#ifdef QM_WITH_LIBXML2
void CountText(void*, const xmlChar*, int n) {
  g_sink = g_sink + static_cast<uint64_t>(n);
}
void CountTag(void*, const xmlChar*, const xmlChar**) {
  g_sink = g_sink + 1;
}
void CountEnd(void*, const xmlChar*) {
  g_sink = g_sink + 1;
}

void PushXml(const std::string& html, xmlSAXHandler* handlers) {
  htmlParserCtxtPtr parser = htmlCreatePushParserCtxt(
      handlers, nullptr, nullptr, 0, nullptr, XML_CHAR_ENCODING_8859_1);
  htmlCtxtUseOptions(parser, HTML_PARSE_RECOVER | HTML_PARSE_NOERROR |
                                 HTML_PARSE_NOWARNING | HTML_PARSE_NONET);
  htmlParseChunk(parser, html.data(), static_cast<int>(html.size()), 0);
  htmlParseChunk(parser, nullptr, 0, 1);
  if (parser->myDoc) xmlFreeDoc(parser->myDoc);
  htmlFreeParserCtxt(parser);
}

void ReadXmlSax(const std::string& html) {
  xmlSAXHandler handlers = {};
  handlers.characters = CountText;
  handlers.startElement = CountTag;
  handlers.endElement = CountEnd;
  PushXml(html, &handlers);
}

void ReadXmlTree(const std::string& html) {
  PushXml(html, nullptr);
}
#endif

#ifdef QM_WITH_GUMBO
void ReadGumbo(const std::string& html) {
  GumboOutput* output =
      gumbo_parse_with_options(&kGumboDefaultOptions, html.data(), html.size());
  g_sink = g_sink + (output->root != nullptr);
  gumbo_destroy_output(&kGumboDefaultOptions, output);
}
#endif

const struct {
  const char* name;
  void (*read)(const std::string& html);
} kReaders[] = {
    {"items", ReadItems},
    {"items, text", ReadText},
    {"all", ReadAll},
    {"pass", ReadPass},
#ifdef QM_WITH_LIBXML2
    {"libxml2 SAX", ReadXmlSax},
    {"libxml2 tree", ReadXmlTree},
#endif
#ifdef QM_WITH_GUMBO
    {"gumbo", ReadGumbo},
#endif
};

// ---- Real HTML

std::vector<std::string> LoadFolder(const char* path) {
  std::vector<std::string> names, texts;
  DIR* folder = opendir(path);
  for (const dirent* entry; folder && (entry = readdir(folder));) {
    const std::string name = entry->d_name;
    if (name.size() > 5 && name.substr(name.size() - 5) == ".html")
      names.push_back(name);
  }
  if (folder) closedir(folder);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    std::ifstream file(std::string(path) + "/" + name, std::ios::binary);
    texts.emplace_back(std::istreambuf_iterator<char>(file),
                       std::istreambuf_iterator<char>());
  }
  return texts;
}

void RaceReaders(const std::vector<std::string>& texts, int rounds,
                 const char* only) {
  const size_t count = sizeof kReaders / sizeof *kReaders;
  double best[count];
  std::fill(best, best + count, kNever);
  for (int round = 0; round < rounds; round++) {
    for (size_t reader = 0; reader < count; reader++) {
      if (only && strcmp(only, kReaders[reader].name) != 0) continue;
      const double start = Now();
      for (const std::string& text : texts) kReaders[reader].read(text);
      best[reader] = std::min(best[reader], Now() - start);
    }
  }
  size_t bytes = 0;
  for (const std::string& text : texts) bytes += text.size();
  printf("%zu files, %zu bytes, best of %d rounds\n", texts.size(), bytes,
         rounds);
  printf("%-14s %10s %10s %8s\n", "reader", "ms", "MB/s", "ratio");
  double first = 0;
  for (size_t reader = 0; reader < count; reader++) {
    if (best[reader] == kNever) continue;
    if (first == 0) first = best[reader];
    printf("%-14s %10.2f %10.1f %8.2f\n", kReaders[reader].name,
           best[reader] * 1e3, static_cast<double>(bytes) / best[reader] / 1e6,
           best[reader] / first);
  }
}

// ---- Hostile HTML

// Twice, and something for what leaves a cache.
const double kWorstRatio = 2.3;

// `head`, then `unit` over and over, with `tail` at the end.
const struct Shape {
  const char* name;
  const char* head;
  const char* unit;
  const char* tail;
} kShapes[] = {
    {"open comments", "", "<!--a>", ""},
    {"open comments, no >", "", "<!--a", ""},
    {"declarations", "", "<!", ""},
    {"comment of >", "<!--", ">", ""},
    {"comment of ->", "<!--", "->", "-->"},
    {"open elements", "", "<xml>", ""},
    {"open elements of all kinds", "",
     "<xml><title><style><script><textarea><comment>", ""},
    {"element of near ends", "<title>", "</titl", ""},
    {"element of open ends", "", "<title></title ", ""},
    {"elements of open ends", "<xml>", "</xml\t<xml></titlex>", ""},
    {"<", "", "<", ""},
    {"</", "", "</", ""},
    {"open quotes", "", "<a '", ""},
    {"open quotes, two kinds", "", "<a '<b \"", ""},
    {"quotes in a tag", "<a ", "' \" ", ""},
    {"one long name", "<", "a", ""},
    {"colons", "", "<a:", ""},
    {"&", "", "&", ""},
    {"&#", "", "&#", ""},
    {"& and letters", "", "&s", ""},
    {"&#0 without end", "", "&#0", ""},
    {"one long number", "&#", "0", "&"},
    {"one long hexadecimal", "&#x", "a", ""},
    {"entities at the end", "", "a", "&nbsp;&amp"},
    {"names of one attribute", "<a ", "src ", ">"},
    {"blanks behind a name", "<a ", "src      ", ">"},
    {"near names", "<a ", "sr", ">"},
    {"bare attributes", "<a ", "b ", ">"},
    {"equals signs", "<a ", "=", ">"},
    {"URL of percent signs", "<a href=", "%4", ">"},
    {"URL of backslashes", "<a href=", "\\/", ">"},
    {"URL of entities", "<a href=", "&#0", ">"},
    {"short tags", "", "<p>", ""},
    {"blanks", "", " \n", "x"},
    {"selectors of a rule", "<style>", "a,", "{color:red}</style>"},
    {"selectors without end", "<style>", ".a b:c#d ", "{color:red}</style>"},
    {"rules", "<style>", "p.c{color:1}", "</style>"},
    {"rules and tags", "", "<style>.c{color:1}</style><p class=c>", ""},
    {"comments in selectors", "<style>", "/**/.c{d:1}", "</style>"},
    {"open comments in selectors", "<style>", "a/*", "{b:c}</style>"},
    {"open rules", "<style>", "{", "</style>"},
    {"properties", "<p style='", "color:x;", "'>"},
    {"one long class", "<style>p{a:b}</style><p class=", "c", ">"},
    {"open tags", "", "<span>", ""},
    {"closing tags that match nothing", "", "<li></h1>", ""},
    {"closing tags that match late", "", "<div><span></div>", ""},
    {"open tables", "", "<table><tr><td>", ""},
    {"text that is not seen", "<font color=white>", "a.b <i>", ""},
};

void RunShape(void (*read)(const std::string&), const Shape& shape) {
  printf("%-30s", shape.name);
  const auto seconds = [&](size_t size) {
    const std::string text = Repeat(size, shape.head, shape.unit, shape.tail);
    return BestOf([&] { read(text); }, 5, 100, 0.1);
  };
  MeasureGrowth(seconds, 8, kWorstRatio);
}

void RunShapes(const char* name, void (*read)(const std::string&)) {
  PrintSizes((std::string("milliseconds of ") + name + " at").c_str(), 30, 8);
  for (const Shape& shape : kShapes) RunShape(read, shape);
  printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  const char* folder = nullptr;
  const char* only = nullptr;
  int rounds = 10;
  for (int i = 1; i < argc; i++) {
    if (strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, atoi(argv[++i]));
    } else if (strcmp(argv[i], "--reader") == 0 && i + 1 < argc) {
      only = argv[++i];
    } else if (argv[i][0] != '-' && !folder) {
      folder = argv[i];
    } else {
      fprintf(stderr, "usage: html_bench [DIR] [--rounds N] [--reader NAME]\n");
      return 64;
    }
  }
  if (folder) {
    const std::vector<std::string> texts = LoadFolder(folder);
    if (texts.empty()) {
      fprintf(stderr, "html_bench: no *.html in %s\n", folder);
      return 64;
    }
    RaceReaders(texts, rounds, only);
    printf("\n");
  }
  if (only) return 0;
  RunShapes("all", ReadAll);
  RunShapes("pass", ReadPass);
  return 0;
}
