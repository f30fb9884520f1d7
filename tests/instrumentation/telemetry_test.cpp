#include "U_Telemetry.h"

#include <cstdlib>
#include <iterator>
#include <tuple>
#include <utility>

#include "U_Interact.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Text.h"

namespace telemetry = U::telemetry;
using krobase::utility::Guid;

namespace
{
// One call of each operation.
boost::shared_ptr<RecordingProvider::Group> CallAll(bool* logging)
{
    Guid guid;
    guid.mBytes[0] = 1;
    guid.mBytes[15] = 2;
    *logging = telemetry::IsLogging();
    telemetry::LogEvent("category", "event", Units(u"text").c_str(), guid);
    telemetry::LogEventWithCount("a", "b", "c", -3, guid);
    telemetry::IncrementEventCount("d", "e", "f");
    telemetry::ClearEventCount("g", "h", "i");
    telemetry::LogEventsWithCount();
    const auto group = telemetry::NewDataGroup("product", "event", "part", guid);
    telemetry::AddToGroup(group, "name", Bytes("value"));
    telemetry::AddToGroup(nullptr, "name", Bytes(""));
    return group;
}

class Telemetry : public BornLibrary
{
protected:
    void TearDown() override
    {
        telemetry::RegisterTelemetryProvider(nullptr);
        BornLibrary::TearDown();
    }
};
} // namespace

TEST_F(Telemetry, EveryCallReachesTheLatestProviderWithItsArguments)
{
    const Texts expected = {
        "IsLogging",
        "LogEvent category event text 1-2",
        "LogEventWithCount a b c -3 1-2",
        "Increment d e f",
        "Clear g h i",
        "LogEventsWithCount",
        "NewDataGroup product event part 1-2",
        "AddToGroup group name value",
        "AddToGroup null name ",
    };
    RecordingProvider first;
    RecordingProvider provider;
    telemetry::RegisterTelemetryProvider(&first);
    telemetry::RegisterTelemetryProvider(&provider);
    bool logging = false;
    EXPECT_EQ(CallAll(&logging), provider.mGroup);
    EXPECT_TRUE(logging);
    EXPECT_EQ(provider.mCalls, expected);
    EXPECT_EQ(first.mCalls, Texts());

    telemetry::RegisterTelemetryProvider(nullptr);
    EXPECT_EQ(CallAll(&logging), nullptr);
    EXPECT_FALSE(logging);
    Up_HDT_ReportPluginErrorTelemetry(Units(u"plugin"), 1);
    EXPECT_EQ(provider.mCalls, expected) << "without a provider nothing happens";
}

TEST_F(Telemetry, PluginErrorsGoThroughTheirGroup)
{
    RecordingProvider provider;
    telemetry::RegisterTelemetryProvider(&provider);
    Up_HDT_ReportPluginErrorTelemetry(Units(u"Gl\u00FChen"), 42);
    Up_HDT_ReportPluginErrorTelemetry(Units(u""), 0xFFFFFFFF);
    provider.mGroup.reset(); // the provider returns no group
    Up_HDT_ReportPluginErrorTelemetry(Units(u"other"), 1);
    EXPECT_EQ(provider.mCalls, (Texts{
                                   "NewDataGroup qx plugin_error plugin_error 0-0",
                                   "Add match_name Gl\xC3\xBChen",
                                   "Add version 00000042",
                                   "NewDataGroup qx plugin_error plugin_error 0-0",
                                   "Add match_name ",
                                   "Add version 4294967295",
                                   "NewDataGroup qx plugin_error plugin_error 0-0",
                               }));
}

TEST_F(Telemetry, ShownProblemsMakeGroups)
{
    const char16_t kTagged[] = u"Grouped_Message_{Many|||One###Files:}a.txt";
    // With the values of the group; without values no group is made.
    const std::tuple<U_u16, const char16_t*, Texts> kShown[] = {
        {U_Sev_MESSAGE, u"text", {}},
        {U_Sev_INFO, u"text", {}},
        {U_Sev_WARNING,
         u"\u00E4",
         {"severity Warning", "localizedMsg Test Host warning: \xC3\xA4"}},
        {U_Sev_WARNING, kTagged, {"severity Warning", "localizedMsg One", "errDetail a.txt"}},
        {U_Sev_PROBLEM, u"text", {"severity Problem", "localizedMsg Test Host error: text"}},
        {U_Sev_DETAIL, u"text", {}},
        {U_Sev_DEBUG, u"text", {}},
        {5, u"text", {}},
        {U_Sev_LEAK, u"text", {"severity Leak", "localizedMsg Test Host warning: text"}},
        {U_Sev_FATAL,
         u"text",
         {"severity Fatal", "localizedMsg Test Host can\xE2\x80\x99t continue: text"}},
    };
    Up_SetInteract(0xFFFFFFFF);
    RecordingProvider provider;
    telemetry::RegisterTelemetryProvider(&provider);
    for (const auto& [severity, text, values] : kShown)
    {
        Texts expected;
        for (const std::string& value : values)
            expected.push_back("AddToGroup group " + value);
        if (!expected.empty())
            expected.insert(expected.begin(), "NewDataGroup Qx error error 0-0");
        provider.mCalls.clear();
        Up_Report16(0, severity, Units(text), false);
        EXPECT_EQ(provider.mCalls, expected);
    }
    EXPECT_EQ(mAlerts.All().size(), std::size(kShown));
    Up_SetInteract(0xFFFF0000);
    provider.mCalls.clear();
    Up_Report16(0, U_Sev_WARNING, Units(u"not shown"), false);
    EXPECT_EQ(provider.mCalls, Texts());
}

TEST(StripQuotedContents, TextBetweenTheOutermostQuotesIsRemoved)
{
    const std::pair<std::u16string, std::u16string> rows[] = {
        {u"", u""},
        {u"no quotes", u"no quotes"},
        {u"say \"hi\"", u"say \"\""},
        {u"a \"b\" c \"d\" e", u"a \"\" e"},
        {u"\"\"", u"\"\""},
        {u"it's what's left", u"it''s left"},
        {u"don't", u"don''t"}, // one quote is the left and the right one
        {u"\"", u"\"\""},
        {u"open \u201Cname\u201D, \u2018x\u2019.", u"open \u201C\u201D, \u2018\u2019."},
        {u"\u201Ca \u201Cb\u201D c\u201D", u"\u201C\u201D"},
        {u"only \u201Cleft", u"only \u201Cleft"},
        {u"only right\u201D", u"only right\u201D"},
        {u"a\u201Db\u201Cc", u"a\u201Db\u201C\u201Db\u201Cc"}, // the right quote first
        {u"x \"it's\" y's z", u"x \"\" y''s z"}, // in turn: the first ' is removed before
        {u"'a' \"b 'c' d\" 'e'", u"''"},
    };
    for (const auto& [text, stripped] : rows)
    {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(telemetry::StripQuotedContents(Units(text)), Units(stripped));
    }
}

TEST(StripQuotedContentsDeathTest, QuotesAreThoseOfTheLanguageAtTheFirstCall)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto strip = [](const char16_t* left, const char16_t* text) {
        // Never freed, since the library keeps pointers into the image.
        auto& image = *new DictionaryImage(BinaryImage({
            {"/U/StripQuotedContents/Entry1Left", left},
            {"/U/StripQuotedContents/Entry1Right", u">>"},
            {"/U/StripQuotedContents/Entry2Left", u""},
        }));
        U_ZStringSetCurrentDictionary(image.units.data(), image.size);
        return telemetry::StripQuotedContents(Units(text));
    };
    const auto stripTwice = [&] {
        U_ZLocaleBirth();
        const U_UTF16String expected = Units(u"it''s \"a\" <<>>");
        for (const char16_t* left : {u"<<", u"i"})
        {
            if (strip(left, u"it's \"a\" <<b>>") != expected)
                return 1;
        }
        return 0;
    };
    EXPECT_EXIT(std::_Exit(stripTwice()), testing::ExitedWithCode(0), "");
}
