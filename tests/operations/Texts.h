// Texts for operations: a module's table, texts of dictionaries and in buffers, and a comparison
// that allocates nothing.

#ifndef TESTS_OPERATIONS_TEXTS_H
#define TESTS_OPERATIONS_TEXTS_H

#include <algorithm>
#include <string_view>

#include "U_LStr.h"
#include "U_ZString.h"
#include "tests/operations/Operations.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

// A table with one row.
struct Table : U_LStrCache
{
    Table() : U_LStrCache{sName, 2, rows, 0} {}

    static constexpr const char* kText = "the text of a row that is looked up";
    static inline char sName[] = "Table";
    static inline char sZString[] = "$$$/operations/row=the text of a row that is looked up";
    U_LStrRow rows[2] = {{sZString, nullptr, nullptr, 0}, {}};
};

inline bool IsAscii(const U_UTF16String& text, std::string_view expected)
{
    return std::equal(text.begin(), text.end(), expected.begin(), expected.end());
}

// Loads the dictionary and looks a text up. Without memory the load returns the code 4.
inline Outcome OfTextFrom(DictionaryImage& image, const char* zstring, std::string_view expected)
{
    const U_Status code = LoadDictionary(image);
    return code == U_Err_OutOfMemory
               ? kCode4
               : RightIf(code == 0 && IsAscii(U_ZStringToUTF16String(zstring), expected));
}

// Runs a body that changes a text in a buffer. A failure must leave the buffer as it was, or
// empty.
template <class Body>
Outcome InBuffer(std::string_view before, std::string_view expected, Body body)
{
    char text[256] = "";
    before.copy(text, sizeof(text) - 1);
    const U_Status code = body(text);
    return OfCode(code, text == expected, !*text || text == before);
}

#endif
