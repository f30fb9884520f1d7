#include "layout.h"

#include <algorithm>
#include <memory>

#include <platform/base/code_units.h>
#include <platform/base/printable.h>
#include <win32/message_box.h>

#include "system.h"

namespace platform
{
namespace
{
typedef krobase::utility::UTF16String UTF16String;
using kroview::dialogs::messagebox::Icon;

// Longer paragraphs are split: the positions of breaks have 32 bits.
const std::size_t kLongestParagraph = 1 << 20;

// The units of a word that are measured at once. To measure the whole rest of a long word for
// each of its lines would take quadratic time.
const int kLongestPiece = 256;

const unsigned short kLineSeparator = 0x2028;
const unsigned short kParagraphSeparator = 0x2029;

const unsigned int kBoxIconMask = 0xF0;

Icon IconOfFlags(unsigned int flags)
{
    using namespace kroview::dialogs::messagebox;
    switch (flags & kBoxIconMask)
    {
    case win32::kBoxIconError:
        return kIconError;
    case win32::kBoxIconQuestion:
        return kIconQuestion;
    case win32::kBoxIconWarning:
        return kIconWarning;
    case win32::kBoxIconNote:
        return kIconNote;
    default:
        return kIconNone;
    }
}

Icon KnownIcon(int icon)
{
    using namespace kroview::dialogs::messagebox;
    return icon >= kIconError && icon <= kIconNote ? static_cast<Icon>(icon) : kIconNone;
}

bool IsLineEnd(unsigned short unit)
{
    return unit == '\n' || unit == '\r' || unit == kLineSeparator || unit == kParagraphSeparator;
}

// Returns the units of the line end at the position, or 0 without a line end.
std::size_t LineEndLength(const UTF16String& text, std::size_t position)
{
    if (position == text.size() || !IsLineEnd(text[position]))
        return 0;
    const bool isPair =
        text[position] == '\r' && position + 1 < text.size() && text[position + 1] == '\n';
    return isPair ? 2 : 1;
}

class ParagraphWrapper
{
public:
    ParagraphWrapper(const LineFits& fits, std::vector<UTF16String>& lines)
        : mFits(fits), mLines(lines)
    {
    }

    void Wrap(const UTF16String& paragraph)
    {
        mText = paragraph;
        std::replace_if(mText.begin(), mText.end(), IsControl, ' ');
        mBreaks->SetText(mText);
        int start = 0;
        int fitting = 0; // the last break before which the line fits
        const int end = static_cast<int>(mText.size());
        for (int next = 0; next < end;)
        {
            const int word = mBreaks->NextLineEnd(next);
            next = MeasuredEnd(next, word);
            while (!mFits(Line(start, next)))
            {
                if (fitting == start)
                    fitting = CutWord(start, next);
                // A single character that does not fit is left as it is.
                if (fitting == next)
                    break;
                mLines.push_back(Line(start, fitting));
                start = fitting = SkipSpaces(fitting, next);
            }
            if (next == word)
                fitting = next;
        }
        mLines.push_back(Line(start, end));
    }

private:
    // Returns the end of the word that begins at `start`, or of a piece of a long word.
    int MeasuredEnd(int start, int word) const
    {
        if (word - start <= kLongestPiece)
            return word;
        const int end = mBreaks->LastCharacterEnd(start + kLongestPiece + 1);
        return end > start ? end : word;
    }

    UTF16String Line(int start, int end) const
    {
        while (end > start && mText[static_cast<std::size_t>(end) - 1] == ' ')
            --end;
        return mText.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
    }

    int SkipSpaces(int start, int end) const
    {
        while (start < end && mText[static_cast<std::size_t>(start)] == ' ')
            ++start;
        return start;
    }

    // Returns the position to cut a word that does not fit: after the last character that fits,
    // and after at least one character.
    int CutWord(int start, int end) const
    {
        int cut = std::min(mBreaks->NextCharacterEnd(start), end);
        while (cut < end)
        {
            const int further = std::min(mBreaks->NextCharacterEnd(cut), end);
            if (!mFits(Line(start, further)))
                break;
            cut = further;
        }
        return cut;
    }

    const LineFits& mFits;
    std::vector<UTF16String>& mLines;
    const std::unique_ptr<TextBreaks> mBreaks = MakeTextBreaks();
    UTF16String mText;
};

// Returns the end of the paragraph that begins at `start`, without its line end.
std::size_t ParagraphEnd(const UTF16String& text, std::size_t start)
{
    const std::size_t limit =
        text.size() - start > kLongestParagraph ? start + kLongestParagraph : text.size();
    const auto end = std::find_if(text.begin() + static_cast<std::ptrdiff_t>(start),
                                  text.begin() + static_cast<std::ptrdiff_t>(limit), IsLineEnd);
    const std::size_t position = static_cast<std::size_t>(end - text.begin());
    const bool insidePair = position == limit && position < text.size() &&
                            IsHighSurrogate(text[position - 1]) && IsLowSurrogate(text[position]);
    return insidePair ? position - 1 : position;
}
} // namespace

Icon IconOf(const Alert& alert)
{
    return alert.throughHost ? KnownIcon(alert.icon) : IconOfFlags(alert.flags);
}

std::vector<UTF16String> WrapText(const UTF16String& text, const LineFits& fits)
{
    std::vector<UTF16String> lines;
    ParagraphWrapper wrapper(fits, lines);
    for (std::size_t start = 0; start < text.size();)
    {
        const std::size_t end = ParagraphEnd(text, start);
        wrapper.Wrap(text.substr(start, end - start));
        start = end + LineEndLength(text, end);
    }
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    return lines;
}
} // namespace platform
