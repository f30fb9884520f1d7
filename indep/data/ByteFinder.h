// A search for a few bytes in long runs of others, with what vectors the
// processor has. Any thread.

#ifndef INDEP_DATA_BYTE_FINDER_H
#define INDEP_DATA_BYTE_FINDER_H

#include <array>
#include <string_view>

class ByteFinder
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

#endif
