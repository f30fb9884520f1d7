// JSON text: the literals of values, and the reader of trees.

#ifndef INDEP_DATA_JSON_H
#define INDEP_DATA_JSON_H

#include <string_view>

#include "U_AnyTree.h"
#include "U_Types.h"

inline void AppendASCII(std::string_view ascii, U_UTF16String* text)
{
    text->append(ascii.begin(), ascii.end());
}

// Return the number at the start of a text, 0 if there is none. As integers "TRUE" and "true"
// are 1.
U_i64 IntegerInText(const U_UTF16String& text);
double DoubleInText(const U_UTF16String& text);

// Returns the text of the JSON string literal from `first` to `last`.
//
// Throws: boost::bad_any_cast for any other text.
U_UTF16String ReadJSONString(const U_u16* first, const U_u16* last);

// Appends the JSON string literal of a text. Half of a surrogate pair becomes U+FFFD.
void AppendJSONString(const U_UTF16String& text, U_UTF16String* json);

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

    // Finds the next of a few characters. The start of a search is never before that of an
    // earlier one, so that all searches together read the text once.
    class Mark
    {
    public:
        explicit Mark(const char* characters) : mCharacters(characters) {}
        Place FindFrom(Place from, Place end);

    private:
        const char* mCharacters;
        Place mFound = nullptr;
    };

    bool ReadMember(U_AnyTreeWrapper tree, bool asArray);
    void ReadNested(U_AnyTreeWrapper tree, const U_UTF16String& key);
    bool ReadPlain(U_AnyTreeWrapper tree, const U_UTF16String& key, bool asArray);

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
    unsigned int mDepth = 1;
    Mark mKeyEnd{":,}]"};
    Mark mTokenEnd{",}]"};
    Range mHead = {nullptr, nullptr}; // the quoted text that EndOfHead found last
};

#endif
