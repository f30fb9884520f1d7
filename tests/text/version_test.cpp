// Version words and Pascal strings.

#include "U_Date.h"

#include <cstring>
#include <string>
#include <tuple>

#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

namespace
{
typedef BornLibrary Versions;
typedef BornLibrary PascalStrings;

std::string AsciiVersion(U_u32 version, bool noDebugSuffix)
{
    char text[256 + 1];
    std::memset(text, 'Z', sizeof(text));
    EXPECT_EQ(U_AsciiVersion(version, noDebugSuffix, text), 0);
    EXPECT_EQ(text[256], 'Z');
    return text;
}

std::string LastReport()
{
    char text[U_ReportTextSize];
    U_u16 severity = 0;
    U_u32 location = 1;
    U_GetLastError(text, &severity, &location, nullptr);
    EXPECT_EQ(severity, U_Sev_PROBLEM);
    EXPECT_EQ(location, 0u);
    return text;
}
} // namespace

TEST_F(Versions, AreWrittenFieldByField)
{
    // The UTF-16 text, and the multibyte text if that is different.
    const std::tuple<U_u32, bool, const char*, const char*> rows[] = {
        {0x04080600, false, "9.0", nullptr},
        {0x440807FF, false, "9.0", nullptr}, // bit 30, and a build without a stage
        {0x04E1A541, false, "12.3.4x321 Windows", "12.3.4x321 (Windows)"},
        {0x06808205, false, "8.1x5 Macintosh PPC", "8.1x5 (Macintosh PPC)"},
        {0x82FF8600, false, "7.15\u2206 Macintosh Intel", "7.15\xBC (Macintosh Intel)"},
        {0x82FF8600, true, "7.15 Macintosh Intel", "7.15 (Macintosh Intel)"},
        {0x3F3879FF, false, "127.0.15x511 Windows 64", "127.0.15x511 (Windows 64)"},
        {0x23408600, false, "64.1 Macintosh 64", "64.1 (Macintosh 64)"},
        {0xFFFFFFFF, false, "127.15.15\u2206 unknown", "127.15.15\xBC (unknown)"},
    };
    for (const auto& [version, noDebugSuffix, wide, narrow] : rows)
    {
        EXPECT_EQ(Narrow(U_UTF16Version(version, noDebugSuffix)), wide);
        EXPECT_EQ(AsciiVersion(version, noDebugSuffix), narrow ? narrow : wide);
    }
    EXPECT_EQ(U_AsciiVersion(0, false, nullptr), 3);
}

TEST_F(Versions, TranslationsOfAnyLengthFit)
{
    const std::u16string suffix(20, u's');
    const std::u16string name(300, u'n');
    DictionaryImage image = BinaryImage({{"/private/QXDebugVersionSuffix", suffix},
                                         {"/QX/U/ARCH/Windows64", name},
                                         {"/QX/U/ARCH/MacintoshPPC", u""}});
    ASSERT_EQ(LoadDictionary(image), 0);
    EXPECT_EQ(U_UTF16Version(0x87080600, false), Units(u"9.0" + suffix + u" " + name));
    const std::string shortSuffix(15, 's');
    const std::string shortName = " (" + std::string(199, 'n') + ")";
    EXPECT_EQ(AsciiVersion(0x87080600, false), "9.0" + shortSuffix + shortName);
    EXPECT_EQ(U_UTF16Version(0x06880600, false), Units(u"9.0"));
    EXPECT_EQ(AsciiVersion(0x06880600, false), "9.0");

    // A suffix or a name that cannot be resolved is omitted.
    char text[256];
    int code = 0;
    bool suffixLost = false;
    bool nameLost = false;
    FailEachNew([&] { code = U_AsciiVersion(0x87080600, false, text); },
                [&](long) {
                    suffixLost |= code && text == "9.0" + shortName;
                    nameLost |= code && text == "9.0" + shortSuffix;
                    EXPECT_EQ(std::string(text).substr(0, 3), "9.0");
                });
    EXPECT_EQ(code, 0);
    FailEachNew([&] { code = U_AsciiVersion(0x00C00600, false, text); },
                [&](long) { EXPECT_STREQ(text, "0.0 (Windows)"); });
    EXPECT_TRUE(suffixLost);
    EXPECT_TRUE(nameLost);
}

TEST_F(PascalStrings, TextsThatAreTooLongAreReported)
{
    const std::string longest(255, 'a');
    const std::string longer(300, 'b');
    // The text that U_CopyCtoPString stores. U_CopyPtoCString stores nothing of a longer text.
    const std::tuple<std::string, int, std::string> rows[] = {{"", 1, ""},
                                                              {"abc", 4, "abc"},
                                                              {"abcd", 4, "abc"},
                                                              {longest, 256, longest},
                                                              {longest, 255, longest.substr(1)}};
    for (const auto& [text, size, stored] : rows)
    {
        SCOPED_TRACE(text + " in " + std::to_string(size));
        const int code = text == stored ? 0 : 10;
        unsigned char pascal[600];
        std::memset(pascal, 'Z', sizeof(pascal));
        EXPECT_EQ(U_CopyCtoPString(text.c_str(), size, pascal), code);
        EXPECT_EQ(std::string(pascal + 1, pascal + 1 + pascal[0]), stored);
        EXPECT_EQ(pascal[size], 'Z');

        unsigned char source[256];
        EXPECT_EQ(U_CopyCtoPString(text.c_str(), 256, source), 0);
        char back[257] = "before";
        EXPECT_EQ(U_CopyPtoCString(source, size, back), code);
        EXPECT_EQ(back, code ? "before" : text);
    }
    unsigned char pascal[512];
    EXPECT_EQ(U_CopyCtoPString(longer.c_str(), 512, pascal), 10);
    EXPECT_EQ(std::string(pascal, pascal + 256), "\xFF" + longer.substr(45));
    EXPECT_EQ(LastReport(), "text too long for 512-byte pascal string buffer ('" + longer + "').");
    EXPECT_EQ(U_CopyCtoPString("abc", -1, pascal), 10);
    EXPECT_EQ(U_CopyCtoPString("abc", 0, pascal), 10);
    EXPECT_EQ(pascal[0], 255);
    EXPECT_EQ(LastReport(), "text too long for 0-byte pascal string buffer ('abc').");
    char text[] = "before";
    EXPECT_EQ(U_CopyPtoCString(reinterpret_cast<const unsigned char*>("\3abcdef"), 3, text), 10);
    EXPECT_EQ(LastReport(), "text too long for 3-byte buffer ('abc').");
    EXPECT_EQ(U_CopyPtoCString(reinterpret_cast<const unsigned char*>("\0"), -1, text), 10);
    EXPECT_STREQ(text, "before");
}

TEST_F(PascalStrings, AreCutAtACharacterByTheBufferAndAnywhereByTheCount)
{
    const ScActiveCodePage japanese(932);
    std::string source = "ba";
    for (int i = 0; i < 150; ++i)
        source += "\x83\x41";
    unsigned char pascal[512];
    EXPECT_EQ(U_CopyCtoPString(source.c_str(), 512, pascal), 10);
    EXPECT_EQ(std::string(pascal, pascal + 256), "\xFF" + source.substr(0, 255));
    EXPECT_EQ(U_CopyCtoPString(source.c_str(), 256, pascal), 10);
    EXPECT_EQ(pascal[0], 254);
}

TEST_F(PascalStrings, ConvertInPlace)
{
    unsigned char text[8] = "abcde";
    EXPECT_EQ(U_CopyCtoPString(reinterpret_cast<char*>(text), 5, text), 10);
    EXPECT_EQ(std::memcmp(text, "\4abcd", 5), 0);
    EXPECT_EQ(LastReport(), "text too long for 5-byte pascal string buffer ('abcde').");
    EXPECT_EQ(U_Pstrcpy(text + 1, text), text + 1);
    EXPECT_EQ(std::memcmp(text + 1, "\4abcd", 5), 0);
    EXPECT_EQ(U_CopyPtoCString(text + 1, 5, reinterpret_cast<char*>(text + 1)), 0);
    EXPECT_STREQ(reinterpret_cast<char*>(text + 1), "abcd");
    EXPECT_EQ(U_CopyCtoPString(nullptr, 8, text), 3);
    EXPECT_EQ(U_CopyPtoCString(text, 8, nullptr), 3);
}
