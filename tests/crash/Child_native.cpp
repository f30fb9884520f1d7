// A child is this program again, with the test that runs now. The child's call of RunToDeath with
// the same number runs the body.

#include "tests/crash/Child.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include <io.h>

#include <gtest/gtest.h>

#include <win32/native/windows_api.h>

namespace
{
const DWORD kLimit = 60000; // milliseconds
const UINT kKilled = 99;    // the status of a child that needs more
const DWORD kForeignException = 0xE0001234;
const char kNumber[] = "U_TESTS_CHILD"; // the variable with the number of the call, in a child

// Each action has a filter of its own, as each action of a signal is a function of its own.
typedef void (*Action)(int signal);
const std::size_t kMostActions = 8;
Action sActions[kMostActions] = {};

template <std::size_t index> LONG WINAPI CallAction(EXCEPTION_POINTERS*)
{
    sActions[index](SIGSEGV);
    return EXCEPTION_CONTINUE_SEARCH;
}

template <std::size_t... indices>
LPTOP_LEVEL_EXCEPTION_FILTER FilterOf(std::size_t index, std::index_sequence<indices...>)
{
    const LPTOP_LEVEL_EXCEPTION_FILTER filters[] = {&CallAction<indices>...};
    return filters[index];
}

struct Closer
{
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
typedef std::unique_ptr<void, Closer> Handle;

std::string TestName()
{
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test.test_suite_name()) + "." + test.name();
}

// Returns the number of this call within its test, from 1.
int NumberOfCall()
{
    static std::string sTest;
    static int sCalls = 0;
    const std::string test = TestName();
    if (test != sTest)
        sCalls = 0;
    sTest = test;
    return ++sCalls;
}

// noexcept: an exception that the body does not catch calls std::terminate.
[[noreturn]] void RunChild(const std::function<void()>& body) noexcept
{
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    body();
    std::_Exit(0);
}

Handle OpenNothing(SECURITY_ATTRIBUTES& inherited)
{
    return Handle(::CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0,
                                nullptr));
}

std::wstring CommandLine()
{
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::string test = TestName();
    return L"\"" + std::wstring(program) + L"\" --gtest_filter=" +
           std::wstring(test.begin(), test.end());
}

// Starts the child with `out` as its stderr. Returns null on failure.
Handle Start(int number, HANDLE out, HANDLE nothing)
{
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = nothing;
    start.hStdOutput = nothing;
    start.hStdError = out;
    std::wstring command = CommandLine();
    PROCESS_INFORMATION process = {};
    ::SetEnvironmentVariableA(kNumber, std::to_string(number).c_str());
    const BOOL isStarted = ::CreateProcessW(nullptr, &command[0], nullptr, nullptr, TRUE, 0,
                                            nullptr, nullptr, &start, &process);
    ::SetEnvironmentVariableA(kNumber, nullptr);
    if (!isStarted)
        return nullptr;
    ::CloseHandle(process.hThread);
    return Handle(process.hProcess);
}

// Reads until the child has closed its end.
void Listen(HANDLE in, std::string* output)
{
    char piece[4096];
    DWORD length = 0;
    while (::ReadFile(in, piece, sizeof(piece), &length, nullptr) && length)
    {
        for (const char byte : std::string(piece, length))
        {
            if (byte != '\r')
                *output += byte;
        }
    }
}
} // namespace

Death RunToDeath(const std::function<void()>& body)
{
    const int number = NumberOfCall();
    if (const char* const mine = std::getenv(kNumber))
    {
        if (std::atoi(mine) == number)
            RunChild(body);
        return {-1, ""}; // an earlier call: its result is the parent's
    }
    Death death = {-1, ""};
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    HANDLE ends[2];
    if (!::CreatePipe(&ends[0], &ends[1], &inherited, 0))
        return death;
    const Handle in(ends[0]);
    Handle out(ends[1]);
    ::SetHandleInformation(in.get(), HANDLE_FLAG_INHERIT, 0);
    const Handle nothing = OpenNothing(inherited);
    const Handle child = Start(number, out.get(), nothing.get());
    out.reset();
    if (!child)
        return death;
    std::thread listener([&] { Listen(in.get(), &death.output); });
    if (::WaitForSingleObject(child.get(), kLimit) != WAIT_OBJECT_0)
        ::TerminateProcess(child.get(), kKilled);
    listener.join();
    ::WaitForSingleObject(child.get(), INFINITE);
    DWORD status = 0;
    ::GetExitCodeProcess(child.get(), &status);
    death.end = EndOf(static_cast<int>(status));
    return death;
}

std::vector<SystemCrash> SystemCrashes()
{
    return {{"breakpoint", [] { ::DebugBreak(); }, static_cast<int>(EXCEPTION_BREAKPOINT)},
            {"exception of another language",
             [] { ::RaiseException(kForeignException, 0, 0, nullptr); },
             static_cast<int>(kForeignException)}};
}

// A handler of std::signal would get an access of the first thread before all filters.
void SetBadAccessAction(Action action)
{
    Action* const place =
        std::find_if(std::begin(sActions), std::end(sActions),
                     [action](Action present) { return !present || present == action; });
    *place = action;
    ::SetUnhandledExceptionFilter(FilterOf(static_cast<std::size_t>(place - sActions),
                                           std::make_index_sequence<kMostActions>()));
}

bool WriteRaw(const char* text, std::size_t length)
{
    return ::_write(2, text, static_cast<unsigned int>(length)) == static_cast<int>(length);
}
