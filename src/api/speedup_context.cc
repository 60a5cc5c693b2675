// Building and destroying the speedup context. Tested by
// speedup_context_test.cc.
//
// A patch list that cannot be used leaves the library's own dictionary in
// force, silently: a host has nobody to tell. `quaymarsh dict` says why.

#include "api/speedup_context.h"

#include <stdio.h>
#include <sys/stat.h>

#include <new>

#include "base/block.h"
#include "base/vectors.h"
#include "regex/regex_pool.h"
#include "rules/kw_patch.h"
#include "rules/qm_dico.h"
#include "rules/url_blacklist.h"

namespace {

const char kProfileFile[] = "/etc/oakrun/quaymarsh/profile.txt";
const int kMaxProfileLine = 10240;  // bytes, the NUL included

// Replaces the reader's dictionary by the one that a patch list makes, when
// there is a list and all of it can be carried out.
void ApplyPatchList(TQMDICO& dico, const char* directory) {
  BLOCK* image = new (std::nothrow) BLOCK(0, BLOCK::_DEFALLOCSIZE);
  if (!image) return;
  if (LoadPatchedKeywords(image, directory))
    dico.loadKeywordsFromBlock(image);  // takes it over
  else
    delete image;
}

// Fills a context's pool, stuff and blacklist.
void BuildParts(SPEEDUPCONTEXT* context, REGEXPOOL* pool,
                const char* directory) {
  pool->addAllHardCodedRegexes();
  TQMDICO dico(pool, nullptr);
  ApplyPatchList(dico, directory);
  dico.precompileRegexesIntoPool();
  dico.prepareRules();
  context->pool = pool;
  context->stuff = dico.stuff;
  dico.sharedStuff = 1;  // so that the context's stuff outlives the reader
  context->blacklist = new (std::nothrow) UrlBlacklist(&dico);
}

}  // namespace

SPEEDUPCONTEXT::SPEEDUPCONTEXT()
    : pool(nullptr), stuff(nullptr), blacklist(nullptr) {}

// In this order: the stuff's patterns stand in the pool.
SPEEDUPCONTEXT::~SPEEDUPCONTEXT() {
  delete stuff;
  delete pool;
  delete blacklist;
}

void ReadProfileFile(const char* path, STR& profile) {
  profile = "";
  struct stat info;
  if (stat(path, &info) != 0 || !S_ISREG(info.st_mode)) return;
  FILE* file = fopen(path, "rb");
  if (!file) return;
  char buffer[kMaxProfileLine];
  if (fgets(buffer, sizeof buffer, file)) {
    TBLOCK line(buffer);
    line.trim();
    profile = line;
  }
  fclose(file);
}

SPEEDUPCONTEXT* CreateSpeedupContext(const char* directory) {
  REGEXPOOL* pool = new (std::nothrow) REGEXPOOL;
  SPEEDUPCONTEXT* context = new (std::nothrow) SPEEDUPCONTEXT;
  if (!context) {
    delete pool;
    return nullptr;
  }
  if (pool) BuildParts(context, pool, directory);
  ReadProfileFile(kProfileFile, context->profile);
  // A string counts its length when it is first asked for, which writes. From
  // here on scans only read.
  context->profile.len();
  return context;
}
