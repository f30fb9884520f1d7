#include "tests/crash/Crashes.h"

#include <climits>
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

#include <win32/runtime.h>

// The sanitizers would find these before the processor does.
#define UNCHECKED                                                                                  \
    __attribute__((noinline, no_sanitize_address, no_sanitize_thread, no_sanitize_undefined))

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
    static __attribute__((noipa)) void CallIt(Base* object) { object->Pure(); }
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

UNCHECKED void ReadBeyondFile()
{
    std::FILE* const empty = std::tmpfile();
    volatile char* const mapped =
        static_cast<volatile char*>(mmap(nullptr, 1, PROT_READ, MAP_SHARED, fileno(empty), 0));
    sZero = *mapped;
}

void SendSegmentationFault()
{
    kill(getpid(), SIGSEGV);
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
