#include "lint/languages.h"

#include <algorithm>
#include <iterator>

namespace
{
struct CodePageRow
{
    unsigned int mCodePage;
    const char* mLanguages; // each between blanks
};

const CodePageRow kRows[] = {
    {932, " ja "},
    {949, " ko "},
    {1250, " bs cs hr hu pl ro sk sl sq "},
    {1251, " be bg kk ky mk mn ru sr tt uk "},
    {1252, " af br ca co cy da de en es eu fi fo fr fy ga gd gl id is it lb ms nb nl nn no oc pt "
           "rm sv sw "},
    {1253, " el "},
    {1254, " az tr uz "},
    {1255, " he yi "},
    {1256, " ar fa ug ur "},
    {1257, " et lt lv "},
    {1258, " vi "},
};

const unsigned int kLatinOfSerbia = 1250;
const unsigned int kCyrillic = 1251;

bool IsSeparator(char unit)
{
    return unit == '_' || unit == '-' || unit == '.' || unit == '@';
}

// Returns whether a locale names a script, as in sr_Latn_RS, or by a modifier, as in sr_RS@latin.
bool NamesScript(const std::string& locale, const char* code, const char* modifier)
{
    return locale.find(code) != std::string::npos || locale.find(modifier) != std::string::npos;
}

// Returns the part of the name before the last of the characters, or all of it.
std::string Head(const std::string& name, char last)
{
    return name.substr(0, name.rfind(last));
}
} // namespace

unsigned int CodePageOfLocale(const std::string& locale)
{
    const auto end = std::find_if(locale.begin(), locale.end(), IsSeparator);
    const std::string language(locale.begin(), end);
    if (language == "zh")
    {
        const bool isTraditional = locale.find("TW") != std::string::npos ||
                                   locale.find("HK") != std::string::npos ||
                                   locale.find("Hant") != std::string::npos;
        return isTraditional ? 950 : 936;
    }
    if (language == "sr" && NamesScript(locale, "Latn", "@latin"))
        return kLatinOfSerbia;
    if (NamesScript(locale, "Cyrl", "@cyrillic"))
        return kCyrillic;
    const std::string pattern = " " + language + " ";
    for (const CodePageRow& row : kRows)
    {
        if (std::string(row.mLanguages).find(pattern) != std::string::npos)
            return row.mCodePage;
    }
    return 0;
}

std::string LocaleOfFile(const std::string& fileName)
{
    std::string name = fileName.substr(fileName.find_last_of("/\\") + 1);
    name = Head(name, '.');
    // The longest end that is a locale: de_DE before DE.
    std::size_t start = 0;
    while (start < name.size())
    {
        std::string end = name.substr(start);
        const std::size_t length = static_cast<std::size_t>(
            std::find_if(end.begin(), end.end(), IsSeparator) - end.begin());
        const bool isRegion = length == end.size() || end.size() - length <= 9; // _Latn_RS
        if (length == 2 && isRegion && CodePageOfLocale(end))
            return end;
        const std::size_t separator = name.find_first_of("_-.", start);
        if (separator == std::string::npos)
            return std::string();
        start = separator + 1;
    }
    return std::string();
}
