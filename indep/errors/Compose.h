// The texts of a report.

#ifndef INDEP_ERRORS_COMPOSE_H
#define INDEP_ERRORS_COMPOSE_H

#include <optional>

#include "U_Types.h"

// A report's text as the user reads it: the caller's behind the host's name and
// the severity's word. Made when it is first asked for, since many reports are
// wanted by nobody. What fails on the way shortens what stands in front of the
// caller's text; without memory for both the caller's text stands alone.
class ComposedText
{
public:
    // text must outlive the object.
    ComposedText(U_u16 severity, const U_UTF16String& text) : mSeverity(severity), mText(text) {}

    const U_UTF16String& Get();

private:
    const U_u16 mSeverity;
    const U_UTF16String& mText;
    std::optional<U_UTF16String> mComposed;
};

// The host's name, for people. Unlike U_GetName it reports no record that is missing or
// damaged, since the report at hand is about that, or comes after it; of a damaged one
// the process is dying all the same.
struct HostName
{
    HostName();

    bool mIsKnown;
    char mText[31]; // empty if it isn't
};

// A location code for people: module and place. Empty for no location.
struct LocationText
{
    explicit LocationText(U_u32 location);

    char mText[64];
};

#endif
