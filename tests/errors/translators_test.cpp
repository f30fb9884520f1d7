// Exception translators.

#include <any>
#include <atomic>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <typeinfo>

#include <win32/errors.h>

#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Threads.h"
#include "fuzz/code_thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/System.h"

namespace
{
class Translators : public BornLibrary
{
protected:
    U_u32 Register(int number, bool recognises, int code)
    {
        return U_RegisterExceptionTranslatorImpl([=](std::exception*, int* out) {
            mCalled.push_back(number);
            if (recognises && code)
                *out = code;
            return recognises;
        });
    }

    U_Status Translate()
    {
        std::runtime_error error("broken");
        return U_TranslateAndReportException(error);
    }

    std::vector<int> mCalled;
};
} // namespace

TEST_F(Translators, TheNewestTranslatorThatRecognisesTheExceptionWins)
{
    Register(1, true, 101);
    const U_u32 second = Register(2, true, 102);
    Register(3, false, 103);
    EXPECT_EQ(Translate(), 102);
    EXPECT_EQ(mCalled, (std::vector<int>{3, 2}));
    U_UnregisterExceptionTranslator(second);
    U_UnregisterExceptionTranslator(second);
    EXPECT_EQ(U_RegisterExceptionTranslatorImpl(U_ExceptionTranslator()), 0u);
    EXPECT_EQ(Translate(), 101);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(Translators, TheCodeIsFourteenIfTheTranslatorStoresNone)
{
    Register(1, true, 0);
    EXPECT_EQ(Translate(), 14);
    U_RegisterExceptionTranslatorImpl([](std::exception*, int* code) {
        *code = 99;
        return false;
    });
    EXPECT_EQ(Translate(), 14);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(Translators, BadAllocAndBadCastNeverReachTranslators)
{
    Register(1, true, 101);
    std::bad_array_new_length noMemory;
    std::bad_any_cast badCast;
    std::bad_typeid badType;
    EXPECT_EQ(U_TranslateAndReportException(noMemory), 4);
    EXPECT_EQ(U_TranslateAndReportException(badCast), 3);
    EXPECT_TRUE(mCalled.empty());
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"), Texts{"Test Host error: Unexpected data type\t"});
    EXPECT_EQ(U_TranslateAndReportException(badType), 101);
}

TEST_F(Translators, AnUnrecognisedExceptionIsLogged)
{
    Register(1, false, 0);
    EXPECT_EQ(Translate(), 14);
    EXPECT_EQ(mLog.Texts(), (Texts{"UNHANDLED_EXCEPTION: What: broken, type: std::runtime_error",
                                   "U_Sev_WARNING: Test Host warning: Unknown Exception.\t"}));
}

TEST_F(Translators, AnIntFromATranslatorIsItsCodeAndAnExceptionIsIgnored)
{
    Register(1, true, 100);
    U_RegisterExceptionTranslatorImpl(
        [](std::exception*, int*) -> bool { throw std::runtime_error("inside"); });
    EXPECT_EQ(Translate(), 100);
    U_RegisterExceptionTranslatorImpl([](std::exception*, int*) -> bool { throw 77; });
    EXPECT_EQ(Translate(), 77);
}

TEST_F(Translators, ATranslatorMayRegisterUnregisterAndTranslate)
{
    Register(1, true, 101);
    const U_u32 older = Register(2, true, 102);
    U_u32 self = 0;
    auto text = std::make_shared<std::string>("alive");
    const std::weak_ptr<std::string> watched = text;
    self = U_RegisterExceptionTranslatorImpl([&, text](std::exception* exception, int* out) {
        U_UnregisterExceptionTranslator(self);
        U_UnregisterExceptionTranslator(older);
        *out = U_TranslateAndReportException(*exception) + 100;
        Register(3, true, 103);
        EXPECT_EQ(*text, "alive"); // its state lives until it returns
        return true;
    });
    text.reset();
    EXPECT_EQ(Translate(), 201);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(Translate(), 103);
}

TEST_F(Translators, TranslatorsRunOnOneThreadAtATime)
{
    std::atomic<int> inside(0);
    std::atomic<int> most(0);
    U_RegisterExceptionTranslatorImpl([&](std::exception*, int* out) {
        const int now = ++inside;
        if (now > most)
            most = now;
        std::this_thread::yield();
        --inside;
        *out = 55;
        return true;
    });
    OnThreads(4, [&](int) {
        for (int round = 0; round < 500; ++round)
            EXPECT_EQ(Translate(), 55);
    });
    EXPECT_EQ(most, 1);
}

TEST_F(Translators, TranslatorsEndWithDeathAndTheirIdsAreNotReused)
{
    const U_u32 first = Register(1, true, 101);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(Register(2, true, 102), 0u);
    U_UnregisterExceptionTranslator(first);
    EXPECT_EQ(Translate(), 14);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_EQ(Translate(), 14);
    EXPECT_TRUE(mCalled.empty());
    const U_u32 next = Register(1, true, 101);
    EXPECT_EQ(next, first + 1);
    U_UnregisterExceptionTranslator(next);
    EXPECT_EQ(Register(1, true, 101), next + 1);
}

TEST_F(Translators, AnATLExceptionWithASystemTextThrowsOne)
{
    // The result code, the callback's answer, the thrown code, and the log lines.
    typedef std::tuple<unsigned int, U_Status, int, Texts> Row;
    // The texts of POSIX systems and of Wine. Windows has others.
    const auto warning = [](const char* posix, const char* wine) {
        return Texts{std::string("U_Sev_WARNING: Test Host warning: ") + (IsWine() ? wine : posix) +
                     "\r\n\t"};
    };
    const auto kNoFile = warning("No such file or directory.", "File not found.");
    const Row rows[] = {
        {0x80004005, 0, 1, warning("Unspecified error.", "Call failed.")},
        {0x80070002, 0, 1, kNoFile},
        {0x80070002, 55, 55, kNoFile},
        {0x8007FFFF, 0, 0, {}},
        {0x8ABCDEF0, 0, 0, {}},
    };
    U_Status answer = 0;
    U_AddLoggingCallback(
        [](void* refcon, U_u32, U_u16, const char*) { return *static_cast<U_Status*>(refcon); },
        &answer);
    for (const auto& [result, callback, thrown, logged] : rows)
    {
        SCOPED_TRACE(testing::Message() << result << " " << callback);
        answer = callback;
        mLog.Clear();
        ATL::CAtlException exception(static_cast<int>(result));
        EXPECT_EQ(CodeThrown([&] { TranslateAndThrowATLException(exception, __FILE__, __LINE__); }),
                  thrown);
        EXPECT_EQ(mLog.Texts(), logged);
    }
}
