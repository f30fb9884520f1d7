#include <string>
#include <tuple>

#include <u/cpp/log_format.h>

#include "U_Group.h"
#include "U_Interact.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

namespace
{
TEST(LogFormat, TheMarksOfAGroupAndTheLocationAreTakenOff)
{
    const std::tuple<std::string, const char*, const char*> kRows[] = {
        {"", "", ""},
        {"Host error: disk is full", "Host error: disk is full", ""},
        {"Host error: disk is full\t( 23 :: 4 )", "Host error: disk is full", "( 23 :: 4 )"},
        {"disk is full\t", "disk is full", ""}, // of the location 0
        {"disk is full\n\n( 0 :: 65535 )", "disk is full", "( 0 :: 65535 )"},
        {"disk is full\n\n", "disk is full", ""},
        {"used:\t5\trequest:\t6", "used:\t5\trequest:\t6", ""}, // columns of a log line
        {"a\t(23 :: 4 )", "a\t(23 :: 4 )", ""},
        {"a\t( 23 :: )", "a\t( 23 :: )", ""},
        {"a\t( 23 :: 4 ) b", "a\t( 23 :: 4 ) b", ""},
        {"Host error: Grouped_Message_{Many|||One###@0 files:}a.txt", "Host error: One: a.txt", ""},
        {"Grouped_Message_{Many|||One:}a\tb\t( 1 :: 2 )", "One: a\tb", "( 1 :: 2 )"},
        {"Host: Grouped_Message_{Both###Errors}a}", "Host: Both: a}", ""},
        {"Grouped_Message_{Many|||One}", "One", ""},
        {"Grouped_Message_{|||}a", "a", ""},
        {"Host error: Grouped_Message_{Many|||On", "Host error: On", ""}, // cut at 511 bytes
        {"Host error: Grouped_Message_", "Host error: Grouped_Message_", ""},
    };
    for (const auto& [text, plain, location] : kRows)
    {
        SCOPED_TRACE(text);
        EXPECT_EQ(U::cpp::PlainMessage(text), plain);
        EXPECT_EQ(U::cpp::SplitMessage(text).mLocation, location);
        const U_UTF16String wide = U_AsciiToUTF16String(text.c_str());
        EXPECT_EQ(Narrow(U::cpp::PlainMessage(wide)), plain);
    }
}

typedef BornLibrary LogFormatOfReports;

TEST_F(LogFormatOfReports, TheLogCallbacksAndAlertsAreReadable)
{
    Texts seen;
    const U_LoggingCallback callback = [](void* refcon, U_u32, U_u16, const char* text) {
        static_cast<Texts*>(refcon)->push_back(U::cpp::PlainMessage(text));
        return U_Status(0);
    };
    ASSERT_EQ(U_AddLoggingCallback(callback, &seen), 0);
    const U_UTF16String group = U_FormUniqueGroupErrorMessageIdentifier(
        U_AsciiToUTF16String("Many"), U_AsciiToUTF16String("@0"), U_AsciiToUTF16String("One"));
    U_ReportError(0x10002, U_Sev_WARNING,
                  U_GroupErrorMessage(U_AsciiToUTF16String("a.txt"), group));
    U_DisplayPostedErrors();
    for (const U_u32 location : {0x10002, 0})
        U_ReportError(location, U_Sev_WARNING, U_AsciiToUTF16String("full"));

    const std::string host = "Test Host warning: ";
    const Texts plain = {host + "One: a.txt", host + "full", host + "full"};
    EXPECT_EQ(seen, plain);
    Texts logged;
    for (const std::string& text : mLog.Texts("U_Sev_WARNING"))
        logged.push_back(U::cpp::PlainMessage(text));
    EXPECT_EQ(logged, plain);
    Texts shown;
    for (const platform::Alert& alert : mAlerts.All())
        shown.push_back(Narrow(U::cpp::PlainMessage(alert.text)));
    EXPECT_EQ(shown, (Texts{host + "One\r\n\r\na.txt", plain[1], plain[2]}));
}
} // namespace
