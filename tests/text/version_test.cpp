// Version words and Pascal strings.

#include "U_Date.h"

#include <cstring>
#include <string>

#include "U_Report.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
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

TEST_F(Versions, WordsAreWrittenFieldByField)
{
    struct Row
    {
        U_u32 version;
        bool noDebugSuffix;
        const char *wide, *narrow; // null for the same
    };
    const Row rows[] = {
        {0x04080600, false, "9.0", nullptr},
        {0x440807FF, false, "9.0", nullptr}, // bit 30, and a build without a stage
        {0x00000000, false, "0.0x0", nullptr},
        {0x04E1A541, false, "12.3.4x321 Windows", "12.3.4x321 (Windows)"},
        {0x06808205, false, "8.1x5 Macintosh PPC", "8.1x5 (Macintosh PPC)"},
        {0x82FF8600, false, "7.15\u2206 Macintosh Intel", "7.15\xBC (Macintosh Intel)"},
        {0x82FF8600, true, "7.15 Macintosh Intel", "7.15 (Macintosh Intel)"},
        {0x3F3879FF, false, "127.0.15x511 Windows 64", "127.0.15x511 (Windows 64)"},
        {0x23408600, false, "64.1 Macintosh 64", "64.1 (Macintosh 64)"},
        {0x00480E00, false, "1.0.1 unknown", "1.0.1 (unknown)"},
        {0xFFFFFFFF, false, "127.15.15\u2206 unknown", "127.15.15\xBC (unknown)"},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(Narrow(U_UTF16Version(row.version, row.noDebugSuffix)), row.wide);
        EXPECT_EQ(AsciiVersion(row.version, row.noDebugSuffix), row.narrow ? row.narrow : row.wide);
    }
    EXPECT_EQ(U_AsciiVersion(0, false, nullptr), 3);
}

TEST_F(Versions, TranslationsOfAnyLengthFit)
{
    const std::u16string suffix(20, u's');
    const std::u16string name(300, u'n');
    const DictionaryImage image = BinaryImage({{"/private/QXDebugVersionSuffix", suffix},
                                               {"/QX/U/ARCH/Windows64", name},
                                               {"/QX/U/ARCH/MacintoshPPC", u""}});
    ASSERT_EQ(U_ZStringSetCurrentDictionary(const_cast<U_u16*>(image.units.data()), image.size), 0);
    EXPECT_EQ(U_UTF16Version(0x87080600, false), Units(u"9.0" + suffix + u" " + name));
    EXPECT_EQ(AsciiVersion(0x87080600, false),
              "9.0" + std::string(15, 's') + " (" + std::string(199, 'n') + ")");
    EXPECT_EQ(U_UTF16Version(0x06880600, false), Units(u"9.0"));
    EXPECT_EQ(AsciiVersion(0x06880600, false), "9.0");
}

TEST_F(Versions, ATextThatCannotBeHadIsLeftOut)
{
    const std::u16string name(100, u'n');
    const DictionaryImage image =
        BinaryImage({{"/private/QXDebugVersionSuffix", name}, {"/QX/U/ARCH/Windows64", name}});
    ASSERT_EQ(U_ZStringSetCurrentDictionary(const_cast<U_u16*>(image.units.data()), image.size), 0);
    char text[256];
    int code = 0;
    bool suffixLost = false;
    bool nameLost = false;
    FailEachNew([&] { code = U_AsciiVersion(0x87080600, false, text); },
                [&](long) {
                    const std::string written = text;
                    suffixLost |= code != 0 && written == "9.0 (" + std::string(100, 'n') + ")";
                    nameLost |= code != 0 && written == "9.0" + std::string(15, 'n');
                    EXPECT_EQ(written.substr(0, 3), "9.0");
                });
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(suffixLost);
    EXPECT_TRUE(nameLost);
}

TEST_F(PascalStrings, TextsThatAreTooLongAreReported)
{
    const std::string longest(255, 'a');
    const std::string longer(300, 'b');
    struct Row
    {
        std::string source;
        int size;
        std::string stored; // by the first, which stores what fits
        bool fits;
    };
    const Row rows[] = {
        {"", 1, "", true},
        {"abc", 4, "abc", true},
        {"abcd", 4, "abc", false},
        {"abc", 1, "", false},
        {longest, 256, longest, true},
        {longest, 255, longest.substr(1), false},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.source + " in " + std::to_string(row.size));
        unsigned char pascal[600];
        std::memset(pascal, 'Z', sizeof(pascal));
        EXPECT_EQ(U_CopyCtoPString(row.source.c_str(), row.size, pascal), row.fits ? 0 : 10);
        EXPECT_EQ(pascal[0], row.stored.size());
        EXPECT_EQ(std::string(pascal + 1, pascal + 1 + pascal[0]), row.stored);
        EXPECT_EQ(pascal[row.size], 'Z');

        unsigned char source[256];
        EXPECT_EQ(U_CopyCtoPString(row.source.c_str(), 256, source), 0);
        char text[257] = "before";
        EXPECT_EQ(U_CopyPtoCString(source, row.size, text), row.fits ? 0 : 10);
        EXPECT_EQ(text, row.fits ? row.source : "before");
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

TEST_F(PascalStrings, TheBufferCutsAtACharacterAndTheCountAnywhere)
{
    const ScActiveCodePage japanese(932);
    std::string source = "a";
    for (int i = 0; i < 150; ++i)
        source += "\x83\x41";
    unsigned char pascal[512];
    const std::string even = "b" + source;
    EXPECT_EQ(U_CopyCtoPString(even.c_str(), 512, pascal), 10);
    EXPECT_EQ(std::string(pascal, pascal + 256), "\xFF" + even.substr(0, 255));
    EXPECT_EQ(U_CopyCtoPString(even.c_str(), 256, pascal), 10);
    EXPECT_EQ(pascal[0], 254);
    EXPECT_EQ(U_CopyCtoPString(source.c_str(), 11, pascal), 10);
    EXPECT_EQ(pascal[0], 9);
}

TEST_F(PascalStrings, CopiesMayBeMadeInPlace)
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
