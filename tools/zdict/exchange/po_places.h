// The parts of a PO file, with the facts that gettext's library does not report: the places of the
// messages, and the flags that it has no function for.

#ifndef ZDICT_EXCHANGE_PO_PLACES_H
#define ZDICT_EXCHANGE_PO_PLACES_H

#include <string>
#include <string_view>
#include <vector>

#include "exchange/catalogue.h"

struct POMessagePlace
{
    Place mPlace;       // of the keyword msgid
    std::string mFlags; // separated by commas
};

// Whole messages with their comments, from the start of a line.
struct POPart
{
    std::string_view mText;
    std::uint64_t mFirstLine = 1;
    std::vector<POMessagePlace> mMessages;
    Place mDomain; // of the first directive "domain"

    // The first escapes of NULs, as \0. Before the second one is a byte that isn't ASCII, so that
    // its backslash may be a part of a character.
    Place mNul;
    Place mNulAfterByte;
};

// Splits a PO file in an ASCII-compatible charset. The content need not be sound.
//
// The first message, which may be the header, is a part of its own. The other parts have about
// 1 MB: gettext's library takes 8 bytes of memory for each byte of a file that it reads.
class POParts
{
public:
    explicit POParts(std::string_view text) : mText(text) {}

    // Stores the next part. Returns false at the end of the file.
    bool Next(POPart* part);

private:
    struct LineStart
    {
        std::size_t mOffset = 0;
        std::uint64_t mLine = 1;
    };

    bool AddLine(std::string_view line);
    std::size_t AddString(std::string_view line, std::size_t at);
    bool AddKeyword(std::string_view keyword, Place place);
    bool MayEnd() const;

    const std::string_view mText;
    LineStart mNow;
    LineStart mBegin; // of the part
    LineStart mEnd;   // behind its last complete message
    bool mIsFirst = true;
    bool mHasTranslation = false; // the last keyword was msgstr
    std::string mFlags;           // of the next message
    POPart mPart;
};

#endif
