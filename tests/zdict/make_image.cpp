// Writes a dictionary image to standard output.
//
// Usage: make_image 2 BIG_ENDIAN MARKER BASE LOCALE, or make_image 0|5 TEXT_FLAG for version 1.0
// or 1.5. Standard input has numbers in decimal: the count of the entries, and for each entry its
// key, text and comment, each as its length and its bytes or units.

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include "tests/support/DictionaryImage.h"

namespace
{
std::uint32_t ReadNumber()
{
    std::uint32_t number = 0;
    std::cin >> number;
    return number;
}

template <class Text> Text ReadText()
{
    Text text(ReadNumber(), 0);
    for (auto& unit : text)
        unit = static_cast<typename Text::value_type>(ReadNumber());
    return text;
}
} // namespace

int main(int, char** arguments)
{
#if defined(_WIN32)
    _setmode(1, _O_BINARY); // stdout
#endif
    const int form = std::atoi(arguments[1]);
    const auto option = static_cast<std::uint8_t>(std::atoi(arguments[2]));
    std::vector<ImageEntry> entries(ReadNumber());
    for (ImageEntry& entry : entries)
        entry = {ReadText<std::string>(), ReadText<std::u16string>(), ReadText<std::u16string>()};
    if (form == 0)
        std::cout << BuildEntries(entries, option).Image();
    else if (form == 5)
        std::cout << BuildLengthTable(entries, option).Image();
    else
        std::cout << BuildFlat(entries, {7, option != 0, arguments[5],
                                         static_cast<std::uint32_t>(std::stoul(arguments[4])),
                                         *arguments[3]})
                         .Image();
}
