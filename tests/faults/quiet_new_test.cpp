// Alerts of a failed operator new on a main thread: where one may be shown, and where none may.

#include <atomic>
#include <future>
#include <thread>

#include <tolv/toolbox.h>
#include <wril/wril.h>

#include "U_Alloc.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "U_XML.h"
#include "fuzz/code_thrown.h"
#include "tests/operations/Operations.h"
#include "tests/operations/Texts.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
// Death would clean a table that is looked up before it is registered.
Outcome LookUpInFreshTable(Own&)
{
    Table table;
    U_LStrCache* copy = &table;
    U_ZLookupLStrCache(copy, 0, 0, nullptr);
    U_ZRegisterLStrCache(&copy);
    if (copy == &table)
        U_ZRegisterLStrCache(&copy); // removes the table from the list
    if (copy != &table)
        U_ZUnregisterLStrCache(&copy);
    return kRight;
}

template <class Body> void FailEach(Body body)
{
    FailEachNew(body, [](long) {});
}

class QuietNew : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        // The allocations of log lines would be points too.
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
        platform::SetAlertPresenter([this](const platform::Alert& alert) {
            ++mShown;
            if (mWhileUp)
                mWhileUp(alert);
        });
    }

    const U_UTF16String mOutOfMemory = Units(u"Out of memory. (");
    std::atomic<int> mShown{0};
    std::function<void(const platform::Alert&)> mWhileUp;
};
} // namespace

TEST_F(QuietNew, AnAlertHoldsUpNoOtherThread)
{
    const ScOperations registered;
    Own own(1);
    Own others(2);
    Operations operations = AllOperations();
    operations.push_back({"a fresh table", 0, &LookUpInFreshTable});
    for (const Operation& operation : operations)
    {
        SCOPED_TRACE(operation.name);
        mWhileUp = nullptr;
        EXPECT_EQ(OutcomeOf(operation, own), kRight); // makes the constants of the operation
        std::vector<std::thread> threads;
        mWhileUp = [&](const platform::Alert& alert) {
            if (alert.text.find(mOutOfMemory) == U_UTF16String::npos)
                return; // of a report of the operation
            std::promise<void> done;
            std::future<void> isDone = done.get_future();
            threads.emplace_back([&, done = std::move(done)]() mutable {
                EXPECT_EQ(OutcomeOf(operation, others), kRight) << operation.name;
                done.set_value();
            });
            EXPECT_EQ(isDone.wait_for(std::chrono::seconds(20)), std::future_status::ready);
        };
        FailEach([&] { OutcomeOf(operation, own); });
        for (std::thread& thread : threads)
            thread.join();
        if (HasFailure())
            break;
    }
    mWhileUp = nullptr;
    EXPECT_GT(mShown, 0);
}

TEST_F(QuietNew, NoAlertIsShownWhereSilenceIsPromised)
{
    // The first allocations of a thread, of more blocks than one slab of pointers holds.
    std::vector<void**> handles(2000);
    for (long nth = 1; nth < 12; ++nth)
    {
        OnFreshThread([&] {
            U_RegisterMainThread();
            {
                const ScFailingNew failing(nth);
                for (void**& handle : handles)
                    handle = U_AllocateHandleQuiet(16);
            }
            for (void** handle : handles)
                U_FreeHandle(handle);
            U_DeregisterMainThread();
        });
    }
    const std::string longText(3000, 'x');
    FailEach([&] { WRIL_sprintf(0, "U", "Test", "%s", longText.c_str()); });
    FailEach([] { DisposeHandle(NewHandle(10)); });
    DictionaryImage image = TextImage(u"\"$$$/U/Test/QuietNew=a text of some length\"\n");
    FailEach([&] { LoadDictionary(image); });
    // On a thread without a quiet level.
    OnFreshThread([] {
        U_RegisterMainThread();
        FailEach([] {
            if (U_StartQuietErrorsOnCurrentThread(false) == 0)
                U_EndQuietErrorsOnCurrentThread();
        });
        U_DeregisterMainThread();
    });
    U_DisplayPostedErrors(); // of the other threads
    const U_UTF16String posted = Units(u"a posted text, longer than the buffer of a string");
    FailEach([&] { U_AsyncReport(0, U_Sev_PROBLEM, posted); });
    const U_UTF8String digits(2000, '1');
    U_ScAutoArray<unsigned char> data;
    FailEach([&] { CodeThrown([&] { U_UTF8StringToBinaryData(digits, &data); }); });
    EXPECT_EQ(mShown, 0);
    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 3) << "a quiet level is left";
}
