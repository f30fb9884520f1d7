// Status codes and system codes in words.

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <control.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "U_String.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

namespace
{
const std::map<U_u32, std::string> kStatusTexts = {
    {0, "no error occurred"},
    {2, "internal structure damaged"},
    {3, "a bad parameter was passed"},
    {4, "Out of memory"},
    {5, "sorry, this is unimplemented"},
    {6, "resource is missing or damaged"},
    {7, "header is out of date"},
    {8, "unsupported in this environment"},
    {9, "unsupported document version"},
    {10, "internal value out of range"},
    {11, "multiple or corrupted death"},
    {12, "multiple births"},
};

const std::map<U_i32, std::string> kSystemTexts = {
    {-33, "directory full"},
    {-34, "disk is full"},
    {-35, "no such volume"},
    {-36, "disk error (I/O error; bad media)"},
    {-37, "bad file name"},
    {-38, "file not open"},
    {-39, "unexpected end-of-file"},
    {-42, "too many files are open"},
    {-43, "file not found"},
    {-44, "disk is write protected"},
    {-45, "file is locked"},
    {-46, "volume is locked"},
    {-47, "file is busy (delete)"},
    {-48, "duplicate filename"},
    {-49, "file is already open"},
    {-50, "bad parameter"},
    {-51, "bad file reference-number"},
    {-54, "you do not have permission to open this file"},
    {-61, "write permissions problem"},
    {-108, "Out of memory."},
    {-111, "invalid memory block"},
    {-120, "no such directory"},
    {-124, "server volume has disconnected"},
    {-154, "color table entry protection has been violated"},
    {-155, "invalid type of graphics device"},
    {-192, "resource not found"},
    {-203, "sound queue is full"},
    {-2003, "can't find QuickTime handler"},
    {-2004, "can't open QuickTime handler"},
    {-2007, "no QuickTime data handler"},
    {-2008, "invalid QuickTime media"},
    {-2010, "invalid QuickTime movie"},
    {-2014, "invalid QuickTime duration"},
    {-2015, "invalid QuickTime time"},
    {-2020, "QuickTime not initialized"},
    {-2028, "bad QuickTime track index"},
    {-2048, "no QuickTime movie found"},
    {-2050, "bad QuickTime data reference"},
    {-2110, "Path name too long"},
    {-2801, "code fragment connection not found"},
    {-2802, "code fragment symbol not found"},
    {-2804, "code fragment library not found"},
    {-2805, "code fragment duplicate name"},
    {-2813, "code fragment library too old"},
    {-2814, "code fragment library too new"},
    {-5000, "access denied"},
    {-5551, "an undefined code was passed to Gestalt"},
    {-8961, "missing QuickTime codec"},
    {-8967, "QuickTime codec abort error"},
    {-8969, "QuickTime codec bad data error"},
    {-8970, "QuickTime codec data version error"},
    {-8971, "QuickTime codec extension not found"},
    {-8972, "QuickTime codec condition error"},
};

std::string SystemText(U_i32 code)
{
    const auto found = kSystemTexts.find(code);
    if (found != kSystemTexts.end())
        return found->second;
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

class Codes : public BornLibrary
{
protected:
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

private:
    DictionaryImage mImage;
};

const char kOutOfMemory[] = "/QX/UOverride/LStr/0033";
const char kTextAndReason[] = "/QX/UOverride/LStr/0107";
const char kTextAndCode[] = "/QX/UOverride/LStr/0109";
} // namespace

TEST_F(Codes, StatusCodesHaveTextsOrAppearInHexadecimal)
{
    for (U_u32 code = 0; code < 6000; ++code)
    {
        const auto found = kStatusTexts.find(code);
        char number[16];
        std::snprintf(number, sizeof(number), " (%x).", code);
        EXPECT_EQ(WithStatus("reading", code), found != kStatusTexts.end()
                                                   ? "reading -- " + found->second + "."
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
    const struct
    {
        const char* text;
        const char* withStatus;
        const char* withNumber;
        const char* withSystemCode;
        const char* withSystemNumber;
    } kRows[] = {
        {"", "Out of memory.", " (1701).", " -- file not found (-43).", " (-1)."},
        {".", "Out of memory.", " (1701).", " -- file not found (-43).", " (-1)."},
        {"a", "a -- Out of memory.", "a (1701).", "a -- file not found (-43).", "a (-1)."},
        {"a.", "a -- Out of memory.", "a (1701).", "a -- file not found (-43).", "a (-1)."},
        {"a..", "a. -- Out of memory.", "a. (1701).", "a. -- file not found (-43).", "a. (-1)."},
        {"%s%n", "%s%n -- Out of memory.", "%s%n (1701).", "%s%n -- file not found (-43).",
         "%s%n (-1)."},
    };
    for (const auto& row : kRows)
    {
        EXPECT_EQ(WithStatus(row.text, 4), row.withStatus);
        EXPECT_EQ(WithStatus(row.text, 0x1701), row.withNumber);
        EXPECT_EQ(WithSystemCode(row.text, -43), row.withSystemCode);
        EXPECT_EQ(WithSystemCode(row.text, -1), row.withSystemNumber);
    }
    EXPECT_EQ(WithSystemCode("a", -108), "a -- Out of memory. (-108).");
}

TEST_F(Codes, EndingsAreTypographicOnceALanguageIsChosen)
{
    U_ZStringSetEnglish();
    EXPECT_EQ(WithStatus("reading header.", 4), "reading header \x97 Out of memory.");
    EXPECT_EQ(WithSystemCode("opening project", -43), "opening project \x97 file not found (-43).");
}

TEST_F(Codes, WhatDoesNotFitTheBufferIsCut)
{
    // By the length of the text before, what is left of the ending.
    const std::map<std::size_t, std::string> kLeft = {
        {492, " -- Out of memory."},
        {493, " -- Out of memory."},
        {494, " -- Out of memory"},
        {500, " -- Out of "},
        {510, " "},
        {511, ""},
    };
    for (const auto& row : kLeft)
    {
        const std::string text(row.first, 'x');
        EXPECT_EQ(WithStatus(text, 4), text + row.second) << row.first;
        EXPECT_EQ(WithSystemCode(text, -108), (text + " -- Out of memory. (-108).").substr(0, 511));
        EXPECT_EQ(WithStatus(text, 0x1701), (text + " (1701).").substr(0, 511));
        EXPECT_EQ(WithSystemCode(text, -1), (text + " (-1).").substr(0, 511));
    }
}

TEST_F(Codes, TheCutKeepsCharactersWhole)
{
    const ScActiveCodePage japanese(932);
    Translate({{kOutOfMemory, u"\u30BD\u30BD\u30BD"}}); // each 0x83 0x5C
    const std::string kDash = "\x81\x5C";
    for (std::size_t length : {500u, 501u, 502u, 503u, 504u, 505u, 506u, 507u, 508u})
    {
        const std::string text(length, 'x');
        const std::string whole = text + " " + kDash + " \x83\x5C\x83\x5C\x83\x5C.";
        const std::size_t behindDash = length + 4; // from there on, two bytes a character
        std::size_t cut = std::min<std::size_t>(whole.size(), 511);
        if (cut < whole.size() && cut > behindDash)
            cut -= (cut - behindDash) % 2;
        EXPECT_EQ(WithStatus(text, 4), whole.substr(0, cut)) << length;
    }
    const std::string text(509, 'x'); // the dash itself would be parted
    EXPECT_EQ(WithStatus(text, 4), text + " ");
}

TEST_F(Codes, TranslationsMayRewordAMessage)
{
    Translate({{kTextAndReason, u"<%s|%s|%s> 100%%"}, {kTextAndCode, u"Fehler bei %s: %d"}});
    EXPECT_EQ(WithStatus("a.", 0x1701), "<a|| (1701)> 100%");
    EXPECT_EQ(WithSystemCode("a.", -1), "Fehler bei a: -1");
}

TEST_F(Codes, AReasonOfAFullStopIsAReason)
{
    Translate({{kOutOfMemory, u"."}});
    EXPECT_EQ(WithStatus("a", 4), "a \x97 .");
}

TEST_F(Codes, ATranslationWithOtherFieldsIsPassedOver)
{
    const char* const kFormats[] = {"",        "%s",       "%s%s",    "%s%s%s%s",
                                    "%s%d%s",  "%s%n%s",   "%s%s%",   "%s%s%s%",
                                    "%s%s%ls", "%1$s%s%s", "%*s%s%s", "%s%5s%s"};
    for (const std::string format : kFormats)
    {
        SCOPED_TRACE(format);
        Translate({{kTextAndReason, std::u16string(format.begin(), format.end())}});
        EXPECT_EQ(WithStatus("a", 0x1701), "a (1701).");
        ASSERT_EQ(U_Death(), 0); // a text that has been looked up stays until then
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    }
}
