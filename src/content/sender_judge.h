// Judgements on one mailbox: whether the address fits the display name, and
// whether both look made up.

#ifndef CONTENT_SENDER_JUDGE_H_
#define CONTENT_SENDER_JUDGE_H_

#include <stdint.h>

#include "content/mailbox.h"

// 1 for an address that names a role: "sales", "noreply".
int CheckCommonEmail(const TMAILBOX& box);
// 1 when the display name explains the address, -1 when it has nothing to
// compare, 0 when it says nothing.
int CheckEmailScheme(const TMAILBOX& box);
// 0 for a harmless mailbox, else which kind of forgery, 1 to 5.
int CheckForgedMailBox(const TMAILBOX& box);
// How the words of the name lie in the local part: above 0 a layout, 0 nothing
// to judge, -1 none.
int GetFallScheme(const TMAILBOX& box);

#endif  // CONTENT_SENDER_JUDGE_H_
