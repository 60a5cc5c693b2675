// Images of the rule dictionary: loaded, in either byte order, and asked
// everything, with the image's own strings as texts.

#include <stdint.h>

#include "regex/regex_pool.h"
#include "rules/ask_dictionary.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kNames[] = {"param", "words", "strings",    "hashed",
                                       "md5",   "named", "regex",      "sorted",
                                       "lists", "rule",  "BrackenUrls"};
  const uint32_t n = static_cast<uint32_t>(size);
  BLOCK* block = new BLOCK(n, 0);
  block->add(data, n);
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  if (!dico.loadKeywordsFromBlock(block)) return 0;
  dico.precompileRegexesIntoPool();
  const TBLOCK text = dico.image().text;
  AskDictionary(dico, kNames, sizeof kNames / sizeof *kNames,
                TBLOCK("a cialis aab version=1"));
  AskDictionary(dico, kNames, sizeof kNames / sizeof *kNames, text.head(60));
  return 0;
}
