// The meanings of status codes and system codes.

#include "indep/errors/ReportPipeline.h"

#include <cstdio>
#include <cstring>
#include <iterator>

#include "U_Format.h"
#include "U_Report.h"
#include "U_String.h"
#include "U_Suspend.h"
#include "U_ZString.h"

namespace
{
// By status code, from 0 on. The code 1 has no text: its failure was already shown.
const OwnText kStatusTexts[] = {kTextNoError,
                                kTextNone,
                                kTextStructureDamaged,
                                kTextBadParameterPassed,
                                kTextOutOfMemory,
                                kTextUnimplemented,
                                kTextResourceMissing,
                                kTextHeaderOutOfDate,
                                kTextUnsupportedEnvironment,
                                kTextUnsupportedVersion,
                                kTextValueOutOfRange,
                                kTextBadDeath,
                                kTextMultipleBirths};

struct StatusText
{
    U_Status mCode;
    const char* mZString;
};

// For U_GetStatusText alone: in a report these codes appear as numbers.
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
    OwnText mText;
};

const SystemText kSystemTexts[] = {
    {-33, kTextDirectoryFull},
    {-34, kTextDiskFull},
    {-35, kTextNoSuchVolume},
    {-36, kTextDiskError},
    {-37, kTextBadFileName},
    {-38, kTextFileNotOpen},
    {-39, kTextUnexpectedEndOfFile},
    {-42, kTextTooManyFilesOpen},
    {-43, kTextFileNotFound},
    {-44, kTextDiskWriteProtected},
    {-45, kTextFileLocked},
    {-46, kTextVolumeLocked},
    {-47, kTextFileBusy},
    {-48, kTextDuplicateFileName},
    {-49, kTextFileAlreadyOpen},
    {-50, kTextBadParameter},
    {-51, kTextBadFileReference},
    {-54, kTextNoPermissionToOpen},
    {-61, kTextWritePermissions},
    {-108, kTextOutOfMemory},
    {-111, kTextInvalidBlock},
    {-120, kTextNoSuchDirectory},
    {-124, kTextServerDisconnected},
    {-154, kTextColorTableProtected},
    {-155, kTextBadGraphicsDevice},
    {-192, kTextResourceNotFound},
    {-203, kTextSoundQueueFull},
    {-2003, kTextQuickTimeNoHandler},
    {-2004, kTextQuickTimeHandlerNotOpened},
    {-2007, kTextQuickTimeNoDataHandler},
    {-2008, kTextQuickTimeMedia},
    {-2010, kTextQuickTimeMovie},
    {-2014, kTextQuickTimeDuration},
    {-2015, kTextQuickTimeTime},
    {-2020, kTextQuickTimeNotInitialized},
    {-2028, kTextQuickTimeTrackIndex},
    {-2048, kTextQuickTimeNoMovie},
    {-2050, kTextQuickTimeDataReference},
    {-2110, kTextPathTooLong},
    {-2801, kTextFragmentConnection},
    {-2802, kTextFragmentSymbol},
    {-2804, kTextFragmentLibrary},
    {-2805, kTextFragmentDuplicateName},
    {-2813, kTextFragmentTooOld},
    {-2814, kTextFragmentTooNew},
    {-5000, kTextAccessDenied},
    {-5551, kTextUndefinedGestaltCode},
    {-8961, kTextCodecMissing},
    {-8967, kTextCodecAbort},
    {-8969, kTextCodecBadData},
    {-8970, kTextCodecDataVersion},
    {-8971, kTextCodecExtension},
    {-8972, kTextCodecCondition},
};

// Families of codes, for the codes without a text of their own. Both ends are included.
struct SystemFamily
{
    U_i32 mLowest;
    U_i32 mHighest;
    OwnText mText;
};

const SystemFamily kSystemFamilies[] = {
    {-2058, -2000, kTextQuickTimeError},  {-2899, -2800, kTextFragmentError},
    {-8976, -8960, kTextCodecError},      {-9408, -9400, kTextDigitizingError},
    {-9999, -9994, kTextControllerError},
};

OwnText TextOfStatus(U_u32 code)
{
    return code < std::size(kStatusTexts) ? kStatusTexts[code] : kTextNone;
}

OwnText TextOfSystemCode(U_i32 code)
{
    for (const SystemText& text : kSystemTexts)
    {
        if (text.mCode == code)
            return text.mText;
    }
    for (const SystemFamily& family : kSystemFamilies)
    {
        if (family.mLowest <= code && code <= family.mHighest)
            return family.mText;
    }
    return kTextNone;
}

const char* ReasonOf(OwnText text)
{
    return text == kTextNone ? "" : Up_StringOrEnglish(text);
}

// A copy of a text without its full stop. A copy, since a failed look-up of a text is reported,
// and that report overwrites the buffer.
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
    const char* const known = ReasonOf(TextOfStatus(code));
    // Both the format and the reason may end in a full stop; the message has one.
    Message reason(known);
    if (!*known)
        std::snprintf(reason.mText, sizeof(reason.mText), " (%x)", code);
    const char* const separator = *known && *text.mText ? Up_StringOrEnglish(kTextDash) : "";
    Up_FormatString(kTextMessageAndReason, buffer, U_ReportTextSize, text.mText, separator,
                    reason.mText);
}

void AppendSystemText(U_i32 code, char* buffer)
{
    const Message text(buffer);
    const char* const reason = ReasonOf(TextOfSystemCode(code));
    if (*reason)
        Up_FormatString(kTextMessageReasonAndCode, buffer, U_ReportTextSize, text.mText, reason,
                        code);
    else
        Up_FormatString(kTextMessageAndCode, buffer, U_ReportTextSize, text.mText, code);
}

U_UTF16String U_GetStatusText(U_Status code)
{
    for (const StatusText& text : kFurtherStatusTexts)
    {
        if (text.mCode == code)
            return U_ZStringToUTF16String(text.mZString);
    }
    const OwnText text = code < 0 ? TextOfSystemCode(code) : TextOfStatus(static_cast<U_u32>(code));
    return text == kTextNone ? U_SubString16(U_ZStringToFormat(kNumberOnly), code)
                             : U_ZStringToUTF16String(Up_ZStringOf(text));
}

void Up_NuloEnglishError(U_u32 code)
{
    AppendStatusText(code, Up_GetThreadLoggingBuffer());
}

void Up_SysEnglishError(U_i32 code)
{
    AppendSystemText(code, Up_GetThreadLoggingBuffer());
}
