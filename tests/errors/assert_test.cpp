// Failed verifications and assertions, and injected errors.

#include <tuple>

#include "U_Assert.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"

typedef BornLibrary Assert;

TEST_F(Assert, AFailedVerificationReportsItsDetailAndMessage)
{
    const std::tuple<const char*, const char*, const char*> kFailures[] = {
        {nullptr, nullptr, "internal verification failure, sorry! {68}"},
        {nullptr, "no handle", "internal verification failure, sorry! {no handle}"},
        {"index < count", nullptr, "Verification failure: index < count {68}"},
        {"index < count", "too far", "Verification failure: index < count {too far}"},
    };
    for (const auto& [detail, message, text] : kFailures)
    {
        EXPECT_EQ(U_ReportFailedVerification(0x170001, 68, detail, message), 0);
        EXPECT_STREQ(Up_GetThreadLoggingBuffer(), text);
    }
    EXPECT_EQ(mAlerts.All().size(), std::size(kFailures));
    U_StartQuietErrorsOnCurrentThread(false);
    U_ReportFailedVerification(0, 1, nullptr, nullptr);
    U_EndQuietErrorsOnCurrentThread();
    EXPECT_EQ(mAlerts.All().size(), std::size(kFailures));
}

TEST_F(Assert, ATranslationForOtherValuesIsReplacedByEnglish)
{
    const std::pair<std::u16string, const char*> kRows[] = {
        {u"^^1", "kaputt {68}"},
        {u"^^L1", "internal verification failure, sorry! {68}"},
        {u"^^F1@1.1@", "internal verification failure, sorry! {68}"},
        {u"", "internal verification failure, sorry! {68}"},
        {u"^^1 ^^2", "internal verification failure, sorry! {68}"},
    };
    for (const auto& [place, text] : kRows)
    {
        DictionaryImage image = TextImage(u"\"$$$/QX/UOverride/LStr/0110=kaputt {" + place +
                                          u"}\"\r\n\"$$$/QX/UOverride/LStr/0111=^^L2 ^^1\"\r\n");
        ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
        mAlerts.Clear();
        U_ReportFailedVerification(0x170001, 68, nullptr, nullptr);
        U_ReportFailedVerification(0, 68, "index < count", nullptr);
        EXPECT_EQ(mAlerts.Texts(),
                  (Texts{std::string("Test Host error: ") + text + "\n\n( 23 :: 1 )",
                         "Test Host error: Verification failure: index < count {68}\n\n"}));
        LiveAnew();
    }
}

TEST_F(Assert, AFailedAssertionIsAProblemCutToItsBuffer)
{
    EXPECT_EQ(Up_AssertFailed("a == b", "file.cpp", 12), 0);
    EXPECT_EQ(mAlerts.Texts(),
              Texts{"Test Host error: assertion failed\na == b\nline: 12 of file: file.cpp.\n\n"});
    EXPECT_EQ(Up_AssertFailed(nullptr, nullptr, 0), 0);
    EXPECT_EQ(mAlerts.Texts().back(),
              "Test Host error: assertion failed\n\nline: 0 of file: .\n\n");
    EXPECT_EQ(Up_AssertFailed(std::string(600, 'x').c_str(), "file.cpp", 12), 0);
    EXPECT_EQ(std::string(Up_GetThreadLoggingBuffer()).size(), 511u);
}

TEST_F(Assert, TheAnswerOfTheDialogIsReturned)
{
    const std::pair<platform::AssertAnswer, bool> kAnswers[] = {
        {platform::kAnswerGoOn, false},
        {platform::kAnswerGoOnAlways, true},
        {platform::kAnswerBreak, false}, // without a debugger the program continues
    };
    for (const auto& [answer, always] : kAnswers)
    {
        bool flag = !always;
        mAlerts.mWhileUp = [answer = answer](const platform::Alert& alert) {
            *alert.answer = answer;
        };
        EXPECT_EQ(Up_AssertImpl("a == b", "file.cpp", 12, &flag), 0);
        EXPECT_EQ(flag, always);
        EXPECT_EQ(Up_AssertImpl("a == b", "file.cpp", 12, nullptr), 0);
    }
}

TEST_F(Assert, AFilterInjectsErrors)
{
    EXPECT_FALSE(U_RandErr(1, 2));
    const U_RandErrFilter filter = [](U_u32 first, U_u32 second, U_u32 value) {
        U_SetRandErrFilter(nullptr, 0); // no lock is held
        return first == 1 && second == 2 && value == 3;
    };
    EXPECT_EQ(U_SetRandErrFilter(filter, 3), 0);
    EXPECT_TRUE(U_RandErr(1, 2));
    EXPECT_FALSE(U_RandErr(1, 2));
    U_SetRandErrFilter(filter, 3);
    EXPECT_FALSE(U_RandErr(2, 1));
}

TEST_F(Assert, ADebugStringComesInTwoPieces)
{
    Texts pieces;
    platform::SetDebugStringSink([&](const char* text) { pieces.push_back(text); });
    Up_DebugCStr("100% done");
    EXPECT_EQ(pieces, (Texts{"100% done", "\n"}));
}
