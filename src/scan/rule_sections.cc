// Rule sections: walking the expressions of a dictionary section. There is no
// dictionary to walk yet, and an absent section is no match.

#include "scan/tqmmsg.h"

int TQMMSG::checkRuleSection(const char* /*section*/, int /*stop*/) {
  return 0;
}

int TQMMSG::testRuleSection(const char* /*section*/) {
  return 0;
}

int TQMMSG::matchRuleSection(const char* /*section*/, STR& /*name*/) {
  return 0;
}
