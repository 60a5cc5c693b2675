// Mailboxes that look made up. Tested by sender_judge_test.cc.

#include "content/sender_judge.h"

int CheckCommonEmail(const TMAILBOX&) {
  return 0;
}
int CheckEmailScheme(const TMAILBOX&) {
  return 0;
}
int CheckForgedMailBox(const TMAILBOX&) {
  return 0;
}
int GetFallScheme(const TMAILBOX&) {
  return 0;
}
