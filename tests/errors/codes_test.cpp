// The library's own texts, held against a list of what users read, and codes in words.

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "U_Encoding.h"
#include "U_Lifecycle.h"
#include "U_Report.h"
#include "U_String.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

namespace
{
struct Text
{
    const char* text;
    U_i32 systemCode = 0;        // that it stands for, if any
    const char* plain = nullptr; // in ASCII, if that differs
};

// By index.
const Text kTexts[] = {
    {""},
    {" warning"},
    {" error"},
    {" can\u2019t continue", 0, " can't continue"},
    {"%s at line %d in file \u201C%s\u201D.", 0, "%s at line %d in file \"%s\"."},
    {"unable to allocate %d bytes for %s."},
    {"not enough memory to create %s.  (%dK requested)"},
    {"not enough memory to create %s.\r\n(%dK requested, %dK available)", 0,
     "not enough memory to create %s.\n(%dK requested, %dK available)"},
    {"unable to load resource ID %d"},
    {"null internal structures."},
    {"Error reporting error: %s"},
    {"Internal structures damaged."},
    {"out of memory while trying to U_Birth"},
    {"bad parameter passed to U_DoModalDlgP"},
    {"loading resource"},
    {"directory full", -33},
    {"disk is full", -34},
    {"no such volume", -35},
    {"disk error (I/O error; bad media)", -36},
    {"bad file name", -37},
    {"file not open", -38},
    {"unexpected end-of-file", -39},
    {"too many files are open", -42},
    {"file not found", -43},
    {"disk is write protected", -44},
    {"file is locked", -45},
    {"volume is locked", -46},
    {"file is busy (delete)", -47},
    {"duplicate filename", -48},
    {"file is already open", -49},
    {"bad file reference-number", -51},
    {"you do not have permission to open this file", -54},
    {"write permissions problem", -61},
    {"Out of memory.", -108},
    {"no such directory", -120},
    {"server volume has disconnected", -124},
    {"color table entry protection has been violated", -154},
    {"invalid type of graphics device", -155},
    {"sound queue is full", -203},
    {"an undefined code was passed to Gestalt", -5551},
    {"no error occurred"},
    {"internal structure damaged"},
    {"a bad parameter was passed"},
    {"sorry, this is unimplemented"},
    {"resource is missing or damaged"},
    {"header is out of date"},
    {"unsupported in this environment"},
    {"unsupported document version"},
    {"internal value out of range"},
    {"multiple or corrupted death"},
    {"multiple births"},
    {"invalid severity code"},
    {"Your string is too long."},
    {"assertion failed\r\n%s\r\nline: %d of file: %s.", 0,
     "assertion failed\n%s\nline: %d of file: %s."},
    {"bad version architecture"},
    {"Macintosh"},
    {"SPARC"},
    {"Windows"},
    {"SGI"},
    {"RS/6000"},
    {"DEC"},
    {"HP"},
    {"HP/700"},
    {"Win32"},
    {"Macintosh"},
    {"unknown"},
    {"resizing block"},
    {"invalid memory block", -111},
    {"resizing handle"},
    {"resizing pointer"},
    {"bad parameter", -50},
    {"resource not found", -192},
    {"can\u2019t find QuickTime handler", -2003, "can't find QuickTime handler"},
    {"can\u2019t open QuickTime handler", -2004, "can't open QuickTime handler"},
    {"no QuickTime data handler", -2007},
    {"invalid QuickTime media", -2008},
    {"invalid QuickTime movie", -2010},
    {"invalid QuickTime duration", -2014},
    {"invalid QuickTime time", -2015},
    {"QuickTime not initialized", -2020},
    {"bad QuickTime track index", -2028},
    {"no QuickTime movie found", -2048},
    {"bad QuickTime data reference", -2050},
    {"code fragment connection not found", -2801},
    {"code fragment symbol not found", -2802},
    {"code fragment library not found", -2804},
    {"code fragment duplicate name", -2805},
    {"code fragment library too old", -2813},
    {"code fragment library too new", -2814},
    {"access denied", -5000},
    {"QuickTime error"},
    {"code fragment error"},
    {" debug info"},
    {"getting size of handle"},
    {"swapping handle data"},
    {"missing QuickTime codec", -8961},
    {"QuickTime codec abort error", -8967},
    {"QuickTime codec bad data error", -8969},
    {"QuickTime codec data version error", -8970},
    {"QuickTime codec extension not found", -8971},
    {"QuickTime codec condition error", -8972},
    {"QuickTime codec error"},
    {"QuickTime digitizing error"},
    {"QuickTime controller error"},
    {"OK"},
    {"( %d :: %d )"},
    {" \u2014 ", 0, " -- "},
    {"%s%s%s."},
    {"%s \u2014 %s (%d).", 0, "%s -- %s (%d)."},
    {"%s (%d)."},
    {"internal verification failure, sorry! {^1}"},
    {"Verification failure: ^1 {^2}"},
    {"Out of memory. (%dK requested)"},
    {"tracked memory global table"},
    {"tracked memory name"},
    {"bad tracked memory ID"},
    {"Cannot resize a locked handle."},
    {"Out of memory.\r\n(%dK requested, %dK available)", 0,
     "Out of memory.\n(%dK requested, %dK available)"},
    {"Path name too long", -2110},
};
const U_u32 kTextCount = std::size(kTexts);

// By status code.
const char* const kStatusTexts[] = {
    "no error occurred",
    nullptr,
    "internal structure damaged",
    "a bad parameter was passed",
    "Out of memory",
    "sorry, this is unimplemented",
    "resource is missing or damaged",
    "header is out of date",
    "unsupported in this environment",
    "unsupported document version",
    "internal value out of range",
    "multiple or corrupted death",
    "multiple births",
};

const char* PlainText(const Text& text)
{
    return text.plain ? text.plain : text.text;
}

std::string SystemText(U_i32 code)
{
    const auto found = std::find_if(std::begin(kTexts), std::end(kTexts), [=](const Text& text) {
        return text.systemCode && text.systemCode == code;
    });
    if (found != std::end(kTexts))
        return PlainText(*found);
    if (code <= -2000 && code >= -2058)
        return "QuickTime error";
    if (code <= -2800 && code >= -2899)
        return "code fragment error";
    if (code <= -8960 && code >= -8976)
        return "QuickTime codec error";
    if (code <= -9400 && code >= -9408)
        return "QuickTime digitizing error";
    if (code <= -9994 && code >= -9999)
        return "QuickTime controller error";
    return "";
}

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
        for (U_u32 i = 0; i < kTextCount; ++i)
            EXPECT_STREQ(Up_String(i), plain ? PlainText(kTexts[i]) : kTexts[i].text) << i;
        for (U_u32 index : {kTextCount, kTextCount + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
            EXPECT_STREQ(Up_String(index), "[?]") << index;
    }

    // What becomes of a text in the thread logging buffer.
    static std::string WithStatus(const std::string& text, U_u32 code)
    {
        U_CopyString(text.c_str(), U_ReportTextSize, Up_GetThreadLoggingBuffer());
        Up_NuloEnglishError(code);
        return Up_GetThreadLoggingBuffer();
    }
    static std::string WithSystemCode(const std::string& text, U_i32 code)
    {
        U_CopyString(text.c_str(), U_ReportTextSize, Up_GetThreadLoggingBuffer());
        Up_SysEnglishError(code);
        return Up_GetThreadLoggingBuffer();
    }

    void Translate(const std::vector<ImageEntry>& entries)
    {
        mImage = BinaryImage(entries);
        ASSERT_EQ(U_ZStringSetCurrentDictionary(mImage.units.data(), mImage.size), 0);
    }

    // Texts that have been looked up stay until then.
    static void BeginAnotherLife()
    {
        ASSERT_EQ(U_Death(), 0);
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    }

private:
    DictionaryImage mImage;
};

const U_u32 kOutOfMemory = 33;
const U_u32 kDash = 106;
const U_u32 kTextAndReason = 107;
const U_u32 kTextAndCode = 109;
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
        const std::string number = std::to_string(i);
        entries.push_back({KeyOf(i), u"Text " + std::u16string(number.begin(), number.end())});
    }
    for (int life = 0; life < 2; ++life)
    {
        Translate(entries);
        const char* const text = Up_String(kOutOfMemory);
        for (U_u32 i = 0; i < kTextCount; ++i)
            EXPECT_EQ(Up_String(i), "Text " + std::to_string(i));
        EXPECT_EQ(Up_String(kOutOfMemory), text);
        BeginAnotherLife();
        U_ZStringSetEnglish();
        EXPECT_STREQ(Up_String(kOutOfMemory), "Out of memory.");
        BeginAnotherLife();
    }
}

TEST_F(Codes, StatusCodesHaveTextsOrAppearInHexadecimal)
{
    for (U_u32 code = 0; code < 6000; ++code)
    {
        const char* const known = code < std::size(kStatusTexts) ? kStatusTexts[code] : nullptr;
        char number[16];
        std::snprintf(number, sizeof(number), " (%x).", code);
        EXPECT_EQ(WithStatus("reading", code), known ? "reading -- " + std::string(known) + "."
                                                     : std::string("reading") + number);
    }
    EXPECT_EQ(WithStatus("reading", 0xFFFFFFFF), "reading (ffffffff).");
}

TEST_F(Codes, SystemCodesHaveTextsAndAppearInDecimal)
{
    for (U_i32 code = -10100; code < 100; ++code)
    {
        const std::string text = SystemText(code);
        EXPECT_EQ(WithSystemCode("reading", code), "reading" + (text.empty() ? "" : " -- " + text) +
                                                       " (" + std::to_string(code) + ").");
    }
    EXPECT_EQ(WithSystemCode("reading", -2147483647 - 1), "reading (-2147483648).");
}

TEST_F(Codes, TheEndingTakesThePlaceOfAFullStop)
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

TEST_F(Codes, WhatDoesNotFitTheBufferIsCutAtACharacter)
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
        {2, "internal structure damaged"},
        {3, "a bad parameter was passed"},
        {4, "Out of memory."},
        {10, "internal value out of range"},
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
    EXPECT_EQ(WithStatus("a.", 4), "<a| \x97 |> 100%") << "a full stop is a reason, too";
}

TEST_F(Codes, ATranslationWithOtherFieldsIsPassedOver)
{
    const char* const kFormats[] = {"",        "%s",       "%s%s",    "%s%s%s%s",
                                    "%s%d%s",  "%s%n%s",   "%s%s%",   "%s%s%s%",
                                    "%s%s%ls", "%1$s%s%s", "%*s%s%s", "%s%5s%s"};
    for (const std::string format : kFormats)
    {
        SCOPED_TRACE(format);
        Translate({{KeyOf(kTextAndReason), std::u16string(format.begin(), format.end())}});
        EXPECT_EQ(WithStatus("a", 0x1701), "a (1701).");
        BeginAnotherLife();
    }
}
