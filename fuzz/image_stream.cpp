// Does a load from a stream agree with a load from memory?

#include <algorithm>
#include <cstddef>
#include <istream>
#include <streambuf>

#include "load.h"

namespace
{
// The bytes of an input. Gives them in parts of growing sizes.
class Source : public std::streambuf
{
public:
    Source(const std::uint8_t* data, std::size_t size)
        : mBegin(const_cast<char*>(reinterpret_cast<const char*>(data))), mEnd(mBegin + size)
    {
        setg(mBegin, mBegin, mBegin);
    }

protected:
    int_type underflow() override
    {
        mPart = std::min<std::ptrdiff_t>(2 * mPart + 1, mEnd - gptr());
        setg(mBegin, gptr(), gptr() + mPart);
        return gptr() == mEnd ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

private:
    char* const mBegin;
    char* const mEnd;
    std::ptrdiff_t mPart = 0;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    hollin::Dictionary ofMemory;
    const bool isGood = Load(ofMemory, data, size);

    hollin::Dictionary ofStream;
    Source source(data, size);
    std::istream stream(&source);
    bool isStreamGood = false;
    try
    {
        ofStream.LoadFromStream(stream);
        isStreamGood = ofStream.IsGood();
    }
    catch (const hollin::VoErrException&)
    {
    }
    Require(stream.eof());
    Require(isStreamGood == isGood);
    RequireSameEntries(ofMemory, ofStream);
    return 0;
}
