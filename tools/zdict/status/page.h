// The status of translations as one page of HTML.

#ifndef ZDICT_STATUS_PAGE_H
#define ZDICT_STATUS_PAGE_H

#include <string>
#include <vector>

#include "status/language_status.h"

// Returns a page that needs no other file, in UTF-8. `english` is the name of the English file.
std::string AsPage(const std::vector<LanguageStatus>& languages, const std::string& english);

#endif
