// Texts, formats, dates and groups, while allocations fail.

#include <cstring>
#include <deque>

#include <platform/control.h>

#include "U_Date.h"
#include "U_Encoding.h"
#include "U_Format.h"
#include "U_Group.h"
#include "U_LStr.h"
#include "U_Lifecycle.h"
#include "U_Machine.h"
#include "U_String.h"
#include "U_Telemetry.h"
#include "U_ZString.h"
#include "tests/faults/Faults.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

namespace
{
typedef Faults TextFaults;

// Longer than the buffer inside a string object.
const char kNarrow[] = "a text of some forty characters: caf\xE9, \xFC";
const std::u16string_view kWide = u"a text of some forty characters: caf\u00E9, \u00FC";
const char kZString[] = "$$$/faults/text=a default that is too long for a string object";
const char kResolved[] = "a default that is too long for a string object";

char sZString[] = "$$$/faults/row=the text of a row that is looked up";

// A table of a module, with one row.
struct Table : U_LStrCache
{
    Table() : U_LStrCache{nullptr, 2, rows, 0} {}
    const char* LookUp() { return U_ZLookupLStrCache(this, 0, 0, nullptr); }
    U_LStrRow rows[2] = {{sZString, nullptr, nullptr, 0}, {}};
};

bool IsAscii(const U_UTF16String& text, const char* expected)
{
    return text.size() == std::strlen(expected) && std::equal(text.begin(), text.end(), expected);
}

// Runs a body that writes into a buffer. A failure must leave the buffer as it was, or empty.
template <class Body> Outcome InBuffer(const char* expected, Body body)
{
    char text[256] = "before";
    const U_Status code = body(text);
    return OfCode(code, std::strcmp(text, expected) == 0,
                  !*text || std::strcmp(text, "before") == 0);
}
} // namespace

TEST_F(TextFaults, Conversions)
{
    const std::string narrow = kNarrow;
    const U_UTF16String wide = Units(kWide);
    Walk({
        {"U_MBToUTF16String", kBadAlloc,
         [&] { return RightIf(U_MBToUTF16String(narrow) == wide); }},
        {"U_UTF16ToMBString", kBadAlloc,
         [&] { return RightIf(U_UTF16ToMBString(wide, true) == narrow); }},
        {"U_ConvertEncodedStringToUnicode", kBadAlloc,
         [&] { return RightIf(U_ConvertEncodedStringToUnicode(1, 1252, kNarrow) == wide); }},
        {"U_GetUsername", kBadAlloc | kLess,
         [] { return RightIf(!U_GetUsername().empty(), kLess); }},
        {"StripQuotedContents", kBadAlloc,
         [] {
             const U_UTF16String text = U_AsciiToUTF16String("cannot open \"/a/long/path/to/it\"");
             return RightIf(IsAscii(U::telemetry::StripQuotedContents(text), "cannot open \"\""));
         }},
    });
}

TEST_F(TextFaults, Buffers)
{
    Walk({
        {"U_StringToUpper", kBadAlloc,
         [] {
             char text[] = "a lower-case text of more than fifteen";
             U_StringToUpper(text);
             return RightIf(std::strcmp(text, "A LOWER-CASE TEXT OF MORE THAN FIFTEEN") == 0);
         }},
        {"U_strcmp", kBadAlloc, [] { return RightIf(U_strcmp(kNarrow, kResolved) > 0); }},
        {"U_ZStringToMBRaw", kCode4,
         [] {
             return InBuffer(kResolved,
                             [](char* text) { return U_ZStringToMBRaw(kZString, 256, text); });
         }},
        {"U_SubString into a buffer", kCode4,
         [] {
             return InBuffer("7 of 1.5 of a text of a length that matters", [](char* text) {
                 return U_SubString(text, 256, "^L1 of ^F2 of ^3", 7, 1.5,
                                    "a text of a length that matters");
             });
         }},
    });
}

// Numbers are converted through UTF-16 if a mark is not ASCII.
TEST_F(TextFaults, Numbers)
{
    const ScActiveCodePage active(65001);
    platform::SetUserLocale("fr_FR");
    Walk({
        {"U_FormatNum", kCode4,
         [] {
             return InBuffer("1\302\240234,5",
                             [](char* text) { return U_FormatNum(1234.5, 8, 1, 1, text); });
         }},
        {"U_ScanNum", kCode4,
         [] {
             char text[] = "1234,5\302\240";
             double number = 7;
             const int code = U_ScanNum(text, 0, &number);
             return OfCode(code, number == 1234.5, number == 7);
         }},
        {"U_InternationalizeNum", kCode4,
         [] {
             char text[256] = "1,234.5";
             const int code = U_InternationalizeNum(text);
             return OfCode(code, std::strcmp(text, "1\302\240234,5") == 0,
                           std::strcmp(text, "1,234.5") == 0);
         }},
    });
}

TEST_F(TextFaults, ZStringsMessagesAndGroups)
{
    const U_UTF16String heading = Units(u"Several files can't be read");
    const U_UTF16String label = Units(u"@0 errors in all of these files:");
    const U_UTF16String message = Units(u"a file with a long name");
    const U_UTF16String format = Units(u"^L1 messages of a length that matters, ^2");
    const U_UTF16String identifier =
        U_FormUniqueGroupErrorMessageIdentifier(heading, label, heading);
    const U_UTF16String grouped = U_GroupErrorMessage(message, identifier);
    Walk({
        {"U_ZStringToUTF16String", kBadAlloc,
         [] { return RightIf(IsAscii(U_ZStringToUTF16String(kZString), kResolved)); }},
        {"U_SubString", kCode4,
         [&] {
             U_UTF16String out;
             const U_Status code = U_SubString(out, format, 3, "text");
             return OfCode(code, IsAscii(out, "3 messages of a length that matters, text"),
                           out.empty());
         }},
        {"U_SubString16", kThrown4,
         [&] { return RightIf(U_SubString16(format, 3, "text").size() == 41); }},
        {"U_GroupErrorMessage", kBadAlloc,
         [&] { return RightIf(U_GroupErrorMessage(message, identifier) == grouped); }},
        {"U_StripGroupedErrorMessage", kBadAlloc,
         [&] {
             U_UTF16String key;
             const bool isStripped = U_StripGroupedErrorMessage(grouped, &key) == message;
             return RightIf(isStripped && key.size() == identifier.size() + 2); // two blanks
         }},
    });
}

TEST_F(TextFaults, LStrTables)
{
    static char sName[] = "Faults";
    const auto lookUp = [] {
        Table module;
        module.mName = sName;
        U_LStrCache* table = &module;
        if (const U_Status failure = U_ZRegisterLStrCache(&table))
            return OfCode(failure, false, table == &module);
        int error = 0;
        const bool right = std::strcmp(U_ZLookupLStrCache(table, 0, 0, &error), sZString + 15) == 0;
        const Outcome outcome = OfCode(error, right);
        return U_ZUnregisterLStrCache(&table) ? kWrong : outcome;
    };
    Walk({{"U_ZLookupLStrCache", kCode4, lookUp}});
}

TEST_F(TextFaults, LStrTableWhoseFirstLookupFailedIsCleanedAtDeath)
{
    std::deque<Table> tables(1);
    FailEachNew([&] { tables.back().LookUp(); },
                [&](long) {
                    tables.back().LookUp();
                    tables.emplace_back();
                });
    ASSERT_EQ(U_Death(), 0);
    for (const Table& table : tables)
        EXPECT_EQ(table.rows[0].mEnglish, nullptr);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
}

TEST_F(TextFaults, Languages)
{
    DictionaryImage german = BinaryImage({{"/faults/text", u"ein Text, der lang genug ist"},
                                          {"/faults/other", u"noch ein Text von solcher Länge"}});
    DictionaryImage lines = TextImage(u"\"$$$/faults/line=eine Zeile mit einem langen Text\"\r\n");
    const auto load = [](DictionaryImage& image, const char* zstring, const char* expected) {
        const U_Status code = U_ZStringSetCurrentDictionary(image.units.data(), image.size);
        return code == U_Err_OutOfMemory
                   ? kCode4
                   : RightIf(code == 0 && IsAscii(U_ZStringToUTF16String(zstring), expected));
    };
    Walk({{"U_ZStringSetCurrentDictionary", kCode4 | kBadAlloc,
           [&] { return load(german, kZString, "ein Text, der lang genug ist"); }, true},
          {"U_ZStringSetCurrentDictionary of lines", kCode4 | kBadAlloc,
           [&] { return load(lines, "$$$/faults/line=x", "eine Zeile mit einem langen Text"); },
           true}});
}
