// UTF-16 literals of the source code.

#ifndef INDEP_FRAME_UTF16_LITERAL_H
#define INDEP_FRAME_UTF16_LITERAL_H

#include <cstddef>

// A literal u"..." as code units of the library's own type, with the terminator.
template <std::size_t size> struct UTF16Literal
{
    constexpr UTF16Literal(const char16_t (&literal)[size]) // NOLINT: reads as the literal
    {
        for (std::size_t i = 0; i < size; ++i)
            mUnits[i] = static_cast<unsigned short>(literal[i]);
    }

    unsigned short mUnits[size] = {};
};

#endif
