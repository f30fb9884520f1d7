// Alerts of a failed operator new on a main thread: where one may be shown, and where none may.

#include <atomic>
#include <future>
#include <new>
#include <thread>
#include <vector>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <krobase/debug.h>
#include <krobase/executor.h>
#include <krobase/immutable_string.h>
#include <krobase/recycled_memory.h>
#include <krobase/stack_trace.h>
#include <platform/control.h>
#include <tolv/profile.h>
#include <tolv/toolbox.h>
#include <win32/memory.h>
#include <win32/message_queue.h>
#include <win32/threads.h>
#include <wril/wril.h>
#include <zelboxmp/xmp.h>

#include "U_Alloc.h"
#include "U_Context.h"
#include "U_Date.h"
#include "U_LStr.h"
#include "U_Machine.h"
#include "U_MemServices.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
using krobase::utility::Guid;
using krobase::utility::ImmutableString;

// Longer than any text that a string object stores inside itself.
#define LONG "a text of more units than a string object has room for, and some more"

void AllocateAsHostsDo()
{
    ::operator delete(::operator new(100));
}

// Runs on two threads at the same time, once on each.
struct Operation
{
    const char* name;
    void (*run)();
};

void LookUpInFreshTable()
{
    U_LStrRow rows[] = {{const_cast<char*>("$$$/U/Test/Row=" LONG), nullptr, nullptr, 0},
                        {nullptr, nullptr, nullptr, 0}};
    U_LStrCache table = {const_cast<char*>("test"), 2, rows, 0};
    U_LStrCache* copy = &table;
    U_ZLookupLStrCache(copy, 0, 0, nullptr);
    U_ZRegisterLStrCache(&copy);
    if (copy == &table)
        U_ZRegisterLStrCache(&copy); // removes the table from the list
    if (copy != &table)
        U_ZUnregisterLStrCache(&copy);
}

void TakeTranslator()
{
    const U_u32 id =
        U_RegisterExceptionTranslatorImpl([text = std::string(LONG)](std::exception*, int*) {
            AllocateAsHostsDo();
            return !text.empty();
        });
    std::runtime_error error("error");
    U_TranslateAndReportException(error);
    U_UnregisterExceptionTranslator(id);
}

__XMPMeta__* sMetadata = nullptr; // while the operations run

void SetAndWriteProperty()
{
    zelboxmp::SetProperty(sMetadata, "http://ns.example/" LONG, "name", LONG);
    zelboxmp::Result result = {};
    zelboxmp::Ordinal61(
        sMetadata, nullptr, 0, 0, "", "", 0, [](void*, const char*, unsigned int) {}, &result);
}

void PostToLoop()
{
    static std::atomic<int> sRun{0};
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    loop->Post([] { ++sRun; }, 0);
    loop->Post([] { ++sRun; }, 1);
    platform::PostThreadMessage(win32::GetCurrentThreadId(), win32::kWmUser, 0, 0);
    win32::MSG message;
    while (win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove))
        win32::DispatchMessageW(&message);
}

void* InPostToLoop()
{
    return reinterpret_cast<char*>(&PostToLoop) + 1;
}

void MakeContext()
{
    U_Context::UnregisterState(ImmutableString("another key"));
    U_Context::MakeNewContext();
}

const Operation kOperations[] = {
    {"texts", [] { U_ZStringToUTF16String("$$$/U/Test/QuietNew=" LONG "#{mdash}"); }},
    {"tables of texts", &LookUpInFreshTable},
    {"translators", &TakeTranslator},
    {"contexts", &MakeContext},
    {"external managers", [] { U_GetSizeOfExternalMemoryManagers(); }},
    {"address space", [] { U_ReserveContiguousAddressSpace(1 << 20); }},
    {"settings",
     [] { krobase::debug::DebugDatabase::Instance().GetEntry("Setting of " LONG, LONG); }},
    {"profile", [] { TOLV_SetProfileInt(Units(u"Key of " LONG).c_str(), 5); }},
    {"traces", [] { krobase::debug::TraceEnabled("Category of " LONG, 5, true); }},
    {"stack traces",
     [] {
         char name[16];
         krobase::debug::StackFrameFunctionName(InPostToLoop(), name, 16);
     }},
    {"names",
     [] {
         U_GetMachineName();
         U_GetUsername();
     }},
    {"queues", &PostToLoop},
    {"immutable strings", [] { const ImmutableString text(LONG); }},
    {"recycled memory", [] { const krobase::utility::RecycledMemory block(5000); }},
    {"metadata", &SetAndWriteProperty},
};

class QuietNew : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        // The allocations of log lines would be points too.
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
        platform::SetNames(LONG, LONG);
        platform::SetAlertPresenter([this](const platform::Alert& alert) {
            ++mShown;
            if (mWhileUp)
                mWhileUp(alert);
        });
    }

    std::atomic<int> mShown{0};
    std::function<void(const platform::Alert&)> mWhileUp;
};
} // namespace

TEST_F(QuietNew, AnAlertHoldsUpNoOtherThread)
{
    const ImmutableString key("test.quiet_new");
    U_Context::RegisterState(key, [](U_Context*) {
        AllocateAsHostsDo();
        return boost::shared_ptr<U_State>();
    });
    std::vector<Guid> ids;
    for (unsigned char id = 1; id < 40; ++id)
    {
        Guid guid = {};
        guid.mBytes[0] = id;
        ids.push_back(guid);
        U_InstallExternalMemoryManager(guid, [] { return size_t(0); });
    }
    sMetadata = zelboxmp::NewMetadata();
    for (const Operation& operation : kOperations)
    {
        SCOPED_TRACE(operation.name);
        const auto run = [&] {
            try
            {
                operation.run();
            }
            catch (const std::bad_alloc&)
            {
            }
        };
        std::vector<std::thread> others;
        mWhileUp = [&](const platform::Alert&) {
            std::promise<void> done;
            std::future<void> isDone = done.get_future();
            others.emplace_back([&run, done = std::move(done)]() mutable {
                run();
                done.set_value();
            });
            EXPECT_EQ(isDone.wait_for(std::chrono::seconds(20)), std::future_status::ready);
        };
        FailEachNew(run, [](long) {});
        for (std::thread& other : others)
            other.join();
        if (HasFailure())
            break;
    }
    mWhileUp = nullptr;
    EXPECT_GT(mShown, 0);
    for (const Guid& id : ids)
        U_UnInstallExternalMemoryManager(id);
    U_Context::UnregisterState(key);
    zelboxmp::Ordinal6(sMetadata);
}

TEST_F(QuietNew, NoAlertIsShownWhereSilenceIsPromised)
{
    // The first allocations of a thread, of more blocks than one slab of pointers holds.
    const auto allocate = [] {
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
    };
    const auto log = [] {
        const std::string text(3000, 'x');
        FailEachNew([&] { WRIL_sprintf(0, "U", "Test", "%s", text.c_str()); }, [](long) {});
    };
    const auto handle = [] { FailEachNew([] { DisposeHandle(NewHandle(10)); }, [](long) {}); };
    const auto load = [] {
        DictionaryImage image = TextImage(u"\"$$$/U/Test/QuietNew=" LONG "\"\n");
        FailEachNew([&] { U_ZStringSetCurrentDictionary(image.units.data(), image.size); },
                    [](long) {});
    };
    // On a thread without a quiet level.
    const auto quiet = [] {
        OnFreshThread([] {
            U_RegisterMainThread();
            FailEachNew(
                [] {
                    if (U_StartQuietErrorsOnCurrentThread(false) == 0)
                        U_EndQuietErrorsOnCurrentThread();
                },
                [](long) {});
            U_DeregisterMainThread();
        });
    };
    const U_UTF16String text = Units(u"posted, " LONG);
    const auto post = [&] {
        FailEachNew([&] { U_AsyncReport(0, U_Sev_PROBLEM, text); }, [](long) {});
    };
    for (const std::function<void()>& stretch :
         std::initializer_list<std::function<void()>>{allocate, log, handle, load, quiet})
        stretch();
    U_DisplayPostedErrors(); // of the other threads
    post();
    EXPECT_EQ(mShown, 0);
}
