// The formats of catalogues.

#ifndef ZDICT_EXCHANGE_FORMATS_H
#define ZDICT_EXCHANGE_FORMATS_H

#include <string>
#include <vector>

#include "exchange/catalogue.h"
#include "files.h"

std::vector<std::string> FormatNames(); // po, pot, xliff1 and xliff2

// Returns a file of the format. Throws: Failure.
std::string WriteCatalogue(const Catalogue& catalogue, const std::string& format);

// Calls the function for each entry of a file of the format, or of the format that its content has
// if `format` is empty.
//
// Throws: Failure.
void ReadCatalogue(const InputFile& file, const std::string& format, const OnEntry& onEntry);

#endif
