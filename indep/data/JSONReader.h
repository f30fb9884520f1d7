// The reader of JSON text. It finds the structure by itself, with one cursor
// over the text, and hands on the literals.

#ifndef INDEP_DATA_JSON_READER_H
#define INDEP_DATA_JSON_READER_H

#include "U_AnyTree.h"

class Up_JSONReader
{
public:
    // The text must outlive the reader and isn't empty.
    explicit Up_JSONReader(const U_UTF16String& json);

    // Reads one level into a tree, from its opening bracket to behind its end.
    void ReadLevel(U_AnyTreeWrapper tree, bool asArray);

private:
    typedef const U_u16* Place;

    struct Range
    {
        Place mFirst;
        Place mLast;
    };

    // Finds the next of a few characters. Places asked about never go back, so
    // that all searches together pass over the text once.
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
    Range mHead = {nullptr, nullptr}; // the quoted text that was last stepped over
};

#endif
