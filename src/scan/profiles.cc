// The words that rules can test to learn where, for whom and when a scan runs.
// Entry point: TQMMSG::buildProfils. Tested by filters_test.cc.

#include <stdio.h>
#include <time.h>

#include "scan/tqmmsg.h"

namespace {

// The zones of a country, in seconds west of Greenwich, without daylight
// saving.
const long kFirstUsZone = 14400;
const long kLastUsZone = 28800;

// Middles of January and July 2026: in one of them clocks go by the zone's own
// time, north or south of the equator.
const time_t kSeasons[] = {1768478400, 1784116800};

// Rules ask for these, whatever the language that the host has set.
const char kDays[7][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

// The host's zone. This is what tzset leaves in `timezone`; but that writes
// what scans in other threads read, and looks for the zone's file each time. A
// host that moves to another zone while it runs calls tzset itself.
long SecondsWest() {
  for (const time_t season : kSeasons) {
    struct tm parts;
    if (localtime_r(&season, &parts) && parts.tm_isdst == 0)
      return -parts.tm_gmtoff;
  }
  return 0;
}

}  // namespace

void TQMMSG::buildProfils() {
  profiles.clear();
  const long west = SecondsWest();
  const bool american = west >= kFirstUsZone && west <= kLastUsZone;
  countryProfile = american ? "US" : "";
  // An empty one is added too.
  profiles.add(countryProfile.view(), 1, 0);

  // Of a copy: the host may set another profile while the views live.
  profileWords = profile;
  TBLOCK rest = profileWords.view();
  rest.trim();
  while (!rest.empty())
    profiles.add(TBLOCK::BlockBeforeChar(rest, ',', 1, 0), 1, 0);

  addRuleProfiles();

  char hour[32] = "";
  const time_t now = static_cast<time_t>(presentTime());
  struct tm parts;
  if (gmtime_r(&now, &parts))
    snprintf(hour, sizeof hour, "%02d:%s", parts.tm_hour, kDays[parts.tm_wday]);
  timeProfile = hour;
  profiles.add(timeProfile.view(), 1, 0);
}

// The names of the rules of one section that the header fulfils; an unnamed one
// adds the empty name. Nothing else of the message is parsed yet. A rule may
// ask for the names that came before its own.
void TQMMSG::addRuleProfiles() {
  const TQKSECTION* section = dico.findSection("Profils");
  const uint32_t n = dico.image().lineCountOf(section);
  for (uint32_t i = 0; i < n; i++) {
    TBLOCK name;
    if (checkRuleLine(dico.image().sectionLine(section, i), name, 0) <= 0)
      continue;
    profiles.add(name, 1, 0);
    dropRegexFields();
  }
}

bool TQMMSG::hasProfile(const char* word) const {
  for (int32_t i = 0; i < profiles.count(); i++)
    if (profiles.get(i).equals(word)) return true;
  return false;
}
