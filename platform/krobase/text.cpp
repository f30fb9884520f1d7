#include "text.h"

#include <algorithm>
#include <new>

#include <platform/base/code_units.h>
#include <win32/text.h>

namespace krobase
{
namespace utility
{
namespace
{
const std::size_t kPiece = 1u << 28; // units; the length of their UTF-8 fits an int

// Returns whether the position is between the halves of a surrogate pair.
bool IsInsidePair(const UTF16String& text, std::size_t position)
{
    return position > 0 && position < text.size() &&
           platform::IsHighSurrogate(text[position - 1]) &&
           platform::IsLowSurrogate(text[position]);
}

// Returns the number of units in the first `count` characters.
std::size_t UnitsOfCharacters(const UTF16String& text, unsigned int count)
{
    std::size_t units = 0;
    for (; count && units < text.size(); --count)
        units += IsInsidePair(text, units + 1) ? 2 : 1;
    return units;
}
} // namespace

UTF16String TruncateStringToNumChars(const UTF16String& text, unsigned int count,
                                     bool countCharacters)
{
    if (text.size() <= count)
        return text;
    std::size_t units = countCharacters ? UnitsOfCharacters(text, count) : count;
    if (IsInsidePair(text, units))
        --units;
    return text.substr(0, units);
}

UTF8String UTF16to8(const UTF16String& text)
{
    UTF8String bytes;
    for (std::size_t start = 0; start < text.size();)
    {
        std::size_t end = std::min(text.size(), start + kPiece);
        if (IsInsidePair(text, end))
            --end;
        const int count = static_cast<int>(end - start);
        const std::size_t done = bytes.size();
        const int room = win32::WideCharToMultiByte(win32::kCodePageUTF8, 0, &text[start], count,
                                                    nullptr, 0, nullptr, nullptr);
        bytes.resize(done + static_cast<std::size_t>(room));
        win32::WideCharToMultiByte(win32::kCodePageUTF8, 0, &text[start], count,
                                   reinterpret_cast<char*>(&bytes[done]), room, nullptr, nullptr);
        start = end;
    }
    return bytes;
}

void* SmallBlockAllocator::Allocate(std::size_t size)
{
    return ::operator new(size); // the C library has a cache of small blocks per thread
}

void SmallBlockAllocator::Dispose(void* block)
{
    ::operator delete(block);
}
} // namespace utility
} // namespace krobase
