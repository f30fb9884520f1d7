// Catalogues as XLIFF 1.2 and 2.0.
//
// The key is the attribute resname of a trans-unit of XLIFF 1.2, and the attribute name of a unit
// of XLIFF 2.0. Characters that XML can't hold are inline elements: <x ctype="x-char"
// equiv-text="#{8}"/> in XLIFF 1.2, <cp hex="0008"/> in XLIFF 2.0.

#ifndef ZDICT_EXCHANGE_XLIFF_H
#define ZDICT_EXCHANGE_XLIFF_H

#include <string>

#include "exchange/catalogue.h"
#include "files.h"

enum class XLIFFVersion
{
    k12,
    k20
};

// Calls the function for each unit of XLIFF 1.1, 1.2, 2.0 or 2.1, of this program or of another
// one.
//
// - Annotations are dropped, and codes with their text inside are read as that text. Any other
//   inline element is refused, since its text is not in the file.
// - A translation is fuzzy if its state or its unit says that it is not done.
//
// Throws: Failure, with the place of the fault.
void ReadXLIFF(const InputFile& file, const OnEntry& onEntry);

// Returns an XLIFF document in UTF-8.
//
// Throws: Failure for a key that XML can't hold.
std::string WriteXLIFF(const Catalogue& catalogue, XLIFFVersion version);

#endif
