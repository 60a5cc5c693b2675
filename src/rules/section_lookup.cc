// Lookups in dictionary sections by name. There is no image to look in yet,
// and an absent section is no match.

#include "rules/qm_dico.h"

int TQMDICO::matchRegex(const char* /*section*/, TBLOCK /*text*/,
                        const TQKLINE*& /*line*/) {
  return 0;
}

int TQMDICO::matchFirstNamedRegex(const char* /*section*/, TBLOCK /*text*/,
                                  TBLOCK& /*name*/) {
  return 0;
}
