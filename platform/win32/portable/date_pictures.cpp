// Date pictures (win32/locale.h) and ICU's patterns. In both, text between apostrophes is literal,
// and two apostrophes in such text are one. Outside of such text, two apostrophes are one in a
// pattern, and an empty literal text in a picture.

#include "locale.h"

#include <algorithm>
#include <vector>

namespace win32
{
namespace
{
const char16_t kQuote = u'\'';

// A field, which is a run of one letter, or literal text.
struct Piece
{
    char16_t mLetter; // 0 for literal text
    std::size_t mCount;
    std::u16string mText;
};

bool IsLetter(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

bool IsPictureLetter(char16_t unit)
{
    return std::u16string_view(u"dMyYg").find(unit) != std::u16string_view::npos;
}

// Collects letters and literal units. Adjacent literal units become one piece.
class Pieces
{
public:
    void AddLetter(char16_t letter)
    {
        if (mPieces.empty() || mPieces.back().mLetter != letter)
            mPieces.push_back({letter, 0, {}});
        ++mPieces.back().mCount;
    }

    void AddText(char16_t unit)
    {
        if (mPieces.empty() || mPieces.back().mLetter)
            mPieces.emplace_back();
        mPieces.back().mText += unit;
    }

    std::vector<Piece> mPieces;
};

enum class DoubledQuote
{
    kIsLiteral,       // everywhere
    kIsLiteralQuoted, // only between quotes
};

std::vector<Piece> Split(std::u16string_view text, bool (*isField)(char16_t), DoubledQuote doubled)
{
    Pieces pieces;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const char16_t unit = text[i];
        if (unit != kQuote)
        {
            if (!quoted && isField(unit))
                pieces.AddLetter(unit);
            else
                pieces.AddText(unit);
        }
        else if (i + 1 < text.size() && text[i + 1] == kQuote &&
                 (quoted || doubled == DoubledQuote::kIsLiteral))
        {
            pieces.AddText(kQuote);
            ++i;
        }
        else
        {
            quoted = !quoted;
        }
    }
    return pieces.mPieces;
}

std::u16string WithDoubledQuotes(std::u16string_view text)
{
    std::u16string doubled;
    for (char16_t unit : text)
        doubled.append(unit == kQuote ? 2 : 1, unit);
    return doubled;
}

// For a picture.
std::u16string Quoted(const std::u16string& text)
{
    const auto isSpecial = [](char16_t unit) { return unit == kQuote || IsLetter(unit); };
    if (std::none_of(text.begin(), text.end(), isSpecial))
        return text;
    return kQuote + WithDoubledQuotes(text) + kQuote;
}

// For a pattern. The quotes before the first letter are doubled, and the quoted part starts at that
// letter.
std::u16string QuotedInPattern(const std::u16string& text)
{
    const auto letter = std::find_if(text.begin(), text.end(), &IsLetter);
    const std::size_t head = static_cast<std::size_t>(letter - text.begin());
    const std::u16string before = WithDoubledQuotes(text.substr(0, head));
    return letter == text.end() ? before
                                : before + kQuote + WithDoubledQuotes(text.substr(head)) + kQuote;
}

std::u16string PictureField(const Piece& piece)
{
    switch (piece.mLetter)
    {
    case u'd':
        return std::u16string(std::min<std::size_t>(piece.mCount, 2), u'd');
    case u'E':
    case u'c':
        return piece.mCount == 4 ? u"dddd" : u"ddd";
    case u'M':
    case u'L':
        return std::u16string(std::min<std::size_t>(piece.mCount, 4), u'M');
    case u'y':
        return piece.mCount == 2 ? u"yy" : u"yyyy";
    case u'G':
        return u"gg";
    default:
        return {};
    }
}

bool IsDayNumber(const Piece& piece)
{
    return piece.mLetter == u'd' && piece.mCount <= 2;
}

std::u16string PatternField(const Piece& piece, bool hasDayNumber)
{
    const std::size_t count = std::min<std::size_t>(piece.mCount, 4);
    switch (piece.mLetter)
    {
    case u'd':
        if (IsDayNumber(piece))
            return std::u16string(count, u'd');
        return std::u16string(count, u'c'); // a picture has one form of a day name
    case u'M': // in some languages a month without a day number has a form of its own
        return std::u16string(count, hasDayNumber || count < 3 ? u'M' : u'L');
    case u'g':
        return u"G";
    default:
        return piece.mCount == 2 ? u"yy" : u"y";
    }
}
} // namespace

std::u16string PictureOf(std::u16string_view pattern)
{
    std::u16string picture;
    std::u16string literal; // not yet in the picture
    for (const Piece& piece : Split(pattern, &IsLetter, DoubledQuote::kIsLiteral))
    {
        literal += piece.mText;
        const std::u16string field = PictureField(piece);
        if (field.empty())
            continue; // literal texts on both sides are one
        picture += Quoted(literal) + field;
        literal.clear();
    }
    return picture + Quoted(literal);
}

std::u16string PatternOf(std::u16string_view picture)
{
    const std::vector<Piece> pieces =
        Split(picture, &IsPictureLetter, DoubledQuote::kIsLiteralQuoted);
    const bool hasDayNumber = std::any_of(pieces.begin(), pieces.end(), &IsDayNumber);
    std::u16string pattern;
    for (const Piece& piece : pieces)
        pattern += piece.mLetter ? PatternField(piece, hasDayNumber) : QuotedInPattern(piece.mText);
    return pattern;
}
} // namespace win32
