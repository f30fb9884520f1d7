#include <cstring>

#include "U_Date.h"
#include "U_Encoding.h"
#include "U_Format.h"
#include "U_Group.h"
#include "U_LStr.h"
#include "U_Report.h"
#include "U_String.h"
#include "U_Telemetry.h"
#include "U_ZString.h"
#include "tests/operations/Operations.h"
#include "tests/operations/Texts.h"
#include "tests/support/Text.h"

namespace
{
// Longer than the buffer inside a string object.
const char kNarrow[] = "a text of some forty characters: caf\xE9, \xFC";
const char kZString[] = "$$$/operations/text=a default that is too long#{endl}for a string object";
const char kResolved[] = "a default that is too long\r\nfor a string object";
const U_UTF16String kWide = Units(u"a text of some forty characters: caf\u00E9, \u00FC");
const U_u32 kVersion = 0x87080600;
const U_UTF16String kFormat = Units(u"^L1 messages of a length that matters, ^2");
const U_UTF16String kMessage = Units(u"a file with a long name");
const U_UTF16String kGroup =
    Units(u"Several files can't be read|||A file can't be read###@0 files:");
const U_UTF16String kGrouped = Units(
    u"Grouped_Message_{Several files can't be read|||A file can't be read###@0 files:}a file with "
    u"a long name");

Outcome LookUpInTable(Own&)
{
    Table module;
    U_LStrCache* table = &module;
    if (const U_Status failure = U_ZRegisterLStrCache(&table))
        return OfCode(failure, false, table == &module);
    int error = 0;
    const bool right = std::strcmp(U_ZLookupLStrCache(table, 0, 0, &error), Table::kText) == 0;
    const Outcome outcome = OfCode(error, right);
    return U_ZUnregisterLStrCache(&table) ? kWrong : outcome;
}
} // namespace

Operations TextOperations()
{
    return {
        {"U_MBToUTF16String", kBadAlloc,
         [](Own&) { return RightIf(U_MBToUTF16String(kNarrow) == kWide); }},
        {"U_UTF16ToMBString", kBadAlloc,
         [](Own&) { return RightIf(U_UTF16ToMBString(kWide, true) == kNarrow); }},
        {"Up_HDT_ConvertToMB", kBadAlloc,
         [](Own&) { return RightIf(Up_HDT_ConvertToMB(kWide) == kNarrow); }},
        {"U_AsciiToUTF16String", kBadAlloc,
         [](Own&) { return RightIf(IsAscii(U_AsciiToUTF16String(kResolved), kResolved)); }},
        {"U_CopyStringW", kCode4,
         [](Own&) {
             U_u16 text[32] = {};
             const U_Status code = U_CopyStringW(kWide.c_str(), 32, text);
             return OfCode(code, std::equal(text, text + 31, kWide.begin()), !*text);
         }},
        {"U_ConvertEnglishEncodedTextToCurrentEncoding", kBadAlloc,
         [](Own&) {
             return RightIf(U_ConvertEnglishEncodedTextToCurrentEncoding(kNarrow) == kNarrow);
         }},
        {"U_CopyToUTF8Buf", kBadAlloc,
         [](Own&) {
             unsigned char text[10];
             U_CopyToUTF8Buf(kWide, sizeof(text), text);
             return RightIf(std::memcmp(text, "a text of", sizeof(text)) == 0);
         }},
        {"U_ConvertEncodedStringToUnicode", kBadAlloc,
         [](Own&) { return RightIf(U_ConvertEncodedStringToUnicode(1, 1252, kNarrow) == kWide); }},
        {"U_UTF16To8String and back", kBadAlloc,
         [](Own&) { return RightIf(U_UTF8To16String(U_UTF16To8String(kWide)) == kWide); }},
        {"U_SplitUTF16String", kBadAlloc,
         [](Own&) {
             std::vector<U_UTF16String> parts;
             U_SplitUTF16String(kWide, Units(u":"), parts);
             return RightIf(parts.size() == 2 && parts[0].size() == 31);
         }},
        {"U_TruncateStringToNumChars and U_TruncateStringToByteSize", kBadAlloc,
         [](Own&) {
             U_UTF16String wide = kWide;
             U_UTF8String narrow = U_UTF16To8String(kWide);
             const U_UTF8String whole = narrow;
             RunOrLeaveIntact([&] { U_TruncateStringToNumChars(&wide, 36); },
                              [&] { return wide == kWide; });
             RunOrLeaveIntact([&] { U_TruncateStringToByteSize(&narrow, 37); },
                              [&] { return narrow == whole; });
             return RightIf(wide == kWide.substr(0, 36) && narrow == whole.substr(0, 36));
         }},
        {"U_SecondsToDateTimeString", kBadAlloc | kLess,
         [](Own&) {
             return RightIf(IsAscii(U_SecondsToDateTimeString(86400, U_DateType_Long,
                                                              U_DateTimeDisplay_DateAndTime, true),
                                    "Saturday, January 2, 1904, 12:00:00 AM"),
                            kLess);
         }},
        {"U_UTF16Version", kBadAlloc,
         [](Own&) { return RightIf(IsAscii(U_UTF16Version(kVersion, true), "9.0 Windows 64")); }},
        {"U_AsciiVersion", kCode4,
         [](Own&) {
             char text[256];
             const U_Status code = U_AsciiVersion(kVersion, false, text);
             return OfCode(code, text == std::string_view("9.0\xBC (Windows 64)"),
                           std::string_view(text).substr(0, 3) == "9.0");
         }},
        {"U_LongFormatBytes", kBadAlloc | kThrown4,
         [](Own&) { return RightIf(IsAscii(U_LongFormatBytes(1536 << 10), "1.5 MB")); }},
        {"U_GetStatusText", kBadAlloc | kThrown4,
         [](Own&) {
             return RightIf(IsAscii(U_GetStatusText(U_Err_OutOfMemory), "Out of memory."));
         }},
        {"U_ZStringToFormat", kBadAlloc,
         [](Own&) { return RightIf(IsAscii(U_ZStringToFormat(kZString), kResolved)); }},
        {"StripQuotedContents", kBadAlloc,
         [](Own&) {
             static const U_UTF16String kText = Units(u"cannot open \"/a/long/path/to/it\"");
             return RightIf(IsAscii(U::telemetry::StripQuotedContents(kText), "cannot open \"\""));
         }},
        {"U_StringToUpper and U_StringToLower", kBadAlloc,
         [](Own&) {
             char text[] = "A lower-case text of more than fifteen";
             U_StringToUpper(text);
             const bool isUpper = std::strcmp(text, "A LOWER-CASE TEXT OF MORE THAN FIFTEEN") == 0;
             U_StringToLower(text);
             return RightIf(isUpper &&
                            std::strcmp(text, "a lower-case text of more than fifteen") == 0);
         }},
        {"U_strcmp", kBadAlloc, [](Own&) { return RightIf(U_strcmp(kNarrow, kResolved) > 0); }},
        {"U_ZStringToMBRaw", kCode4,
         [](Own&) {
             return InBuffer("before", kResolved,
                             [](char* text) { return U_ZStringToMBRaw(kZString, 256, text); });
         }},
        {"U_ZStringToUTF16String", kBadAlloc,
         [](Own&) { return RightIf(IsAscii(U_ZStringToUTF16String(kZString), kResolved)); }},
        {"U_ZStringToMBString", kBadAlloc,
         [](Own&) { return RightIf(U_ZStringToMBString(kZString) == kResolved); }},
        {"U_ZStringToEnglishMBString", kBadAlloc,
         [](Own&) { return RightIf(U_ZStringToEnglishMBString(kZString) == kResolved); }},
        {"U_SubString into a buffer", kCode4,
         [](Own&) {
             return InBuffer("before", "7 of 1.5 of a text of a length that matters",
                             [](char* text) {
                                 return U_SubString(text, 256, "^L1 of ^F2 of ^3", 7, 1.5,
                                                    "a text of a length that matters");
                             });
         }},
        {"U_SubString", kCode4,
         [](Own&) {
             U_UTF16String out;
             const U_Status code = U_SubString(out, kFormat, 3, "text");
             return OfCode(code, IsAscii(out, "3 messages of a length that matters, text"),
                           out.empty());
         }},
        {"U_SubString16", kThrown4,
         [](Own&) { return RightIf(U_SubString16(kFormat, 3, "text").size() == 41); }},
        {"a group's identifier and its parts", kBadAlloc,
         [](Own&) {
             U_UTF16String text = U_FormUniqueGroupErrorMessageIdentifier(kWide, kFormat, kMessage);
             U_ExtractSingularPluralFromUniqueGroupIdentifier(text, nullptr, nullptr, &text);
             return RightIf(text == kMessage);
         }},
        {"U_GroupErrorMessage", kBadAlloc,
         [](Own&) { return RightIf(U_GroupErrorMessage(kMessage, kGroup) == kGrouped); }},
        {"U_StripGroupedErrorMessage", kBadAlloc,
         [](Own&) {
             U_UTF16String key;
             const bool isStripped = U_StripGroupedErrorMessage(kGrouped, &key) == kMessage;
             return RightIf(isStripped && key.size() == kGroup.size() + 2); // two blanks
         }},
        {"U_ZLookupLStrCache", kCode4, &LookUpInTable},
    };
}
