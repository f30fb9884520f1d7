#include "hollin/TextLines.h"

#include <algorithm>

#include "hollin/VoErrException.h"
#include "hollin_private/DictionaryReader.h"
#include "hollin_private/Expansion.h"
#include "hollin_private/TextForm.h"

namespace hollin
{
namespace
{
using namespace hollin_private;

// The bytes of a key have lost what they can't hold.
bool IsWrittenInASCII(const TextEntry& entry)
{
    const auto isASCII = [](std::uint16_t unit) { return unit < 0x80; };
    return std::all_of(entry.mWrittenKey, entry.mWrittenKey + entry.mKey.size(), isASCII);
}

void Spoil(const char* field, const char* problem, TextLine* line)
{
    line->mField = field;
    line->mProblem = problem;
}

// The line is zero-terminated, so there is a unit behind every key.
void Fill(const std::uint16_t* units, std::size_t length, TextLine* line)
{
    TextEntry entry;
    if (!ParseTextLine(units, length, &entry))
        return Spoil("prefix", "it isn't \"$$$\"", line);
    if (entry.mKey.size() > kLongestText || entry.mValue.size() > kLongestText)
        return Spoil("length", "it is above 2^31 - 1 characters", line);
    line->mKey.assign(entry.mKey.begin(), entry.mKey.end());
    line->mKeyIsASCII = IsWrittenInASCII(entry);
    line->mHasEquals = entry.mWrittenKey[entry.mKey.size()] == '=';
    const std::size_t count = ExpandText(entry.mValue.data(), entry.mValue.size());
    line->mText = ZString(entry.mValue.data(), static_cast<std::uint32_t>(count));
}
} // namespace

TextLines::TextLines(const unsigned char* bytes, std::size_t size)
    : mReader(DictionaryReader::Make(bytes, size))
{
}

TextLines::~TextLines() = default;

bool TextLines::Next(TextLine* line)
{
    *line = TextLine();
    try
    {
        const std::uint16_t* units = nullptr;
        do
        {
            units = mReader->ReadLine();
            if (!units)
                return false;
        } while (!mReader->LineLength());
        Fill(units, mReader->LineLength(), line);
    }
    catch (const VoErrException&)
    {
        Spoil("text", "the system can't convert it", line);
    }
    line->mNumber = mReader->LineNumber();
    return true;
}
} // namespace hollin
