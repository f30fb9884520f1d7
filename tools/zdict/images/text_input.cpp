#include "images/text_input.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <unordered_map>

#include <boost/nowide/utf/utf.hpp>

#include <hollin/Dictionary.h>
#include <hollin/TextFormReader.h>
#include <platform/control.h>
#include <win32/text.h>

#include "messages.h"

namespace
{
const std::size_t kNowhere = SIZE_MAX;

// A fault that makes the whole text unusable, and the offset of its byte.
struct Fault
{
    std::size_t mOffset = kNowhere;
    const char* mWhat = nullptr;
};

// Returns the code unit at an offset, of one or two bytes.
unsigned int UnitAt(const TextBytes& text, std::size_t offset)
{
    const unsigned int first = text.mBytes[offset];
    if (!text.mUTF16)
        return first;
    const unsigned int second = text.mBytes[offset + 1];
    return text.mBigEndian ? first << 8 | second : second << 8 | first;
}

std::size_t UnitSize(const TextBytes& text)
{
    return text.mUTF16 ? 2 : 1;
}

bool EndsLine(const TextBytes& text, unsigned int unit)
{
    return unit == '\n' || unit == '\r' || (text.mUTF16 && (unit == 0x2028 || unit == 0x2029));
}

// Returns the number of the line at an offset. A carriage return with a line feed ends one
// line.
std::uint64_t LineOf(const TextBytes& text, std::size_t offset)
{
    std::uint64_t line = 1;
    unsigned int previous = 0;
    for (std::size_t at = 0; at < offset; at += UnitSize(text))
    {
        const unsigned int unit = UnitAt(text, at);
        line += EndsLine(text, unit) && (unit != '\n' || previous != '\r');
        previous = unit;
    }
    return line;
}

std::size_t FindMalformedUTF8(const TextBytes& text)
{
    typedef boost::nowide::utf::utf_traits<char> Traits;
    const char* const begin = reinterpret_cast<const char*>(text.mBytes);
    const char* const end = begin + text.mSize;
    for (const char* next = begin; next != end;)
    {
        const char* const character = next;
        if (!boost::nowide::utf::is_valid_codepoint(Traits::decode(next, end)))
            return static_cast<std::size_t>(character - begin);
    }
    return kNowhere;
}

std::size_t FindNul(const TextBytes& text)
{
    const std::size_t step = UnitSize(text);
    for (std::size_t at = 0; at + step <= text.mSize; at += step)
    {
        if (!UnitAt(text, at))
            return at;
    }
    return kNowhere;
}

// A load ignores each of these faults, and loses characters or lines.
Fault FindFault(const TextBytes& text)
{
    const std::size_t nul = FindNul(text);
    if (nul != kNowhere)
        return {nul, text.mUTF16 ? "it holds a NUL"
                                 : "it holds a NUL (UTF-16 without a byte-order mark?)"};
    if (text.mUTF16 && text.mSize % 2)
        return {text.mSize - 1, "the text ends inside a character"};
    if (!text.mUTF16 && text.mCodePage == win32::kCodePageUTF8)
        return {FindMalformedUTF8(text), "it isn't UTF-8 (see --code-page)"};
    return {};
}

// Returns why the line can't be used, or an empty text if it can.
std::string ProblemOf(const hollin::TextLine& line)
{
    if (line.mProblem)
        return std::string(line.mField) + ": " + line.mProblem;
    if (line.mKey.empty())
        return "the key is empty";
    if (!line.mKeyIsASCII)
        return "the key isn't ASCII";
    if (line.mKey.size() > hollin::kLongestRun)
        return "the key is longer than " + Counted(hollin::kLongestRun, "byte");
    if (line.mText.Length() > hollin::kLongestRun / 2)
        return "the text is longer than " + Counted(hollin::kLongestRun / 2, "character");
    return std::string();
}

// Collects the entries of one file. A later line replaces the text of an earlier line with
// the same key.
class EntryCollector
{
public:
    explicit EntryCollector(TextContent* content) : mContent(content) {}

    void Add(const hollin::TextLine& line)
    {
        if (!line.mHasEquals)
            mContent->mDoubts.push_back({line.mNumber, "without a \"=\", all of it is a key"});
        const auto [position, isNew] =
            mPositions.emplace(line.mKey, Position{mContent->mEntries.size(), line.mNumber});
        if (isNew)
        {
            mContent->mEntries.push_back({line.mKey, line.mText, hollin::ZString()});
            return;
        }
        Position& earlier = position->second;
        mContent->mDoubts.push_back({line.mNumber, "it replaces the text of " + Quoted(line.mKey) +
                                                       " in line " +
                                                       std::to_string(earlier.mLine)});
        mContent->mEntries[earlier.mIndex].mText = line.mText;
        earlier.mLine = line.mNumber;
    }

private:
    struct Position
    {
        std::size_t mIndex;
        std::uint64_t mLine;
    };

    TextContent* const mContent;
    std::unordered_map<std::string, Position> mPositions;
};
} // namespace

TextBytes::TextBytes(const InputFile& file, CodePage codePage)
    : mBytes(file.mBytes.data()), mSize(file.mBytes.size()), mCodePage(codePage.mNumber)
{
    const auto begins = [&](std::initializer_list<unsigned char> mark) {
        return mSize >= mark.size() && std::equal(mark.begin(), mark.end(), mBytes);
    };
    mBigEndian = begins({0xFE, 0xFF});
    mUTF16 = mBigEndian || begins({0xFF, 0xFE});
    if (!begins({0xEF, 0xBB, 0xBF}))
        return;
    mCodePage = win32::kCodePageUTF8;
    mBytes += 3;
    mSize -= 3;
}

TextContent ReadText(const InputFile& file, CodePage codePage)
{
    TextContent content;
    const TextBytes text(file, codePage);
    const Fault fault = FindFault(text);
    if (fault.mOffset != kNowhere)
    {
        content.mProblems.push_back({LineOf(text, fault.mOffset), fault.mWhat});
        return content;
    }

    platform::SetActiveCodePage(text.mCodePage);
    EntryCollector collector(&content);
    hollin::TextFormReader lines(text.mBytes, text.mSize);
    for (hollin::TextLine line; lines.Next(&line);)
    {
        const std::string problem = ProblemOf(line);
        if (problem.empty())
            collector.Add(line);
        else
            content.mProblems.push_back({line.mNumber, problem});
    }
    return content;
}
