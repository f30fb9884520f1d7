#include "indep/data/ByteFinder.h"

#include <algorithm>
#include <cstddef>

namespace
{
typedef unsigned char Byte;
typedef ByteFinder::Marks Marks;

const std::ptrdiff_t kBlock = 128;

// Non-zero for a byte to be found. Without a branch, for the compiler to make
// vectors of.
inline Byte Matches(Byte byte, const Marks& marks)
{
    int found = byte < 0x20;
    found |= byte == marks[0];
    found |= byte == marks[1];
    found |= byte == marks[2];
    found |= byte == marks[3];
    found |= byte == marks[4];
    return static_cast<Byte>(found);
}

// Behind the blocks that have none of the bytes.
[[gnu::always_inline]] inline const Byte* SkipBlocks(const Byte* at, const Byte* end, Marks marks)
{
    for (; end - at >= kBlock; at += kBlock)
    {
        Byte found = 0;
        for (std::ptrdiff_t i = 0; i < kBlock; ++i)
            found = static_cast<Byte>(found | Matches(at[i], marks));
        if (found)
            break;
    }
    return at;
}

const Byte* SkipBlocksAnywhere(const Byte* at, const Byte* end, const Marks& marks)
{
    return SkipBlocks(at, end, marks);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] const Byte* SkipBlocksWithAVX2(const Byte* at, const Byte* end,
                                                       const Marks& marks)
{
    return SkipBlocks(at, end, marks);
}

const auto sSkipBlocks = __builtin_cpu_supports("avx2") ? &SkipBlocksWithAVX2 : &SkipBlocksAnywhere;
#else
const auto sSkipBlocks = &SkipBlocksAnywhere;
#endif
} // namespace

ByteFinder::ByteFinder(std::string_view marks)
{
    for (std::size_t i = 0; i < mMarks.size(); ++i)
        mMarks[i] = static_cast<Byte>(marks[std::min(i, marks.size() - 1)]);
}

const Byte* ByteFinder::Find(const Byte* first, const Byte* last) const
{
    return std::find_if(sSkipBlocks(first, last, mMarks), last,
                        [this](Byte byte) { return Matches(byte, mMarks) != 0; });
}
