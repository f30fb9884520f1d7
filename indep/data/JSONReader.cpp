#include "indep/data/JSON.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{
bool IsBlank(U_u16 unit)
{
    return unit == '\t' || unit == '\n' || unit == '\r' || unit == ' ';
}

// Returns the unit after the closing quote of a text that begins with a quote.
const U_u16* EndOfQuoted(const U_u16* at, const U_u16* end)
{
    for (++at; at != end; ++at)
    {
        if (*at == '"')
            return at + 1;
        if (*at == '\\' && at + 1 != end)
            ++at; // the escaped unit
    }
    return end;
}
} // namespace

Up_JSONReader::Up_JSONReader(const U_UTF16String& json)
    : mNext(json.data()), mEnd(json.data() + json.size())
{
}

void Up_JSONReader::ReadLevel(U_AnyTreeWrapper tree, bool asArray)
{
    ++mNext; // any first character counts as the bracket
    while (ReadMember(tree, asArray))
    {
    }
}

// Returns true if the level may have another member.
bool Up_JSONReader::ReadMember(U_AnyTreeWrapper tree, bool asArray)
{
    SkipBlanks();
    if (mNext == mEnd)
        return false;
    U_UTF16String key;
    if (!IsAtBracket()) // a bracket begins no key
    {
        const Range text = TakeKey();
        const bool isNamed = text.mFirst != text.mLast;
        if (!isNamed && !asArray)
        {
            SkipBrace();
            return false;
        }
        if (isNamed)
            key = ReadJSONString(text.mFirst, text.mLast);
        if (isNamed && key.empty())
            return false;
        SkipBlanks();
    }
    if (!IsAtBracket())
        return ReadPlain(tree, key, asArray);
    ReadNested(tree, key);
    return true;
}

void Up_JSONReader::ReadNested(U_AnyTreeWrapper tree, const U_UTF16String& key)
{
    if (mDepth == U_MostJSONDepth)
        boost::throw_exception(
            boost::property_tree::ptree_error("JSON text is nested more than 1000 levels deep"));
    static_assert(U_MostJSONDepth == 1000, "the text above has this number");
    ++mDepth;
    U_AnyTree nested;
    ReadLevel(U_AnyTreeWrapper(nested), IsAt('['));
    --mDepth;
    tree.AppendTree(key, nested);
    if (!key.empty())
        tree.EraseNamesakesOfLast();
}

// Reads a value without brackets. Returns true if the level may have another member.
bool Up_JSONReader::ReadPlain(U_AnyTreeWrapper tree, const U_UTF16String& key, bool asArray)
{
    const Range text = {mNext, mTokenEnd.FindFrom(EndOfHead(), mEnd)};
    mNext = text.mLast;
    const bool isLast = IsAt(']') || IsAt('}');
    if (mNext != mEnd)
        ++mNext;
    SkipOne(',');

    if (text.mFirst != text.mLast && *text.mFirst != 'n')
    {
        U_Any value = ValueOf(text);
        if (asArray)
            tree.Append(U_UTF16String()).data() = std::move(value);
        else
            tree.PutValue(key, std::move(value));
    }
    return !isLast;
}

// REQUIRES: the text is not empty.
U_Any Up_JSONReader::ValueOf(const Range& text)
{
    const U_u16 first = *text.mFirst;
    if (first == 't' || first == 'f')
        return first == 't';
    if (first == '"')
    {
        const Range literal = Trimmed(text);
        return ReadJSONString(literal.mFirst, literal.mLast);
    }
    const U_UTF16String word(text.mFirst, text.mLast);
    const bool isDouble = word.find('.') != U_UTF16String::npos;
    return isDouble ? U_Any(DoubleInText(word)) : U_Any(IntegerInText(word));
}

// Takes the text before a colon, without blanks around it, and the colon. Returns an empty range
// if the next token has no colon.
Up_JSONReader::Range Up_JSONReader::TakeKey()
{
    const Place colon = mKeyEnd.FindFrom(EndOfHead(), mEnd);
    if (colon == mEnd || *colon != ':')
        return {mNext, mNext};
    const Range key = {mNext, colon};
    mNext = colon + 1;
    return Trimmed(key);
}

// Returns the unit after the next quoted text, or the next unit if no quoted text is next. Nested
// levels that end ask for the same text one after the other, so the end is searched once.
Up_JSONReader::Place Up_JSONReader::EndOfHead()
{
    if (!IsAt('"'))
        return mNext;
    if (mHead.mFirst != mNext)
        mHead = {mNext, EndOfQuoted(mNext, mEnd)};
    return mHead.mLast;
}

void Up_JSONReader::SkipBlanks()
{
    mNext = std::find_if_not(mNext, mEnd, &IsBlank);
}

// Takes the end of an object.
void Up_JSONReader::SkipBrace()
{
    if (!IsAt('}'))
        return;
    ++mNext;
    SkipOne(',');
}

void Up_JSONReader::SkipOne(U_u16 unit)
{
    if (IsAt(unit))
        ++mNext;
}

Up_JSONReader::Range Up_JSONReader::Trimmed(Range text)
{
    text.mFirst = std::find_if_not(text.mFirst, text.mLast, &IsBlank);
    while (text.mLast != text.mFirst && IsBlank(text.mLast[-1]))
        --text.mLast;
    return text;
}

Up_JSONReader::Place Up_JSONReader::Mark::FindFrom(Place from, Place end)
{
    if (!mFound || mFound < from)
        mFound = std::find_first_of(from, end, mCharacters, mCharacters + std::strlen(mCharacters));
    return mFound;
}
