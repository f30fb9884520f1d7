// A search for a few bytes in long runs of others, with what vectors the
// processor has. Any thread.

#ifndef PLATFORM_BYTE_FINDER_H
#define PLATFORM_BYTE_FINDER_H

#include <array>
#include <string_view>

#include "export.h"

namespace platform
{
class PLATFORM_EXPORT ByteFinder
{
public:
    // Finds the bytes below 0x20 and the marks, of which there are one to five.
    explicit ByteFinder(std::string_view marks);

    // The first of them, last if there is none.
    const unsigned char* Find(const unsigned char* first, const unsigned char* last) const;

    typedef std::array<unsigned char, 5> Marks;

private:
    Marks mMarks; // some more than once if there are fewer
};
} // namespace platform

#endif
