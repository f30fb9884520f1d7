// Parameters and placeholders in texts.

#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

#include "hollin/ZString.h"

namespace hollin
{
namespace
{
bool Follows(const std::uint16_t* units, const std::uint16_t* end, const std::string& expected)
{
    if (static_cast<std::size_t>(end - units) < expected.size())
        return false;
    for (char character : expected)
    {
        if (*units++ != static_cast<unsigned char>(character))
            return false;
    }
    return true;
}

// Finds placeholders such as <param name="NAME"/>, with optional spaces between their pieces.
//
// A mismatch skips the text up to and including the wrong character, so that the search takes
// linear time.
class PlaceholderSearch
{
public:
    PlaceholderSearch(const std::uint16_t* units, const std::uint16_t* end, const char* name)
        : mPieces{"<", "param", "name", "=", '"' + std::string(name) + '"', "/>"}, mUnits(units),
          mEnd(end)
    {
    }

    // Finds the next placeholder, at Begin() and End(). Returns false at the end of the text.
    bool Next()
    {
        std::size_t piece = 0;
        while (piece < std::size(mPieces))
        {
            while (piece && mUnits != mEnd && IsSpace(*mUnits))
                ++mUnits;
            if (mUnits == mEnd)
                return false;
            if (piece == 0)
                mBegin = mUnits;
            const bool follows = Follows(mUnits, mEnd, mPieces[piece]);
            mUnits += follows ? mPieces[piece].size() : 1;
            piece = follows ? piece + 1 : 0;
        }
        return true;
    }

    const std::uint16_t* Begin() const { return mBegin; }
    const std::uint16_t* End() const { return mUnits; }

private:
    const std::string mPieces[6];
    const std::uint16_t* mBegin = nullptr;
    const std::uint16_t* mUnits;
    const std::uint16_t* const mEnd;
};
} // namespace

unsigned int ZString::HasParameter(int n) const
{
    if (n < 0 || n > 9)
        return 0;
    unsigned int count = 0;
    const std::uint16_t* units = Data();
    for (std::uint32_t i = 1; i < Length(); ++i)
    {
        if (units[i - 1] == '^' && units[i] == '0' + n)
            ++count;
    }
    return count;
}

void ZString::ReplaceParameter(int n, const ZString& text)
{
    if (!HasParameter(n))
        return;
    const std::uint16_t* units = Data();
    const std::uint16_t* const end = units + Length();
    std::vector<std::uint16_t> result;
    result.reserve(Length() + text.Length());
    while (units != end)
    {
        if (*units == '^' && end - units > 1 && units[1] == '0' + n)
        {
            result.insert(result.end(), text.Data(), text.Data() + text.Length());
            units += 2;
            continue;
        }
        result.push_back(*units++);
    }
    Assign(result.data(), result.size());
}

bool ZString::ReplaceXMLParameter(const char* name, const ZString& text, int occurrence)
{
    if (!name || occurrence < 1)
        return false;
    const std::uint16_t* const end = Data() + Length();
    PlaceholderSearch search(Data(), end, name);
    for (int found = 0; found < occurrence; ++found)
    {
        if (!search.Next())
            return false;
    }
    std::vector<std::uint16_t> result(Data(), search.Begin());
    result.insert(result.end(), text.Data(), text.Data() + text.Length());
    result.insert(result.end(), search.End(), end);
    Assign(result.data(), result.size());
    return true;
}
} // namespace hollin
