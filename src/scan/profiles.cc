// The words that rules can test to learn where, for whom and when a scan runs.
// Entry point: TQMMSG::buildProfils. Tested by section_scores_test.cc.

#include <time.h>

#include "scan/tqmmsg.h"

namespace {

// The zones of a country, in seconds west of Greenwich, without daylight
// saving.
const long kFirstUsZone = 14400;
const long kLastUsZone = 28800;

}  // namespace

void TQMMSG::buildProfils() {
  profiles.clear();
  tzset();
  const bool american = timezone >= kFirstUsZone && timezone <= kLastUsZone;
  countryProfile = american ? "US" : "";
  // An empty one is added too.
  profiles.add(countryProfile.view(), 1, 0);

  // Of a copy: the host may set another profile while the views live.
  profileWords = profile;
  TBLOCK rest = profileWords.view();
  rest.trim();
  while (!rest.empty())
    profiles.add(TBLOCK::BlockBeforeChar(rest, ',', 1, 0), 1, 0);

  // The rules of the section "Profils" add their names here.

  char hour[32] = "";
  const time_t now = time(nullptr);
  struct tm parts;
  if (gmtime_r(&now, &parts)) strftime(hour, sizeof hour, "%H:%a", &parts);
  timeProfile = hour;
  profiles.add(timeProfile.view(), 1, 0);
}
