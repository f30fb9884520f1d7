// The library's own texts, held against a list of what users read.

#include <iterator>
#include <string>
#include <vector>

#include <control.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

namespace
{
struct Text
{
    const char* text;
    const char* plain = nullptr; // in ASCII, if that differs
};

// By index.
const Text kTexts[] = {
    {""},
    {" warning"},
    {" error"},
    {" can\u2019t continue", " can't continue"},
    {"%s at line %d in file \u201C%s\u201D.", "%s at line %d in file \"%s\"."},
    {"unable to allocate %d bytes for %s."},
    {"not enough memory to create %s.  (%dK requested)"},
    {"not enough memory to create %s.\r\n(%dK requested, %dK available)",
     "not enough memory to create %s.\n(%dK requested, %dK available)"},
    {"unable to load resource ID %d"},
    {"null internal structures."},
    {"Error reporting error: %s"},
    {"Internal structures damaged."},
    {"out of memory while trying to U_Birth"},
    {"bad parameter passed to U_DoModalDlgP"},
    {"loading resource"},
    {"directory full"},
    {"disk is full"},
    {"no such volume"},
    {"disk error (I/O error; bad media)"},
    {"bad file name"},
    {"file not open"},
    {"unexpected end-of-file"},
    {"too many files are open"},
    {"file not found"},
    {"disk is write protected"},
    {"file is locked"},
    {"volume is locked"},
    {"file is busy (delete)"},
    {"duplicate filename"},
    {"file is already open"},
    {"bad file reference-number"},
    {"you do not have permission to open this file"},
    {"write permissions problem"},
    {"Out of memory."},
    {"no such directory"},
    {"server volume has disconnected"},
    {"color table entry protection has been violated"},
    {"invalid type of graphics device"},
    {"sound queue is full"},
    {"an undefined code was passed to Gestalt"},
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
    {"assertion failed\r\n%s\r\nline: %d of file: %s.",
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
    {"invalid memory block"},
    {"resizing handle"},
    {"resizing pointer"},
    {"bad parameter"},
    {"resource not found"},
    {"can\u2019t find QuickTime handler", "can't find QuickTime handler"},
    {"can\u2019t open QuickTime handler", "can't open QuickTime handler"},
    {"no QuickTime data handler"},
    {"invalid QuickTime media"},
    {"invalid QuickTime movie"},
    {"invalid QuickTime duration"},
    {"invalid QuickTime time"},
    {"QuickTime not initialized"},
    {"bad QuickTime track index"},
    {"no QuickTime movie found"},
    {"bad QuickTime data reference"},
    {"code fragment connection not found"},
    {"code fragment symbol not found"},
    {"code fragment library not found"},
    {"code fragment duplicate name"},
    {"code fragment library too old"},
    {"code fragment library too new"},
    {"access denied"},
    {"QuickTime error"},
    {"code fragment error"},
    {" debug info"},
    {"getting size of handle"},
    {"swapping handle data"},
    {"missing QuickTime codec"},
    {"QuickTime codec abort error"},
    {"QuickTime codec bad data error"},
    {"QuickTime codec data version error"},
    {"QuickTime codec extension not found"},
    {"QuickTime codec condition error"},
    {"QuickTime codec error"},
    {"QuickTime digitizing error"},
    {"QuickTime controller error"},
    {"OK"},
    {"( %d :: %d )"},
    {" \u2014 ", " -- "},
    {"%s%s%s."},
    {"%s \u2014 %s (%d).", "%s -- %s (%d)."},
    {"%s (%d)."},
    {"internal verification failure, sorry! {^1}"},
    {"Verification failure: ^1 {^2}"},
    {"Out of memory. (%dK requested)"},
    {"tracked memory global table"},
    {"tracked memory name"},
    {"bad tracked memory ID"},
    {"Cannot resize a locked handle."},
    {"Out of memory.\r\n(%dK requested, %dK available)",
     "Out of memory.\n(%dK requested, %dK available)"},
    {"Path name too long"},
};
const U_u32 kTextCount = std::size(kTexts);
const U_u32 kUnknown[] = {kTextCount, kTextCount + 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

void ExpectPlainTexts()
{
    for (U_u32 i = 0; i < kTextCount; ++i)
        EXPECT_STREQ(Up_String(i), kTexts[i].plain ? kTexts[i].plain : kTexts[i].text) << i;
    for (U_u32 index : kUnknown)
        EXPECT_STREQ(Up_String(index), "[?]") << index;
}

// The key by which translations find a text.
std::string KeyOf(U_u32 index)
{
    const std::string digits = std::to_string(10000 + index).substr(1);
    return "/QX/UOverride/LStr/" + digits;
}

class Strings : public BornLibrary
{
};
} // namespace

TEST_F(Strings, ArePlainBeforeALanguageIsChosenAndOutsideALife)
{
    ExpectPlainTexts();
    ASSERT_EQ(U_Death(), 0);
    ExpectPlainTexts();
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    ExpectPlainTexts();
}

TEST_F(Strings, AreTypographicInEnglish)
{
    const ScActiveCodePage utf8(65001);
    U_ZStringSetEnglish();
    for (U_u32 i = 0; i < kTextCount; ++i)
        EXPECT_STREQ(Up_String(i), kTexts[i].text) << i;
    for (U_u32 index : kUnknown)
        EXPECT_STREQ(Up_String(index), "[?]") << index;
}

TEST_F(Strings, AreTranslatedByTheirNumbers)
{
    std::vector<ImageEntry> entries;
    for (U_u32 i = 0; i < kTextCount; ++i)
    {
        const std::string number = std::to_string(i);
        entries.push_back({KeyOf(i), u"Text " + std::u16string(number.begin(), number.end())});
    }
    DictionaryImage image = BinaryImage(entries);
    ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
    for (U_u32 i = 0; i < kTextCount; ++i)
        EXPECT_EQ(Up_String(i), "Text " + std::to_string(i));
}

TEST_F(Strings, ForgetTheLanguageWithTheLife)
{
    for (int life = 0; life < 3; ++life)
    {
        DictionaryImage image = BinaryImage({{KeyOf(33), u"Kein Speicher."}});
        ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
        const char* const text = Up_String(33);
        EXPECT_STREQ(text, "Kein Speicher.");
        EXPECT_EQ(Up_String(33), text);
        ASSERT_EQ(U_Death(), 0);
        EXPECT_STREQ(Up_String(33), "Out of memory.");
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
        U_ZStringSetEnglish();
        EXPECT_STREQ(Up_String(33), "Out of memory.");
        ASSERT_EQ(U_Death(), 0);
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    }
}
