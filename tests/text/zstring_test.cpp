// ZStrings: their syntax, the language, and the locale's life.

#include "U_ZString.h"

#include <cstdlib>
#include <thread>
#include <tuple>
#include <utility>

#include <control.h>

#include "U_Encoding.h"
#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

namespace
{
const char kHello[] = "$$$/hello=Hello";

U_Status Load(DictionaryImage& image)
{
    return U_ZStringSetCurrentDictionary(image.units.data(), image.size);
}

struct Resolved
{
    const char* zstring;
    std::u16string text;
};

template <std::size_t count> void ExpectResolved(const Resolved (&rows)[count])
{
    for (const Resolved& row : rows)
    {
        SCOPED_TRACE(row.zstring ? row.zstring : "null");
        EXPECT_EQ(U_ZStringToUTF16String(row.zstring), Units(row.text));
    }
}

// Each on several threads at once.
template <class Body> void OnThreads(Body body)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(body);
    for (std::thread& thread : threads)
        thread.join();
}

class ZString : public BornLibrary
{
protected:
    // German for "hello", and a text with what the library works on.
    DictionaryImage mGerman = BinaryImage({{"/hello", u"Guten Tag"},
                                           {"/empty", u""},
                                           {"/raw", u"^^1 #{e9}"},
                                           {"/marked", u"mac{{*MSWindows*}}win{{*COMMENT*}}note"},
                                           {"/delta", u"x\u2206"}});
};

typedef ZString ZStringDeathTest;

// Loads text in a code page for whose tables there is no memory, on a thread where
// that isn't reported. Each allocation fails under another page, as the report of
// an earlier one has made its page.
bool AFailedLoadIsNoChoice()
{
    char line[] = "/hello=x";
    bool isThrown = false;
    bool isForgotten = false;
    std::thread([&] {
        long nth = 0;
        for (unsigned int codePage : {932u, 936u, 949u, 950u, 1250u, 1251u, 1253u, 1254u, 1255u})
        {
            const ScActiveCodePage active(codePage);
            platform::SetDoubleByteScript(false);
            U_DoubleByteSafeMode(); // known from now on
            platform::SetDoubleByteScript(true);
            try
            {
                const ScFailingNew failing(++nth);
                U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(line), sizeof line - 1);
            }
            catch (...)
            {
                isThrown = true;
                break;
            }
        }
        isForgotten = U_DoubleByteSafeMode();
    }).join();
    return isThrown && isForgotten && !U_ZLocaleAlive();
}
} // namespace

TEST_F(ZString, TheTextBehindTheKeyIsTheDefault)
{
    const Resolved rows[] = {
        {nullptr, u""},    {"", u""},
        {"$$$/a=b", u"b"}, {"$$$/a", u""},
        {"$$$/a=", u""},   {"$$/a=b", u""},
        {"$", u""},        {"a=b", u"b"},
        {"abc", u""},      {"$$$/a=x=y", u"x=y"},
        {"=b", u"b"},      {"$$$/a=\xC3\xA9\xF0\x9F\x98\x80", u"\u00E9\U0001F600"},
    };
    ExpectResolved(rows);
}

TEST_F(ZString, NotationsOfTheDefaultAreExpanded)
{
    const Resolved rows[] = {
        {"=^^1 and ^1", u"^1 and ^1"},
        {"=100^", u"100^"},
        {"=\\\"\\n\\r\\t\\b\\\\", u"\"\n\r\t\b\\"},
        {"=^Q^[^]^{^}^C^R^T^D^B^#^!^I^S^n^r",
         u"\"\u201C\u201D\u2018\u2019\u00A9\u00AE\u2122\u00B0\u2022\u2318\u00AC\u2206\u2211\n\r"},
        {"=^x\\x", u"^x\\x"},
        {"=a#{endl}b", u"a\r\nb"},
        {"=#{e9}#{U+E9}#{uE9}#{eacute}", u"\u00E9\u00E9\u00E9\u00E9"},
        {"=#{uml}#{u00A8}#{euro}#{quot}", u"\u00A8\u00A8\u20AC\""},
        {"=#{}#{bogus}#{U+12345}#{hellip}#{", u"#{}#{bogus}#{U+12345}#{hellip}#{"},
        {"=^#{e9}", u"\u2318{e9}"}, // escapes go first
    };
    ExpectResolved(rows);
}

TEST_F(ZString, MarkersChooseDropAndFill)
{
    const Resolved rows[] = {
        {"=one{{*MSWindows*}}two{{*COMMENT*}}note", u"two"},
        {"=one{{*MSWindows*}}", u""},
        {"=a{{*COMMENT*}}b{{*MSWindows*}}c{{*COMMENT*}}d", u"c"},
        {"={{*MSWindows*}}a{{*MSWindows*}}b", u"a{{*MSWindows*}}b"},
        {"=a{{*COMMENT*}}b{{*COMMENT*}}c", u"a"},
        {"=a{{*Other*}}b{{*", u"a{{*Other*}}b{{*"},
        {"={{MSWindows}}a{{", u"{{MSWindows}}a{{"},
        {"={{{{*COMMENT*}}", u"{{"},
    };
    ExpectResolved(rows);

    const U_UTF16String years = U_ZStringToUTF16String("=(c) {{*CopyYear*}}{{*CopyYear*}}!");
    ASSERT_EQ(years.size(), 13u);
    const U_UTF16String year = years.substr(4, 4);
    EXPECT_EQ(years, Units(u"(c) ") + year + year + Units(u"!"));
    for (U_u16 digit : year)
        EXPECT_TRUE('0' <= digit && digit <= '9');
}

TEST_F(ZString, ADictionarySpeaksFirst)
{
    ASSERT_EQ(Load(mGerman), 0);
    const Resolved rows[] = {
        {kHello, u"Guten Tag"},        {"/hello", u"Guten Tag"}, {"$$$/empty=Nothing", u""},
        {"$$$/raw=Raw", u"^^1 #{e9}"}, // stored texts are expanded already
        {"$$$/marked=Marked", u"win"}, {"$$$/other=^^1", u"^1"}, {"$$/hello=Hello", u""},
        {"$$$/HELLO=Hello", u"Hello"},
    };
    ExpectResolved(rows);
    EXPECT_EQ(U_ZStringToEnglishUTF16String(kHello), Units(u"Hello"));

    DictionaryImage more = BinaryImage({{"/hello", u"Moin"}, {"/other", u"Anderes"}});
    ASSERT_EQ(Load(more), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Moin"));
    EXPECT_EQ(U_ZStringToUTF16String("$$$/other=Other"), Units(u"Anderes"));
    EXPECT_EQ(U_ZStringToUTF16String("$$$/marked=Marked"), Units(u"win"));
}

TEST_F(ZString, ADictionaryMayBeText)
{
    DictionaryImage image = TextImage(u"\"$$$/hello=Guten #{eacute} Tag\"\r\n/empty\n");
    ASSERT_EQ(Load(image), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Guten \u00E9 Tag"));
    EXPECT_EQ(U_ZStringToUTF16String("$$$/empty=Nothing"), Units(u""));
    EXPECT_EQ(U_ZStringToUTF16String("$$$/other=Other"), Units(u"Other"));
}

TEST_F(ZString, ABinaryDictionaryHidesTextFromBefore)
{
    DictionaryImage text = TextImage(u"/hello=Hej\n/other=Andet\n");
    for (DictionaryImage* image : {&text, &mGerman})
        ASSERT_EQ(Load(*image), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Guten Tag"));
    EXPECT_EQ(U_ZStringToUTF16String("$$$/other=Other"), Units(u"Other"));
    ASSERT_EQ(Load(text), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hej"));
    EXPECT_EQ(U_ZStringToUTF16String("$$$/other=Other"), Units(u"Andet"));
    EXPECT_EQ(U_ZStringToUTF16String("$$$/marked=Marked"), Units(u"win"));
}

TEST_F(ZStringDeathTest, ALoadThatThrowsChoosesNoLanguage)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // no code page has been made there
    EXPECT_EXIT(std::_Exit(AFailedLoadIsNoChoice() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(ZString, ALanguageIsChosenByADictionaryOrEnglish)
{
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringSetCurrentDictionaryCompressed(mGerman.units.data(), mGerman.size), 1);
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello"));
    ASSERT_EQ(Load(mGerman), 0);
    EXPECT_TRUE(U_ZLocaleAlive());

    ASSERT_EQ(U_ZLocaleDeath(), 0);
    ASSERT_EQ(U_ZLocaleDeath(), 0);
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello"));

    ASSERT_EQ(U_ZLocaleBirth(), 0);
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringSetEnglish(), 0);
    ASSERT_EQ(U_ZLocaleBirth(), 0); // it is there
    EXPECT_TRUE(U_ZLocaleAlive());
}

TEST_F(ZString, EnglishIsForGood)
{
    ASSERT_EQ(Load(mGerman), 0);
    ASSERT_EQ(U_ZStringSetEnglish(), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello"));
    ASSERT_EQ(Load(mGerman), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello"));
}

TEST_F(ZString, DeathForgetsTheLanguage)
{
    ASSERT_EQ(Load(mGerman), 0);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(U_ZStringToUTF16String("$$$/hello=^Cafe{{*COMMENT*}}"), Units(u"\u00A9afe"));
    EXPECT_EQ(Load(mGerman), 0); // nothing to load into
    EXPECT_EQ(U_ZStringSetEnglish(), 0);
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello"));
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello"));
}

TEST_F(ZString, DamagedImagesLeaveDefaults)
{
    EXPECT_EQ(U_ZStringSetCurrentDictionary(nullptr, 0), 0);
    EXPECT_TRUE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringSetCurrentDictionary(mGerman.units.data(), 0), 0);
    // A size of which 32 bits would be the right one.
    const size_t far = (std::size_t(1) << 32) + mGerman.size;
    EXPECT_EQ(U_ZStringSetCurrentDictionary(mGerman.units.data(), far), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello"));
    for (size_t size = 0; size < mGerman.size; ++size)
    {
        // A copy that ends there, for the sanitizer to watch over.
        std::vector<U_u16> part((size + 1) / 2);
        std::copy_n(mGerman.units.begin(), part.size(), part.begin());
        ASSERT_EQ(U_ZStringSetCurrentDictionary(part.data(), size), 0) << size;
        ASSERT_EQ(U_ZStringToUTF16String(kHello), Units(u"Hello")) << size;
    }
    ASSERT_EQ(Load(mGerman), 0);
    EXPECT_EQ(U_ZStringToUTF16String(kHello), Units(u"Guten Tag"));
}

TEST_F(ZString, MultibyteTextIsInTheActiveCodePage)
{
    ASSERT_EQ(Load(mGerman), 0);
    EXPECT_EQ(U_ZStringToMBString("$$$/delta=D"), "x\xBC");
    EXPECT_EQ(U_ZStringToMBString("=#{eacute}"), "\xE9");
    EXPECT_EQ(U_ZStringToEnglishMBString("$$$/hello=H#{eacute}"), "H\xE9");
    EXPECT_EQ(Up_HDT_ConvertToMB(Units(u"\u2206\u4E00")), "\xBC?");
    Up_HDT_ReportErr(U_Sev_PROBLEM, Units(u"\u2206"));
    EXPECT_EQ(mAlerts.Texts(), std::vector<std::string>{"Test Host error: \xE2\x88\x86\n\n"});

    const ScActiveCodePage active(932);
    const std::string before = "######";
    const std::pair<unsigned int, const char*> rows[] = {
        {0, "######"}, {1, ""}, {3, "a"}, {4, "a\x83\x5C"}, {6, "a\203\134b"}};
    for (const auto& [size, out] : rows)
    {
        SCOPED_TRACE(size);
        std::string text = before;
        U_ZStringToCStr("=a\343\202\275b", size, &text[0]);
        EXPECT_STREQ(text.c_str(), out);
        EXPECT_EQ(text.substr(size), before.substr(size)) << "written beyond the size";
        std::string raw = before;
        EXPECT_EQ(U_ZStringToMBRaw("=a\343\202\275b", size, &raw[0]), 0);
        EXPECT_EQ(raw, text);
    }
}

TEST_F(ZString, DoubleByteSafeTextHasNoIncrement)
{
    const std::tuple<const char*, bool, std::u16string> rows[] = {
        {"none", true, u"\u0394x\u0394"},
        {"German", false, u"\u2206x\u2206"}, // it knows its own characters
        {"English", true, u"\u0394x\u0394"},
    };
    for (const auto& [language, safe, text] : rows)
    {
        SCOPED_TRACE(language);
        U_ZLocaleDeath();
        U_ZLocaleBirth();
        platform::SetDoubleByteScript(true);
        if (*language == 'G')
            Load(mGerman);
        if (*language == 'E')
            U_ZStringSetEnglish();
        EXPECT_EQ(U_ZStringToUTF16String("=^Ix^I"), Units(text));
        EXPECT_EQ(U_DoubleByteSafeMode(), safe);

        platform::SetDoubleByteScript(false);
        EXPECT_EQ(U_DoubleByteSafeMode(), safe) << "the answer is kept";
        ASSERT_EQ(U_ZStringSetEnglish(), 0);
        EXPECT_FALSE(U_DoubleByteSafeMode()) << "until a language is chosen";
        EXPECT_EQ(U_ZStringToUTF16String("=^Ix^I"), Units(u"\u2206x\u2206"));
    }
}

TEST_F(ZString, DebuggingTellsWhatIsNone)
{
    EXPECT_TRUE(U_IsZstr("$$$"));
    EXPECT_TRUE(U_IsZstr("$$$/a=b"));
    EXPECT_FALSE(U_IsZstr("$$"));
    EXPECT_FALSE(U_IsZstr(""));
    EXPECT_FALSE(U_IsZstr("a$$$"));

    EXPECT_TRUE(Up_IsValidZString("$x"));
    EXPECT_FALSE(Up_IsValidZString(nullptr));
    EXPECT_EQ(mLog.Texts(), std::vector<std::string>());
    EXPECT_FALSE(Up_IsValidZString("%s"));
    EXPECT_FALSE(Up_IsValidZString(""));
    EXPECT_EQ(mLog.Texts(), (std::vector<std::string>{"Invalid ZString: %s", "Invalid ZString: "}));
    EXPECT_EQ(mLog.Lines().front().level, 0);
    EXPECT_EQ(mLog.Lines().front().category, "U");
}

TEST_F(ZString, ThreadsResolveAtOnce)
{
    ASSERT_EQ(Load(mGerman), 0);
    const auto resolve = [](const Resolved* rows) {
        for (int round = 0; round < 200; ++round)
        {
            for (const Resolved* row = rows; row->zstring; ++row)
                ASSERT_EQ(U_ZStringToUTF16String(row->zstring), Units(row->text));
            ASSERT_EQ(U_ZStringToEnglishMBString("$$$/hello=H#{eacute}"), "H\xE9");
            U_DoubleByteSafeMode();
        }
    };
    const Resolved alive[] = {
        {kHello, u"Guten Tag"}, {"$$$/marked=Marked", u"win"}, {"=^^1", u"^1"}, {nullptr, u""}};
    OnThreads([&] { resolve(alive); });

    ASSERT_EQ(U_Death(), 0);
    const Resolved dead[] = {{kHello, u"Hello"}, {"/a", u""}, {"=^^1", u"^1"}, {nullptr, u""}};
    OnThreads([&] { resolve(dead); });
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
}
