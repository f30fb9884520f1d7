#include <exception>
#include <memory>
#include <string>

#include <krobase/debug.h>
#include <krobase/executor.h>
#include <krobase/stack_trace.h>
#include <tolv/profile.h>
#include <win32/message_queue.h>

#include "U_Fatal.h"
#include "U_Machine.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_String.h"
#include "U_Suspend.h"
#include "U_Threads.h"
#include "tests/operations/Operations.h"
#include "tests/support/Text.h"

using krobase::utility::ImmutableString;

namespace
{
// Longer than the buffer inside a string object.
const char kLong[] = "a text of more units than a string object has room for, and some more";
// Not ASCII: a report converts ASCII without an allocation.
const U_UTF16String kHidden = Units(u"hidden, and of more units than a string has room for \u00E9");

Outcome RegisterState(Own& own)
{
    const ImmutableString key((std::string(kLong) + std::to_string(own.number)).c_str());
    U_Context::RegisterState(key, &CountingState::Make);
    const bool right = Neighbour::Find(*U_Context::MakeNewContext(), key.Text()) != nullptr;
    U_Context::UnregisterState(key);
    return RightIf(right);
}

Outcome Activate(Own& own)
{
    const auto isFree = [&] { return !U_Context::HasCurrent() && !own.context->IsActive(); };
    RunOrLeaveIntact(
        [&] {
            const U_ContextSetter setter(own.context);
            const U_ContextSetter nested;
            if (CountingState::Of(*own.context).mActivations != 1)
                throw kWrong;
        },
        isFree);
    return RightIf(isFree());
}

// The functions run within the context on the executor's thread. The second result is not waited
// for. If the context cannot become current there, a function does not run.
Outcome CallSuspended(Own& own)
{
    const ContextPtr context = own.context;
    const U_ContextSetter setter(context);
    CountingState& state = CountingState::Of(*context);
    const int before = state.mValue;
    int result = 0;
    const auto count = [context] {
        CountingState& there = CountingState::Of(*context);
        return U_Context::GetCurrent() == context && there.mActivations == 1 ? ++there.mValue : -1;
    };
    const auto isBack = [&] {
        return U_Context::GetCurrent() == context && state.mActivations == 1;
    };
    RunOrLeaveIntact(
        [&] {
            const auto suspended = U_SuspendContext::NewSuspendContext();
            result = suspended->CallOnThreadedExecutor(own.executor, count);
            if (suspended->CallOnThreadedExecutor(own.executor, count) != result)
                throw kWrong;
        },
        isBack);
    if (isBack() && result == before + 1 && state.mValue == before + 2)
        return kRight;
    return OfCode(result, false, isBack() && state.mValue <= before + 1);
}

Outcome CallOnOwnLoop(Own& own)
{
    const U_ContextSetter setter(own.context);
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    const auto suspended = U_SuspendContext::NewSuspendContext();
    return RightIf(suspended->CallOnEventLoopAdaptorExecutor(loop, [] { return 7; }) == 7);
}

Operation OfRole(const char* name, void (*enter)(), void (*leave)(), bool (*isOn)())
{
    return {name, kBadAlloc, [=](Own&) {
                const bool before = isOn();
                RunOrLeaveIntact(enter, [&] { return isOn() == before; });
                const bool right = isOn();
                leave();
                return RightIf(right && isOn() == before);
            }};
}

Outcome SetLocalHandler(Own& own)
{
    const U_FatalHandler handler = [](void*) {};
    U_FatalHandler found = nullptr;
    void* refcon = nullptr;
    {
        const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler set(handler, &own);
        U_GetLocalUnhandledExceptionOrHardwareErrorHandler(&found, &refcon);
    }
    U_FatalHandler left = nullptr;
    U_GetLocalUnhandledExceptionOrHardwareErrorHandler(&left, nullptr);
    return RightIf(found == handler && refcon == &own && !left);
}

struct NumberedError : std::exception
{
    explicit NumberedError(int number) : mCode(1000 + number) {}

    int mCode;
};

Outcome Translate(Own& own)
{
    NumberedError error(own.number);
    const U_u32 id = U_RegisterExceptionTranslatorImpl([](std::exception* thrown, int* code) {
        const NumberedError* const numbered = dynamic_cast<const NumberedError*>(thrown);
        if (numbered)
            *code = numbered->mCode;
        return numbered != nullptr;
    });
    if (!id)
        return kNull;
    const U_Status code = U_TranslateAndReportException(error);
    U_UnregisterExceptionTranslator(id);
    return RightIf(code == error.mCode);
}

// Without memory the thread's text is empty.
Outcome ReportQuietly(Own&)
{
    if (const U_Status failure = U_StartQuietErrorsOnCurrentThread(true))
        return OfCode(failure, false);
    const U_Status inner = U_StartQuietErrorsOnCurrentThread(false);
    U_ReportError(1, U_Sev_INFO, kHidden);
    char text[U_ReportTextSize];
    U_GetLastError(text, nullptr, nullptr, nullptr);
    if ((inner == 0 && U_EndQuietErrorsOnCurrentThread()) || U_EndQuietErrorsOnCurrentThread())
        return kWrong;
    const bool isOwn = std::string_view(text).substr(0, 7) == "hidden,";
    return inner ? OfCode(inner, false) : RightIf(isOwn, *text ? kWrong : kLess);
}

Outcome SetProfile(Own& own)
{
    const U_UTF16String key = Units(std::u16string(30, static_cast<char16_t>('A' + own.number)));
    int value = 0;
    const short result = TOLV_SetProfileInt(key.c_str(), 5);
    if (result == -108)
        return kNull;
    return RightIf(result == 0 && TOLV_GetRequiredProfileInt(key.c_str(), &value) == 0 &&
                   value == 5);
}

// The second function is late. Without memory for its timer it runs at once.
Outcome PostToLoop(Own&)
{
    const auto runs = std::make_shared<int>(0);
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    loop->Post([runs] { ++*runs; }, 0);
    loop->Post([runs] { ++*runs; }, 1000);
    win32::MSG message;
    while (win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove))
        win32::DispatchMessageW(&message);
    return RightIf(*runs == 1, *runs == 2 ? kLess : kWrong);
}
} // namespace

Operations ContextOperations()
{
    return {
        {"U_Context::RegisterState", kBadAlloc, &RegisterState},
        {"U_Context::MakeNewContext", kBadAlloc,
         [](Own&) { return RightIf(U_Context::MakeNewContext()->GetContextID() > 0); }},
        {"U_ContextSetter", kBadAlloc, &Activate},
        {"U_WeakContextSetter", kBadAlloc,
         [](Own& own) {
             const U_WeakContextSetter setter(own.context);
             return RightIf(U_Context::GetCurrent() == own.context);
         }},
        {"U_Context::CheckAbortAndFlushCompletionRoutines", kBadAlloc,
         [](Own&) { return RightIf(!U_Context::CheckAbortAndFlushCompletionRoutines()); }},
        {"U_SuspendContext", kBadAlloc | kCode4, &CallSuspended},
        {"CallOnEventLoopAdaptorExecutor", kBadAlloc, &CallOnOwnLoop},
        OfRole("U_RegisterMainThread", &U_RegisterMainThread, &U_DeregisterMainThread,
               &U_IsOnMainThread),
        OfRole("U_RegisterRenderThread", &U_RegisterRenderThread, &U_DeregisterRenderThread,
               &U_IsOnRenderThread),
        {"a local handler", kBadAlloc, &SetLocalHandler},
        {"U_RegisterExceptionTranslatorImpl", kNull, &Translate},
        {"U_StartQuietErrorsOnCurrentThread", kCode4 | kLess, &ReportQuietly},
        {"Up_NuloEnglishError and Up_SysEnglishError", kLess, // of a buffer of all threads
         [](Own&) {
             U_CopyString("a text", U_ReportTextSize, Up_GetThreadLoggingBuffer());
             Up_NuloEnglishError(0x270F);
             Up_SysEnglishError(12345);
             const std::string_view text = Up_GetThreadLoggingBuffer();
             return RightIf(text == "a text (270f) (12345).", kLess);
         }},
        {"U_GetUsername", kBadAlloc | kLess,
         [](Own&) { return RightIf(!U_GetUsername().empty(), kLess); }},
        {"DebugDatabase::GetEntry", kBadAlloc,
         [](Own&) {
             return RightIf(krobase::debug::DebugDatabase::Instance().GetEntry(kLong, kLong) ==
                            kLong);
         }},
        {"TraceEnabled", kBadAlloc,
         [](Own&) { return RightIf(!krobase::debug::TraceEnabled(kLong, 5, true)); }},
        {"StackFrameFunctionName", kNull | kBadAlloc,
         [](Own&) {
             char name[16];
             void* const frame = reinterpret_cast<char*>(&PostToLoop) + 1;
             return RightIf(krobase::debug::StackFrameFunctionName(frame, name, 16), kNull);
         }},
        {"TOLV_SetProfileInt", kBadAlloc | kNull, &SetProfile, true},
        {"AsyncEventLoopAdaptor::Post", kBadAlloc | kLess, &PostToLoop},
        {"ImmutableString", kBadAlloc,
         [](Own&) { return RightIf(std::string(ImmutableString(kLong).Text()) == kLong); }},
    };
}
