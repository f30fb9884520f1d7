#include "images/text_input.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include <boost/nowide/utf/utf.hpp>

#include <hollin/Limits.h>
#include <hollin/Markers.h>
#include <hollin/TextFormReader.h>
#include <platform/control.h>
#include <win32/text.h>

#include "messages.h"

namespace
{
const std::size_t kNowhere = SIZE_MAX;
const unsigned char kNoByte = 0; // of an empty file, whose bytes may be a null pointer

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

// Walks the lines of a text. A carriage return with a line feed ends one line.
class LineWalk
{
public:
    // `begin` is the offset of the first line.
    LineWalk(const TextBytes& text, std::size_t begin) : mText(text), mEnd(begin) {}

    // Returns false at the end of the text. Half a unit at the end is a line or a part of one.
    bool Next()
    {
        mBegin = mEnd;
        ++mNumber;
        while (mEnd < mText.mSize)
        {
            const unsigned int unit = Take();
            if (!EndsLine(mText, unit))
                continue;
            if (unit == '\r' && mEnd + UnitSize(mText) <= mText.mSize &&
                UnitAt(mText, mEnd) == '\n')
                Take();
            return true;
        }
        return mBegin < mEnd;
    }

    std::uint64_t Number() const { return mNumber; } // from 1
    std::size_t Begin() const { return mBegin; }
    std::size_t End() const { return mEnd; } // after the line end

private:
    unsigned int Take()
    {
        const bool isWhole = mEnd + UnitSize(mText) <= mText.mSize;
        const unsigned int unit = isWhole ? UnitAt(mText, mEnd) : 0;
        mEnd += isWhole ? UnitSize(mText) : 1;
        return unit;
    }

    const TextBytes& mText;
    std::uint64_t mNumber = 0;
    std::size_t mBegin = 0;
    std::size_t mEnd;
};

// Returns the number of the line at an offset.
std::uint64_t LineOf(const TextBytes& text, std::size_t offset)
{
    LineWalk walk(text, 0);
    while (walk.Next() && walk.End() <= offset)
    {
    }
    return walk.Number();
}

std::size_t FindMalformedUTF8(const TextBytes& text)
{
    typedef boost::nowide::utf::utf_traits<char> Traits;
    const char* const begin = reinterpret_cast<const char*>(text.mBytes);
    const char* const end = begin + text.mSize;
    for (const char* next = begin; next != end;)
    {
        const char* const character = next;
        if (static_cast<unsigned char>(*next) < 0x80)
        {
            ++next;
            continue;
        }
        if (!boost::nowide::utf::is_valid_codepoint(Traits::decode(next, end)))
            return static_cast<std::size_t>(character - begin);
    }
    return kNowhere;
}

std::size_t FindNul(const TextBytes& text)
{
    if (!text.mUTF16)
    {
        const void* const nul = std::memchr(text.mBytes, 0, text.mSize);
        return nul ? static_cast<std::size_t>(static_cast<const unsigned char*>(nul) - text.mBytes)
                   : kNowhere;
    }
    for (std::size_t at = 0; at + 1 < text.mSize; at += 2)
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

// Adds the lines of one file to a table. A later line replaces the text of an earlier line with
// the same key.
class LineLoad
{
public:
    LineLoad(const LoadOptions& options, EntryTable* table, TextNotes* notes)
        : mSplits(options.mComments), mTable(*table), mNotes(*notes), mIsInFile(table->Slots())
    {
    }

    void Add(const hollin::TextLine& line)
    {
        mNotes.mHasDoubts |= !line.mHasEquals;
        const UnitView text = ViewOf(line.mText);
        const std::size_t marker = mSplits ? hollin::FindComment(text) : UnitView::npos;
        const std::uint32_t id = Put(line.mKey, text.substr(0, marker));
        if (mSplits)
            mTable.SetComment(id, marker == UnitView::npos
                                      ? UnitView()
                                      : text.substr(marker + hollin::kCommentMarker.size()));
    }

private:
    std::uint32_t Put(const std::string& key, UnitView text)
    {
        const std::uint32_t id = mTable.FindOrAdd(key);
        mTable.SetText(id, text);
        mNotes.mCounts.mReplaced += id < mIsInFile.size() && !mIsInFile[id];
        mIsInFile.resize(mTable.Slots());
        mNotes.mHasDoubts |= mIsInFile[id];
        mNotes.mCounts.mTexts += !mIsInFile[id];
        mIsInFile[id] = true;
        return id;
    }

    const bool mSplits;
    EntryTable& mTable;
    TextNotes& mNotes;
    std::vector<bool> mIsInFile; // by identifier
};

// Returns the number of line feeds, which is about that of the lines.
std::size_t EstimateLines(const TextBytes& text)
{
    return static_cast<std::size_t>(std::count(text.mBytes, text.mBytes + text.mSize, '\n')) + 1;
}
} // namespace

TextBytes::TextBytes(const InputFile& file, CodePage codePage)
    : mBytes(file.mBytes.empty() ? &kNoByte : file.mBytes.data()), mSize(file.mBytes.size()),
      mCodePage(codePage.mNumber)
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

TextNotes LoadText(const InputFile& file, const LoadOptions& options, EntryTable* table)
{
    TextNotes notes;
    const TextBytes text(file, options.mCodePage);
    const Fault fault = FindFault(text);
    if (fault.mOffset != kNowhere)
    {
        notes.mProblems.push_back({LineOf(text, fault.mOffset), fault.mWhat});
        return notes;
    }

    platform::SetActiveCodePage(text.mCodePage);
    table->Reserve(EstimateLines(text), text.mSize, text.mSize);
    LineLoad load(options, table, &notes);
    hollin::TextFormReader lines(text.mBytes, text.mSize);
    for (hollin::TextLine line; lines.Next(&line);)
    {
        const std::string problem = ProblemOf(line);
        if (problem.empty())
            load.Add(line);
        else
            notes.mProblems.push_back({line.mNumber, problem});
    }
    return notes;
}

std::string WithoutKeys(const InputFile& file, CodePage codePage, const std::set<std::string>& keys)
{
    const TextBytes text(file, codePage);
    platform::SetActiveCodePage(text.mCodePage);
    std::set<std::uint64_t> removed; // the numbers of lines
    hollin::TextFormReader lines(text.mBytes, text.mSize);
    for (hollin::TextLine line; lines.Next(&line);)
    {
        if (keys.count(line.mKey))
            removed.insert(line.mNumber);
    }

    const std::size_t mark = text.mUTF16 ? 2 : 0;
    std::string kept(file.mBytes.data(), text.mBytes + mark);
    for (LineWalk walk(text, mark); walk.Next();)
    {
        if (!removed.count(walk.Number()))
            kept.append(text.mBytes + walk.Begin(), text.mBytes + walk.End());
    }
    return kept;
}
