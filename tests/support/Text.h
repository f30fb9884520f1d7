// Texts in tests: conversions, expectations, the active code page and the language.

#ifndef TESTS_SUPPORT_TEXT_H
#define TESTS_SUPPORT_TEXT_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Types.h"
#include "U_ZString.h"
#include "tests/support/DictionaryImage.h"

inline U_UTF16String Units(std::u16string_view text)
{
    return U_UTF16String(text.begin(), text.end());
}

// Returns the text in UTF-8.
inline std::string Narrow(const U_UTF16String& text)
{
    const U_UTF8String bytes = U_UTF16To8String(text);
    return std::string(bytes.begin(), bytes.end());
}

inline U_UTF8String Bytes(std::string_view text)
{
    return U_UTF8String(text.begin(), text.end());
}

// Expects that the two texts of each row are equal.
inline void ExpectTexts(const std::vector<std::pair<std::string, std::string>>& rows)
{
    for (const auto& row : rows)
        EXPECT_EQ(row.first, row.second) << "row " << &row - rows.data();
}

inline U_Status LoadDictionary(DictionaryImage& image)
{
    return U_ZStringSetCurrentDictionary(image.units.data(), image.size);
}

// Another active code page until the scope ends.
class ScActiveCodePage
{
public:
    explicit ScActiveCodePage(unsigned int codePage) { platform::SetActiveCodePage(codePage); }
    ~ScActiveCodePage() { platform::SetActiveCodePage(1252); }
    ScActiveCodePage(const ScActiveCodePage&) = delete;
    ScActiveCodePage& operator=(const ScActiveCodePage&) = delete;
};

#endif
