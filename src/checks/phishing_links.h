// What both checks for phishing ask of a link, and what they score. Bodies in
// phishing.cc.

#ifndef CHECKS_PHISHING_LINKS_H_
#define CHECKS_PHISHING_LINKS_H_

#include <stdint.h>

#include "content/block_url.h"

const int32_t kPhishingScore = 400;

// Whether the link to a host without a name is suspect by itself. One with a
// short path may lead to the front page of somebody's own machine; and a
// message with many links that has one of these is no lure.
bool IsSuspectIpLink(const TBLOCKURL& link, int32_t linkCount);
// Whether the link leads to a program that honest mail links to and that often
// stands on a host without a name: phone messages, cached pages, web mail.
bool IsServiceLink(const TBLOCKURL& link);

#endif  // CHECKS_PHISHING_LINKS_H_
