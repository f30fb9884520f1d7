#include "tests/crash/Child.h"

#include <climits>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include <krobase/gate.h>
#include <win32/threads.h>

#include "U_Lifecycle.h"

void Death::Expect(int expected, std::initializer_list<std::pair<std::string, long>> texts) const
{
    SCOPED_TRACE(output);
    EXPECT_EQ(end, expected);
    for (const auto& [text, count] : texts)
        EXPECT_EQ(Count(text), count) << text;
}

long Death::Count(const std::string& text) const
{
    long count = 0;
    for (std::size_t at = output.find(text); at != std::string::npos;
         at = output.find(text, at + 1))
        ++count;
    return count;
}

std::string Death::Rest(const std::string& beginning) const
{
    const std::size_t start = ("\n" + output).find("\n" + beginning);
    if (start == std::string::npos)
        return "none";
    const std::size_t rest = start + beginning.size();
    return output.substr(rest, output.find('\n', rest) - rest);
}

void Print(const char* text, bool withThread)
{
    char line[256];
    const int length =
        withThread ? std::snprintf(line, sizeof(line), "%s %u\n", text, win32::GetCurrentThreadId())
                   : std::snprintf(line, sizeof(line), "%s\n", text);
    if (!WriteRaw(line, static_cast<std::size_t>(length)))
        std::_Exit(99);
}

void WaitForTheEnd()
{
    const krobase::threads::Gate closed(false);
    for (;;)
        closed.PassThrough(INT_MAX);
}

void PrintCall(void* refcon)
{
    Print(static_cast<const char*>(refcon), true);
}

void SetGlobal(U_FatalHandler handler, const char* refcon)
{
    U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(handler, const_cast<char*>(refcon));
}

void Birth(U_FatalHandler handler)
{
    if (U_Birth("Test Host", nullptr) != 0)
        std::_Exit(98);
    if (handler)
        SetGlobal(handler);
}
