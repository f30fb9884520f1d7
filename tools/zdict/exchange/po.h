// Catalogues as PO, by gettext's own library.
//
// msgctxt is the key, msgid the English text and msgstr the translation.

#ifndef ZDICT_EXCHANGE_PO_H
#define ZDICT_EXCHANGE_PO_H

#include <string>

#include "exchange/catalogue.h"
#include "files.h"

enum class POForm
{
    kTranslation,
    kTemplate // without translations
};

// Calls the function for each entry of PO in any charset that iconv converts. Plural forms are
// reported and left out.
//
// Throws: Failure. Each fault is reported with its place.
void ReadPO(const InputFile& file, const OnEntry& onEntry);

// Returns whether a line of a comment ends in a backslash, perhaps before blanks. In PO, it has one
// blank more, since a backslash at its end would continue the line.
bool EndsInBackslash(const std::string& line);

// The beginning of a line of the translator's comment that has the flags which gettext's tools
// drop, as no-untranslated.
extern const std::string kFlagsLine;

// Returns a PO file of UTF-8.
//
// - A translation that begins or ends with a line feed where the English text does not, or the
//   other way round, is reported and marked as fuzzy, since msgfmt refuses such a text.
// - An entry with fields as %s is marked as c-format if msgfmt accepts its translation.
//
// Throws: Failure.
std::string WritePO(const Catalogue& catalogue, POForm form);

#endif
