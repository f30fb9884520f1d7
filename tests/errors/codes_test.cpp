// The library's own texts, and the meanings of codes.

#include <array>
#include <cstdio>
#include <iterator>
#include <limits>
#include <map>
#include <tuple>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "U_String.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

namespace
{
// Indices of texts.
const U_u32 kOutOfMemory = 33;
const U_u32 kDash = 106;
const U_u32 kTextAndReason = 107;
const U_u32 kTextAndCode = 109;
const U_u32 kTextCount = 119;

// Texts by their index, as users read them, and in ASCII.
const std::tuple<U_u32, const char*, const char*> kTexts[] = {
    {0, "", ""},
    {1, " warning", " warning"},
    {3, " can\u2019t continue", " can't continue"},
    {4, "%s at line %d in file \u201C%s\u201D.", "%s at line %d in file \"%s\"."},
    {7, "not enough memory to create %s.\r\n(%dK requested, %dK available)",
     "not enough memory to create %s.\n(%dK requested, %dK available)"},
    {kOutOfMemory, "Out of memory.", "Out of memory."},
    {40, "no error occurred", "no error occurred"},
    {kDash, " \u2014 ", " -- "},
    {kTextAndReason, "%s%s%s.", "%s%s%s."},
    {108, "%s \u2014 %s (%d).", "%s -- %s (%d)."},
    {118, "Path name too long", "Path name too long"},
};

// The indices of the texts of the status codes from 0 on.
const U_u32 kStatusTexts[] = {40, 0, 41, 42, 33, 43, 44, 45, 46, 47, 48, 49, 50};

// The key by which translations find a text.
std::string KeyOf(U_u32 index)
{
    return "/QX/UOverride/LStr/" + std::to_string(10000 + index).substr(1);
}

class Codes : public BornLibrary
{
protected:
    static void ExpectTexts(bool plain)
    {
        for (const auto& [index, written, ascii] : kTexts)
            EXPECT_STREQ(Up_String(index), plain ? ascii : written);
        for (U_u32 index : {kTextCount, kTextCount + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
            EXPECT_STREQ(Up_String(index), "[?]") << index;
    }

    // Return a text with the meaning of a code appended in the thread logging buffer.
    static std::string WithStatus(const std::string& text, U_u32 code)
    {
        return Appended(text, &Up_NuloEnglishError, code);
    }
    static std::string WithSystemCode(const std::string& text, U_i32 code)
    {
        return Appended(text, &Up_SysEnglishError, code);
    }

    void Translate(const std::vector<ImageEntry>& entries)
    {
        mImage = BinaryImage(entries);
        ASSERT_EQ(U_ZStringSetCurrentDictionary(mImage.units.data(), mImage.size), 0);
    }

private:
    template <class Code>
    static std::string Appended(const std::string& text, void (*append)(Code), Code code)
    {
        U_CopyString(text.c_str(), U_ReportTextSize, Up_GetThreadLoggingBuffer());
        append(code);
        return Up_GetThreadLoggingBuffer();
    }

    DictionaryImage mImage;
};
} // namespace

TEST_F(Codes, TextsArePlainUntilALanguageIsChosenAndOutsideALife)
{
    ExpectTexts(true);
    const ScActiveCodePage utf8(65001);
    U_ZStringSetEnglish();
    ExpectTexts(false);
    ASSERT_EQ(U_Death(), 0);
    ExpectTexts(true);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    ExpectTexts(true);
}

TEST_F(Codes, TextsAreTranslatedByTheirNumbersUntilTheLifeEnds)
{
    std::vector<ImageEntry> entries;
    for (U_u32 i = 0; i < kTextCount; ++i)
    {
        const std::string text = "Text " + std::to_string(i);
        entries.push_back({KeyOf(i), std::u16string(text.begin(), text.end())});
    }
    for (int life = 0; life < 2; ++life)
    {
        Translate(entries);
        const char* const text = Up_String(kOutOfMemory);
        for (U_u32 i = 0; i < kTextCount; ++i)
            EXPECT_EQ(Up_String(i), "Text " + std::to_string(i));
        EXPECT_EQ(Up_String(kOutOfMemory), text);
        LiveAnew();
        U_ZStringSetEnglish();
        EXPECT_STREQ(Up_String(kOutOfMemory), "Out of memory.");
        LiveAnew();
    }
}

TEST_F(Codes, StatusCodesHaveTextsOrAppearInHexadecimal)
{
    for (U_u32 code = 0; code < 6000; ++code)
    {
        std::string meaning = code < std::size(kStatusTexts) ? Up_String(kStatusTexts[code]) : "";
        if (meaning == "Out of memory.")
            meaning.pop_back(); // the message ends in one full stop
        char number[16];
        std::snprintf(number, sizeof(number), " (%x)", code);
        EXPECT_EQ(WithStatus("reading", code),
                  "reading" + (meaning.empty() ? number : " -- " + meaning) + ".");
    }
    EXPECT_EQ(WithStatus("reading", 0xFFFFFFFF), "reading (ffffffff).");
}

TEST_F(Codes, SystemCodesHaveTextsAndAppearInDecimal)
{
    // The ends of the families of codes, and codes with a text of their own. Index 0: no text.
    const std::map<U_i32, U_u32> indices = {
        {99, 0},      {0, 0},       {-32, 0},     {-33, 15},    {-39, 21},           {-40, 0},
        {-50, 70},    {-108, 33},   {-1999, 0},   {-2000, 90},  {-2003, 72},         {-2050, 82},
        {-2058, 90},  {-2059, 0},   {-2110, 118}, {-2799, 0},   {-2800, 91},         {-2814, 88},
        {-2899, 91},  {-2900, 0},   {-5000, 89},  {-8959, 0},   {-8960, 101},        {-8972, 100},
        {-8976, 101}, {-8977, 0},   {-9399, 0},   {-9400, 102}, {-9408, 102},        {-9409, 0},
        {-9993, 0},   {-9994, 103}, {-9999, 103}, {-10000, 0},  {-2147483647 - 1, 0}};
    for (const auto& [code, index] : indices)
        EXPECT_EQ(WithSystemCode("reading", code),
                  "reading" + (index ? std::string(" -- ") + Up_String(index) : "") + " (" +
                      std::to_string(code) + ").");
}

TEST_F(Codes, AMeaningReplacesTheFullStopOfTheText)
{
    const std::array<const char*, 5> kRows[] = {
        {"", "Out of memory.", " (1701).", " -- file not found (-43).", " (-1)."},
        {".", "Out of memory.", " (1701).", " -- file not found (-43).", " (-1)."},
        {"a.", "a -- Out of memory.", "a (1701).", "a -- file not found (-43).", "a (-1)."},
        {"a..", "a. -- Out of memory.", "a. (1701).", "a. -- file not found (-43).", "a. (-1)."},
        {"%s%n", "%s%n -- Out of memory.", "%s%n (1701).", "%s%n -- file not found (-43).",
         "%s%n (-1)."},
    };
    for (const auto& [text, withStatus, withNumber, withSystemCode, withSystemNumber] : kRows)
    {
        EXPECT_EQ(WithStatus(text, 4), withStatus);
        EXPECT_EQ(WithStatus(text, 0x1701), withNumber);
        EXPECT_EQ(WithSystemCode(text, -43), withSystemCode);
        EXPECT_EQ(WithSystemCode(text, -1), withSystemNumber);
    }
    U_ZStringSetEnglish();
    EXPECT_EQ(WithStatus("reading header.", 4), "reading header \x97 Out of memory.");
    EXPECT_EQ(WithSystemCode("opening project", -43), "opening project \x97 file not found (-43).");
}

TEST_F(Codes, AMessageThatDoesNotFitTheBufferIsCutAtACharacter)
{
    for (std::size_t length : {493u, 494u, 500u, 510u, 511u})
    {
        const std::string text(length, 'x');
        EXPECT_EQ(WithStatus(text, 4), (text + " -- Out of memory.").substr(0, 511));
        EXPECT_EQ(WithSystemCode(text, -108), (text + " -- Out of memory. (-108).").substr(0, 511));
        EXPECT_EQ(WithStatus(text, 0x1701), (text + " (1701).").substr(0, 511));
        EXPECT_EQ(WithSystemCode(text, -1), (text + " (-1).").substr(0, 511));
    }

    // Characters of two bytes each.
    const ScActiveCodePage japanese(932);
    Translate({{KeyOf(kOutOfMemory), u"\u30BD\u30BD"}, {KeyOf(kDash), u" \u2015 "}});
    const std::pair<std::size_t, const char*> kRows[] = {
        {502, " \x81\x5C \x83\x5C\x83\x5C."},
        {503, " \x81\x5C \x83\x5C\x83\x5C"},
        {504, " \x81\x5C \x83\x5C"},
        {505, " \x81\x5C \x83\x5C"},
        {508, " \x81\x5C"},
        {509, " "},
    };
    for (const auto& [length, ending] : kRows)
    {
        const std::string text(length, 'x');
        EXPECT_EQ(WithStatus(text, 4), text + ending) << length;
    }
}

TEST_F(Codes, EachStatusHasATextForPeople)
{
    const std::pair<U_Status, const char*> kRows[] = {
        {0, "no error occurred"},
        {1, "the failure has been shown already"},
        {4, "Out of memory."},
        {12, "multiple births"},
        {13, "error 13"},
        {14, "an exception of an unknown kind"},
        {517, "the call was given up"},
        {5889, "the library is not running"},
        {-43, "file not found"},
        {-2021, "QuickTime error"},
        {std::numeric_limits<U_Status>::min(), "error -2147483648"},
    };
    for (const auto& [code, text] : kRows)
        EXPECT_EQ(U_UTF16ToMBString(U_GetStatusText(code), true), text) << code;
    Translate({{"/QX/U/Status/UnknownException", u"Ausnahme"}});
    EXPECT_EQ(U_GetStatusText(U_Err_UnknownException), Units(u"Ausnahme"));
}

TEST_F(Codes, TranslationsMayRewordAMessage)
{
    Translate({{KeyOf(kTextAndReason), u"<%s|%s|%s> 100%%"},
               {KeyOf(kTextAndCode), u"Fehler bei %s: %d"},
               {KeyOf(kOutOfMemory), u"."}});
    EXPECT_EQ(WithStatus("a.", 0x1701), "<a|| (1701)> 100%");
    EXPECT_EQ(WithSystemCode("a.", -1), "Fehler bei a: -1");
    EXPECT_EQ(WithStatus("a.", 4), "<a| \x97 |> 100%") << "a full stop is a meaning, too";
}

TEST_F(Codes, ATranslationWithOtherFieldsIsReplacedByEnglish)
{
    const char* const kFormats[] = {"",        "%s",       "%s%s",    "%s%s%s%s",
                                    "%s%d%s",  "%s%n%s",   "%s%s%",   "%s%s%s%",
                                    "%s%s%ls", "%1$s%s%s", "%*s%s%s", "%s%5s%s"};
    for (const std::string format : kFormats)
    {
        SCOPED_TRACE(format);
        Translate({{KeyOf(kTextAndReason), std::u16string(format.begin(), format.end())}});
        EXPECT_EQ(WithStatus("a", 0x1701), "a (1701).");
        LiveAnew();
    }
}
