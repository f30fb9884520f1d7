// The status of translations as a table for a terminal, a file or a pipe.

#ifndef ZDICT_STATUS_TABLE_H
#define ZDICT_STATUS_TABLE_H

#include <string>
#include <vector>

#include "status/language_status.h"

// Returns a row for each language. With a bar each row shows its share.
std::string AsTable(const std::vector<LanguageStatus>& languages, bool hasBar);

#endif
