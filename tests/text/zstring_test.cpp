// ZStrings: syntax, the choice of a language, and the life of the locale.

#include <utility>

#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

namespace
{
const char kHello[] = "$$$/hello=Hello";

void ExpectResolved(std::initializer_list<std::pair<const char*, std::u16string>> rows)
{
    for (const auto& [zstring, text] : rows)
        EXPECT_EQ(U_ZStringToUTF16String(zstring), Units(text)) << (zstring ? zstring : "null");
}

class ZString : public BornLibrary
{
protected:
    // German for "hello", and texts that the library changes when it resolves them.
    DictionaryImage mGerman = BinaryImage({{"/hello", u"Guten Tag"},
                                           {"/empty", u""},
                                           {"/raw", u"^^1 #{e9}"},
                                           {"/marked", u"mac{{*MSWindows*}}win{{*COMMENT*}}note"}});
};
} // namespace

TEST_F(ZString, MarkersDropTextAndInsertTheYear)
{
    ExpectResolved({
        {"=one{{*MSWindows*}}two{{*COMMENT*}}note", u"two"},
        {"=a{{*COMMENT*}}b{{*MSWindows*}}c{{*COMMENT*}}d", u"c"},
        {"={{*MSWindows*}}a{{*MSWindows*}}b", u"a{{*MSWindows*}}b"},
        {"=a{{*COMMENT*}}b{{*COMMENT*}}c", u"a"},
        {"={{MSWindows}}a{{*Other*}}b{{*", u"{{MSWindows}}a{{*Other*}}b{{*"},
        {"={{{{*COMMENT*}}", u"{{"},
    });

    const U_UTF16String years = U_ZStringToUTF16String("=(c) {{*CopyYear*}}{{*CopyYear*}}!");
    ASSERT_EQ(years.size(), 13u);
    const U_UTF16String year = years.substr(4, 4);
    EXPECT_EQ(years, Units(u"(c) ") + year + year + Units(u"!"));
    for (U_u16 digit : year)
        EXPECT_TRUE('0' <= digit && digit <= '9');
}

TEST_F(ZString, TextsOfADictionaryComeBeforeDefaults)
{
    ASSERT_EQ(LoadDictionary(mGerman), 0);
    ExpectResolved({
        {nullptr, u""},
        {"$$$/a=\xC3\xA9\xF0\x9F\x98\x80", u"\u00E9\U0001F600"},
        {"=100^ \\n ^C #{endl}#{e9}#{eacute}", u"100^ \n \u00A9 \r\n\u00E9\u00E9"},
        {kHello, u"Guten Tag"},
        {"/hello", u"Guten Tag"},
        {"$$$/empty=Nothing", u""},
        {"$$$/raw=Raw", u"^^1 #{e9}"}, // stored texts are expanded already
        {"$$$/marked=Marked", u"win"},
        {"$$$/other=^^1", u"^1"},
    });
    EXPECT_EQ(U_ZStringToEnglishUTF16String(kHello), Units(u"Hello"));

    DictionaryImage more = BinaryImage({{"/hello", u"Moin"}, {"/other", u"Anderes"}});
    ASSERT_EQ(LoadDictionary(more), 0);
    ExpectResolved({{kHello, u"Moin"}, {"$$$/other=Other", u"Anderes"}, {"/marked", u"win"}});
}

TEST_F(ZString, ALoadThatFailsChoosesNoLanguage)
{
    platform::SetDoubleByteScript(false);
    EXPECT_FALSE(U_DoubleByteSafeMode());
    platform::SetDoubleByteScript(true);
    {
        const ScFailingNew failing(1);
        EXPECT_EQ(LoadDictionary(mGerman), U_Err_OutOfMemory);
    }
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_TRUE(U_DoubleByteSafeMode()) << "the system is asked again";
}

TEST_F(ZString, ALanguageIsChosenByADictionaryOrEnglishUntilDeath)
{
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringSetCurrentDictionaryCompressed(mGerman.units.data(), mGerman.size), 1);
    EXPECT_FALSE(U_ZLocaleAlive());
    ExpectResolved({{kHello, u"Hello"}});
    ASSERT_EQ(LoadDictionary(mGerman), 0);
    EXPECT_TRUE(U_ZLocaleAlive());

    ASSERT_EQ(U_Death(), 0);
    ASSERT_EQ(U_ZLocaleDeath(), 0) << "a second death has no effect";
    EXPECT_EQ(LoadDictionary(mGerman), 0); // no locale
    EXPECT_EQ(U_ZStringSetEnglish(), 0);
    EXPECT_FALSE(U_ZLocaleAlive());
    ExpectResolved({{kHello, u"Hello"}, {"$$$/hello=^Cafe{{*COMMENT*}}", u"\u00A9afe"}});

    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_FALSE(U_ZLocaleAlive());
    ExpectResolved({{kHello, u"Hello"}});
    EXPECT_EQ(U_ZStringSetEnglish(), 0);
    ASSERT_EQ(U_ZLocaleBirth(), 0); // already born
    EXPECT_TRUE(U_ZLocaleAlive());
    ASSERT_EQ(LoadDictionary(mGerman), 0);
    ExpectResolved({{kHello, u"Hello"}}); // English stays chosen
}

TEST_F(ZString, ADamagedImageChoosesALanguageWithoutTexts)
{
    EXPECT_EQ(U_ZStringSetCurrentDictionary(nullptr, 0), 0);
    EXPECT_TRUE(U_ZLocaleAlive());
    EXPECT_EQ(U_ZStringSetCurrentDictionary(mGerman.units.data(), 0), 0);
    // The low 32 bits of this size are the right size.
    const size_t far = (std::size_t(1) << 32) + mGerman.size;
    EXPECT_EQ(U_ZStringSetCurrentDictionary(mGerman.units.data(), far), 0);
    EXPECT_EQ(U_ZStringSetCurrentDictionary(mGerman.units.data(), mGerman.size - 1), 0);
    ExpectResolved({{kHello, u"Hello"}});
}

TEST_F(ZString, MultibyteTextIsInTheActiveCodePage)
{
    EXPECT_EQ(Up_HDT_ConvertToMB(Units(u"\u2206\u4E00")), "\xBC?");
    Up_HDT_ReportErr(U_Sev_PROBLEM, Units(u"\u2206"));
    EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host error: \xE2\x88\x86\n\n"});

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

TEST_F(ZString, TheSafetyOfDoubleByteTextIsStoredUntilALanguageIsChosen)
{
    for (const auto& [language, safe] :
         {std::pair<const char*, bool>("none", true), {"German", false}, {"English", true}})
    {
        SCOPED_TRACE(language);
        U_ZLocaleDeath();
        U_ZLocaleBirth();
        platform::SetDoubleByteScript(true);
        if (*language == 'G')
            LoadDictionary(mGerman);
        if (*language == 'E')
            U_ZStringSetEnglish();
        EXPECT_EQ(U_DoubleByteSafeMode(), safe);

        platform::SetDoubleByteScript(false);
        EXPECT_EQ(U_DoubleByteSafeMode(), safe) << "the answer is stored";
        ASSERT_EQ(U_ZStringSetEnglish(), 0);
        EXPECT_FALSE(U_DoubleByteSafeMode()) << "the choice of a language drops the answer";
    }
}

TEST_F(ZString, ATextThatIsNoZStringIsLogged)
{
    EXPECT_TRUE(U_IsZstr("$$$"));
    EXPECT_FALSE(U_IsZstr("$$"));
    EXPECT_FALSE(U_IsZstr("a$$$"));

    EXPECT_TRUE(Up_IsValidZString("$x"));
    EXPECT_FALSE(Up_IsValidZString(nullptr));
    EXPECT_FALSE(Up_IsValidZString("%s"));
    EXPECT_FALSE(Up_IsValidZString(""));
    EXPECT_EQ(mLog.Texts(), (Texts{"Invalid ZString: %s", "Invalid ZString: "}));
    EXPECT_EQ(mLog.Lines().front().level, 0);
    EXPECT_EQ(mLog.Lines().front().category, "U");
}
