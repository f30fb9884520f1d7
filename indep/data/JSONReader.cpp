#include "indep/data/JSON.h"

#include <algorithm>
#include <functional>
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

std::size_t HashOf(const U_UTF16String& key)
{
    const char* const bytes = reinterpret_cast<const char*>(key.data());
    return std::hash<std::string_view>()({bytes, key.size() * sizeof(U_u16)});
}
} // namespace

Up_JSONReader::Up_JSONReader(const U_UTF16String& json)
    : mNext(json.data()), mEnd(json.data() + json.size())
{
}

void Up_JSONReader::ReadLevel(U_AnyTreeWrapper tree, bool asArray)
{
    ++mNext; // any first character counts as the bracket
    KeyFilter keys;
    while (ReadMember(tree, asArray, &keys))
    {
    }
}

bool Up_JSONReader::KeyFilter::MayHave(const U_AnyTree& tree, const U_UTF16String& key)
{
    const std::size_t kSmallLevel = 1000; // the index of a smaller level stays in the caches
    const std::size_t kLeastBits = 16;    // for each child, so that few new keys need a search
    if (tree.size() < kSmallLevel)
        return true;
    if (mBits.size() < kLeastBits * tree.size())
    {
        mBits.assign(4 * kLeastBits * tree.size(), false);
        for (const auto& child : tree)
            mBits[HashOf(child.first) % mBits.size()] = true;
    }
    std::vector<bool>::reference bit = mBits[HashOf(key) % mBits.size()];
    const bool wasSet = bit;
    bit = true;
    return wasSet;
}

// Returns true if the level may have another member.
bool Up_JSONReader::ReadMember(U_AnyTreeWrapper tree, bool asArray, KeyFilter* keys)
{
    SkipBlanks();
    if (mNext == mEnd)
        return false;
    mKey.clear();
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
            ReadJSONString(text.mFirst, text.mLast, &mKey);
        if (isNamed && mKey.empty())
            return false;
        SkipBlanks();
    }
    if (!IsAtBracket())
        return ReadPlain(tree, asArray, keys);
    ReadNested(tree, keys);
    return true;
}

// Reads a value in brackets as the last child of a tree, which has no such child after an
// exception.
void Up_JSONReader::ReadNested(U_AnyTreeWrapper tree, KeyFilter* keys)
{
    if (mDepth == U_MostJSONDepth)
        boost::throw_exception(
            boost::property_tree::ptree_error("JSON text is nested more than 1000 levels deep"));
    static_assert(U_MostJSONDepth == 1000, "the text above has this number");
    ++mDepth;
    const bool mayReplace = !mKey.empty() && keys->MayHave(*tree.mTree, mKey);
    U_AnyTree& nested = tree.AppendTree(mKey);
    try
    {
        ReadLevel(U_AnyTreeWrapper(nested), IsAt('['));
    }
    catch (...)
    {
        tree.mTree->pop_back();
        throw;
    }
    --mDepth;
    if (mayReplace)
        tree.EraseNamesakesOfLast();
}

// Reads a value without brackets. Returns true if the level may have another member.
bool Up_JSONReader::ReadPlain(U_AnyTreeWrapper tree, bool asArray, KeyFilter* keys)
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
        else if (keys->MayHave(*tree.mTree, mKey))
            tree.PutValue(mKey, std::move(value));
        else
            tree.Append(mKey).data() = std::move(value);
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
        U_UTF16String unquoted;
        ReadJSONString(literal.mFirst, literal.mLast, &unquoted);
        return unquoted;
    }
    U_Any number;
    if (ReadUsualNumber(text.mFirst, text.mLast, &number))
        return number;
    if (std::find(text.mFirst, text.mLast, '.') != text.mLast)
        return DoubleInText(text.mFirst, text.mLast);
    return IntegerInText(text.mFirst, text.mLast);
}

// Takes the text before a colon, without blanks around it, and the colon. Returns an empty range
// if the next token has no colon.
Up_JSONReader::Range Up_JSONReader::TakeKey()
{
    const Place colon = mKeyEnd.FindFrom(EndOfHead(), mEnd);
    if (colon == mEnd || *colon != ':')
    {
        mTokenEnd.SetFound(colon);
        return {mNext, mNext};
    }
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

Up_JSONReader::Mark::Mark(std::string_view characters)
{
    for (const char character : characters)
        mIsMark[static_cast<unsigned char>(character)] = true;
}

Up_JSONReader::Place Up_JSONReader::Mark::FindFrom(Place from, Place end)
{
    if (!mFound || mFound < from)
        mFound = std::find_if(
            from, end, [this](U_u16 unit) { return unit < sizeof(mIsMark) && mIsMark[unit]; });
    return mFound;
}
