#include "crashes.h"

#include <climits>
#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>

#include <U_Fatal.h>
#include <platform/base/printable.h>
#include <win32/runtime.h>

#include "message.h"

// The sanitizers would find these before the processor does.
#define UNCHECKED __attribute__((noinline, no_sanitize("address", "thread", "undefined")))

#if defined(__clang__)
#define OPAQUE __attribute__((noinline))
#else
#define OPAQUE __attribute__((noipa))
#endif

// Not unnamed: with all classes in sight the compiler would call another function.
namespace crashes
{
class Base
{
public:
    Base() { CallIt(this); }
    virtual ~Base() = default;
    virtual void Pure() = 0;

private:
    static OPAQUE void CallIt(Base* object) { object->Pure(); } // NOLINT: so meant
};

class Derived : public Base
{
public:
    void Pure() override {}
};
} // namespace crashes

namespace
{
int* volatile sNull = nullptr;
volatile int sZero = 0;
volatile int sDeepest = INT_MAX;

UNCHECKED int Recurse(int depth)
{
    volatile char frame[1024];
    frame[0] = static_cast<char>(depth);
    return depth == sDeepest ? 0 : Recurse(depth + 1) + frame[0];
}

const struct
{
    const char* name;
    Crash crash;
} kCrashes[] = {
    {"null", &WriteToNull},
    {"overflow", &OverflowStack},
    {"illegal", &RunIllegalInstruction},
    {"division", &DivideByZero},
    {"exception", &ThrowException},
    {"terminate", &Terminate},
    {"pure", &CallPureVirtual},
    {"parameter", &GiveInvalidParameter},
    {"memory", &RunOutOfMemory},
};

// Looked up before the crash: a dying process may be unable to look up a text.
char sLastWords[512];

// stderr has no buffer, so the call allocates nothing.
void SayLastWords(void* words)
{
    std::fputs(static_cast<const char*>(words), stderr);
}

const unsigned short kText[] = {'t', 'e', 'x', 't', 0};
} // namespace

UNCHECKED void WriteToNull()
{
    *sNull = 1;
}

UNCHECKED void OverflowStack()
{
    Recurse(0);
}

UNCHECKED void RunIllegalInstruction()
{
    __builtin_trap();
}

UNCHECKED void DivideByZero()
{
    sDeepest = sDeepest / sZero;
}

void ThrowException()
{
    throw std::runtime_error("nobody catches this");
}

void Terminate()
{
    std::terminate();
}

void CallPureVirtual()
{
    const crashes::Derived object;
}

void GiveInvalidParameter()
{
    win32::_invalid_parameter(kText, kText + 1, kText + 2, 17, 42);
}

void RunOutOfMemory()
{
    volatile std::size_t size = std::size_t(1) << 47; // more than the address space
    ::operator delete(::operator new(size));
}

Crash FindCrash(const std::string& name)
{
    for (const auto& row : kCrashes)
    {
        if (name == row.name)
            return row.crash;
    }
    return nullptr;
}

void PrepareLastCall()
{
    const std::string words = Text("$$$/QX/FileCache/Status/LastCall="
                                   "the file cache has failed and ends; no file has been changed");
    std::snprintf(sLastWords, sizeof(sLastWords), "%s\n", platform::Printable(words).c_str());
    U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(&SayLastWords, sLastWords);
}
