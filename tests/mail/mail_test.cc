// Whole messages against what a scan of them gives. A file NAME.eml holds
// cases, each a line "From CASE [now=SECONDS] [user=ADDRESS] [profile=WORDS]
// [list=LINE,LINE] [params=LINE]" and a message behind it; NAME.ref holds, for
// each case, state and score and the cause's entries; NAME.sections, where
// there is one, the dictionary in the form of rules/source_util.h. Nothing of
// the built-in dictionary is read. tests/mail/approve writes the .ref files
// anew, to be looked at by diff.

#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "dump/dump.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kFolder[] = "tests/mail/";
// 2008-01-10 21:20:00 UTC: the time of day for cases that do not name one.
const int64_t kDefaultNow = 1200000000;

struct Case {
  std::string name, user, profile, list, params, text;
  int64_t now = kDefaultNow;
};

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<Case> ReadCases(const std::string& path) {
  std::istringstream in(ReadFile(path));
  std::vector<Case> cases;
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("From ", 0) != 0) {
      if (!cases.empty()) cases.back().text += line + "\n";
      continue;
    }
    std::istringstream words(line.substr(5));
    Case c;
    words >> c.name;
    for (std::string word; words >> word;) {
      if (word.rfind("now=", 0) == 0) c.now = atoll(word.c_str() + 4);
      if (word.rfind("user=", 0) == 0) c.user = word.substr(5);
      if (word.rfind("profile=", 0) == 0) c.profile = word.substr(8);
      if (word.rfind("list=", 0) == 0) c.list = word.substr(5);
      if (word.rfind("params=", 0) == 0) c.params = word.substr(7);
    }
    std::replace(c.list.begin(), c.list.end(), ',', '\n');
    cases.push_back(c);
  }
  return cases;
}

// "CASE: state 1, score 303" and a line for each entry of the cause.
std::string Verdict(const Case& c, const std::string& sections) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, sections));
  m->fixedTime = c.now;
  m->setProfileInfo(0, c.profile.c_str());
  m->setParams(c.params.c_str());
  m->loadFromBlock(TBLOCK(c.text.data(), static_cast<uint32_t>(c.text.size())),
                   c.user.c_str(), 0);
  const uint32_t wanted = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION;
  const QMGLOBALSETUP globalSetup = {8, wanted};
  const QMUSERSETUP userSetup = {20, -100, 200, 0, wanted};
  m->check(&globalSetup, &userSetup, TBLOCK(c.list.c_str()), TBLOCK(), 1, 0,
           c.user.c_str(), 0);
  std::string verdict = c.name + ": state " + std::to_string(m->ledger.state) +
                        ", score " + std::to_string(m->ledger.score) + "\n";
  TBLOCK rest = m->ledger.cause.view();
  while (!rest.empty())
    verdict +=
        "  " + EscapeBytes(TBLOCK::BlockBeforeChar(rest, ';', 0, 0)) + "\n";
  return verdict;
}

std::vector<std::string> GroupNames() {
  std::vector<std::string> names;
  DIR* folder = opendir(kFolder);
  if (!folder) return names;
  while (const dirent* entry = readdir(folder)) {
    const std::string name = entry->d_name;
    if (name.size() > 4 && name.substr(name.size() - 4) == ".eml")
      names.push_back(name.substr(0, name.size() - 4));
  }
  closedir(folder);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

TEST(MailTest, VerdictsAreAsApproved) {
  const std::vector<std::string> names = GroupNames();
  ASSERT_FALSE(names.empty());
  for (const std::string& name : names) {
    const std::string path = kFolder + name;
    const std::string sections = ReadFile(path + ".sections");
    std::string verdicts;
    for (const Case& c : ReadCases(path + ".eml"))
      verdicts += Verdict(c, sections);
    if (getenv("QM_APPROVE"))
      std::ofstream(path + ".ref", std::ios::binary) << verdicts;
    else
      EXPECT_EQ(ReadFile(path + ".ref"), verdicts) << name;
  }
}
