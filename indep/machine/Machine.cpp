// The thread count, keys, numbers of pointers, and names.

#include "U_Machine.h"

#include <atomic>

#include <boost/numeric/conversion/cast.hpp>

#include <krobase/machine.h>
#include <tolv/keyboard.h>
#include <win32/machine.h>
#include <win32/process.h>

#include "indep/errors/Report.h"

namespace
{
const U_i32 kAskTheMachine = -1;
const U_u32 kMachineNameRoom = 32; // units, with the terminator
const U_u32 kUserNameRoom = 256 + 1;

std::atomic<U_i32> sNumThreads(kAskTheMachine);

template <class Overflow> class BadCast : public Overflow
{
public:
    const char* what() const noexcept override { return "bad cast"; }
};

template <U_u32 room> U_UTF16String NameFrom(int (*ask)(unsigned short*, unsigned int*))
{
    unsigned short name[room] = {};
    unsigned int size = room;
    return ask(name, &size) ? U_UTF16String(name) : U_UTF16String();
}
} // namespace

U_Status U_GetNumThreads(U_i32* out)
{
    if (!out)
        return BadArgument("U_GetNumThreads: no place for the answer");
    const U_i32 count = sNumThreads;
    *out = count < 0 ? krobase::utility::CPUCount() : count;
    return 0;
}

U_Status U_SetNumThreads(U_i32 count)
{
    sNumThreads = count;
    return 0;
}

bool U_IsOSX()
{
    return false;
}

bool U_QTAvailable()
{
    return false;
}

bool U_ModKeyDown(U_u32 mask)
{
    return (GetCurrentKeyModifiers() & mask) == mask;
}

void* U_Int32ToPointer(U_u32 number)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(number));
}

void* U_IntPtrToPointer(intptr_t number)
{
    return reinterpret_cast<void*>(number);
}

intptr_t U_PointerToIntPtr(void* pointer)
{
    return reinterpret_cast<intptr_t>(pointer);
}

U_u32 U_PointerToInt32(void* pointer)
{
    const intptr_t number = U_PointerToIntPtr(pointer);
    if (number < 0)
        throw BadCast<boost::numeric::negative_overflow>();
    if (number > 0xFFFFFFFF)
        throw BadCast<boost::numeric::positive_overflow>();
    return static_cast<U_u32>(number);
}

U_UTF16String U_GetMachineName()
{
    return NameFrom<kMachineNameRoom>(&win32::GetComputerNameW);
}

U_UTF16String U_GetUsername()
{
    return NameFrom<kUserNameRoom>(&win32::GetUserNameW);
}

bool U_IsDebuggerPresent()
{
    return win32::IsDebuggerPresent() != 0;
}
