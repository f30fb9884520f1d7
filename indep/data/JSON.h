// JSON text: the literals of values, and the reader of trees.

#ifndef INDEP_DATA_JSON_H
#define INDEP_DATA_JSON_H

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "U_AnyTree.h"
#include "U_Types.h"

// Return the number at the start of a text, 0 if there is none. As integers "TRUE" and "true"
// are 1.
U_i64 IntegerInText(const U_u16* first, const U_u16* last);
double DoubleInText(const U_u16* first, const U_u16* last);

inline U_i64 IntegerInText(const U_UTF16String& text)
{
    return IntegerInText(text.data(), text.data() + text.size());
}
inline double DoubleInText(const U_UTF16String& text)
{
    return DoubleInText(text.data(), text.data() + text.size());
}

// Reads the number at the head of a text that has digits, "-", "." and "/" alone, as most have.
// Returns false for any other text, and without a number in the range of its type.
bool ReadUsualNumber(const U_u16* first, const U_u16* last, U_Any* number);

// Sets `text` to the text of the JSON string literal from `first` to `last`.
//
// Throws: boost::bad_any_cast for any other text.
void ReadJSONString(const U_u16* first, const U_u16* last, U_UTF16String* text);

// Writes JSON at the end of one text. The text has room ahead of its end, so that most units are
// written without a call.
class Up_JSONWriter
{
public:
    // Writes a tree between two brackets.
    void WriteTree(const U_AnyTree& tree, char open, char close);

    void Put(char character)
    {
        *MakeRoom(1) = static_cast<unsigned char>(character);
        ++mLength;
    }

    void PutASCII(std::string_view text)
    {
        std::copy(text.begin(), text.end(), MakeRoom(text.size()));
        mLength += text.size();
    }

    // Writes the string literal of a text. Half of a surrogate pair becomes U+FFFD.
    void PutString(const U_UTF16String& text);

    // Returns the text and has none afterwards.
    U_UTF16String TakeText();

private:
    // A tree that is being written.
    struct Level
    {
        const Level* mOuter; // null for the outermost tree
        std::size_t mChildren;
        std::size_t mWritten; // children
    };

    void WriteNode(const U_AnyTree& node);
    double Progress() const;
    void Grow(std::size_t units);

    // Returns the end of the text, with room for the units.
    U_u16* MakeRoom(std::size_t units)
    {
        if (mText.size() - mLength < units)
            Grow(units);
        return &mText[mLength];
    }

    U_UTF16String mText;
    std::size_t mLength = 0;       // the units written
    unsigned int mGuesses = 0;     // of the length of the whole text
    const Level* mLevel = nullptr; // on the stack, so a writer that has thrown is not used again
};

// Reads the members of a tree with one cursor over the text.
class Up_JSONReader
{
public:
    // REQUIRES: the text is not empty and outlives the reader.
    explicit Up_JSONReader(const U_UTF16String& json);

    // Reads one level into a tree, from its opening bracket to its end.
    void ReadLevel(U_AnyTreeWrapper tree, bool asArray);

private:
    typedef const U_u16* Place;

    struct Range
    {
        Place mFirst;
        Place mLast;
    };

    // Finds the next of a few ASCII characters. The start of a search is never before that of an
    // earlier one, so that all searches together read the text once.
    class Mark
    {
    public:
        explicit Mark(std::string_view characters);
        Place FindFrom(Place from, Place end);
        void SetFound(Place found) { mFound = found; }

    private:
        bool mIsMark[128] = {};
        Place mFound = nullptr;
    };

    // Some bits of the hashes of a level's keys. Most new keys of a large level are recognised
    // without a search of the tree's index.
    class KeyFilter
    {
    public:
        // Returns false if the tree has no child with the key, and adds the key.
        bool MayHave(const U_AnyTree& tree, const U_UTF16String& key);

    private:
        std::vector<bool> mBits; // none while the level is small
    };

    bool ReadMember(U_AnyTreeWrapper tree, bool asArray, KeyFilter* keys);
    void ReadNested(U_AnyTreeWrapper tree, KeyFilter* keys);
    bool ReadPlain(U_AnyTreeWrapper tree, bool asArray, KeyFilter* keys);

    bool IsAt(U_u16 unit) const { return mNext != mEnd && *mNext == unit; }
    bool IsAtBracket() const { return IsAt('{') || IsAt('['); }
    void SkipBlanks();
    void SkipBrace();
    void SkipOne(U_u16 unit);
    Range TakeKey();
    Place EndOfHead();
    static Range Trimmed(Range text);
    static U_Any ValueOf(const Range& text);

    Place mNext;
    const Place mEnd;
    U_UTF16String mKey; // of the member that is read
    unsigned int mDepth = 1;
    Mark mKeyEnd{":,}]"};
    Mark mTokenEnd{",}]"};
    Range mHead = {nullptr, nullptr}; // the quoted text that EndOfHead found last
};

#endif
