// The lists from the dictionary and from the external files.

#include "rules/url_blacklist.h"

UrlBlacklist::UrlBlacklist(TQMDICO* /*dico*/) {}
