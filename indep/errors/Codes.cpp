#include "indep/errors/Codes.h"

#include <cstdio>
#include <cstring>
#include <iterator>

#include "U_Format.h"
#include "U_Report.h"
#include "U_String.h"
#include "U_Suspend.h"
#include "U_ZString.h"
#include "text/OwnTexts.h"

namespace
{
// Indices of texts.
const U_u32 kNoText = 0;
const U_u32 kSeparator = 106;
const U_u32 kTextAndReason = 107;
const U_u32 kTextReasonAndCode = 108;
const U_u32 kTextAndCode = 109;

// By status code, from 0 on. 1 is what needs no further word.
const U_u32 kStatusTexts[] = {40, kNoText, 41, 42, 33, 43, 44, 45, 46, 47, 48, 49, 50};

struct StatusText
{
    U_Status mCode;
    const char* mZString;
};

// Of the codes that show as numbers in a report.
const StatusText kFurtherStatusTexts[] = {
    {U_Err_AlreadyTold, "$$$/QX/U/Status/AlreadyTold=the failure has been shown already"},
    {U_Err_UnknownException, "$$$/QX/U/Status/UnknownException=an exception of an unknown kind"},
    {U_Err_SuspendTerminated, "$$$/QX/U/Status/SuspendTerminated=the call was given up"},
    {U_Err_NoGlobals, "$$$/QX/U/Status/NoGlobals=the library is not running"},
};
const char kNumberOnly[] = "$$$/QX/U/Status/Number=error ^^L1";

struct SystemText
{
    U_i32 mCode;
    U_u32 mIndex;
};

const SystemText kSystemTexts[] = {
    {-33, 15},   {-34, 16},   {-35, 17},   {-36, 18},    {-37, 19},   {-38, 20},   {-39, 21},
    {-42, 22},   {-43, 23},   {-44, 24},   {-45, 25},    {-46, 26},   {-47, 27},   {-48, 28},
    {-49, 29},   {-50, 70},   {-51, 30},   {-54, 31},    {-61, 32},   {-108, 33},  {-111, 67},
    {-120, 34},  {-124, 35},  {-154, 36},  {-155, 37},   {-192, 71},  {-203, 38},  {-2003, 72},
    {-2004, 73}, {-2007, 74}, {-2008, 75}, {-2010, 76},  {-2014, 77}, {-2015, 78}, {-2020, 79},
    {-2028, 80}, {-2048, 81}, {-2050, 82}, {-2110, 118}, {-2801, 83}, {-2802, 84}, {-2804, 85},
    {-2805, 86}, {-2813, 87}, {-2814, 88}, {-5000, 89},  {-5551, 39}, {-8961, 95}, {-8967, 96},
    {-8969, 97}, {-8970, 98}, {-8971, 99}, {-8972, 100},
};

// Whole families, for the codes that have no text of their own. Both ends
// belong to a family.
struct SystemFamily
{
    U_i32 mLowest;
    U_i32 mHighest;
    U_u32 mIndex;
};

const SystemFamily kSystemFamilies[] = {
    {-2058, -2000, 90},  {-2899, -2800, 91},  {-8976, -8960, 101},
    {-9408, -9400, 102}, {-9999, -9994, 103},
};

U_u32 IndexOfStatus(U_u32 code)
{
    return code < std::size(kStatusTexts) ? kStatusTexts[code] : kNoText;
}

U_u32 IndexOfSystemCode(U_i32 code)
{
    for (const SystemText& text : kSystemTexts)
    {
        if (text.mCode == code)
            return text.mIndex;
    }
    for (const SystemFamily& family : kSystemFamilies)
    {
        if (family.mLowest <= code && code <= family.mHighest)
            return family.mIndex;
    }
    return kNoText;
}

const char* ReasonOf(U_u32 index)
{
    return index == kNoText ? "" : Up_StringOrEnglish(index);
}

// A copy without its full stop: a text that can't be looked up is reported, and
// that report takes the buffer.
struct Message
{
    explicit Message(const char* text)
    {
        U_CopyString(text, sizeof(mText), mText);
        const std::size_t length = std::strlen(mText);
        if (length && mText[length - 1] == '.')
            mText[length - 1] = 0;
    }

    char mText[U_ReportTextSize];
};
} // namespace

void AppendStatusText(U_u32 code, char* buffer)
{
    const Message text(buffer);
    const char* const known = ReasonOf(IndexOfStatus(code));
    // The message ends in a full stop, which the reason may bring, too.
    Message reason(known);
    if (!*known)
        std::snprintf(reason.mText, sizeof(reason.mText), " (%x)", code);
    const char* const separator = *known && *text.mText ? Up_StringOrEnglish(kSeparator) : "";
    Up_FormatString(buffer, U_ReportTextSize, kTextAndReason, text.mText, separator, reason.mText);
}

void AppendSystemText(U_i32 code, char* buffer)
{
    const Message text(buffer);
    const char* const reason = ReasonOf(IndexOfSystemCode(code));
    if (*reason)
        Up_FormatString(buffer, U_ReportTextSize, kTextReasonAndCode, text.mText, reason, code);
    else
        Up_FormatString(buffer, U_ReportTextSize, kTextAndCode, text.mText, code);
}

U_UTF16String U_GetStatusText(U_Status code)
{
    for (const StatusText& text : kFurtherStatusTexts)
    {
        if (text.mCode == code)
            return U_ZStringToUTF16String(text.mZString);
    }
    const U_u32 index =
        code < 0 ? IndexOfSystemCode(code) : IndexOfStatus(static_cast<U_u32>(code));
    return index == kNoText ? U_SubString16(U_ZStringToFormat(kNumberOnly), code)
                            : U_ZStringToUTF16String(Up_ZStringOf(index));
}

void Up_NuloEnglishError(U_u32 code)
{
    AppendStatusText(code, Up_GetThreadLoggingBuffer());
}

void Up_SysEnglishError(U_i32 code)
{
    AppendSystemText(code, Up_GetThreadLoggingBuffer());
}
