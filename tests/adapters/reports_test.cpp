// Messages of the builder, and the scopes that keep alerts back.

#include <u/cpp/reports.h>

#include <tuple>

#include <gmock/gmock.h>

#include <u/cpp/threads.h>

#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "tests/adapters/Thrown.h"
#include "tests/support/BornLibrary.h"

using testing::ElementsAre;
using testing::IsEmpty;
using U::cpp::Report;

namespace
{
const U_u32 kPlace = 0x10002;

class CppReports : public BornLibrary
{
protected:
    Texts Shown()
    {
        U_DisplayPostedErrors();
        const Texts texts = mAlerts.Texts();
        mAlerts.Clear();
        return texts;
    }

    static U_u32 Count()
    {
        U_u32 count = 0;
        U_GetHowManyErrors(&count);
        return count;
    }

    static void Warn(const char* text) { Report(kPlace, U_Sev_WARNING).Text(text).Show(); }
};
} // namespace

TEST_F(CppReports, AMessageIsShownOrPostedWithItsValues)
{
    Report(kPlace, U_Sev_MESSAGE).Text("$$$/test=^^1 in ^^2", "^2", "b").Show();
    EXPECT_THAT(Shown(), ElementsAre("^2 in b"));
    U_u32 location = 0;
    U_GetLastError(nullptr, nullptr, &location, nullptr);
    EXPECT_EQ(location, kPlace);
    Report(kPlace, U_Sev_MESSAGE).Text(U_Status(U_Err_BadParameter)).Show();
    EXPECT_THAT(Shown(), ElementsAre("a bad parameter was passed"));
    const U_u32 before = Count();
    Report(kPlace, U_Sev_MESSAGE).Text(U::cpp::ToUTF16("posted")).Post();
    EXPECT_THAT(mAlerts.Texts(), IsEmpty());
    EXPECT_THAT(Shown(), ElementsAre("posted"));
    EXPECT_EQ(Count(), before);
}

TEST_F(CppReports, ACallbackThatEndsAReportThrowsItsCode)
{
    const U_LoggingCallback callback = [](void*, U_u32, U_u16, const char*) {
        return U_Status(88);
    };
    U_AddLoggingCallback(callback, nullptr);
    EXPECT_EQ(Thrown([] { Warn("$$$/test=ended"); }), 88);
    U_RemoveLoggingCallback(callback, nullptr);
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(CppReports, MessagesOfAGroupAreOneAlert)
{
    const U::cpp::Group files("$$$/test/many=Files can't be read", "$$$/test/count=Files: @0",
                              "$$$/test/one=A file can't be read");
    for (const char* name : {"a.txt", "^2.txt"})
        Report(0, U_Sev_MESSAGE).Text("$$$/test/file=The file ^^1", name).In(files).Show();
    EXPECT_THAT(Shown(),
                ElementsAre(" Files can't be read\r\n\r\nFiles: 2\r\n\r\n1)   The file a.txt"
                            "\r\n\r\n2)   The file ^2.txt"));
}

TEST_F(CppReports, QuietScopesNestAndEndOnExceptions)
{
    const U_u32 before = Count();
    try
    {
        const U::cpp::QuietScope outer(true);
        const U::cpp::QuietScope inner(false);
        Warn("$$$/test=quiet");
        throw 5;
    }
    catch (int)
    {
    }
    EXPECT_EQ(Count(), before);
    EXPECT_EQ(mLog.Texts("U_Sev_WARNING").size(), 0u);
    Warn("$$$/test=loud");
    EXPECT_EQ(Count(), before + 1);
    EXPECT_EQ(Shown().size(), 1u);
}

TEST_F(CppReports, APostScopeHoldsAlertsBack)
{
    {
        const U::cpp::PostScope outer;
        const U::cpp::PostScope inner;
        Warn("$$$/test=held");
    }
    EXPECT_THAT(mAlerts.Texts(), IsEmpty());
    EXPECT_EQ(Shown().size(), 1u);
    Warn("$$$/test=at once");
    EXPECT_EQ(mAlerts.Texts().size(), 1u);
}

TEST_F(CppReports, ADeferredScopeRepeatsItsLastErrorOnce)
{
    typedef U::cpp::DeferredScope Scope;
    const std::string kLast = "Test Host warning: second";
    // The end of the scope, what is shown, and the errors that are counted.
    const std::tuple<void (*)(Scope&), Texts, U_u32> kRows[] = {
        {[](Scope&) {}, {kLast}, 3}, // the destructor reports
        {[](Scope& scope) { EXPECT_EQ(scope.Report(), 0); }, {kLast}, 3},
        {[](Scope& scope) { EXPECT_EQ(scope.Post(), 0); }, {kLast}, 2},
        {[](Scope& scope) { scope.Forget(); }, {}, 0},
        {[](Scope& scope) {
             scope.Forget();
             EXPECT_EQ(scope.Report(), 0) << "a second end does nothing";
         },
         {},
         0},
    };
    for (const auto& [end, expected, counted] : kRows)
    {
        SCOPED_TRACE(counted);
        const U_u32 before = Count(), mask = Up_GetInteract();
        {
            Scope scope(0);
            Warn("$$$/test=first");
            Warn("$$$/test=second");
            EXPECT_THAT(mAlerts.Texts(), IsEmpty());
            end(scope);
        }
        Texts shown;
        for (const std::string& text : Shown())
            shown.push_back(text.substr(0, kLast.size()));
        EXPECT_EQ(shown, expected);
        EXPECT_EQ(Count(), before + counted);
        EXPECT_EQ(Up_GetInteract(), mask);
    }
}

TEST_F(CppReports, ScopesFailOutsideTheLibrarysLife)
{
    U_Death();
    EXPECT_EQ(Thrown([] { U::cpp::QuietScope scope(true); }), 3);
    EXPECT_EQ(Thrown([] { U::cpp::DeferredScope scope(0); }), 5889);
    U_Birth("Test Host", nullptr);
}
