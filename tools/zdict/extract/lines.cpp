#include "extract/lines.h"

#include <algorithm>
#include <cstring>

std::uint64_t Lines::LineOf(const char* byte)
{
    if (byte < mCounted)
    {
        mLine -= static_cast<std::uint64_t>(std::count(byte, mCounted, '\n'));
        mCounted = mLineBegin = byte;
        while (mLineBegin != mSource && mLineBegin[-1] != '\n')
            --mLineBegin;
    }
    while (const void* const found =
               std::memchr(mCounted, '\n', static_cast<std::size_t>(byte - mCounted)))
    {
        mCounted = mLineBegin = static_cast<const char*>(found) + 1;
        ++mLine;
    }
    mCounted = byte;
    return mLine;
}

std::uint64_t Lines::ColumnOf(const char* byte)
{
    LineOf(byte);
    return static_cast<std::uint64_t>(byte - mLineBegin) + 1;
}
