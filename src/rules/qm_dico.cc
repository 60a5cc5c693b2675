// The dictionary reader.

#include "rules/qm_dico.h"

#include <new>

TQMDICO::TQMDICO(REGEXPOOL* poolToUse, HSTUFF* stuffToShare)
    : stuff(stuffToShare),
      sharedStuff(stuffToShare != nullptr),
      pool(poolToUse) {
  if (!sharedStuff) stuff = new (std::nothrow) HSTUFF;
}

TQMDICO::~TQMDICO() {
  if (!sharedStuff) delete stuff;
}

TBLOCK TQMDICO::version() const {
  return stuff ? stuff->version.view() : TBLOCK();
}

int TQMDICO::loadKeywordsFromFile(const char* /*path*/) {
  return 0;
}

int TQMDICO::anyWarning(STR& /*text*/) const {
  return 0;
}

void TQMDICO::clearMatchCount(const char* /*section*/) {}

void TQMDICO::precompileRegexesIntoPool() {}
