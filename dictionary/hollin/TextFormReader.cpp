#include "hollin/TextFormReader.h"

#include <algorithm>

#include "hollin/ConversionHooks.h"
#include "hollin_private/DictionaryReader.h"
#include "hollin_private/Expansion.h"
#include "hollin_private/TextForm.h"

namespace hollin
{
namespace
{
using namespace hollin_private;

// The key's bytes are the low bytes of its units only.
bool IsWrittenInASCII(const TextEntry& entry)
{
    const auto isASCII = [](std::uint16_t unit) { return unit < 0x80; };
    return std::all_of(entry.mWrittenKey, entry.mWrittenKey + entry.mKey.size(), isASCII);
}

void SetProblem(const char* field, const char* problem, TextLine* line)
{
    line->mField = field;
    line->mProblem = problem;
}

// The line is null-terminated, so that there is a unit after every key.
void Fill(const std::uint16_t* units, std::size_t length, TextEntry& entry, TextLine* line)
{
    if (length > kLongestText)
        return SetProblem("length", "it is above 2^31 - 1 characters", line);
    if (!ParseTextLine(units, length, &entry))
        return SetProblem("prefix", "it isn't \"$$$\"", line);
    line->mKey.assign(entry.mKey.begin(), entry.mKey.end());
    line->mKeyIsASCII = IsWrittenInASCII(entry);
    line->mHasEquals = entry.mWrittenKey[entry.mKey.size()] == '=';
    const std::size_t count = ExpandText(entry.mValue.data(), entry.mValue.size());
    line->mText = ZString(entry.mValue.data(), static_cast<std::uint32_t>(count));
}
} // namespace

TextFormReader::TextFormReader(const unsigned char* bytes, std::size_t size)
    : mReader(DictionaryReader::Make(bytes, size)), mEntry(std::make_unique<TextEntry>())
{
}

TextFormReader::~TextFormReader() = default;

bool TextFormReader::Next(TextLine* line)
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
        Fill(units, mReader->LineLength(), *mEntry, line);
    }
    catch (const VoErrException&)
    {
        SetProblem("text", "the system can't convert it", line);
    }
    line->mNumber = mReader->LineNumber();
    return true;
}
} // namespace hollin
