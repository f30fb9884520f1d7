#include <win32/exceptions.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

#include <malloc.h>

#include <platform/base/locks.h>
#include <platform/base/stacked_handler.h>
#include <platform/base/thread_local.h>

#include "windows_api.h"

namespace win32
{
namespace
{
std::atomic<TopLevelExceptionFilter> sFilter(nullptr);

long OnException(std::size_t level, ::EXCEPTION_POINTERS* exception);

platform::Mutex sLock; // held while the filter is changed
platform::StackedHandler<&OnException> sHandler;

PLATFORM_THREAD_LOCAL(bool, tIsInFilter);

// A C++ exception that nothing catches. GCC's runtime raises a system's exception for the C++
// exception, expects that the program then continues, and calls std::terminate.
bool IsThrow(const EXCEPTION_RECORD& record)
{
    const DWORD kGCC = 0x20474343;
    return (record.ExceptionCode & 0x20FFFFFF) == kGCC &&
           (record.ExceptionFlags & EXCEPTION_NONCONTINUABLE) == 0;
}

void CallFilter(TopLevelExceptionFilter filter, ::EXCEPTION_POINTERS* exception)
{
    const int errorBefore = errno;
    tIsInFilter = true;
    filter(reinterpret_cast<EXCEPTION_POINTERS*>(exception));
    tIsInFilter = false;
    errno = errorBefore;
}

// A filter may run without memory, so the system's slot of the variable is taken before.
void TakeSlot()
{
    tIsInFilter = true;
    tIsInFilter = false;
}

// The system calls the filter of a second exception within the filter of the first one. Such an
// exception ends the process.
long OnException(std::size_t level, ::EXCEPTION_POINTERS* exception)
{
    if (IsThrow(*exception->ExceptionRecord))
        return EXCEPTION_CONTINUE_EXECUTION;
    if (tIsInFilter)
        return EXCEPTION_CONTINUE_SEARCH;
    const TopLevelExceptionFilter filter = sFilter;
    if (filter && level == sHandler.Latest())
        CallFilter(filter, exception);
    const auto next = sHandler.Replaced(level);
    return next ? next(exception) : EXCEPTION_CONTINUE_SEARCH;
}

// The system returns its filter only in exchange for another one. An exception of another thread
// between the two calls finds no filter.
LPTOP_LEVEL_EXCEPTION_FILTER TakeFilter()
{
    return ::SetUnhandledExceptionFilter(nullptr);
}

// A filter that was installed over ours is kept.
void Remove()
{
    const LPTOP_LEVEL_EXCEPTION_FILTER current = TakeFilter();
    const bool isOurs = sHandler.LevelOf(current) == sHandler.Latest();
    ::SetUnhandledExceptionFilter(isOurs ? sHandler.Remove(current) : current);
}
} // namespace

TopLevelExceptionFilter SetUnhandledExceptionFilter(TopLevelExceptionFilter filter)
{
    const platform::ScLock lock(sLock);
    TakeSlot();
    const TopLevelExceptionFilter before = sFilter.exchange(filter);
    if (filter && !before)
        ::SetUnhandledExceptionFilter(sHandler.Install(TakeFilter()));
    if (!filter && before)
        Remove();
    return before;
}

int SetThreadStackGuarantee(unsigned int* size)
{
    if (!size || *size > kLargestStackGuarantee)
        return 0;
    ULONG guarantee = *size;
    if (!::SetThreadStackGuarantee(&guarantee))
        return 0;
    *size = guarantee;
    return 1;
}

// The filter runs on the thread's own stack.
bool IsOnFilterStack(const void*)
{
    return false;
}

// The frame that a hardware exception unwinds to. GCC has no structured exception handling in
// C++, so the function is written in assembler: a call of function(data) that returns kReturned,
// and Up_OnGuardedException as the handler of the frame.
extern "C" int Up_CallGuarded(void (*function)(void* data), void* data);
extern "C" char Up_CallGuardedEnd[];

asm(R"(
    .text
    .globl Up_CallGuarded
    .def Up_CallGuarded; .scl 2; .type 32; .endef
    .seh_proc Up_CallGuarded
Up_CallGuarded:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    movl $1, %eax
    .globl Up_CallGuardedEnd
Up_CallGuardedEnd:
    addq $40, %rsp
    ret
    .seh_handler Up_OnGuardedException, @except
    .seh_endproc
)");

// The results of Up_CallGuarded.
const int kInterrupted = 0;
const int kReturned = 1; // as in the code above
const int kOverflowed = 2;

// Unwinds to the end of Up_CallGuarded, which then returns kInterrupted or kOverflowed.
extern "C" __attribute__((used)) EXCEPTION_DISPOSITION
Up_OnGuardedException(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                      DISPATCHER_CONTEXT* dispatcher)
{
    const bool isOverflow = record->ExceptionCode == EXCEPTION_STACK_OVERFLOW;
    void* const result = reinterpret_cast<void*>(
        static_cast<std::intptr_t>(isOverflow ? kOverflowed : kInterrupted));
    if ((record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) == 0)
        ::RtlUnwindEx(frame, Up_CallGuardedEnd, record, result, context,
                      static_cast<UNWIND_HISTORY_TABLE*>(dispatcher->HistoryTable));
    return ExceptionContinueSearch;
}

bool CallUntilException(void (*function)(void* data), void* data)
{
    const int result = Up_CallGuarded(function, data);
    // Without the page that guards the stack, the next overflow would end the process at once.
    if (result == kOverflowed)
        ::_resetstkoflw();
    return result == kReturned;
}
} // namespace win32
